#include "pack/disk/stop.h"

#include <atomic>

namespace pack {

namespace {

// Written by a signal's handler, once.
std::atomic<bool> is_asked = false;
static_assert(std::atomic<bool>::is_always_lock_free);

}  // namespace

void ask_to_stop() { is_asked = true; }

bool is_asked_to_stop() { return is_asked; }

void stop_when_asked() {
  if (is_asked) throw Interrupted();
}

}  // namespace pack
