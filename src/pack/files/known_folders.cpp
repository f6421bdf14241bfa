#include "pack/files/known_folders.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace pack {

namespace {

constexpr std::string_view shell_folders =
    R"(Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders)";

struct Usual {
  Kind kind;
  std::string_view value;  // in the registry
  std::string_view place;  // below the home, where it has not been moved
  std::string_view name;   // in the archive
};

// Up to XP pictures, music and videos lie in the documents, whose name has "My" in front.
constexpr std::array usual_folders{
    Usual{Kind::documents, "Personal", "Documents", "My Documents"},
    Usual{Kind::documents, "Personal", "My Documents", "My Documents"},
    Usual{Kind::desktop, "Desktop", "Desktop", "Desktop"},
    Usual{Kind::pictures, "My Pictures", "Pictures", "My Documents/My Pictures"},
    Usual{Kind::music, "My Music", "Music", "My Documents/My Music"},
    Usual{Kind::videos, "My Video", "Videos", "My Documents/My Videos"},
    Usual{Kind::downloads, "{374DE290-123F-4565-9164-39C4925E467B}", "Downloads", "My Documents/Downloads"},
};

constexpr std::array<std::string_view, 12> values_of_settings = {
    "AppData", "Local AppData", "Cache",  "Cookies",    "History", "Local Settings",
    "NetHood", "PrintHood",     "Recent", "Start Menu", "SendTo",  "Templates"};

constexpr std::array<std::string_view, 14> usual_settings = {"AppData",
                                                             "Application Data",
                                                             "Favorites",
                                                             "Cookies",
                                                             "IntelGraphicsProfiles",
                                                             "Links",
                                                             "Local Settings",
                                                             "MicrosoftEdgeBackups",
                                                             "NetHood",
                                                             "PrintHood",
                                                             "Recent",
                                                             "Searches",
                                                             "SendTo",
                                                             "Start Menu"};

std::string home_of(const Hive* hive, const Person& person) {
  // Where Windows itself had it, for values that are written out.
  const auto profile = hive == nullptr ? std::nullopt : hive->text("Volatile Environment", "USERPROFILE");
  return profile.value_or(R"(C:\Users\)" + person.shown);
}

// "%USERPROFILE%\Documents" with the variable's value in its place, whatever the case. What the value holds
// stays.
std::string expanded(std::string text, std::string_view variable, const std::string& value) {
  for (std::size_t begin = 0; (begin = text.find('%', begin)) != std::string::npos;) {
    const std::size_t end = text.find('%', begin + 1);
    if (end == std::string::npos) break;
    const bool is_ours = is_same_name(std::string_view(text).substr(begin + 1, end - begin - 1), variable);
    if (is_ours) text.replace(begin, end - begin + 1, value);
    begin += is_ours ? value.size() : 1;
  }
  return text;
}

std::string with_slashes(std::string path) {
  std::ranges::replace(path, '\\', '/');
  return path;
}

// A folder on the way that is no folder for this reader of the disk.
bool leads_over_a_gap(const Place& home, std::string_view path) {
  for (std::size_t end = 0; end != std::string_view::npos;) {
    end = path.find('/', end + 1);
    const auto found = find(*home.tree, home.path, path.substr(0, end));
    if (!found) return false;
    if (found->entry.gap == Cause::unknown_reparse) return true;
  }
  return false;
}

// The folder at the home is the person's wherever Windows had the home.
Whereabouts in_home(const Person& person, const std::string& path, std::string_view below) {
  const std::string place = with_slashes(std::string(below));
  const auto found = find(*person.home.tree, person.home.path, place);
  if (found && found->entry.gap != Cause::unknown_reparse)
    return {.place = Place{.tree = person.home.tree, .path = found->path}, .cause = {}, .path = path};
  if (leads_over_a_gap(person.home, place))
    return {.place = {}, .cause = Cause::unknown_reparse, .path = path};
  return {.place = {}, .cause = {}, .path = path};
}

// What all people of the machine share is everybody's.
bool is_shared(std::string_view below_homes) {
  const std::string_view name = below_homes.substr(0, below_homes.find('/'));
  return is_same_name(name, "Public") || is_same_name(name, "All Users");
}

// In the home of somebody else, beside the person's own: what Windows would not let them read.
bool is_anothers(const Person& person, const Place& place) {
  const std::size_t slash = person.home.path.rfind('/');
  if (slash == std::string::npos) return false;
  const Place homes{.tree = person.home.tree, .path = person.home.path.substr(0, slash)};
  if (!lies_in(place, homes) || lies_in(place, person.home)) return false;
  return place.path.size() == slash || !is_shared(std::string_view(place.path).substr(slash + 1));
}

// What lies behind "C:\Users\NAME\" and the like. No value for what all people share.
std::optional<std::string_view> below_somebodys_home(std::string_view path) {
  for (const std::string_view homes : {R"(C:\Users\)", R"(C:\Documents and Settings\)"}) {
    if (!is_same_name(path.substr(0, homes.size()), homes)) continue;
    const std::string_view below = path.substr(homes.size());
    const std::size_t end = below.find('\\');
    if (end == std::string_view::npos || is_shared(below.substr(0, end))) return std::nullopt;
    return below.substr(end + 1);
  }
  return std::nullopt;
}

// The values of variables that a path may hold, in Windows's own words.
std::string with_values(std::string path, const std::string& home) {
  const std::size_t colon = std::min(home.find(':') + 1, home.size());
  path = expanded(path, "USERPROFILE", home);
  path = expanded(path, "HOMEDRIVE", home.substr(0, colon));
  path = expanded(path, "HOMEPATH", home.substr(colon));
  path = expanded(path, "APPDATA", home + R"(\AppData\Roaming)");
  path = expanded(path, "LOCALAPPDATA", home + R"(\AppData\Local)");
  for (const std::string_view variable : {"OneDrive", "OneDriveConsumer"})
    path = expanded(path, variable, home + R"(\OneDrive)");
  path = expanded(path, "PUBLIC", R"(C:\Users\Public)");
  for (const std::string_view variable : {"SystemRoot", "windir"})
    path = expanded(path, variable, R"(C:\Windows)");
  return expanded(path, "SystemDrive", "C:");
}

// A file in a folder's place is packed with what lies around it, when that is the person's home.
Whereabouts as_folder(const Person& person, Whereabouts answer) {
  if (!answer.place || find_folder(*answer.place->tree, "", answer.place->path)) return answer;
  if (!lies_in(*answer.place, person.home)) answer.cause = Cause::elsewhere;
  answer.place.reset();
  return answer;
}

Whereabouts by_habit(const Person& person, std::string_view place) {
  return as_folder(person, in_home(person, std::string(place), place));
}

void add(std::vector<KnownFolder>& folders, KnownFolder folder) {
  const auto holds = [&](const KnownFolder& other) { return lies_in(folder.place, other.place); };
  if (std::ranges::any_of(folders, holds)) return;
  folders.push_back(std::move(folder));
}

// A folder that comes later may hold an earlier one; that goes with it then.
void drop_those_within_others(std::vector<KnownFolder>& folders) {
  std::erase_if(folders, [all = folders](const KnownFolder& folder) {
    return std::ranges::any_of(all, [&](const KnownFolder& other) {
      return other.kind != folder.kind && lies_in(folder.place, other.place) &&
             !lies_in(other.place, folder.place);
    });
  });
}

}  // namespace

