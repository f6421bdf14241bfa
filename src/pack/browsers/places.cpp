#include "pack/browsers/places.h"

#include <array>

namespace pack {

namespace {

// Since Vista and before.
constexpr std::array<std::string_view, 2> roaming = {"AppData/Roaming/", "Application Data/"};
constexpr std::array<std::string_view, 2> local = {"AppData/Local/", "Local Settings/Application Data/"};

struct Browser {
  const char* name;
  const char* folder;  // in which the profiles lie
};
constexpr std::array chromium_browsers{
    Browser{"Chrome", "Google/Chrome/User Data"}, Browser{"Edge", "Microsoft/Edge/User Data"},
    Browser{"Brave", "BraveSoftware/Brave-Browser/User Data"}, Browser{"Vivaldi", "Vivaldi/User Data"},
    Browser{"Chromium", "Chromium/User Data"}};

std::vector<Entry> folders_in(const Tree& tree, const std::string& folder) {
  std::vector<Entry> entries = listed(tree, folder);
  std::erase_if(entries, [](const Entry& entry) { return entry.what != What::folder; });
  return entries;
}

// Those folders that hold one of the files a profile has.
void add_profiles(const Person& person, const std::string& browser, const std::string& folder,
                  std::initializer_list<std::string_view> signs, std::vector<Profile>& profiles) {
  const Tree& tree = *person.home.tree;
  std::vector<Profile> found;
  for (const Entry& entry : folders_in(tree, folder)) {
    const std::string path = joined(folder, entry.name);
    for (const std::string_view sign : signs) {
      if (!find(tree, path, sign)) continue;
      found.push_back({.browser = browser + ", " + entry.name, .folder = path});
      break;
    }
  }
  if (found.size() == 1) found.front().browser = browser;
  profiles.insert(profiles.end(), found.begin(), found.end());
}

}  // namespace

std::vector<Profile> firefox_profiles(const Person& person) {
  std::vector<Profile> profiles;
  for (const std::string_view place : roaming)
    if (const auto folder =
            find_folder(*person.home.tree, person.home.path, std::string(place) + "Mozilla/Firefox/Profiles"))
      add_profiles(person, "Firefox", *folder, {"places.sqlite", "cookies.sqlite", "logins.json"}, profiles);
  return profiles;
}

std::vector<Profile> chromium_profiles(const Person& person) {
  std::vector<Profile> profiles;
  for (const Browser& browser : chromium_browsers)
    for (const std::string_view place : local)
      if (const auto folder =
              find_folder(*person.home.tree, person.home.path, std::string(place) + browser.folder))
        add_profiles(person, browser.name, *folder, {"Bookmarks", "Network/Cookies", "Cookies", "Login Data"},
                     profiles);
  return profiles;
}

std::optional<Place> file_of(const Person& person, const Profile& profile, std::string_view name) {
  const auto found = find(*person.home.tree, profile.folder, name);
  if (!found || found->entry.what != What::file) return std::nullopt;
  return Place{.tree = person.home.tree, .path = found->path};
}

}  // namespace pack
