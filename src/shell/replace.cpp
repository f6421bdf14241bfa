#include "shell/replace.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "shell/files.h"

namespace {

/// An open file that closes itself.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    const int error = errno;
    static_cast<void>(close());
    errno = error;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  explicit operator bool() const { return number_ >= 0; }
  int number() const { return number_; }
  bool close() { return number_ < 0 || ::close(std::exchange(number_, -1)) == 0; }

 private:
  int number_;
};

// ---- Names -------------------------------------------------------------------------------------------

constexpr int most_links = 40;  // as many as the kernel follows

// The file that `path` names in the end; it need not exist. Empty, with errno set, for links without an end.
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

constexpr int most_names = 1000;

// Makes something under a hidden name, that nothing has yet, in the folder of `path`: `make` is given the
// name and returns a negative number, with errno set, when it fails. Empty when nothing can be made.
template <typename Make>
std::string make_beside(const std::string& path, Make make) {
  const std::string start = std::filesystem::path(path).parent_path() / ".brindle-";
  for (int number = 0; number < most_names; ++number) {
    std::string name = start + std::to_string(getpid()) + "-" + std::to_string(number);
    if (make(name.c_str()) >= 0) return name;
    if (errno != EEXIST) return {};
  }
  return {};
}

// ---- Writing -----------------------------------------------------------------------------------------

bool write_at_end(int file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(file, text.data(), text.size());
    if (written < 0 && errno != EINTR) return false;
    if (written > 0) text.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

bool write_from(int file, off_t start, std::string_view text) {
  return lseek(file, start, SEEK_SET) == start && write_at_end(file, text);
}

bool reaches_disk(int file) { return fsync(file) == 0; }

// The part beyond the old end goes first: cutting it off again gives the old file back.
bool overwrite(int file, off_t old_size, std::string_view text) {
  const std::size_t head = std::min(text.size(), static_cast<std::size_t>(old_size));
  if (!write_from(file, old_size, text.substr(head)) || !reaches_disk(file)) {
    const int error = errno;
    static_cast<void>(ftruncate(file, old_size));  // cutting off needs no room
    errno = error;
    return false;
  }
  return write_from(file, 0, text.substr(0, head)) && ftruncate(file, static_cast<off_t>(text.size())) == 0 &&
         reaches_disk(file);
}

// ---- Replacing ---------------------------------------------------------------------------------------

bool has_attributes(int file) { return flistxattr(file, nullptr, 0) > 0; }

// In this order: a change of owner takes mode bits away.
bool give_likeness(int file, const struct stat& old) {
  return fchown(file, old.st_uid, old.st_gid) == 0 && fchmod(file, old.st_mode & 07777) == 0;
}

/// The hidden file; gone at the end of its life unless it took its place.
class NewFile {
 public:
  NewFile(std::string place, mode_t mode)
      : place_(std::move(place)),
        name_(make_beside(place_,
                          [&](const char* name) {
                            return number_ =
                                       open(name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
                          })),
        file_(number_) {}
  ~NewFile() {
    const int error = errno;
    if (!name_.empty()) unlink(name_.c_str());
    errno = error;
  }
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  explicit operator bool() const { return static_cast<bool>(file_); }
  int number() const { return file_.number(); }

  bool take_place_with(std::string_view text) {
    if (!write_at_end(number(), text) || !reaches_disk(number()) || !file_.close()) return false;
    if (std::rename(name_.c_str(), place_.c_str()) != 0) return false;
    name_.clear();
    return true;
  }

 private:
  std::string place_;
  int number_ = -1;
  std::string name_;
  Descriptor file_;
};

bool make_file(const std::string& place, std::string_view text) {
  NewFile made(place, 0666);
  return made && made.take_place_with(text);
}

// No value when a new file cannot take the old one's place as it should.
std::optional<bool> exchange(const std::string& place, const struct stat& old, std::string_view text) {
  NewFile made(place, 0600);
  if (!made) return errno == EACCES || errno == EPERM ? std::nullopt : std::optional(false);
  if (!give_likeness(made.number(), old)) return std::nullopt;
  return made.take_place_with(text);
}

bool replace_regular(const std::string& place, const Descriptor& file, const struct stat& old,
                     std::string_view text) {
  if (old.st_nlink == 1 && !has_attributes(file.number()))
    if (const std::optional<bool> exchanged = exchange(place, old, text)) return *exchanged;
  return overwrite(file.number(), old.st_size, text);
}

}  // namespace

bool replace_file(const std::string& path, const std::string& text) {
  const std::string place = end_of_links(path);
  if (place.empty()) return false;
  Descriptor file(open(place.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC));
  if (!file) return errno == ENOENT && make_file(place, text);
  struct stat old {};
  if (fstat(file.number(), &old) != 0) return false;
  if (!S_ISREG(old.st_mode)) return write_at_end(file.number(), text) && file.close();
  return replace_regular(place, file, old, text);
}

bool append_to_file(const std::string& path, const std::string& text) {
  const std::optional<std::string> before = read_whole(path);
  if (!before && errno != ENOENT) return false;
  return replace_file(path, before.value_or("") + text);
}

KeptFile::KeptFile(std::string path)
    : path_(std::move(path)),
      second_name_(make_beside(path_, [&](const char* name) { return link(path_.c_str(), name); })) {}

KeptFile::~KeptFile() {
  if (second_name_.empty()) return;
  // link, not rename, which would take the place of a new file.
  static_cast<void>(link(second_name_.c_str(), path_.c_str()));
  unlink(second_name_.c_str());
}
