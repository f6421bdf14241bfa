#include "process/desktop/documents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"
#include "support/system_log.h"

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* archive = "/tmp/brindAb/Brindle";

std::string in_archive(const std::string& name) { return std::string(archive) + "/" + name; }

// The home and desktop of the running user, root; `system` is what /etc has said.
struct Home : testing::Test {
  Home() {
    shell_quietly("mkdir -p /root/Desktop");
    on("GNome");
  }
  static void on(const char* system) { assign(OSName, system); }
  static void for_profile(const char* name) {
    isDefaultUser = 0;
    assign(cur_user, name);
    shell_quietly("mkdir -p /home/" + std::string(name) + "/Desktop");
  }
};

std::string standard_error_of(int (*migrator)(const char*), const char* args, int expected) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(expected, migrator(args));
  return testing::internal::GetCapturedStderr();
}

// ---- Documents ------------------------------------------------------------------------------------------

struct Documents : Home {
  Documents() {
    write_file(in_archive("My Documents/letter to gran.txt"), "Dear");
    write_file(in_archive("My Documents/\u6587\u4ef6/a.txt"), "a");
  }
  const std::string folder = in_archive("My Documents");
};

TEST_F(Documents, AreCopiedWithALinkOnTheDesktop) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, mydocs(folder.c_str()));
  EXPECT_EQ("buffer=/root\nIn Documents::cp -a \"/tmp/brindAb/Brindle/My Documents\"/* /root/Documents \n",
            testing::internal::GetCapturedStdout());
  EXPECT_THAT(commands_run(), ElementsAre("mkdir -p /root/Documents",
                                          "cp -a \"/tmp/brindAb/Brindle/My Documents\"/* /root/Documents "));
  EXPECT_EQ("Dear", read_file("/root/Documents/letter to gran.txt"));
  EXPECT_EQ("a", read_file("/root/Documents/\u6587\u4ef6/a.txt"));
  EXPECT_TRUE(matches_expected("/root/Desktop/My Documents", "documents/gnome/My Documents"));
}

TEST_F(Documents, LinkIs108BytesUpToItsUrl) {
  mydocs(folder.c_str());
  EXPECT_EQ(108u, read_file("/root/Desktop/My Documents").find("URL=/root/Documents\n"));
}

TEST_F(Documents, LinkHasTheSystemsIcon) {
  on("Linspire");
  mydocs(folder.c_str());
  EXPECT_TRUE(matches_expected("/root/Desktop/My Documents", "documents/linspire/My Documents"));
  on("Xandros");
  mydocs(folder.c_str());
  EXPECT_TRUE(matches_expected("/root/Desktop/My Documents", "documents/linspire/My Documents"));
}

TEST_F(Documents, OnRedFlagLieOnTheDesktopWithoutALink) {
  on("RedFlag");
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, mydocs(folder.c_str()));
  EXPECT_EQ(
      "buffer=/root\nIn Documents::cp -a \"/tmp/brindAb/Brindle/My Documents\"/* /root/Desktop/mydocument \n",
      testing::internal::GetCapturedStdout());
  EXPECT_THAT(commands_run(),
              ElementsAre("mkdir -p /root/Desktop/mydocument",
                          "cp -a \"/tmp/brindAb/Brindle/My Documents\"/* /root/Desktop/mydocument "));
  EXPECT_EQ("Dear", read_file("/root/Desktop/mydocument/letter to gran.txt"));
  EXPECT_FALSE(exists("/root/Desktop/My Documents"));
}

TEST_F(Documents, OfAProfileGoToItsHome) {
  for_profile("ann");
  EXPECT_EQ(0, mydocs(folder.c_str()));
  EXPECT_EQ("Dear", read_file("/home/ann/Documents/letter to gran.txt"));
  EXPECT_THAT(read_file("/home/ann/Desktop/My Documents"), HasSubstr("\nURL=/home/ann/Documents\n"));
  EXPECT_FALSE(exists("/root/Documents"));
}

TEST_F(Documents, LinkIsWrittenAnewUnlessDocumentsIsOnTheDesktop) {
  write_file("/root/Desktop/My Documents", "old");
  mydocs(folder.c_str());
  EXPECT_THAT(read_file("/root/Desktop/My Documents"), StartsWith("[Desktop Entry]\n"));
  write_file("/root/Desktop/My Documents", "old");
  write_file("/root/Desktop/Documents", "");
  EXPECT_EQ(0, mydocs(folder.c_str()));
  EXPECT_EQ("old", read_file("/root/Desktop/My Documents"));
}

