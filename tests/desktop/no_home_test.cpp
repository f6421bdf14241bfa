// What every migrator does for a user without an account entry, and that each asks once for a home.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "process/desktop/browser.h"
#include "process/desktop/documents.h"
#include "process/desktop/fonts.h"
#include "process/desktop/gnome_defaults.h"
#include "process/desktop/mapped_drives.h"
#include "process/desktop/wallpaper.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using testing::IsEmpty;
using testing::StartsWith;

int firefox_launcher(const char* /*args*/) {
  set_to_firefox();
  return -1;  // has no result of its own
}

struct Migrator {
  const char* name;
  int (*migrate)(const char*);
  int without_home = -1;
  const char* before_home = "";  // what it prints before it asks
};

class AnyMigrator : public testing::TestWithParam<Migrator> {};

TEST_P(AnyMigrator, WithoutAHomeTouchesNothing) {
  shell_quietly("mkdir -p /tmp/b/Fonts /tmp/b/Mapped_Drives /tmp/b/Desktop '/tmp/b/File Extensions'");
  write_file("/tmp/b/Wallpaper/a.jpg", "BM");
  write_file("/tmp/b/Wallpaper/option.txt", "C");
  write_file("/tmp/b/Cookies.txt", "a\r\n");
  // Where an empty home would lead to.
  shell_quietly(
      "rm -f /usr/bin/firefox; cd / && mkdir -p Desktop Documents .mozilla/default/abc.slt .nautilus .fonts "
      ".kde/share/apps/konqueror .kde/share/config .gnome2/panel2.d/default/launchers .gconf/apps");
  const std::string before = output_of("find /Desktop /Documents /.[a-z]*");
  ASSERT_EQ(0, setreuid(54321, 0));
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  EXPECT_EQ(GetParam().without_home, GetParam().migrate("/tmp/b"));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), StartsWith("username : "));
  EXPECT_EQ(GetParam().before_home, testing::internal::GetCapturedStdout());
  EXPECT_THAT(commands_run(), IsEmpty());
  EXPECT_EQ(before, output_of("find /Desktop /Documents /.[a-z]*"));
}

TEST_P(AnyMigrator, AsksOnceForAHome) {
  isDefaultUser = 0;
  assign(cur_user, "ann");
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  GetParam().migrate("/tmp/missing");
  const std::string said = testing::internal::GetCapturedStdout();
  testing::internal::GetCapturedStderr();
  EXPECT_THAT(said, StartsWith(std::string(GetParam().before_home) + "buffer=/home/ann\n"));
  EXPECT_EQ(said.find("buffer="), said.rfind("buffer="));
}

INSTANTIATE_TEST_SUITE_P(
    Each, AnyMigrator,
    testing::Values(Migrator{"documents", mydocs}, Migrator{"desktop", desktop},
                    Migrator{"file_extensions", file_extensions}, Migrator{"fonts", fonts, 0},
                    Migrator{"favourites", favourites}, Migrator{"cookies", cookies},
                    Migrator{"konquererbookmarks", konquererbookmarks},
                    Migrator{"konquerercookies", konquerercookies}, Migrator{"wallpaper", wallpaper},
                    Migrator{"kdewallpaper", kdewallpaper, -1, "In kdewallpaper"},
                    Migrator{"nautilusmappeddrives", nautilusmappeddrives},
                    Migrator{"mappeddrives", mappeddrives}, Migrator{"set_to_firefox", firefox_launcher}),
    [](const auto& test) { return std::string(test.param.name); });

// Nobody's home is filled then, so none is asked for.
TEST(SharedFilesOfSeveralUsers, AskForNoHome) {
  isMultiUser = 1;
  assign(OSName, "GNome");
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  file_extensions("/tmp/missing");
  testing::internal::GetCapturedStderr();
  EXPECT_EQ("", testing::internal::GetCapturedStdout());
}

}  // namespace
