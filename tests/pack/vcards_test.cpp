#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pack/contacts/vcard.h"
#include "pack/databases.h"
#include "pack/recorded.h"
#include "pack/windows_disk.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using recorded::pack_disk;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string profile = "Users/Ann/AppData/Roaming/Thunderbird/Profiles/x.default/";
const std::string tables =
    "CREATE TABLE properties (card TEXT, name TEXT, value TEXT); CREATE TABLE lists (uid TEXT, name TEXT);";

// The lines of a card by their version.
pack::Vcard card(const std::string& version, const std::string& lines,
                 const std::string& charset = "windows-1252") {
  return pack::vcard_of("BEGIN:VCARD\r\nVERSION:" + version + "\r\n" + lines + "END:VCARD\r\n", charset);
}

TEST(Vcards, OfVersion2AreDecoded) {
  EXPECT_EQ(card("2.1",
                 "N;CHARSET=ISO-8859-1;ENCODING=QUOTED-PRINTABLE:M=FCller;J=F6rg\r\n"
                 "FN;CHARSET=UTF-8;QUOTED-PRINTABLE:J=C3=B6rg =\r\nM=C3=BCl=\r\nler\r\n"
                 "TEL;WORK;FAX:+49 30 1\r\n"
                 "ADR;HOME;ENCODING=QUOTED-PRINTABLE:;;Main 1=0D=0ABack;Berlin, Mitte;;10115;\r\n"
                 "ORG:Lee\\; Sons, Ltd.;Sales\r\n"
                 "CATEGORIES:Friends,Work\r\n"
                 "URL:http://a.example/?x=1\r\n"
                 "NOTE:one\r\n  two a\\nb c:\\dir\r\n"
                 "TITLE:caf\xE9\r\n")
                .content(),
            "N:Müller;Jörg\r\n"
            "FN:Jörg Müller\r\n"
            "TEL;TYPE=WORK;TYPE=FAX:+49 30 1\r\n"
            "ADR;TYPE=HOME:;;Main 1\\nBack;Berlin\\, Mitte;;10115;\r\n"
            "ORG:Lee\\; Sons\\, Ltd.;Sales\r\n"
            "CATEGORIES:Friends,Work\r\n"
            "URL:http://a.example/?x=1\r\n"
            "NOTE:one  two a\\nb c:\\\\dir\r\n"
            "TITLE:café\r\n");
}

TEST(Vcards, OfOtherCharacterSetsAreRead) {
  EXPECT_EQ(card("3.0", "FN:\xC6\xE5\xED\xFF\r\n", "windows-1251").content(), "FN:Женя\r\n");
  EXPECT_EQ(card("3.0", "FN;CHARSET=windows-1251:\xC6\xE5\xED\xFF\r\n").content(), "FN:Женя\r\n");
  EXPECT_EQ(card("3.0", "FN;CHARSET=none:x\xFFy\r\n").content(), "FN:x\xEF\xBF\xBDy\r\n");
}

TEST(Vcards, TellThatTheirLettersAreUtf8) {
  EXPECT_EQ(
      card("3.0", "FN:Jörg\r\nEMAIL:j@a.example\r\nADR;TYPE=home:;;Weg 1;Köln;;;\r\nTITLE:x:y\r\n").text("1"),
      "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:1\r\n"
      "N;CHARSET=UTF-8:;Jörg;;;\r\n"
      "FN;CHARSET=UTF-8:Jörg\r\n"
      "EMAIL;TYPE=INTERNET:j@a.example\r\n"
      "ADR;TYPE=HOME;CHARSET=UTF-8:;;Weg 1;Köln;;;\r\n"
      "TITLE:x:y\r\n"
      "END:VCARD");
}

TEST(Vcards, ZeroBytesInThemEndNothing) {
  EXPECT_EQ(card("3.0", std::string("FN:J\xC3\xB6\0rg\r\n", 11) + "TITLE:x\r\n").content(),
            "FN:Jörg\r\nTITLE:x\r\n");
}

