#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>

#include "pack/browsers/bookmark.h"
#include "pack/browsers/readers.h"
#include "pack/databases.h"
#include "pack/recorded.h"
#include "pack/windows_disk.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using recorded::pack_disk;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr const char* firefox = "Users/Ann/AppData/Roaming/Mozilla/Firefox/Profiles/abc.default/";
constexpr const char* chrome = "Users/Ann/AppData/Local/Google/Chrome/User Data/Default/";

const std::string places_tables =
    "CREATE TABLE moz_places (id INTEGER PRIMARY KEY, url TEXT);"
    "CREATE TABLE moz_bookmarks (id INTEGER PRIMARY KEY, type INTEGER, fk INTEGER, parent INTEGER, position "
    "INTEGER,"
    " title TEXT, dateAdded INTEGER, guid TEXT);"
    "INSERT INTO moz_bookmarks VALUES (1, 2, NULL, 0, 0, '', 0, 'root________'),"
    " (2, 2, NULL, 1, 0, 'menu', 0, 'menu________'), (3, 2, NULL, 1, 1, 'toolbar', 0, 'toolbar_____'),"
    " (4, 2, NULL, 1, 2, 'tags', 0, 'tags________'), (5, 2, NULL, 1, 3, 'unfiled', 0, 'unfiled_____');";

std::string bookmarks_of(const windows::Disk& disk) {
  return pack_disk(disk.path()).content.at("Brindle/Bookmark.htm");
}

TEST(Bookmarks, OfFirefoxKeepFoldersOrderAndDates) {
  const windows::Disk disk;
  make_database(
      disk, std::string(firefox) + "places.sqlite",
      places_tables +
          "INSERT INTO moz_places VALUES (1, 'http://one.example/?a=1&b=\"2\"'), (2, 'http://two.example/'),"
          " (3, 'place:sort=8'), (4, 'http://tagged.example/');"
          "INSERT INTO moz_bookmarks VALUES (10, 1, 2, 3, 1, 'Two <2>', 1100000000000000, 'a'),"
          " (11, 1, 1, 3, 0, 'One', 0, 'b'), (12, 2, NULL, 2, 0, 'Grüße', 1200000000000000, 'c'),"
          " (13, 1, 2, 12, 0, '', 0, 'd'), (14, 1, 3, 2, 1, 'Search', 0, 'e'), (15, 2, NULL, 4, 0, 'tag', 0, "
          "'f'),"
          " (16, 1, 4, 15, 0, NULL, 0, 'g'), (17, 3, NULL, 2, 2, '', 0, 'h');");
  EXPECT_EQ(bookmarks_of(disk), R"(<!DOCTYPE NETSCAPE-Bookmark-file-1>
<META HTTP-EQUIV="Content-Type" CONTENT="text/html; charset=UTF-8">
<TITLE>Bookmarks</TITLE>
<H1>Bookmarks</H1>
<DL><p>
    <DT><H3>Bookmarks Menu</H3>
    <DL><p>
        <DT><H3 ADD_DATE="1200000000">Grüße</H3>
        <DL><p>
            <DT><A HREF="http://two.example/"></A>
        </DL><p>
        <HR>
    </DL><p>
    <DT><H3>Bookmarks Toolbar</H3>
    <DL><p>
        <DT><A HREF="http://one.example/?a=1&amp;b=&quot;2&quot;">One</A>
        <DT><A HREF="http://two.example/" ADD_DATE="1100000000">Two &lt;2&gt;</A>
    </DL><p>
</DL><p>
)");
}

