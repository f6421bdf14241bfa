#include "system/home_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

#include "keep/keep.h"
#include "place/beneath.h"
#include "shell/kept.h"

namespace {

namespace fs = std::filesystem;

bool is_within(const fs::path& place, const fs::path& home) {
  return std::mismatch(home.begin(), home.end(), place.begin(), place.end()).first == home.end();
}

// A link in place of the folder is not followed.
bool make_folder(const place::Spot& spot, const struct stat& home) {
  if (!is_open(spot)) return false;
  if (mkdirat(spot.folder.number(), spot.name.c_str(), 0777) != 0) return errno == EEXIST;
  // An ordinary user's home may have a group that is not the user's own: the folder is there all the same.
  static_cast<void>(
      fchownat(spot.folder.number(), spot.name.c_str(), home.st_uid, home.st_gid, AT_SYMLINK_NOFOLLOW));
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
  const Descriptor open_top = place::open_top(top);
  fs::path place = top;
  for (const fs::path& name : fs::path(folder)) {
    const fs::path below = (place / name).lexically_relative(top);
    if (!make_folder(place::spot_beneath(open_top.number(), below), owner)) return false;
    place = fs::canonical(place / name, error);
    errno = error ? error.value() : EXDEV;
    if (error || !is_within(place, top)) return false;
  }
  errno = ENOTDIR;
  return fs::is_directory(place, error);
}
