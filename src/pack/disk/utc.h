// Dates by the world's clock.
#ifndef BRINDLE_PACK_DISK_UTC_H
#define BRINDLE_PACK_DISK_UTC_H

#include <cstdint>
#include <ctime>

namespace pack {

/// What gmtime_r gives, but for the day of the year. Machines of 32 bits have no time_t for the years before
/// 1901 and after 2038, which birthdays have, and rules without an end. Years beyond 32767 become that one.
std::tm utc_parts(std::int64_t seconds);

}  // namespace pack

#endif
