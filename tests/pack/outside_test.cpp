// What lies outside of the people's folders, links, fonts of all people, and the code page of old texts.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "pack/browsers/readers.h"
#include "pack/desktop/shipped_fonts.h"
#include "pack/ntfs_image.h"
#include "pack/pack.h"
#include "pack/recorded.h"
#include "pack/windows_disk.h"

namespace {

using recorded::pack_disk;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using testing::UnorderedElementsAreArray;
using windows::Value;

constexpr const char* documents = "Brindle/My Documents/";
constexpr const char* shell_folders =
    R"(Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders)";

TEST(Outside, FoldersGoIntoAnArchiveOfOnePerson) {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/a.txt");
  disk.add("Users/Public/Documents/p.txt");
  disk.add("Users/Public/Desktop/desktop.ini");
  disk.add("Data/deep/d.txt");
  disk.add("letter.txt");
  for (const char* name :
       {"Windows.old/x", "Program Files/p.exe", "WINDOWS/w", "ProgramData/x", "pagefile.sys",
        "$Recycle.Bin/r", "System Volume Information/s", "Users/desktop.ini", "Users/Default/x"})
    disk.add(name);
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below(documents),
              UnorderedElementsAre("a.txt", "Public/Documents/p.txt", "Drive C/Data/deep/d.txt",
                                   "Drive C/letter.txt"));
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::shared).packed, 3U);
}

TEST(Outside, NothingMakesNoFolders) {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/a.txt");
  disk.add("Users/Public/desktop.ini");
  disk.add("pagefile.sys");
  const auto result = pack_disk(disk.path());
  EXPECT_FALSE(result.content.contains("Brindle/My Documents/Public/"));
  EXPECT_FALSE(result.content.contains("Brindle/My Documents/Drive C/"));
}

TEST(Outside, OfSeveralPeopleIsToldWithItsSize) {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/a.txt");
  disk.add("Users/Bob/Documents/b.txt");
  disk.add("Users/Public/Pictures/p.jpg", std::string(1500, 'x'));
  disk.add("Data/one", std::string(1000, 'x'));
  disk.add("Data/deep/two", std::string(234, 'x'));
  disk.add_folder("Empty");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.last_remarks(),
              UnorderedElementsAre("outside C:/Data: 2 files, 1.2 kB",
                                   "outside C:/Users/Public/Pictures: 1 file, 1.5 kB"));
  EXPECT_THAT(result.files_below("Brindle/Profiles/"),
              UnorderedElementsAre("ann/My Documents/a.txt", "bob/My Documents/b.txt"));
  EXPECT_TRUE(result.people.back().tally.has_losses());
}

// Somebody's are those that a registry names, of whoever is packed or not; all else is nobody's, and told
// once.
TEST(Outside, OfSeveralPeopleIsSomebodysOrTold) {
  const windows::Disk disk;
  const windows::Disk other;
  disk.add("Users/Ann/NTUSER.DAT", windows::hive({{shell_folders, {{"My Pictures", R"(C:\Fotos)"}}}}));
  disk.add("Users/Bob/NTUSER.DAT", windows::hive({{shell_folders, {{"Personal", R"(C:\Data\Bob)"}}}}));
  disk.add("Users/Cid/NTUSER.DAT", windows::hive({{shell_folders, {{"My Music", R"(E:\Songs)"}}}}));
  for (const char* file : {"Fotos/p.jpg", "Data/Bob/b.txt", "Data/d.txt", "Dell/setup.log", "letter.txt"})
    disk.add(file, "12345");
  for (const char* file : {"Songs/s.mp3", "Films/f.avi"}) other.add(file, "12345");
  pack::Options options;
  options.drives['E'] = other.path();
  const auto told = {"outside C:/Data: 1 file, 5 B", "outside C:/Dell: 1 file, 5 B",
                     "outside C:/letter.txt: 1 file, 5 B", "outside E:/Films: 1 file, 5 B"};
  auto result = pack_disk(disk.path(), options);
  EXPECT_THAT(result.files_below("Brindle/Profiles/"),
              UnorderedElementsAre("ann/My Documents/My Pictures/p.jpg", "bob/My Documents/b.txt",
                                   "cid/My Documents/My Music/s.mp3"));
  EXPECT_THAT(result.last_remarks(), UnorderedElementsAreArray(told));
  options.users = {"Ann", "Bob"};
  result = pack_disk(disk.path(), options);
  EXPECT_THAT(result.files_below("Brindle/Profiles/"),
              UnorderedElementsAre("ann/My Documents/My Pictures/p.jpg", "bob/My Documents/b.txt"));
  EXPECT_THAT(result.last_remarks(), UnorderedElementsAreArray(told)) << "Cid's is Cid's";
}

