// Items of data files of which it is not plain what mail they become.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <atomic>
#include <initializer_list>
#include <new>
#include <system_error>

#include "pack/disk/folder_tree.h"
#include "pack/outlook/charsets.h"
#include "pack/outlook/compressed_rtf.h"
#include "pack/pst_file.h"
#include "pack/recorded.h"
#include "pack/windows_disk.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using recorded::pack_disk;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;

const std::string place = "Users/Ann/AppData/Local/Microsoft/Outlook/Outlook.pst";
const std::string mail = "Brindle/Mail/";
const std::string kept_file = "Brindle/My Documents/Outlook data files/Outlook.pst";

pst::Item item_of(const std::string& message_class, const std::string& subject, pst::Properties more = {}) {
  pst::Item item{.properties = {pst::text(0x001A, message_class), pst::number(0x0E08, 4000),
                                pst::text(0x0037, subject)}};
  for (const pst::Property& property : more) {
    std::erase_if(item.properties, [&](const pst::Property& other) { return other.id == property.id; });
    item.properties.push_back(property);
  }
  return item;
}

pst::Item message(const std::string& subject, pst::Properties more = {}) {
  return item_of("IPM.Note", subject, std::move(more));
}

recorded::Result result_of(pst::File& file) {
  const windows::Disk disk;
  disk.add(place, file.bytes());
  return pack_disk(disk.path());
}

recorded::Result inbox_of(const std::vector<pst::Item>& items, pst::File::Form form = pst::File::unicode) {
  pst::File file(form);
  file.folders = {{.name = "Inbox", .items = items}};
  return result_of(file);
}

// All of a mailbox with one message, of which nothing is told.
std::string mailbox_of(const pst::Item& item, pst::File::Form form = pst::File::unicode) {
  const auto result = inbox_of({item}, form);
  EXPECT_THAT(result.remarks(), IsEmpty());
  return result.content.at(mail + "Inbox");
}

// From the end of its header on: the form of the body, and the body.
std::string body_of(const std::string& message) {
  return message.substr(message.find("\nMIME-Version: 1.0\n") + 19);
}

// What is packed without a part of it is told by its subject, counted as packed, and its file is kept.
void expect_simplified(const recorded::Result& result, const std::string& subject, std::size_t packed = 1) {
  EXPECT_THAT(result.remarks(),
              UnorderedElementsAre("simplified " + place + ": Inbox: " + subject, "kept-as-file " + place));
  EXPECT_EQ(result.content.count(kept_file), 1U);
  const auto count = result.people.front().tally.count(pack::Kind::mail);
  EXPECT_EQ(count.packed, packed);
  EXPECT_EQ(count.left_out, 0U);
  EXPECT_TRUE(result.people.front().tally.has_losses());
}

// ---- Items that are no mail

TEST(OutlookItems, OfMailsClassesAreWholeMail) {
  for (const char* message_class :
       {"IPM.Note", "ipm.note", "IPM.Note.Mine", "IPM.Post", "IPM.Post.Rss", "REPORT.IPM.Note.NDR", ""})
    EXPECT_THAT(mailbox_of(item_of(message_class, "one")), HasSubstr("Subject: one\n")) << message_class;
}

TEST(OutlookItems, OfOtherClassesArePackedAsFarAsMailGoes) {
  for (const char* message_class : {"IPM.Schedule.Meeting.Request", "IPM.Schedule.Meeting.Resp.Pos",
                                    "IPM.TaskRequest", "IPM.Document.Word", "IPM.Notes", "REPORTS"}) {
    const auto result = inbox_of({item_of(message_class, "Lunch", {pst::text(0x1000, "At one?")})});
    EXPECT_THAT(result.content.at(mail + "Inbox"), HasSubstr("\n\nAt one?\n")) << message_class;
    expect_simplified(result, "Lunch");
  }
}

TEST(OutlookItems, OfOtherClassesHaveTheirTimesPlacesAndNumbersInALine) {
  pst::File file;
  constexpr std::int64_t in_march = 1109666472;
  pst::Properties facts{pst::time(file.named(pst::appointment_set, 0x820D), in_march),
                        pst::time(file.named(pst::appointment_set, 0x820E), in_march + 3600),
                        pst::text(file.named(pst::appointment_set, 0x8208), "Café"),
                        pst::time(file.named(pst::task_set, 0x8105), in_march + 60),
                        pst::text(file.named(pst::contact_set, 0x8083), "cid@home.example"),
                        pst::text(file.named(pst::contact_set, 0x8093), "cid@work.example"),
                        pst::text(file.named(pst::contact_set, 0x80A3), "cid@x.example"),
                        pst::text(0x3A1C, "1"),
                        pst::text(0x3A09, "2"),
                        pst::text(0x3A08, "3"),
                        pst::text(0x3A16, "Lee & Sons"),
                        pst::text(file.named(pst::contact_set, 0x801A), "High Street 1\r\nTown"),
                        pst::text(file.named(pst::contact_set, 0x801B), "Low Street 2"),
                        pst::text(0x1000, "At one?")};
  file.folders = {{.name = "Inbox", .items = {item_of("IPM.Schedule.Meeting.Request", "Lunch", facts)}},
                  {.name = "Mail", .items = {message("Mail", facts)}}};
  const auto result = result_of(file);
  EXPECT_THAT(
      result.content.at(mail + "Inbox"),
      HasSubstr("\n\nAt one?\n\n--=_brindle_000001_=\nContent-Type: text/plain; charset=utf-8\n"
                "Content-Transfer-Encoding: quoted-printable\n\n"
                "Start: Tue, 01 Mar 2005 08:41:12 +0000\nEnd: Tue, 01 Mar 2005 09:41:12 +0000\n"
                "Location: Caf=C3=A9\nDue: Tue, 01 Mar 2005 08:42:12 +0000\nE-mail: "
                "cid@home.example\nE-mail 2: cid@work.example\nE-mail 3: cid@x.example\nMobile phone: "
                "1\nHome phone: 2\nBusiness phone: 3\nCompany: Lee & Sons\nHome address: High Street "
                "1  Town\nBusiness address: Low Street 2\n\n--=_brindle_000001_=--\n"));
  EXPECT_THAT(result.content.at(mail + "Mail"), Not(HasSubstr("Start: ")));
  expect_simplified(result, "Lunch", 2);
}

