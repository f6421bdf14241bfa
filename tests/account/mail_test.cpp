// Mail folders, message by message.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "account/scene.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using namespace account;
using Names = std::vector<std::string>;

std::string message(const std::string& subject, const std::string& text = "Hello\n") {
  return "From - Mon May 03 10:00:00 2004\nFrom: Ann <ann@home.example>\nSubject: " + subject +
         "\nDate: Mon, 3 May 2004 10:00:00 +0200\n\n" + text + "\n";
}

const std::string account_file = "ImapMail/brindle-email-accounts/1.txt";
const std::string evolution = "/home/ann/.evolution/mail/local/";
const std::string old_evolution = "/home/ann/evolution/local/";
const std::string mozilla = "/home/ann/.mozilla/default/a1b2.slt/Mail/Local Folders/";
const std::string kmail = "/home/ann/Mail/";
const std::string not_in_folder = ": Its folder is there, but has no message with this content.";

Scene scene_of(System system, Scene::Entries mailboxes) {
  mailboxes.emplace_back(account_file, "Account Name=Home\n");
  return {system, mailboxes};
}

// Two folders and one below, in the archive.
Scene three_folders(System system) {
  return scene_of(system, {{"Mail/Inbox", message("one") + message("two") + message("three")},
                           {"Mail/Inbox.sbd/Work", message("four") + message("five")},
                           {"Mail/Sent", message("six") + message("seven")}});
}

void write_kmail(const std::string& folder, int number, const std::string& bytes) {
  write_file(kmail + folder + std::to_string(number), bytes);
}

void write_three_kmail_folders() {
  write_kmail("inbox/cur/Inbox", 2, message("one"));
  write_kmail("inbox/cur/Inbox", 3, message("two"));
  write_kmail("inbox/cur/Inbox", 4, message("three"));
  write_kmail(".inbox.directory/Work/cur/Work", 2, message("four"));
  write_kmail(".inbox.directory/Work/cur/Work", 3, message("five"));
  write_kmail("sent-mail/cur/Sent", 2, message("six"));
  write_kmail("sent-mail/cur/Sent", 3, message("seven"));
}

void write_three_mailboxes(const std::string& store) {
  write_file(store + "Inbox", message("one") + message("two") + message("three"));
  write_file(store + "Inbox.sbd/Work", message("four") + message("five"));
  write_file(store + "Sent", message("six") + message("seven"));
}

// ---- Every store ----------------------------------------------------------------------------------------

TEST(Mail, all_has_arrived_in_evolution_2) {
  for (const System system : {System::gnome, System::nld}) {
    const Scene scene = three_folders(system);
    write_three_mailboxes(evolution);
    EXPECT_EQ("7 7 0 0 0", numbers(scene.look(Kind::mail)));
  }
}

TEST(Mail, all_has_arrived_in_evolution_1) {
  const Scene scene = three_folders(System::gnome);
  write_file(old_evolution + "Inbox/mbox", message("one") + message("two") + message("three"));
  write_file(old_evolution + "Inbox/subfolders/Work/mbox", message("four") + message("five"));
  write_file(old_evolution + "Sent/mbox", message("six") + message("seven"));
  EXPECT_EQ("7 7 0 0 0", numbers(scene.look(Kind::mail)));
}

TEST(Mail, all_has_arrived_in_the_mozilla_suite) {
  const Scene scene = three_folders(System::linspire);
  write_three_mailboxes(mozilla);
  EXPECT_EQ("7 7 0 0 0", numbers(scene.look(Kind::mail)));
}

TEST(Mail, all_has_arrived_in_kmail) {
  for (const System system : {System::xandros, System::redflag, System::redflag_plus}) {
    const Scene scene = three_folders(system);
    write_three_kmail_folders();
    EXPECT_EQ("7 7 0 0 0", numbers(scene.look(Kind::mail)));
  }
}

