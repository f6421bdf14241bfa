#include "pack/planner/planner.h"

#include "pack/planner/outlook_planner.h"
#include "pack/planner/sticky_notes.h"
#include "pack/planner/thunderbird_calendars.h"
#include "pack/planner/windows_calendars.h"

namespace pack {

namespace {

void guess_home_zone(Packing& packing, const Machine& machine, const Person& person, const Hive* hive,
                     Calendar& calendar) {
  const std::string zone = zone_of_most_items(machine, person, hive);
  if (zone.empty()) return;
  calendar.guess_home_zone(zone);
  packing.tell_of(packing.wants(Kind::events) ? Kind::events : Kind::tasks, Cause::zone_guessed, zone);
}

}  // namespace

void pack_calendars(Packing& packing, const Machine& machine, const Person& person, const Hive* hive) {
  if (!packing.wants(Kind::events) && !packing.wants(Kind::tasks)) return;
  std::string zone = zone_of(machine);
  if (zone.empty()) zone = thunderbird_zone(machine, person, hive);
  Calendar calendar(packing, zone);
  if (zone.empty()) guess_home_zone(packing, machine, person, hive, calendar);
  add_thunderbird_calendars(packing, machine, person, hive, calendar);
  add_outlook_calendars(packing, machine, person, hive, calendar);
  leave_out_windows_calendars(packing, machine, person, hive);
  calendar.pack();
}

void pack_notes(Packing& packing, const Machine& machine, const Person& person, const Hive* hive) {
  if (!packing.wants(Kind::notes)) return;
  Notes notes(packing);
  add_sticky_notes(packing, person, notes);
  add_outlook_notes(packing, machine, person, hive, notes);
}

}  // namespace pack
