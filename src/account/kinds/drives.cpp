#include "account/kinds/drives.h"

#include <algorithm>
#include <map>
#include <vector>

#include "account/archive/charset.h"
#include "account/kinds/entries.h"
#include "account/readers/file.h"
#include "account/readers/kconfig.h"
#include "account/readers/places.h"
#include "process/archive/layout.h"

namespace account {
namespace {

constexpr std::size_t piece = 1023;

struct Fault {
  Cause cause;
  std::string detail{};
};

// ---- The archive ----------------------------------------------------------------------------------------

std::optional<Fault> fault_in_archive(const Entry& entry, const std::string& name) {
  if (entry.folder || name.find('/') != std::string::npos) return Fault{Cause::folder_left_out};
  if (const auto fault = fault_of(entry)) return Fault{*fault};
  if (entry.encrypted()) return Fault{Cause::encrypted};
  return std::nullopt;
}

// Counts every drive; those that cannot be read are missing already, under their file's name.
std::vector<Drive> find_drives(const Case& of, Tally& tally) {
  std::vector<Drive> drives;
  const std::string folder = of.in_archive(layout::mapped_drives);
  for_each_thing(of.archive, folder, [&](const Entry& entry) {
    tally.find();
    const std::string name(name_within(entry, folder));
    if (const auto fault = fault_in_archive(entry, name))
      return tally.miss(name, fault->cause, fault->detail);
    bool whole = false;
    const auto drive = drive_of(of.archive.read(entry, largest_drive, &whole));
    if (!whole) return tally.miss(name, Cause::damaged);
    if (!drive) return tally.miss(name, Cause::incomplete);
    drives.push_back(*drive);
  });
  return drives;
}

// ---- The file manager's list ----------------------------------------------------------------------------

struct List {
  std::string path;
  bool is_there = false;
  bool is_well_formed = false;
  std::map<Place, int> places{};  // how often it has each
};

std::map<Place, int> counted(const std::vector<Place>& places) {
  std::map<Place, int> counts;
  for (const Place& place : places) ++counts[place];
  return counts;
}

List read_list(const Case& of) {
  List list = {.path = of.target()};
  const auto text = read_whole(list.path);
  list.is_there = text.has_value();
  if (!text) return list;
  const auto places = has_evolution(of.system) ? read_nautilus_places(*text) : read_konqueror_places(*text);
  list.is_well_formed = places.has_value();
  if (places) list.places = counted(*places);
  return list;
}

Place place_of(const Case& of, const Drive& drive) {
  const char* const charset = of.charset.c_str();
  return {readable(drive.name, charset), "smb:" + readable(drive.share, charset)};
}

// `packed`: how often the archive has it.
std::optional<Fault> fault_in_list(const List& list, const Place& place, int packed) {
  if (!list.is_there) return Fault{Cause::place_missing, list.path};
  if (!list.is_well_formed) return Fault{Cause::list_damaged, list.path};
  const auto found = list.places.find(place);
  const int there = found == list.places.end() ? 0 : found->second;
  if (there < packed) return Fault{Cause::not_listed, list.path};
  if (there > packed) return Fault{Cause::doubled};
  return std::nullopt;
}

// ---- The link on the desktop ----------------------------------------------------------------------------

bool is_either(const std::optional<std::string>& value, const std::string& one, const std::string& other) {
  return value && (*value == one || *value == other);
}

std::optional<Fault> fault_of_link(const Case& of, const Drive& drive) {
  const Place place = place_of(of, drive);
  auto link = read_whole(of.in_home("Desktop/" + drive.name));
  if (!link) link = read_whole(of.in_home("Desktop/" + place.name));
  if (!link) return Fault{Cause::link_missing};
  const auto value = [&](const char* key) { return read_kconfig(*link, "Desktop Entry", key); };
  const bool leads_there = value("Type") == "Link" &&
                           is_either(value("URL"), "smb:" + drive.share, place.address) &&
                           is_either(value("Name"), drive.name, place.name);
  if (!leads_there) return Fault{Cause::link_differs};
  return std::nullopt;
}

}  // namespace

std::optional<Drive> drive_of(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty() && lines.size() < 2) {
    const std::size_t end = text.find('\n');
    const std::size_t taken = std::min(piece, end == std::string_view::npos ? text.size() : end + 1);
    std::string_view line = text.substr(0, taken);
    text.remove_prefix(taken);
    if (line.ends_with('\n')) line.remove_suffix(1);
    if (taken == end + 1 && line.ends_with('\r')) line.remove_suffix(1);
    lines.emplace_back(std::string(line).c_str());
  }
  if (lines.size() < 2) return std::nullopt;
  return Drive{lines[0], lines[1]};
}

void compare_drives(const Case& of, Tally& tally) {
  const std::vector<Drive> drives = find_drives(of, tally);
  const List list = read_list(of);
  std::map<Place, int> packed;
  for (const Drive& drive : drives) ++packed[place_of(of, drive)];
  for (const Drive& drive : drives) {
    const Place place = place_of(of, drive);
    auto fault = fault_in_list(list, place, packed[place]);
    if (!fault) fault = fault_of_link(of, drive);
    if (fault) {
      tally.miss(place.name, fault->cause, fault->detail);
    } else {
      tally.arrive_unchanged();
    }
  }
}

}  // namespace account