TEST(Bookmarks, OfFirefoxKeepTagsAndKeywords) {
  const std::string marked =
      "INSERT INTO moz_places VALUES (1, 'http://one.example/'), (2, 'http://two.example/');"
      "INSERT INTO moz_bookmarks VALUES (10, 1, 1, 2, 0, 'One', 0, 'a'), (11, 1, 2, 2, 1, 'Two', 0, 'b'),"
      " (12, 2, NULL, 4, 0, 'zoo & co', 0, 'c'), (13, 2, NULL, 4, 1, 'art', 0, 'd'),"
      " (14, 1, 1, 12, 0, NULL, 0, 'e'), (15, 1, 1, 13, 0, NULL, 0, 'f'), (16, 1, 2, 13, 1, NULL, 0, 'g');";
  const std::string line_of_one =
      "<DT><A HREF=\"http://one.example/\" SHORTCUTURL=\"w&quot;1\" "
      "TAGS=\"art,zoo &amp; co\">One</A>\n";
  const std::string line_of_two = "<DT><A HREF=\"http://two.example/\" TAGS=\"art\">Two</A>\n";
  const windows::Disk disk;
  make_database(disk, std::string(firefox) + "places.sqlite",
                places_tables + marked +
                    "CREATE TABLE moz_keywords (id INTEGER PRIMARY KEY, keyword TEXT, place_id INTEGER);"
                    "INSERT INTO moz_keywords VALUES (1, 'w\"1', 1), (2, 'other', 1);");
  EXPECT_THAT(bookmarks_of(disk), HasSubstr(line_of_one));
  EXPECT_THAT(bookmarks_of(disk), HasSubstr(line_of_two));
  const windows::Disk old;
  make_database(old, std::string(firefox) + "places.sqlite",
                places_tables + marked +
                    "CREATE TABLE moz_keywords (id INTEGER PRIMARY KEY, keyword TEXT);"
                    "INSERT INTO moz_keywords VALUES (1, 'x'), (7, 'w\"1');"
                    "ALTER TABLE moz_bookmarks ADD COLUMN keyword_id INTEGER;"
                    "UPDATE moz_bookmarks SET keyword_id = 7 WHERE id = 10;");
  EXPECT_THAT(bookmarks_of(old), HasSubstr(line_of_one));
}

