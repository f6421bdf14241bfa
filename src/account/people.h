// Who is in an archive.
#ifndef BRINDLE_ACCOUNT_PEOPLE_H
#define BRINDLE_ACCOUNT_PEOPLE_H

#include <vector>

#include "account/archive/archive.h"
#include "account/kinds/case.h"
#include "account/options.h"

namespace account {

/// True when the archive says that it is for several people.
bool is_for_several(const Archive& archive);

/// The person who ran the wizard, and each profile when the archive is for several, by name.
std::vector<Person> people_in(const Archive& archive, const Options& options);

}  // namespace account

#endif
