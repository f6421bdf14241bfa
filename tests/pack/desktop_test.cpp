#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pack/recorded.h"
#include "pack/windows_disk.h"

namespace {

using recorded::pack_disk;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr const char* hive_file = "Users/Ann/NTUSER.DAT";

std::string desktop_hive(const std::string& picture, const std::string& style, const std::string& tile) {
  return windows::hive({{R"(Control Panel\Desktop)",
                         {{"Wallpaper", picture}, {"WallpaperStyle", style}, {"TileWallpaper", tile}}}});
}

TEST(Wallpaper, IsThePictureOfTheRegistry) {
  const windows::Disk disk;
  disk.add("Windows/Web/my.best.JPG", "picture");
  disk.add("Windows/Web/other.jpg");
  disk.add(hive_file, desktop_hive(R"(c:\windows\web\My.Best.jpg)", "2", "0"));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Wallpaper/"), UnorderedElementsAre("Wallpaper.JPG", "option.txt"));
  EXPECT_EQ(result.content.at("Brindle/Wallpaper/Wallpaper.JPG"), "picture");
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::wallpaper).packed, 1U);
}

TEST(Wallpaper, HasItsStyle) {
  const struct {
    const char* style;
    const char* tile;
    const char* option;
  } cases[] = {{"0", "0", "C\r\n"}, {"0", "1", "T\r\n"},  {"2", "0", "S\r\n"},
               {"6", "0", "S\r\n"}, {"10", "0", "S\r\n"}, {"22", "0", "S\r\n"}};
  for (const auto& [style, tile, option] : cases) {
    const windows::Disk disk;
    disk.add("p.bmp");
    disk.add(hive_file, desktop_hive(R"(C:\p.bmp)", style, tile));
    EXPECT_EQ(pack_disk(disk.path()).content.at("Brindle/Wallpaper/option.txt"), option) << style << tile;
  }
}

TEST(Wallpaper, IsTheCopyWhenThePictureIsGone) {
  const windows::Disk disk;
  disk.add(hive_file, desktop_hive(R"(D:\gone.jpg)", "2", "0"));
  disk.add("Users/Ann/AppData/Roaming/Microsoft/Windows/Themes/TranscodedWallpaper", "\x89PNG and so on");
  EXPECT_THAT(pack_disk(disk.path()).files_below("Brindle/Wallpaper/"),
              UnorderedElementsAre("Wallpaper.png", "option.txt"));
}

// Windows called the folder by a name that the copy does not have.
TEST(Wallpaper, LiesInTheCopyOfAPersonsFolder) {
  const windows::Disk disk;
  disk.add("Pictures/Sea.jpg", "sea");
  disk.add("Pictures/Other.jpg", "other");
  for (const char* homes : {R"(C:\Users\)", R"(c:\documents and settings\)"}) {
    disk.add("NTUSER.DAT", desktop_hive(homes + std::string(R"(Joerg Mueller\Pictures\sea.jpg)"), "2", "0"));
    const auto result = pack_disk(disk.path());
    ASSERT_TRUE(result.content.contains("Brindle/Wallpaper/Wallpaper.jpg")) << homes;
    EXPECT_EQ(result.content.at("Brindle/Wallpaper/Wallpaper.jpg"), "sea");
    EXPECT_THAT(result.remarks(), IsEmpty());
  }
  for (const std::string path :
       {R"(C:\Users\Joerg Mueller\Pictures\gone.jpg)", R"(C:\Users\Public\Pictures\sea.jpg)",
        R"(C:\Other\Joerg Mueller\Pictures\sea.jpg)"}) {
    disk.add("NTUSER.DAT", desktop_hive(path, "2", "0"));
    EXPECT_THAT(pack_disk(disk.path()).remarks(), ElementsAre("elsewhere " + path));
  }
}

