#include "pack/people/people.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <system_error>

#include "pack/disk/folder_tree.h"
#include "pack/pack.h"
#include "pack/recorded.h"
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

// A folder's path by the number of its owner.
std::string software(const std::vector<std::pair<std::string, std::string>>& profiles,
                     const std::string& folder = "") {
  const std::string list = R"(Microsoft\Windows NT\CurrentVersion\ProfileList)";
  windows::Keys keys;
  for (const auto& [number, path] : profiles)
    keys[list + "\\" + number] = {{"ProfileImagePath", path, windows::Value::expand}};
  if (!folder.empty()) keys[list] = {{"ProfilesDirectory", folder, windows::Value::expand}};
  return windows::hive(keys);
}

constexpr const char* software_place = "Windows/System32/config/SOFTWARE";

TEST(People, OfTheRegistryHaveFoldersElsewhere) {
  const windows::Disk disk;
  disk.add_folder("Users/Zoe");
  disk.add_folder("Homes/Ann");
  disk.add_folder("Homes/Azure");
  disk.add_folder("Homes/Broken");
  disk.add_folder("Windows/ServiceProfiles/Local");
  disk.add(software_place, software({{"S-1-5-21-1-2-3-1001", R"(C:\Homes\Ann)"},
                                     {"S-1-12-1-5-6-7-8", R"(%SystemDrive%\Homes\Azure)"},
                                     {"S-1-5-21-1-2-3-1002.bak", R"(C:\homes\broken)"},
                                     {"S-1-5-21-1-2-3-1003", R"(C:\Users\Zoe)"},
                                     {"S-1-5-21-1-2-3-1004", R"(C:\Users\Deleted)"},
                                     {"S-1-5-18", R"(C:\Windows\ServiceProfiles\Local)"}}));
  EXPECT_THAT(names_on(disk), ElementsAre("Ann=ann", "Azure=azure", "Broken=broken", "Zoe=zoe"))
      << "a service is nobody, and who is in both places is one";
}

TEST(People, OfTheRegistryOnAnotherDriveAreFoundWhenItIsGiven) {
  const windows::Disk disk;
  const windows::Disk other;
  disk.add_folder("Users/Zoe");
  disk.add(software_place, software({{"S-1-5-21-1-2-3-1001", R"(D:\Users\Ann)"}}));
  other.add("Users/Ann/Documents/a.txt");
  auto result = recorded::pack_disk(disk.path());
  EXPECT_THAT(result.last_remarks(), testing::Contains(R"(elsewhere D:\Users\Ann)"));
  pack::Options options;
  options.drives['D'] = other.path();
  result = recorded::pack_disk(disk.path(), options);
  EXPECT_TRUE(result.content.contains("Brindle/Profiles/ann/My Documents/a.txt"));
  EXPECT_THAT(result.last_remarks(), testing::Not(testing::Contains(R"(elsewhere D:\Users\Ann)")));
}

TEST(People, OfATranslatedOldSystemAreFoundByTheRegistry) {
  const windows::Disk disk;
  for (const char* name : {"Jörg", "All Users", "Default User"})
    disk.add_folder(std::string("Dokumente und Einstellungen/") + name);
  disk.add(software_place, software({}, R"(%SystemDrive%\Dokumente und Einstellungen)"));
  EXPECT_THAT(names_on(disk), ElementsAre("Jörg=jorg"));
}

TEST(People, ARegistryThatGivesSomebodyTheWholeDiskIsNotBelieved) {
  const windows::Disk disk;
  disk.add_folder("Users/Ann");
  disk.add(software_place,
           software({{"S-1-5-21-1-2-3-1001", R"(C:\)"}, {"S-1-5-21-1-2-3-1002", R"(C:\Users)"}}, R"(C:\)"));
  EXPECT_THAT(names_on(disk), ElementsAre("Ann=ann"));
}

// The second piece of an account's value is its name; the machine's number ends the value of all accounts.
std::string account(const std::string& name) {
  std::string value(0xCC, '\0');
  value[12] = 4;  // behind something else
  value[16] = static_cast<char>(2 * name.size());
  value += "xxxx";
  for (const char c : name) value += std::string(1, c) + '\0';
  return value;
}

std::string accounts() {
  using windows::Value;
  return windows::hive(
      {{R"(SAM\Domains\Account)", {{"V", std::string("....\1\0\0\0\2\0\0\0\3\0\0\0", 16), Value::binary}}},
       {R"(SAM\Domains\Account\Users\000003E9)", {{"V", account("annlee"), Value::binary}}},
       {R"(SAM\Domains\Account\Users\000003EA)", {{"V", account("Bob"), Value::binary}}},
       {R"(SAM\Domains\Account\Users\000003EB)", {{"V", "short", Value::binary}}}});
}

TEST(People, AreShownWithTheNameTheyLoggedInWith) {
  const windows::Disk disk;
  for (const char* name : {"Ann", "Bob", "Cid", "Dan"}) disk.add_folder(std::string("Users/") + name);
  disk.add(software_place, software({{"S-1-5-21-1-2-3-1001", R"(C:\Users\Ann)"},
                                     {"S-1-5-21-1-2-3-1002", R"(C:\Users\Bob)"},
                                     {"S-1-5-21-1-2-3-1003", R"(C:\Users\Cid)"},
                                     {"S-1-5-21-9-2-3-1001", R"(C:\Users\Dan)"}}));
  disk.add("Windows/System32/config/SAM", accounts());
  const pack::Disk opened(pack::folder_tree(disk.path()));
  std::vector<std::string> names;
  for (const pack::Person& person : people_on(opened)) names.push_back(person.shown + "=" + person.account);
  EXPECT_THAT(names, ElementsAre("Ann=annlee", "Bob=Bob", "Cid=", "Dan="))
      << "Dan is of a domain, and no account of this machine";
}

