// A mail account, as values by their meaning, whatever program keeps it.
#ifndef BRINDLE_ACCOUNT_READERS_MAIL_ACCOUNT_H
#define BRINDLE_ACCOUNT_READERS_MAIL_ACCOUNT_H

#include <map>
#include <string>

namespace account {

enum class Field {
  name,          ///< of the account
  display_name,  ///< of the person
  address,
  reply_to,
  organization,
  type,  ///< "pop" or "imap"
  host,
  user,
  port,
  secure,          ///< flags are "yes" or "no"
  keep_on_server,  ///< leave mail on the server
  smtp_host,
  smtp_user,
  smtp_auth,
  smtp_secure,
};

/// The values that a program's format has a place for.
using MailAccount = std::map<Field, std::string>;

inline const char* flag_text(bool flag) { return flag ? "yes" : "no"; }

}  // namespace account

#endif
