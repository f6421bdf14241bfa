// floor MAILBOX FOLDER: writes FOLDER/Inbox2, FOLDER/Inbox3, ... straight from memory, a call a message, and
// reports what that took: no splitter can take less. Nothing is dropped; where the messages begin is known
// before.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <string_view>
#include <vector>

#include "programs/took.h"

namespace {

// With every page read already. Empty when that fails.
std::string_view mapped(const char* path) {
  const int file = open(path, O_RDONLY | O_CLOEXEC);
  struct stat found {};
  if (file < 0 || fstat(file, &found) != 0) return {};
  const auto size = static_cast<std::size_t>(found.st_size);
  const void* bytes = mmap(nullptr, size, PROT_READ, MAP_SHARED | MAP_POPULATE, file, 0);
  close(file);
  return bytes == MAP_FAILED ? std::string_view() : std::string_view(static_cast<const char*>(bytes), size);
}

std::vector<std::string_view> messages_in(std::string_view mailbox) {
  std::vector<std::string_view> messages;
  while (!mailbox.empty()) {
    const std::size_t end = std::min(mailbox.find("\nFrom ", 1), mailbox.size() - 1) + 1;
    messages.push_back(mailbox.substr(0, end));
    mailbox.remove_prefix(end);
  }
  return messages;
}

bool write_file(const std::string& path, std::string_view bytes) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  while (file >= 0 && !bytes.empty()) {
    const ssize_t written = write(file, bytes.data(), bytes.size());
    if (written <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return file >= 0 && close(file) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const std::string folder = argv[2];
  mkdir(folder.c_str(), 0777);
  const std::vector<std::string_view> messages = messages_in(mapped(argv[1]));
  const bench::Took took;
  int number = 1;
  for (const std::string_view message : messages) {
    if (!write_file(folder + "/Inbox" + std::to_string(++number), message)) return 1;
  }
  took.report();
  return messages.empty() ? 1 : 0;
}