TEST(Bookmarks, LinesBetweenThemAreNoBookmarks) {
  const windows::Disk disk;
  make_database(
      disk, std::string(firefox) + "places.sqlite",
      places_tables +
          "INSERT INTO moz_places VALUES (1, 'http://one.example/');"
          "INSERT INTO moz_bookmarks VALUES (10, 1, 1, 2, 0, 'One', 0, 'a'), (11, 3, NULL, 2, 1, '', 0, 'b'),"
          " (12, 3, NULL, 2, 2, '', 0, 'c');");
  disk.add(std::string(chrome) + "Bookmarks",
           R"({"roots": {"bar": {"children": [{"name": "x", "url": "http://one.example/"}]}}})");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.content.at("Brindle/Bookmark.htm"), HasSubstr("One</A>\n        <HR>\n        <HR>\n"));
  const auto count = result.people.front().tally.count(pack::Kind::bookmarks);
  EXPECT_EQ(count.found, 2U);
  EXPECT_EQ(count.packed, 1U);
}

TEST(Bookmarks, AreReadByOthers) {
  const windows::Disk disk;
  make_database(
      disk, std::string(firefox) + "places.sqlite",
      places_tables +
          "INSERT INTO moz_places VALUES (1, 'http://one.example/?a=1&b=\"2\"'), (2, 'http://two.example/');"
          "INSERT INTO moz_bookmarks VALUES (10, 1, 1, 3, 0, 'One <1>', 1100000000000000, 'a'),"
          " (11, 2, NULL, 3, 1, 'Grüße', 0, 'b'), (12, 1, 2, 11, 0, 'Two', 0, 'c'),"
          " (13, 3, NULL, 3, 2, '', 0, 'd');");
  write_file("/tmp/Bookmark.htm", bookmarks_of(disk));
  const auto asked = [](const std::string& question) {
    return output_of("xmllint --html --xpath '" + question + "' /tmp/Bookmark.htm 2>/dev/null");
  };
  EXPECT_EQ(asked("string(//a[1]/@href)"), "http://one.example/?a=1&b=\"2\"\n");
  EXPECT_EQ(asked("string(//a[1])"), "One <1>\n");
  EXPECT_EQ(asked("string(//a[1]/@add_date)"), "1100000000\n");
  EXPECT_EQ(asked("string((//h3)[2])"), "Grüße\n");
  EXPECT_EQ(asked("string(//dl//dl//dl//a)"), "Two\n") << "in its folder";
  EXPECT_EQ(asked("count(//a)"), "2\n");
  EXPECT_EQ(asked("count(//hr)"), "1\n");
}

TEST(Bookmarks, OfFirefoxThatAreStillWaitingAreTaken) {
  const windows::Disk disk;
  const std::string path = std::string(firefox) + "places.sqlite";
  const std::string full = disk.add(path, "");
  sqlite3* database = nullptr;
  ASSERT_EQ(sqlite3_open(full.c_str(), &database), SQLITE_OK);
  const std::string sql = "PRAGMA journal_mode=WAL; PRAGMA wal_autocheckpoint=0;" + places_tables +
                          "INSERT INTO moz_places VALUES (1, 'http://waiting.example/');"
                          "INSERT INTO moz_bookmarks VALUES (10, 1, 1, 2, 0, 'w', 0, 'a');";
  ASSERT_EQ(sqlite3_exec(database, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
  ASSERT_TRUE(std::filesystem::exists(full + "-wal"));
  const std::string before =
      output_of("cd " + disk.path() + " && find . -type f | sort | xargs -d '\\n' md5sum");
  EXPECT_THAT(bookmarks_of(disk), HasSubstr("http://waiting.example/"));
  EXPECT_EQ(output_of("cd " + disk.path() + " && find . -type f | sort | xargs -d '\\n' md5sum"), before);
  sqlite3_close(database);
}

TEST(Bookmarks, OfAFirefoxFolderInItselfEnd) {
  const windows::Disk disk;
  make_database(disk, std::string(firefox) + "places.sqlite",
                places_tables +
                    "INSERT INTO moz_places VALUES (1, 'http://one.example/');"
                    "INSERT INTO moz_bookmarks VALUES (10, 2, NULL, 11, 0, 'a', 0, 'a'), (11, 2, NULL, 10, "
                    "0, 'b', 0, 'b'),"
                    " (12, 2, NULL, 12, 0, 'self', 0, 'c'), (13, 1, 1, 2, 0, 'One', 0, 'd');");
  EXPECT_THAT(bookmarks_of(disk), HasSubstr("one.example"));
}

TEST(Bookmarks, OfAFirefoxChainWithoutAnEndEnd) {
  const windows::Disk disk;
  make_database(disk, std::string(firefox) + "places.sqlite",
                places_tables +
                    "INSERT INTO moz_places VALUES (1, 'http://one.example/');"
                    "INSERT INTO moz_bookmarks VALUES (9, 1, 1, 2, 0, 'One', 0, 'a');"
                    "WITH RECURSIVE n(i) AS (SELECT 100 UNION ALL SELECT i + 1 FROM n WHERE i < 60000) "
                    "INSERT INTO moz_bookmarks"
                    " SELECT i, 2, NULL, CASE i WHEN 100 THEN 3 ELSE i - 1 END, 0, 'f', 0, i FROM n;");
  EXPECT_THAT(bookmarks_of(disk), HasSubstr("one.example"));
}

TEST(Bookmarks, OfChromeKeepFoldersAndDates) {
  const windows::Disk disk;
  disk.add(std::string(chrome) + "Bookmarks", R"({"checksum": "x", "roots": {
    "bookmark_bar": {"type": "folder", "name": "Bar", "children": [
      {"type": "url", "name": "One", "url": "http://one.example/", "date_added": "13000000000000000"},
      {"type": "folder", "name": "Deep", "children": [{"type": "url", "name": "Two", "url": "http://two.example/"}]}]},
    "other": {"type": "folder", "name": "Other", "children": []},
    "sync_transaction_version": "7"}, "version": 1})");
  EXPECT_EQ(bookmarks_of(disk), R"(<!DOCTYPE NETSCAPE-Bookmark-file-1>
<META HTTP-EQUIV="Content-Type" CONTENT="text/html; charset=UTF-8">
<TITLE>Bookmarks</TITLE>
<H1>Bookmarks</H1>
<DL><p>
    <DT><H3>Bar</H3>
    <DL><p>
        <DT><A HREF="http://one.example/" ADD_DATE="1355526400">One</A>
        <DT><H3>Deep</H3>
        <DL><p>
            <DT><A HREF="http://two.example/">Two</A>
        </DL><p>
    </DL><p>
</DL><p>
)");
}

// Its folder is a profile, has some, or both.
TEST(Bookmarks, OfOperaAreFound) {
  const std::string opera = "Users/Ann/AppData/Roaming/Opera Software/Opera Stable/";
  const auto list = [](const std::string& name) {
    return R"({"roots": {"bar": {"name": "Bar", "children": [{"type": "url", "name": ")" + name +
           R"(", "url": "http://)" + name + R"(.example/"}]}}})";
  };
  const windows::Disk old_one;
  old_one.add(opera + "Bookmarks", list("one"));
  old_one.add(opera + "Network/Cookies", "x");
  EXPECT_THAT(bookmarks_of(old_one), HasSubstr("    <DT><H3>Bar</H3>\n    <DL><p>\n        <DT><A "
                                               "HREF=\"http://one.example/\""));
  const windows::Disk disk;
  disk.add(opera + "Bookmarks", list("one"));
  disk.add(opera + "Default/Bookmarks", list("two"));
  disk.add(opera + "Default/Network/Cookies", "x");
  disk.add("Users/Ann/AppData/Roaming/Opera Software/Opera GX Stable/Default/Bookmarks", list("three"));
  const std::string all = bookmarks_of(disk);
  for (const char* part : {"<H3>Opera, Opera</H3>", "http://one.example/", "<H3>Opera, Default</H3>",
                           "http://two.example/", "<H3>Opera GX</H3>", "http://three.example/"})
    EXPECT_THAT(all, HasSubstr(part));
}

