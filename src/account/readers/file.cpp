#include "account/readers/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>

namespace account {

std::optional<std::string> read_whole(const std::string& path, std::size_t limit) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file < 0) return std::nullopt;
  struct stat status;
  std::optional<std::string> bytes;
  if (fstat(file, &status) == 0 && S_ISREG(status.st_mode)) {
    const auto size = static_cast<std::uint64_t>(status.st_size);
    bytes.emplace(static_cast<std::size_t>(std::min<std::uint64_t>(limit, size)), '\0');
    std::size_t have = 0;
    while (have < bytes->size()) {
      const ssize_t got = read(file, bytes->data() + have, bytes->size() - have);
      if (got <= 0) break;
      have += static_cast<std::size_t>(got);
    }
    bytes->resize(have);
  }
  close(file);
  return bytes;
}

}  // namespace account
