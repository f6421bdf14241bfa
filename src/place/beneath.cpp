#include "place/beneath.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <cerrno>
#include <filesystem>

namespace place {

namespace {

std::string above(const std::string& path) { return std::filesystem::path(path).parent_path(); }

// The folder is ours now or was there before; a link in its place is neither.
bool make_one(int top, const std::string& path, mode_t mode, uid_t uid, gid_t gid) {
  const Spot spot = spot_beneath(top, path);
  if (!spot) return false;
  if (mkdirat(spot.folder.number(), spot.name.c_str(), mode) != 0) return errno == EEXIST;
  // Without the right to give it away it stays ours.
  static_cast<void>(fchownat(spot.folder.number(), spot.name.c_str(), uid, gid, AT_SYMLINK_NOFOLLOW));
  return true;
}

}  // namespace

Descriptor open_top(const std::string& folder) {
  return Descriptor(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

Descriptor open_beneath(int top, const std::string& path, int flags, mode_t mode) {
  open_how how{};
  how.flags = static_cast<std::uint64_t>(flags) | O_CLOEXEC;
  if ((flags & (O_CREAT | O_TMPFILE)) != 0) how.mode = mode;
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
  const std::string named = path.empty() ? "." : path;
  return Descriptor(static_cast<int>(syscall(SYS_openat2, top, named.c_str(), &how, sizeof how)));
}

Spot spot_beneath(int top, const std::string& path) {
  const std::filesystem::path whole(path);
  if (!whole.has_filename() || whole.filename() == "." || whole.filename() == "..") {
    errno = EINVAL;
    return {Descriptor(), ""};
  }
  return {open_beneath(top, above(path), O_RDONLY | O_DIRECTORY), whole.filename()};
}

bool make_folder_beneath(int top, const std::string& path, mode_t mode, uid_t uid, gid_t gid) {
  if (open_beneath(top, path, O_PATH | O_DIRECTORY)) return true;
  if (errno != ENOENT) return false;
  if (!above(path).empty() && !make_folder_beneath(top, above(path), mode, uid, gid)) return false;
  return make_one(top, path, mode, uid, gid) && open_beneath(top, path, O_PATH | O_DIRECTORY);
}

}  // namespace place
