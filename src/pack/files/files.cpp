#include "pack/files/files.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <system_error>

#include "pack/disk/refusal.h"
#include "pack/files/known_folders.h"
#include "pack/files/names.h"
#include "process/archive/layout.h"

namespace pack {

namespace {

// What Windows makes for itself, in any folder and in a home.
constexpr std::array<std::string_view, 2> made_by_windows = {"desktop.ini", "Thumbs.db"};
constexpr std::string_view registry = "NTUSER.";

// Where the links lead that Windows itself makes in a home since Vista, in any language; or into what.
constexpr std::array<std::string_view, 2> targets_of_windows = {"AppData/Roaming", "AppData/Local"};
constexpr std::array<std::string_view, 2> folders_of_windows = {"AppData/Roaming/Microsoft/Windows",
                                                                "AppData/Local/Microsoft/Windows"};

bool is_made_by_windows(std::string_view name) {
  return std::ranges::any_of(made_by_windows,
                             [&](std::string_view made) { return is_same_name(name, made); });
}

bool is_registry(std::string_view name) {
  return name.size() > registry.size() && is_same_name(name.substr(0, registry.size()), registry);
}

// A run passes names with a dot over there.
bool is_top(std::string_view name) { return name == layout::documents || name == layout::desktop; }

// One person's files on their way.
class Files {
 public:
  Files(Packing& packing, const Disk& disk, const Person& person, const Hive* hive)
      : packing_(packing), disk_(disk), person_(person), folders_(known_folders(disk, person, hive)) {}

  void pack();

 private:
  void name_apart();
  void collect_taken_names();
  std::unique_ptr<Listing> listing_of(Kind kind, const Place& folder);
  std::optional<Entry> next_of(Listing& listing, Kind kind, const Place& folder);
  void pack_entry(Kind kind, const std::string& folder, const Place& place, const Entry& entry);
  void pack_folder(Kind kind, const std::string& name, const Place& place, std::int64_t modified,
                   bool drops_dots);
  bool is_link_of_windows(const Place& link, const Place& target) const;
  void pack_link(Kind kind, const Place& place, const Entry& entry);
  void pack_others();
  bool is_packed_elsewhere(const Place& place) const;
  std::string new_folder(const std::string& wanted);

