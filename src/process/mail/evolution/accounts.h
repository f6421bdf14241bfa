// Mail accounts for Evolution, and with them the mail folders, calendar, contacts and tasks.
#ifndef BRINDLE_PROCESS_MAIL_EVOLUTION_ACCOUNTS_H
#define BRINDLE_PROCESS_MAIL_EVOLUTION_ACCOUNTS_H

/// Migrator: registers every account of the archive root or profile folder `path` with Evolution, through
/// the GConf client for the running user and in the home's %gconf.xml for a profile, then brings over the
/// mail folders, calendar, contacts and tasks.
/// Returns 0, or -1 when the accounts folder cannot be opened ("In mail_account() opendir: " with the
/// system error) or the %gconf.xml cannot be made; nothing else is then migrated. -1 as well when calendar,
/// contacts or tasks could not be copied whole, and when something that was there could not be kept: that
/// ends it.
int mail_account(const char* path);

/// Size of the text that extract_from_account_path writes, its NUL included.
constexpr int account_description_size = 4096;

/// Writes Evolution's XML description of the account settings file `account_path` into `data`
/// (account_description_size bytes). Its uid is new with each call.
/// Returns 0, or -1 with an empty text when the file cannot be opened or the text does not fit.
int extract_from_account_path(const char* account_path, char* data);

#endif
