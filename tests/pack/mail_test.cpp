#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pack/accounts.h"
#include "pack/mail/mail_folders.h"
#include "pack/mail/mailbox.h"
#include "pack/mail/prefs.h"
#include "pack/recorded.h"
#include "pack/windows_disk.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/volume.h"

namespace {

using recorded::pack_disk;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

const std::string profile = "Users/Ann/AppData/Roaming/Thunderbird/Profiles/x.default/";

// Few at a time, so that every place of a text is once at the end of a block.
std::vector<std::string> messages_in(const std::string& text, std::size_t most = 1000) {
  fuzz::Bytes content(text, most);
  pack::MailboxReader reader(content);
  std::vector<std::string> messages;
  while (const auto head = reader.next()) {
    messages.push_back(*head + "|");
    reader.body([&](std::string_view body) { messages.back() += body; });
  }
  return messages;
}

TEST(Mailbox, IsReadMessageByMessageWhereverBlocksEnd) {
  const std::string text =
      "From - 1\r\nSubject: a\r\n folded\r\n\r\nbody\r\n>From here\r\nFromage\r\n\r\nFrom - 2\nSubject: "
      "b\n\nlast\rline";
  for (std::size_t most = 1; most < text.size() + 1; ++most)
    EXPECT_THAT(messages_in(text, most),
                ElementsAre("From - 1\nSubject: a\n folded\n\n|body\n>From here\nFromage\n\n",
                            "From - 2\nSubject: b\n\n|last\rline"))
        << most;
}

TEST(Mailbox, HeadsWithoutABodyAreMessages) {
  EXPECT_THAT(messages_in("From - 1\nFrom - 2\nSubject: x\nFrom - 3\n\nbody\n"),
              ElementsAre("From - 1\n|", "From - 2\nSubject: x\n|", "From - 3\n\n|body\n"));
  EXPECT_THAT(messages_in(""), IsEmpty());
  EXPECT_THAT(messages_in("no message\n"), IsEmpty());
  EXPECT_THAT(messages_in("From "), ElementsAre("From |"));
}

TEST(Mailbox, LinesOfAnyLengthAreKept) {
  const std::string line(1 << 20, 'x');
  EXPECT_THAT(messages_in("From - 1\n\n" + line + "From no\r\n" + line, 100000),
              ElementsAre("From - 1\n\n|" + line + "From no\n" + line));
}

TEST(Mailbox, HeadersAreFound) {
  const std::string head =
      "From - 1\nX-Mozilla-Status: 0009\nSUBJECT:  one\n\ttwo \nSubjects: no\n\nSubject: body\n";
  EXPECT_EQ(pack::header_field(head, "Subject"), "one two");
  EXPECT_EQ(pack::header_field(head, "Subj"), "");
  EXPECT_TRUE(pack::is_deleted(head));
  EXPECT_FALSE(pack::is_deleted("From - 1\nX-Mozilla-Status: 0001\n"));
  EXPECT_FALSE(pack::is_deleted("From - 1\nX-Mozilla-Status: 0010\n"));
  EXPECT_TRUE(pack::is_deleted("From - 1\nX-Mozilla-Status: 0018\n"));
  EXPECT_FALSE(pack::is_deleted("From - 1\nSubject: x\n\nX-Mozilla-Status: 0008\n"));
}

std::string message(const std::string& subject, const std::string& status = "0001") {
  return "From - Tue Mar  1 08:41:12 2005\r\nX-Mozilla-Status: " + status + "\r\nSubject: " + subject +
         "\r\n\r\nText of " + subject + "\r\n\r\n";
}
std::string packed(const std::string& subject, const std::string& status = "0001") {
  std::string text = message(subject, status);
  std::erase(text, '\r');
  return text;
}

TEST(MailFolders, KeepTheirTree) {
  const windows::Disk disk;
  const std::string local = profile + "Mail/Local Folders/";
  disk.add(local + "Inbox", message("one") + message("two"));
  disk.add(local + "Inbox.msf", "index");
  disk.add(local + "Inbox.sbd/Work", message("three"));
  disk.add(local + "Inbox.sbd/Work.sbd/v1.2", message("four"));
  disk.add(local + "Unsent Messages", "");
  disk.add(local + "Grüße", message("five"));
  disk.add(local + "msgFilterRules.dat", "rules");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Mail/"),
              UnorderedElementsAre("Inbox", "Inbox.sbd/Work", "Inbox.sbd/Work.sbd/v1.2", "Outbox", "Grüße"));
  EXPECT_EQ(result.content.at("Brindle/Mail/Inbox"), packed("one") + packed("two"));
  EXPECT_EQ(result.content.at("Brindle/Mail/Inbox.sbd/Work.sbd/v1.2"), packed("four"));
  EXPECT_EQ(result.content.at("Brindle/Mail/Outbox"), "");
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::mail).packed, 5U);
  EXPECT_THAT(result.remarks(), IsEmpty());
  EXPECT_TRUE(result.content.contains("Brindle/Mail/Inbox.sbd/Work.sbd/"));
}

