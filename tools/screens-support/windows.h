// The wizard's windows, each as a person can meet it. GUI thread only.
#ifndef BRINDLE_SCREENS_SUPPORT_WINDOWS_H
#define BRINDLE_SCREENS_SUPPORT_WINDOWS_H

#include <gtk/gtk.h>

#include <span>

struct Screen {
  const char* name;      ///< of its picture
  const char* builder;   ///< the function that builds it
  const char* keys;      ///< what the keys of its texts begin with
  GtkWidget* (*show)();  ///< builds it as the program does and shows it; null without a text file
};

/// All of them, in the order in which a person may come to them.
std::span<const Screen> all_screens();

/// Serves the main loop until what is shown has been drawn on the screen.
void wait_until_drawn_whole();

/// Destroys all windows, and what the program keeps of them.
void close_all_windows();

#endif