TEST_F(Documents, WithoutADesktopTheRunningUsersOneIsLinked) {
  shell_quietly("rmdir /root/Desktop; mkdir /root/.gnome-desktop");
  EXPECT_EQ(0, mydocs(folder.c_str()));
  EXPECT_THAT(commands_run(), Contains("ln -s ~/.gnome-desktop/ ~/Desktop"));
  EXPECT_TRUE(exists("/root/.gnome-desktop/My Documents"));
}

TEST_F(Documents, OfAProfileWithoutADesktopLinkTheRunningUsersOneToo) {
  for_profile("ann");
  shell_quietly("rmdir /home/ann/Desktop /root/Desktop; mkdir /root/.gnome-desktop /home/ann/.gnome-desktop");
  setenv("HOME", "/root", 1);
  EXPECT_THAT(standard_error_of(mydocs, folder.c_str(), -1), StartsWith("MyDocs : "));
  EXPECT_THAT(commands_run(), Contains("ln -s ~/.gnome-desktop/ ~/Desktop"));
  EXPECT_EQ("/root/.gnome-desktop/\n", output_of("readlink /root/Desktop"));
  EXPECT_FALSE(exists("/home/ann/Desktop"));
}

// What the tilde is then is the shell's affair.
TEST_F(Documents, WithoutADesktopTheRunningUsersOneIsLinkedEvenWithoutItsVariable) {
  shell_quietly("rmdir /root/Desktop");
  unsetenv("HOME");
  testing::internal::CaptureStderr();
  mydocs(folder.c_str());
  testing::internal::GetCapturedStderr();
  EXPECT_THAT(commands_run(), Contains("ln -s ~/.gnome-desktop/ ~/Desktop"));
}

TEST_F(Documents, WithoutAnyDesktopTheLinkFails) {
  shell_quietly("rmdir /root/Desktop");
  EXPECT_EQ("MyDocs : No such file or directory\n",
            standard_error_of(mydocs, folder.c_str(), -1).substr(0, 36));
  EXPECT_EQ("Dear", read_file("/root/Documents/letter to gran.txt"));
}

TEST_F(Documents, NothingToCopyIsNoFailure) {
  SystemLog log;
  EXPECT_EQ(0, mydocs("/tmp/missing"));
  EXPECT_THAT(log.messages(),
              Contains(HasSubstr("normal termination, exit status 1, cp -a \"/tmp/missing\"/*")));
}

TEST_F(Documents, AHostileFolderNameStaysOneWord) {
  const std::string hostile = "/tmp/x\";touch ran;$(touch ran)`touch ran`";
  write_file(hostile + "/f", "1");
  EXPECT_EQ(0, mydocs(hostile.c_str()));
  EXPECT_EQ("1", read_file("/root/Documents/f"));
  EXPECT_FALSE(exists("ran"));
}

// ---- Desktop --------------------------------------------------------------------------------------------

TEST_F(Home, DesktopIsCopied) {
  write_file(in_archive("Desktop/My Shortcut.lnk"), "l");
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, desktop(archive));
  EXPECT_EQ("buffer=/root\nIn Desktop::cp -a /tmp/brindAb/Brindle/Desktop/* /root/Desktop\n",
            testing::internal::GetCapturedStdout());
  EXPECT_THAT(commands_run(), ElementsAre("cp -a /tmp/brindAb/Brindle/Desktop/* /root/Desktop"));
  EXPECT_EQ("l", read_file("/root/Desktop/My Shortcut.lnk"));
}

TEST_F(Home, DesktopIsLinkedInTheTargetHome) {
  for_profile("ann");
  shell_quietly("rmdir /home/ann/Desktop; mkdir /home/ann/.gnome-desktop");
  write_file(in_archive("Desktop/a.lnk"), "l");
  EXPECT_EQ(0, desktop(archive));
  EXPECT_THAT(commands_run(), ElementsAre("ln -s /home/ann/.gnome-desktop/ /home/ann/Desktop",
                                          "cp -a /tmp/brindAb/Brindle/Desktop/* /home/ann/Desktop"));
  EXPECT_EQ("l", read_file("/home/ann/.gnome-desktop/a.lnk"));
}

TEST_F(Home, AnEmptyDesktopIsNoFailure) { EXPECT_EQ(0, desktop(archive)); }

// ---- Icons ----------------------------------------------------------------------------------------------

struct SystemIcon {
  const char* system;
  const char* line;
};

class Icons : public Home, public testing::WithParamInterface<SystemIcon> {};

