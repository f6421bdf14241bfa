#include "process/desktop/migrate_settings.h"

#include <cstdio>
#include <string>

int migrate_settings(const Target& target, const std::vector<Setting>& settings, const SettingsFile& file) {
  const std::string path = path_of(file, target);
  // Deliberate: part of the output. A client that fails changes no mark. It has told standard error.
  if (store_settings(target, settings, file) != Stored::not_in_file) return 0;
  std::perror(path.c_str());
  return -1;
}
