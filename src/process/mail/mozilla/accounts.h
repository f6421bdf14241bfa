// Mail into the Mozilla suite: the migrator, the accounts in prefs.js, the mail folders.
#ifndef BRINDLE_PROCESS_MAIL_MOZILLA_ACCOUNTS_H
#define BRINDLE_PROCESS_MAIL_MOZILLA_ACCOUNTS_H

/// Migrates accounts, contacts, mail and calendar from the archive root (or a profile's folder) `args` into
/// the target user's Mozilla profile: the first entry of .mozilla/default in the home. Contacts of another
/// user go through the administrator's profile in /root, found the same way.
/// Returns -1 before anything is written when a profile is missing, 1 when prefs.js cannot be written, else
/// -1 when contacts or calendar could not be written whole, or 0. What was there and cannot be kept ends it,
/// with -1 or 1. Without an accounts folder only prefs.js is left as it was.
int mozilla(const char* args);

/// Replaces prefs.js of the profile folder `mozillapath`, all other preferences included, by the
/// local-folders account (number 1) and one account for each account settings file under `args`, numbered
/// from 2 in directory order. A file that cannot be read takes no number.
/// Returns 0, 1 when prefs.js cannot be kept or written whole and is as it was before, -1 when the accounts
/// folder cannot be opened.
int mozillaaccountsettings(const char* mozillapath, const char* args);

/// Appends the account of the settings file `account_path` (LF line ends) as number `seqno` to prefs.js of
/// the profile folder `args`. Values are written as they are, quotes and backslashes included.
/// Returns 0, or 1 when the settings file cannot be read or prefs.js not be written; it is then as it was.
int mozilla_extract_from_account_path(const char* account_path, const char* args, int seqno);

/// Copies all that lies in `sourcedir` into `destdir`; the mail folders are Mozilla's own kind already.
/// The blank of a `destdir` that ends in "Local Folders" comes with a backslash before it, as the shell
/// reads it; nothing else of either path is escaped. Returns 0, also when the command fails, or -1 when it
/// was refused or, for too many names, the copying was left to us and failed, or 1 when what would be
/// replaced could not be kept.
int copymozillafiles(const char* sourcedir, const char* destdir);

#endif
