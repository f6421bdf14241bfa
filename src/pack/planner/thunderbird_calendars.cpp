#include "pack/planner/thunderbird_calendars.h"

#include <array>
#include <map>

#include "pack/calendar/zones.h"
#include "pack/database/database.h"
#include "pack/disk/stage.h"
#include "pack/mail/prefs.h"
#include "pack/mail/thunderbird_profiles.h"
#include "pack/planner/stored_items.h"

namespace pack {

namespace {

constexpr std::size_t longest_prefs = std::size_t{1} << 24;
constexpr std::string_view folder_of_databases = "calendar-data";
constexpr std::array databases{"local.sqlite", "cache.sqlite"};
// Of Lightning before 1.0, with tables of its own.
constexpr std::string_view old_database = "storage.sdb";

Prefs prefs_of(const Place& profile) {
  const auto file = find(*profile.tree, profile.path, "prefs.js");
  const auto text = file ? whole({.tree = profile.tree, .path = file->path}, longest_prefs) : std::nullopt;
  return text ? read_prefs(*text) : Prefs{};
}

// calendar.registry.ID.type: what is not "storage" lies elsewhere.
void tell_of_calendars_elsewhere(Packing& packing, const Prefs& prefs, const std::string& profile) {
  const std::string registry = "calendar.registry.";
  constexpr std::string_view type = ".type";
  for (auto pref = prefs.lower_bound(registry); pref != prefs.end() && pref->first.starts_with(registry);
       ++pref) {
    const auto& [key, value] = *pref;
    if (!key.ends_with(type) || value == "storage") continue;
    const std::string calendar = key.substr(0, key.size() - type.size());
    packing.tell_of(
        Kind::events, Cause::lies_in_network,
        profile + ": " + pack::pref(prefs, calendar + ".name") + ", " + pack::pref(prefs, calendar + ".uri"));
  }
}

std::vector<std::string> databases_of(const Place& profile, Gaps& gaps) {
  std::vector<std::string> paths;
  const auto folder = folder_at(profile, folder_of_databases, gaps);
  if (folder) listed(*folder, gaps);
  for (const char* name : databases) {
    const auto found = folder ? find(*profile.tree, folder->path, name) : std::nullopt;
    if (found && found->entry.what == What::file) paths.push_back(found->path);
  }
  return paths;
}

void add_profile(Packing& packing, const Place& profile, Calendar& calendar, Gaps& gaps) {
  for (const std::string& path : databases_of(profile, gaps)) {
    const Place place{.tree = profile.tree, .path = path};
    const auto database = Database::open(place);
    if (!database || !add_stored_items(*database, path, packing, calendar))
      packing.leave_out(Kind::events, database ? Cause::damaged : cause_of_unopened(place), path);
  }
  if (const auto old = find(*profile.tree, profile.path, old_database))
    packing.leave_out(Kind::events, Cause::unknown_format, old->path);
  if (packing.wants(Kind::events)) tell_of_calendars_elsewhere(packing, prefs_of(profile), profile.path);
}

}  // namespace

void add_thunderbird_calendars(Packing& packing, const Machine& machine, const Person& person,
                               const Hive* hive, Calendar& calendar) {
  Gaps gaps;
  for (const Place& profile : thunderbird_profiles(machine.disk, person, hive, gaps))
    add_profile(packing, profile, calendar, gaps);
  gaps.tell(packing, packing.wants(Kind::events) ? Kind::events : Kind::tasks);
}

std::string thunderbird_zone(const Machine& machine, const Person& person, const Hive* hive) {
  Gaps gaps;  // told with the calendars
  for (const Place& profile : thunderbird_profiles(machine.disk, person, hive, gaps)) {
    const std::string zone = olson_of(pref(prefs_of(profile), "calendar.timezone.local"));
    if (!zone.empty()) return zone;
  }
  return "";
}

std::string zone_of_most_items(const Machine& machine, const Person& person, const Hive* hive) {
  Gaps gaps;  // told with the calendars
  std::map<std::string, std::size_t> counts;
  for (const Place& profile : thunderbird_profiles(machine.disk, person, hive, gaps))
    for (const std::string& path : databases_of(profile, gaps))
      if (const auto database = Database::open({.tree = profile.tree, .path = path}))
        count_zones(*database, counts);
  std::string most;
  bool is_alone = false;
  for (const auto& [zone, count] : counts) {
    if (!most.empty() && count <= counts[most]) {
      is_alone = is_alone && count < counts[most];
      continue;
    }
    most = zone;
    is_alone = true;
  }
  return is_alone ? most : "";
}

}  // namespace pack
