#include "interface/printer_windows.h"

#include <gdk/gdkkeysyms.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "callbacks/driver_choice.h"
#include "callbacks/share_credentials.h"
#include "interface/parts.h"
#include "interface/press_guard.h"
#include "interface/wrapping.h"
#include "state/state.h"

namespace {

// ---- The frame -------------------------------------------------------------------------------------------

// Of a window; it grows where its texts need more.
struct Size {
  int width;
  int height;
};

constexpr int border = 12;
constexpr int width_of_texts = 380 - 2 * border;

void ask_at_least_for(GtkWidget* /*window*/, GtkRequisition* asked, gpointer size) {
  const auto* least = static_cast<const Size*>(size);
  asked->width = std::max(asked->width, least->width);
  asked->height = std::max(asked->height, least->height);
}

// As dialogs do it: Escape is the window manager's close button.
gboolean close_on_escape(GtkWidget* window, GdkEventKey* key, gpointer /*user_data*/) {
  const guint modifiers = key->state & gtk_accelerator_get_default_mod_mask();
  if (key->keyval != GDK_KEY_Escape || modifiers != 0) return FALSE;
  const std::unique_ptr<GdkEvent, void (*)(GdkEvent*)> event(gdk_event_new(GDK_DELETE), gdk_event_free);
  event->any.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(window)));
  event->any.send_event = TRUE;
  gtk_main_do_event(event.get());
  return TRUE;
}

// A modal window with a column of rows and a row of buttons at its foot.
class QuestionWindow {
 public:
  /// `least` outlives the window.
  QuestionWindow(const std::string& title, const Size& least, GCallback on_delete);

  GtkWidget* window() const { return window_; }
  void add(const char* name, GtkWidget* widget);
  GtkWidget* add_button(const char* name, const std::string& mnemonic, GCallback on_clicked);
  void add_beside_buttons(const char* name, GtkWidget* widget);

 private:
  GtkWidget* window_;
  GtkWidget* rows_;
  GtkWidget* foot_;
  GtkWidget* buttons_;
};

