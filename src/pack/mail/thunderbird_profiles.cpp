#include "pack/mail/thunderbird_profiles.h"

namespace pack {

std::vector<Place> thunderbird_profiles(const Disk& disk, const Person& person, const Hive* hive,
                                        Gaps& gaps) {
  constexpr MozillaProgram thunderbird{.folder = "Thunderbird", .package = "Thunderbird"};
  std::vector<Place> folders;
  for (const MozillaProfile& profile : mozilla_profiles(thunderbird, disk, person, hive, gaps))
    folders.push_back(profile.folder);
  return folders;
}

}  // namespace pack
