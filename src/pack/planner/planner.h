// Somebody's appointments, tasks and notes, from all programs.
#ifndef BRINDLE_PACK_PLANNER_PLANNER_H
#define BRINDLE_PACK_PLANNER_PLANNER_H

#include "pack/files/packing.h"
#include "pack/people/people.h"
#include "pack/registry/hive.h"

namespace pack {

/// Packs appointments and tasks as one calendar and one task list, each of them once.
void pack_calendars(Packing& packing, const Machine& machine, const Person& person, const Hive* hive);

/// Packs notes, each once.
void pack_notes(Packing& packing, const Machine& machine, const Person& person, const Hive* hive);

}  // namespace pack

#endif