  Packing& packing_;
  const Disk& disk_;
  const Person& person_;
  KnownFolders folders_;
};

void Files::pack() {
  collect_taken_names();
  name_apart();
  for (const MissingFolder& folder : folders_.missing)
    packing_.leave_out(folder.kind, folder.cause, folder.path);
  for (const KnownFolder& folder : folders_.here)
    if (packing_.wants(folder.kind))
      pack_folder(folder.kind, folder.name, folder.place, 0, is_top(folder.name));
  // When the documents are the home itself, or hold it, all of it is packed.
  const auto holds_home = [&](const KnownFolder& folder) { return lies_in(person_.home, folder.place); };
  if (packing_.wants(Kind::others) && std::ranges::none_of(folders_.here, holds_home)) pack_others();
}

void Files::collect_taken_names() {
  for (const KnownFolder& folder : folders_.here)
    if (folder.kind == Kind::documents) packing_.take_names_of(folder.place);
}

// The first folder of documents and of the desktop has the archive's place for it; all else has one in the
// documents.
void Files::name_apart() {
  std::vector<std::string> given;
  const std::string documents = std::string(layout::documents) + "/";
  for (KnownFolder& folder : folders_.here) {
    const bool is_at_top = folder.name.find('/') == std::string::npos;
    if (!is_at_top || std::ranges::find(given, folder.name) != given.end())
      folder.name = documents + packing_.free_name(folder.name.substr(folder.name.rfind('/') + 1));
    given.push_back(folder.name);
  }
}

bool Files::is_packed_elsewhere(const Place& place) const {
  const auto is_it = [&](const Place& other) { return place.tree == other.tree && place.path == other.path; };
  return std::ranges::any_of(folders_.here, is_it, &KnownFolder::place) ||
         std::ranges::any_of(folders_.settings, is_it);
}

// One in the documents, under that name or one like it.
std::string Files::new_folder(const std::string& wanted) {
  packing_.add_folder(layout::documents);
  const std::string name = std::string(layout::documents) + "/" + packing_.free_name(wanted);
  packing_.add_folder(name);
  return name;
}

// Windows has links for old programs at the top of a home, to places of its own.
bool Files::is_link_of_windows(const Place& link, const Place& target) const {
  const auto is_it = [&](std::string_view place) {
    const auto folder = find_folder(*person_.home.tree, person_.home.path, place);
    return folder && target.path == *folder;
  };
  const auto lies_in_it = [&](std::string_view place) {
    const auto folder = find_folder(*person_.home.tree, person_.home.path, place);
    return folder && lies_in(target, {.tree = person_.home.tree, .path = *folder});
  };
  return link.path.substr(0, link.path.rfind('/')) == person_.home.path &&
         (std::ranges::any_of(targets_of_windows, is_it) ||
          std::ranges::any_of(folders_of_windows, lies_in_it));
}

// A link to what is packed anyway loses nothing. One to what programs keep may be somebody's.
void Files::pack_link(Kind kind, const Place& place, const Entry& entry) {
  const auto target = disk_.find(entry.target);
  const auto holds_target = [&](const Place& folder) { return lies_in(*target, folder); };
  const bool is_packed =
      target && (std::ranges::any_of(folders_.here, holds_target, &KnownFolder::place) ||
                 (lies_in(*target, person_.home) && std::ranges::none_of(folders_.settings, holds_target)) ||
                 is_link_of_windows(place, *target));
  packing_.leave_out(kind, is_packed ? Cause::windows_own : *entry.gap, place.path);
}

// None when the folder cannot be listed, which is told.
std::unique_ptr<Listing> Files::listing_of(Kind kind, const Place& folder) {
  try {
    return folder.tree->entries(folder.path);
  } catch (const std::system_error& error) {
    folder.tree->note_told(folder.path);
    packing_.leave_out(kind, cause_of(error), folder.path);
    return nullptr;
  }
}

// No value at the end, and when the folder does not give its names any more, which is told.
std::optional<Entry> Files::next_of(Listing& listing, Kind kind, const Place& folder) {
  try {
    return listing.next();
  } catch (const std::system_error& error) {
    folder.tree->note_told(folder.path);
    packing_.leave_out(kind, cause_of(error), folder.path);
    return std::nullopt;
  }
}

void Files::pack_entry(Kind kind, const std::string& folder, const Place& place, const Entry& entry) {
  const std::string name = name_in_archive(place, entry);
  if (entry.gap == Cause::link) return pack_link(kind, place, entry);
  if (entry.what == What::other)
    return packing_.leave_out(kind, entry.gap.value_or(Cause::special), place.path);
  if (name != entry.name) packing_.tell_of(kind, Cause::renamed, place.path);
  if (entry.what == What::folder) {
    // What lies in it here is packed; there is more of it.
    if (entry.gap) packing_.leave_out(kind, *entry.gap, place.path);
    // 0 is of folders that are made here.
    return pack_folder(kind, folder + "/" + name, place, entry.modified == 0 ? 1 : entry.modified, false);
  }
  if (is_made_by_windows(entry.name)) return packing_.leave_out(kind, Cause::windows_own, place.path);
  if (is_store_of_mail(entry.name))
    return packing_.put_off({.kind = kind, .name = folder + "/" + name, .place = place, .entry = entry});
  packing_.add_file(kind, folder + "/" + name, place, entry);
}

void Files::pack_folder(Kind kind, const std::string& name, const Place& place, std::int64_t modified,
                        bool drops_dots) {
  if (name.size() > Packing::longest_name) return packing_.leave_out(kind, Cause::path_too_long, place.path);
  const auto listing = listing_of(kind, place);
  if (!listing) return;
  packing_.add_folder(name, modified);
  std::string dots;
  while (const auto entry = next_of(*listing, kind, place)) {
    const Place below{.tree = place.tree, .path = joined(place.path, entry->name)};
    if (is_packed_elsewhere(below)) continue;
    if (place.tree == person_.home.tree && place.path == person_.home.path && is_registry(entry->name))
      continue;
    const bool is_passed_over = drops_dots && entry->name.starts_with('.');
    if (is_passed_over && dots.empty()) dots = new_folder("Dot files");
    pack_entry(kind, is_passed_over ? dots : name, below, *entry);
  }
}

void Files::pack_others() {
  const auto listing = listing_of(Kind::others, person_.home);
  if (!listing) return;
  std::string others;
  while (const auto entry = next_of(*listing, Kind::others, person_.home)) {
    const Place place{.tree = person_.home.tree, .path = joined(person_.home.path, entry->name)};
    if (is_packed_elsewhere(place) || is_registry(entry->name)) continue;
    if (entry->gap == Cause::link) {
      pack_link(Kind::others, place, *entry);
      continue;
    }
    if (others.empty()) others = new_folder("Other files");
    pack_entry(Kind::others, others, place, *entry);
  }
}

}  // namespace

void pack_files(Packing& packing, const Machine& machine, const Person& person, const Hive* hive) {
  Files(packing, machine.disk, person, hive).pack();
}

}  // namespace pack
