// A folder of this machine as a volume.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <system_error>

#include "pack/disk/folder_tree.h"
#include "pack/disk/stop.h"
#include "pack/windows_disk.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using testing::ElementsAre;

std::vector<std::string> names_in(const pack::Tree& tree, const std::string& folder) {
  std::vector<std::string> names;
  const auto listing = tree.entries(folder);
  while (const auto entry = listing->next()) names.push_back(entry->name);
  return names;
}

std::size_t resident_memory() {
  std::ifstream file("/proc/self/statm");
  std::size_t all = 0;
  std::size_t pages = 0;
  file >> all >> pages;
  return pages * static_cast<std::size_t>(getpagesize());
}

// 60,000 files with names of 200 bytes, whose entries would take 20 MB at once.
constexpr std::size_t many = 60'000;
void add_many(const std::string& folder) {
  for (std::size_t i = 0; i < many; ++i) {
    // In another order than that of their names.
    const std::string name = std::to_string(i * 7919 % many) + std::string(195, 'n');
    ASSERT_EQ(mknod((folder + "/" + name).c_str(), S_IFREG | 0600, 0), 0);
  }
}

TEST(FolderTree, ListsAFolderOfAnySizeInOrderAndLittleMemory) {
#ifdef BRINDLE_ADDRESS_CHECKER
  GTEST_SKIP() << "the address checker's own memory would be counted";
#endif
  const windows::Disk disk;
  disk.add_folder("large");
  add_many(disk.path() + "/large");
  const auto tree = pack::folder_tree(disk.path());
  const std::size_t before = resident_memory();
  std::size_t most = 0;
  std::size_t count = 0;
  std::string last;
  const auto listing = tree->entries("large");
  while (const auto entry = listing->next()) {
    ASSERT_LT(last, entry->name);
    last = entry->name;
    ASSERT_EQ(entry->what, pack::What::file);
    if (++count % 1000 == 0) most = std::max(most, resident_memory());
  }
  EXPECT_EQ(count, many);
  EXPECT_LT(most, before + (std::size_t{16} << 20));
}

// Those above it hold their entries while it is listed.
TEST(FolderTree, ListsFoldersWithinFoldersInTheSameMemory) {
#ifdef BRINDLE_ADDRESS_CHECKER
  GTEST_SKIP() << "the address checker's own memory would be counted";
#endif
  const windows::Disk disk;
  disk.add_folder("large");
  add_many(disk.path() + "/large");
  const auto tree = pack::folder_tree(disk.path());
  const std::size_t before = resident_memory();
  std::vector<std::unique_ptr<pack::Listing>> above;
  for (int depth = 0; depth < 20; ++depth) above.push_back(tree->entries("large"));
  EXPECT_LT(resident_memory(), before + (std::size_t{32} << 20));
  for (const auto& listing : above) {
    std::size_t count = 1;
    while (count < 1000 && listing->next()) ++count;
    EXPECT_EQ(count, 1000U);
  }
}

TEST(FolderTree, ListsTheSameEitherWay) {
  const windows::Disk disk;
  disk.add("b", "12345");
  disk.add("a/x");
  std::filesystem::create_symlink("/etc", disk.path() + "/c");
  const auto tree = pack::folder_tree(disk.path());
  const auto whole = tree->list("");
  const auto listing = tree->entries("");
  for (const pack::Entry& entry : whole) {
    const auto other = listing->next();
    ASSERT_TRUE(other);
    EXPECT_EQ(other->name, entry.name);
    EXPECT_EQ(other->what, entry.what);
    EXPECT_EQ(other->size, entry.size);
    EXPECT_EQ(other->modified, entry.modified);
    EXPECT_EQ(other->gap, entry.gap);
  }
  EXPECT_FALSE(listing->next());
  EXPECT_EQ(whole.size(), 3U);
}

TEST(FolderTree, AFolderThatIsNoneCannotBeListed) {
  const windows::Disk disk;
  disk.add("file");
  const auto tree = pack::folder_tree(disk.path());
  EXPECT_THROW(tree->entries("file"), std::system_error);
  EXPECT_THROW(tree->entries("gone"), std::system_error);
}

TEST(FolderTree, FindsNamesWhateverTheirCase) {
  const windows::Disk disk;
  disk.add("Ärger/File.TXT", "1");
  disk.add("Ärger/file.txt", "12");
  disk.add("Ärger/straße", "123");
  const auto tree = pack::folder_tree(disk.path());
  EXPECT_EQ(pack::find(*tree, "", "äRGER/file.txt")->path, "Ärger/file.txt") << "as written goes first";
  EXPECT_EQ(pack::find(*tree, "", "ärger/FILE.txt")->path, "Ärger/File.TXT") << "else the first";
  EXPECT_EQ(pack::find(*tree, "Ärger", "STRAßE")->entry.size, 3U);
  EXPECT_FALSE(pack::find(*tree, "Ärger", "file.tx"));
  EXPECT_FALSE(pack::find(*tree, "Ärger", "file.txt2"));
}

TEST(FolderTree, LeadsNowhereElse) {
  const windows::Disk disk;
  disk.add("a/b");
  const auto tree = pack::folder_tree(disk.path() + "/a");
  for (const char* path : {"..", "../a/b", ".", "./b", "b/.."})
    EXPECT_FALSE(pack::find(*tree, "", path)) << path;
}

