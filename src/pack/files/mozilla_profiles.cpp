#include "pack/files/mozilla_profiles.h"

#include <algorithm>
#include <filesystem>
#include <map>

#include "pack/disk/refusal.h"
#include "pack/disk/stage.h"
#include "pack/files/known_folders.h"

namespace pack {

namespace {

constexpr std::size_t longest_list = std::size_t{1} << 20;

using Section = std::map<std::string, std::string, std::less<>>;

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r";
  const std::size_t begin = text.find_first_not_of(blanks);
  if (begin == std::string_view::npos) return "";
  return text.substr(begin, text.find_last_not_of(blanks) + 1 - begin);
}

// "[NAME]" and "key=value" lines, by the sections' names.
std::map<std::string, Section> sections_of(std::string_view text) {
  std::map<std::string, Section> sections;
  std::string name;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = trimmed(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    const std::size_t equals = line.find('=');
    if (line.starts_with('[') && line.ends_with(']')) {
      name = line.substr(1, line.size() - 2);
    } else if (equals != std::string_view::npos) {
      sections[name][std::string(line.substr(0, equals))] = line.substr(equals + 1);
    }
  }
  return sections;
}

std::string value_of(const Section& section, std::string_view key) {
  const auto found = section.find(key);
  return found == section.end() ? "" : found->second;
}

struct Listed {
  std::string name;
  std::string path;
  bool is_relative = true;
  bool is_default = false;
};

// A program that was installed itself says which is its default; the mark in a profile is older.
std::vector<Listed> list_in(std::string_view ini) {
  const auto sections = sections_of(ini);
  std::vector<std::string> installed;
  for (const auto& [name, section] : sections)
    if (name.starts_with("Install")) installed.push_back(value_of(section, "Default"));
  std::vector<Listed> list;
  for (const auto& [name, section] : sections) {
    const std::string path = value_of(section, "Path");
    if (!name.starts_with("Profile") || path.empty()) continue;
    const bool is_default = installed.empty() ? value_of(section, "Default") == "1"
                                              : std::ranges::find(installed, path) != installed.end();
    list.push_back({.name = value_of(section, "Name"),
                    .path = path,
                    .is_relative = value_of(section, "IsRelative") != "0",
                    .is_default = is_default});
  }
  std::ranges::stable_partition(list, &Listed::is_default);
  return list;
}

class Profiles {
 public:
  Profiles(const Disk& disk, const Person& person, const Hive* hive, Gaps& gaps)
      : disk_(disk), person_(person), hive_(hive), gaps_(gaps) {}

  // Those of a folder that holds a list, "Profiles", or both.
  void add_program(const Place& program) {
    for (const Listed& listed : list_of(program)) {
      const auto folder = listed.is_relative ? relative(program, listed.path) : absolute(listed.path);
      if (folder) {
        add(listed.name, *folder);
      } else {
        gaps_.add(Cause::elsewhere, listed.is_relative ? joined(program.path, listed.path) : listed.path);
      }
    }
    const auto usual = folder_at(program, "Profiles", gaps_);
    if (!usual) return;
    for (const Entry& entry : listed(*usual, gaps_))
      if (entry.what == What::folder)
        add(entry.name, {.tree = usual->tree, .path = joined(usual->path, entry.name)});
  }

  std::vector<MozillaProfile> take() { return std::move(profiles_); }

 private:
  std::vector<Listed> list_of(const Place& program) {
    const auto file = find(*program.tree, program.path, "profiles.ini");
    if (!file) return {};
    const auto text = whole({.tree = program.tree, .path = file->path}, longest_list);
    if (!text) gaps_.add(cause_at({.tree = program.tree, .path = file->path}, Cause::unreadable), file->path);
    return text ? list_in(*text) : std::vector<Listed>();
  }

  std::optional<Place> relative(const Place& program, const std::string& path) {
    const std::string full = std::filesystem::path(joined(program.path, path)).lexically_normal();
    return folder_at({.tree = program.tree, .path = ""}, full, gaps_);
  }

  std::optional<Place> absolute(const std::string& path) const {
    const auto place = whereabouts(disk_, person_, hive_, path).place;
    if (!place || !find_folder(*place->tree, "", place->path)) return std::nullopt;
    return place;
  }

  void add(const std::string& name, const Place& folder) {
    const auto is_it = [&](const MozillaProfile& other) {
      return other.folder.tree == folder.tree && other.folder.path == folder.path;
    };
    if (std::ranges::none_of(profiles_, is_it)) profiles_.push_back({.name = name, .folder = folder});
  }

  const Disk& disk_;
  const Person& person_;
  const Hive* hive_;
  Gaps& gaps_;
  std::vector<MozillaProfile> profiles_;
};

bool contains(std::string_view name, std::string_view part) {
  for (std::size_t at = 0; at + part.size() <= name.size(); ++at)
    if (is_same_name(name.substr(at, part.size()), part)) return true;
  return false;
}

// What comes from the Store has a home of its own for what roams.
std::vector<Place> packages(const MozillaProgram& program, const Disk& disk, const Person& person,
                            const Hive* hive, Gaps& gaps) {
  std::vector<Place> folders;
  for (const Place& all : program_folders(Settings::local, "Packages", disk, person, hive, gaps))
    for (const Entry& entry : listed(all, gaps))
      if (entry.what == What::folder && contains(entry.name, program.package))
        if (const auto folder =
                folder_at(all, entry.name + "/LocalCache/Roaming/" + std::string(program.folder), gaps))
          folders.push_back(*folder);
  return folders;
}

}  // namespace

std::vector<MozillaProfile> mozilla_profiles(const MozillaProgram& program, const Disk& disk,
                                             const Person& person, const Hive* hive, Gaps& gaps) {
  Profiles profiles(disk, person, hive, gaps);
  for (const Place& folder : program_folders(Settings::roaming, program.folder, disk, person, hive, gaps))
    profiles.add_program(folder);
  for (const Place& folder : packages(program, disk, person, hive, gaps)) profiles.add_program(folder);
  return profiles.take();
}

}  // namespace pack
