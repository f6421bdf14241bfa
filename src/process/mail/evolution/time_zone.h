// The time zone of Evolution's calendar.
#ifndef BRINDLE_PROCESS_MAIL_EVOLUTION_TIME_ZONE_H
#define BRINDLE_PROCESS_MAIL_EVOLUTION_TIME_ZONE_H

/// Sets the calendar's time zone from the system's, through the GConf client for the running user, in the
/// home's %gconf.xml (replacing it) for a profile. A zone that is not in the table changes nothing.
void set_time_zone();

/// The zone name for `str`, an abbreviation as "date +%Z" prints it, newline included; null for one that
/// is not in the table.
const char* time_zone_matrix(const char* str);

#endif
