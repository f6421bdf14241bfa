// Archives with several Windows users: one Linux account for each.
#ifndef BRINDLE_PROCESS_RUN_ACCOUNTS_H
#define BRINDLE_PROCESS_RUN_ACCOUNTS_H

#include <string>

/// Reads "users.txt" in the archive root `args` and sets isMultiUser and default_user. A missing file means
/// one user; a file without a "MultiUser Migration" line, several. Returns 0, or -1 when closing fails.
int CheckMultiUser(const char* args);

/// Makes and migrates an account for each entry of "Profiles" in the archive root, and posts the mark
/// "image_0". Leaves isDefaultUser and cur_user as the last profile needed them.
void migrate_profiles(const std::string& root);

/// Migrates the profile `cur_user`; `args` is the archive root's "Profiles". Sets new_dir_path to the
/// profile's folder. Returns 0.
int profiles(const char* args);

#endif