TEST(Outside, WhatTwoPeopleCallTheirsIsWithBoth) {
  const windows::Disk disk;
  for (const char* person : {"Users/Ann/NTUSER.DAT", "Users/Bob/NTUSER.DAT"})
    disk.add(person, windows::hive({{shell_folders, {{"My Pictures", R"(C:\Fotos)"}}}}));
  disk.add("Fotos/p.jpg");
  auto result = pack_disk(disk.path());
  EXPECT_THAT(
      result.files_below("Brindle/Profiles/"),
      UnorderedElementsAre("ann/My Documents/My Pictures/p.jpg", "bob/My Documents/My Pictures/p.jpg"));
  EXPECT_THAT(result.last_remarks(), IsEmpty());
  pack::Options options;
  options.users = {"Bob"};
  EXPECT_THAT(pack_disk(disk.path(), options).files_below(documents), ElementsAre("My Pictures/p.jpg"));
}

TEST(Outside, OfOnePersonAmongOthersIsPackedWithoutTheOthers) {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/a.txt");
  disk.add("Users/Bob/Documents/b.txt");
  disk.add("Users/Bob/NTUSER.DAT", windows::hive({{shell_folders, {{"Personal", R"(C:\Data\Bob)"}}}}));
  disk.add("Data/Bob/secret.txt");
  disk.add("Data/d.txt");
  disk.add("Homes/Cid/c.txt");
  disk.add("Windows/System32/config/SOFTWARE",
           windows::hive({{R"(Microsoft\Windows NT\CurrentVersion\ProfileList\S-1-5-21-1-2-3-1001)",
                           {{"ProfileImagePath", R"(C:\Homes\Cid)"}}}}));
  pack::Options options;
  options.users = {"Ann"};
  EXPECT_THAT(pack_disk(disk.path(), options).files_below(documents),
              UnorderedElementsAre("a.txt", "Drive C/Data/d.txt"));
}

TEST(Outside, WhatAPersonsFoldersHaveIsPackedOnce) {
  const windows::Disk disk;
  const windows::Disk other;
  disk.add(
      "Users/Ann/NTUSER.DAT",
      windows::hive({{shell_folders, {{"Personal", R"(C:\Data\Papers)"}, {"My Pictures", R"(E:\Photos)"}}}}));
  disk.add("Data/Papers/a.txt");
  disk.add("Data/b.txt");
  other.add("Photos/p.jpg");
  other.add("Stuff/s.txt");
  pack::Options options;
  options.drives['E'] = other.path();
  EXPECT_THAT(
      pack_disk(disk.path(), options).files_below(documents),
      UnorderedElementsAre("a.txt", "My Pictures/p.jpg", "Drive C/Data/b.txt", "Drive E/Stuff/s.txt"));
}

TEST(Outside, AnEarlierWindowsIsToldAndNotPacked) {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/a.txt");
  disk.add("Windows.old/Users/Bob/Documents/secret.txt", "12345");
  disk.add("Windows.old/Windows/x");
  disk.add("WINDOWS.OLD.000/Documents and Settings/Cid/secret.txt", "1234567");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below(documents), ElementsAre("a.txt"));
  EXPECT_THAT(result.remarks(),
              UnorderedElementsAre("outside C:/Windows.old/Users: 1 file, 5 B",
                                   "outside C:/WINDOWS.OLD.000/Documents and Settings: 1 file, 7 B"));
}

TEST(Outside, WhatIsNamedLikeAnEarlierWindowsIsSomebodys) {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/a.txt");
  disk.add("Windows.old photos/p.jpg");
  disk.add("Windows.old.1/Users/Bob/secret.txt");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below(documents),
              UnorderedElementsAre("a.txt", "Drive C/Windows.old photos/p.jpg"));
  EXPECT_THAT(result.remarks(), ElementsAre("outside C:/Windows.old.1/Users: 1 file, 8 B"));
}

