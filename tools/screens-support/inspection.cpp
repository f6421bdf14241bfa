#include "screens-support/inspection.h"

#include <gdk/gdkkeysyms.h>

#include <algorithm>
#include <map>

namespace {

// The smallest screen that the program is made for.
constexpr int screen_width = 800;
constexpr int screen_height = 600;

// Seven points at 96 dpi. A text of less is not there for everybody.
constexpr double smallest_letters = 9.3;

// Back and Next of page 2 stand so close that their frames share a column.
constexpr int given_overlap = 1;

// A line that is stretched to both margins gets whole pixels, and may come out longer than they are apart.
constexpr int justified_excess = 1;

bool is_text(GtkWidget* widget) {
  return GTK_IS_LABEL(widget) && *gtk_label_get_text(GTK_LABEL(widget)) != '\0';
}

bool is_inside(const GdkRectangle& inner, const GdkRectangle& outer) {
  return inner.x >= outer.x && inner.y >= outer.y && inner.x + inner.width <= outer.x + outer.width &&
         inner.y + inner.height <= outer.y + outer.height;
}

std::string told(const GdkRectangle& place) {
  return std::to_string(place.width) + "x" + std::to_string(place.height);
}

std::string told_with_place(const GdkRectangle& place) {
  return told(place) + " at (" + std::to_string(place.x) + ", " + std::to_string(place.y) + ")";
}

GdkRectangle place_of(GtkWidget* window, GtkWidget* widget) {
  GtkAllocation own{};
  gtk_widget_get_allocation(widget, &own);
  GdkRectangle place = {0, 0, own.width, own.height};
  if (widget != window) gtk_widget_translate_coordinates(widget, window, 0, 0, &place.x, &place.y);
  return place;
}

void add_parts(GtkWidget* widget, gpointer parts) {
  if (gtk_widget_get_mapped(widget) == FALSE) return;
  static_cast<std::vector<GtkWidget*>*>(parts)->push_back(widget);
  if (GTK_IS_CONTAINER(widget)) gtk_container_forall(GTK_CONTAINER(widget), add_parts, parts);
}

// A place inside `label`, as its layout counts, in the window's pixels.
GdkRectangle in_window(GtkWidget* window, GtkWidget* label, const PangoRectangle& extents) {
  GtkAllocation own{};
  gtk_widget_get_allocation(label, &own);
  int x = 0;
  int y = 0;
  gtk_label_get_layout_offsets(GTK_LABEL(label), &x, &y);
  const GdkRectangle whole = place_of(window, label);
  return {whole.x + x - own.x + extents.x, whole.y + y - own.y + extents.y, extents.width, extents.height};
}

// ---- Each part -------------------------------------------------------------------------------------------

double height_of_letters(PangoLayout* layout) {
  double smallest = 1e9;
  for (const GSList* line = pango_layout_get_lines_readonly(layout); line != nullptr; line = line->next) {
    for (const GSList* run = static_cast<PangoLayoutLine*>(line->data)->runs; run != nullptr;
         run = run->next) {
      PangoFontDescription* font = pango_font_describe_with_absolute_size(
          static_cast<PangoGlyphItem*>(run->data)->item->analysis.font);
      smallest = std::min(smallest, pango_font_description_get_size(font) / static_cast<double>(PANGO_SCALE));
      pango_font_description_free(font);
    }
  }
  return smallest;
}

void look_at_text(GtkWidget* window, GtkWidget* label, std::vector<Fault>& faults) {
  PangoLayout* layout = gtk_label_get_layout(GTK_LABEL(label));
  if (pango_layout_is_ellipsized(layout) != FALSE)
    faults.push_back(fault_of(window, label, "is shortened with an ellipsis"));
  const GdkRectangle text = place_of_text(window, label);
  GdkRectangle room = place_of(window, label);
  if (gtk_label_get_justify(GTK_LABEL(label)) == GTK_JUSTIFY_FILL) room.width += justified_excess;
  if (!is_inside(text, room))
    faults.push_back(
        fault_of(window, label, "is cut: it takes " + told(text) + " pixels, and has " + told(room)));
  if (pango_layout_get_unknown_glyphs_count(layout) != 0)
    faults.push_back(fault_of(window, label, "has letters that no font has"));
  const double letters = height_of_letters(layout);
  if (letters < smallest_letters)
    faults.push_back(fault_of(
        window, label, "is too small: letters of " + std::to_string(letters).substr(0, 4) + " pixels"));
}

// ---- Parts together --------------------------------------------------------------------------------------

// What a person reads or presses. A button's caption is looked at with the button.
bool is_seen_itself(GtkWidget* widget) {
  if (GTK_IS_LABEL(widget))
    return is_text(widget) && gtk_widget_get_ancestor(widget, GTK_TYPE_BUTTON) == nullptr;
  return GTK_IS_BUTTON(widget) || GTK_IS_ENTRY(widget) || GTK_IS_PROGRESS_BAR(widget) ||
         GTK_IS_IMAGE(widget) || GTK_IS_SCROLLED_WINDOW(widget);
}

GdkRectangle place_that_is_seen(GtkWidget* window, GtkWidget* widget) {
  return GTK_IS_LABEL(widget) ? place_of_text(window, widget) : place_of(window, widget);
}

// What scrolls shows a part of what lies in it.
void look_at_place(GtkWidget* window, GtkWidget* widget, std::vector<Fault>& faults) {
  const GdkRectangle place = place_of(window, widget);
  for (GtkWidget* around = gtk_widget_get_parent(widget); around != nullptr;
       around = gtk_widget_get_parent(around)) {
    if (GTK_IS_SCROLLED_WINDOW(around)) return;
    const GdkRectangle room = place_of(window, around);
    if (is_inside(place, room)) continue;
    const std::string outside = around == window ? "is outside of its window: " : "is outside of its place: ";
    faults.push_back(
        fault_of(window, widget, outside + told_with_place(place) + " in " + told_with_place(room)));
    return;
  }
}

void look_for_overlaps(GtkWidget* window, const std::vector<GtkWidget*>& parts, std::vector<Fault>& faults) {
  std::vector<GtkWidget*> seen;
  std::ranges::copy_if(parts, std::back_inserter(seen), is_seen_itself);
  for (auto one = seen.begin(); one != seen.end(); ++one) {
    const GdkRectangle place = place_that_is_seen(window, *one);
    for (auto other = one + 1; other != seen.end(); ++other) {
      if (gtk_widget_is_ancestor(*other, *one) != FALSE) continue;
      const GdkRectangle place_of_other = place_that_is_seen(window, *other);
      GdkRectangle both{};
      if (gdk_rectangle_intersect(&place, &place_of_other, &both) == FALSE) continue;
      if (std::min(both.width, both.height) > given_overlap)
        faults.push_back(fault_of(window, *one,
                                  "overlaps " + fault_of(window, *other, "").widget + ": " +
                                      told_with_place(place) + " and " + told_with_place(place_of_other)));
    }
  }
}

void look_for_access_letters(GtkWidget* window, const std::vector<GtkWidget*>& parts,
                             std::vector<Fault>& faults) {
  if (GTK_IS_FILE_SELECTION(window)) return;  // all its words and letters are the toolkit's
  std::map<guint, GtkWidget*> letters;
  for (GtkWidget* part : parts) {
    if (!GTK_IS_LABEL(part)) continue;
    const guint key = gtk_label_get_mnemonic_keyval(GTK_LABEL(part));
    if (key == GDK_KEY_VoidSymbol) continue;
    const auto [first, is_new] = letters.emplace(gdk_keyval_to_lower(key), part);
    if (!is_new)
      faults.push_back(fault_of(window, part,
                                std::string("has the access letter \"") + gdk_keyval_name(key) +
                                    "\", as has \"" + gtk_label_get_text(GTK_LABEL(first->second)) + "\""));
  }
}

}  // namespace

