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
                                      pst::text(0x3003, "ann@fourth.example"),
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
                                      pst::text(0x3A19, "Room 3"),
                                      pst::text(0x3A46, "Joiner"),
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
      "EMAIL;TYPE=INTERNET:ann@work.example|EMAIL;TYPE=INTERNET:ann@third.example|EMAIL;TYPE=INTERNET:ann@"
      "fourth.example|TEL;TYPE=WORK;TYPE=VOICE:1|"
      "TEL;TYPE=WORK;TYPE=VOICE:2|TEL;TYPE=HOME;TYPE=VOICE:3|TEL;TYPE=HOME;TYPE=VOICE:4|TEL;TYPE=CELL:5|"
      "TEL;TYPE=WORK;TYPE=FAX:6|TEL;TYPE=HOME;TYPE=FAX:7|TEL;TYPE=PAGER:8|TEL;TYPE=PREF;TYPE=VOICE:9|"
      "TEL;TYPE=VOICE:10|ADR;TYPE=HOME:Box 1;;Main 1\\nBack;Berlin;BE;10115;Germany|ADR;TYPE=WORK:Box "
      "2;;Office 2;Bonn;NW;53111;DE|ADR;TYPE=OTHER:;;Other 3;;;;|ORG:Lee & Sons;Sales;Room "
      "3|TITLE:Boss|ROLE:Joiner|"
      "URL:http://lee.example|BDAY:1970-05-09|NOTE:one\\ntwo|CATEGORIES:Friends,a\\,b|\n"
      "N:;Bob;;;|FN:Bob|EMAIL;TYPE=INTERNET:bob@home.example|ADR;TYPE=WORK:;;Street "
      "9;Bonn;;;|URL:http://bob.example|BDAY:1970-05-11|\n");
  EXPECT_THAT(result.remarks(),
              UnorderedElementsAre(
                  "partly-kept " + place + ": Contacts: Dr. Ann Lee: Mailing address, Second web page",
                  "kept-as-file " + place));
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::contacts).packed, 2U);
}

// The names of what a contact with these properties has beside its name, and no line for.
class Named {
 public:
  std::uint16_t of_contact(std::uint32_t number) { return file_.named(pst::contact_set, number); }
  std::uint16_t of_all(std::uint32_t number) { return file_.named(pst::common_set, number); }

  recorded::Result packed(pst::Properties properties) {
    properties.push_back(pst::text(0x3001, "Ann"));
    return pack(
        file_, {{.name = "Contacts", .container = "IPF.Contact", .items = {contact(std::move(properties))}}});
  }
  std::string dropped(const pst::Properties& properties) {
    const auto result = packed(properties);
    const std::string head = "partly-kept " + place + ": Contacts: Ann: ";
    std::string names;
    for (const std::string& remark : result.remarks())
      if (remark.starts_with(head)) names = remark.substr(head.size());
    const bool is_kept = testing::Value(result.remarks(), Contains("kept-as-file " + place));
    EXPECT_EQ(is_kept, !names.empty()) << names;
    return names;
  }

 private:
  pst::File file_;
};

constexpr std::int64_t no_day = 79870665600;  // in the year 4501, as Outlook has it

TEST(OutlookContacts, NameEachThingThatHasNoLineAndKeepTheFile) {
  Named ann;
  EXPECT_EQ(ann.dropped({}), "");
  const std::vector<std::pair<std::uint16_t, std::string>> texts{
      {0x3A00, "Account"},
      {0x3A07, "Government ID number"},
      {0x3A0C, "Language"},
      {0x3A0D, "Location"},
      {0x3A10, "Organizational ID number"},
      {0x3A2C, "Telex"},
      {0x3A30, "Assistant's name"},
      {0x3A43, "Hobbies"},
      {0x3A47, "Referred by"},
      {0x3A48, "Spouse"},
      {0x3A49, "Computer network name"},
      {0x3A4A, "Customer ID"},
      {0x3A4C, "FTP site"},
      {0x3A4E, "Manager's name"},
      {ann.of_contact(0x802C), "Phonetic name"},
      {ann.of_contact(0x802D), "Phonetic name"},
      {ann.of_contact(0x802E), "Phonetic company"},
      {ann.of_contact(0x804F), "User field 1"},
      {ann.of_contact(0x8050), "User field 2"},
      {ann.of_contact(0x8051), "User field 3"},
      {ann.of_contact(0x8052), "User field 4"},
      {ann.of_contact(0x8062), "IM address"},
      {ann.of_contact(0x80D8), "Free/busy address"},
      {ann.of_all(0x8534), "Mileage"},
      {ann.of_all(0x8535), "Billing information"}};
  for (const auto& [id, name] : texts) {
    EXPECT_EQ(ann.dropped({pst::text(id, "x")}), name);
    EXPECT_EQ(ann.dropped({pst::text(id, "")}), "") << name;
  }
  EXPECT_EQ(ann.dropped({pst::texts(0x3A58, {"Bob"}), pst::texts(ann.of_all(0x8539), {"Lee"}),
                         pst::texts(ann.of_all(0x853A), {"Cid"})}),
            "Children, Companies, Linked contacts");
  EXPECT_EQ(ann.dropped({pst::number(0x3A4D, 1), pst::number(0x0036, 2), pst::number(0x1090, 2),
                         pst::flag(ann.of_all(0x8503), true)}),
            "Follow up, Gender, Private, Reminder");
  EXPECT_EQ(ann.dropped({pst::number(0x3A4D, 0), pst::number(0x0036, 0), pst::number(0x1090, 0),
                         pst::flag(ann.of_all(0x8503), false)}),
            "");
  EXPECT_EQ(ann.dropped({pst::time(0x3A41, 11055600)}), "Anniversary");
  EXPECT_EQ(ann.dropped({pst::time(0x3A41, no_day)}), "");
  EXPECT_EQ(ann.dropped({pst::binary(0x3A70, "certificate")}), "Certificates");
  EXPECT_EQ(ann.dropped({pst::binary(ann.of_all(0x8540), std::string("\x03\x01\x01\0\0\0x", 7))}),
            "Fields of one's own");
  EXPECT_EQ(ann.dropped({pst::binary(ann.of_all(0x8540), std::string("\x03\x01\0\0\0\0", 6))}), "");
}

