// Mail folders, message by message.
#ifndef BRINDLE_ACCOUNT_KINDS_MAIL_H
#define BRINDLE_ACCOUNT_KINDS_MAIL_H

#include <optional>
#include <string>

#include "account/kinds/case.h"

namespace account {

/// Counts messages by their content: one has arrived when its own folder has it, two that are alike when the
/// folder has two. What stands before the first message of a mailbox, if anything, counts as a message; an
/// empty mailbox is a thing of its own, "folder NAME".
void compare_mail(const Case& of, Tally& tally);

/// The name that the archive must have as well, but has not, so that the mail folders are looked at.
std::optional<std::string> mail_waits_for(const Case& of);

}  // namespace account

#endif
