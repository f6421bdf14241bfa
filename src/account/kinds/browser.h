// What the browser keeps: bookmarks and cookies.
#ifndef BRINDLE_ACCOUNT_KINDS_BROWSER_H
#define BRINDLE_ACCOUNT_KINDS_BROWSER_H

#include "account/kinds/case.h"

namespace account {

/// A bookmark has arrived when the browser's list has it in the same folder with the same title and address,
/// as often as the archive's.
void compare_bookmarks(const Case& of, Tally& tally);

/// A cookie has arrived, as changed, when the browser has its name and value for its path and for the host
/// with a dot put in front of it.
void compare_cookies(const Case& of, Tally& tally);

}  // namespace account

#endif
