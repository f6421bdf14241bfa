#include "process/mail/folders/kmail.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "mail/mail_files.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"

namespace {

using testing::ElementsAre;

const std::string root = "/tmp/brindAb12cd/Brindle";
const std::string mail = root + "/Mail";
const std::string target = "/root/Mail";

TEST(Kmail, AMailboxBecomesAMaildirFolder) {
  write_file(mail + "/Inbox", "From a\n1\nFrom b\n2\nFrom c\n3\n");
  EXPECT_EQ(0, kmailemails(root.c_str()));
  EXPECT_EQ("From a\n1\n", read_file(target + "/inbox/cur/Inbox2"));
  EXPECT_EQ("From b\n2\n", read_file(target + "/inbox/cur/Inbox3"));
  EXPECT_EQ("From c\n3\n", read_file(target + "/inbox/cur/Inbox4"));
  EXPECT_EQ(
      "/root/Mail/.inbox.directory\n/root/Mail/inbox\n/root/Mail/inbox/cur\n/root/Mail/inbox/cur/Inbox2\n"
      "/root/Mail/inbox/cur/Inbox3\n/root/Mail/inbox/cur/Inbox4\n/root/Mail/inbox/new\n"
      "/root/Mail/inbox/tmp\n",
      output_of("find /root/Mail -mindepth 1 | LC_ALL=C sort"));
}

TEST(Kmail, TheCommandsComeInTheirOrder) {
  write_file(mail + "/Sent", "");
  kmailemails(root.c_str());
  EXPECT_THAT(
      commands_run(),
      ElementsAre("rm -f \"/root/Mail/.sent-mail.index\"", "rm -f \"/root/Mail/.sent-mail.index.ids\"",
                  "mkdir -p \"/root/Mail/sent-mail\"", "mkdir -p \"/root/Mail/.sent-mail.directory\"",
                  "mkdir -p \"/root/Mail/sent-mail/cur\"", "mkdir -p \"/root/Mail/sent-mail/new\"",
                  "mkdir -p \"/root/Mail/sent-mail/tmp\""));
}

TEST(Kmail, TopLevelNamesAreMappedExactly) {
  for (const char* name : {"Inbox", "Sent", "Outbox", "Drafts", "Trash", "INBOX2", "sent", "Sent Items"})
    write_file(mail + "/" + name, "From a\n");
  kmailemails(root.c_str());
  for (const char* file :
       {"inbox/cur/Inbox2", "sent-mail/cur/Sent2", "outbox/cur/Outbox2", "drafts/cur/Drafts2",
        "trash/cur/Trash2", "INBOX2/cur/INBOX22", "sent/cur/sent2", "Sent Items/cur/Sent Items2"})
    EXPECT_TRUE(exists(target + "/" + file)) << file;
}

TEST(Kmail, SubfoldersLieInTheDirectoryOfTheirFolder) {
  write_file(mail + "/Inbox.sbd/Work", "From a\n");
  write_file(mail + "/Inbox.sbd/Sent", "From b\n");
  write_file(mail + "/Inbox.sbd/Trash.sbd/Inbox", "From c\n");
  kmailemails(root.c_str());
  EXPECT_TRUE(exists(target + "/.inbox.directory/Work/cur/Work2"));
  EXPECT_TRUE(exists(target + "/.inbox.directory/Sent/cur/Sent2"));
  EXPECT_TRUE(exists(target + "/.inbox.directory/.Trash.directory/Inbox/cur/Inbox2"));
  EXPECT_TRUE(exists(target + "/.inbox.directory/.Trash.directory/.Inbox.directory"));
}

TEST(Kmail, ASubfolderDirectoryIsMadeWithoutQuotes) {
  std::filesystem::create_directories(mail + "/Sent.sbd");
  kmailemails(root.c_str());
  EXPECT_THAT(commands_run(), ElementsAre("mkdir -p /root/Mail/.sent-mail.directory"));
}

TEST(Kmail, SbdAnywhereInANameMakesItASubfolderDirectory) {
  write_file(mail + "/a.sbd.bak/Work", "From a\n");
  kmailemails(root.c_str());
  EXPECT_TRUE(exists(target + "/.a.directory/Work/cur/Work2"));
  write_file(mail + "/b.sbd.sbd/Work", "From a\n");
  kmailemails(root.c_str());
  EXPECT_TRUE(exists(target + "/.b.directory/Work/cur/Work2"));
}

TEST(Kmail, AFileNamedLikeASubfolderDirectoryDoesNoHarm) {
  write_file(mail + "/a.sbd", "From a\n");
  write_file(mail + "/Inbox", "From b\n");
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, kmailemails(root.c_str()));
  EXPECT_EQ("In setupemails() opendir: : Not a directory\n", testing::internal::GetCapturedStderr());
  EXPECT_TRUE(exists(target + "/inbox/cur/Inbox2"));
}

