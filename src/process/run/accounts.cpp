#include "process/run/accounts.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "keep/keep.h"
#include "process/archive/layout.h"
#include "process/archive/settings.h"
#include "process/mail/evolution/new_home.h"
#include "process/run/applications.h"
#include "process/run/items.h"
#include "process/run/walk.h"
#include "shell/files.h"
#include "shell/home.h"
#include "shell/kept.h"
#include "shell/run.h"
#include "state/question.h"
#include "state/state.h"
#include "system/target.h"
#include "things/account.h"

namespace {

// A path in the worker's temporary directory, or a name in it, fits. One that did not would leave the buffer
// empty, and the run would go on without finding anything in the archive.
template <std::size_t Size>
void put(char (&buffer)[Size], const std::string& text) {
  static_cast<void>(assign(buffer, text.c_str()));
}

constexpr const char* user_group = "users";
constexpr const char* login_name_alphabet = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";

bool is_login_name(const std::string& name) {
  std::printf("P2::%s\n", login_name_alphabet);
  std::printf("P1::%c\n", name[0]);
  return std::strchr(login_name_alphabet, name[0]) != nullptr;
}

void refuse_user(Question& notice) {
  std::printf("Invalid User.");
  notice.ask();
}

bool told(const std::string& what, const std::string& error) {
  std::fprintf(stderr, "%s could not be kept as it is, so it stays and is not changed: %s\n", what.c_str(),
               error.c_str());
  return false;
}

using State = std::optional<std::string> (*)(const std::string& name, std::string& error);

// False when it cannot be told or written down: then it must not be changed.
bool keep_state(State state_of, const std::string& name, const std::string& row) {
  std::string error;
  const std::optional<std::string> state = state_of(name, error);
  return state ? keep::before_change_of(keep::Kind::account, row, *state) : told("account " + row, error);
}

void note_state(State state_of, const std::string& name, const std::string& row) {
  std::string error;
  if (const auto state = state_of(name, error)) keep::now_is(keep::Kind::account, row, *state);
}

bool keep_account(const std::string& login) {
  return keep_state(things::group_state, user_group, things::row_of_group(user_group)) &&
         keep_state(things::account_state, login, login);
}

void note_account(const std::string& login) {
  note_state(things::group_state, user_group, things::row_of_group(user_group));
  note_state(things::account_state, login, login);
}

// From the folder `skeleton` of the unpacked skeleton home; an empty one makes the account from "/root".
void create_account(const Target& target, const std::string& skeleton) {
  SYSTEM(compose("groupadd users"));
  SYSTEM(target.has().make_account(target.login, target.home, skeleton));
  if (!target.has().repairs_source_lists) return;
  // A home without such lists has none to repair.
  for (const SourceList list : {SourceList::addressbook, SourceList::calendar, SourceList::tasks})
    static_cast<void>(repair_source_list(target, list));
}

// chpasswd reads lines of NAME:PASSWORD, so a name with a colon or a line end could set another account's
// password. A profile that bears the superuser's name must not make that password known to everybody.
bool may_get_password(const std::string& login) {
  const passwd* account = getpwnam(login.c_str());
  const bool is_superuser = account != nullptr && account->pw_uid == 0;
  return !is_superuser && login.find_first_of(":\n\r") == std::string::npos;
}

enum class PasswordFile { written, absent, somebody_elses, not_noted };

PasswordFile write_password_file(const std::string& path, const std::string& login) {
  if (!may_get_password(login)) return PasswordFile::absent;
  struct stat there {};
  if (lstat(path.c_str(), &there) == 0) return PasswordFile::somebody_elses;
  if (!kept_before_change(path)) return PasswordFile::not_noted;
  // Readable by root alone from its first moment, and never through a link or over somebody's own file.
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (file < 0) return errno == EEXIST ? PasswordFile::somebody_elses : PasswordFile::absent;
  const std::string line = login + ":" + login + "\n";
  const bool whole = write(file, line.data(), line.size()) == static_cast<ssize_t>(line.size());
  close(file);
  return whole ? PasswordFile::written : PasswordFile::absent;
}

// The first password is the login name. False when what is done in the home cannot be written down.
bool set_password(const std::string& login, const std::string& home) {
  const std::string path = home + "/pass";
  const PasswordFile file = write_password_file(path, login);
  if (file == PasswordFile::not_noted) return false;
  if (file == PasswordFile::somebody_elses) {
    std::fprintf(stderr, "%s is already there and stays; the password of %s is not set\n", path.c_str(),
                 login.c_str());
    return true;
  }
  const shell::Command chpasswd = compose("chpasswd < %s", path);
  std::printf("resetpassword::%s\n", chpasswd.c_str());
  SYSTEM(chpasswd);
  SYSTEM(compose("rm %s", path));
  return true;
}

// The items of `target`, a profile, whose fonts lie in `archive_root`.
void migrate_profile(const Target& target, const std::string& archive_root) {
  put(new_dir_path, target.root);
  std::printf("Path::%s\n", new_dir_path);
  walk_steps(target, archive_root);
}

int migrate_account(const Target& target, const std::string& profiles_folder, const std::string& skeleton) {
  const std::string& login = target.login;
  std::printf("Migrating Data for User::%s\n", login.c_str());
  trace_home(target.home);
  std::printf("User's Home Directory::%s\n", target.home.c_str());
  if (!keep_account(login)) return -1;
  create_account(target, skeleton);
  const bool is_noted = set_password(login, target.home);
  note_account(login);
  if (!is_noted) return -1;
  keep::settle();
  std::printf("STEP 1: User and Home Directory Created.");
  std::printf("STEP 3: Migrating..........");  // Deliberate: part of the output. There is no step 2.
  put(new_dir_path, profiles_folder);
  const std::string image = image_name(Mark::several_users);
  const int result = itemprofiles2(nullptr, image.c_str(), login.c_str(), profiles, profiles_folder.c_str());
  std::printf("....................DONE");
  if (!kept_before_chown(login, target.home)) return -1;
  SYSTEM(compose("chown -R %s %s", login, target.home));
  std::printf("STEP 4: Chown Completed.");
  return result;
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
  // Deliberate: part of the format. Only a zero says no; a missing line means several users.
  isMultiUser = get_char(file, "MultiUser Migration") == '0' ? 0 : 1;
  return std::fclose(file);
}

int migrate_profiles(const char* root) {
  const Skeleton* skeleton = capabilities(detected_system()).skeleton;
  if (skeleton != nullptr) unpack_skeleton(*skeleton);
  put(font_dir_path, root);
  const std::string folder = std::string(root) + "/" + layout::profiles;
  const auto names = list_folder(folder);
  if (!names) {
    std::printf("No Profiles Directory.");
    // Deliberate: part of the output. The page shows a cross, and then the tick for the result.
    post_mark(Mark::several_users, -1);
    return 0;
  }
  // Always 0: a profile gives no other result, nor does one without a folder. The sum takes a failure all the
  // same.
  int result = 0;
  for (const std::string& name : *names) {
    put(cur_user, name);
    if (!is_login_name(name)) {
      refuse_user(user_notice);
      continue;
    }
    isDefaultUser = 0;
    result += migrate_account(target_of((folder + "/" + name).c_str()), folder, homedirpath);
  }
  return result >= 0 ? 0 : -1;
}

int profiles(const char* args) {
  // `args` may be new_dir_path itself, which is about to change.
  const std::string folder = std::string(args) + "/" + cur_user;
  // The target of the account once more: itemprofiles2 hands on a path and nothing else.
  Target target = target_of(folder.c_str());
  target.is_running_user = false;  // its steps are a profile's, whoever called
  migrate_profile(target, font_dir_path);
  return 0;
}

int begin_running_user(const char* root) {
  isDefaultUser = 1;
  put(new_dir_path, root);
  std::printf("New Dir Path::%s\n", new_dir_path);
  std::printf("Doing for default user::%s\n", default_user == nullptr ? "" : default_user);
  return 0;
}
