// Mail accounts of KMail.
#ifndef BRINDLE_ACCOUNT_READERS_KMAILRC_H
#define BRINDLE_ACCOUNT_READERS_KMAILRC_H

#include <map>
#include <string>
#include <vector>

#include "account/readers/mail_account.h"

namespace account {

/// The sections of a KDE settings file with their keys and values. Blanks around a value do not count, a
/// backslash stands before s, t, n, r and itself; a section and a key that come again go on where they were,
/// and the last value holds. Lines that are none of this are passed over.
using KdeSettings = std::map<std::string, std::map<std::string, std::string>>;
KdeSettings read_kde_settings(const std::string& path);

/// The accounts in the settings file at `path`, each with the transport of its number: as many as the section
/// "General" says.
std::vector<MailAccount> read_kmail_accounts(const std::string& path);

}  // namespace account

#endif
