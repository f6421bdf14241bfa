// The walk over the table of steps.
#ifndef BRINDLE_PROCESS_RUN_WALK_H
#define BRINDLE_PROCESS_RUN_WALK_H

#include <string>

#include "system/target.h"

/// Takes each step that there is for `target` on its system, in the order of the table, and for the running
/// user posts the marks. Items are looked for in new_dir_path, which is the target's root by then;
/// `archive_root` is what everybody shares.
void walk_steps(const Target& target, const std::string& archive_root);

#endif
