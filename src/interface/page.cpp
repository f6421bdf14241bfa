#include "interface/page.h"

#include <gdk/gdkkeysyms.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "interface/fitting.h"
#include "interface/parts.h"
#include "interface/press_guard.h"

namespace {

constexpr int page_width = 640;
constexpr int page_height = 434;
constexpr Size button_size = {60, 25};
constexpr int space_below_heading = 6;
constexpr const char* arrangements_key = "brindle-arrangements";

using Arrangements = std::vector<std::function<void()>>;

// A page stays the size its picture was drawn for.
void fix_size(GtkWidget* window) {
  GdkGeometry limits{};
  limits.min_width = limits.max_width = page_width;
  limits.min_height = limits.max_height = page_height;
  gtk_window_set_geometry_hints(GTK_WINDOW(window), nullptr, &limits,
                                static_cast<GdkWindowHints>(GDK_HINT_MIN_SIZE | GDK_HINT_MAX_SIZE));
}

// Over the look's picture for a window, or null: the look's own.
void put_over_picture(GtkWidget* window, const char* picture) {
  GtkRcStyle* own = gtk_rc_style_new();
  own->bg_pixmap_name[GTK_STATE_NORMAL] = g_strdup(picture);
  gtk_widget_modify_style(window, own);
  g_object_unref(own);
}

// Once: the page may be shown again.
void show_content(GtkWidget* window, gpointer content) {
  g_signal_handlers_disconnect_by_func(window, reinterpret_cast<gpointer>(show_content), content);
  gdk_display_flush(gtk_widget_get_display(window));
  put_over_picture(window, nullptr);
  gtk_widget_show(GTK_WIDGET(content));
}

void delete_arrangements(gpointer arrangements) { delete static_cast<Arrangements*>(arrangements); }

// After the toolkit has asked each widget how large it would be, and before it gives them their places.
void arrange(GtkWidget* /*fixed*/, GtkRequisition* /*wish*/, gpointer arrangements) {
  for (const auto& arrangement : *static_cast<Arrangements*>(arrangements)) arrangement();
}

GtkWidget* new_page_label(const std::string& text, const char* style) {
  GtkWidget* label = gtk_label_new(text.c_str());
  gtk_label_set_line_wrap(GTK_LABEL(label), TRUE);
  gtk_widget_set_name(label, style);
  gtk_misc_set_alignment(GTK_MISC(label), 0.0F, 0.0F);
  gtk_widget_show(label);
  return label;
}

}  // namespace

Page::Page(const std::string& title, GCallback on_delete)
    : window_(gtk_window_new(GTK_WINDOW_TOPLEVEL)), fixed_(gtk_fixed_new()) {
  gtk_window_set_title(GTK_WINDOW(window_), title.c_str());
  gtk_window_set_position(GTK_WINDOW(window_), GTK_WIN_POS_CENTER);
  fix_size(window_);
  g_signal_connect(window_, "delete-event", on_delete, nullptr);
  gtk_widget_set_size_request(window_, page_width, page_height);
  gtk_widget_set_size_request(fixed_, page_width, page_height);
  gtk_container_add(GTK_CONTAINER(window_), fixed_);
  gtk_widget_show(fixed_);
  auto arrangements = std::make_unique<Arrangements>();
  g_signal_connect(fixed_, "size-request", G_CALLBACK(arrange), arrangements.get());
  g_object_set_data_full(G_OBJECT(fixed_), arrangements_key, arrangements.release(), delete_arrangements);
  guard_keys(window_);
}

GtkWidget* Page::put(const char* name, GtkWidget* widget, Position position, int width, int height) {
  gtk_widget_set_size_request(widget, width, height);
  gtk_fixed_put(GTK_FIXED(fixed_), widget, position.x, position.y);
  gtk_widget_show(widget);
  name_widget(window_, widget, name);
  return widget;
}

GtkWidget* Page::put_label(const char* name, GtkWidget* label, Position position, Size size) {
  when_measured([label, size] { shrink_to_fit(label, size.width, size.height); });
  return put(name, label, position, size.width, size.height);
}

void Page::put_heading(const std::string& title, const std::string& text, Position position, Size size) {
  GtkWidget* heading = new_page_label(title, "brindle_heading");
  GtkWidget* below = new_page_label(text, "brindle_text");
  atk_object_set_role(gtk_widget_get_accessible(heading), ATK_ROLE_HEADING);
  GtkWidget* both = gtk_vbox_new(FALSE, space_below_heading);
  for (GtkWidget* label : {heading, below}) {
    gtk_widget_set_size_request(label, size.width, -1);
    gtk_box_pack_start(GTK_BOX(both), label, FALSE, FALSE, 0);
  }
  put("words", both, position, size.width, size.height);
  name_widget(window_, heading, "heading");
  name_widget(window_, below, "text");
  gtk_widget_set_visible(below, !text.empty());
  when_measured([heading, below, size] {
    const bool alone = gtk_widget_get_visible(below) == FALSE;
    shrink_to_fit(heading, size.width, alone ? size.height : size.height / 2);
    const int used = size_of_text(heading, size.width).height + space_below_heading;
    if (!alone) shrink_to_fit(below, size.width, size.height - used);
  });
}

GtkWidget* Page::put_button(const char* name, const std::string& mnemonic, Position position, Room room,
                            GCallback on_clicked) {
  GtkWidget* button = new_button(mnemonic, on_clicked);
  guard_from_double_click(button);
  when_measured([page = *this, button, position, room] {
    const int wish = width_for_caption(button);
    const int most = room.right - room.left;
    const int width = std::max(button_size.width, std::min(wish, most));
    const int right =
        width == button_size.width ? position.x + width : std::min(position.x + width, room.right);
    page.move(button, {right - width, position.y});
    page.resize(button, {width, button_size.height});
    shrink_caption_to_fit(button, width, button_size.height);
  });
  return put(name, button, position, button_size.width, button_size.height);
}

void Page::when_measured(std::function<void()> arrange) {
  auto* arrangements = static_cast<Arrangements*>(g_object_get_data(G_OBJECT(fixed_), arrangements_key));
  arrangements->push_back(std::move(arrange));
}

void Page::move(GtkWidget* widget, Position position) const {
  Position now;
  gtk_container_child_get(GTK_CONTAINER(fixed_), widget, "x", &now.x, "y", &now.y, nullptr);
  if (now.x != position.x || now.y != position.y)
    gtk_fixed_move(GTK_FIXED(fixed_), widget, position.x, position.y);
}

void Page::resize(GtkWidget* widget, Size size) const {
  Size now;
  gtk_widget_get_size_request(widget, &now.width, &now.height);
  if (now.width != size.width || now.height != size.height)
    gtk_widget_set_size_request(widget, size.width, size.height);
}

void Page::set_tab_order(std::initializer_list<GtkWidget*> widgets) {
  GList* order = nullptr;
  for (GtkWidget* widget : widgets) order = g_list_append(order, widget);
  gtk_container_set_focus_chain(GTK_CONTAINER(fixed_), order);
  g_list_free(order);
}

void Page::escape_presses(GtkWidget* button) {
  GtkAccelGroup* keys = gtk_accel_group_new();
  gtk_window_add_accel_group(GTK_WINDOW(window_), keys);
  gtk_widget_add_accelerator(button, "clicked", keys, GDK_KEY_Escape, GdkModifierType{}, GtkAccelFlags{});
  g_object_unref(keys);
}

void Page::appear_before_content() {
  gtk_widget_hide(fixed_);
  put_over_picture(window_, "<none>");
  g_signal_connect_after(window_, "map", G_CALLBACK(show_content), fixed_);
}
