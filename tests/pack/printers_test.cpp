#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pack/recorded.h"
#include "pack/windows_disk.h"

namespace {

using recorded::pack_disk;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;
using windows::Value;

constexpr const char* hive_file = "Users/Ann/NTUSER.DAT";
constexpr const char* devices_key = R"(ControlSet001\Enum\SWD\DAFWSDProvider\)";
constexpr const char* ports_key = R"(ControlSet001\Control\Print\Monitors\WSD Port\Ports\)";
constexpr const char* tcp_key = R"(ControlSet001\Control\Print\Monitors\Standard TCP/IP Port\Ports\)";

struct Printer {
  std::string name;
  std::string driver;
  std::string port;
  std::string mode{};
};

windows::Keys machine_with(const std::vector<Printer>& printers) {
  windows::Keys keys{{"Select", {{"Current", "1", Value::dword}}}};
  for (const auto& [name, driver, port, mode] : printers)
    keys[R"(ControlSet001\Control\Print\Printers\)" + name] = {
        {"Port", port}, {"Printer Driver", driver}, {"Default DevMode", mode, Value::binary}};
  return keys;
}

// A disk of one person.
recorded::Result packed(const windows::Keys& machine, const windows::Keys& person = {{"Network", {}}}) {
  const windows::Disk disk;
  disk.add("Windows/System32/config/SYSTEM", windows::hive(machine));
  disk.add("Windows/System32/config/SOFTWARE", windows::hive({}));
  disk.add(hive_file, windows::hive(person));
  return pack_disk(disk.path());
}

std::string line_of(const recorded::Result& result, const std::string& file, const std::string& key) {
  const std::string text = "\r\n" + result.content.at("Brindle/Printers/" + file + ".txt");
  const std::size_t begin = text.find("\r\n" + key + "=") + key.size() + 3;
  return text.substr(begin, text.find("\r\n", begin) - begin);
}

// DEVMODEW that sets the orientation alone.
std::string mode_with(int orientation) {
  std::string bytes(220, '\0');
  bytes[68] = static_cast<char>(220);
  bytes[72] = 1;
  bytes[76] = static_cast<char>(orientation);
  return bytes;
}
constexpr const char* landscape = "DMORIENT_LANDSCAPE";
constexpr const char* portrait = "DMORIENT_PORTRAIT";

TEST(Printers, OfTheNetworkThatTellOfThemselvesHaveTheirOwnAddresses) {
  windows::Keys keys = machine_with({{"own", "Own", "WSD-1c852a4d-b800.0034"},
                                     {"monitor", "Monitor", "WSD-77777777-0000"},
                                     {"part", "Part", "WSD-22222222"},
                                     {"unknown", "Unknown", "WSD-99999999"},
                                     {"short", "Short", "WSD-4d"},
                                     {"nowhere", "Nowhere", "WSD-88888888"}});
  keys[std::string(ports_key) + "WSD-77777777-0000"] = {{"Printer UUID", "urn:uuid:AAAAAAAA-bbbb/print"},
                                                        {"Number", "1", Value::dword}};
  keys[std::string(devices_key) + "urn:uuid:00000000-0000"] = {
      {"LocationInformation", "http://10.0.0.1:80/x"}};
  keys[std::string(devices_key) + "urn:uuid:1C852A4D-B800"] = {
      {"LocationInformation", "http://10.0.0.2:80/x"}};
  keys[std::string(devices_key) + "urn:uuid:222222221-4d"] = {
      {"LocationInformation", "http://10.0.0.3:80/x"}};
  keys[std::string(devices_key) + "urn:uuid:aaaaaaaa-bbbb"] = {
      {"LocationInformation", "HTTP://Laser.Example/x"}};
  keys[std::string(devices_key) + "urn:uuid:88888888"] = {{"LocationInformation", "file:///etc"}};
  const auto result = packed(keys);
  EXPECT_THAT(result.files_below("Brindle/Printers/"), UnorderedElementsAre("Own.txt", "Monitor.txt"));
  EXPECT_EQ(line_of(result, "Own", "Port Name"), "http://10.0.0.2:631/ipp/print");
  EXPECT_EQ(line_of(result, "Monitor", "Port Name"), "http://laser.example:631/ipp/print");
  EXPECT_THAT(result.remarks(), UnorderedElementsAre("port-not-kept nowhere", "port-not-kept part",
                                                     "port-not-kept short", "port-not-kept unknown"));
}

TEST(Printers, PortsThatWouldBreakTheirLineAreTold) {
  const std::string longest = "http://" + std::string(107, 'h');
  const std::string longest_share = R"(\\s\)" + std::string(110, 'q');
  windows::Keys keys = machine_with({{"a", "A", "http://host/a\r\nDriver Name=x"},
                                     {"b", "B", "http://host/a b"},
                                     {"c", "C", longest},
                                     {"d", "D", longest + "h"},
                                     {"e", "E", "\\\\server\\a\nb"},
                                     {"f", "F", longest_share},
                                     {"g", "G", longest_share + "q"},
                                     {"h", "H", R"(\\server\a b)"},
                                     {"i", "I", R"(\\server)"},
                                     {"j", "J", R"(\\server\a:b)"},
                                     {"k", "K", "tcp"},
                                     {"l", "L", "long"},
                                     {"m", "M", "http://host/'`x`'"},
                                     {"n", "N", ""},
                                     {"o", "O", "HTTP://Host/a"}});
  keys[std::string(tcp_key) + "tcp"] = {
      {"HostName", "h"}, {"Protocol", "2", Value::dword}, {"Queue", "a\nb"}};
  keys[std::string(tcp_key) + "long"] = {
      {"HostName", "h"}, {"Protocol", "2", Value::dword}, {"Queue", std::string(200, 'q')}};
  const auto result = packed(keys);
  EXPECT_THAT(result.files_below("Brindle/Printers/"),
              UnorderedElementsAre("C.txt", "F.txt", "H.txt", "O.txt"));
  EXPECT_EQ(line_of(result, "C", "Port Name"), longest);
  EXPECT_EQ(("Port Name=" + longest + "\r\n").size(), 126U);
  EXPECT_EQ(line_of(result, "H", "Port Name"), "//server/a b");
  EXPECT_EQ(line_of(result, "O", "Port Name"), "http://Host/a") << "in the letters that a run looks for";
  EXPECT_EQ(result.remarks().size(), 11U);
}

TEST(Printers, ConnectionsThatWouldBreakTheirLineAreTold) {
  const auto result = packed({{"Select", {{"Current", "1", Value::dword}}}, {"ControlSet001", {}}},
                             {{R"(Printers\Connections\,,server,)" + std::string(120, 'q'), {}},
                              {R"(Printers\Connections\,,server)", {}},
                              {R"(Printers\Connections\,,server,ink)", {}}});
  EXPECT_THAT(result.files_below("Brindle/Printers/"), ElementsAre("ink.txt"));
  EXPECT_THAT(result.remarks(), UnorderedElementsAre("port-not-kept ,,server," + std::string(120, 'q'),
                                                     "port-not-kept ,,server"));
}

TEST(Printers, NamesOfDriversEndWithAWholeCharacter) {
  std::string umlauts;
  for (int i = 0; i < 60; ++i) umlauts += "ä";
  const auto result = packed(machine_with({{"x", "a" + umlauts, "LPT1:"}, {"y", umlauts, "LPT1:"}}));
  const auto files = result.files_below("Brindle/Printers/");
  ASSERT_EQ(files.size(), 2U);
  for (const std::string& file : files) {
    const std::string driver = line_of(result, file.substr(0, file.size() - 4), "Driver Name");
    EXPECT_GE(driver.size(), 97U);
    EXPECT_LE(driver.size(), 98U);
    EXPECT_TRUE(g_utf8_validate(driver.data(), static_cast<gssize>(driver.size()), nullptr)) << driver;
  }
}

TEST(Printers, WithoutADriverHaveAName) {
  const auto result = packed(machine_with({{"Office", "", "LPT1:"}, {"Hall", " \t", "LPT2:"}}));
  EXPECT_THAT(result.files_below("Brindle/Printers/"), UnorderedElementsAre("Office.txt", "Hall.txt"));
  EXPECT_EQ(line_of(result, "Office", "Driver Name"), "Office");
  EXPECT_EQ(line_of(result, "Hall", "Driver Name Wo Spaces"), "Hall");
  EXPECT_EQ(packed(machine_with({{" ", "", "LPT1:"}})).files_below("Brindle/Printers/"),
            std::vector<std::string>{"Printer.txt"});
}

TEST(Printers, ADriverCalledDefaultMakesNoDefaultPrinter) {
  const auto result = packed(
      machine_with({{"First", "Default", "LPT1:"}, {"Second", "default", "LPT2:"}, {"Third", "A", "LPT1:"}}),
      {{R"(Software\Microsoft\Windows NT\CurrentVersion\Windows)", {{"Device", "Third,winspool,LPT1:"}}}});
  EXPECT_THAT(result.files_below("Brindle/Printers/"),
              UnorderedElementsAre("Default-2.txt", "default-3.txt", "Default.txt"));
  EXPECT_EQ(line_of(result, "Default", "Driver Name"), "A");
  EXPECT_EQ(line_of(result, "Default-2", "Driver Name"), "Default");
  EXPECT_EQ(line_of(result, "Default-2", "Driver Name Wo Spaces"), "Default-2");
}

TEST(Printers, NoTwoHaveOneQueue) {
  const auto result = packed(machine_with({{"a", "HP 1", "LPT1:"},
                                           {"b", "hp1", "LPT1:"},
                                           {"c", "HP#1", "LPT1:"},
                                           {"d", "HP_1", "LPT1:"},
                                           {"e", "HP1-2", "LPT1:"}}));
  EXPECT_THAT(result.files_below("Brindle/Printers/"),
              UnorderedElementsAre("HP1.txt", "hp1-2.txt", "HP_1.txt", "HP_1-2.txt", "HP1-2-2.txt"))
      << "CUPS takes no notice of upper and lower case";
}

TEST(Printers, OnlyOneIsTheDefaultOne) {
  const auto result = packed(
      machine_with({{"Straße", "A", "LPT1:"}, {"STRASSE", "B", "LPT2:"}}),
      {{R"(Software\Microsoft\Windows NT\CurrentVersion\Windows)", {{"Device", "strasse,winspool,LPT1:"}}}});
  EXPECT_EQ(result.files_below("Brindle/Printers/").size(), 2U);
  EXPECT_THAT(result.files_below("Brindle/Printers/"), testing::Contains("Default.txt"));
}

TEST(Printers, SettingsOfOnesOwnGoBeforeTheMachines) {
  const auto orientation_with = [](const windows::Keys& person) {
    return line_of(packed(machine_with({{"Office", "A", "LPT1:", mode_with(1)}}), person), "A",
                   "Orientation");
  };
  const Value own{"Office", mode_with(2), Value::binary};
  EXPECT_EQ(orientation_with({{"Printers", {}}}), portrait);
  EXPECT_EQ(orientation_with({{R"(Printers\DevModePerUser)", {own}}}), landscape);
  EXPECT_EQ(orientation_with({{R"(Printers\DevModes2)", {own}}}), landscape);
  EXPECT_EQ(orientation_with({{R"(Printers\DevModePerUser)", {{"Office", mode_with(1), Value::binary}}},
                              {R"(Printers\DevModes2)", {own}}}),
            portrait);
  EXPECT_EQ(orientation_with({{R"(Printers\DevModePerUser)", {{"Other", mode_with(2), Value::binary}}}}),
            portrait);
  for (const std::size_t size : {0U, 75U, 219U})
    EXPECT_EQ(orientation_with({{R"(Printers\DevModePerUser)",
                                 {{"Office", mode_with(2).substr(0, size), Value::binary}}}}),
              portrait)
        << "one that is cut is none";
}

TEST(Printers, OfTheNetworkHaveSettingsOfOnesOwn) {
  const auto result =
      packed({{"Select", {{"Current", "1", Value::dword}}}, {"ControlSet001", {}}},
             {{R"(Printers\Connections\,,server,ink)", {}},
              {R"(Printers\DevModePerUser)", {{R"(\\server\ink)", mode_with(2), Value::binary}}}});
  EXPECT_EQ(line_of(result, "ink", "Orientation"), landscape);
}

TEST(Printers, OfSeveralPeopleHaveEachOnesSettingsInTheirDefault) {
  const windows::Disk disk;
  disk.add("Windows/System32/config/SYSTEM",
           windows::hive(machine_with({{"Office", "A", "LPT1:", mode_with(1)}})));
  const std::string device = R"(Software\Microsoft\Windows NT\CurrentVersion\Windows)";
  disk.add("Users/Ann/NTUSER.DAT",
           windows::hive({{device, {{"Device", "Office,winspool,LPT1:"}}},
                          {R"(Printers\DevModePerUser)", {{"Office", mode_with(2), Value::binary}}}}));
  disk.add("Users/Bob/NTUSER.DAT", windows::hive({{device, {{"Device", "Office,winspool,LPT1:"}}}}));
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(line_of(result, "A", "Orientation"), portrait) << "what all share is the machine's";
  EXPECT_THAT(result.content.at("Brindle/Profiles/ann/Printers/Default.txt"), HasSubstr(landscape));
  EXPECT_THAT(result.content.at("Brindle/Profiles/bob/Printers/Default.txt"), HasSubstr(portrait));
}

TEST(Printers, OfTheNetworkAreOneInUpperAndLowerCase) {
  const windows::Disk disk;
  disk.add("Windows/System32/config/SYSTEM",
           windows::hive(machine_with({{"Local", "A", R"(\\SERVER\local)"}})));
  disk.add("Users/Ann/NTUSER.DAT", windows::hive({{R"(Printers\Connections\,,server,Laser)", {}},
                                                  {R"(Printers\Connections\,,server,Local)", {}}}));
  disk.add("Users/Bob/NTUSER.DAT", windows::hive({{R"(Printers\Connections\,,Server,laser)", {}}}));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Printers/"), UnorderedElementsAre("A.txt", "Laser.txt"));
}

TEST(Printers, OfSomebodyWhoIsNotPackedStay) {
  const windows::Disk disk;
  disk.add("Users/Ann/NTUSER.DAT", windows::hive({{R"(Printers\Connections\,,server,laser)", {}}}));
  disk.add("Users/Bob/NTUSER.DAT", windows::hive({{R"(Printers\Connections\,,server,secret)", {}}}));
  pack::Options options;
  options.users = {"Ann"};
  EXPECT_THAT(pack_disk(disk.path(), options).files_below("Brindle/Printers/"), ElementsAre("laser.txt"));
}

}  // namespace
