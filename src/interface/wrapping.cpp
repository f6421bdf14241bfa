#include "interface/wrapping.h"

#include <algorithm>

namespace {

constexpr const char* digits = "0123456789";
constexpr int usual_width_of_digits = 90;  // in Sans 10 at 96 dpi, what desktops begin with

int width_of_digits(GtkWidget* label) {
  PangoLayout* layout = gtk_widget_create_pango_layout(label, digits);
  int width = 0;
  pango_layout_get_pixel_size(layout, &width, nullptr);
  g_object_unref(layout);
  return width;
}

// Also when the person changes the font, or the display its resolution.
void on_font(GtkWidget* label, GtkStyle* /*before*/, gpointer width) {
  const int usual = GPOINTER_TO_INT(width);
  const int scaled = usual * width_of_digits(label) / usual_width_of_digits;
  gtk_widget_set_size_request(label, std::max(usual, scaled), -1);
}

}  // namespace

void wrap_label(GtkWidget* label, int width) {
  gtk_label_set_line_wrap(GTK_LABEL(label), TRUE);
  gtk_label_set_line_wrap_mode(GTK_LABEL(label), PANGO_WRAP_WORD_CHAR);
  gtk_widget_set_size_request(label, width, -1);
  g_signal_connect(label, "style-set", G_CALLBACK(on_font), GINT_TO_POINTER(width));
}

GtkWidget* new_wrapping_label(const std::string& text, int width) {
  GtkWidget* label = gtk_label_new(text.c_str());
  gtk_misc_set_alignment(GTK_MISC(label), 0.0F, 0.5F);
  wrap_label(label, width);
  return label;
}
