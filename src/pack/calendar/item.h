// Appointments, tasks and notes as every source gives them.
//
// A source gives what its program shows to its owner, as UTF-8 without escapes; what is no UTF-8, control
// characters and any length are borne. What it does not know stays as it is here.
#ifndef BRINDLE_PACK_CALENDAR_ITEM_H
#define BRINDLE_PACK_CALENDAR_ITEM_H

#include <cstdint>
#include <string>
#include <vector>

#include "pack/calendar/moment.h"

namespace pack {

/// A reminder.
struct Alarm {
  /// Before the start, or the end or due time; negative: behind it.
  std::int64_t seconds_before = 0;
  bool is_of_end = false;
};

/// Somebody who takes part.
struct Attendee {
  std::string name;
  std::string address;    ///< "ann@home.example", without "mailto:"
  std::string role;       ///< iCalendar's words: "REQ-PARTICIPANT", "OPT-PARTICIPANT", "CHAIR", ...
  std::string will_come;  ///< and "ACCEPTED", "DECLINED", "TENTATIVE", "NEEDS-ACTION", ...
};

/// How something comes again.
struct Recurrence {
  /// The value of an iCalendar rule without its end: "FREQ=WEEKLY;INTERVAL=2;BYDAY=MO,TH". Empty: only the
  /// days that are `added`. A number of times stands in it ("COUNT=5").
  std::string rule;
  /// The last moment at which it may come, for rules that end so: of any kind.
  Moment until;
  /// Times at which it does not come though the rule says so, and at which it comes besides: of the item's
  /// start in its own zone; a day leaves out all of that day.
  std::vector<Moment> excluded, added;

  bool is_there() const { return !rule.empty() || !added.empty(); }
};

struct CalendarItem {
  bool is_task = false;

  /// What tells it from all others, the same wherever a copy of it lies. Empty when its program has none:
  /// then the content tells it.
  std::string uid;

  std::string title, description, location;
  std::vector<std::string> categories;
  std::vector<std::string> links;  ///< addresses of what goes with it, "https://..."
  int priority = 0;                ///< 1 the highest, 9 the lowest, 0 none is given

  enum class Access : std::uint8_t { open, personal, confidential } access = Access::open;
  bool leaves_time_free = false;  ///< one can be invited at the same time
  /// In iCalendar's words: "CONFIRMED", "TENTATIVE", "CANCELLED"; of a task "NEEDS-ACTION", "IN-PROCESS",
  /// "COMPLETED", "CANCELLED". Empty when it is not told.
  std::string status;

  /// An appointment of whole days has a day as its start; its end is the day behind the last one, or none.
  /// Give what recurs as a zoned moment: what an instant recurs by is the clock of UTC. Where a program knows
  /// no zone, that is Calendar::home_zone().
  Moment start;
  Moment end;        ///< of a task: when it is due
  Moment completed;  ///< of a task
  int percent = -1;  ///< of a task that is done; -1: not told

  Recurrence recurrence;
  std::vector<Alarm> alarms;

  /// Those of its times at which it is otherwise. Each is an item without `recurrence` and `exceptions`,
  /// whose `replaces` is the start by the rule.
  std::vector<CalendarItem> exceptions;
  Moment replaces;

  Moment created, modified;  ///< instants
  Attendee organizer;        ///< nobody when it has no address
  std::vector<Attendee> attendees;

  /// True when it comes again by the clock of a zone of which no more is known than how far that was ahead at
  /// its start: that is told.
  bool is_of_unknown_zone = false;

  /// True when the program had something to it that has no place here (a second rule, an alarm by mail, ...):
  /// that is told.
  bool is_simplified = false;
};

struct Note {
  std::string title;          ///< empty: the first line of the text that says something
  std::string text;           ///< lines end with LF or CR LF
  std::int64_t modified = 0;  ///< seconds since 1970 began, 0: not told; an archive has no place for it
};

}  // namespace pack

#endif
