// Settings and mail accounts of the Mozilla suite.
#ifndef BRINDLE_ACCOUNT_READERS_MOZILLA_PREFS_H
#define BRINDLE_ACCOUNT_READERS_MOZILLA_PREFS_H

#include <map>
#include <string>
#include <vector>

#include "account/readers/mail_account.h"

namespace account {

/// The lines `user_pref("KEY", VALUE);` of the file at `path`: texts without their quotes and escapes,
/// numbers and flags as they are. The last line of a key holds; what follows a line's ";" does not count, and
/// lines that are none of this are passed over.
std::map<std::string, std::string> read_mozilla_prefs(const std::string& path);

/// The accounts that the settings file at `path` lists, the one of the local folders among them. An account
/// that has two different names, of itself and of its server, has none.
std::vector<MailAccount> read_mozilla_accounts(const std::string& path);

}  // namespace account

#endif
