#include "process/run/password_file.h"

#include <fcntl.h>
#include <pwd.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <thread>

#include "place/descriptor.h"

namespace {

// chpasswd reads lines of NAME:PASSWORD, so a name with a colon or a line end could set another account's
// password. A profile that bears the superuser's name must not make that password known to everybody.
bool may_get_password(const std::string& login) {
  const passwd* account = getpwnam(login.c_str());
  const bool is_superuser = account != nullptr && account->pw_uid == 0;
  return !is_superuser && login.find_first_of(":\n\r") == std::string::npos;
}

bool write_whole(Descriptor& file, const std::string& line) {
  errno = ENOSPC;  // what a write that ends early means
  const bool whole = write(file.number(), line.data(), line.size()) == static_cast<ssize_t>(line.size());
  return whole && file.close();
}

// The calling thread alone sees the machine so, and what it runs.
bool hide_content_of(const std::string& home) {
  return unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         mount("none", home.c_str(), "tmpfs", MS_RDONLY | MS_NOSUID | MS_NODEV, nullptr) == 0;
}

}  // namespace

PasswordFile write_password_file(const std::string& path, const std::string& login) {
  if (!may_get_password(login)) {
    errno = EPERM;
    return PasswordFile::not_allowed;
  }
  // Readable by root alone from its first moment, and never through a link or over somebody's own file.
  Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!file && errno == EEXIST) return PasswordFile::in_the_way;
  if (!file && (errno == ENOENT || errno == ENOTDIR)) return PasswordFile::no_home;
  if (!file) return PasswordFile::not_written;
  if (write_whole(file, login + ":" + login + "\n")) return PasswordFile::written;
  const int error = errno;
  unlink(path.c_str());
  errno = error;
  return PasswordFile::not_written;
}

bool run_with_empty_home(const std::string& home, const std::function<void()>& commands) {
  int error = 0;
  try {
    std::thread([&] {
      if (hide_content_of(home)) {
        commands();
      } else {
        error = errno;
      }
    }).join();
  } catch (const std::system_error& no_thread) {
    error = no_thread.code().value();
  }
  errno = error;
  return error == 0;
}
