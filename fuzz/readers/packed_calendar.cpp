// Appointments of another program on their way into an archive's calendar.
#include <glib.h>

#include <algorithm>

#include "pack/calendar/component.h"
#include "pack/calendar/lines.h"
#include "pack/planner/content_line.h"
#include "support/harness.h"

namespace {

// An item made of lines as programs keep them. What no property has is the text of one.
pack::CalendarItem item_of(std::string_view text) {
  pack::CalendarItem item;
  item.description = text;
  for (const pack::ContentLine& line : pack::content_lines(text)) {
    pack::Moment moment = pack::moment_of(line.value);
    if (const std::string zone = pack::olson_of(pack::parameter(line, "TZID"));
        !zone.empty() && moment.kind == pack::Moment::Kind::floating)
      moment = pack::Moment::zoned(moment.seconds, zone);
    if (line.name == "DTSTART") item.start = moment;
    if (line.name == "DTEND" || line.name == "DUE") item.end = moment;
    if (line.name == "DUE") item.is_task = true;
    if (line.name == "COMPLETED") item.completed = moment;
    if (line.name == "SUMMARY") item.title = line.value;
    if (line.name == "STATUS") item.status = line.value;
    if (line.name == "CATEGORIES") item.categories = pack::listed_texts(line.value);
    if (line.name == "ATTACH") item.links.push_back(line.value);
    if (line.name == "RRULE") item.recurrence.rule = line.value;
    if (line.name == "UNTIL") item.recurrence.until = moment;
    if (line.name == "EXDATE") item.recurrence.excluded.push_back(moment);
    if (line.name == "RDATE") item.recurrence.added.push_back(moment);
    if (line.name == "ATTENDEE")
      item.attendees.push_back({.name = pack::parameter(line, "CN"),
                                .address = line.value,
                                .role = pack::parameter(line, "ROLE"),
                                .will_come = pack::parameter(line, "PARTSTAT")});
    if (const auto duration = pack::duration_of(line.value); duration && line.name == "TRIGGER")
      item.alarms.push_back(
          {.seconds_before = -*duration, .is_of_end = pack::parameter(line, "RELATED") == "END"});
  }
  if (!item.start.is_there() && !item.is_task) item.start = pack::Moment::instant(0);
  return item;
}

// What the wizard looks for stands only where it is meant.
void check_line(const std::string& line) {
  constexpr std::size_t longest = 75;
  fuzz::require(line.size() <= longest, "a line is short");
  fuzz::require(g_utf8_validate(line.data(), static_cast<gssize>(line.size()), nullptr),
                "no character is cut in two, and a line is a text");
  for (const char* time : {"DTSTART;TZID", "DTEND;TZID", "DUE;TZID"})
    fuzz::require(!fuzz::contains(line, time), "no time has a zone");
  for (const char* property : {"COMPLETED:", "PRIORITY:", "RRULE", "END:VALARM"})
    fuzz::require(!fuzz::contains(line, property) || line.starts_with(property), "a text is no property");
  fuzz::require(!fuzz::contains(line, "-PT") || line.starts_with("TRIGGER"), "a text is no alarm");
  fuzz::require(!fuzz::contains(line, "RRULE") || !fuzz::contains(line, "UNTIL="), "a rule keeps its end");
}

void check(const std::string& text) {
  std::size_t begun = 0;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = text.find('\n', begin);
    fuzz::require(end != std::string::npos, "the last line has an end");
    const std::string line = text.substr(begin, end - begin);
    check_line(line);
    if (line == "BEGIN:VEVENT" || line == "BEGIN:VTODO") ++begun;
    begin = end + 1;
  }
  fuzz::require(begun == fuzz::count_of(text, "\nUID:"), "each has its uid");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Input input(data, size);
  pack::CalendarItem item = item_of(input.text());
  pack::CalendarItem exception = item;
  exception.recurrence = {};
  exception.replaces = item.start;
  item.exceptions = {exception};
  const std::optional<pack::Zone> homes[] = {std::nullopt, pack::Zone::named("Europe/Berlin"),
                                             pack::Zone::named("America/New_York")};
  const pack::Component component =
      pack::component_of(item, "1" + std::string(input.text().substr(0, 100)), homes[input.choice(3)]);
  check(component.text);
  const auto lines = pack::content_lines(component.text);
  const auto described = std::ranges::find(lines, "DESCRIPTION", &pack::ContentLine::name);
  fuzz::require(pack::escaped(input.text()).empty() ||
                    (described != lines.end() && described->value == pack::escaped(input.text())),
                "a text arrives as it is");
  return 0;
}
