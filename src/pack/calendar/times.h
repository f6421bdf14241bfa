// The times of one item, as they stand in an archive.
//
// An appointment at 9:00 in Berlin is to be at 9:00 in Berlin on every target. A time with a zone is not: the
// wizard makes "Z" of one for KOrganizer, it may set Evolution to a zone that Evolution does not know, and
// Mozilla's calendar has zones of its own. So what has a zone becomes what the clock on the person's wall
// shows, without any zone; every target shows that as it stands, in summer and winter.
#ifndef BRINDLE_PACK_CALENDAR_TIMES_H
#define BRINDLE_PACK_CALENDAR_TIMES_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "pack/calendar/item.h"
#include "pack/calendar/zones.h"

namespace pack {

class Times {
 public:
  /// Those of an item, for a person whose clock is in the zone `home`; none is not known. Then an item keeps
  /// the clock of its own zone.
  Times(const CalendarItem& item, const std::optional<Zone>& home);

  /// True when it comes again by the clock of another zone, which at times differs by another hour from the
  /// person's; or when its zone is not known. It is right at its start.
  bool is_approximate() const { return is_approximate_; }

  /// True when another zone of the person's would have given it another time: it was put on the person's
  /// clock, or has kept its own since that is not known.
  bool is_of_other_zone() const { return is_of_other_zone_; }

  /// How many days later it is on the person's clock than on its own, when it comes again.
  std::int64_t days_later(const Moment& start) const;

  /// True when the item takes whole days.
  bool is_of_days() const { return form_ == Form::days; }

  /// Seconds from one moment of the item to another.
  std::int64_t between(const Moment& from, const Moment& to) const { return placed(to) - placed(from); }

  /// The instant of a moment; what has no zone is by the item's own clock.
  std::int64_t instant_of(const Moment& moment) const;

  /// A property with that time: "DTSTART:20050418T090000", "DTSTART;VALUE=DATE:20050418" of what takes whole
  /// days, and with a "Z" what comes again by the clock of UTC. `later` seconds are added.
  std::string property(std::string_view name, const Moment& moment, std::int64_t later = 0) const;

  /// The end of its rule, with all of its last day when it is a day: "20051231T235959".
  std::string until(const Moment& until) const;

 private:
  enum class Form : std::uint8_t { days, clock, utc };

  void place_series(const CalendarItem& item, const Moment& start, const std::optional<Zone>& home);
  bool is_moved(const Moment& start, const std::optional<Zone>& home) const;
  std::int64_t own_clock(const Moment& moment) const;
  std::int64_t placed(const Moment& moment) const;

  Form form_ = Form::clock;
  std::optional<Zone> own_;  // by whose clock it is counted
  std::int64_t shift_ = 0;   // from that to the person's
  bool is_approximate_ = false;
  bool is_of_other_zone_ = false;
};

}  // namespace pack

#endif
