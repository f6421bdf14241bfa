// The wizard's three pages. Each builder returns a hidden window, or null without an interface text file.
#ifndef BRINDLE_INTERFACE_PAGES_H
#define BRINDLE_INTERFACE_PAGES_H

#include "support/widgets.h"

/// Welcome.
GtkWidget* create_window1();

/// Where the migration archive is: on a CD-ROM or on a local drive.
GtkWidget* create_window2();

/// Progress: one row a kind of data, in the layout of the detected system.
GtkWidget* create_window3();

#endif
