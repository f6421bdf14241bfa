#include "state/sleep.h"

#include <atomic>
#include <thread>

namespace {

std::atomic<waiting::Sleeper> other_sleeper{nullptr};

}  // namespace

namespace waiting {

void sleep_for(std::chrono::milliseconds time) {
  const Sleeper sleeper = other_sleeper;
  if (sleeper != nullptr) return sleeper(time);
  std::this_thread::sleep_for(time);
}

void sleep_with(Sleeper sleeper) { other_sleeper = sleeper; }

}  // namespace waiting
