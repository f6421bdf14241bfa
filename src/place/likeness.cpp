#include "place/likeness.h"

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <string_view>
#include <vector>

#include "place/entry.h"
#include "place/opened.h"

namespace place {

namespace {

// What root alone may give, what the file system does not know, an owner without a number here.
bool is_beyond_us(int error) {
  return error == EPERM || error == EACCES || error == ENOTSUP || error == EINVAL || error == ENOSYS;
}

bool given(int result) { return result == 0 || is_beyond_us(errno); }

mode_t mode_for(mode_t mode, bool without_set_id) {
  return mode & (without_set_id ? mode_t{01777} : mode_t{07777});
}

// A group of ours can be given where the owner cannot.
int give_owner(int folder, const char* name, int flags, uid_t uid, gid_t gid) {
  if (fchownat(folder, name, uid, gid, flags) == 0) return 0;
  const int error = errno;
  static_cast<void>(fchownat(folder, name, static_cast<uid_t>(-1), gid, flags));
  errno = error;
  return -1;
}

bool gives_rights(std::string_view attribute) { return attribute == "security.capability"; }

bool give_attribute(int copy, int original, const char* name, std::vector<char>& value) {
  const ssize_t size = fgetxattr(original, name, value.data(), value.size());
  if (size < 0) return errno == ENODATA || is_beyond_us(errno);
  return given(fsetxattr(copy, name, value.data(), static_cast<std::size_t>(size), 0));
}

bool give_extended(int copy, int original, bool without_set_id) {
  const ssize_t needed = flistxattr(original, nullptr, 0);
  if (needed <= 0) return needed == 0 || is_beyond_us(errno);
  std::vector<char> names(XATTR_LIST_MAX);
  const ssize_t size = flistxattr(original, names.data(), names.size());
  if (size < 0) return false;
  std::vector<char> value(XATTR_SIZE_MAX);
  for (const char* name = names.data(); name < names.data() + size; name += std::strlen(name) + 1) {
    if (without_set_id && gives_rights(name)) continue;
    if (!give_attribute(copy, original, name, value)) return false;
  }
  return true;
}

bool fits(mode_t mode, Type type) {
  switch (type) {
    case Type::file:
      return S_ISREG(mode);
    case Type::folder:
      return S_ISDIR(mode);
    case Type::link:
      return S_ISLNK(mode);
    case Type::other:
      return !S_ISREG(mode) && !S_ISDIR(mode) && !S_ISLNK(mode);
    case Type::nothing:
      break;
  }
  return false;
}

}  // namespace

// The owner first, since the kernel takes set-id bits and capabilities from who gets a new one; the mode
// after the attributes, since it may forbid to write them.
bool give_everything(int copy, int original, const struct stat& like, bool without_set_id) {
  const bool owned = give_owner(copy, "", AT_EMPTY_PATH, like.st_uid, like.st_gid) == 0;
  if (!owned && !is_beyond_us(errno)) return false;
  const bool harmless = without_set_id || !owned;
  const timespec times[] = {like.st_atim, like.st_mtim};
  return give_extended(copy, original, harmless) && given(fchmod(copy, mode_for(like.st_mode, harmless))) &&
         given(futimens(copy, times));
}

bool give_everything_to(int folder, const char* name, const struct stat& like, bool without_set_id) {
  const bool owned = give_owner(folder, name, AT_SYMLINK_NOFOLLOW, like.st_uid, like.st_gid) == 0;
  if (!owned && !is_beyond_us(errno)) return false;
  const mode_t mode = mode_for(like.st_mode, without_set_id || !owned);
  const timespec times[] = {like.st_atim, like.st_mtim};
  return (S_ISLNK(like.st_mode) || given(fchmodat(folder, name, mode, AT_SYMLINK_NOFOLLOW))) &&
         given(utimensat(folder, name, times, AT_SYMLINK_NOFOLLOW));
}

bool give_attributes(const Spot& spot, const Entry& like, bool without_set_id) {
  if (!is_open(spot)) return false;
  const Descriptor there(openat(spot.folder.number(), spot.name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  struct stat what {};
  if (!there || fstat(there.number(), &what) != 0) return false;
  if (!fits(what.st_mode, like.type)) {
    errno = EBUSY;
    return false;
  }
  int error = 0;
  const auto note = [&](int result) { error = result == 0 || error != 0 ? error : errno; };
  note(give_owner(there.number(), "", AT_EMPTY_PATH, like.uid, like.gid));
  const mode_t mode = mode_for(like.mode, without_set_id || error != 0);
  if (!S_ISLNK(what.st_mode)) note(chmod(path_of_open(there.number()).c_str(), mode));
  const timespec times[] = {{0, UTIME_OMIT}, like.modified};
  note(utimensat(there.number(), "", times, AT_EMPTY_PATH));
  errno = error;
  return error == 0;
}

}  // namespace place
