// Runs commands through the shell. Every command of Brindle goes through one of these.
#ifndef BRINDLE_SHELL_RUN_H
#define BRINDLE_SHELL_RUN_H

#include <string>

#include "shell/compose.h"

/// Runs `cmd` through the shell and logs how it ended.
///
///   ended                    system log                                        result
///   exit status 0            -                                                 0
///   exit status N            "normal termination, exit status N, CMD"          0
///   killed by a signal       "abnormal termination CMD"                        -1
///   shell not started        "fork failed, CMD" or "exec failed, CMD"          -1
///   refused by the composer  "refused, CMD"; not run                           -1
///   the program ends         -; not run                                        -1
///
/// Of one that a signal has ended, and of one that could not be started, standard error tells as well.
/// A command that ran and failed counts as success: only the log shows it, the migration goes on.
int SYSTEM(const shell::Command& cmd);

namespace shell {

/// SYSTEM for a caller that has to know how the command ended: its exit status, or -1 as above.
int run_for_status(const Command& cmd);

/// SYSTEM for a command that holds a password: the system log gets `shown` in its place, the same command
/// without it.
int run_shown_as(const Command& cmd, const Command& shown);

/// Lets the commands from now on have as many words as the kernel ever takes, 6 MB of them: it takes a
/// quarter of the limit on the stack, which is raised as far as that needs and this process may.
void allow_long_commands();

/// Runs a composed command with plain system(): nothing is logged. Returns the raw status, or -1 with errno
/// EINVAL for a refused command.
int run_unlogged(const Command& cmd);

/// Runs `cmd` with its output sent to a temporary file in the folder `home`: tmp_file_name, with a number
/// behind it when something lies there. `line` receives the first line,
/// at most 255 characters and with its newline. Returns 1, or 0 with an empty line when there was no output,
/// or -1 on failure. A command that fails without output gives 0. Leaves the trace of asking for a home.
int execute_first(const Command& cmd, const std::string& home, std::string& line);

/// A new temporary file name: a hidden file in the folder `home`. The names are the same in every run, and
/// the C library's generator is re-seeded each time. Leaves the trace of asking for a home.
std::string tmp_file_name(const std::string& home);

}  // namespace shell

// ---- Given name and signature ---------------------------------------------------------------------------
// The first two take a command as a bare text. Nothing in Brindle may use them, since a text is past the
// composer; the compiler sees to it.

/// SYSTEM for a text that somebody else has composed.
[[deprecated("compose the command")]] int SYSTEM(const char* cmd);

/// execute_first for such a text, in the home of the user being migrated; `result` has 256 bytes.
[[deprecated("compose the command")]] int execute_first(const char* cmd, char* result);

/// tmp_file_name in the home of the user being migrated, for a buffer of 64 bytes. A home too long for it
/// leaves it empty.
void tmp_file(char* buf);

#endif
