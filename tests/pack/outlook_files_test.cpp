#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <system_error>
#include <thread>

#include "pack/disk/folder_tree.h"
#include "pack/ntfs_image.h"
#include "pack/outlook/blocks.h"
#include "pack/outlook/store.h"
#include "pack/pst_file.h"
#include "pack/recorded.h"
#include "pack/windows_disk.h"

namespace {

using recorded::pack_disk;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;
using windows::Value;

const std::string usual = "Users/Ann/AppData/Local/Microsoft/Outlook/";
const std::string documents = "Brindle/My Documents/";
const std::string inbox = "Brindle/Mail/Inbox";

pst::Item message(const std::string& subject, int size = 4000) {
  return {.properties = {pst::text(0x001A, "IPM.Note"), pst::number(0x0E08, size), pst::text(0x0037, subject),
                         pst::text(0x1000, "Text of " + subject)}};
}

std::string file_with(const std::string& subject) {
  pst::File file;
  file.folders = {{.name = "Inbox", .items = {message(subject)}}};
  return file.bytes();
}

std::size_t messages_in(const recorded::Result& result) {
  return result.people.front().tally.count(pack::Kind::mail).packed;
}

TEST(OutlookFiles, AreFoundWhereOutlookKeepsThem) {
  for (const std::string& place :
       {usual + "Outlook.pst", usual + "ann@x.example.ost",
        std::string("Users/Ann/Documents/Outlook Files/a.PST"),
        std::string("Users/Ann/Documents/Outlook-Dateien/a.pst"),
        std::string("Users/Ann/Local Settings/Application Data/Microsoft/Outlook/a.pst")}) {
    const windows::Disk disk;
    disk.add(place, file_with("one"));
    const auto result = pack_disk(disk.path());
    EXPECT_EQ(messages_in(result), 1U) << place;
    EXPECT_FALSE(result.people.front().tally.has_losses()) << place;
  }
}

TEST(OutlookFiles, AreFoundInDocumentsThatWereMoved) {
  const windows::Disk disk;
  disk.add("Users/Ann/NTUSER.DAT",
           windows::hive({{R"(Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders)",
                           {{.name = "Personal", .data = R"(C:\Data\Ann)", .type = Value::expand}}}}));
  disk.add("Data/Ann/Outlook Files/a.pst", file_with("one"));
  EXPECT_EQ(messages_in(pack_disk(disk.path())), 1U);
}

TEST(OutlookFiles, AreFoundWhereAProfileSaysTheyAre) {
  const windows::Disk disk;
  const auto wide = [](std::string_view text) {
    std::string bytes;
    for (const char c : text) bytes += {c, '\0'};
    return bytes + std::string(2, '\0');
  };
  const std::string profile = R"(Software\Microsoft\Office\16.0\Outlook\Profiles\Mine\)";
  disk.add(
      "Users/Ann/NTUSER.DAT",
      windows::hive(
          {{profile + "aaaa",
            {{.name = "001f6700", .data = wide(R"(C:\Mail\one.pst)"), .type = Value::binary}}},
           {profile + "bbbb", {{.name = "001e6700", .data = R"(c:\users\ANN\Own\two.pst)"}}},
           {profile + "cccc",
            {{.name = "001f6610", .data = wide(R"(C:\Mail\three.ost)"), .type = Value::binary}}},
           {profile + "dddd", {{.name = "001f6700", .data = wide(R"(E:\far.pst)"), .type = Value::binary}}},
           {profile + "eeee",
            {{.name = "001f6700", .data = wide(R"(C:\Mail\one.pst)"), .type = Value::binary}}}}));
  disk.add("Mail/one.pst", file_with("one"));
  disk.add("Users/Ann/Own/two.pst", file_with("two"));
  disk.add("Mail/three.ost", file_with("three"));
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(messages_in(result), 3U);
  EXPECT_THAT(result.remarks(),
              UnorderedElementsAre("elsewhere E:\\far.pst", "unpacked Users/Ann/Own/two.pst",
                                   "unpacked Mail/one.pst", "unpacked Mail/three.ost"));
}

// The key of a profile with the path of a data file in it.
std::string hive_with(const std::string& name, const std::string& path) {
  return windows::hive(
      {{R"(Software\Microsoft\Office\16.0\Outlook\Profiles\Mine\aaaa)", {{.name = name, .data = path}}}});
}

TEST(OutlookFiles, OfExchangeAreFoundWhereAnOldProfileSaysTheyAre) {
  const windows::Disk disk;
  disk.add("Users/Ann/NTUSER.DAT", hive_with("001e6610", R"(C:\Mail\copy.ost)"));
  disk.add("Mail/copy.ost", file_with("one"));
  EXPECT_EQ(messages_in(pack_disk(disk.path())), 1U);
}

TEST(OutlookFiles, AreFoundInAHomeThatLiesElsewhereNow) {
  const windows::Disk disk;
  disk.add("Documents and Settings/Ann/NTUSER.DAT", hive_with("001e6700", R"(C:\Users\Ann\Own\two.pst)"));
  disk.add("Documents and Settings/Ann/Own/two.pst", file_with("two"));
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(messages_in(result), 1U);
  EXPECT_THAT(result.remarks(), ElementsAre("unpacked Documents and Settings/Ann/Own/two.pst"));
}

TEST(OutlookFiles, ThatAProfileNamesWhereOutlookKeepsThemAreReadOnce) {
  const windows::Disk disk;
  disk.add("Users/Ann/NTUSER.DAT",
           hive_with("001e6700", R"(c:\users\ann\APPDATA\Local\Microsoft\Outlook\outlook.pst)"));
  disk.add(usual + "Outlook.pst", file_with("one"));
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(messages_in(result), 1U);
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(OutlookFiles, OfOneNameAreAllPackedAsTheyAre) {
  const windows::Disk disk;
  const std::string one = file_with("one");
  const std::string two = file_with("two");
  disk.add(usual + "Outlook.pst", one);
  disk.add("Users/Ann/Local Settings/Application Data/Microsoft/Outlook/Outlook.pst", two);
  disk.add("Users/Ann/Documents/Outlook data files/mine.txt");
  pack::Options options;
  options.without = {pack::Kind::notes};
  const auto result = pack_disk(disk.path(), options);
  EXPECT_THAT(result.files_below(documents),
              UnorderedElementsAre("Outlook data files/mine.txt", "Outlook data files 2/Outlook.pst",
                                   "Outlook data files 2/Outlook.pst 2"));
  EXPECT_EQ(result.content.at(documents + "Outlook data files 2/Outlook.pst"), one);
  EXPECT_EQ(result.content.at(documents + "Outlook data files 2/Outlook.pst 2"), two);
}

TEST(OutlookFiles, ThatLieOnlineAloneAreTold) {
  windows::NtfsImage image;
  image.add(usual + "a.pst", file_with("one"));
  image.set_attributes(usual + "a.pst", windows::offline);
  const auto result = pack_disk(image.close());
  EXPECT_EQ(messages_in(result), 0U);
  EXPECT_THAT(result.remarks(), Contains("online-only " + usual + "a.pst"));
  EXPECT_THAT(result.remarks(), Not(Contains("damaged " + usual + "a.pst")));
}

TEST(OutlookFiles, OnADriveThatIsNotGivenAreToldOnceWhateverIsWanted) {
  const windows::Disk disk;
  disk.add("Users/Ann/NTUSER.DAT",
           windows::hive({{R"(Software\Microsoft\Office\16.0\Outlook\Profiles\Mine\aaaa)",
                           {{.name = "001e6700", .data = R"(E:\far.pst)"}}}}));
  using pack::Kind;
  const std::string told = "elsewhere E:\\far.pst";
  pack::Options options;
  EXPECT_THAT(pack_disk(disk.path(), options).remarks(), ElementsAre(told));
  for (const Kind kind : {Kind::mail, Kind::contacts, Kind::events, Kind::tasks, Kind::notes}) {
    options.without.insert(kind);
    const auto result = pack_disk(disk.path(), options);
    EXPECT_THAT(result.remarks(), ElementsAre(told)) << name_of(kind);
    EXPECT_TRUE(result.people.front().tally.has_losses());
  }
}

TEST(OutlookFiles, StayOutOfTheDocumentsWhenAllOfThemIsUnpacked) {
  const windows::Disk disk;
  const std::string place = "Users/Ann/Documents/Outlook Files/a.pst";
  disk.add(place, file_with("one"));
  disk.add("Users/Ann/Documents/Outlook Files/b.txt");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below(documents), ElementsAre("Outlook Files/b.txt"));
  EXPECT_THAT(result.remarks(), ElementsAre("unpacked " + place));
  EXPECT_FALSE(result.people.front().tally.has_losses());
  const auto count = result.people.front().tally.count(pack::Kind::documents);
  EXPECT_EQ(count.found, 2U);
  EXPECT_EQ(count.packed, 1U);
}

TEST(OutlookFiles, OfWhichAKindIsNotWantedArePackedAsTheyAre) {
  const windows::Disk disk;
  const std::string bytes = file_with("one");
  disk.add("Users/Ann/Documents/Outlook Files/a.pst", bytes);
  disk.add(usual + "b.pst", bytes);
  disk.add(usual + "c.ost", bytes);
  for (const pack::Kind kind :
       {pack::Kind::mail, pack::Kind::contacts, pack::Kind::events, pack::Kind::tasks, pack::Kind::notes}) {
    pack::Options options;
    options.without = {kind};
    const auto result = pack_disk(disk.path(), options);
    EXPECT_EQ(result.content.at(documents + "Outlook Files/a.pst"), bytes);
    EXPECT_EQ(result.content.at(documents + "Outlook data files/b.pst"), bytes);
    EXPECT_THAT(result.files_below(documents), Not(Contains(testing::HasSubstr("c.ost"))));
    EXPECT_FALSE(result.people.front().tally.has_losses());
  }
  pack::Options options;
  options.without = {pack::Kind::documents};
  EXPECT_THAT(pack_disk(disk.path(), options).files_below(documents), IsEmpty());
}

TEST(OutlookFiles, ThatNobodyUsesArePackedAndTold) {
  const windows::Disk disk;
  const std::string bytes = file_with("one");
  disk.add("Users/Ann/Documents/Backup/old.pst", bytes);
  disk.add("Users/Ann/Desktop/x.ost", bytes);
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(result.content.at(documents + "Backup/old.pst"), bytes);
  EXPECT_EQ(result.content.at("Brindle/Desktop/x.ost"), bytes);
  EXPECT_EQ(messages_in(result), 0U);
  EXPECT_THAT(result.remarks(), UnorderedElementsAre("not-unpacked Users/Ann/Documents/Backup/old.pst",
                                                     "not-unpacked Users/Ann/Desktop/x.ost"));
}

TEST(OutlookFiles, OutsideOfTheDocumentsDoNotNeedThem) {
  const windows::Disk disk;
  const std::string bytes = file_with("one");
  disk.add("Users/Ann/Documents/mine.pst", bytes);
  disk.add("Users/Ann/Own/old.pst", bytes);
  disk.add("Backup/older.pst", bytes);
  pack::Options options;
  options.without = {pack::Kind::documents};
  const auto result = pack_disk(disk.path(), options);
  EXPECT_THAT(result.files_below(documents),
              UnorderedElementsAre("Other files/Own/old.pst", "Drive C/Backup/older.pst"));
  EXPECT_THAT(result.remarks(),
              UnorderedElementsAre("not-unpacked Users/Ann/Own/old.pst", "not-unpacked Backup/older.pst"));
}

TEST(OutlookFiles, OfThingsWithoutAPlaceArePackedAsTheyAreToo) {
  const windows::Disk disk;
  pst::File file;
  file.folders = {
      {.name = "Inbox", .items = {message("one")}},
      {.name = "Journal",
       .container = "IPF.Journal",
       .items = {{.properties = {pst::text(0x001A, "IPM.Activity"), pst::text(0x0037, "call")}}}}};
  const std::string bytes = file.bytes();
  disk.add(usual + "Outlook.pst", bytes);
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(messages_in(result), 1U);
  EXPECT_EQ(result.content.at(documents + "Outlook data files/Outlook.pst"), bytes);
  EXPECT_THAT(result.remarks(), UnorderedElementsAre("no-place " + usual + "Outlook.pst: Journal",
                                                     "kept-as-file " + usual + "Outlook.pst"));
}

TEST(OutlookFiles, ThatAreNoneAreTold) {
  const windows::Disk disk;
  disk.add(usual + "none.pst", "no store");
  disk.add(usual + "short.pst", "!BDN");
  disk.add(usual + "empty.pst", "");
  disk.add(usual + "zeros.pst", "!BDN" + std::string(2000, '\0'));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(
      result.remarks(),
      UnorderedElementsAre("damaged " + usual + "empty.pst", "damaged " + usual + "none.pst",
                           "damaged " + usual + "short.pst", "damaged " + usual + "zeros.pst",
                           "kept-as-file " + usual + "empty.pst", "kept-as-file " + usual + "none.pst",
                           "kept-as-file " + usual + "short.pst", "kept-as-file " + usual + "zeros.pst"));
  EXPECT_EQ(result.content.at(documents + "Outlook data files/none.pst"), "no store");
}

// What is read of the largest file is what is read of the usual one.
TEST(OutlookFiles, OfEachFormAndCipherAreRead) {
  using pst::File;
  const auto packed = [](File::Form form, File::Cipher cipher) {
    File file(form);
    file.cipher = cipher;
    std::string large;
    for (int number = 0; number < 40000; ++number) large += std::to_string(number * 7919 % 100003) + " ";
    pst::Folder folder{.name = "Inbox"};
    for (int number = 0; number < 120; ++number)
      folder.items.push_back(message("number " + std::to_string(number)));
    folder.items.back().attachments = {
        {.properties = {pst::text(0x3707, "a.txt"), pst::number(0x3705, 1), pst::binary(0x3701, large)}},
        {.properties = {pst::text(0x3707, "b.txt"), pst::number(0x3705, 1), pst::binary(0x3701, "b")}}};
    folder.items.back().properties[1] = pst::number(0x0E08, 300000);
    file.folders = {folder, {.name = "Work", .items = {message("one"), message("two")}}};
    const windows::Disk disk;
    disk.add(usual + "a.ost", file.bytes());
    const auto result = pack_disk(disk.path());
    EXPECT_EQ(messages_in(result), 122U) << form << int{cipher};
    EXPECT_THAT(result.remarks(), IsEmpty()) << form << int{cipher};
    return result.content;
  };
  const auto expected = packed(File::unicode, File::none);
  EXPECT_THAT(expected.at(inbox), testing::HasSubstr("Subject: number 119\n"));
  for (const File::Form form : {File::unicode, File::ansi_form, File::pages_of_4k})
    for (const File::Cipher cipher : {File::none, File::permutation, File::cyclic})
      EXPECT_TRUE(packed(form, cipher) == expected) << form << int{cipher};  // too long to be shown
}

TEST(OutlookFiles, OfEachNumberOfTheirFormAreRead) {
  using pst::File;
  for (const auto& [form, version] : {std::pair(File::ansi_form, 14), std::pair(File::ansi_form, 15),
                                      std::pair(File::unicode, 21), std::pair(File::unicode, 23)}) {
    File file(form);
    file.version = version;
    file.folders = {{.name = "Inbox", .items = {message("one")}}};
    const windows::Disk disk;
    disk.add(usual + "a.pst", file.bytes());
    const auto result = pack_disk(disk.path());
    EXPECT_EQ(messages_in(result), 1U) << version;
    EXPECT_THAT(result.remarks(), IsEmpty()) << version;
  }
}

TEST(OutlookFiles, WithAMessageThatNoTableHasHaveItAllTheSame) {
  pst::File file;
  file.folders = {
      {.name = "Inbox", .items = {message("one"), message("two")}, .unlisted = {message("three")}},
      {.name = "Work", .items = {message("four")}, .has_contents = false}};
  const windows::Disk disk;
  disk.add(usual + "a.pst", file.bytes());
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(messages_in(result), 4U);
  EXPECT_THAT(result.content.at(inbox), testing::HasSubstr("Subject: three\n"));
  EXPECT_THAT(result.content.at("Brindle/Mail/Work"), testing::HasSubstr("Subject: four\n"));
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(OutlookFiles, ThatAreProtectedAreTold) {
  const windows::Disk disk;
  pst::File file;
  file.folders = {{.name = "Inbox", .items = {message("one")}}};
  file.cipher = pst::File::bound_to_windows;
  disk.add(usual + "a.pst", file.bytes());
  EXPECT_THAT(pack_disk(disk.path()).remarks(),
              UnorderedElementsAre("encrypted " + usual + "a.pst", "kept-as-file " + usual + "a.pst"));
}

// ---- Damage

TEST(DamagedOutlookFiles, LoseTheMessageThatIsDamagedAndNoOther) {
  const windows::Disk disk;
  pst::File file;
  pst::Folder folder{.name = "Inbox"};
  for (int number = 0; number < 40; ++number)
    folder.items.push_back(message("message " + std::to_string(number)));
  file.folders = {folder};
  std::string bytes = file.bytes();
  const auto block = file.block_with(std::string("1\0"
                                                 "7\0",
                                                 4),
                                     bytes);
  ASSERT_TRUE(block);
  const auto [at, size] = file.blocks[*block];
  bytes.replace(at, size, std::string(size, '\xFF'));
  disk.add(usual + "a.pst", bytes);
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(messages_in(result), 39U);
  EXPECT_THAT(result.remarks(),
              UnorderedElementsAre("damaged " + usual + "a.pst: Inbox", "store-damaged " + usual + "a.pst",
                                   "kept-as-file " + usual + "a.pst"));
  EXPECT_EQ(result.content.at(documents + "Outlook data files/a.pst"), bytes);
}

TEST(DamagedOutlookFiles, KeepAMessageWhoseAttachmentIsCut) {
  const windows::Disk disk;
  pst::File file;
  std::string large;
  for (int number = 0; number < 20000; ++number) large += std::to_string(number) + " ";
  pst::Item item = message("with", 130000);
  item.attachments = {
      {.properties = {pst::text(0x3707, "a.txt"), pst::number(0x3705, 1), pst::binary(0x3701, large)}},
      {.properties = {pst::text(0x3707, "b.txt"), pst::number(0x3705, 1), pst::binary(0x3701, "b")}}};
  file.folders = {{.name = "Inbox", .items = {message("before"), item, message("after")}}};
  std::string bytes = file.bytes();
  const auto block = file.block_with("15000 15001", bytes);
  ASSERT_TRUE(block);
  // The index no longer knows where it is.
  const std::size_t page = file.pages.front();
  bool is_gone = false;
  for (const std::size_t leaf : file.pages)
    for (std::size_t entry = leaf; entry + 24 <= leaf + 488 && !is_gone; entry += 24)
      if (bytes.compare(entry + 8, 4,
                        std::string{static_cast<char>(file.blocks[*block].at),
                                    static_cast<char>(file.blocks[*block].at >> 8),
                                    static_cast<char>(file.blocks[*block].at >> 16),
                                    static_cast<char>(file.blocks[*block].at >> 24)}) == 0) {
        bytes[entry + 15] = '\x7F';
        is_gone = true;
      }
  ASSERT_TRUE(is_gone) << page;
  disk.add(usual + "a.pst", bytes);
  const auto result = pack_disk(disk.path());
  const std::string& mail = result.content.at(inbox);
  EXPECT_EQ(messages_in(result), 3U);
  EXPECT_THAT(mail, testing::HasSubstr("filename=\"b.txt\""));
  EXPECT_THAT(mail, testing::HasSubstr("Subject: after\n"));
  EXPECT_THAT(result.remarks(),
              UnorderedElementsAre("item-cut " + usual + "a.pst: Inbox", "store-damaged " + usual + "a.pst",
                                   "kept-as-file " + usual + "a.pst"));
  EXPECT_TRUE(result.people.front().tally.has_losses());
}

// A page of an index that leads to entries, not to other pages, is one of `kind`: 0x80 of the blocks, 0x81 of
// the nodes.
std::vector<std::size_t> leaves_of(const pst::File& file, pst::File::Form form, std::string_view bytes,
                                   char kind) {
  const bool has_4k = form == pst::File::pages_of_4k;
  const std::size_t level = has_4k ? 4056 + 5 : form == pst::File::ansi_form ? 496 + 3 : 488 + 3;
  const std::size_t trailer = has_4k ? 4072 : form == pst::File::ansi_form ? 500 : 496;
  std::vector<std::size_t> leaves;
  for (const std::size_t page : file.pages)
    if (bytes[page + trailer] == kind && bytes[page + level] == 0) leaves.push_back(page);
  return leaves;
}

TEST(DamagedOutlookFiles, WithOneLostPageOfAnIndexLoseWhatItAloneLeadsTo) {
  using pst::File;
  struct Case {
    File::Form form;
    int messages;
    std::size_t on_a_page;
  };
  for (const auto& [form, count, on_a_page] :
       {Case{File::unicode, 80, 20}, Case{File::ansi_form, 160, 41}, Case{File::pages_of_4k, 600, 169}})
    for (const char kind : {'\x80', '\x81'}) {
      File file(form);
      pst::Folder folder{.name = "Inbox"};
      for (int number = 0; number < count; ++number)
        folder.items.push_back(message("message " + std::to_string(number)));
      file.folders = {folder};
      std::string bytes = file.bytes();
      const std::vector<std::size_t> leaves = leaves_of(file, form, bytes, kind);
      ASSERT_GT(leaves.size(), 2U) << form;
      bytes.replace(leaves[1] + 8, 64, std::string(64, '\xFF'));
      const windows::Disk disk;
      disk.add(usual + "a.pst", bytes);
      const auto result = pack_disk(disk.path());
      EXPECT_GE(messages_in(result), static_cast<std::size_t>(count) - on_a_page) << form << int{kind};
      EXPECT_LT(messages_in(result), static_cast<std::size_t>(count)) << form << int{kind};
      EXPECT_THAT(result.remarks(), AllOf(Contains("store-damaged " + usual + "a.pst"),
                                          Contains("kept-as-file " + usual + "a.pst")));
    }
}

pst::File large_file(pst::File::Form form = pst::File::unicode) {
  pst::File file(form);
  std::vector<pst::Folder> folders{{.name = "Inbox"}, {.name = "Work"}};
  for (pst::Folder& folder : folders)
    for (int number = 0; number < 4; ++number) {
      pst::Item item = message(folder.name + std::to_string(number), 25000);
      item.recipients = {
          {pst::number(0x0C15, 1), pst::text(0x3001, "Ann"), pst::text(0x3003, "ann@home.example")}};
      item.attachments = {{.properties = {pst::text(0x3707, "a.txt"), pst::number(0x3705, 1),
                                          pst::binary(0x3701, std::string(20000, 'a'))}}};
      folder.items.push_back(item);
    }
  file.folders = folders;
  return file;
}

TEST(DamagedOutlookFiles, ThatWereCutArePackedAsFarAsTheyGo) {
  const std::string whole = large_file().bytes();
  for (std::size_t size = 0; size < whole.size(); size += whole.size() / 11) {
    const windows::Disk disk;
    disk.add(usual + "a.pst", whole.substr(0, size));
    const auto result = pack_disk(disk.path());
    EXPECT_TRUE(result.people.front().tally.has_losses()) << size;
    EXPECT_EQ(result.content.at(documents + "Outlook data files/a.pst").size(), size);
  }
}

// Every part of the file is once another one: nothing of it ends the program, and nothing lost is kept
// silent.
void expect_loud_damage(pst::File file, std::initializer_list<std::size_t> in_pages) {
  const std::string whole = file.bytes();
  const windows::Disk good;
  good.add(usual + "a.pst", whole);
  const auto expected = pack_disk(good.path());
  const std::string work = "Brindle/Mail/Work";
  std::vector<std::size_t> places{10, 0xB8, 0xD8, 0xE0, 0xE8, 0xF0, 0x201};
  for (const std::size_t page : file.pages)
    for (const std::size_t at : in_pages) places.push_back(page + at);
  for (std::size_t number = 0; number < file.blocks.size(); number += 9)
    for (const std::size_t at : {0, 14}) places.push_back(file.blocks[number].at + at);
  for (const std::size_t place : places) {
    const windows::Disk disk;
    std::string bytes = whole;
    for (std::size_t byte = 0; byte < 4; ++byte)
      bytes[place + byte] = static_cast<char>(bytes[place + byte] ^ (0xA5 + 31 * byte + place));
    disk.add(usual + "a.pst", bytes);
    const auto result = pack_disk(disk.path());
    const bool is_same = result.content.contains(inbox) && result.content.contains(work) &&
                         result.content.at(inbox) == expected.content.at(inbox) &&
                         result.content.at(work) == expected.content.at(work);
    EXPECT_TRUE(is_same || result.people.front().tally.has_losses()) << place;
  }
}

TEST(DamagedOutlookFiles, OfAnyKindNeitherEndTheProgramNorAreSilent) {
  expect_loud_damage(large_file(), {0, 200, 488, 504});
}

TEST(DamagedOutlookFiles, WithLargePagesNeitherEndTheProgramNorAreSilent) {
  expect_loud_damage(large_file(pst::File::pages_of_4k), {0, 200, 4056, 4072, 4080});
}

struct Stored {
  std::string bytes;
  std::size_t place;  // of a byte that only the reading of the second message needs
};
Stored three_messages() {
  pst::File file;
  file.folders = {{.name = "Inbox", .items = {message("one"), message("two"), message("three")}}};
  // So much that its block has pages of its own.
  for (pst::Item& item : file.folders[0].items)
    item.properties.push_back(pst::binary(0x6000, std::string(1900, 'x')));
  for (pst::Item& item : file.folders[0].items)
    item.properties.push_back(pst::binary(0x6001, std::string(1900, 'y')));
  for (pst::Item& item : file.folders[0].items)
    item.properties.push_back(pst::binary(0x6002, std::string(1900, 'z')));
  const std::string bytes = file.bytes();
  const auto block = file.block_with(std::string("t\0w\0o\0", 6), bytes);
  return {.bytes = bytes, .place = file.blocks[block.value()].at + file.blocks[block.value()].size / 2};
}

// A disk on which one byte of a file cannot be read once, when it is asked for the n-th time. All processes
// of ours count together.
class Shaky : public pack::Tree {
 public:
  Shaky(const std::string& path, std::string file, std::size_t place, int bad_time)
      : tree_(pack::folder_tree(path)),
        file_(std::move(file)),
        place_(place),
        bad_time_(bad_time),
        times_(static_cast<int*>(
            mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {}
  std::vector<pack::Entry> list(const std::string& folder) const override { return tree_->list(folder); }
  std::unique_ptr<pack::Content> open(const std::string& file) const override {
    auto content = tree_->open(file);
    if (file != file_) return content;
    return std::make_unique<Reader>(std::move(content), *this);
  }

 private:
  struct Reader : pack::Content {
    Reader(std::unique_ptr<pack::Content> from, const Shaky& disk) : content(std::move(from)), tree(disk) {}
    std::size_t read(char* to, std::size_t most) override {
      if (at <= tree.place_ && tree.place_ < at + most && ++*tree.times_ == tree.bad_time_)
        throw std::system_error(EIO, std::generic_category());
      const std::size_t count = content->read(to, most);
      at += count;
      return count;
    }
    bool seek(std::uint64_t position) override {
      at = position;
      return content->seek(position);
    }
    std::unique_ptr<pack::Content> content;
    const Shaky& tree;
    std::size_t at = 0;
  };

  std::unique_ptr<pack::Tree> tree_;
  std::string file_;
  std::size_t place_;
  int bad_time_;
  int* times_;
};

// A folder that has two sources is read twice, and the second time counts.
TEST(DamagedOutlookFiles, ThatLoseAMessageAtAnyTimeAreKeptAsTheyAre) {
  const auto [bytes, place] = three_messages();
  const windows::Disk disk;
  disk.add(usual + "a.pst", bytes);
  disk.add("Users/Ann/AppData/Roaming/Thunderbird/Profiles/x/Mail/Local Folders/Inbox",
           "From - 1\nSubject: bird\n\nbird\n\n");
  constexpr std::size_t all = 4;
  int losses = 0;
  for (int bad_time = 1; bad_time < 12; ++bad_time) {
    const auto result =
        pack_disk(pack::Disk(std::make_unique<Shaky>(disk.path(), usual + "a.pst", place, bad_time)));
    if (messages_in(result) == all) continue;
    ++losses;
    EXPECT_THAT(result.remarks(), AllOf(Contains("kept-as-file " + usual + "a.pst"),
                                        Not(Contains("unpacked " + usual + "a.pst"))))
        << bad_time;
    EXPECT_EQ(result.content.at(documents + "Outlook data files/a.pst"), bytes) << bad_time;
  }
  EXPECT_GT(losses, 0);
}

// ---- The process that reads

// A tree with one file, whose reader may misbehave.
class Strange : public pack::Tree {
 public:
  enum How { well, dies, hangs, eats, from_the_beginning, fails, is_slow };

  explicit Strange(std::string bytes, How how, std::size_t at = 0)
      : bytes_(std::move(bytes)), how_(how), at_(at) {}

  std::vector<pack::Entry> list(const std::string&) const override {
    return {{.name = "a.pst", .size = bytes_.size()}};
  }
  std::unique_ptr<pack::Content> open(const std::string&) const override {
    return std::make_unique<Reader>(*this);
  }

 private:
  class Reader : public pack::Content {
   public:
    explicit Reader(const Strange& tree) : tree_(tree) {}
    std::size_t read(char* to, std::size_t most) override {
      if (place_ <= tree_.at_ && tree_.at_ < place_ + most) misbehave();
      if (tree_.how_ == is_slow && ++reads_ < 10) std::this_thread::sleep_for(std::chrono::milliseconds(300));
      const std::size_t count = tree_.bytes_.copy(to, most, std::min(place_, tree_.bytes_.size()));
      place_ += count;
      return count;
    }
    bool seek(std::uint64_t position) override {
      place_ = position;
      return tree_.how_ != from_the_beginning;
    }

   private:
    void misbehave() {
      if (tree_.how_ == dies) std::exit(0);
      if (tree_.how_ == hangs) pause();
      if (tree_.how_ == eats) std::string(std::size_t{3} << 30, 'x').swap(eaten_);
      if (tree_.how_ == fails) throw std::system_error(EIO, std::generic_category());
    }
    const Strange& tree_;
    std::size_t place_ = 0;
    int reads_ = 0;
    std::string eaten_;
  };

  std::string bytes_;
  How how_;
  std::size_t at_;
};

std::vector<std::string> subjects_in(const pack::Tree& tree, std::uint64_t size, bool* is_damaged,
                                     pack::BlocksOfFile::Limits limits = {}) {
  pack::BlocksOfFile blocks({.tree = &tree, .path = "a.pst"}, size, limits);
  pack::Store store(blocks);
  std::vector<std::string> subjects;
  for (const auto& folder : store.folders())
    for (const auto& item : store.items(folder)) subjects.push_back(store.item(item.id).text(0x0037));
  *is_damaged = blocks.is_damaged();
  return subjects;
}

TEST(OutlookReader, ThatDiesLosesOneMessage) {
  const auto [bytes, place] = three_messages();
  const Strange tree(bytes, Strange::dies, place);
  bool is_damaged = false;
  EXPECT_THAT(subjects_in(tree, bytes.size(), &is_damaged), ElementsAre("one", "", "three"));
  EXPECT_TRUE(is_damaged);
}

TEST(OutlookReader, ThatHangsIsEnded) {
  const auto [bytes, place] = three_messages();
  const Strange tree(bytes, Strange::hangs, place);
  bool is_damaged = false;
  EXPECT_THAT(
      subjects_in(tree, bytes.size(), &is_damaged, {.without_progress = std::chrono::milliseconds(300)}),
      ElementsAre("one", "", "three"));
  EXPECT_TRUE(is_damaged);
}

// The whole of an index takes longer than any of its pages.
TEST(OutlookReader, OfASlowDiskIsWaitedForAsLongAsItGetsOn) {
  const std::string bytes = three_messages().bytes;
  const Strange tree(bytes, Strange::is_slow);
  bool is_damaged = true;
  EXPECT_THAT(
      subjects_in(tree, bytes.size(), &is_damaged, {.without_progress = std::chrono::milliseconds(1000)}),
      ElementsAre("one", "two", "three"));
  EXPECT_FALSE(is_damaged);
}

TEST(OutlookReader, GivesNoMoreThanManyTimesTheFile) {
  const std::string bytes = three_messages().bytes;
  const Strange tree(bytes, Strange::well, bytes.size() + 1);
  pack::BlocksOfFile blocks({.tree = &tree, .path = "a.pst"}, bytes.size());
  const std::uint64_t most = (std::uint64_t{64} << 20) + 16 * bytes.size();
  std::uint64_t largest = 0;
  std::size_t size = 0;
  for (const auto& node : blocks.nodes())
    if (const auto block = blocks.block(node.data); block && block->size() > size) {
      largest = node.data;
      size = block->size();
    }
  ASSERT_FALSE(blocks.is_damaged());
  std::uint64_t given = 0;
  while (const auto block = given <= most ? blocks.block(largest) : std::nullopt) given += block->size();
  EXPECT_LE(given, most);
  EXPECT_GT(given, most / 2);
  EXPECT_TRUE(blocks.is_damaged());
}

TEST(OutlookReader, ThatFailsToReadLosesOneMessage) {
  const auto [bytes, place] = three_messages();
  const Strange tree(bytes, Strange::fails, place);
  bool is_damaged = false;
  EXPECT_THAT(subjects_in(tree, bytes.size(), &is_damaged), ElementsAre("one", "", "three"));
  EXPECT_TRUE(is_damaged);
}

TEST(OutlookReader, ThatDiesAtOnceIsNotBegunAgainAndAgain) {
  const std::string bytes = three_messages().bytes;
  const Strange tree(bytes, Strange::dies, bytes.size() - 1000);
  bool is_damaged = false;
  EXPECT_THAT(subjects_in(tree, bytes.size(), &is_damaged), IsEmpty());
  EXPECT_TRUE(is_damaged);
}

TEST(OutlookReader, ReadsACopyOfWhatCanOnlyBeReadFromItsBeginning) {
  const std::string bytes = three_messages().bytes;
  const Strange tree(bytes, Strange::from_the_beginning, bytes.size() + 1);
  bool is_damaged = true;
  EXPECT_THAT(subjects_in(tree, bytes.size(), &is_damaged), ElementsAre("one", "two", "three"));
  EXPECT_FALSE(is_damaged);
}

TEST(OutlookReader, ThatWantsMoreMemoryThanItMayHaveIsEnded) {
#ifdef BRINDLE_ADDRESS_CHECKER
  GTEST_SKIP() << "the address checker needs the memory that is forbidden";
#endif
  const auto [bytes, place] = three_messages();
  const Strange tree(bytes, Strange::eats, place);
  bool is_damaged = false;
  EXPECT_THAT(subjects_in(tree, bytes.size(), &is_damaged), ElementsAre("one", "", "three"));
  EXPECT_TRUE(is_damaged);
}

}  // namespace
