// Handlers of the pages and of the dialogs around them. GUI thread, inside the main loop.
#ifndef BRINDLE_CALLBACKS_NAVIGATION_H
#define BRINDLE_CALLBACKS_NAVIGATION_H

#include <gtk/gtk.h>

void on_next_clicked(GtkButton* button, gpointer user_data);
void on_back2_clicked(GtkButton* button, gpointer user_data);

/// Shows page 2. No page has such a button.
void on_back3_clicked(GtkButton* button, gpointer user_data);

void on_cancel_step1_clicked(GtkButton* button, gpointer user_data);
void on_bCancelStep2_clicked(GtkButton* button, gpointer user_data);

/// Cancels a running migration: shows the notice that ends the program, and when that is on the screen ends a
/// running unzip and removes the temporary directory. The windows are served meanwhile.
/// The worker is not stopped: it keeps its final pop-ups to itself, and everything it asks from now on is
/// declined. So is a question whose window is there, which goes.
void on_button_window3_cancel_clicked(GtkButton* button, gpointer user_data);

/// Open the support page in a browser.
void on_bHelpStep1_clicked(GtkButton* button, gpointer user_data);
void on_bHelpStep2_clicked(GtkButton* button, gpointer user_data);
void on_bHelpStep3_clicked(GtkButton* button, gpointer user_data);

/// Leave the main loop. The pages are destroyed then, also while the worker runs.
gboolean on_window1_delete_event(GtkWidget* widget, GdkEvent* event, gpointer user_data);
gboolean on_window2_delete_event(GtkWidget* widget, GdkEvent* event, gpointer user_data);
gboolean on_window3_delete_event(GtkWidget* widget, GdkEvent* event, gpointer user_data);
void on_button_done_clicked(GtkButton* button, gpointer user_data);
void on_okbutton1_clicked(GtkButton* button, gpointer user_data);
void on_closebutton_quit_clicked(GtkButton* button, gpointer user_data);

/// The quit dialog's No: hides it.
void on_cancelbutton1_clicked(GtkButton* button, gpointer user_data);

/// OK of the notices: destroys them. The worker, which waits for those of the printer and the user error,
/// goes on.
void on_okbutton2_clicked(GtkButton* button, gpointer user_data);
void on_okbutton2_multiusererror_clicked(GtkButton* button, gpointer user_data);
void on_okbutton2_printer_clicked(GtkButton* button, gpointer user_data);
void on_okbutton2_user_clicked(GtkButton* button, gpointer user_data);

#endif
