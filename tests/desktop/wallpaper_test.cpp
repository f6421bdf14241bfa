#include "process/desktop/wallpaper.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gconf/gconf_calls.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"
#include "support/session.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

struct Wallpaper : testing::Test {
  Wallpaper() {
    assign(OSName, "Linspire");
    stand_in_for_dcop();
    fp_log = std::fopen("/tmp/log", "w");
  }
  static void stand_in_for_dcop() {
    write_file("/usr/local/bin/dcop", "#!/bin/sh\nprintf '[%s]' \"$@\" > /tmp/dcop\n");
    shell_quietly("chmod 755 /usr/local/bin/dcop");
  }
  static void picture(const std::string& name, const std::string& style) {
    write_file("/tmp/b/Wallpaper/" + name, "BM");
    write_file("/tmp/b/Wallpaper/option.txt", style);
  }
  static void for_ann() {
    isDefaultUser = 0;
    assign(cur_user, "ann");
    shell_quietly("mkdir -p /home/ann/.gconf/desktop/gnome /home/ann/.kde/share/config");
  }
  static std::string log() {
    std::fflush(fp_log);
    return read_file("/tmp/log");
  }
};

// ---- GNOME ----------------------------------------------------------------------------------------------

TEST_F(Wallpaper, OnGnomeIsSetThroughGconf) {
  Session session;
  picture("bliss.bmp", "C\r\n");
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, wallpaper("/tmp/b"));
  EXPECT_EQ("buffer=/root\nWallpaper Login Name::/root\n", testing::internal::GetCapturedStdout());
  EXPECT_EQ("/root/bliss.bmp\n", session.get("/desktop/gnome/background/picture_filename"));
  EXPECT_EQ("centered\n", session.get("/desktop/gnome/background/picture_options"));
  EXPECT_THAT(settings_made(),
              ElementsAre("string /desktop/gnome/background/picture_filename /root/bliss.bmp",
                          "string /desktop/gnome/background/picture_options centered"));
  EXPECT_TRUE(exists("/root/bliss.bmp"));
  EXPECT_FALSE(exists("/root/option.txt"));
  EXPECT_THAT(commands_run(),
              ElementsAre("cp /tmp/b/Wallpaper/* /root", "gconftool-2 --spawn", "gconftool-2 --spawn",
                          "gconftool-2 --spawn", "gconftool-2 --spawn"));
}

TEST_F(Wallpaper, OnGnomeEveryOtherStyleIsTiling) {
  Session session;
  const std::pair<const char*, const char*> styles[] = {
      {"S", "stretched\n"}, {"T", "wallpaper\n"}, {"c", "wallpaper\n"}, {"", "wallpaper\n"}};
  for (const auto& [style, option] : styles) {
    picture("a.jpg", style);
    wallpaper("/tmp/b");
    EXPECT_EQ(option, session.get("/desktop/gnome/background/picture_options")) << style;
  }
}

TEST_F(Wallpaper, OnGnomeAClientThatRefusesChangesNoResult) {
  picture("bliss.bmp", "C");
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, wallpaper("/tmp/b"));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("gconf_client_set_string : set: "));
  EXPECT_EQ("before set string\nbefore set string\n", log());
  EXPECT_TRUE(exists("/root/bliss.bmp"));
}

TEST_F(Wallpaper, OfAGnomeProfileIsWrittenToItsHome) {
  Session session;
  for_ann();
  picture("bliss.bmp", "S");
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, wallpaper("/tmp/b"));
  EXPECT_EQ(
      "buffer=/home/ann\nWallpaper Login Name::/home/ann\n"
      "Writing wallpaper gconf::/home/ann/bliss.bmpstretched\n",
      testing::internal::GetCapturedStdout());
  EXPECT_TRUE(
      matches_expected("/home/ann/.gconf/desktop/gnome/background/%gconf.xml", "wallpaper/gconf.xml"));
  EXPECT_THAT(commands_run(), ElementsAre("cp /tmp/b/Wallpaper/* /home/ann",
                                          "mkdir /home/ann/.gconf/desktop/gnome/background"));
  EXPECT_THAT(settings_made(), testing::IsEmpty());
  EXPECT_FALSE(exists("/home/ann/option.txt"));
}

TEST_F(Wallpaper, OfAGnomeProfileIsReadByTheDaemon) {
  for_ann();
  const char* empty = "<?xml version=\"1.0\"?>\n<gconf>\n</gconf>\n";
  write_file("/home/ann/.gconf/%gconf.xml", empty);
  write_file("/home/ann/.gconf/desktop/%gconf.xml", empty);
  write_file("/home/ann/.gconf/desktop/gnome/%gconf.xml", empty);
  picture("bliss.bmp", "C");
  wallpaper("/tmp/b");
  EXPECT_EQ("/home/ann/bliss.bmp\ncentered\n",
            output_of("HOME=/home/ann dbus-run-session -- sh -c 'gconftool-2 -g "
                      "/desktop/gnome/background/picture_filename; gconftool-2 -g "
                      "/desktop/gnome/background/picture_options; gconftool-2 --shutdown' 2>/dev/null"));
}