TEST_P(Icons, AreTheLastLineOfEveryLink) {
  on(GetParam().system);
  const std::string last_line = std::string("\n") + GetParam().line;
  if (std::string(GetParam().system) != "RedFlag") {
    mydocs("/tmp/missing");
    EXPECT_THAT(read_file("/root/Desktop/My Documents"), EndsWith(last_line));
  }
  file_extensions("/tmp/missing");
  EXPECT_THAT(read_file("/root/Desktop/Windows Files"), EndsWith(last_line));
  add_share_shortcut("/root", "root");
  EXPECT_THAT(read_file("/root/Desktop/Share"), EndsWith(last_line));
}

INSTANTIATE_TEST_SUITE_P(Each, Icons,
                         testing::Values(SystemIcon{"GNome", "X-Nautilus-Icon=gnome-fs-directory"},
                                         SystemIcon{"RedFlag", "Icon=folder"},
                                         SystemIcon{"Linspire", "Icon=folder1"},
                                         SystemIcon{"Xandros", "Icon=folder1"},
                                         SystemIcon{"INVALID", "Icon=folder1"}),
                         [](const auto& test) { return std::string(test.param.system); });

// ---- Files by extension, one user -----------------------------------------------------------------------

struct FileExtensions : Home {
  FileExtensions() { write_file(in_archive("File Extensions/song 1.mp3"), "la"); }
};

TEST_F(FileExtensions, OfOneUserGoToTheHomeWithALink) {
  isMultiUser = 0;
  EXPECT_EQ(0, file_extensions(archive));
  EXPECT_THAT(commands_run(), ElementsAre("cp -a /tmp/brindAb/Brindle/File\\ Extensions /root"));
  EXPECT_EQ("la", read_file("/root/File Extensions/song 1.mp3"));
  EXPECT_TRUE(matches_expected("/root/Desktop/Windows Files", "documents/gnome/Windows Files"));
  EXPECT_EQ(103u, read_file("/root/Desktop/Windows Files").find("URL="));
}

TEST_F(FileExtensions, LinkHasTheSystemsIcon) {
  isMultiUser = 0;
  on("RedFlag");
  file_extensions(archive);
  EXPECT_TRUE(matches_expected("/root/Desktop/Windows Files", "documents/redflag/Windows Files"));
}

TEST_F(FileExtensions, WithoutADesktopAreCopiedButFail) {
  isMultiUser = 0;
  shell_quietly("rmdir /root/Desktop");
  EXPECT_EQ("file extensions: No such file or directory\n", standard_error_of(file_extensions, archive, -1));
  EXPECT_EQ("la", read_file("/root/File Extensions/song 1.mp3"));
}

// ---- Files by extension, several users ------------------------------------------------------------------

struct SharedFiles : FileExtensions {
  SharedFiles() {
    isMultiUser = 1;
    shell_quietly("mkdir -p /home/ann/Desktop /home/ben/Desktop '/home/lost+found'");
  }
};

TEST_F(SharedFiles, GoToAFolderThatEverybodyHasALinkTo) {
  const std::string said = standard_error_of(file_extensions, archive, 0);
  const std::vector<std::string> commands = commands_run();
  EXPECT_THAT(commands, ElementsAre("mkdir /Share", "cp -a /tmp/brindAb/Brindle/File\\ Extensions/* /Share/",
                                    "chmod -R 777 /Share"));
  EXPECT_EQ("777 777\n", output_of("stat -c %a /Share '/Share/song 1.mp3' | tr '\\n' ' ' | sed 's/ $/\\n/'"));
  for (const char* home : {"/root", "/home/ann", "/home/ben"})
    EXPECT_TRUE(matches_expected(std::string(home) + "/Desktop/Share", "documents/gnome/Share"));
  EXPECT_EQ(87u, read_file("/root/Desktop/Share").find("URL=/Share\n"));
  // An entry that is no home is complained about once and passed over.
  EXPECT_EQ("file extensions: No such file or directory\n", said);
}

TEST_F(SharedFiles, RootHasItsLinkBeforeTheFolderIsOpened) {
  write_file("/usr/local/bin/chmod", "#!/bin/sh\nls /root/Desktop /home/*/Desktop > /tmp/at-chmod\n");
  shell_quietly("/bin/chmod 755 /usr/local/bin/chmod");
  file_extensions(archive);
  EXPECT_EQ("/home/ann/Desktop:\n\n/home/ben/Desktop:\n\n/root/Desktop:\nShare\n",
            read_file("/tmp/at-chmod"));
}

