#include "interface/printer_windows.h"

#include <vector>

#include "callbacks/driver_choice.h"
#include "callbacks/share_credentials.h"
#include "interface/parts.h"
#include "state/state.h"

namespace {

// A modal window with a column of rows and a row of buttons at its foot.
class QuestionWindow {
 public:
  QuestionWindow(const std::string& title, int width, int height, GCallback on_delete);

  GtkWidget* window() const { return window_; }
  void add(const char* name, GtkWidget* widget);
  GtkWidget* add_button(const char* name, const std::string& mnemonic, GCallback on_clicked);

 private:
  GtkWidget* window_;
  GtkWidget* rows_;
  GtkWidget* buttons_;
};

QuestionWindow::QuestionWindow(const std::string& title, int width, int height, GCallback on_delete)
    : window_(gtk_window_new(GTK_WINDOW_TOPLEVEL)),
      rows_(gtk_vbox_new(FALSE, 6)),
      buttons_(gtk_hbutton_box_new()) {
  gtk_widget_set_name(window_, "brindle_dialog");
  gtk_window_set_title(GTK_WINDOW(window_), title.c_str());
  gtk_window_set_modal(GTK_WINDOW(window_), TRUE);
  gtk_window_set_position(GTK_WINDOW(window_), GTK_WIN_POS_CENTER_ON_PARENT);
  gtk_window_set_type_hint(GTK_WINDOW(window_), GDK_WINDOW_TYPE_HINT_DIALOG);
  gtk_widget_set_size_request(window_, width, height);
  gtk_container_set_border_width(GTK_CONTAINER(window_), 14);
  g_signal_connect(window_, "delete-event", on_delete, nullptr);
  gtk_button_box_set_layout(GTK_BUTTON_BOX(buttons_), GTK_BUTTONBOX_END);
  gtk_box_set_spacing(GTK_BOX(buttons_), 6);
  gtk_box_pack_end(GTK_BOX(rows_), buttons_, FALSE, FALSE, 0);
  gtk_container_add(GTK_CONTAINER(window_), rows_);
  gtk_widget_show_all(rows_);
}

void QuestionWindow::add(const char* name, GtkWidget* widget) {
  gtk_box_pack_start(GTK_BOX(rows_), widget, FALSE, FALSE, 0);
  gtk_widget_show_all(widget);
  if (name != nullptr) name_widget(window_, widget, name);
}

GtkWidget* QuestionWindow::add_button(const char* name, const std::string& mnemonic, GCallback on_clicked) {
  GtkWidget* button = new_button(mnemonic, on_clicked);
  gtk_widget_show(button);
  gtk_container_add(GTK_CONTAINER(buttons_), button);
  name_widget(window_, button, name);
  return button;
}

struct DriverRow {
  const char* name;
  const char* key;
  GCallback on_clicked;
};

const DriverRow driver_rows[] = {
    {"stphoto", "window_select_driver-stphoto", G_CALLBACK(on_stphoto_clicked)},
    {"stcolor", "window_select_driver-stcolor", G_CALLBACK(on_stcolor_clicked)},
    {"epson24", "window_select_driver-epson24", G_CALLBACK(on_epson24_clicked)},
    {"epson9", "window_select_driver-epson9", G_CALLBACK(on_epson9_clicked)},
    {"deskjet", "window_select_driver-deskjet", G_CALLBACK(on_deskjet_clicked)},
    {"laserjet", "window_select_driver-laserjet", G_CALLBACK(on_laserjet_clicked)},
    {"skip", "window_select_driver-skip", G_CALLBACK(on_skip_clicked)},
};

void add_driver_rows(QuestionWindow& question, const WindowTexts& texts) {
  GSList* group = nullptr;
  for (const DriverRow& row : driver_rows) {
    GtkWidget* radio = gtk_radio_button_new_with_mnemonic(group, texts[row.key].c_str());
    group = gtk_radio_button_get_group(GTK_RADIO_BUTTON(radio));
    g_signal_connect(radio, "clicked", row.on_clicked, nullptr);
    question.add(row.name, radio);
  }
}

// The share's address: long ones lose their middle, not their ends.
GtkWidget* new_url_label() {
  GtkWidget* label = gtk_label_new("");
  gtk_label_set_ellipsize(GTK_LABEL(label), PANGO_ELLIPSIZE_MIDDLE);
  gtk_misc_set_alignment(GTK_MISC(label), 0.0F, 0.5F);
  return label;
}

// A caption beside its value, and the names of both.
struct Field {
  GtkWidget* caption;
  GtkWidget* value;
  const char* caption_name;
  const char* value_name;
};

GtkWidget* new_caption(const std::string& caption, GtkWidget* value) {
  GtkWidget* label = gtk_label_new_with_mnemonic(caption.c_str());
  gtk_misc_set_alignment(GTK_MISC(label), 0.0F, 0.5F);
  if (GTK_IS_ENTRY(value)) gtk_label_set_mnemonic_widget(GTK_LABEL(label), value);
  return label;
}

Field new_user_field(const std::string& caption, GtkWidget* value) {
  return {new_caption(caption, value), value, "label_username", "entry_username"};
}

Field new_password_field(const std::string& caption, GtkWidget* value) {
  gtk_entry_set_visibility(GTK_ENTRY(value), FALSE);
  return {new_caption(caption, value), value, "label_password", "entry_password"};
}

// Captions in one column, values in another.
void add_form(QuestionWindow& question, const std::vector<Field>& fields) {
  GtkWidget* table = gtk_table_new(static_cast<guint>(fields.size()), 2, FALSE);
  gtk_table_set_col_spacings(GTK_TABLE(table), 12);
  gtk_table_set_row_spacings(GTK_TABLE(table), 6);
  const auto stretch = static_cast<GtkAttachOptions>(GTK_EXPAND | GTK_FILL);
  guint row = 0;
  for (const Field& field : fields) {
    gtk_table_attach(GTK_TABLE(table), field.caption, 0, 1, row, row + 1, GTK_FILL, GTK_FILL, 0, 0);
    gtk_table_attach(GTK_TABLE(table), field.value, 1, 2, row, row + 1, stretch, GTK_FILL, 0, 0);
    name_widget(question.window(), field.caption, field.caption_name);
    name_widget(question.window(), field.value, field.value_name);
    ++row;
  }
  question.add(nullptr, table);
}

GtkWidget* new_entry() {
  GtkWidget* entry = gtk_entry_new();
  gtk_entry_set_activates_default(GTK_ENTRY(entry), TRUE);
  return entry;
}

}  // namespace

