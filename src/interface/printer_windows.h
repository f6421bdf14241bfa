// The windows in which the printer migrator asks the user. Each builder returns a hidden window, or null
// without an interface text file.
#ifndef BRINDLE_INTERFACE_PRINTER_WINDOWS_H
#define BRINDLE_INTERFACE_PRINTER_WINDOWS_H

#include "support/widgets.h"

/// Six common printer models, or skip. Deliberate: the first is shown as chosen, whatever driverselection
/// still holds of an earlier window, which is what Next without a click answers.
GtkWidget* create_window_select_driver();

/// User name and password of a Windows share, and their confirmation.
GtkWidget* create_smb_username_password_window();
GtkWidget* create_smb_username_password_window2();

#endif
