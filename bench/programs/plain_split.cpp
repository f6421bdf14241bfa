// plain_split MAILBOX FOLDER: the splitter's rules in the plainest code there is, a line at a time. Makes the
// same files of a mailbox without NUL bytes.
#include <sys/stat.h>

#include <cstdio>
#include <cstring>

namespace {

bool drops_encoding_after(const char* separator) {
  const char* text = separator + 5;
  return strcspn(text, "\n") < 5 || text[4] == '-';
}

std::FILE* open_message(const char* folder, int number) {
  char path[4096];
  std::snprintf(path, sizeof path, "%s/Inbox%d", folder, number);
  return std::fopen(path, "w");
}

int split(std::FILE* mailbox, const char* folder) {
  char line[1024];
  std::FILE* message = nullptr;
  int number = 1;
  bool drops_encoding = true;
  while (std::fgets(line, sizeof line, mailbox) != nullptr) {
    if (std::strncmp(line, "From ", 5) == 0) {
      if (message != nullptr) std::fclose(message);
      std::printf("new email.");
      message = open_message(folder, ++number);
      if (message == nullptr) return 1;
      drops_encoding = drops_encoding_after(line);
      std::fputs(line, message);
      continue;
    }
    if (std::strstr(line, "--") != nullptr) drops_encoding = false;
    if (std::strstr(line, "boundary=\"") != nullptr) drops_encoding = true;
    if (drops_encoding && std::strstr(line, "Content-Transfer-Encoding: base64") != nullptr) continue;
    if (message != nullptr) std::fputs(line, message);
  }
  return message != nullptr && std::fclose(message) != 0 ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::FILE* const mailbox = argc == 3 ? std::fopen(argv[1], "r") : nullptr;
  if (mailbox == nullptr) return 2;
  mkdir(argv[2], 0777);
  const int status = split(mailbox, argv[2]);
  std::fclose(mailbox);
  return status;
}
