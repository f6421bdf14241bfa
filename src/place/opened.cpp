#include "place/opened.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <memory>

namespace place {

namespace {

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

bool is_dots(const char* name) {
  return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

// A fifo that somebody puts in the file's place must not make us wait, nor a terminal become ours.
constexpr int careful = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

// Only the owner may keep the time of access from moving.
int open_quietly(int folder, const char* name) {
  const int file = openat(folder, name, careful | O_NOATIME);
  return file >= 0 || errno != EPERM ? file : openat(folder, name, careful);
}

}  // namespace

Descriptor open_file_in(int folder, const char* name, struct stat& found) {
  Descriptor file(open_quietly(folder, name));
  if (!file || fstat(file.number(), &found) != 0) return Descriptor();
  if (S_ISREG(found.st_mode)) return file;
  errno = EBUSY;
  return Descriptor();
}

Descriptor open_folder_in(int folder, const char* name) {
  return Descriptor(openat(folder, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

std::optional<std::vector<std::string>> names_in(int folder) {
  Descriptor second(fcntl(folder, F_DUPFD_CLOEXEC, 0));
  if (!second) return std::nullopt;
  const std::unique_ptr<DIR, CloseFolder> reader(fdopendir(second.number()));
  if (!reader) return std::nullopt;
  static_cast<void>(second.release());
  rewinddir(reader.get());
  std::vector<std::string> names;
  errno = 0;
  while (const dirent* entry = readdir(reader.get()))
    if (!is_dots(entry->d_name)) names.emplace_back(entry->d_name);
  if (errno != 0) return std::nullopt;
  std::ranges::sort(names);
  return names;
}

std::optional<std::string> target_of_link(int folder, const char* name) {
  std::string target(PATH_MAX, '\0');
  const ssize_t size = readlinkat(folder, name, target.data(), target.size());
  if (size < 0) return std::nullopt;
  target.resize(static_cast<std::size_t>(size));  // no file system has longer ones
  return target;
}

bool is_unchanged(const struct stat& before, const struct stat& after) {
  return before.st_size == after.st_size && before.st_mtim.tv_sec == after.st_mtim.tv_sec &&
         before.st_mtim.tv_nsec == after.st_mtim.tv_nsec;
}

std::string path_of_open(int number) { return "/proc/self/fd/" + std::to_string(number); }

}  // namespace place
