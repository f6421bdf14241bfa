#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "pack/contacts/vcard.h"
#include "pack/databases.h"
#include "pack/pack.h"
#include "pack/recorded.h"
#include "pack/windows_disk.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using recorded::pack_disk;
using testing::ElementsAre;
using testing::IsEmpty;

const std::string profile = "Users/Ann/AppData/Roaming/Thunderbird/Profiles/x.default/";
const std::string tables =
    "CREATE TABLE properties (card TEXT, name TEXT, value TEXT); CREATE TABLE lists (uid TEXT, name TEXT);";

TEST(Vcards, OfMozillasNames) {
  const auto card = pack::vcard_of_mozilla({{"DisplayName", "Ann; \"Annie\" Lee"},
                                            {"FirstName", "Ann"},
                                            {"LastName", "Lee, Jr."},
                                            {"NickName", "Annie"},
                                            {"PrimaryEmail", "ann@home.example"},
                                            {"SecondEmail", "ann@work.example"},
                                            {"WorkPhone", "1"},
                                            {"HomePhone", "2"},
                                            {"CellularNumber", "3"},
                                            {"FaxNumber", "4"},
                                            {"PagerNumber", "5"},
                                            {"HomeAddress", "Main 1"},
                                            {"HomeAddress2", "Back"},
                                            {"HomeCity", "Berlin"},
                                            {"HomeZipCode", "10115"},
                                            {"WorkCountry", "Germany"},
                                            {"WorkState", "BE"},
                                            {"Company", "Lee"},
                                            {"JobTitle", "Boss"},
                                            {"WebPage1", "http://work.example"},
                                            {"WebPage2", "http://ann.example"},
                                            {"BirthYear", "1970"},
                                            {"BirthMonth", "5"},
                                            {"BirthDay", "10"},
                                            {"Notes", "one\ntwo\\three"}});
  EXPECT_EQ(card.text("id"),
            "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:id\r\n"
            "FN:Ann\\; \"Annie\" Lee\r\n"
            "N:Lee\\, Jr.;Ann;;;\r\n"
            "NICKNAME:Annie\r\n"
            "EMAIL;TYPE=INTERNET:ann@home.example\r\n"
            "EMAIL;TYPE=INTERNET:ann@work.example\r\n"
            "TEL;TYPE=WORK;TYPE=VOICE:1\r\n"
            "TEL;TYPE=HOME;TYPE=VOICE:2\r\n"
            "TEL;TYPE=CELL:3\r\n"
            "TEL;TYPE=WORK;TYPE=FAX:4\r\n"
            "TEL;TYPE=PAGER:5\r\n"
            "ADR;TYPE=HOME:;Back;Main 1;Berlin;;10115;\r\n"
            "ADR;TYPE=WORK:;;;;BE;;Germany\r\n"
            "ORG:Lee\r\n"
            "TITLE:Boss\r\n"
            "URL:http://ann.example\r\n"
            "BDAY:1970-05-10\r\n"
            "NOTE:one\\ntwo\\\\three\r\n"
            "END:VCARD");
}

TEST(Vcards, OfOthersKeepWhatIsUnderstood) {
  const auto card = pack::vcard_of(
      "BEGIN:VCARD\r\nVERSION:4.0\r\nPRODID:x\r\nUID:urn:uuid:1\r\nFN:Ann\r\n  Lee\r\nN:Lee;Ann;;;\r\n"
      "EMAIL;PREF=1:ann@home.example\r\nitem1.TEL;TYPE=\"work,fax\";VALUE=URI:tel:+49-30-1\r\nTEL;CELL:2\r\n"
      "ADR;TYPE=home;LABEL=\"a:b;c\":;;Main "
      "1;Berlin;;;\r\nORG:;\r\nX-CUSTOM1:x\r\nNOTE:a\\nb\r\nEND:VCARD\r\n");
  EXPECT_EQ(card.text("id"),
            "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:id\r\n"
            "FN:Ann Lee\r\n"
            "N:Lee;Ann;;;\r\n"
            "EMAIL;TYPE=INTERNET:ann@home.example\r\n"
            "TEL;TYPE=WORK;TYPE=FAX:+49-30-1\r\n"
            "TEL;TYPE=CELL:2\r\n"
            "ADR;TYPE=HOME:;;Main 1;Berlin;;;\r\n"
            "NOTE:a\\nb\r\n"
            "END:VCARD");
}