TEST(OutlookItems, ThatAreAttachedAndNoMailAreTold) {
  const auto with_attached = [](const pst::Item& attached) {
    pst::Item item = message("outer");
    item.attachments = {
        {.properties = {pst::text(0x3001, "attached"), pst::number(0x3705, 5)}, .message = {attached}}};
    return item;
  };
  const pst::Item contact = item_of("IPM.Contact", "Cid Lee", {pst::text(0x3A1C, "555 0100")});
  expect_simplified(inbox_of({with_attached(contact)}), "outer");
  expect_simplified(inbox_of({with_attached(with_attached(contact))}), "outer");
  EXPECT_THAT(mailbox_of(with_attached(with_attached(message("inner")))), HasSubstr("Subject: inner\n"));
}

TEST(OutlookItems, WhoseAttachmentsAreLostAreTold) {
  const auto with = [](const pst::Attachment& attachment) {
    pst::Item item = message("x");
    item.attachments = {attachment};
    return item;
  };
  const pst::Item nothing = with({.properties = {pst::text(0x3707, "a.txt"), pst::number(0x3705, 1)}});
  const pst::Item no_message =
      with({.properties = {pst::text(0x3707, "a.msg"), pst::number(0x3705, 5), pst::binary(0x3701, "a")}});
  const pst::Item no_list = message("x", {pst::number(0x0E07, 0x10)});
  for (const pst::Item& item : {nothing, no_message, no_list}) {
    const auto result = inbox_of({item});
    EXPECT_THAT(result.remarks(),
                UnorderedElementsAre("item-cut " + place + ": Inbox", "kept-as-file " + place));
    EXPECT_EQ(result.people.front().tally.count(pack::Kind::mail).packed, 1U);
  }
  EXPECT_THAT(inbox_of({nothing}).content.at(mail + "Inbox"),
              HasSubstr("\n\nThis attachment could not be read.\n"));
}

TEST(OutlookItems, WhoseRecipientsCannotBeReadAreTold) {
  pst::File file;
  pst::Item item = message("x");
  item.recipients = {
      {pst::number(0x0C15, 1), pst::text(0x3001, "Zoe"), pst::text(0x3003, "zoe@home.example")}};
  file.folders = {{.name = "Inbox", .items = {item}}};
  std::string bytes = file.bytes();
  const auto block = file.block_with(std::string("Z\0o\0e\0", 6), bytes);
  ASSERT_TRUE(block);
  bytes.replace(file.blocks[*block].at, 4, std::string(4, '\xFF'));
  const windows::Disk disk;
  disk.add(place, bytes);
  EXPECT_THAT(pack_disk(disk.path()).remarks(),
              UnorderedElementsAre("item-cut " + place + ": Inbox", "store-damaged " + place,
                                   "kept-as-file " + place));
}

// ---- Signed and encrypted mail

const std::string signed_body =
    "--sig\r\nContent-Type: text/plain\r\n\r\nFrom here\r\nto\tthere \r\n--sig\r\nContent-Type: "
    "application/pkcs7-signature; name=smime.p7s\r\nContent-Transfer-Encoding: base64\r\n\r\nAAECAw==\r\n"
    "--sig--\r\n";
const std::string signed_type = "multipart/signed; protocol=\"application/pkcs7-signature\"; boundary=sig";
const std::string signed_mail =
    "Content-Type: multipart/signed;\r\n\tprotocol=\"application/pkcs7-signature\";"
    "\r\n\tboundary=sig\r\nX-Other: no\r\nContent-Length: 9\r\n\r\n" +
    signed_body;
const std::string signed_as_packed =
    "--sig\nContent-Type: text/plain\n\n>From here\nto\tthere \n--sig\nContent-Type: "
    "application/pkcs7-signature; name=smime.p7s\nContent-Transfer-Encoding: base64\n\nAAECAw==\n--sig--\n\n";

pst::Item with_attachment(pst::Item item, const std::string& type, const std::string& data) {
  item.attachments.push_back({.properties = {pst::text(0x3707, "smime.p7m"), pst::number(0x3705, 1),
                                             pst::text(0x370E, type), pst::binary(0x3701, data)}});
  return item;
}

pst::Item signed_item(const std::string& data, pst::Properties more = {}) {
  return with_attachment(item_of("IPM.Note.SMIME.MultipartSigned", "sealed", std::move(more)),
                         "multipart/signed", data);
}

TEST(OutlookSealedMail, ThatIsSignedIsTheMessageItself) {
  EXPECT_EQ(
      body_of(mailbox_of(signed_item(signed_mail))),
      "Content-Type: multipart/signed;\n\tprotocol=\"application/pkcs7-signature\";\n\tboundary=sig\n\n" +
          signed_as_packed);
}

TEST(OutlookSealedMail, ThatIsSignedIsNotMixedWithWhatOutlookHasReadOfIt) {
  EXPECT_EQ(body_of(mailbox_of(signed_item(signed_mail, {pst::text(0x1000, "From here\r\nto\tthere")}))),
            body_of(mailbox_of(signed_item(signed_mail))));
}

