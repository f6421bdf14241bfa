#include "support/layer.h"

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "place/descriptor.h"

namespace layer {

namespace {

constexpr int refused = 77;
constexpr const char* workplace = "/mnt";

/// What a view has mounted somewhere below its top.
struct Mount {
  std::string point;
  std::string type;
};

// Blanks in a path are written \040 there; no view has such a mount.
std::vector<Mount> mounts() {
  std::ifstream table("/proc/self/mountinfo");
  std::vector<Mount> found;
  for (std::string line; std::getline(table, line);) {
    std::istringstream words(line);
    std::string word;
    Mount mount;
    for (int skipped = 0; skipped < 4; ++skipped) words >> word;
    words >> mount.point;
    while (words >> word && word != "-") {
    }
    words >> mount.type;
    if (mount.point != "/") found.push_back(mount);
  }
  return found;
}

// Ends the process when a step fails: no layer, no test.
void must(bool done, const std::string& what) {
  if (done) return;
  std::fprintf(stderr, "layer: %s: %s\n", what.c_str(), std::strerror(errno));
  _exit(refused);
}

void mount_on(const std::string& point, const char* source, const char* type, unsigned long flags,
              const std::string& options = {}) {
  must(mount(source, point.c_str(), type, flags, options.empty() ? nullptr : options.c_str()) == 0,
       "mount " + point);
}

// A layer of its own over `point`, shown at `root` + `point`.
void lay_over(const std::string& point, const std::string& root, int number) {
  const std::string files = std::string(workplace) + "/" + std::to_string(number);
  must(mkdir(files.c_str(), 0700) == 0, files);
  must(mkdir((files + "/upper").c_str(), 0755) == 0 && mkdir((files + "/work").c_str(), 0755) == 0, files);
  struct stat like {};
  must(stat(point.c_str(), &like) == 0 && chmod((files + "/upper").c_str(), like.st_mode & 07777) == 0,
       point);
  mount_on(root + point, "test", "overlay", 0,
           "lowerdir=" + point + ",upperdir=" + files + "/upper,workdir=" + files +
               "/work,redirect_dir=off,metacopy=off");
}

// The machine as the view shows it, with the same mounts: those of the view's own files copy-on-write, those
// of devices and of what it shows from outside as they are.
void enter() {
  const std::vector<Mount> below = mounts();
  mount_on(workplace, "test", "tmpfs", 0, "mode=755");
  const std::string root = std::string(workplace) + "/root";
  must(mkdir(root.c_str(), 0755) == 0, root);
  int number = 0;
  lay_over("/", root, ++number);
  for (const Mount& each : below) {
    if (each.type == "proc") {
      mount_on(root + each.point, "proc", "proc", 0);
    } else if (each.type == "overlay" || each.point == "/run" || each.point == "/dev") {
      lay_over(each.point, root, ++number);
    } else if (each.point == "/dev/shm") {
      mount_on(root + each.point, "shm", "tmpfs", 0, "mode=1777");
    } else {
      mount_on(root + each.point, each.point.c_str(), nullptr, MS_BIND);
    }
  }
  must(chroot(root.c_str()) == 0 && chdir("/") == 0, root);
}

int status_of(pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

#ifdef __SANITIZE_THREAD__
constexpr int same_memory = 0;  // the checker's own clone() works in the new process, as in a copy
#else
constexpr int same_memory = CLONE_VM;
#endif

// The first of a layer's processes: all others end with it. The work is another's: signals do not reach this
// one in the usual way. A copy of the caller's memory would take it longer than most tests, so it has the
// same one, and may touch nothing.
[[gnu::no_sanitize("address", "thread", "undefined")]] int rest(void* /*nothing*/) {
  for (;;) syscall(SYS_pause);
}

pid_t start_first() {
  alignas(16) static std::array<char, 16384> stack;
  // Orphans come to it, and are not to stay when they have ended.
  const auto usual = std::signal(SIGCHLD, SIG_IGN);
  const pid_t first = clone(rest, stack.data() + stack.size(), same_memory | CLONE_NEWPID | SIGCHLD, nullptr);
  std::signal(SIGCHLD, usual);
  return first;
}

Descriptor handle_of(pid_t process) {
  return Descriptor(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
}

// A process beside the first one; -1, with errno set, when that is refused.
pid_t fork_beside(const Descriptor& first) {
  const Descriptor own = handle_of(getpid());
  if (setns(first.number(), CLONE_NEWPID) != 0) return -1;
  const pid_t process = fork();
  if (process != 0 && setns(own.number(), CLONE_NEWPID) != 0) std::abort();  // no other test can be started
  return process;
}

[[noreturn]] void run_inside(const std::function<int()>& work, int output) {
  must(unshare(CLONE_NEWNS | CLONE_NEWIPC | CLONE_NEWUTS) == 0, "unshare");
  mount_on("/", nullptr, nullptr, MS_PRIVATE | MS_REC);
  enter();
  dup2(output, STDOUT_FILENO);
  dup2(output, STDERR_FILENO);
  std::exit(work());
}

// Whether it ended by itself within that time.
bool wait_for(pid_t process, std::chrono::seconds limit) {
  const Descriptor handle = handle_of(process);
  pollfd end{handle.number(), POLLIN, 0};
  return poll(&end, 1, static_cast<int>(std::chrono::milliseconds(limit).count())) != 0;
}

}  // namespace

std::optional<Ended> run(const std::function<int()>& work, int output, std::chrono::seconds limit) {
  std::fflush(nullptr);
  const pid_t first = start_first();
  const pid_t worker = first < 0 ? -1 : fork_beside(handle_of(first));
  if (worker == 0) run_inside(work, output);
  if (worker < 0) std::perror("layer: a process of its own");
  const bool in_time = worker > 0 && wait_for(worker, limit);
  if (first > 0) kill(first, SIGKILL);
  const int status = worker > 0 ? status_of(worker) : refused;
  if (first > 0) status_of(first);  // it does not end before the worker is taken
  if (status == refused) return std::nullopt;
  return Ended{status, in_time};
}

}  // namespace layer
