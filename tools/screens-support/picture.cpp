#include "screens-support/picture.h"

#include <algorithm>
#include <cstring>

#include "screens-support/windows.h"

namespace {

// The outermost pixels of a letter can be as pale as what is behind it.
constexpr int pale_pixels = 2;

// Of the title bar that stands in for a window manager's.
constexpr int title_height = 24;
constexpr int title_margin = 8;

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

Picture with_title_bar(GtkWidget* window, const Picture& picture) {
  const int width = gdk_pixbuf_get_width(picture.get());
  const int height = gdk_pixbuf_get_height(picture.get());
  const std::unique_ptr<PangoLayout, void (*)(gpointer)> title(
      gtk_widget_create_pango_layout(window, gtk_window_get_title(GTK_WINDOW(window))), g_object_unref);
  pango_layout_set_width(title.get(), (width - 2 * title_margin) * PANGO_SCALE);
  pango_layout_set_ellipsize(title.get(), PANGO_ELLIPSIZE_END);
  const std::unique_ptr<GdkPixmap, void (*)(gpointer)> bar(
      gdk_pixmap_new(gtk_widget_get_window(window), width, title_height, -1), g_object_unref);
  const GtkStyle* style = gtk_widget_get_style(window);
  gdk_draw_rectangle(bar.get(), style->dark_gc[GTK_STATE_NORMAL], TRUE, 0, 0, width, title_height);
  gdk_draw_layout(bar.get(), style->white_gc, title_margin, 3, title.get());
  Picture whole(gdk_pixbuf_new(GDK_COLORSPACE_RGB, FALSE, 8, width, title_height + height));
  gdk_pixbuf_get_from_drawable(whole.get(), bar.get(),
                               gdk_drawable_get_colormap(gtk_widget_get_window(window)), 0, 0, 0, 0, width,
                               title_height);
  gdk_pixbuf_copy_area(picture.get(), 0, 0, width, height, whole.get(), 0, title_height);
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
