#include "interface/windows.h"

#include <gtk/gtk.h>

#include <chrono>
#include <initializer_list>

namespace {

// Sees a window that is about to be shown come to the screen and be drawn there. The toolkit draws it before
// that too, to no effect.
class FirstDrawing {
 public:
  explicit FirstDrawing(GtkWidget* window) : window_(GTK_WIDGET(g_object_ref(window))) {
    gtk_widget_add_events(window, GDK_VISIBILITY_NOTIFY_MASK);
    g_signal_connect(window, "visibility-notify-event", G_CALLBACK(note_visibility), this);
    g_signal_connect_after(window, "expose-event", G_CALLBACK(note_drawing), this);
  }
  ~FirstDrawing() {
    g_signal_handlers_disconnect_by_data(window_, this);
    g_object_unref(window_);
  }
  FirstDrawing(const FirstDrawing&) = delete;
  FirstDrawing& operator=(const FirstDrawing&) = delete;

  bool is_over() const { return drawn_; }

 private:
  static gboolean note_visibility(GtkWidget* /*window*/, GdkEvent* /*event*/, gpointer drawing) {
    static_cast<FirstDrawing*>(drawing)->visible_ = true;
    return FALSE;
  }
  static gboolean note_drawing(GtkWidget* /*window*/, GdkEvent* /*event*/, gpointer drawing) {
    auto* first = static_cast<FirstDrawing*>(drawing);
    first->drawn_ = first->visible_;
    return FALSE;
  }

  GtkWidget* window_;
  bool visible_ = false;
  bool drawn_ = false;
};

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

void show_drawn_over_page(GtkWidget* dialog) {
  if (dialog == nullptr) return;
  constexpr auto longest = std::chrono::seconds(1);
  constexpr gulong pause_microseconds = 2000;
  const FirstDrawing drawing(dialog);
  show_over_page(dialog);
  const auto end = std::chrono::steady_clock::now() + longest;
  while (!drawing.is_over() && std::chrono::steady_clock::now() < end) {
    if (gtk_main_iteration_do(FALSE) != FALSE) return;  // the main loop was left
    if (gtk_events_pending() == FALSE) g_usleep(pause_microseconds);
  }
  gdk_display_sync(gdk_display_get_default());
}

void destroy_question_windows() {
  // The confirmation first: it belongs to the other window of a share.
  for (GtkWidget* window : {smb_username_password_window2, smb_username_password_window, window_select_driver,
                            dialog_printer_error, dialog_user_error}) {
    if (window != nullptr) gtk_widget_destroy(window);
  }
}

void destroy_window_of(GtkWidget* widget) { gtk_widget_destroy(gtk_widget_get_toplevel(widget)); }
