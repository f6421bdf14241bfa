#include "process/desktop/gnome_defaults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gconf/gconf_calls.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/session.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr const char* launcher_folder = "/.gconf/apps/panel/profiles/default/objects/webbrowser_launcher";
constexpr const char* launcher_key =
    "/apps/panel/profiles/default/objects/webbrowser_launcher/launcher_location";

struct GnomeDefaults : testing::Test {
  GnomeDefaults() {
    write_file("/usr/local/brindle/firefox.desktop", read_file(test_data("../data/firefox.desktop")));
    shell_quietly("rm -rf /opt/gnome; mkdir -p /root/.gnome2/panel2.d/default/launchers");
  }
  static void with_epiphany() { write_file("/opt/gnome/share/applications/epiphany.desktop", ""); }
  static void for_ann() {
    isDefaultUser = 0;
    assign(cur_user, "ann");
    shell_quietly("mkdir -p /home/ann/.gnome2/panel2.d/default/launchers");
  }
};

TEST_F(GnomeDefaults, FirefoxIsPutOnThePanel) {
  set_to_firefox();
  EXPECT_THAT(commands_run(),
              ElementsAre("cp /usr/local/brindle/firefox.desktop /root/.gnome2/panel2.d/default/launchers/"));
  EXPECT_TRUE(exists("/root/.gnome2/panel2.d/default/launchers/firefox.desktop"));
  EXPECT_EQ("",
            output_of("desktop-file-validate /root/.gnome2/panel2.d/default/launchers/firefox.desktop 2>&1"));
}

TEST_F(GnomeDefaults, WithoutALauncherFolderNoFileIsMadeOfThatName) {
  shell_quietly("rmdir /root/.gnome2/panel2.d/default/launchers");
  set_to_firefox();
  EXPECT_FALSE(exists("/root/.gnome2/panel2.d/default/launchers"));
}

TEST_F(GnomeDefaults, OnNovellsDesktopItBecomesTheWebBrowserLauncher) {
  Session session;
  with_epiphany();
  set_to_firefox();
  EXPECT_EQ("firefox.desktop\n", session.get(launcher_key));
}

TEST_F(GnomeDefaults, AClientThatFailsIsOnlyComplainedAbout) {
  with_epiphany();
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  set_to_firefox();
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("gconf_client_set_string : set: "));
  EXPECT_EQ("buffer=/root\n", testing::internal::GetCapturedStdout());
  EXPECT_FALSE(exists("/root" + std::string(launcher_folder)));
}

TEST_F(GnomeDefaults, ElsewhereTheLauncherStays) {
  Session session;
  set_to_firefox();
  EXPECT_THAT(session.get(launcher_key), Not(HasSubstr("firefox")));
}

TEST_F(GnomeDefaults, ElsewhereAProfilesLauncherStaysToo) {
  for_ann();
  shell_quietly("mkdir -p /home/ann" + std::string(launcher_folder));
  set_to_firefox();
  EXPECT_FALSE(exists("/home/ann" + std::string(launcher_folder) + "/%gconf.xml"));
}

TEST_F(GnomeDefaults, OfAProfileAreWrittenToItsHome) {
  Session session;
  for_ann();
  with_epiphany();
  shell_quietly("mkdir -p /home/ann" + std::string(launcher_folder));
  set_to_firefox();
  EXPECT_THAT(settings_made(), testing::IsEmpty());
  EXPECT_THAT(commands_run(), ElementsAre("cp /usr/local/brindle/firefox.desktop "
                                          "/home/ann/.gnome2/panel2.d/default/launchers/"));
  EXPECT_TRUE(
      matches_expected("/home/ann" + std::string(launcher_folder) + "/%gconf.xml", "panel/gconf.xml"));
}

TEST_F(GnomeDefaults, OfAProfileAreReadByTheDaemon) {
  for_ann();
  with_epiphany();
  std::string folder = "/home/ann/.gconf";
  for (const char* below :
       {"", "/apps", "/panel", "/profiles", "/default", "/objects", "/webbrowser_launcher"}) {
    folder += below;
    write_file(folder + "/%gconf.xml", "<?xml version=\"1.0\"?>\n<gconf>\n</gconf>\n");
  }
  set_to_firefox();
  EXPECT_EQ("firefox.desktop\n",
            output_of("HOME=/home/ann dbus-run-session -- sh -c 'gconftool-2 -g " +
                      std::string(launcher_key) + "; gconftool-2 --shutdown' 2>/dev/null"));
}

TEST_F(GnomeDefaults, OfAProfileWithoutTheFolderAreLeftOut) {
  for_ann();
  with_epiphany();
  testing::internal::CaptureStderr();
  set_to_firefox();
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
  EXPECT_EQ("firefox.desktop\n", output_of("ls /home/ann/.gnome2/panel2.d/default/launchers"));
  EXPECT_FALSE(exists("/home/ann/.gconf"));
}

TEST_F(GnomeDefaults, ShortcutsAreWindowsOwn) {
  Session session;
  keyboard_shortcut();
  EXPECT_EQ("F1\n", session.get("/apps/gnome_settings_daemon/keybindings/help"));
  EXPECT_EQ("F3\n", session.get("/apps/gnome_settings_daemon/keybindings/search"));
  EXPECT_EQ("<Alt>e\n", session.get("/apps/gnome_settings_daemon/keybindings/home"));
  EXPECT_EQ("<Control>Escape\n", session.get("/apps/metacity/global_keybindings/panel_main_menu"));
  EXPECT_EQ("<Alt>r\n", session.get("/apps/metacity/global_keybindings/panel_run_dialog"));
  EXPECT_THAT(settings_made(),
              ElementsAre("string /apps/gnome_settings_daemon/keybindings/help F1",
                          "string /apps/gnome_settings_daemon/keybindings/search F3",
                          "string /apps/gnome_settings_daemon/keybindings/home <Alt>e",
                          "string /apps/metacity/global_keybindings/panel_main_menu <Control>Escape",
                          "string /apps/metacity/global_keybindings/panel_run_dialog <Alt>r"));
}

TEST_F(GnomeDefaults, ShortcutsAreTheRunningUsersWhomeverAMigrationIsFor) {
  Session session;
  for_ann();
  keyboard_shortcut();
  EXPECT_EQ("F1\n", session.get("/apps/gnome_settings_daemon/keybindings/help"));
  EXPECT_FALSE(exists("/home/ann/.gconf"));
}

}  // namespace
