// Splits an mbox file into one file a message, in one pass over large blocks: memory does not grow with the
// mailbox, its messages or its lines, and every byte that is not dropped on purpose is kept, NUL bytes
// included.
#ifndef BRINDLE_PROCESS_MAIL_FOLDERS_MBOX_H
#define BRINDLE_PROCESS_MAIL_FOLDERS_MBOX_H

#include <string>

#include "process/mail/folders/messages.h"

/// Splits the mbox file at `path` into message files PREFIX2, PREFIX3, ..., but for the messages that
/// `earlier`, made for the same prefix, has. False when the mailbox cannot be opened or read to its end, or a
/// message cannot be written to its last byte; standard error then tells how many, and the others are there.
/// A folder is an empty mailbox.
[[nodiscard]] bool split_mbox(const std::string& path, const std::string& prefix, EarlierMessages& earlier);

#endif