QuestionWindow::QuestionWindow(const std::string& title, const Size& least, GCallback on_delete)
    : window_(gtk_window_new(GTK_WINDOW_TOPLEVEL)),
      rows_(gtk_vbox_new(FALSE, 4)),
      foot_(gtk_hbox_new(FALSE, 6)),
      buttons_(gtk_hbutton_box_new()) {
  gtk_widget_set_name(window_, "brindle_dialog");
  gtk_window_set_title(GTK_WINDOW(window_), title.c_str());
  gtk_window_set_modal(GTK_WINDOW(window_), TRUE);
  gtk_window_set_position(GTK_WINDOW(window_), GTK_WIN_POS_CENTER_ON_PARENT);
  gtk_window_set_type_hint(GTK_WINDOW(window_), GDK_WINDOW_TYPE_HINT_DIALOG);
  gtk_container_set_border_width(GTK_CONTAINER(window_), border);
  g_signal_connect(window_, "size-request", G_CALLBACK(ask_at_least_for), const_cast<Size*>(&least));
  g_signal_connect(window_, "delete-event", on_delete, nullptr);
  // Whatever has the keyboard may use the key itself.
  g_signal_connect_after(window_, "key-press-event", G_CALLBACK(close_on_escape), nullptr);
  guard_page_behind(window_);
  gtk_button_box_set_layout(GTK_BUTTON_BOX(buttons_), GTK_BUTTONBOX_END);
  gtk_box_set_spacing(GTK_BOX(buttons_), 6);
  gtk_box_pack_end(GTK_BOX(foot_), buttons_, FALSE, FALSE, 0);
  gtk_box_pack_end(GTK_BOX(rows_), foot_, FALSE, FALSE, 0);
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

void QuestionWindow::add_beside_buttons(const char* name, GtkWidget* widget) {
  gtk_box_pack_start(GTK_BOX(foot_), widget, TRUE, TRUE, 0);
  gtk_widget_show(widget);
  name_widget(window_, widget, name);
}

// ---- The driver window -----------------------------------------------------------------------------------

struct DriverRow {
  const char* name;
  const char* key;
  GCallback on_clicked;
};

// In the order of enum driver.
const DriverRow driver_rows[] = {
    {"stphoto", "window_select_driver-stphoto", G_CALLBACK(on_stphoto_clicked)},
    {"stcolor", "window_select_driver-stcolor", G_CALLBACK(on_stcolor_clicked)},
    {"epson24", "window_select_driver-epson24", G_CALLBACK(on_epson24_clicked)},
    {"epson9", "window_select_driver-epson9", G_CALLBACK(on_epson9_clicked)},
    {"deskjet", "window_select_driver-deskjet", G_CALLBACK(on_deskjet_clicked)},
    {"laserjet", "window_select_driver-laserjet", G_CALLBACK(on_laserjet_clicked)},
    {"skip", "window_select_driver-skip", G_CALLBACK(on_skip_clicked)},
};

// Says beside Next what it will use. In a later window that is an earlier answer, while the first radio
// button is active.
class NextUse {
 public:
  explicit NextUse(const WindowTexts& texts);

  GtkWidget* label() const { return label_; }
  void describe(GtkWidget* next);

  static void on_clicked(GtkToggleButton* radio, gpointer use);
  static void on_map(GtkWidget* window, gpointer use);
  static void free(gpointer use) { delete static_cast<NextUse*>(use); }

 private:
  std::string current() const;
  void tell();

  std::vector<std::string> uses_;  // in the order of enum driver, without SKIP
  std::string skips_;
  GtkWidget* label_;
  GtkWidget* next_ = nullptr;
};

constexpr int width_beside_next = width_of_texts - 100;

NextUse::NextUse(const WindowTexts& texts)
    : skips_(texts["window_select_driver-skips"]), label_(new_wrapping_label("", width_beside_next)) {
  const std::string text = texts["window_select_driver-uses"];
  for (std::size_t choice = STPHOTO; choice < SKIP; ++choice)
    uses_.push_back(with_value(text, without_mnemonic(texts[driver_rows[choice].key])));
}

std::string NextUse::current() const {
  return driverselection < STPHOTO || driverselection >= SKIP ? skips_ : uses_[driverselection];
}

// A screen reader reads it with the button.
void NextUse::describe(GtkWidget* next) {
  next_ = next;
  AtkObject* of_next = gtk_widget_get_accessible(next);
  AtkObject* of_label = gtk_widget_get_accessible(label_);
  atk_object_add_relationship(of_next, ATK_RELATION_DESCRIBED_BY, of_label);
  atk_object_add_relationship(of_label, ATK_RELATION_DESCRIPTION_FOR, of_next);
  tell();
}

void NextUse::tell() {
  const std::string text = current();
  gtk_label_set_text(GTK_LABEL(label_), text.c_str());
  atk_object_set_name(gtk_widget_get_accessible(label_), text.c_str());  // a label's own tells nobody
  atk_object_set_description(gtk_widget_get_accessible(next_), text.c_str());
}

// The button that was active before is clicked by the toolkit too, and is none of the person's.
void NextUse::on_clicked(GtkToggleButton* radio, gpointer use) {
  if (gtk_toggle_button_get_active(radio) == FALSE) return;
  auto* next_use = static_cast<NextUse*>(use);
  next_use->tell();
  announce(next_use->label_, next_use->current());
}

// Whoever cannot see it hears first of all that the first radio button is active.
void NextUse::on_map(GtkWidget* /*window*/, gpointer use) {
  const auto* next_use = static_cast<NextUse*>(use);
  announce(next_use->label_, next_use->current());
}

void add_driver_rows(QuestionWindow& question, const WindowTexts& texts, NextUse* use) {
  GSList* group = nullptr;
  for (const DriverRow& row : driver_rows) {
    GtkWidget* radio = gtk_radio_button_new_with_mnemonic(group, texts[row.key].c_str());
    group = gtk_radio_button_get_group(GTK_RADIO_BUTTON(radio));
    g_signal_connect(radio, "clicked", row.on_clicked, nullptr);
    g_signal_connect(radio, "clicked", G_CALLBACK(NextUse::on_clicked), use);
    question.add(row.name, radio);
  }
}

// A line whose value is told later; hidden until then.
void add_named_line(QuestionWindow& question, const char* name, const std::string& text) {
  GtkWidget* label = new_wrapping_label(text, width_of_texts);
  question.add(name, label);
  gtk_widget_hide(label);
}

void tell_value(GtkWidget* window, const char* name, const std::string& value) {
  GtkWidget* label = lookup_widget(window, name);
  const std::string text = gtk_label_get_text(GTK_LABEL(label));
  gtk_label_set_text(GTK_LABEL(label), with_value(text, value).c_str());
  gtk_widget_show(label);
}

// ---- The windows of a share ------------------------------------------------------------------------------

constexpr int width_of_values = 200;

GtkWidget* new_url_label() { return new_wrapping_label("", width_of_texts); }

GtkWidget* new_value_label() { return new_wrapping_label("", width_of_values); }

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
  static constexpr Size size = {380, 310};
  QuestionWindow question("", size, G_CALLBACK(on_window_select_driver_delete_event));
  auto* use = new NextUse(texts);
  g_object_set_data_full(G_OBJECT(question.window()), "next use", use, NextUse::free);
  add_named_line(question, "label_printer", texts["window_select_driver-printer"]);
  add_named_line(question, "label_windows_driver", texts["window_select_driver-windowsdriver"]);
  question.add("label_20_driver_name",
               new_wrapping_label(texts["window_select_driver-label20"], width_of_texts));
  add_driver_rows(question, texts, use);
  question.add_beside_buttons("label_next_uses", use->label());
  GtkWidget* next = question.add_button("next2", texts["window_select_driver-next"],
                                        G_CALLBACK(on_window_select_driver_next2_clicked));
  use->describe(next);
  g_signal_connect_after(question.window(), "map", G_CALLBACK(NextUse::on_map), use);
  make_default(next);
  return with_icon(question.window(), isNLD);
}

