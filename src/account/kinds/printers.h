// Printers: the print queues they became, and a profile's own default printer.
#ifndef BRINDLE_ACCOUNT_KINDS_PRINTERS_H
#define BRINDLE_ACCOUNT_KINDS_PRINTERS_H

#include "account/kinds/case.h"

namespace account {

/// One description file is one printer. For the person who ran the wizard it has arrived when its queue
/// exists with a driver, leads where the Windows port led, has the settings of the description, and is the
/// default when it was; it counts as changed when a setting became another one, or has none in its driver.
/// Two printers of one queue are one printer afterwards: the other is missing.
///
/// A profile's printers are those of the machine: each has arrived when there is a queue of its name and one
/// of them is the profile's default.
void compare_printers(const Case& of, Tally& tally);

}  // namespace account

#endif
