// Whose turn it is: the Windows users of an archive, one Linux account for each, and the running user after
// them.
#ifndef BRINDLE_PROCESS_RUN_ACCOUNTS_H
#define BRINDLE_PROCESS_RUN_ACCOUNTS_H

/// Reads "users.txt" in the archive root `args` and sets isMultiUser and default_user. A missing file means
/// one user; a file without a "MultiUser Migration" line, several. Returns 0, or -1 when closing fails.
int CheckMultiUser(const char* args);

/// Makes and migrates an account for each entry of "Profiles" in the archive root `root`. Sets font_dir_path,
/// and with a skeleton home homedirpath and tarfilepath; leaves isDefaultUser and cur_user as the last
/// profile needed them. Returns 0, for a missing folder as well: then the mark of several users has been
/// posted as failed already.
int migrate_profiles(const char* root);

/// Migrates the profile `cur_user`; `args` is the archive root's "Profiles". Sets new_dir_path to the
/// profile's folder. Returns 0.
int profiles(const char* args);

/// From here on the migration is for the user running the program: sets isDefaultUser and, to the archive
/// root `root`, new_dir_path. Returns 0.
int begin_running_user(const char* root);

#endif
