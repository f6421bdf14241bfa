#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pack/accounts.h"
#include "pack/databases.h"
#include "pack/recorded.h"
#include "pack/windows_disk.h"

namespace {

using recorded::pack_disk;
using recorded::tree_with;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

const std::string thunderbird = "Users/Ann/AppData/Roaming/Thunderbird/";
const std::string firefox = "Users/Ann/AppData/Roaming/Mozilla/Firefox/";
constexpr const char* shell_folders =
    R"(Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders)";

std::string message(const std::string& subject) {
  return "From - Tue Mar  1 08:41:12 2005\nSubject: " + subject + "\n\nText\n\n";
}

std::string account(const std::string& host) {
  return "user_pref(\"mail.accountmanager.accounts\", \"a\");\n"
         "user_pref(\"mail.account.a.server\", \"s\");\nuser_pref(\"mail.server.s.type\", \"imap\");\n"
         "user_pref(\"mail.server.s.hostname\", \"" +
         host + "\");\nuser_pref(\"mail.server.s.name\", \"" + host + "\");\n";
}

std::vector<std::string> account_names(const recorded::Result& result) {
  std::vector<std::string> names;
  for (const std::string& file : result.files_below(accounts::folder)) {
    const std::string text = result.content.at(accounts::folder + file);
    const std::size_t begin = text.find("Account Name=") + 13;
    names.push_back(text.substr(begin, text.find('\r', begin) - begin));
  }
  return names;
}

constexpr const char* list_of_four =
    "[Install308046B0AF4A39CB]\r\nDefault=Profiles/b.two\r\nLocked=1\r\n\r\n"
    "[Profile0]\r\nName=one\r\nIsRelative=1\r\nPath=Profiles/a.one\r\nDefault=1\r\n\r\n"
    "[Profile1]\r\nName=two\r\nIsRelative=1\r\nPath=Profiles/b.two\r\n\r\n"
    "[Profile2]\r\nName=far\r\nIsRelative=0\r\nPath=E:\\Mail\\ann\r\n\r\n"
    "[Profile3]\r\nName=up\r\nIsRelative=1\r\nPath=../../../Mine/up\r\n\r\n"
    "[General]\r\nStartWithLastProfile=1\r\nPath=Profiles/none\r\n";

TEST(Profiles, AreAllThatTheListNamesAndAllBesideThem) {
  const windows::Disk disk;
  const windows::Disk other;
  disk.add(thunderbird + "profiles.ini", list_of_four);
  disk.add(thunderbird + "Profiles/a.one/prefs.js", account("one.example"));
  disk.add(thunderbird + "Profiles/b.two/prefs.js", account("two.example"));
  disk.add(thunderbird + "Profiles/c.forgotten/prefs.js", account("forgotten.example"));
  disk.add("Users/Ann/Mine/up/prefs.js", account("up.example"));
  other.add("mail/Ann/prefs.js", account("far.example"));
  other.add("mail/Ann/Mail/Local Folders/Far", message("far"));
  pack::Options options;
  options.drives['E'] = other.path();
  const auto result = pack_disk(disk.path(), options);
  EXPECT_THAT(account_names(result),
              ElementsAre("two.example", "one.example", "far.example", "up.example", "forgotten.example"))
      << "the default one first, which the program that was installed last names";
  EXPECT_EQ(result.content.at("Brindle/Mail/Far"), message("far"));
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(Profiles, TheMarkOfAnOldListIsTheDefaultOne) {
  const windows::Disk disk;
  disk.add(thunderbird + "profiles.ini",
           "[Profile0]\nName=one\nIsRelative=1\nPath=Profiles/a\n[Profile1]\nName=two\nIsRelative=1\n"
           "Path=Profiles/b\nDefault=1\n");
  disk.add(thunderbird + "Profiles/a/prefs.js", account("one.example"));
  disk.add(thunderbird + "Profiles/b/prefs.js", account("two.example"));
  EXPECT_THAT(account_names(pack_disk(disk.path())), ElementsAre("two.example", "one.example"));
}

TEST(Profiles, ThatCannotBeFoundAreTold) {
  const windows::Disk disk;
  disk.add("Users/Bob/Secret/prefs.js", account("bob.example"));
  disk.add(thunderbird + "profiles.ini",
           "[Profile0]\nIsRelative=0\nPath=E:\\Mail\\ann\n[Profile1]\nIsRelative=1\nPath=Profiles/gone\n"
           "[Profile2]\nIsRelative=0\nPath=C:\\Users\\Bob\\Secret\n[Profile3]\nIsRelative=1\nPath=../../../"
           "../../../x\n");
  disk.add(firefox + "profiles.ini", "[Profile0]\nIsRelative=0\nPath=F:\\Web\n");
  pack::Options options;
  options.users = {"Ann"};
  const auto result = pack_disk(disk.path(), options);
  EXPECT_THAT(result.files_below("Brindle/"), ElementsAre("users.txt"));
  EXPECT_THAT(
      result.remarks(),
      ElementsAre(R"(elsewhere E:\Mail\ann)", "elsewhere " + thunderbird + "Profiles/gone",
                  R"(elsewhere C:\Users\Bob\Secret)", "elsewhere " + thunderbird + "../../../../../../x",
                  R"(elsewhere E:\Mail\ann)", "elsewhere " + thunderbird + "Profiles/gone",
                  R"(elsewhere C:\Users\Bob\Secret)", "elsewhere " + thunderbird + "../../../../../../x",
                  R"(elsewhere E:\Mail\ann)", "elsewhere " + thunderbird + "Profiles/gone",
                  R"(elsewhere C:\Users\Bob\Secret)", "elsewhere " + thunderbird + "../../../../../../x",
                  R"(elsewhere F:\Web)", R"(elsewhere F:\Web)"))
      << "with the mail, the contacts and the appointments, and with the bookmarks and the cookies, that are "
         "in them";
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::mail, pack::Cause::elsewhere), 4U);
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::contacts, pack::Cause::elsewhere), 4U);
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::bookmarks, pack::Cause::elsewhere), 1U);
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::cookies, pack::Cause::elsewhere), 1U);
}

