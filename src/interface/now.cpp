#include "interface/now.h"

#include <map>
#include <memory>

#include "system/marks.h"

namespace {

constexpr Position place = {208, 319};
constexpr Size size = {416, 21};
constexpr const char* words_key = "brindle-words";

/// What the line may say: the text file is not opened again during a run.
struct Words {
  std::string now;
  std::string for_person;
  std::string at_end;
  std::map<Beginning, std::string> beginnings;
};

std::map<Beginning, std::string> beginnings_in(const WindowTexts& texts) {
  std::map<Beginning, std::string> beginnings = {{Phase::unpacking, texts["window3-unpacking"]},
                                                 {Phase::getting_ready, texts["window3-gettingready"]},
                                                 {Phase::cleaning_up, texts["window3-cleaningup"]}};
  for (const MarkRow& row : mark_rows()) beginnings[static_cast<int>(row.mark)] = texts[row.text_key];
  return beginnings;
}

void delete_words(gpointer words) { delete static_cast<Words*>(words); }

std::string said(const Words& words, const PostedBeginning& begun) {
  const auto found = words.beginnings.find(begun.what);
  if (found == words.beginnings.end()) return "";
  const std::string what = begun.login.empty() ? found->second
                                               : with_value(with_value(words.for_person, found->second),
                                                            shown_name(begun.login.c_str()));
  return with_value(words.now, what);
}

// Null without a page.
const Words* words_of(GtkWidget* line) {
  return line == nullptr ? nullptr : static_cast<Words*>(g_object_get_data(G_OBJECT(line), words_key));
}

void say(GtkWidget* line, const std::string& text) {
  gtk_label_set_text(GTK_LABEL(line), text.c_str());
  if (!text.empty()) announce(line, text);
}

}  // namespace

void put_now_line(Page& page, const WindowTexts& texts) {
  GtkWidget* line = gtk_label_new("");
  gtk_misc_set_alignment(GTK_MISC(line), 0.0F, 0.5F);
  gtk_label_set_ellipsize(GTK_LABEL(line), PANGO_ELLIPSIZE_END);
  atk_object_set_role(gtk_widget_get_accessible(line), ATK_ROLE_STATUSBAR);
  auto words = std::make_unique<Words>(Words{.now = texts["window3-now"],
                                             .for_person = texts["window3-forperson"],
                                             .at_end = texts["window3-atend"],
                                             .beginnings = beginnings_in(texts)});
  g_object_set_data_full(G_OBJECT(line), words_key, words.release(), delete_words);
  page.put_label("label_now", line, place, size);
}

void show_beginning(GtkWidget* page, const PostedBeginning& begun) {
  GtkWidget* line = lookup_widget(page, "label_now");
  if (const Words* words = words_of(line)) say(line, said(*words, begun));
}

void show_end_of_run(GtkWidget* page) {
  GtkWidget* line = lookup_widget(page, "label_now");
  if (const Words* words = words_of(line)) say(line, words->at_end);
}

void clear_now_line(GtkWidget* page) {
  GtkWidget* line = lookup_widget(page, "label_now");
  if (line != nullptr) say(line, "");
}
