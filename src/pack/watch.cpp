#include "pack/watch.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>
#include <set>
#include <string>
#include <system_error>

#include "pack/disk/stop.h"
#include "pack/disk/trace.h"

namespace pack {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::array asking_signals{SIGINT, SIGTERM, SIGHUP};
constexpr std::chrono::milliseconds time_to_end{700};
// A process that waits for a disk ends when the disk answers.
constexpr std::chrono::milliseconds time_to_die{200};

[[noreturn]] void fail(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

bool is_ignored(int signal) {
  struct sigaction now {};
  return sigaction(signal, nullptr, &now) == 0 && now.sa_handler == SIG_IGN;
}

// Without SIGHUP for who has started it with nohup.
sigset_t set_of_asking_signals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : asking_signals)
    if (signal != SIGHUP || !is_ignored(signal)) sigaddset(&set, signal);
  return set;
}

// What the working process has told of and not taken back.
class Traces {
 public:
  explicit Traces(int pipe) : pipe_(pipe) {}

  // False when nobody can tell of any more.
  bool take() {
    std::array<char, 4096> block;
    const ssize_t count = read(pipe_, block.data(), block.size());
    if (count <= 0) return count < 0 && (errno == EAGAIN || errno == EINTR);
    for (const char byte : std::string_view(block.data(), static_cast<std::size_t>(count))) {
      if (byte != '\0') {
        line_ += byte;
        continue;
      }
      if (line_.starts_with('+')) begin(line_.substr(1));
      if (line_.starts_with('-')) paths_.erase(line_.substr(1));
      if (line_.starts_with('=')) staying_ = line_.substr(1);
      line_.clear();
    }
    return true;
  }

  // True when what was to stay has left its place for the time being: it has its name.
  bool has_stayed() {
    take_rest();
    std::error_code error;
    return !staying_.empty() &&
           std::filesystem::symlink_status(staying_, error).type() == std::filesystem::file_type::not_found;
  }

  void remove() {
    take_rest();
    for (const std::string& path : paths_) {
      std::error_code error;
      std::filesystem::remove_all(path, error);
    }
  }

 private:
  void begin(const std::string& path) {
    paths_.insert(path);
    if (path == staying_) staying_.clear();
  }

  void take_rest() {
    pollfd readable{.fd = pipe_, .events = POLLIN, .revents = 0};
    while (poll(&readable, 1, 0) == 1 && take()) {
    }
  }

  int pipe_;
  std::string line_;
  std::string staying_;
  std::set<std::string> paths_;
};

void on_asking_signal(int) { ask_to_stop(); }

// The exit status of work that was interrupted. The watching process tells of it, since the second signal of
// a hurried person may end this one at any moment.
constexpr int interrupted = 130;

int interruptible(const std::function<int()>& work) {
  try {
    return work();
  } catch (const Interrupted&) {
    return interrupted;
  }
}

[[noreturn]] void do_work(const std::function<int()>& work, int pipe, pid_t watcher, const sigset_t& asking,
                          int failed) {
  // Without anybody who watches it ends as if it had been asked to.
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (getppid() != watcher) _exit(failed);
  for (const int signal : asking_signals) {
    struct sigaction action {};
    action.sa_handler = on_asking_signal;
    if (sigismember(&asking, signal) == 1) sigaction(signal, &action, nullptr);
  }
  sigprocmask(SIG_UNBLOCK, &asking, nullptr);
  std::signal(SIGPIPE, SIG_IGN);  // an archive is no worse when nobody reads what is said of it
  tell_traces_to(pipe);
  std::exit(interruptible(work));
}

// The process that works, as the watching one sees it.
class Worker {
 public:
  Worker(pid_t id, int pipe, int signals)
      : id_(id),
        ended_(static_cast<int>(syscall(SYS_pidfd_open, id, 0))),
        pipe_(pipe),
        signals_(signals),
        traces_(pipe) {
    if (ended_ < 0) fail("pidfd_open");
  }