TEST(OutlookSealedMail, ThatIsSignedMayHaveItsFormInTheHeaderWithWhichItCame) {
  const pst::Property header =
      pst::text(0x007D, "From: Bob <bob@home.example>\r\nContent-Type: " + signed_type + "\r\n");
  EXPECT_EQ(body_of(mailbox_of(signed_item(signed_body, {header}))),
            "Content-Type: multipart/signed; protocol=\"application/pkcs7-signature\";\n boundary=sig\n\n" +
                signed_as_packed);
  EXPECT_EQ(
      body_of(mailbox_of(signed_item(
          "--a b\r\n", {pst::text(0x007D, "Content-Type: multipart/signed; Boundary=\"a b\"; x=y\r\n")}))),
      "Content-Type: multipart/signed; Boundary=\"a b\"; x=y\n\n--a b\n\n");
}

TEST(OutlookSealedMail, ThatIsSignedWithoutAFormIsAttachedAndTold) {
  for (const std::string& data :
       {signed_body, "X-Other: no\r\n\r\n" + signed_body, std::string("Content-Type: multipart/signed"),
        std::string("Content-Type: text/plain\r\n\r\nx"), std::string("--\r\nx"), std::string()}) {
    const auto result = inbox_of(
        {signed_item(data, {pst::text(0x007D, "Content-Type: multipart/signed; boundary=other\r\n")})});
    EXPECT_THAT(result.content.at(mail + "Inbox"), HasSubstr("application/octet-stream")) << data;
    expect_simplified(result, "sealed");
  }
}

TEST(OutlookSealedMail, OfAnySizeKeepsEachLine) {
  std::string lines;
  std::string expected;
  for (int number = 0; number < 20000; ++number) {
    lines += "From line " + std::to_string(number) + "\r\n";
    expected += ">From line " + std::to_string(number) + "\n";
  }
  const std::string long_line(40000, 'x');
  const pst::Item item = signed_item("Content-Type: multipart/signed; boundary=b\r\n\r\n" + lines +
                                         long_line + "From\r\na\rb" + std::string(1, '\0') + "\r",
                                     {pst::number(0x0E08, 500000)});
  EXPECT_EQ(body_of(mailbox_of(item)),
            "Content-Type: multipart/signed; boundary=b\n\n" + expected + long_line + "From\na\rb\n\n");
}

TEST(OutlookSealedMail, IsReadByOthers) {
  write_file("/tmp/inbox", mailbox_of(signed_item(signed_mail)));
  EXPECT_EQ(output_of("python3 -c \"\n"
                      "import mailbox, email, email.policy\n"
                      "m = email.message_from_bytes(mailbox.mbox('/tmp/inbox')[0].as_bytes(), "
                      "policy=email.policy.default)\n"
                      "print(m['subject'], [p.get_content_type() for p in m.walk()], m.defects)\""),
            "sealed ['multipart/signed', 'text/plain', 'application/pkcs7-signature'] []\n");
}

TEST(OutlookSealedMail, ThatIsAttachedToMailStaysAttached) {
  const pst::Item item =
      with_attachment(message("x", {pst::text(0x1000, "Look at this")}), "multipart/signed", signed_mail);
  const std::string text = mailbox_of(item);
  EXPECT_THAT(text, HasSubstr("\n\nLook at this\n"));
  EXPECT_THAT(text, HasSubstr("Content-Type: application/octet-stream\n"));
}

TEST(OutlookSealedMail, ThatIsEncryptedHasItsBytesAtTheTop) {
  const std::string end =
      "Content-Disposition: attachment;\n filename=\"smime.p7m\"\n"
      "Content-Transfer-Encoding: base64\n\nAAEC\n\n";
  const pst::Item item = with_attachment(item_of("IPM.Note.SMIME", "sealed"), "application/pkcs7-mime",
                                         std::string("\0\1\2", 3));
  EXPECT_EQ(body_of(mailbox_of(item)), "Content-Type: application/pkcs7-mime;\n name=\"smime.p7m\"\n" + end);
  pst::Item came = item;
  came.properties.push_back(
      pst::text(0x007D, "Content-Type: application/x-pkcs7-mime; smime-type=enveloped-data; name=a\r\n"));
  EXPECT_EQ(body_of(mailbox_of(came)),
            "Content-Type: application/x-pkcs7-mime; smime-type=enveloped-data; name=a\n" + end);
  pst::Item with_text = item;
  with_text.properties.push_back(pst::text(0x1000, "also"));
  EXPECT_THAT(body_of(mailbox_of(with_text)), StartsWith("Content-Type: multipart/mixed;"));
  pst::Item with_more = with_attachment(item, "text/plain", "more");
  EXPECT_THAT(body_of(mailbox_of(with_more)), StartsWith("Content-Type: multipart/mixed;"));
}

// ---- Where they lie

TEST(OutlookFolders, ThatHoldAllOthersMayHoldItems) {
  pst::File file;
  file.folders = {{.name = "Inbox", .items = {message("in")}}};
  file.at_top = {message("top"), item_of("IPM.StickyNote", "Milk", {pst::text(0x1000, "Milk")})};
  const auto result = result_of(file);
  EXPECT_THAT(result.files_below(mail), UnorderedElementsAre("Inbox", "Top of Outlook data file"));
  EXPECT_THAT(result.content.at(mail + "Top of Outlook data file"), HasSubstr("Subject: top\n"));
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::mail).packed, 2U);
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::notes).packed, 1U);
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(OutlookFolders, OfAFileThatNamesAnotherTopAreThere) {
  pst::File file;
  file.folders = {{.name = "Inbox", .items = {message("in")}}};
  std::string bytes = file.bytes();
  const std::size_t at = bytes.find(std::string(16, 'K') + std::string("\x22\x80\0\0", 4));
  ASSERT_NE(at, std::string::npos);
  bytes[at + 17] = '\x90';
  const windows::Disk disk;
  disk.add(place, bytes);
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.content.at(mail + "Top of Outlook data file.sbd/Inbox"), HasSubstr("Subject: in\n"));
  EXPECT_THAT(result.remarks(), Contains("kept-as-file " + place));
}

