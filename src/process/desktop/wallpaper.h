// The Windows desktop's wallpaper.
#ifndef BRINDLE_PROCESS_DESKTOP_WALLPAPER_H
#define BRINDLE_PROCESS_DESKTOP_WALLPAPER_H

// ARGS/Wallpaper holds the picture, the first entry in directory order that is not "option.txt", and
// "option.txt", whose first character is the Windows style: C centred, S stretched, T tiled. An "option.txt"
// that the home has already is there again, unchanged, when a migrator has ended.

/// Copies the picture into the home being migrated and makes it GNOME's background: through GConf for the
/// running user, as %gconf.xml for a profile.
/// Returns 0, also when GConf fails, or -1 when the folder cannot be opened or has no picture, "option.txt"
/// cannot be read, the %gconf.xml cannot be created or what is there cannot be kept.
int wallpaper(const char* args);

/// Copies the picture into the home being migrated as "Wallpaper1" with its extension and makes it KDE's
/// background: by dcop for the running user, as a whole kdesktoprc for a profile, which replaces the old one.
/// Returns 0, or -1 as above (kdesktoprc in place of %gconf.xml).
int kdewallpaper(const char* args);

#endif