TEST(Mail, kmails_own_names_are_those_of_the_first_level) {
  const Scene scene = scene_of(System::xandros, {{"Mail/Drafts", message("d")},
                                                 {"Mail/Outbox", message("o")},
                                                 {"Mail/Outbox.sbd/Sent", message("s")},
                                                 {"Mail/Trash", message("t")},
                                                 {"Mail/inbox2", message("i")}});
  write_kmail("drafts/cur/Drafts", 2, message("d"));
  write_kmail("outbox/new/Outbox", 2, message("o"));
  write_kmail(".outbox.directory/Sent/cur/Sent", 2, message("s"));
  write_kmail("trash/cur/Trash", 2, message("t"));
  write_kmail("inbox2/cur/inbox2", 2, message("i"));
  EXPECT_EQ("5 5 0 0 0", numbers(scene.look(Kind::mail)));
}

TEST(Mail, evolution_1_keeps_folders_of_any_depth) {
  const Scene scene =
      scene_of(System::gnome, {{"Mail/A.sbd/B.sbd/C", message("c")}, {"Mail/A.sbd/B", message("b")}});
  write_file(old_evolution + "A/subfolders/B/subfolders/C/mbox", message("c"));
  write_file(old_evolution + "A/subfolders/B/mbox", message("b"));
  EXPECT_EQ("2 2 0 0 0", numbers(scene.look(Kind::mail)));
}

// ---- Every fault ----------------------------------------------------------------------------------------

TEST(Mail, a_message_that_is_gone_is_named) {
  const Scene scene = three_folders(System::gnome);
  write_three_mailboxes(evolution);
  write_file(evolution + "Inbox", message("one") + message("three"));
  const Tally tally = scene.look(Kind::mail);
  EXPECT_EQ("7 6 0 0 1", numbers(tally));
  EXPECT_EQ((Names{"two (Inbox, 2004-05-03 10:00)" + not_in_folder}), missing_names(tally));
}

TEST(Mail, an_altered_message_is_named) {
  const Scene scene = three_folders(System::linspire);
  write_three_mailboxes(mozilla);
  write_file(mozilla + "Inbox.sbd/Work", message("four", "Hallo\n") + message("five"));
  EXPECT_EQ((Names{"four (Inbox/Work, 2004-05-03 10:00)" + not_in_folder}),
            missing_names(scene.look(Kind::mail)));
}

TEST(Mail, a_cut_message_is_named) {
  const Scene scene = three_folders(System::gnome);
  write_three_mailboxes(evolution);
  const std::string whole = message("six") + message("seven");
  write_file(evolution + "Sent", whole.substr(0, whole.size() - 1));
  EXPECT_EQ((Names{"seven (Sent, 2004-05-03 10:00)" + not_in_folder}), missing_names(scene.look(Kind::mail)));
}

TEST(Mail, a_message_in_another_folder_is_missing_in_its_own) {
  const Scene scene = three_folders(System::xandros);
  write_three_kmail_folders();
  shell_quietly("mv /home/ann/Mail/inbox/cur/Inbox3 /home/ann/Mail/sent-mail/cur/");
  EXPECT_EQ((Names{"two (Inbox, 2004-05-03 10:00)" + not_in_folder}), missing_names(scene.look(Kind::mail)));
}

TEST(Mail, each_message_file_of_kmail_counts) {
  for (const char* const damage : {"rm", "truncate -s -1", "sed -i s/Hello/Hallo/"}) {
    const Scene scene = three_folders(System::redflag);
    write_three_kmail_folders();
    shell_quietly(damage + std::string(" /home/ann/Mail/.inbox.directory/Work/cur/Work3"));
    const Tally tally = scene.look(Kind::mail);
    EXPECT_EQ("7 6 0 0 1", numbers(tally)) << damage;
    EXPECT_EQ((Names{"five (Inbox/Work, 2004-05-03 10:00)" + not_in_folder}), missing_names(tally));
  }
}

TEST(Mail, two_that_are_alike_need_two) {
  const Scene scene =
      scene_of(System::gnome, {{"Mail/Inbox", message("one") + message("one") + message("two")}});
  shell_quietly("mkdir -p /home/ann/.evolution");
  write_file(evolution + "Inbox", message("one") + message("two"));
  EXPECT_EQ("3 2 0 0 1", numbers(scene.look(Kind::mail)));
  write_file(evolution + "Inbox", message("one") + message("two") + message("one") + message("one"));
  EXPECT_EQ("3 3 0 0 0", numbers(scene.look(Kind::mail)));
}

