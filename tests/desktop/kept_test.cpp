// What the desktop's migrators replace can be had back, and what cannot be kept is left alone.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "gconf/gconf_calls.h"
#include "process/desktop/browser.h"
#include "process/desktop/documents.h"
#include "process/desktop/fonts.h"
#include "process/desktop/gnome_defaults.h"
#include "process/desktop/mapped_drives.h"
#include "process/desktop/wallpaper.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/keeping_run.h"
#include "support/session.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;

constexpr const char* archive = "/tmp/b";

std::string in_archive(const std::string& name) { return std::string(archive) + "/" + name; }

// Homes with something in them, and an archive with the same names.
struct Kept : testing::Test {
  Kept() {
    on("GNome");
    setenv("HOME", "/root", 1);
    shell_quietly("rm -f /usr/bin/firefox /usr/bin/staroffice; mkdir -p /root/Desktop");
    fp_log = std::fopen("/tmp/log", "w");
  }
  static void on(const char* system) { assign(OSName, system); }
  static void for_ann() {
    isDefaultUser = 0;
    assign(cur_user, "ann");
    shell_quietly("useradd -m -u 1234 ann; mkdir -p /home/ann/Desktop; chown 1234 /home/ann/Desktop");
  }
  // A file with a mode, an owner and a time that nobody would give it by chance.
  static void old_file(const std::string& path, const std::string& text = "old") {
    write_file(path, text);
    shell_quietly("chown 7:8 '" + path + "'; chmod 640 '" + path + "'; touch -d '2001-02-03 04:05:06' '" +
                  path + "'");
  }
  static void link_out_of(const std::string& home, const std::string& name) {
    shell_quietly("mkdir -p /srv/elsewhere; rm -rf '" + home + "/" + name + "'; ln -s /srv/elsewhere '" +
                  home + "/" + name + "'");
  }
  static std::string complaint_of(const std::function<void()>& run) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    run();
    testing::internal::GetCapturedStdout();
    return testing::internal::GetCapturedStderr();
  }
  // What it says on standard output.
  static std::string said_by(const std::function<void()>& run) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    run();
    testing::internal::GetCapturedStderr();
    return testing::internal::GetCapturedStdout();
  }
  // A migrator that must not even begin.
  static void expect_left(int (*migrator)(const char*), const std::string& args = archive) {
    KeepingRun::prevent();
    const KeepingRun run;
    forget_commands();
    int result = 0;
    EXPECT_THAT(complaint_of([&] { result = migrator(args.c_str()); }), HasSubstr("could not be kept"));
    EXPECT_EQ(-1, result);
    EXPECT_THAT(commands_run(), IsEmpty());
    EXPECT_TRUE(run.has_changed_nothing());
  }
  // One that must stop where `what` cannot be kept, with `commands` before.
  static void expect_stop(const std::function<int()>& migrate, const std::string& what,
                          const std::vector<std::string>& commands) {
    const KeepingRun run;
    forget_commands();
    int result = 0;
    EXPECT_THAT(complaint_of([&] { result = migrate(); }), HasSubstr(what + " could not be kept"));
    EXPECT_EQ(-1, result);
    EXPECT_EQ(commands, commands_run());
  }
};

// ---- Documents ------------------------------------------------------------------------------------------

struct KeptDocuments : Kept {
  KeptDocuments() {
    write_file(in_archive("My Documents/a.txt"), "new");
    write_file(in_archive("My Documents/sub/b.txt"), "new");
    write_file(in_archive("My Documents/c.txt"), "same");
  }
  const std::string folder = in_archive("My Documents");
};

TEST_F(KeptDocuments, OfTheSameNameAreKept) {
  old_file("/root/Documents/a.txt");
  old_file("/root/Documents/sub/b.txt", "old b");
  old_file("/root/Documents/c.txt", "same");
  old_file("/root/Documents/mine.txt");
  old_file("/root/Desktop/My Documents");
  KeepingRun run;
  EXPECT_EQ(0, mydocs(folder.c_str()));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(),
              ElementsAre("replaced /root/Desktop/My Documents", "replaced /root/Documents/a.txt",
                          "attributes /root/Documents/c.txt", "replaced /root/Documents/sub/b.txt"));
  EXPECT_EQ("old b", read_file(KeepingRun::kept("/root/Documents/sub/b.txt")));
  EXPECT_FALSE(exists(KeepingRun::kept("/root/Documents/c.txt")));
}

TEST_F(KeptDocuments, InAFreshHomeAreMade) {
  KeepingRun run;
  EXPECT_EQ(0, mydocs(folder.c_str()));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(), ElementsAre("made /root/Desktop/My Documents", "made /root/Documents",
                                        "made /root/Documents/a.txt", "made /root/Documents/c.txt",
                                        "made /root/Documents/sub", "made /root/Documents/sub/b.txt"));
}

