#include "interface/marks.h"

#include <span>
#include <string_view>

#include "state/state.h"

namespace {

struct Row {
  int number;
  const char* key;
};

// In the order in which a run reaches them, so that the ticks run down the page.
constexpr Row all_rows[] = {
    {12, "window3-preparingprinters"},
    {0, "window3-multiuser"},
    {1, "window3-mydocuments"},
    {2, "window3-desktop"},
    {3, "window3-emails"},
    {4, "window3-wallpaper"},
    {5, "window3-favorites"},
    {6, "window3-cookies"},
    {7, "window3-fonts"},
    {8, "window3-otherfiles"},
    {9, "window3-networkdrives"},
    {10, "window3-printers"},
    {11, "window3-groupwise"},
};

struct Layout {
  std::span<const Row> rows;
  Spot first;
  int pitch;
};

constexpr int mark_size = 20;
constexpr int label_left = 32;
constexpr int label_width = 300;

// GroupWise, the last row, has no client on Red Flag. On the other KDE systems the row stays, although no run
// fills it there: it tells people that this was left behind.
Layout layout_for(std::string_view system) {
  const std::span<const Row> rows(all_rows);
  if (system == "RedFlag") return {rows.first(rows.size() - 1), {240, 26}, 23};
  if (system == "GNome") return {rows, {240, 22}, 22};
  return {rows, {240, 24}, 22};
}

void put_row(Page& page, const Row& row, const std::string& text, Spot spot) {
  const std::string number = std::to_string(row.number);
  GtkWidget* image = gtk_image_new();
  GtkWidget* label = gtk_label_new(text.c_str());
  gtk_misc_set_alignment(GTK_MISC(label), 0.0F, 0.5F);
  gtk_label_set_ellipsize(GTK_LABEL(label), PANGO_ELLIPSIZE_END);
  page.put(("image_" + number).c_str(), image, spot, mark_size, mark_size);
  page.put(("label_" + number).c_str(), label, {spot.x + label_left, spot.y}, label_width, mark_size);
  set_accessible_label(image, label, text);
  g_object_set_data(G_OBJECT(image), "label", label);
}

// A screen reader reads the row's label together with its result.
void describe(GtkWidget* image, bool done) {
  auto* label = static_cast<GtkWidget*>(g_object_get_data(G_OBJECT(image), "label"));
  if (label == nullptr) return;
  const std::string name =
      gtk_label_get_text(GTK_LABEL(label)) + std::string(done ? ": done" : ": not migrated");
  atk_object_set_name(gtk_widget_get_accessible(image), name.c_str());
}

}  // namespace

void put_marks(Page& page, const WindowTexts& texts) {
  const Layout layout = layout_for(OSName);
  Spot spot = layout.first;
  for (const Row& row : layout.rows) {
    put_row(page, row, texts[row.key], spot);
    spot.y += layout.pitch;
  }
}

void show_mark(GtkWidget* image, int result) {
  if (image == nullptr) return;
  const bool done = result == 0;
  gtk_image_set_from_stock(GTK_IMAGE(image), done ? "gtk-apply" : "gtk-cancel", GTK_ICON_SIZE_BUTTON);
  describe(image, done);
}