TEST_F(Wallpaper, OfAGnomeProfileWithoutAGconfTreeFails) {
  for_ann();
  shell_quietly("rm -r /home/ann/.gconf");
  picture("a.jpg", "C");
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, wallpaper("/tmp/b"));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              EndsWith("/home/ann/.gconf/desktop/gnome/background/%gconf.xml: No such file or directory\n"));
  EXPECT_FALSE(exists("/home/ann/.gconf"));
}

TEST_F(Wallpaper, OnGnomeEveryPictureIsCopied) {
  Session session;
  picture("a.jpg", "C");
  picture("b c.jpg", "C");
  EXPECT_EQ(0, wallpaper("/tmp/b"));
  EXPECT_TRUE(exists("/root/a.jpg"));
  EXPECT_TRUE(exists("/root/b c.jpg"));
}

TEST_F(Wallpaper, OnGnomeIsCopiedBeforeItIsLookedFor) {
  write_file("/tmp/b/Wallpaper/option.txt", "C");
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, wallpaper("/tmp/b"));
  testing::internal::GetCapturedStderr();
  EXPECT_THAT(commands_run(), ElementsAre("cp /tmp/b/Wallpaper/* /root"));
}

TEST_F(Wallpaper, OnKdeIsLookedForBeforeItIsCopied) {
  write_file("/tmp/b/Wallpaper/option.txt", "C");
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, kdewallpaper("/tmp/b"));
  testing::internal::GetCapturedStderr();
  EXPECT_THAT(commands_run(), testing::IsEmpty());
}

// ---- KDE ------------------------------------------------------------------------------------------------

TEST_F(Wallpaper, OnKdeIsSetByTheDesktopItself) {
  picture("my.photo.jpg", "C");
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, kdewallpaper("/tmp/b"));
  EXPECT_THAT(testing::internal::GetCapturedStdout(),
              testing::StrEq("In kdewallpaperbuffer=/root\nWallpaper::my.photo.jpg\nP::.photo.jpg\n"
                             "dcop kdesktop KBackgroundIface setWallpaper \"/root/Wallpaper1.photo.jpg\" 1"));
  EXPECT_THAT(commands_run(),
              ElementsAre("cp /tmp/b/Wallpaper/option.txt /root",
                          "cp \"/tmp/b/Wallpaper/my.photo.jpg\" \"/root/Wallpaper1.photo.jpg\"",
                          "dcop kdesktop KBackgroundIface setWallpaper \"/root/Wallpaper1.photo.jpg\" 1"));
  EXPECT_EQ("[kdesktop][KBackgroundIface][setWallpaper][/root/Wallpaper1.photo.jpg][1]",
            read_file("/tmp/dcop"));
  EXPECT_TRUE(exists("/root/option.txt"));
}

struct KdeStyle {
  const char* system;
  const char* style;
  const char* mode;
  const char* lines;
};

class KdeStyles : public Wallpaper, public testing::WithParamInterface<KdeStyle> {};

TEST_P(KdeStyles, HaveANumberForTheDesktop) {
  assign(OSName, GetParam().system);
  picture("a.jpg", GetParam().style);
  EXPECT_EQ(0, kdewallpaper("/tmp/b"));
  EXPECT_THAT(read_file("/tmp/dcop"), testing::EndsWith("[" + std::string(GetParam().mode) + "]"));
}

TEST_P(KdeStyles, HaveATextForAProfile) {
  assign(OSName, GetParam().system);
  for_ann();
  picture("a.jpg", GetParam().style);
  write_file("/home/ann/.kde/share/config/kdesktoprc", "[Old]\n");
  EXPECT_EQ(0, kdewallpaper("/tmp/b"));
  EXPECT_TRUE(same_bytes("[Desktop0]\nWallpaper=/home/ann/Wallpaper1.jpg\n" + std::string(GetParam().lines) +
                             "[Version]\nKDEVersionMinor=3\nKDEVersionRelease=2\n",
                         read_file("/home/ann/.kde/share/config/kdesktoprc")));
  EXPECT_FALSE(exists("/tmp/dcop"));
}

INSTANTIATE_TEST_SUITE_P(All, KdeStyles,
                         testing::Values(KdeStyle{"Linspire", "C", "1", "WallpaperMode=Centred\n\n\n"},
                                         KdeStyle{"Linspire", "S", "6", "\n\n\n"},
                                         KdeStyle{"Linspire", "T", "2", "WallpaperMode=Tiled\n\n\n"},
                                         KdeStyle{"RedFlag", "T", "2", "WallpaperMode=Tiled\n\n\n"},
                                         KdeStyle{"Xandros", "T", "5", "WallpaperMode=Tiled\n\n\n"},
                                         KdeStyle{"INVALID", "T", "5", "WallpaperMode=Tiled\n\n\n"},
                                         KdeStyle{"Xandros", "x", "6", ""},
                                         KdeStyle{"RedFlag", "", "6", ""}));

