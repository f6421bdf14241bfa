#include "pack/people/people.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pack/disk/folder_tree.h"
#include "pack/windows_disk.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> names_on(const windows::Disk& disk) {
  std::vector<std::string> names;
  const pack::Disk opened(pack::folder_tree(disk.path()));
  for (const pack::Person& person : people_on(opened)) names.push_back(person.shown + "=" + person.login);
  return names;
}

TEST(Logins, AreMadeOfNames) {
  EXPECT_EQ(pack::login_of("Ann"), "ann");
  EXPECT_EQ(pack::login_of("Jörg Müller"), "jorgmuller");
  EXPECT_EQ(pack::login_of("ann.lee"), "annlee");
  EXPECT_EQ(pack::login_of("under_score-dash"), "under_score-dash");
  EXPECT_EQ(pack::login_of("2nd Person"), "ndperson") << "a letter comes first";
  EXPECT_EQ(pack::login_of("-x"), "x");
}

TEST(Logins, HaveAtMost32Characters) {
  EXPECT_EQ(pack::login_of(std::string(32, 'a')), std::string(32, 'a'));
  EXPECT_EQ(pack::login_of(std::string(33, 'a')), std::string(32, 'a'));
}

TEST(Logins, OfNamesThatCannotBeSpeltAreUser) {
  EXPECT_EQ(pack::login_of("小明"), "user");
  EXPECT_EQ(pack::login_of(""), "user");
  EXPECT_EQ(pack::login_of("\xED\xA0\x80"), "user");
}

TEST(Logins, OfTheSystemGetANumber) {
  EXPECT_EQ(pack::login_of("root"), "root2");
  EXPECT_EQ(pack::login_of("Mail"), "mail2");
  EXPECT_EQ(pack::login_of("rooty"), "rooty");
}

TEST(Logins, AreTakenByUseradd) {
  EXPECT_TRUE(pack::is_login("ann"));
  EXPECT_TRUE(pack::is_login("ann-2_b"));
  EXPECT_FALSE(pack::is_login(""));
  EXPECT_FALSE(pack::is_login("-ann"));
  EXPECT_FALSE(pack::is_login("2ann"));
  EXPECT_FALSE(pack::is_login("a b"));
  EXPECT_FALSE(pack::is_login("a/b"));
  EXPECT_FALSE(pack::is_login("a\n"));
  EXPECT_FALSE(pack::is_login("Ann"));
  EXPECT_TRUE(pack::is_login(std::string(32, 'a')));
  EXPECT_FALSE(pack::is_login(std::string(33, 'a')));
}

TEST(People, AreThoseWithAHome) {
  const windows::Disk disk;
  for (const char* name :
       {"Zoe", "Ann", "Public", "Default", "Default User", "All Users", "ALL USERS.x", "defaultuser0"})
    disk.add_folder(std::string("Users/") + name);
  disk.add("Users/desktop.ini");
  EXPECT_THAT(names_on(disk), ElementsAre("ALL USERS.x=allusersx", "Ann=ann", "Zoe=zoe"));
}

TEST(People, AreFoundOnOldSystemsWhateverTheCase) {
  const windows::Disk disk;
  for (const char* name : {"Ann", "LocalService", "NETWORKSERVICE", "Classic .NET AppPool.NET"})
    disk.add_folder(std::string("DOCUMENTS AND SETTINGS/") + name);
  EXPECT_THAT(names_on(disk), ElementsAre("Ann=ann"));
}

TEST(People, OfOneNameGetLoginsOfTheirOwn) {
  const windows::Disk disk;
  for (const char* name : {"Ann", "Ann.PC", "annpc", "小明", "小红"})
    disk.add_folder(std::string("Users/") + name);
  EXPECT_THAT(names_on(disk),
              ElementsAre("Ann=ann", "Ann.PC=annpc", "annpc=annpc2", "小明=user", "小红=user2"));
}

TEST(People, AHomeAloneIsOne) {
  const windows::Disk disk;
  disk.add("ntuser.dat");
  EXPECT_THAT(names_on(disk), ElementsAre("user=user"));
}

TEST(People, AHomeIsKnownByItsFoldersToo) {
  const windows::Disk disk;
  disk.add_folder("Desktop");
  EXPECT_THAT(names_on(disk), IsEmpty());
  disk.add_folder("Documents");
  EXPECT_THAT(names_on(disk), ElementsAre("user=user"));
}

TEST(People, LinksAreNobody) {
  const windows::Disk disk;
  disk.add_folder("Users/Ann");
  ASSERT_EQ(symlink("Ann", (disk.path() + "/Users/Bob").c_str()), 0);
  EXPECT_THAT(names_on(disk), ElementsAre("Ann=ann"));
}

}  // namespace
