#include "shell/copy.h"

#include <fcntl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <map>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include "keep/keep.h"
#include "shell/beside.h"
#include "shell/files.h"
#include "shell/kept.h"
#include "shell/replace.h"
#include "shell/run.h"

namespace {

constexpr int cannot_be_started = 126;  // what the shell says of a command
constexpr std::size_t most_at_once = std::size_t{1} << 30;

bool copy_bytes(int from, int to) {
  ssize_t copied = 0;
  while ((copied = sendfile(to, from, nullptr, most_at_once)) > 0) {
  }
  return copied == 0;
}

std::optional<struct stat> look_at(const std::string& path, bool follow) {
  struct stat found {};
  const int result = follow ? stat(path.c_str(), &found) : lstat(path.c_str(), &found);
  return result == 0 ? std::optional(found) : std::nullopt;
}

// An owner that we may not give stays ours, and then runs nothing under our name.
void give_owner_and_mode(int file, const struct stat& other) {
  if (!give_likeness(file, other)) static_cast<void>(fchmod(file, other.st_mode & 0777));
}

void give_times(int folder, const char* path, int flags, const struct stat& other) {
  const timespec times[] = {other.st_atim, other.st_mtim};
  static_cast<void>(utimensat(folder, path, times, flags));
}

void give_everything(int file, const struct stat& other) {
  give_owner_and_mode(file, other);
  const timespec times[] = {other.st_atim, other.st_mtim};
  static_cast<void>(futimens(file, times));
}

/// Copies one entry after the other.
class Copier {
 public:
  explicit Copier(CopyLike like) : like_(like) {}

  /// False, after a line on standard error, when `from` or something below it could not be copied to `to`.
  bool copy(const std::string& from, const std::string& to) {
    const std::optional<struct stat> what = look_at(from, like_ == CopyLike::cp);
    if (what && S_ISDIR(what->st_mode))
      return like_ == CopyLike::cp ? left_out(from) : copy_folder(from, to, *what);
    const bool copied = what && copy_one(from, to, *what);
    if (!copied) std::perror(to.c_str());
    return copied;
  }

 private:
  static bool left_out(const std::string& folder) {
    std::fprintf(stderr, "Left out, it is a folder: %s\n", folder.c_str());
    return true;
  }

  bool copy_one(const std::string& from, const std::string& to, const struct stat& what) {
    if (S_ISLNK(what.st_mode)) return copy_link(from, to, what);
    if (S_ISREG(what.st_mode)) return link_to_twin(to, what) || copy_file(from, to, what);
    errno = ENOTSUP;
    return false;
  }

  bool copy_folder(const std::string& from, const std::string& to, const struct stat& what) {
    const std::optional<std::vector<std::string>> names = list_folder(from);
    const std::optional<bool> is_new = names ? make_folder(to, what) : std::nullopt;
    if (!is_new) {
      std::perror(to.c_str());
      return false;
    }
    bool copied = true;
    for (const std::string& name : *names) copied = copy(from + "/" + name, to + "/" + name) && copied;
    finish_folder(to, what, *is_new);
    return copied;
  }

