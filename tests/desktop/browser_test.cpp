#include "process/desktop/browser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

#include "shell/files.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* archive = "/tmp/b";
constexpr const char* profile = "/root/.mozilla/default/abc.slt/";

struct Browser : testing::Test {
  Browser() {
    shell_quietly("rm -f /usr/bin/firefox; mkdir -p " + std::string(profile));
    write_file("/tmp/b/Bookmark.htm", "<!DOCTYPE NETSCAPE-Bookmark-file-1>\n");
  }
  static void cookie_file(const std::string& text) { write_file("/tmp/b/Cookies.txt", text); }
  static std::string migrated(const std::string& text) {
    cookie_file(text);
    EXPECT_EQ(0, cookies(archive));
    return read_file(std::string(profile) + "cookies.txt");
  }
  static std::string complaint_of(int (*migrator)(const char*)) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(-1, migrator(archive));
    return testing::internal::GetCapturedStderr();
  }
};

// ---- Which profile --------------------------------------------------------------------------------------

TEST_F(Browser, BookmarksGoToTheMozillaProfileAsTheyAre) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, favourites(archive));
  EXPECT_EQ("<!DOCTYPE NETSCAPE-Bookmark-file-1>\n", read_file(std::string(profile) + "bookmarks.html"));
  const std::string command = "cp /tmp/b/Bookmark.htm /root/.mozilla/default/abc.slt/bookmarks.html";
  EXPECT_THAT(commands_run(), ElementsAre(command));
  EXPECT_EQ("buffer=/root\n" + command, testing::internal::GetCapturedStdout());
}

TEST_F(Browser, AnInstalledFirefoxDecidesEvenWithAMozillaProfile) {
  write_file("/usr/bin/firefox", "");
  shell_quietly(
      "mkdir -p /root/.mozilla/firefox/xyz.default; touch /root/.mozilla/firefox/profiles.ini "
      "/root/.mozilla/firefox/pluginreg.dat");
  cookie_file("a.example\tFALSE\n");
  EXPECT_EQ(0, favourites(archive));
  EXPECT_EQ(0, cookies(archive));
  EXPECT_TRUE(exists("/root/.mozilla/firefox/xyz.default/bookmarks.html"));
  EXPECT_TRUE(exists("/root/.mozilla/firefox/xyz.default/cookies.txt"));
  EXPECT_FALSE(exists(std::string(profile) + "bookmarks.html"));
}

TEST_F(Browser, AFirefoxProfileDoesNotCountWithoutTheProgram) {
  shell_quietly("mkdir -p /root/.mozilla/firefox/xyz.default");
  EXPECT_EQ(0, favourites(archive));
  EXPECT_EQ(std::string(profile) + "bookmarks.html\n", output_of("find /root/.mozilla -name bookmarks.html"));
}

TEST_F(Browser, OfSeveralProfilesTheFirstIsTaken) {
  shell_quietly(
      "cd /root/.mozilla/default && mkdir one.slt two.slt three.slt four.slt && touch pluginreg.dat "
      "profiles.ini");
  std::vector<std::string> names = list_folder("/root/.mozilla/default").value();
  std::erase_if(names, [](const std::string& name) { return !name.ends_with(".slt"); });
  EXPECT_EQ(0, favourites(archive));
  EXPECT_EQ("/root/.mozilla/default/" + names.front() + "/bookmarks.html\n",
            output_of("find /root/.mozilla -name bookmarks.html"));
}

TEST_F(Browser, OnlyTheTwoFilesOfTheBrowserAreNoProfiles) {
  for (const std::string name : {"profiles.ini.slt", "pluginreg.dat~", "Profiles.ini", "ini"}) {
    shell_quietly("cd /root/.mozilla/default && rm -rf * && mkdir " + name);
    EXPECT_EQ(0, favourites(archive)) << name;
    EXPECT_TRUE(exists("/root/.mozilla/default/" + name + "/bookmarks.html")) << name;
  }
}

