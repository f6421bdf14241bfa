#include "place/beneath.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "place/opened.h"

namespace place {

namespace {

// ---- Step by step, where the kernel cannot take the path at once ----

bool is_link(int folder, const char* name) {
  struct stat what {};
  return fstatat(folder, name, &what, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(what.st_mode);
}

// As openat2 has it: a link is ELOOP, unless the link itself is to be opened.
Descriptor open_step(int folder, const char* name, int flags, mode_t mode) {
  const bool wants_link = (flags & (O_PATH | O_NOFOLLOW)) == (O_PATH | O_NOFOLLOW);
  Descriptor opened(openat(folder, name, flags | O_NOFOLLOW | O_CLOEXEC, mode));
  struct stat what {};
  if (!opened && errno == ENOTDIR && is_link(folder, name)) errno = ELOOP;
  if (!opened || wants_link || (flags & O_PATH) == 0 || fstat(opened.number(), &what) != 0) return opened;
  if (!S_ISLNK(what.st_mode)) return opened;
  errno = ELOOP;
  return Descriptor();
}

std::vector<std::string> parts_of(std::string_view path) {
  std::vector<std::string> parts;
  while (!path.empty()) {
    const std::string_view part = path.substr(0, path.find('/'));
    if (!part.empty() && part != ".") parts.emplace_back(part);
    path.remove_prefix(std::min(path.size(), part.size() + 1));
  }
  return parts;
}

Descriptor open_by_steps(int top, const std::string& path, int flags, mode_t mode) {
  const std::vector<std::string> parts = parts_of(path);
  if (path.starts_with('/') || std::ranges::find(parts, "..") != parts.end()) {
    errno = EXDEV;
    return Descriptor();
  }
  if (parts.empty()) return open_step(top, ".", flags, mode);
  Descriptor folder;
  for (std::size_t part = 0; part + 1 < parts.size(); ++part) {
    folder = open_step(part == 0 ? top : folder.number(), parts[part].c_str(), O_PATH | O_DIRECTORY, 0);
    if (!folder) return folder;
  }
  return open_step(folder ? folder.number() : top, parts.back().c_str(), flags, mode);
}

// Older kernels, guards that do not know the call yet, and paths of more than 4095 bytes.
bool may_go_by_steps(int error) { return error == ENOSYS || error == EPERM || error == ENAMETOOLONG; }

// ---- Folders ----

bool has_zero(const std::string& path) { return path.find('\0') != std::string::npos; }

std::string without_slashes(const std::string& path) {
  return path.substr(0, path.find_last_not_of('/') + 1);
}

std::string above(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "" : without_slashes(path.substr(0, slash));
}

// Who owns the folder above could have put another one of ours in its place, to be given it: that would hold
// something.
bool is_new(int folder) {
  struct stat what {};
  if (fstat(folder, &what) != 0 || what.st_uid != geteuid()) return false;
  const std::optional<std::vector<std::string>> names = names_in(folder);
  return names && names->empty();
}

// The folder is ours now or was there before; a link in its place is neither.
bool make_one(int top, const std::string& path, mode_t mode, uid_t uid, gid_t gid) {
  const Spot spot = spot_beneath(top, path);
  if (!spot) return false;
  if (mkdirat(spot.folder.number(), spot.name.c_str(), 0700) != 0) return errno == EEXIST;
  const Descriptor folder = open_folder_in(spot.folder.number(), spot.name.c_str());
  if (!folder || !is_new(folder.number())) return static_cast<bool>(folder);
  // Without the right to give it away it stays ours.
  static_cast<void>(fchown(folder.number(), uid, gid));
  return fchmod(folder.number(), mode) == 0;
}

}  // namespace

Descriptor open_top(const std::string& folder) {
  return Descriptor(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

std::string end_of_links(const std::string& path) {
  constexpr int most_links = 40;  // as many as the kernel follows
  std::filesystem::path end = path;
  for (int count = 0; count <= most_links; ++count) {
    std::error_code no_link;
    const std::filesystem::path next = std::filesystem::read_symlink(end, no_link);
    if (no_link) return end;
    end = end.parent_path() / next;  // an absolute one stands alone
  }
  errno = ELOOP;
  return {};
}

Descriptor open_beneath(int top, const std::string& path, int flags, mode_t mode) {
  if (has_zero(path)) {
    errno = EINVAL;
    return Descriptor();
  }
  open_how how{};
  how.flags = static_cast<std::uint64_t>(flags) | O_CLOEXEC;
  // O_TMPFILE shares a bit with O_DIRECTORY.
  if ((flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE) how.mode = mode;
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
  const char* named = path.empty() ? "." : path.c_str();
  Descriptor opened(static_cast<int>(syscall(SYS_openat2, top, named, &how, sizeof how)));
  if (opened || !may_go_by_steps(errno)) return opened;
  return open_by_steps(top, path, flags, mode);
}

Spot spot_beneath(int top, const std::string& path) {
  const std::string name = path.substr(path.rfind('/') + 1);
  if (name.empty() || name == "." || name == ".." || has_zero(name)) {
    errno = EINVAL;
    return {Descriptor(), "", EINVAL};
  }
  const bool is_absolute = path.starts_with('/');
  Descriptor folder = open_beneath(top, is_absolute ? "/" : above(path), O_PATH | O_DIRECTORY);
  const int error = folder ? 0 : errno;
  return {std::move(folder), name, error};
}

bool is_open(const Spot& spot) {
  if (spot) return true;
  errno = spot.error;
  return false;
}

bool make_folder_beneath(int top, const std::string& path, mode_t mode, uid_t uid, gid_t gid) {
  if (open_beneath(top, path, O_PATH | O_DIRECTORY)) return true;
  if (errno != ENOENT) return false;
  const std::string folder = without_slashes(path);
  if (!above(folder).empty() && !make_folder_beneath(top, above(folder), mode, uid, gid)) return false;
  return make_one(top, folder, mode, uid, gid) && open_beneath(top, folder, O_PATH | O_DIRECTORY);
}

}  // namespace place
