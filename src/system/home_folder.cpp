#include "system/home_folder.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "keep/keep.h"
#include "shell/kept.h"

namespace {

namespace fs = std::filesystem;

bool is_within(const fs::path& place, const fs::path& home) {
  return std::mismatch(home.begin(), home.end(), place.begin(), place.end()).first == home.end();
}

// A link in place of the folder is not followed.
bool make_folder(const fs::path& folder, const struct stat& home) {
  if (mkdir(folder.c_str(), 0777) != 0) return errno == EEXIST;
  // An ordinary user's home may have a group that is not the user's own: the folder is there all the same.
  static_cast<void>(lchown(folder.c_str(), home.st_uid, home.st_gid));
  return true;
}

}  // namespace

bool make_home_folder(const std::string& home, const std::string& folder) {
  std::error_code error;
  const fs::path top = fs::canonical(home, error);
  struct stat owner {};
  if (error || stat(top.c_str(), &owner) != 0) return false;
  if (!fs::is_directory(fs::path(home) / folder, error) && !keep::before_change(home + "/" + folder)) {
    errno = not_kept;
    return false;
  }
  fs::path place = top;
  for (const fs::path& name : fs::path(folder)) {
    if (!make_folder(place / name, owner)) return false;
    place = fs::canonical(place / name, error);
    errno = error ? error.value() : EXDEV;
    if (error || !is_within(place, top)) return false;
  }
  errno = ENOTDIR;
  return fs::is_directory(place, error);
}
