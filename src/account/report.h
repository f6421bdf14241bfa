// The account as tables, and as plain text for a terminal. All of it is written as it is made: an account may
// name hundreds of thousands of things.
#ifndef BRINDLE_ACCOUNT_REPORT_H
#define BRINDLE_ACCOUNT_REPORT_H

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "account/account.h"
#include "account/model/texts.h"

namespace account {

/// "person kind found arrived adapted no-place missing", one line a person and kind; tab-separated, with
/// that head.
void write_table_of_counts(std::ostream& out, const std::vector<PersonAccount>& people);

/// "person kind name cause", one line a thing that has not arrived; the same way. A backslash, tab or line
/// end in a name is written \\, \t, \n or \r.
void write_table_of_missing(std::ostream& out, const std::vector<PersonAccount>& people, const Texts& texts);

/// For the terminal: for each person a line a kind that the archive has, then what has not arrived, at most
/// 15 names a kind, what was replaced, at most 15 names a person, the verdict, and how to go back.
void write_plain_text(std::ostream& out, const Account& account, const Texts& texts);

}  // namespace account

#endif
