// The settings files of mail accounts in an archive, read by their rules, odd ones included, and beside that
// as whoever wrote them meant them.
#ifndef BRINDLE_ACCOUNT_KINDS_ACCOUNT_FILE_H
#define BRINDLE_ACCOUNT_KINDS_ACCOUNT_FILE_H

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "account/readers/mail_account.h"

namespace account {

/// Where a program's accounts take the reply address and the organisation from.
enum class SecondKeys {
  unused,  ///< "SMTP Reply To Email Address" and "SMTP Organization Name" alone
  used,    ///< "Reply Email" and "Organization" as well, where those are missing
};

/// How a value is lost on the way from its line.
enum class Loss {
  cut,     ///< the line is longer than its reader takes
  hidden,  ///< a line above it holds its key as well
};

struct ArchivedAccount {
  MailAccount values;            ///< what is moved; the port is "" when the file has none
  std::map<Field, Loss> losses;  ///< of values that are moved otherwise than they were written
  MailAccount left_aside;        ///< reply address and organisation under second keys that are not used
};

/// The account in the settings file with the bytes `text`: carriage returns before line feeds do not count,
/// and a mark at its begin that says Unicode.
ArchivedAccount read_account_file(std::string_view text, SecondKeys second_keys);

/// `text` in UTF-8, read as GB2312, without the bytes that are none.
std::string from_gb2312(std::string_view text);

}  // namespace account

#endif
