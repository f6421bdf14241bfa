// The calendar and the task list of an archive.
#ifndef BRINDLE_PACK_CALENDAR_CALENDAR_H
#define BRINDLE_PACK_CALENDAR_CALENDAR_H

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "pack/calendar/item.h"
#include "pack/calendar/zones.h"
#include "pack/disk/nameless.h"
#include "pack/files/packing.h"

namespace pack {

/// All appointments and tasks of one person, from all programs. Use:
///
///   Calendar calendar(packing, zone_of(machine));
///   add_thunderbird(..., calendar);   // each source adds its items, one at a time
///   add_outlook(..., calendar);
///   calendar.pack();
///
/// Items are written to files of our own as they come, so that the memory does not grow with them.
class Calendar {
 public:
  /// `home_zone` is the Olson name of the zone in which the person's clock is; empty when it is not known.
  Calendar(Packing& packing, std::string home_zone);

  /// Puts appointments of other zones on the clock of that zone, where the person's own is not known. They
  /// are told all the same.
  void guess_home_zone(const std::string& zone) { home_ = Zone::named(zone); }

  /// The one that is known; empty when it is not, also when one is guessed.
  const std::string& home_zone() const { return home_zone_; }

  /// Adds an appointment (Kind::events) or a task (Kind::tasks) with all of its exceptions. It counts as many
  /// as it becomes in the archive, where each exception is one of its own: as packed; or as left out, when
  /// the same one has come before (the same uid, or without one the same content), when an appointment has no
  /// start, or when each of its days was taken out by its owner. One of a kind that is not wanted is nothing.
  /// One whose time depends on the person's zone is told when that is not known.
  /// `from` is where it lies, for what is told: the path of the file and what it is called there. Throws
  /// std::runtime_error when there is no room.
  void add(const CalendarItem& item, const std::string& from);

  /// Puts the files into the archive, where there is something in them. Call it once, at the end.
  void pack();

 private:
  bool is_new(const CalendarItem& item, std::string& uid);
  void pack(const Nameless& items, const char* folder, const char* name);

  Packing& packing_;
  std::string home_zone_;
  std::optional<Zone> home_;
  Nameless events_, tasks_;
  std::set<std::pair<std::uint64_t, std::uint64_t>> known_;
};

}  // namespace pack

#endif
