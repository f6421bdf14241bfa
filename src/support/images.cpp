#include "support/images.h"

// A missing image is no error: the window keeps the default icon.
GdkPixbuf* create_pixbuf(const char* path) { return gdk_pixbuf_new_from_file(path, nullptr); }