TEST(Bookmarks, OfAJsonThatIsNoneAreDamaged) {
  for (const char* json : {"", "{", "[]", "7", R"({"roots": []})", R"({"roots": "x"})"}) {
    EXPECT_FALSE(pack::chromium_bookmarks(json)) << json;
  }
  EXPECT_TRUE(pack::chromium_bookmarks(R"({"roots": {"x": {"children": [1, "2", null, {"children": 7}]}}})"));
  std::string deep = R"({"roots": {"x": )";
  for (int i = 0; i < 5000; ++i) deep += R"({"children": [)";
  deep += "{}";
  for (int i = 0; i < 5000; ++i) deep += "]}";
  EXPECT_TRUE(pack::chromium_bookmarks(deep + "}}"));
}

TEST(Bookmarks, OfChromeWhereverTheirKeysStand) {
  const auto list = pack::chromium_bookmarks(
      R"({"x": {"roots": {"no": {"children": [{"url": "http://no.example/"}]}}}, "roots": {"a": {"url": "", "children": [
         {"url": "http://1.example/", "meta_info": {"name": "no", "children": [{"url": "no"}], "deep": [["no"]]}, "name": "One"},
         [{"url": "no"}], {"children": [{"name": "Two", "url": "http://2.example/"}], "name": "Folder", "type": "folder"}],
         "name": "Bar"}, "version": "1", "empty": {"children": [], "name": "Empty"}}, "checksum": "7"})");
  ASSERT_TRUE(list);
  ASSERT_EQ(list->children.size(), 1U);
  const pack::Bookmark& bar = list->children.front();
  EXPECT_EQ(bar.title, "Bar");
  ASSERT_EQ(bar.children.size(), 2U);
  EXPECT_EQ(bar.children[0].title, "One");
  EXPECT_EQ(bar.children[0].url, "http://1.example/");
  EXPECT_EQ(bar.children[1].title, "Folder");
  ASSERT_EQ(bar.children[1].children.size(), 1U);
  EXPECT_EQ(bar.children[1].children[0].title, "Two");
}

