#include "process/printers/tools_files.h"

#include <pwd.h>
#include <unistd.h>

#include "keep/keep.h"
#include "shell/files.h"

namespace {

// The second is where older ones keep theirs.
bool keep_options_in(const std::string& home) {
  return keep::before_change(home + "/.cups/lpoptions") && keep::before_removal(home + "/.lpoptions");
}

bool keep_options_of(const passwd* account) {
  if (account == nullptr) return true;
  if (account->pw_uid == 0) return keep::before_change("/etc/cups/lpoptions");
  return keep_options_in(account->pw_dir);
}

}  // namespace

bool keep_own_options() { return keep_options_of(getpwuid(getuid())); }

bool keep_options_of(const std::string& login) { return keep_options_of(getpwnam(login.c_str())); }

bool keep_foomatic_files(const std::string& queue) {
  if (!keep::before_change("/etc/foomatic/cups")) return false;  // never made again
  const std::string description = "/etc/cups/ppd/" + queue + ".ppd";
  return !open_file(description, "r") || keep::before_change(description + ".old");
}
