// Where browsers keep their profiles.
#ifndef BRINDLE_PACK_BROWSERS_PLACES_H
#define BRINDLE_PACK_BROWSERS_PLACES_H

#include <string>
#include <vector>

#include "pack/people/people.h"

namespace pack {

/// A profile of a browser.
struct Profile {
  std::string browser;  ///< "Firefox"; with the profile's name behind it where there are several
  std::string folder;   ///< a path of the person's volume
};

/// All profiles of Firefox, and of the browsers that are made of Chromium, in the order of their names.
std::vector<Profile> firefox_profiles(const Person& person);
std::vector<Profile> chromium_profiles(const Person& person);

/// A file of a profile.
std::optional<Place> file_of(const Person& person, const Profile& profile, std::string_view name);

}  // namespace pack

#endif
