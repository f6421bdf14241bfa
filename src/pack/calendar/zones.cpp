#include "pack/calendar/zones.h"

#include <unicode/timezone.h>

#include "pack/calendar/moment.h"

namespace pack {

struct Zone::Rules {
  std::unique_ptr<icu::TimeZone> zone;
};

namespace {

constexpr std::size_t longest_name = 100;
constexpr double thousand = 1000;

// How far clocks are ahead of UTC. `at` is what they show, or else an instant.
std::int64_t ahead(const icu::TimeZone& zone, std::int64_t at, bool is_clock) {
  std::int32_t standard = 0;
  std::int32_t summer = 0;
  UErrorCode status = U_ZERO_ERROR;
  zone.getOffset(static_cast<double>(at) * thousand, static_cast<UBool>(is_clock), standard, summer, status);
  return U_FAILURE(status) ? 0 : (standard + summer) / static_cast<std::int64_t>(thousand);
}

}  // namespace

std::optional<Zone> Zone::named(const std::string& olson) {
  if (olson.empty() || olson.size() > longest_name) return std::nullopt;
  auto rules = std::make_shared<Rules>();
  rules->zone.reset(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(olson)));
  if (!rules->zone || *rules->zone == icu::TimeZone::getUnknown()) return std::nullopt;
  return Zone(olson, std::move(rules));
}

std::int64_t Zone::clock_at(std::int64_t instant) const {
  instant = within_calendar(instant);
  return within_calendar(instant + ahead(*rules_->zone, instant, false));
}

std::int64_t Zone::instant_of(std::int64_t clock) const {
  clock = within_calendar(clock);
  return within_calendar(clock - ahead(*rules_->zone, clock, true));
}

std::string olson_of_windows(const std::string& key) {
  if (key.size() > longest_name) return "";
  UErrorCode status = U_ZERO_ERROR;
  icu::UnicodeString olson;
  icu::TimeZone::getIDForWindowsID(icu::UnicodeString::fromUTF8(key), nullptr, olson, status);
  std::string name;
  return U_FAILURE(status) ? "" : olson.toUTF8String(name);
}

std::string olson_of(const std::string& name) {
  // "/mozilla.org/20050126_1/Europe/Berlin"
  for (std::size_t begin = 0; begin < name.size() && name.size() <= longest_name;) {
    if (Zone::named(name.substr(begin))) return name.substr(begin);
    const std::size_t slash = name.find('/', begin);
    if (slash == std::string::npos) break;
    begin = slash + 1;
  }
  return olson_of_windows(name);
}

std::string zone_of(const Machine& machine) {
  for (const std::string& key : machine.registry.zones)
    if (std::string name = olson_of_windows(key); !name.empty()) return name;
  return "";
}

}  // namespace pack
