// An appointment or a task as an archive holds it.
#ifndef BRINDLE_PACK_CALENDAR_COMPONENT_H
#define BRINDLE_PACK_CALENDAR_COMPONENT_H

#include <cstddef>
#include <optional>
#include <string>

#include "pack/calendar/item.h"
#include "pack/calendar/zones.h"

namespace pack {

struct Component {
  /// VEVENTs or VTODOs, with their lines. Not all targets know exceptions and single days that are added:
  /// each becomes an item of its own with a uid of its own, and the series leaves out the day of an
  /// exception. Without a rule nothing says so: then a day that is left out or replaced is not there, be it
  /// the first one. Single days of an item that is very long have the beginning of its title and its place
  /// alone; the series has all of it.
  std::string text;
  std::size_t items = 0;          ///< how many that are; none when all days are left out
  bool is_simplified = false;     ///< something of it has no place there
  bool is_approximate = false;    ///< it comes again by the clock of another zone
  bool is_of_other_zone = false;  ///< it was put on the person's clock, or there is none to put it on
};

/// The texts of an item stand there again for each single day. So many copies of texts of `size` bytes are
/// whole; those behind them are brief, so that no item takes the memory or the disk.
std::size_t whole_copies(std::size_t size);

/// The item with the beginnings of its title and its place, and with a few of its alarms. It does not come
/// again.
CalendarItem brief_of(const CalendarItem& item);

/// The item with its exceptions, under that uid.
Component component_of(const CalendarItem& item, const std::string& uid, const std::optional<Zone>& home);

}  // namespace pack

#endif
