// Partitions that are not mounted.
#include "pack/ntfs/ntfs_tree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <system_error>

#include "pack/ntfs_image.h"
#include "pack/volumes.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using pack::Cause;
using pack::Entry;
using pack::What;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

std::unique_ptr<pack::Tree> opened(windows::NtfsImage& image) {
  return pack::open_volume(image.close()).tree;
}

std::vector<std::string> names_in(const pack::Tree& tree, const std::string& folder = "") {
  std::vector<std::string> names;
  for (const Entry& entry : tree.list(folder)) names.push_back(entry.name);
  return names;
}

Entry entry_at(const pack::Tree& tree, const std::string& path) {
  const auto found = pack::find(tree, "", path);
  EXPECT_TRUE(found) << path;
  return found ? found->entry : Entry{};
}

std::string content_of(const pack::Tree& tree, const std::string& path) {
  const auto content = tree.open(path);
  std::string text;
  char block[1000];
  while (const std::size_t count = content->read(block, sizeof block)) text.append(block, count);
  return text;
}

// Nothing like itself anywhere, so that a block in another's place is seen.
std::string long_text(std::size_t size) {
  std::string text;
  for (std::size_t line = 0; text.size() < size; ++line) text += "line " + std::to_string(line) + "\n";
  text.resize(size);
  return text;
}

