#include "process/mail/mozilla/calendar_lines.h"

#include <cstdio>
#include <string_view>

namespace {

bool contains(std::string_view line, std::string_view part) {
  return line.find(part) != std::string_view::npos;
}

std::string fold(std::string_view line) {
  std::string folded;
  folded.reserve(2 * line.size());
  for (const char c : line) {
    if (c == ';' || c == ':') folded += "\n ";
    folded += c;
  }
  return folded;
}

// The text behind the first `key`, up to the first of `ends` or the newline.
std::string text_after(std::string_view line, std::string_view key, std::string_view ends = "") {
  line.remove_prefix(line.find(key) + key.size());
  line = line.substr(0, line.find('\n'));
  return std::string(line.substr(0, line.find_first_of(ends)));
}

std::string recurrence_units(std::string_view line) {
  const std::string frequency = text_after(line, "FREQ=", ";");
  std::printf("Recurrence::%s", frequency.c_str());
  const std::string units = "X-MOZILLA-RECUR-DEFAULT-UNITS\n";
  if (frequency == "MONTHLY") return units + " :months\n";
  if (frequency == "YEARLY") return units + " :years\n";
  // Deliberate: part of the output. Misspelt, so that a daily rule gets no units.
  if (frequency == "DAILLY") return units + " :days\n";
  return "";
}

// Deliberate: part of the output. The cut is at the first "B", so that a rule by months comes out without its
// months; and the position stands once, before the whole list, so that it counts for the first day alone.
std::string with_position_in_days(std::string_view line, const std::string& position) {
  const std::string days = position + text_after(line, "BYDAY=", ";");
  std::printf("newbyday::%s", days.c_str());
  return std::string(line.substr(0, line.find('B'))) + "BYDAY=" + days + "\n";
}

std::string merge_set_position(std::string_view line) {
  if (!contains(line, "BYSETPOS=")) return std::string(line);
  std::printf("found bysetpos");
  const std::string position = text_after(line, "BYSETPOS=");
  std::printf("Bysetpos::%s", position.c_str());
  if (!contains(line, "BYDAY=")) return std::string(line);
  std::printf("found byday");
  // A position goes on to the line's end. Before the days it would swallow them.
  if (line.find("BYDAY=") > line.find("BYSETPOS=")) return std::string(line);
  return with_position_in_days(line, position);
}

std::string recurrence(std::string_view line) {
  const std::string units = recurrence_units(line);
  return units + merge_set_position(line);
}

std::string task_priority(std::string line) {
  const std::size_t value = line.find("PRIORITY:") + std::string_view("PRIORITY:").size();
  if (line.compare(value, 1, "4") == 0) line[value] = '5';
  return fold(line);
}

}  // namespace

std::string CalendarLines::calendar(std::string_view line) {
  if (contains(line, "-PT")) return alarm_duration(line);
  if (contains(line, "RRULE:FREQ=")) return recurrence(line);
  if (contains(line, "END:VALARM")) return alarm_end(line);
  return std::string(line);
}

std::string CalendarLines::task(std::string_view line) {
  if (contains(line, "DUE;TZID=")) return fold(line);
  if (contains(line, "DTSTART;TZID=")) return fold(line);
  if (contains(line, "PRIORITY:")) return task_priority(std::string(line));
  if (contains(line, "-PT")) return alarm_duration(line);
  if (contains(line, "END:VALARM")) return alarm_end(line);
  if (contains(line, "RRULE:FREQ=")) return recurrence_units(line).append(line);
  return std::string(line);
}

// Deliberate: part of the output. Without a unit the rest of the line is the number, and the unit stays.
std::string CalendarLines::alarm_duration(std::string_view line) {
  length_ = text_after(line, "-PT", "MHD");
  const std::size_t end = line.find("-PT") + 3 + length_.size();
  const char letter = end < line.size() ? line[end] : '\n';
  if (letter == 'M') unit_ = Unit::minutes;
  if (letter == 'H') unit_ = Unit::hours;
  if (letter == 'D') unit_ = Unit::days;
  return fold(line);
}

// Before any duration the value is empty.
std::string CalendarLines::alarm_end(std::string_view line) const {
  std::string text(line);
  if (unit_ == Unit::hours) text += "X-MOZILLA-ALARM-DEFAULT-UNITS\n :hours\n";
  if (unit_ == Unit::days) text += "X-MOZILLA-ALARM-DEFAULT-UNITS\n :days\n";
  return text + "X-MOZILLA-ALARM-DEFAULT-LENGTH\n :" + length_ + "\n";
}