void name_printer(GtkWidget* window, const std::string& printer, const std::string& windows_driver) {
  if (!printer.empty()) tell_value(window, "label_printer", printer);
  if (!windows_driver.empty()) tell_value(window, "label_windows_driver", windows_driver);
}

GtkWidget* create_smb_username_password_window() {
  const WindowTexts texts;
  if (texts.missing()) return nullptr;
  static constexpr Size size = {380, 220};
  QuestionWindow question(texts["smb_username_password_window"], size,
                          G_CALLBACK(on_smb_username_password_window_delete_event));
  question.add("label_header",
               new_wrapping_label(texts["smb_username_password_window-label_header"], width_of_texts));
  question.add("label_url", new_url_label());
  add_form(question, {new_user_field(texts["smb_username_password_window-label_username"], new_entry()),
                      new_password_field(texts["smb_username_password_window-label_password"], new_entry())});
  question.add("label_closing",
               new_wrapping_label(texts["smb_username_password_window-closing"], width_of_texts));
  make_default(question.add_button("next2", texts["smb_username_password_window-next"],
                                   G_CALLBACK(on_smb_username_password_next2_clicked)));
  return with_icon(question.window(), isNLD);
}

GtkWidget* create_smb_username_password_window2() {
  const WindowTexts texts;
  if (texts.missing()) return nullptr;
  static constexpr Size size = {380, 180};
  QuestionWindow question(texts["smb_username_password_window2"], size,
                          G_CALLBACK(on_smb_username_password_window2_delete_event));
  question.add("label_header",
               new_wrapping_label(texts["smb_username_password_window2-label_header"], width_of_texts));
  question.add("label_url", new_url_label());
  add_form(question,
           {new_user_field(texts["smb_username_password_window2-label_username"], new_value_label())});
  GtkWidget* back = question.add_button("back2", texts["smb_username_password_window2-back"],
                                        G_CALLBACK(on_smb_username_password_window2_back2_clicked));
  GtkWidget* next = question.add_button("next2", texts["smb_username_password_window2-next"],
                                        G_CALLBACK(on_smb_username_password_window2_next2_clicked));
  // What brings it is a press on the other window's Next.
  guard_keys(question.window());
  for (GtkWidget* button : {back, next}) guard_from_double_click(button);
  make_default(next);
  gtk_widget_grab_focus(next);
  return with_icon(question.window(), isNLD);
}
