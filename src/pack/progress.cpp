#include "pack/progress.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace pack {

namespace {

constexpr std::chrono::milliseconds between_two{200};

}  // namespace

Progress::Progress() : is_shown_(isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
  if (is_shown_) std::fputs("\r\033[K", stderr);
}

bool Progress::is_time(Clock::time_point now) {
  if (!is_shown_ || now - shown_ < between_two) return false;
  shown_ = now;
  return true;
}

void Progress::find() {
  ++found_;
  if (is_time(Clock::now()))
    std::fprintf(stderr, "\r%llu things found\033[K", static_cast<unsigned long long>(found_));
}

void Progress::begin(std::uint64_t total) {
  total_ = std::max<std::uint64_t>(total, 1);
  begun_ = Clock::now();
}

void Progress::add(std::uint64_t bytes) {
  done_ = std::min(done_ + bytes, total_);
  if (is_time(Clock::now())) show();
}

void Progress::show() const {
  const double passed = std::chrono::duration<double>(shown_ - begun_).count();
  std::fprintf(stderr, "\r%3.0f%% packed, about %s left\033[K",
               100 * static_cast<double>(done_) / static_cast<double>(total_),
               time_left(passed, done_, total_).c_str());
}

std::string time_left(double passed, std::uint64_t done, std::uint64_t total) {
  if (done == 0) return "?";
  const long seconds = std::lround(passed * static_cast<double>(total - done) / static_cast<double>(done));
  constexpr long minute = 60;
  constexpr long hour = 60 * minute;
  char text[64];
  if (seconds < hour) {
    std::snprintf(text, sizeof text, "%ld:%02ld", seconds / minute, seconds % minute);
  } else {
    std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", seconds / hour, seconds % hour / minute,
                  seconds % minute);
  }
  return text;
}

}  // namespace pack
