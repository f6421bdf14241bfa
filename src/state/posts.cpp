#include "state/posts.h"

#include <glib.h>

#include <atomic>

namespace {

// GLib orders both sides already, with locks of its own. Counting the hand-overs says the same in the
// language's terms, so that the sanitizers can check it too.
std::atomic<unsigned> hand_overs{0};

gboolean end_timeout(gpointer id) {
  // Asking first keeps GLib from complaining about one that has gone.
  GSource* source = g_main_context_find_source_by_id(nullptr, GPOINTER_TO_UINT(id));
  if (source != nullptr) g_source_destroy(source);
  return G_SOURCE_REMOVE;
}

}  // namespace

void post_to_gui(int (*callback)(void*), void* data) {
  hand_overs.fetch_add(1, std::memory_order_acq_rel);
  g_idle_add(callback, data);
}

void take_hand_over() { hand_overs.fetch_add(1, std::memory_order_acq_rel); }

void remove_progress_timeout(int id) {
  // The main loop frees a timeout that ends, so only the loop's own thread may look for it: what was found
  // on another one could be gone before it is ended.
  if (id != 0) g_main_context_invoke(nullptr, end_timeout, GUINT_TO_POINTER(static_cast<guint>(id)));
}
