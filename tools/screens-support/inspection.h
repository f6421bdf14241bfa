// Looks at a window from inside: does every text stand whole where the person can read it? GUI thread only.
#ifndef BRINDLE_SCREENS_SUPPORT_INSPECTION_H
#define BRINDLE_SCREENS_SUPPORT_INSPECTION_H

#include <gtk/gtk.h>

#include <string>
#include <vector>

/// Something that is wrong with a window that is shown.
struct Fault {
  std::string widget;  ///< the name that the program knows it by, or its class
  std::string text;    ///< what stands there, without marks of access letters; may be empty
  std::string what;
};

/// The parts of `window` that are seen, the containers among them, in no stated order.
std::vector<GtkWidget*> visible_parts(GtkWidget* window);

/// Where the letters of `label` stand in `window` by their logical size, and the ink of them.
GdkRectangle place_of_text(GtkWidget* window, GtkWidget* label);
GdkRectangle place_of_ink(GtkWidget* window, GtkWidget* label);

/// A fault of `widget` in `window`.
Fault fault_of(GtkWidget* window, GtkWidget* widget, const std::string& what);

/// Texts that are shortened with an ellipsis, larger than their place, too small to be read, or covered by
/// others; parts that are outside of the window or cover each other; access letters that are there twice; and
/// whether the window fits on a screen.
std::vector<Fault> faults_in(GtkWidget* window);

#endif
