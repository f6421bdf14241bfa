#include "pack/registry/hive.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <map>

#include "pack/disk/folder_tree.h"
#include "pack/ntfs_image.h"
#include "pack/pack.h"
#include "pack/recorded.h"
#include "pack/windows_disk.h"
#include "support/commands.h"

namespace {

// Another volume that counts how often each file is opened.
class Counting : public pack::Tree {
 public:
  Counting(const std::string& folder, std::map<std::string, int>& opened)
      : tree_(pack::folder_tree(folder)), opened_(opened) {}
  std::vector<pack::Entry> list(const std::string& folder) const override { return tree_->list(folder); }
  std::unique_ptr<pack::Content> open(const std::string& file) const override {
    ++opened_[file];
    return tree_->open(file);
  }

 private:
  std::unique_ptr<pack::Tree> tree_;
  std::map<std::string, int>& opened_;
};

TEST(Hive, OfEachPersonIsReadTwiceWhoeverElseThereIs) {
  const windows::Disk windows;
  for (int i = 0; i < 6; ++i)
    windows.add("Users/Person " + std::to_string(i) + "/NTUSER.DAT",
                windows::hive({{R"(Printers\Connections\,,server,laser)", {}}}));
  std::map<std::string, int> opened;
  const pack::Disk disk(std::make_unique<Counting>(windows.path(), opened));
  pack::Options options;
  options.source = windows.path();
  recorded::Parcel parcel;
  pack::pack_all(parcel, disk, pack::chosen_people(disk, options), options);
  EXPECT_EQ(parcel.content.count("Brindle/Printers/laser.txt"), 1U);
  EXPECT_EQ(opened.size(), 6U);
  for (const auto& [file, times] : opened) EXPECT_LE(times, 2) << file;
}

// A copy of more than a hive can be has no room here, and would end the program.
void allow_files_of(rlim_t size) {
  std::signal(SIGXFSZ, SIG_IGN);
  const rlimit limit{size, size};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
}

TEST(Hive, ThatIsNoneOrEndlessIsToldAndReadNoFurther) {
  const windows::Disk disk;
  const std::string path = disk.add("Users/Ann/NTUSER.DAT", windows::hive({}));
  ASSERT_EQ(truncate(path.c_str(), 40'000'000'000), 0);
  allow_files_of(300'000'000);
  EXPECT_THAT(recorded::pack_disk(disk.path()).remarks(),
              testing::ElementsAre("registry-unreadable Users/Ann/NTUSER.DAT"));
}

TEST(Hive, ThatHasNoRoomHereIsNotCalledUnreadable) {
  const windows::Disk disk;
  const std::string path = disk.add("Users/Ann/NTUSER.DAT", windows::hive({}));
  ASSERT_EQ(truncate(path.c_str(), 200'000), 0);
  ASSERT_EQ(output_of("mkdir -p /mnt/small && mount -t tmpfs -o size=64k none /mnt/small && echo done"),
            "done\n");
  setenv("TMPDIR", "/mnt/small", 1);
  EXPECT_THROW(recorded::pack_disk(disk.path()), std::runtime_error);
}

// ---- Damage

constexpr std::size_t first_page = 4096;  // the hive's places begin behind its head

std::uint32_t number_at(const std::string& bytes, std::size_t place) {
  std::uint32_t number = 0;
  for (std::size_t byte = 4; byte > 0; --byte)
    number = number << 8 | static_cast<unsigned char>(bytes[place + byte - 1]);
  return number;
}

// Where the key of that name begins ("nk"), or the value ("vk"), of which there is one.
std::size_t place_of(const std::string& hive, const std::string& kind, const std::string& name) {
  const std::size_t head = kind == "nk" ? 76 : 20;
  const std::size_t size = kind == "nk" ? 72 : 2;
  for (std::size_t at = 0; (at = hive.find(name, at)) != std::string::npos; ++at)
    if (hive.compare(at - head, 2, kind) == 0 && (number_at(hive, at - head + size) & 0xFFFF) == name.size())
      return at - head;
  ADD_FAILURE() << name << " is not there";
  return 0;
}

struct Damage {
  const char* what;
  std::size_t place;
  std::string bytes;
};

// Of a key with a value in it.
std::vector<Damage> damages_of(const std::string& hive, const std::string& above, const std::string& value,
                               const std::string& name = "Zed") {
  const std::string nowhere("\xF0\xFF\xFF\x00", 4);
  const std::size_t key = place_of(hive, "nk", name);
  return {{"the key", key, "xx"},
          {"the list of keys it stands in",
           first_page + number_at(hive, place_of(hive, "nk", above) + 28) + 4, "xx"},
          {"the place of that list", place_of(hive, "nk", above) + 28, nowhere},
          {"the list of values", key + 40, nowhere},
          {"the value", place_of(hive, "vk", value), "xx"},
          {"the place of its bytes", place_of(hive, "vk", value) + 8, nowhere}};
}

TEST(DamagedHives, AreTold) {
  const std::string whole = windows::hive({{R"(Network\Zed)", {{"RemotePath", R"(\\server\share)"}}},
                                           {R"(Network\Zed\More)", {}},
                                           {R"(Control Panel\Desktop)", {{"WallpaperStyle", "2"}}}});
  for (const auto& [what, place, bytes] : damages_of(whole, "Network", "RemotePath")) {
    const windows::Disk disk;
    std::string hive = whole;
    hive.replace(place, bytes.size(), bytes);
    disk.add("Users/Ann/NTUSER.DAT", hive);
    const auto result = recorded::pack_disk(disk.path());
    EXPECT_THAT(result.remarks(), testing::Contains("registry-damaged Users/Ann/NTUSER.DAT")) << what;
    EXPECT_TRUE(result.people.front().tally.has_losses());
  }
}

TEST(DamagedHives, OfTheMachineAreTold) {
  const std::string whole = windows::hive({{"Select", {{"Current", "1", windows::Value::dword}}},
                                           {R"(ControlSet001\Control\Print\Printers\Zed)",
                                            {{"Port", "LPT1:"}, {"Printer Driver", "Zed driver"}}}});
  for (const auto& [what, place, bytes] : damages_of(whole, "Printers", "Printer Driver")) {
    const windows::Disk disk;
    disk.add_folder("Users/Ann");
    std::string hive = whole;
    hive.replace(place, bytes.size(), bytes);
    disk.add("Windows/System32/config/SYSTEM", hive);
    EXPECT_THAT(recorded::pack_disk(disk.path()).remarks(),
                testing::Contains("registry-damaged Windows/System32/config/SYSTEM"))
        << what;
  }
}

// A key that is asked for, what it stands in, and one of its values.
struct Asked {
  const char* above;
  const char* key;
  const char* value;
};

std::vector<std::string> remarks_with(const std::string& system, const std::string& software) {
  static const std::string of_person = windows::hive({});
  const windows::Disk disk;
  disk.add("Users/Ann/NTUSER.DAT", of_person);
  disk.add("Windows/System32/config/SYSTEM", system);
  disk.add("Windows/System32/config/SOFTWARE", software);
  const auto result = recorded::pack_disk(disk.path());
  EXPECT_EQ(result.people.front().tally.has_losses(), !result.remarks().empty());
  return result.remarks();
}

std::string whole_system() {
  return windows::hive({{"Select", {{"Current", "1", windows::Value::dword}}},
                        {R"(ControlSet001\Control\Nls\CodePage)", {{"ACP", "1252"}}},
                        {R"(ControlSet001\Control\Print\Printers)", {}},
                        {R"(ControlSet001\Control\TimeZoneInformation)",
                         {{"TimeZoneKeyName", "Zed"}, {"StandardName", "Zed's time"}}}});
}

std::string whole_software() {
  const std::string windows = R"(Microsoft\Windows NT\CurrentVersion)";
  return windows::hive({{windows + "\\ProfileList", {{"ProfilesDirectory", R"(C:\Users)"}}},
                        {windows + "\\Fonts", {{"Garden", "garden.ttf"}}},
                        {windows + R"(\Time Zones\Zed Standard Time)", {{"Std", "Zed's time"}}}});
}

// By the machine, and by its printers as well.
TEST(DamagedHives, OfTheMachinesSettingsAreToldOnce) {
  const std::string system = whole_system();
  const std::string software = whole_software();
  EXPECT_THAT(remarks_with(system, software), testing::IsEmpty());
  for (const auto& [above, key, value] :
       {Asked{"Nls", "CodePage", "ACP"}, Asked{"Control", "TimeZoneInformation", "TimeZoneKeyName"},
        Asked{"Control", "TimeZoneInformation", "StandardName"}})
    for (const auto& [what, place, bytes] : damages_of(system, above, value, key)) {
      std::string hive = system;
      hive.replace(place, bytes.size(), bytes);
      EXPECT_THAT(remarks_with(hive, software),
                  testing::ElementsAre("registry-damaged Windows/System32/config/SYSTEM"))
          << what << " of " << value;
    }
}

TEST(DamagedHives, OfTheMachinesProgramsAreToldOnce) {
  const std::string system = whole_system();
  const std::string software = whole_software();
  for (const auto& [above, key, value] :
       {Asked{"CurrentVersion", "ProfileList", "ProfilesDirectory"},
        Asked{"CurrentVersion", "Fonts", "Garden"}, Asked{"Time Zones", "Zed Standard Time", "Std"}})
    for (const auto& [what, place, bytes] : damages_of(software, above, value, key)) {
      std::string hive = software;
      hive.replace(place, bytes.size(), bytes);
      EXPECT_THAT(remarks_with(system, hive),
                  testing::ElementsAre("registry-damaged Windows/System32/config/SOFTWARE"))
          << what << " of " << value;
    }
}

TEST(DamagedHives, ThatHideAPartitionsLetterAreToldOnce) {
  const std::string letter = R"(\DosDevices\E:)";
  const std::string whole = windows::hive(
      {{"Select", {{"Current", "1", windows::Value::dword}}},
       {"MountedDevices", {{letter, "no partition's", windows::Value::binary}, {"other", "x"}}}});
  const std::string empty = windows::hive({});
  windows::NtfsImage data;
  data.add("Papers/a.txt");
  for (const auto& [what, place, bytes] : damages_of(whole, "$$$PROTO.HIV", letter, "MountedDevices")) {
    std::string hive = whole;
    hive.replace(place, bytes.size(), bytes);
    windows::NtfsImage system;
    system.add("Users/Ann/NTUSER.DAT", empty);
    system.add("Windows/System32/config/SYSTEM", hive);
    system.add("Windows/System32/config/SOFTWARE", empty);
    const std::string disk = windows::disk_with_mbr({{system.close()}, {data.close()}});
    const auto remarks = recorded::pack_disk(disk).remarks();
    EXPECT_THAT(remarks, testing::Contains("registry-damaged Windows/System32/config/SYSTEM").Times(1))
        << what;
    EXPECT_THAT(remarks, testing::Contains("other-partition " + disk + "#2")) << what;
  }
}

TEST(DamagedHives, OfPrintersInTheNetworkAreTold) {
  std::string hive = windows::hive({{R"(Printers\Connections\,,server,Zed)", {}}});
  hive.replace(place_of(hive, "nk", ",,server,Zed"), 2, "xx");
  const windows::Disk disk;
  disk.add("Users/Ann/NTUSER.DAT", hive);
  disk.add_folder("Users/Bob");
  const auto result = recorded::pack_disk(disk.path());
  EXPECT_EQ(result.people.back().tally.count(pack::Kind::printers, pack::Cause::registry_damaged), 1U);
}

// Of what is not there, of another type, or has a name with letters that take more room than elsewhere.
TEST(DamagedHives, AreNoneThatLackSomething) {
  const windows::Disk disk;
  std::string name;
  for (int i = 0; i < 60; ++i) name += "ä€";
  disk.add("Users/Ann/NTUSER.DAT",
           windows::hive(
               {{name, {{name, "x"}}},
                {"Network\\" + name, {{"RemotePath", "1", windows::Value::dword}, {name, "x"}}},
                {"Software\\" + name, {}},
                {R"(Software\Microsoft)", {}},
                {R"(Control Panel\Desktop)", {{name, "x"}, {"Wallpaper", "1", windows::Value::dword}}}}));
  EXPECT_THAT(recorded::pack_disk(disk.path()).remarks(),
              testing::Not(testing::Contains(testing::HasSubstr("registry-damaged"))));
}

}  // namespace
