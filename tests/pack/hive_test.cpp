#include "pack/registry/hive.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <map>

#include "pack/disk/folder_tree.h"
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

TEST(Hive, ThatIsNoneOrEndlessIsToldAndReadNoFurther) {
  const windows::Disk disk;
  const std::string path = disk.add("Users/Ann/NTUSER.DAT", windows::hive({}));
  ASSERT_EQ(truncate(path.c_str(), 40'000'000'000), 0);
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

}  // namespace
