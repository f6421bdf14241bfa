// The account as a page for people: one sheet, for the screen and for paper.
#ifndef BRINDLE_ACCOUNT_PAGE_H
#define BRINDLE_ACCOUNT_PAGE_H

#include <ostream>
#include <string_view>

#include "account/account.h"
#include "account/model/texts.h"

namespace account {

/// Writes it as one file of HTML in UTF-8 that loads nothing and runs nothing. `language`: the wizard's code,
/// such as "de_DE", which the texts are in.
void write_page(std::ostream& out, const Account& account, const Texts& texts, std::string_view language);

/// The code as pages have it: "de-DE"; "en" for one that is no language's, "C.UTF" and the like.
std::string page_language(std::string_view code);

}  // namespace account

#endif
