#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "pack/pack.h"
#include "pack/recorded.h"
#include "pack/windows_disk.h"

namespace {

using recorded::pack_disk;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

constexpr const char* shell_folders =
    R"(Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders)";
constexpr const char* documents = "Brindle/My Documents/";

std::string hive_with_folders(const std::vector<std::pair<std::string, std::string>>& folders) {
  std::vector<windows::Value> values;
  for (const auto& [name, path] : folders) values.push_back({name, path, windows::Value::expand});
  return windows::hive({{shell_folders, values}});
}

TEST(Files, GoToTheirPlaces) {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/letter.txt", "Dear");
  disk.add("Users/Ann/Documents/deep/er/list.txt");
  disk.add("Users/Ann/Desktop/note.txt");
  disk.add("Users/Ann/Pictures/p.jpg");
  disk.add("Users/Ann/Music/m.mp3");
  disk.add("Users/Ann/Videos/v.avi");
  disk.add("Users/Ann/Downloads/d.zip");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below(documents),
              UnorderedElementsAre("letter.txt", "deep/er/list.txt", "My Pictures/p.jpg", "My Music/m.mp3",
                                   "My Videos/v.avi", "Downloads/d.zip"));
  EXPECT_THAT(result.files_below("Brindle/Desktop/"), ElementsAre("note.txt"));
  EXPECT_EQ(result.content.at("Brindle/My Documents/letter.txt"), "Dear");
  EXPECT_EQ(result.content.at("Brindle/users.txt"), "Default=ann\r\nMultiUser Migration=0\r\n");
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(Files, OfSeveralPeopleLieInTheirProfiles) {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/a.txt");
  disk.add("Users/Bob Lee/Documents/b.txt");
  disk.add("Users/Bob Lee/Desktop/d.txt");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Profiles/ann/"), ElementsAre("My Documents/a.txt"));
  EXPECT_THAT(result.files_below("Brindle/Profiles/boblee/"),
              ElementsAre("Desktop/d.txt", "My Documents/b.txt"));
  EXPECT_EQ(result.content.at("Brindle/users.txt"), "Default=ann\r\nMultiUser Migration=1\r\n");
}

TEST(Files, EmptyFoldersAreKept) {
  const windows::Disk disk;
  disk.add_folder("Users/Ann/Documents/empty/within");
  const auto result = pack_disk(disk.path());
  EXPECT_TRUE(result.content.contains("Brindle/My Documents/empty/within/"));
}

TEST(Files, NoFolderOfAKindIsMadeForNothing) {
  const windows::Disk disk;
  disk.add_folder("Users/Ann");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.content,
              UnorderedElementsAre(testing::Key("Brindle/"), testing::Key("Brindle/users.txt")));
}

TEST(Files, BesideTheKnownFoldersAreOtherFiles) {
  const windows::Disk disk;
  disk.add("Users/Ann/todo.txt");
  disk.add("Users/Ann/projects/x/main.c");
  disk.add("Users/Ann/.config/x");
  disk.add("Users/Ann/NTUSER.DAT.LOG1");
  disk.add("Users/Ann/ntuser.ini");
  disk.add("Users/Ann/AppData/Roaming/program/settings");
  disk.add("Users/Ann/Searches/s");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(
      result.files_below(documents),
      UnorderedElementsAre("Other files/todo.txt", "Other files/projects/x/main.c", "Other files/.config/x"));
}

TEST(Files, NamesInTheDocumentsStayTheirs) {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/my pictures/in.jpg");
  disk.add("Users/Ann/Documents/Other files/mine");
  disk.add("Users/Ann/Pictures/out.jpg");
  disk.add("Users/Ann/x");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below(documents),
              UnorderedElementsAre("my pictures/in.jpg", "Other files/mine", "My Pictures 2/out.jpg",
                                   "Other files 2/x"));
}

TEST(Files, WithADotAtTheTopAreNotPassedOver) {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/.hidden/x", "1");
  disk.add("Users/Ann/Documents/below/.stays");
  disk.add("Users/Ann/Desktop/.hidden", "2");
  disk.add("Users/Ann/Desktop/seen");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below(documents),
              UnorderedElementsAre("Dot files/.hidden/x", "below/.stays", "Dot files 2/.hidden"));
  EXPECT_THAT(result.files_below("Brindle/Desktop/"), ElementsAre("seen"));
}

TEST(Files, OfWindowsAloneStay) {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/Desktop.INI");
  disk.add("Users/Ann/Documents/deep/Thumbs.db");
  disk.add("Users/Ann/Documents/desktop.ini.txt");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below(documents), ElementsAre("desktop.ini.txt"));
  EXPECT_THAT(result.remarks(), ElementsAre("windows-own Users/Ann/Documents/Desktop.INI",
                                            "windows-own Users/Ann/Documents/deep/Thumbs.db"));
  EXPECT_FALSE(result.people.front().tally.has_losses());
}

