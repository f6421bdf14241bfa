// Handlers of the two windows that ask for the credentials of a Windows share. GUI thread, inside the main
// loop. The worker sleeps until the second window is confirmed; closing a window is no answer: the first
// stays, the second goes back to the first.
#ifndef BRINDLE_CALLBACKS_SHARE_CREDENTIALS_H
#define BRINDLE_CALLBACKS_SHARE_CREDENTIALS_H

#include <gtk/gtk.h>

/// Keeps user name and password as the answers of share_question and opens the confirmation window, or asks
/// for what is missing or does not fit. The window of a cancelled run is only destroyed.
void on_smb_username_password_next2_clicked(GtkButton* button, gpointer user_data);
gboolean on_smb_username_password_window_delete_event(GtkWidget* widget, GdkEvent* event, gpointer user_data);

/// Confirms: destroys the first window, closes the question, unless the run was cancelled, and destroys the
/// second.
void on_smb_username_password_window2_next2_clicked(GtkButton* button, gpointer user_data);

/// Back to the first window, which still holds what was typed.
void on_smb_username_password_window2_back2_clicked(GtkButton* button, gpointer user_data);
gboolean on_smb_username_password_window2_delete_event(GtkWidget* widget, GdkEvent* event,
                                                       gpointer user_data);

void on_okbutton2_dialog_specify_username_password_clicked(GtkButton* button, gpointer user_data);

#endif