TEST(OutlookFolders, ThatLieFarDownAreThere) {
  pst::Folder folder{.name = "f40", .items = {message("m40")}};
  for (int number = 39; number > 0; --number)
    folder = {.name = "f" + std::to_string(number),
              .items = {message("m" + std::to_string(number))},
              .folders = {folder}};
  pst::File file;
  file.folders = {folder};
  const auto result = result_of(file);
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::mail).packed, 40U);
  const std::vector<std::string> names = result.files_below(mail);
  EXPECT_EQ(names.size(), 40U);
  EXPECT_THAT(names, Contains(EndsWith("/f30.sbd/f31.sbd/f32")));
  EXPECT_THAT(names, Contains(EndsWith("/f30.sbd/f31.sbd/f33")));
  EXPECT_THAT(names, Contains(EndsWith("/f30.sbd/f31.sbd/f40")));
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(OutlookFolders, WithVeryLongNamesHaveAsManyWholeLettersAsFit) {
  std::string letters;
  for (int number = 0; number < 150; ++number) letters += "ä";
  pst::File file;
  file.folders = {{.name = "Inbox", .items = {message("in")}},
                  {.name = "x" + letters, .items = {message("long")}}};
  const auto result = result_of(file);
  EXPECT_THAT(result.files_below(mail), UnorderedElementsAre("Inbox", "x" + letters.substr(0, 198)));
  EXPECT_THAT(result.remarks(), IsEmpty());
}

// ---- Texts

std::string not_compressed(const std::string& rtf) {
  const auto size = [](std::size_t number) {
    return std::string{static_cast<char>(number), static_cast<char>(number >> 8),
                       static_cast<char>(number >> 16), '\0'};
  };
  return size(rtf.size() + 12) + size(rtf.size()) + "MELA" + size(0) + rtf;
}

TEST(OutlookTexts, OfRtfThatCannotBeReadAreTold) {
  const std::string too_long = not_compressed("{\\rtf1 " + std::string(std::size_t{4} << 20, 'x') + "}");
  for (const std::string& rtf : {too_long, std::string("no rtf at all")}) {
    const auto result =
        inbox_of({message("x", {pst::binary(0x1009, rtf), pst::number(0x0E08, 5000000)}), message("y")});
    EXPECT_THAT(result.remarks(),
                UnorderedElementsAre("item-cut " + place + ": Inbox", "kept-as-file " + place));
    EXPECT_EQ(result.people.front().tally.count(pack::Kind::mail).packed, 2U);
  }
  EXPECT_THAT(mailbox_of(message("x", {pst::binary(0x1009, "")})), HasSubstr("Subject: x\n"));
}

// RTF as Outlook packs it, with what stands in front of its beginning: a dictionary of 4096 bytes, of which
// 207 are there before. Each byte of kinds tells of eight things whether they are bytes or references, which
// are two bytes: a place and a size.
class PackedRtf {
 public:
  void byte(char c) { add(false, {c}, 1); }
  void bytes(std::string_view text) {
    for (const char c : text) byte(c);
  }
  void reference(std::size_t from, std::size_t size) {
    const std::size_t number = from << 4 | (size - 2);
    add(true, {static_cast<char>(number >> 8), static_cast<char>(number)}, size);
  }
  void end() { reference(place_, 2); }

  std::string whole() const {
    const auto size = [](std::size_t number) {
      return std::string{static_cast<char>(number), static_cast<char>(number >> 8),
                         static_cast<char>(number >> 16), '\0'};
    };
    return size(packed_.size() + 12) + size(size_) + "LZFu" + size(0) + packed_;
  }

 private:
  void add(bool is_reference, const std::string& what, std::size_t size) {
    if (count_ % 8 == 0) {
      kinds_ = packed_.size();
      packed_ += '\0';
    }
    if (is_reference) packed_[kinds_] = static_cast<char>(packed_[kinds_] | 1 << count_ % 8);
    ++count_;
    packed_ += what;
    place_ = (place_ + size) % 4096;
    size_ += size;
  }

  std::string packed_;
  std::size_t kinds_ = 0;
  std::size_t count_ = 0;
  std::size_t place_ = 207;
  std::size_t size_ = 0;
};

TEST(OutlookTexts, OfRtfAreUnpacked) {
  PackedRtf rtf;
  rtf.reference(0, 6);  // what each begins with
  rtf.bytes(" ab");
  rtf.reference(213, 9);  // what is written meanwhile
  rtf.reference(11, 4);
  rtf.byte('}');
  EXPECT_FALSE(pack::plain_rtf(rtf.whole())) << "without its end";
  PackedRtf eight;
  eight.bytes("{\\rtf1 a");
  EXPECT_FALSE(pack::plain_rtf(eight.whole())) << "without its end";
  rtf.end();
  EXPECT_EQ(pack::plain_rtf(rtf.whole()), "{\\rtf1 ab ab ab ab\\mac}");
  EXPECT_FALSE(pack::plain_rtf(rtf.whole().substr(0, rtf.whole().size() - 1)));
  EXPECT_THAT(body_of(mailbox_of(message("x", {pst::binary(0x1009, rtf.whole())}))),
              StartsWith("Content-Type: application/rtf\nContent-Transfer-Encoding: base64\n\n"
                         "e1xydGYxIGFiIGFiIGFiIGFiXG1hY30=\n"));
}