TEST(MailFolders, OfSeveralAccountsAreJoinedAndNoMessageIsThereTwice) {
  const windows::Disk disk;
  disk.add(profile + "Mail/pop.example/Inbox", message("one") + message("both") + message("both"));
  disk.add(profile + "ImapMail/imap.example/INBOX", message("both", "0000") + message("two"));
  disk.add(profile + "ImapMail/imap.example/INBOX.sbd/Deep", message("both"));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Mail/"), UnorderedElementsAre("Inbox", "Inbox.sbd/Deep"));
  EXPECT_EQ(result.content.at("Brindle/Mail/Inbox"),
            packed("one") + packed("both") + packed("both") + packed("two"))
      << "what one account has twice its owner wanted twice";
  EXPECT_THAT(result.remarks(), ElementsAre("there-already " + profile + "ImapMail/imap.example/INBOX"));
  EXPECT_FALSE(result.people.front().tally.has_losses());
}

TEST(MailFolders, MessagesThatDifferInAnEmptyLineAreTwo) {
  const windows::Disk disk;
  disk.add(profile + "Mail/a/Inbox", "From - 1\nSubject: a\n\none\ntwo\n\n");
  disk.add(profile + "Mail/b/Inbox", "From - 2\nSubject: a\n\none\n\ntwo\n");
  disk.add(profile + "Mail/c/Inbox", "From - 3\nSubject: a\n\none\ntwo\n\n\n\n");
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(result.content.at("Brindle/Mail/Inbox"),
            "From - 1\nSubject: a\n\none\ntwo\n\nFrom - 2\nSubject: a\n\none\n\ntwo\n\n");
  EXPECT_THAT(result.remarks(), ElementsAre("there-already " + profile + "Mail/c/Inbox"));
}

TEST(MailFolders, DeletedMessagesStay) {
  const windows::Disk disk;
  disk.add(profile + "Mail/Local Folders/Inbox",
           message("gone", "0009") + message("here") + message("gone too", "0008"));
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(result.content.at("Brindle/Mail/Inbox"), packed("here"));
  const auto count = result.people.front().tally.count(pack::Kind::mail);
  EXPECT_EQ(count.found, 3U);
  EXPECT_EQ(count.packed, 1U);
  EXPECT_FALSE(result.people.front().tally.has_losses());
}

TEST(MailFolders, AMessageDeletedInOneAccountStaysInAnother) {
  const windows::Disk disk;
  disk.add(profile + "Mail/a/Inbox", message("one") + message("moved", "0009"));
  disk.add(profile + "Mail/b/Inbox", message("moved"));
  disk.add(profile + "Mail/c/Inbox", message("moved") + message("one"));
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(result.content.at("Brindle/Mail/Inbox"), packed("one") + packed("moved"));
  EXPECT_THAT(result.remarks(),
              ElementsAre("deleted " + profile + "Mail/a/Inbox", "there-already " + profile + "Mail/c/Inbox",
                          "there-already " + profile + "Mail/c/Inbox"));
}

TEST(MailFolders, WithoutAnAccountHaveTheFoldersThatARunLooksFor) {
  const windows::Disk disk;
  disk.add(profile + "Mail/Local Folders/Inbox", message("one"));
  const auto result = pack_disk(disk.path());
  EXPECT_TRUE(result.content.contains("Brindle/ImapMail/"));
  EXPECT_TRUE(result.content.contains(accounts::folder));
}

TEST(MailFolders, WhatIsNoMailboxIsTold) {
  const windows::Disk disk;
  disk.add(profile + "Mail/Local Folders/Inbox", message("one"));
  disk.add(profile + "Mail/Local Folders/junklog", "no mail");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Mail/"), ElementsAre("Inbox"));
  EXPECT_THAT(result.remarks(), ElementsAre("no-mailbox " + profile + "Mail/Local Folders/junklog"));
}

TEST(MailFolders, MessagesWithoutAnEndGetOne) {
  const windows::Disk disk;
  disk.add(profile + "Mail/a/Inbox", "From - 1\nSubject: a\n\nno end");
  disk.add(profile + "Mail/b/Inbox", "From - 2\nSubject: b\n");
  disk.add(profile + "Mail/c/Inbox", "From - 3");
  EXPECT_EQ(pack_disk(disk.path()).content.at("Brindle/Mail/Inbox"),
            "From - 1\nSubject: a\n\nno end\n\nFrom - 2\nSubject: b\n\nFrom - 3\n\n");
}

