#include "pack/planner/outlook_planner.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "pack/calendar/component.h"
#include "pack/disk/bytes.h"
#include "pack/outlook/outlook.h"
#include "pack/outlook/plain_text.h"
#include "pack/outlook/recipients.h"
#include "pack/outlook/recurrence.h"
#include "pack/outlook/times.h"

namespace pack {

namespace {

constexpr std::int64_t minute = 60;
constexpr std::int64_t day = 86400;

namespace id {
constexpr std::uint16_t importance = 0x0017;
constexpr std::uint16_t sensitivity = 0x0036;
constexpr std::uint16_t subject = 0x0037;
constexpr std::uint16_t created = 0x3007;
constexpr std::uint16_t modified = 0x3008;
}  // namespace id

// Numbers within their sets.
namespace appointment {
constexpr std::uint32_t shown_as = 0x8205, location = 0x8208, start = 0x820D, end = 0x820E, all_day = 0x8215,
                        recurrence = 0x8216, state = 0x8217, zone_shown = 0x825E, zone_of_series = 0x8260;
}
namespace task {
constexpr std::uint32_t status = 0x8101, percent = 0x8102, start = 0x8104, due = 0x8105, completed = 0x810F,
                        recurrence = 0x8116, is_complete = 0x811C, comes_again = 0x8126;
}
namespace common {
constexpr std::uint32_t minutes_before = 0x8501, reminder_at = 0x8502, has_reminder = 0x8503;
}

std::int64_t nearest_day(std::int64_t seconds) {
  const std::int64_t middle = seconds + day / 2;
  return (middle >= 0 ? middle / day : (middle - day + 1) / day) * day;
}

Moment instant(std::optional<std::uint64_t> time) {
  return time && *time != 0 ? Moment::instant(unix_time(*time)) : Moment();
}

// An item with the ids that its file has for properties of sets.
class Item {
 public:
  Item(Store& store, const Properties& properties) : store_(store), properties_(properties) {}

  const Properties& own() const { return properties_; }
  Blocks& blocks() const { return store_.blocks(); }
  std::uint16_t id(PropertySet set, std::uint32_t number) const { return store_.id_of(set, number); }
  std::string text(PropertySet set, std::uint32_t number) const { return properties_.text(id(set, number)); }
  std::optional<std::int32_t> number(PropertySet set, std::uint32_t number) const {
    return properties_.number(id(set, number));
  }
  bool flag(PropertySet set, std::uint32_t number) const { return properties_.flag(id(set, number)); }
  std::optional<std::uint64_t> time(PropertySet set, std::uint32_t number) const {
    return properties_.time(id(set, number));
  }
  std::string bytes(PropertySet set, std::uint32_t number) const {
    return properties_.bytes(id(set, number)).value_or("");
  }
  std::vector<std::string> categories() const {
    return properties_.texts(store_.id_of(PropertySet::strings, "Keywords"));
  }