TEST(FolderTree, LeavesTheTimesOfReadingAlone) {
  const windows::Disk disk;
  disk.add("folder/file");
  ASSERT_EQ(output_of("mount -t tmpfs -o strictatime none /mnt && cp -a " + disk.path() +
                      "/. /mnt && "
                      "touch -a -d 2001-01-01 /mnt /mnt/folder /mnt/folder/file && echo done"),
            "done\n");
  const std::string look = "stat -c %x /mnt /mnt/folder /mnt/folder/file";
  const std::string before = output_of(look);
  const auto tree = pack::folder_tree("/mnt");
  EXPECT_THAT(names_in(*tree, ""), ElementsAre("folder"));
  EXPECT_EQ(tree->list("folder").size(), 1U);
  EXPECT_TRUE(pack::find(*tree, "", "FOLDER/file"));
  char byte = 0;
  EXPECT_EQ(tree->open("folder/file")->read(&byte, 1), 1U);
  EXPECT_EQ(output_of(look), before);
}

// What has no date on Windows has that of its clock's beginning.
TEST(FolderTree, ShowsFilesOfEveryDate) {
  ASSERT_EQ(output_of("mount -t tmpfs none /mnt && cd /mnt && touch -d '1601-01-01 UTC' first && "
                      "touch -d '2107-12-31 23:59:58 UTC' last && echo done"),
            "done\n");
  const auto tree = pack::folder_tree("/mnt");
  const std::vector<pack::Entry> entries = tree->list("");
  ASSERT_THAT(names_in(*tree, ""), ElementsAre("first", "last"));
  EXPECT_EQ(entries[0].modified, -11644473600);
  EXPECT_EQ(entries[1].modified, 4354819198);
  for (const pack::Entry& entry : entries) {
    EXPECT_EQ(entry.what, pack::What::file);
    EXPECT_FALSE(tree->open(entry.name)->has_changed());
  }
}

// Who may not ask for that reads all the same.
TEST(FolderTree, ReadsWhatIsAnothers) {
  const windows::Disk disk;
  disk.add("folder/file");
  ASSERT_EQ(output_of("chmod -R a+rX " + disk.path() + " && echo done"), "done\n");
  ASSERT_EQ(seteuid(65534), 0);
  const auto tree = pack::folder_tree(disk.path());
  char byte = 0;
  EXPECT_THAT(names_in(*tree, "folder"), ElementsAre("file"));
  EXPECT_EQ(tree->open("folder/file")->read(&byte, 1), 1U);
  ASSERT_EQ(seteuid(0), 0);
}

TEST(FolderTree, KnowsWhenAFileIsWrittenTo) {
  const windows::Disk disk;
  const std::string path = disk.add("a", "one");
  disk.add("b", "two");
  const auto tree = pack::folder_tree(disk.path());
  const auto grown = tree->open("a");
  const auto left_alone = tree->open("b");
  write_file(path, "longer");
  EXPECT_TRUE(grown->has_changed());
  EXPECT_FALSE(left_alone->has_changed());
  const auto rewritten = tree->open("a");
  write_file(path, "linger");
  EXPECT_TRUE(rewritten->has_changed());
}

TEST(FolderTree, StopsWhereverItIs) {
  const windows::Disk disk;
  disk.add("a");
  disk.add("b");
  const auto tree = pack::folder_tree(disk.path());
  const auto listing = tree->entries("");
  const auto content = tree->open("a");
  pack::ask_to_stop();
  char byte = 0;
  EXPECT_THROW(listing->next(), pack::Interrupted);
  EXPECT_THROW(content->read(&byte, 1), pack::Interrupted);
  EXPECT_THROW(tree->list(""), pack::Interrupted);
  EXPECT_THROW(tree->open("a"), pack::Interrupted);
  EXPECT_THROW(pack::find(*tree, "", "a"), pack::Interrupted);
}

TEST(SameNames, AreThoseThatWindowsTakesForOne) {
  EXPECT_TRUE(pack::is_same_name("Users", "USERS"));
  EXPECT_TRUE(pack::is_same_name("", ""));
  EXPECT_TRUE(pack::is_same_name("\u00c4pfel", "\u00e4PFEL"));
  EXPECT_TRUE(pack::is_same_name("Stra\u00dfe", "strasse"));
  EXPECT_TRUE(pack::is_same_name("strasse", "Stra\u00dfe"));
  EXPECT_TRUE(pack::is_same_name("\u212a", "k"));
  EXPECT_TRUE(pack::is_same_name("A\xff", "A\xff"));
}

TEST(SameNames, AreNoOthers) {
  EXPECT_FALSE(pack::is_same_name("Users", "User"));
  EXPECT_FALSE(pack::is_same_name("User", "Users"));
  EXPECT_FALSE(pack::is_same_name("Users", ""));
  EXPECT_FALSE(pack::is_same_name("Users", "Users\u00e4"));
  EXPECT_FALSE(pack::is_same_name("Users\u00e4", "Users"));
  EXPECT_FALSE(pack::is_same_name("\u00c4pfel", "\u00d6pfel"));
  EXPECT_FALSE(pack::is_same_name("a[", "a{"));
  EXPECT_FALSE(pack::is_same_name("A\xff", "a\xff"));
}

}  // namespace
