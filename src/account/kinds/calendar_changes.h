// What becomes of the lines of a calendar on its way to programs that do not take Evolution's.
#ifndef BRINDLE_ACCOUNT_KINDS_CALENDAR_CHANGES_H
#define BRINDLE_ACCOUNT_KINDS_CALENDAR_CHANGES_H

#include "account/readers/calendar.h"

namespace account {

/// For KOrganizer. Each gives a rewriting of its own for one file, to be fed every line of it.
CalendarReader::Rewrite organizer_calendar();
CalendarReader::Rewrite organizer_tasks();

/// The last alarm that was seen. The calendar hands it on to the tasks.
struct MozillaAlarm {
  char unit = 'M';
  std::string length;  ///< the continuation line
};

/// For the Mozilla calendar, without the folding, which says nothing. `alarm` lives as long as the rewriting.
CalendarReader::Rewrite mozilla_calendar(MozillaAlarm& alarm);
CalendarReader::Rewrite mozilla_tasks(MozillaAlarm& alarm);

}  // namespace account

#endif