TEST(Bookmarks, OfAJsonThatIsEndlessTakeLittle) {
  const std::string one = R"({"name": "x", "url": "http://example.org/"},)";
  std::string many = R"({"roots": {"x": {"children": [)";
  for (int i = 0; i < 300000; ++i) many += one;
  EXPECT_FALSE(pack::chromium_bookmarks(many + "{}]}}}"));
  std::string others = R"({"roots": {"x": {"children": [], "other": [)";
  for (int i = 0; i < 300000; ++i) others += one;
  EXPECT_TRUE(pack::chromium_bookmarks(others + "{}]}}}")) << "what is not looked for is not held";
}

TEST(Bookmarks, OfInternetExplorerAreFiles) {
  const windows::Disk disk;
  disk.add("Users/Ann/Favorites/One.url",
           "[DEFAULT]\r\nBASEURL=http://base.example/\r\n[InternetShortcut]\r\nURL=http://one.example/\r\n");
  disk.add("Users/Ann/Favorites/Links/Two.URL", "[internetshortcut]\nurl= http://two.example/ \n");
  disk.add("Users/Ann/Favorites/Links/none.url", "[InternetShortcut.W]\r\nURL=http://wide.example/\r\n");
  disk.add("Users/Ann/Favorites/Links/notes.txt", "mine");
  disk.add("Users/Ann/Favorites/desktop.ini");
  const auto result = pack_disk(disk.path());
  const std::string html = result.content.at("Brindle/Bookmark.htm");
  EXPECT_THAT(html, testing::ContainsRegex(
                        "<DT><H3[^>]*>Links</H3>\n    <DL><p>\n        <DT><A HREF=\"http://two.example/\""));
  EXPECT_THAT(html, testing::ContainsRegex("    <DT><A HREF=\"http://one.example/\"[^>]*>One</A>"));
  EXPECT_THAT(html, Not(HasSubstr("base.example")));
  EXPECT_THAT(html, Not(HasSubstr("wide.example")));
  EXPECT_THAT(result.files_below("Brindle/My Documents/"),
              ElementsAre("Favorites/Links/none.url", "Favorites/Links/notes.txt"));
  const auto& tally = result.people.front().tally;
  EXPECT_EQ(tally.count(pack::Kind::bookmarks).packed, 2U);
  EXPECT_EQ(tally.count(pack::Kind::documents).packed, 2U)
      << "what lies among the documents is counted there";
  EXPECT_THAT(result.remarks(), ElementsAre("windows-own Users/Ann/Favorites/desktop.ini"));
}

TEST(Bookmarks, OfInternetExplorerAreReadInTheirCharacterSet) {
  const std::string text = "[InternetShortcut]\r\nURL=http://a.example/\xE9\r\n";
  EXPECT_EQ(pack::address_in(text, "windows-1252"), "http://a.example/é");
  EXPECT_EQ(pack::address_in(text, "windows-1251"), "http://a.example/й");
  EXPECT_EQ(pack::address_in("[InternetShortcut]\nURL=http://a.example/é", "windows-1251"),
            "http://a.example/é");
  EXPECT_EQ(pack::address_in(text, "no such set"), "http://a.example/é");
  EXPECT_EQ(pack::address_in("[InternetShortcut]\nURL=http://a.example/" + std::string("a\0\xE9", 3)),
            "http://a.example/a");
  const windows::Disk disk;
  disk.add("Users/Ann/Favorites/One.url", text);
  disk.add("Users/Ann/Favorites/Two.url", "[InternetShortcut]\r\nURL=http://a.example/\xE9\x81\r\n");
  const std::string bookmarks = bookmarks_of(disk);
  EXPECT_THAT(bookmarks, HasSubstr("http://a.example/é\""));
  EXPECT_THAT(bookmarks, HasSubstr("http://a.example/é\xC2\x81\"")) << "no character there, and not lost";
}

