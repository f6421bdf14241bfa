// Mail accounts, by the values that the mail program reads.
#ifndef BRINDLE_ACCOUNT_KINDS_MAIL_ACCOUNTS_H
#define BRINDLE_ACCOUNT_KINDS_MAIL_ACCOUNTS_H

#include "account/kinds/case.h"

namespace account {

/// Counts settings files: one has arrived when the mail program has an account with its values. It has
/// arrived changed when a value of the file has no place in the program's format, or is not text as it was
/// meant.
void compare_mail_accounts(const Case& of, Tally& tally);

}  // namespace account

#endif