std::vector<GtkWidget*> visible_parts(GtkWidget* window) {
  std::vector<GtkWidget*> parts;
  if (gtk_widget_get_mapped(window) != FALSE) gtk_container_forall(GTK_CONTAINER(window), add_parts, &parts);
  return parts;
}

GdkRectangle place_of_text(GtkWidget* window, GtkWidget* label) {
  // Rounded as the toolkit does when it asks for room: the blank around the letters takes the rest.
  PangoRectangle logical;
  pango_layout_get_extents(gtk_label_get_layout(GTK_LABEL(label)), nullptr, &logical);
  return in_window(window, label,
                   {PANGO_PIXELS(logical.x), PANGO_PIXELS(logical.y), PANGO_PIXELS(logical.width),
                    PANGO_PIXELS(logical.height)});
}

GdkRectangle place_of_ink(GtkWidget* window, GtkWidget* label) {
  PangoRectangle ink;
  pango_layout_get_pixel_extents(gtk_label_get_layout(GTK_LABEL(label)), &ink, nullptr);
  return in_window(window, label, ink);
}

Fault fault_of(GtkWidget* window, GtkWidget* widget, const std::string& what) {
  // The program's own parts are data of their window, under the names by which it finds them.
  struct Search {
    GtkWidget* widget;
    std::string name;
  } search = {widget, G_OBJECT_TYPE_NAME(widget)};
  const auto compare = [](GQuark key, gpointer data, gpointer searched) {
    auto* of = static_cast<Search*>(searched);
    if (data == of->widget) of->name = g_quark_to_string(key);
  };
  for (GtkWidget* part : {widget, gtk_widget_get_ancestor(widget, GTK_TYPE_BUTTON)}) {
    if (part == nullptr) continue;
    search.widget = part;
    g_datalist_foreach(&G_OBJECT(window)->qdata, compare, &search);
  }
  return {search.name, GTK_IS_LABEL(widget) ? gtk_label_get_text(GTK_LABEL(widget)) : "", what};
}

std::vector<Fault> faults_in(GtkWidget* window) {
  std::vector<Fault> faults;
  const GdkRectangle whole = place_of(window, window);
  if (whole.width > screen_width || whole.height > screen_height)
    faults.push_back(fault_of(window, window, "is larger than a screen: " + told(whole)));
  const std::vector<GtkWidget*> parts = visible_parts(window);
  for (GtkWidget* part : parts) {
    if (is_text(part)) look_at_text(window, part, faults);
    if (is_seen_itself(part)) look_at_place(window, part, faults);
  }
  look_for_overlaps(window, parts, faults);
  look_for_access_letters(window, parts, faults);
  return faults;
}
