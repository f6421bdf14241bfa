// The time zone of Evolution's calendar.
#ifndef BRINDLE_PROCESS_MAIL_EVOLUTION_TIME_ZONE_H
#define BRINDLE_PROCESS_MAIL_EVOLUTION_TIME_ZONE_H

#include "system/target.h"

/// Sets the calendar's time zone from the system's, through the GConf client for the running user, in the
/// home's %gconf.xml (replacing it) for a profile. A zone that is not in the table changes nothing; one that
/// cannot be stored is not told.
void store_time_zone(const Target& target);

/// store_time_zone for the user being migrated.
void set_time_zone();

/// The zone name for `str`, an abbreviation as "date +%Z" prints it, newline included; null for one that
/// is not in the table.
const char* time_zone_matrix(const char* str);

#endif
