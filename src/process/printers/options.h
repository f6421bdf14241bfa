// The Windows settings of a printer as options of its queue.
#ifndef BRINDLE_PROCESS_PRINTERS_OPTIONS_H
#define BRINDLE_PROCESS_PRINTERS_OPTIONS_H

#include "process/printers/description.h"
#include "process/printers/usable_queue.h"
#include "shell/compose.h"
#include "system/system.h"

/// The tools that make print queues and set their options.
enum class PrinterTools { cups, foomatic };

/// Sets the options of the printer's queue: orientation, duplex, paper size, colour, quality, resolution,
/// each by a command of its own, lpoptions for `tools` cups and foomatic-configure for foomatic, behind which
/// `queue` is looked at. A value that the table does not know sets nothing. Prints "Options::" and the last
/// command after each of the six, also when it set nothing: then that is an earlier command, at first `last`.
/// False when a file that the next command changes could not be kept; it and those after it are then not run.
[[nodiscard]] bool set_options(const PrinterDescription& printer, PrinterTools tools, System system,
                               UsableQueue& queue, shell::Command last);

#endif
