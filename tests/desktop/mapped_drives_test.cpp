#include "process/desktop/mapped_drives.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "gconf/gconf_calls.h"
#include "shell/files.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"
#include "support/session.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr const char* nautilus = "/root/.nautilus/bookmarks.xml";
constexpr const char* konqueror = "/root/.kde/share/apps/konqueror/bookmarks.xml";

struct Drives : testing::Test {
  Drives() { shell_quietly("mkdir -p /tmp/b/Mapped_Drives /root/Desktop /root/.nautilus"); }
  static void drive(const std::string& file, const std::string& share, const std::string& name) {
    write_file("/tmp/b/Mapped_Drives/" + file, share + "\r\n" + name + "\r\nmore\r\n");
  }
  // The order in which the folder lists its files, as the migrators see it.
  static std::vector<std::string> listed() { return list_folder("/tmp/b/Mapped_Drives").value(); }
  static void for_ann() {
    isDefaultUser = 0;
    assign(cur_user, "ann");
    shell_quietly(
        "mkdir -p /home/ann/Desktop /home/ann/.nautilus /home/ann/.gconf/apps "
        "/home/ann/.kde/share/apps/konqueror");
  }
  static std::string complaint_of(int (*migrator)(const char*), int result) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(result, migrator("/tmp/b"));
    return testing::internal::GetCapturedStderr();
  }
};

// ---- Nautilus -------------------------------------------------------------------------------------------

TEST_F(Drives, BecomeNautilusBookmarksAndLinks) {
  Session session;
  drive("z", "//server/share", "Projects on server");
  write_file(nautilus, "old");
  EXPECT_EQ(0, nautilusmappeddrives("/tmp/b"));
  EXPECT_TRUE(matches_expected(nautilus, "drives/nautilus.xml"));
  EXPECT_TRUE(matches_expected("/root/Desktop/Projects on server", "drives/gnome link"));
  EXPECT_EQ("", output_of("xmllint --noout " + std::string(nautilus) + " 2>&1"));
}

TEST_F(Drives, StandInNautilusInTheirOrder) {
  Session session;
  for (const char* name : {"one", "two", "three"}) drive(name, std::string("//s/") + name, name);
  std::string expected = "<?xml version=\"1.0\"?>\n<bookmarks>\n";
  for (const std::string& name : listed())
    expected += "<bookmark name=\"" + name + "\" uri=\"smb://s/" + name +
                "\" icon_name=\"gnome-mime-x-directory-smb-share\"/>\n";
  EXPECT_EQ(0, nautilusmappeddrives("/tmp/b"));
  EXPECT_EQ(expected + "</bookmarks>\n", read_file(nautilus));
}

TEST_F(Drives, SetNautilusPreferencesInOrder) {
  Session session;
  EXPECT_EQ(0, nautilusmappeddrives("/tmp/b"));
  for (const char* key : {"always_use_browser", "start_with_sidebar", "side_pane_view"})
    EXPECT_EQ("true\n", session.get("/apps/nautilus/preferences/" + std::string(key)));
  EXPECT_THAT(settings_made(), ElementsAre("bool /apps/nautilus/preferences/always_use_browser true",
                                           "bool /apps/nautilus/preferences/start_with_sidebar true",
                                           "bool /apps/nautilus/preferences/side_pane_view true"));
}

TEST_F(Drives, EmptyFolderGivesAnEmptyList) {
  Session session;
  write_file(nautilus, "old");
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, nautilusmappeddrives("/tmp/b"));
  EXPECT_EQ("buffer=/root\nGCONF Set complete", testing::internal::GetCapturedStdout());
  EXPECT_EQ("<?xml version=\"1.0\"?>\n<bookmarks>\n</bookmarks>\n", read_file(nautilus));
  EXPECT_EQ("true\n", session.get("/apps/nautilus/preferences/side_pane_view"));
}

TEST_F(Drives, AHomeWithoutNautilusGetsItsFolder) {
  Session session;
  shell_quietly("rmdir /root/.nautilus");
  EXPECT_EQ(0, nautilusmappeddrives("/tmp/b"));
  EXPECT_EQ("<?xml version=\"1.0\"?>\n<bookmarks>\n</bookmarks>\n", read_file(nautilus));
}