TEST(OutlookTexts, OfRtfAreUnpackedBeyondTheirDictionary) {
  PackedRtf rtf;
  std::string expected;
  for (int number = 0; number < 2000; ++number) expected += std::to_string(number) + " ";
  rtf.bytes(expected);
  ASSERT_GT(expected.size(), 2 * 4096U);
  rtf.reference(4090, 17);  // over its end, and the largest that there is
  std::string ring(4096, '\0');
  for (std::size_t at = 0; at < expected.size(); ++at) ring[(207 + at) % 4096] = expected[at];
  for (std::size_t at = 4090; at < 4090 + 17; ++at) expected += ring[at % 4096];
  rtf.end();
  EXPECT_EQ(pack::plain_rtf(rtf.whole()), expected);
}

std::string html_of(const std::string& rtf) {
  return pack::html_in_rtf("{\\rtf1\\ansi\\ansicpg1252\\fromhtml1 \\deff0" + rtf + "}").value_or("none");
}

TEST(OutlookTexts, OfRtfAreInTheLettersOfTheirFonts) {
  const std::string fonts =
      "{\\fonttbl{\\f0\\fswiss\\fcharset0 Arial;}{\\f1\\fswiss\\fcharset204 Arial "
      "CYR{\\*\\falt \\'d0};}{\\f2\\fnil\\cpg1253 G;}{\\f3\\fnil\\fcharset128 MS;}"
      "{\\f4\\fcharset2 Symbol;}}";
  EXPECT_EQ(html_of(fonts + "\\'e9 {\\f1 \\'cf\\'f0} \\'e9"), "é Пр é");
  EXPECT_EQ(html_of(fonts + "\\f1 \\'cf\\f0 \\'e9\\f2 \\'e1\\plain \\'e1"), "Пéαá");
  EXPECT_EQ(html_of(fonts + "{\\f1\\'cf}\\'cf{\\f1 {\\b \\'cf}}{\\f4 \\'e9}{\\f9 \\'e9}"), "ПÏПéé");
  EXPECT_EQ(html_of(fonts + "{\\f3 \\'82\\'a0\\'82}{\\f3 \\'a0}"), "あ\xEF\xBF\xBD\xEF\xBF\xBD");
  EXPECT_EQ(html_of("{\\fonttbl{\\f1\\fcharset238 E;}}{\\f1 \\'b9}"), "ą");
  // A font that is hidden from readers of HTML is that of the text behind it.
  EXPECT_EQ(html_of(fonts + "\\htmlrtf {\\f1\\htmlrtf0 \\'cf\\htmlrtf }\\htmlrtf0 \\'e9"), "Пé");
  // Tags are in the page of the whole.
  EXPECT_EQ(html_of(fonts + "{\\f1 \\'cf{\\*\\htmltag <p \\'e9>}\\'f0}"), "П<p é>р");
  // Fonts that are listed without groups, and a usual one.
  EXPECT_EQ(html_of("\\deff7{\\fonttbl\\f6\\fnil A;\\f7\\fnil\\fcharset161 B;}\\'e1{\\f6 \\'e1}"), "αá");
}

TEST(OutlookTexts, OfRtfHaveEachCharacterOnce) {
  EXPECT_EQ(html_of("\\u1055?\\'cf"), "ПÏ") << "one for readers that do not know it";
  EXPECT_EQ(html_of("\\uc2\\u1055?\\'3fx\\uc0\\u1088 x"), "Пxрx");
  EXPECT_EQ(html_of("\\u-10179?\\u-8704?"), "\U0001F600");
  EXPECT_EQ(html_of("\\lquote a\\rquote\\ldblquote b\\rdblquote\\bullet\\endash\\emdash\\~c"),
            "&lsquo;a&rsquo;&ldquo;b&rdquo;&bull;&ndash;&mdash;&nbsp;c");
}

TEST(OutlookTexts, OfMailInRtfAreInTheLettersOfTheirFonts) {
  const std::string rtf =
      "{\\rtf1\\ansi\\ansicpg1252\\fromhtml1 {\\fonttbl{\\f0 A;}{\\f1\\fcharset204 "
      "B;}}<p>\\'e9 {\\f1 \\'cf}</p>}";
  EXPECT_THAT(mailbox_of(message("x", {pst::binary(0x1009, not_compressed(rtf))})),
              HasSubstr("\n\n<p>=C3=A9 =D0=9F</p>\n"));
}

