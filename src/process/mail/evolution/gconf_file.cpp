#include "process/mail/evolution/gconf_file.h"

#include "shell/files.h"

bool write_gconf_file(const std::string& folder, const std::string& text) {
  return replace_file(folder + "/%gconf.xml", text);
}