 private:
  Store& store_;
  const Properties& properties_;
};

// The same wherever a copy of the meeting lies: what another program named it, or the whole of Outlook's
// name. The name of all times of a series has no day. Who is invited to some of them alone has an item for
// each, which only the name with its day tells from the others.
std::string uid_of(const Item& item) {
  using namespace std::string_view_literals;
  constexpr std::string_view digits = "0123456789ABCDEF";
  constexpr std::uint32_t of_all = 0x23;
  constexpr std::uint32_t of_one = 0x03;
  constexpr std::size_t day_place = 16;
  constexpr std::size_t day_size = 4;
  std::string name = item.bytes(PropertySet::meeting, of_one);
  const std::string day_of_one(part_of(name, day_place, day_size));
  const bool has_day = day_of_one.find_first_not_of('\0') != std::string::npos;
  const std::string name_of_all = item.bytes(PropertySet::meeting, of_all);
  if (!has_day && !name_of_all.empty()) name = name_of_all;
  constexpr std::string_view others = "vCal-Uid\x01\0\0\0"sv;
  constexpr std::size_t head = 40;
  const std::string_view own = std::string_view(name).substr(std::min(head, name.size()));
  if (!own.starts_with(others)) return hex(name, digits);
  const std::string uid(own.substr(others.size(), own.find('\0', others.size()) - others.size()));
  return has_day ? uid + "-" + hex(day_of_one, digits) : uid;
}

bool is_attachment(std::uint32_t node) {
  constexpr std::uint32_t type_bits = 0x1F;
  constexpr std::uint32_t attachment = 0x05;
  return (node & type_bits) == attachment;
}

std::vector<std::string> addresses_of(const Item& item, const Properties& of, bool* is_whole) {
  std::vector<std::string> addresses;
  for (const Recipient& recipient : recipients_of(item.blocks(), of, is_whole))
    addresses.push_back(recipient.address);
  std::ranges::sort(addresses);
  return addresses;
}

// Outlook keeps each time of a series that was changed as an attachment, which nobody sees. What is otherwise
// there stands with the rule as well, but for files and people.
bool repeats_the_rule(const Item& item, const Properties& attachment) {
  constexpr std::uint16_t data = 0x3701;
  constexpr std::uint16_t flags = 0x7FFD;
  constexpr int of_a_changed_time = 2;
  const auto node = attachment.object(data);
  if (!node || (attachment.number(flags).value_or(0) & of_a_changed_time) == 0) return false;
  const Properties changed(item.blocks(), *node, attachment.code_page());
  bool is_whole = attachment.is_whole() && changed.is_whole();
  const auto people = addresses_of(item, changed, &is_whole);
  const bool are_others = !people.empty() && people != addresses_of(item, item.own(), &is_whole);
  return is_whole && !are_others &&
         std::ranges::none_of(changed.subnodes(), [](const auto& own) { return is_attachment(own.first); });
}

bool has_attachments(const Item& item) {
  const Properties& own = item.own();
  return std::ranges::any_of(own.subnodes(), [&](const auto& node) {
    return is_attachment(node.first) &&
           !repeats_the_rule(item, Properties(item.blocks(), node.second, own.code_page()));
  });
}

CalendarItem common_part(const Item& item) {
  const Properties& own = item.own();
  CalendarItem result;
  result.uid = uid_of(item);
  result.title = own.subject();
  auto [description, is_whole] = plain_text_of(own);
  result.description = std::move(description);
  result.categories = item.categories();
  constexpr int high = 2;
  if (const int importance = own.number(id::importance).value_or(1); importance != 1)
    result.priority = importance == high ? 1 : 9;
  constexpr int personal = 2;
  constexpr int confidential = 3;
  const int sensitivity = own.number(id::sensitivity).value_or(0);
  if (sensitivity == personal) result.access = CalendarItem::Access::personal;
  if (sensitivity == confidential) result.access = CalendarItem::Access::confidential;
  result.created = instant(own.time(id::created));
  result.modified = instant(own.time(id::modified));
  result.is_simplified = has_attachments(item) || !is_whole;
  return result;
}

// Outlook's own habit stands as a number that no person would choose.
Alarm alarm_of(std::int32_t minutes) {
  constexpr std::int32_t as_usual = 0x5AE980E1;
  constexpr std::int32_t usual = 15;
  return {.seconds_before = (minutes == as_usual ? usual : minutes) * minute};
}

void take_shown_as(CalendarItem& item, std::uint32_t shown_as) {
  constexpr std::uint32_t free = 0;
  constexpr std::uint32_t tentative = 1;
  item.leaves_time_free = shown_as == free;
  if (shown_as == tentative) item.status = "TENTATIVE";
}

std::string answer_of(int answer) {
  constexpr int perhaps = 2;
  constexpr int yes = 3;
  constexpr int no = 4;
  return answer == perhaps ? "TENTATIVE"
         : answer == yes   ? "ACCEPTED"
         : answer == no    ? "DECLINED"
                           : "NEEDS-ACTION";
}

void add_people(CalendarItem& result, const Item& item) {
  constexpr int is_meeting = 1;
  constexpr int is_cancelled = 4;
  const int state = item.number(PropertySet::appointment, appointment::state).value_or(0);
  if ((state & is_cancelled) != 0) result.status = "CANCELLED";
  if ((state & is_meeting) == 0) return;
  constexpr std::array roles{"REQ-PARTICIPANT", "OPT-PARTICIPANT", "NON-PARTICIPANT"};
  bool is_whole = true;
  for (const Recipient& recipient : recipients_of(item.blocks(), item.own(), &is_whole)) {
    const Attendee attendee{.name = recipient.name,
                            .address = recipient.address,
                            .role = roles.at(static_cast<std::size_t>(recipient.kind - 1)),
                            .will_come = answer_of(recipient.answer)};
    if (recipient.is_organizer) {
      result.organizer = attendee;
    } else {
      result.attendees.push_back(attendee);
    }
  }
  result.is_simplified |= !is_whole;
}

// "GMT-04:00". Empty when no clock is so far ahead of UTC, or behind it.
std::string zone_ahead_by(std::int64_t seconds) {
  constexpr std::int64_t hour = 3600;
  constexpr std::int64_t first = 14 * hour;
  constexpr std::int64_t last = -12 * hour;
  if (seconds > first || seconds < last || seconds % minute != 0) return "";
  const std::int64_t minutes = std::abs(seconds / minute);
  char name[32];
  std::snprintf(name, sizeof name, "GMT%c%02d:%02d", seconds < 0 ? '-' : '+', static_cast<int>(minutes / 60),
                static_cast<int>(minutes % 60));
  return name;
}

// The clock by which an appointment was made: its own, else the person's.
class Clock {
 public:
  Clock(const Item& item, const std::string& home_zone) {
    for (const std::uint32_t number : {appointment::zone_of_series, appointment::zone_shown})
      if (name_.empty())
        name_ = olson_of_windows(zone_in_definition(item.bytes(PropertySet::appointment, number)));
    is_own_ = !name_.empty();
    if (name_.empty()) name_ = home_zone;
    zone_ = Zone::named(name_);
  }