TEST_F(KeptDocuments, OnTheDesktopOfRedFlagAreKept) {
  on("RedFlag");
  old_file("/root/Desktop/mydocument/a.txt");
  KeepingRun run;
  EXPECT_EQ(0, mydocs(folder.c_str()));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_EQ("old", read_file(KeepingRun::kept("/root/Desktop/mydocument/a.txt")));
}

TEST_F(KeptDocuments, InPlaceOfAFileKeepIt) {
  shell_quietly("rm -r /tmp/b/'My Documents'/sub /tmp/b/'My Documents'/c.txt");
  old_file("/root/Documents");
  KeepingRun run;
  mydocs(folder.c_str());  // the one document takes its place
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_EQ("old", read_file(KeepingRun::kept("/root/Documents")));
}

TEST_F(KeptDocuments, ListTheLinkToTheDesktopOfGnome) {
  shell_quietly("rmdir /root/Desktop; mkdir /root/.gnome-desktop");
  KeepingRun run;
  EXPECT_EQ(0, mydocs(folder.c_str()));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(), Contains("made /root/Desktop"));
}

TEST_F(KeptDocuments, ListTheLinkInsideADesktopThatIsThere) {
  for_ann();
  shell_quietly("rmdir /home/ann/Desktop; mkdir /root/.gnome-desktop");
  KeepingRun run;
  complaint_of([&] { mydocs(folder.c_str()); });
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(), Contains("made /root/Desktop/.gnome-desktop"));
}

TEST_F(KeptDocuments, OfAPersonWithoutAnAccountAreListedWithTheFolder) {
  isDefaultUser = 0;
  assign(cur_user, "nobody2");
  KeepingRun run;
  complaint_of([&] { mydocs(folder.c_str()); });
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(), Contains("made /home/nobody2/Documents/sub/b.txt"));
}

TEST_F(KeptDocuments, ThatCannotBeKeptAreLeft) {
  old_file("/root/Documents/a.txt");
  expect_left(mydocs, folder);
  on("RedFlag");
  expect_left(mydocs, folder);
}

TEST_F(KeptDocuments, BehindALinkOutOfTheHomeAreLeft) {
  for_ann();
  link_out_of("/home/ann", "Documents");
  expect_stop([&] { return mydocs(folder.c_str()); }, "/home/ann/Documents", {});
}

TEST_F(KeptDocuments, StopAtOneThatCannotBeKept) {
  for_ann();
  shell_quietly("mkdir /home/ann/Documents; ln -s /srv/x /home/ann/Documents/a.txt");
  expect_stop([&] { return mydocs(folder.c_str()); }, "/home/ann/Documents/a.txt",
              {"mkdir -p /home/ann/Documents"});
  EXPECT_FALSE(exists("/home/ann/Desktop/My Documents"));
}

TEST_F(KeptDocuments, ThatAreLeftAreNotSaidToBeCopied) {
  for_ann();
  shell_quietly(
      "mkdir /home/ann/Documents; ln -s /srv/x /home/ann/Documents/a.txt; "
      "ln -s /srv/x /home/ann/Desktop/a.lnk");
  write_file(in_archive("Desktop/a.lnk"), "new");
  const KeepingRun run;
  EXPECT_EQ("buffer=/home/ann\n", said_by([&] { EXPECT_EQ(-1, mydocs(folder.c_str())); }));
  EXPECT_EQ("buffer=/home/ann\n", said_by([] { EXPECT_EQ(-1, desktop(archive)); }));
}

TEST_F(KeptDocuments, WithoutAListOfRunnersDesktopStop) {
  shell_quietly("mkdir -p /home/eve; rmdir /root/Desktop; ln -s /srv /home/eve/Desktop");
  write_file("/home/eve/.brindle_before", "");
  setenv("HOME", "/home/eve", 1);
  expect_stop([&] { return mydocs(folder.c_str()); }, "/home/eve/Desktop/.gnome-desktop",
              {"mkdir -p /root/Documents", "cp -a \"/tmp/b/My Documents\"/* /root/Documents "});
}

TEST_F(Kept, DesktopFilesOfTheSameNameAreKept) {
  write_file(in_archive("Desktop/a.lnk"), "new");
  write_file(in_archive("Desktop/b.lnk"), "new");
  old_file("/root/Desktop/a.lnk");
  KeepingRun run;
  EXPECT_EQ(0, desktop(archive));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(), ElementsAre("replaced /root/Desktop/a.lnk", "made /root/Desktop/b.lnk"));
}