TEST(Mail, a_folder_that_is_gone_is_the_cause) {
  const Scene scene = three_folders(System::redflag_plus);
  write_three_kmail_folders();
  shell_quietly("rm -r /home/ann/Mail/sent-mail");
  const std::string cause = ": Its place /home/ann/Mail/sent-mail is not there.";
  EXPECT_EQ((Names{"seven (Sent, 2004-05-03 10:00)" + cause, "six (Sent, 2004-05-03 10:00)" + cause}),
            missing_names(scene.look(Kind::mail)));
}

TEST(Mail, something_else_in_a_mailboxs_place_holds_nothing_up) {
  const Scene scene = three_folders(System::gnome);
  write_three_mailboxes(evolution);
  shell_quietly("rm " + evolution + "Sent; mkfifo " + evolution + "Sent; rm " + evolution + "Inbox; mkdir " +
                evolution + "Inbox");
  EXPECT_EQ("7 2 0 0 5", numbers(scene.look(Kind::mail)));
}

TEST(Mail, an_empty_mailbox_is_no_message_but_missed) {
  const Scene::Entries empty = {{"Mail/Drafts", ""}, {"Mail/Outbox", ""}, {"Mail/Work.sbd/Old", ""}};
  const Scene scene = scene_of(System::gnome, empty);
  write_file(evolution + "Drafts", "");
  EXPECT_EQ("0 0 0 0 2", numbers(scene.look(Kind::mail)));
  const Scene other = scene_of(System::xandros, empty);
  shell_quietly("mkdir -p /home/ann/Mail/drafts/cur /home/ann/Mail/.Work.directory/Old/cur");
  EXPECT_EQ((Names{"folder Outbox: Its place /home/ann/Mail/outbox is not there."}),
            missing_names(other.look(Kind::mail)));
}

// ---- What the move changes ------------------------------------------------------------------------------

TEST(Mail, line_ends_of_windows_are_no_difference) {
  const Scene scene = scene_of(System::gnome, {{"Mail/Inbox", "From a\r\nSubject: one\r\n\r\nHel\rlo\r\n"}});
  write_file(evolution + "Inbox", "From a\nSubject: one\n\nHel\rlo\n");
  EXPECT_EQ("1 1 0 0 0", numbers(scene.look(Kind::mail)));
  write_file(evolution + "Inbox", "From a\nSubject: one\n\nHello\n");
  EXPECT_EQ((Names{"one (Inbox)" + not_in_folder}), missing_names(scene.look(Kind::mail)));
}

// The fifth character behind "From " keeps the line, unless it is "-".
TEST(Mail, an_encoding_that_kmail_does_not_get_is_an_adaptation) {
  const std::string encoding = "Content-Transfer-Encoding: base64\n", rest = "\nSGVsbG8=\n\n";
  const std::string dropping = "From ann\nSubject: one\n", keeping = "From ann@home.example\nSubject: two\n";
  const Scene scene =
      scene_of(System::xandros, {{"Mail/Inbox", dropping + encoding + rest + keeping + encoding + rest}});
  write_kmail("inbox/cur/Inbox", 2, dropping + rest);
  write_kmail("inbox/cur/Inbox", 3, keeping + encoding + rest);
  EXPECT_EQ("2 1 1 0 0", numbers(scene.look(Kind::mail)));
  write_kmail("inbox/cur/Inbox", 2, dropping + encoding + rest);
  EXPECT_EQ("2 2 0 0 0", numbers(scene.look(Kind::mail)));
  write_kmail("inbox/cur/Inbox", 3, keeping + rest);
  EXPECT_EQ((Names{"two (Inbox)" + not_in_folder}), missing_names(scene.look(Kind::mail)));
}

TEST(Mail, an_encoding_behind_a_boundary_stays) {
  const std::string head = "From ann\nSubject: one\nContent-Type: multipart/mixed;\n boundary=\"a--b\"\n";
  const std::string encoding = "Content-Transfer-Encoding: base64\n", part = "\n--a--b\n";
  const Scene scene =
      scene_of(System::xandros, {{"Mail/Inbox", head + encoding + part + encoding + "\nAA==\n"}});
  write_kmail("inbox/cur/Inbox", 2, head + part + encoding + "\nAA==\n");
  EXPECT_EQ("1 0 1 0 0", numbers(scene.look(Kind::mail)));
  write_kmail("inbox/cur/Inbox", 2, head + part + "\nAA==\n");
  EXPECT_EQ("1 0 0 0 1", numbers(scene.look(Kind::mail)));
}