TEST(Vcards, HaveNoZeroBytes) {
  using namespace std::string_literals;
  EXPECT_EQ(pack::vcard_of("FN:A\0nn\r\nNOTE;X\0:a\0\r\n"s).content(), "FN:Ann\r\nNOTE:a\r\n");
  EXPECT_EQ(pack::vcard_of_mozilla({{"DisplayName", "A\0nn"s}, {"LastName", "L\0"s}}).content(),
            "FN:Ann\r\nN:L;;;;\r\n");
}

TEST(Vcards, HaveTheNamesThatEachNeeds) {
  pack::Vcard mail;
  mail.add("EMAIL;TYPE=INTERNET", "a@b.example");
  EXPECT_THAT(mail.text("1"), testing::HasSubstr("\r\nFN:a@b.example\r\nN:;a@b.example;;;\r\n"));
  pack::Vcard name;
  name.add("N", std::vector<std::string>{"Lee", "Ann", "", "", ""});
  EXPECT_THAT(name.text("1"), testing::HasSubstr("\r\nFN:Lee Ann\r\nN:Lee;Ann;;;\r\n"));
}

TEST(Contacts, OfThunderbirdBecomeAnAddressBook) {
  const windows::Disk disk;
  make_database(
      disk, profile + "abook.sqlite",
      tables +
          "INSERT INTO properties VALUES ('c1', 'DisplayName', 'Ann'), ('c1', 'PrimaryEmail', "
          "'ann@a.example'),"
          " ('c2', '_vCard', 'BEGIN:VCARD' || char(13, 10) || 'FN:Bob' || char(13, 10) || 'END:VCARD'),"
          " ('c2', 'DisplayName', 'old'), ('c3', 'PopularityIndex', '7');"
          "INSERT INTO lists VALUES ('l', 'Friends');");
  make_database(disk, profile + "history.sqlite",
                tables +
                    "INSERT INTO properties VALUES ('h1', 'PrimaryEmail', 'ann@a.example'), ('h1', "
                    "'DisplayName', 'Ann'),"
                    " ('h2', 'PrimaryEmail', 'cid@c.example');");
  const auto result = pack_disk(disk.path());
  write_file("/tmp/book.db", result.content.at("Brindle/ImapMail/Contacts/addressbook.db"));
  const std::string dump = output_of("db5.3_dump -p /tmp/book.db");
  EXPECT_THAT(dump, testing::HasSubstr("\n PAS-DB-VERSION\\00\n 0.2\\00\n"));
  EXPECT_THAT(dump, testing::HasSubstr("FN:Ann\\0d\\0a"));
  EXPECT_THAT(dump, testing::HasSubstr("FN:Bob\\0d\\0a"));
  EXPECT_THAT(dump, testing::HasSubstr("EMAIL;TYPE=INTERNET:cid@c.example"));
  EXPECT_EQ(output_of("db5.3_dump -p /tmp/book.db | grep -c END:VCARD"), "3\n");
  EXPECT_EQ(output_of("db5.3_verify /tmp/book.db 2>&1"), "BDB5105 Verification of /tmp/book.db succeeded.\n");
  EXPECT_THAT(result.remarks(), ElementsAre("no-place " + profile + "abook.sqlite: Friends",
                                            "there-already " + profile + "history.sqlite"));
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::contacts).packed, 3U);
}

