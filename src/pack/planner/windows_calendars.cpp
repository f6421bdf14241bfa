#include "pack/planner/windows_calendars.h"

#include "pack/files/program_folders.h"

namespace pack {

void leave_out_windows_calendars(Packing& packing, const Machine& machine, const Person& person,
                                 const Hive* hive) {
  if (!packing.wants(Kind::events)) return;
  Gaps told_of_browsers;  // those on the way to the folders of all programs
  Gaps gaps;
  for (const Place& all : folders_of(Settings::local, machine.disk, person, hive, told_of_browsers))
    for (const char* calendars :
         {"Microsoft/Windows Calendar/Calendars", "Microsoft/Windows Live Mail/Calendars"})
      if (const auto folder = folder_at(all, calendars, gaps))
        for (const Entry& entry : listed(*folder, gaps))
          packing.leave_out(Kind::events, Cause::no_place, joined(folder->path, entry.name));
  gaps.tell(packing, Kind::events);
}

}  // namespace pack
