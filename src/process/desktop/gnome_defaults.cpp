#include "process/desktop/gnome_defaults.h"

#include <string>

#include "gconf/client.h"
#include "shell/files.h"
#include "shell/home.h"
#include "shell/run.h"
#include "state/state.h"

namespace {

// The closing tags share the last line, and the time, unlike the other settings files', is its own; both
// are fixed, so that a rewritten file is the same file.
constexpr const char* launcher_settings =
    R"(<?xml version="1.0"?>
<gconf>
<entry name="launcher_location" mtime="1114508070" schema="/schemas/apps/panel/objects/launcher_location" type="string">
<stringvalue>firefox.desktop</stringvalue>
</entry></gconf>)";

// The folder is not made: a home without it has no such launcher on its panel.
void write_launcher_settings(const std::string& home) {
  replace_file(home + "/.gconf/apps/panel/profiles/default/objects/webbrowser_launcher/%gconf.xml",
               launcher_settings);
}

}  // namespace

void set_to_firefox() {
  const std::string home = user_home();
  if (home.empty()) return;
  SYSTEM(compose("cp /usr/local/brindle/firefox.desktop %s/.gnome2/panel2.d/default/launchers/", home));
  if (is_folder("/opt/gnome/share/applications", "epiphany.desktop") == 0) return;
  if (isDefaultUser == 1) {
    set_gconf_string("/apps/panel/profiles/default/objects/webbrowser_launcher/launcher_location",
                     "firefox.desktop");
  } else {
    write_launcher_settings(home);
  }
}

void keyboard_shortcut() {
  set_gconf_string("/apps/gnome_settings_daemon/keybindings/help", "F1");
  set_gconf_string("/apps/gnome_settings_daemon/keybindings/search", "F3");
  set_gconf_string("/apps/gnome_settings_daemon/keybindings/home", "<Alt>e");
  set_gconf_string("/apps/metacity/global_keybindings/panel_main_menu", "<Control>Escape");
  set_gconf_string("/apps/metacity/global_keybindings/panel_run_dialog", "<Alt>r");
}