TEST(Files, LinksAreToldAndNotFollowed) {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/a.txt");
  disk.add("ProgramData/secret/s.txt");
  ASSERT_EQ(symlink("/etc/passwd", (disk.path() + "/Users/Ann/Documents/file").c_str()), 0);
  ASSERT_EQ(symlink("../../../ProgramData/secret", (disk.path() + "/Users/Ann/Documents/folder").c_str()), 0);
  ASSERT_EQ(symlink("Documents", (disk.path() + "/Users/Ann/again").c_str()), 0);
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below(documents), ElementsAre("a.txt"));
  EXPECT_THAT(result.remarks(), ElementsAre("link Users/Ann/Documents/file",
                                            "link Users/Ann/Documents/folder", "link Users/Ann/again"));
  EXPECT_TRUE(result.people.front().tally.has_losses());
}

TEST(Files, AKnownFolderThatIsALinkIsNotFollowed) {
  const windows::Disk disk;
  disk.add("ProgramData/secret/s.txt");
  disk.add_folder("Users/Ann");
  ASSERT_EQ(symlink("../../ProgramData/secret", (disk.path() + "/Users/Ann/Documents").c_str()), 0);
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/"), ElementsAre("users.txt"));
  EXPECT_THAT(result.remarks(), ElementsAre("link Users/Ann/Documents"));
}

TEST(Files, PipesAreTold) {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/a.txt");
  ASSERT_EQ(mkfifo((disk.path() + "/Users/Ann/Documents/pipe").c_str(), 0600), 0);
  EXPECT_THAT(pack_disk(disk.path()).remarks(), ElementsAre("special Users/Ann/Documents/pipe"));
}

TEST(Files, NamesThatAreNoTextGetNewOnes) {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/half\xED\xA0\x80.txt", "1");
  disk.add("Users/Ann/Documents/half\xED\xA0\x81.txt", "2");
  disk.add("Users/Ann/Documents/whole ä.txt", "3");
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(result.files_below(documents).size(), 3U) << "two names that differ stay two";
  EXPECT_THAT(result.files_below(documents), Contains("whole ä.txt"));
  EXPECT_EQ(result.remarks().size(), 2U);
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::documents).found, 3U);
  EXPECT_FALSE(result.people.front().tally.has_losses());
}

// Of which the disk gives the beginning.
TEST(Files, CountWhatIsPackedOfABrokenOne) {
  struct Broken : recorded::Parcel {
    pack::Outcome add_file(const std::string&, const pack::Tree&, const std::string&,
                           const pack::Entry&) override {
      return {.bytes = 5, .cause = pack::Cause::cut_short};
    }
  };
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/a.txt", std::string(100, 'x'));
  pack::Options options;
  options.source = disk.path();
  const pack::Disk volumes = pack::disk_of(options);
  Broken parcel;
  const auto people = pack::pack_all(parcel, volumes, pack::chosen_people(volumes, options), options);
  EXPECT_EQ(people.front().tally.count(pack::Kind::documents).packed, 1U);
  EXPECT_EQ(people.front().tally.count(pack::Kind::documents).bytes, 5U);
  EXPECT_TRUE(people.front().tally.has_losses());
}

TEST(Files, PathsThatAreTooLongAreLeftOutAndTold) {
  const windows::Disk disk;
  const std::string part = "/" + std::string(240, 'x');
  std::string folder = "Users/Ann/Documents";
  // Made from above, since the whole path is too long for one call.
  ASSERT_EQ(chdir(disk.path().c_str()), 0);
  disk.add_folder(folder);
  ASSERT_EQ(chdir(folder.c_str()), 0);
  for (int depth = 0; depth < 17; ++depth) {
    ASSERT_EQ(mkdir(part.c_str() + 1, 0700), 0);
    ASSERT_EQ(chdir(part.c_str() + 1), 0);
  }
  ASSERT_EQ(chdir("/"), 0);
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(result.remarks().size(), 1U);
  EXPECT_TRUE(result.remarks().front().starts_with("path-too-long ")) << result.remarks().front();
  EXPECT_TRUE(result.people.front().tally.has_losses());
}