TEST_F(Drives, PreferencesThatTheClientRefusesChangeNoResult) {
  testing::internal::CaptureStdout();
  EXPECT_THAT(complaint_of(nautilusmappeddrives, 0), HasSubstr("gconf_client_set_bool : set: "));
  EXPECT_EQ("buffer=/root\nGCONF Set complete", testing::internal::GetCapturedStdout());
}

TEST_F(Drives, WithoutNautilusBookmarksFailAfterTheRestIsDone) {
  Session session;
  shell_quietly("rmdir /root/.nautilus; touch /root/.nautilus");
  drive("z", "//s/a", "A");
  EXPECT_THAT(complaint_of(nautilusmappeddrives, -1),
              HasSubstr(std::string(nautilus) + ": Not a directory\n"));
  EXPECT_TRUE(exists("/root/Desktop/A"));
  EXPECT_EQ("true\n", session.get("/apps/nautilus/preferences/side_pane_view"));
}

TEST_F(Drives, OfAProfileComeWithItsPreferences) {
  for_ann();
  drive("z", "//server/share", "Projects on server");
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, nautilusmappeddrives("/tmp/b"));
  EXPECT_EQ(
      "buffer=/home/ann\n//server/share\nProjects on server\nmore\n\nLine1:://server/share\n"
      "Line2::Projects on server\nGCONF Set complete",
      testing::internal::GetCapturedStdout());
  EXPECT_THAT(settings_made(), testing::IsEmpty());
  EXPECT_TRUE(matches_expected("/home/ann/.nautilus/bookmarks.xml", "drives/nautilus.xml"));
  EXPECT_TRUE(matches_expected("/home/ann/.gconf/apps/nautilus/preferences/%gconf.xml", "drives/gconf.xml"));
  EXPECT_THAT(commands_run(),
              ElementsAre("rm /home/ann/.nautilus/bookmarks.xml", "dos2unix -q \"/tmp/b/Mapped_Drives/z\"",
                          "mkdir /home/ann/.gconf/apps/nautilus",
                          "mkdir /home/ann/.gconf/apps/nautilus/preferences"));
}

TEST_F(Drives, OfAProfileAreReadByTheDaemon) {
  for_ann();
  for (const char* folder : {"", "apps/", "apps/nautilus/"})
    write_file("/home/ann/.gconf/" + std::string(folder) + "%gconf.xml",
               "<?xml version=\"1.0\"?>\n<gconf>\n</gconf>\n");
  EXPECT_EQ(0, nautilusmappeddrives("/tmp/b"));
  EXPECT_EQ(
      "true\ntrue\ntrue\n",
      output_of("HOME=/home/ann dbus-run-session -- sh -c 'for k in always_use_browser start_with_sidebar "
                "side_pane_view; do gconftool-2 -g /apps/nautilus/preferences/$k; done; gconftool-2 "
                "--shutdown' 2>/dev/null"));
}

TEST_F(Drives, OfAProfileWithoutAGconfTreeFail) {
  for_ann();
  shell_quietly("rm -r /home/ann/.gconf");
  EXPECT_THAT(complaint_of(nautilusmappeddrives, -1),
              EndsWith("/home/ann/.gconf/apps/nautilus/preferences/%gconf.xml: No such file or directory\n"));
}

TEST_F(Drives, OfAProfileWhosePreferencesCannotBeWrittenAreNotSaidToBeSet) {
  for_ann();
  shell_quietly("rm -r /home/ann/.gconf");
  testing::internal::CaptureStdout();
  complaint_of(nautilusmappeddrives, -1);
  EXPECT_EQ("buffer=/home/ann\n", testing::internal::GetCapturedStdout());
}

TEST_F(Drives, OnGnomeALinkThatCannotBeMadeEndsTheWork) {
  Session session;
  shell_quietly("rmdir /root/Desktop");
  drive("z", "//server/share", "Projects");
  write_file(nautilus, "old");
  EXPECT_EQ("Network Drives : No such file or directory\n", complaint_of(nautilusmappeddrives, -1));
  // The list is left without its closing line, and the preferences are not set.
  EXPECT_EQ(
      "<?xml version=\"1.0\"?>\n<bookmarks>\n<bookmark name=\"Projects\" uri=\"smb://server/share\" "
      "icon_name=\"gnome-mime-x-directory-smb-share\"/>\n",
      read_file(nautilus));
  EXPECT_THAT(session.get("/apps/nautilus/preferences/side_pane_view"), Not(HasSubstr("true")));
}

