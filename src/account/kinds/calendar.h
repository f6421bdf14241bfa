// Appointments and tasks.
#ifndef BRINDLE_ACCOUNT_KINDS_CALENDAR_H
#define BRINDLE_ACCOUNT_KINDS_CALENDAR_H

#include "account/kinds/case.h"

namespace account {

void compare_calendar(const Case& of, Tally& tally);
void compare_tasks(const Case& of, Tally& tally);

}  // namespace account

#endif
