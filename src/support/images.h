// Images from installed files.
#ifndef BRINDLE_SUPPORT_IMAGES_H
#define BRINDLE_SUPPORT_IMAGES_H

#include <gdk-pixbuf/gdk-pixbuf.h>

/// The image at `path`, or null when there is none. It is read once and the same for all: not to be changed.
/// The caller owns a reference. GUI thread only.
GdkPixbuf* create_pixbuf(const char* path);

#endif
