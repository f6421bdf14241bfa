#include "process/run/private_home.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <utility>
#include <vector>

#include "place/beneath.h"
#include "place/opened.h"

namespace {

void complain(const std::string& path) {
  std::fprintf(stderr, "%s cannot be made private: %s\n", path.c_str(), std::strerror(errno));
}

Descriptor open_home(const std::string& home) { return place::open_folder_in(AT_FDCWD, home.c_str()); }

// Neither a device nor a pipe that was put in the place of a file meanwhile is waited for.
Descriptor open_plain_file(int above, const char* name) {
  return Descriptor(openat(above, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

class Walk {
 public:
  Walk(const Descriptor& top, std::string home, dev_t file_system)
      : top_(top), home_(std::move(home)), file_system_(file_system) {}

  // One open folder at a time: a tree may have more levels than a program may have files open.
  void through_all() {
    through(top_, "");
    while (!ahead_.empty()) {
      const std::string path = std::move(ahead_.back());
      ahead_.pop_back();
      const Descriptor folder = place::open_beneath(top_.number(), path, O_RDONLY | O_DIRECTORY);
      if (close(folder, path)) through(folder, path + "/");
    }
  }

 private:
  void through(const Descriptor& folder, const std::string& prefix) {
    const auto names = place::names_in(folder.number());
    if (!names) return complain(home_ + "/" + prefix);
    for (const std::string& name : *names) at(folder, name.c_str(), prefix + name);
  }

  void at(const Descriptor& folder, const char* name, const std::string& path) {
    struct stat there {};
    if (fstatat(folder.number(), name, &there, AT_SYMLINK_NOFOLLOW) != 0) return complain(home_ + "/" + path);
    if (S_ISDIR(there.st_mode)) {
      // Only of folders: on an overlay, a live system's for instance, files have other numbers.
      if (there.st_dev == file_system_) ahead_.push_back(path);
    } else if (S_ISREG(there.st_mode) && is_last_name_of(there)) {
      close(open_plain_file(folder.number(), name), path);
    }
  }

  bool is_last_name_of(const struct stat& file) {
    return file.st_nlink == 1 || ++names_[{file.st_dev, file.st_ino}] == file.st_nlink;
  }

  bool close(const Descriptor& opened, const std::string& path) const {
    struct stat there {};
    const bool done = opened && fstat(opened.number(), &there) == 0 &&
                      fchmod(opened.number(), there.st_mode & S_IRWXU) == 0;
    if (!done) complain(home_ + "/" + path);
    return done;
  }

  const Descriptor& top_;
  std::string home_;
  dev_t file_system_;
  std::vector<std::string> ahead_;                    // folders below the top
  std::map<std::pair<dev_t, ino_t>, nlink_t> names_;  // of each file with several, how many were met
};

}  // namespace

void close_home(const std::string& home, const std::string& login) {
  const passwd* account = getpwnam(login.c_str());
  const Descriptor folder = open_home(home);
  if (!folder || account == nullptr || fchown(folder.number(), account->pw_uid, -1) != 0 ||
      fchmod(folder.number(), S_IRWXU) != 0)
    complain(home);
}

void make_private(const std::string& home) {
  const Descriptor folder = open_home(home);
  struct stat there {};
  if (!folder || fstat(folder.number(), &there) != 0 || fchmod(folder.number(), there.st_mode & S_IRWXU) != 0)
    return complain(home);
  Walk(folder, home, there.st_dev).through_all();
}