TEST(Bookmarks, OfInternetExplorerAreFoundByTheRegistry) {
  const auto moved_to = [](const std::string& path) {
    return windows::hive({{R"(Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders)",
                           {{"Favorites", path, windows::Value::expand}}}});
  };
  const windows::Disk disk;
  disk.add("Users/Ann/Favorites/Old.url", "[InternetShortcut]\nURL=http://old.example/\n");
  disk.add("Users/Ann/NTUSER.DAT", moved_to(R"(C:\Mine\Links)"));
  disk.add("Mine/links/New.url", "[InternetShortcut]\nURL=http://new.example/\n");
  auto result = pack_disk(disk.path());
  EXPECT_THAT(result.content.at("Brindle/Bookmark.htm"), HasSubstr("http://new.example/"));
  EXPECT_THAT(result.content.at("Brindle/Bookmark.htm"), HasSubstr("http://old.example/"));
  disk.add("Users/Ann/NTUSER.DAT", moved_to(R"(%USERPROFILE%\Favorites)"));
  result = pack_disk(disk.path());
  EXPECT_THAT(result.content.at("Brindle/Bookmark.htm"), HasSubstr("http://old.example/"));
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::bookmarks).found, 1U) << "one folder is read once";
  disk.add("Users/Ann/NTUSER.DAT", moved_to(R"(E:\Links)"));
  EXPECT_THAT(pack_disk(disk.path()).remarks(), ElementsAre(R"(elsewhere E:\Links)"));
}

TEST(Bookmarks, WhatLiesBesideThemTakesNobodysPlace) {
  const windows::Disk disk;
  disk.add("Users/Ann/Favorites/notes.txt", "1");
  disk.add("Users/Ann/Favorites/more.txt", "2");
  disk.add("Users/Ann/Documents/favorites/notes.txt", "3");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(
      result.files_below("Brindle/My Documents/"),
      testing::UnorderedElementsAre("favorites/notes.txt", "Favorites 2/notes.txt", "Favorites 2/more.txt"));
}

TEST(Bookmarks, OfSeveralBrowsersHaveAFolderEachAndNoneTwice) {
  const windows::Disk disk;
  make_database(disk, std::string(firefox) + "places.sqlite",
                places_tables +
                    "INSERT INTO moz_places VALUES (1, 'http://both.example/');"
                    "INSERT INTO moz_bookmarks VALUES (10, 1, 1, 2, 0, 'Both', 0, 'a');");
  disk.add(std::string(chrome) + "Bookmarks", R"({"roots": {"bar": {"name": "Bar", "children": [
      {"name": "Both", "url": "http://both.example/"}, {"name": "Own", "url": "http://own.example/"}]}}})");
  disk.add("Users/Ann/Favorites/Both.url", "[InternetShortcut]\nURL=http://both.example/\n");
  const auto result = pack_disk(disk.path());
  const std::string html = result.content.at("Brindle/Bookmark.htm");
  EXPECT_EQ(html.find("both.example"), html.rfind("both.example"));
  EXPECT_THAT(html, HasSubstr("<H3>Firefox</H3>"));
  EXPECT_THAT(html, HasSubstr("<H3>Chrome</H3>"));
  EXPECT_THAT(html, Not(HasSubstr("Internet Explorer")));
  const auto count = result.people.front().tally.count(pack::Kind::bookmarks);
  EXPECT_EQ(count.found, 4U);
  EXPECT_EQ(count.packed, 2U);
  EXPECT_FALSE(result.people.front().tally.has_losses());
}

TEST(Bookmarks, ThatAreDamagedAreTold) {
  const windows::Disk disk;
  disk.add(std::string(firefox) + "places.sqlite", "SQLite format 3 and no more");
  disk.add(std::string(chrome) + "Bookmarks", "{");
  const auto result = pack_disk(disk.path());
  EXPECT_FALSE(result.content.contains("Brindle/Bookmark.htm"));
  EXPECT_THAT(result.remarks(), ElementsAre("damaged " + std::string(firefox) + "places.sqlite",
                                            "damaged " + std::string(chrome) + "Bookmarks"));
}

