// Times as Windows counts them.
#ifndef BRINDLE_PACK_OUTLOOK_TIMES_H
#define BRINDLE_PACK_OUTLOOK_TIMES_H

#include <algorithm>
#include <cstdint>

namespace pack {

/// Seconds since 1970 of 100 nanoseconds since 1601, no later than the year 9999.
constexpr std::int64_t unix_time(std::uint64_t windows_time) {
  constexpr std::uint64_t ticks = 10000000;
  constexpr std::int64_t from_1601 = 11644473600;
  constexpr std::int64_t last = 253402300799;
  return std::min(static_cast<std::int64_t>(windows_time / ticks) - from_1601, last);
}

/// The same of minutes since 1601.
constexpr std::int64_t unix_time_of_minutes(std::uint32_t minutes) {
  return unix_time(std::uint64_t{minutes} * 600000000);
}

}  // namespace pack

#endif
