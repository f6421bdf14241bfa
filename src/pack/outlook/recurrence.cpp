#include "pack/outlook/recurrence.h"

#include <algorithm>
#include <array>
#include <set>

#include "pack/disk/bytes.h"
#include "pack/disk/utc.h"
#include "pack/outlook/charsets.h"
#include "pack/outlook/times.h"

namespace pack {

namespace {

// Reads on, and remembers when there was nothing more.
class Reader {
 public:
  explicit Reader(std::string_view bytes) : bytes_(bytes) {}

  std::uint32_t number(std::size_t size) {
    if (bytes_.size() < size) is_good_ = false;
    const auto number = static_cast<std::uint32_t>(number_at(bytes_, 0, size));
    bytes_.remove_prefix(std::min(size, bytes_.size()));
    return number;
  }
  std::uint16_t word() { return static_cast<std::uint16_t>(number(2)); }
  std::uint32_t dword() { return number(4); }
  std::int64_t time() { return unix_time_of_minutes(dword()); }
  std::string_view take(std::size_t size) {
    if (bytes_.size() < size) is_good_ = false;
    const std::string_view taken = bytes_.substr(0, size);
    bytes_.remove_prefix(taken.size());
    return taken;
  }
  void pass(std::size_t size) { take(size); }

  /// A count of things that take at least `size` bytes each.
  std::uint32_t count(std::size_t size, std::size_t count_size = 4) {
    const std::uint32_t count = number(count_size);
    if (count > bytes_.size() / size) is_good_ = false;
    return is_good_ ? count : 0;
  }
  bool is_good() const { return is_good_; }
  bool is_at_end() const { return bytes_.empty(); }