TEST_F(Drives, OnGnomeNoneIsTakenBehindOneWhoseLinkCannotBeMade) {
  Session session;
  drive("one", "//s/one", "one");
  drive("two", "//s/two", "two");
  const auto order = listed();
  write_file(nautilus, "old");
  shell_quietly("mkdir /root/Desktop/" + order[0]);
  EXPECT_EQ("Network Drives : Is a directory\n", complaint_of(nautilusmappeddrives, -1));
  EXPECT_THAT(read_file(nautilus), AllOf(HasSubstr("smb://s/" + order[0]), Not(HasSubstr(order[1]))));
  EXPECT_FALSE(exists("/root/Desktop/" + order[1]));
}

// ---- Konqueror ------------------------------------------------------------------------------------------

TEST_F(Drives, BecomeKonquerorBookmarksAndLinks) {
  write_file(konqueror, "<!DOCTYPE xbel>\n<xbel folded=\"no\">\n<bookmark href=\"http://a/\"/>\n</xbel>\n");
  drive("z", "//server/share", "Projects on server");
  EXPECT_EQ(0, mappeddrives("/tmp/b"));
  EXPECT_TRUE(matches_expected(konqueror, "drives/konqueror.xml"));
  EXPECT_TRUE(matches_expected("/root/Desktop/Projects on server", "drives/kde link"));
  EXPECT_EQ("", output_of("xmllint --noout " + std::string(konqueror) + " 2>&1"));
}

TEST_F(Drives, TurnAnEmptyKonquerorListIntoOne) {
  write_file(konqueror, "<xbel/>\n");
  drive("z", "//s/a", "A");
  EXPECT_EQ(0, mappeddrives("/tmp/b"));
  EXPECT_EQ("<xbel>\n<bookmark icon=\"samba\" href=\"smb://s/a\"><title>A</title></bookmark></xbel>\n",
            read_file(konqueror));
}

TEST_F(Drives, TheLastOneStandsFirst) {
  write_file(konqueror, "<xbel>\n</xbel>\n");
  drive("one", "//s/one", "one");
  drive("two", "//s/two", "two");
  const auto order = listed();
  EXPECT_EQ(0, mappeddrives("/tmp/b"));
  std::string expected = "<xbel>\n";
  for (auto name = order.rbegin(); name != order.rend(); ++name)
    expected +=
        "<bookmark icon=\"samba\" href=\"smb://s/" + *name + "\"><title>" + *name + "</title></bookmark>";
  EXPECT_EQ(expected + "</xbel>\n", read_file(konqueror));
}

TEST_F(Drives, MissingKonquerorBookmarksAreNotMade) {
  shell_quietly("mkdir -p /root/.kde/share/apps/konqueror");
  drive("z", "//s/a", "A");
  EXPECT_EQ(0, mappeddrives("/tmp/b"));
  EXPECT_FALSE(exists(konqueror));
  EXPECT_TRUE(exists("/root/Desktop/A"));
}

TEST_F(Drives, OnKdeALinkThatCannotBeMadeEndsTheWork) {
  write_file(konqueror, "<xbel/>\n");
  drive("one", "//s/one", "one");
  drive("two", "//s/two", "two");
  shell_quietly("rmdir /root/Desktop");
  const auto order = listed();
  EXPECT_EQ("Network Drives : No such file or directory\n", complaint_of(mappeddrives, -1));
  EXPECT_THAT(read_file(konqueror), Not(HasSubstr(order[1])));
}

// ---- On a full disk, on both --------------------------------------------------------------------------