TEST(Ntfs, ShowsFoldersAndFiles) {
  windows::NtfsImage image;
  image.add("Users/Ann/Documents/small.txt", "one\n");
  image.add("Users/Ann/Documents/large.bin", long_text(300'000));
  image.add("Users/Ann/Documents/empty", "");
  image.add_folder("Users/Ann/Documents/folder");
  image.add("Users/Ann/Documents/hidden");
  image.set_attributes("Users/Ann/Documents/hidden", 2);
  const auto tree = opened(image);
  EXPECT_THAT(names_in(*tree), ElementsAre("Users")) << "the files of NTFS itself are nobody's";
  EXPECT_THAT(names_in(*tree, "Users/Ann/Documents"),
              ElementsAre("empty", "folder", "hidden", "large.bin", "small.txt"));
  const Entry large = entry_at(*tree, "Users/Ann/Documents/large.bin");
  EXPECT_EQ(large.what, What::file);
  EXPECT_EQ(large.size, 300'000U);
  EXPECT_EQ(large.gap, std::nullopt);
  EXPECT_EQ(entry_at(*tree, "Users/Ann/Documents/folder").what, What::folder);
  EXPECT_EQ(content_of(*tree, "Users/Ann/Documents/small.txt"), "one\n");
  EXPECT_EQ(content_of(*tree, "Users/Ann/Documents/large.bin"), long_text(300'000));
  EXPECT_EQ(content_of(*tree, "Users/Ann/Documents/empty"), "");
}

TEST(Ntfs, TellsWhatIsNotThere) {
  windows::NtfsImage image;
  image.add("Users/a.txt");
  const auto tree = opened(image);
  for (const char* path : {"Nobody", "Users/b.txt", "Users/a.txt/x", "Users/A.TXT"}) {
    EXPECT_THROW(tree->open(path), std::system_error) << path;
    EXPECT_THROW(tree->list(path), std::system_error) << path;
  }
  EXPECT_THROW(tree->list("Users/a.txt"), std::system_error);
  EXPECT_THROW(tree->open("Users"), std::system_error);
  EXPECT_EQ(content_of(*tree, pack::find(*tree, "", "USERS/A.TXT")->path), "content\n")
      << "found whatever the case";
}

TEST(Ntfs, AFolderOfManyFilesIsWhole) {
  windows::NtfsImage image(16);
  for (int i = 0; i < 2000; ++i) image.add("many/file " + std::to_string(i), std::to_string(i));
  const auto tree = opened(image);
  EXPECT_EQ(tree->list("many").size(), 2000U);
  EXPECT_EQ(content_of(*tree, "many/file 1234"), "1234");
}

std::vector<std::string> names_one_by_one(const pack::Tree& tree, const std::string& folder) {
  std::vector<std::string> names;
  const auto listing = tree.entries(folder);
  while (const auto entry = listing->next()) names.push_back(entry->name);
  return names;
}

// Lists that are begun beside it leave it little room: it is gone through many times.
TEST(Ntfs, AFolderOfManyFilesIsTheSameOneByOne) {
  windows::NtfsImage image(16);
  for (int i = 0; i < 2000; ++i) image.add("many/file " + std::to_string(i), std::to_string(i));
  const auto tree = opened(image);
  std::vector<std::unique_ptr<pack::Listing>> others;
  for (int i = 0; i < 80; ++i) others.push_back(tree->entries("many"));
  EXPECT_EQ(names_one_by_one(*tree, "many"), names_in(*tree, "many"));
  const auto listing = tree->entries("many");
  std::uint64_t size = 0;
  while (const auto entry = listing->next()) size += entry->size;
  EXPECT_EQ(size, 10U + 90 * 2 + 900 * 3 + 1000 * 4);
  EXPECT_THAT(names_one_by_one(*tree, ""), ElementsAre("many"));
  EXPECT_THROW(tree->entries("many/file 7"), std::system_error);
  EXPECT_THROW(tree->entries("none"), std::system_error);
}

TEST(Ntfs, NamesAreLookedUpWhateverTheirCase) {
  windows::NtfsImage image;
  image.add("Users/Ann/Ünder.txt", "1");
  image.add("Users/Ann/two", "2");
  image.add("Users/Ann/TWO", "3");
  image.add("Users/a long name.text");
  image.set_short_name("Users", "a long name.text", "ALONGN~1.TEX");
  const auto tree = opened(image);
  EXPECT_EQ(tree->look_up("Users/Ann", "üNDER.TXT")->name, "Ünder.txt");
  EXPECT_EQ(tree->look_up("Users/Ann", "two")->name, "two");
  EXPECT_EQ(tree->look_up("Users/Ann", "TWO")->name, "TWO");
  EXPECT_EQ(tree->look_up("", "USERS")->what, What::folder);
  EXPECT_EQ(tree->look_up("Users", "A Long Name.TEXT")->name, "a long name.text");
  EXPECT_FALSE(tree->look_up("Users", "ALONGN~1.TEX")) << "which no list has";
  EXPECT_FALSE(tree->look_up("Users/Ann", "three"));
  EXPECT_FALSE(tree->look_up("", "$MFT"));
  EXPECT_FALSE(tree->look_up("", "."));
  EXPECT_THROW(tree->look_up("None", "a"), std::system_error);
  EXPECT_THAT(tree->unlisted(), IsEmpty());
}

TEST(Ntfs, FilesAreReadOnFromAnyByte) {
  windows::NtfsImage image(8);
  image.add_folder("packed");
  image.compress("packed");
  const std::string text = long_text(300'000);
  image.add("plain", text);
  image.add("packed/file", text);
  const auto tree = opened(image);
  for (const char* file : {"plain", "packed/file"}) {
    const auto content = tree->open(file);
    std::string part(100, '\0');
    for (const std::size_t at : {250'000, 7, 65'530}) {
      ASSERT_TRUE(content->seek(at));
      ASSERT_EQ(content->read(part.data(), part.size()), part.size()) << file;
      EXPECT_EQ(part, text.substr(at, part.size())) << file << at;
    }
    ASSERT_TRUE(content->seek(text.size()));
    EXPECT_EQ(content->read(part.data(), part.size()), 0U) << file;
  }
}

TEST(Ntfs, ShortNamesAreNoEntries) {
  windows::NtfsImage image;
  image.add("Users/a long name.text");
  image.set_short_name("Users", "a long name.text", "ALONGN~1.TEX");
  const auto tree = opened(image);
  EXPECT_THAT(names_in(*tree, "Users"), ElementsAre("a long name.text"));
}

TEST(Ntfs, NamesThatAreNoTextAreKept) {
  windows::NtfsImage image;
  image.add("half\xED\xA0\x80.txt", "1");
  image.add("half\xED\xB0\x81.txt", "2");
  image.add("whole ä 小 😀.txt", "3");
  const auto tree = opened(image);
  EXPECT_THAT(names_in(*tree),
              ElementsAre("half\xED\xA0\x80.txt", "half\xED\xB0\x81.txt", "whole ä 小 😀.txt"));
  EXPECT_EQ(content_of(*tree, "half\xED\xB0\x81.txt"), "2");
  EXPECT_EQ(content_of(*tree, "whole ä 小 😀.txt"), "3");
}

TEST(Ntfs, OneDrivesFoldersAndFilesAreLikeOthers) {
  windows::NtfsImage image;
  image.add("OneDrive/Documents/here.txt", "here");
  image.add("OneDrive/Documents/beside.txt", "too");
  for (const char* path : {"OneDrive", "OneDrive/Documents", "OneDrive/Documents/here.txt"})
    image.set_reparse_point(path, windows::reparse_point(windows::onedrive));
  const auto tree = opened(image);
  EXPECT_THAT(names_in(*tree, "OneDrive/Documents"), ElementsAre("beside.txt", "here.txt"));
  EXPECT_EQ(entry_at(*tree, "OneDrive/Documents/here.txt").gap, std::nullopt);
  EXPECT_EQ(content_of(*tree, "OneDrive/Documents/here.txt"), "here");
}

TEST(Ntfs, WhatIsOnlineOnlyIsKnownByItsAttributes) {
  windows::NtfsImage image;
  for (const char* name : {"a", "b", "c", "d", "e"}) image.add(std::string("OneDrive/") + name);
  image.add_folder("OneDrive/folder");
  image.set_attributes("OneDrive/a", windows::offline);
  image.set_attributes("OneDrive/b", windows::recall_on_open);
  image.set_attributes("OneDrive/c", windows::recall_on_access);
  image.set_attributes("OneDrive/d", windows::encrypted);
  image.set_attributes("OneDrive/folder", windows::recall_on_open);
  image.set_reparse_point("OneDrive/c", windows::reparse_point(windows::onedrive));
  const auto tree = opened(image);
  for (const char* path : {"OneDrive/a", "OneDrive/b", "OneDrive/c", "OneDrive/folder"})
    EXPECT_EQ(entry_at(*tree, path).gap, Cause::online_only) << path;
  EXPECT_EQ(entry_at(*tree, "OneDrive/folder").what, What::folder);
  EXPECT_EQ(entry_at(*tree, "OneDrive/d").gap, Cause::encrypted);
  EXPECT_EQ(entry_at(*tree, "OneDrive/e").gap, std::nullopt);
}

TEST(Ntfs, NewFilesToBeEncryptedAreNoReasonToLeaveAFolderOut) {
  windows::NtfsImage image;
  image.add("folder/a");
  image.set_attributes("folder", windows::encrypted);
  const auto tree = opened(image);
  EXPECT_EQ(entry_at(*tree, "folder").gap, std::nullopt);
}

TEST(Ntfs, LinksAreNotFollowed) {
  windows::NtfsImage image;
  image.add("Users/Ann/a.txt");
  image.add_folder("Users/Again");
  image.set_reparse_point("Users/Again", windows::junction_to("C:\\Users\\Ann"));
  const auto tree = opened(image);
  const Entry link = entry_at(*tree, "Users/Again");
  EXPECT_EQ(link.what, What::other);
  EXPECT_EQ(link.gap, Cause::link);
  EXPECT_EQ(link.target, "C:\\Users\\Ann");
}

TEST(Ntfs, WhatWindowsAloneCanReadIsTold) {
  windows::NtfsImage image;
  image.add("program.exe");
  image.set_reparse_point("program.exe", windows::reparse_point(windows::compact_os));
  const auto tree = opened(image);
  EXPECT_EQ(entry_at(*tree, "program.exe").what, What::other);
  EXPECT_EQ(entry_at(*tree, "program.exe").gap, Cause::form_of_windows);
}

TEST(Ntfs, PackedFilesAreUnpacked) {
  windows::NtfsImage image;
  image.add_folder("packed");
  image.compress("packed");
  image.add("packed/large.txt", long_text(200'000));
  const auto tree = opened(image);
  EXPECT_EQ(content_of(*tree, "packed/large.txt"), long_text(200'000));
  EXPECT_EQ(entry_at(*tree, "packed/large.txt").size, 200'000U);
}

TEST(Ntfs, ADamagedRecordIsOneFileLess) {
  windows::NtfsImage image;
  for (const char* name : {"a", "b", "c"}) image.add(std::string("folder/") + name, name);
  image.add("deep/er/file");
  const std::uint64_t file = image.record_of("folder/b");
  const std::uint64_t folder = image.record_of("deep/er");
  windows::patch(image.close(), file, "BAAD");
  windows::patch(image.close(), folder + 60, std::string(200, '\xFF'));
  const auto tree = opened(image);
  EXPECT_THAT(names_in(*tree, "folder"), ElementsAre("a", "b", "c"));
  EXPECT_EQ(entry_at(*tree, "folder/b").gap, Cause::unreadable);
  EXPECT_EQ(entry_at(*tree, "folder/b").what, What::other);
  EXPECT_EQ(content_of(*tree, "folder/c"), "c");
  EXPECT_EQ(entry_at(*tree, "deep/er").gap, Cause::unreadable);
}

TEST(Ntfs, ADamagedListOfAFolderIsToldWithWhatIsLeftOfIt) {
  windows::NtfsImage image(16);
  for (int i = 0; i < 500; ++i) image.add("many/file " + std::to_string(1000 + i));
  image.add("beside");
  const std::uint64_t index = image.index_of("many");
  // The first block of its list, and one in the middle.
  windows::patch(image.close(), index, std::string(4096, 'x'));
  windows::patch(image.close(), index + 5 * 4096, std::string(4096, 'x'));
  const auto tree = opened(image);
  const std::vector<Entry> entries = tree->list("many");
  EXPECT_LT(entries.size(), 500U);
  EXPECT_GT(entries.size(), 300U);
  EXPECT_THAT(tree->unlisted(), ElementsAre("many"));
  EXPECT_EQ(names_one_by_one(*tree, "many"), names_in(*tree, "many"));
  std::size_t found = 0;
  for (const Entry& entry : entries) found += tree->look_up("many", entry.name).has_value() ? 1 : 0;
  EXPECT_EQ(found, entries.size());
  EXPECT_EQ(content_of(*tree, "beside"), "content\n");
}

TEST(Ntfs, WhatTheDiskDoesNotGiveIsAnError) {
  constexpr std::size_t size = 5'500'000;
  windows::NtfsImage image(8);
  image.add("first", long_text(100'000));
  image.add("last", long_text(size));
  std::filesystem::resize_file(image.close(), 5'000'000);
  const auto tree = opened(image);
  EXPECT_EQ(content_of(*tree, "first"), long_text(100'000));
  const auto content = tree->open("last");
  std::string text(size, '\0');
  std::size_t done = 0;
  EXPECT_THROW(while (true) done += content->read(text.data() + done, 65536), std::system_error);
  EXPECT_GT(done, 1'000'000U);
  EXPECT_EQ(text.substr(0, done), long_text(size).substr(0, done));
}

TEST(Ntfs, AFolderThatLiesInItselfEnds) {
  windows::NtfsImage image;
  image.add("a/b/c/file");
  image.link("a", "a/b/c/again");
  image.link("a/b", "a/other");
  const auto tree = opened(image);
  EXPECT_EQ(entry_at(*tree, "a/b/c/again").gap, Cause::unreadable);
  int folders = 0;
  for (const Entry& entry : tree->list("a")) folders += entry.what == What::folder ? 1 : 0;
  EXPECT_EQ(folders, 1) << "one of two names";
}

// Goes through everything and reads everything.
std::size_t walk(const pack::Tree& tree, const std::string& folder) {
  std::size_t seen = 0;
  try {
    for (const Entry& entry : tree.list(folder)) {
      const std::string path = pack::joined(folder, entry.name);
      ++seen;
      if (entry.what == What::folder) seen += walk(tree, path);
      if (entry.what == What::file && entry.size < 10'000'000) content_of(tree, path);
    }
  } catch (const std::system_error&) {
    return seen;
  }
  return seen;
}

TEST(Ntfs, NoDamageIsWorseThanWhatItHits) {
  windows::NtfsImage image;
  for (int i = 0; i < 40; ++i)
    image.add("folder " + std::to_string(i % 5) + "/file " + std::to_string(i), "12345");
  image.add("large", long_text(50'000));
  image.add_folder("packed");
  image.compress("packed");
  image.add("packed/large", long_text(100'000));
  image.add_folder("link");
  image.set_reparse_point("link", windows::junction_to("C:\\Users"));
  const std::uint64_t first = image.record_of("folder 0");
  const std::uint64_t last = image.record_of("link");
  const std::string path = image.close();
  const std::string whole = read_file(path);
  ASSERT_EQ(walk(*pack::open_volume(path).tree, ""), 49U);
  std::mt19937 random(1);
  std::size_t seen = 0;
  for (int round = 0; round < 400; ++round) {
    const std::uint64_t at = first + random() % (last + 1024 - first);
    const std::size_t size = 1 + random() % 4;
    std::string bytes;
    while (bytes.size() < size) bytes += static_cast<char>(random());
    windows::patch(path, at, bytes);
    seen += walk(*pack::open_volume(path).tree, "");
    windows::patch(path, at, whole.substr(at, size));
  }
  EXPECT_GT(seen, 400U * 40);
}

TEST(Ntfs, AVolumeThatWindowsHasNotClosedIsKnown) {
  windows::NtfsImage clean;
  EXPECT_FALSE(opened(clean)->is_dirty());
  windows::NtfsImage dirty;
  dirty.set_dirty();
  EXPECT_TRUE(opened(dirty)->is_dirty());
}

TEST(Ntfs, IsNeverWritten) {
  windows::NtfsImage image;
  image.add("Users/Ann/a.txt", long_text(50'000));
  image.set_dirty();
  const std::string path = image.close();
  const std::string look = "sha256sum " + path + "; stat -c '%y %z %s' " + path;
  const std::string before = output_of(look);
  {
    const auto tree = opened(image);
    EXPECT_EQ(content_of(*tree, "Users/Ann/a.txt"), long_text(50'000));
    EXPECT_THROW(tree->list("nowhere"), std::system_error);
  }
  EXPECT_EQ(output_of(look), before);
}

// As Windows leaves its log when it crashes; who only reads does not need it.
TEST(Ntfs, AVolumeWhoseLogIsNotInOrderIsRead) {
  windows::NtfsImage image;
  image.add("Users/Ann/a.txt", "a");
  const std::uint64_t log = image.content_of("$LogFile");
  windows::patch(image.close(), log, "CHKD");
  EXPECT_EQ(content_of(*opened(image), "Users/Ann/a.txt"), "a");
}

TEST(Ntfs, SaysNothingOfItsOwn) {
  windows::NtfsImage image;
  image.add("folder/a");
  const std::uint64_t record = image.record_of("folder/a");
  windows::patch(image.close(), record, "BAAD");
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  const auto tree = opened(image);
  tree->list("folder");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// Two of Windows', a rescue partition and one of Linux.
struct FourParts {
  FourParts() {
    system.add("Windows/System32/config/SYSTEM");
    system.add("Users/Ann/a.txt", "system");
    data.add("Photos/p.jpg", "data");
    rescue.add("Recovery/WindowsRE/Winre.wim");
    rescue.add_folder("System Volume Information");
  }
  std::vector<windows::DiskPart> parts() {
    return {{rescue.close(), 0x27}, {data.close()}, {"", 0x83}, {system.close()}};
  }
  windows::NtfsImage system;
  windows::NtfsImage data;
  windows::NtfsImage rescue;
};

void expect_windows_and_data(const std::string& disk, const std::string& data_name,
                             const std::string& identity) {
  const pack::Volume volume = pack::open_volume(disk);
  EXPECT_EQ(content_of(*volume.tree, "Users/Ann/a.txt"), "system");
  ASSERT_EQ(volume.others.size(), 1U) << "those that hold nothing of people are not told";
  EXPECT_EQ(volume.others.front().name, data_name);
  EXPECT_EQ(volume.others.front().identity, identity);
  EXPECT_EQ(content_of(*volume.others.front().tree, "Photos/p.jpg"), "data");
}

TEST(Partitions, OfAnOldTableAreFound) {
  FourParts four;
  const auto parts = four.parts();
  const std::string disk = windows::disk_with_mbr(parts);
  expect_windows_and_data(disk, disk + "#2", windows::mbr_identity(windows::begin_of(parts, 1)));
}

TEST(Partitions, BehindEachOtherInAnExtendedOneAreFound) {
  FourParts four;
  const auto parts = four.parts();
  const std::string disk = windows::disk_with_mbr(parts, true);
  expect_windows_and_data(disk, disk + "#5", windows::mbr_identity(windows::begin_of(parts, 1)));
}

TEST(Partitions, OfANewTableAreFound) {
  FourParts four;
  const auto parts = four.parts();
  for (const std::uint64_t sector : {512, 4096}) {
    const std::string disk = windows::disk_with_gpt(parts, sector);
    expect_windows_and_data(disk, disk + "#2", windows::gpt_identity(1));
  }
}

TEST(Partitions, AreChosenByTheirNumber) {
  FourParts four;
  const std::string disk = windows::disk_with_mbr(four.parts());
  EXPECT_EQ(content_of(*pack::open_volume(disk + "#2").tree, "Photos/p.jpg"), "data");
  EXPECT_THAT(pack::open_volume(disk + "#2").others, IsEmpty());
  EXPECT_EQ(pack::path_of(disk + "#2"), disk);
  std::filesystem::copy_file(four.data.close(), disk + "#4");
  EXPECT_EQ(content_of(*pack::open_volume(disk + "#4").tree, "Photos/p.jpg"), "data")
      << "a file of that name is that file";
}

TEST(Partitions, AChainThatBitesItsTailEnds) {
  windows::NtfsImage image;
  image.add("Users/Ann/a.txt");
  const std::vector<windows::DiskPart> parts{{"", 0x83}, {image.close()}, {"", 0x83}};
  const std::string disk = windows::disk_with_mbr(parts, true);
  // The table in front of the third partition names itself as the next one, by its distance from the first.
  const std::uint64_t second = windows::begin_of(parts, 1) - 512 * 1024;
  const std::uint64_t third = windows::begin_of(parts, 2) - 512 * 1024;
  const std::uint64_t sectors = (third - second) / 512;
  const std::string distance{static_cast<char>(sectors), static_cast<char>(sectors >> 8),
                             static_cast<char>(sectors >> 16)};
  windows::patch(disk, third + 446 + 16 + 4, "\x05");
  windows::patch(disk, third + 446 + 16 + 8, distance);
  EXPECT_THAT(names_in(*pack::open_volume(disk).tree), ElementsAre("Users"));
}

// Damages the blocks of names that the library need not have to open the volume.
int damage_lists(const std::string& image) {
  const std::string whole = read_file(image);
  const std::string needed("$\0S\0e\0c\0u\0r\0e", 13);
  int blocks = 0;
  for (std::size_t at = 0; (at = whole.find("INDX", at)) != std::string::npos; at += 4) {
    const bool leads_to_others = (whole[at + 36] & 1) != 0;
    if (at % 4096 != 0 || leads_to_others || whole.substr(at, 4096).find(needed) != std::string::npos)
      continue;
    windows::patch(image, at, "BAAD");
    ++blocks;
  }
  return blocks;
}

void expect_told(const std::string& partition) {
  windows::NtfsImage system;
  system.add("Users/Ann/a.txt");
  const std::string disk = windows::disk_with_mbr({{partition, 0x27}, {system.close()}});
  const pack::Volume volume = pack::open_volume(disk);
  EXPECT_THAT(names_in(*volume.tree), ElementsAre("Users"));
  ASSERT_EQ(volume.others.size(), 1U);
  EXPECT_EQ(volume.others.front().name, disk + "#1");
  EXPECT_EQ(volume.others.front().cause, Cause::other_partition);
  ASSERT_NE(volume.others.front().tree, nullptr);
  EXPECT_THAT(volume.others.front().tree->unlisted(), Not(IsEmpty()));
}

// Somebody's names lie behind those that start Windows, in a block of their own; they may be anything.
TEST(Partitions, OfWhichATopIsNotListedToItsEndAreTold) {
  windows::NtfsImage rescue;
  for (const char* name :
       {"$RECYCLE.BIN", "$WINRE_BACKUP_PARTITION.MARKER", "Boot", "BOOTNXT", "BOOTSECT.BAK", "bootmgr", "EFI",
        "Recovery", "RECYCLER", "System Volume Information"})
    rescue.add_folder(name);
  for (int i = 0; i < 6; ++i) rescue.add(std::string(200, 'z') + std::to_string(i));
  EXPECT_EQ(damage_lists(rescue.close()), 1);
  EXPECT_THAT(names_in(*opened(rescue)), Each(Not(StartsWith("z"))));
  expect_told(rescue.close());
}

TEST(Partitions, OfWhichATopCannotBeListedAreTold) {
  windows::NtfsImage lost(16);
  for (int i = 0; i < 2000; ++i) lost.add(std::string(90, 'n') + std::to_string(1000 + i));
  EXPECT_GT(damage_lists(lost.close()), 100) << "after so many a folder is given up";
  EXPECT_THROW(opened(lost)->entries(""), std::system_error);
  expect_told(lost.close());
}

std::string why_not(const std::string& name) {
  try {
    pack::open_volume(name);
  } catch (const pack::NoVolume& why) {
    return why.what();
  }
  return "it can";
}

std::string file_with(const std::string& name, const std::string& content) {
  const std::string path = "/tmp/" + name;
  write_file(path, content);
  return path;
}

// Whole sectors, as of a partition.
std::string at(std::size_t place, const std::string& sign) {
  std::string bytes = std::string(place, '\0') + sign;
  bytes.resize(8192, '\0');
  return bytes;
}

TEST(NoVolume, IsExplained) {
  EXPECT_EQ(why_not("/tmp/nowhere"), "/tmp/nowhere cannot be read: No such file or directory");
  EXPECT_EQ(why_not("/dev/null"), "/dev/null is neither a folder nor a disk");
  EXPECT_EQ(why_not(file_with("empty", "")), "/tmp/empty is empty, or cannot be read");
  EXPECT_EQ(why_not(file_with("zip", "PK\x03\x04 and more")),
            "/tmp/zip is a zip file; unpack it, and name the folder");
  EXPECT_EQ(why_not(file_with("ext4", at(1080, "\x53\xEF"))), "/tmp/ext4 is a partition of Linux");
  EXPECT_THAT(why_not(file_with("fat", at(82, "FAT32   "))), HasSubstr("is no NTFS partition; mount it"));
  EXPECT_THAT(why_not(file_with("qcow", at(0, "QFI\xFB"))), HasSubstr("qemu-img convert -O raw"));
  EXPECT_THAT(why_not(file_with("text", "some words")), HasSubstr("no NTFS partition begins in it"));
}

TEST(NoVolume, OfBitLockerSaysHowToOpenIt) {
  const std::string locked = file_with("locked", at(3, "-FVE-FS-"));
  EXPECT_THAT(why_not(locked), HasSubstr("/tmp/locked cannot be read: BitLocker has encrypted it."));
  EXPECT_THAT(why_not(locked), HasSubstr("cryptsetup bitlkOpen --readonly"));
  EXPECT_THAT(why_not(locked), HasSubstr("account.microsoft.com/devices/recoverykey"));
  const std::string disk = windows::disk_with_mbr({{"", 0x27}, {locked}});
  EXPECT_THAT(why_not(disk), HasSubstr(disk + "#2 cannot be read: BitLocker has encrypted it."));
  EXPECT_THAT(why_not(disk + "#2"), HasSubstr("BitLocker"));
}

TEST(NoVolume, BesideWindowsIsTold) {
  windows::NtfsImage system;
  system.add("Users/Ann/a.txt");
  windows::NtfsImage broken;
  broken.add("Data/x");
  // The first record of all is that of the list of files.
  const std::uint64_t record = broken.record_of("Data");
  windows::patch(broken.close(), record - record % 4096, std::string(4096, 'x'));
  windows::patch(broken.close(), 48, std::string(8, '\x7F'));
  const std::string disk =
      windows::disk_with_mbr({{file_with("locked", at(3, "-FVE-FS-"))}, {broken.close()}, {system.close()}});
  const pack::Volume volume = pack::open_volume(disk);
  ASSERT_EQ(volume.others.size(), 2U);
  EXPECT_EQ(volume.others[0].cause, Cause::bitlocker);
  EXPECT_EQ(volume.others[1].cause, Cause::unreadable);
  EXPECT_EQ(volume.others[1].tree, nullptr);
  EXPECT_THAT(why_not(disk + "#2"), HasSubstr("too damaged to be read"));
}

TEST(NoVolume, AmongPartitionsIsExplained) {
  windows::NtfsImage data;
  data.add("Photos/p.jpg");
  const std::string disk = windows::disk_with_mbr({{"", 0x83}, {data.close()}});
  EXPECT_THAT(why_not(disk), HasSubstr("has no partition with Windows on it"));
  EXPECT_THAT(why_not(disk), HasSubstr("It has 1, 2 (NTFS)"));
  EXPECT_THAT(why_not(disk + "#7"), HasSubstr("has no partition 7; it has 1, 2 (NTFS)"));
  EXPECT_THAT(why_not(disk + "#1"), HasSubstr("#1 is no NTFS partition"));
  EXPECT_THAT(why_not(data.close() + "#1"), HasSubstr("is one partition and has no others"));
  EXPECT_THAT(why_not(windows::disk_with_mbr({{"", 0x83}, {"", 0x82}})),
              HasSubstr("no NTFS partition begins in it"));
}

}  // namespace