TEST(Kmail, APlainSubdirectoryIsAnEmptyFolder) {
  write_file(mail + "/plain/Inbox", "From a\n");
  EXPECT_EQ(0, kmailemails(root.c_str()));
  EXPECT_TRUE(std::filesystem::is_empty(target + "/plain/cur"));
}

TEST(Kmail, AMissingMailFolderIsReportedAndCountsAsSuccess) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, kmailemails(root.c_str()));
  EXPECT_EQ("In setupemails() opendir: : No such file or directory\n",
            testing::internal::GetCapturedStderr());
  EXPECT_FALSE(exists(target));
}

TEST(Kmail, StaleIndexesOfTheFolderAreRemoved) {
  write_file(target + "/.inbox.index", "old");
  write_file(target + "/.inbox.index.ids", "old");
  write_file(target + "/.other.index", "other");
  write_file(mail + "/Inbox", "");
  kmailemails(root.c_str());
  EXPECT_FALSE(exists(target + "/.inbox.index"));
  EXPECT_FALSE(exists(target + "/.inbox.index.ids"));
  EXPECT_TRUE(exists(target + "/.other.index"));
}

TEST(Kmail, MessagesTheUserHasUnderOtherNamesStay) {
  write_file(target + "/inbox/cur/1105000000.123.host", "mine");
  write_file(mail + "/Inbox", "From a\n");
  kmailemails(root.c_str());
  EXPECT_EQ("mine", read_file(target + "/inbox/cur/1105000000.123.host"));
}

TEST(Kmail, RunningAgainDoublesNothing) {
  make_mail_tree(mail);
  for (int run = 0; run < 3; ++run) {
    EXPECT_EQ(0, kmailemails(root.c_str()));
    EXPECT_EQ(counted_mail_tree, counted("kmail", target)) << run;
  }
}

TEST(Kmail, AMessageFileThatHoldsSomethingElseIsNotOverwritten) {
  write_file(target + "/inbox/cur/Inbox3", "mine");
  write_file(mail + "/Inbox", "From a\n1\nFrom b\n2\nFrom c\n3\n");
  for (int run = 0; run < 2; ++run) {
    EXPECT_EQ(0, kmailemails(root.c_str()));
    EXPECT_EQ("Inbox2\nInbox3\nInbox4\nInbox5\n", output_of("ls " + target + "/inbox/cur"));
  }
  EXPECT_EQ("mine", read_file(target + "/inbox/cur/Inbox3"));
  EXPECT_EQ("From b\n2\n", read_file(target + "/inbox/cur/Inbox4"));
  EXPECT_EQ("From c\n3\n", read_file(target + "/inbox/cur/Inbox5"));
}

// One is cut at ".sbd", another mapped: all four are KMail's folders below sent-mail, with a message in
// common.
TEST(Kmail, FoldersThatBecomeOneKeepAllContents) {
  write_file(mail + "/Sent.sbd/Work", "From a\nFrom b\n");
  write_file(mail + "/sent-mail.sbd/Work", "From c\nFrom a\n");
  write_file(mail + "/Sent.sbd.bak/Work", "From d\n");
  write_file(mail + "/sent-mail.sbd/Other", "From e\n");
  for (int run = 0; run < 2; ++run) {
    EXPECT_EQ(0, kmailemails(root.c_str()));
    const std::string folder = target + "/.sent-mail.directory";
    EXPECT_EQ("From a\nFrom a\nFrom b\nFrom c\nFrom d\n", output_of("cat " + folder + "/Work/cur/* | sort"));
    EXPECT_EQ("From e\n", read_file(folder + "/Other/cur/Other2"));
  }
}

