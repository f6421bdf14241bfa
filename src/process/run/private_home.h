// What was private in Windows is private after: one person of a family does not read another's mail.
//
// Both are for homes that the run has made and for those of accounts that it has made, and say on standard
// error what they could not do. No link is followed, and what lies on another file system is left alone.
#ifndef BRINDLE_PROCESS_RUN_PRIVATE_HOME_H
#define BRINDLE_PROCESS_RUN_PRIVATE_HOME_H

#include <string>

/// Gives the folder `home` to `login` and closes it to everybody else, before anything is put into it. It
/// may have been there before, of whatever owner.
void close_home(const std::string& home, const std::string& login);

/// Takes everybody else's rights, and set-id and sticky bits, from `home` and all that lies in it; its
/// owner's stay. A file that has a name outside of it as well stays as it is.
void make_private(const std::string& home);

#endif
