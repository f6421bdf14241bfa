// Mailboxes: mbox files, and the maildir folders of KMail, as digests of their messages.
#ifndef BRINDLE_ACCOUNT_READERS_MBOX_H
#define BRINDLE_ACCOUNT_READERS_MBOX_H

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "account/readers/digest.h"
#include "account/readers/text.h"

namespace account {

/// A message of an mbox file, from its "From " line to the next one. Each line that begins so begins a
/// message, as for all readers that the folders were made for.
struct MboxMessage {
  bool begins_with_from;  ///< false for what stands before the first message, if it is more than blanks
  Digest digest;          ///< of all its bytes
  std::optional<Digest> for_kmail;  ///< without the lines that KMail's folder does not get; none: it gets all
  std::string_view head;  ///< what follows the "From " line, to the first empty line, 32 KiB at most
};

/// Reads an mbox file of any size, message by message. Memory: one block and one head.
void read_mbox(Source source, const std::function<void(const MboxMessage&)>& take);

/// The digests of the messages in the mbox file at `path`; of one that cannot be read, none.
DigestPool messages_of_mbox(const std::string& path);

/// The digests of the message files in "cur" and "new" of the maildir `path`, whole, in their current form.
DigestPool messages_of_maildir(const std::string& path);

}  // namespace account

#endif