TEST_F(Kept, ADesktopThatIsMadeIsListed) {
  for_ann();
  shell_quietly("rmdir /home/ann/Desktop; mkdir /home/ann/.gnome-desktop");
  write_file(in_archive("Desktop/a.lnk"), "new");
  KeepingRun run;
  EXPECT_EQ(0, desktop(archive));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(), ElementsAre("made /home/ann/.gnome-desktop/a.lnk", "made /home/ann/Desktop"));
}

TEST_F(Kept, DesktopThatCannotBeKeptIsLeft) {
  write_file(in_archive("Desktop/a.lnk"), "new");
  old_file("/root/Desktop/a.lnk");
  expect_left(desktop);
  shell_quietly("rm -r /root/Desktop; mkdir /root/.gnome-desktop");
  expect_left(desktop);
}

// ---- Files by their extension ---------------------------------------------------------------------------

struct KeptFiles : Kept {
  KeptFiles() {
    write_file(in_archive("File Extensions/song.mp3"), "new");
    write_file(in_archive("File Extensions/.hidden"), "new");
    write_file(in_archive("File Extensions/other.mp3"), "new");
    isMultiUser = 0;
  }
};

TEST_F(KeptFiles, OfOneUserAreKept) {
  old_file("/root/File Extensions/song.mp3");
  old_file("/root/File Extensions/.hidden");
  old_file("/root/Desktop/Windows Files");
  KeepingRun run;
  EXPECT_EQ(0, file_extensions(archive));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(),
              ElementsAre("replaced /root/Desktop/Windows Files", "replaced /root/File Extensions/.hidden",
                          "made /root/File Extensions/other.mp3", "replaced /root/File Extensions/song.mp3"));
}

TEST_F(KeptFiles, ThatCannotBeKeptAreLeft) {
  old_file("/root/File Extensions/song.mp3");
  expect_left(file_extensions);
}

struct KeptShare : KeptFiles {
  KeptShare() {
    isMultiUser = 1;
    shell_quietly("useradd -m -u 1234 ann; mkdir -p /home/ann/Desktop /Share/deep");
    old_file("/Share/song.mp3");
    old_file("/Share/deep/mine");
  }
};

TEST_F(KeptShare, FilesModesAndLinksAreKept) {
  old_file("/root/Desktop/Share");
  old_file("/home/ann/Desktop/Share", "ann's");
  KeepingRun run;
  EXPECT_EQ(0, file_extensions(archive));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(),
              ElementsAre("attributes /Share", "attributes /Share/deep", "attributes /Share/deep/mine",
                          "made /Share/other.mp3", "replaced /Share/song.mp3",
                          "replaced /home/ann/Desktop/Share", "replaced /root/Desktop/Share"));
  EXPECT_EQ("ann's", read_file(KeepingRun::kept("/home/ann/Desktop/Share", "/home/ann")));
}

TEST_F(KeptShare, AFolderThatIsMadeIsListed) {
  shell_quietly("rm -r /Share");
  KeepingRun run;
  EXPECT_EQ(0, file_extensions(archive));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(), ElementsAre("made /Share", "made /Share/other.mp3", "made /Share/song.mp3",
                                        "made /home/ann/Desktop/Share", "made /root/Desktop/Share"));
}

TEST_F(KeptShare, ThatCannotBeKeptIsLeft) { expect_left(file_extensions); }

TEST_F(KeptShare, AHomeThatCannotBeKeptGetsNoLinkAndTheOthersDo) {
  shell_quietly("useradd -m ben; mkdir /home/ben/Desktop");
  KeepingRun::prevent("/home/ann");
  old_file("/home/ann/Desktop/Share", "ann's");
  KeepingRun run;
  complaint_of([] { EXPECT_EQ(-1, file_extensions(archive)); });
  EXPECT_EQ("ann's", read_file("/home/ann/Desktop/Share"));
  EXPECT_TRUE(exists("/home/ben/Desktop/Share"));
}

TEST_F(KeptShare, KonquerorsFolderAndItsOwnersAreKept) {
  on("Linspire");
  assign(homedirpath, "/tmp/linspireroot");
  write_file("/tmp/linspireroot/root/.kde/share/apps/konqueror/bookmarks.xml", "<xbel/>\n");
  shell_quietly("mkdir -p /home/ann/.kde/share/apps/kate /root/.kde/share/apps/konqueror");
  old_file("/home/ann/.kde/share/apps/kate/rc");
  old_file("/root/.kde/share/apps/konqueror/bookmarks.xml", "<xbel/>\n");
  old_file("/root/.kde/share/apps/konqueror/bookmarkstemp.xml");
  KeepingRun run;
  EXPECT_EQ(0, file_extensions(archive));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(), IsSupersetOf({"attributes /home/ann/.kde/share/apps/kate/rc",
                                          "made /home/ann/.kde/share/apps/konqueror",
                                          "replaced /root/.kde/share/apps/konqueror/bookmarks.xml",
                                          "replaced /root/.kde/share/apps/konqueror/bookmarkstemp.xml"}));
}