const std::string cookies_table =
    "CREATE TABLE moz_cookies (id INTEGER PRIMARY KEY, originAttributes TEXT, name TEXT, value TEXT, host "
    "TEXT, path TEXT,"
    " expiry INTEGER, isSecure INTEGER);";

TEST(Cookies, OfFirefoxAreInNetscapesFormat) {
  const windows::Disk disk;
  make_database(disk, std::string(firefox) + "cookies.sqlite",
                cookies_table +
                    "INSERT INTO moz_cookies VALUES (1, '', 'a', '1', '.one.example', '/', 4000000000, 1),"
                    " (2, '', 'b', '2', 'two.example', '/x', 4000000000123, 0),"
                    " (3, '', 'old', '3', 'old.example', '/', 1000, 0),"
                    " (4, '^container=1', 'c', '4', 'container.example', '/', 4000000000, 0),"
                    " (5, '', 'tab', 'x' || char(9) || 'y', 'tab.example', '/', 4000000000, 0),"
                    " (6, '', 'empty', '', 'three.example', '/', 4000000000, 0);");
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(result.content.at("Brindle/Cookies.txt"),
            "one.example\tTRUE\t/\tTRUE\t4000000000\ta\t1\r\n"
            "three.example\tTRUE\t/\tFALSE\t4000000000\tempty\t\r\n"
            "two.example\tTRUE\t/x\tFALSE\t4000000000\tb\t2\r\n");
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::cookies).packed, 3U);
}

TEST(Cookies, AreAllCounted) {
  const windows::Disk disk;
  make_database(disk, std::string(firefox) + "cookies.sqlite",
                cookies_table +
                    "INSERT INTO moz_cookies VALUES (1, '', 'a', '1', 'one.example', '/', 4000000000, 1),"
                    " (2, '^userContextId=1', 'a', '2', 'one.example', '/', 4000000000, 1),"
                    " (3, '', 'old', '3', 'one.example', '/', 1000, 0),"
                    " (4, '', 'session', '4', 'one.example', '/', 0, 0),"
                    " (5, '', 'old too', '5', 'one.example', '/', 1000000000000, 0),"
                    " (6, '', 'tab', 'x' || char(9) || 'y', 'one.example', '/', 4000000000, 0);");
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(result.content.at("Brindle/Cookies.txt"), "one.example\tTRUE\t/\tTRUE\t4000000000\ta\t1\r\n");
  const std::string from = std::string(firefox) + "cookies.sqlite: one.example ";
  EXPECT_THAT(result.remarks(),
              ElementsAre("no-place " + from + "a", "expired " + from + "old", "expired " + from + "old too",
                          "expired " + from + "session", "no-place " + from + "tab"));
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::cookies).found, 6U);
  EXPECT_TRUE(result.people.front().tally.has_losses());
}

TEST(Cookies, ThatHaveRunOutAreNoLoss) {
  const windows::Disk disk;
  make_database(
      disk, std::string(firefox) + "cookies.sqlite",
      cookies_table + "INSERT INTO moz_cookies VALUES (3, '', 'old', '3', 'one.example', '/', 1000, 0);");
  const auto result = pack_disk(disk.path());
  EXPECT_FALSE(result.content.contains("Brindle/Cookies.txt"));
  EXPECT_FALSE(result.people.front().tally.has_losses());
}

TEST(Cookies, OfOldVersionsAreRead) {
  const windows::Disk disk;
  make_database(
      disk, std::string(firefox) + "cookies.sqlite",
      "CREATE TABLE moz_cookies (name TEXT, value TEXT, host TEXT, path TEXT, expiry INTEGER, isSecure "
      "INTEGER); INSERT INTO moz_cookies VALUES ('a', '1', 'one.example', '/', 4000000000, 1);");
  EXPECT_EQ(pack_disk(disk.path()).content.at("Brindle/Cookies.txt"),
            "one.example\tTRUE\t/\tTRUE\t4000000000\ta\t1\r\n");
}

