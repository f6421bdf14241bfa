// Writing a profile's %gconf.xml, whose owner has no running daemon that could be asked.
#ifndef BRINDLE_PROCESS_MAIL_EVOLUTION_GCONF_FILE_H
#define BRINDLE_PROCESS_MAIL_EVOLUTION_GCONF_FILE_H

#include <string>

/// Replaces `folder`/%gconf.xml by `text`. False, with errno set, when it cannot be opened.
bool write_gconf_file(const std::string& folder, const std::string& text);

#endif