TEST_F(SharedFiles, ASecondPassOnlyAddsFiles) {
  file_extensions(archive);
  write_file("/tmp/second/File Extensions/song 2.mp3", "lo");
  SystemLog log;
  EXPECT_EQ(0, file_extensions("/tmp/second"));
  EXPECT_THAT(log.messages(), Contains(HasSubstr("exit status 1, mkdir /Share")));
  EXPECT_EQ("la", read_file("/Share/song 1.mp3"));
  EXPECT_EQ("lo", read_file("/Share/song 2.mp3"));
}

TEST_F(SharedFiles, AnUnlistableHomeIsAFailureAfterTheFolderIsFilled) {
  shell_quietly("rm -rf /home");
  EXPECT_EQ("In file_extensions() opendir: : No such file or directory\n",
            standard_error_of(file_extensions, archive, -1));
  EXPECT_EQ("la", read_file("/Share/song 1.mp3"));
  EXPECT_TRUE(exists("/root/Desktop/Share"));
}

TEST_F(SharedFiles, EvenForTheProfileBeingMigrated) {
  for_profile("ann");
  EXPECT_EQ(0, file_extensions(archive));
  EXPECT_FALSE(exists("/home/ann/File Extensions"));
  EXPECT_TRUE(exists("/home/ben/Desktop/Share"));
}

TEST_F(SharedFiles, FailWhenALinkCannotBeWritten) {
  const SmallDisk disk("/home/ann/Desktop");
  write_file("/home/ann/Desktop/Share", "old");
  disk.fill_but(0);
  EXPECT_THAT(standard_error_of(file_extensions, archive, -1),
              HasSubstr("file extensions: No space left on device\n"));
  EXPECT_EQ("old", read_file("/home/ann/Desktop/Share"));
  EXPECT_TRUE(matches_expected("/home/ben/Desktop/Share", "documents/gnome/Share"));
}

TEST_F(SharedFiles, TellOfOneHomeThatFailsWhereverItStands) {
  const std::vector<std::string> users = {"ann", "ben", "cat", "dan"};
  for (const std::string& user : users) {
    shell_quietly("rm -rf /home/* /Share");
    for (const std::string& each : users) shell_quietly("mkdir -p /home/" + each + "/Desktop");
    shell_quietly("mkdir /home/" + user + "/Desktop/Share");
    EXPECT_THAT(standard_error_of(file_extensions, archive, -1),
                HasSubstr("file extensions: Is a directory\n"));
    for (const std::string& each : users)
      EXPECT_EQ(each != user, output_of("[ -f /home/" + each + "/Desktop/Share ] && echo yes") == "yes\n")
          << each;
  }
}

TEST_F(SharedFiles, FailWhenABookmarkCannotBeWritten) {
  on("Linspire");
  const SmallDisk disk("/home/ann/.kde");
  write_file("/home/ann/.kde/share/apps/konqueror/bookmarks.xml", "<xbel/>\n");
  disk.fill_but(0);
  standard_error_of(file_extensions, archive, -1);
  EXPECT_EQ("<xbel/>\n", read_file("/home/ann/.kde/share/apps/konqueror/bookmarks.xml"));
}

// ---- On a full disk ----------------------------------------------------------------------------------

TEST_F(Documents, OnAFullDiskLeaveTheOldLink) {
  const SmallDisk disk("/root/Desktop");
  write_file("/root/Desktop/My Documents", "old");
  disk.fill_but(0);
  EXPECT_EQ("MyDocs : No space left on device\n", standard_error_of(mydocs, folder.c_str(), -1));
  EXPECT_EQ("old", read_file("/root/Desktop/My Documents"));
}

TEST_F(FileExtensions, OnAFullDiskLeaveTheOldLink) {
  isMultiUser = 0;
  const SmallDisk disk("/root/Desktop");
  write_file("/root/Desktop/Windows Files", "old");
  disk.fill_but(0);
  EXPECT_EQ("file extensions: No space left on device\n", standard_error_of(file_extensions, archive, -1));
  EXPECT_EQ("old", read_file("/root/Desktop/Windows Files"));
}

// ---- The shortcut in Konqueror --------------------------------------------------------------------------

constexpr const char* bookmarks = "/home/ann/.kde/share/apps/konqueror/bookmarks.xml";

struct Konqueror : Home {
  Konqueror() {
    on("Linspire");
    shell_quietly("mkdir -p /home/ann/Desktop /home/ann/.kde/share/apps");
    assign(homedirpath, "/tmp/linspireroot");
  }
};

