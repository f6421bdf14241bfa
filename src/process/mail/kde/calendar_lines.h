// The lines of Evolution's calendar and task files, rewritten so that KOrganizer reads them.
#ifndef BRINDLE_PROCESS_MAIL_KDE_CALENDAR_LINES_H
#define BRINDLE_PROCESS_MAIL_KDE_CALENDAR_LINES_H

#include <string>

/// `line` with a "Z" before its line feed, which marks a time as UTC; as it is when it holds a "Z" already.
///   20050510T090000\n   ->   20050510T090000Z\n
std::string marked_as_utc(const std::string& line);

/// The recurrence rule `line` with only the date left of its UNTIL value. The walk goes by letters: any "UN"
/// begins an UNTIL part, a "T" not before "I" drops what follows up to the ";" that ends the part.
/// Deliberate: part of the output. An UNTIL at the end of the line loses the line feed too, so that the next
/// line goes on in it; and "COUNT=5" before UNTIL becomes "COUN".
///   RRULE:UNTIL=20051231T235959Z;BYDAY=MO\n   ->   RRULE:UNTIL=20051231;BYDAY=MO\n
std::string with_date_only_until(const std::string& line);

/// A date's whole rewritten line, and the date that it gives.
struct DateLine {
  std::string line;
  std::string date;  ///< without the line feed
};

/// Rewrites DUE and DTSTART of tasks to plain dates. One object serves one pass over a file.
/// Deliberate: part of the output. A line without ":" leaves the next one dropping, up to its ":".
class DateValues {
 public:
  /// All of `line` from `property` on, with every ";" as ";VALUE=DATE" and the parameters behind it dropped
  /// up to the ":", which the date follows.
  ///   DUE;TZID=X:20050510\n   ->   DUE;VALUE=DATE:20050510\n and 20050510
  DateLine rewrite(const std::string& line, const char* property);

 private:
  bool dropping_ = false;
};

#endif
