#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pack/pst_file.h"
#include "pack/recorded.h"
#include "pack/windows_disk.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using recorded::pack_disk;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

const std::string place = "Users/Ann/AppData/Local/Microsoft/Outlook/Outlook.pst";
const std::string mail = "Brindle/Mail/";

constexpr std::int64_t in_march = 1109666472;  // Tue, 01 Mar 2005 08:41:12 +0000

pst::Item message(const std::string& subject, pst::Properties more = {}) {
  pst::Item item{.properties = {pst::text(0x001A, "IPM.Note"), pst::number(0x0E08, 4000),
                                pst::text(0x0037, subject), pst::time(0x0E06, in_march),
                                pst::text(0x1000, "Text of " + subject + "\r\n")}};
  for (const pst::Property& property : more) {
    std::erase_if(item.properties, [&](const pst::Property& other) { return other.id == property.id; });
    item.properties.push_back(property);
  }
  return item;
}

std::string from_line(const std::string& status) {
  return "From - Tue Mar  1 08:41:12 2005\nX-Mozilla-Status: " + status + "\n";
}

std::string packed(const std::string& subject) {
  return from_line("0000") + "Subject: " + subject +
         "\nDate: Tue, 01 Mar 2005 08:41:12 +0000\nMIME-Version: 1.0\nContent-Type: text/plain; "
         "charset=utf-8\nContent-Transfer-Encoding: 7bit\n\nText of " +
         subject + "\n\n";
}

// A mailbox with this one message in it.
std::string inbox_with(const pst::Item& item) {
  const windows::Disk disk;
  pst::File file;
  file.folders = {{.name = "Inbox", .items = {item}}};
  disk.add(place, file.bytes());
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.remarks(), IsEmpty());
  return result.content.at(mail + "Inbox");
}

std::string header_of(const std::string& message) { return message.substr(0, message.find("\n\n") + 1); }

TEST(OutlookMail, KeepsItsTreeOfFolders) {
  const windows::Disk disk;
  pst::File file;
  file.folders = {
      {.name = "Posteingang",
       .items = {message("one"), message("two")},
       .folders = {{.name = "Work",
                    .items = {message("three")},
                    .folders = {{.name = "v1.2/a", .items = {message("four")}}, {.name = "Empty"}}}}},
      {.name = "Gesendete Elemente", .items = {message("five"), message("six")}},
      {.name = "Postausgang"},
      {.name = "Entwürfe", .items = {message("seven")}},
      {.name = "Kalender", .container = "IPF.Appointment"},
      {.name = "Grüße", .items = {message("eight"), message("nine")}},
      {.name = "", .items = {message("ten")}},
      {.name = "x.sbd", .items = {message("eleven")}},
      {.name = ".NET",
       .items = {message("twelve")},
       .folders = {{.name = ".x", .items = {message("thirteen")}}}},
  };
  file.inbox = 0;
  file.sent = 1;
  file.outbox = 2;
  file.drafts = 3;
  disk.add(place, file.bytes());
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(
      result.files_below(mail),
      UnorderedElementsAre("Inbox", "Inbox.sbd/Work", "Inbox.sbd/Work.sbd/v1.2_a", "Inbox.sbd/Work.sbd/Empty",
                           "Sent", "Outbox", "Drafts", "Grüße", "Folder", "x_sbd", "_NET", "_NET.sbd/_x"));
  EXPECT_EQ(result.content.at(mail + "Inbox"), packed("one") + packed("two"));
  EXPECT_EQ(result.content.at(mail + "Inbox.sbd/Work.sbd/v1.2_a"), packed("four"));
  EXPECT_EQ(result.content.at(mail + "Outbox"), "");
  EXPECT_EQ(result.content.at(mail + "Sent"), packed("five") + packed("six"));
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::mail).packed, 13U);
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(OutlookMail, OfManyMessagesArrivesWhole) {
  const windows::Disk disk;
  pst::File file;
  pst::Folder folder{.name = "Inbox"};
  std::string expected;
  for (int number = 0; number < 400; ++number) {
    folder.items.push_back(message("message number " + std::to_string(number)));
    expected += packed("message number " + std::to_string(number));
  }
  file.folders = {folder};
  disk.add(place, file.bytes());
  EXPECT_EQ(pack_disk(disk.path()).content.at(mail + "Inbox"), expected);
}

