#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "place/entry.h"
#include "place/opened.h"
#include "place/trail.h"

namespace place {

namespace {

/// Removes one thing with all in it.
class Removal {
 public:
  /// False, with errno set, when something is left.
  bool make(const Spot& spot) {
    if (!remove_or_enter(spot.folder.number(), spot.name)) return false;
    while (!levels_.empty())
      if (!(levels_.back().names.empty() ? leave_folder(spot) : remove_next())) return false;
    return true;
  }

 private:
  /// A folder that is being emptied.
  struct Level {
    std::string name;
    std::vector<std::string> names;  ///< that are left
  };

  bool remove_next() {
    const std::string name = std::move(levels_.back().names.back());
    levels_.back().names.pop_back();
    return remove_or_enter(trail_.here(), name);
  }

  bool remove_or_enter(int folder, const std::string& name) {
    if (unlinkat(folder, name.c_str(), 0) == 0 || errno == ENOENT) return true;
    if (errno != EISDIR) return false;
    if (unlinkat(folder, name.c_str(), AT_REMOVEDIR) == 0 || errno == ENOENT) return true;
    return (errno == ENOTEMPTY || errno == EEXIST) && enter_folder(folder, name);
  }

  bool enter_folder(int folder, const std::string& name) {
    make_writable(folder, name.c_str());
    if (!trail_.down(folder, name.c_str())) return false;
    std::optional<std::vector<std::string>> names = names_in(trail_.here());
    if (!names) return false;
    levels_.push_back({name, std::move(*names)});
    return true;
  }

  // A folder of ours that we closed to ourselves goes nevertheless.
  static void make_writable(int above, const char* name) {
    const Descriptor folder(openat(above, name, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat what {};
    if (!folder || fstat(folder.number(), &what) != 0 || what.st_uid != geteuid()) return;
    if ((what.st_mode & S_IRWXU) != S_IRWXU)
      static_cast<void>(chmod(path_of_open(folder.number()).c_str(), S_IRWXU));
  }

  bool leave_folder(const Spot& spot) {
    const std::string name = std::move(levels_.back().name);
    levels_.pop_back();
    if (!trail_.up()) return false;
    const int above = levels_.empty() ? spot.folder.number() : trail_.here();
    return unlinkat(above, name.c_str(), AT_REMOVEDIR) == 0 || errno == ENOENT;
  }

  Trail trail_;
  std::vector<Level> levels_;
};

}  // namespace

bool remove_entry(const Spot& spot) {
  if (is_open(spot)) return Removal().make(spot);
  return errno == ENOENT || errno == ENOTDIR;
}

}  // namespace place
