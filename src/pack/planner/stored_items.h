// The items of a calendar database of Thunderbird.
#ifndef BRINDLE_PACK_PLANNER_STORED_ITEMS_H
#define BRINDLE_PACK_PLANNER_STORED_ITEMS_H

#include <map>
#include <string>

#include "pack/calendar/calendar.h"
#include "pack/database/database.h"

namespace pack {

/// Adds all of a database to the calendar. `path` is where it lies, for what is told. What its owner has
/// deleted while there was no network is left out and told. False when something of it could not be read.
bool add_stored_items(const Database& database, const std::string& path, Packing& packing,
                      Calendar& calendar);

/// Adds up how many appointments and tasks of a database begin by the clock of each zone, by its Olson name;
/// UTC and what is no zone do not count.
void count_zones(const Database& database, std::map<std::string, std::size_t>& counts);

}  // namespace pack

#endif
