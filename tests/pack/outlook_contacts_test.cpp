#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pack/databases.h"
#include "pack/pst_file.h"
#include "pack/recorded.h"
#include "pack/windows_disk.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using recorded::pack_disk;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

const std::string place = "Users/Ann/AppData/Local/Microsoft/Outlook/Outlook.pst";

pst::Item contact(pst::Properties properties) {
  properties.push_back(pst::text(0x001A, "IPM.Contact"));
  return {.properties = std::move(properties)};
}

recorded::Result pack(pst::File& file, const std::vector<pst::Folder>& folders) {
  const windows::Disk disk;
  file.folders = folders;
  disk.add(place, file.bytes());
  return pack_disk(disk.path());
}

// The cards without their names in the book, each on a line.
std::string cards_in(const recorded::Result& result) {
  write_file("/tmp/book.db", result.content.at("Brindle/ImapMail/Contacts/addressbook.db"));
  return output_of(
      "perl -MDB_File -e 'tie %b, \"DB_File\", \"/tmp/book.db\" or die; for (values %b) { next unless "
      "/^BEGIN/; s/^UID:.*\\r\\n//m; s/^(BEGIN|END|VERSION).*\\r?\\n?//mg; s/\\0//; s/\\r\\n/|/g; print "
      "\"$_\\n\" }' | LC_ALL=C sort");
}

TEST(OutlookContacts, HaveAllThatTheyHave) {
  pst::File file;
  const auto named = [&](std::uint32_t number) { return file.named(pst::contact_set, number); };
  const auto result =
      pack(file, {{.name = "Contacts",
                   .container = "IPF.Contact",
                   .items = {contact({pst::text(0x3001, "Dr. Ann Lee"),
                                      pst::text(0x3A11, "Lee; x"),
                                      pst::text(0x3A06, "Ann"),
                                      pst::text(0x3A44, "B."),
                                      pst::text(0x3A45, "Dr."),
                                      pst::text(0x3A05, "Jr."),
                                      pst::text(0x3A4F, "Annie"),
                                      pst::text(named(0x8083), "ann@home.example"),
                                      pst::text(named(0x8093), "/o=Lee/cn=ann"),
                                      pst::text(named(0x8094), "ann@work.example"),
                                      pst::text(named(0x80A3), "ann@third.example"),
                                      pst::text(0x3003, "not@used.example"),
                                      pst::text(0x3A08, "1"),
                                      pst::text(0x3A1B, "2"),
                                      pst::text(0x3A09, "3"),
                                      pst::text(0x3A2F, "4"),
                                      pst::text(0x3A1C, "5"),
                                      pst::text(0x3A24, "6"),
                                      pst::text(0x3A25, "7"),
                                      pst::text(0x3A21, "8"),
                                      pst::text(0x3A1A, "9"),
                                      pst::text(0x3A1F, "10"),
                                      pst::text(0x3A5D, "Main 1\r\nBack"),
                                      pst::text(0x3A59, "Berlin"),
                                      pst::text(0x3A5C, "BE"),
                                      pst::text(0x3A5B, "10115"),
                                      pst::text(0x3A5A, "Germany"),
                                      pst::text(0x3A5E, "Box 1"),
                                      pst::text(named(0x8045), "Office 2"),
                                      pst::text(named(0x8046), "Bonn"),
                                      pst::text(named(0x8047), "NW"),
                                      pst::text(named(0x8048), "53111"),
                                      pst::text(named(0x8049), "DE"),
                                      pst::text(named(0x804A), "Box 2"),
                                      pst::text(0x3A29, "not used"),
                                      pst::text(0x3A63, "Other 3"),
                                      pst::text(0x3A16, "Lee & Sons"),
                                      pst::text(0x3A18, "Sales"),
                                      pst::text(0x3A17, "Boss"),
                                      pst::text(named(0x802B), "http://lee.example"),
                                      pst::text(0x3A51, "http://not.used"),
                                      pst::time(0x3A42, 11055600 /* 1970-05-08 23:00 */),
                                      pst::text(0x1000, "one\r\ntwo"),
                                      pst::texts(file.named("Keywords"), {"Friends", "a,b"})}),
                             contact({pst::text(0x3001, "Bob"), pst::text(0x3003, "bob@home.example"),
                                      pst::text(0x3A29, "Street 9"), pst::text(0x3A27, "Bonn"),
                                      pst::text(0x3A50, "http://bob.example"),
                                      pst::time(named(0x80DE), 11232000 /* 1970-05-11 00:00 */),
                                      pst::time(0x3A42, 0)})}}});
  EXPECT_EQ(
      cards_in(result),
      "FN:Dr. Ann Lee|N:Lee\\; x;Ann;B.;Dr.;Jr.|NICKNAME:Annie|EMAIL;TYPE=INTERNET:ann@home.example|"
      "EMAIL;TYPE=INTERNET:ann@work.example|EMAIL;TYPE=INTERNET:ann@third.example|TEL;TYPE=WORK;TYPE=VOICE:1|"
      "TEL;TYPE=WORK;TYPE=VOICE:2|TEL;TYPE=HOME;TYPE=VOICE:3|TEL;TYPE=HOME;TYPE=VOICE:4|TEL;TYPE=CELL:5|"
      "TEL;TYPE=WORK;TYPE=FAX:6|TEL;TYPE=HOME;TYPE=FAX:7|TEL;TYPE=PAGER:8|TEL;TYPE=PREF;TYPE=VOICE:9|"
      "TEL;TYPE=VOICE:10|ADR;TYPE=HOME:Box 1;;Main 1\\nBack;Berlin;BE;10115;Germany|ADR;TYPE=WORK:Box "
      "2;;Office 2;Bonn;NW;53111;DE|ADR;TYPE=OTHER:;;Other 3;;;;|ORG:Lee & Sons;Sales|TITLE:Boss|"
      "URL:http://lee.example|BDAY:1970-05-09|NOTE:one\\ntwo|CATEGORIES:Friends,a\\,b|\n"
      "N:;Bob;;;|FN:Bob|EMAIL;TYPE=INTERNET:bob@home.example|ADR;TYPE=WORK:;;Street "
      "9;Bonn;;;|URL:http://bob.example|BDAY:1970-05-11|\n");
  EXPECT_THAT(result.remarks(), IsEmpty());
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::contacts).packed, 2U);
}

