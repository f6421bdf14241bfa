#include "interface/fitting.h"

#include <memory>

namespace {

// In hundredths, since they are compared.
constexpr int full_size = 100;
constexpr int smallest_size = 60;
constexpr int step = 4;
constexpr const char* size_key = "brindle-size";

struct Unref {
  void operator()(PangoLayout* layout) const { g_object_unref(layout); }
  void operator()(PangoAttrList* attributes) const { pango_attr_list_unref(attributes); }
};

using Attributes = std::unique_ptr<PangoAttrList, Unref>;

Attributes attributes_for(int size) {
  Attributes attributes(pango_attr_list_new());
  if (size != full_size) pango_attr_list_insert(attributes.get(), pango_attr_scale_new(size / 100.0));
  return attributes;
}

GtkRequisition measured(GtkWidget* label, int size, int width) {
  const std::unique_ptr<PangoLayout, Unref> layout(
      gtk_widget_create_pango_layout(label, gtk_label_get_text(GTK_LABEL(label))));
  pango_layout_set_attributes(layout.get(), attributes_for(size).get());
  if (gtk_label_get_line_wrap(GTK_LABEL(label)) != FALSE)
    pango_layout_set_width(layout.get(), width * PANGO_SCALE);
  GtkRequisition pixels{};
  pango_layout_get_pixel_size(layout.get(), &pixels.width, &pixels.height);
  return pixels;
}

int size_of(GtkWidget* label) {
  const int kept = GPOINTER_TO_INT(g_object_get_data(G_OBJECT(label), size_key));
  return kept == 0 ? full_size : kept;
}

void set_size(GtkWidget* label, int size) {
  if (size == size_of(label)) return;
  g_object_set_data(G_OBJECT(label), size_key, GINT_TO_POINTER(size));
  gtk_label_set_attributes(GTK_LABEL(label), attributes_for(size).get());
}

GtkWidget* caption_of(GtkWidget* button) { return gtk_bin_get_child(GTK_BIN(button)); }

// What a button has around its caption.
GtkRequisition frame_of(GtkWidget* button) {
  GtkRequisition whole{};
  gtk_widget_get_requisition(button, &whole);
  const GtkRequisition caption = size_of_text(caption_of(button), 0);
  return {whole.width - caption.width, whole.height - caption.height};
}

}  // namespace

void shrink_to_fit(GtkWidget* label, int width, int height) {
  const auto fits = [&](int size) {
    const GtkRequisition text = measured(label, size, width);
    return text.width <= width && text.height <= height;
  };
  int size = full_size;
  while (size > smallest_size && !fits(size)) size -= step;
  set_size(label, size);
}

GtkRequisition size_of_text(GtkWidget* label, int width) { return measured(label, size_of(label), width); }

void shrink_caption_to_fit(GtkWidget* button, int width, int height) {
  const GtkRequisition frame = frame_of(button);
  shrink_to_fit(caption_of(button), width - frame.width, height - frame.height);
}

int width_for_caption(GtkWidget* button) {
  return frame_of(button).width + measured(caption_of(button), full_size, 0).width;
}