TEST(MailFolders, WithAFileAMessageBecomeMailboxes) {
  const windows::Disk disk;
  disk.add(profile + "Mail/Local Folders/Inbox/cur/1",
           "Subject: one\r\n\r\nFrom the start\r\nFromage\r\nlast");
  disk.add(profile + "Mail/Local Folders/Inbox/cur/2", "Subject: two\n\nText\n");
  disk.add(profile + "Mail/Local Folders/Inbox/new/3", "From the first line\n");
  disk.add(profile + "Mail/Local Folders/Inbox/tmp/4", "Subject: half\n");
  const auto result = pack_disk(disk.path());
  const std::string from = "From - Thu Jan  1 00:00:00 1970\n";
  EXPECT_EQ(result.content.at("Brindle/Mail/Inbox"),
            from + "Subject: one\n\n>From the start\nFromage\nlast\n\n" + from + "Subject: two\n\nText\n\n" +
                from + ">From the first line\n\n");
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::mail).packed, 3U);
}

TEST(MailFolders, AreReadByOthers) {
  const windows::Disk disk;
  std::string text;
  for (int i = 0; i < 50; ++i)
    text += message("number " + std::to_string(i)) + (i % 7 == 0 ? ">From me\r\n\r\n" : "");
  disk.add(profile + "Mail/Local Folders/Inbox", text);
  write_file("/tmp/inbox", pack_disk(disk.path()).content.at("Brindle/Mail/Inbox"));
  EXPECT_EQ(
      output_of(
          "python3 -c \"import mailbox; print([m['subject'] for m in mailbox.mbox('/tmp/inbox')][::7])\""),
      "['number 0', 'number 7', 'number 14', 'number 21', 'number 28', 'number 35', 'number 42', 'number "
      "49']\n");
}

TEST(Prefs, ThatAreNestedArePassedOver) {
  const std::string deep(200000, '[');
  const auto prefs = pack::read_prefs("user_pref(\"a\", " + deep + std::string(deep.size(), ']') +
                                      ");\nuser_pref(\"b\", {\"c\": 1});\nuser_pref(\"d\", 1);\n");
  EXPECT_THAT(prefs, ElementsAre(testing::Pair("d", "1")));
}

TEST(Prefs, AreRead) {
  const auto prefs = pack::read_prefs(
      "// a comment\r\nuser_pref(\"text\", \"a \\\"b\\\" \\u00e4 \\\\ \");\r\nuser_pref(\"number\", 995);\n"
      "user_pref(\"truth\", true);\nuser_pref(\"broken\", \"x);\nuser_pref(\"paren\", "
      "\"a);b\");\npref(\"other\", 1);");
  EXPECT_THAT(prefs,
              UnorderedElementsAre(testing::Pair("text", "a \"b\" ä \\ "), testing::Pair("number", "995"),
                                   testing::Pair("truth", "true"), testing::Pair("paren", "a);b")));
}

const std::string prefs_of_two =
    R"(user_pref("mail.accountmanager.accounts", "account1,account2,account3");
user_pref("mail.account.account1.server", "server1");
user_pref("mail.account.account1.identities", "id1,id2");
user_pref("mail.account.account2.server", "server2");
user_pref("mail.account.account3.server", "server3");
user_pref("mail.account.account3.identities", "id3");
user_pref("mail.server.server1.type", "pop3");
user_pref("mail.server.server1.hostname", "pop.home.example");
user_pref("mail.server.server1.userName", "ann");
user_pref("mail.server.server1.port", 995);
user_pref("mail.server.server1.socketType", 3);
user_pref("mail.server.server1.leave_on_server", true);
user_pref("mail.server.server1.name", "At Home");
user_pref("mail.server.server2.type", "none");
user_pref("mail.server.server2.hostname", "Local Folders");
user_pref("mail.server.server3.type", "imap");
user_pref("mail.server.server3.hostname", "imap.work.example");
user_pref("mail.server.server3.userName", "a.lee");
user_pref("mail.server.server3.socketType", 2);
user_pref("mail.identity.id1.fullName", "Ann Lée");
user_pref("mail.identity.id1.useremail", "ann@home.example");
user_pref("mail.identity.id1.reply_to", "reply@home.example");
user_pref("mail.identity.id1.organization", "Lee & Sons");
user_pref("mail.identity.id1.smtpServer", "smtp1");
user_pref("mail.identity.id3.fullName", "A. Lee");
user_pref("mail.identity.id3.useremail", "a.lee@work.example");
user_pref("mail.smtp.defaultserver", "smtp2");
user_pref("mail.smtpserver.smtp1.hostname", "smtp.home.example");
user_pref("mail.smtpserver.smtp1.username", "ann");
user_pref("mail.smtpserver.smtp1.try_ssl", 3);
user_pref("mail.smtpserver.smtp2.hostname", "smtp.work.example");
)";

