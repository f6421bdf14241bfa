// Where Thunderbird keeps its profiles.
#ifndef BRINDLE_PACK_MAIL_THUNDERBIRD_PROFILES_H
#define BRINDLE_PACK_MAIL_THUNDERBIRD_PROFILES_H

#include <vector>

#include "pack/files/mozilla_profiles.h"

namespace pack {

/// The folders of a person's profiles, the default one first. What cannot be looked at is a gap.
std::vector<Place> thunderbird_profiles(const Disk& disk, const Person& person, const Hive* hive, Gaps& gaps);

}  // namespace pack

#endif
