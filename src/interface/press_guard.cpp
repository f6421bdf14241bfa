#include "interface/press_guard.h"

#include <gdk/gdkkeysyms.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace {

constexpr const char* bringer_key = "brindle-bringer";

// Longer than people take between two halves of a double click, and than a held key takes until it repeats.
constexpr gint64 longest_press_milliseconds = 800;
constexpr double reach_of_a_click = 8;  // a hand is not quite still

/// What has brought a page on the screen, or back to the front.
struct Bringer {
  enum class Kind { none, mouse, key } kind = Kind::none;
  guint32 time = 0;     ///< of a press by mouse, by the display's clock
  double x = 0, y = 0;  ///< where, on the screen
  guint key = 0;        ///< 0: one that a button was pressed by
  gint64 last_key = 0;  ///< when the page came or the key was last held back, in milliseconds
};

gint64 milliseconds_now() { return g_get_monotonic_time() / 1000; }

bool presses_buttons(guint key) {
  constexpr guint keys[] = {GDK_KEY_Return, GDK_KEY_KP_Enter, GDK_KEY_ISO_Enter, GDK_KEY_space,
                            GDK_KEY_KP_Space};
  return std::ranges::find(keys, key) != std::end(keys);
}

Bringer bringer_of(const GdkEvent* event) {
  using Kind = Bringer::Kind;
  // A button that is pressed by a key is released by a timer, without an event, when the key is held.
  const bool in_main_loop = gtk_main_level() > 0;
  if (event == nullptr)
    return {.kind = in_main_loop ? Kind::key : Kind::none, .last_key = milliseconds_now()};
  if (event->type == GDK_BUTTON_RELEASE)
    return {.kind = Kind::mouse,
            .time = event->button.time,
            .x = event->button.x_root,
            .y = event->button.y_root};
  if (event->type == GDK_KEY_PRESS || event->type == GDK_KEY_RELEASE)
    return {.kind = Kind::key, .key = event->key.keyval, .last_key = milliseconds_now()};
  return {};
}

void note_bringer(GtkWidget* /*page*/, gpointer bringer) {
  GdkEvent* event = gtk_get_current_event();
  *static_cast<Bringer*>(bringer) = bringer_of(event);
  if (event != nullptr) gdk_event_free(event);
}

void note_closing(GtkWidget* window, gpointer /*data*/) {
  GtkWindow* page = gtk_window_get_transient_for(GTK_WINDOW(window));
  gpointer bringer = page == nullptr ? nullptr : g_object_get_data(G_OBJECT(page), bringer_key);
  if (bringer != nullptr) note_bringer(nullptr, bringer);
}

gboolean hold_key_back(GtkWidget* /*page*/, GdkEventKey* event, gpointer data) {
  auto& bringer = *static_cast<Bringer*>(data);
  if (bringer.kind != Bringer::Kind::key) return FALSE;
  const bool same_key = bringer.key == 0 ? presses_buttons(event->keyval) : event->keyval == bringer.key;
  const gint64 now = milliseconds_now();
  if (!same_key || now - bringer.last_key > longest_press_milliseconds) return FALSE;
  bringer.last_key = now;
  return TRUE;
}

gboolean hold_click_back(GtkWidget* button, GdkEventButton* event, gpointer /*data*/) {
  const auto* bringer =
      static_cast<Bringer*>(g_object_get_data(G_OBJECT(gtk_widget_get_toplevel(button)), bringer_key));
  if (bringer == nullptr || bringer->kind != Bringer::Kind::mouse) return FALSE;
  const bool same_place =
      std::hypot(event->x_root - bringer->x, event->y_root - bringer->y) <= reach_of_a_click;
  return same_place && event->time - bringer->time <= longest_press_milliseconds ? TRUE : FALSE;
}

void delete_bringer(gpointer bringer) { delete static_cast<Bringer*>(bringer); }

}  // namespace

void guard_keys(GtkWidget* page) {
  auto bringer = std::make_unique<Bringer>();
  g_signal_connect(page, "show", G_CALLBACK(note_bringer), bringer.get());
  g_signal_connect(page, "key-press-event", G_CALLBACK(hold_key_back), bringer.get());
  g_object_set_data_full(G_OBJECT(page), bringer_key, bringer.release(), delete_bringer);
}

void guard_from_double_click(GtkWidget* button) {
  g_signal_connect(button, "button-press-event", G_CALLBACK(hold_click_back), nullptr);
}

void guard_page_behind(GtkWidget* window) {
  g_signal_connect(window, "hide", G_CALLBACK(note_closing), nullptr);
}
