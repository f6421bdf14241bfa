// What each system has and does differently: one row a system. The place to look first for a new system.
#ifndef BRINDLE_SYSTEM_CAPABILITIES_H
#define BRINDLE_SYSTEM_CAPABILITIES_H

#include <string>

#include "shell/compose.h"
#include "system/marks.h"
#include "system/system.h"

/// A prepared home that new browser profiles and accounts are copied from.
struct Skeleton {
  const char* folder;   ///< where it is unpacked
  const char* tarball;  ///< installed with the program
  bool bzip2;  ///< such a tarball holds the home's content; a plain one brings the folder "root" itself
};

/// How the target applications get their configuration before the migrators write into it.
enum class FirstStart {
  none,
  from_skeleton,  ///< a browser profile from the skeleton home
  gnome,          ///< the same, file manager settings, and a short start of Evolution
  of_programs,    ///< a short start of the mail programs themselves
};

/// The command that makes the account `login` with the home `home`, a copy of the folder "root" in
/// `skeleton`.
using AccountCommand = shell::Command (*)(const std::string& login, const std::string& home,
                                          const std::string& skeleton);

/// What the driver window answers with. No value is 0, which a row without one would have.
enum class DriverAnswers { ppd_files = 1, redflag_lines, kde_lines };

/// One row. What it does not name is as written here.
struct Capabilities {
  const char* name = "";  ///< as OSName spells it; empty: every other text

  // Applications and accounts
  bool gconf = false;  ///< settings are kept by GConf's daemon
  FirstStart first_start = FirstStart::none;
  const Skeleton* skeleton = nullptr;  ///< null: none, new accounts are copies of /root
  AccountCommand make_account;
  bool repairs_source_lists = true;  ///< of Evolution in a new home, if there are any

  // Desktop
  const char* link_icon = "Icon=folder1";  ///< icon line of desktop links, the last one
  bool documents_on_desktop = false;       ///< documents lie in a folder of the desktop and need no link
  bool share_in_konqueror = false;         ///< the shared folder gets a Konqueror bookmark
  bool fonts_for_everybody = false;  ///< an archive of several users brings its fonts for the whole system
  bool brings_terminal_settings = false;  ///< the running user's terminal gets the skeleton's settings
  int kde_tiled = 5;                      ///< kdesktop's number for a tiled wallpaper

  // Printers
  DriverAnswers driver_answers;                ///< every row names it
  const char* landscape_option = "landscape";  ///< for lpoptions

  // Wizard
  bool language_from_ctype = false;  ///< LC_CTYPE, when it is set, goes before LANG
  bool progress_moves = true;        ///< the bar moves while the worker works
  int first_row = 43;                ///< place of the first row on the progress page, in pixels from above
  int row_pitch = 22;
  MarkSet hidden_rows = {};  ///< marks without a row
  MarkSet unset_rows = {};   ///< marks that no run sets: their rows are there, but not shown
};

const Capabilities& capabilities(System system);

#endif
