// Looks at a window as it is on the screen. GUI thread only.
#ifndef BRINDLE_SCREENS_SUPPORT_PICTURE_H
#define BRINDLE_SCREENS_SUPPORT_PICTURE_H

#include <gdk-pixbuf/gdk-pixbuf.h>

#include <memory>

#include "screens-support/inspection.h"

struct UnrefPicture {
  void operator()(GdkPixbuf* picture) const { g_object_unref(picture); }
};
using Picture = std::unique_ptr<GdkPixbuf, UnrefPicture>;

/// What the screen shows of `window`, without its frame. Null when the window is not on the screen.
Picture picture_of(GtkWidget* window);

/// `picture` of `window` with two bars: its title above, as a window manager would have it, and `name` below.
Picture framed(GtkWidget* window, const Picture& picture, const std::string& name);

/// Texts of which a part is not to be seen, which is what does not change when the text goes away; and texts
/// that do not stand out from their ground.
std::vector<Fault> faults_in_picture(GtkWidget* window);

#endif