TEST(OutlookMail, OfTheOldFormIsRead) {
  const windows::Disk disk;
  pst::File file(pst::File::ansi_form);
  pst::Item item = message("x", {pst::ansi(0x0037,
                                           "Gr\xFC\xDF"
                                           "e"),
                                 pst::ansi(0x1000, "\xC4 \xD6"), pst::ansi(0x001A, "IPM.Note")});
  pst::Item cyrillic = message("x", {pst::ansi(0x0037, "\xCF\xF0"), pst::number(0x3FFD, 1251)});
  item.recipients = {
      {pst::number(0x0C15, 1), pst::ansi(0x3001, "B\xF6rge"), pst::ansi(0x3003, "b@x.example")},
      {pst::number(0x0C15, 2), pst::ansi(0x3001, "C"), pst::ansi(0x3003, "c@x.example")}};
  pst::Folder folder{.name = "Inbox", .items = {item, cyrillic}};
  for (int number = 0; number < 50; ++number) folder.items.push_back(message(std::to_string(number)));
  file.folders = {folder};
  disk.add(place, file.bytes());
  const auto result = pack_disk(disk.path());
  const std::string text = result.content.at(mail + "Inbox");
  EXPECT_THAT(text, HasSubstr("Subject: =?utf-8?B?R3LDvMOfZQ==?=\n"));
  EXPECT_THAT(text, HasSubstr("To: =?utf-8?B?QsO2cmdl?= <b@x.example>\nCc: \"C\" <c@x.example>\n"));
  EXPECT_THAT(text, HasSubstr("\n\n=C3=84 =C3=96\n\n"));
  EXPECT_THAT(text, HasSubstr("Subject: =?utf-8?B?0J/RgA==?=\n"));
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::mail).packed, 52U);
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(OutlookMail, WithAHeaderKeepsItWithoutItsOldForm) {
  EXPECT_EQ(header_of(inbox_with(message(
                "other",
                {pst::text(0x007D,
                           "Microsoft Mail Internet Headers Version 2.0\r\nReceived: from a\r\n\tby b\r\n"
                           "From: Bob <bob@home.example>\r\nTo: Ann <ann@home.example>,\r\n "
                           "Cid <cid@home.example>\r\nSubject: =?utf-8?Q?=C3=A4?=\r\nDate: Mon, 28 Feb 2005 "
                           "01:02:03 +0100\r\nMessage-ID: <1@b>\r\nMIME-Version: 1.0\r\nContent-Type: "
                           "multipart/mixed;\r\n\tboundary=old\r\nContent-Transfer-Encoding: base64\r\n"
                           "X-Mozilla-Status: 0009\r\nX-Spam: no\r\n\r\nSubject: of a part\r\n"),
                 pst::text(0x0065, "no@no.example"), pst::text(0x1035, "<2@b>")}))),
            from_line("0000") +
                "Received: from a\n\tby b\nFrom: Bob <bob@home.example>\nTo: Ann <ann@home.example>,\n Cid "
                "<cid@home.example>\nSubject: =?utf-8?Q?=C3=A4?=\nDate: Mon, 28 Feb 2005 01:02:03 "
                "+0100\nMessage-ID: "
                "<1@b>\nX-Spam: no\nMIME-Version: 1.0\nContent-Type: text/plain; "
                "charset=utf-8\nContent-Transfer-Encoding: 7bit\n");
}

TEST(OutlookMail, WithHalfAHeaderGetsTheRest) {
  const std::string header = header_of(
      inbox_with(message("kept", {pst::text(0x007D, "X-Spam: no\r\n"), pst::text(0x0C1F, "bob@home.example"),
                                  pst::text(0x1035, "<2@b>"), pst::text(0x0E04, "ann@home.example")})));
  EXPECT_THAT(header,
              HasSubstr("X-Spam: no\nFrom: <bob@home.example>\nTo: <ann@home.example>\nSubject: kept\nDate: "
                        "Tue, 01 Mar 2005 08:41:12 +0000\nMessage-ID: <2@b>\n"));
}

TEST(OutlookMail, WhoseHeaderBeginsEmptyKeepsIt) {
  EXPECT_THAT(header_of(inbox_with(
                  message("kept", {pst::text(0x007D, "\r\n \r\nX-Spam: no\r\n\r\nX-Body: no\r\n")}))),
              HasSubstr("\nX-Spam: no\nSubject: kept\n"));
}

