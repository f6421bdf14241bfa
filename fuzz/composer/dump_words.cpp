// Stands under the name of every program while the composer is tried: writes down the words it was started
// with and the files its input and output are. As su it then hands its last word to the shell that is tried,
// as su does.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

std::string file_of(int descriptor) {
  char path[8192];
  const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
  const ssize_t size = readlink(link.c_str(), path, sizeof path);
  return std::string(path, size < 0 ? 0 : static_cast<std::size_t>(size));
}

void append(const char* path, const std::string& record) {
  const int file = open(path, O_WRONLY | O_APPEND);
  const ssize_t written =
      write(file, record.data(), record.size());  // all at once: others write there as well
  if (written != static_cast<ssize_t>(record.size())) std::abort();
  close(file);
}

}  // namespace

int main(int argc, char** argv) {
  std::string record = std::to_string(argc) + '\0';
  for (int i = 0; i < argc; ++i) record.append(argv[i]).append(1, '\0');
  record.append(file_of(0)).append(1, '\0').append(file_of(1)).append(1, '\0');
  append(std::getenv("WORDS"), record);
  if (std::strcmp(argv[0], "su") != 0) return 0;
  execl(std::getenv("INNER_SHELL"), "sh", "-c", argv[argc - 1] + std::strlen("-c"), nullptr);
  return 127;
}