TEST_F(KeptShare, StopsAtAFileThatCannotBeKept) {
  shell_quietly("chmod 1777 /Share; ln -s /srv/x /Share/other.mp3; chown -h ann /Share/other.mp3");
  expect_stop([] { return file_extensions(archive); }, "/Share/other.mp3", {"mkdir /Share"});
  EXPECT_FALSE(exists("/root/Desktop/Share"));
}

TEST_F(KeptShare, IsNotOpenedWithAFileThatHasANameElsewhere) {
  write_file("/home/ben/theirs", "secret");
  shell_quietly("chmod 600 /home/ben/theirs; ln /home/ben/theirs /Share/theirs");
  expect_stop([] { return file_extensions(archive); }, "/Share/theirs",
              {"mkdir /Share", "cp -a /tmp/b/File\\ Extensions/* /Share/"});
  EXPECT_EQ("600\n", output_of("stat -c %a /home/ben/theirs"));
}

struct KeptKonqueror : KeptShare {
  KeptKonqueror() {
    on("Linspire");
    assign(homedirpath, "/tmp/linspireroot");
    write_file("/tmp/linspireroot/root/.kde/share/apps/konqueror/bookmarks.xml", "<xbel/>\n");
    shell_quietly("mkdir -p /home/ann/.kde/share/apps");
  }
};

TEST_F(KeptKonqueror, BehindALinkOutOfTheHomeIsNotFilled) {
  link_out_of("/home/ann", ".kde/share/apps");
  const KeepingRun run;
  EXPECT_THAT(complaint_of([] { EXPECT_EQ(-1, file_extensions(archive)); }), HasSubstr("could not be kept"));
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("/home/ann/.kde"))));
  EXPECT_EQ("", output_of("ls /srv/elsewhere"));
}

TEST_F(KeptKonqueror, WithAFileThatHasANameElsewhereGetsNoOwner) {
  write_file("/home/ben/theirs", "secret");
  shell_quietly("ln /home/ben/theirs /home/ann/.kde/share/apps/theirs");
  const KeepingRun run;
  EXPECT_THAT(complaint_of([] { EXPECT_EQ(-1, file_extensions(archive)); }), HasSubstr("could not be kept"));
  EXPECT_THAT(commands_run(), Not(Contains("chown -R ann /home/ann/.kde/share/apps")));
  EXPECT_EQ("root\n", output_of("stat -c %U /home/ben/theirs"));
}

// ---- Fonts ----------------------------------------------------------------------------------------------

struct KeptFonts : Kept {
  KeptFonts() {
    write_file(in_archive("Fonts/a.ttf"), "new");
    write_file(in_archive("Fonts/b.ttf"), "new");
  }
};

TEST_F(KeptFonts, OfTheSameNameAreKept) {
  old_file("/root/.fonts/a.ttf");
  old_file("/root/.staroffice7/user/fonts/a.ttf", "office");
  old_file("/root/.staroffice7/user/fonts/b.ttf", "office");
  write_file("/usr/bin/staroffice", "");
  KeepingRun run;
  EXPECT_EQ(0, fonts(archive));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(), ElementsAre("replaced /root/.fonts/a.ttf", "made /root/.fonts/b.ttf",
                                        "replaced /root/.staroffice7/user/fonts/a.ttf",
                                        "replaced /root/.staroffice7/user/fonts/b.ttf"));
}

TEST_F(KeptFonts, FoldersThatAreMadeAreListed) {
  write_file("/usr/bin/staroffice", "");
  KeepingRun run;
  EXPECT_EQ(0, fonts(archive));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(), IsSupersetOf({"made /root/.fonts", "made /root/.staroffice7"}));
}

// An older fc-cache writes its cache into the folder itself.
TEST_F(KeptFonts, CachesOfAnOlderVersionAreKept) {
  write_file("/usr/local/bin/fc-cache", "#!/bin/sh\necho cache > \"$1/fonts.cache-1\"; rm -f \"$1/.uuid\"\n");
  shell_quietly("chmod 755 /usr/local/bin/fc-cache");
  old_file("/root/.fonts/fonts.cache-1");
  old_file("/root/.fonts/.uuid");
  KeepingRun run;
  EXPECT_EQ(0, fonts(archive));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(),
              IsSupersetOf({"replaced /root/.fonts/fonts.cache-1", "removed /root/.fonts/.uuid"}));
}

TEST_F(KeptFonts, ThatCannotBeKeptAreLeft) {
  old_file("/root/.fonts/a.ttf");
  expect_left(fonts);
}