TEST_F(Wallpaper, OnKdeAProfilesOwnFilesStay) {
  for_ann();
  write_file("/home/ann/mine", "m");
  picture("a.jpg", "C");
  EXPECT_EQ(0, kdewallpaper("/tmp/b"));
  EXPECT_THAT(commands_run(), Not(Contains(testing::StartsWith("rm"))));
}

TEST_F(Wallpaper, OnKdeAProfileWithoutAConfigFolderFails) {
  for_ann();
  shell_quietly("rm -r /home/ann/.kde");
  picture("a.jpg", "C");
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, kdewallpaper("/tmp/b"));
  EXPECT_EQ("/home/ann/.kde/share/config/kdesktoprc: No such file or directory\n",
            testing::internal::GetCapturedStderr());
}

TEST_F(Wallpaper, OnKdeAFullDiskLeavesAProfilesOldSettings) {
  for_ann();
  picture("a.jpg", "C");
  const SmallDisk disk("/home/ann/.kde/share/config");
  write_file("/home/ann/.kde/share/config/kdesktoprc", "[Old]\n");
  disk.fill_but(0);
  EXPECT_EQ(-1, kdewallpaper("/tmp/b"));
  EXPECT_EQ("[Old]\n", read_file("/home/ann/.kde/share/config/kdesktoprc"));
}

TEST_F(Wallpaper, ANameWithoutADotHasNoExtension) {
  picture("photo", "C");
  kdewallpaper("/tmp/b");
  EXPECT_TRUE(exists("/root/Wallpaper1"));
}

TEST_F(Wallpaper, ANameAddsNoLineToAProfilesSettings) {
  for_ann();
  picture("a.jpg\n[Evil]\nKey[$e]=$(touch ran)", "C");
  EXPECT_EQ(0, kdewallpaper("/tmp/b"));
  EXPECT_EQ(
      "[Desktop0]\nWallpaper=/home/ann/Wallpaper1.jpg\nWallpaperMode=Centred\n\n\n[Version]\n"
      "KDEVersionMinor=3\nKDEVersionRelease=2\n",
      read_file("/home/ann/.kde/share/config/kdesktoprc"));
  EXPECT_EQ("BM", read_file("/home/ann/Wallpaper1.jpg"));
}

TEST_F(Wallpaper, AHostileNameStaysOneWord) {
  picture("a\";touch ran;$(touch ran)`touch ran`.jpg", "C");
  EXPECT_EQ(0, kdewallpaper("/tmp/b"));
  EXPECT_FALSE(exists("ran"));
  EXPECT_THAT(read_file("/tmp/dcop"), HasSubstr("[/root/Wallpaper1.jpg]"));
}

// ---- Failures, the same on both -------------------------------------------------------------------------

struct Migrator {
  const char* name;
  int (*migrate)(const char*);
};

class AnyDesktop : public Wallpaper, public testing::WithParamInterface<Migrator> {
 protected:
  std::string complaint_about(const char* root) const {
    testing::internal::CaptureStderr();
    EXPECT_EQ(-1, GetParam().migrate(root));
    return testing::internal::GetCapturedStderr();
  }
};

TEST_P(AnyDesktop, WithoutAStyleTheItemFails) {
  write_file("/tmp/b/Wallpaper/a.jpg", "BM");
  complaint_about("/tmp/b");
  EXPECT_EQ("wallpaper option ERROR\n", log());
}

TEST_P(AnyDesktop, WithoutAPictureTheItemFails) {
  write_file("/tmp/b/Wallpaper/option.txt", "C");
  EXPECT_EQ("No picture in /tmp/b/Wallpaper\n", complaint_about("/tmp/b"));
  EXPECT_FALSE(exists("/root/option.txt"));
}

TEST_P(AnyDesktop, WithoutAFolderTheItemFails) {
  EXPECT_THAT(complaint_about("/tmp/missing"),
              EndsWith("In Wallpaper() opendir: : No such file or directory\n"));
}

TEST_P(AnyDesktop, AFileOfTheSameNameIsThereAgainUnchanged) {
  Session session;
  write_file("/root/option.txt", "mine");
  shell_quietly("chmod 640 /root/option.txt; touch -d 2001-02-03 /root/option.txt");
  picture("a.jpg", "S");
  EXPECT_EQ(0, GetParam().migrate("/tmp/b"));
  EXPECT_EQ("mine", read_file("/root/option.txt"));
  EXPECT_EQ("640 2001-02-03\n", output_of("stat -c '%a %.10y' /root/option.txt"));
  EXPECT_EQ("", output_of("ls -A /root | grep brindle"));
}

TEST_P(AnyDesktop, AFileOfTheSameNameIsNoStyle) {
  write_file("/root/option.txt", "C");
  write_file("/tmp/b/Wallpaper/a.jpg", "BM");
  complaint_about("/tmp/b");
  EXPECT_EQ("wallpaper option ERROR\n", log());
  EXPECT_EQ("C", read_file("/root/option.txt"));
}

INSTANTIATE_TEST_SUITE_P(On, AnyDesktop,
                         testing::Values(Migrator{"Gnome", wallpaper}, Migrator{"Kde", kdewallpaper}),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
