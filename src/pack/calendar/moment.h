// When something is: an instant, what a clock shows, or a day.
#ifndef BRINDLE_PACK_CALENDAR_MOMENT_H
#define BRINDLE_PACK_CALENDAR_MOMENT_H

#include <cstdint>
#include <string>
#include <utility>

namespace pack {

struct Moment {
  enum class Kind : std::uint8_t {
    none,      ///< nothing is said
    day,       ///< a day, wherever one is
    floating,  ///< what the clock on the wall shows, wherever one is
    zoned,     ///< what a clock shows in `zone`
    instant    ///< the same moment everywhere
  };

  Kind kind = Kind::none;
  /// Of an instant: seconds since 1970 began, in UTC. Of the others: what the clock shows, as if it showed
  /// UTC; of a day its beginning.
  std::int64_t seconds = 0;
  std::string zone{};  ///< of a zoned one: its Olson name, "Europe/Berlin"

  static Moment day(std::int64_t clock) { return {.kind = Kind::day, .seconds = clock}; }
  static Moment floating(std::int64_t clock) { return {.kind = Kind::floating, .seconds = clock}; }
  static Moment zoned(std::int64_t clock, std::string zone) {
    return {.kind = Kind::zoned, .seconds = clock, .zone = std::move(zone)};
  }
  static Moment instant(std::int64_t utc) { return {.kind = Kind::instant, .seconds = utc}; }

  bool is_there() const { return kind != Kind::none; }
  bool operator==(const Moment&) const = default;
};

/// What a clock shows, as a moment counts it.
std::int64_t clock_seconds(int year, unsigned month, unsigned day, int hour = 0, int minute = 0,
                           int second = 0);

/// The nearest time that a calendar can write, in the years 1 to 9999.
std::int64_t within_calendar(std::int64_t seconds);

/// "20050418", and "20050418T090000", of a clock.
std::string date_text(std::int64_t clock);
std::string time_text(std::int64_t clock);

/// The moment that iCalendar writes as "20050418", "20050418T090000" or "20050418T070000Z": a day, a floating
/// one, an instant. None for another text, or what no calendar has.
Moment moment_of(const std::string& text);

}  // namespace pack

#endif
