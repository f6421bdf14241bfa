// Copying beside cp: where its command line is too long, and where it cut a file short.
#ifndef BRINDLE_SHELL_COPY_H
#define BRINDLE_SHELL_COPY_H

#include <string>

#include "shell/compose.h"

/// What a copy takes along, by the options of cp.
enum class CopyLike {
  cp,     ///< files alone, and those that links name; no folders
  cp_rf,  ///< files, folders and links
  cp_a,   ///< the same with owner, mode, times and hard links
};

/// Runs `command`, the cp of FROM/* into the folder `to`, through SYSTEM. When it could not even be started,
/// exit status 126, because the names of the entries are more than the kernel takes
/// (shell::allow_long_commands), copies the same entries here, with the same result: hidden ones are left
/// out, what is below them is not. False, after a line on standard error each, when some of them could not be
/// copied here; the others are. How the command ended is in the system log alone. What would be replaced is
/// kept first (keep/keep.h); when that cannot be done the command is not run: false with errno not_kept.
///
///   copy_entries(compose("cp -a \"%s\"/* %s ", folder, to), folder, to, CopyLike::cp_a)
[[nodiscard]] bool copy_entries(const shell::Command& command, const std::string& from, const std::string& to,
                                CopyLike like);

/// Runs `command`, the cp of the file `from` over the file `to`, through SYSTEM. When `to` is not a whole
/// copy afterwards, on a full disk for instance, it becomes again what it was. True when it is one. What
/// would be replaced is kept first; when that cannot be done the command is not run: false with errno
/// not_kept.
bool copy_over(const shell::Command& command, const std::string& from, const std::string& to);

#endif
