#include "shell/replace.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <string_view>

#include "keep/keep.h"
#include "place/stage.h"
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

using Make = std::function<bool(const TakePart&)>;

bool take_place_with(NewFile& made, const Make& make) {
  const bool is_written = make([&](std::string_view part) { return write_at_end(made.number(), part); });
  return is_written && reaches_disk(made.number()) && made.take_place();
}

bool make_file(const place::Spot& spot, const Make& make) {
  NewFile made(spot, 0666);
  return made && take_place_with(made, make);
}

// No value when a new file cannot take the old one's place as it should.
std::optional<bool> exchange(const place::Spot& spot, const struct stat& old, const Make& make) {
  NewFile made(spot, 0600);
  if (!made || !give_likeness(made.number(), old)) return std::nullopt;
  return take_place_with(made, make);
}

std::optional<std::string> whole_text(const Make& make) {
  std::string text;
  const bool is_whole = make([&](std::string_view part) {
    text += part;
    return true;
  });
  return is_whole ? std::optional(text) : std::nullopt;
}

bool replace_regular(const place::Spot& spot, const Descriptor& file, const struct stat& old,
                     const Make& make) {
  if (old.st_nlink == 1 && !has_attributes(file.number()))
    if (const std::optional<bool> exchanged = exchange(spot, old, make)) return *exchanged;
  const std::optional<std::string> text = whole_text(make);
  return text && overwrite(file.number(), old.st_size, *text);
}

bool send_to(Descriptor& device, const Make& make) {
  const std::optional<std::string> text = whole_text(make);
  return text && write_at_end(device.number(), *text) && device.close();
}

std::string beside(const std::string& path, const char* name) {
  return std::filesystem::path(path).parent_path() / name;
}

}  // namespace

bool replace_file(const std::string& path, const std::string& text) {
  return replace_file_by(path, [&](const TakePart& take) { return take(text); });
}

bool replace_file_by(const std::string& path, const std::function<bool(const TakePart&)>& make) {
  if (place::end_of_links(path).empty() || !kept_before_writing(path)) return false;
  const place::Spot spot = keep::spot_at_end(path);
  if (!is_open(spot)) return false;
  Descriptor file(
      openat(spot.folder.number(), spot.name.c_str(), O_WRONLY | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC));
  if (!file) return errno == ENOENT && make_file(spot, make);
  struct stat old {};
  if (fstat(file.number(), &old) != 0) return false;
  if (!S_ISREG(old.st_mode)) return send_to(file, make);
  return replace_regular(spot, file, old, make);
}

bool append_to_file(const std::string& path, const std::string& text) {
  const std::optional<std::string> before = read_whole(path);
  if (!before && errno != ENOENT) return false;
  return replace_file(path, before.value_or("") + text);
}

KeptFile::KeptFile(const std::string& path)
    : spot_(keep::spot_of(path)), second_name_(make_beside(spot_, [&](const char* name) {
        // Listed, so that one which a killed run has left goes with the rest.
        const int folder = spot_.folder.number();
        return kept_before_change(beside(path, name)) ? linkat(folder, spot_.name.c_str(), folder, name, 0)
                                                      : -1;
      })) {}

KeptFile::~KeptFile() {
  if (second_name_.empty()) return;
  const int folder = spot_.folder.number();
  // A link, not a rename, which would take the place of a new file.
  static_cast<void>(linkat(folder, second_name_.c_str(), folder, spot_.name.c_str(), 0));
  unlinkat(folder, second_name_.c_str(), 0);
}

SetAside::SetAside(const std::string& path) : spot_(keep::spot_of(path)) {
  struct stat there {};
  const int folder = spot_.folder.number();
  if (fstatat(folder, spot_.name.c_str(), &there, AT_SYMLINK_NOFOLLOW) != 0) return;
  // Listed, as above.
  second_name_ = make_beside(spot_, [&](const char* name) {
    return kept_before_change(beside(path, name))
               ? place::rename_to_free(folder, spot_.name.c_str(), folder, name)
               : -1;
  });
}

bool SetAside::put_back() const {
  const int folder = spot_.folder.number();
  return renameat(folder, second_name_.c_str(), folder, spot_.name.c_str()) == 0;
}

SetAside::~SetAside() {
  if (second_name_.empty() || put_back()) return;
  unlinkat(spot_.folder.number(), spot_.name.c_str(), 0);  // a folder does not come back over a file
  static_cast<void>(put_back());
}

void SetAside::give_up() {
  if (second_name_.empty()) return;
  const int folder = spot_.folder.number();
  struct stat old {};
  const Descriptor file(openat(folder, spot_.name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  if (file && fstatat(folder, second_name_.c_str(), &old, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(old.st_mode))
    static_cast<void>(give_likeness(file.number(), old));
  unlinkat(folder, second_name_.c_str(), 0);
  second_name_.clear();
}
