#include "screens-support/picture.h"

#include <algorithm>
#include <cstring>

#include "screens-support/windows.h"

namespace {

// The outermost pixels of a letter can be as pale as what is behind it.
constexpr int pale_pixels = 2;

constexpr int bar_height = 24;
constexpr int bar_margin = 8;

template <typename Object>
using Owned = std::unique_ptr<Object, void (*)(gpointer)>;

// White on `ground`.
Picture bar(GtkWidget* window, int width, const char* text, GdkGC* ground) {
  const Owned<PangoLayout> layout(gtk_widget_create_pango_layout(window, text), g_object_unref);
  pango_layout_set_width(layout.get(), (width - 2 * bar_margin) * PANGO_SCALE);
  pango_layout_set_ellipsize(layout.get(), PANGO_ELLIPSIZE_END);
  int height = 0;
  pango_layout_get_pixel_size(layout.get(), nullptr, &height);
  GdkWindow* shown = gtk_widget_get_window(window);
  const Owned<GdkPixmap> drawn(gdk_pixmap_new(shown, width, bar_height, -1), g_object_unref);
  gdk_draw_rectangle(drawn.get(), ground, TRUE, 0, 0, width, bar_height);
  gdk_draw_layout(drawn.get(), gtk_widget_get_style(window)->white_gc, bar_margin, (bar_height - height) / 2,
                  layout.get());
  return Picture(gdk_pixbuf_get_from_drawable(nullptr, drawn.get(), gdk_drawable_get_colormap(shown), 0, 0, 0,
                                              0, width, bar_height));
}

bool differ(const Picture& one, const Picture& other, int x, int y) {
  const auto pixel = [x, y](const Picture& picture) {
    return gdk_pixbuf_read_pixels(picture.get()) + y * gdk_pixbuf_get_rowstride(picture.get()) +
           x * gdk_pixbuf_get_n_channels(picture.get());
  };
  return std::memcmp(pixel(one), pixel(other), 3) != 0;
}

// The smallest rectangle in `place` that holds all in which the two pictures differ.
GdkRectangle difference_in(const GdkRectangle& place, const Picture& one, const Picture& other) {
  const int right = std::min(place.x + place.width, gdk_pixbuf_get_width(one.get()));
  const int bottom = std::min(place.y + place.height, gdk_pixbuf_get_height(one.get()));
  GdkRectangle found = {0, 0, 0, 0};
  for (int y = std::max(place.y, 0); y < bottom; ++y) {
    for (int x = std::max(place.x, 0); x < right; ++x) {
      if (!differ(one, other, x, y)) continue;
      const GdkRectangle pixel = {x, y, 1, 1};
      if (found.width == 0) {
        found = pixel;
      } else {
        gdk_rectangle_union(&found, &pixel, &found);
      }
    }
  }
  return found;
}

// Empty when all of `ink` is seen.
std::string missing_side(const GdkRectangle& ink, const GdkRectangle& seen) {
  if (seen.width == 0) return "is not to be seen";
  if (seen.x > ink.x + pale_pixels) return "has its left side hidden";
  if (seen.y > ink.y + pale_pixels) return "has its upper side hidden";
  if (seen.x + seen.width < ink.x + ink.width - pale_pixels) return "has its right side hidden";
  if (seen.y + seen.height < ink.y + ink.height - pale_pixels) return "has its lower side hidden";
  return "";
}

bool has_ink(GtkWidget* window, GtkWidget* widget) {
  return GTK_IS_LABEL(widget) && place_of_ink(window, widget).width > 0;
}

}  // namespace

Picture picture_of(GtkWidget* window) {
  GdkWindow* shown = gtk_widget_get_window(window);
  if (shown == nullptr) return nullptr;
  return Picture(gdk_pixbuf_get_from_drawable(nullptr, shown, gdk_drawable_get_colormap(shown), 0, 0, 0, 0,
                                              gdk_window_get_width(shown), gdk_window_get_height(shown)));
}

Picture framed(GtkWidget* window, const Picture& picture, const std::string& name) {
  const int width = gdk_pixbuf_get_width(picture.get());
  const int height = gdk_pixbuf_get_height(picture.get());
  const GtkStyle* style = gtk_widget_get_style(window);
  const Picture title =
      bar(window, width, gtk_window_get_title(GTK_WINDOW(window)), style->dark_gc[GTK_STATE_NORMAL]);
  const Picture foot = bar(window, width, name.c_str(), style->black_gc);
  Picture whole(gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, width, height + 2 * bar_height));
  gdk_pixbuf_copy_area(title.get(), 0, 0, width, bar_height, whole.get(), 0, 0);
  gdk_pixbuf_copy_area(picture.get(), 0, 0, width, height, whole.get(), 0, bar_height);
  gdk_pixbuf_copy_area(foot.get(), 0, 0, width, bar_height, whole.get(), 0, bar_height + height);
  return whole;
}

std::vector<Fault> faults_in_picture(GtkWidget* window) {
  std::vector<GtkWidget*> texts;
  std::ranges::copy_if(visible_parts(window), std::back_inserter(texts),
                       [window](GtkWidget* part) { return has_ink(window, part); });
  const Picture with_texts = picture_of(window);
  for (GtkWidget* text : texts) gtk_widget_set_child_visible(text, FALSE);
  wait_until_drawn_whole();
  const Picture without_texts = picture_of(window);
  for (GtkWidget* text : texts) gtk_widget_set_child_visible(text, TRUE);
  wait_until_drawn_whole();
  std::vector<Fault> faults;
  for (GtkWidget* text : texts) {
    const GdkRectangle ink = place_of_ink(window, text);
    const std::string side = missing_side(ink, difference_in(ink, with_texts, without_texts));
    if (!side.empty()) faults.push_back(fault_of(window, text, side));
  }
  return faults;
}
