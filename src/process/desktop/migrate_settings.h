// Settings as part of a migrator.
#ifndef BRINDLE_PROCESS_DESKTOP_MIGRATE_SETTINGS_H
#define BRINDLE_PROCESS_DESKTOP_MIGRATE_SETTINGS_H

#include <vector>

#include "gconf/settings.h"

/// store_settings with the result of a migrator: 0, also when the client refused some of them, which only
/// standard error shows; or -1 after the file's path and the system error when a profile's file cannot be
/// made.
int migrate_settings(const Target& target, const std::vector<Setting>& settings, const SettingsFile& file);

#endif