TEST(Cookies, OfADamagedFileAreThereOnce) {
  const windows::Disk disk;
  const std::string path = std::string(firefox) + "cookies.sqlite";
  make_database(
      disk, path,
      "PRAGMA page_size = 1024;" + cookies_table +
          "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 200) "
          "INSERT INTO moz_cookies SELECT i, '', 'n', hex(zeroblob(50)), printf('h%03d.example', i), '/', "
          "4000000000, 0 FROM n; CREATE INDEX by_host ON moz_cookies "
          "(host, path, name, originAttributes, isSecure, expiry, value);");
  // The pages of the table and of the index that have it.
  std::string bytes = read_file(disk.path() + "/" + path);
  for (std::size_t at = 0; (at = bytes.find("h150.example")) != std::string::npos;)
    bytes.replace(at / 1024 * 1024, 1024, std::string(1024, '\xFF'));
  disk.add(path, bytes);
  const auto result = pack_disk(disk.path());
  const std::string text = result.content.at("Brindle/Cookies.txt");
  EXPECT_EQ(text.find("h001.example"), text.rfind("h001.example"));
  EXPECT_THAT(result.remarks(), testing::Contains("damaged " + path));
}

TEST(Cookies, OfSeveralProfilesAreThereOnce) {
  const windows::Disk disk;
  const std::string other = "Users/Ann/AppData/Roaming/Mozilla/Firefox/Profiles/xyz.other/cookies.sqlite";
  make_database(
      disk, std::string(firefox) + "cookies.sqlite",
      cookies_table + "INSERT INTO moz_cookies VALUES (1, '', 'a', '1', 'one.example', '/', 4000000000, 1);");
  make_database(disk, other,
                cookies_table +
                    "INSERT INTO moz_cookies VALUES (1, '', 'a', '2', 'one.example', '/', 4000000000, 1),"
                    " (2, '', 'b', '2', 'one.example', '/', 4000000000, 1);");
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(
      result.content.at("Brindle/Cookies.txt"),
      "one.example\tTRUE\t/\tTRUE\t4000000000\ta\t1\r\none.example\tTRUE\t/\tTRUE\t4000000000\tb\t2\r\n");
  EXPECT_THAT(result.remarks(), ElementsAre("there-already " + other + ": one.example a"));
}

TEST(Cookies, AreReadByOthers) {
  const windows::Disk disk;
  make_database(disk, std::string(firefox) + "cookies.sqlite",
                cookies_table +
                    "INSERT INTO moz_cookies VALUES (1, '', 'a', '1', '.one.example', '/', 4000000000, 1),"
                    " (2, '', 'b', 'x=2; y', 'two.example', '/x', 4000000000123, 0);");
  // With the dot in front that a run puts there.
  write_file("/tmp/cookies", pack_disk(disk.path()).content.at("Brindle/Cookies.txt"));
  EXPECT_EQ(output_of("sed -i 's/^/./; s/\\r$//' /tmp/cookies; "
                      "curl -s -b /tmp/cookies -c - file:///dev/null | grep -v '^#' | grep . | sort"),
            ".one.example\tTRUE\t/\tTRUE\t4000000000\ta\t1\n.two.example\tTRUE\t/"
            "x\tFALSE\t4000000000\tb\tx=2; y\n");
}

TEST(Cookies, ThatWindowsAloneCanReadAreTold) {
  const windows::Disk disk;
  disk.add(std::string(chrome) + "Network/Cookies");
  disk.add(std::string(chrome) + "Login Data");
  disk.add(std::string(firefox) + "logins.json");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.remarks(), ElementsAre("bound-to-windows " + std::string(chrome) + "Network/Cookies",
                                            "no-place " + std::string(firefox) + "logins.json",
                                            "bound-to-windows " + std::string(chrome) + "Login Data"));
  EXPECT_TRUE(result.people.front().tally.has_losses());
}

}  // namespace
