#include "pack/files/outside.h"

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string_view>
#include <system_error>

#include "pack/disk/refusal.h"
#include "pack/files/known_folders.h"
#include "pack/files/names.h"
#include "pack/model/sizes.h"
#include "process/archive/layout.h"

namespace pack {

namespace {

// What Windows, its programs and their makers have at the top of a disk.
constexpr std::array<std::string_view, 46> made_for_windows = {"$GetCurrent",
                                                               "$Recycle.Bin",
                                                               "$SysReset",
                                                               "$WINDOWS.~BT",
                                                               "$Windows.~WS",
                                                               "$WinREAgent",
                                                               "AMD",
                                                               "AUTOEXEC.BAT",
                                                               "boot.ini",
                                                               "Boot",
                                                               "bootfont.bin",
                                                               "bootmgr",
                                                               "BOOTNXT",
                                                               "BOOTSECT.BAK",
                                                               "Config.Msi",
                                                               "CONFIG.SYS",
                                                               "desktop.ini",
                                                               "DumpStack.log",
                                                               "DumpStack.log.tmp",
                                                               "EFI",
                                                               "ESD",
                                                               "hiberfil.sys",
                                                               "Intel",
                                                               "IO.SYS",
                                                               "MSDOS.SYS",
                                                               "MSOCache",
                                                               "NTDETECT.COM",
                                                               "ntldr",
                                                               "NVIDIA",
                                                               "OneDriveTemp",
                                                               "pagefile.sys",
                                                               "PerfLogs",
                                                               "Program Files",
                                                               "Program Files (Arm)",
                                                               "Program Files (x86)",
                                                               "ProgramData",
                                                               "Programme",
                                                               "Recovery",
                                                               "RECYCLED",
                                                               "RECYCLER",
                                                               "RRbackups",
                                                               "swapfile.sys",
                                                               "System Volume Information",
                                                               "Thumbs.db",
                                                               "WINDOWS",
                                                               "WINNT"};

// In Public, and in what XP has for it: what Windows puts there.
constexpr std::array<std::string_view, 8> made_in_public = {
    "AccountPictures", "desktop.ini",     "Libraries",     "Sample Media",
    "Sample Music",    "Sample Pictures", "Sample Videos", "Thumbs.db"};

// Folders that hold people's.
constexpr std::array<std::string_view, 2> homes = {"Users", "Documents and Settings"};

// What all people share there, since Vista and before.
constexpr std::string_view shared_folder = "Public";
constexpr std::array<std::string_view, 2> shared_places = {"All Users/Documents", "All Users/Desktop"};

template <std::size_t size>
bool is_one_of(const std::array<std::string_view, size>& names, std::string_view name) {
  return std::ranges::any_of(names, [&](std::string_view one) { return is_same_name(one, name); });
}

// "Windows.old", and with several of them "Windows.old.000".
bool is_earlier_windows(std::string_view name) {
  constexpr std::string_view begin = "Windows.old";
  return is_same_name(name.substr(0, begin.size()), begin) &&
         name.find_first_not_of(".0123456789", begin.size()) == std::string_view::npos;
}

// A file or folder to begin with.
struct Start {
  Place place;
  Entry entry;
  char drive = 'C';
  bool is_public = false;
  bool is_to_be_told = false;  // that there is, and no more: there are other people's folders in it
};

using TakeStart = std::function<void(const Start& start)>;

// A folder may hold any number: its entries come one by one. What the disk does not give is told and is the
// end of them; that an archive cannot be written is no fault of the disk and goes through.
std::unique_ptr<Listing> opened(const Place& folder, const std::function<void()>& tell) {
  try {
    return folder.tree->entries(folder.path);
  } catch (const std::system_error&) {
    tell();
    return nullptr;
  }
}

std::optional<Entry> next_of(Listing& listing, const std::function<void()>& tell) {
  try {
    return listing.next();
  } catch (const std::system_error&) {
    tell();
    return std::nullopt;
  }
}

class Search {
 public:
  Search(const Machine& machine, TakeStart take) : machine_(machine), take_(std::move(take)) {}

