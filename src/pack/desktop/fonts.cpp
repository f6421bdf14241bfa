#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <system_error>

#include "pack/desktop/desktop.h"
#include "pack/desktop/shipped_fonts.h"
#include "pack/files/names.h"
#include "pack/files/program_folders.h"
#include "process/archive/layout.h"

namespace pack {

namespace {

constexpr std::string_view place_of_fonts = "AppData/Local/Microsoft/Windows/Fonts";
constexpr std::array<std::string_view, 2> places_of_all = {"Windows/Fonts", "WINNT/Fonts"};

// False as well when one of them cannot be read to its end: then both are kept.
bool is_same_content(const Place& one, const Place& other) {
  constexpr std::size_t size = std::size_t{1} << 14;
  std::array<char, size> block;
  std::array<char, size> other_block;
  const auto fill = [](Content& content, std::array<char, size>& to) {
    std::size_t done = 0;
    while (done < to.size())
      if (const std::size_t count = content.read(to.data() + done, to.size() - done)) {
        done += count;
      } else {
        break;
      }
    return std::string_view(to.data(), done);
  };
  try {
    const auto content = one.tree->open(one.path);
    const auto other_content = other.tree->open(other.path);
    for (;;) {
      const std::string_view bytes = fill(*content, block);
      if (bytes != fill(*other_content, other_block)) return false;
      if (bytes.empty()) return true;
    }
  } catch (const std::system_error&) {
    return false;
  }
}

// A font that two people have is one; two of one name that differ are two.
class Fonts {
 public:
  explicit Fonts(Packing& shared) : shared_(shared) {}

  void add(const Place& place, const Entry& entry) {
    const std::string name = kept_name(entry.name);
    std::vector<Earlier>& earlier = earlier_[name];
    const auto is_it = [&](const Earlier& one) {
      return one.size == entry.size && is_same_content(one.place, place);
    };
    if (std::ranges::any_of(earlier, is_it)) return;
    shared_.add_folder(layout::fonts);
    const std::string number = earlier.empty() ? "" : std::to_string(++doubles_) + " ";
    shared_.add_file(Kind::fonts, std::string(layout::fonts) + "/" + number + name, place, entry);
    earlier.push_back({place, entry.size});
  }

 private:
  struct Earlier {
    Place place;
    std::uint64_t size;
  };

  Packing& shared_;
  std::map<std::string, std::vector<Earlier>> earlier_;
  int doubles_ = 1;
};

// Of the machine's registry, which has a font's file as it lies in the folder of all fonts, or with its path.
class Installed {
 public:
  explicit Installed(const MachineRegistry& registry) {
    for (const std::string& file : registry.fonts)
      (file.find('\\') == std::string::npos ? names_ : paths_).push_back(file);
  }

  bool has(std::string_view name) const {
    return std::ranges::any_of(names_, [&](const std::string& one) { return is_same_name(one, name); });
  }

  const std::vector<std::string>& paths() const { return paths_; }

 private:
  std::vector<std::string> names_;
  std::vector<std::string> paths_;
};

// Windows' own are not somebody's to take along; what the registry does not list may be either.
void add_fonts_of_all(Packing& shared, const Machine& machine, Fonts& fonts) {
  const Installed installed(machine.registry);
  const Tree& tree = machine.disk.system();
  std::set<std::string> taken;
  for (const std::string_view place_of_all : places_of_all) {
    const auto folder = find_folder(tree, "", place_of_all);
    if (!folder) continue;
    for (const Entry& entry : listed(tree, *folder)) {
      const Place place{.tree = &tree, .path = joined(*folder, entry.name)};
      if (entry.what != What::file) continue;
      taken.insert(place.path);
      if (is_shipped_font(entry.name)) {
        shared.leave_out(Kind::fonts, Cause::windows_own, place.path);
      } else if (installed.has(entry.name)) {
        fonts.add(place, entry);
      } else {
        shared.leave_out(Kind::fonts, Cause::font_in_doubt, place.path);
      }
    }
  }
  for (const std::string& path : installed.paths()) {
    const auto place = machine.disk.find(path);
    const auto found = place ? find(*place->tree, "", place->path) : std::nullopt;
    if (!found) {
      // A program that is gone has left its fonts' names behind.
      if (!machine.disk.has(static_cast<char>(path[0] & ~0x20)))
        shared.leave_out(Kind::fonts, Cause::elsewhere, path);
    } else if (found->entry.what == What::file && !is_shipped_font(found->entry.name) &&
               taken.insert(place->path).second) {
      fonts.add(*place, found->entry);
    }
  }
}

}  // namespace

void pack_fonts(Packing& shared, const Machine& machine) {
  if (!shared.wants(Kind::fonts)) return;
  Fonts fonts(shared);
  add_fonts_of_all(shared, machine, fonts);
  Gaps gaps;
  for (const Person& person : machine.people) {
    const auto folder = folder_at(person.home, place_of_fonts, gaps);
    if (!folder) continue;
    for (const Entry& entry : listed(*folder, gaps))
      if (entry.what == What::file)
        fonts.add({.tree = folder->tree, .path = joined(folder->path, entry.name)}, entry);
  }
  gaps.tell(shared, Kind::fonts);
}

}  // namespace pack
