#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pack/contacts/windows_contact.h"
#include "pack/databases.h"
#include "pack/recorded.h"
#include "pack/windows_disk.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using recorded::pack_disk;
using testing::ElementsAre;
using testing::HasSubstr;

const std::string folder = "Users/Ann/Contacts/";

std::string contact(const std::string& inside) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<c:contact c:Version=\"1\" "
         "xmlns:c=\"http://schemas.microsoft.com/Contact\" "
         "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">" +
         inside + "</c:contact>";
}
std::string named(const std::string& name) {
  return contact("<c:NameCollection><c:Name c:ElementID=\"x\"><c:FormattedName>" + name +
                 "</c:FormattedName></c:Name></c:NameCollection>");
}

std::string card_of(const std::string& file) {
  const auto card = pack::windows_contact(file);
  return card ? card->text("id") : "none";
}

TEST(WindowsContacts, AreReadWhole) {
  EXPECT_EQ(
      card_of(contact(
          "<c:Notes c:Version=\"1\">one\r\ntwo</c:Notes>"
          "<c:EmailAddressCollection>"
          "<c:EmailAddress><c:Type>SMTP</c:Type><c:Address>ann@work.example</c:Address><c:LabelCollection>"
          "<c:Label>Business</c:Label></c:LabelCollection></c:EmailAddress>"
          "<c:EmailAddress><c:Address>ann@home.example</c:Address><c:LabelCollection><c:Label>Preferred</"
          "c:Label>"
          "</c:LabelCollection></c:EmailAddress></c:EmailAddressCollection>"
          "<c:NameCollection><c:Name><c:NickName>Annie</c:NickName><c:Title>Dr.</c:Title>"
          "<c:FormattedName>Ann; Lee</c:FormattedName><c:FamilyName>Lée</c:FamilyName>"
          "<c:MiddleName>B.</c:MiddleName><c:GivenName>Ann</c:GivenName><c:Generation>Jr.</c:Generation></"
          "c:Name>"
          "</c:NameCollection>"
          "<c:PhysicalAddressCollection><c:PhysicalAddress><c:Country>Germany</c:Country>"
          "<c:PostalCode>10115</c:PostalCode><c:Region>BE</c:Region><c:Locality>Berlin</c:Locality>"
          "<c:Street>Main 1</c:Street><c:POBox>7</c:POBox><c:LabelCollection><c:Label>Personal</c:Label>"
          "</c:LabelCollection></c:PhysicalAddress></c:PhysicalAddressCollection>"
          "<c:PhoneNumberCollection>"
          "<c:PhoneNumber><c:Number>1</c:Number><c:LabelCollection><c:Label>Voice</"
          "c:Label><c:Label>Business</c:Label>"
          "</c:LabelCollection></c:PhoneNumber>"
          "<c:PhoneNumber><c:Number>2</c:Number><c:LabelCollection><c:Label>Voice</"
          "c:Label><c:Label>Personal</c:Label>"
          "</c:LabelCollection></c:PhoneNumber>"
          "<c:PhoneNumber><c:Number>3</c:Number><c:LabelCollection><c:Label>Cellular</c:Label></"
          "c:LabelCollection>"
          "</c:PhoneNumber>"
          "<c:PhoneNumber><c:Number>4</c:Number><c:LabelCollection><c:Label>Fax</c:Label><c:Label>Business</"
          "c:Label>"
          "</c:LabelCollection></c:PhoneNumber>"
          "<c:PhoneNumber><c:Number>5</c:Number><c:LabelCollection><c:Label>Pager</c:Label></"
          "c:LabelCollection>"
          "</c:PhoneNumber><c:PhoneNumber xsi:nil=\"true\"/></c:PhoneNumberCollection>"
          "<c:PositionCollection><c:Position><c:Company>Lee &amp; "
          "Sons</c:Company><c:Department>Toys</c:Department>"
          "<c:JobTitle>Boss</c:JobTitle><c:Profession>Joiner</c:Profession></c:Position></"
          "c:PositionCollection>"
          "<c:UrlCollection><c:Url><c:Value>http://ann.example</c:Value></c:Url></c:UrlCollection>"
          "<c:DateCollection><c:Date><c:Value>2001-01-01T00:00:00Z</c:Value><c:LabelCollection>"
          "<c:Label>wab:Anniversary</c:Label></c:LabelCollection></c:Date><c:Date>"
          "<c:Value>1970-05-10T00:00:00Z</c:Value><c:LabelCollection><c:Label>wab:Birthday</c:Label>"
          "</c:LabelCollection></c:Date></c:DateCollection>"
          "<c:PhotoCollection><c:Photo><c:Value c:ContentType=\"image/jpeg\">/9j/\r\n4AA=</c:Value></c:Photo>"
          "</c:PhotoCollection>")),
      "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:id\r\n"
      "FN:Ann\\; Lee\r\n"
      "N;CHARSET=UTF-8:Lée;Ann;B.;Dr.;Jr.\r\n"
      "NICKNAME:Annie\r\n"
      "EMAIL;TYPE=INTERNET:ann@home.example\r\n"
      "EMAIL;TYPE=INTERNET;TYPE=WORK:ann@work.example\r\n"
      "TEL;TYPE=WORK;TYPE=VOICE:1\r\n"
      "TEL;TYPE=HOME;TYPE=VOICE:2\r\n"
      "TEL;TYPE=CELL:3\r\n"
      "TEL;TYPE=WORK;TYPE=FAX:4\r\n"
      "TEL;TYPE=PAGER:5\r\n"
      "ADR;TYPE=HOME:7;;Main 1;Berlin;BE;10115;Germany\r\n"
      "ORG:Lee & Sons;Toys\r\n"
      "TITLE:Boss\r\n"
      "ROLE:Joiner\r\n"
      "URL:http://ann.example\r\n"
      "BDAY:1970-05-10\r\n"
      "NOTE:one\\ntwo\r\n"
      "PHOTO;ENCODING=b;TYPE=JPEG:/9j/4AA=\r\n"
      "END:VCARD");
}

