#include "support/sleeps.h"

#include <atomic>
#include <thread>
#include <utility>

#include "state/sleep.h"

namespace sleeps {

namespace {

using std::chrono::milliseconds;

std::atomic<milliseconds::rep> sum{0};
std::function<bool()> condition;

void sleep_shortly(milliseconds time) {
  sum += time.count();
  std::this_thread::sleep_for(time / 20);
}

void sleep_until_condition(milliseconds time) {
  sum += time.count();
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!condition() && std::chrono::steady_clock::now() < end) std::this_thread::sleep_for(milliseconds(1));
}

}  // namespace

void are_short() {
  sum = 0;
  waiting::sleep_with(sleep_shortly);
}

void end_when(std::function<bool()> is_over) {
  sum = 0;
  condition = std::move(is_over);
  waiting::sleep_with(sleep_until_condition);
}

milliseconds meant() { return milliseconds(sum); }

}  // namespace sleeps
