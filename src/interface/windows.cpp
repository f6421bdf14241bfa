#include "interface/windows.h"

#include <gtk/gtk.h>

#include <initializer_list>

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

void destroy_window_of(GtkWidget* widget) { gtk_widget_destroy(gtk_widget_get_toplevel(widget)); }