GtkWidget* create_window_select_driver() {
  const WindowTexts texts;
  if (texts.missing()) return nullptr;
  QuestionWindow question("", 380, 310, G_CALLBACK(on_window_select_driver_delete_event));
  question.add("label_20_driver_name", new_wrapped_label(texts["window_select_driver-label20"]));
  add_driver_rows(question, texts);
  make_default(question.add_button("next2", texts["window_select_driver-next"],
                                   G_CALLBACK(on_window_select_driver_next2_clicked)));
  return with_icon(question.window(), isNLD);
}

GtkWidget* create_smb_username_password_window() {
  const WindowTexts texts;
  if (texts.missing()) return nullptr;
  QuestionWindow question(texts["smb_username_password_window"], 380, 220,
                          G_CALLBACK(on_smb_username_password_window_delete_event));
  question.add("label_header", new_wrapped_label(texts["smb_username_password_window-label_header"]));
  question.add("label_url", new_url_label());
  add_form(question, {new_user_field(texts["smb_username_password_window-label_username"], new_entry()),
                      new_password_field(texts["smb_username_password_window-label_password"], new_entry())});
  make_default(question.add_button("next2", texts["smb_username_password_window-next"],
                                   G_CALLBACK(on_smb_username_password_next2_clicked)));
  return with_icon(question.window(), isNLD);
}

GtkWidget* create_smb_username_password_window2() {
  const WindowTexts texts;
  if (texts.missing()) return nullptr;
  QuestionWindow question(texts["smb_username_password_window2"], 380, 180,
                          G_CALLBACK(on_smb_username_password_window2_delete_event));
  question.add("label_header", new_wrapped_label(texts["smb_username_password_window2-label_header"]));
  question.add("label_url", new_url_label());
  add_form(question,
           {new_user_field(texts["smb_username_password_window2-label_username"], new_url_label())});
  question.add_button("back2", texts["smb_username_password_window2-back"],
                      G_CALLBACK(on_smb_username_password_window2_back2_clicked));
  GtkWidget* next = question.add_button("next2", texts["smb_username_password_window2-next"],
                                        G_CALLBACK(on_smb_username_password_window2_next2_clicked));
  make_default(next);
  gtk_widget_grab_focus(next);
  return with_icon(question.window(), isNLD);
}
