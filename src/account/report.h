// The account as tables and as plain text.
#ifndef BRINDLE_ACCOUNT_REPORT_H
#define BRINDLE_ACCOUNT_REPORT_H

#include <string>
#include <vector>

#include "account/account.h"
#include "account/model/texts.h"

namespace account {

/// "person kind found unchanged changed elsewhere missing", one line a person and kind; tab-separated, with
/// that head.
std::string table_of_counts(const std::vector<PersonAccount>& people);

/// "person kind name cause", one line a thing that has not arrived. A backslash, tab or line end in a name is
/// written
/// \\, \t, \n.
std::string table_of_missing(const std::vector<PersonAccount>& people, const Texts& texts);

/// For the terminal: a line a kind that the archive has, then what is missing.
std::string plain_text(const std::vector<PersonAccount>& people, const Texts& texts);

}  // namespace account

#endif
