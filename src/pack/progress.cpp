#include "pack/progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace pack {

namespace {

constexpr std::chrono::milliseconds between_two{200};

}  // namespace

Progress::Progress(std::uint64_t total)
    : total_(std::max<std::uint64_t>(total, 1)), is_shown_(isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
  if (is_shown_) std::fputs("\r\033[K", stderr);
}

void Progress::add(std::uint64_t bytes) {
  done_ = std::min(done_ + bytes, total_);
  if (!is_shown_) return;
  const Clock::time_point now = Clock::now();
  if (now - shown_ >= between_two) show(now);
}

void Progress::show(Clock::time_point now) {
  shown_ = now;
  const double part = static_cast<double>(done_) / static_cast<double>(total_);
  const double passed = std::chrono::duration<double>(now - begun_).count();
  const auto left = static_cast<long>(passed / part - passed + 0.5);
  std::fprintf(stderr, "\r%3.0f%% packed, about %ld:%02ld left\033[K", part * 100, left / 60, left % 60);
}

}  // namespace pack