TEST_F(Browser, AProfilesUserHasHisOwn) {
  isDefaultUser = 0;
  assign(cur_user, "ann");
  shell_quietly("mkdir -p /home/ann/.mozilla/default/q.slt");
  cookie_file("a.example\tFALSE\n");
  EXPECT_EQ(0, favourites(archive));
  EXPECT_EQ(0, cookies(archive));
  EXPECT_TRUE(exists("/home/ann/.mozilla/default/q.slt/bookmarks.html"));
  EXPECT_EQ(".a.example\tFALSE\n", read_file("/home/ann/.mozilla/default/q.slt/cookies.txt"));
}

TEST_F(Browser, WithoutAFolderNothingIsWritten) {
  shell_quietly("rm -r /root/.mozilla");
  cookie_file("a\n");
  EXPECT_EQ("In favourites_cookies() opendir: : No such file or directory\n", complaint_of(favourites));
  EXPECT_EQ("In favourites_cookies() opendir: : No such file or directory\n", complaint_of(cookies));
  EXPECT_THAT(commands_run(), IsEmpty());
}

TEST_F(Browser, WhatLiesInTheFoldersPlaceIsNamed) {
  shell_quietly("rm -r /root/.mozilla/default; mkfifo /root/.mozilla/default");
  EXPECT_EQ("In favourites_cookies() opendir: : Not a directory\n/root/.mozilla/default: Not a directory\n",
            complaint_of(favourites));
  EXPECT_THAT(commands_run(), IsEmpty());
}

TEST_F(Browser, WithoutAProfileNothingIsWritten) {
  shell_quietly("cd /root/.mozilla/default && rmdir abc.slt && touch profiles.ini pluginreg.dat");
  cookie_file("a\n");
  EXPECT_EQ("No browser profile in /root/.mozilla/default\n", complaint_of(favourites));
  EXPECT_EQ("No browser profile in /root/.mozilla/default\n", complaint_of(cookies));
  EXPECT_THAT(commands_run(), IsEmpty());
}

TEST_F(Browser, ABookmarkFileThatCannotBeCopiedIsNoFailure) {
  shell_quietly("rm /tmp/b/Bookmark.htm");
  EXPECT_EQ(0, favourites(archive));
}

