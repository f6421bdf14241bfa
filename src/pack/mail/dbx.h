// Mail folders of Outlook Express (DBX files), which the program undbx unpacks.
#ifndef BRINDLE_PACK_MAIL_DBX_H
#define BRINDLE_PACK_MAIL_DBX_H

#include "pack/mail/mail_folders.h"

namespace pack {

/// True when the program that unpacks them is there.
bool can_unpack_dbx();

/// Hands out the messages of a folder of `size` bytes, in the order in which they lie in it. Of a damaged one
/// those that can be had come, and what was found by searching for it behind the others. Copy and messages
/// lie in a folder of our own until the last one is taken. Throws std::system_error when there can be no such
/// folder, or a message cannot be read again.
void each_message_in_dbx(const Place& file, std::uint64_t size, const TakeMessage& take,
                         const Complain& complain);

}  // namespace pack

#endif