TEST(Profiles, WithoutMailAreToldWithTheAccounts) {
  const windows::Disk disk;
  disk.add(thunderbird + "profiles.ini", "[Profile0]\nIsRelative=0\nPath=E:\\Mail\\ann\n");
  pack::Options options;
  options.without = {pack::Kind::mail, pack::Kind::contacts, pack::Kind::events};
  EXPECT_EQ(
      pack_disk(disk.path(), options).people.front().tally.count(pack::Kind::tasks, pack::Cause::elsewhere),
      1U);
  options.without.insert(pack::Kind::tasks);
  EXPECT_EQ(pack_disk(disk.path(), options)
                .people.front()
                .tally.count(pack::Kind::accounts, pack::Cause::elsewhere),
            1U);
  options.without.insert(pack::Kind::accounts);
  EXPECT_THAT(pack_disk(disk.path(), options).remarks(), IsEmpty());
}

TEST(Profiles, OfTheStoresProgramsAreFound) {
  const windows::Disk disk;
  const std::string packages = "Users/Ann/AppData/Local/Packages/";
  const std::string store =
      packages + "MozillaThunderbird.MozillaTHUNDERBIRD_h5892qkz9y/LocalCache/Roaming/Thunderbird/";
  disk.add(store + "Profiles/s.default/prefs.js", account("store.example"));
  disk.add(store + "profiles.ini", "[Profile0]\nIsRelative=0\nPath=E:\\gone\n");
  disk.add(packages + "Other_x/LocalCache/Roaming/Thunderbird/Profiles/o/prefs.js", account("no.example"));
  make_database(
      disk,
      packages + "Mozilla.Firefox_n80bbvh6b1yt2/LocalCache/Roaming/Mozilla/Firefox/Profiles/f/cookies.sqlite",
      "CREATE TABLE moz_cookies (originAttributes TEXT, name TEXT, value TEXT, host TEXT, path TEXT, "
      "expiry INTEGER, isSecure INTEGER);"
      "INSERT INTO moz_cookies VALUES ('', 'a', '1', 'store.example', '/', 4000000000, 1);");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(account_names(result), ElementsAre("store.example"));
  EXPECT_EQ(result.content.at("Brindle/Cookies.txt"), "store.example\tTRUE\t/\tTRUE\t4000000000\ta\t1\r\n");
  EXPECT_THAT(result.remarks(),
              ElementsAre(R"(elsewhere E:\gone)", R"(elsewhere E:\gone)", R"(elsewhere E:\gone)"));
}