TEST(OutlookMail, OfWhichAHeaderTellsRecipientsHasThoseAndTheSecretOnes) {
  const auto header_with = [](const std::string& field) {
    pst::Item item = message("x", {pst::text(0x007D, field + "\r\n")});
    item.recipients = {
        {pst::number(0x0C15, 1), pst::text(0x3001, "Ann"), pst::text(0x3003, "ann@home.example")},
        {pst::number(0x0C15, 2), pst::text(0x3001, "Bob"), pst::text(0x3003, "bob@home.example")},
        {pst::number(0x0C15, 3), pst::text(0x3001, "Flo"), pst::text(0x3003, "flo@home.example")}};
    return header_of(inbox_with(item));
  };
  for (const char* field : {"To: Cid <cid@home.example>", "Cc: Cid <cid@home.example>"})
    EXPECT_THAT(header_with(field),
                HasSubstr("0000\n" + std::string(field) + "\nBcc: \"Flo\" <flo@home.example>\nSubject: x\n"));
}

TEST(OutlookMail, ToHundredsNamesThemAll) {
  pst::Item item = message("x", {pst::number(0x0E08, 200000)});
  std::string expected;
  for (int number = 0; number < 1000; ++number) {
    const std::string address = "p" + std::to_string(number) + "@home.example";
    item.recipients.push_back({pst::number(0x0C15, 1), pst::text(0x3003, address)});
    expected += (number == 0 ? "<" : ",\n <") + address + ">";
  }
  EXPECT_THAT(header_of(inbox_with(item)), HasSubstr("\nTo: " + expected + "\nSubject: x\n"));
}

TEST(OutlookMail, HasEachRecipientInItsListWhateverOutlookHasMarkedBeside) {
  pst::Item item = message("x");
  item.recipients = {
      {pst::number(0x0C15, 0x10000001), pst::text(0x3003, "ann@home.example")},
      {pst::number(0x0C15, 0x10000002), pst::text(0x3003, "bob@home.example")},
      {pst::number(0x0C15, static_cast<std::int32_t>(0x80000003)), pst::text(0x3003, "cid@home.example")},
      {pst::number(0x0C15, 0), pst::text(0x3003, "dan@home.example")}};
  EXPECT_THAT(header_of(inbox_with(item)),
              HasSubstr("\nTo: <ann@home.example>,\n <dan@home.example>\nCc: <bob@home.example>\nBcc: "
                        "<cid@home.example>\nSubject: x\n"));
}

TEST(OutlookMail, ThatWasNeverSentHasTheTimeAtWhichItWasMade) {
  pst::Item draft = message("x", {pst::time(0x3007, in_march)});
  std::erase_if(draft.properties, [](const pst::Property& property) { return property.id == 0x0E06; });
  EXPECT_THAT(inbox_with(draft),
              testing::StartsWith(from_line("0000") + "Subject: x\nDate: Tue, 01 Mar 2005 08:41:12 +0000\n"));
  pst::Item sent = message("x", {pst::time(0x3007, in_march - 3600)});
  EXPECT_THAT(inbox_with(sent), testing::StartsWith(from_line("0000")));
}

TEST(OutlookMail, IsAsImportantAsItWas) {
  const auto header_with = [](int importance) {
    return header_of(inbox_with(message("x", {pst::number(0x0017, importance)})));
  };
  EXPECT_THAT(header_with(0), HasSubstr("\nImportance: low\n"));
  EXPECT_THAT(header_with(1), Not(HasSubstr("Importance")));
  EXPECT_THAT(header_with(2), HasSubstr("\nImportance: high\n"));
}

TEST(OutlookMail, IsAnsweredToTheSenderWhereNoOtherAddressIsKnown) {
  EXPECT_THAT(header_of(inbox_with(message("x", {pst::text(0x0050, "Ann Lee")}))),
              Not(HasSubstr("Reply-To")));
}

TEST(OutlookMail, WithWordsThatLookEncodedHasThemAsTheyAre) {
  const std::string header = header_of(inbox_with(message(
      "=?utf-8?Q?a?= b", {pst::text(0x0C1A, "=?utf-8?Q?c?="), pst::text(0x0C1F, "ann@home.example")})));
  EXPECT_THAT(header, HasSubstr("\nSubject: =?utf-8?B?PT91dGYtOD9RP2E/PSBi?=\n"));
  EXPECT_THAT(header, HasSubstr("\nFrom: =?utf-8?B?PT91dGYtOD9RP2M/PQ==?= <ann@home.example>\n"));
}

