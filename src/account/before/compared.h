// What the account would say of a kind if no run came between.
#ifndef BRINDLE_ACCOUNT_BEFORE_COMPARED_H
#define BRINDLE_ACCOUNT_BEFORE_COMPARED_H

#include "account/before/before.h"
#include "account/kinds/register.h"
#include "account/model/tally.h"

namespace account {

/// The person's things of a row's kind, compared with what is in their home now.
Tally compared(const Outlook& outlook, const Person& person, const Row& row);

}  // namespace account

#endif
