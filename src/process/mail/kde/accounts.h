// Mail into KMail: the migrator, and the accounts in kmailrc.
#ifndef BRINDLE_PROCESS_MAIL_KDE_ACCOUNTS_H
#define BRINDLE_PROCESS_MAIL_KDE_ACCOUNTS_H

/// Migrates accounts, contacts, mail, calendar with tasks, and notes from the archive root (or a profile's
/// folder) `args`, in this order. Returns 1 as soon as a step returns 1. Another failure stops nothing: it is
/// the result in the end, but for a missing accounts folder, which is none.
int kmail_mail_account(const char* args);

/// Writes an account and a transport into the target user's kmailrc for each account settings file under
/// `args`, numbered from 1 in directory order, and then how many there are. The first one replaces the file;
/// without any the numbers are appended to it. A file that cannot be read takes no number.
/// Returns 0, 1 when kmailrc cannot be written whole, or it or a folder file cannot be kept: kmailrc is then
/// as it was before, -1 when the accounts folder cannot be opened.
int kmailaccountsettings(const char* args);

/// Appends the account of the settings file `account_path` (UTF-8, LF line ends) as number `seqno` to
/// kmailrc, which number 1 removes first, and makes the account's empty folder file. Its "Id=" is a number
/// that no account in kmailrc has yet. `path` is unused. Returns 0, or 1 when one of the files cannot be
/// kept or written or the folder file's name would hold a "/"; a kmailrc that cannot be written is as it was
/// before.
/// A settings file that cannot be read is passed over, with 1, before anything is removed.
int kde_extract_from_account_path(const char* account_path, const char* path, int seqno);

#endif
