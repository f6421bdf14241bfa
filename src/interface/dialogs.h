// The dialogs. Each builder returns a hidden modal dialog, or null without an interface text file. Closing
// one by the window manager or with Escape counts as pressing its button, so that nobody who waits for the
// button waits for ever.
#ifndef BRINDLE_INTERFACE_DIALOGS_H
#define BRINDLE_INTERFACE_DIALOGS_H

#include "support/widgets.h"

/// Chooses the archive. Closing it only hides it.
GtkWidget* create_fileselection();

/// Asks whether to quit, on pages 1 and 2. Closing it means no, and each time it is shown "No" has the
/// keyboard.
GtkWidget* create_dialog1();

/// Notices of the run.
GtkWidget* create_dialog_done();
GtkWidget* create_dialog_multi_user_error();
GtkWidget* create_dialog_printer_error();
GtkWidget* create_dialog_user_error();
GtkWidget* create_dialogcancel();
GtkWidget* create_unpackingStopped();

/// Notices of the archive source page.
GtkWidget* create_noFileSpecified();
GtkWidget* create_noFileFound();
GtkWidget* create_notZipFile();
GtkWidget* create_notEnoughSpace();
GtkWidget* create_errorMountingCdrom();

/// For a remote source, which no page offers.
GtkWidget* create_noRemote();

/// For encrypted archives: asks for the password; says that it is wrong; says that no password will help.
GtkWidget* create_zipPassword();
GtkWidget* create_zipWrongPassword();
GtkWidget* create_zipOtherEncryption();

/// User name or password missing in the credentials window.
GtkWidget* create_dialog_specify_username_password();

#endif