// A line is read in pieces of 1023 bytes, and only its beginning begins a message.
TEST(Mail, lines_of_any_length_arrive) {
  const std::string mailbox = message("one", std::string(300000, 'x') + "\n") +
                              message("two", std::string(1023, 'x') + "From the middle of a line\n");
  const Scene scene = scene_of(System::gnome, {{"Mail/Inbox", mailbox}});
  write_file(evolution + "Inbox", mailbox);
  EXPECT_EQ("2 2 0 0 0", numbers(scene.look(Kind::mail)));
}

TEST(Mail, what_stands_before_the_first_message_is_left_out_by_kmail_alone) {
  const std::string before = "Subject: torn off\n\nrest of a message\n";
  const Scene::Entries entries = {{"Mail/Inbox", before + message("one")},
                                  {"Mail/Inbox.msf", "index\n"},
                                  {"Mail/Sent", "\n\n" + message("two")}};
  const Scene scene = scene_of(System::gnome, entries);
  write_file(evolution + "Inbox", before + message("one"));
  write_file(evolution + "Inbox.msf", "index\n");
  write_file(evolution + "Sent", "\n\n" + message("two"));
  EXPECT_EQ("4 4 0 0 0", numbers(scene.look(Kind::mail)));
  const Scene other = scene_of(System::xandros, entries);
  write_kmail("inbox/cur/Inbox", 2, message("one"));
  write_kmail("sent-mail/cur/Sent", 2, message("two"));
  shell_quietly("mkdir -p /home/ann/Mail/Inbox.msf/cur");
  const std::string cause = ": It stands before the first message of its folder, and is left out here.";
  EXPECT_EQ((Names{"index (Inbox.msf)" + cause, "torn off (Inbox)" + cause}),
            missing_names(other.look(Kind::mail)));
}

// ---- Folders that become one ----------------------------------------------------------------------------

TEST(Mail, two_mailboxes_in_one_folder_need_both_contents) {
  const Scene scene = scene_of(
      System::xandros, {{"Mail/Sent", message("one")}, {"Mail/sent-mail", message("one") + message("two")}});
  write_kmail("sent-mail/cur/Sent", 2, message("one"));
  write_kmail("sent-mail/cur/sent-mail", 3, message("two"));
  EXPECT_EQ("3 2 0 0 1", numbers(scene.look(Kind::mail)));
  write_kmail("sent-mail/cur/sent-mail", 2, message("one"));
  EXPECT_EQ("3 3 0 0 0", numbers(scene.look(Kind::mail)));
}

// Both would write Work2, and a file with the same message is kept as it is.
TEST(Mail, one_copy_is_enough_for_two_mailboxes_of_one_name) {
  const Scene scene =
      scene_of(System::xandros, {{"Mail/Sent.sbd/Work", message("one") + message("two")},
                                 {"Mail/sent-mail.sbd/Work", message("one") + message("three")}});
  write_kmail(".sent-mail.directory/Work/cur/Work", 2, message("one"));
  write_kmail(".sent-mail.directory/Work/cur/Work", 3, message("two"));
  EXPECT_EQ((Names{"three (sent-mail/Work, 2004-05-03 10:00)" + not_in_folder}),
            missing_names(scene.look(Kind::mail)));
  write_kmail(".sent-mail.directory/Work/cur/Work", 4, message("three"));
  EXPECT_EQ("4 4 0 0 0", numbers(scene.look(Kind::mail)));
}

TEST(Mail, one_copy_is_not_enough_for_two_in_one_of_them) {
  const Scene scene = scene_of(
      System::xandros, {{"Mail/Sent.sbd/Work", message("one")},
                        {"Mail/sent-mail.sbd/Work", message("one") + message("one") + message("one")}});
  write_kmail(".sent-mail.directory/Work/cur/Work", 2, message("one"));
  write_kmail(".sent-mail.directory/Work/cur/Work", 3, message("one"));
  EXPECT_EQ("4 3 0 0 1", numbers(scene.look(Kind::mail)));
}

