// The end of the folder that the worker unpacks the archive in: whatever ends the program, the folder is
// gone.
//
// Worker and GUI thread meet here. The worker says while it makes and fills the folder; the GUI thread says
// that nobody wants it any more, and then waits for a worker that had begun before.
#ifndef BRINDLE_PROCESS_ARCHIVE_WORK_FOLDER_H
#define BRINDLE_PROCESS_ARCHIVE_WORK_FOLDER_H

#include <sys/types.h>

#include <optional>
#include <string>

/// Worker: lives while the folder is made and filled.
class Unpacking {
 public:
  Unpacking();
  ~Unpacking();
  Unpacking(const Unpacking&) = delete;
  Unpacking& operator=(const Unpacking&) = delete;

  /// False once stop_unpacking was called: nothing may be made any more.
  static bool is_wanted();
};

/// True when a command that this process has started names `folder` and so has its environment by now.
bool is_worked_on(const std::string& folder);

/// The process of the program `name`, started by this process, that names `folder`; no value without one.
std::optional<pid_t> command_on(const std::string& folder, const std::string& name);

/// Ends what this process has started and names `folder`, and what that has started; of a shell and its
/// command only the command, so that the shell can tell how it ended.
void end_commands_on(const std::string& folder);

/// Removes the folder at once, however deep it is. Only one of this process's own user.
void remove_unpacked_part(const std::string& folder);

/// GUI thread: from now on nothing is unpacked. An unzip that runs is ended, and this returns when no thread
/// fills the folder any more, at the latest after ten seconds, or when the main loop was left meanwhile: the
/// windows are served.
void stop_unpacking();

/// For the end of the program: stop_unpacking, then ends what still works on the folder, and removes it. Only
/// a folder of this process's own user; the worker has usually removed it long before.
void remove_work_folder();

/// After the command that makes `folder` in /tmp, where everybody may make things: what somebody who was
/// quicker has put there, or could still put there, is replaced by an empty folder of this process's own
/// user, which nobody else can move. False, with a word on standard error, when that cannot be done: nothing
/// in it is to be used.
[[nodiscard]] bool claim_own_folder(const std::string& folder);

/// For the end of the program: ends what still works on `folder`, a folder that the run has made in /tmp, and
/// removes it, without a command. Nothing for an empty path, and nothing but a folder of this process's own
/// user.
void remove_own_folder(const std::string& folder);

#endif
