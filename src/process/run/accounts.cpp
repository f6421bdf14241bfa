#include "process/run/accounts.h"

#include <pwd.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include "keep/keep.h"
#include "keep/store.h"
#include "place/entry.h"
#include "process/archive/layout.h"
#include "process/archive/settings.h"
#include "process/mail/evolution/new_home.h"
#include "process/run/applications.h"
#include "process/run/items.h"
#include "process/run/password_file.h"
#include "process/run/private_home.h"
#include "process/run/run_note.h"
#include "process/run/walk.h"
#include "shell/ending.h"
#include "shell/files.h"
#include "shell/home.h"
#include "shell/kept.h"
#include "shell/replace.h"
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

// useradd judges all but the first character. Debian's takes a backslash, and where it ends a line of
// /etc/group, the group in the next line is lost.
bool is_login_name(const std::string& name) {
  std::printf("P2::%s\n", login_name_alphabet);
  std::printf("P1::%c\n", name[0]);
  return std::strchr(login_name_alphabet, name[0]) != nullptr && !contains(name, "\\");
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

// What came of the account of a profile.
enum class Account { made, not_made, was_there };

// One that cannot be looked up counts: somebody's password is at stake.
bool has_account(const std::string& login) {
  errno = 0;
  return getpwnam(login.c_str()) != nullptr || errno == EIO || errno == ENOMEM || errno == EMFILE ||
         errno == ENFILE;
}

bool lies_at(const std::string& path) {
  struct stat there {};
  return lstat(path.c_str(), &there) == 0;
}

// A new home that is a copy of root's has a copy of what root's runs have kept. It is none of that person's,
// and lies where this run is to keep what is.
void remove_copy_of_kept_runs(const std::string& home) {
  const Descriptor top = place::open_top(home);
  if (!top) return;
  const place::Spot kept = place::spot_beneath(top.number(), keep::folder_of_all);
  if (!place::remove_entry(kept)) std::perror((home + "/" + keep::folder_of_all).c_str());
}

Account account_after(const std::string& login, bool was_there) {
  if (was_there) return Account::was_there;
  return has_account(login) ? Account::made : Account::not_made;
}

// Writes down what the home of an account that may just have been made is like. False when that cannot be
// done.
bool note_home(const std::string& home, bool had_home, Account account) {
  if (!lies_at(home)) return true;
  if (!had_home) return keep::after_new_home(home);
  // A new account may be given a home that was somebody's.
  return account != Account::made || kept_before_change(home);
}

// From the folder `skeleton` of the unpacked skeleton home; an empty one makes the account from "/root". No
// value when the new home cannot be written down.
std::optional<Account> create_account(const Target& target, const std::string& skeleton) {
  const bool was_there = has_account(target.login);
  const bool had_home = lies_at(target.home);
  SYSTEM(compose("groupadd users"));
  SYSTEM(target.has().make_account(target.login, target.home, skeleton));
  if (!had_home) remove_copy_of_kept_runs(target.home);
  const Account account = account_after(target.login, was_there);
  if (!note_home(target.home, had_home, account)) return std::nullopt;
  // Before anything is changed in it, so that an undo that leaves the account leaves its home closed.
  if (account == Account::made) close_home(target.home, target.login);
  if (target.has().repairs_source_lists) {
    // A home without such lists has none to repair.
    for (const SourceList list : {SourceList::addressbook, SourceList::calendar, SourceList::tasks})
      static_cast<void>(repair_source_list(target, list));
  }
  return account;
}

std::string cannot_be_written() { return std::string("cannot be written (") + std::strerror(errno) + ")"; }

void say_no_password(const std::string& login, const std::string& path, const std::string& why) {
  std::fprintf(stderr, "%s %s; the password of %s is not set\n", path.c_str(), why.c_str(), login.c_str());
}

void run_chpasswd(const std::string& path) {
  const shell::Command chpasswd = compose("chpasswd < %s", path);
  std::printf("resetpassword::%s\n", chpasswd.c_str());
  SYSTEM(chpasswd);
  SYSTEM(compose("rm %s", path));
}

// The commands are part of what people see of a run, also where there is no file of ours for them: then they
// fail, whatever the owner of the home does meanwhile.
void run_chpasswd_without_file(const std::string& login, const std::string& home, const std::string& path) {
  if (lies_at(path)) return say_no_password(login, path, "is already there and stays");
  if (!lies_at(home)) return run_chpasswd(path);
  if (!run_with_empty_home(home, [&] { run_chpasswd(path); }))
    say_no_password(login, path, cannot_be_written());
}

// True when the password was set, by a file that was there for that moment alone. A file of the same name,
// which a copy of root's home may have brought, is put aside meanwhile.
bool set_new_password(const std::string& login, const std::string& path) {
  const SetAside somebodys(path);
  const PasswordFile file = write_password_file(path, login);
  if (file == PasswordFile::written) {
    run_chpasswd(path);
  } else if (file == PasswordFile::not_allowed) {
    say_no_password(login, path, "may not name this account");
  } else if (file != PasswordFile::in_the_way) {
    say_no_password(login, path, cannot_be_written());
  }
  return file == PasswordFile::written;
}

// The first password is the login name. An account that was there before keeps its own. False when what is
// done in the home cannot be written down.
bool set_password(const std::string& login, const std::string& home, Account account) {
  const std::string path = home + "/pass";
  if (account == Account::made && lies_at(home) && !kept_before_change(path)) return false;
  if (account != Account::made || !set_new_password(login, path))
    run_chpasswd_without_file(login, home, path);
  return true;
}

void tell_about_account(const std::string& login) {
  std::fprintf(stderr, "%s: The account was there before; its password is unchanged.\n", login.c_str());
  note_account_was_there(login);
}

// The items of `target`, a profile, whose fonts lie in `archive_root`.
void migrate_profile(const Target& target, const std::string& archive_root) {
  put(new_dir_path, target.root);
  std::printf("Path::%s\n", new_dir_path);
  walk_steps(target, archive_root);
}

int migrate_account(const Target& target, const std::string& profiles_folder, const std::string& skeleton) {
  const std::string& login = target.login;
  post_beginning(Mark::several_users, login);
  std::printf("Migrating Data for User::%s\n", login.c_str());
  trace_home(target.home);
  std::printf("User's Home Directory::%s\n", target.home.c_str());
  if (!keep_account(login)) return -1;
  const bool had_home = lies_at(target.home);
  const std::optional<Account> account = create_account(target, skeleton);
  if (account == Account::was_there) tell_about_account(login);
  const bool is_noted = account && set_password(login, target.home, *account);
  note_account(login);
  if (!is_noted) return -1;
  keep::settle();
  std::printf("STEP 1: User and Home Directory Created.");
  std::printf("STEP 3: Migrating..........");  // Deliberate: part of the output. There is no step 2.
  put(new_dir_path, profiles_folder);
  const std::string image = image_name(Mark::several_users);
  const int result = itemprofiles2(nullptr, image.c_str(), login.c_str(), profiles, profiles_folder.c_str());
  std::printf("....................DONE");
  // One without an account that could be made has a home all the same: its things lie there, root's.
  const bool is_new_home = account == Account::made || (!had_home && lies_at(target.home));
  const std::string owner = has_account(login) ? login : "root";
  if (!(is_new_home ? kept_before_closing(owner, target.home) : kept_before_chown(login, target.home)))
    return -1;
  if (is_new_home) make_private(target.home);
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
  if (skeleton != nullptr) static_cast<void>(unpack_skeleton(*skeleton));
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
    if (shell::starts_no_more_commands()) break;
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
