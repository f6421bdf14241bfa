#include "interface/parts.h"

#include <memory>

#include "support/images.h"
#include "system/language.h"
#include "system/windows_text.h"

std::string shown_text(const char* text) {
  if (text == nullptr) return "";
  const std::unique_ptr<char, void (*)(void*)> valid(g_utf8_make_valid(text, -1), g_free);
  return valid.get();
}

std::string shown_name(const char* name) {
  return shown_text(name == nullptr ? "" : as_utf8(name, persons_locale()).c_str());
}

std::string with_value(std::string text, const std::string& value) {
  const std::size_t place = text.find("%s");
  return place == std::string::npos ? text : text.replace(place, 2, value);
}

GtkWidget* with_icon(GtkWidget* window, int nld) {
  if (window == nullptr) return nullptr;
  const char* path =
      nld == 1 ? "/opt/gnome/share/pixmaps/Brindle_Icon.png" : "/usr/share/pixmaps/Brindle_Icon.png";
  GdkPixbuf* icon = create_pixbuf(path);
  if (icon != nullptr) gtk_window_set_icon(GTK_WINDOW(window), icon);
  g_clear_object(&icon);
  return window;
}

GtkWidget* new_button(const std::string& mnemonic, GCallback on_clicked) {
  GtkWidget* button = gtk_button_new_with_mnemonic(mnemonic.c_str());
  g_signal_connect(button, "clicked", on_clicked, nullptr);
  return button;
}

GtkWidget* new_stock_button(const char* stock, GCallback on_clicked) {
  GtkWidget* button = gtk_button_new_from_stock(stock);
  g_signal_connect(button, "clicked", on_clicked, nullptr);
  return button;
}

void set_accessible_label(GtkWidget* widget, GtkWidget* label, const std::string& name) {
  AtkObject* of_widget = gtk_widget_get_accessible(widget);
  AtkObject* of_label = gtk_widget_get_accessible(label);
  atk_object_add_relationship(of_widget, ATK_RELATION_LABELLED_BY, of_label);
  // Not for a radio button: its accessible complains about relations that it has not made itself.
  if (GTK_IS_LABEL(label)) atk_object_add_relationship(of_label, ATK_RELATION_LABEL_FOR, of_widget);
  atk_object_set_name(of_widget, name.c_str());
}

void announce(GtkWidget* widget, const std::string& text) {
  // Accessibility libraries of before 2022 have no such signal.
  const guint announcement = g_signal_lookup("announcement", ATK_TYPE_OBJECT);
  if (announcement != 0) g_signal_emit(gtk_widget_get_accessible(widget), announcement, 0, text.c_str());
}

void set_editable(GtkWidget* entry, bool editable) {
  gtk_editable_set_editable(GTK_EDITABLE(entry), editable);
  show_whether_editable(entry);
}

void show_whether_editable(GtkWidget* entry) {
  if (!gtk_widget_get_realized(entry)) return;  // "map" comes back here
  const bool editable = gtk_editable_get_editable(GTK_EDITABLE(entry));
  const GdkColor locked = gtk_widget_get_style(entry)->base[GTK_STATE_INSENSITIVE];
  gtk_widget_modify_base(entry, GTK_STATE_NORMAL, editable ? nullptr : &locked);
}

void make_default(GtkWidget* button) {
  gtk_widget_set_can_default(button, TRUE);
  gtk_widget_grab_default(button);
}

std::string without_mnemonic(const std::string& caption) {
  std::string name;
  for (std::size_t at = 0; at < caption.size(); ++at) {
    if (caption.compare(at, 2, "(_") == 0 && caption.substr(at).find(')') == 3) {
      at += 3;
      continue;
    }
    if (caption[at] == '_' && ++at == caption.size()) break;  // "__" is one underscore
    name += caption[at];
  }
  return name;
}
