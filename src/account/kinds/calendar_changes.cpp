#include "account/kinds/calendar_changes.h"

namespace account {
namespace {

// Lines come in pieces of this many bytes, each looked at alone.
constexpr std::size_t piece_length = 1023;

template <typename Change>
CalendarReader::Rewrite by_pieces(Change change) {
  return [change](const std::string& line) mutable {
    std::string result;
    for (std::size_t place = 0; place < line.size(); place += piece_length)
      result += change(line.substr(place, piece_length));
    return result;
  };
}

bool has(const std::string& line, std::string_view text) { return line.find(text) != std::string::npos; }

// ---- KOrganizer ------------------------------------------------------------------------------------------

std::string as_utc(std::string line) {
  if (!has(line, "Z")) line.insert(line.size() - (line.ends_with('\n') ? 1 : 0), "Z");
  return line;
}

// From "UN" on, the time of the end goes, up to the next part of the rule; at the end of a line the line's
// end goes with it.
std::string without_time_of_end(const std::string& line) {
  std::string kept;
  bool at_the_end = false, in_time = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const std::string_view rest = std::string_view(line).substr(i);
    if (rest.starts_with("UN")) at_the_end = true;
    if (at_the_end && rest.front() == 'T' && !rest.starts_with("TI")) in_time = true;
    if (rest.front() == ';') at_the_end = in_time = false;
    if (!in_time) kept += rest.front();
  }
  return kept;
}

struct OrganizerEvents {
  bool value_follows = false;

  std::string operator()(const std::string& line) {
    if (value_follows) {
      value_follows = false;
      return as_utc(line);
    }
    value_follows = has(line, "DTSTART;TZID") || has(line, "DTEND;TZID");
    if (value_follows || !has(line, "RRULE") || !has(line, "UNTIL=")) return line;
    return without_time_of_end(line);
  }
};

struct OrganizerTasks {
  bool in_parameters = false;  // goes on from one line to the next
  std::string value;

  std::string as_date(const std::string& line) {
    std::string result;
    bool in_value = false;
    value.clear();
    for (const char c : line) {
      if (c == ':') in_parameters = false;
      if (c == ';') result += ";VALUE=DATE";
      if (c == ';') in_parameters = true;
      if (in_parameters) continue;
      result += c;
      if (in_value && c != '\n') value += c;
      if (c == ':') in_value = true;
    }
    return result;
  }

  std::string operator()(const std::string& line) {
    if (const std::size_t due = line.find("DUE;TZID"); due != std::string::npos) {
      const std::string date = as_date(line.substr(due));
      return date + "RECURRENCE-ID:" + value + "T000000Z\n";
    }
    if (const std::size_t start = line.find("DTSTART;TZID"); start != std::string::npos)
      return as_date(line.substr(start));
    if (has(line, "COMPLETED:")) return as_utc(line);
    if (has(line, "PRIORITY:9")) return "PRIORITY:5\n";
    return line;
  }
};

// ---- Mozilla ---------------------------------------------------------------------------------------------

// What stands behind `name` in a rule, up to the next part of it.
std::string part_of(const std::string& rule, std::string_view name) {
  const std::size_t begin = rule.find(name) + name.size();
  return rule.substr(begin, rule.find_first_of(";\n", begin) - begin);
}

// Deliberate: a daily rule is asked for as "DAILLY" and gets no unit.
std::string unit_of_rule(const std::string& rule) {
  const std::string frequency = part_of(rule, "FREQ=");
  const char* const unit = frequency == "MONTHLY"  ? "months"
                           : frequency == "YEARLY" ? "years"
                           : frequency == "DAILLY" ? "days"
                                                   : nullptr;
  if (unit == nullptr) return "";
  return std::string("X-MOZILLA-RECUR-DEFAULT-UNITS\n :") + unit + "\n";
}

// "BYDAY=MO;BYSETPOS=2" as "BYDAY=2MO", in the place of everything from the first B on.
std::string with_numbered_day(const std::string& rule) {
  const std::size_t position = rule.find("BYSETPOS="), day = rule.find("BYDAY=");
  if (position == std::string::npos || day == std::string::npos || day > position) return rule;
  const std::size_t number = position + std::string_view("BYSETPOS=").size();
  return rule.substr(0, rule.find('B')) + "BYDAY=" + rule.substr(number, rule.find('\n', number) - number) +
         part_of(rule, "BYDAY=") + "\n";
}

std::string alarm_time(const std::string& line, MozillaAlarm& alarm) {
  const std::size_t number = line.find("-PT") + 3, end = line.find_first_of("MHD\n", number);
  alarm.length = " :" + line.substr(number, end - number) + "\n";
  if (end != std::string::npos && line[end] != '\n') alarm.unit = line[end];
  return line;
}

std::string alarm_end(const std::string& line, const MozillaAlarm& alarm) {
  std::string result = line;
  if (alarm.unit == 'H') result += "X-MOZILLA-ALARM-DEFAULT-UNITS\n :hours\n";
  if (alarm.unit == 'D') result += "X-MOZILLA-ALARM-DEFAULT-UNITS\n :days\n";
  return result + "X-MOZILLA-ALARM-DEFAULT-LENGTH\n" + (alarm.length.empty() ? " :\n" : alarm.length);
}

std::string priority(std::string line) {
  const std::size_t value = line.find("PRIORITY:") + std::string_view("PRIORITY:").size();
  if (value < line.size() && line[value] == '4') line[value] = '5';
  return line;
}

}  // namespace

CalendarReader::Rewrite organizer_calendar() { return by_pieces(OrganizerEvents()); }

CalendarReader::Rewrite organizer_tasks() { return by_pieces(OrganizerTasks()); }

CalendarReader::Rewrite mozilla_calendar(MozillaAlarm& alarm) {
  return by_pieces([&alarm](const std::string& line) {
    if (has(line, "-PT")) return alarm_time(line, alarm);
    if (has(line, "RRULE:FREQ=")) return unit_of_rule(line) + with_numbered_day(line);
    if (has(line, "END:VALARM")) return alarm_end(line, alarm);
    return line;
  });
}

CalendarReader::Rewrite mozilla_tasks(MozillaAlarm& alarm) {
  return by_pieces([&alarm](const std::string& line) {
    if (has(line, "DUE;TZID=") || has(line, "DTSTART;TZID=")) return line;  // whatever else they hold
    if (has(line, "PRIORITY:")) return priority(line);
    if (has(line, "-PT")) return alarm_time(line, alarm);
    if (has(line, "END:VALARM")) return alarm_end(line, alarm);
    if (has(line, "RRULE:FREQ=")) return unit_of_rule(line) + line;
    return line;
  });
}

}  // namespace account
