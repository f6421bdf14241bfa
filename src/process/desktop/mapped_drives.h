// Windows drive letters that stand for network shares.
#ifndef BRINDLE_PROCESS_DESKTOP_MAPPED_DRIVES_H
#define BRINDLE_PROCESS_DESKTOP_MAPPED_DRIVES_H

// ARGS/Mapped_Drives holds one text file a drive: line 1 is the share as it follows "smb:" in a URL, line 2
// the drive's name. Files are taken in directory order; one that cannot be read or lacks a line is skipped
// after a line on standard error. Share and name are written as they stand, whatever they hold.

/// Turns the drives into Nautilus bookmarks, which replace the old ones, and desktop links in the home being
/// migrated, and switches Nautilus to its browser view: through GConf for the running user, as %gconf.xml
/// for a profile.
/// Returns 0, also when GConf fails, or -1 when the folder cannot be opened, at once when a desktop link
/// cannot be written, or when the bookmarks, which are then the old ones, or the %gconf.xml cannot be.
int nautilusmappeddrives(const char* args);

/// Turns the drives into Konqueror bookmarks, each put before the old ones, and desktop links.
/// Returns 0, or -1 when the folder cannot be opened, at once when a desktop link cannot be written, or when
/// a bookmark could not be: the bookmarks are then without it.
int mappeddrives(const char* args);

#endif
