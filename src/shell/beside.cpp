#include "shell/beside.h"

#include <fcntl.h>

#include <cerrno>
#include <cstdio>

namespace {

constexpr int most_names = 1000;

}  // namespace

std::string make_beside(const place::Spot& spot, const std::function<int(const char* name)>& make) {
  if (!is_open(spot)) return {};
  const std::string start = ".brindle-" + std::to_string(getpid()) + "-";
  for (int number = 0; number < most_names; ++number) {
    std::string name = start + std::to_string(number);
    if (make(name.c_str()) >= 0) return name;
    if (errno != EEXIST) return {};
  }
  return {};
}

// In this order: a change of owner takes mode bits away.
bool give_likeness(int file, const struct stat& other) {
  return fchown(file, other.st_uid, other.st_gid) == 0 && fchmod(file, other.st_mode & 07777) == 0;
}

NewFile::NewFile(const place::Spot& spot, mode_t mode)
    : spot_(spot),
      name_(make_beside(spot,
                        [&](const char* name) {
                          return number_ = openat(spot.folder.number(), name,
                                                  O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
                        })),
      file_(number_) {}

NewFile::~NewFile() {
  const int error = errno;
  if (!name_.empty()) unlinkat(spot_.folder.number(), name_.c_str(), 0);
  errno = error;
}

bool NewFile::take_place() {
  const int folder = spot_.folder.number();
  if (!file_.close() || renameat(folder, name_.c_str(), folder, spot_.name.c_str()) != 0) return false;
  name_.clear();
  return true;
}