TEST(Mail, kmail_does_not_read_hidden_files) {
  const Scene scene = scene_of(System::xandros, {{"Mail/Inbox", message("one")}});
  write_kmail("inbox/cur/.Inbox", 2, message("one"));
  write_kmail("inbox/tmp/Inbox", 2, message("one"));
  EXPECT_EQ((Names{"one (Inbox, 2004-05-03 10:00)" + not_in_folder}), missing_names(scene.look(Kind::mail)));
}

// ---- Not looked at --------------------------------------------------------------------------------------

TEST(Mail, nothing_is_looked_at_without_the_folder_of_accounts) {
  for (const System system : {System::gnome, System::linspire, System::xandros}) {
    const Scene scene(system, {{"Mail/Inbox", message("one")}, {"Mail/Drafts", ""}});
    write_file(evolution + "Inbox", message("one"));
    EXPECT_EQ(
        (Names{"folder Drafts: It is only looked at when the archive has ImapMail as well.",
               "one (Inbox, 2004-05-03 10:00): It is only looked at when the archive has ImapMail as well."}),
        missing_names(scene.look(Kind::mail)));
  }
}

TEST(Mail, evolution_alone_needs_the_folder_of_accounts_itself) {
  const Scene::Entries entries = {{"Mail/Inbox", message("one")}, {"ImapMail/Calendar/calendar.ics", ""}};
  const Scene scene(System::nld, entries);
  write_file(evolution + "Inbox", message("one"));
  EXPECT_EQ((Names{"one (Inbox, 2004-05-03 10:00): It is only looked at when the archive has "
                   "ImapMail/brindle-email-accounts as well."}),
            missing_names(scene.look(Kind::mail)));
  const Scene other(System::xandros, entries);
  write_kmail("inbox/cur/Inbox", 2, message("one"));
  EXPECT_EQ("1 1 0 0 0", numbers(other.look(Kind::mail)));
}

TEST(Mail, folders_beside_the_layout_are_named) {
  const Scene::Entries entries = {{"Mail/.hidden", message("one")},
                                  {"Mail/plain/Old", message("two")},
                                  {"Mail/odd.sbd", message("three")}};
  const std::string beside = "It lies where no mail folders are looked for.";
  const Scene old = scene_of(System::gnome, entries);
  EXPECT_EQ(
      (Names{"one (.hidden, 2004-05-03 10:00): Names that begin with a dot are left out here.",
             "three (odd.sbd, 2004-05-03 10:00): " + beside, "two (plain/Old, 2004-05-03 10:00): " + beside}),
      missing_names(old.look(Kind::mail)));
  const Scene kde = scene_of(System::xandros, entries);
  write_kmail(".hidden/cur/.hidden", 2, message("one"));
  write_kmail(".hidden/cur/seen", 2, message("one"));
  EXPECT_EQ(
      (Names{"three (odd.sbd, 2004-05-03 10:00): " + beside, "two (plain/Old, 2004-05-03 10:00): " + beside}),
      missing_names(kde.look(Kind::mail)));
}

// ---- Archives that cannot be read -----------------------------------------------------------------------

TEST(Mail, an_encrypted_mailbox_is_known_by_its_checksum) {
  const Scene scene(System::gnome,
                    {{account_file, "Account Name=Home\n"},
                     {"Mail/Inbox", message("one") + message("two")},
                     {"Mail/Sent", message("three")}},
                    "secret");
  write_file(evolution + "Inbox", message("one") + message("two"));
  write_file(evolution + "Sent", message("other"));
  const Tally tally = scene.look(Kind::mail);
  EXPECT_EQ("3 2 0 0 1", numbers(tally));
  EXPECT_EQ((Names{"folder Sent: It is encrypted in the archive."}), missing_names(tally));
  EXPECT_TRUE(tally.certain());
}

TEST(Mail, whether_an_encrypted_mailbox_came_to_kmail_cannot_be_told) {
  const Scene scene(System::xandros, {{account_file, "Account Name=Home\n"}, {"Mail/Inbox", message("one")}},
                    "secret");
  EXPECT_EQ((Names{"folder Inbox: It is encrypted in the archive."}), missing_names(scene.look(Kind::mail)));
  EXPECT_TRUE(scene.look(Kind::mail).certain());
  write_kmail("inbox/cur/Inbox", 2, message("one"));
  EXPECT_FALSE(scene.look(Kind::mail).certain());
}

