// Fonts of the Windows side.
#ifndef BRINDLE_PROCESS_DESKTOP_FONTS_H
#define BRINDLE_PROCESS_DESKTOP_FONTS_H

/// Installs the fonts of ARGS/Fonts (`args` is the archive root, for profiles too): on a system with
/// fonts_for_everybody and with an archive of several users for the whole system, otherwise into the home
/// being migrated. Where the system brings_terminal_settings, the running user also gets the skeleton home's.
/// Where the office suite is installed it gets the home's fonts as well. Always
/// returns 0; what failed is in the system log or, when there were too many fonts for a command, on standard
/// error. But -1 when what would be replaced could not be kept.
int fonts(const char* args);

#endif
