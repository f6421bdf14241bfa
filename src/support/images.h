// Images from installed files.
#ifndef BRINDLE_SUPPORT_IMAGES_H
#define BRINDLE_SUPPORT_IMAGES_H

#include <gdk-pixbuf/gdk-pixbuf.h>

/// The image at `path`, or null when there is none. The caller owns a reference.
GdkPixbuf* create_pixbuf(const char* path);

#endif
