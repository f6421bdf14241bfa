// Logins and groups of this machine (/etc/passwd and its kin): states as texts, and given back.
//
// A login's state is "nothing", or its lines, each behind the name of its file:
//
//   passwd ann:x:1001:100::/home/ann:/bin/sh
//   shadow ann:$y$j9T$...:20414:0:99999:7:::
//   groups audio cdrom                        those that name it as a member, sorted
//   subuid ann:165536:65536                   one line each
//   subgid ann:165536:65536
//
// A group's state is "nothing" or "group users:x:100:ann,ben", its line. A state that cannot be told is no
// value, with the reason in `error`. All of it needs root. Homes are the caller's affair.
#ifndef BRINDLE_THINGS_ACCOUNT_H
#define BRINDLE_THINGS_ACCOUNT_H

#include <ctime>
#include <optional>
#include <string>

namespace things {

std::optional<std::string> account_state(const std::string& login, std::string& error);

/// Why the login may not simply be removed: somebody has logged in with it since the time `since`, it runs a
/// process, or it has mail or a crontab. Empty when nobody has used it; a reason as well when that cannot be
/// told.
std::string use_of_account(const std::string& login, std::time_t since);

/// Makes, changes or removes the login so that account_state gives `state`; its home is not touched. Works
/// with userdel, useradd, usermod, chage and chpasswd, run without a shell; the password's hash stands on no
/// command line. False, with the reason in `error`, when it is not in that state afterwards: useradd refuses
/// a user id that another login has meanwhile, and the id of a login that is there is never changed.
[[nodiscard]] bool give_account(const std::string& login, const std::string& state, std::string& error);

/// Of the group `name`.
std::optional<std::string> group_state(const std::string& name, std::string& error);

/// Makes or removes the group, by groupadd and groupdel: groupdel refuses a login's primary group. Members
/// come and go with their logins; the id of a group that is there is never changed.
[[nodiscard]] bool give_group(const std::string& name, const std::string& state, std::string& error);

/// The name of the row of an account that stands for the group `name`: "group users".
std::string row_of_group(const std::string& name);

}  // namespace things

#endif