TEST_F(KeptFonts, StopWhereOneCannotBeKept) {
  for_ann();
  write_file("/usr/bin/staroffice", "");
  shell_quietly("mkdir -p /home/ann/.fonts; ln -s /srv/x /home/ann/.fonts/a.ttf");
  expect_stop([] { return fonts(archive); }, "/home/ann/.fonts/a.ttf", {"mkdir -p /home/ann/.fonts"});
  shell_quietly("rm /home/ann/.fonts/a.ttf; ln -s /srv/x /home/ann/.fonts/.uuid");
  expect_stop([] { return fonts(archive); }, "/home/ann/.fonts/.uuid",
              {"mkdir -p /home/ann/.fonts", "cp /tmp/b/Fonts/* /home/ann/.fonts"});
  shell_quietly("rm /home/ann/.fonts/.uuid");
  link_out_of("/home/ann", ".staroffice7");
  expect_stop(
      [] { return fonts(archive); }, "/home/ann/.staroffice7/user/fonts",
      {"mkdir -p /home/ann/.fonts", "cp /tmp/b/Fonts/* /home/ann/.fonts", "fc-cache /home/ann/.fonts"});
  shell_quietly(
      "rm /home/ann/.staroffice7; mkdir -p /home/ann/.staroffice7/user/fonts; "
      "ln -s /srv/x /home/ann/.staroffice7/user/fonts/a.ttf");
  expect_stop([] { return fonts(archive); }, "/home/ann/.staroffice7/user/fonts/a.ttf",
              {"mkdir -p /home/ann/.fonts", "cp /tmp/b/Fonts/* /home/ann/.fonts", "fc-cache /home/ann/.fonts",
               "mkdir -p /home/ann/.staroffice7/user/fonts"});
}

// The suite's copy would be the font's owner's to read.
TEST_F(KeptFonts, ThatTheirOwnerMayNotReadAreNotGivenToTheSuite) {
  for_ann();
  write_file("/usr/bin/staroffice", "");
  shell_quietly("mkdir -p /home/ann/.fonts; ln -s /etc/shadow /home/ann/.fonts/secret.ttf");
  const KeepingRun run;
  forget_commands();
  complaint_of([] { EXPECT_EQ(-1, fonts(archive)); });
  EXPECT_EQ("fc-cache /home/ann/.fonts", commands_run().back());
  EXPECT_FALSE(exists("/home/ann/.staroffice7"));
}

constexpr const char* fonts_of_all = "/usr/share/fonts/zh_CN/TrueType";

TEST_F(KeptFonts, OfEverybodyAreKept) {
  on("RedFlag");
  isMultiUser = 1;
  for_ann();
  old_file(std::string(fonts_of_all) + "/a.ttf");
  old_file(std::string(fonts_of_all) + "/fonts.cache-1");
  KeepingRun run({fonts_of_all});
  EXPECT_EQ(0, fonts(archive));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(), ElementsAre("replaced " + std::string(fonts_of_all) + "/a.ttf",
                                        "made " + std::string(fonts_of_all) + "/b.ttf",
                                        "removed " + std::string(fonts_of_all) + "/fonts.cache-1"));
}

TEST_F(KeptFonts, OfEverybodyThatCannotBeKeptAreLeft) {
  on("RedFlag");
  isMultiUser = 1;
  for_ann();
  old_file(std::string(fonts_of_all) + "/fonts.cache-1");
  expect_left(fonts);
  EXPECT_TRUE(exists(std::string(fonts_of_all) + "/fonts.cache-1"));
}

TEST_F(KeptFonts, OfEverybodyStopWhereOneCannotBeKept) {
  on("RedFlag");
  isMultiUser = 1;
  for_ann();
  const std::string font = std::string(fonts_of_all) + "/a.ttf";
  shell_quietly("mkdir -p " + std::string(fonts_of_all) + "; ln -s /srv/x " + font + "; chown -h ann " +
                font);
  expect_stop([] { return fonts(archive); }, font, {"rm -f /usr/share/fonts/zh_CN/TrueType/fonts.cache-1"});
}

struct KeptTerminal : KeptFonts {
  KeptTerminal() {
    on("RedFlag");
    shell_quietly(
        "mkdir -p /tmp/s/.kde/share/config /usr/local/brindle && echo skeleton > "
        "/tmp/s/.kde/share/config/konsolerc && tar -cjf /usr/local/brindle/redflagroot.tar.bz2 -C /tmp/s "
        ".kde");
    old_file("/root/.kde/share/config/konsolerc");
  }
};

TEST_F(KeptTerminal, SettingsAreKept) {
  KeepingRun run;
  EXPECT_EQ(0, fonts(archive));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_EQ("old", read_file(KeepingRun::kept("/root/.kde/share/config/konsolerc")));
}

