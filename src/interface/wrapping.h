// Labels whose text wraps. GUI thread only.
#ifndef BRINDLE_INTERFACE_WRAPPING_H
#define BRINDLE_INTERFACE_WRAPPING_H

#include <gtk/gtk.h>

#include <string>

/// Lets a label wrap its text at `width` pixels, or at more where the person's font is larger than the usual
/// one: so many words stay in a line. A word that is longer is cut in two.
void wrap_label(GtkWidget* label, int width);

/// A label that wraps like this, aligned to the left.
GtkWidget* new_wrapping_label(const std::string& text, int width);

#endif