TEST(OutlookMail, WithoutAHeaderGetsOneOfItsProperties) {
  pst::Item item =
      message("\x01\x05Re: Füße",
              {pst::number(0x0E07, 1), pst::number(0x0017, 2), pst::time(0x0039, in_march - 60),
               pst::text(0x0C1A, "Bob Ray"), pst::text(0x0C1F, "bob@home.example"),
               pst::text(0x0042, "Ann \"A\" Lee"), pst::text(0x0065, "ann@home.example"),
               pst::text(0x1035, "<3@b>"), pst::text(0x1042, "<2@b>"), pst::text(0x1039, "<1@b> <2@b>"),
               pst::text(0x0050, "reply@home.example"), pst::text(0x0E04, "not used")});
  item.recipients = {
      {pst::number(0x0C15, 1), pst::text(0x3001, "Cid Ü"), pst::text(0x3003, "cid@home.example")},
      {pst::number(0x0C15, 2), pst::text(0x3001, "Dan"), pst::text(0x3003, "dan@home.example")},
      {pst::number(0x0C15, 1), pst::text(0x3001, "Eve"), pst::text(0x3003, "/o=Lee/cn=Recipients/cn=eve"),
       pst::text(0x39FE, "eve@home.example")},
      {pst::number(0x0C15, 3), pst::text(0x3001, "flo@home.example"), pst::text(0x3003, "flo@home.example")},
      {pst::number(0x0C15, 1), pst::text(0x3001, "Guy"), pst::text(0x3003, "/o=Lee/cn=Recipients/cn=g uy1")}};
  EXPECT_EQ(
      header_of(inbox_with(item)),
      "From - Tue Mar  1 08:40:12 2005\nX-Mozilla-Status: 0001\nFrom: \"Ann \\\"A\\\" Lee\" "
      "<ann@home.example>\nSender: \"Bob Ray\" <bob@home.example>\nTo: =?utf-8?B?Q2lkIMOc?= "
      "<cid@home.example>,\n \"Eve\" <eve@home.example>,\n \"Guy\" <guy1@exchange.invalid>\nCc: \"Dan\" "
      "<dan@home.example>\nBcc: <flo@home.example>\nSubject: =?utf-8?B?UmU6IEbDvMOfZQ==?=\nDate: Tue, 01 Mar "
      "2005 "
      "08:40:12 +0000\nMessage-ID: <3@b>\nIn-Reply-To: <2@b>\nReferences: <1@b> <2@b>\nReply-To: "
      "<reply@home.example>\nImportance: high\nMIME-Version: 1.0\nContent-Type: text/plain; "
      "charset=utf-8\nContent-Transfer-Encoding: quoted-printable\n");
}

TEST(OutlookMail, OfExchangeHasAddressesWhereOneIsKnown) {
  const auto from = [](pst::Properties properties) {
    const std::string header = header_of(inbox_with(message("x", std::move(properties))));
    const std::size_t begin = header.find("\nFrom: ") + 1;
    return header.substr(begin, header.find('\n', begin) - begin);
  };
  EXPECT_EQ(from({pst::text(0x0042, "Ann"), pst::text(0x0064, "EX"),
                  pst::text(0x0065, "/o=L/ou=x/cn=Recipients/cn=ann"), pst::text(0x5D02, "ann@lee.example")}),
            "From: \"Ann\" <ann@lee.example>");
  EXPECT_EQ(from({pst::text(0x0042, "Ann"), pst::text(0x0065, "/o=L/ou=x/cn=Recipients/cn=ann")}),
            "From: \"Ann\" <ann@exchange.invalid>");
  EXPECT_EQ(from({pst::text(0x0C1A, "Ann"), pst::text(0x0C1F, "/o=L/ou=x/cn=Recipients/cn=ann"),
                  pst::text(0x5D01, "ann@lee.example")}),
            "From: \"Ann\" <ann@lee.example>");
  EXPECT_EQ(from({pst::text(0x0C1A, "Ann")}), "From: \"Ann\" <unknown@outlook.invalid>");
}