TEST(Kmail, OnAFullDiskTheItemFailsAndTheOtherFoldersAreThere) {
  write_file(mail + "/Inbox", mailbox_of(3));
  write_file(mail + "/Large", mailbox_of(2000));
  write_file(mail + "/Sent.sbd/Work", mailbox_of(2));
  write_file(mail + "/Trash", mailbox_of(1));
  std::filesystem::create_directories(target);
  const SmallDisk disk(target);
  EXPECT_EQ(-1, kmailemails(root.c_str()));
  EXPECT_EQ("", output_of("find " + target + " -path '*/cur/*' -empty"));
  disk.empty();
  std::filesystem::remove(mail + "/Large");
  std::filesystem::remove_all(target + "/Large");
  EXPECT_EQ(0, setupemails(mail.c_str(), target.c_str(), 1));
  EXPECT_EQ("Inbox 3\nSent/Work 2\nTrash 1\n",
            output_of(test_data("mail/count_messages.py") + " kmail " + target + " | grep -v ' 0$'"));
}

TEST(Kmail, OneFolderThatFailsIsToldWhereverItStands) {
  const std::vector<std::string> names = {"one", "two", "three", "four"};
  for (const std::string& name : names) write_file(mail + "/" + name, mailbox_of(1));
  for (const std::string& name : names) {
    write_file(target + "/" + name + "/cur", "no folder");
    EXPECT_EQ(-1, kmailemails(root.c_str())) << name;
    std::filesystem::remove_all(target);
  }
}

TEST(Kmail, AProfilesFoldersGoIntoItsHome) {
  isDefaultUser = 0;
  ASSERT_TRUE(assign(cur_user, "ann"));
  write_file(mail + "/Inbox", "From a\n");
  kmailemails(root.c_str());
  EXPECT_TRUE(exists("/home/ann/Mail/inbox/cur/Inbox2"));
}

TEST(Kmail, WithoutAHomeNothingIsConverted) {
  lose_account_entry();
  write_file(mail + "/Inbox", "From a\n");
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, kmailemails(root.c_str()));
  EXPECT_EQ(1, complaints_of_no_home(testing::internal::GetCapturedStderr()));
  EXPECT_TRUE(commands_run().empty());
}

TEST(Kmail, OwnNamesAreForTheFirstLevelAlone) {
  write_file("/tmp/in/Inbox", "From a\n");
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, setupemails("/tmp/in", "/tmp/out", 0));
  EXPECT_EQ(0, setupemails("/tmp/in", "/tmp/first", 1));
  EXPECT_THAT(testing::internal::GetCapturedStdout(), testing::Not(testing::HasSubstr("buffer=")));
  EXPECT_TRUE(exists("/tmp/out/Inbox/cur/Inbox2"));
  EXPECT_TRUE(exists("/tmp/first/inbox/cur/Inbox2"));
}

TEST(Kmail, NoNameEndsItsWord) {
  write_file(mail + "/a\"; touch pwned; \"", "From a\n");
  write_file(mail + "/$(touch pwned)`touch pwned`", "From a\n");
  write_file(mail + "/x; touch pwned.sbd/-rf\n", "From a\n");
  kmailemails(root.c_str());
  EXPECT_FALSE(exists("pwned"));
  EXPECT_TRUE(exists(target + "/a\"; touch pwned; \"/cur/a\"; touch pwned; \"2"));
  EXPECT_TRUE(exists(target + "/.x; touch pwned.directory/-rf\n/cur/-rf\n2"));
  EXPECT_TRUE(exists(target + "/$(touch pwned)`touch pwned`/cur/$(touch pwned)`touch pwned`2"));
}

TEST(Kmail, NoMessageIsLost) {
  make_mail_tree(mail);
  ASSERT_EQ(counted_mail_tree, counted("archive", mail));
  kmailemails(root.c_str());
  EXPECT_EQ(counted_mail_tree, counted("kmail", target));
}

TEST(Kmail, TracesNameEachFolder) {
  write_file(mail + "/Inbox.sbd/Work", "");
  testing::internal::CaptureStdout();
  kmailemails(root.c_str());
  EXPECT_EQ(
      "buffer=/root\n\nProcessing Folder :: Foldername2::.Work.directory\nFoldername::Work\n"
      "\nProcessing File :: Work\nFilepath::/tmp/brindAb12cd/Brindle/Mail/Inbox.sbd/Work\n"
      "File ReadTrying to now get each line.::1\nCount::1\nend",
      testing::internal::GetCapturedStdout());
}

}  // namespace
