// Evolution 3, which takes over what Evolution 2 has in a home and keeps it in other places.
#ifndef BRINDLE_ACCOUNT_KINDS_EVOLUTION_3_H
#define BRINDLE_ACCOUNT_KINDS_EVOLUTION_3_H

#include <optional>

#include "account/kinds/case.h"
#include "account/kinds/entries.h"

namespace account {

/// Why a place of Evolution 2 may be gone from the person's home: Evolution 3 has been started there and has
/// the kind below a folder of its own. No value when it has not, and for kinds that are not Evolution's.
std::optional<Reason> taken_over(const Case& of, Kind kind);

}  // namespace account

#endif
