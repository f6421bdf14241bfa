#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "place/bytes.h"
#include "place/entry.h"
#include "place/likeness.h"
#include "place/opened.h"
#include "place/stage.h"
#include "place/trail.h"

namespace place {

namespace {

/// Copies one thing with all in it into a stage.
class Copy {
 public:
  Copy(int stage, bool without_set_id) : stage_(stage), without_set_id_(without_set_id) {}

  /// False, with errno set, when it is not whole.
  bool make(const Spot& from) {
    if (!copy_one(from.folder.number(), from.name.c_str(), stage_, Stage::made)) return false;
    while (!levels_.empty()) {
      Level& level = levels_.back();
      const bool is_done = level.next == level.names.size();
      if (is_done ? !finish_folder() : !copy_next(level.names[level.next++])) return false;
    }
    return true;
  }

 private:
  /// A folder that is being copied.
  struct Level {
    struct stat what;
    std::vector<std::string> names;
    std::size_t next = 0;
  };

  bool copy_next(const std::string& in_level) {
    // The level moves when there is one more. NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
    const std::string name = in_level;
    return copy_one(from_.here(), name.c_str(), to_.here(), name.c_str());
  }

  bool copy_one(int from, const char* name, int to, const char* copy) {
    struct stat what {};
    if (fstatat(from, name, &what, AT_SYMLINK_NOFOLLOW) != 0) return false;
    if (S_ISDIR(what.st_mode)) return enter_folder(from, name, to, copy);
    if (what.st_nlink == 1) return copy_single(from, name, to, copy, what);
    return copy_named_more(from, name, to, copy, what);
  }

  bool enter_folder(int from, const char* name, int to, const char* copy) {
    if (mkdirat(to, copy, 0700) != 0 || !from_.down(from, name) || !to_.down(to, copy)) return false;
    struct stat what {};
    if (fstat(from_.here(), &what) != 0) return false;
    std::optional<std::vector<std::string>> names = names_in(from_.here());
    if (!names) return false;
    levels_.push_back({what, std::move(*names)});
    return true;
  }

  // Last, since what is made in a folder changes its time, and its mode may forbid that.
  bool finish_folder() {
    if (!give_everything(to_.here(), from_.here(), levels_.back().what, without_set_id_)) return false;
    levels_.pop_back();
    return from_.up() && to_.up();
  }

  // The copy of the first name gets a name in the stage, too, where the further ones find it.
  bool copy_named_more(int from, const char* name, int to, const char* copy, const struct stat& what) {
    const auto [twin, is_first] = twins_.try_emplace({what.st_dev, what.st_ino}, twins_.size());
    const std::string further = Stage::further_name(twin->second);
    if (!is_first) return linkat(stage_, further.c_str(), to, copy, 0) == 0;
    return copy_single(from, name, to, copy, what) && linkat(to, copy, stage_, further.c_str(), 0) == 0;
  }

  bool copy_single(int from, const char* name, int to, const char* copy, const struct stat& what) const {
    if (S_ISREG(what.st_mode)) return copy_file(from, name, to, copy);
    return (S_ISLNK(what.st_mode) ? copy_link(from, name, to, copy)
                                  : mknodat(to, copy, (what.st_mode & S_IFMT) | 0600, what.st_rdev) == 0) &&
           give_everything_to(to, copy, what, without_set_id_);
  }

  static bool copy_link(int from, const char* name, int to, const char* copy) {
    const std::optional<std::string> target = target_of_link(from, name);
    return target && symlinkat(target->c_str(), to, copy) == 0;
  }

  bool copy_file(int from, const char* name, int to, const char* copy) const {
    struct stat what {};
    const Descriptor source = open_file_in(from, name, what);
    if (!source) return false;
    Descriptor made(openat(to, copy, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    return made && copy_unchanged(source.number(), made.number(), what) &&
           give_everything(made.number(), source.number(), what, without_set_id_) && made.close();
  }

  // A file that is written at the same time would be half its old content and half its new one.
  static bool copy_unchanged(int from, int to, struct stat& what) {
    for (int reading = 1; reading <= most_readings; ++reading) {
      struct stat after {};
      if (!copy_bytes(from, to, what) || fstat(from, &after) != 0) return false;
      if (is_unchanged(what, after)) return true;
      what = after;
      if (ftruncate(to, 0) != 0) return false;
    }
    errno = EBUSY;
    return false;
  }

  int stage_;
  bool without_set_id_;
  Trail from_;
  Trail to_;
  std::vector<Level> levels_;
  std::map<std::pair<dev_t, ino_t>, std::size_t> twins_;  // the numbers of their names in the stage
};

bool is_free(const Spot& spot) {
  struct stat there {};
  if (fstatat(spot.folder.number(), spot.name.c_str(), &there, AT_SYMLINK_NOFOLLOW) != 0)
    return errno == ENOENT;
  errno = EEXIST;
  return false;
}

}  // namespace

bool copy_entry(const Spot& from, const Spot& to, bool without_set_id) {
  if (!is_open(from) || !is_open(to) || !is_free(to)) return false;
  Stage stage(to);
  return stage && Copy(stage.folder(), without_set_id).make(from) && stage.put();
}

bool move_entry(const Spot& from, const Spot& to) {
  if (!is_open(from) || !is_open(to)) return false;
  if (rename_to_free(from.folder.number(), from.name.c_str(), to.folder.number(), to.name.c_str()) == 0)
    return true;
  return errno == EXDEV && copy_entry(from, to) && remove_entry(from);
}

}  // namespace place