TEST(OutlookContacts, NameAddressesAndPagesThatHaveNoLine) {
  Named ann;
  EXPECT_EQ(ann.dropped({pst::text(ann.of_contact(0x8093), "/o=Lee/cn=ann")}),
            "E-mail address without \"@\"");
  EXPECT_EQ(ann.dropped({pst::text(ann.of_contact(0x802B), "a"), pst::text(0x3A51, "a")}), "");
  EXPECT_EQ(ann.dropped({pst::text(0x3A51, "a"), pst::text(0x3A50, "b")}), "Second web page");
  EXPECT_EQ(ann.dropped({pst::text(ann.of_contact(0x8005), "Lee"), pst::number(ann.of_contact(0x8006), -1)}),
            "File as");
  EXPECT_EQ(
      ann.dropped({pst::text(ann.of_contact(0x8005), "Lee"), pst::number(ann.of_contact(0x8006), 0x8017)}),
      "");
}

TEST(OutlookContacts, HaveTheAddressForMailOnceWhateverItIsOf) {
  Named ann;
  const auto card = [&](const pst::Properties& properties) {
    const std::string text = cards_in(ann.packed(properties));
    return text.substr(text.find("FN:Ann|") + 7);
  };
  EXPECT_EQ(card({pst::text(0x3A5D, "Main 1"), pst::text(0x3A59, "Berlin"), pst::text(0x3A29, "Main 1"),
                  pst::text(0x3A27, "Berlin")}),
            "ADR;TYPE=HOME:;;Main 1;Berlin;;;|\n");
  EXPECT_EQ(card({pst::text(0x3A63, "Main 1"), pst::text(0x3A29, "Main 1")}),
            "ADR;TYPE=OTHER:;;Main 1;;;;|\n");
  EXPECT_EQ(card({pst::text(0x3A5D, "Main 1"), pst::text(0x3A29, "Box 2")}),
            "ADR;TYPE=HOME:;;Main 1;;;;|ADR;TYPE=WORK:;;Box 2;;;;|\n");
  const pst::Properties both{pst::text(ann.of_contact(0x8045), "Main 1"), pst::text(0x3A29, "Box 2")};
  EXPECT_EQ(card(both), "ADR;TYPE=WORK:;;Main 1;;;;|\n");
  EXPECT_EQ(ann.dropped(both), "Mailing address");
}

TEST(OutlookContacts, HaveAddressesThatStandInOnePiece) {
  Named ann;
  EXPECT_THAT(cards_in(ann.packed({pst::text(ann.of_contact(0x801A), "Main 1, Berlin"),
                                   pst::text(ann.of_contact(0x801B), "Office 2"),
                                   pst::text(ann.of_contact(0x801C), "Other 3")})),
              HasSubstr("ADR;TYPE=HOME:;;Main 1\\, Berlin;;;;|ADR;TYPE=WORK:;;Office 2;;;;|"
                        "ADR;TYPE=OTHER:;;Other 3;;;;|"));
  EXPECT_THAT(cards_in(ann.packed({pst::text(0x3A15, "Main 1")})), HasSubstr("ADR;TYPE=WORK:;;Main 1;;;;|"));
}

TEST(OutlookContacts, HaveTheTextOfTheirHtml) {
  Named ann;
  EXPECT_THAT(cards_in(ann.packed({pst::binary(0x1013, "<p>one</p><p>two</p>")})),
              HasSubstr("NOTE:one\\ntwo|"));
  EXPECT_EQ(ann.dropped({pst::binary(0x1009, "damaged")}), "Notes");
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

TEST(OutlookContacts, OfAFileWithAWrongByteAreKeptWithTheFile) {
  pst::File file;
  file.folders = {
      {.name = "Contacts", .container = "IPF.Contact", .items = {contact({pst::text(0x3001, "Bob")})}}};
  std::string bytes = file.bytes();
  const auto block = file.block_with(std::string("B\0o\0b\0", 6), bytes);
  const std::size_t at = bytes.find(std::string("B\0o\0b\0", 6), file.blocks[block.value()].at);
  bytes[at] = 'R';
  const windows::Disk disk;
  disk.add(place, bytes);
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(cards_in(result), "N:;Rob;;;|FN:Rob|\n");
  EXPECT_THAT(result.remarks(), UnorderedElementsAre("store-damaged " + place, "kept-as-file " + place));
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
