// GNOME defaults that make the desktop behave like the Windows one.
#ifndef BRINDLE_PROCESS_DESKTOP_GNOME_DEFAULTS_H
#define BRINDLE_PROCESS_DESKTOP_GNOME_DEFAULTS_H

/// Puts the Firefox launcher among the panel's launchers of the home being migrated and, where the desktop
/// has Epiphany under /opt/gnome, makes it the panel's web-browser launcher: through GConf for the running
/// user, as %gconf.xml for a profile whose folder for it exists.
void set_to_firefox();

/// Sets Windows-like keyboard shortcuts for the running user, always through GConf. Not part of a run.
void keyboard_shortcut();

#endif
