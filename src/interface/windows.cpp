#include "interface/windows.h"

#include <gtk/gtk.h>

#include <chrono>
#include <initializer_list>

namespace {

gboolean note_drawing(GtkWidget* /*window*/, GdkEvent* /*event*/, gpointer drawn) {
  *static_cast<bool*>(drawn) = true;
  return FALSE;
}

// False once the main loop was left.
bool serve_windows_until(const bool& done) {
  constexpr auto longest = std::chrono::seconds(1);
  constexpr gulong pause_microseconds = 2000;
  const auto end = std::chrono::steady_clock::now() + longest;
  while (!done && std::chrono::steady_clock::now() < end) {
    if (gtk_main_iteration_do(FALSE) != FALSE) return false;
    if (gtk_events_pending() == FALSE) g_usleep(pause_microseconds);
  }
  return true;
}

}  // namespace

GtkWidget* window1 = nullptr;
GtkWidget* window2 = nullptr;
GtkWidget* window3 = nullptr;
GtkWidget* window4 = nullptr;
GtkWidget* fileselection = nullptr;
GtkWidget* quit_dialog = nullptr;
GtkWidget* dialog_done = nullptr;
GtkWidget* dialog_multi_user_error = nullptr;
GtkWidget* dialog_printer_error = nullptr;
GtkWidget* dialog_user_error = nullptr;
GtkWidget* window_select_driver = nullptr;
GtkWidget* smb_username_password_window = nullptr;
GtkWidget* smb_username_password_window2 = nullptr;

void keep_window(GtkWidget*& window, GtkWidget* built) {
  window = built;
  if (built != nullptr) g_signal_connect(built, "destroy", G_CALLBACK(gtk_widget_destroyed), &window);
}

void show_over_page(GtkWidget* dialog) {
  if (dialog == nullptr) return;
  for (GtkWidget* page : {window1, window2, window3}) {
    if (page != nullptr && gtk_widget_get_visible(page)) {
      gtk_window_set_transient_for(GTK_WINDOW(dialog), GTK_WINDOW(page));
    }
  }
  gtk_widget_show(dialog);
}

void wait_until_drawn(GtkWidget* window) {
  if (window == nullptr) return;
  bool drawn = false;
  g_object_ref(window);
  const gulong drawing = g_signal_connect_after(window, "expose-event", G_CALLBACK(note_drawing), &drawn);
  if (serve_windows_until(drawn)) {
    gdk_window_process_all_updates();
    gdk_display_sync(gtk_widget_get_display(window));
  }
  if (g_signal_handler_is_connected(window, drawing) != FALSE) g_signal_handler_disconnect(window, drawing);
  g_object_unref(window);
}

void destroy_question_windows() {
  // The confirmation first: it belongs to the other window of a share.
  for (GtkWidget* window : {smb_username_password_window2, smb_username_password_window, window_select_driver,
                            dialog_printer_error, dialog_user_error}) {
    if (window != nullptr) gtk_widget_destroy(window);
  }
}

void destroy_window_of(GtkWidget* widget) { gtk_widget_destroy(gtk_widget_get_toplevel(widget)); }
