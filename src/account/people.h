// Who is in an archive.
#ifndef BRINDLE_ACCOUNT_PEOPLE_H
#define BRINDLE_ACCOUNT_PEOPLE_H

#include <string_view>
#include <vector>

#include "account/archive/archive.h"
#include "account/kinds/case.h"
#include "account/options.h"

namespace account {

/// True when the archive says that it is for several people.
bool is_for_several(const Archive& archive);

/// True for a login name that the wizard makes an account for: it looks at the first character.
bool is_login_name(std::string_view login);

/// The person who ran the wizard, and each profile that the archive holds, by name: also when it says that it
/// is for one person, so that what lies in them is named.
std::vector<Person> people_in(const Archive& archive, const Options& options);

}  // namespace account

#endif
