// The steps from a printer's description to its queue, the same for both families of tools.
#ifndef BRINDLE_PROCESS_PRINTERS_QUEUE_H
#define BRINDLE_PROCESS_PRINTERS_QUEUE_H

#include <string>

#include "process/printers/driver_search.h"
#include "process/printers/options.h"
#include "shell/compose.h"
#include "system/target.h"
#include "things/queue.h"

/// What differs from one family of tools to the other.
struct QueueTools {
  PrinterTools family;                           ///< sets the options
  bool (*keep_search)(const std::string& home);  ///< called first, as those below before their commands
  Model (*find_model)(const std::string& home, const std::string& driver_name);
  bool needs_id;  ///< a model without an id is none, as one without a driver
  bool (*keep_for_queue)(const std::string& queue);  ///< files beside it
  shell::Command (*queue_command)(const std::string& queue, const std::string& uri, const Model& model);
  things::Driver (*find_driver)(
      const Model& model);  ///< for the print server; both texts empty: there is none
  bool (*keep_for_default)(const std::string& queue);
  shell::Command (*default_command)(const std::string& queue);
  bool traces_more;  ///< the model before a queue is made and the command after it
};

/// Makes a queue of every printer in the folder "Printers" of the target's archive root, with the options it
/// had on Windows; the one of "Default.txt" becomes the default. A printer with an unknown port or without a
/// model gets none, nor does one whose share credentials are declined. Waits for the person where a model or
/// credentials are missing. What the commands did is only in the system log, and what they left undone
/// UsableQueue does. False when a file or a queue
/// that a command changes could not be kept: neither that command nor any after it is then run.
[[nodiscard]] bool migrate_printers(const Target& target, const QueueTools& tools);

#endif
