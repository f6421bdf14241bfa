#include "pack/calendar/moment.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace pack {

namespace {

constexpr std::int64_t seconds_a_day = 86400;

// "0050" of a text of digits; -1 of others.
int number_in(const std::string& text, std::size_t begin, std::size_t size) {
  int number = 0;
  for (const char c : text.substr(begin, size)) {
    if (c < '0' || c > '9') return -1;
    number = 10 * number + (c - '0');
  }
  return number;
}

std::chrono::sys_days day_of(std::int64_t clock) {
  return std::chrono::floor<std::chrono::days>(std::chrono::sys_seconds(std::chrono::seconds(clock)));
}

}  // namespace

std::int64_t within_calendar(std::int64_t seconds) {
  constexpr std::int64_t first = -62135596800;
  constexpr std::int64_t last = 253402300799;
  return std::min(std::max(seconds, first), last);
}

std::int64_t clock_seconds(int year, unsigned month, unsigned day, int hour, int minute, int second) {
  const std::chrono::sys_days date =
      std::chrono::year(year) / std::chrono::month(month) / std::chrono::day(day);
  return date.time_since_epoch().count() * seconds_a_day + hour * 3600 + minute * 60 + second;
}

std::string date_text(std::int64_t clock) {
  const std::chrono::year_month_day date(day_of(within_calendar(clock)));
  char text[32];
  std::snprintf(text, sizeof text, "%04d%02u%02u", static_cast<int>(date.year()),
                static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()));
  return text;
}

std::string time_text(std::int64_t clock) {
  clock = within_calendar(clock);
  const auto of_day = static_cast<int>(clock - day_of(clock).time_since_epoch().count() * seconds_a_day);
  char text[32];
  std::snprintf(text, sizeof text, "T%02d%02d%02d", of_day / 3600, of_day / 60 % 60, of_day % 60);
  return date_text(clock) + text;
}

Moment moment_of(const std::string& text) {
  constexpr std::size_t day_size = 8;
  constexpr std::size_t time_size = 15;
  const bool is_day = text.size() == day_size;
  const bool is_utc = text.size() == time_size + 1 && text.back() == 'Z';
  if (!is_day && !is_utc && text.size() != time_size) return {};
  const std::chrono::year_month_day date{std::chrono::year(number_in(text, 0, 4)),
                                         std::chrono::month(static_cast<unsigned>(number_in(text, 4, 2))),
                                         std::chrono::day(static_cast<unsigned>(number_in(text, 6, 2)))};
  if (!date.ok() || number_in(text, 0, day_size) < 0) return {};
  const auto clock = std::chrono::sys_days(date).time_since_epoch().count() * seconds_a_day;
  if (is_day) return Moment::day(clock);
  const int hour = number_in(text, 9, 2);
  const int minute = number_in(text, 11, 2);
  const int second = number_in(text, 13, 2);
  if (text[day_size] != 'T' || hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0) return {};
  const std::int64_t moment = clock + hour * 3600 + minute * 60 + std::min(second, 59);
  return is_utc ? Moment::instant(moment) : Moment::floating(moment);
}

}  // namespace pack
