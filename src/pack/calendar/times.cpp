#include "pack/calendar/times.h"

#include <algorithm>

namespace pack {

namespace {

constexpr std::int64_t day = 86400;

std::int64_t beginning_of_day(std::int64_t clock) { return clock - (clock % day + day) % day; }

// Whether clocks of the two differ by the same from `start` on, as long as it comes again, at most two years:
// changes to and from summer time come every year.
bool go_together(const Zone& one, const Zone& other, std::int64_t start, std::optional<std::int64_t> until) {
  constexpr std::int64_t step = 5 * day;
  constexpr std::int64_t longest = 730 * day;
  const std::int64_t end = std::min(until.value_or(start + longest), start + longest);
  const std::int64_t first = one.clock_at(start) - other.clock_at(start);
  for (std::int64_t at = start; at <= end; at += step)
    if (one.clock_at(at) - other.clock_at(at) != first) return false;
  return true;
}

}  // namespace

Times::Times(const CalendarItem& item, const std::optional<Zone>& home) : own_(home) {
  const Moment& start = item.start.is_there() ? item.start : item.end;
  if (start.kind == Moment::Kind::day) {
    form_ = Form::days;
  } else if (item.recurrence.is_there() || !home) {
    place_series(item, start, home);
  } else if (start.kind == Moment::Kind::zoned) {
    is_approximate_ = !Zone::named(start.zone);
  }
  is_of_other_zone_ = is_moved(start, home);
}

// Of a time in UTC that stays one each clock makes its own.
bool Times::is_moved(const Moment& start, const std::optional<Zone>& home) const {
  if (form_ != Form::clock) return false;
  if (start.kind == Moment::Kind::zoned) return !home || placed(start) != start.seconds;
  return start.kind == Moment::Kind::instant;
}

void Times::place_series(const CalendarItem& item, const Moment& start, const std::optional<Zone>& home) {
  if (start.kind == Moment::Kind::instant) {
    form_ = Form::utc;
    own_ = Zone::named("UTC");
  } else if (start.kind == Moment::Kind::zoned) {
    own_ = Zone::named(start.zone);
    is_approximate_ = home && !own_;
  }
  if (!own_) own_ = home;
  if (!home || is_approximate_ || start.kind != Moment::Kind::zoned) return;
  const std::int64_t begin = own_->instant_of(start.seconds);
  shift_ = home->clock_at(begin) - start.seconds;
  std::optional<std::int64_t> until;
  if (item.recurrence.until.is_there()) until = own_clock(item.recurrence.until);
  is_approximate_ = !go_together(*home, *own_, begin, until);
}

std::int64_t Times::own_clock(const Moment& moment) const {
  if (moment.kind == Moment::Kind::instant) return own_ ? own_->clock_at(moment.seconds) : moment.seconds;
  if (moment.kind != Moment::Kind::zoned || form_ == Form::days || !own_ || moment.zone == own_->name())
    return moment.seconds;
  const auto zone = Zone::named(moment.zone);
  return zone ? own_->clock_at(zone->instant_of(moment.seconds)) : moment.seconds;
}

std::int64_t Times::instant_of(const Moment& moment) const {
  if (moment.kind == Moment::Kind::instant) return moment.seconds;
  const auto zone = moment.kind == Moment::Kind::zoned ? Zone::named(moment.zone) : own_;
  return zone ? zone->instant_of(moment.seconds) : moment.seconds;
}

std::int64_t Times::placed(const Moment& moment) const {
  const std::int64_t clock = within_calendar(own_clock(moment));
  if (form_ == Form::days) return beginning_of_day(clock);
  return moment.kind == Moment::Kind::day ? clock : clock + shift_;
}

std::int64_t Times::days_later(const Moment& start) const {
  if (form_ == Form::days) return 0;
  return (beginning_of_day(placed(start)) - beginning_of_day(placed(start) - shift_)) / day;
}

std::string Times::property(std::string_view name, const Moment& moment, std::int64_t later) const {
  const std::int64_t clock = placed(moment) + later;
  const std::string property(name);
  if (form_ == Form::days) return property + ";VALUE=DATE:" + date_text(clock);
  return property + ":" + time_text(clock) + (form_ == Form::utc ? "Z" : "");
}

std::string Times::until(const Moment& until) const {
  if (form_ == Form::days) return date_text(placed(until));
  const std::int64_t end = placed(until) + (until.kind == Moment::Kind::day ? shift_ + day - 1 : 0);
  return time_text(end) + (form_ == Form::utc ? "Z" : "");
}

}  // namespace pack