TEST(Profiles, InFoldersThatTheRegistryNamesAreFound) {
  const windows::Disk disk;
  const std::string home = "Documents and Settings/Ann/";
  disk.add(home + "NTUSER.DAT",
           windows::hive({{shell_folders,
                           {{"AppData", R"(%USERPROFILE%\Anwendungsdaten)", windows::Value::expand},
                            {"Local AppData", R"(%USERPROFILE%\Lokal)", windows::Value::expand}}}}));
  disk.add(home + "Anwendungsdaten/Thunderbird/Profiles/x/prefs.js", account("german.example"));
  disk.add(home + "Lokal/Google/Chrome/User Data/Default/Bookmarks",
           R"({"roots": {"bar": {"children": [{"name": "One", "url": "http://one.example/"}]}}})");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(account_names(result), ElementsAre("german.example"));
  EXPECT_TRUE(result.content.contains("Brindle/Bookmark.htm"));
}

TEST(Profiles, InFoldersThatAreInTheNetworkAreTold) {
  const windows::Disk disk;
  disk.add("Users/Ann/NTUSER.DAT",
           windows::hive({{shell_folders, {{"AppData", R"(\\server\home\AppData)"}}}}));
  EXPECT_THAT(pack_disk(disk.path()).remarks(), Contains(R"(elsewhere \\server\home\AppData)"));
}

TEST(Profiles, InFoldersThatCannotBeListedAreTold) {
  const windows::Disk disk;
  disk.add(thunderbird + "Profiles/a/prefs.js", account("one.example"));
  disk.add(thunderbird + "Profiles/a/Mail/pop.example/Inbox.sbd/Work", message("one"));
  make_database(
      disk, thunderbird + "Profiles/a/abook.sqlite",
      "CREATE TABLE properties (card TEXT, name TEXT, value TEXT); CREATE TABLE lists (uid TEXT, name TEXT);"
      "INSERT INTO properties VALUES ('c1', 'DisplayName', 'Ann');");
  disk.add_folder(thunderbird + "Profiles/a/calendar-data");
  disk.add(firefox + "Profiles/f/logins.json");
  disk.add("Users/Ann/AppData/Local/Google/Chrome/User Data/Default/Bookmarks", "{\"roots\": {}}");
  disk.add("Users/Ann/AppData/Local/Microsoft/Windows/Fonts/one.ttf");
  disk.add("Users/Ann/Favorites/Links/One.url", "[InternetShortcut]\nURL=http://one.example/\n");
  const auto remarks_without = [&](const std::string& folder, std::errc error = std::errc::io_error) {
    return pack_disk(pack::Disk(tree_with(disk.path(), folder, error))).remarks();
  };
  const std::string logins = "no-place " + firefox + "Profiles/f/logins.json";
  EXPECT_THAT(pack_disk(disk.path()).remarks(), ElementsAre(logins));
  for (const std::string& folder : {thunderbird + "Profiles", thunderbird + "Profiles/a",
                                    std::string("Users/Ann/AppData/Roaming/Thunderbird")})
    EXPECT_THAT(remarks_without(folder),
                ElementsAre("unreadable " + folder, "unreadable " + folder, "unreadable " + folder, logins))
        << "with the mail, the contacts and the appointments";
  for (const std::string& folder :
       {thunderbird + "Profiles/a/calendar-data", thunderbird + "Profiles/a/Mail",
        thunderbird + "Profiles/a/Mail/pop.example", thunderbird + "Profiles/a/Mail/pop.example/Inbox.sbd"})
    EXPECT_THAT(remarks_without(folder), ElementsAre("unreadable " + folder, logins));
  EXPECT_THAT(remarks_without(firefox + "Profiles/f"),
              ElementsAre("unreadable " + firefox + "Profiles/f", "unreadable " + firefox + "Profiles/f"));
  EXPECT_THAT(remarks_without(firefox + "Profiles"),
              ElementsAre("unreadable " + firefox + "Profiles", "unreadable " + firefox + "Profiles"));
  const std::string chrome = "Users/Ann/AppData/Local/Google/Chrome/User Data";
  EXPECT_THAT(remarks_without(chrome), ElementsAre("unreadable " + chrome, "unreadable " + chrome, logins));
  EXPECT_THAT(remarks_without(chrome + "/Default"),
              ElementsAre("unreadable " + chrome + "/Default", "unreadable " + chrome + "/Default", logins));
  const std::string fonts = "Users/Ann/AppData/Local/Microsoft/Windows/Fonts";
  EXPECT_THAT(remarks_without(fonts), ElementsAre(logins, "unreadable " + fonts));
  EXPECT_THAT(remarks_without("Users/Ann/Favorites/Links"),
              ElementsAre("unreadable Users/Ann/Favorites/Links", logins));
  EXPECT_THAT(remarks_without("Users/Ann/Favorites"), ElementsAre("unreadable Users/Ann/Favorites", logins));
  EXPECT_THAT(remarks_without(fonts, std::errc::no_such_file_or_directory), ElementsAre(logins))
      << "what is gone meanwhile is no loss";
}

TEST(Profiles, OfBrowsersHaveTheirNames) {
  const windows::Disk disk;
  const std::string chrome = "Users/Ann/AppData/Local/Google/Chrome/User Data/";
  const std::string edge = "Users/Ann/AppData/Local/Microsoft/Edge/User Data/";
  const auto list = [](const std::string& name) {
    return R"({"roots": {"bar": {"children": [{"name": "x", "url": "http://)" + name + R"(.example/"}]}}})";
  };
  disk.add(chrome + "Default/Bookmarks", list("one"));
  disk.add(chrome + "Profile 1/Bookmarks", list("two"));
  disk.add(chrome + "Profile 2/Bookmarks", list("three"));
  disk.add(chrome + "Local State",
           R"({"profile": {"info_cache": {"Default": {"name": "Ann"}, "Profile 1": {"name": "Work & Co"},
               "Profile 2": {"name": 7}}}})");
  disk.add(edge + "Default/Bookmarks", list("four"));
  disk.add(edge + "Profile 3/Bookmarks", list("five"));
  disk.add(edge + "Local State", "{");
  make_database(disk, firefox + "Profiles/a.one/places.sqlite", "CREATE TABLE x (y);");
  disk.add(firefox + "profiles.ini", "[Profile0]\nName=Mine\nIsRelative=1\nPath=Profiles/a.one\n");
  disk.add(firefox + "Profiles/b.two/logins.json");
  const std::string html = pack_disk(disk.path()).content.at("Brindle/Bookmark.htm");
  std::vector<std::string> titles;
  for (std::size_t at = 0; (at = html.find("\n    <DT><H3>", at)) != std::string::npos; ++at)
    titles.push_back(html.substr(at + 13, html.find('<', at + 13) - at - 13));
  EXPECT_THAT(titles, ElementsAre("Chrome, Ann", "Chrome, Work &amp; Co", "Chrome, Profile 2",
                                  "Edge, Default", "Edge, Profile 3"));
}