TEST_F(Drives, OnAFullDiskLeaveTheOldNautilusBookmarks) {
  Session session;
  drive("z", "//s/a", "A");
  const SmallDisk disk("/root/.nautilus");
  write_file(nautilus, "old");
  std::filesystem::create_hard_link(nautilus, "/root/.nautilus/second name");  // so that rm frees no room
  disk.fill_but(0);
  EXPECT_THAT(complaint_of(nautilusmappeddrives, -1),
              HasSubstr(std::string(nautilus) + ": No space left on device\n"));
  EXPECT_EQ("old", read_file(nautilus));
  EXPECT_TRUE(exists("/root/Desktop/A"));
}

TEST_F(Drives, OnAFullDiskLeaveTheOldLink) {
  Session session;
  write_file(konqueror, "<xbel/>\n");
  drive("z", "//s/a", "A");
  const SmallDisk disk("/root/Desktop");
  write_file("/root/Desktop/A", "old");
  disk.fill_but(0);
  EXPECT_EQ("Network Drives : No space left on device\n", complaint_of(mappeddrives, -1));
  EXPECT_THAT(complaint_of(nautilusmappeddrives, -1), EndsWith("Network Drives : No space left on device\n"));
  EXPECT_EQ("old", read_file("/root/Desktop/A"));
}

TEST_F(Drives, OnAFullDiskLeaveTheOldKonquerorBookmarks) {
  drive("one", "//s/one", "one");
  drive("two", "//s/two", "two");
  const SmallDisk disk("/root/.kde");
  write_file(konqueror, "<xbel/>\n");
  disk.fill_but(0);
  EXPECT_THAT(complaint_of(mappeddrives, -1),
              HasSubstr(std::string(konqueror) + ": No space left on device\n"));
  EXPECT_EQ("<xbel/>\n", read_file(konqueror));
  EXPECT_TRUE(exists("/root/Desktop/one"));  // the links are made all the same
  EXPECT_TRUE(exists("/root/Desktop/two"));
}

// ---- Reading a drive, on both ---------------------------------------------------------------------------

TEST_F(Drives, AreTracedWithEveryLine) {
  write_file(konqueror, "<xbel/>\n");
  drive("z", "//s/a", "A");
  testing::internal::CaptureStdout();
  mappeddrives("/tmp/b");
  EXPECT_EQ("buffer=/root\n//s/a\nA\nmore\n\nLine1:://s/a\nLine2::A\nfound something",
            testing::internal::GetCapturedStdout());
}

TEST_F(Drives, WithoutAFolderFail) {
  shell_quietly("rmdir /tmp/b/Mapped_Drives");
  EXPECT_EQ("Network Drive:: : No such file or directory\n", complaint_of(nautilusmappeddrives, -1));
  EXPECT_EQ("Network Drive:: : No such file or directory\n", complaint_of(mappeddrives, -1));
  EXPECT_FALSE(exists(nautilus));
}

TEST_F(Drives, ThatCannotBeReadAreSkipped) {
  write_file(konqueror, "<xbel/>\n");
  shell_quietly("ln -s missing /tmp/b/Mapped_Drives/dangling; mkdir /tmp/b/Mapped_Drives/folder");
  write_file("/tmp/b/Mapped_Drives/empty", "");
  write_file("/tmp/b/Mapped_Drives/share only", "//s/b\n");
  drive("z", "//s/a", "A");
  const std::string said = complaint_of(mappeddrives, 0);
  EXPECT_THAT(said, HasSubstr("/tmp/b/Mapped_Drives/dangling: No such file or directory\n"));
  for (const char* name : {"folder", "empty", "share only"})
    EXPECT_THAT(said, HasSubstr("No share and name in /tmp/b/Mapped_Drives/" + std::string(name) + "\n"));
  EXPECT_EQ("A\n", output_of("ls /root/Desktop"));
}

TEST_F(Drives, OneThatCannotBeReadCostsNoOther) {
  Session session;
  const std::vector<std::string> names = {"a", "b", "c", "d"};
  for (const std::string& broken : names) {
    for (const auto migrate : {nautilusmappeddrives, mappeddrives}) {
      shell_quietly("rm -rf /root/Desktop/*");
      write_file(konqueror, "<xbel>\n</xbel>\n");
      std::string others;
      for (const std::string& name : names) {
        drive(name, "//s/" + name, name);
        if (name != broken) others += name + "\n";
      }
      write_file("/tmp/b/Mapped_Drives/" + broken, "//s/half\n");
      testing::internal::CaptureStderr();
      EXPECT_EQ(0, migrate("/tmp/b"));
      testing::internal::GetCapturedStderr();
      EXPECT_EQ(others, output_of("ls /root/Desktop")) << "without " << broken;
      const std::string bookmarks = read_file(migrate == mappeddrives ? konqueror : nautilus);
      for (const std::string& name : names)
        EXPECT_EQ(name != broken, bookmarks.find("smb://s/" + name + "\"") != std::string::npos) << name;
    }
  }
}

