// Network drives: places of the file manager and links on the desktop.
#ifndef BRINDLE_ACCOUNT_KINDS_DRIVES_H
#define BRINDLE_ACCOUNT_KINDS_DRIVES_H

#include "account/kinds/case.h"

namespace account {

/// A drive has arrived when the file manager's list, which must be well-formed, names it once with its
/// address, and a link of its name on the desktop leads there.
void compare_drives(const Case& of, Tally& tally);

}  // namespace account

#endif
