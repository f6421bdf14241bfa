// How the time of some work grows with what it is given.
#ifndef BRINDLE_TESTS_PACK_GROWTH_H
#define BRINDLE_TESTS_PACK_GROWTH_H

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <functional>

namespace growth {

/// The processor's time for `work`, in seconds: the shortest of a few tries, whatever else the machine does.
inline double seconds_of(const std::function<void()>& work, int tries = 3) {
  const auto now = [] {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
  };
  double shortest = 1e9;
  for (int i = 0; i < tries; ++i) {
    const double begin = now();
    work();
    shortest = std::min(shortest, now() - begin);
  }
  return shortest;
}

/// How many times as long `work` takes for four times as much: about 4 when its time grows with the size, and
/// 16 when it grows with the size's square.
inline double of_time(const std::function<void(std::size_t size)>& work, std::size_t size) {
  const double once = seconds_of([&] { work(size); });
  return seconds_of([&] { work(4 * size); }) / once;
}

/// What is between the two.
inline constexpr double most = 8;

}  // namespace growth

#endif
