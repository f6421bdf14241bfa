// The windows and dialogs of the wizard. GUI thread only; each is null until it is built, and the dialogs
// that are destroyed by a button are null again afterwards.
#ifndef BRINDLE_INTERFACE_WINDOWS_H
#define BRINDLE_INTERFACE_WINDOWS_H

#include "support/widgets.h"

/// The pages: welcome, archive source, progress. main keeps references of its own, so that a closed page can
/// still be asked for its widgets.
extern GtkWidget* window1;
extern GtkWidget* window2;
extern GtkWidget* window3;

/// No page uses it.
extern GtkWidget* window4;

/// Built once by main.
extern GtkWidget* fileselection;
extern GtkWidget* quit_dialog;
extern GtkWidget* dialog_done;
extern GtkWidget* dialog_multi_user_error;
extern GtkWidget* dialog_printer_error;

/// Built anew at each request of the worker.
extern GtkWidget* dialog_user_error;
extern GtkWidget* window_select_driver;
extern GtkWidget* smb_username_password_window;
extern GtkWidget* smb_username_password_window2;

/// Puts `built` into `window` and sets `window` back to null when the widget is destroyed. `built` may be
/// null.
void keep_window(GtkWidget*& window, GtkWidget* built);

/// Shows a dialog above the page that is visible. Does nothing for null.
void show_over_page(GtkWidget* dialog);

/// The same, and lets the main loop go on until the dialog has been drawn on the screen, for at most a
/// second.
void show_drawn_over_page(GtkWidget* dialog);

/// Destroys the windows in which the worker has asked something, without an answer.
void destroy_question_windows();

/// Destroys the whole window that `widget` belongs to.
void destroy_window_of(GtkWidget* widget);

#endif
