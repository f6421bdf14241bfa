#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

#include "pack/recorded.h"
#include "pack/windows_disk.h"

namespace {

using recorded::pack_disk;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using windows::Value;

constexpr const char* hive_file = "Users/Ann/NTUSER.DAT";
constexpr const char* desktop_key = R"(Control Panel\Desktop)";
constexpr const char* wallpapers_key = R"(Software\Microsoft\Windows\CurrentVersion\Explorer\Wallpapers)";
constexpr const char* shell_folders =
    R"(Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders)";
const std::string themes = "Users/Ann/AppData/Roaming/Microsoft/Windows/Themes/";

windows::Keys picture(const std::string& path) {
  return {{desktop_key, {{"Wallpaper", path}, {"WallpaperStyle", "10"}, {"TileWallpaper", "0"}}}};
}

TEST(Wallpaper, IsFoundByVariables) {
  for (const char* path : {R"(%SystemRoot%\Web\img0.jpg)", R"(%windir%\web\IMG0.JPG)",
                           R"(%SystemDrive%\Windows\Web\img0.jpg)"}) {
    const windows::Disk disk;
    disk.add("Windows/Web/img0.jpg", "picture");
    disk.add(hive_file, windows::hive(picture(path)));
    EXPECT_EQ(pack_disk(disk.path()).content.at("Brindle/Wallpaper/Wallpaper.jpg"), "picture") << path;
  }
}

TEST(Wallpaper, IsFoundInACopiedHome) {
  const windows::Disk disk;
  windows::Keys keys = picture(R"(C:\Users\Ann\Pictures\p.bmp)");
  keys["Volatile Environment"] = {{"USERPROFILE", R"(C:\Users\Ann)"}};
  disk.add("NTUSER.DAT", windows::hive(keys));
  disk.add("Pictures/p.bmp", "picture");
  EXPECT_EQ(pack_disk(disk.path()).content.at("Brindle/Wallpaper/Wallpaper.bmp"), "picture");
}

TEST(Wallpaper, OfSomebodyElseIsTheCopy) {
  const windows::Disk disk;
  disk.add(hive_file, windows::hive(picture(R"(C:\Users\Bob\p.jpg)")));
  disk.add("Users/Bob/p.jpg", "secret");
  disk.add(themes + "TranscodedWallpaper", "\xFF\xD8\xFF copy");
  pack::Options options;
  options.users = {"Ann"};
  EXPECT_EQ(pack_disk(disk.path(), options).content.at("Brindle/Wallpaper/Wallpaper.jpg"),
            "\xFF\xD8\xFF copy");
}

TEST(Wallpaper, OfEverybodysFolderIsTaken) {
  const windows::Disk disk;
  disk.add(hive_file, windows::hive(picture(R"(C:\Users\Public\Pictures\p.jpg)")));
  disk.add("Users/Public/Pictures/p.jpg", "shared");
  EXPECT_EQ(pack_disk(disk.path()).content.at("Brindle/Wallpaper/Wallpaper.jpg"), "shared");
}

TEST(Wallpaper, CopiesOfAllVersionsAreKnown) {
  for (const std::string& copy :
       {themes + "TranscodedWallpaper.jpg",
        std::string("Users/Ann/Local Settings/Application Data/Microsoft/Wallpaper1.bmp"),
        std::string("Users/Ann/Lokal/Microsoft/Wallpaper1.bmp")}) {
    const windows::Disk disk;
    windows::Keys keys = picture(R"(D:\gone.jpg)");
    keys[shell_folders] = {{"Local AppData", R"(%USERPROFILE%\Lokal)", Value::expand}};
    disk.add(hive_file, windows::hive(keys));
    disk.add(copy, "copy");
    const auto result = pack_disk(disk.path());
    EXPECT_EQ(result.content.at("Brindle/Wallpaper/Wallpaper" + copy.substr(copy.size() - 4)), "copy");
    EXPECT_THAT(result.remarks(), IsEmpty());
  }
}

TEST(Wallpaper, AFolderIsNone) {
  const windows::Disk disk;
  disk.add(hive_file, windows::hive(picture(R"(C:\Web)")));
  disk.add("Web/p.jpg");
  EXPECT_THAT(pack_disk(disk.path()).remarks(), ElementsAre(R"(elsewhere C:\Web)"));
}

TEST(Wallpaper, APlainColourHasNoPicture) {
  const windows::Disk disk;
  windows::Keys keys = picture("");
  keys[wallpapers_key] = {{"BackgroundType", "1", Value::dword}};
  keys[R"(Control Panel\Colors)"] = {{"Background", "0 78 152"}};
  disk.add(hive_file, windows::hive(keys));
  disk.add(themes + "TranscodedWallpaper", "an old one");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Wallpaper/"), IsEmpty());
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(Wallpaper, ASlideShowIsItsPictureOfTheDay) {
  const std::string told = R"(partly-kept the other pictures of the slide show with C:\p.jpg)";
  const auto remarks = [](const std::string& kind, const std::string& list) {
    const windows::Disk disk;
    windows::Keys keys = picture(R"(C:\p.jpg)");
    if (!kind.empty()) keys[wallpapers_key] = {{"BackgroundType", kind, Value::dword}};
    disk.add(hive_file, windows::hive(keys));
    disk.add("p.jpg", "picture");
    if (!list.empty()) disk.add(themes + "slideshow.ini", list);
    const auto result = pack_disk(disk.path());
    EXPECT_EQ(result.content.at("Brindle/Wallpaper/Wallpaper.jpg"), "picture");
    return result.remarks();
  };
  const std::string list = "[Slideshow]\r\nImagesRootPIDL=FAAfUOBP0CDqOmkQ\r\n";
  EXPECT_THAT(remarks("2", ""), ElementsAre(told));
  EXPECT_THAT(remarks("0", ""), IsEmpty());
  EXPECT_THAT(remarks("0", list), IsEmpty()) << "an old one";
  EXPECT_THAT(remarks("", list), ElementsAre(told));
  EXPECT_THAT(remarks("", "[Slideshow]\r\nImagesRootPIDL=\r\n"), IsEmpty());
  EXPECT_THAT(remarks("", "[Slideshow]\r\nImagesRootPIDL="), IsEmpty());
  EXPECT_THAT(remarks("", ""), IsEmpty());
}

TEST(Drives, HaveNoLogin) {
  const windows::Disk disk;
  disk.add(
      hive_file,
      windows::hive({{R"(Network\P)", {{"RemotePath", R"(\\server\a)"}, {"UserName", R"(WORK\ann)"}}},
                     {R"(Network\Q)", {{"RemotePath", R"(\\server\b)"}, {"UserName", ""}}},
                     {R"(Network\R)", {{"RemotePath", R"(\\server\c)"}, {"UserName", "0", Value::dword}}}}));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Mapped_Drives/"), UnorderedElementsAre("P.txt", "Q.txt", "R.txt"));
  EXPECT_EQ(result.content.at("Brindle/Mapped_Drives/P.txt"), "//server/a\r\na (P)\r\n");
  EXPECT_THAT(result.remarks(), ElementsAre(R"(partly-kept \\server\a: the login WORK\ann)"));
}

TEST(Drives, HaveNamesOfAnyKind) {
  const windows::Disk disk;
  disk.add(hive_file,
           windows::hive({{R"(Network\z)", {{"RemotePath", R"(\\big server\My Share\Deep Folder\it)"}}},
                          {R"(Network\B)", {{"RemotePath", R"(\\server)"}}},
                          {R"(Network\M)", {{"RemotePath", R"(\\server\share\)", Value::expand}}},
                          {R"(Network\A)", {{"RemotePath", R"(\\server\$hidden%20)"}}}}));
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(result.content.at("Brindle/Mapped_Drives/z.txt"),
            "//big server/My Share/Deep Folder/it\r\nit (z)\r\n");
  EXPECT_EQ(result.content.at("Brindle/Mapped_Drives/B.txt"), "//server\r\nserver (B)\r\n");
  EXPECT_EQ(result.content.at("Brindle/Mapped_Drives/M.txt"), "//server/share\r\nshare (M)\r\n");
  EXPECT_EQ(result.content.at("Brindle/Mapped_Drives/A.txt"), "//server/$hidden%20\r\n$hidden%20 (A)\r\n");
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(Drives, OfOtherTypesAreReadOrTold) {
  const windows::Disk disk;
  std::string wide;
  for (const char c : std::string(R"(\\server\wide)")) wide += std::string(1, c) + '\0';
  disk.add(hive_file,
           windows::hive({{R"(Network\A)", {{"RemotePath", wide + std::string(2, '\0'), Value::binary}}},
                          {R"(Network\B)", {{"RemotePath", "7", Value::dword}}},
                          {R"(Network\C)", {{"RemotePath", "\\", Value::binary}}},
                          {R"(Network\D)", {{"RemotePath", ""}}},
                          {R"(Network\E)",
                           {{"RemotePath",
                             "\\\\server\\a\x01"
                             "b"}}}}));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Mapped_Drives/"), ElementsAre("A.txt"));
  EXPECT_EQ(result.content.at("Brindle/Mapped_Drives/A.txt"), "//server/wide\r\nwide (A)\r\n");
  EXPECT_THAT(result.remarks(), ElementsAre(R"(share-not-kept Network\B)", R"(share-not-kept Network\C)",
                                            R"(share-not-kept Network\D)", R"(share-not-kept Network\E)"));
}

TEST(Registries, ThatWereNotClosedAreToldEach) {
  const windows::Disk disk;
  disk.add("Users/Ann/NTUSER.DAT", windows::dirty_hive({{"Network", {}}}));
  disk.add("Users/Bob/NTUSER.DAT", windows::hive({{"Network", {}}}));
  disk.add("Users/Cid/NTUSER.DAT", windows::dirty_hive({{"Network", {}}}));
  disk.add("Windows/System32/config/SYSTEM",
           windows::dirty_hive({{"Select", {{"Current", "1", Value::dword}}}}));
  disk.add("Windows/System32/config/SOFTWARE", windows::hive({}));
  const auto result = pack_disk(disk.path());
  ASSERT_EQ(result.people.size(), 4U);
  std::vector<std::string> told;
  for (const pack::Packed& packed : result.people)
    packed.tally.each_remark([&](const pack::Tally::Remark& remark) {
      told.push_back(packed.person.shown + " " + std::string(pack::name_of(remark.cause)) + " " +
                     remark.path);
    });
  EXPECT_THAT(
      told, ElementsAre("Ann registry-dirty Users/Ann/NTUSER.DAT", "Cid registry-dirty Users/Cid/NTUSER.DAT",
                        "This computer registry-dirty Windows/System32/config/SYSTEM"));
}

TEST(Registries, OfAMachineThatSayNothingAreTold) {
  for (const auto& [hive, cause] :
       {std::pair(std::string("regf and no more"), "machine-registry"),
        std::pair(windows::hive({{"Select", {{"Current", "first"}}}}), "registry-unreadable")}) {
    const windows::Disk disk;
    disk.add("Users/Ann/NTUSER.DAT", windows::hive({}));
    disk.add("Windows/System32/config/SOFTWARE", windows::hive({}));
    disk.add("Windows/System32/config/SYSTEM", hive);
    const auto result = pack_disk(disk.path());
    EXPECT_THAT(result.remarks(), ElementsAre(cause + std::string(" Windows/System32/config/SYSTEM")));
    EXPECT_TRUE(result.people.front().tally.has_losses());
  }
}

}  // namespace
