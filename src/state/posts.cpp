#include "state/posts.h"

#include <glib.h>

#include <atomic>

namespace {

// GLib orders both sides already, with locks of its own. Counting the hand-overs says the same in the
// language's terms, so that the sanitizers can check it too.
std::atomic<unsigned> hand_overs{0};

}  // namespace

void post_to_gui(int (*callback)(void*), void* data) {
  hand_overs.fetch_add(1, std::memory_order_acq_rel);
  g_idle_add(callback, data);
}

void take_hand_over() { hand_overs.fetch_add(1, std::memory_order_acq_rel); }
