#include "process/mail/evolution/gconf_file.h"

#include <cstdio>

#include "shell/files.h"

bool write_gconf_file(const std::string& folder, const std::string& text) {
  const File file = open_file(folder + "/%gconf.xml", "w");
  if (!file) return false;
  std::fwrite(text.data(), 1, text.size(), file.get());
  return true;
}
