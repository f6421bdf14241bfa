// What the browser keeps: bookmarks and cookies.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "account/readers/bookmarks.h"
#include "account/scene.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using namespace account;
using testing::ElementsAre;

const std::string profile = "/home/ann/.mozilla/firefox/p8c4m2vx.default";

// ---- Bookmarks ------------------------------------------------------------------------------------------

const std::string head =
    "<!DOCTYPE NETSCAPE-Bookmark-file-1>\r\n<TITLE>Bookmarks</TITLE>\r\n<H1>Bookmarks</H1>\r\n<DL><p>\r\n";
const std::string first =
    "    <DT><A HREF=\"http://a.example/?x=1&amp;y=2\" ADD_DATE=\"1\">A &amp; B</A>\r\n";
const std::string second = "    <DT><A HREF=\"http://b.example/>\" LAST_VISIT=\"1\"></A>\r\n";
const std::string folder = "    <DT><H3 FOLDED ADD_DATE=\"1\">News</H3>\r\n    <DL><p>\r\n";
const std::string third = "        <DT><a href=\"http://c.example/\">C</a>\r\n";
const std::string end = "    </DL><p>\r\n", tail = "</DL><p>\r\n";
const std::string bookmarks = head + first + second + folder + third + end + third + tail;

struct Browser : testing::Test {
  Browser() { write_file("/usr/bin/firefox", ""); }
};

std::vector<std::string> missing_bookmarks(const Scene& scene, const std::string& there) {
  write_file(profile + "/bookmarks.html", there);
  return missing_names(scene.look(Kind::bookmarks));
}

const std::string gone = ": It is not there.";

TEST_F(Browser, bookmarks_have_arrived_in_the_profile) {
  const Scene scene(System::gnome, {{"Bookmark.htm", bookmarks}});
  EXPECT_THAT(missing_bookmarks(scene, bookmarks), ElementsAre());
  EXPECT_EQ("4 4 0 0 0", numbers(scene.look(Kind::bookmarks)));
}

TEST_F(Browser, each_bookmark_is_looked_at) {
  const Scene scene(System::redflag, {{"Bookmark.htm", bookmarks}});
  EXPECT_THAT(missing_bookmarks(scene, head + second + folder + third + end + third + tail),
              ElementsAre("A & B" + gone));
  EXPECT_THAT(missing_bookmarks(scene, head + first + folder + third + end + third + tail),
              ElementsAre("http://b.example/>" + gone));
  EXPECT_THAT(missing_bookmarks(scene, head + first + second + folder + end + third + tail),
              ElementsAre("C" + gone));
  // Moved, altered, doubled, cut.
  EXPECT_THAT(missing_bookmarks(scene, head + second + folder + first + third + end + third + tail),
              ElementsAre("A & B" + gone));
  std::string other = bookmarks;
  other.replace(other.find("y=2"), 3, "y=3");
  EXPECT_THAT(missing_bookmarks(scene, other), ElementsAre("A & B" + gone));
  other = bookmarks;
  other.replace(other.find("A &amp; B"), 9, "A &amp; C");
  EXPECT_THAT(missing_bookmarks(scene, other), ElementsAre("A & B" + gone));
  EXPECT_THAT(missing_bookmarks(scene, head + first + first + second + folder + third + end + third + tail),
              ElementsAre("A & B: It is there more than once."));
  EXPECT_THAT(missing_bookmarks(scene, bookmarks.substr(0, bookmarks.size() - tail.size() - 4)),
              ElementsAre("C" + gone));
}

TEST_F(Browser, as_many_bookmarks_as_the_archive_has) {
  const Scene scene(System::gnome, {{"Bookmark.htm", head + first + first + tail}});
  EXPECT_THAT(missing_bookmarks(scene, head + first + first + tail), ElementsAre());
  EXPECT_THAT(missing_bookmarks(scene, head + first + tail), ElementsAre("A & B" + gone));
}

TEST_F(Browser, the_default_profile_is_the_browsers) {
  const Scene scene(System::gnome, {{"Bookmark.htm", head + first + tail}});
  const std::string ini =
      "[General]\nStartWithLastProfile=1\n\n[Profile0]\nName=a\nIsRelative=1\nPath=one\n\n"
      "[Profile1]\nName=b\nIsRelative=1\nPath=two\n";
  const std::string place = "/home/ann/.mozilla/firefox/";
  write_file(place + "pluginreg.dat", "");
  write_file(place + "profiles.ini", ini);
  write_file(place + "one/bookmarks.html", head + first + tail);
  write_file(place + "two/prefs.js", "");
  EXPECT_EQ("1 1 0 0 0", numbers(scene.look(Kind::bookmarks)));
  write_file(place + "profiles.ini", ini + "Default=1\n");
  EXPECT_THAT(missing_names(scene.look(Kind::bookmarks)),
              ElementsAre("A & B: Its place " + place + "two/bookmarks.html is not there."));
  write_file(place + "profiles.ini", "");
  shell_quietly("rm -r " + place + "two");
  EXPECT_EQ("1 1 0 0 0", numbers(scene.look(Kind::bookmarks)));
}

TEST_F(Browser, without_firefox_the_suite_is_the_browser) {
  const Scene scene(System::linspire, {{"Bookmark.htm", head + first + tail}});
  write_file("/home/ann/.mozilla/default/x.slt/bookmarks.html", head + first + tail);
  EXPECT_EQ("1 0 0 0 1", numbers(scene.look(Kind::bookmarks)));
  unlink("/usr/bin/firefox");
  EXPECT_EQ("1 1 0 0 0", numbers(scene.look(Kind::bookmarks)));
}