TEST(WindowsContacts, OtherWordsServeAsWell) {
  EXPECT_THAT(
      card_of(contact("<c:PositionCollection><c:Position><c:Organization>Lee</c:Organization></c:Position>"
                      "</c:PositionCollection>")),
      HasSubstr("\r\nORG:Lee\r\n"));
  EXPECT_THAT(
      card_of(contact("<c:NameCollection><c:Name><c:GivenName>Ann</c:GivenName><c:Suffix>II</c:Suffix>"
                      "</c:Name></c:NameCollection>")),
      HasSubstr("\r\nN:;Ann;;;II\r\n"));
  EXPECT_THAT(
      card_of(contact("<c:DateCollection><c:Date><c:Value>1970-05-10T00:00:00Z</c:Value><c:LabelCollection>"
                      "<c:Label>Birthday</c:Label></c:LabelCollection></c:Date></c:DateCollection>")),
      HasSubstr("\r\nBDAY:1970-05-10\r\n"));
}

TEST(WindowsContacts, PicturesOfUnknownKindsAreNone) {
  EXPECT_EQ(
      card_of(contact("<c:PhotoCollection><c:Photo><c:Url>x.jpg</c:Url></c:Photo><c:Photo>"
                      "<c:Value c:ContentType=\"text/html\">AAAA</c:Value></c:Photo></c:PhotoCollection>"))
          .find("PHOTO"),
      std::string::npos);
}

