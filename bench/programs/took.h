// What a part of a program takes, for programs in which not all of it counts.
#ifndef BRINDLE_BENCH_PROGRAMS_TOOK_H
#define BRINDLE_BENCH_PROGRAMS_TOOK_H

#include <sys/resource.h>
#include <sys/time.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace bench {

/// Measures from when it is made to `report`.
class Took {
 public:
  /// Writes seconds, those of the processor in the program and in the kernel for it, and the largest resident
  /// memory of the program in kilobytes, to the file that bench/run has named. Commands that were run
  /// meanwhile count for the first alone.
  void report() const {
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start_;
    const rusage now = used();
    const char* path = std::getenv("BRINDLE_BENCH_REPORT");
    std::FILE* file = path == nullptr ? nullptr : std::fopen(path, "w");
    if (file == nullptr) return;
    std::fprintf(file, "%.6f %.6f %.6f %ld\n", seconds.count(),
                 seconds_of(now.ru_utime) - seconds_of(used_.ru_utime),
                 seconds_of(now.ru_stime) - seconds_of(used_.ru_stime), now.ru_maxrss);
    std::fclose(file);
  }

 private:
  static rusage used() {
    rusage used{};
    getrusage(RUSAGE_SELF, &used);
    return used;
  }
  static double seconds_of(const timeval& time) { return double(time.tv_sec) + double(time.tv_usec) / 1e6; }

  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  const rusage used_ = used();
};

}  // namespace bench

#endif