TEST_F(Browser, a_home_without_a_browser_is_named) {
  const Scene scene(System::gnome, {{"Bookmark.htm", head + first + tail}});
  EXPECT_THAT(missing_names(scene.look(Kind::bookmarks)),
              ElementsAre("A & B: Its place /home/ann/.mozilla/firefox is not there."));
  // Files of the browser itself are no profiles.
  write_file("/home/ann/.mozilla/firefox/pluginreg.dat", "");
  write_file("/home/ann/.mozilla/firefox/profiles.ini", "");
  EXPECT_THAT(missing_names(scene.look(Kind::bookmarks)),
              ElementsAre("A & B: Its place /home/ann/.mozilla/firefox is not there."));
  EXPECT_EQ("0 0 0 0 0", numbers(Scene(System::gnome, {{"Desktop/a", "a"}}).look(Kind::bookmarks)));
}

// ---- Cookies --------------------------------------------------------------------------------------------

std::string cookie(const std::string& host, const std::string& path, const std::string& name,
                   const std::string& value) {
  return host + "\tFALSE\t" + path + "\tFALSE\t0\t" + name + "\t" + value;
}

const std::string comment = "# Netscape HTTP Cookie File";

TEST_F(Browser, cookies_have_a_dot_before_their_host) {
  const Scene scene(System::gnome,
                    {{"Cookies.txt", comment + "\r\n\r\n" + cookie("a.example", "/", "id", "1") + "\r\n" +
                                         cookie(".b.example", "/x", "id", "") + "\r\nno cookie\r\n"}});
  write_file(profile + "/cookies.txt", comment + "\n\n" + cookie(".a.example", "/", "id", "1") + "\n" +
                                           cookie("..b.example", "/x", "id", "") + "\n.no cookie\n");
  EXPECT_EQ("2 0 2 0 0", numbers(scene.look(Kind::cookies)));
}

TEST_F(Browser, each_cookie_is_looked_at) {
  const std::string a = cookie("a.example", "/", "id", "1") + "\n",
                    b = cookie("b.example", "/", "id", "1") + "\n";
  const Scene scene(System::xandros, {{"Cookies.txt", a + b + a}});
  const auto missing = [&](const std::string& there) {
    write_file(profile + "/cookies.txt", there);
    return missing_names(scene.look(Kind::cookies));
  };
  EXPECT_THAT(missing("." + a + "." + b + "." + a), ElementsAre());
  EXPECT_THAT(missing("." + a + "." + a), ElementsAre("id (b.example)" + gone));
  EXPECT_THAT(missing("." + a + "." + b), ElementsAre("id (a.example)" + gone));
  EXPECT_THAT(missing("." + a + b + "." + a), ElementsAre("id (b.example)" + gone));
  for (const std::string& other : {cookie("b.example", "/y", "id", "1"), cookie("b.example", "/", "no", "1"),
                                   cookie("b.example", "/", "id", "2"), cookie("c.example", "/", "id", "1")})
    EXPECT_THAT(missing("." + a + "." + other + "\n." + a), ElementsAre("id (b.example)" + gone)) << other;
  EXPECT_THAT(missing("." + a + "#." + b + "." + a), ElementsAre("id (b.example)" + gone));
  unlink((profile + "/cookies.txt").c_str());
  EXPECT_EQ("3 0 0 0 3", numbers(scene.look(Kind::cookies)));
}

// Of an archive whose entry is damaged nobody knows what was in it.
TEST_F(Browser, a_damaged_archive_leaves_the_verdict_open) {
  const Scene scene(System::gnome, {{"Bookmark.htm", head + first + tail}});
  write_file(profile + "/bookmarks.html", head + first + tail);
  // Stored bytes of the entry begin behind its header of 30 bytes and its name.
  shell_quietly("printf X | dd of=/tmp/account-test.zip bs=1 seek=60 conv=notrunc 2>/dev/null");
  const Tally tally = scene.look(Kind::bookmarks);
  EXPECT_FALSE(tally.certain());
  EXPECT_THAT(missing_names(tally), testing::Contains("Bookmark.htm: It is damaged in the archive."));
}

TEST(Bookmarks, are_known_by_their_folders) {
  std::vector<std::string> found;
  for (const Bookmark& bookmark :
       read_bookmarks(head + folder + folder + third + end + third + end + third + tail))
    found.push_back(bookmark.folder + bookmark.title + " " + bookmark.url);
  EXPECT_THAT(
      found, ElementsAre("News/News/C http://c.example/", "News/C http://c.example/", "C http://c.example/"));
}

TEST(Bookmarks, keep_no_path_that_fills_the_memory) {
  std::string many;
  for (int i = 0; i < 20000; ++i) many += "<H3>News</H3><DL><A HREF=\"http://a\">A</A>";
  const std::vector<Bookmark> found = read_bookmarks(many);
  ASSERT_EQ(20000u, found.size());
  EXPECT_EQ("News/", found.front().folder);
  EXPECT_EQ(512u, found.back().folder.size());
}

TEST(Bookmarks, hostile_text_ends_the_list) {
  EXPECT_EQ(0u, read_bookmarks("").size());
  EXPECT_EQ(0u, read_bookmarks("<").size());
  EXPECT_EQ(0u, read_bookmarks("<A HREF=\"http://a").size());
  EXPECT_EQ(0u, read_bookmarks("<A HREF=\"http://a\">A").size());
  EXPECT_EQ(0u, read_bookmarks("</DL></DL><A NAME=\"x\">A</A>").size());
  EXPECT_EQ(0u, read_bookmarks("<H3>unended").size());
  std::string many;
  for (int i = 0; i < 200000; ++i) many += "<A HREF=\"http://a\">A\n";
  EXPECT_EQ(0u, read_bookmarks(many).size());  // in less than the test's minute
}

}  // namespace