TEST(Outside, PathsThatAreTooLongAreTold) {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/a.txt");
  const std::string part(240, 'x');
  // Made from above, since the whole path is too long for one call.
  disk.add_folder("Data");
  ASSERT_EQ(chdir((disk.path() + "/Data").c_str()), 0);
  for (int depth = 0; depth < 17; ++depth) {
    ASSERT_EQ(mkdir(part.c_str(), 0700), 0);
    ASSERT_EQ(chdir(part.c_str()), 0);
  }
  ASSERT_EQ(chdir("/"), 0);
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.remarks(), ElementsAre(testing::StartsWith("path-too-long Data/x")));
  EXPECT_TRUE(result.people.front().tally.has_losses());
}

TEST(Outside, OfOldSystemsIsShared) {
  const windows::Disk disk;
  disk.add("Documents and Settings/Ann/My Documents/a.txt");
  disk.add("Documents and Settings/All Users/Documents/p.txt");
  disk.add("Documents and Settings/All Users/Documents/Sample Music/m.wma");
  disk.add("Documents and Settings/All Users/Application Data/x");
  EXPECT_THAT(pack_disk(disk.path()).files_below(documents),
              UnorderedElementsAre("a.txt", "Public/Documents/p.txt"));
}

TEST(Outside, FoldersThatCannotBeListedAreToldOnce) {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/a.txt");
  disk.add("Users/Public/p.txt");
  disk.add("Data/bad/lost.txt");
  disk.add("Data/worth.txt");
  auto result = pack_disk(pack::Disk(recorded::tree_with(disk.path(), "Data/bad")));
  EXPECT_THAT(result.files_below(documents),
              UnorderedElementsAre("a.txt", "Public/p.txt", "Drive C/Data/worth.txt"));
  EXPECT_THAT(result.remarks(), ElementsAre("unreadable Data/bad"));
  result = pack_disk(pack::Disk(recorded::tree_with(disk.path(), "Users/Public")));
  EXPECT_THAT(result.files_below(documents),
              UnorderedElementsAre("a.txt", "Drive C/Data/bad/lost.txt", "Drive C/Data/worth.txt"));
  EXPECT_THAT(result.remarks(), ElementsAre("unreadable C:/Users/Public"));
}

// An archive on a disk that is full.
class FullParcel : public recorded::Parcel {
 public:
  pack::Outcome add_file(const std::string& name, const pack::Tree& tree, const std::string& path,
                         const pack::Entry& entry) override {
    if (name.ends_with("/too much")) throw std::system_error(ENOSPC, std::generic_category());
    return recorded::Parcel::add_file(name, tree, path, entry);
  }
};

TEST(Outside, AnArchiveThatCannotBeWrittenIsNoFaultOfTheDisk) {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/a.txt");
  disk.add("Data/deep/too much");
  const pack::Disk opened(recorded::tree_with(disk.path(), "nothing"));
  FullParcel parcel;
  EXPECT_THROW(pack::pack_all(parcel, opened, pack::people_on(opened), {}), std::system_error);
}

