// Whether the wizard will find a printer's driver by the name that it had on Windows.
#ifndef BRINDLE_ACCOUNT_BEFORE_DRIVER_SEARCH_H
#define BRINDLE_ACCOUNT_BEFORE_DRIVER_SEARCH_H

#include <set>
#include <string>

#include "account/kinds/case.h"

namespace account {

/// Those of `drivers` that a search on such a system finds: each is looked for whole, then without its last
/// words, three words at least and ten at most. Runs lpinfo or foomatic-ppdfile-bd. Where CUPS recommends no
/// model at all, every name of three words counts as found; where there is no foomatic database, none does.
std::set<std::string> drivers_found(const std::set<std::string>& drivers, System system);

}  // namespace account

#endif