TEST_F(KeptTerminal, SettingsThatCannotBeKeptAreLeft) {
  KeepingRun::prevent();
  const KeepingRun run;
  forget_commands();
  complaint_of([] { EXPECT_EQ(-1, fonts(archive)); });
  EXPECT_EQ("rm -rf /tmp/redflagroot2", commands_run().back());
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("cp "))));
  EXPECT_FALSE(exists("/tmp/redflagroot2"));
  EXPECT_TRUE(run.has_changed_nothing());
}

// ---- Browser --------------------------------------------------------------------------------------------

constexpr const char* profile = "/root/.mozilla/default/abc.slt/";

struct KeptBrowser : Kept {
  KeptBrowser() {
    write_file(in_archive("Bookmark.htm"), "new");
    write_file(in_archive("Cookies.txt"), "a.example\tFALSE\n");
    write_file(in_archive("bookmarks.xml"), "new");
    write_file(in_archive("Cookies2.txt"), "new");
    old_file(std::string(profile) + "bookmarks.html");
    old_file(std::string(profile) + "cookies.txt");
    old_file("/root/.kde/share/apps/konqueror/bookmarks.xml");
    old_file("/root/.kde/share/apps/kcookiejar/cookies");
  }
};

TEST_F(KeptBrowser, BookmarksAndCookiesAreKept) {
  KeepingRun run;
  EXPECT_EQ(0, favourites(archive));
  EXPECT_EQ(0, cookies(archive));
  EXPECT_EQ(0, konquererbookmarks(archive));
  EXPECT_EQ(0, konquerercookies(archive));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(), ElementsAre("replaced /root/.kde/share/apps/kcookiejar/cookies",
                                        "replaced /root/.kde/share/apps/konqueror/bookmarks.xml",
                                        "replaced " + std::string(profile) + "bookmarks.html",
                                        "replaced " + std::string(profile) + "cookies.txt"));
}

TEST_F(KeptBrowser, AFileBehindALinkIsKeptWithIt) {
  old_file("/root/real.html", "real");
  shell_quietly("ln -sf /root/real.html " + std::string(profile) + "bookmarks.html");
  KeepingRun run;
  EXPECT_EQ(0, favourites(archive));
  EXPECT_TRUE(run.has_kept_all({.more_kept = std::string(profile) + "bookmarks.html"}));
  EXPECT_THAT(run.listed(), ElementsAre("replaced /root/real.html"));
}

TEST_F(KeptBrowser, WhatCannotBeKeptIsLeft) {
  expect_left(favourites);
  expect_left(konquererbookmarks);
  expect_left(konquerercookies);
  KeepingRun::prevent();
  const KeepingRun run;
  EXPECT_THAT(complaint_of([] { EXPECT_EQ(-1, cookies(archive)); }), HasSubstr("could not be kept"));
  EXPECT_TRUE(run.has_changed_nothing());
}

// ---- Wallpaper ------------------------------------------------------------------------------------------

struct KeptWallpaper : Kept {
  KeptWallpaper() {
    write_file(in_archive("Wallpaper/bliss.bmp"), "new");
    write_file(in_archive("Wallpaper/option.txt"), "C");
    write_file(
        "/usr/local/bin/dcop",
        "#!/bin/sh\nmkdir -p /root/.kde/share/config; echo new > /root/.kde/share/config/kdesktoprc\n");
    shell_quietly("chmod 755 /usr/local/bin/dcop");
  }
};

TEST_F(KeptWallpaper, OfGnomeIsKept) {
  for_ann();
  old_file("/home/ann/bliss.bmp");
  old_file("/home/ann/option.txt");
  old_file("/home/ann/.gconf/desktop/gnome/background/%gconf.xml");
  KeepingRun run;
  EXPECT_EQ(0, wallpaper(archive));
  EXPECT_EQ("old", read_file("/home/ann/option.txt"));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(), ElementsAre("replaced /home/ann/.gconf/desktop/gnome/background/%gconf.xml",
                                        "replaced /home/ann/bliss.bmp"));
}

TEST_F(KeptWallpaper, OfGnomeInAFreshHomeIsMade) {
  for_ann();
  shell_quietly("mkdir -p /home/ann/.gconf/desktop/gnome");
  KeepingRun run;
  EXPECT_EQ(0, wallpaper(archive));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(), ElementsAre("made /home/ann/.gconf/desktop/gnome/background",
                                        "made /home/ann/.gconf/desktop/gnome/background/%gconf.xml",
                                        "made /home/ann/bliss.bmp"));
}

TEST_F(KeptWallpaper, OfGnomeThatCannotBeKeptIsLeft) {
  old_file("/root/bliss.bmp");
  old_file("/root/option.txt");
  expect_left(wallpaper);
}

