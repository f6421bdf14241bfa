// The GNOME program initialisation: libgnomeui's own where it is installed, else a stand-in of the same
// shape for desktops that have dropped the library.
#ifndef BRINDLE_SUPPORT_GNOME_PROGRAM_H
#define BRINDLE_SUPPORT_GNOME_PROGRAM_H

#ifdef BRINDLE_HAVE_GNOMEUI

#include <libgnomeui/libgnomeui.h>

#else

#include <string>

struct GnomeModuleInfo {
  const char* name;
};

struct GnomeProgram {
  std::string app_id;
  std::string app_version;
  std::string app_datadir;
};

const GnomeModuleInfo* libgnomeui_module_info_get();

/// Initialises GTK with the arguments and keeps the program's name, version and data folder. After `argv`
/// come pairs of property name and text, ended by a null pointer; "app-datadir" is the one that is kept.
/// Ends the program with GTK's message when there is no display. The result lives as long as the program.
GnomeProgram* gnome_program_init(const char* app_id, const char* app_version, const GnomeModuleInfo* module,
                                 int argc, char** argv, const char* first_property, ...);

#endif

#endif
