#include <gmock/gmock.h>
#include <gsf/gsf-outfile-msole.h>
#include <gsf/gsf-output-stdio.h>
#include <gsf/gsf-utils.h>
#include <gtest/gtest.h>

#include "pack/calendar/notes.h"
#include "pack/databases.h"
#include "pack/growth.h"
#include "pack/planner/sticky_notes.h"
#include "pack/recorded.h"
#include "pack/windows_disk.h"
#include "support/files.h"

namespace {

using recorded::pack_disk;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

const std::string plum =
    "Users/Ann/AppData/Local/Packages/Microsoft.MicrosoftStickyNotes_8wekyb3d8bbwe/LocalState/plum.sqlite";
const std::string snt = "Users/Ann/AppData/Roaming/Microsoft/Sticky Notes/StikyNot.snt";
const std::string table = "CREATE TABLE Note (Text TEXT, UpdatedAt INTEGER, DeletedAt INTEGER, Id TEXT);";

// A note a storage with its streams, as Windows 7 has them.
void make_old_notes(const windows::Disk& disk, const std::vector<std::map<std::string, std::string>>& notes) {
  const std::string path = disk.add(snt, "");
  gsf_init();
  GsfOutput* const file = gsf_output_stdio_new(path.c_str(), nullptr);
  GsfOutfile* const root = gsf_outfile_msole_new(file);
  const auto write = [](GsfOutput* output, const std::string& bytes) {
    gsf_output_write(output, bytes.size(), reinterpret_cast<const guint8*>(bytes.data()));
    gsf_output_close(output);
    g_object_unref(output);
  };
  int number = 0;
  for (const auto& streams : notes) {
    GsfOutput* const note = gsf_outfile_new_child(root, ("note" + std::to_string(number++)).c_str(), TRUE);
    for (const auto& [name, bytes] : streams)
      write(gsf_outfile_new_child(GSF_OUTFILE(note), name.c_str(), FALSE), bytes);
    gsf_output_close(note);
    g_object_unref(note);
  }
  write(gsf_outfile_new_child(root, "Version", FALSE), "1");
  gsf_output_close(GSF_OUTPUT(root));
  g_object_unref(root);
  g_object_unref(file);
}

std::string utf16(const std::u16string& text) {
  std::string bytes;
  for (const char16_t unit : text) {
    bytes += static_cast<char>(unit & 0xFF);
    bytes += static_cast<char>(unit >> 8);
  }
  return bytes;
}

std::string row(const std::string& text, const std::string& deleted = "NULL") {
  return "INSERT INTO Note (Text, DeletedAt) VALUES ('" + text + "', " + deleted + ");";
}

TEST(StickyNotes, ShowNoMarks) {
  EXPECT_EQ(pack::shown_text("\\id=1-2 Milk\n\\id=3 \\b two\\b0  eggs\\ul\\i x\\ul0\\i0"), "Milk\ntwo eggsx");
  EXPECT_EQ(pack::shown_text("C:\\birds \\id=1 \\\\b"), "C:\\birds \\id=1 \\");
  EXPECT_EQ(pack::shown_text("\\id=1\r\n\\id=2 a"), "\r\na");
  EXPECT_EQ(pack::shown_text(""), "");
}

TEST(StickyNotes, OfWindows10AreFilesOfTheirOwn) {
  const windows::Disk disk;
  make_database(disk, plum,
                table + row("\\id=1 Shopping: Müller\n\\id=2 milk, eggs") + row("\\id=3 Call Bob") +
                    row("\\id=4 gone", "637000000000000000") + row("\\id=5 Call Bob") + row("\\id=6  ") +
                    row("\\id=7 call bob\n\\id=8 again", "0"));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Notes/"),
              UnorderedElementsAre("Call Bob.txt", "Shopping  Müller.txt", "call bob 2.txt"));
  EXPECT_EQ(result.content.at("Brindle/Notes/Shopping  Müller.txt"),
            "Subject: Shopping: M\xA8\xB9ller\nShopping: M\xA8\xB9ller\nmilk, eggs\n");
  EXPECT_EQ(result.content.at("Brindle/My Documents/Notes/Shopping  Müller.txt"),
            "Shopping: Müller\nmilk, eggs\n");
  EXPECT_EQ(result.content.at("Brindle/Notes/call bob 2.txt"), "Subject: call bob\ncall bob\nagain\n");
  EXPECT_TRUE(result.content.contains("Brindle/ImapMail/brindle-email-accounts/"));
  EXPECT_THAT(result.remarks(), ElementsAre("deleted " + plum, "there-already " + plum));
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::notes).packed, 3U);
}

TEST(StickyNotes, AreInGb2312WhereItHasTheLetters) {
  const windows::Disk disk;
  make_database(disk, plum, table + row("\\id=1 购物 10 €"));
  EXPECT_EQ(pack_disk(disk.path()).content.at("Brindle/Notes/购物 10 €.txt"),
            "Subject: \xB9\xBA\xCE\xEF 10 EUR\n\xB9\xBA\xCE\xEF 10 EUR\n");
}