TEST(Vcards, OfVersion3KeepTheirEscapes) {
  EXPECT_EQ(
      card("3.0",
           "FN:Lee\\, Ann\r\nNOTE:long\r\n er\\nline\r\nADR;TYPE=home,postal,x-own:;;Main\\; 1;Berlin;;;\r\n"
           "CATEGORIES:a,b\\,c\r\nNOTE;ENCODING=QUOTED-PRINTABLE:a=0D=0Ab\r\n")
          .content(),
      "FN:Lee\\, Ann\r\nNOTE:longer\\nline\r\nADR;TYPE=HOME:;;Main\\; 1;Berlin;;;\r\n"
      "CATEGORIES:a,b\\,c\r\nNOTE:a\\nb\r\n");
}

TEST(Vcards, TelephonesKeepTheirTypes) {
  std::string lines;
  std::string expected;
  for (const char* type : {"HOME", "WORK", "CELL", "FAX", "PAGER", "VOICE", "PREF", "CAR", "MSG", "MODEM",
                           "ISDN", "BBS", "VIDEO", "PCS"}) {
    lines += std::string("TEL;TYPE=") + type + ":1\r\n";
    expected += std::string("TEL;TYPE=") + type + ":1\r\n";
  }
  EXPECT_EQ(card("3.0", lines + "TEL;TYPE=text:2\r\nTEL;TYPE=\"cell,work\";VALUE=uri:tel:+1-2\r\n").content(),
            expected + "TEL:2\r\nTEL;TYPE=CELL;TYPE=WORK:+1-2\r\n");
}

TEST(Vcards, ThePreferredAddressComesFirst) {
  EXPECT_EQ(
      card("4.0",
           "EMAIL:a@a.example\r\nFN:x\r\nEMAIL;PREF=2:b@a.example\r\nEMAIL;TYPE=work;PREF=1:c@a.example\r\n"
           "EMAIL:d@a.example\r\n")
          .content(),
      "EMAIL;TYPE=INTERNET;TYPE=WORK:c@a.example\r\nFN:x\r\nEMAIL;TYPE=INTERNET:b@a.example\r\n"
      "EMAIL;TYPE=INTERNET:a@a.example\r\nEMAIL;TYPE=INTERNET:d@a.example\r\n");
  EXPECT_THAT(card("3.0", "EMAIL:a@a.example\r\nEMAIL;TYPE=pref:b@a.example\r\n").content(),
              testing::StartsWith("EMAIL;TYPE=INTERNET;TYPE=PREF:b@a.example"));
}

TEST(Vcards, DaysAreWrittenAsVersion3Does) {
  for (const char* day : {"19700510", "1970-05-10", "19700510T120000Z", "1970-05-10T00:00:00Z"})
    EXPECT_EQ(card("4.0", std::string("BDAY:") + day + "\r\n").content(), "BDAY:1970-05-10\r\n") << day;
  for (const char* day : {"--0510", "1970", "1970-05", "circa 1800", "--051012"}) {
    EXPECT_EQ(card("4.0", std::string("BDAY:") + day + "\r\n").content(), "") << day;
    EXPECT_THAT(card("4.0", std::string("BDAY:") + day + "\r\n").dropped(), ElementsAre("BDAY"));
  }
}

TEST(Vcards, NoteWhatTheyDrop) {
  EXPECT_THAT(card("4.0",
                   "PRODID:x\r\nUID:1\r\nREV:2\r\nFN:Ann\r\nPHOTO:data:image/jpeg;base64,AAAA\r\n"
                   "IMPP:xmpp:ann@a.example\r\nitem1.X-Own:1\r\nX-OWN:2\r\nX-EMPTY:\r\nGENDER:F\r\nKEY:;\r\n")
                  .dropped(),
              ElementsAre("GENDER", "IMPP", "PHOTO", "X-OWN"));
  EXPECT_THAT(card("2.1",
                   "N:Lee;Ann\r\nPHOTO;JPEG;ENCODING=BASE64:\r\n AAAA\r\n BBBB=\r\n\r\nNOTE;BASE64:QUJD\r\n"
                   "LABEL;HOME:x\r\n")
                  .dropped(),
              ElementsAre("NOTE", "PHOTO"));
  EXPECT_THAT(card("3.0", "FN:Ann\r\nLOGO;ENCODING=b:AAAA\r\nROLE:Boss\r\n").dropped(),
              ElementsAre("LOGO", "ROLE"));
}