TEST_F(KeptWallpaper, OfGnomeStopsWhereOneCannotBeKept) {
  for_ann();
  old_file("/home/ann/option.txt");
  shell_quietly("ln -s /srv/x /home/ann/bliss.bmp; mkdir -p /home/ann/.gconf/desktop/gnome");
  expect_stop([] { return wallpaper(archive); }, "/home/ann/bliss.bmp", {});
  EXPECT_EQ("old", read_file("/home/ann/option.txt"));
  std::fflush(fp_log);
  EXPECT_EQ("", read_file("/tmp/log"));
  shell_quietly("rm /home/ann/bliss.bmp");
  link_out_of("/home/ann", ".gconf/desktop/gnome");
  expect_stop([] { return wallpaper(archive); }, "/home/ann/.gconf/desktop/gnome/background",
              {"cp /tmp/b/Wallpaper/* /home/ann"});
}

TEST_F(KeptWallpaper, OfKdeIsKept) {
  on("Linspire");
  old_file("/root/Wallpaper1.bmp");
  old_file("/root/.kde/share/config/kdesktoprc");
  KeepingRun run;
  EXPECT_EQ(0, kdewallpaper(archive));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(), ElementsAre("replaced /root/.kde/share/config/kdesktoprc",
                                        "replaced /root/Wallpaper1.bmp", "made /root/option.txt"));
}

TEST_F(KeptWallpaper, OfKdeLeavesTheOwnStyleFile) {
  on("Linspire");
  for_ann();
  old_file("/home/ann/option.txt");
  old_file("/home/ann/.kde/share/config/kdesktoprc");
  KeepingRun run;
  EXPECT_EQ(0, kdewallpaper(archive));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(), ElementsAre("replaced /home/ann/.kde/share/config/kdesktoprc",
                                        "made /home/ann/Wallpaper1.bmp"));
}

TEST_F(KeptWallpaper, OfKdeThatCannotBeKeptIsLeft) {
  on("Linspire");
  old_file("/root/Wallpaper1.bmp");
  expect_left(kdewallpaper);
}

TEST_F(KeptWallpaper, OfKdeStopsWhereOneCannotBeKept) {
  on("Linspire");
  for_ann();
  shell_quietly("ln -s /srv/x /home/ann/Wallpaper1.bmp");
  expect_stop([] { return kdewallpaper(archive); }, "/home/ann/Wallpaper1.bmp", {});
}

TEST_F(KeptWallpaper, OfKdeStopsWhereTheDesktopsSettingsCannotBeKept) {
  on("Linspire");
  // More than there are links to follow.
  shell_quietly(
      "mkdir -p /root/.kde/share/config; ln -s kdesktoprc /root/.kde/share/config/kdesktoprc; "
      "mkdir -p /root/.kde/share/config; rm -r /root/.kde; ln -s .kde /root/.kde");
  expect_stop(
      [] { return kdewallpaper(archive); }, "/root/.kde/share/config/kdesktoprc",
      {"cp /tmp/b/Wallpaper/option.txt /root", "cp \"/tmp/b/Wallpaper/bliss.bmp\" \"/root/Wallpaper1.bmp\""});
}

// ---- Drives ---------------------------------------------------------------------------------------------

struct KeptDrives : Kept {
  KeptDrives() {
    write_file(in_archive("Mapped_Drives/1"), "//server/a\nProjects\n");
    write_file(in_archive("Mapped_Drives/2"), "//server/b\nMusic\n");
  }
};

TEST_F(KeptDrives, BookmarksLinksAndPreferencesOfGnomeAreKept) {
  for_ann();
  old_file("/home/ann/.nautilus/bookmarks.xml");
  old_file("/home/ann/Desktop/Projects");
  old_file("/home/ann/.gconf/apps/nautilus/preferences/%gconf.xml");
  KeepingRun run;
  EXPECT_EQ(0, nautilusmappeddrives(archive));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(),
              ElementsAre("replaced /home/ann/.gconf/apps/nautilus/preferences/%gconf.xml",
                          "replaced /home/ann/.nautilus/bookmarks.xml", "made /home/ann/Desktop/Music",
                          "replaced /home/ann/Desktop/Projects"));
}

TEST_F(KeptDrives, OfGnomeInAFreshHomeAreMade) {
  for_ann();
  shell_quietly("mkdir -p /home/ann/.gconf/apps");
  KeepingRun run;
  EXPECT_EQ(0, nautilusmappeddrives(archive));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(),
              IsSupersetOf({"made /home/ann/.nautilus", "made /home/ann/.gconf/apps/nautilus"}));
}

TEST_F(KeptDrives, OfGnomeThatCannotBeKeptAreLeft) {
  old_file("/root/.nautilus/bookmarks.xml");
  expect_left(nautilusmappeddrives);
}

