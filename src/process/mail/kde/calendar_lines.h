// The lines of Evolution's calendar and task files, rewritten so that KOrganizer reads them.
#ifndef BRINDLE_PROCESS_MAIL_KDE_CALENDAR_LINES_H
#define BRINDLE_PROCESS_MAIL_KDE_CALENDAR_LINES_H

#include <string>
#include <string_view>

/// Appends to `out` the line with a "Z" before its line feed, which marks a time as UTC; as it is when it
/// holds a "Z" already.
///   20050510T090000\n   ->   20050510T090000Z\n
void append_as_utc(std::string_view line, std::string& out);

/// Appends to `out` the recurrence rule `line` with only the date left of its UNTIL value. The walk goes by
/// letters: any "UN" begins an UNTIL part, a "T" not before "I" drops what follows up to the ";" that ends
/// the part. Deliberate: part of the output. An UNTIL at the end of the line loses the line feed too, so that
/// the next line goes on in it; and "COUNT=5" before UNTIL becomes "COUN".
///   RRULE:UNTIL=20051231T235959Z;BYDAY=MO\n   ->   RRULE:UNTIL=20051231;BYDAY=MO\n
void append_with_date_only_until(std::string_view line, std::string& out);

/// Rewrites DUE and DTSTART of tasks to plain dates. One object serves one pass over a file.
/// Deliberate: part of the output. A line without ":" leaves the next one dropping, up to its ":".
class DateValues {
 public:
  /// Appends to `out` all of `line` from `property` on, with every ";" as ";VALUE=DATE" and the parameters
  /// behind it dropped up to the ":", which the date follows. Returns the date, without the line feed.
  ///   DUE;TZID=X:20050510\n   ->   DUE;VALUE=DATE:20050510\n and 20050510
  std::string rewrite(std::string_view line, std::string_view property, std::string& out);

 private:
  bool dropping_ = false;
};

#endif
