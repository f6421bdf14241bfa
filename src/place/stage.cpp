#include "place/stage.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <optional>
#include <vector>

#include "place/entry.h"
#include "place/opened.h"

namespace place {

namespace {

constexpr int most_stages = 64;

// For file systems that cannot refuse a taken name by themselves. A second name and an empty folder are never
// put over anything; where there are no second names a look has to do.
int rename_by_steps(int from_folder, const char* from, int to_folder, const char* to) {
  struct stat what {};
  if (fstatat(from_folder, from, &what, AT_SYMLINK_NOFOLLOW) != 0) return -1;
  if (S_ISDIR(what.st_mode)) {
    if (mkdirat(to_folder, to, 0700) != 0) return -1;
    if (renameat(from_folder, from, to_folder, to) == 0) return 0;
    const int error = errno;
    static_cast<void>(unlinkat(to_folder, to, AT_REMOVEDIR));
    errno = error;
    return -1;
  }
  if (linkat(from_folder, from, to_folder, to, 0) == 0) return unlinkat(from_folder, from, 0);
  if (errno != EPERM && errno != ENOTSUP) return -1;
  struct stat taken {};
  if (fstatat(to_folder, to, &taken, AT_SYMLINK_NOFOLLOW) != 0)
    return renameat(from_folder, from, to_folder, to);
  errno = EEXIST;
  return -1;
}

int rename_as_it_is(int from_folder, const char* from, int to_folder, const char* to) {
  if (renameat2(from_folder, from, to_folder, to, RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return -1;
  return rename_by_steps(from_folder, from, to_folder, to);
}

// Another run may have used and removed it before we had the lock.
bool is_there(int folder) {
  struct stat what {};
  return fstat(folder, &what) == 0 && what.st_nlink > 0;
}

}  // namespace

// The name ".." of a folder changes with its place, so its owner needs the right to write into it.
int rename_to_free(int from_folder, const char* from, int to_folder, const char* to) {
  if (rename_as_it_is(from_folder, from, to_folder, to) == 0) return 0;
  if (errno != EACCES) return -1;
  const Descriptor folder(openat(from_folder, from, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  struct stat what {};
  const bool is_closed = folder && fstat(folder.number(), &what) == 0 && (what.st_mode & S_IWUSR) == 0;
  const std::string path = path_of_open(folder.number());
  if (!is_closed || chmod(path.c_str(), (what.st_mode & 07777) | S_IWUSR) != 0) {
    errno = EACCES;
    return -1;
  }
  const int result = rename_as_it_is(from_folder, from, to_folder, to);
  const int error = errno;
  static_cast<void>(chmod(path.c_str(), what.st_mode & 07777));
  errno = error;
  return result;
}

Stage::Stage(const Spot& spot) : spot_(spot) {
  const std::string name = ".brindle_copy";
  if (take(name)) return;
  for (int number = 2; errno == EEXIST && number <= most_stages; ++number)
    if (take(name + "-" + std::to_string(number))) return;
  if (errno == EEXIST) errno = EBUSY;
}

// EEXIST when the name is somebody's.
bool Stage::take(const std::string& name) {
  const int above = spot_.folder.number();
  const bool is_new = mkdirat(above, name.c_str(), 0700) == 0;
  if (!is_new && errno != EEXIST) return false;
  folder_ = open_folder_in(above, name.c_str());
  const bool is_locked = folder_ && flock(folder(), LOCK_EX | LOCK_NB) == 0 && is_there(folder());
  if (is_locked && (is_new ? become_owner() : is_left_of_ours()) && clear()) {
    // Nothing that is made here gets the rights that the folder above gives to all that is new in it.
    static_cast<void>(fremovexattr(folder(), "system.posix_acl_default"));
    name_ = name;
    return true;
  }
  folder_ = Descriptor();
  errno = EEXIST;
  return false;
}

// Who owns the folder above can put another one in the place of ours; an empty one does as well once it is
// ours. On disks that know no owners (EPERM) nothing is anybody's.
bool Stage::become_owner() const {
  const std::optional<std::vector<std::string>> names = names_in(folder());
  if (!names || !names->empty()) return false;
  if (fchown(folder(), geteuid(), static_cast<gid_t>(-1)) != 0) return errno == EPERM;
  return fchmod(folder(), 0700) == 0;
}

// A killed run has left it.
bool Stage::is_left_of_ours() const {
  struct stat found {};
  return fstat(folder(), &found) == 0 && found.st_uid == geteuid() && (found.st_mode & 0077) == 0;
}

// Who finds a way to give us another folder of ours under that name must not empty it.
bool Stage::clear() const {
  const std::optional<std::vector<std::string>> names = names_in(folder());
  const auto is_known = [](const std::string& name) { return name == made || name.starts_with("name-"); };
  if (!names || !std::ranges::all_of(*names, is_known)) return false;
  return std::ranges::all_of(*names, [&](const std::string& name) {
    return remove_entry({Descriptor(fcntl(folder(), F_DUPFD_CLOEXEC, 0)), name});
  });
}

Stage::~Stage() {
  if (!folder_) return;
  const int error = errno;
  const int above = spot_.folder.number();
  if (unlinkat(above, name_.c_str(), AT_REMOVEDIR) != 0 && clear())
    static_cast<void>(unlinkat(above, name_.c_str(), AT_REMOVEDIR));
  errno = error;
}

bool Stage::put() { return rename_to_free(folder(), made, spot_.folder.number(), spot_.name.c_str()) == 0; }

}  // namespace place
