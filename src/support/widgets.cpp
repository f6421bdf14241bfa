#include "support/widgets.h"

#include <gtk/gtk.h>

void name_widget(GtkWidget* window, GtkWidget* widget, const char* name) {
  g_object_set_data_full(G_OBJECT(window), name, g_object_ref(widget), g_object_unref);
}

GtkWidget* lookup_widget(GtkWidget* widget, const char* name) {
  if (widget == nullptr) return nullptr;
  while (!GTK_IS_WINDOW(widget)) {
    widget = gtk_widget_get_parent(widget);
    if (widget == nullptr) return nullptr;
  }
  return static_cast<GtkWidget*>(g_object_get_data(G_OBJECT(widget), name));
}