  void go() const {
    for (const auto& [letter, tree] : machine_.disk.volumes()) {
      const auto is_home = [&, volume = tree](const Person& person) {
        return person.home.tree == volume && person.home.path.empty();
      };
      if (std::ranges::none_of(machine_.everybody, is_home)) look_at_top(letter, *tree);
    }
  }

 private:
  static void each_in(const Place& folder, const std::function<void(const Entry& entry)>& take) {
    const auto tell = [&] { folder.tree->note_unlisted(folder.path); };
    const auto listing = opened(folder, tell);
    if (!listing) return;
    while (const auto entry = next_of(*listing, tell)) take(*entry);
  }

  void look_at_top(char letter, const Tree& tree) const {
    each_in({.tree = &tree, .path = ""}, [&](const Entry& entry) {
      const Place place{.tree = &tree, .path = entry.name};
      if (holds_homes(place)) {
        add_public(letter, place);
      } else if (is_earlier_windows(entry.name)) {
        for (const std::string_view home : homes)
          if (const auto earlier = find(tree, entry.name, home))
            take_({{.tree = &tree, .path = earlier->path}, earlier->entry, letter, false, true});
      } else if (!is_one_of(made_for_windows, entry.name) &&
                 !is_at(place, machine_.registry.programs_folder) && !is_one_of(homes, entry.name)) {
        take_({place, entry, letter});
      }
    });
  }

  bool is_at(const Place& place, const std::string& windows_path) const {
    const auto found = machine_.disk.find(windows_path);
    return found && found->tree == place.tree && found->path == place.path;
  }

  bool holds_homes(const Place& place) const {
    if (is_at(place, machine_.registry.profiles_folder)) return true;
    return place.tree == &machine_.disk.system() && is_one_of(homes, place.path) &&
           find_folder(*place.tree, "", place.path);
  }

  void add_public(char letter, const Place& folder) const {
    if (const auto found = find_folder(*folder.tree, folder.path, shared_folder))
      each_in({.tree = folder.tree, .path = *found}, [&](const Entry& entry) {
        take_({{.tree = folder.tree, .path = joined(*found, entry.name)}, entry, letter, true});
      });
    for (const std::string_view name : shared_places)
      if (const auto found = find(*folder.tree, folder.path, name);
          found && found->entry.what == What::folder)
        take_({{.tree = folder.tree, .path = found->path}, found->entry, letter, true});
  }

  const Machine& machine_;
  TakeStart take_;
};

// What is done with each thing on the way through a folder. `name` is that in the archive.
struct Taking {
  std::function<void(const std::string& name, const Entry& entry)> folder;
  std::function<void(const std::string& name, const Place& place, const Entry& entry)> file;
  std::function<void(Cause cause, const Place& place)> gap;
};

class Walk {
 public:
  Walk(const Machine& machine, std::vector<Place> others, Taking take)
      : machine_(machine), others_(std::move(others)), take_(std::move(take)) {}

  // True for what is taken into the archive, if only as an empty folder.
  bool takes(const Place& place, const Entry& entry) const {
    return !is_anothers(place) && !is_one_of(made_in_public, entry.name) && entry.what != What::other;
  }

  void go(const Place& place, const Entry& entry, const std::string& name) const {
    if (is_anothers(place)) return;
    if (is_one_of(made_in_public, entry.name)) return take_.gap(Cause::windows_own, place);
    if (entry.what == What::other) return take_.gap(cause_of(entry), place);
    if (entry.what == What::file) return take_.file(name, place, entry);
    if (name.size() > Packing::longest_name) return take_.gap(Cause::path_too_long, place);
    const auto tell = [&] {
      place.tree->note_told(place.path);
      take_.gap(cause_at(place, Cause::unreadable), place);
    };
    const auto listing = opened(place, tell);
    if (!listing) return;
    if (entry.gap) take_.gap(*entry.gap, place);
    take_.folder(name, entry);
    while (const auto below = next_of(*listing, tell)) {
      const Place one{.tree = place.tree, .path = joined(place.path, below->name)};
      go(one, *below, name + "/" + name_in_archive(one, *below));
    }
  }

 private:
  bool is_anothers(const Place& place) const {
    return std::ranges::any_of(
        others_, [&](const Place& other) { return other.tree == place.tree && other.path == place.path; });
  }