TEST(OutlookContacts, OfAllFoldersAndProgramsAreThereOnce) {
  pst::File file;
  file.folders = {
      {.name = "Contacts",
       .container = "IPF.Contact",
       .items = {contact({pst::text(0x3001, "Ann")}), contact({pst::text(0x3001, "Bob")})},
       .folders = {{.name = "Friends",
                    .container = "IPF.Contact",
                    .items = {contact({pst::text(0x3001, "Ann")}), contact({pst::text(0x3001, "Cid")})}}}},
      {.name = "Bin", .items = {contact({pst::text(0x3001, "Gone")})}}};
  file.deleted = 1;
  const windows::Disk disk;
  disk.add(place, file.bytes());
  make_database(
      disk, "Users/Ann/AppData/Roaming/Thunderbird/Profiles/x/abook.sqlite",
      "CREATE TABLE properties (card TEXT, name TEXT, value TEXT); CREATE TABLE lists (uid TEXT, name TEXT);"
      "INSERT INTO properties VALUES ('c', 'DisplayName', 'Bob');");
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(cards_in(result), "N:;Ann;;;|FN:Ann|\nN:;Bob;;;|FN:Bob|\nN:;Cid;;;|FN:Cid|\n");
  EXPECT_THAT(result.remarks(), UnorderedElementsAre("there-already " + place + ": Contacts",
                                                     "there-already " + place + ": Contacts/Friends",
                                                     "deleted " + place + ": Bin"));
}

TEST(OutlookContacts, ListsAndPicturesAreTold) {
  pst::File file;
  pst::Item pictured = contact({pst::text(0x3001, "Ann")});
  pictured.attachments = {
      {.properties = {pst::text(0x3707, "ContactPicture.jpg"), pst::binary(0x3701, "JPEG")}}};
  const auto result = pack(
      file, {{.name = "Contacts",
              .container = "IPF.Contact",
              .items = {pictured,
                        {.properties = {pst::text(0x001A, "IPM.DistList"), pst::text(0x3001, "Team")}}}}});
  EXPECT_EQ(cards_in(result), "N:;Ann;;;|FN:Ann|\n");
  EXPECT_THAT(result.remarks(),
              UnorderedElementsAre("no-place " + place + ": Contacts: picture of Ann",
                                   "no-place " + place + ": Contacts: Team", "kept-as-file " + place));
}

TEST(OutlookContacts, ThatAreDamagedAreToldAndTheRestIsPacked) {
  pst::File file;
  file.folders = {{.name = "Contacts",
                   .container = "IPF.Contact",
                   .items = {contact({pst::text(0x3001, "Ann")}), contact({pst::text(0x3001, "Bob")}),
                             contact({pst::text(0x3001, "Cid")})}}};
  std::string bytes = file.bytes();
  const auto block = file.block_with(std::string("B\0o\0b\0", 6), bytes);
  bytes.replace(file.blocks[block.value()].at, 8, std::string(8, '\xFF'));
  const windows::Disk disk;
  disk.add(place, bytes);
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(cards_in(result), "N:;Ann;;;|FN:Ann|\nN:;Cid;;;|FN:Cid|\n");
  EXPECT_THAT(result.remarks(), Contains("damaged " + place + ": Contacts"));
  EXPECT_TRUE(result.people.front().tally.has_losses());
}

}  // namespace
