// The lines of Evolution's calendar and task files, rewritten so that KOrganizer reads them.
#ifndef BRINDLE_PROCESS_MAIL_KDE_CALENDAR_LINES_H
#define BRINDLE_PROCESS_MAIL_KDE_CALENDAR_LINES_H

#include <string>

/// `line` with a "Z" before its line feed, which marks a time as UTC; as it is when it holds a "Z" already.
///   20050510T090000\n   ->   20050510T090000Z\n
std::string marked_as_utc(const std::string& line);

/// The recurrence rule `line` with only the date left of its UNTIL value. The walk goes by letters: any "UN"
/// begins an UNTIL part, a "T" not before "I" drops what follows up to the ";" that ends the part. So an
/// UNTIL at the end of the line loses the line feed too, and COUNT before UNTIL loses its value: both kept.
///   RRULE:UNTIL=20051231T235959Z;BYDAY=MO\n   ->   RRULE:UNTIL=20051231;BYDAY=MO\n
std::string with_date_only_until(const std::string& line);

/// Rewrites DUE and DTSTART of tasks to plain dates. One object serves one pass over a file: a line without
/// ":" leaves the next one dropping.
class DateValues {
 public:
  /// All of `line` from `property` on, with every ";" as ";VALUE=DATE" and the parameters behind it dropped
  /// up to the ":". `value` receives what follows the ":", without the line feed.
  ///   DUE;TZID=X:20050510\n   ->   DUE;VALUE=DATE:20050510\n
  std::string rewrite(const std::string& line, const char* property, std::string& value);

 private:
  bool dropping_ = false;
};

#endif