  // A link into people's folders is one of those that Windows makes for old programs.
  Cause cause_of(const Entry& entry) const {
    const auto target = entry.gap == Cause::link ? machine_.disk.find(entry.target) : std::nullopt;
    const bool is_among_people = target && target->tree == &machine_.disk.system() &&
                                 is_one_of(homes, target->path.substr(0, target->path.find('/')));
    return is_among_people ? Cause::windows_own : entry.gap.value_or(Cause::special);
  }

  const Machine& machine_;
  std::vector<Place> others_;
  Taking take_;
};

// The folder in the documents, which comes when there is something to put into it.
class Folders {
 public:
  explicit Folders(Packing& packing) : packing_(packing) {}

  std::string operator()(const Start& start) {
    std::string& folder = start.is_public ? public_ : drives_[start.drive];
    if (!folder.empty()) return folder;
    packing_.add_folder(layout::documents);
    folder = std::string(layout::documents) + "/" +
             packing_.free_name(start.is_public ? "Public" : std::string("Drive ") + start.drive);
    packing_.add_folder(folder);
    return folder;
  }

 private:
  Packing& packing_;
  std::string public_;
  std::map<char, std::string> drives_;
};

struct Contents {
  std::uint64_t files = 0;
  std::uint64_t bytes = 0;
};

std::string in_words(const Start& start, const Contents& contents) {
  return std::string(1, start.drive) + ":/" + start.place.path + ": " + std::to_string(contents.files) +
         (contents.files == 1 ? " file, " : " files, ") + size_in_words(contents.bytes);
}

}  // namespace

std::vector<Place> places_of(const Disk& disk, const Person& person, const Hive* hive) {
  std::vector<Place> places{person.home};
  const KnownFolders folders = known_folders(disk, person, hive);
  for (const KnownFolder& folder : folders.here) places.push_back(folder.place);
  places.insert(places.end(), folders.settings.begin(), folders.settings.end());
  return places;
}

void pack_outside(Packing& packing, const Machine& machine, const Person&, const Hive*) {
  if (machine.people.size() != 1 || !packing.wants(Kind::shared)) return;
  Folders folders(packing);
  const Walk walk(
      machine, machine.places_of_people,
      {.folder =
           [&](const std::string& name, const Entry& entry) {
             packing.add_folder(name, entry.modified == 0 ? 1 : entry.modified);
           },
       .file =
           [&](const std::string& name, const Place& place, const Entry& entry) {
             if (!name.ends_with("/" + entry.name)) packing.tell_of(Kind::shared, Cause::renamed, place.path);
             if (is_store_of_mail(entry.name))
               return packing.put_off({.kind = Kind::shared, .name = name, .place = place, .entry = entry});
             packing.add_file(Kind::shared, name, place, entry);
           },
       .gap = [&](Cause cause, const Place& place) { packing.leave_out(Kind::shared, cause, place.path); }});
  const auto pack = [&](const Start& start) {
    if (start.is_to_be_told) return;
    const bool is_taken = walk.takes(start.place, start.entry);
    walk.go(start.place, start.entry,
            is_taken ? folders(start) + "/" + name_in_archive(start.place, start.entry) : "");
  };
  Search(machine, pack).go();
}

void tell_of_outside(Packing& shared, const Machine& machine) {
  if (!shared.wants(Kind::shared)) return;
  Contents contents;
  const Walk walk(machine, machine.places_of_people,
                  {.folder = [](const std::string&, const Entry&) {},
                   .file =
                       [&](const std::string&, const Place&, const Entry& entry) {
                         ++contents.files;
                         contents.bytes += entry.size;
                       },
                   .gap =
                       [&](Cause cause, const Place& place) {
                         if (cause != Cause::windows_own) shared.leave_out(Kind::shared, cause, place.path);
                       }});
  const auto tell = [&](const Start& start) {
    if (machine.people.size() == 1 && !start.is_to_be_told) return;
    contents = {};
    walk.go(start.place, start.entry, "");
    if (contents.files > 0) shared.leave_out(Kind::shared, Cause::outside, in_words(start, contents));
  };
  Search(machine, tell).go();
}

}  // namespace pack