TEST(OutlookMail, WithoutRecipientsHasThoseThatOutlookShows) {
  EXPECT_THAT(
      header_of(inbox_with(message("x", {pst::text(0x0E04, "Ann Lee; 'bob@home.example'; "),
                                         pst::text(0x0E03, "cid@home.example"), pst::text(0x0E02, "D")}))),
      HasSubstr("To: \"Ann Lee\" <unknown@outlook.invalid>,\n <bob@home.example>\nCc: "
                "<cid@home.example>\nBcc: \"D\" <unknown@outlook.invalid>\n"));
}

TEST(OutlookMail, WithoutAMessageIdGetsOne) {
  EXPECT_THAT(inbox_with(message("x", {pst::binary(0x300B, "\x01\xAB")})),
              HasSubstr("\nMessage-ID: <01ab@outlook.invalid>\n"));
}

TEST(OutlookMail, CarriesItsMarks) {
  const auto status = [](pst::Properties properties) {
    const std::string text = inbox_with(message("x", std::move(properties)));
    return text.substr(text.find("Status: ") + 8, 4);
  };
  EXPECT_EQ(status({pst::number(0x0E07, 1)}), "0001");
  EXPECT_EQ(status({pst::number(0x0E07, 8)}), "0000");
  EXPECT_EQ(status({pst::number(0x1081, 102)}), "0002");
  EXPECT_EQ(status({pst::number(0x1081, 103)}), "0002");
  EXPECT_EQ(status({pst::number(0x1081, 104)}), "1000");
  EXPECT_EQ(status({pst::number(0x1090, 2)}), "0004");
  EXPECT_EQ(status({pst::number(0x1090, 1)}), "0000");
}

std::string body_of(const std::string& message) {
  return message.substr(message.find("\nMIME-Version: 1.0\n") + 19);
}

TEST(OutlookMail, HasBothOfItsTexts) {
  EXPECT_EQ(body_of(inbox_with(message("x", {pst::text(0x1000, "plain é"), pst::number(0x3FDE, 1252),
                                             pst::binary(0x1013, "<b>\xE9</b>")}))),
            "Content-Type: multipart/alternative;\n boundary=\"=_brindle_000001_=\"\n\n--=_brindle_000001_=\n"
            "Content-Type: text/plain; charset=utf-8\nContent-Transfer-Encoding: quoted-printable\n\nplain "
            "=C3=A9\n\n--=_brindle_000001_=\nContent-Type: text/html; charset=windows-1252\n"
            "Content-Transfer-Encoding: quoted-printable\n\n<b>=E9</b>\n\n--=_brindle_000001_=--\n\n");
}

TEST(OutlookMail, OfHtmlAloneHasItsCharset) {
  const auto html = [](pst::Properties properties) {
    pst::Item item = message("x", std::move(properties));
    std::erase_if(item.properties, [](const pst::Property& property) { return property.id == 0x1000; });
    const std::string body = body_of(inbox_with(item));
    return body.substr(0, body.find('\n')) + body.substr(body.find("\n\n") + 1);
  };
  EXPECT_EQ(html({pst::number(0x3FDE, 28592), pst::binary(0x1013, "\xB1")}),
            "Content-Type: text/html; charset=iso-8859-2\n=B1\n\n");
  EXPECT_EQ(html({pst::number(0x3FDE, 932), pst::binary(0x1013, "<b>")}),
            "Content-Type: text/html; charset=shift_jis\n<b>\n\n");
  EXPECT_EQ(html({pst::binary(0x1013, "\xC3\xA9")}), "Content-Type: text/html; charset=utf-8\n=C3=A9\n\n");
  EXPECT_EQ(html({pst::binary(0x1013, "\xE9")}), "Content-Type: text/html; charset=windows-1252\n=E9\n\n");
  EXPECT_EQ(html({pst::text(0x1013, "é")}), "Content-Type: text/html; charset=utf-8\n=C3=A9\n\n");
  EXPECT_EQ(html({pst::number(0x3FDE, 1200), pst::binary(0x1013, std::string("<\0b\0>\0\xE9\0", 8))}),
            "Content-Type: text/html; charset=utf-8\n<b>=C3=A9\n\n");
}

