// The Windows settings of a printer as options of its queue.
#ifndef BRINDLE_PROCESS_PRINTERS_OPTIONS_H
#define BRINDLE_PROCESS_PRINTERS_OPTIONS_H

#include "process/printers/description.h"
#include "shell/compose.h"

/// The command that sets an option of a queue.
enum class OptionTool { foomatic_configure, lpoptions };

/// Sets the options of the printer's queue with `tool`: orientation, duplex, paper size, colour, quality,
/// resolution, each by a command of its own; `system` is the name of the detected system. A value that the
/// table does not know sets nothing.
/// Prints "Options::" and the last command after each of the six, also when it set nothing: then that is an
/// earlier command, at first `last`.
void set_options(const PrinterDescription& printer, OptionTool tool, const char* system, shell::Command last);

#endif
