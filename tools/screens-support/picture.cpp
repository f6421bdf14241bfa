#include "screens-support/picture.h"

#include <algorithm>
#include <array>
#include <cmath>
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

const guchar* pixel_of(const Picture& picture, int x, int y) {
  return gdk_pixbuf_read_pixels(picture.get()) + y * gdk_pixbuf_get_rowstride(picture.get()) +
         x * gdk_pixbuf_get_n_channels(picture.get());
}

bool differ(const Picture& one, const Picture& other, int x, int y) {
  return std::memcmp(pixel_of(one, x, y), pixel_of(other, x, y), 3) != 0;
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

// ---- Contrast --------------------------------------------------------------------------------------------

// What people of weak sight need (WCAG 2, level AA).
constexpr double least_contrast = 4.5;

// So much of the ground may be of another colour: a focus frame takes one row of a line of letters.
constexpr double other_ground = 0.08;

constexpr int most = 255;  // of a channel

// By the value of a channel.
std::array<double, most + 1> make_lights() {
  std::array<double, most + 1> lights{};
  for (int value = 0; value <= most; ++value) {
    const double part = value / static_cast<double>(most);
    lights[value] = part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
  }
  return lights;
}

double light(int red, int green, int blue) {
  static const std::array<double, most + 1> lights = make_lights();
  return 0.2126 * lights[red] + 0.7152 * lights[green] + 0.0722 * lights[blue];
}

double contrast(double one, double other) {
  return (std::max(one, other) + 0.05) / (std::min(one, other) + 0.05);
}

double light_of_letters(GtkWidget* label) {
  const GdkColor colour = gtk_widget_get_style(label)->fg[gtk_widget_get_state(label)];
  return light(colour.red >> 8, colour.green >> 8, colour.blue >> 8);
}

// The contrast of `letters` with the ground in `place`, but for its palest parts, with other_ground of them
// left out.
double contrast_with_ground(double letters, const GdkRectangle& place, const Picture& ground) {
  std::vector<double> contrasts;
  const int right = std::min(place.x + place.width, gdk_pixbuf_get_width(ground.get()));
  const int bottom = std::min(place.y + place.height, gdk_pixbuf_get_height(ground.get()));
  for (int y = std::max(place.y, 0); y < bottom; ++y) {
    for (int x = std::max(place.x, 0); x < right; ++x) {
      const guchar* seen = pixel_of(ground, x, y);
      contrasts.push_back(contrast(letters, light(seen[0], seen[1], seen[2])));
    }
  }
  if (contrasts.empty()) return 0;
  const auto counted =
      contrasts.begin() + static_cast<std::ptrdiff_t>(other_ground * static_cast<double>(contrasts.size()));
  std::ranges::nth_element(contrasts, counted);
  return *counted;
}

// ----------------------------------------------------------------------------------------------------------

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
      bar(window, width, gtk_window_get_title(GTK_WINDOW(window)), style->fg_gc[GTK_STATE_NORMAL]);
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
    if (gtk_widget_get_state(text) == GTK_STATE_INSENSITIVE) continue;  // nothing that can be used
    const double seen = contrast_with_ground(light_of_letters(text), ink, without_texts);
    if (seen < least_contrast)
      faults.push_back(fault_of(window, text,
                                "has a contrast of " + std::to_string(seen).substr(0, 3) + " to its ground"));
  }
  return faults;
}
