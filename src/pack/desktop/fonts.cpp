#include <map>

#include "pack/desktop/desktop.h"
#include "pack/files/names.h"
#include "pack/files/program_folders.h"
#include "process/archive/layout.h"

namespace pack {

namespace {

constexpr std::string_view place_of_fonts = "AppData/Local/Microsoft/Windows/Fonts";

// A font that two people have is one; two of one name that differ in size are two.
class Fonts {
 public:
  explicit Fonts(Packing& shared) : shared_(shared) {}

  void add(const Place& place, const Entry& entry) {
    const std::string name = kept_name(entry.name);
    const auto earlier = sizes_.find(name);
    if (earlier != sizes_.end() && earlier->second == entry.size) return;
    shared_.add_folder(layout::fonts);
    const std::string number = earlier == sizes_.end() ? "" : std::to_string(++doubles_) + " ";
    shared_.add_file(Kind::fonts, std::string(layout::fonts) + "/" + number + name, place, entry);
    sizes_.try_emplace(name, entry.size);
  }

 private:
  Packing& shared_;
  std::map<std::string, std::uint64_t> sizes_;
  int doubles_ = 1;
};

}  // namespace

void pack_fonts(Packing& shared, const Machine& machine) {
  if (!shared.wants(Kind::fonts)) return;
  Fonts fonts(shared);
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