TEST(OutlookTexts, AreMadeOfTheCodePagesOfMail) {
  const auto text = [](std::uint32_t page, std::string_view bytes) {
    EXPECT_TRUE(pack::has_code_page(page)) << page;
    return pack::text_of_code_page(bytes, page);
  };
  EXPECT_EQ(text(38598, "\xF9\xEC\xE5\xED"), "שלום");
  EXPECT_EQ(text(38596, "\xD3"), "س");
  EXPECT_EQ(text(65000, "a+AOk-b"), "aéb");
  EXPECT_EQ(text(52936, "a~{<:Ky~}~~b\n~{<:\n~"), "a己所~b\n己\n~");
  EXPECT_EQ(text(51936, "\xBC\xBA"), "己");
  EXPECT_EQ(text(20936, "\xBC\xBA"), "己");
  EXPECT_EQ(text(50227, "\x1B$)A\x0E<:\x0F"), "己");
  EXPECT_EQ(text(20932, "\xA4\xA2"), "あ");
  EXPECT_EQ(text(866, "\x8F"), "П");
  EXPECT_EQ(text(862, "\x80"), "א");
  EXPECT_EQ(text(850, "\x82"), "é");
  EXPECT_EQ(text(852, "\x82"), "é");
  EXPECT_EQ(text(437, "\x82"), "é");
  EXPECT_EQ(text(10000, "\x8E"), "é");
  EXPECT_EQ(text(1361, "\x88\x61"), "가");
  EXPECT_EQ(text(932, "\x82\xA0"), "あ");
  EXPECT_EQ(text(936, "\xBC\xBA"), "己");
  EXPECT_EQ(text(949, "\xB0\xA1"), "가");
  EXPECT_EQ(text(950, "\xA4\xA4"), "中");
  EXPECT_EQ(text(874, "\xA1"), "ก");
  EXPECT_EQ(text(20127, "\xE9"), "é");
  EXPECT_EQ(text(20866, "\xC1\xA4"), "а╓");
  EXPECT_EQ(text(21866, "\xC1\xA4"), "ає");
  for (const std::uint32_t page : {50220U, 50221U, 50222U})
    EXPECT_EQ(text(page, "\x1B$B$\"\x1B(B"), "あ") << page;
  EXPECT_EQ(text(50221, "\x1B(I1\x1B(Ba\x1B$@$\"\x1B(J\x1B$(D0!\x1B(B"), "ｱaあ丂");
  EXPECT_EQ(text(50222,
                 "\x0E"
                 "1\x0F"
                 "1"),
            "ｱ1");
  EXPECT_EQ(text(50220, "\x1B$B-!$\"\n$\"\x1B$B$\" $"), "①あ\n$\"あ \xEF\xBF\xBD");
  EXPECT_EQ(text(50225,
                 "\x1B$)C\x0E"
                 "0!\x0F"),
            "가");
  EXPECT_EQ(text(50229, "\x1B$)A\x0E<:\x0F"), "己");
  EXPECT_EQ(text(51932, "\xA4\xA2"), "あ");
  EXPECT_EQ(text(51949, "\xB0\xA1"), "가");
  EXPECT_EQ(text(54936, "\xBC\xBA"), "己");
  EXPECT_EQ(text(65001, "\xC3\xA9"), "é");
  EXPECT_EQ(text(1251, "\xCF"), "П");
  EXPECT_EQ(text(28605, "\xA4"), "€");
  for (const std::uint32_t page : {1U, 37U, 1200U, 1249U, 28590U, 70000U})
    EXPECT_FALSE(pack::has_code_page(page)) << page;
}

TEST(OutlookTexts, HaveTheNamesOfTheirCodePagesInMail) {
  const std::vector<std::pair<std::uint32_t, std::string>> names{{437, "ibm437"},
                                                                 {850, "ibm850"},
                                                                 {852, "ibm852"},
                                                                 {862, "ibm862"},
                                                                 {866, "ibm866"},
                                                                 {874, "windows-874"},
                                                                 {932, "shift_jis"},
                                                                 {936, "gbk"},
                                                                 {949, "ks_c_5601-1987"},
                                                                 {950, "big5"},
                                                                 {1250, "windows-1250"},
                                                                 {1258, "windows-1258"},
                                                                 {10000, "macintosh"},
                                                                 {20127, "us-ascii"},
                                                                 {20866, "koi8-r"},
                                                                 {20932, "euc-jp"},
                                                                 {20936, "gb2312"},
                                                                 {21866, "koi8-u"},
                                                                 {28591, "iso-8859-1"},
                                                                 {28605, "iso-8859-15"},
                                                                 {38596, "iso-8859-6"},
                                                                 {38598, "iso-8859-8-i"},
                                                                 {50220, "iso-2022-jp"},
                                                                 {50221, "iso-2022-jp"},
                                                                 {50222, "iso-2022-jp"},
                                                                 {50225, "iso-2022-kr"},
                                                                 {50227, "iso-2022-cn"},
                                                                 {50229, "iso-2022-cn"},
                                                                 {51932, "euc-jp"},
                                                                 {51936, "gb2312"},
                                                                 {51949, "euc-kr"},
                                                                 {54936, "gb18030"},
                                                                 {65001, "utf-8"},
                                                                 {1361, ""},
                                                                 {52936, ""},
                                                                 {65000, ""}};
  for (const auto& [page, name] : names) EXPECT_EQ(pack::charset_of(page), name) << page;
}

TEST(OutlookTexts, OfHtmlSayInWhichLettersTheyAre) {
  const auto html = [](int page, const std::string& bytes) {
    const std::string body =
        body_of(mailbox_of(message("x", {pst::number(0x3FDE, page), pst::binary(0x1013, bytes)})));
    return body.substr(0, body.find('\n')) + body.substr(body.find("\n\n") + 1);
  };
  EXPECT_EQ(html(38598, "\xF9"), "Content-Type: text/html; charset=iso-8859-8-i\n=F9\n\n");
  EXPECT_EQ(html(51936, "\xBC\xBA"), "Content-Type: text/html; charset=gb2312\n=BC=BA\n\n");
  // Mail programs no longer read these.
  EXPECT_EQ(html(65000, "+AOk-"), "Content-Type: text/html; charset=utf-8\n=C3=A9\n\n");
  EXPECT_EQ(html(52936, "~{<:~}"), "Content-Type: text/html; charset=utf-8\n=E5=B7=B1\n\n");
  EXPECT_EQ(html(70000, "\xC3\xA9"), "Content-Type: text/html; charset=utf-8\n=C3=A9\n\n");
}

