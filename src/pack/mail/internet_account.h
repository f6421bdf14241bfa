// Mail accounts as Outlook Express, Windows Mail and Windows Live Mail describe them: the same names in the
// registry and in files.
#ifndef BRINDLE_PACK_MAIL_INTERNET_ACCOUNT_H
#define BRINDLE_PACK_MAIL_INTERNET_ACCOUNT_H

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "pack/mail/mail_account.h"

namespace pack {

/// The value of a name ("POP3 Server"): a text, or a number in decimal digits; empty when there is none.
using AccountValue = std::function<std::string(const std::string& name)>;

/// What a description is of.
struct InternetAccount {
  std::optional<MailAccount> account;
  bool is_other_mail = false;  ///< mail or news by another protocol, for which an archive has no place
};

InternetAccount internet_account(const AccountValue& value);

/// That in a file `account{...}.oeaccount`; no value when it is none.
std::optional<InternetAccount> account_in(std::string_view oeaccount);

}  // namespace pack

#endif
