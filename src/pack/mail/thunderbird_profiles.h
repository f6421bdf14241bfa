// Where Thunderbird keeps its profiles.
#ifndef BRINDLE_PACK_MAIL_THUNDERBIRD_PROFILES_H
#define BRINDLE_PACK_MAIL_THUNDERBIRD_PROFILES_H

#include <string>
#include <vector>

#include "pack/people/people.h"

namespace pack {

/// The folders of a person's profiles, as paths of the person's volume, in the order of their names.
std::vector<std::string> thunderbird_profiles(const Person& person);

}  // namespace pack

#endif