  // Whether the folder was not there. No value, with errno set, when it is not there now.
  static std::optional<bool> make_folder(const std::string& path, const struct stat& like) {
    const place::Spot spot = keep::spot_of(path);
    if (!is_open(spot)) return std::nullopt;
    const int folder = spot.folder.number();
    if (mkdirat(folder, spot.name.c_str(), (like.st_mode & 0777) | S_IRWXU) == 0) return true;
    if (errno != EEXIST) return std::nullopt;
    struct stat there {};
    if (fstatat(folder, spot.name.c_str(), &there, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(there.st_mode))
      return false;
    errno = EEXIST;
    return std::nullopt;
  }

  // Last: what is copied into a folder changes its time, and its mode may forbid that.
  void finish_folder(const std::string& path, const struct stat& like, bool is_new) const {
    const place::Spot spot = keep::spot_of(path);
    const Descriptor folder(
        openat(spot.folder.number(), spot.name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat made {};
    if (!folder || fstat(folder.number(), &made) != 0) return;
    if (like_ == CopyLike::cp_a) return give_everything(folder.number(), like);
    if (is_new)
      static_cast<void>(fchmod(folder.number(), made.st_mode & (like.st_mode | ~mode_t{S_IRWXU}) & 07777));
  }

  bool copy_link(const std::string& from, const std::string& to, const struct stat& what) {
    std::error_code error;
    const std::filesystem::path named = std::filesystem::read_symlink(from, error);
    const place::Spot spot = keep::spot_of(to);
    const int folder = spot.folder.number();
    if (error || !make_room(spot) || symlinkat(named.c_str(), folder, spot.name.c_str()) != 0) return false;
    if (like_ != CopyLike::cp_a) return true;
    static_cast<void>(fchownat(folder, spot.name.c_str(), what.st_uid, what.st_gid, AT_SYMLINK_NOFOLLOW));
    give_times(folder, spot.name.c_str(), AT_SYMLINK_NOFOLLOW, what);
    return true;
  }

  static bool make_room(const place::Spot& spot) {
    return is_open(spot) && (unlinkat(spot.folder.number(), spot.name.c_str(), 0) == 0 || errno == ENOENT);
  }

  // A second name of a file that was copied before becomes a second name of the copy.
  bool link_to_twin(const std::string& to, const struct stat& what) {
    if (like_ != CopyLike::cp_a || what.st_nlink == 1) return false;
    const auto [twin, is_first] = twins_.try_emplace({what.st_dev, what.st_ino}, to);
    if (is_first) return false;
    const place::Spot first = keep::spot_of(twin->second);
    const place::Spot spot = keep::spot_of(to);
    return make_room(spot) &&
           linkat(first.folder.number(), first.name.c_str(), spot.folder.number(), spot.name.c_str(), 0) == 0;
  }

  bool copy_file(const std::string& from, const std::string& to, const struct stat& what) {
    const Descriptor source(open(from.c_str(), O_RDONLY | O_CLOEXEC));
    const place::Spot spot = source ? keep::spot_at_end(to) : place::Spot{Descriptor(), "", errno};
    if (!is_open(spot)) return false;
    const Descriptor there(
        openat(spot.folder.number(), spot.name.c_str(), O_WRONLY | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC));
    if (!there && errno == ENOENT) return make_copy(source, spot, what, nullptr);
    struct stat old {};
    if (!there || fstat(there.number(), &old) != 0) return false;
    if (S_ISREG(old.st_mode)) return make_copy(source, spot, what, &old);
    errno = EEXIST;
    return false;
  }

  // `old` is the file that lies at `spot`, null without one. Its owner and mode stay unless ours go along.
  // Its further names keep the old content: writing in place would lose it on a full disk.
  bool make_copy(const Descriptor& source, const place::Spot& spot, const struct stat& what,
                 const struct stat* old) const {
    NewFile made(spot, what.st_mode & 0777);
    if (!made || !copy_bytes(source.number(), made.number())) return false;
    if (old != nullptr) give_owner_and_mode(made.number(), *old);
    if (like_ == CopyLike::cp_a) give_everything(made.number(), what);
    return made.take_place();
  }

  CopyLike like_;
  std::map<std::pair<dev_t, ino_t>, std::string> twins_;  // where the first name of each was copied to
};

bool copy_all(const std::string& from, const std::string& to, CopyLike like) {
  const std::optional<std::vector<std::string>> names = list_folder(from);
  const std::optional<struct stat> target = look_at(to, true);
  if (!names || !target || !S_ISDIR(target->st_mode)) {
    std::perror((names ? to : from).c_str());
    return false;
  }
  Copier copier(like);
  bool copied = true;
  for (const std::string& name : *names)
    if (name.front() != '.') copied = copier.copy(from + "/" + name, to + "/" + name) && copied;
  return copied;
}

bool copy_to_free_place(const shell::Command& command, const std::string& from, const std::string& to) {
  SetAside before(to);
  const bool whole = is_copied(shell::run_for_status(command), from, to);
  if (whole) before.give_up();
  return whole;
}

// cp writes through a link, so the file it names cannot be out of the way.
bool copy_through_link(const shell::Command& command, const std::string& from, const std::string& to) {
  const std::optional<std::string> before = read_whole(to);
  if (is_copied(shell::run_for_status(command), from, to)) return true;
  if (!before) return false;
  static_cast<void>(open_file(to, "w"));  // cut off, it makes the room that the old content had
  if (!replace_file(to, *before)) std::perror(to.c_str());
  return false;
}

}  // namespace

bool copy_entries(const shell::Command& command, const std::string& from, const std::string& to,
                  CopyLike like) {
  if (!kept_before_copying_entries(from, to)) return false;
  return shell::run_for_status(command) != cannot_be_started || copy_all(from, to, like);
}

bool copy_over(const shell::Command& command, const std::string& from, const std::string& to) {
  if (!kept_before_copying(from, to)) return false;
  const std::optional<struct stat> there = look_at(to, false);
  if (there && S_ISLNK(there->st_mode)) return copy_through_link(command, from, to);
  const bool has_source = look_at(from, true).has_value();
  if (has_source && (!there || S_ISREG(there->st_mode))) return copy_to_free_place(command, from, to);
  return is_copied(shell::run_for_status(command), from, to);
}