TEST(WindowsContacts, NameWhatACardHasNoLineFor) {
  const auto dropped = [](const std::string& inside) {
    const auto card = pack::windows_contact(contact(inside));
    return card ? card->dropped() : std::set<std::string>{"none"};
  };
  const auto label = [](const std::string& text) {
    return "<c:LabelCollection><c:Label>" + text + "</c:Label></c:LabelCollection>";
  };
  EXPECT_THAT(dropped("<c:IMAddressCollection><c:IMAddress><c:Value>ann</c:Value></c:IMAddress>"
                      "</c:IMAddressCollection>"),
              ElementsAre("IMAddress"));
  EXPECT_THAT(
      dropped("<c:PersonCollection><c:Person><c:FormattedName>Bob</c:FormattedName>" + label("wab:Spouse") +
              "</c:Person><c:Person><c:FormattedName>Cid</c:FormattedName>" + label("Personal") +
              "</c:Person><c:Person>" + label("wab:Child") + "</c:Person></c:PersonCollection>"),
      ElementsAre("Person", "Spouse"));
  EXPECT_THAT(dropped("<c:DateCollection><c:Date><c:Value>2001-01-01T00:00:00Z</c:Value>" +
                      label("wab:Anniversary") + "</c:Date><c:Date><c:Value>1970-05-10T00:00:00Z</c:Value>" +
                      label("wab:Birthday") + "</c:Date><c:Date><c:Value>1971-05-10T00:00:00Z</c:Value>" +
                      label("wab:Birthday") + "</c:Date></c:DateCollection>"),
              ElementsAre("Anniversary", "Birthday"));
  EXPECT_THAT(dropped("<c:NameCollection><c:Name/><c:Name><c:FormattedName>Ann</c:FormattedName>"
                      "<c:Phonetic>An</c:Phonetic><c:Suffix>II</c:Suffix><c:Generation>Jr.</c:Generation>"
                      "</c:Name><c:Name><c:FormattedName>Annie</c:FormattedName></c:Name>"
                      "</c:NameCollection>"),
              ElementsAre("Generation", "Name", "Phonetic"));
  EXPECT_THAT(dropped("<c:PositionCollection><c:Position><c:Company>Lee</c:Company>"
                      "<c:Organization>Lee Group</c:Organization></c:Position>"
                      "<c:Position><c:Company>Other</c:Company></c:Position></c:PositionCollection>"),
              ElementsAre("Organization", "Position"));
  EXPECT_THAT(dropped("<c:Gender>Female</c:Gender><c:Extended><c:x>1</c:x></c:Extended>"),
              ElementsAre("Extended", "Gender"));
  EXPECT_THAT(dropped("<c:PhotoCollection><c:Photo><c:Value c:ContentType=\"image/png\">AAAA</c:Value>"
                      "</c:Photo><c:Photo><c:Value c:ContentType=\"image/png\">BBBB</c:Value></c:Photo>"
                      "</c:PhotoCollection>"),
              ElementsAre("Photo"));
  EXPECT_THAT(dropped("<c:PhotoCollection><c:Photo><c:Value c:ContentType=\"image/x\">AAAA</c:Value>"
                      "</c:Photo></c:PhotoCollection>"),
              ElementsAre("Photo"));
  EXPECT_THAT(
      dropped("<c:Gender>Unspecified</c:Gender><c:Extended xsi:nil=\"true\"/><c:CreationDate>2005"
              "</c:CreationDate><c:ContactIDCollection><c:ContactID><c:Value>1</c:Value></c:ContactID>"
              "</c:ContactIDCollection><c:PhotoCollection><c:Photo>" +
              label("UserTile") + "</c:Photo></c:PhotoCollection>"),
      testing::IsEmpty());
}

TEST(WindowsContacts, AfterAnEmptyNameAndPositionTheOtherCounts) {
  EXPECT_THAT(card_of(contact("<c:NameCollection><c:Name/><c:Name><c:FormattedName>Ann</c:FormattedName>"
                              "</c:Name></c:NameCollection><c:PositionCollection><c:Position/><c:Position>"
                              "<c:Company>Lee</c:Company></c:Position></c:PositionCollection>")),
              testing::AllOf(HasSubstr("\r\nFN:Ann\r\n"), HasSubstr("\r\nORG:Lee\r\n")));
}

TEST(WindowsContacts, AreToldWithWhatHasNoPlace) {
  const windows::Disk disk;
  const std::string spouse =
      "<c:PersonCollection><c:Person><c:FormattedName>Bob</c:FormattedName><c:LabelCollection><c:Label>"
      "wab:Spouse</c:Label></c:LabelCollection></c:Person></c:PersonCollection>";
  disk.add(folder + "Ann.contact",
           contact("<c:NameCollection><c:Name><c:FormattedName>Ann</c:FormattedName></c:Name>"
                   "</c:NameCollection>" +
                   spouse));
  disk.add(folder + "Nobody.contact", contact(spouse));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.remarks(), ElementsAre("partly-kept " + folder + "Ann.contact: Ann: Spouse",
                                            "no-place " + folder + "Nobody.contact: : Spouse"));
}