// On a whole disk the other person is known.
TEST(Wallpaper, InAnotherPersonsFolderIsNotTakenForOnesOwn) {
  const windows::Disk disk;
  disk.add("Users/Ann/Pictures/sea.jpg");
  disk.add(hive_file, desktop_hive(R"(C:\Users\Bob\Pictures\sea.jpg)", "2", "0"));
  EXPECT_THAT(pack_disk(disk.path()).remarks(), ElementsAre(R"(elsewhere C:\Users\Bob\Pictures\sea.jpg)"));
}

TEST(Wallpaper, ThatIsGoneIsTold) {
  const windows::Disk disk;
  disk.add(hive_file, desktop_hive(R"(D:\gone.jpg)", "2", "0"));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Wallpaper/"), IsEmpty());
  EXPECT_THAT(result.remarks(), ElementsAre(R"(elsewhere D:\gone.jpg)"));
}

TEST(Wallpaper, NoneIsNoLoss) {
  const windows::Disk disk;
  disk.add(hive_file, desktop_hive("", "2", "0"));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Wallpaper/"), IsEmpty());
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(Drives, BecomeAFileEach) {
  const windows::Disk disk;
  disk.add(
      hive_file,
      windows::hive({{R"(Network\P)", {{"RemotePath", R"(\\server\public)"}}},
                     {R"(Network\Z)", {{"RemotePath", R"(\\server\Bücher\deep\)"}, {"UserName", "x"}}}}));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Mapped_Drives/"), UnorderedElementsAre("P.txt", "Z.txt"));
  EXPECT_EQ(result.content.at("Brindle/Mapped_Drives/P.txt"), "//server/public\r\npublic (P)\r\n");
  EXPECT_EQ(result.content.at("Brindle/Mapped_Drives/Z.txt"), "//server/Bücher/deep\r\ndeep (Z)\r\n");
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::drives).packed, 2U);
}

TEST(Drives, ThatWouldHideTheOthersAreLeftOutAndTold) {
  const windows::Disk disk;
  disk.add(hive_file,
           windows::hive({{R"(Network\A)", {{"RemotePath", R"(\\server\R&D)"}}},
                          {R"(Network\B)", {{"RemotePath", R"(\\server\good)"}}},
                          {R"(Network\C)", {{"RemotePath", R"(\\server\<x)"}}},
                          {R"(Network\D)", {{"RemotePath", R"(\\server\)" + std::string(120, 'x')}}},
                          {R"(Network\E)", {{"RemotePath", R"(no share)"}}},
                          {R"(Network\F)", {{"UserName", "ann"}}}}));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Mapped_Drives/"), ElementsAre("B.txt"));
  EXPECT_EQ(result.remarks().size(), 4U);
  EXPECT_EQ(result.remarks().front(), R"(share-not-kept \\server\R&D)");
}

TEST(Drives, HaveALetterForAName) {
  const windows::Disk disk;
  disk.add(hive_file, windows::hive({{R"(Network\../../x)", {{"RemotePath", R"(\\server\a)"}}},
                                     {R"(Network\ZZ)", {{"RemotePath", R"(\\server\b)"}}},
                                     {R"(Network\Z)", {{"RemotePath", R"(\\server\c)"}}}}));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Mapped_Drives/"), ElementsAre("Z.txt"));
  EXPECT_THAT(result.remarks(), ElementsAre(R"(share-not-kept \\server\a)", R"(share-not-kept \\server\b)"));
}

TEST(Fonts, OfAllPeopleAreShared) {
  const windows::Disk disk;
  const std::string place = "/AppData/Local/Microsoft/Windows/Fonts/";
  disk.add("Users/Ann" + place + "one.ttf", "12");
  disk.add("Users/Ann" + place + "two.ttf", "1");
  disk.add("Users/Bob" + place + "one.ttf", "12");
  disk.add("Users/Bob" + place + "two.ttf", "123");
  disk.add("Users/Bob" + place + "three.otf");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Fonts/"),
              UnorderedElementsAre("one.ttf", "two.ttf", "2 two.ttf", "three.otf"));
  EXPECT_EQ(result.content.at("Brindle/Fonts/two.ttf"), "1");
  EXPECT_EQ(result.people.back().tally.count(pack::Kind::fonts).packed, 4U);
}