TEST(Outside, IsLeftOutWhenItIsNotWanted) {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/a.txt");
  disk.add("Data/d.txt");
  pack::Options options;
  options.without = {pack::Kind::shared};
  const auto result = pack_disk(disk.path(), options);
  EXPECT_THAT(result.files_below(documents), ElementsAre("a.txt"));
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(Links, OfWindowsAreNoLossAndAPersonsAre) {
  windows::NtfsImage image;
  image.add("Users/Ann/AppData/Roaming/Program/mine.dat");
  image.add_folder("Users/Ann/AppData/Roaming/Microsoft/Windows/SendTo");
  image.add("Users/Ann/Documents/a.txt");
  image.add("Users/Ann/Pictures/p.jpg");
  const std::pair<const char*, const char*> links[] = {
      {"Users/Ann/Anwendungsdaten", R"(C:\Users\Ann\AppData\Roaming)"},
      {"Users/Ann/SendTo", R"(C:\Users\Ann\AppData\Roaming\Microsoft\Windows\SendTo)"},
      {"Users/Ann/Documents/My Pictures", R"(C:\Users\Ann\Pictures)"},
      {"Users/Ann/Documents/Program", R"(C:\Users\Ann\AppData\Roaming\Program)"},
      {"Users/Ann/Documents/Roaming", R"(C:\Users\Ann\AppData\Roaming)"},
      {"Users/Ann/Program", R"(C:\Users\Ann\AppData\Roaming\Program)"}};
  for (const auto& [path, target] : links) {
    image.add_folder(path);
    image.set_reparse_point(path, windows::junction_to(target));
  }
  EXPECT_THAT(
      pack_disk(image.close()).remarks(),
      UnorderedElementsAre("windows-own Users/Ann/Anwendungsdaten", "windows-own Users/Ann/SendTo",
                           "windows-own Users/Ann/Documents/My Pictures", "link Users/Ann/Documents/Program",
                           "link Users/Ann/Documents/Roaming", "link Users/Ann/Program"));
}

TEST(Links, InPlaceOfAPersonsFolderLeadToIt) {
  windows::NtfsImage image;
  image.add("Users/Ann/Documents/a.txt");
  image.add("Homes/Bob/Documents/b.txt");
  for (const auto& [name, target] : {std::pair("Bob", R"(C:\Homes\Bob)"), std::pair("Cid", R"(E:\Homes\Cid)"),
                                     std::pair("All Users", R"(C:\ProgramData)")}) {
    image.add_folder(std::string("Users/") + name);
    image.set_reparse_point(std::string("Users/") + name, windows::junction_to(target));
  }
  const auto result = pack_disk(image.close());
  EXPECT_THAT(result.files_below("Brindle/Profiles/"),
              UnorderedElementsAre("ann/My Documents/a.txt", "bob/My Documents/b.txt"));
  EXPECT_THAT(result.last_remarks(), ElementsAre(R"(elsewhere E:\Homes\Cid)"));
}

TEST(OnlineOnly, AFolderIsPackedAsFarAsItIsHere) {
  windows::NtfsImage image;
  image.add("Users/Ann/Documents/cloud/here.txt");
  image.set_attributes("Users/Ann/Documents/cloud", windows::recall_on_open);
  const auto result = pack_disk(image.close());
  EXPECT_THAT(result.files_below(documents), ElementsAre("cloud/here.txt"));
  EXPECT_THAT(result.remarks(), ElementsAre("online-only Users/Ann/Documents/cloud"));
}

TEST(OnlineOnly, AFolderOutsideIsPackedAsFarAsItIsHere) {
  windows::NtfsImage image;
  image.add("Users/Ann/Documents/a.txt");
  image.add("Data/cloud/here.txt");
  image.set_attributes("Data/cloud", windows::recall_on_open);
  const auto result = pack_disk(image.close());
  EXPECT_THAT(result.files_below(documents), UnorderedElementsAre("a.txt", "Drive C/Data/cloud/here.txt"));
  EXPECT_THAT(result.remarks(), ElementsAre("online-only Data/cloud"));
}

TEST(FontsOfAll, ThatDidNotComeWithWindowsArePacked) {
  const windows::Disk disk;
  for (const char* name :
       {"ARIAL.TTF", "segoeui.ttf", "Garden.otf", "garden bold.ttf", "forgotten.ttf", "vgasys.fon"})
    disk.add(std::string("Windows/Fonts/") + name);
  disk.add("Fonts of mine/Own.ttf", "own");
  disk.add("Program Files/Common Files/Office/Office.ttf");
  disk.add("Users/Ann/x");
  disk.add("Users/Ann/NTUSER.DAT", windows::hive({}));
  disk.add("Windows/System32/config/SYSTEM", windows::hive({{"Select", {{"Current", "1", Value::dword}}}}));
  disk.add("Windows/System32/config/SOFTWARE",
           windows::hive({{R"(Microsoft\Windows NT\CurrentVersion\Fonts)",
                           {{"Arial (TrueType)", "arial.ttf"},
                            {"Segoe UI (TrueType)", "segoeui.ttf"},
                            {"Garden (OpenType)", "GARDEN.OTF"},
                            {"Garden Bold (TrueType)", "garden bold.ttf"},
                            {"Own (TrueType)", R"(C:\Fonts of mine\Own.ttf)"},
                            {"Office (TrueType)", R"(%CommonProgramFiles%\Office\Office.ttf)"},
                            {"Gone (TrueType)", R"(C:\Program Files\Gone\gone.ttf)"},
                            {"Far (TrueType)", R"(E:\far.ttf)"}}}}));
  pack::Options options;
  options.without = {pack::Kind::shared};
  const auto result = pack_disk(disk.path(), options);
  EXPECT_THAT(result.files_below("Brindle/Fonts/"),
              UnorderedElementsAre("Garden.otf", "garden bold.ttf", "Own.ttf"));
  EXPECT_THAT(result.remarks(),
              UnorderedElementsAre(
                  "windows-own Windows/Fonts/ARIAL.TTF", "windows-own Windows/Fonts/segoeui.ttf",
                  "windows-own Windows/Fonts/vgasys.fon", "font-in-doubt Windows/Fonts/forgotten.ttf",
                  R"(elsewhere E:\far.ttf)", R"(elsewhere %CommonProgramFiles%\Office\Office.ttf)"));
}

TEST(FontsOfAll, ThatDifferInAByteAreTwo) {
  const windows::Disk disk;
  const std::string place = "/AppData/Local/Microsoft/Windows/Fonts/";
  const std::string large(100'000, 'x');
  disk.add("Users/Ann" + place + "same.ttf", large + "1");
  disk.add("Users/Bob" + place + "same.ttf", large + "1");
  disk.add("Users/Ann" + place + "other.ttf", large + "1");
  disk.add("Users/Bob" + place + "other.ttf", large + "2");
  disk.add("Users/Cid" + place + "other.ttf", large + "2");
  EXPECT_THAT(pack_disk(disk.path()).files_below("Brindle/Fonts/"),
              UnorderedElementsAre("same.ttf", "other.ttf", "2 other.ttf"));
}

TEST(FontsOfAll, OfWindowsAreKnownByName) {
  for (const char* name :
       {"arial.ttf", "ARIALBD.TTF", "Calibri.ttf", "segoeui.ttf", "simsun.ttc", "msgothic.ttc",
        "wingding.ttf", "marlett.ttf", "coure.fon", "tahoma.ttf", "bahnschrift.ttf"})
    EXPECT_TRUE(pack::is_shipped_font(name)) << name;
  for (const char* name : {"arial", "garden.ttf", "arial.ttf.bak", ""})
    EXPECT_FALSE(pack::is_shipped_font(name)) << name;
}

// "Привет" in the code page of Russian programs.
constexpr const char* russian = "[InternetShortcut]\r\nURL=http://x.example/\xCF\xF0\xE8\xE2\xE5\xF2\r\n";
constexpr const char* in_russian = "http://x.example/Привет";

TEST(CodePage, OfAnAddressIsTheOneGiven) {
  EXPECT_EQ(pack::address_in(russian, "CP1251"), in_russian);
  EXPECT_EQ(pack::address_in(russian, "CP1252"), "http://x.example/Ïðèâåò");
  EXPECT_EQ(pack::address_in("[InternetShortcut]\nURL=http://ä.example/\n", "CP1251"), "http://ä.example/")
      << "what is UTF-8 is no other";
}

std::string bookmarks_of(const windows::Disk& disk, const std::string& charset) {
  pack::Options options;
  options.charset = charset;
  return pack_disk(disk.path(), options).content.at("Brindle/Bookmark.htm");
}

std::string system_with_page(const char* page) {
  return windows::hive({{"Select", {{"Current", "2", Value::dword}}},
                        {R"(ControlSet001\Control\Nls\CodePage)", {{"ACP", "1252"}}},
                        {R"(ControlSet002\Control\Nls\CodePage)", {{"ACP", page}}}});
}

TEST(CodePage, IsTheDisksOwnOrTheOneAskedFor) {
  const windows::Disk disk;
  disk.add("Users/Ann/Favorites/x.url", russian);
  EXPECT_THAT(bookmarks_of(disk, ""), HasSubstr("Ïðèâåò"));
  EXPECT_THAT(bookmarks_of(disk, "CP1251"), HasSubstr("Привет"));
  disk.add("Windows/System32/config/SYSTEM", system_with_page("1251"));
  EXPECT_THAT(bookmarks_of(disk, ""), HasSubstr("Привет"));
  EXPECT_THAT(bookmarks_of(disk, "CP1253"), HasSubstr("Привет")) << "the disk knows better";
  for (const char* unknown : {"65001", "nonsense", "99999"}) {
    disk.add("Windows/System32/config/SYSTEM", system_with_page(unknown));
    EXPECT_THAT(bookmarks_of(disk, "CP1251"), HasSubstr("Привет")) << unknown;
  }
}

}  // namespace
