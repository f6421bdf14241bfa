// Folders for a profile's settings files.
#ifndef BRINDLE_GCONF_FOLDERS_H
#define BRINDLE_GCONF_FOLDERS_H

#include <string>

/// Makes the folder `folder` ("apps/evolution") below HOME/.gconf, with those above it that are missing, and
/// in each of them an empty %gconf.xml where there is none: a settings daemon looks into no folder without
/// one. What is new belongs to the owner of the home. False, with errno set, when one of them is not there
/// afterwards, and where keep sees a trap in its place; nothing is made behind a link that leads out of the
/// home.
bool make_settings_folder(const std::string& home, const std::string& folder);

#endif