TEST(Profiles, OfFirefoxHaveTheirNames) {
  const windows::Disk disk;
  const std::string tables =
      "CREATE TABLE moz_places (id INTEGER PRIMARY KEY, url TEXT);"
      "CREATE TABLE moz_bookmarks (id INTEGER PRIMARY KEY, type INTEGER, fk INTEGER, parent INTEGER, "
      "position "
      "INTEGER, title TEXT, dateAdded INTEGER, guid TEXT);"
      "INSERT INTO moz_bookmarks VALUES (1, 2, NULL, 0, 0, '', 0, 'root________'), (10, 1, 1, 1, 0, 'x', 0, "
      "'x');";
  make_database(disk, firefox + "Profiles/a.one/places.sqlite",
                tables + "INSERT INTO moz_places VALUES (1, 'http://one.example/');");
  make_database(disk, firefox + "Profiles/b.two/places.sqlite",
                tables + "INSERT INTO moz_places VALUES (1, 'http://two.example/');");
  disk.add(firefox + "profiles.ini", "[Profile0]\nName=Mine\nIsRelative=1\nPath=Profiles/b.two\n");
  const std::string html = pack_disk(disk.path()).content.at("Brindle/Bookmark.htm");
  EXPECT_LT(html.find("<H3>Firefox, Mine</H3>"), html.find("<H3>Firefox, a.one</H3>"));
  EXPECT_NE(html.find("<H3>Firefox, a.one</H3>"), std::string::npos);
}

}  // namespace