TEST(Vcards, OfMozillasNamesNoteWhatTheyDrop) {
  EXPECT_THAT(pack::vcard_of_mozilla({{"DisplayName", "Ann"},
                                      {"Custom1", "x"},
                                      {"Custom2", ""},
                                      {"_Skype", "ann"},
                                      {"PhotoURI", "file:///C:/a.jpg"},
                                      {"PhotoType", "file"},
                                      {"PopularityIndex", "7"},
                                      {"LastModifiedDate", "1"},
                                      {"BirthMonth", "5"},
                                      {"BirthDay", "10"},
                                      {"WebPage1", "http://w.example"},
                                      {"WebPage2", "http://h.example"}})
                  .dropped(),
              ElementsAre("Birthday", "Custom1", "PhotoURI", "WebPage1", "_Skype"));
  EXPECT_THAT(
      pack::vcard_of_mozilla(
          {{"WebPage1", "http://w.example"}, {"BirthYear", "1970"}, {"BirthMonth", "5"}, {"BirthDay", "10"}})
          .dropped(),
      IsEmpty());
}

TEST(Contacts, WhatTheyLoseIsToldOnceEach) {
  const windows::Disk disk;
  make_database(
      disk, profile + "abook.sqlite",
      tables +
          "INSERT INTO properties VALUES ('c1', 'DisplayName', 'Ann; Lee'), ('c1', 'Custom1', 'x'),"
          " ('c1', '_Skype', 'ann'), ('c2', 'DisplayName', 'Bob'), ('c3', 'Custom4', 'alone'),"
          " ('c4', '_vCard', 'BEGIN:VCARD' || char(13, 10) || 'VERSION:4.0' || char(13, 10) || "
          "'N:Lee;Cid;;;' ||"
          " char(13, 10) || 'IMPP:xmpp:c' || char(13, 10) || 'PHOTO:x' || char(13, 10) || 'END:VCARD');");
  const auto result = pack_disk(disk.path());
  const std::string from = profile + "abook.sqlite: ";
  EXPECT_THAT(result.remarks(),
              ElementsAre("partly-kept " + from + "Ann; Lee: Custom1, _Skype",
                          "no-place " + from + ": Custom4", "partly-kept " + from + "Lee Cid: IMPP, PHOTO"));
  const auto count = result.people.front().tally.count(pack::Kind::contacts);
  EXPECT_EQ(count.found, 4U);
  EXPECT_EQ(count.packed, 3U);
  EXPECT_TRUE(result.people.front().tally.has_losses());
}

TEST(Contacts, AreReadByOthers) {
  const windows::Disk disk;
  make_database(disk, profile + "abook.sqlite",
                tables +
                    "INSERT INTO properties VALUES ('c1', 'DisplayName', 'Ann' || char(0) || 'Lee'),"
                    " ('c1', 'PrimaryEmail', 'ann@a.example'), ('c1', 'SecondEmail', 'lee@a.example'),"
                    " ('c1', 'CellularNumber', '1'), ('c1', 'FaxNumber', '2'),"
                    " ('c1', 'Notes', 'one' || char(10) || 'two');");
  write_file("/tmp/book.db", pack_disk(disk.path()).content.at("Brindle/ImapMail/Contacts/addressbook.db"));
  ASSERT_EQ(
      output_of("db5.3_dump -p /tmp/book.db | grep 'END:VCARD' | "
                "perl -ne 's/^ //; s/\\\\00$//; s/\\\\([0-9a-f]{2})/chr hex $1/ge; s/\\\\\\\\/\\\\/g; print' "
                "> /tmp/card.vcf; grep -c . /tmp/card.vcf"),
      "11\n");
  EXPECT_EQ(
      output_of("/usr/bin/python3 -c \"import vobject; c = vobject.readOne(open('/tmp/card.vcf', "
                "newline='').read()); "
                "print(c.fn.value, [e.value for e in c.email_list], [(t.value, t.params['TYPE']) for t in "
                "c.tel_list], repr(c.note.value))\""),
      "AnnLee ['ann@a.example', 'lee@a.example'] [('1', ['CELL']), ('2', ['WORK', 'FAX'])] 'one\\ntwo'\n");
}

}  // namespace
