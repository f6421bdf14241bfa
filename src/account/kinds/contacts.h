// Contacts.
#ifndef BRINDLE_ACCOUNT_KINDS_CONTACTS_H
#define BRINDLE_ACCOUNT_KINDS_CONTACTS_H

#include "account/kinds/case.h"

namespace account {

void compare_contacts(const Case& of, Tally& tally);

}  // namespace account

#endif
