// Which migrator serves which mark on which system: one table, for the run and for a profile.
#ifndef BRINDLE_PROCESS_RUN_SEQUENCE_H
#define BRINDLE_PROCESS_RUN_SEQUENCE_H

#include <span>

#include "process/run/items.h"
#include "system/system.h"

/// Whom a step is for.
enum class For { everybody, running_user, profiles };

/// What a step does.
enum class Does {
  documents,     ///< an item on "My Documents", or "Personal" without it
  item,          ///< an item on `folder`
  call,          ///< calls the migrator without a test, mark or log line
  shared_fonts,  ///< the same, with the archive root as argument: profiles have no fonts of their own
  printer_mark,  ///< posts the printer step's result once more
};

/// One step of a migration.
struct Step {
  For whom;
  Does what;
  const char* mark;                 ///< mark posted for the running user; profiles post none
  const char* folder;               ///< folder or file tested
  func_t migrator[system_count];    ///< null: the step does not exist on that system
  const char* trace[system_count];  ///< printed before the step, without a newline; null: nothing
};

/// All steps, in the order of a run.
std::span<const Step> sequence();

/// The name of the documents folder of `root`, an archive root or a profile's folder.
const char* documents_folder(const char* root);

#endif