TEST(OutlookMail, HasNothingInItThatEndsAMailboxOrALine) {
  const std::string line(2000, 'x');
  const std::string text = inbox_with(message(
      "a\nb",
      {pst::text(0x1000, "From me\nFromage\n " + line + "\n" + std::string("a\0b", 3) + "\n=_ \n.\nend"),
       pst::text(0x0042, "Ann\r\nX: y"), pst::text(0x0065, "ann@home.example")}));
  EXPECT_THAT(text, HasSubstr("\nSubject: a b\n"));
  EXPECT_THAT(text, HasSubstr("\nFrom: \"Ann  X: y\" <ann@home.example>\n"));
  EXPECT_THAT(text, HasSubstr("\n=46rom me\nFromage\n xxxx"));
  EXPECT_THAT(text, HasSubstr("\nab\n=3D_=20\n.\nend\n"));
  EXPECT_EQ(text.find('\0'), std::string::npos);
  std::size_t longest = 0;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    longest = std::max(longest, end - begin);
    begin = end + 1;
  }
  EXPECT_LE(longest, 76U);
}

TEST(OutlookMail, LongFieldsAreFolded) {
  std::string words;
  std::string letters;
  for (int i = 0; i < 60; ++i) {
    words += "word" + std::to_string(i) + " ";
    letters += "ä€😀";
  }
  const std::string text = inbox_with(message(
      letters, {pst::text(0x007D, "X-Words: " + words + "\r\nX-Long: " + std::string(3000, 'y') + "\r\n")}));
  write_file("/tmp/inbox", text);
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    ASSERT_LE(end - begin, 998U);
    begin = end + 1;
  }
  EXPECT_EQ(output_of("python3 -c \"\n"
                      "import mailbox, email.policy, email\n"
                      "m = email.message_from_bytes(mailbox.mbox('/tmp/inbox')[0].as_bytes(), "
                      "policy=email.policy.default)\n"
                      "print(m['subject'] == '\\u00e4\\u20ac\\U0001f600' * 60, m['x-words'].split()[-1])\""),
            "True word59\n");
}

pst::Attachment attachment(const std::string& name, const std::string& data, pst::Properties more = {}) {
  pst::Attachment result{
      .properties = {pst::text(0x3707, name), pst::number(0x3705, 1), pst::binary(0x3701, data)}};
  result.properties.insert(result.properties.end(), more.begin(), more.end());
  return result;
}

// What an outside reader finds: a part a line, with its type, file name, content id, size and sum.
std::string parts_of(const std::string& mailbox) {
  write_file("/tmp/inbox", mailbox);
  return output_of(
      "python3 -c \"\n"
      "import mailbox, email.policy, email, hashlib\n"
      "for m in mailbox.mbox('/tmp/inbox'):\n"
      "  m = email.message_from_bytes(m.as_bytes(), policy=email.policy.default)\n"
      "  def show(p, indent):\n"
      "    c = p.get_payload(decode=True)\n"
      "    print(' ' * indent + p.get_content_type(), p.get_filename(), p['content-id'], "
      "p['content-disposition'] and "
      "p['content-disposition'].content_disposition, '' if c is None else (len(c), "
      "hashlib.md5(c).hexdigest()[:6]), "
      "p['subject'] or '')\n"
      "    for q in p.iter_parts() if p.is_multipart() else []: show(q, indent + 1)\n"
      "  show(m, 0)\n"
      "  if m.defects: print(m.defects)\"");
}

TEST(OutlookMail, HasItsAttachments) {
  std::string large;
  for (int i = 0; i < 300000; ++i) large += static_cast<char>(i * 7 >> 3);
  pst::Item item = message("main", {pst::number(0x0E08, 320000), pst::binary(0x1013, "<img src=cid:pic@1>")});
  pst::Item within = message("within");
  within.attachments = {attachment("deep.txt", "deep")};
  item.attachments = {
      attachment("a.txt", "short", {pst::text(0x370E, "text/x-log")}),
      attachment("Grüße an alle, die 'heute' da sind; und eine lange Fassung des Namens.pdf", large),
      attachment("pic.png", "PNG", {pst::text(0x3712, "pic@1"), pst::text(0x370E, "image/png")}),
      {.properties = {pst::text(0x3001, "forwarded"), pst::number(0x3705, 5)}, .message = {within}},
      {.properties = {pst::text(0x3704, "LINK.DOC"), pst::number(0x3705, 2),
                      pst::text(0x370D, "C:\\x\\link.doc")}},
      attachment("none", "", {pst::text(0x370E, "bad type\nX: y")})};
  EXPECT_EQ(parts_of(inbox_with(item)),
            "multipart/mixed None None None  main\n"
            " multipart/related None None None  \n"
            "  multipart/alternative None None None  \n"
            "   text/plain None None None (13, '5b10fc') \n"
            "   text/html None None None (20, '85ba43') \n"
            "  image/png pic.png <pic@1> inline (3, '55505b') \n"
            " text/x-log a.txt None attachment (5, '4f09da') \n"
            " application/octet-stream Grüße an alle, die 'heute' da sind; und eine lange Fassung des "
            "Namens.pdf None "
            "attachment (300000, 'b8fc49') \n"
            " message/rfc822 forwarded None attachment  \n"
            "  multipart/mixed None None None  within\n"
            "   text/plain None None None (15, '43d4f6') \n"
            "   application/octet-stream deep.txt None attachment (4, '662741') \n"
            " text/plain LINK.DOC None attachment (50, '5229f4') \n"
            " application/octet-stream none None attachment (0, 'd41d8c') \n");
}

