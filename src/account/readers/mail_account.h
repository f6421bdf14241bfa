// A mail account, as values by their meaning, whatever program keeps it.
#ifndef BRINDLE_ACCOUNT_READERS_MAIL_ACCOUNT_H
#define BRINDLE_ACCOUNT_READERS_MAIL_ACCOUNT_H

#include <map>
#include <string>

namespace account {

enum class Field {
#define FIELD(name) name,
#include "account/readers/mail_account.def"
#undef FIELD
};

/// The values that a program's format has a place for.
using MailAccount = std::map<Field, std::string>;

/// The value of `field`; empty when it is not there.
const std::string& value(const MailAccount& account, Field field);

inline const char* flag_text(bool flag) { return flag ? "yes" : "no"; }

}  // namespace account

#endif
