#include "pack/files/program_folders.h"

#include <algorithm>
#include <array>
#include <system_error>

#include "pack/disk/refusal.h"
#include "pack/files/known_folders.h"

namespace pack {

namespace {

// Its name in the registry, and its places since Vista and before.
struct Usual {
  std::string_view name;
  std::array<std::string_view, 2> places;
};
constexpr Usual roaming{"AppData", {"AppData/Roaming", "Application Data"}};
constexpr Usual local{"Local AppData", {"AppData/Local", "Local Settings/Application Data"}};

// Why a folder that is there cannot be listed, if it cannot.
std::optional<Cause> gap_of(const Tree& tree, const Found& found) {
  if (found.entry.gap == Cause::unknown_reparse || found.entry.gap == Cause::unreadable ||
      (found.entry.gap == Cause::forbidden && found.entry.what != What::file))
    return found.entry.gap;
  if (found.entry.what != What::folder) return std::nullopt;
  try {
    tree.list(found.path);
  } catch (const std::system_error& error) {
    if (error.code() != std::errc::no_such_file_or_directory) return cause_of(error);
  }
  return std::nullopt;
}

void add_once(std::vector<Place>& places, const Place& place) {
  const auto is_it = [&](const Place& other) { return other.tree == place.tree && other.path == place.path; };
  if (std::ranges::none_of(places, is_it)) places.push_back(place);
}

}  // namespace

void Gaps::add(Cause cause, const std::string& path) {
  if (std::ranges::find(gaps_, path, &Gap::path) == gaps_.end())
    gaps_.push_back({.cause = cause, .path = path});
}

void Gaps::add(Cause cause, const Place& folder) {
  const auto is_it = [&](const Gap& other) { return other.tree == folder.tree && other.path == folder.path; };
  if (std::ranges::none_of(gaps_, is_it))
    gaps_.push_back({.cause = cause, .path = folder.path, .tree = folder.tree});
}

void Gaps::tell(Packing& packing, Kind kind) const {
  for (const auto& [cause, path, tree] : gaps_) {
    packing.leave_out(kind, cause, path);
    if (tree != nullptr && packing.wants(kind)) tree->note_told(path);
  }
}

std::vector<Entry> listed(const Place& folder, Gaps& gaps) {
  try {
    return folder.tree->list(folder.path);
  } catch (const std::system_error& error) {
    if (error.code() != std::errc::no_such_file_or_directory) gaps.add(cause_of(error), folder);
  }
  return {};
}

std::optional<Place> folder_at(const Place& folder, std::string_view path, Gaps& gaps) {
  const Tree& tree = *folder.tree;
  if (const auto found = find_folder(tree, folder.path, path)) return Place{.tree = &tree, .path = *found};
  for (std::size_t end = 0; end != std::string_view::npos; end = path.find('/', end + 1)) {
    const auto found = find(tree, folder.path, path.substr(0, end));
    if (!found) return std::nullopt;
    if (const auto cause = gap_of(tree, *found)) {
      gaps.add(*cause, Place{.tree = &tree, .path = found->path});
      return std::nullopt;
    }
  }
  if (const auto found = find(tree, folder.path, path))
    if (const auto cause = gap_of(tree, *found)) gaps.add(*cause, Place{.tree = &tree, .path = found->path});
  return std::nullopt;
}

std::vector<Place> folders_of(Settings settings, const Disk& disk, const Person& person, const Hive* hive,
                              Gaps& gaps) {
  const Usual& usual = settings == Settings::roaming ? roaming : local;
  std::vector<Place> places;
  const Whereabouts moved = shell_folder(disk, person, hive, usual.name);
  if (moved.place) add_once(places, *moved.place);
  if (moved.cause) gaps.add(*moved.cause, moved.path);
  for (const std::string_view place : usual.places)
    if (const auto folder = folder_at(person.home, place, gaps)) add_once(places, *folder);
  return places;
}

std::vector<Place> program_folders(Settings settings, std::string_view path, const Disk& disk,
                                   const Person& person, const Hive* hive, Gaps& gaps) {
  std::vector<Place> places;
  for (const Place& folder : folders_of(settings, disk, person, hive, gaps))
    if (const auto found = folder_at(folder, path, gaps)) add_once(places, *found);
  return places;
}

}  // namespace pack
