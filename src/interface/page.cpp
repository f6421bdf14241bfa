#include "interface/page.h"

#include "interface/parts.h"

namespace {

constexpr int page_width = 640;
constexpr int page_height = 434;

// A page stays the size its picture was drawn for.
void fix_size(GtkWidget* window) {
  GdkGeometry limits{};
  limits.min_width = limits.max_width = page_width;
  limits.min_height = limits.max_height = page_height;
  gtk_window_set_geometry_hints(GTK_WINDOW(window), nullptr, &limits,
                                static_cast<GdkWindowHints>(GDK_HINT_MIN_SIZE | GDK_HINT_MAX_SIZE));
}

void show_content(GtkWidget* window, gpointer content) {
  gdk_display_flush(gtk_widget_get_display(window));
  gtk_widget_show(GTK_WIDGET(content));
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
}

GtkWidget* Page::put(const char* name, GtkWidget* widget, Position position, int width, int height) {
  gtk_widget_set_size_request(widget, width, height);
  gtk_fixed_put(GTK_FIXED(fixed_), widget, position.x, position.y);
  gtk_widget_show(widget);
  name_widget(window_, widget, name);
  return widget;
}

GtkWidget* Page::put_button(const char* name, const std::string& mnemonic, Position position,
                            GCallback on_clicked) {
  return put(name, new_button(mnemonic, on_clicked), position, 60, 25);
}

void Page::appear_before_content() {
  gtk_widget_hide(fixed_);
  g_signal_connect_after(window_, "map", G_CALLBACK(show_content), fixed_);
}
