// The files that lpoptions and foomatic-configure change beside the queues.
#ifndef BRINDLE_PROCESS_PRINTERS_TOOLS_FILES_H
#define BRINDLE_PROCESS_PRINTERS_TOOLS_FILES_H

#include <string>

// Each keeps the files before the command runs. False when that fails: then it must not run.

/// Before lpoptions by whoever runs the program.
[[nodiscard]] bool keep_own_options();

/// Before lpoptions as the user `login`. Without such an account there is nothing to keep.
[[nodiscard]] bool keep_options_of(const std::string& login);

/// Before foomatic-configure makes or changes the queue: its link in /etc/foomatic, and the description that
/// it puts aside.
[[nodiscard]] bool keep_foomatic_files(const std::string& queue);

#endif
