// Handlers of the archive source page and of its dialogs. GUI thread, inside the main loop.
#ifndef BRINDLE_CALLBACKS_SOURCE_H
#define BRINDLE_CALLBACKS_SOURCE_H

#include <gtk/gtk.h>

/// Where the archive is. No page offers REMOTE.
enum cd { CDROM = 0, REMOTE = 1, LOCAL = 2 };

/// The current source; changes only by the two radio buttons.
extern enum cd selection;

/// The worker; null until page 2's Next has started it.
extern GThread* thread_id;

/// A source's radio button: unlocks its own entry and Browse button, clears and locks the other's. Does
/// nothing when the source is chosen already.
void on_cdrom_clicked(GtkButton* button, gpointer user_data);
void on_local_clicked(GtkButton* button, gpointer user_data);

/// Browse: opens the file chooser at the mounted CD-ROM (or shows the mount error), or at "/".
void on_bCdrom_clicked(GtkButton* button, gpointer user_data);
void on_bLocal_clicked(GtkButton* button, gpointer user_data);

/// The file chooser: OK puts the file's name into the entry of the current source; Cancel and closing hide
/// it.
void on_ok_button_fileselection_clicked(GtkButton* button, gpointer user_data);
void on_cancel_button1_clicked(GtkButton* button, gpointer user_data);
gboolean on_fileselection_delete_event(GtkWidget* widget, GdkEvent* event, gpointer user_data);

/// Next: checks the archive, shows the first failing check's dialog, asks for the password of an encrypted
/// archive, or starts the worker and page 3.
void on_next2_clicked(GtkButton* button, gpointer user_data);

/// The password dialog's OK: tries the password and starts the worker with it, or says that it is wrong and
/// lets the person try again.
void on_okbutton_zipPassword_clicked(GtkButton* button, gpointer user_data);

/// The dialogs' other buttons: destroy them.
void on_closebutton_nofilespecified_clicked(GtkButton* button, gpointer user_data);
void on_closebutton_noFileFound_clicked(GtkButton* button, gpointer user_data);
void on_closebutton_notZipFile_clicked(GtkButton* button, gpointer user_data);
void on_closebutton_notEnoughSpace_clicked(GtkButton* button, gpointer user_data);
void on_closebutton1_clicked(GtkButton* button, gpointer user_data);
void on_closebutton2_clicked(GtkButton* button, gpointer user_data);
void on_cancelbutton_zipPassword_clicked(GtkButton* button, gpointer user_data);
void on_closebutton_zipWrongPassword_clicked(GtkButton* button, gpointer user_data);
void on_closebutton_zipOtherEncryption_clicked(GtkButton* button, gpointer user_data);
void on_closebutton_unpackingStopped_clicked(GtkButton* button, gpointer user_data);

#endif
