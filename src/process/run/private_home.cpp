#include "process/run/private_home.h"

#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <string_view>
#include <utility>

#include "place/descriptor.h"

namespace {

struct FolderCloser {
  void operator()(DIR* folder) const { closedir(folder); }
};
using Folder = std::unique_ptr<DIR, FolderCloser>;

void complain(const std::string& path) {
  std::fprintf(stderr, "%s cannot be made private: %s\n", path.c_str(), std::strerror(errno));
}

Descriptor open_folder(int above, const char* name) {
  return Descriptor(openat(above, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

// Neither a device nor a pipe that was put in the place of a file meanwhile is waited for.
Descriptor open_plain_file(int above, const char* name) {
  return Descriptor(openat(above, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

class Walk {
 public:
  explicit Walk(dev_t file_system) : file_system_(file_system) {}

  void through(const Descriptor& folder, const std::string& path) {
    // A number of its own, which closedir closes.
    const int listed = fcntl(folder.number(), F_DUPFD_CLOEXEC, 0);
    const Folder entries(listed < 0 ? nullptr : fdopendir(listed));
    if (entries == nullptr) return complain(path);
    while (const dirent* entry = readdir(entries.get())) {
      const std::string_view name = entry->d_name;
      if (name != "." && name != "..") at(folder, entry->d_name, path + "/" + entry->d_name);
    }
  }

 private:
  void at(const Descriptor& folder, const char* name, const std::string& path) {
    struct stat there {};
    if (fstatat(folder.number(), name, &there, AT_SYMLINK_NOFOLLOW) != 0) return complain(path);
    if (S_ISDIR(there.st_mode)) {
      // Only of folders: on an overlay, a live system's for instance, files have other numbers.
      if (there.st_dev != file_system_) return;
      const Descriptor inner = open_folder(folder.number(), name);
      if (make_private(inner, path)) through(inner, path);
    } else if (S_ISREG(there.st_mode) && is_last_name_of(there)) {
      make_private(open_plain_file(folder.number(), name), path);
    }
  }

  bool is_last_name_of(const struct stat& file) {
    return file.st_nlink == 1 || ++names_[{file.st_dev, file.st_ino}] == file.st_nlink;
  }

  static bool make_private(const Descriptor& opened, const std::string& path) {
    struct stat there {};
    const bool done = opened && fstat(opened.number(), &there) == 0 &&
                      fchmod(opened.number(), there.st_mode & S_IRWXU) == 0;
    if (!done) complain(path);
    return done;
  }

  dev_t file_system_;
  std::map<std::pair<dev_t, ino_t>, nlink_t> names_;  // of each file with several, how many were met
};

}  // namespace

void close_home(const std::string& home, const std::string& login) {
  const passwd* account = getpwnam(login.c_str());
  const Descriptor folder = open_folder(AT_FDCWD, home.c_str());
  if (!folder || account == nullptr || fchown(folder.number(), account->pw_uid, -1) != 0 ||
      fchmod(folder.number(), S_IRWXU) != 0)
    complain(home);
}

void make_content_private(const std::string& home) {
  const Descriptor folder = open_folder(AT_FDCWD, home.c_str());
  struct stat there {};
  if (!folder || fstat(folder.number(), &there) != 0) return complain(home);
  Walk(there.st_dev).through(folder, home);
}
