#include "account/kinds/calendar.h"

#include <algorithm>
#include <map>
#include <set>
#include <sstream>

#include "account/archive/charset.h"
#include "account/kinds/calendar_changes.h"
#include "account/kinds/personal.h"
#include "account/readers/calendar_index.h"
#include "process/archive/layout.h"

namespace account {
namespace {

using State = CalendarIndex::State;

// What a comparison needs while it goes through the items of a file of the archive.
struct Search {
  std::string place;
  CalendarIndex there;
  Letters letters;  // of the archive
  // Time zones of the archive so far, and whether the calendar there has them.
  std::map<std::string, bool> zones;
  std::string condition;  // why nothing was looked at; empty when it was
};

std::string in_mail(const char* name) { return std::string(layout::mail) + "/" + name; }

// ---- Names -----------------------------------------------------------------------------------------------

std::string date_of(const Content& content) {
  for (const char* name : {"DTSTART", "DUE", "COMPLETED"}) {
    const std::string value = value_of(content, name);
    const bool is_date = value.size() >= 8 && std::all_of(value.begin(), value.begin() + 8,
                                                          [](char c) { return c >= '0' && c <= '9'; });
    if (is_date) return value.substr(0, 4) + "-" + value.substr(4, 2) + "-" + value.substr(6, 2);
  }
  return "";
}

std::string name_of(const Content& content) {
  std::string name = plain(value_of(content, "SUMMARY"));
  if (name.empty()) name = value_of(content, "UID");
  const std::string date = date_of(content);
  return date.empty() ? name : name + " (" + date + ")";
}

// An item that the archive cuts short, with the ends that it lacks.
Content completed(std::string text, const Decode& letters) {
  for (int missing_ends = 0; missing_ends < 4; ++missing_ends) {
    if (auto content = content_of(text, letters)) return *content;
    text += "\nEND:\n";
  }
  return {""};
}

// ---- Time zones ------------------------------------------------------------------------------------------

void remember_zone(Search& search, const CalendarItem& zone) {
  const auto content = content_of(zone.text, search.letters),
             rewritten = content_of(zone.rewritten, search.letters);
  if (!content) return;
  bool& is_there = search.zones[value_of(*content, "TZID")];
  is_there = search.there.has(*content) || (rewritten && search.there.has(*rewritten));
}

// True when a time of the item is meant in a zone that the archive tells and the calendar there does not.
bool lacks_zone(const Search& search, const Content& content) {
  constexpr std::string_view parameter = ";TZID=";
  return std::ranges::any_of(content, [&](const std::string& property) {
    const std::size_t begin = property.find(parameter);
    if (begin == std::string::npos) return false;
    const std::size_t name = begin + parameter.size();
    const auto zone = search.zones.find(property.substr(name, property.find_first_of(":;", name) - name));
    return zone != search.zones.end() && !zone->second;
  });
}

// ---- Comparison ------------------------------------------------------------------------------------------

// "FREQ", "COUNT", ... of a rule.
std::set<std::string> parts_of(const std::string& rule) {
  std::set<std::string> names;
  std::istringstream parts(rule);
  for (std::string part; std::getline(parts, part, ';');) names.insert(part.substr(0, part.find('=')));
  return names;
}

// A position in a list of days may stand with the days.
bool loses_a_part(const std::string& rule, const std::string& rewritten) {
  const std::set<std::string> kept = parts_of(rewritten);
  return std::ranges::any_of(parts_of(rule), [&kept](const std::string& part) {
    return !kept.contains(part) && !(part == "BYSETPOS" && kept.contains("BYDAY"));
  });
}

bool is_lost(const std::string& property, const std::string& rewritten) {
  if (rewritten == property || !is_readable(property)) return false;
  if (!is_readable(rewritten)) return true;
  return account::name_of(property) == "RRULE" &&
         loses_a_part(value_of({property}, "RRULE"), value_of({rewritten}, "RRULE"));
}

// The property that the rewriting leaves behind or damages; empty when it keeps all.
std::string lost_property(const Content& before, const Content& after) {
  const auto find_in = [&after](const std::string& name) {
    return std::ranges::find(after, name, [](const std::string& line) { return account::name_of(line); });
  };
  for (const std::string& property : before) {
    const std::string name = account::name_of(property);
    const auto kept = find_in(name);
    if (kept == after.end()) return name;
    if (is_lost(property, *kept)) return name;
  }
  return "";
}

void miss_item(const Search& search, const Content& content, const std::optional<Content>& rewritten,
               Tally& tally) {
  const bool mistaken = search.letters.were_mistaken();
  const std::string name = name_of(content);
  if (!search.condition.empty()) return tally.miss(name, Cause::not_looked_at, search.condition);
  if (search.there.state() == State::not_there) return tally.miss(name, Cause::place_missing, search.place);
  if (search.there.state() == State::no_file) return tally.miss(name, Cause::place_unreadable, search.place);
  if (!rewritten) return tally.miss(name, Cause::lost_in_move, "RRULE");
  if (search.there.state() == State::refused || search.there.has_outside(value_of(content, "UID")))
    return tally.miss(name, Cause::program_refuses, search.place);
  const auto there = search.there.like(*rewritten);
  if (!there) return tally.miss(name, Cause::not_there);
  if (mistaken && without_letters(*rewritten) == without_letters(*there))
    return tally.miss(name, Cause::other_letters, Letters::taken_for);
  tally.miss(name, Cause::differs_in, difference(*rewritten, *there));
}

void compare_item(Search& search, const CalendarItem& item, Tally& tally) {
  tally.find();
  search.letters.were_mistaken();  // the item before
  const Content content = completed(item.text, search.letters);
  const bool is_changed = item.rewritten != item.text;
  const auto rewritten = is_changed ? content_of(item.rewritten, search.letters) : content;
  if (search.there.take(content)) {
    if (lacks_zone(search, content)) return tally.miss(name_of(content), Cause::differs_in, "VTIMEZONE");
    return tally.arrive_unchanged();
  }
  if (!is_changed || !rewritten || !search.there.take(*rewritten))
    return miss_item(search, content, rewritten, tally);
  const std::string lost = lost_property(content, *rewritten);
  if (!lost.empty()) return tally.miss(name_of(content), Cause::lost_in_move, lost);
  if (lacks_zone(search, *rewritten)) return tally.miss(name_of(content), Cause::differs_in, "VTIMEZONE");
  tally.arrive_changed();
}

void compare_items(const Case& of, Kind kind, const char* file, const char* before_evolution_2,
                   const CalendarReader::Rewrite& rewrite, Tally& tally) {
  const std::string name = in_mail(file), place = personal_file(of, before_evolution_2);
  const auto allowed =
      has_evolution(of.system) ? CalendarIndex::Calendars::one : CalendarIndex::Calendars::several;
  const auto there = [&of](std::string_view text) { return readable(text, of.charset.c_str()); };
  Search search = {.place = place,
                   .there = CalendarIndex(place, allowed, there),
                   .letters = Letters(of, name),
                   .zones = {},
                   .condition = condition_not_met(of, kind)};
  read_personal(of, name, tally, [&](Source source) {
    CalendarReader reader(std::move(source), rewrite);
    for (CalendarItem item; reader.next(item);) {
      if (item.kind == "VTIMEZONE") {
        remember_zone(search, item);
      } else {
        compare_item(search, item, tally);
      }
    }
  });
}

// The alarms of the calendar go on into the tasks.
MozillaAlarm alarm_after_calendar(const Case& of) {
  MozillaAlarm alarm;
  Tally unused;
  read_personal(of, in_mail(layout::calendar_file), unused, [&alarm](Source source) {
    CalendarReader reader(std::move(source), mozilla_calendar(alarm));
    for (CalendarItem item; reader.next(item);) continue;
  });
  return alarm;
}

}  // namespace

void compare_calendar(const Case& of, Tally& tally) {
  MozillaAlarm alarm;
  const auto rewrite = has_evolution(of.system) ? CalendarReader::Rewrite()
                       : has_kmail(of.system)   ? organizer_calendar()
                                                : mozilla_calendar(alarm);
  compare_items(of, Kind::calendar, layout::calendar_file, "evolution/local/Calendar/calendar.ics", rewrite,
                tally);
}

void compare_tasks(const Case& of, Tally& tally) {
  MozillaAlarm alarm =
      has_evolution(of.system) || has_kmail(of.system) ? MozillaAlarm() : alarm_after_calendar(of);
  const auto rewrite = has_evolution(of.system) ? CalendarReader::Rewrite()
                       : has_kmail(of.system)   ? organizer_tasks()
                                                : mozilla_tasks(alarm);
  compare_items(of, Kind::tasks, layout::tasks_file, "evolution/local/Tasks/tasks.ics", rewrite, tally);
}

}  // namespace account