TEST(WindowsContacts, BecomeAnAddressBook) {
  const windows::Disk disk;
  disk.add(folder + "Ann.contact", named("Ann"));
  disk.add(folder + "Friends/Bob.CONTACT", named("Bob"));
  disk.add(folder + "Again.contact", named("Ann"));
  disk.add(folder + "Friends.group", contact(""));
  disk.add(folder + "Broken.contact", "<c:contact>");
  disk.add(folder + "Empty.contact", contact(""));
  disk.add(folder + "Other.contact", "<other/>");
  disk.add(folder + "Long.contact", std::string(5 << 20, ' '));
  std::filesystem::create_symlink("/etc/passwd", disk.path() + "/" + folder + "Link.contact");
  make_database(
      disk, "Users/Ann/AppData/Roaming/Thunderbird/Profiles/x/abook.sqlite",
      "CREATE TABLE properties (card TEXT, name TEXT, value TEXT); CREATE TABLE lists (uid TEXT, name "
      "TEXT); INSERT INTO properties VALUES ('c1', 'DisplayName', 'Bob');");
  const auto result = pack_disk(disk.path());
  write_file("/tmp/book.db", result.content.at("Brindle/ImapMail/Contacts/addressbook.db"));
  EXPECT_EQ(output_of("db5.3_dump -p /tmp/book.db | grep -o 'FN:[A-Z][a-z]*' | sort"), "FN:Ann\nFN:Bob\n");
  std::vector<std::string> remarks;
  for (const std::string& remark : result.remarks())
    if (remark.find("Other files") == std::string::npos) remarks.push_back(remark);
  EXPECT_THAT(remarks, testing::IsSupersetOf(
                           {"there-already " + folder + "Ann.contact",
                            "there-already " + folder + "Friends/Bob.CONTACT",
                            "damaged " + folder + "Broken.contact", "damaged " + folder + "Empty.contact",
                            "no-place " + folder + "Friends.group", "link " + folder + "Link.contact",
                            "too-long " + folder + "Long.contact", "damaged " + folder + "Other.contact"}));
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::contacts).packed, 2U);
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::contacts).left_out, 8U);
}

TEST(WindowsContacts, AreFoundWhereTheRegistrySaysTheyAre) {
  const windows::Disk disk;
  const windows::Disk other;
  const std::string key = R"(Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders)";
  disk.add(
      "Users/Ann/NTUSER.DAT",
      windows::hive(
          {{key, {{"{56784854-C6CB-462B-8169-88E350ACB882}", R"(E:\People)", windows::Value::expand}}}}));
  disk.add(folder + "Ann.contact", named("Ann"));
  other.add("People/Bob.contact", named("Bob"));
  pack::Options options;
  EXPECT_THAT(pack_disk(disk.path(), options).remarks(), ElementsAre(R"(elsewhere E:\People)"));
  options.drives['E'] = other.path();
  const auto result = pack_disk(disk.path(), options);
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::contacts).packed, 2U);
  disk.add("Users/Ann/NTUSER.DAT",
           windows::hive({{key,
                           {{"{56784854-C6CB-462B-8169-88E350ACB882}", R"(%USERPROFILE%\Contacts)",
                             windows::Value::expand}}}}));
  EXPECT_EQ(pack_disk(disk.path()).people.front().tally.count(pack::Kind::contacts).found, 1U) << "once";
}

TEST(WindowsContacts, BooksThatOnlyWindowsReadsAreTold) {
  const windows::Disk disk;
  const std::string roaming = "Users/Ann/AppData/Roaming/Microsoft/Address Book/Ann.wab";
  const std::string live = "Users/Ann/AppData/Local/Microsoft/Windows Live Contacts/{1}/DBStore/contacts.edb";
  disk.add(roaming, "own");
  disk.add(roaming + "~", "a copy");
  disk.add(live, "own");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.remarks(),
              ElementsAre("windows-address-book " + roaming, "windows-address-book " + live));
  EXPECT_TRUE(result.people.front().tally.has_losses());
}

}  // namespace