// DEVMODEW: words at fixed places, and bits for those that count.
std::string dev_mode(std::uint32_t fields, const std::vector<std::pair<std::size_t, int>>& words,
                     int size = 220) {
  std::string bytes(220, '\0');
  const auto put = [&](std::size_t at, int value) {
    bytes[at] = static_cast<char>(value);
    bytes[at + 1] = static_cast<char>(value >> 8);
  };
  put(68, size);
  put(72, static_cast<int>(fields & 0xFFFF));
  put(74, static_cast<int>(fields >> 16));
  for (const auto& [at, value] : words) put(at, value);
  return bytes;
}

constexpr const char* printers_key = R"(ControlSet002\Control\Print\Printers)";
using windows::Value;

windows::Keys machine_with(const std::vector<std::tuple<std::string, std::string, std::string>>& printers,
                           const std::string& mode = "") {
  windows::Keys keys{
      {"Select", {{"Current", "2", Value::dword}}},
      {R"(ControlSet001\Control\Print\Printers\Old)", {{"Port", "LPT1:"}, {"Printer Driver", "Old"}}}};
  for (const auto& [name, driver, port] : printers)
    keys[std::string(printers_key) + "\\" + name] = {
        {"Port", port}, {"Printer Driver", driver}, {"Default DevMode", mode, Value::binary}};
  return keys;
}

void add_machine(const windows::Disk& disk, const windows::Keys& keys) {
  disk.add("Windows/System32/config/SYSTEM", windows::hive(keys));
}

TEST(Printers, HaveTheirSettings) {
  const windows::Disk disk;
  const std::string mode =
      dev_mode(0x1 | 0x2 | 0x4 | 0x8 | 0x10 | 0x400 | 0x800 | 0x1000 | 0x2000,
               {{76, 2}, {78, 256}, {80, 2540}, {82, 1270}, {84, 50}, {90, -2}, {92, 2}, {94, 3}, {96, 600}});
  add_machine(disk, machine_with({{"Office", "HP LaserJet  4050 Series", "USB003"}}, mode));
  disk.add_folder("Users/Ann");
  const auto result = pack_disk(disk.path());
  ASSERT_THAT(result.files_below("Brindle/Printers/"), ElementsAre("HPLaserJet4050Series.txt"));
  EXPECT_EQ(result.content.at("Brindle/Printers/HPLaserJet4050Series.txt"),
            "Orientation=DMORIENT_LANDSCAPE\r\n"
            "Paper Size=DMPAPER_USER\r\n"
            "Paper Width=360\r\n"
            "Paper Length=720\r\n"
            "Scale=50\r\n"
            "Print Quality=DMRES_LOW\r\n"
            "Color=DMCOLOR_COLOR\r\n"
            "Duplex=DMDUP_HORIZONTAL\r\n"
            "Y-Resolution=600\r\n"
            "Port Name=USB001\r\n"
            "Driver Name=HP LaserJet 4050 Series\r\n"
            "Driver Name Wo Spaces=HPLaserJet4050Series\r\n"
            "Printer Name=HPLaserJet4050Series\r\n");
}

TEST(Printers, SettingsThatDoNotCountAreTheUsualOnes) {
  const windows::Disk disk;
  add_machine(disk, machine_with({{"Office", "D", "LPT1:"}},
                                 dev_mode(0x2, {{76, 2}, {78, 8}, {92, 2}, {94, 2}, {96, 600}})));
  disk.add_folder("Users/Ann");
  const std::string text = pack_disk(disk.path()).content.at("Brindle/Printers/D.txt");
  EXPECT_TRUE(text.starts_with("Orientation=DMORIENT_PORTRAIT\r\nPaper Size=DMPAPER_A3\r\n")) << text;
  EXPECT_THAT(text,
              testing::HasSubstr("Color=DMCOLOR_MONOCHROME\r\nDuplex=DMDUP_SIMPLEX\r\nY-Resolution=300\r\n"));
}