TEST_F(Browser, OnAFullDiskTheOldBookmarksStay) {
  const SmallDisk disk("/root/.mozilla/default/abc.slt");
  const std::string old(5000, 'o');
  write_file(std::string(profile) + "bookmarks.html", old);
  write_file("/tmp/b/Bookmark.htm", std::string(20'000, 'n'));
  disk.fill_but(1);
  EXPECT_EQ(0, favourites(archive));
  EXPECT_TRUE(same_bytes(old, read_file(std::string(profile) + "bookmarks.html")));
}

// ---- Cookies --------------------------------------------------------------------------------------------

TEST_F(Browser, EveryCookieGetsADotInFront) {
  EXPECT_EQ(
      "# Netscape HTTP Cookie File\n\n.a.example\tTRUE\t/\n..b.example\tTRUE\t/\n.  \n",
      migrated("# Netscape HTTP Cookie File\r\n\r\na.example\tTRUE\t/\r\n.b.example\tTRUE\t/\r\n  \r\n"));
  EXPECT_THAT(commands_run(), ElementsAre("dos2unix -q /tmp/b/Cookies.txt"));
}

TEST_F(Browser, CookiesLeaveNoTraceButTheHomes) {
  testing::internal::CaptureStdout();
  migrated("a\n");
  EXPECT_EQ("buffer=/root\n", testing::internal::GetCapturedStdout());
}

TEST_F(Browser, TheRestOfALongLineIsNoLineOfItsOwn) {
  const std::string comment = "#" + std::string(1022, 'c');
  EXPECT_EQ(comment + "a.example\n.b\n", migrated(comment + "a.example\nb\n"));
}

TEST_F(Browser, OddBytesInACookieAreKept) {
  const std::string value = std::string("v\0", 2) + "\xff\t";
  EXPECT_EQ(".a\t" + value + "\n", migrated("a\t" + value + "\n"));
}

TEST_F(Browser, AnOldCookieFileIsReplaced) {
  write_file(std::string(profile) + "cookies.txt", "old\n");
  EXPECT_EQ(".a\n", migrated("a\n"));
}

TEST_F(Browser, ALongCookieArrivesWholeWithOneDot) {
  const std::string value(3000, 'v');
  EXPECT_EQ(".a.example\tTRUE\t/\tFALSE\t0\tn\t" + value + "\n.b\n",
            migrated("a.example\tTRUE\t/\tFALSE\t0\tn\t" + value + "\nb\n"));
}

TEST_F(Browser, ALastCookieWithoutALineEndIsKept) { EXPECT_EQ(".a\n.b", migrated("a\nb")); }

TEST_F(Browser, AMissingCookieFileIsReported) {
  EXPECT_EQ("in cookies : No such file or directory\n", complaint_of(cookies));
}

TEST_F(Browser, AnUnwritableProfileIsReported) {
  cookie_file("a\n");
  shell_quietly("rm -r /root/.mozilla/default/abc.slt; touch /root/.mozilla/default/abc.slt");
  EXPECT_EQ(" in cookies : Not a directory\n", complaint_of(cookies));
}

TEST_F(Browser, CookiesThatCannotBeReadLeaveTheOldOnes) {
  write_file("/tmp/b/Cookies.txt/x", "");
  write_file(std::string(profile) + "cookies.txt", "old\n");
  EXPECT_EQ("in cookies : Is a directory\n", complaint_of(cookies));
  EXPECT_EQ("old\n", read_file(std::string(profile) + "cookies.txt"));
  EXPECT_EQ("cookies.txt\n", output_of("ls -A " + std::string(profile)));
}

// Lines lie across whatever is read at once, at each of their bytes.
TEST_F(Browser, EachLineOfManyCookiesIsWidened) {
  for (std::size_t shift = 0; shift < 7; ++shift) {
    const std::string first = "#" + std::string(65'530 + shift, 'x') + "\n";
    std::string from = first, to = first;
    for (int number = 0; number < 30'000; ++number) {
      from += "ab\n\n#c\n";
      to += ".ab\n\n#c\n";
    }
    cookie_file(from);
    EXPECT_EQ(0, cookies(archive));
    EXPECT_TRUE(read_file(std::string(profile) + "cookies.txt") == to) << shift;
  }
}

TEST_F(Browser, OnAFullDiskTheOldCookiesStay) {
  const SmallDisk disk("/root/.mozilla/default");
  const std::string jar = std::string(profile) + "cookies.txt";
  const std::string old(5000, 'o');
  write_file(jar, old);
  cookie_file(std::string(20'000, 'c'));
  disk.fill_but(1);
  shell_quietly("mv /root/.mozilla/default/filling " + std::string(profile));  // it is no profile
  EXPECT_EQ(" in cookies : No space left on device\n", complaint_of(cookies));
  EXPECT_TRUE(same_bytes(old, read_file(jar)));
}

// A server in the view, whatever name it is asked by, tells what curl has sent it.
TEST_F(Browser, CurlSendsTheCookieToHostAndSubdomains) {
  migrated("# Netscape HTTP Cookie File\r\nshop.example\tTRUE\t/\tFALSE\t4102444800\tbasket\t42\r\n");
  write_file(
      "/tmp/ask.py",
      "import http.server, subprocess, sys, threading\n"
      "class Answer(http.server.BaseHTTPRequestHandler):\n"
      "    def do_GET(self):\n"
      "        print(self.headers['Host'].split(':')[0], self.headers['Cookie'], flush=True)\n"
      "        self.send_response(204)\n"
      "        self.end_headers()\n"
      "    def log_message(self, *words):\n"
      "        pass\n"
      "server = http.server.HTTPServer(('127.0.0.1', 0), Answer)\n"
      "threading.Thread(target=server.serve_forever, daemon=True).start()\n"
      "for host in ('shop.example', 'www.shop.example', 'other.example', 'myshop.example'):\n"
      "    at = f'{host}:{server.server_port}'\n"
      "    subprocess.run(['curl', '-s', '-b', sys.argv[1], '--resolve', at + ':127.0.0.1', 'http://' + at], "
      "check=True)\n");
  EXPECT_EQ("shop.example basket=42\nwww.shop.example basket=42\nother.example None\nmyshop.example None\n",
            output_of("/usr/bin/python3 /tmp/ask.py " + std::string(profile) + "cookies.txt 2>&1"));
}

TEST_F(Browser, AHostileProfileNameStaysOneWord) {
  shell_quietly("mv /root/.mozilla/default/abc.slt '/root/.mozilla/default/a;touch ran;$(touch ran)'");
  EXPECT_EQ(0, favourites(archive));
  EXPECT_TRUE(exists("/root/.mozilla/default/a;touch ran;$(touch ran)/bookmarks.html"));
  EXPECT_FALSE(exists("ran"));
}

// ---- Konqueror, which no run calls ----------------------------------------------------------------------

TEST_F(Browser, KonquerorsBookmarksAreReplaced) {
  write_file("/tmp/b/bookmarks.xml", "new");
  write_file("/root/.kde/share/apps/konqueror/bookmarks.xml", "old");
  EXPECT_EQ(0, konquererbookmarks(archive));
  EXPECT_EQ("new", read_file("/root/.kde/share/apps/konqueror/bookmarks.xml"));
  EXPECT_THAT(commands_run(),
              ElementsAre("rm /root/.kde/share/apps/konqueror/bookmarks.xml",
                          "cp /tmp/b/bookmarks.xml /root/.kde/share/apps/konqueror/bookmarks.xml"));
}

TEST_F(Browser, WhatKonquerorDoesNotFindInTheArchiveIsOnlyLogged) {
  write_file("/root/.kde/share/apps/konqueror/bookmarks.xml", "old");
  EXPECT_EQ(0, konquererbookmarks(archive));
  EXPECT_EQ(0, konquerercookies(archive));
  EXPECT_FALSE(exists("/root/.kde/share/apps/konqueror/bookmarks.xml"));
}

TEST_F(Browser, KonquerorsCopyThatASignalEndsIsAFailure) {
  for (const auto migrate : {konquererbookmarks, konquerercookies}) {
    answer_command("cp ", SIGKILL);
    complaint_of(migrate);
  }
}

TEST_F(Browser, KonquerorsFilesOfAProfileAreItsOwn) {
  isDefaultUser = 0;
  assign(cur_user, "ann");
  write_file("/tmp/b/bookmarks.xml", "b");
  write_file("/tmp/b/Cookies2.txt", "c");
  shell_quietly("mkdir -p /home/ann/.kde/share/apps/konqueror /home/ann/.kde/share/apps/kcookiejar");
  EXPECT_EQ(0, konquererbookmarks(archive));
  EXPECT_EQ(0, konquerercookies(archive));
  EXPECT_EQ("b", read_file("/home/ann/.kde/share/apps/konqueror/bookmarks.xml"));
  EXPECT_EQ("c", read_file("/home/ann/.kde/share/apps/kcookiejar/cookies"));
}

TEST_F(Browser, KonquerorsCookiesAreReplaced) {
  write_file("/tmp/b/Cookies2.txt", "new");
  write_file("/root/.kde/share/apps/kcookiejar/cookies", "old");
  EXPECT_EQ(0, konquerercookies(archive));
  EXPECT_EQ("new", read_file("/root/.kde/share/apps/kcookiejar/cookies"));
  EXPECT_THAT(commands_run(), ElementsAre("rm /root/.kde/share/apps/kcookiejar/cookies",
                                          "cp /tmp/b/Cookies2.txt /root/.kde/share/apps/kcookiejar/cookies"));
}

}  // namespace
