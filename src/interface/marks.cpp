#include "interface/marks.h"

#include "system/marks.h"

namespace {

constexpr int mark_left = 240;
constexpr int mark_size = 20;
constexpr int label_left = 32;
constexpr int label_width = 300;

std::string label_name(Mark mark) { return "label_" + std::to_string(static_cast<int>(mark)); }

void put_row(Page& page, Mark mark, const std::string& text, Position position) {
  GtkWidget* image = gtk_image_new();
  GtkWidget* label = gtk_label_new(text.c_str());
  gtk_misc_set_alignment(GTK_MISC(label), 0.0F, 0.5F);
  gtk_label_set_ellipsize(GTK_LABEL(label), PANGO_ELLIPSIZE_END);
  page.put(image_name(mark).c_str(), image, position, mark_size, mark_size);
  page.put(label_name(mark).c_str(), label, {position.x + label_left, position.y}, label_width, mark_size);
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

void put_marks(Page& page, const WindowTexts& texts, const Capabilities& system) {
  Position position = {mark_left, system.first_row};
  for (const MarkRow& row : mark_rows()) {
    if (system.hidden_rows.contains(row.mark)) continue;
    put_row(page, row.mark, texts[row.text_key], position);
    position.y += system.row_pitch;
  }
}

void show_mark(GtkWidget* image, int result) {
  if (image == nullptr) return;
  const bool done = result == 0;
  gtk_image_set_from_stock(GTK_IMAGE(image), done ? "gtk-apply" : "gtk-cancel", GTK_ICON_SIZE_BUTTON);
  describe(image, done);
}
