// Where browsers keep their profiles.
#ifndef BRINDLE_PACK_BROWSERS_PLACES_H
#define BRINDLE_PACK_BROWSERS_PLACES_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "pack/files/program_folders.h"

namespace pack {

/// A profile of a browser.
struct Profile {
  std::string browser;  ///< "Firefox"; with the profile's name behind it where there are several
  Place folder;
};

/// All profiles of Firefox, and of the browsers that are made of Chromium. What cannot be found or looked at
/// is a gap.
std::vector<Profile> firefox_profiles(const Disk& disk, const Person& person, const Hive* hive, Gaps& gaps);
std::vector<Profile> chromium_profiles(const Disk& disk, const Person& person, const Hive* hive, Gaps& gaps);

/// A file of a profile.
std::optional<Place> file_of(const Profile& profile, std::string_view name);

}  // namespace pack

#endif
