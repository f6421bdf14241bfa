#include "process/archive/work_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>
#include <system_error>

#include "place/beneath.h"
#include "place/entry.h"
#include "shell/ending.h"
#include "shell/processes.h"
#include "shell/run.h"
#include "state/state.h"

namespace {

// Each side writes its own flag before it reads the other's, so at least one of them notices.
std::atomic<bool> unwanted{false};
std::atomic<int> filling{0};

constexpr int tries = 500;
constexpr useconds_t pause_microseconds = 20'000;

std::string work_folder() {
  const char* folder = dir_name;
  return folder != nullptr ? folder : "";
}

bool is_own_folder(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid();
}

int swap_in(const std::string& made, const std::string& folder) {
  const int exchanged = renameat2(AT_FDCWD, made.c_str(), AT_FDCWD, folder.c_str(), RENAME_EXCHANGE);
  return exchanged == 0 || errno != ENOENT ? exchanged : std::rename(made.c_str(), folder.c_str());
}

// The other thing has the name of ours then.
bool put_own_folder(const std::string& folder) {
  std::string made = "/tmp/brindXXXXXX";
  if (mkdtemp(made.data()) == nullptr) return false;
  const bool is_put = swap_in(made, folder) == 0 && is_own_folder(folder);
  const int error = errno;
  const Descriptor top = place::open_top("/tmp");
  static_cast<void>(place::remove_entry(place::spot_beneath(top.number(), made.substr(sizeof "/tmp"))));
  errno = error;
  return is_put;
}

}  // namespace

Unpacking::Unpacking() { ++filling; }

Unpacking::~Unpacking() { --filling; }

bool Unpacking::is_wanted() { return !unwanted; }

bool is_worked_on(const std::string& folder) {
  const shell::Processes processes;
  const std::set<pid_t> own = processes.own();
  return std::any_of(own.begin(), own.end(), [&](pid_t id) { return processes.mentions(id, folder); });
}

std::optional<pid_t> command_on(const std::string& folder, const std::string& name) {
  const shell::Processes processes;
  for (const pid_t id : processes.own())
    if (processes.is_called(id, name) && processes.mentions(id, folder)) return id;
  return std::nullopt;
}

void end_commands_on(const std::string& folder) {
  const shell::Processes processes;
  for (const pid_t id : processes.own()) {
    if (!processes.mentions(id, folder) || processes.child_mentions(id, folder)) continue;
    for (const pid_t each : processes.tree_of(id)) kill(each, SIGKILL);
  }
}

void stop_unpacking() {
  unwanted = true;
  for (int round = 0; filling > 0 && round < tries; ++round) {
    const std::string folder = work_folder();
    if (!folder.empty()) end_commands_on(folder);
    if (!shell::pause_and_serve(pause_microseconds)) return;
  }
}

void remove_unpacked_part(const std::string& folder) {
  if (!is_own_folder(folder)) return;
  std::error_code error;
  std::filesystem::remove_all(folder, error);
  // The library gives up in a tree of a thousand levels, rm does not.
  if (error) shell::run_unlogged(compose("rm -rf %s", folder));
}

void remove_work_folder() {
  stop_unpacking();
  remove_own_folder(work_folder());
}

bool claim_own_folder(const std::string& folder) {
  if (is_own_folder(folder) || put_own_folder(folder)) return true;
  std::fprintf(stderr, "%s is somebody else's, so nothing is taken from there: %s\n", folder.c_str(),
               std::strerror(errno));
  return false;
}

void remove_own_folder(const std::string& folder) {
  // The worker may go on until the process is gone, and start another command.
  for (int round = 0; round < tries && is_own_folder(folder); ++round) {
    end_commands_on(folder);
    std::error_code error;
    std::filesystem::remove_all(folder, error);
    if (!error) continue;
    // The library gives up in a tree of a thousand levels, rm does not.
    if (round % 50 == 0) shell::run_unlogged(compose("rm -rf %s", folder));
    usleep(pause_microseconds);
  }
}