bool lies_in(const Place& place, const Place& folder) {
  return place.tree == folder.tree &&
         (place.path == folder.path || folder.path.empty() || place.path.starts_with(folder.path + "/"));
}

Whereabouts whereabouts(const Disk& disk, const Person& person, const Hive* hive, const std::string& path) {
  const std::string home = home_of(hive, person);
  const std::string full = with_values(path, home);
  if (full.size() > home.size() && is_same_name(full.substr(0, home.size()), home) &&
      full[home.size()] == '\\')
    return in_home(person, full, std::string_view(full).substr(home.size() + 1));
  const auto place = disk.find(full);
  if (place && !is_anothers(person, *place)) return {.place = place, .cause = {}, .path = full};
  // Nothing tells what Windows called the folder when there is no more than a copy of it.
  if (const auto below = person.home.path.empty() ? below_somebodys_home(full) : std::nullopt) {
    const Whereabouts here = in_home(person, full, *below);
    if (here.place || here.cause) return here;
  }
  return {.place = {}, .cause = Cause::elsewhere, .path = full};
}

Whereabouts shell_folder(const Disk& disk, const Person& person, const Hive* hive, std::string_view name) {
  const auto text = hive == nullptr ? std::nullopt : hive->text(shell_folders, name);
  return text ? as_folder(person, whereabouts(disk, person, hive, *text)) : Whereabouts{};
}

KnownFolders known_folders(const Disk& disk, const Person& person, const Hive* hive) {
  KnownFolders folders;
  for (const Usual& usual : usual_folders) {
    const Whereabouts answer = shell_folder(disk, person, hive, usual.value);
    if (answer.cause &&
        std::ranges::find(folders.missing, answer.path, &MissingFolder::path) == folders.missing.end())
      folders.missing.push_back({.kind = usual.kind, .cause = *answer.cause, .path = answer.path});
    // What stayed at the usual place is the person's as well.
    for (const Whereabouts& found : {answer, by_habit(person, usual.place)})
      if (found.place)
        add(folders.here, {.kind = usual.kind, .name = std::string(usual.name), .place = *found.place});
  }
  drop_those_within_others(folders.here);
  for (const std::string_view value : values_of_settings)
    if (const Whereabouts answer = shell_folder(disk, person, hive, value); answer.place)
      folders.settings.push_back(*answer.place);
  for (const std::string_view place : usual_settings)
    if (const Whereabouts answer = by_habit(person, place); answer.place)
      folders.settings.push_back(*answer.place);
  // A registry that calls the home itself, or a person's folder, a program's takes nothing away.
  std::erase_if(folders.settings, [&](const Place& settings) {
    const auto touches = [&](const KnownFolder& known) {
      const bool holds_home = lies_in(person.home, known.place);
      return lies_in(known.place, settings) || (lies_in(settings, known.place) && !holds_home);
    };
    return lies_in(person.home, settings) || std::ranges::any_of(folders.here, touches);
  });
  return folders;
}

}  // namespace pack
