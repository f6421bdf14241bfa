#include "pack/disk/utc.h"

#include <algorithm>
#include <chrono>

namespace pack {

std::tm utc_parts(std::int64_t seconds) {
  using namespace std::chrono;
  constexpr sys_seconds first = sys_days(year::min() / January / 1);
  constexpr sys_seconds last = sys_days(year::max() / December / 31) + days(1) - 1s;
  const sys_seconds time = std::clamp(sys_seconds(std::chrono::seconds(seconds)), first, last);
  const sys_days day = floor<days>(time);
  const year_month_day date(day);
  const hh_mm_ss clock(time - day);
  std::tm parts{};
  parts.tm_year = static_cast<int>(date.year()) - 1900;
  parts.tm_mon = static_cast<int>(static_cast<unsigned>(date.month())) - 1;
  parts.tm_mday = static_cast<int>(static_cast<unsigned>(date.day()));
  parts.tm_wday = static_cast<int>(weekday(day).c_encoding());
  parts.tm_hour = static_cast<int>(clock.hours().count());
  parts.tm_min = static_cast<int>(clock.minutes().count());
  parts.tm_sec = static_cast<int>(clock.seconds().count());
  return parts;
}

}  // namespace pack