TEST(StickyNotes, OfWindows7AreRead) {
  const windows::Disk disk;
  make_old_notes(
      disk,
      {{{"0", "{\\rtf1 a}"}, {"1", "x"}, {"3", utf16(u"Milk\r\neggs ä \U0001F600") + std::string(6, '\0')}},
       {{"3", utf16({u'B', 0xD800, u'c', 0xDC00, 0xD801})}},
       {{"0", "{\\rtf1 a}"}}});
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Notes/"),
              UnorderedElementsAre("B\uFFFDc\uFFFD\uFFFD.txt", "Milk.txt"));
  EXPECT_EQ(result.content.at("Brindle/My Documents/Notes/Milk.txt"), "Milk\neggs ä \U0001F600\n");
  EXPECT_THAT(result.remarks(), ElementsAre("damaged " + snt));
}

TEST(StickyNotes, OfADamagedFileAreToldOnceAndNotByTheLibrary) {
  const windows::Disk disk;
  make_old_notes(disk, {{{"3", utf16(u"Milk") + std::string(6, '\0')}}, {{"3", utf16(u"Eggs")}}});
  std::string bytes = read_file(disk.path() + "/" + snt);
  // The kind of the second note in the directory.
  const std::size_t name = bytes.find(utf16(u"note1"));
  ASSERT_NE(name, std::string::npos);
  bytes[name + 66] = 'x';
  write_file(disk.path() + "/" + snt, bytes);
  testing::internal::CaptureStderr();
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_TRUE(result.content.contains("Brindle/Notes/Milk.txt"));
  EXPECT_THAT(result.remarks(), ElementsAre("damaged " + snt));
}

TEST(StickyNotes, LieBesideAFolderOfTheSameName) {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/Notes/Milk.txt", "mine");
  make_database(disk, plum, table + row("\\id=1 Milk"));
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(result.content.at("Brindle/My Documents/Notes/Milk.txt"), "mine");
  EXPECT_EQ(result.content.at("Brindle/My Documents/Notes 2/Milk.txt"), "Milk\n");
}

TEST(StickyNotes, HaveNamesThatAFolderTakes) {
  const windows::Disk disk;
  make_database(disk, plum,
                table + row("\\id=1 ../../etc/passwd") + row("\\id=2 .hidden") + row("\\id=3 :*?") +
                    row("\\id=4 -rf") +
                    "INSERT INTO Note (Text) VALUES (printf('%.*c', 300, 'x') || char(10) || 'rest'),"
                    " (CAST(x'41000142FF' AS TEXT));");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Notes/"),
              UnorderedElementsAre("etc passwd.txt", "hidden.txt", "Note.txt", "rf.txt",
                                   std::string(80, 'x') + ".txt", "A\uFFFDB\uFFFD.txt"));
  EXPECT_EQ(result.content.at("Brindle/Notes/" + std::string(80, 'x') + ".txt"),
            "Subject: " + std::string(160, 'x') + "\n" + std::string(300, 'x') + "\nrest\n");
}

TEST(StickyNotes, ThatCannotBeReadAreTold) {
  const windows::Disk disk;
  disk.add(plum, "none");
  disk.add(snt, "none");
  EXPECT_THAT(pack_disk(disk.path()).remarks(), ElementsAre("damaged " + snt, "damaged " + plum));
  const windows::Disk other;
  make_database(other, plum, "CREATE TABLE Other (Text TEXT);");
  EXPECT_THAT(pack_disk(other.path()).remarks(), ElementsAre("damaged " + plum));
}

TEST(StickyNotes, PicturesInThemAreTold) {
  const windows::Disk disk;
  make_database(disk, plum,
                "CREATE TABLE Note (Text TEXT); CREATE TABLE Media (LocalFileRelativePath TEXT);"
                "INSERT INTO Note VALUES ('\\id=1 Milk'); INSERT INTO Media VALUES ('a.png');");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.remarks(), ElementsAre("no-place " + plum + ": a.png"));
  EXPECT_TRUE(result.content.contains("Brindle/Notes/Milk.txt"));
}

TEST(Notes, WithATitleOfTheirOwnHaveItInFront) {
  recorded::Parcel parcel;
  pack::Tally tally;
  const std::set<pack::Kind> without;
  pack::Packing packing(parcel, tally, "Brindle", without);
  pack::Notes notes(packing);
  notes.add({.title = "Shopping", .text = "milk\r\neggs"}, "a");
  notes.add({.title = "Milk", .text = "Milk and eggs"}, "b");
  EXPECT_EQ(parcel.content.at("Brindle/Notes/Shopping.txt"), "Subject: Shopping\nmilk\neggs\n");
  EXPECT_EQ(parcel.content.at("Brindle/My Documents/Notes/Shopping.txt"), "Shopping\n\nmilk\neggs\n");
  EXPECT_EQ(parcel.content.at("Brindle/My Documents/Notes/Milk.txt"), "Milk and eggs\n");
}

TEST(Notes, OfOneTitleGetTheirNumbersAtOnce) {
  const auto add = [](std::size_t count) {
    recorded::Parcel parcel;
    pack::Tally tally;
    const std::set<pack::Kind> without;
    pack::Packing packing(parcel, tally, "Brindle", without);
    pack::Notes notes(packing);
    for (std::size_t i = 0; i < count; ++i) notes.add({.title = "Milk", .text = std::to_string(i)}, "notes");
    return parcel.content.contains("Brindle/Notes/Milk " + std::to_string(count) + ".txt");
  };
  EXPECT_TRUE(add(3));
  EXPECT_LT(growth::of_time(add, 1000), growth::most);
}

}  // namespace
