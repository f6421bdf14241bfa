#include "process/run/accounts.h"

#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "process/archive/layout.h"
#include "process/archive/settings.h"
#include "process/mail/evolution/new_home.h"
#include "process/run/applications.h"
#include "process/run/items.h"
#include "process/run/sequence.h"
#include "shell/files.h"
#include "shell/home.h"
#include "shell/run.h"
#include "state/question.h"
#include "state/state.h"

namespace {

constexpr const char* login_name_alphabet = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";

void show_user_error() {
  std::printf("Invalid User.");
  user_notice.ask();
}

void create_account(const std::string& login, const std::string& home) {
  SYSTEM(compose("groupadd users"));
  switch (detected_system()) {
    case System::linspire:
      SYSTEM(
          compose("useradd %s -d %s -m -k %s/root -G audio,cdrom,cnr,desktop,dialout,dip,disk -s /bin/bash "
                  "-g users",
                  login, home, homedirpath));
      break;
    case System::redflag:
      SYSTEM(compose("useradd %s -d %s -m -k %s/root -s /bin/bash -g users", login, home, homedirpath));
      break;
    default:
      // Without a skeleton homedirpath is empty and the account is made from "/root".
      SYSTEM(compose("useradd %s -d %s -m -k %s/root -g users", login, home, homedirpath));
      updateAddressbookGconf();
      updateCalendarGconf();
      updateTasksGconf();
  }
}

// chpasswd reads lines of NAME:PASSWORD, so a name with a colon or a line end could set another account's
// password. A profile that bears the superuser's name must not make that password known to everybody.
bool may_get_password(const std::string& login) {
  const passwd* account = getpwnam(login.c_str());
  const bool is_superuser = account != nullptr && account->pw_uid == 0;
  return !is_superuser && login.find_first_of(":\n\r") == std::string::npos;
}

enum class PasswordFile { written, absent, somebody_elses };

PasswordFile write_password_file(const std::string& path, const std::string& login) {
  if (!may_get_password(login)) return PasswordFile::absent;
  // Readable by root alone from its first moment, and never through a link or over somebody's own file.
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (file < 0) return errno == EEXIST ? PasswordFile::somebody_elses : PasswordFile::absent;
  const std::string line = login + ":" + login + "\n";
  const bool whole = write(file, line.data(), line.size()) == static_cast<ssize_t>(line.size());
  close(file);
  return whole ? PasswordFile::written : PasswordFile::absent;
}

// The first password is the login name; its owner is expected to change it.
void set_password(const std::string& login, const std::string& home) {
  const std::string path = home + "/pass";
  if (write_password_file(path, login) == PasswordFile::somebody_elses) {
    std::fprintf(stderr, "%s is already there and stays; the password of %s is not set\n", path.c_str(),
                 login.c_str());
    return;
  }
  const shell::Command chpasswd = compose("chpasswd < %s", path);
  std::printf("resetpassword::%s\n", chpasswd.c_str());
  SYSTEM(chpasswd);
  SYSTEM(compose("rm %s", path));
}

int migrate_account(const std::string& root, const std::string& login) {
  std::printf("Migrating Data for User::%s\n", login.c_str());
  isDefaultUser = 0;
  const std::string home = user_home();
  std::printf("User's Home Directory::%s\n", home.c_str());
  create_account(login, home);
  set_password(login, home);
  std::printf("STEP 1: User and Home Directory Created.");
  std::printf("STEP 3: Migrating..........");  // there has never been a step 2
  assign(new_dir_path, (root + "/" + layout::profiles).c_str());
  const int result = itemprofiles2(nullptr, "image_0", cur_user, profiles, new_dir_path);
  std::printf("....................DONE");
  SYSTEM(compose("chown -R %s %s", login, home));
  std::printf("STEP 4: Chown Completed.");
  return result;
}

int migrate_entry(const std::string& root, const std::string& name) {
  assign(cur_user, name.c_str());
  std::printf("P2::%s\n", login_name_alphabet);
  std::printf("P1::%c\n", name[0]);
  if (std::strchr(login_name_alphabet, name[0]) == nullptr) {
    show_user_error();
    return 0;
  }
  return migrate_account(root, name);
}

void run_profile_step(const Step& step, const std::string& folder, System system) {
  const func_t migrator = step.migrator[static_cast<int>(system)];
  const char* trace = step.trace[static_cast<int>(system)];
  if (step.whom == For::running_user || migrator == nullptr) return;
  if (trace != nullptr) std::printf("%s", trace);
  switch (step.what) {
    case Does::documents: {
      const char* documents = documents_folder(folder.c_str());
      itemprofiles(nullptr, step.mark, documents, migrator, (folder + "/" + documents).c_str());
      break;
    }
    case Does::item:
      itemprofiles(nullptr, step.mark, step.folder, migrator, folder.c_str());
      break;
    case Does::call:
      migrator(folder.c_str());
      break;
    case Does::shared_fonts:
      migrator(font_dir_path);
      break;
    case Does::printer_mark:
      break;
  }
}

}  // namespace

int CheckMultiUser(const char* args) {
  const std::string path = std::string(args) + "/" + layout::users;
  dos_to_unix(path.c_str());
  std::FILE* file = std::fopen(path.c_str(), "r");
  if (file == nullptr) {
    isMultiUser = 0;
    return 0;
  }
  std::free(default_user);
  default_user = get_string(file, "Default");
  // A missing line reads as NUL and so means several users.
  isMultiUser = get_char(file, "MultiUser Migration") == '0' ? 0 : 1;
  return std::fclose(file);
}

void migrate_profiles(const std::string& root) {
  int profilesresult = 0;
  unpack_skeleton_for_accounts();
  assign(font_dir_path, root.c_str());
  const auto entries = list_folder(root + "/" + layout::profiles);
  if (!entries) {
    std::printf("No Profiles Directory.");
    // Overridden by the post below, on purpose: a run without profiles has failed at nothing.
    post_mark("image_0", -1);
  } else {
    for (const std::string& name : *entries) profilesresult += migrate_entry(root, name);
  }
  post_mark("image_0", profilesresult >= 0 ? 0 : -1);
}

int profiles(const char* args) {
  // `args` may be new_dir_path itself, which is about to change.
  const std::string folder = std::string(args) + "/" + cur_user;
  assign(new_dir_path, folder.c_str());
  std::printf("Path::%s\n", new_dir_path);
  const System system = detected_system();
  for (const Step& step : sequence()) run_profile_step(step, folder, system);
  return 0;
}
