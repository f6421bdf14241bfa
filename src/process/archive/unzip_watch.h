// Looks on while unzip works and ends it when it goes too far. The checks before a run go by what the
// archive's list says, and a list can lie; a million empty files need no byte by the list, but a place each.
#ifndef BRINDLE_PROCESS_ARCHIVE_UNZIP_WATCH_H
#define BRINDLE_PROCESS_ARCHIVE_UNZIP_WATCH_H

#include <atomic>
#include <cstdint>
#include <limits>
#include <string>
#include <thread>

/// What an unzip went too far in.
enum class Overrun {
  none,
  room,     ///< next to nothing is left on the disk that it unpacks on, of bytes or of places for files
  listing,  ///< it writes more than the archive's list has
};

/// Lives while an unzip that names `folder` runs, as a command of this process.
class UnzipWatch {
 public:
  /// `archive`: the zip. One whose list cannot be read is watched for room alone.
  UnzipWatch(const std::string& archive, const std::string& folder);

  /// Ends the watching. Anything but `none`: unzip has been ended, and what lies in the folder is a part.
  Overrun end();

 private:
  std::atomic<Overrun> found_{Overrun::none};
  // Endless until the archive's list is read, which goes on beside unzip.
  std::atomic<std::uint64_t> most_written_{std::numeric_limits<std::uint64_t>::max()};
  std::jthread reader_;  // last: both use the others
  std::jthread watcher_;
};

#endif
