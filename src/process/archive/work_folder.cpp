#include "process/archive/work_folder.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <system_error>
#include <vector>

#include "shell/files.h"
#include "shell/run.h"
#include "state/state.h"

namespace {

// Each side writes its own flag before it reads the other's, so at least one of them notices.
std::atomic<bool> unwanted{false};
std::atomic<int> filling{0};

constexpr int tries = 500;
constexpr useconds_t pause_microseconds = 20'000;

// ---- Commands that work on the folder --------------------------------------------------------------------

struct Process {
  pid_t parent = 0;
  std::string name;   // of its program, cut to 15 bytes
  std::string words;  // its command line
};

std::string text_of(const std::string& path) {
  std::string text;
  const File file = open_file(path, "r");
  char piece[4096];
  for (std::size_t size = 1; file && size > 0;) {
    size = std::fread(piece, 1, sizeof piece, file.get());
    text.append(piece, size);
  }
  return text;
}

// The parent stands behind the name in parentheses, which may hold anything, and the state.
pid_t parent_in(const std::string& status) {
  const std::size_t end_of_name = status.rfind(')');
  if (end_of_name == std::string::npos || end_of_name + 4 >= status.size()) return 0;
  return static_cast<pid_t>(std::strtol(status.c_str() + end_of_name + 4, nullptr, 10));
}

std::string name_in(const std::string& status) {
  const std::size_t begin = status.find('('), end = status.rfind(')');
  return begin < end && end != std::string::npos ? status.substr(begin + 1, end - begin - 1) : "";
}

std::map<pid_t, Process> all_processes() {
  std::map<pid_t, Process> found;
  for (const std::string& name : list_folder("/proc").value_or(std::vector<std::string>())) {
    if (!std::isdigit(static_cast<unsigned char>(name[0]))) continue;
    const std::string folder = "/proc/" + name;
    const std::string status = text_of(folder + "/stat");
    found[static_cast<pid_t>(std::atol(name.c_str()))] = {
        .parent = parent_in(status), .name = name_in(status), .words = text_of(folder + "/cmdline")};
  }
  return found;
}

bool comes_from(const std::map<pid_t, Process>& processes, pid_t child, pid_t ancestor) {
  for (int steps = 0; steps < 100; ++steps) {
    const auto process = processes.find(child);
    if (process == processes.end()) return false;
    if (process->second.parent == ancestor) return true;
    child = process->second.parent;
  }
  return false;
}

std::string work_folder() {
  const char* folder = dir_name;
  return folder != nullptr ? folder : "";
}

// ---- Removal ---------------------------------------------------------------------------------------------

bool is_own_folder(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid();
}

}  // namespace

Unpacking::Unpacking() { ++filling; }

Unpacking::~Unpacking() { --filling; }

bool Unpacking::is_wanted() { return !unwanted; }

bool is_worked_on(const std::string& folder) {
  const std::map<pid_t, Process> processes = all_processes();
  return std::any_of(processes.begin(), processes.end(), [&](const auto& each) {
    return each.second.words.find(folder) != std::string::npos && comes_from(processes, each.first, getpid());
  });
}

std::optional<pid_t> command_on(const std::string& folder, const std::string& name) {
  const std::map<pid_t, Process> processes = all_processes();
  for (const auto& [id, process] : processes)
    if (process.name == name && process.words.find(folder) != std::string::npos &&
        comes_from(processes, id, getpid()))
      return id;
  return std::nullopt;
}

void end_commands_on(const std::string& folder) {
  const std::map<pid_t, Process> processes = all_processes();
  std::set<pid_t> parents;
  for (const auto& [id, process] : processes) parents.insert(process.parent);
  for (const auto& [id, process] : processes) {
    const bool names_it = process.words.find(folder) != std::string::npos;
    if (names_it && !parents.contains(id) && comes_from(processes, id, getpid())) kill(id, SIGKILL);
  }
}

void stop_unpacking() {
  unwanted = true;
  for (int round = 0; filling > 0 && round < tries; ++round) {
    const std::string folder = work_folder();
    if (!folder.empty()) end_commands_on(folder);
    usleep(pause_microseconds);
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
  const std::string folder = work_folder();
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
