#include "account/readers/mail_account.h"

namespace account {

const char* words(Field field) {
  static constexpr const char* all[] = {
#define FIELD(name, words) words,
#include "account/readers/mail_account.def"
#undef FIELD
  };
  return all[static_cast<std::size_t>(field)];
}

const std::string& value(const MailAccount& account, Field field) {
  static const std::string none;
  const auto found = account.find(field);
  return found == account.end() ? none : found->second;
}

}  // namespace account
