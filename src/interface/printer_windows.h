// The windows in which the printer migrator asks the user. Each builder returns a hidden window, or null
// without an interface text file. Escape closes a window as the window manager does.
#ifndef BRINDLE_INTERFACE_PRINTER_WINDOWS_H
#define BRINDLE_INTERFACE_PRINTER_WINDOWS_H

#include <string>

#include "support/widgets.h"

/// Six common printer models, or skip. Deliberate: the first is shown as chosen, whatever driverselection
/// still holds of an earlier window, which is what Next without a click answers; so a line beside Next says
/// what that is.
GtkWidget* create_window_select_driver();

/// Says in the driver window which printer it is about, and how its driver is called on Windows; an empty
/// name is not mentioned.
void name_printer(GtkWidget* window, const std::string& printer, const std::string& windows_driver);

/// User name and password of a Windows share, and their confirmation.
GtkWidget* create_smb_username_password_window();
GtkWidget* create_smb_username_password_window2();

#endif
