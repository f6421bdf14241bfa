// Where the mailboxes of an archive lie on each system.
#ifndef BRINDLE_ACCOUNT_KINDS_MAIL_PLACES_H
#define BRINDLE_ACCOUNT_KINDS_MAIL_PLACES_H

#include <string>
#include <string_view>
#include <variant>

#include "account/kinds/case.h"

namespace account {

/// What a mail program keeps its local folders as.
enum class MailStore {
  evolution_1,  ///< NAME/mbox, subfolders in NAME/subfolders
  evolution_2,  ///< mbox files as in the archive
  mozilla,      ///< the same, in the profile's local folders
  kmail,        ///< a maildir NAME, subfolders in .NAME.directory
};

struct MailRoot {
  MailStore store;
  std::string folder;  ///< absolute
};

/// The mail program of the person and where it keeps its folders.
MailRoot mail_root(const Case& of);

/// Where the mailbox `name`, relative to the archive's mail folder, lies below `root`: the mbox file, or the
/// maildir; or why no mail program is given it.
std::variant<std::string, Cause> place_of_mailbox(const MailRoot& root, std::string_view name);

/// The folder as a person reads it: "Inbox.sbd/Work" is "Inbox/Work".
std::string folder_title(std::string_view name);

/// The profile of the Mozilla suite in the person's home, the first one that is listed; empty without one.
std::string mozilla_profile(const Case& of);

}  // namespace account

#endif
