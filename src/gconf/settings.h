// Settings of the desktop and of Evolution for whomever a migration is.
#ifndef BRINDLE_GCONF_SETTINGS_H
#define BRINDLE_GCONF_SETTINGS_H

#include <string>
#include <variant>
#include <vector>

#include "system/target.h"

/// One key and its value.
struct Setting {
  const char* key;
  std::variant<bool, std::string, std::vector<std::string>> value;
};

/// The same settings as a profile gets them: a file.
struct SettingsFile {
  const char* folder;                    ///< below HOME/.gconf; the file is its %gconf.xml
  std::vector<const char*> new_folders;  ///< below HOME/.gconf, made first, in this order, by logged commands
  std::string text;                      ///< the whole file
  bool announced = false;                ///< prints each command and the file's path
};

/// What became of them. A client that fails has said so on standard error; a file that cannot be written
/// leaves errno, not_kept (shell/kept.h) among others, and the old one as it was. Whoever lets a failure pass
/// says so with a cast to void and the reason.
enum class Stored { all, not_all_in_client, not_in_file };

/// Stores settings for `target`: for the running user each of `settings` through the GConf client, in order,
/// the others too when one fails; for a profile as `file`, which replaces what was there.
[[nodiscard]] Stored store_settings(const Target& target, const std::vector<Setting>& settings,
                                    const SettingsFile& file);

/// Stores settings through the client in the same way, whomever the migration is for: keys that only the
/// running user gets.
[[nodiscard]] Stored store_in_client(const std::vector<Setting>& settings);

/// The path of a settings file in the home of `target`.
std::string path_of(const SettingsFile& file, const Target& target);

#endif