TEST(Files, ThatAreMovedAreFoundByTheRegistry) {
  const windows::Disk disk;
  disk.add("Users/Ann/NTUSER.DAT",
           hive_with_folders({{"Personal", R"(%USERPROFILE%\OneDrive\Papers)"},
                              {"Desktop", R"(C:\Data\Tisch)"},
                              {"My Pictures", R"(%UserProfile%\OneDrive\Papers\Fotos)"},
                              {"{374DE290-123F-4565-9164-39C4925E467B}", R"(E:\Loads)"}}));
  disk.add("Users/Ann/OneDrive/Papers/a.txt");
  disk.add("Users/Ann/OneDrive/Papers/Fotos/f.jpg");
  disk.add("Users/Ann/OneDrive/else.txt");
  disk.add("Data/Tisch/t.txt");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below(documents),
              UnorderedElementsAre("a.txt", "Fotos/f.jpg", "Other files/OneDrive/else.txt"));
  EXPECT_THAT(result.files_below("Brindle/Desktop/"), ElementsAre("t.txt"));
  EXPECT_THAT(result.remarks(), ElementsAre(R"(elsewhere E:\Loads)"));
  EXPECT_TRUE(result.people.front().has_registry);
}

TEST(Files, OnAnotherDriveAreFoundWhenItIsGiven) {
  const windows::Disk disk;
  const windows::Disk other;
  disk.add("Users/Ann/NTUSER.DAT", hive_with_folders({{"Personal", R"(E:\Papers)"}}));
  disk.add("Users/Ann/Documents/old.txt");
  other.add("papers/new.txt");
  pack::Options options;
  options.drives['E'] = other.path();
  const auto result = pack_disk(disk.path(), options);
  EXPECT_THAT(result.files_below(documents), UnorderedElementsAre("new.txt", "My Documents/old.txt"))
      << "what stayed at the usual place is the person's as well";
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(Files, OfOldSystemsAreFound) {
  const windows::Disk disk;
  disk.add("Documents and Settings/Ann/My Documents/a.txt");
  disk.add("Documents and Settings/Ann/My Documents/My Pictures/p.jpg");
  disk.add("Documents and Settings/Ann/Local Settings/x");
  disk.add("Documents and Settings/Ann/Start Menu/x");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below(documents), UnorderedElementsAre("a.txt", "My Pictures/p.jpg"));
}

TEST(Files, OfATranslatedOldSystemAreFoundByTheRegistry) {
  const windows::Disk disk;
  const std::string home = "Documents and Settings/Jörg/";
  disk.add(home + "NTUSER.DAT",
           hive_with_folders({{"Personal", R"(%USERPROFILE%\Eigene Dateien)"},
                              {"My Pictures", R"(%USERPROFILE%\Eigene Dateien\Eigene Bilder)"},
                              {"AppData", R"(%USERPROFILE%\Anwendungsdaten)"},
                              {"Local AppData", R"(%USERPROFILE%\Lokale Einstellungen\Anwendungsdaten)"}}));
  disk.add(home + "Eigene Dateien/a.txt");
  disk.add(home + "Eigene Dateien/Eigene Bilder/b.jpg");
  disk.add(home + "Anwendungsdaten/x");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below(documents), UnorderedElementsAre("a.txt", "Eigene Bilder/b.jpg"));
}

TEST(Files, ARegistryThatCallsTheHomeAProgramsFolderHidesNothing) {
  const windows::Disk disk;
  disk.add("Users/Ann/NTUSER.DAT",
           hive_with_folders({{"AppData", "%USERPROFILE%\\."}, {"Cache", R"(C:\Users)"}}));
  disk.add("Users/Ann/Documents/a.txt");
  disk.add("Users/Ann/b.txt");
  EXPECT_THAT(pack_disk(disk.path()).files_below(documents),
              UnorderedElementsAre("a.txt", "Other files/b.txt"));
}

TEST(Files, KindsThatAreNotWantedAreLeftOutWithoutAWord) {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/a.txt");
  disk.add("Users/Ann/Music/m.mp3");
  disk.add("Users/Ann/other");
  pack::Options options;
  options.without = {pack::Kind::music};
  auto result = pack_disk(disk.path(), options);
  EXPECT_THAT(result.files_below(documents), UnorderedElementsAre("a.txt", "Other files/other"));
  options.without = {pack::Kind::others};
  result = pack_disk(disk.path(), options);
  EXPECT_THAT(result.files_below(documents), UnorderedElementsAre("a.txt", "My Music/m.mp3"));
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(Files, OfADamagedRegistryAreFoundAtTheirUsualPlaces) {
  const windows::Disk disk;
  disk.add("Users/Ann/NTUSER.DAT", "regf and no more");
  disk.add("Users/Ann/Documents/a.txt");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below(documents), ElementsAre("a.txt"));
  EXPECT_FALSE(result.people.front().has_registry);
  EXPECT_THAT(result.remarks(), ElementsAre("registry-unreadable Users/Ann/NTUSER.DAT"));
  EXPECT_TRUE(result.people.front().tally.has_losses());
}