TEST(OutlookMail, HasAttachmentsUnderTheirOwnNamesAndInTheirOwnForms) {
  pst::Item item = message("main", {pst::binary(0x1013, "<img src=cid:pic2>")});
  item.attachments = {
      attachment("a long name.txt", "1", {pst::text(0x3704, "ALONGN~1.TXT"), pst::text(0x3001, "shown")}),
      {.properties = {pst::text(0x3704, "SHORT.TXT"), pst::text(0x3001, "shown"), pst::number(0x3705, 1),
                      pst::binary(0x3701, "2")}},
      {.properties = {pst::text(0x3001, "shown.txt"), pst::number(0x3705, 1), pst::binary(0x3701, "3")}},
      {.properties = {pst::number(0x3705, 1), pst::binary(0x3701, "4")}},
      attachment("mail.eml", "Subject: a\r\n\r\nb", {pst::text(0x370E, "message/rfc822")}),
      attachment("parts", "--a--", {pst::text(0x370E, "multipart/mixed")}),
      attachment("pic.png", "PNG", {pst::text(0x3712, "<pic 2>")}),
      {.properties = {pst::text(0x3707, "chart"), pst::number(0x3705, 6)}, .object = "an object"},
      {.properties = {pst::text(0x3707, "old link"), pst::number(0x3705, 2),
                      pst::text(0x3708, "C:\\OLD.DOC")}}};
  const std::string text = inbox_with(item);
  const auto has = [&](const std::string& name, const std::string& more) {
    EXPECT_THAT(text, HasSubstr("Content-Type: application/octet-stream\nContent-Disposition: attachment;\n "
                                "filename=\"" +
                                name + "\"\nContent-Transfer-Encoding: base64\n\n" + more + "\n"));
  };
  has("a long name.txt", "MQ==");
  has("SHORT.TXT", "Mg==");
  has("shown.txt", "Mw==");
  has("attachment", "NA==");
  has("mail.eml", "U3ViamVjdDogYQ0KDQpi");
  has("parts", "LS1hLS0=");
  has("chart", "YW4gb2JqZWN0");
  EXPECT_THAT(text, HasSubstr("Content-Disposition: inline;\n filename=\"pic.png\"\nContent-ID: <pic2>\n"));
  EXPECT_THAT(text, HasSubstr("\nThe attachment is a link to a file: C:\\OLD.DOC\n"));
}

// More than one list of blocks holds, more of its own nodes than one block lists, and texts beyond what is
// held in memory at once.
TEST(OutlookMail, OfAnySizeArrivesWhole) {
  const auto numbers = [](int count) {
    std::string text;
    for (int i = 0; i < count; ++i) text += "\U0001F600 " + std::to_string(i) + "\r\n";
    return text;
  };
  pst::Item item =
      message("main", {pst::number(0x0E08, 30000000), pst::text(0x1000, numbers(250000)),
                       pst::binary(0x1013, "<pre>" + numbers(350000)), pst::number(0x3FDE, 65001)});
  for (int number = 0; number < 400; ++number)
    item.attachments.push_back(attachment(std::to_string(number) + ".txt", std::to_string(number)));
  item.attachments.push_back(attachment("large.bin", numbers(700000)));
  const windows::Disk disk;
  pst::File file;
  file.folders = {{.name = "Inbox", .items = {item, message("next")}}};
  disk.add(place, file.bytes());
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.remarks(), IsEmpty());
  write_file("/tmp/large", result.content.at(mail + "Inbox"));
  EXPECT_EQ(
      output_of(
          "python3 -c \"\n"
          "import mailbox\n"
          "for m in mailbox.mbox('/tmp/large'):\n"
          "  print(m['subject'])\n"
          "  files = [p for p in m.walk() if p.get_filename()]\n"
          "  print(len(files), all(p.get_payload(decode=True) == p.get_filename()[:-4].encode() for p in "
          "files[:-1]))\n"
          "  for p in m.walk():\n"
          "    if not p.is_multipart() and (p not in files or p == files[-1]):\n"
          "      lines = p.get_payload(decode=True).decode(p.get_content_charset('utf-8')).split()\n"
          "      print(p.get_content_type(), len(lines) // 2, lines[-1], set(lines[2::2]) == "
          "{chr(0x1F600)})\""),
      "main\n401 True\ntext/plain 250000 249999 True\ntext/html 350000 349999 True\n"
      "application/octet-stream 700000 699999 True\nnext\n0 True\ntext/plain 1 next False\n");
}