// ---- A disk that gives something once, and not again

std::string small_message(const std::string& name) {
  return "From - 1\nSubject: " + name + "\n\n" + name + "\n\n";
}

std::string all_of(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += small_message(name);
  return text;
}

// The folder that becomes of "one" and "three" beside a source with these messages when it is read for the
// first time, and those when it is read again.
std::string joined_with(const std::vector<std::string>& first, const std::vector<std::string>& then) {
  const auto source = [](std::vector<std::vector<std::string>> readings) {
    auto reading = std::make_shared<std::size_t>(0);
    return pack::MailFolders::Source{
        .place = {},
        .size = 1000,
        .written = [readings, reading](const pack::Take& take, const pack::Complain&) {
          for (const std::string& name : readings.at((*reading)++)) {
            const std::string text = small_message(name);
            const std::size_t body = text.find("\n\n") + 2;
            take(text.substr(0, body))(text.substr(body));
          }
        }};
  };
  recorded::Parcel parcel;
  pack::Tally tally;
  const std::set<pack::Kind> without;
  pack::Packing packing(parcel, tally, "Brindle", without);
  pack::MailFolders folders;
  folders.add({"Inbox"}, source({{"one", "three"}, {"one", "three"}}));
  folders.add({"Inbox"}, source({first, then}));
  folders.pack(packing);
  return parcel.content.at("Brindle/Mail/Inbox");
}

TEST(MailFolders, WhoseMessagesAreReadOnlyOnceKeepTheOthers) {
  const std::vector<std::string> all{"one", "two", "three", "four"};
  const std::string both = small_message("one") + small_message("three");
  const std::string expected = both + small_message("two") + small_message("four");
  EXPECT_EQ(joined_with(all, all), expected);
  EXPECT_EQ(joined_with(all, {"two", "three", "four"}), expected);
  EXPECT_EQ(joined_with(all, {"one", "two", "four"}), expected);
  EXPECT_EQ(joined_with({"two", "three", "four"}, all), both + all_of({"one", "two", "four"}));
  EXPECT_EQ(joined_with({"one", "three", "four"}, all), expected);
  EXPECT_EQ(joined_with({}, all), both + all_of(all));
}

TEST(MailAccounts, OfThunderbirdHaveAllTheirSettings) {
  const windows::Disk disk;
  disk.add(profile + "prefs.js", prefs_of_two);
  const auto result = pack_disk(disk.path());
  ASSERT_THAT(result.files_below(accounts::folder), ElementsAre("00000001.txt", "00000002.txt"));
  EXPECT_EQ(result.content.at(accounts::folder + "00000001.txt"), accounts::at_home);
  EXPECT_EQ(result.content.at(accounts::folder + "00000002.txt"),
            accounts::but_for(accounts::at_work, {"Account Name=a.lee@work.example"}));
}

TEST(MailAccounts, OfTwoProfilesAreThereOnce) {
  const windows::Disk disk;
  disk.add(profile + "prefs.js", prefs_of_two);
  disk.add("Users/Ann/AppData/Roaming/Thunderbird/Profiles/y.other/prefs.js", prefs_of_two);
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::accounts).packed, 2U);
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::accounts, pack::Cause::there_already), 2U);
}

TEST(MailAccounts, LinesFitIntoAPiece) {
  const windows::Disk disk;
  disk.add(
      profile + "prefs.js",
      "user_pref(\"mail.accountmanager.accounts\", \"a\");\nuser_pref(\"mail.account.a.server\", \"s\");\n"
      "user_pref(\"mail.server.s.type\", \"imap\");\nuser_pref(\"mail.server.s.name\", \"x\\n" +
          [] {
            std::string text;
            for (int i = 0; i < 200; ++i) text += "ä";
            return text;
          }() +
          "\");\n");
  const auto result = pack_disk(disk.path());
  const std::string text = result.content.at(accounts::folder + "00000001.txt");
  const std::size_t begin = text.find("Account Name=");
  EXPECT_LE(text.size() - begin, 126U);
  EXPECT_GE(text.size() - begin, 124U);
  EXPECT_TRUE(text.ends_with("ä\r\n"));
  EXPECT_THAT(text, HasSubstr("Account Name=x ä"));
  EXPECT_THAT(result.remarks(), ElementsAre(testing::EndsWith(": the end of the account's name")));
}

}  // namespace
