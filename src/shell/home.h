// The home directory of the user being migrated.
#ifndef BRINDLE_SHELL_HOME_H
#define BRINDLE_SHELL_HOME_H

#include <string>

/// The home of the user being migrated: for the running user "/root" or "/home/" and the login name of the
/// real user id (the account's own home field is not used), during a profile "/home/" and `cur_user`.
/// Prints the trace line "buffer=HOME". Empty, after "username " and the system error on standard error,
/// when the running user has no account entry.
std::string user_home();

/// user_home for a buffer of 64 bytes. Returns 0, or -1 without a home or when it does not fit.
int username(char* buffer);

/// Writes "/home/" and `cur_user` into `buffer` (64 bytes). Returns 0, or -1 when it does not fit.
int currentusername(char* buffer);

#endif