// One that does not give the book back while it is packed.
class Losing : public recorded::Parcel {
 public:
  explicit Losing(std::string command) : command_(std::move(command)) {}
  void add_stream(const std::string& name, std::uint64_t most,
                  const std::function<void(const pack::Writer& write)>& make) override {
    if (name.ends_with("addressbook.db")) {
      EXPECT_EQ(output_of("cd /tmp/copies/brindle-pack-* && " + command_ + " && echo done"), "done\n");
    }
    recorded::Parcel::add_stream(name, most, make);
  }

 private:
  std::string command_;
};

TEST(Contacts, ThatCannotBeReadBackEndTheProgram) {
  const windows::Disk folder;
  make_database(folder, profile + "abook.sqlite",
                tables + "INSERT INTO properties VALUES ('c1', 'DisplayName', 'Ann');");
  std::filesystem::create_directory("/tmp/copies");
  setenv("TMPDIR", "/tmp/copies", 1);
  pack::Options options;
  options.source = folder.path();
  const pack::Disk disk = pack::disk_of(options);
  const auto pack_with = [&](const std::string& command) {
    Losing parcel(command);
    pack::pack_all(parcel, disk, pack::chosen_people(disk, options), options);
  };
  EXPECT_NO_THROW(pack_with("true"));
  EXPECT_THROW(pack_with("truncate -s -1 addressbook.db"), std::runtime_error);
  EXPECT_THROW(pack_with("truncate -s 0 addressbook.db"), std::runtime_error);
  EXPECT_THROW(pack_with("rm addressbook.db"), std::runtime_error);
  EXPECT_THROW(pack_with("rm addressbook.db && mkdir addressbook.db"), std::runtime_error);
}

TEST(Contacts, WithoutAnAccountHaveTheFolderThatARunLooksFor) {
  const windows::Disk disk;
  make_database(disk, profile + "abook.sqlite",
                tables + "INSERT INTO properties VALUES ('c1', 'DisplayName', 'Ann');");
  EXPECT_TRUE(pack_disk(disk.path()).content.contains("Brindle/ImapMail/brindle-email-accounts/"));
}

TEST(Contacts, ListsOfAnyNameAreTold) {
  const windows::Disk disk;
  make_database(disk, profile + "abook.sqlite",
                tables +
                    "INSERT INTO properties VALUES ('c1', 'DisplayName', 'Ann');"
                    "INSERT INTO lists VALUES ('l', CAST(x'4100FFFF42' AS TEXT)), ('m', 'Friends');");
  EXPECT_THAT(pack_disk(disk.path()).remarks(),
              ElementsAre("no-place " + profile + "abook.sqlite: A" + std::string("\0\xFF\xFF", 3) + "B",
                          "no-place " + profile + "abook.sqlite: Friends"));
}

TEST(Contacts, HaveKeysThatAreTheirUids) {
  const windows::Disk disk;
  make_database(disk, profile + "abook.sqlite",
                tables + "INSERT INTO properties VALUES ('c1', 'DisplayName', 'Ann');");
  write_file("/tmp/book.db", pack_disk(disk.path()).content.at("Brindle/ImapMail/Contacts/addressbook.db"));
  EXPECT_EQ(output_of("perl -MDB_File -e 'tie %b, \"DB_File\", \"/tmp/book.db\" or die; for (sort keys %b) { "
                      "next if /^PAS-DB/; "
                      "print /^(pas-id-[0-9a-f]{32})\\0$/ && $b{$_} =~ /^UID:$1\\r$/m && $b{$_} =~ "
                      "/END:VCARD\\0\\z/ ? 1 : 0 }'"),
            "1");
}

TEST(Contacts, ThatCannotBeReadAreTold) {
  const windows::Disk disk;
  disk.add(profile + "abook.mab", "no book");
  disk.add(profile + "abook-1.sqlite", "none");
  const auto result = pack_disk(disk.path());
  EXPECT_FALSE(result.content.contains("Brindle/ImapMail/Contacts/addressbook.db"));
  EXPECT_THAT(result.remarks(),
              ElementsAre("damaged " + profile + "abook-1.sqlite", "damaged " + profile + "abook.mab"));
  EXPECT_TRUE(result.people.front().tally.has_losses());
}

}  // namespace
