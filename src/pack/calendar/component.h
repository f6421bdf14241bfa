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
  /// the first one.
  std::string text;
  std::size_t items = 0;        ///< how many that are; none when all days are left out
  bool is_simplified = false;   ///< something of it has no place there
  bool is_approximate = false;  ///< it comes again by the clock of another zone
};

/// The item with its exceptions, under that uid.
Component component_of(const CalendarItem& item, const std::string& uid, const std::optional<Zone>& home);

}  // namespace pack

#endif
