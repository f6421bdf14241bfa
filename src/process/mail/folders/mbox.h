// Splits an mbox file into one file a message, in one pass over large blocks: memory does not grow with the
// mailbox, its messages or its lines, and every byte that is not dropped on purpose is kept, NUL bytes
// included.
#ifndef BRINDLE_PROCESS_MAIL_FOLDERS_MBOX_H
#define BRINDLE_PROCESS_MAIL_FOLDERS_MBOX_H

#include <string>
#include <string_view>

#include "process/mail/folders/messages.h"

/// Takes the pieces of one mbox file and hands each message on, with its number: 2 for the first one.
class MboxSplitter {
 public:
  explicit MboxSplitter(MessageFiles& messages) : messages_(messages) {}

  void take(std::string_view piece);
  /// Ends the last message.
  void finish() { messages_.end(); }
  /// The number of the last message: 1 before the first one.
  int count() const { return cnt; }

 private:
  void start_message(std::string_view piece);
  void continue_message(std::string_view piece);

  MessageFiles& messages_;
  int cnt = 1;
  /// 1 while a base64 header line is dropped.
  int removeencoding = 1;
};

/// Splits the mbox file at `path` into message files PREFIX2, PREFIX3, ..., but for the messages that
/// `earlier`, made for the same prefix, has. False when the mailbox cannot be opened or read to its end, or a
/// message cannot be written to its last byte; standard error then tells how many, and the others are there.
/// A folder is an empty mailbox.
[[nodiscard]] bool split_mbox(const std::string& path, const std::string& prefix, EarlierMessages& earlier);

#endif
