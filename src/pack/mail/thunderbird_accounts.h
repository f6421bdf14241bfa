// The accounts in a profile of Thunderbird.
#ifndef BRINDLE_PACK_MAIL_THUNDERBIRD_ACCOUNTS_H
#define BRINDLE_PACK_MAIL_THUNDERBIRD_ACCOUNTS_H

#include <string>

#include "pack/mail/mail_account.h"
#include "pack/mail/prefs.h"

namespace pack {

/// Adds those that fetch mail (POP3, IMAP). Others, and servers for sending that no account uses, are told,
/// with `from` in front.
void add_thunderbird_accounts(const Prefs& prefs, const std::string& from, Packing& packing,
                              MailAccounts& accounts);

}  // namespace pack

#endif
