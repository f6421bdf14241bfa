// The home directory of the user being migrated.
#ifndef BRINDLE_SHELL_HOME_H
#define BRINDLE_SHELL_HOME_H

#include <string>

/// A user being migrated.
struct Owner {
  std::string login;
  std::string home;  ///< "/root", or "/home/" and the login name: the account's own home field is not used
};

/// The user that isDefaultUser and cur_user name: the one whose real user id runs the program, or a profile.
/// Both texts are empty, with errno set, when the running user has no account entry. Prints nothing.
Owner current_owner();

/// Leaves the trace of asking for a home: "buffer=HOME" on standard output or, for an empty one, "username "
/// and the system error on standard error. The lines are part of what people see of a run, one for each time
/// a home is asked for: code that knows the home already prints them all the same where they belong.
void trace_home(const std::string& home);

/// The home of current_owner, with its trace.
std::string user_home();

// ---- Given name and signature ---------------------------------------------------------------------------

/// user_home for a buffer of 64 bytes. Returns 0, or -1 without a home or when it does not fit.
int username(char* buffer);

/// Writes "/home/" and `cur_user` into `buffer` (64 bytes). Returns 0, or -1 when it does not fit.
int currentusername(char* buffer);

#endif
