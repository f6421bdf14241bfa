#include "account/readers/mail_account.h"

namespace account {

const std::string& value(const MailAccount& account, Field field) {
  static const std::string none;
  const auto found = account.find(field);
  return found == account.end() ? none : found->second;
}

}  // namespace account
