// How far the packing is, on a terminal.
#ifndef BRINDLE_PACK_PROGRESS_H
#define BRINDLE_PACK_PROGRESS_H

#include <chrono>
#include <cstdint>

namespace pack {

/// Shows on standard error, when that is a terminal, how much of the disk is packed and how long the rest
/// takes; and nothing elsewhere.
class Progress {
 public:
  /// Of so many bytes in all.
  explicit Progress(std::uint64_t total);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  /// Takes its line away.
  ~Progress();

  void add(std::uint64_t bytes);

 private:
  using Clock = std::chrono::steady_clock;

  void show(Clock::time_point now);

  std::uint64_t total_;
  std::uint64_t done_ = 0;
  Clock::time_point begun_ = Clock::now();
  Clock::time_point shown_ = begun_;
  bool is_shown_;
};

}  // namespace pack

#endif