TEST_F(Konqueror, GetsTheShareInFrontOfItsBookmarks) {
  write_file(bookmarks, "<!DOCTYPE xbel>\n<xbel folded=\"no\">\n<bookmark href=\"http://a/\"/>\n</xbel>\n");
  add_share_shortcut("/home/ann", "ann");
  EXPECT_EQ(
      "<!DOCTYPE xbel>\n<xbel folded=\"no\">\n"
      "<bookmark icon=\"folder\" href=\"file:/Share\"><title>Share</title></bookmark>"
      "<bookmark href=\"http://a/\"/>\n</xbel>\n",
      read_file(bookmarks));
  EXPECT_TRUE(matches_expected("/home/ann/Desktop/Share", "documents/linspire/Share"));
}

TEST_F(Konqueror, AnEmptyBookmarkListBecomesOne) {
  on("RedFlag");
  write_file(bookmarks, "<!DOCTYPE xbel>\n<xbel/>\n");
  add_share_shortcut("/home/ann", "ann");
  EXPECT_EQ(
      "<!DOCTYPE xbel>\n<xbel>\n"
      "<bookmark icon=\"folder\" href=\"file:/Share\"><title>Share</title></bookmark></xbel>\n",
      read_file(bookmarks));
  EXPECT_EQ("", output_of(std::string("xmllint --noout ") + bookmarks + " 2>&1"));
  EXPECT_TRUE(matches_expected("/home/ann/Desktop/Share", "documents/redflag/Share"));
}

TEST_F(Konqueror, IsGivenTheSkeletonsFolderWhenItHasNone) {
  shell_quietly("useradd ann");
  write_file("/tmp/linspireroot/root/.kde/share/apps/konqueror/bookmarks.xml", "<xbel/>\n");
  testing::internal::CaptureStdout();
  add_share_shortcut("/home/ann", "ann");
  EXPECT_EQ(
      "need to copy konqueror folder"
      "Executed cmd::cp -a /tmp/linspireroot/root/.kde/share/apps/konqueror /home/ann/.kde/share/apps\n"
      "Executed cmd::chown -R ann /home/ann/.kde/share/apps\nfound something",
      testing::internal::GetCapturedStdout());
  EXPECT_EQ("ann\n", output_of("stat -c %U /home/ann/.kde/share/apps/konqueror"));
  EXPECT_THAT(read_file(bookmarks), HasSubstr("file:/Share"));
}

TEST_F(Konqueror, OfRootBelongsToRoot) {
  isMultiUser = 1;
  shell_quietly("mkdir -p /root/.kde/share/apps");
  file_extensions(archive);
  EXPECT_THAT(commands_run(), Contains("chown -R root /root/.kde/share/apps"));
}

TEST_F(Konqueror, IsLeftAloneOnOtherSystems) {
  for (const char* system : {"GNome", "Xandros", "INVALID"}) {
    on(system);
    write_file(bookmarks, "<xbel/>\n");
    add_share_shortcut("/home/ann", "ann");
    EXPECT_EQ("<xbel/>\n", read_file(bookmarks)) << system;
  }
}

TEST_F(Konqueror, WithoutADesktopIsLeftAlone) {
  shell_quietly("rmdir /home/ann/Desktop");
  write_file(bookmarks, "<xbel/>\n");
  testing::internal::CaptureStderr();
  add_share_shortcut("/home/ann", "ann");
  EXPECT_EQ("file extensions: No such file or directory\n", testing::internal::GetCapturedStderr());
  EXPECT_EQ("<xbel/>\n", read_file(bookmarks));
}

TEST_F(Konqueror, AHostileUserNameStaysOneWord) {
  const std::string home = "/home/a;touch ran;$(touch ran)";
  shell_quietly("mkdir -p '" + home + "/Desktop' '" + home + "/.kde/share/apps'");
  write_file("/tmp/linspireroot/root/.kde/share/apps/konqueror/bookmarks.xml", "<xbel/>\n");
  add_share_shortcut(home.c_str(), "a;touch ran;$(touch ran)");
  EXPECT_THAT(read_file(home + "/.kde/share/apps/konqueror/bookmarks.xml"), HasSubstr("file:/Share"));
  EXPECT_FALSE(exists("ran"));
}

TEST_F(Konqueror, MissingBookmarksAreNotMadeFromNothing) {
  shell_quietly("mkdir -p /home/ann/.kde/share/apps/konqueror");
  add_share_shortcut("/home/ann", "ann");
  EXPECT_FALSE(exists(bookmarks));
  EXPECT_TRUE(exists("/home/ann/Desktop/Share"));
}

}  // namespace
