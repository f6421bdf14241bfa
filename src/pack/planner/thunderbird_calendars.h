// Appointments and tasks in profiles of Thunderbird.
#ifndef BRINDLE_PACK_PLANNER_THUNDERBIRD_CALENDARS_H
#define BRINDLE_PACK_PLANNER_THUNDERBIRD_CALENDARS_H

#include "pack/calendar/calendar.h"
#include "pack/people/people.h"
#include "pack/registry/hive.h"

namespace pack {

/// Adds those of all calendars of a person, shown or not: of the local ones (calendar-data/local.sqlite) and
/// what was kept of others (cache.sqlite). A calendar that lies in the network is told, and so is what cannot
/// be found or read.
void add_thunderbird_calendars(Packing& packing, const Machine& machine, const Person& person,
                               const Hive* hive, Calendar& calendar);

/// The Olson name of the zone that the programs of a person are set to; empty when none is.
std::string thunderbird_zone(const Machine& machine, const Person& person, const Hive* hive);

/// The Olson name of the zone that more of a person's appointments and tasks have than any other; empty when
/// none has one, or as many have another.
std::string zone_of_most_items(const Machine& machine, const Person& person, const Hive* hive);

}  // namespace pack

#endif
