// Time zones: what clocks show, and what Windows calls them.
#ifndef BRINDLE_PACK_CALENDAR_ZONES_H
#define BRINDLE_PACK_CALENDAR_ZONES_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "pack/people/people.h"

namespace pack {

/// A zone of the world, with its changes to and from summer time in all years.
class Zone {
 public:
  /// That of an Olson name, "Europe/Berlin". No value when it is not known.
  static std::optional<Zone> named(const std::string& olson);

  const std::string& name() const { return name_; }

  /// What a clock shows there at an instant.
  std::int64_t clock_at(std::int64_t instant) const;

  /// The instant at which a clock there shows `clock`: one of two where summer time ends, and for what none
  /// shows when it begins what it would have been without that.
  std::int64_t instant_of(std::int64_t clock) const;

 private:
  struct Rules;

  Zone(std::string name, std::shared_ptr<const Rules> rules)
      : name_(std::move(name)), rules_(std::move(rules)) {}

  std::string name_;
  std::shared_ptr<const Rules> rules_;
};

/// The Olson name of a zone by the name of its key in the Windows registry, "W. Europe Standard Time",
/// whatever the language of Windows. Empty when it is not known.
std::string olson_of_windows(const std::string& key);

/// The Olson name in what another program calls a zone: that itself, behind a name of the program's own
/// ("/mozilla.org/20050126_1/Europe/Berlin"), or Windows' key. Empty when it is not known.
std::string olson_of(const std::string& name);

/// The Olson name of the zone in which the machine's clock is shown, by its registry. Empty when that does
/// not tell.
std::string zone_of(const Machine& machine);

}  // namespace pack

#endif
