// How far the packing is, on a terminal.
#ifndef BRINDLE_PACK_PROGRESS_H
#define BRINDLE_PACK_PROGRESS_H

#include <chrono>
#include <cstdint>
#include <string>

namespace pack {

/// Shows on standard error, when that is a terminal, what is looked at first, and then how much of the disk
/// is packed and how long the rest takes; and nothing elsewhere.
class Progress {
 public:
  Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  /// Takes its line away.
  ~Progress();

  /// One thing more has been found.
  void find();

  /// From now on it is packed: so many bytes in all.
  void begin(std::uint64_t total);
  void add(std::uint64_t bytes);

 private:
  using Clock = std::chrono::steady_clock;

  bool is_time(Clock::time_point now);
  void show() const;

  bool is_shown_;
  std::uint64_t found_ = 0;
  std::uint64_t total_ = 0;
  std::uint64_t done_ = 0;
  Clock::time_point begun_ = Clock::now();
  Clock::time_point shown_{};
};

/// What is left when `done` of `total` bytes took `passed` seconds: "0:07", "12:00", "1:00:00".
std::string time_left(double passed, std::uint64_t done, std::uint64_t total);

}  // namespace pack

#endif
