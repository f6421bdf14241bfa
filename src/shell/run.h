// Runs commands through the shell. Every command of Brindle goes through one of these.
#ifndef BRINDLE_SHELL_RUN_H
#define BRINDLE_SHELL_RUN_H

#include <optional>
#include <string>

#include "shell/compose.h"

/// Runs `cmd` through the shell and logs how it ended.
///
///   ended                    system log                                        result
///   exit status 0            -                                                 0
///   exit status N            "normal termination, exit status N, CMD"          0
///   killed by a signal       "abnormal termination CMD"                        -1
///   shell not started        "fork failed, CMD" or "exec failed, CMD"          -1
///
/// A command that ran and failed counts as success: only the log shows it, the migration goes on.
int SYSTEM(const char* cmd);

/// The same for a composed command; a refused one is logged as "refused, CMD", not run, and gives -1.
int SYSTEM(const shell::Command& cmd);

/// Runs `cmd` with its output sent to a temporary file and copies the first line, at most 255 characters
/// and with its newline, into `result` (256 bytes). Returns 1, or 0 with an empty `result` when there was
/// no output, or -1 on failure. A command that fails without output gives 0.
int execute_first(const char* cmd, char* result);

/// Writes a new temporary file name into `buf` (64 bytes): a hidden file in the home of the user being
/// migrated. The names are the same in every run, and the C library's generator is re-seeded each time.
/// A home too long for the buffer leaves it empty.
void tmp_file(char* buf);

namespace shell {

/// The same names, without a limit on the home's length.
std::string tmp_file_name();

/// Runs a composed command with plain system(): nothing is logged. Returns the raw status, -1 for a
/// refused command.
int run_unlogged(const Command& cmd);

/// execute_first for a composed command. `line` receives the first output line with its newline.
int execute_first(const Command& cmd, std::string& line);

}  // namespace shell

#endif
