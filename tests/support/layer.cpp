#include "support/layer.h"

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

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

// The first of the layer's processes; all others end with it. The work is another's: signals do not reach
// this one in the usual way.
[[noreturn]] void run_inside(const std::function<int()>& work, int output) {
  mount_on("/", nullptr, nullptr, MS_PRIVATE | MS_REC);
  enter();
  const pid_t worker = fork();
  must(worker >= 0, "fork");
  if (worker == 0) {
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    std::exit(work());
  }
  for (int status = 0;;) {
    const pid_t ended = wait(&status);
    if (ended == worker) _exit(WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status));
  }
}

}  // namespace

std::optional<Ended> run(const std::function<int()>& work, int output, std::chrono::seconds limit) {
  std::fflush(nullptr);
  constexpr unsigned long own = CLONE_NEWNS | CLONE_NEWPID | CLONE_NEWIPC | CLONE_NEWUTS;
  const long first = syscall(SYS_clone, own | SIGCHLD, nullptr, nullptr, nullptr, nullptr);
  if (first == 0) run_inside(work, output);
  if (first < 0) {
    std::perror("layer: clone");
    return std::nullopt;
  }
  const auto process = static_cast<pid_t>(first);
  const Descriptor handle(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
  pollfd wait_for{handle.number(), POLLIN, 0};
  const bool in_time = poll(&wait_for, 1, static_cast<int>(std::chrono::milliseconds(limit).count())) != 0;
  if (!in_time) kill(process, SIGKILL);
  const int status = status_of(process);
  if (status == refused) return std::nullopt;
  return Ended{status, in_time};
}

}  // namespace layer