TEST(People, AreChosenByEitherName) {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/a.txt");
  disk.add("Users/Bob/Documents/b.txt");
  disk.add(software_place, software({{"S-1-5-21-1-2-3-1001", R"(C:\Users\Ann)"},
                                     {"S-1-5-21-1-2-3-1002", R"(C:\Users\Bob)"}}));
  disk.add("Windows/System32/config/SAM", accounts());
  pack::Options options;
  options.users = {"AnnLee"};
  const auto result = recorded::pack_disk(disk.path(), options);
  EXPECT_THAT(result.files_below("Brindle/My Documents/"), ElementsAre("a.txt"));
  std::ostringstream report;
  write_report(report, recorded::pack_disk(disk.path()).people);
  EXPECT_THAT(report.str(), testing::HasSubstr("Ann (on Windows annlee), account ann\n"));
  EXPECT_THAT(report.str(), testing::HasSubstr("Bob, account bob\n")) << "one name is not shown twice";
}

// A tree in which some folders cannot be listed.
class FaultyTree : public pack::Tree {
 public:
  FaultyTree(const std::string& folder, std::set<std::string> faults)
      : tree_(pack::folder_tree(folder)), faults_(std::move(faults)) {}
  std::vector<pack::Entry> list(const std::string& folder) const override {
    if (faults_.contains(folder)) throw std::system_error(EIO, std::generic_category());
    return tree_->list(folder);
  }
  std::unique_ptr<pack::Content> open(const std::string& file) const override { return tree_->open(file); }

 private:
  std::unique_ptr<pack::Tree> tree_;
  std::set<std::string> faults_;
};

TEST(Folders, ThatCannotBeListedAreTold) {
  const windows::Disk disk;
  disk.add("Users/Ann/AppData/Roaming/Mozilla/Firefox/Profiles/x/places.sqlite");
  disk.add("Users/Ann/Documents/a.txt");
  disk.add("Users/Ann/AppData/Local/Microsoft/Outlook/Outlook.pst");
  disk.add("Documents and Settings/Bob/x");
  const pack::Disk opened(std::make_unique<FaultyTree>(
      disk.path(), std::set<std::string>{"Users/Ann/AppData/Roaming", "Documents and Settings",
                                         "Users/Ann/AppData/Local/Microsoft/Outlook"}));
  recorded::Parcel parcel;
  const auto packed = pack::pack_all(parcel, opened, people_on(opened), {});
  std::vector<std::string> told;
  packed.back().tally.each_remark([&](const pack::Tally::Remark& remark) {
    if (remark.cause == pack::Cause::unreadable) told.push_back(remark.path);
  });
  EXPECT_THAT(told, testing::Contains("Users/Ann/AppData/Roaming")) << "with what programs keep there";
  std::erase(told, "Users/Ann/AppData/Roaming");
  EXPECT_THAT(told, ElementsAre("C:/Documents and Settings", "C:/Users/Ann/AppData/Local/Microsoft/Outlook"));
  EXPECT_TRUE(packed.back().tally.has_losses());
}

TEST(Folders, ThatAreNotThereAreNoFault) {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/a.txt");
  const auto tree = pack::folder_tree(disk.path());
  EXPECT_THAT(listed(*tree, "Users/Bob"), IsEmpty());
  EXPECT_THAT(tree->unlisted(), IsEmpty());
}

TEST(Registry, ThatIsMissingOnADiskOfWindowsIsTold) {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/a.txt");
  disk.add_folder("Windows/System32/config");
  auto result = recorded::pack_disk(disk.path());
  EXPECT_THAT(result.remarks(), ElementsAre("registry-missing Users/Ann/NTUSER.DAT",
                                            "registry-missing Windows/System32/config/SOFTWARE",
                                            "registry-missing Windows/System32/config/SYSTEM"));
  EXPECT_TRUE(result.people.front().tally.has_losses());
  disk.add("Users/Ann/NTUSER.DAT", windows::hive({}));
  disk.add(software_place, "no hive");
  disk.add("Windows/System32/config/SYSTEM",
           windows::dirty_hive({{"Select", {{"Current", "1", windows::Value::dword}}}}));
  result = recorded::pack_disk(disk.path());
  EXPECT_THAT(result.remarks(), ElementsAre("machine-registry Windows/System32/config/SOFTWARE",
                                            "registry-dirty Windows/System32/config/SYSTEM"));
}

TEST(Registry, IsThatOfTheFolderThatHasOne) {
  const windows::Disk disk;
  disk.add_folder("Homes/Ann");
  disk.add("Windows/notepad.exe");
  disk.add("WINNT/system32/config/software", software({{"S-1-5-21-1-2-3-1001", R"(C:\Homes\Ann)"}}));
  EXPECT_THAT(names_on(disk), ElementsAre("Ann=ann"));
  const auto result = recorded::pack_disk(disk.path());
  EXPECT_THAT(result.remarks(), testing::Contains("registry-missing WINNT/System32/config/SYSTEM"));
  disk.add_folder("Homes/Bob");
  disk.add(software_place, software({{"S-1-5-21-1-2-3-1001", R"(C:\Homes\Bob)"}}));
  EXPECT_THAT(names_on(disk), ElementsAre("Bob=bob")) << "of two the one since XP";
}

TEST(Registry, ThatWasNotCopiedIsToldAndNoLoss) {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/a.txt");
  const auto result = recorded::pack_disk(disk.path());
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::others, pack::Cause::registry_not_copied), 1U);
  EXPECT_FALSE(result.people.front().tally.has_losses());
}

}  // namespace
