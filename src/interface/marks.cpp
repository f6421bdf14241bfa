#include "interface/marks.h"

#include <algorithm>

#include "system/marks.h"

namespace {

constexpr int mark_left = 220;
constexpr int mark_size = 20;
constexpr int label_left = 30;
constexpr Size label_size = {366, 21};
constexpr int card_bottom = 316;  // of the card that data/icons/pages.svg draws behind the rows

// What a screen reader reads for an image once it has a result.
constexpr const char* moved_key = "brindle-moved";
constexpr const char* not_moved_key = "brindle-not-moved";

std::string label_name(Mark mark) { return "label_" + std::to_string(static_cast<int>(mark)); }

void keep_words(GtkWidget* image, const char* key, const std::string& words) {
  g_object_set_data_full(G_OBJECT(image), key, g_strdup(words.c_str()), g_free);
}

void put_row(Page& page, const WindowTexts& texts, const MarkRow& row, Position position, int height) {
  const std::string text = texts[row.text_key];
  GtkWidget* image = gtk_image_new();
  GtkWidget* label = gtk_label_new(text.c_str());
  gtk_misc_set_alignment(GTK_MISC(label), 0.0F, 0.5F);
  gtk_label_set_ellipsize(GTK_LABEL(label), PANGO_ELLIPSIZE_END);
  page.put(image_name(row.mark).c_str(), image, position, mark_size, std::min(mark_size, height));
  page.put_label(label_name(row.mark).c_str(), label, {position.x + label_left, position.y},
                 {label_size.width, std::min(label_size.height, height)});
  set_accessible_label(image, label, text);
  keep_words(image, moved_key, with_value(texts["window3-moved"], text));
  keep_words(image, not_moved_key, with_value(texts["window3-notmoved"], text));
}

void hide_row(const Page& page, Mark mark) {
  for (const std::string& name : {image_name(mark), label_name(mark)})
    gtk_widget_hide(lookup_widget(page.window(), name.c_str()));
}

// From one row to the next.
int pitch_of(std::span<const MarkRow> rows, const Capabilities& system) {
  const auto shown = std::ranges::count_if(rows, [&system](const MarkRow& row) {
    return !system.hidden_rows.contains(row.mark) && !system.unset_rows.contains(row.mark);
  });
  const int room = card_bottom - system.first_row;
  return shown == 0 ? system.row_pitch : std::min(system.row_pitch, room / static_cast<int>(shown));
}

void describe(GtkWidget* image, const char* key) {
  const auto* words = static_cast<const char*>(g_object_get_data(G_OBJECT(image), key));
  if (words == nullptr) return;
  atk_object_set_name(gtk_widget_get_accessible(image), words);
  announce(image, words);
}

}  // namespace

void put_marks(Page& page, const WindowTexts& texts, const Capabilities& system,
               std::span<const MarkRow> rows) {
  Position position = {mark_left, system.first_row};
  const int pitch = pitch_of(rows, system);
  for (const MarkRow& row : rows) {
    if (system.hidden_rows.contains(row.mark)) continue;
    put_row(page, texts, row, position, pitch);
    if (system.unset_rows.contains(row.mark)) {
      hide_row(page, row.mark);
    } else {
      position.y += pitch;
    }
  }
}

void show_mark(GtkWidget* image, int result) {
  if (image == nullptr) return;
  const bool done = result == 0;
  gtk_image_set_from_stock(GTK_IMAGE(image), done ? "gtk-apply" : "gtk-cancel", GTK_ICON_SIZE_BUTTON);
  describe(image, done ? moved_key : not_moved_key);
}
