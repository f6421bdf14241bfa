#include "pack/outlook/outlook.h"

#include <algorithm>
#include <array>
#include <functional>
#include <iterator>
#include <set>
#include <system_error>

#include "pack/disk/refusal.h"
#include "pack/files/known_folders.h"
#include "pack/files/names.h"
#include "pack/outlook/profiles.h"
#include "process/archive/layout.h"

namespace pack {

namespace {

// Since Vista and before.
constexpr std::array<std::string_view, 2> usual_places = {
    "AppData/Local/Microsoft/Outlook", "Local Settings/Application Data/Microsoft/Outlook"};

bool ends_with(std::string_view name, std::string_view ending) {
  return name.size() > ending.size() && is_same_name(name.substr(name.size() - ending.size()), ending);
}

bool is_same(const Place& one, const Place& other) {
  return one.tree == other.tree && one.path == other.path;
}

// "Outlook Files", in whatever language.
bool is_named_for_outlook(const std::string& name) {
  std::string letters = name;
  std::ranges::transform(letters, letters.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return letters.find("outlook") != std::string::npos;
}

// One by one: a folder of documents may hold any number.
void each_in(const Place& folder, const std::function<void(const Entry& entry)>& take) {
  try {
    const auto listing = folder.tree->entries(folder.path);
    while (const auto entry = listing->next()) take(*entry);
  } catch (const std::system_error&) {
    folder.tree->note_unlisted(folder.path);  // unless who packs the folder tells of it
  }
}

// Where a path leads that Windows has written: the person's own folder may lie elsewhere now.
std::optional<Place> place_of(const Machine& machine, const Person& person, const std::string& path) {
  std::string below = path;
  std::ranges::replace(below, '\\', '/');
  for (const std::string_view homes : {"/Users/", "/Documents and Settings/"}) {
    const std::size_t at = below.find(homes);
    const std::string home = std::string(homes) + person.shown + "/";
    if (at != 2 || !is_same_name(below.substr(at, home.size()), home)) continue;
    const auto found =
        find(*person.home.tree, person.home.path, std::string_view(below).substr(at + home.size()));
    if (found) return Place{.tree = person.home.tree, .path = found->path};
  }
  return machine.disk.find(path);
}

class Files {
 public:
  void add(const Place& place, const Entry& entry) {
    const auto is_it = [&](const OutlookFile& file) { return is_same(file.place, place); };
    if (std::ranges::any_of(files_, is_it)) return;
    files_.push_back({.place = place, .entry = entry, .is_copy = ends_with(entry.name, ".ost")});
  }
  void add_folder(const Place& folder) {
    each_in(folder, [&](const Entry& entry) {
      if (entry.what != What::folder && is_outlook_file(entry.name))
        add({.tree = folder.tree, .path = joined(folder.path, entry.name)}, entry);
    });
  }
  std::vector<OutlookFile> take() { return std::move(files_); }

 private:
  std::vector<OutlookFile> files_;
};

// What is wrong with a file is told once: by the first of those who unpack it, or who packs it as it is.
bool tells_of_files(const Packing& packing, Kind kind) {
  const auto first = std::ranges::find_if(unpacked_kinds, [&](Kind one) { return packing.wants(one); });
  return first == unpacked_kinds.end() || *first == kind;
}

void add_named(Packing& packing, const Machine& machine, const Person& person, const Hive& hive, Kind kind,
               Files& files) {
  for (const std::string& path : data_files_in(hive)) {
    if (!is_outlook_file(path)) continue;
    const auto place = place_of(machine, person, path);
    const auto found = place ? find(*place->tree, "", place->path) : std::nullopt;
    if (!found || found->entry.what == What::folder) {
      if (tells_of_files(packing, kind)) packing.leave_out(kind, Cause::elsewhere, path);
    } else {
      files.add(*place, found->entry);
    }
  }
}

// What goes into the documents when Outlook keeps it elsewhere.
void pack_as_file(Packing& packing, const OutlookFile& file, std::string& folder) {
  if (folder.empty()) {
    packing.add_folder(layout::documents);
    folder = std::string(layout::documents) + "/" + packing.free_name("Outlook data files");
    packing.add_folder(folder);
  }
  packing.add_file(Kind::documents, folder + "/" + packing.free_name(kept_name(file.entry.name)), file.place,
                   file.entry);
}

Kind kind_of(ItemKind kind) {
  switch (kind) {
    case ItemKind::message:
      return Kind::mail;
    case ItemKind::contact:
    case ItemKind::list_of_contacts:
      return Kind::contacts;
    case ItemKind::appointment:
      return Kind::events;
    case ItemKind::task:
      return Kind::tasks;
    case ItemKind::note:
    case ItemKind::journal:
      break;
  }
  return Kind::notes;
}

// Those of one file. Returns the kinds of which something stays behind.
std::set<Kind> each_item(Packing& packing, const OutlookFile& file, Store& store, std::span<const Kind> kinds,
                         const TakeItem& take) {
  std::set<Kind> left_behind;
  for (const Store::Folder& folder : store.folders()) {
    const std::string from = file.place.path + ": " + joined_names(folder.names);
    for (const Store::Item& item : store.items(folder)) {
      const Kind kind = kind_of(item.kind);
      if (std::ranges::find(kinds, kind) == kinds.end()) continue;
      if (folder.is_deleted) {
        packing.leave_out(kind, Cause::deleted, from);
        continue;
      }
      const Properties properties = item.is_there ? store.item(item.id) : Properties();
      if (properties.is_empty()) {
        packing.leave_out(kind, Cause::damaged, from);
      } else if (!properties.is_whole()) {
        packing.tell_of(kind, Cause::item_cut, from);
      }
      const bool is_packed = !properties.is_empty() && take(store, item.kind, properties, from);
      if (!is_packed || !properties.is_whole()) left_behind.insert(kind);
    }
  }
  return left_behind;
}

}  // namespace

bool is_outlook_file(std::string_view name) { return ends_with(name, ".pst") || ends_with(name, ".ost"); }

std::vector<OutlookFile> outlook_files(Packing& packing, const Machine& machine, const Person& person,
                                       const Hive* hive, Kind kind) {
  Files files;
  for (const KnownFolder& documents : known_folders(machine.disk, person, hive).here) {
    if (documents.kind != Kind::documents) continue;
    each_in(documents.place, [&](const Entry& entry) {
      if (entry.what == What::folder && is_named_for_outlook(entry.name))
        files.add_folder({.tree = documents.place.tree, .path = joined(documents.place.path, entry.name)});
    });
  }
  for (const std::string_view place : usual_places)
    if (const auto folder = find_folder(*person.home.tree, person.home.path, place))
      files.add_folder({.tree = person.home.tree, .path = *folder});
  if (hive != nullptr) add_named(packing, machine, person, *hive, kind, files);
  return files.take();
}

bool can_read(Packing& packing, const OutlookFile& file, BlocksOfFile& blocks, Kind kind) {
  const bool is_ours = tells_of_files(packing, kind);
  const auto tell = [&](Cause cause) {
    if (is_ours) packing.leave_out(kind, cause, file.place.path);
    return false;
  };
  if (file.entry.gap) return tell(*file.entry.gap);
  if (blocks.is_protected()) return tell(Cause::encrypted);
  if (blocks.nodes().empty()) return tell(cause_at(file.place, Cause::damaged));
  if (blocks.is_damaged() && is_ours) packing.tell_of(kind, Cause::store_damaged, file.place.path);
  return true;
}

std::string joined_names(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : "/") + name;
  return text;
}

void each_outlook_item(Packing& packing, const Machine& machine, const Person& person, const Hive* hive,
                       std::span<const Kind> these, const TakeItem& take) {
  std::vector<Kind> kinds;
  std::ranges::copy_if(these, std::back_inserter(kinds), [&](Kind kind) { return packing.wants(kind); });
  if (kinds.empty()) return;
  for (const OutlookFile& file : outlook_files(packing, machine, person, hive, kinds.front())) {
    BlocksOfFile blocks(file.place, file.entry.size);
    if (!can_read(packing, file, blocks, kinds.front())) continue;
    const bool was_damaged = blocks.is_damaged();
    Store store(blocks);
    const std::set<Kind> left_behind = each_item(packing, file, store, kinds, take);
    // What was damaged from the beginning has been told.
    if (blocks.is_damaged() && !was_damaged)
      packing.tell_of(kinds.front(), Cause::store_damaged, file.place.path);
    if (blocks.is_damaged()) continue;
    for (const Kind kind : kinds)
      if (!left_behind.contains(kind)) packing.unpacked(file.place, kind);
  }
}

void pack_outlook_files(Packing& packing, const Machine& machine, const Person& person, const Hive* hive) {
  std::vector<OutlookFile> files = outlook_files(packing, machine, person, hive, Kind::documents);
  const auto is_wanted = [&](Kind kind) { return packing.wants(kind); };
  const bool is_unpacking = std::ranges::all_of(unpacked_kinds, is_wanted);
  for (const Packing::PutOff& file : packing.put_off()) {
    const auto ours = std::ranges::find_if(
        files, [&](const OutlookFile& other) { return is_same(other.place, file.place); });
    if (ours != files.end() && packing.is_unpacked(file.place)) {
      packing.leave_out(file.kind, Cause::unpacked, file.place.path);
    } else {
      if (ours == files.end())
        packing.tell_of(file.kind, Cause::not_unpacked, file.place.path);
      else if (is_unpacking)
        packing.tell_of(file.kind, Cause::kept_as_file, file.place.path);
      packing.add_file(file.kind, file.name, file.place, file.entry);
    }
    if (ours != files.end()) files.erase(ours);
  }
  if (!packing.wants(Kind::documents)) return;
  std::string folder;
  for (const OutlookFile& file : files) {
    if (file.is_copy || packing.is_unpacked(file.place)) continue;
    if (is_unpacking) packing.tell_of(Kind::documents, Cause::kept_as_file, file.place.path);
    pack_as_file(packing, file, folder);
  }
}

}  // namespace pack
