// The settings of the GroupWise client and its mailbox.
#ifndef BRINDLE_ACCOUNT_KINDS_GROUPWISE_H
#define BRINDLE_ACCOUNT_KINDS_GROUPWISE_H

#include "account/kinds/case.h"

namespace account {

/// The settings have arrived with their line of the mailbox's place pointing into the home, which counts as
/// changed, and the mailbox, a file or a folder, as it is.
void compare_groupwise(const Case& of, Tally& tally);

}  // namespace account

#endif
