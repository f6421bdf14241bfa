// Mail accounts of Evolution, which keeps each as one XML text.
#ifndef BRINDLE_ACCOUNT_READERS_EVOLUTION_ACCOUNT_H
#define BRINDLE_ACCOUNT_READERS_EVOLUTION_ACCOUNT_H

#include <optional>
#include <string>

#include "account/readers/mail_account.h"

namespace account {

/// The account of one XML text, its addresses read as Evolution reads them: the first "@" ends the login, a
/// ":" or ";auth=" before it as well, "%20" is a blank. No value when Evolution refuses the text: it is not
/// well-formed, or has elements that accounts do not have.
std::optional<MailAccount> read_evolution_account(const std::string& xml);

}  // namespace account

#endif
