// Konqueror's bookmark file, which two migrators add to.
#ifndef BRINDLE_PROCESS_DESKTOP_KONQUEROR_H
#define BRINDLE_PROCESS_DESKTOP_KONQUEROR_H

#include <string>

/// Puts `bookmark_xml`, as it stands, right behind the opening xbel element of the Konqueror bookmarks in
/// `home`, before all other bookmarks; an empty bookmark file (`<xbel/>`) becomes a list of this one.
/// A missing bookmark file is not made. The copy it works from, bookmarkstemp.xml beside it, stays behind
/// as the state before the last change. Failed commands are in the system log.
/// Returns true, also without a bookmark file. False, after a line on standard error, when the copy is not
/// whole or the file cannot be written: the bookmarks are then as they were. With errno not_kept
/// (shell/kept.h) no command has run since what would have been replaced could not be kept.
[[nodiscard]] bool add_konqueror_bookmark(const std::string& home, const std::string& bookmark_xml);

#endif
