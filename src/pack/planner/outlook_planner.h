// Appointments, tasks and notes of Outlook.
#ifndef BRINDLE_PACK_PLANNER_OUTLOOK_PLANNER_H
#define BRINDLE_PACK_PLANNER_OUTLOOK_PLANNER_H

#include "pack/calendar/calendar.h"
#include "pack/calendar/notes.h"
#include "pack/people/people.h"
#include "pack/registry/hive.h"

namespace pack {

/// Adds those of all data files. What comes again by another calendar than ours comes once, and is told.
void add_outlook_calendars(Packing& packing, const Machine& machine, const Person& person, const Hive* hive,
                           Calendar& calendar);

/// Adds the notes of all data files. Entries of a journal have no place and are told.
void add_outlook_notes(Packing& packing, const Machine& machine, const Person& person, const Hive* hive,
                       Notes& notes);

}  // namespace pack

#endif
