#include "shell/processes.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <vector>

#include "shell/files.h"

namespace {

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

struct Status {
  std::string name;
  char state = '?';
  pid_t parent = 0;
};

// The name is in parentheses and may hold anything.
Status status_in(const std::string& line) {
  const std::size_t name = line.find('('), end_of_name = line.rfind(')');
  if (name > end_of_name || end_of_name == std::string::npos || end_of_name + 4 >= line.size()) return {};
  const char* parent = line.c_str() + end_of_name + 4;
  return {.name = line.substr(name + 1, end_of_name - name - 1),
          .state = line[end_of_name + 2],
          .parent = static_cast<pid_t>(std::strtol(parent, nullptr, 10))};
}

}  // namespace

namespace shell {

Processes::Process Processes::read(const std::string& folder) {
  const Status status = status_in(text_of(folder + "/stat"));
  // One that has ended and waits for its parent to look is nobody any more.
  if (status.state == 'Z') return {};
  struct stat owner {};
  if (stat(folder.c_str(), &owner) != 0) return {};
  return {.parent = status.parent,
          .owner = owner.st_uid,
          .name = status.name,
          .words = text_of(folder + "/cmdline")};
}

Processes::Processes() {
  for (const std::string& name : list_folder("/proc").value_or(std::vector<std::string>())) {
    if (std::isdigit(static_cast<unsigned char>(name[0])) == 0) continue;
    const Process process = read("/proc/" + name);
    if (process.parent != 0) all_[static_cast<pid_t>(std::atol(name.c_str()))] = process;
  }
}

bool Processes::comes_from(pid_t child, pid_t ancestor) const {
  for (int steps = 0; steps < 100; ++steps) {
    const auto process = all_.find(child);
    if (process == all_.end()) return false;
    if (process->second.parent == ancestor) return true;
    child = process->second.parent;
  }
  return false;
}

std::set<pid_t> Processes::own() const {
  std::set<pid_t> found = tree_of(getpid());
  found.erase(getpid());
  return found;
}

std::set<pid_t> Processes::tree_of(pid_t id) const {
  std::set<pid_t> found{id};
  for (const auto& [each, process] : all_) {
    if (comes_from(each, id)) found.insert(each);
  }
  return found;
}

bool Processes::is_called(pid_t id, const std::string& name) const {
  const auto process = all_.find(id);
  return process != all_.end() && process->second.name == name;
}

std::set<pid_t> Processes::called(const std::string& name) const {
  std::set<pid_t> found;
  for (const auto& [id, process] : all_) {
    if (process.name == name && process.owner == geteuid()) found.insert(id);
  }
  return found;
}

bool Processes::mentions(pid_t id, const std::string& text) const {
  const auto process = all_.find(id);
  return process != all_.end() && process->second.words.find(text) != std::string::npos;
}

bool Processes::child_mentions(pid_t id, const std::string& text) const {
  return std::any_of(all_.begin(), all_.end(), [&](const auto& each) {
    return each.second.parent == id && each.second.words.find(text) != std::string::npos;
  });
}

}  // namespace shell
