// The items of a calendar database of Thunderbird.
#ifndef BRINDLE_PACK_PLANNER_STORED_ITEMS_H
#define BRINDLE_PACK_PLANNER_STORED_ITEMS_H

#include "pack/calendar/calendar.h"
#include "pack/database/database.h"

namespace pack {

/// Adds all of a database to the calendar. `path` is where it lies, for what is told. What its owner has
/// deleted while there was no network is left out and told. False when something of it could not be read.
bool add_stored_items(const Database& database, const std::string& path, Packing& packing,
                      Calendar& calendar);

}  // namespace pack

#endif
