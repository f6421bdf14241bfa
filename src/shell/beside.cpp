#include "shell/beside.h"

#include <fcntl.h>

#include <cstdio>
#include <filesystem>
#include <system_error>

namespace {

constexpr int most_links = 40;  // as many as the kernel follows
constexpr int most_names = 1000;

}  // namespace

std::string end_of_links(const std::string& path) {
  std::filesystem::path end = path;
  for (int count = 0; count < most_links; ++count) {
    std::error_code no_link;
    const std::filesystem::path next = std::filesystem::read_symlink(end, no_link);
    if (no_link) return end;
    end = end.parent_path() / next;  // an absolute one stands alone
  }
  errno = ELOOP;
  return {};
}

std::string make_beside(const std::string& path, const std::function<int(const char* name)>& make) {
  const std::string start = std::filesystem::path(path).parent_path() / ".brindle-";
  for (int number = 0; number < most_names; ++number) {
    std::string name = start + std::to_string(getpid()) + "-" + std::to_string(number);
    if (make(name.c_str()) >= 0) return name;
    if (errno != EEXIST) return {};
  }
  return {};
}

// In this order: a change of owner takes mode bits away.
bool give_likeness(int file, const struct stat& other) {
  return fchown(file, other.st_uid, other.st_gid) == 0 && fchmod(file, other.st_mode & 07777) == 0;
}

NewFile::NewFile(std::string place, mode_t mode)
    : place_(std::move(place)),
      name_(make_beside(place_,
                        [&](const char* name) {
                          return number_ =
                                     open(name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
                        })),
      file_(number_) {}

NewFile::~NewFile() {
  const int error = errno;
  if (!name_.empty()) unlink(name_.c_str());
  errno = error;
}

bool NewFile::take_place() {
  if (!file_.close() || std::rename(name_.c_str(), place_.c_str()) != 0) return false;
  name_.clear();
  return true;
}
