#include "pack/mail/thunderbird_profiles.h"

#include <array>

namespace pack {

namespace {

// Since Vista and before.
constexpr std::array<std::string_view, 2> places = {"AppData/Roaming/Thunderbird/Profiles",
                                                    "Application Data/Thunderbird/Profiles"};

}  // namespace

std::vector<std::string> thunderbird_profiles(const Person& person) {
  std::vector<std::string> profiles;
  const Tree& tree = *person.home.tree;
  for (const std::string_view place : places) {
    const auto folder = find_folder(tree, person.home.path, place);
    if (!folder) continue;
    for (const Entry& entry : listed(tree, *folder))
      if (entry.what == What::folder) profiles.push_back(joined(*folder, entry.name));
  }
  return profiles;
}

}  // namespace pack