TEST(Printers, SettingsAreReadNoFurtherThanTheyGo) {
  for (const std::string& mode :
       {dev_mode(0x3, {{76, 2}, {78, 8}}, 78), dev_mode(0x3, {{76, 2}, {78, 8}}).substr(0, 78)}) {
    const windows::Disk disk;
    add_machine(disk, machine_with({{"Office", "D", "LPT1:"}}, mode));
    disk.add_folder("Users/Ann");
    EXPECT_TRUE(pack_disk(disk.path())
                    .content.at("Brindle/Printers/D.txt")
                    .starts_with("Orientation=DMORIENT_LANDSCAPE\r\nPaper Size=DMPAPER_A4\r\n"));
  }
}

TEST(Printers, PortsGetTheirForms) {
  const windows::Disk disk;
  windows::Keys keys = machine_with({{"a", "A", "LPT1:"},
                                     {"b", "B", "LPT2:"},
                                     {"c", "C", "USB001"},
                                     {"d", "D", R"(\\server\queue)"},
                                     {"e", "E", "IP_10.0.0.5"},
                                     {"f", "F", "raw"},
                                     {"g", "G", "http://host:631/printers/g"},
                                     {"h", "H", "WSD-1c852a4d.0034"},
                                     {"i", "I", "COM1:"},
                                     {"j", "J", "PORTPROMPT:"},
                                     {"k", "K", "SHRFAX:"},
                                     {"l", "L", "nul:"}});
  const std::string ports = R"(ControlSet002\Control\Print\Monitors\Standard TCP/IP Port\Ports\)";
  keys[ports + "IP_10.0.0.5"] = {
      {"HostName", "ACC.example"}, {"Protocol", "2", Value::dword}, {"Queue", "lp1"}};
  keys[ports + "raw"] = {{"IPAddress", "10.0.0.6"}, {"Protocol", "1", Value::dword}, {"Queue", "lp1"}};
  keys[R"(ControlSet002\Enum\SWD\DAFWSDProvider\urn:uuid:1c852a4d)"] = {
      {"LocationInformation", "http://10.0.0.7:5357/x"}};
  add_machine(disk, keys);
  disk.add("Users/Ann/NTUSER.DAT", windows::hive({}));
  disk.add("Windows/System32/config/SOFTWARE", windows::hive({}));
  const auto result = pack_disk(disk.path());
  std::string ports_written;
  for (const std::string& file : result.files_below("Brindle/Printers/")) {
    const std::string text = result.content.at("Brindle/Printers/" + file);
    const std::size_t begin = text.find("Port Name=");
    ports_written += file + " " + text.substr(begin + 10, text.find('\r', begin) - begin - 10) + "\n";
  }
  EXPECT_EQ(ports_written,
            "A.txt LPT1\nB.txt LPT2\nC.txt USB001\nD.txt //server/queue\nE.txt acc.example:lp1\n"
            "F.txt http://10.0.0.6:631/ipp/print\nG.txt http://host:631/printers/g\n"
            "H.txt http://10.0.0.7:631/ipp/print\n");
  EXPECT_THAT(result.remarks(),
              ElementsAre("port-not-kept i", "windows-own j", "windows-own k", "windows-own l"));
}

TEST(Printers, TheDefaultOneHasItsName) {
  const windows::Disk disk;
  add_machine(disk, machine_with({{"First", "A", "LPT1:"}, {"Second, big", "B", "LPT2:"}}));
  disk.add(hive_file, windows::hive({{R"(Software\Microsoft\Windows NT\CurrentVersion\Windows)",
                                      {{"Device", "Second, big,winspool,LPT2:"}}}}));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Printers/"), UnorderedElementsAre("A.txt", "Default.txt"));
  EXPECT_THAT(result.content.at("Brindle/Printers/Default.txt"), testing::HasSubstr("\r\nDriver Name=B\r\n"));
}

