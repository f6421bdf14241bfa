#include "place/outside.h"

#include <fcntl.h>

#include <cerrno>
#include <map>
#include <utility>
#include <vector>

#include "place/beneath.h"
#include "place/opened.h"

namespace place {

namespace {

class Count {
 public:
  Count(int top, const std::function<bool(const struct stat&)>& counts) : top_(top), counts_(counts) {}

  // One open folder at a time: a tree may have more levels than a program may have files open.
  bool through_all(const std::string& path) {
    if (!through(path)) return errno == ENOENT || errno == ENOTDIR;  // nothing to go through
    while (!ahead_.empty()) {
      const std::string next = std::move(ahead_.back());
      ahead_.pop_back();
      // One that has just gone, or become a link, has no more names here.
      if (!through(next) && errno != ENOENT && errno != ENOTDIR && errno != ELOOP) return false;
    }
    return true;
  }

  std::string first_with_more() const {
    for (const auto& [file, names] : found_)
      if (names.missing > 0) return names.path;
    return "";
  }

 private:
  bool through(const std::string& path) {
    const Descriptor folder = open_beneath(top_, path, O_RDONLY | O_DIRECTORY);
    const auto names = folder ? names_in(folder.number()) : std::nullopt;
    if (!names) return false;
    for (const std::string& name : *names) {
      const std::string each = path.empty() ? name : path + "/" + name;
      struct stat what {};
      if (fstatat(folder.number(), name.c_str(), &what, AT_SYMLINK_NOFOLLOW) != 0) continue;
      if (S_ISDIR(what.st_mode)) {
        ahead_.push_back(each);
      } else {
        take(each, what);
      }
    }
    return true;
  }

  struct Names {
    std::string path;
    nlink_t missing;
  };

  void take(const std::string& path, const struct stat& what) {
    if (what.st_nlink < 2 || S_ISLNK(what.st_mode) || !counts_(what)) return;
    const auto [file, is_new] = found_.try_emplace({what.st_dev, what.st_ino}, Names{path, what.st_nlink});
    --file->second.missing;
  }

  int top_;
  const std::function<bool(const struct stat&)>& counts_;
  std::vector<std::string> ahead_;  // folders
  std::map<std::pair<dev_t, ino_t>, Names> found_;
};

}  // namespace

std::optional<std::string> file_with_name_outside(int top, const std::string& path,
                                                  const std::function<bool(const struct stat&)>& counts) {
  Count count(top, counts);
  if (!count.through_all(path)) return std::nullopt;
  return count.first_with_more();
}

}  // namespace place
