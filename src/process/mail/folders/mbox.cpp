#include "process/mail/folders/mbox.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "process/mail/folders/mailbox.h"
#include "shell/files.h"

namespace {

void start_message(MessageFiles& messages, int& cnt) {
  messages.end();
  ++cnt;
  std::printf("new email.");
  messages.begin(cnt);
}

// Raises `cnt` to the number of the last message: the first one is 2. The system error for which the mailbox
// could not be read to its end, or 0.
int split(std::FILE* file, MessageFiles& messages, int& cnt) {
  for (Mailbox mailbox(file);; mailbox.go_on()) {
    for (const Part& part : mailbox.parts()) {
      if (part.begins_message) start_message(messages, cnt);
      messages.write(mailbox.text(part));
    }
    messages.settle();
    if (mailbox.is_last()) return mailbox.error();
  }
}

bool failed(const std::string& path, int error) {
  std::fprintf(stderr, "%s: %s\n", path.c_str(), std::strerror(error));
  return false;
}

bool is_directory(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_directory(path, error);
}

bool reported(const std::string& path, const MessageFiles& messages) {
  if (messages.lost() == 0) return true;
  std::fprintf(stderr, "%s: %d of its messages cannot be written: %s\n", path.c_str(), messages.lost(),
               std::strerror(messages.error()));
  return false;
}

}  // namespace

bool split_mbox(const std::string& path, const std::string& prefix, EarlierMessages& earlier) {
  std::printf("Filepath::%s\n", path.c_str());
  const File mbox = open_file(path, "r");
  if (!mbox) return failed(path, errno);
  std::printf("File Read");
  MessageFiles messages(prefix, earlier);
  int cnt = 1;
  std::printf("Trying to now get each line.::%d\n", cnt);
  const int error = split(mbox.get(), messages, cnt);
  const bool read = error == 0 || is_directory(path) || failed(path, error);
  std::printf("Count::%d\n", cnt);
  messages.end();
  std::printf("end");
  return reported(path, messages) && read;
}