TEST(Printers, EachOfSeveralPeopleHasADefaultOne) {
  const windows::Disk disk;
  const auto device = [](const std::string& name) {
    return windows::hive(
        {{R"(Software\Microsoft\Windows NT\CurrentVersion\Windows)", {{"Device", name + ",winspool,x"}}}});
  };
  add_machine(disk, machine_with({{"First", "A", "LPT1:"}, {"Second", "A", "LPT2:"}}));
  disk.add("Users/Ann/NTUSER.DAT", device("Second"));
  disk.add("Users/Bob/NTUSER.DAT", device("First"));
  disk.add("Users/Cid/NTUSER.DAT", device("Gone"));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Printers/"), UnorderedElementsAre("A.txt", "A-2.txt"));
  EXPECT_THAT(result.content.at("Brindle/Profiles/ann/Printers/Default.txt"),
              testing::HasSubstr("Printer Name=A-2\r\n"));
  EXPECT_THAT(result.content.at("Brindle/Profiles/bob/Printers/Default.txt"),
              testing::HasSubstr("Printer Name=A\r\n"));
  EXPECT_FALSE(result.content.contains("Brindle/Profiles/cid/Printers/Default.txt"));
  EXPECT_EQ(result.people.back().person.shown, "This computer");
  EXPECT_EQ(result.people.back().tally.count(pack::Kind::printers).packed, 2U);
}

TEST(Printers, OfTheNetworkComeFromAllPeopleAndOnce) {
  const windows::Disk disk;
  disk.add("Users/Ann/NTUSER.DAT", windows::hive({{R"(Printers\Connections\,,server,laser)", {}},
                                                  {R"(Printers\Connections\,,server,ink)", {}}}));
  disk.add("Users/Bob/NTUSER.DAT", windows::hive({{R"(Printers\Connections\,,server,laser)", {}}}));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Printers/"), UnorderedElementsAre("laser.txt", "ink.txt"));
  EXPECT_THAT(result.content.at("Brindle/Printers/laser.txt"),
              testing::HasSubstr("Port Name=//server/laser\r\n"));
}

TEST(Printers, ADriversNameThatHoldsAKeyHidesNothing) {
  const windows::Disk disk;
  add_machine(disk, machine_with({{"x", "Epson Stylus Color 640 Duplex", "LPT1:"}}));
  disk.add_folder("Users/Ann");
  const std::string text =
      pack_disk(disk.path()).content.at("Brindle/Printers/EpsonStylusColor640Duplex.txt");
  for (const char* key : {"Color", "Duplex"})
    EXPECT_TRUE(text.substr(text.rfind('\n', text.find(key)) + 1).starts_with(std::string(key) + "=")) << key;
}

TEST(Printers, NamesOfQueuesAndLinesFit) {
  const windows::Disk disk;
  add_machine(disk, machine_with({{"x", "Ä/b #c 'd' 1 2 3 4 5 6 7 8 9 " + std::string(200, 'x'), "LPT1:"},
                                  {"y", std::string(300, 'y'), "LPT1:"}}));
  disk.add_folder("Users/Ann");
  const auto result = pack_disk(disk.path());
  for (const std::string& file : result.files_below("Brindle/Printers/")) {
    EXPECT_EQ(file.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-"),
              std::string::npos)
        << file;
    const std::string text = result.content.at("Brindle/Printers/" + file);
    for (std::size_t begin = 0, end = 0; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1)
      EXPECT_LE(end + 1 - begin, 127U) << text.substr(begin, end - begin);
  }
  EXPECT_EQ(result.files_below("Brindle/Printers/").size(), 2U);
}

}  // namespace
