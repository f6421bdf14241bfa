#include "pack/browsers/places.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <map>
#include <nlohmann/json.hpp>

#include "pack/disk/stage.h"
#include "pack/files/mozilla_profiles.h"

namespace pack {

namespace {

struct Browser {
  const char* name;
  const char* folder;  // in which the profiles lie
  Settings settings = Settings::local;
  bool is_a_profile = false;  // that folder itself
};
constexpr std::array chromium_browsers{
    Browser{"Chrome", "Google/Chrome/User Data"}, Browser{"Edge", "Microsoft/Edge/User Data"},
    Browser{"Brave", "BraveSoftware/Brave-Browser/User Data"}, Browser{"Vivaldi", "Vivaldi/User Data"},
    Browser{"Chromium", "Chromium/User Data"},
    // Its only profile was the folder, until there were profiles in it as elsewhere.
    Browser{"Opera", "Opera Software/Opera Stable", Settings::roaming, true},
    Browser{"Opera GX", "Opera Software/Opera GX Stable", Settings::roaming, true}};

// It holds cookies, and is no profile.
constexpr std::string_view part_of_a_profile = "Network";

constexpr std::size_t longest_state = std::size_t{1} << 24;

// A folder that cannot be listed may have all of them.
bool has_one_of(const Place& folder, std::initializer_list<std::string_view> signs, Gaps& gaps) {
  listed(folder, gaps);
  return std::ranges::any_of(
      signs, [&](std::string_view sign) { return find(*folder.tree, folder.path, sign).has_value(); });
}

// A browser's only profile needs no name; those of several have theirs behind the browser's.
void add_named(const std::string& browser, std::vector<Profile> found, std::vector<Profile>& profiles) {
  for (Profile& profile : found) {
    profile.browser = found.size() == 1 ? browser : browser + ", " + profile.browser;
    profiles.push_back(std::move(profile));
  }
}

// The names that a person has given to profiles, by their folders.
std::map<std::string, std::string> names_in(const Place& browser) {
  using Json = nlohmann::json;
  std::map<std::string, std::string> names;
  const auto file = find(*browser.tree, browser.path, "Local State");
  const auto text = file ? whole({.tree = browser.tree, .path = file->path}, longest_state) : std::nullopt;
  if (!text) return names;
  const Json state = Json::parse(*text, nullptr, false);
  const Json::json_pointer place("/profile/info_cache");
  if (!state.is_object() || !state.contains(place) || !state[place].is_object()) return names;
  for (const auto& [folder, profile] : state[place].items())
    if (profile.is_object() && profile.contains("name") && profile["name"].is_string())
      names[folder] = profile["name"].get<std::string>();
  return names;
}

}  // namespace

std::vector<Profile> firefox_profiles(const Disk& disk, const Person& person, const Hive* hive, Gaps& gaps) {
  constexpr MozillaProgram firefox{.folder = "Mozilla/Firefox", .package = "Firefox"};
  std::vector<Profile> found;
  for (const auto& [name, folder] : mozilla_profiles(firefox, disk, person, hive, gaps))
    if (has_one_of(folder, {"places.sqlite", "cookies.sqlite", "logins.json"}, gaps))
      found.push_back({.browser = name, .folder = folder});
  std::vector<Profile> profiles;
  add_named("Firefox", std::move(found), profiles);
  return profiles;
}

std::vector<Profile> chromium_profiles(const Disk& disk, const Person& person, const Hive* hive, Gaps& gaps) {
  std::vector<Profile> profiles;
  for (const Browser& browser : chromium_browsers) {
    std::vector<Profile> found;
    for (const Place& folder : program_folders(browser.settings, browser.folder, disk, person, hive, gaps)) {
      const auto names = names_in(folder);
      const auto add = [&](const std::string& own_name, const Place& place) {
        if (!has_one_of(place, {"Bookmarks", "Network/Cookies", "Cookies", "Login Data"}, gaps)) return;
        const auto name = names.find(own_name);
        found.push_back({.browser = name == names.end() ? own_name : name->second, .folder = place});
      };
      if (browser.is_a_profile) add(browser.name, folder);
      for (const Entry& entry : listed(folder, gaps))
        if (entry.what == What::folder && !is_same_name(entry.name, part_of_a_profile))
          add(entry.name, {.tree = folder.tree, .path = joined(folder.path, entry.name)});
    }
    add_named(browser.name, std::move(found), profiles);
  }
  return profiles;
}

std::optional<Place> file_of(const Profile& profile, std::string_view name) {
  const auto found = find(*profile.folder.tree, profile.folder.path, name);
  if (!found || found->entry.what != What::file) return std::nullopt;
  return Place{.tree = profile.folder.tree, .path = found->path};
}

}  // namespace pack