TEST_F(KeptDrives, OfGnomeGiveTheBookmarksBackWhereALinkCannotBeKept) {
  for_ann();
  old_file("/home/ann/.nautilus/bookmarks.xml");
  shell_quietly("ln -s /srv/x /home/ann/Desktop/Projects; ln -s /srv/x /home/ann/Desktop/Music");
  const KeepingRun run;
  EXPECT_THAT(complaint_of([] { EXPECT_EQ(-1, nautilusmappeddrives(archive)); }),
              HasSubstr("could not be kept"));
  EXPECT_EQ("old", read_file("/home/ann/.nautilus/bookmarks.xml"));
  EXPECT_FALSE(exists("/home/ann/.gconf/apps"));
}

TEST_F(KeptDrives, BookmarksAndLinksOfKdeAreKept) {
  old_file("/root/.kde/share/apps/konqueror/bookmarks.xml", "<xbel/>\n");
  old_file("/root/.kde/share/apps/konqueror/bookmarkstemp.xml");
  old_file("/root/Desktop/Projects");
  KeepingRun run;
  EXPECT_EQ(0, mappeddrives(archive));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(), ElementsAre("replaced /root/.kde/share/apps/konqueror/bookmarks.xml",
                                        "replaced /root/.kde/share/apps/konqueror/bookmarkstemp.xml",
                                        "made /root/Desktop/Music", "replaced /root/Desktop/Projects"));
  EXPECT_EQ("<xbel/>\n", read_file(KeepingRun::kept("/root/.kde/share/apps/konqueror/bookmarks.xml")));
}

TEST_F(KeptDrives, OfKdeThatCannotBeKeptAreLeft) {
  old_file("/root/.kde/share/apps/konqueror/bookmarks.xml", "<xbel/>\n");
  KeepingRun::prevent();
  const KeepingRun run;
  forget_commands();
  EXPECT_THAT(complaint_of([] { EXPECT_EQ(-1, mappeddrives(archive)); }), HasSubstr("could not be kept"));
  EXPECT_THAT(commands_run(), ElementsAre(HasSubstr("dos2unix")));
  EXPECT_TRUE(run.has_changed_nothing());
}

TEST_F(KeptDrives, OfKdeStopWhereTheBookmarksCannotBeKept) {
  for_ann();
  write_file("/home/ann/.kde/share/apps/konqueror/bookmarks.xml", "<xbel/>\n");
  shell_quietly("ln -s /srv/x /home/ann/.kde/share/apps/konqueror/bookmarkstemp.xml");
  const KeepingRun run;
  EXPECT_THAT(complaint_of([] { EXPECT_EQ(-1, mappeddrives(archive)); }), HasSubstr("could not be kept"));
  EXPECT_EQ("", output_of("ls /home/ann/Desktop"));
}

// ---- The launcher ---------------------------------------------------------------------------------------

constexpr const char* launchers = "/home/ann/.gnome2/panel2.d/default/launchers";

struct KeptLauncher : Kept {
  KeptLauncher() {
    for_ann();
    write_file("/usr/local/brindle/firefox.desktop", "new");
    write_file("/opt/gnome/share/applications/epiphany.desktop", "");
    shell_quietly("mkdir -p " + std::string(launchers));
    old_file(settings);
  }
  const std::string settings =
      "/home/ann/.gconf/apps/panel/profiles/default/objects/webbrowser_launcher/%gconf.xml";
};

TEST_F(KeptLauncher, IsKept) {
  old_file(std::string(launchers) + "/firefox.desktop");
  KeepingRun run;
  set_to_firefox();
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(),
              ElementsAre("replaced " + settings, "replaced " + std::string(launchers) + "/firefox.desktop"));
}

TEST_F(KeptLauncher, ThatCannotBeKeptIsLeft) {
  old_file(std::string(launchers) + "/firefox.desktop");
  KeepingRun::prevent("/home/ann");
  const KeepingRun run;
  EXPECT_THAT(complaint_of(set_to_firefox), HasSubstr("could not be kept"));
  EXPECT_THAT(commands_run(), IsEmpty());
  EXPECT_EQ("old", read_file(std::string(launchers) + "/firefox.desktop"));
  EXPECT_EQ("old", read_file(settings));
}

TEST_F(KeptLauncher, WithoutItsFolderLeavesNoTrace) {
  shell_quietly("rm -r /home/ann/.gnome2 /home/ann/.gconf");
  const KeepingRun run;
  set_to_firefox();
  EXPECT_FALSE(exists(KeepingRun::folder()));
  EXPECT_FALSE(exists(KeepingRun::folder("/home/ann")));
}

}  // namespace