  // How it ended, as waitpid has it; no value when it does not even end when it is killed.
  std::optional<int> wait() {
    for (;;) {
      std::array<pollfd, 3> waiting{{{ended_, POLLIN, 0}, {signals_, POLLIN, 0}, {pipe_, POLLIN, 0}}};
      if (poll(waiting.data(), waiting.size(), milliseconds_left()) < 0 && errno != EINTR) fail("poll");
      if (waiting[2].revents != 0 && !traces_.take()) pipe_ = -1;
      if (waiting[1].revents != 0) take_signal();
      if (waiting[0].revents != 0) return status();
      if (limit_ && Clock::now() >= *limit_ && !end()) return std::nullopt;
    }
  }

  bool is_asked() const { return is_asked_; }
  bool has_left_something() { return traces_.has_stayed(); }
  void clear_up() { traces_.remove(); }

 private:
  int milliseconds_left() const {
    if (!limit_) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*limit_ - Clock::now()).count();
    return left > 0 ? static_cast<int>(left) : 0;
  }

  // A key on a terminal reaches both processes, a command one of them.
  void take_signal() {
    signalfd_siginfo signal{};
    if (read(signals_, &signal, sizeof signal) != sizeof signal) return;
    if (is_asked_) {
      limit_ = Clock::now();
      return;
    }
    is_asked_ = true;
    limit_ = Clock::now() + time_to_end;
    kill(id_, static_cast<int>(signal.ssi_signo));
  }

  // False when it has been ended before, without success.
  bool end() {
    if (is_killed_) return false;
    is_killed_ = true;
    limit_ = Clock::now() + time_to_die;
    kill(id_, SIGKILL);
    return true;
  }

  int status() const {
    int status = 0;
    while (waitpid(id_, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
  }

  pid_t id_;
  int ended_;
  int pipe_;
  int signals_;
  Traces traces_;
  bool is_asked_ = false;
  bool is_killed_ = false;
  std::optional<Clock::time_point> limit_;
};

// `is_written` is true when what it was to write is there whole.
int status_of(const Worker& worker, std::optional<int> ended, bool is_written, Statuses statuses) {
  const bool is_interrupted = ended && WIFEXITED(*ended) && WEXITSTATUS(*ended) == interrupted;
  if (ended && WIFEXITED(*ended) && !is_interrupted) return WEXITSTATUS(*ended);
  if (isatty(STDERR_FILENO) == 1) std::cerr << "\r\033[K";
  if (is_written) {
    std::cerr << "brindle-pack: ended before it could tell what is left out; the archive is there whole, and "
                 "\"left out.tsv\" in it tells that\n";
    return statuses.untold;
  }
  if (worker.is_asked() || is_interrupted) {
    std::cerr << "brindle-pack: stopped; nothing is written\n";
  } else {
    std::cerr << "brindle-pack: it was ended by signal " << WTERMSIG(*ended)
              << "; what it had begun to write is removed\n";
  }
  return statuses.failed;
}

}  // namespace

int watched(const std::function<int()>& work, Statuses statuses) {
  const sigset_t asking = set_of_asking_signals();
  sigprocmask(SIG_BLOCK, &asking, nullptr);
  std::array<int, 2> pipe{};
  if (pipe2(pipe.data(), O_CLOEXEC) != 0) fail("pipe2");
  const int signals = signalfd(-1, &asking, SFD_CLOEXEC);
  if (signals < 0) fail("signalfd");
  const pid_t watcher = getpid();
  const pid_t id = fork();
  if (id < 0) fail("fork");
  if (id == 0) {
    close(pipe[0]);
    do_work(work, pipe[1], watcher, asking, statuses.failed);
  }
  close(pipe[1]);
  Worker worker(id, pipe[0], signals);
  const auto ended = worker.wait();
  const bool is_written = worker.has_left_something();
  worker.clear_up();
  return status_of(worker, ended, is_written, statuses);
}

}  // namespace pack