TEST(OutlookMail, IsReadByOthersAsItIsHere) {
  const windows::Disk disk;
  pst::File file;
  file.folders = {{.name = "Inbox", .items = {message("one"), message("two"), message("three")}},
                  {.name = "Deep", .folders = {{.name = "Deeper", .items = {message("four")}}}}};
  file.folders[0].items[1].attachments = {attachment("a.bin", std::string(20000, 'x')),
                                          attachment("b.bin", "y")};
  const std::string full = disk.add(place, file.bytes());
  EXPECT_EQ(
      output_of("cd /tmp && readpst -q -r -o /tmp " + full +
                " >/dev/null 2>&1; cd '/tmp/Outlook Data File' && "
                "for f in $(find . -name mbox | sort); do echo $f; python3 -c \"\n"
                "import mailbox, sys\n"
                "for m in mailbox.mbox('$f'):\n"
                "  print(m['subject'], sorted((p.get_filename(), len(p.get_payload(decode=True))) for p in "
                "m.walk() if p.get_filename()))\"; done"),
      "./Deep/Deeper/mbox\nfour []\n./Inbox/mbox\none []\ntwo [('a.bin', 20000), ('b.bin', 1)]\nthree []\n");
}

TEST(OutlookMail, ThatWasDeletedStays) {
  const windows::Disk disk;
  pst::File file;
  file.folders = {{.name = "Inbox", .items = {message("one")}},
                  {.name = "Gelöschte Elemente",
                   .items = {message("gone"), message("gone too")},
                   .folders = {{.name = "Old", .items = {message("also gone")}}}}};
  file.deleted = 1;
  disk.add(place, file.bytes());
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below(mail), ElementsAre("Inbox"));
  EXPECT_THAT(result.remarks(), ElementsAre("deleted " + place + ": Gelöschte Elemente",
                                            "deleted " + place + ": Gelöschte Elemente",
                                            "deleted " + place + ": Gelöschte Elemente/Old"));
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::mail).found, 4U);
  EXPECT_FALSE(result.people.front().tally.has_losses());
}

TEST(OutlookMail, OfTwoFilesIsJoinedAndThereOnce) {
  const windows::Disk disk;
  pst::File one;
  one.folders = {{.name = "Inbox", .items = {message("one"), message("both")}}};
  pst::File other;
  other.folders = {{.name = "INBOX", .items = {message("both", {pst::number(0x0E07, 1)}), message("two")}},
                   {.name = "Old", .items = {message("both")}}};
  disk.add(place, one.bytes());
  disk.add("Users/Ann/Documents/Outlook Files/archive.pst", other.bytes());
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below(mail), UnorderedElementsAre("Inbox", "Old"));
  EXPECT_EQ(
      result.content.at(mail + "Inbox"),
      from_line("0001") + packed("both").substr(from_line("").size() + 4) + packed("two") + packed("one"));
  EXPECT_THAT(result.remarks(), Contains("there-already " + place));
}

TEST(OutlookMail, IsJoinedWithThunderbirds) {
  const windows::Disk disk;
  pst::File file;
  file.folders = {{.name = "Inbox", .items = {message("one")}}};
  disk.add(place, file.bytes());
  disk.add("Users/Ann/AppData/Roaming/Thunderbird/Profiles/x/Mail/Local Folders/Inbox",
           "From - 1\nSubject: bird\n\nbird\n\n");
  EXPECT_EQ(pack_disk(disk.path()).content.at(mail + "Inbox"),
            "From - 1\nSubject: bird\n\nbird\n\n" + packed("one"));
}

}  // namespace