TEST(OutlookTexts, InLettersThatAreNotKnownAreTold) {
  const auto remarks = [](const pst::Properties& properties) {
    return inbox_of({message("x", properties)}, pst::File::unicode).remarks();
  };
  EXPECT_EQ(pack::text_of_code_page("\x82\xA0\x82", 932), "あ\xEF\xBF\xBD");
  const auto told = UnorderedElementsAre("item-cut " + place + ": Inbox", "kept-as-file " + place);
  EXPECT_THAT(remarks({pst::number(0x3FDE, 70000), pst::binary(0x1013, "\xE9")}), told);
  EXPECT_THAT(remarks({pst::number(0x3FFD, 70000), pst::ansi(0x1000, "\xE9")}), told);
  EXPECT_THAT(remarks({pst::number(0x3FFD, 70000), pst::ansi(0x0C1A, "\xE9")}), told);
  EXPECT_THAT(remarks({pst::number(0x3FFD, 70000), pst::ansi(0x1000, "e"), pst::text(0x0C1A, "é")}),
              IsEmpty());
  EXPECT_THAT(remarks({pst::number(0x3FFD, 38598), pst::ansi(0x1000, "\xE9")}), IsEmpty());
}

TEST(OutlookTexts, OfTheOldFormAreInHebrewLetters) {
  EXPECT_THAT(mailbox_of({.properties = {pst::ansi(0x001A, "IPM.Note"), pst::number(0x0E08, 100),
                                         pst::number(0x3FDE, 38598), pst::ansi(0x1000, "\xF9\xEC")}},
                         pst::File::ansi_form),
              HasSubstr("\n\n=D7=A9=D7=9C\n"));
}

TEST(OutlookTexts, OfTheOldFormAreInTheirOwnLettersBeforeThoseOfTheirWay) {
  const auto body_with = [](int own, int of_the_way) {
    return mailbox_of(
        {.properties = {pst::ansi(0x001A, "IPM.Note"), pst::number(0x0E08, 100), pst::number(0x3FFD, own),
                        pst::number(0x3FDE, of_the_way), pst::ansi(0x1000, "\xCF")}},
        pst::File::ansi_form);
  };
  EXPECT_THAT(body_with(1251, 1253), HasSubstr("\n\n=D0=9F\n"));
  EXPECT_THAT(body_with(1200, 1253), HasSubstr("\n\n=CE=9F\n")) << "no bytes are in UTF-16";
  EXPECT_THAT(body_with(0, 1253), HasSubstr("\n\n=CE=9F\n"));
}

// The archive's room was counted before; that it is enough is looked at wherever something is packed here.
TEST(OutlookTexts, InOtherLettersTakeNoMoreThanWasCounted) {
  std::string chinese;
  std::string thai;
  std::string half;
  for (int number = 0; number < 60000; ++number) {
    chinese += number % 60 == 59 ? "\n" : "汉";
    thai += number % 60 == 59 ? '\n' : '\xA1';
    half += "é=ab ";
  }
  const auto size = [](std::size_t bytes) { return pst::number(0x0E08, static_cast<int>(bytes)); };
  const std::string text = mailbox_of(message("x", {pst::text(0x1000, chinese), size(120000)}));
  EXPECT_THAT(text, HasSubstr("charset=utf-8\nContent-Transfer-Encoding: base64\n"));
  write_file("/tmp/inbox", text);
  EXPECT_EQ(output_of("python3 -c \"\nimport mailbox\n"
                      "m = mailbox.mbox('/tmp/inbox')[0]\n"
                      "print(m.get_payload(decode=True).decode() == ('\\u6c49' * 59 + '\\n') * 1000)\""),
            "True\n");
  mailbox_of(message("x", {pst::binary(0x1013, half), pst::number(0x3FDE, 65001), size(half.size())}));
  EXPECT_THAT(mailbox_of({.properties = {pst::ansi(0x001A, "IPM.Note"), size(thai.size()),
                                         pst::number(0x3FFD, 874), pst::ansi(0x1000, thai)}},
                         pst::File::ansi_form),
              HasSubstr("Content-Transfer-Encoding: base64\n"));
}

// ---- What its owner has noted

TEST(OutlookNotes, OnMailAreInItsHeader) {
  pst::File file;
  const std::uint16_t categories = file.named("Keywords");
  const std::uint16_t flag = file.named(pst::common_set, 0x8530);
  const std::uint16_t due = file.named(pst::task_set, 0x8105);
  constexpr std::int64_t in_march = 1109666472;
  const pst::Properties noted{pst::texts(categories, {"Family", "Grün"}),
                              pst::number(0x0036, 2),
                              pst::number(0x1090, 2),
                              pst::text(flag, "Follow up"),
                              pst::time(due, in_march),
                              pst::time(0x0030, in_march + 60)};
  pst::Properties came = noted;
  came.push_back(pst::text(0x007D, "Sensitivity: Personal\r\nKeywords: old\r\nReply-By: never\r\n"));
  pst::Properties not_marked = noted;
  not_marked[2] = pst::number(0x1090, 1);
  file.folders = {
      {.name = "Inbox", .items = {message("one", noted)}},
      {.name = "Came", .items = {message("two", came)}},
      {.name = "Same",
       .items = {message("three",
                         {pst::texts(categories, {"a", "b"}), pst::text(0x007D, "Keywords: a, b\r\n")})}},
      {.name = "Reply",
       .items = {message("four",
                         {pst::number(0x1090, 2), pst::number(0x0036, 3), pst::time(0x0030, in_march)})}},
      {.name = "Plain", .items = {message("five", {pst::number(0x0036, 0)}), message("six", not_marked)}}};
  const auto result = result_of(file);
  EXPECT_THAT(result.remarks(), IsEmpty());
  pst::File old(pst::File::ansi_form);
  const pst::Property ours = pst::ansi_texts(old.named("Keywords"), {"Family", "Gr\xFCn"});
  old.folders = {{.name = "Inbox", .items = {message("one", {ours})}}};
  EXPECT_THAT(result_of(old).content.at(mail + "Inbox"),
              HasSubstr("\nKeywords: =?utf-8?B?RmFtaWx5LCBHcsO8bg==?=\n"));
  const std::string keywords = "Keywords: =?utf-8?B?RmFtaWx5LCBHcsO8bg==?=\n";
  EXPECT_THAT(result.content.at(mail + "Inbox"),
              HasSubstr("Subject: one\nSensitivity: Private\n" + keywords +
                        "X-Message-Flag: Follow up\nReply-By: Tue, 01 Mar 2005 08:41:12 +0000\nMIME"));
  EXPECT_THAT(result.content.at(mail + "Came"),
              HasSubstr("Sensitivity: Personal\nKeywords: old\nReply-By: never\nSubject: two\n" + keywords +
                        "X-Message-Flag: Follow up\nMIME"));
  EXPECT_THAT(result.content.at(mail + "Same"), HasSubstr("Keywords: a, b\nSubject: three\nMIME"));
  EXPECT_THAT(
      result.content.at(mail + "Reply"),
      HasSubstr("Sensitivity: Company-Confidential\nReply-By: Tue, 01 Mar 2005 08:41:12 +0000\nMIME"));
  const std::string plain = result.content.at(mail + "Plain");
  EXPECT_THAT(plain, HasSubstr("Subject: five\nMIME"));
  EXPECT_THAT(plain, HasSubstr("Subject: six\nSensitivity: Private\n" + keywords + "MIME"));
}

