// The mail accounts that a person's mail program has.
#ifndef BRINDLE_ACCOUNT_KINDS_MAIL_PROGRAMS_H
#define BRINDLE_ACCOUNT_KINDS_MAIL_PROGRAMS_H

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "account/kinds/case.h"
#include "account/kinds/entries.h"
#include "account/readers/mail_account.h"

namespace account {

enum class MailFormat { evolution, kmail, mozilla };

struct MailProgram {
  MailFormat format;
  std::span<const Field> fields;           ///< that its format has a place for
  std::vector<MailAccount> accounts = {};  ///< that it reads
  std::vector<std::string> refused = {};   ///< names of those of Evolution's list that it cannot read
  std::vector<MailAccount> behind =
      {};  ///< those that stand behind the first of these, which it never reaches
  std::optional<Reason> unreachable = {};  ///< why it has none at all
  bool is_broken = false;                  ///< Evolution's list as a whole, by what one of its accounts holds
};

/// The mail program of the person on the case's system.
MailProgram mail_program(const Case& of);

/// What a person calls the value, as part of the detail of a cause: "its login".
std::string words(Field field);

/// The first value of `account` with a character that makes the account unreadable where the program keeps
/// it, since values are written as they are: "`&` in its organization". Empty when there is none.
std::string bare_character(const MailProgram& program, const MailAccount& account);

}  // namespace account

#endif
