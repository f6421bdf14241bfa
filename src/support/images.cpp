#include "support/images.h"

#include <map>
#include <memory>
#include <string>

namespace {

struct Unref {
  void operator()(GdkPixbuf* image) const { g_object_unref(image); }
};

using Image = std::unique_ptr<GdkPixbuf, Unref>;

}  // namespace

GdkPixbuf* create_pixbuf(const char* path) {
  static std::map<std::string, Image> kept;
  Image& image = kept[path];
  // A missing image is no error: the window keeps the default icon.
  if (image == nullptr) image.reset(gdk_pixbuf_new_from_file(path, nullptr));
  return image == nullptr ? nullptr : GDK_PIXBUF(g_object_ref(image.get()));
}
