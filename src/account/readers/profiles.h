// The profiles of a browser of the Mozilla family.
#ifndef BRINDLE_ACCOUNT_READERS_PROFILES_H
#define BRINDLE_ACCOUNT_READERS_PROFILES_H

#include <optional>
#include <string>

namespace account {

/// The folder of the profile that a browser uses which keeps its profiles in `folder`: the default one of its
/// profiles.ini, else the first entry in directory order that is no file of the browser itself. No value when
/// there is none.
std::optional<std::string> browser_profile(const std::string& folder);

}  // namespace account

#endif
