// Folders in the home of the user being migrated.
#ifndef BRINDLE_SYSTEM_HOME_FOLDER_H
#define BRINDLE_SYSTEM_HOME_FOLDER_H

#include <string>

/// Makes the folder `folder`, a path below `home`, with those above it that are missing. New ones belong to
/// the owner of the home. Does nothing where a link leads out of the home: who runs this may be root, and the
/// link another person's. False, with errno set, when the folder is not there afterwards or not in the home:
/// not_kept (shell/kept.h) when what would be changed could not be written down first.
///
///   make_home_folder("/home/ann", ".kde/share/apps/kabc")
bool make_home_folder(const std::string& home, const std::string& folder);

#endif
