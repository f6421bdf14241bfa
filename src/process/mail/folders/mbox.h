// Splits an mbox file into one file a message, in one pass over large blocks: memory does not grow with
// the mailbox or its lines, and every byte that is not dropped on purpose is kept, NUL bytes included.
#ifndef BRINDLE_PROCESS_MAIL_FOLDERS_MBOX_H
#define BRINDLE_PROCESS_MAIL_FOLDERS_MBOX_H

#include <string>
#include <string_view>
#include <vector>

#include "shell/files.h"

/// Takes the pieces of one mbox file and writes each message to its own file, PREFIX2, PREFIX3, ...
/// A message whose file cannot be made is skipped.
class MboxSplitter {
 public:
  explicit MboxSplitter(std::string prefix);

  void take(std::string_view piece);
  /// Closes the last message.
  void finish();
  /// The number of the last message: 1 before the first one, which is number 2.
  int count() const { return cnt; }

 private:
  void start_message(std::string_view piece);
  void continue_message(std::string_view piece);
  void write(std::string_view piece);

  std::string prefix_;
  std::vector<char> buffer_;  // of the open message file; outlives it
  File message_;

  int cnt = 1;
  bool iswriteopen = false;
  /// 1 while a base64 header line is dropped.
  int removeencoding = 1;
};

/// Splits the mbox file at `path` into message files PREFIX2, PREFIX3, ... One that cannot be opened is
/// skipped.
void split_mbox(const std::string& path, const std::string& prefix);

#endif
