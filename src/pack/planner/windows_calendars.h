// The calendars of Windows' own programs.
#ifndef BRINDLE_PACK_PLANNER_WINDOWS_CALENDARS_H
#define BRINDLE_PACK_PLANNER_WINDOWS_CALENDARS_H

#include "pack/files/packing.h"
#include "pack/people/people.h"
#include "pack/registry/hive.h"

namespace pack {

/// Leaves out what Windows Calendar (of Vista) and Windows Live Mail keep, each calendar or store as one
/// thing.
void leave_out_windows_calendars(Packing& packing, const Machine& machine, const Person& person,
                                 const Hive* hive);

}  // namespace pack

#endif