 private:
  std::string_view bytes_;
  bool is_good_ = true;
};

constexpr std::array<std::string_view, 7> weekdays = {"SU", "MO", "TU", "WE", "TH", "FR", "SA"};

std::string days_of(std::uint32_t mask) {
  std::string days;
  for (std::size_t day = 0; day < weekdays.size(); ++day)
    if ((mask >> day & 1U) != 0) days += (days.empty() ? "" : ",") + std::string(weekdays.at(day));
  return days;
}

enum Unit : std::uint16_t { daily = 0x200A, weekly = 0x200B, monthly = 0x200C, yearly = 0x200D };
enum Pattern : std::uint16_t { by_day = 0, by_week = 1, by_date = 2, by_weekday = 3, at_end = 4 };
constexpr std::uint16_t first_of_other_calendars = 0xA;

constexpr std::uint32_t ends_on_a_day = 0x2021;
constexpr std::uint32_t ends_after_some = 0x2022;
constexpr std::uint32_t no_day = 0x5AE980DF;

struct Head {
  std::uint16_t unit = 0;
  std::uint16_t pattern = 0;
  std::uint16_t calendar = 0;
  std::uint32_t period = 0;
  std::uint32_t days = 0;  // of the week, or the day of the month
  std::uint32_t position = 0;
  std::uint32_t first_of_week = 0;
};

// Days and weeks are the same in all calendars; months in those that have another number for the year, or
// another language.
bool has_our_months(const Head& head) {
  constexpr std::array<std::uint16_t, 11> with_our_months = {0, 1, 2, 3, 4, 5, 7, 9, 0xA, 0xB, 0xC};
  if (head.pattern == by_day || head.pattern == by_week) return true;
  return std::ranges::find(with_our_months, head.calendar) != with_our_months.end();
}

std::string with_interval(const char* unit, std::uint32_t interval) {
  return std::string("FREQ=") + unit + ";INTERVAL=" + std::to_string(std::max(interval, 1U));
}

// A month that is too short has it on its last day, which iCalendar would pass over.
std::string day_of_month(std::uint32_t day) {
  if (day >= 31) return ";BYMONTHDAY=-1";
  if (day <= 28) return ";BYMONTHDAY=" + std::to_string(day);
  std::string days = "28";
  for (std::uint32_t other = 29; other <= day; ++other) days += "," + std::to_string(other);
  return ";BYMONTHDAY=" + days + ";BYSETPOS=-1";
}

std::string weekday_of_month(const Head& head) {
  constexpr std::uint32_t last = 5;
  const std::string position = head.position >= last ? "-1" : std::to_string(head.position);
  const std::string days = days_of(head.days);
  return days.size() == 2 ? ";BYDAY=" + position + days : ";BYDAY=" + days + ";BYSETPOS=" + position;
}

// Empty for what no rule says.
std::string rule_of(const Head& head, std::int64_t first_day) {
  constexpr std::uint32_t minutes_of_a_day = 1440;
  constexpr std::uint32_t months_of_a_year = 12;
  const bool has_days = (head.days & 0x7F) != 0;
  switch (head.pattern) {
    case by_day:
      return with_interval("DAILY", head.period / minutes_of_a_day);
    case by_week: {
      if (!has_days) return "";
      // In every second week it matters where a week begins.
      const bool has_first = head.period > 1 && head.first_of_week < weekdays.size();
      return with_interval("WEEKLY", head.unit == daily ? 1 : head.period) + ";BYDAY=" + days_of(head.days) +
             (has_first ? ";WKST=" + std::string(weekdays.at(head.first_of_week)) : "");
    }
    case by_date:
    case by_weekday:
    case at_end: {
      const bool is_of_years = head.unit == yearly && head.period % months_of_a_year == 0;
      std::string rule = is_of_years ? with_interval("YEARLY", head.period / months_of_a_year) +
                                           ";BYMONTH=" + std::to_string(utc_parts(first_day).tm_mon + 1)
                                     : with_interval("MONTHLY", head.period);
      if (head.pattern == by_weekday) {
        if (!has_days || head.position == 0) return "";
        return rule + weekday_of_month(head);
      }
      if (head.pattern == by_date && (head.days == 0 || head.days > 31)) return "";
      // The day of a yearly one is one that its month has, but for February's.
      return rule + (head.pattern == at_end ? ";BYMONTHDAY=-1" : day_of_month(head.days));
    }
    default:
      return "";
  }
}

enum Change : std::uint16_t {
  new_title = 0x001,
  new_kind = 0x002,
  new_minutes = 0x004,
  new_reminder = 0x008,
  new_location = 0x010,
  new_shown_as = 0x020,
  new_attachments = 0x040,
  new_all_day = 0x080,
  new_colour = 0x100,
  new_text = 0x200
};

OutlookRecurrence::Exception exception_of(Reader& reader, std::uint16_t& changes) {
  OutlookRecurrence::Exception exception;
  exception.start = reader.time();
  exception.end = reader.time();
  exception.replaces = reader.time();
  changes = reader.word();
  constexpr std::uint32_t western = 1252;
  const auto text = [&] {
    reader.word();
    return text_of_code_page(reader.take(reader.word()), western);
  };
  if ((changes & new_title) != 0) exception.title = text();
  if ((changes & new_kind) != 0) reader.dword();
  if ((changes & new_minutes) != 0) exception.minutes_before = static_cast<std::int32_t>(reader.dword());
  if ((changes & new_reminder) != 0) exception.has_reminder = reader.dword() != 0;
  if ((changes & new_location) != 0) exception.location = text();
  if ((changes & new_shown_as) != 0) exception.shown_as = reader.dword();
  const bool has_files = (changes & new_attachments) != 0 && reader.dword() != 0;
  if ((changes & new_all_day) != 0) exception.is_all_day = reader.dword() != 0;
  if ((changes & new_colour) != 0) reader.dword();
  exception.has_more = has_files || (changes & (new_text | new_kind)) != 0;
  return exception;
}

// Behind all of them come their texts once more, in Unicode.
void read_wide_texts(Reader& reader, std::uint32_t version, const std::vector<std::uint16_t>& changes,
                     std::vector<OutlookRecurrence::Exception>& exceptions) {
  constexpr std::uint32_t with_highlights = 0x3009;
  reader.pass(reader.dword());
  for (std::size_t number = 0; number < exceptions.size() && reader.is_good(); ++number) {
    if (version >= with_highlights) reader.pass(reader.dword());
    reader.pass(reader.dword());
    if ((changes[number] & (new_title | new_location)) == 0) continue;
    reader.pass(3 * sizeof(std::uint32_t));
    const auto text = [&](std::optional<std::string>& wide) {
      const std::string_view bytes = reader.take(std::size_t{2} * reader.word());
      if (reader.is_good()) wide = text_of_utf16(bytes);
    };
    if ((changes[number] & new_title) != 0) text(exceptions[number].title);
    if ((changes[number] & new_location) != 0) text(exceptions[number].location);
    reader.pass(reader.dword());
  }
}

void read_exceptions(Reader& reader, OutlookRecurrence& recurrence) {
  constexpr std::size_t least = 14;
  constexpr std::int64_t minute = 60;
  reader.dword();
  const std::uint32_t version = reader.dword();
  recurrence.start_of_day = reader.dword() * minute;
  recurrence.end_of_day = reader.dword() * minute;
  const std::uint32_t count = reader.count(least, 2);
  std::vector<std::uint16_t> changes;
  for (std::uint32_t number = 0; number < count && reader.is_good(); ++number) {
    changes.emplace_back();
    const auto exception = exception_of(reader, changes.back());
    if (reader.is_good()) recurrence.exceptions.push_back(exception);
  }
  recurrence.is_whole = reader.is_good();
  if (!reader.is_good()) return;
  read_wide_texts(reader, version, changes, recurrence.exceptions);
}

}  // namespace

std::optional<OutlookRecurrence> outlook_recurrence(std::string_view bytes) {
  Reader reader(bytes);
  constexpr std::uint16_t version = 0x3004;
  if (reader.word() != version) return std::nullopt;
  reader.word();
  Head head;
  head.unit = reader.word();
  head.pattern = reader.word();
  head.calendar = reader.word();
  reader.dword();
  head.period = reader.dword();
  const bool is_after_done = reader.dword() != 0;
  if (head.pattern >= first_of_other_calendars || !has_our_months(head)) return std::nullopt;
  if (head.pattern != by_day) head.days = reader.dword();
  if (head.pattern == by_weekday) head.position = reader.dword();
  const std::uint32_t end = reader.dword();
  const std::uint32_t times = reader.dword();
  head.first_of_week = reader.dword();
  OutlookRecurrence recurrence;
  recurrence.is_after_done = is_after_done;
  const std::uint32_t left_out = reader.count(4);
  for (std::uint32_t number = 0; number < left_out; ++number) recurrence.left_out.push_back(reader.time());
  const std::uint32_t changed = reader.count(4);
  reader.pass(std::size_t{changed} * 4);
  recurrence.first_day = reader.time();
  const std::int64_t last_day = reader.time();
  recurrence.rule = rule_of(head, recurrence.first_day);
  if (!reader.is_good() || recurrence.rule.empty()) return std::nullopt;
  if (end == ends_on_a_day) recurrence.last_day = last_day;
  if (end == ends_after_some && times > 0) {
    recurrence.rule += ";COUNT=" + std::to_string(times);
    if (last_day != unix_time_of_minutes(no_day)) recurrence.last_of_times = last_day;
  }
  // A task's has no more than this.
  if (!reader.is_at_end() || changed > 0) read_exceptions(reader, recurrence);
  // The days of exceptions are among those left out.
  constexpr std::int64_t day = 86400;
  std::set<std::int64_t> replaced;
  for (const OutlookRecurrence::Exception& exception : recurrence.exceptions)
    replaced.insert(exception.replaces / day);
  std::erase_if(recurrence.left_out, [&](std::int64_t one) { return replaced.contains(one / day); });
  return recurrence;
}

std::string zone_in_definition(std::string_view bytes) {
  constexpr std::size_t length = 6;
  constexpr std::size_t name = 8;
  return text_of_utf16(part_of(bytes, name, std::size_t{2} * word_at(bytes, length)));
}

}  // namespace pack