TEST(Files, OfAHomeThatIsTheDocumentsArePackedOnce) {
  const windows::Disk disk;
  disk.add("Users/Ann/NTUSER.DAT", hive_with_folders({{"Personal", "%USERPROFILE%"}}));
  disk.add("Users/Ann/a.txt");
  disk.add("Users/Ann/AppData/Roaming/x");
  disk.add("Users/Ann/Documents/b.txt");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below(documents), UnorderedElementsAre("a.txt", "Documents/b.txt"));
}

TEST(Files, OfSomebodyElseAreNotTaken) {
  const windows::Disk disk;
  disk.add("Users/Ann/NTUSER.DAT",
           hive_with_folders({{"Personal", R"(C:\Users\Bob\Documents)"}, {"Desktop", R"(C:\Users)"}}));
  disk.add("Users/Ann/Documents/a.txt");
  disk.add("Users/Bob/Documents/secret.txt");
  pack::Options options;
  options.users = {"Ann"};
  const auto result = pack_disk(disk.path(), options);
  EXPECT_THAT(result.files_below("Brindle/"), UnorderedElementsAre("users.txt", "My Documents/a.txt"));
  EXPECT_THAT(result.remarks(), ElementsAre(R"(elsewhere C:\Users\Bob\Documents)", R"(elsewhere C:\Users)"));
}

TEST(Files, AVariableThatHoldsItselfEnds) {
  const windows::Disk disk;
  disk.add(
      "Users/Ann/NTUSER.DAT",
      windows::hive({{"Volatile Environment", {{"USERPROFILE", R"(C:\Users\%USERPROFILE%)"}}},
                     {shell_folders, {{"Personal", R"(%USERPROFILE%\Papers)", windows::Value::expand}}}}));
  disk.add("Users/Ann/Papers/a.txt");
  EXPECT_THAT(pack_disk(disk.path()).files_below(documents), ElementsAre("a.txt"));
}

TEST(Files, AtTheDriveAndPathOfTheHomeAreFound) {
  const windows::Disk disk;
  disk.add("Users/Ann/NTUSER.DAT", hive_with_folders({{"Personal", R"(%HOMEDRIVE%%HOMEPATH%\Papers)"}}));
  disk.add("Users/Ann/Papers/a.txt");
  EXPECT_THAT(pack_disk(disk.path()).files_below(documents), ElementsAre("a.txt"));
}

TEST(Files, WhereVariablesOfWindowsLeadAreFound) {
  const windows::Disk disk;
  disk.add("Users/Ann/NTUSER.DAT", hive_with_folders({{"Personal", R"(%OneDriveConsumer%\Papers)"},
                                                      {"Desktop", R"(%public%\Tisch)"},
                                                      {"My Pictures", R"(%SystemDrive%\Fotos)"},
                                                      {"My Music", R"(%OneDrive%\Songs)"},
                                                      {"My Video", R"(%LocalAppData%\Films)"}}));
  disk.add("Users/Ann/OneDrive/Papers/a.txt");
  disk.add("Users/Public/Tisch/t.txt");
  disk.add("Fotos/f.jpg");
  disk.add("Users/Ann/OneDrive/Songs/s.mp3");
  disk.add("Users/Ann/AppData/Local/Films/v.avi");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below(documents),
              UnorderedElementsAre("a.txt", "My Pictures/f.jpg", "My Music/s.mp3", "My Videos/v.avi"));
  EXPECT_THAT(result.files_below("Brindle/Desktop/"), ElementsAre("t.txt"));
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(Files, ThatTheRegistryCallsAProgramsStayInTheDocuments) {
  const windows::Disk disk;
  disk.add("Users/Ann/NTUSER.DAT", hive_with_folders({{"Templates", R"(%USERPROFILE%\Documents\Letters)"}}));
  disk.add("Users/Ann/Documents/Letters/a.txt");
  EXPECT_THAT(pack_disk(disk.path()).files_below(documents), ElementsAre("Letters/a.txt"));
}

TEST(Files, ARegistryThatWasNotClosedIsTold) {
  const windows::Disk disk;
  disk.add("Users/Ann/NTUSER.DAT", windows::dirty_hive({{"Network", {}}}));
  EXPECT_TRUE(pack_disk(disk.path()).people.front().is_registry_dirty);
  EXPECT_THAT(pack_disk(disk.path()).remarks(), ElementsAre("registry-dirty Users/Ann/NTUSER.DAT"));
  EXPECT_TRUE(pack_disk(disk.path()).people.front().tally.has_losses());
  disk.add("Users/Ann/NTUSER.DAT", windows::hive({{"Network", {}}}));
  EXPECT_FALSE(pack_disk(disk.path()).people.front().is_registry_dirty);
}

}  // namespace
