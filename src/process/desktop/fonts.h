// Fonts of the Windows side.
#ifndef BRINDLE_PROCESS_DESKTOP_FONTS_H
#define BRINDLE_PROCESS_DESKTOP_FONTS_H

/// Installs the fonts of ARGS/Fonts (`args` is the archive root, for profiles too): on a system with
/// fonts_for_everybody and with an archive of several users for the whole system, otherwise into the home
/// being migrated. Where the system brings_terminal_settings, the running user also gets the skeleton home's.
/// Where the office suite is installed it gets the home's fonts as well. Returns 0, also when a command
/// failed, which is in the system log; -1 when fonts that were too many for a command could not be copied
/// here (copy_entries).
int fonts(const char* args);

#endif
