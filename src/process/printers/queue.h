// The steps from a printer's description to its queue, the same for both families of tools.
#ifndef BRINDLE_PROCESS_PRINTERS_QUEUE_H
#define BRINDLE_PROCESS_PRINTERS_QUEUE_H

#include <string>

#include "process/printers/description.h"
#include "process/printers/options.h"
#include "shell/compose.h"

/// What differs from one family of tools to the other.
struct QueueTools {
  bool (*find_driver)(const PrinterDescription& printer);  ///< false: none, the printer is skipped
  shell::Command (*make_queue)(const PrinterDescription& printer, const std::string& uri);  ///< runs it too
  shell::Command (*default_command)(const std::string& queue);
  OptionTool option_tool;
};

/// Makes a queue of every printer in the folder "Printers" of `args`, with the options it had on Windows; the
/// one of "Default.txt" becomes the default. A printer with an unknown port or without a driver gets none.
/// `system` is the name of the detected system. Waits for the user where a driver or share credentials are
/// missing. What the commands did is only in the system log.
void migrate_printers(const char* args, const QueueTools& tools, const char* system);

#endif
