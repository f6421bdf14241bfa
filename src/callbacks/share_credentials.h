// Handlers of the two windows that ask for the credentials of a Windows share. GUI thread, inside the main
// loop. The worker sleeps until the second window is confirmed or the first one is closed.
#ifndef BRINDLE_CALLBACKS_SHARE_CREDENTIALS_H
#define BRINDLE_CALLBACKS_SHARE_CREDENTIALS_H

#include <gtk/gtk.h>

/// Keeps user name and password as the answers of share_question and opens the confirmation window, or asks
/// for what is missing or does not fit.
void on_smb_username_password_next2_clicked(GtkButton* button, gpointer user_data);

/// Skips the printer.
gboolean on_smb_username_password_window_delete_event(GtkWidget* widget, GdkEvent* event, gpointer user_data);

/// Confirms: destroys the first window, closes the question, and destroys the second.
void on_smb_username_password_window2_next2_clicked(GtkButton* button, gpointer user_data);

/// Back to the first window, which still holds what was typed; closing the second is no answer.
void on_smb_username_password_window2_back2_clicked(GtkButton* button, gpointer user_data);
gboolean on_smb_username_password_window2_delete_event(GtkWidget* widget, GdkEvent* event,
                                                       gpointer user_data);

void on_okbutton2_dialog_specify_username_password_clicked(GtkButton* button, gpointer user_data);

#endif
