#include "process/printers/tools_files.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

#include "keep/keep.h"
#include "shell/files.h"

namespace {

// Which of them lpoptions writes is a matter of its age: the last one is the administrator's.
bool keep_options_in(const std::string& home, uid_t uid) {
  return keep::before_change(home + "/.cups/lpoptions") && keep::before_removal(home + "/.lpoptions") &&
         (uid != 0 || keep::before_change("/etc/cups/lpoptions"));
}

}  // namespace

bool keep_own_options() {
  const char* home = std::getenv("HOME");
  return keep_options_in(home == nullptr ? "" : home, getuid());
}

bool keep_options_of(const std::string& login) {
  const passwd* account = getpwnam(login.c_str());
  return account == nullptr || keep_options_in(account->pw_dir, account->pw_uid);
}

bool keep_foomatic_files(const std::string& queue) {
  if (!keep::before_change("/etc/foomatic/cups")) return false;  // never made again
  const std::string description = "/etc/cups/ppd/" + queue + ".ppd";
  return !open_file(description, "r") || keep::before_change(description + ".old");
}
