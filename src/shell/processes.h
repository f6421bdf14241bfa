// What this program has started, and what that has started in turn.
#ifndef BRINDLE_SHELL_PROCESSES_H
#define BRINDLE_SHELL_PROCESSES_H

#include <sys/types.h>

#include <map>
#include <set>
#include <string>

namespace shell {

/// The processes of the machine as they were at one moment.
class Processes {
 public:
  Processes();

  /// Those that this program has started, and all that came from them. One that its parent has left behind,
  /// as servers and programs in the background are, belongs to nobody and is not among them.
  std::set<pid_t> own() const;

  /// `id` and all that came from it.
  std::set<pid_t> tree_of(pid_t id) const;

  /// True when `id` runs a program of that name, which the kernel cuts to 15 bytes.
  bool is_called(pid_t id, const std::string& name) const;

  /// Those of whoever runs this program that run a program of that name.
  std::set<pid_t> called(const std::string& name) const;

  /// True when the command line of `id` has `text` in it.
  bool mentions(pid_t id, const std::string& text) const;

  /// True when one of those that `id` has started itself has `text` in its command line.
  bool child_mentions(pid_t id, const std::string& text) const;

 private:
  struct Process {
    pid_t parent = 0;
    uid_t owner = 0;
    std::string name;   // of its program
    std::string words;  // its command line
  };

  static Process read(const std::string& folder);
  bool comes_from(pid_t child, pid_t ancestor) const;

  std::map<pid_t, Process> all_;
};

}  // namespace shell

#endif
