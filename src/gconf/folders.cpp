#include "gconf/folders.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "shell/files.h"
#include "shell/kept.h"
#include "system/home_folder.h"

namespace {

// Neither a link nor a further name of something: both may be traps.
bool is_plain_file(const std::string& path) {
  struct stat there {};
  return lstat(path.c_str(), &there) == 0 && S_ISREG(there.st_mode) && there.st_nlink == 1;
}

bool make_empty_file(const std::string& path, const struct stat& home) {
  if (is_plain_file(path)) return true;
  if (!kept_before_change(path)) return false;
  const File file = open_file(path, "wx");
  if (!file) return errno == EEXIST;
  static_cast<void>(fchown(fileno(file.get()), home.st_uid, home.st_gid));  // as make_home_folder does
  return true;
}

}  // namespace

bool make_settings_folder(const std::string& home, const std::string& folder) {
  if (!make_home_folder(home, ".gconf/" + folder)) return false;
  struct stat owner {};
  if (stat(home.c_str(), &owner) != 0) return false;
  std::filesystem::path place = home + "/.gconf";
  for (const std::filesystem::path& name : std::filesystem::path(folder)) {
    place /= name;
    if (!make_empty_file(place / "%gconf.xml", owner)) return false;
  }
  return true;
}
