#include "pack/disk/tool.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "pack/disk/limits.h"

namespace pack {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int not_found = 127;
constexpr uid_t nobody = 65534;
constexpr std::size_t longest_complaint = 4096;

[[noreturn]] void fail(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { close(); }
  int get() const { return number_; }
  void close() {
    if (number_ >= 0) ::close(number_);
    number_ = -1;
  }

 private:
  int number_;
};

// In a container root may have nobody to become, and is nobody special itself.
bool become_nobody() {
  const bool is_done = setgroups(0, nullptr) == 0 && setresgid(nobody, nobody, nobody) == 0 &&
                       setresuid(nobody, nobody, nobody) == 0;
  return is_done || errno == EPERM || errno == EINVAL;
}

// The program itself. Only calls that may be made between fork and exec.
[[noreturn]] void become(const char* folder, char* const* words, int complaints, const ToolLimits& limits) {
  const int nothing = open("/dev/null", O_RDWR);
  if (nothing < 0 || dup2(nothing, STDIN_FILENO) < 0 || dup2(nothing, STDOUT_FILENO) < 0 ||
      dup2(complaints, STDERR_FILENO) < 0 || chdir(folder) != 0)
    _exit(not_found - 1);
  close_range(STDERR_FILENO + 1, ~0U, 0);
  limit(RLIMIT_CORE, 0);
  limit(RLIMIT_FSIZE, limits.file_bytes);
  limit(RLIMIT_AS, limits.memory_bytes);
  if (geteuid() == 0 && !become_nobody()) _exit(not_found - 1);
  prctl(PR_SET_PDEATHSIG, SIGKILL);  // another user has none of the one before
  execvp(words[0], words);
  _exit(not_found);
}

// Files without a link on their way; what cannot be given away stays ours.
void give_to_nobody(const std::string& folder) {
  if (geteuid() != 0) return;
  const auto give = [](const std::string& path) {
    if (lchown(path.c_str(), nobody, nobody) != 0) return;
  };
  std::error_code error;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder, error)) give(entry.path());
  give(folder);
}

std::uint64_t bytes_in(const std::string& folder) {
  namespace fs = std::filesystem;
  std::uint64_t bytes = 0;
  std::error_code error;
  for (fs::recursive_directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
    std::error_code gone;
    if (!at->is_regular_file(gone) || at->is_symlink(gone)) continue;
    const std::uintmax_t size = at->file_size(gone);
    if (!gone) bytes += size;
  }
  return bytes;
}

// A running program, from its start to its end.
class Running {
 public:
  Running(pid_t process, int complaints, const std::string& folder, const ToolLimits& limits)
      : process_(process), complaints_(complaints), folder_(folder), limits_(limits) {}

  ToolEnd wait_for_end() {
    const auto last = Clock::now() + limits_.time;
    auto next_look = Clock::now() + std::chrono::milliseconds(20);
    while (!wait_until(next_look)) {
      const auto begun = Clock::now();
      if (begun >= last || is_too_much()) stop();
      // A look at many files takes its time: most of it is the program's.
      next_look = Clock::now() +
                  std::max<Clock::duration>(std::chrono::milliseconds(100), 20 * (Clock::now() - begun));
    }
    return end();
  }

 private:
  // Takes what it says meanwhile. True when it has ended, of which the end of what it says is a sign.
  bool wait_until(Clock::time_point when) {
    constexpr int without_a_sign = 5;  // milliseconds
    while (Clock::now() < when) {
      pollfd complaints{is_silent_ ? -1 : complaints_, POLLIN, 0};
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(when - Clock::now()).count();
      poll(&complaints, 1, is_silent_ ? without_a_sign : static_cast<int>(left));
      if (complaints.revents != 0) take_complaint();
      if (has_ended()) return true;
    }
    return false;
  }

  bool has_ended() const {
    siginfo_t state{};
    return waitid(P_PID, static_cast<id_t>(process_), &state, WEXITED | WNOHANG | WNOWAIT) == 0 &&
           state.si_pid == process_;
  }

  void take_complaint() {
    std::array<char, 4096> block{};
    const ssize_t count = read(complaints_, block.data(), block.size());
    if (count <= 0) {
      is_silent_ = count == 0 || errno != EAGAIN;
      return;
    }
    const std::size_t room = longest_complaint - end_.complaint.size();
    end_.complaint.append(block.data(), std::min(room, static_cast<std::size_t>(count)));
  }

  bool is_too_much() {
    end_.lacked_room = room_in(folder_) < room_for_others;
    return end_.lacked_room || bytes_in(folder_) > limits_.folder_bytes;
  }

  void stop() {
    end_.how = ToolEnd::ended_by_us;
    kill(process_, SIGKILL);
  }

  ToolEnd end() {
    int status = 0;
    while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
    }
    while (!is_silent_) take_the_rest();
    if (end_.how == ToolEnd::ended_by_us) return end_;
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) end_.how = ToolEnd::well;
    if (WIFEXITED(status) && WEXITSTATUS(status) == not_found) end_.how = ToolEnd::missing;
    if (is_too_much()) end_.how = ToolEnd::ended_by_us;  // between two looks
    return end_;
  }

  // Whatever it started may still hold the pipe open, so nobody waits for its end.
  void take_the_rest() {
    pollfd complaints{complaints_, POLLIN, 0};
    if (poll(&complaints, 1, 0) <= 0) {
      is_silent_ = true;
      return;
    }
    take_complaint();
  }

  pid_t process_;
  int complaints_;
  const std::string& folder_;
  const ToolLimits& limits_;
  bool is_silent_ = false;
  ToolEnd end_;
};

}  // namespace

bool is_tool(const std::string& name) {
  const char* const path = std::getenv("PATH");
  const std::string places = path == nullptr ? "" : path;
  for (std::size_t begin = 0; begin < places.size();) {
    const std::size_t end = std::min(places.find(':', begin), places.size());
    if (access((places.substr(begin, end - begin) + "/" + name).c_str(), X_OK) == 0) return true;
    begin = end + 1;
  }
  return false;
}

std::uint64_t room_in(const std::string& folder) {
  struct statvfs room {};
  return statvfs(folder.c_str(), &room) == 0 ? std::uint64_t{room.f_bavail} * room.f_frsize : 0;
}

ToolEnd run_tool(const std::string& folder, const std::vector<std::string>& words, const ToolLimits& limits) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) fail("a pipe");
  const Descriptor from(ends[0]);
  Descriptor to(ends[1]);
  fcntl(from.get(), F_SETFL, O_NONBLOCK);
  give_to_nobody(folder);
  std::vector<char*> arguments;
  for (const std::string& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  const pid_t process = fork();
  if (process < 0) fail("a process");
  if (process == 0) become(folder.c_str(), arguments.data(), to.get(), limits);
  to.close();
  return Running(process, from.get(), folder, limits).wait_for_end();
}

}  // namespace pack
