// One press is one press: when it brings up another page, or window, the rest of it does nothing there. The
// second half of a double click would press what stands at the same place of the next page, and a key that is
// held down or pressed twice what has the keyboard there. GUI thread only.
#ifndef BRINDLE_INTERFACE_PRESS_GUARD_H
#define BRINDLE_INTERFACE_PRESS_GUARD_H

#include <gtk/gtk.h>

/// Before `page` is shown for the first time.
void guard_keys(GtkWidget* page);

/// For a button of a guarded page.
void guard_from_double_click(GtkWidget* button);

/// Before `window` is shown: the press that closes it does nothing on the guarded page that it belongs to,
/// which would be to cancel the run, mostly.
void guard_page_behind(GtkWidget* window);

#endif
