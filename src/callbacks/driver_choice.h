// Handlers of the window in which the user chooses a printer driver. GUI thread, inside the main loop. The
// worker sleeps until Next, or until the window is closed.
#ifndef BRINDLE_CALLBACKS_DRIVER_CHOICE_H
#define BRINDLE_CALLBACKS_DRIVER_CHOICE_H

#include <gtk/gtk.h>

/// Each remembers its model in driverselection, for later windows as well.
void on_stphoto_clicked(GtkButton* button, gpointer user_data);
void on_stcolor_clicked(GtkButton* button, gpointer user_data);
void on_epson24_clicked(GtkButton* button, gpointer user_data);
void on_epson9_clicked(GtkButton* button, gpointer user_data);
void on_deskjet_clicked(GtkButton* button, gpointer user_data);
void on_laserjet_clicked(GtkButton* button, gpointer user_data);
void on_skip_clicked(GtkButton* button, gpointer user_data);

/// Answers driver_question with the chosen model (a PPD file name on "GNome", a line of a foomatic listing on
/// the other systems, empty for skip) and destroys the window.
void on_window_select_driver_next2_clicked(GtkButton* button, gpointer user_data);

/// Skips the printer, and leaves driverselection as it is.
gboolean on_window_select_driver_delete_event(GtkWidget* widget, GdkEvent* event, gpointer user_data);

#endif
