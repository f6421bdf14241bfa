// The steps of a migration: one table for the running user and for the profiles, with a column a system. The
// place to look first, and where a new migrator goes.
#ifndef BRINDLE_PROCESS_RUN_SEQUENCE_H
#define BRINDLE_PROCESS_RUN_SEQUENCE_H

#include <array>
#include <optional>
#include <span>

#include "process/run/items.h"
#include "system/marks.h"
#include "system/system.h"

/// Whom a step is for.
enum class For { everybody, running_user, profiles };

/// What a step looks for before it calls its migrator, and what the migrator gets.
enum class Looks {
  for_documents,      ///< an item: the documents' folder by either name, which the migrator gets
  for_item,           ///< an item: `name`; the migrator gets the folder in which it was looked for
  for_nothing,        ///< the migrator gets the archive root; its result is not shown
  for_printers,       ///< `name`, only for the superuser; the migrator gets the archive root
  for_several_users,  ///< an archive of several users; the migrator gets its root
  back_at_printers,   ///< no migrator: the result of the step that looked for printers counts once more
};

/// What serves a step on one system.
struct Migrator {
  constexpr Migrator() = default;
  constexpr Migrator(func_t function, const char* line = nullptr)  // NOLINT: most cells are a plain function
      : exists(true), run(function), trace(line) {}

  /// The step exists and there is nothing to call.
  static constexpr Migrator no_call() {
    Migrator migrator;
    migrator.exists = true;
    return migrator;
  }

  bool exists = false;          ///< on that system
  func_t run = nullptr;         ///< null: nothing to call
  const char* trace = nullptr;  ///< printed before it, without a newline; null: nothing
};

/// One step of a migration.
struct Step {
  For whom;
  std::optional<Mark> mark;  ///< its row says what begins; set for the running user, profiles set none
  Looks looks;
  const char* name;  ///< folder or file looked for
  std::array<Migrator, system_count> migrators = {};
};

/// All steps, in the order of a run.
std::span<const Step> sequence();

/// What serves `step` on `system`.
const Migrator& migrator_of(const Step& step, System system);

/// Whether `step` exists on `system`.
bool exists_on(const Step& step, System system);

#endif
