// The least that a GTK+ 2 program can do: one window of the wizard's size. With an argument there is one
// word in it, which is what makes the toolkit read its fonts.
#include <gtk/gtk.h>

int main(int argc, char** argv) {
  gtk_init(&argc, &argv);
  GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_window_set_default_size(GTK_WINDOW(window), 640, 434);
  if (argc > 1) gtk_container_add(GTK_CONTAINER(window), gtk_label_new("word"));
  gtk_widget_show_all(window);
  gtk_main();
}