// ---- A disk that gives something once, and not again

// In memory that the processes which read share.
struct Reads {
  std::atomic<int> count = 0;
};

class FailingTree : public pack::Tree {
 public:
  // The read number `fails` of the byte at `at` of a file "x.pst" fails, and no other.
  FailingTree(const std::string& path, std::size_t at, int fails)
      : tree_(pack::folder_tree(path)),
        at_(at),
        fails_(fails),
        reads_(new (mmap(nullptr, sizeof(Reads), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))
                   Reads) {}
  FailingTree(const FailingTree&) = delete;
  FailingTree& operator=(const FailingTree&) = delete;
  ~FailingTree() override { munmap(reads_, sizeof(Reads)); }

  std::vector<pack::Entry> list(const std::string& folder) const override { return tree_->list(folder); }
  std::unique_ptr<pack::Content> open(const std::string& file) const override {
    auto content = tree_->open(file);
    if (!file.ends_with("/first.pst")) return content;
    return std::make_unique<Reader>(*this, std::move(content));
  }

 private:
  class Reader : public pack::Content {
   public:
    Reader(const FailingTree& tree, std::unique_ptr<pack::Content> content)
        : tree_(tree), content_(std::move(content)) {}
    std::size_t read(char* to, std::size_t most) override {
      const std::size_t count = content_->read(to, most);
      const bool has_it = place_ <= tree_.at_ && tree_.at_ < place_ + count;
      place_ += count;
      if (has_it && ++tree_.reads_->count == tree_.fails_)
        throw std::system_error(EIO, std::generic_category());
      return count;
    }
    bool seek(std::uint64_t position) override {
      place_ = position;
      return content_->seek(position);
    }

   private:
    const FailingTree& tree_;
    std::unique_ptr<pack::Content> content_;
    std::size_t place_ = 0;
  };

  std::unique_ptr<pack::Tree> tree_;
  std::size_t at_;
  int fails_;
  Reads* reads_;
};

// Folders with two sources are read twice.
TEST(OutlookFiles, ThatCannotBeReadTheSecondTimeAreKept) {
  pst::File first;
  first.folders = {{.name = "Inbox", .items = {message("one"), message("two"), message("three")}}};
  // So much that the block of each has pages of its own.
  for (pst::Item& item : first.folders[0].items)
    for (const std::uint16_t id : std::initializer_list<std::uint16_t>{0x6000, 0x6001, 0x6002})
      item.properties.push_back(pst::binary(id, std::string(1900, 'x')));
  const std::string bytes = first.bytes();
  const auto block = first.block_with(std::string("t\0w\0o\0", 6), bytes);
  ASSERT_TRUE(block);
  const std::size_t at = first.blocks[*block].at + first.blocks[*block].size / 2;
  pst::File other;
  other.folders = {{.name = "Inbox", .items = {message("other")}}};
  const windows::Disk folder;
  const std::string usual = "Users/Ann/AppData/Local/Microsoft/Outlook/";
  folder.add(usual + "first.pst", bytes);
  folder.add(usual + "other.pst", other.bytes());
  bool was_lost = false;
  bool was_whole = false;
  for (int fails = 1; !was_whole && fails < 20; ++fails) {
    const pack::Disk disk(std::make_unique<FailingTree>(folder.path(), at, fails));
    const auto result = pack_disk(disk);
    const std::string& inbox = result.content.at(mail + "Inbox");
    const bool is_lost = inbox.find("Subject: two\n") == std::string::npos;
    const bool is_kept = result.content.contains("Brindle/My Documents/Outlook data files/first.pst");
    EXPECT_THAT(inbox, HasSubstr("Subject: one\n"));
    EXPECT_THAT(inbox, HasSubstr("Subject: three\n"));
    EXPECT_THAT(inbox, HasSubstr("Subject: other\n"));
    EXPECT_TRUE(is_kept || !is_lost) << fails;
    EXPECT_TRUE(!is_lost || result.people.front().tally.count(pack::Kind::mail, pack::Cause::damaged) == 1)
        << fails;
    was_lost |= is_lost;
    was_whole = !is_kept;
  }
  EXPECT_TRUE(was_lost);
  EXPECT_TRUE(was_whole);
}

}  // namespace
