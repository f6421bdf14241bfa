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
#include <optional>
#include <string_view>
#include <utility>

#include "shell/beside.h"
#include "shell/files.h"
#include "shell/kept.h"

namespace {

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
  const auto head = static_cast<std::size_t>(std::min(static_cast<off_t>(text.size()), old_size));
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

bool take_place_with(NewFile& made, std::string_view text) {
  return write_at_end(made.number(), text) && reaches_disk(made.number()) && made.take_place();
}

bool make_file(const std::string& place, std::string_view text) {
  NewFile made(place, 0666);
  return made && take_place_with(made, text);
}

// No value when a new file cannot take the old one's place as it should.
std::optional<bool> exchange(const std::string& place, const struct stat& old, std::string_view text) {
  NewFile made(place, 0600);
  if (!made || !give_likeness(made.number(), old)) return std::nullopt;
  return take_place_with(made, text);
}

bool replace_regular(const std::string& place, const Descriptor& file, const struct stat& old,
                     std::string_view text) {
  if (old.st_nlink == 1 && !has_attributes(file.number()))
    if (const std::optional<bool> exchanged = exchange(place, old, text)) return *exchanged;
  return overwrite(file.number(), old.st_size, text);
}

// Not every file system can refuse a name that is taken by itself.
int move_to_new_name(const char* from, const char* to) {
  if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL) return -1;
  if (access(to, F_OK) != 0) return std::rename(from, to);
  errno = EEXIST;
  return -1;
}

}  // namespace

bool replace_file(const std::string& path, const std::string& text) {
  const std::string place = end_of_links(path);
  if (place.empty() || !kept_before_writing(path)) return false;
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
    : path_(std::move(path)), second_name_(make_beside(path_, [&](const char* name) {
        // Listed, so that one which a killed run has left goes with the rest.
        return kept_before_change(name) ? link(path_.c_str(), name) : -1;
      })) {}

KeptFile::~KeptFile() {
  if (second_name_.empty()) return;
  // link, not rename, which would take the place of a new file.
  static_cast<void>(link(second_name_.c_str(), path_.c_str()));
  unlink(second_name_.c_str());
}

SetAside::SetAside(std::string path) : path_(std::move(path)) {
  struct stat there {};
  if (lstat(path_.c_str(), &there) != 0) return;
  // Listed, as above.
  second_name_ = make_beside(path_, [&](const char* name) {
    return kept_before_change(name) ? move_to_new_name(path_.c_str(), name) : -1;
  });
}

SetAside::~SetAside() {
  if (second_name_.empty()) return;
  if (std::rename(second_name_.c_str(), path_.c_str()) == 0) return;
  unlink(path_.c_str());  // a folder does not come back over a file
  static_cast<void>(std::rename(second_name_.c_str(), path_.c_str()));
}

void SetAside::give_up() {
  if (second_name_.empty()) return;
  struct stat old {};
  const Descriptor file(open(path_.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  if (file && stat(second_name_.c_str(), &old) == 0) static_cast<void>(give_likeness(file.number(), old));
  unlink(second_name_.c_str());
  second_name_.clear();
}
