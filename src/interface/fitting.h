// Texts in places of a fixed size: whatever the language and the person's font, nothing is cut off. GUI
// thread only.
#ifndef BRINDLE_INTERFACE_FITTING_H
#define BRINDLE_INTERFACE_FITTING_H

#include <gtk/gtk.h>

/// Draws the text of `label` as much smaller as it takes to fit into `width` x `height` pixels, and as large
/// as its style says when that fits. Below three fifths of its size nothing is readable: then it stays at
/// that. Asks for a new layout only when something changes. For a label whose style is known, as in a
/// "size-request" handler.
void shrink_to_fit(GtkWidget* label, int width, int height);

/// The pixels that the text of `label` takes now, in lines of at most `width` pixels when it wraps.
GtkRequisition size_of_text(GtkWidget* label, int width);

/// Makes the caption of `button`, which may be a radio button, fit into a button of `width` x `height`
/// pixels.
void shrink_caption_to_fit(GtkWidget* button, int width, int height);

/// The width that `button` needs for its caption at its full size.
int width_for_caption(GtkWidget* button);

#endif