  // Outlook did not write the zone of a series before 2007, and people have zones that nobody else knows.
  // When the person's clock does not show `clock` at that instant, it was another one. False when there is
  // none.
  bool set_by(std::int64_t clock, std::int64_t instant) {
    if (is_own_ || !zone_ || zone_->clock_at(instant) == clock) return true;
    const auto zone = Zone::named(zone_ahead_by(clock - instant));
    if (!zone) return false;
    is_guessed_ = true;
    name_ = zone->name();
    zone_ = zone;
    return true;
  }
  // Of such a one summer time is not known.
  bool is_guessed() const { return is_guessed_; }

  Moment moment(std::int64_t clock) const {
    return zone_ ? Moment::zoned(clock, name_) : Moment::floating(clock);
  }
  // What it shows at an instant.
  std::int64_t at(std::int64_t instant) const { return zone_ ? zone_->clock_at(instant) : instant; }

 private:
  std::string name_;
  std::optional<Zone> zone_;
  bool is_own_ = false;
  bool is_guessed_ = false;
};

// `series` without its recurrence.
CalendarItem exception_of(const CalendarItem& series, const OutlookRecurrence::Exception& exception,
                          const Clock& clock) {
  CalendarItem item = series;
  const bool is_of_days = exception.is_all_day.value_or(series.start.kind == Moment::Kind::day);
  const auto moment = [&](std::int64_t seconds) {
    return is_of_days ? Moment::day(nearest_day(seconds)) : clock.moment(seconds);
  };
  item.replaces = series.start.kind == Moment::Kind::day ? Moment::day(nearest_day(exception.replaces))
                                                         : clock.moment(exception.replaces);
  item.start = moment(exception.start);
  item.end = moment(exception.end);
  if (exception.title) item.title = *exception.title;
  if (exception.location) item.location = *exception.location;
  if (exception.shown_as) {
    item.status.clear();
    take_shown_as(item, *exception.shown_as);
  }
  if (exception.minutes_before) item.alarms = {alarm_of(*exception.minutes_before)};
  if (exception.has_reminder == false) item.alarms.clear();
  item.is_simplified = exception.has_more;
  return item;
}

std::size_t size_of(const CalendarItem& item) {
  std::size_t size = sizeof item + item.title.size() + item.description.size() + item.location.size();
  for (const Attendee& attendee : item.attendees)
    size += sizeof attendee + attendee.name.size() + attendee.address.size();
  for (const std::string& category : item.categories) size += sizeof(std::string) + category.size();
  return size;
}

// Each has all that the series has, unless that is too much.
void add_exceptions(CalendarItem& result, const std::vector<OutlookRecurrence::Exception>& exceptions,
                    const Clock& clock) {
  constexpr std::size_t most = 10000;
  CalendarItem series = result;
  series.recurrence = {};
  const CalendarItem brief = brief_of(series);
  const std::size_t whole = whole_copies(size_of(series));
  const std::size_t count = std::min(exceptions.size(), most);
  for (std::size_t i = 0; i < count; ++i)
    result.exceptions.push_back(exception_of(i < whole ? series : brief, exceptions[i], clock));
  result.is_simplified |= exceptions.size() > std::min(count, whole);
}

void add_recurrence(CalendarItem& result, const OutlookRecurrence& recurrence, const Clock& clock,
                    bool is_of_days) {
  result.recurrence.rule = recurrence.rule;
  if (recurrence.last_day) result.recurrence.until = Moment::day(*recurrence.last_day);
  for (const std::int64_t one : recurrence.left_out) result.recurrence.excluded.push_back(Moment::day(one));
  const std::int64_t first = recurrence.first_day;
  if (is_of_days) {
    result.start = Moment::day(first);
    if (recurrence.end_of_day > 0) result.end = Moment::day(nearest_day(first + recurrence.end_of_day));
  } else if (recurrence.end_of_day > 0) {
    result.start = clock.moment(first + recurrence.start_of_day);
    result.end = clock.moment(first + recurrence.end_of_day);
  }
  add_exceptions(result, recurrence.exceptions, clock);
  // What comes so long after it was done has no rule that a calendar knows.
  result.is_simplified |= !recurrence.is_whole || recurrence.is_after_done;
}

CalendarItem appointment_of(const Item& item, const std::string& home_zone) {
  CalendarItem result = common_part(item);
  result.location = item.text(PropertySet::appointment, appointment::location);
  take_shown_as(result, static_cast<std::uint32_t>(
                            item.number(PropertySet::appointment, appointment::shown_as).value_or(2)));
  if (item.flag(PropertySet::common, common::has_reminder))
    result.alarms = {alarm_of(item.number(PropertySet::common, common::minutes_before).value_or(15))};
  add_people(result, item);
  Clock clock(item, home_zone);
  const bool is_of_days = item.flag(PropertySet::appointment, appointment::all_day);
  result.start = instant(item.time(PropertySet::appointment, appointment::start));
  result.end = instant(item.time(PropertySet::appointment, appointment::end));
  const std::string series = item.bytes(PropertySet::appointment, appointment::recurrence);
  const auto recurrence = series.empty() ? std::nullopt : outlook_recurrence(series);
  if (recurrence && recurrence->end_of_day > 0 && !is_of_days && result.start.is_there()) {
    const std::int64_t first = recurrence->first_day + recurrence->start_of_day;
    result.is_simplified |= !clock.set_by(first, result.start.seconds);
    result.is_of_unknown_zone = clock.is_guessed();
  }
  if (is_of_days) {
    for (Moment* moment : {&result.start, &result.end})
      if (moment->is_there()) *moment = Moment::day(nearest_day(clock.at(moment->seconds)));
  } else if (!series.empty() && result.start.is_there()) {
    for (Moment* moment : {&result.start, &result.end})
      if (moment->is_there()) *moment = clock.moment(clock.at(moment->seconds));
  }
  // No calendar here has such a rule.
  result.is_simplified |= !series.empty() && !recurrence;
  if (recurrence) add_recurrence(result, *recurrence, clock, is_of_days);
  return result;
}

// A double.
int percent_of(const std::string& bytes) {
  const auto share = std::bit_cast<double>(number_at(bytes, 0, sizeof(double)));
  return share >= 0 && share <= 1 ? static_cast<int>(std::lround(share * 100)) : -1;
}

// A task stands where it comes next, the rule where it came first.
void add_rule_of_task(CalendarItem& task, const OutlookRecurrence& recurrence, const Clock& clock) {
  const Moment due = task.end;
  const Moment start = task.start.is_there() ? task.start : due;
  add_recurrence(task, recurrence, clock, true);
  task.end = due;
  if (!start.is_there()) return;
  task.start = start;
  const std::size_t count = task.recurrence.rule.find(";COUNT=");
  if (start.seconds == recurrence.first_day || count == std::string::npos) return;
  // Some of the times are over.
  task.recurrence.rule.resize(count);
  if (recurrence.last_of_times) task.recurrence.until = Moment::day(*recurrence.last_of_times);
  task.is_simplified |= !recurrence.last_of_times;
}

CalendarItem task_of(const Item& item, const std::string& home_zone) {
  CalendarItem result = common_part(item);
  result.is_task = true;
  const auto day_of = [&](std::uint32_t number) {
    const Moment moment = instant(item.time(PropertySet::task, number));
    return moment.is_there() ? Moment::day(nearest_day(moment.seconds)) : moment;
  };
  result.start = day_of(task::start);
  result.end = day_of(task::due);
  constexpr int in_process = 1;
  constexpr int complete = 2;
  const int status = item.number(PropertySet::task, task::status).value_or(0);
  const bool is_complete = status == complete || item.flag(PropertySet::task, task::is_complete);
  result.status = is_complete ? "COMPLETED" : status == in_process ? "IN-PROCESS" : "NEEDS-ACTION";
  const std::string share = item.bytes(PropertySet::task, task::percent);
  if (share.size() == sizeof(double)) result.percent = percent_of(share);
  if (is_complete) result.completed = instant(item.time(PropertySet::task, task::completed));
  const Moment reminder = instant(item.time(PropertySet::common, common::reminder_at));
  const auto zone = Zone::named(home_zone);
  if (item.flag(PropertySet::common, common::has_reminder) && reminder.is_there()) {
    const Moment& of = result.end.is_there() ? result.end : result.start;
    if (of.is_there() && zone) {
      result.alarms = {{.seconds_before = zone->instant_of(of.seconds) - reminder.seconds,
                        .is_of_end = result.end.is_there()}};
    } else {
      result.is_simplified = true;
    }
  }
  const std::string series = item.bytes(PropertySet::task, task::recurrence);
  if (!item.flag(PropertySet::task, task::comes_again) || series.empty()) return result;
  const auto recurrence = outlook_recurrence(series);
  result.is_simplified |= !recurrence;
  if (recurrence) add_rule_of_task(result, *recurrence, Clock(item, home_zone));
  return result;
}

Note note_of(const Item& item, bool* is_whole) {
  PlainText text = plain_text_of(item.own());
  *is_whole = text.is_whole;
  Note note{.title = item.own().text(id::subject), .text = std::move(text.text)};
  if (note.text.starts_with(note.title)) note.title.clear();
  if (const auto time = item.own().time(id::modified)) note.modified = unix_time(*time);
  return note;
}

}  // namespace

void add_outlook_calendars(Packing& packing, const Machine& machine, const Person& person, const Hive* hive,
                           Calendar& calendar) {
  constexpr std::array kinds{Kind::events, Kind::tasks};
  each_outlook_item(
      packing, machine, person, hive, kinds,
      [&](Store& store, ItemKind kind, const Properties& properties, const std::string& from) {
        const Item item(store, properties);
        const CalendarItem result = kind == ItemKind::task ? task_of(item, calendar.home_zone())
                                                           : appointment_of(item, calendar.home_zone());
        const bool is_simplified =
            result.is_simplified || std::ranges::any_of(result.exceptions, &CalendarItem::is_simplified);
        calendar.add(result, from + ": " + result.title);
        return !is_simplified && !result.is_of_unknown_zone;
      });
}

void add_outlook_notes(Packing& packing, const Machine& machine, const Person& person, const Hive* hive,
                       Notes& notes) {
  constexpr std::array kinds{Kind::notes};
  each_outlook_item(packing, machine, person, hive, kinds,
                    [&](Store& store, ItemKind kind, const Properties& properties, const std::string& from) {
                      if (kind == ItemKind::journal) {
                        packing.leave_out(Kind::notes, Cause::no_place, from);
                        return false;
                      }
                      bool is_whole = true;
                      const Note note = note_of(Item(store, properties), &is_whole);
                      if (!is_whole) packing.tell_of(Kind::notes, Cause::item_cut, from);
                      notes.add(note, from);
                      return is_whole;
                    });
}

}  // namespace pack