TEST_F(Drives, LinesEndAtANul) {
  write_file(konqueror, "<xbel/>\n");
  write_file("/tmp/b/Mapped_Drives/z", std::string("//s/a\0x\nA\0/../B\n", 17));
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, mappeddrives("/tmp/b"));
  EXPECT_EQ("buffer=/root\n//s/aA\nLine1:://s/a\nLine2::A\nfound something",
            testing::internal::GetCapturedStdout());
  EXPECT_THAT(read_file("/root/Desktop/A"), HasSubstr("\t\t\tName=A\n\t\t\tType=Link\nURL=smb://s/a\n"));
  EXPECT_EQ("<xbel>\n<bookmark icon=\"samba\" href=\"smb://s/a\"><title>A</title></bookmark></xbel>\n",
            read_file(konqueror));
}

// The rest of a long share is taken for the name.
TEST_F(Drives, LongLinesAreReadInPiecesOf1023Characters) {
  write_file(konqueror, "<xbel/>\n");
  drive("z", "//s/" + std::string(1019, 'a') + "tail", "A");
  EXPECT_EQ(0, mappeddrives("/tmp/b"));
  EXPECT_EQ("tail\n", output_of("ls /root/Desktop"));
  EXPECT_THAT(read_file("/root/Desktop/tail"), HasSubstr("\nURL=smb://s/" + std::string(1019, 'a') + "\n"));
}

class DriveName : public Drives, public testing::WithParamInterface<const char*> {};

TEST_P(DriveName, NeverReachesOutsideTheDesktop) {
  Session session;
  write_file(konqueror, "<xbel/>\n");
  shell_quietly("mkdir -p /root/Desktop/a /root/Desktop/etc");  // where such a name would be written
  drive("z", "//s/a", GetParam());
  const bool has_slash = std::string(GetParam()).find('/') != std::string::npos;
  const std::string complaint =
      std::string("Network Drives : ") + (has_slash ? "Invalid argument\n" : "Is a directory\n");
  EXPECT_THAT(complaint_of(nautilusmappeddrives, -1), EndsWith(complaint));
  EXPECT_THAT(complaint_of(mappeddrives, -1), EndsWith(complaint));
  EXPECT_EQ("", output_of("find /root/Desktop ! -type d; grep -rl 'Type=Link' /root /etc 2>/dev/null"));
}

INSTANTIATE_TEST_SUITE_P(All, DriveName, testing::Values("a/b", "../evil", "/etc/evil", "..", ".", ""));

TEST_F(Drives, QuotesAndAngleBracketsAreWrittenAsTheyStand) {
  write_file(konqueror, "<xbel/>\n");
  drive("z", "//s/a&b", "R&D <old> \"x\"");
  EXPECT_EQ(0, mappeddrives("/tmp/b"));
  EXPECT_THAT(read_file(konqueror), HasSubstr("href=\"smb://s/a&b\"><title>R&D <old> \"x\"</title>"));
  // A strict reader refuses such a file.
  EXPECT_THAT(output_of("xmllint --noout " + std::string(konqueror) + " 2>&1"), HasSubstr("error"));
}

TEST_F(Drives, LinksAreReadByDesktops) {
  write_file(konqueror, "<xbel/>\n");
  drive("z", "//s/a", "A");
  mappeddrives("/tmp/b");
  shell_quietly("cp /root/Desktop/A /tmp/a.desktop");
  // The tabs in front and the old key belong to these links, and readers pass over both.
  EXPECT_EQ("", output_of("desktop-file-validate /tmp/a.desktop 2>&1 | grep -v 'starts with a space' | "
                          "grep -v 'key \"Encoding\" in group \"Desktop Entry\" is deprecated'"));
}

}  // namespace
