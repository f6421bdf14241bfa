// Which commands the system log tells of when they fail: each of the desktop's migrators, command by command.
#include <gtest/gtest.h>

#include "process/desktop/browser.h"
#include "process/desktop/documents.h"
#include "process/desktop/fonts.h"
#include "process/desktop/gnome_defaults.h"
#include "process/desktop/konqueror.h"
#include "process/desktop/mapped_drives.h"
#include "process/desktop/wallpaper.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/system_log.h"

namespace {

using Migrator = int (*)(const char*);

int my_documents(const char* root) { return mydocs((std::string(root) + "/My Documents").c_str()); }

int firefox_launcher(const char* /*root*/) { return set_to_firefox(), 0; }

int konqueror_bookmark(const char* /*root*/) {
  return add_konqueror_bookmark("/root", "<bookmark/>") ? 0 : -1;
}

struct Row {
  const char* name;
  Migrator migrate;
  const char* command;
  bool logged = true;
  const char* system = "GNome";
  int several = 0;
  const char* prepare = "true";
  int before = 0;  // commands that begin alike
};

class DesktopCommand : public testing::TestWithParam<Row> {};

TEST_P(DesktopCommand, ThatFailsIsLoggedOrNot) {
  const Row& row = GetParam();
  shell_quietly(
      "mkdir -p /tmp/b/Fonts /tmp/b/Mapped_Drives /tmp/b/Desktop '/tmp/b/File Extensions' '/tmp/b/My "
      "Documents' "
      "/tmp/b/Wallpaper /root/.kde/share/apps/konqueror /root/.kde/share/apps/kcookiejar /root/.nautilus; "
      "cd /tmp/b; echo a | tee Fonts/a Desktop/a 'File Extensions/a' 'My Documents/a' bookmarks.xml cookies "
      ">/root/.kde/share/apps/konqueror/bookmarks.xml; echo C >Wallpaper/option.txt; echo BM "
      ">Wallpaper/a.bmp; "
      "rm -f /usr/bin/staroffice");
  shell_quietly(row.prepare);
  assign(OSName, row.system);
  assign(homedirpath, "/tmp/skeleton");
  isMultiUser = row.several;
  fp_log = std::fopen("/tmp/log", "w");
  EXPECT_EQ(row.logged, is_failure_logged(
                            row.command, [&row] { row.migrate("/tmp/b"); }, row.before));
}

constexpr const char* desktop_folder = "mkdir -p /root/Desktop";
constexpr const char* no_konqueror = "mkdir -p /root/Desktop /home/ann/Desktop; rm -r /root/.kde";
constexpr const char* office = "touch /usr/bin/staroffice";

INSTANTIATE_TEST_SUITE_P(
    All, DesktopCommand,
    testing::Values(
        Row{"documents_folder", my_documents, "mkdir -p /root/Documents", true, "GNome", 0, desktop_folder},
        Row{"runners_desktop", my_documents, "ln -s ~/.gnome-desktop/ ~/Desktop"},
        Row{"desktop", desktop, "ln -s /root/.gnome-desktop/ /root/Desktop"},
        Row{"shared_files_of_one", file_extensions, "cp -a /tmp/b/File\\ Extensions /root"},
        Row{"share", file_extensions, "mkdir /Share", true, "GNome", 1},
        Row{"share_for_all", file_extensions, "chmod -R 777 /Share", true, "GNome", 1},
        Row{"konqueror_folder", file_extensions, "cp -a /tmp/skeleton/root/.kde/share/apps/konqueror", true,
            "RedFlag", 1, no_konqueror},
        Row{"konqueror_owner", file_extensions, "chown -R root /root/.kde/share/apps", true, "RedFlag", 1,
            no_konqueror},
        Row{"fonts_folder", fonts, "mkdir -p /root/.fonts"},
        Row{"fonts_cache", fonts, "fc-cache /root/.fonts"},
        Row{"office_fonts", fonts, "mkdir -p /root/.staroffice7/user/fonts", true, "GNome", 0, office},
        Row{"fonts_of_all", fonts, "rm -f /usr/share/fonts/zh_CN/TrueType/fonts.cache-1", true, "RedFlag", 1},
        Row{"cache_of_all", fonts, "fc-cache /usr/share/fonts/zh_CN/TrueType", true, "RedFlag", 1},
        Row{"terminal_folder", fonts, "rm -rf /tmp/redflagroot2", false, "RedFlag"},
        Row{"terminal_folder_made", fonts, "mkdir /tmp/redflagroot2", false, "RedFlag"},
        Row{"terminal_root_made", fonts, "mkdir /tmp/redflagroot2", false, "RedFlag", 0, "true", 1},
        Row{"terminal_settings", fonts, "tar -jxf", false, "RedFlag"},
        Row{"terminal_folder_gone", fonts, "rm -rf /tmp/redflagroot2", true, "RedFlag", 0, "true", 1},
        Row{"konqueror_bookmarks_gone", konquererbookmarks,
            "rm /root/.kde/share/apps/konqueror/bookmarks.xml"},
        Row{"konqueror_bookmarks", konquererbookmarks, "cp /tmp/b/bookmarks.xml "},
        Row{"konqueror_cookies", konquerercookies, "rm /root/.kde/share/apps/kcookiejar/cookies"},
        Row{"gnome_bookmarks", nautilusmappeddrives, "rm /root/.nautilus/bookmarks.xml"},
        Row{"kde_bookmarks_old_copy", konqueror_bookmark,
            "rm -f /root/.kde/share/apps/konqueror/bookmarkstemp.xml"},
        Row{"kde_bookmarks_copy", konqueror_bookmark, "cp /root/.kde/share/apps/konqueror/bookmarks.xml "},
        Row{"style", kdewallpaper, "cp /tmp/b/Wallpaper/option.txt /root", true, "Linspire"},
        Row{"picture", kdewallpaper, "cp \"/tmp/b/Wallpaper/a.bmp\"", true, "Linspire"},
        Row{"background", kdewallpaper, "dcop kdesktop", true, "Linspire"},
        Row{"launcher", firefox_launcher, "cp /usr/local/brindle/firefox.desktop "}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