TEST(Mail, a_damaged_mailbox_is_named_beside_the_messages_that_can_be_read) {
  const Scene scene = scene_of(System::gnome, {{"Mail/Inbox", message("one") + message("two")}});
  write_file(evolution + "Inbox", message("one") + message("two"));
  EXPECT_EQ("2 2 0 0 0", numbers(scene.look(Kind::mail)));
  // The checksum in the archive's list, behind the record's mark, versions, bits, method and time.
  shell_quietly(
      R"(perl -e 'open F, "+<", shift; local $/; $all = <F>; seek F, index($all, "PK\1\2") + 16, 0; print F "bad!"')"
      " /tmp/account-test.zip");
  EXPECT_EQ((Names{"folder Inbox: It is damaged in the archive."}), missing_names(scene.look(Kind::mail)));
}

// ---- Names ----------------------------------------------------------------------------------------------

TEST(Mail, names_are_read_like_a_mail_program_does) {
  const std::string mailbox =
      "From a\nSubject: =?iso-8859-1?Q?Gr=FC=DFe?=\n =?utf-8?B?IGF1cyBLw7Zsbg==?=\n\n1\n"
      "From a\nSubject: Gr\xfc\xdf"
      "e\nDate: Mon, 3 May 2004 23:30:00 -0500\n\n2\n"
      "From a\nFrom: \"Lee, Ann\" <ann@home.example>\n\n3\n"
      "From a\n\nno header at all\n"
      "From a\nSubject: a\tb\n\n4\n";
  const Scene scene = scene_of(System::linspire, {{"Mail/Inbox", mailbox}});
  write_file(mozilla + "Inbox", "");
  EXPECT_EQ((Names{"\"Lee, Ann\" <ann@home.example> (Inbox)" + not_in_folder, "(Inbox)" + not_in_folder,
                   "Grüße (Inbox, 2004-05-03 23:30)" + not_in_folder,
                   "Grüße aus Köln (Inbox)" + not_in_folder, "a b (Inbox)" + not_in_folder}),
            missing_names(scene.look(Kind::mail)));
}

TEST(Mail, names_come_from_the_first_field_of_each_name) {
  const std::string mailbox =
      "From a\nX-Subject: no\nsubject: one\n two\n\tthree\nSubject: again\nDate: Mon, 3 May\n 2004 23:30:00 "
      "-0500\n\n"
      "1\n"
      "From a\nSubjects: no\nSubject:\nFrom: Ann\n <ann@home.example>\n\nSubject: of the text\n"
      "From a\nSubject\nX: no";
  const Scene scene = scene_of(System::linspire, {{"Mail/Inbox", mailbox}});
  write_file(mozilla + "Inbox", "");
  EXPECT_EQ((Names{"Ann <ann@home.example> (Inbox)" + not_in_folder, "Subject (Inbox)" + not_in_folder,
                   "one two three (Inbox, 2004-05-03 23:30)" + not_in_folder}),
            missing_names(scene.look(Kind::mail)));
}

// On a PC set to English; neither encoded nor UTF-8.
TEST(Mail, a_chinese_subject_is_read_as_chinese) {
  const Scene scene = scene_of(System::linspire,
                               {{"Mail/Inbox", "From a\nSubject: \xd0\xc2\xc4\xea\xbf\xec\xc0\xd6\n\n1\n"}});
  write_file(mozilla + "Inbox", "");
  EXPECT_EQ((Names{"\u65b0\u5e74\u5feb\u4e50 (Inbox)" + not_in_folder}),
            missing_names(scene.look(Kind::mail)));
}

TEST(Mail, a_long_subject_is_cut_at_a_character) {
  std::string subject = "a";
  for (int i = 0; i < 150; ++i) subject += "\xc3\xbc";
  const Scene scene = scene_of(System::linspire, {{"Mail/Inbox", "From a\nSubject: " + subject + "\n\n1\n"}});
  write_file(mozilla + "Inbox", "");
  EXPECT_EQ(subject.substr(0, 199) + "... (Inbox)", scene.look(Kind::mail).missing().front().name);
}

}  // namespace
