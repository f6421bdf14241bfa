// Lines of the archive's iCalendar files, written for the Mozilla calendar.
#ifndef BRINDLE_PROCESS_MAIL_MOZILLA_CALENDAR_LINES_H
#define BRINDLE_PROCESS_MAIL_MOZILLA_CALENDAR_LINES_H

#include <string>
#include <string_view>

#include "shell/pair_finder.h"

/// A pair of bytes of each text by which a line is known that is rewritten.
inline const PairFinder calendar_marks{"PT", "Q=", "VA"};
inline const PairFinder task_marks{"PT", "Q=", "VA", ";T", "RI"};

/// Rewrites one line at a time. Lines come with their newline; what is returned may be several lines.
///
/// To fold is to put a newline and a blank before each ";" and each ":":
///
///   TRIGGER;VALUE=DURATION:-PT15M   becomes   TRIGGER
///                                              ;VALUE=DURATION
///                                              :-PT15M
///
/// The alarm defaults, written behind each alarm, come from the last duration met: they stay from line
/// to line and from the calendar to the tasks.
class CalendarLines {
 public:
  /// A line of calendar.ics. An alarm's duration is folded; a recurrence gets the units it defaults to and
  /// its set position put before its days (BYDAY=MO;BYSETPOS=2 is BYDAY=2MO); an alarm's end is followed
  /// by the alarm defaults.
  std::string calendar(std::string_view line);

  /// A line of tasks.ics: the same without the set position; due and start times of a time zone and
  /// priorities are folded too, and priority 4 becomes 5.
  std::string task(std::string_view line);

 private:
  enum class Unit { minutes, hours, days };

  std::string alarm_duration(std::string_view line);
  std::string alarm_end(std::string_view line) const;

  Unit unit_ = Unit::minutes;
  std::string length_;
};

#endif
