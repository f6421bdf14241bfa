#include "process/archive/unzip_watch.h"

#include <sys/statvfs.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <mutex>
#include <optional>
#include <stop_token>
#include <system_error>

#include "process/archive/work_folder.h"
#include "process/archive/zip.h"
#include "shell/files.h"

namespace {

constexpr std::chrono::milliseconds pause_between_looks{5};

// ---- Room ------------------------------------------------------------------------------------------------

struct Room {
  std::uint64_t bytes;
  std::uint64_t files;
};

constexpr std::uint64_t endless = std::numeric_limits<std::uint64_t>::max();

Room room_in(const std::string& folder) {
  struct statvfs disk {};
  if (statvfs(folder.c_str(), &disk) != 0) return {endless, endless};
  // A file system that makes places for files as they are needed counts none.
  return {std::uint64_t{disk.f_bavail} * disk.f_frsize, disk.f_files == 0 ? endless : disk.f_favail};
}

// What has to stay free, for all that works beside unzip. An archive that the checks have let pass needs less
// than half of what was free at the start.
Room reserve_of(const Room& at_start) {
  constexpr std::uint64_t enough_bytes = 256 * 1024 * 1024;
  constexpr std::uint64_t enough_files = 16 * 1024;
  return {std::min(at_start.bytes / 4, enough_bytes), std::min(at_start.files / 4, enough_files)};
}

// ---- What may be written ---------------------------------------------------------------------------------

std::uint64_t sum(std::uint64_t one, std::uint64_t other) {
  return one > endless - other ? endless : one + other;
}

// In bytes, with what unzip prints: a line for each entry, which has its name, sometimes twice.
std::uint64_t most_written(const std::string& archive) {
  const Zip zip(archive);
  if (!zip) return endless;
  constexpr std::uint64_t words_of_a_line = 512;
  constexpr std::uint64_t rounding = 4 * 1024 * 1024;
  std::uint64_t most = rounding;
  for (std::uint64_t number = 0; number < zip.count(); ++number) {
    most = sum(most, zip.entry(number).size);
    most = sum(most, words_of_a_line + 4 * std::strlen(zip.name(number)));
  }
  return most;
}

// All that the process has handed to write(2) so far; no value when it is gone.
std::optional<std::uint64_t> written_by(pid_t process) {
  const File counts = open_file("/proc/" + std::to_string(process) + "/io", "r");
  unsigned long long written = 0;
  if (!counts || std::fscanf(counts.get(), "rchar: %*u wchar: %llu", &written) != 1) return std::nullopt;
  return written;
}

// ---- Watching --------------------------------------------------------------------------------------------

struct Watched {
  std::string folder;
  Room reserve;
  const std::atomic<std::uint64_t>& most_written;
};

class Look {
 public:
  explicit Look(const Watched& watched) : watched_(watched) {}

  Overrun overrun() {
    const Room room = room_in(watched_.folder);
    if (room.bytes < watched_.reserve.bytes || room.files < watched_.reserve.files) return Overrun::room;
    return written() > watched_.most_written ? Overrun::listing : Overrun::none;
  }

 private:
  std::uint64_t written() {
    if (!unzip_) unzip_ = command_on(watched_.folder, "unzip");
    const auto bytes = unzip_ ? written_by(*unzip_) : std::nullopt;
    if (!bytes) unzip_.reset();
    return bytes.value_or(0);
  }

  const Watched& watched_;
  std::optional<pid_t> unzip_;
};

// Until the next look, or until the watching is over: the run waits for that.
void pause(const std::stop_token& is_over) {
  std::mutex mutex;
  std::condition_variable_any end;
  std::unique_lock lock(mutex);
  end.wait_for(lock, is_over, pause_between_looks, [] { return false; });
}

void watch(const std::stop_token& is_over, const Watched& watched, std::atomic<Overrun>& found) {
  Look look(watched);
  while (!is_over.stop_requested()) {
    if (const Overrun overrun = look.overrun(); overrun != Overrun::none) {
      found = overrun;
      end_commands_on(watched.folder);  // once more in the next round, if it has not begun yet
    }
    pause(is_over);
  }
}

}  // namespace

UnzipWatch::UnzipWatch(const std::string& archive, const std::string& folder) {
  const Watched watched = {folder, reserve_of(room_in(folder)), most_written_};
  try {
    reader_ = std::jthread([this, archive] { most_written_ = most_written(archive); });
    watcher_ =
        std::jthread([this, watched](const std::stop_token& is_over) { watch(is_over, watched, found_); });
  } catch (const std::system_error& error) {  // where nothing more can be started, unzip cannot either
    std::fprintf(stderr, "In process() Unzip: %s\n", error.what());
  }
}

Overrun UnzipWatch::end() {
  watcher_.request_stop();
  if (watcher_.joinable()) watcher_.join();
  return found_;
}
