// A process that sees the machine through a layer of its own.
#ifndef BRINDLE_TESTS_SUPPORT_LAYER_H
#define BRINDLE_TESTS_SUPPORT_LAYER_H

#include <chrono>
#include <functional>
#include <optional>

namespace layer {

/// How the process ended.
struct Ended {
  int status = 0;  ///< its exit status, 128 + N for signal N
  bool in_time = true;
};

/// Runs `work` in a process of its own, which writes its standard output and error to the file `output`. What
/// it writes elsewhere, mounts or starts is gone when it has ended, and it is ended after `limit`. It has the
/// files of the caller's view copy-on-write, its own processes and /dev/shm, and the view's network. To be
/// called from inside a view, by a program with one thread. No value when the kernel refuses it, with the
/// reason on standard error.
std::optional<Ended> run(const std::function<int()>& work, int output, std::chrono::seconds limit);

}  // namespace layer

#endif
