#include "process/mail/kde/accounts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <regex>
#include <sstream>
#include <vector>

#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* kmailrc = "/root/.kde/share/config/kmailrc";
constexpr const char* accounts = "/tmp/b/ImapMail/brindle-email-accounts/";

// The expected files name no account id: the values only have to differ.
std::string without_ids(const std::string& text) {
  return std::regex_replace(text, std::regex("Id=[0-9]+"), "Id=ID");
}

struct KMail : testing::Test {
  KMail() {
    shell_quietly("mkdir -p /root/.kde/share/config /root/.kde/share/apps/kmail/imap " +
                  std::string(accounts));
    assign(OSName, "Xandros");
    std::srand(5);
  }
  static void account(const std::string& name, const std::string& text) { write_file(accounts + name, text); }
  static void work() {
    account("work.txt",
            "Account Name=Work\r\nSMTP Display Name=Ann Lee\r\nSMTP Email Address=ann@work.example\r\n"
            "POP3 Server=pop.work.example\r\nPOP3 User Name=ann\r\nPOP3 Port=995\r\nPOP3 Prompt for "
            "Password=0\r\n"
            "POP3 Secure Connection=1\r\nLeave Mail On Server=0\r\nLeave on Server=1\r\nSMTP Use Auth=1\r\n"
            "SMTP Prompt for Password=1\r\nSMTP Server=smtp.work.example\r\nSMTP Secure Connection=1\r\n");
  }
  static void home() {
    account(
        "home.txt",
        "Account Name=Home\r\nDisplay Name=Ann\r\nEmail=ann@home.example\r\nIMAP Server=imap.home.example\r\n"
        "IMAP User=ann.lee\r\nIMAP Prompt for Password=1\r\nSMTP Server=smtp.home.example\r\n");
  }
  static testing::AssertionResult kmailrc_is(const std::string& expected) {
    return same_bytes(read_file(test_data("expected/kmail/" + expected)), without_ids(read_file(kmailrc)));
  }
};

TEST_F(KMail, OnePop3AccountWithEveryFlag) {
  work();
  write_file(kmailrc, "[Old]\nkept=no\n");
  EXPECT_EQ(0, kmailaccountsettings("/tmp/b"));
  EXPECT_TRUE(kmailrc_is("pop3.kmailrc"));
  EXPECT_TRUE(exists("/root/.kde/share/apps/kmail/ann:@pop.work.example:110"));
}

TEST_F(KMail, OneImapAccountWithNothingButTheNeeded) {
  home();
  EXPECT_EQ(0, kmailaccountsettings("/tmp/b"));
  EXPECT_TRUE(kmailrc_is("imap.kmailrc"));
  EXPECT_TRUE(exists("/root/.kde/share/apps/kmail/imap/ann.lee:@imap.home.example:110"));
}

TEST_F(KMail, CommandsOfOneAccountInOrder) {
  work();
  kmailaccountsettings("/tmp/b");
  const std::string file = std::string(accounts) + "work.txt";
  EXPECT_THAT(commands_run(), ElementsAre("dos2unix -q \"" + file + "\"",
                                          "iconv -c -f GB2312 -t utf-8 " + file + " -o " + file + "temp",
                                          StartsWith("hostname > "), "rm /root/.kde/share/config/kmailrc",
                                          "rm " + file + "temp"));
  EXPECT_EQ("work.txt\n", output_of(std::string("ls ") + accounts));
}

TEST_F(KMail, TracesOfOneAccount) {
  write_file("/tmp/a", "Account Name=A\nPOP3 Server=p\nPOP3 User=u\n");
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, kde_extract_from_account_path("/tmp/a", "/tmp/b", 2));
  EXPECT_EQ(
      "Account Name::A\nbuffer=/root\nbuffer=/root\n\n\n File Opened\nFlush Result::0\nClose Result::0"
      "\nFile closed",
      testing::internal::GetCapturedStdout());
}

TEST_F(KMail, TracesOfAllAccounts) {
  work();
  home();
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, kmailaccountsettings("/tmp/b"));
  const std::string account =
      "buffer=/root\nbuffer=/root\n\n\n File Opened\nFlush Result::0\nClose Result::0\nFile closed";
  EXPECT_THAT(
      testing::internal::GetCapturedStdout(),
      testing::AnyOf("Account Name::Work\n" + account + "Account Name::Home\n" + account + "buffer=/root\n",
                     "Account Name::Home\n" + account + "Account Name::Work\n" + account + "buffer=/root\n"));
}

TEST_F(KMail, OnlyTheFirstAccountRemovesTheOldFile) {
  write_file("/tmp/a", "Account Name=A\nPOP3 Server=p\nPOP3 User=u\n");
  write_file(kmailrc, "[Old]\n");
  EXPECT_EQ(0, kde_extract_from_account_path("/tmp/a", "/tmp/b", 2));
  EXPECT_THAT(read_file(kmailrc), StartsWith("[Old]\n\n\n[Account 2]\nFolder=inbox\n"));
  EXPECT_EQ(0, kde_extract_from_account_path("/tmp/a", "/tmp/b", 1));
  EXPECT_THAT(read_file(kmailrc), StartsWith("\n\n[Account 1]\nFolder=inbox\n"));
}

TEST_F(KMail, AnOldFolderFileIsEmptied) {
  work();
  write_file("/root/.kde/share/apps/kmail/ann:@pop.work.example:110", "old");
  kmailaccountsettings("/tmp/b");
  EXPECT_EQ("", read_file("/root/.kde/share/apps/kmail/ann:@pop.work.example:110"));
}

TEST_F(KMail, AnUnwritableFileFailsItsAccountAndIsReported) {
  write_file("/tmp/a", "Account Name=A\nPOP3 Server=p\nPOP3 User=u\n");
  shell_quietly("rm -r /root/.kde/share/config");
  testing::internal::CaptureStdout();
  EXPECT_EQ(1, kde_extract_from_account_path("/tmp/a", "/tmp/b", 2));
  EXPECT_THAT(testing::internal::GetCapturedStdout(), testing::EndsWith("\nERROR :: Could not create file"));
  EXPECT_FALSE(exists("/root/.kde/share/apps/kmail/u:@p:110"));
}

TEST_F(KMail, SeveralAccountsGoIntoOneFreshFile) {
  work();
  home();
  write_file(kmailrc, "[Old]\nkept=no\n");
  EXPECT_EQ(0, kmailaccountsettings("/tmp/b"));
  const std::string text = read_file(kmailrc);
  for (const char* group : {"[Account 1]", "[Transport 1]", "[Account 2]", "[Transport 2]"})
    EXPECT_THAT(text, HasSubstr(std::string("\n") + group + "\n"));
  EXPECT_THAT(text, testing::EndsWith("\n\n[General]\naccounts=2\ntransports=2\n\n\n[Reader]\nhtmlMail=true\n"
                                      "htmlLoadExternal=true\n"));
  EXPECT_THAT(text, Not(HasSubstr("[Old]")));
}

TEST_F(KMail, AccountsComeInTheOrderOfTheirFolder) {
  for (const std::string name : {"d", "a", "c", "b"})
    account(name, "Account Name=" + name + "\nPOP3 Server=p\n");
  const std::string names = output_of(std::string("ls -U ") + accounts);  // converting moves them about
  EXPECT_EQ(0, kmailaccountsettings("/tmp/b"));
  EXPECT_EQ(names, output_of(std::string("sed -n s/^Name=//p ") + kmailrc));
}

TEST_F(KMail, IdsDifferEvenWhenTheGeneratorRepeatsItself) {
  work();
  home();
  account("third.txt", "Account Name=Third\nPOP3 Server=x\n");
  kmailaccountsettings("/tmp/b");
  EXPECT_EQ("3\n", output_of(std::string("grep ^Id= ") + kmailrc + " | sort -u | wc -l"));
}

// What the generator answers, one after the other, once it is seeded with `seed`.
std::vector<std::string> numbers_of(unsigned int seed, int count) {
  std::srand(seed);
  std::vector<std::string> numbers;
  for (int i = 0; i < count; ++i) numbers.push_back(std::to_string(std::rand()));
  return numbers;
}

// The seeds 0 and 1 are the same to the C library, so the second account's first draw is taken.
TEST_F(KMail, IdsAreDrawnFromWhatTheTemporaryNamesSeeded) {
  const auto numbers = numbers_of(0, 3);
  ASSERT_EQ(numbers, numbers_of(1, 3));
  work();
  home();
  kmailaccountsettings("/tmp/b");
  EXPECT_THAT(commands_run(), Contains("hostname > /root/." + numbers[0]).Times(2));
  EXPECT_EQ("Id=" + numbers[1] + "\nId=" + numbers[2] + "\n", output_of(std::string("grep ^Id= ") + kmailrc));
}

TEST_F(KMail, AnIdOfTheOldFileIsNotGivenAgain) {
  const auto numbers = numbers_of(0, 3);
  write_file("/tmp/a", "Account Name=A\nPOP3 Server=p\nPOP3 User=u\n");
  write_file(kmailrc, "[Account 1]\nId=" + numbers[1] + "\nName=Old\n");
  EXPECT_EQ(0, kde_extract_from_account_path("/tmp/a", "/tmp/b", 2));
  EXPECT_EQ("Id=" + numbers[1] + "\nId=" + numbers[2] + "\n", output_of(std::string("grep ^Id= ") + kmailrc));
}

TEST_F(KMail, WithoutAccountsTheOldFileIsKept) {
  write_file(kmailrc, "[Old]\nkept=yes\n");
  EXPECT_EQ(0, kmailaccountsettings("/tmp/b"));
  EXPECT_EQ(
      "[Old]\nkept=yes\n\n\n[General]\naccounts=0\ntransports=0\n\n\n[Reader]\nhtmlMail="
      "true\nhtmlLoadExternal=true\n",
      read_file(kmailrc));
}

TEST_F(KMail, ChineseSettingsBecomeUtf8) {
  account("zh.txt", "Account Name=\xB9\xA4\xD7\xF7\nDisplay Name=\xC5\xF3\xD3\xD1\xFF\nPOP3 Server=p\n");
  kmailaccountsettings("/tmp/b");
  EXPECT_THAT(read_file(kmailrc),
              AllOf(HasSubstr("\nName=\u5de5\u4f5c\n"), HasSubstr("\nname=\u670b\u53cb\n")));
}

TEST_F(KMail, SettingsInAnotherEncodingLoseLetters) {
  account("de.txt", "Account Name=M\xFCller\nPOP3 Server=p\n");
  kmailaccountsettings("/tmp/b");
  EXPECT_THAT(read_file(kmailrc), HasSubstr("\nName=Mller\n"));
}

TEST_F(KMail, StoringThePasswordFollowsTheOutgoingServer) {
  account("a.txt", "POP3 Server=p\nPOP3 Prompt for Password=0\nSMTP Prompt for Password=1\n");
  kmailaccountsettings("/tmp/b");
  EXPECT_THAT(read_file(kmailrc),
              AllOf(HasSubstr("\nstore-passwd=false\n"), HasSubstr("\nstorepass=false\n")));
  account("a.txt", "POP3 Server=p\nPOP3 Prompt for Password=1\nSMTP Prompt for Password=0\n");
  kmailaccountsettings("/tmp/b");
  EXPECT_THAT(read_file(kmailrc), AllOf(HasSubstr("\nstore-passwd=true\n"), HasSubstr("\nstorepass=true\n")));
}

// The lines of kmailrc that an account has with `settings` and not without.
std::string lines_by(const std::string& settings, const std::function<void(const std::string&)>& account) {
  const auto lines_of = [&](const std::string& text) {
    account("POP3 Server=p\n" + text);
    kmailaccountsettings("/tmp/b");
    std::istringstream lines(without_ids(read_file(kmailrc)));
    std::vector<std::string> found;
    for (std::string line; std::getline(lines, line);) found.push_back(line);
    return found;
  };
  const std::vector<std::string> without = lines_of(""), with = lines_of(settings);
  std::string different;
  for (std::size_t at = 0; at < std::min(with.size(), without.size()); ++at)
    if (with[at] != without[at]) different += with[at] + "\n";
  return different;
}

TEST_F(KMail, EachFlagChangesItsOwnLinesAlone) {
  const auto write = [](const std::string& text) { account("a.txt", text); };
  EXPECT_EQ("use-ssl=true\n", lines_by("POP3 Secure Connection=1\n", write));
  EXPECT_EQ("leave-on-server=true\n", lines_by("Leave Mail On Server=1\n", write));
  EXPECT_EQ("encryption=SSL\n", lines_by("SMTP Secure Connection=1\n", write));
  EXPECT_EQ("store-passwd=false\nstorepass=false\n", lines_by("SMTP Prompt for Password=1\n", write));
  EXPECT_EQ("", lines_by("POP3 Prompt for Password=1\n", write));
  EXPECT_EQ("", lines_by("SMTP Use Auth=1\n", write));
}

TEST_F(KMail, KdeReadsEveryKey) {
  work();
  kmailaccountsettings("/tmp/b");
  const auto key = [](const std::string& group, const std::string& name) {
    return output_of("kreadconfig5 --file " + std::string(kmailrc) + " --group '" + group + "' --key " +
                     name);
  };
  EXPECT_EQ("pop.work.example\n", key("Account 1", "host"));
  EXPECT_EQ("995\n", key("Account 1", "port"));
  EXPECT_EQ("true\n", key("Account 1", "use-ssl"));
  EXPECT_EQ("true\n", key("Account 1", "leave-on-server"));
  EXPECT_EQ("inbox\n", key("Account 1", "Folder"));
  EXPECT_EQ("smtp.work.example\n", key("Transport 1", "host"));
  EXPECT_EQ("SSL\n", key("Transport 1", "encryption"));
  EXPECT_EQ("Ann Lee\n", key("Transport 1", "name"));
  EXPECT_EQ("1\n", key("General", "accounts"));
  EXPECT_EQ("true\n", key("Reader", "htmlMail"));
}

// Nothing in a value is escaped. KDE takes a backslash with some letters for a tab or a line end, two of them
// for one, and leaves out the letter that it knows nothing of.
TEST_F(KMail, KdeReadsBackslashesInItsOwnWay) {
  account(
      "a.txt",
      "Account Name=C:\\temp\\new\r\nSMTP Display Name=DOMAIN\\\\ann\r\nSMTP Email Address=a@b.example\r\n"
      "POP3 Server=pop.example\r\nPOP3 User Name=WORK\\ann\r\nSMTP Server=smtp.example\r\n");
  kmailaccountsettings("/tmp/b");
  EXPECT_THAT(read_file(kmailrc), AllOf(HasSubstr("\nName=C:\\temp\\new\n"), HasSubstr("\nlogin=WORK\\ann\n"),
                                        HasSubstr("\nname=DOMAIN\\\\ann\n")));
  const auto key = [](const std::string& group, const std::string& name) {
    return output_of("kreadconfig5 --file " + std::string(kmailrc) + " --group '" + group + "' --key " +
                     name);
  };
  EXPECT_EQ("C:\temp\new\n", key("Account 1", "Name"));
  EXPECT_EQ("WORK\\nn\n", key("Account 1", "login"));
  EXPECT_EQ("DOMAIN\\ann\n", key("Transport 1", "name"));
  EXPECT_EQ("pop.example\n", key("Account 1", "host"));
}

// ---- Failures -------------------------------------------------------------------------------------------

TEST_F(KMail, AMissingFolderIsReported) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, kmailaccountsettings("/tmp/missing"));
  EXPECT_EQ("In mail_account() opendir: : No such file or directory\n",
            testing::internal::GetCapturedStderr());
}

TEST_F(KMail, AnUnwritableFileIsReported) {
  work();
  shell_quietly("rm -r /root/.kde/share/config");
  testing::internal::CaptureStdout();
  EXPECT_EQ(1, kmailaccountsettings("/tmp/b"));
  EXPECT_THAT(testing::internal::GetCapturedStdout(), testing::EndsWith("\nERROR :: Could not create file"));
}

TEST_F(KMail, AFolderFileThatCannotBeMadeFailsItsAccountOnly) {
  shell_quietly("rm -r /root/.kde/share/apps/kmail");
  write_file("/tmp/a", "Account Name=A\nPOP3 Server=p\nPOP3 User=u\n");
  testing::internal::CaptureStderr();
  EXPECT_EQ(1, kde_extract_from_account_path("/tmp/a", "/tmp/b", 1));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), Not(HasSubstr(":110")));
  work();
  EXPECT_EQ(0, kmailaccountsettings("/tmp/b"));
}

TEST_F(KMail, WhatLiesInTheFoldersPlaceIsNamed) {
  shell_quietly("rm -r /root/.kde/share/apps/kmail; mkfifo /root/.kde/share/apps/kmail");
  write_file("/tmp/a", "Account Name=A\nPOP3 Server=p\nPOP3 User=u\n");
  testing::internal::CaptureStderr();
  EXPECT_EQ(1, kde_extract_from_account_path("/tmp/a", "/tmp/b", 1));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("/root/.kde/share/apps/kmail/u:@p:110: Not a directory\n"));
}

TEST_F(KMail, AFileThatCannotBeReadIsPassedOver) {
  write_file(kmailrc, "[Old]\nkept=yes\n");
  EXPECT_EQ(1, kde_extract_from_account_path("/tmp/missing", "/tmp/b", 1));
  EXPECT_EQ("[Old]\nkept=yes\n", read_file(kmailrc));
}

// Whichever comes first, second or third in the folder.
TEST_F(KMail, AFileThatCannotBeReadTakesNoNumber) {
  for (const std::string folder : {"a", "b", "c"}) {
    std::filesystem::remove_all(accounts);
    for (const std::string name : {"a", "b", "c"})
      account(name, "Account Name=" + name + "\nPOP3 Server=p\n");
    std::filesystem::remove(accounts + folder);
    std::filesystem::create_directories(accounts + folder);
    write_file(kmailrc, "[Old]\n");
    EXPECT_EQ(0, kmailaccountsettings("/tmp/b"));
    EXPECT_EQ("[Account 1]\n[Transport 1]\n[Account 2]\n[Transport 2]\n[General]\n[Reader]\n",
              output_of(std::string("grep '^\\[' ") + kmailrc))
        << folder;
    EXPECT_THAT(read_file(kmailrc), HasSubstr("\naccounts=2\ntransports=2\n"));
  }
}

TEST_F(KMail, WithoutAFileThatCanBeReadTheOldOneIsKept) {
  std::filesystem::create_directories(std::string(accounts) + "folder");
  write_file(kmailrc, "[Old]\nkept=yes\n");
  EXPECT_EQ(0, kmailaccountsettings("/tmp/b"));
  EXPECT_THAT(read_file(kmailrc), StartsWith("[Old]\nkept=yes\n\n\n[General]\naccounts=0\n"));
}

TEST_F(KMail, AFileWhoseConvertedTextIsCutOffIsPassedOver) {
  account("a", "Account Name=A\nPOP3 Server=p\n" + std::string(20'000, '\n') + "SMTP Server=s\n");
  const SmallDisk disk(accounts);
  disk.fill_but(2);
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, kmailaccountsettings("/tmp/b"));
  EXPECT_THAT(
      testing::internal::GetCapturedStderr(),
      HasSubstr("The account " + std::string(accounts) + "a could not be converted whole and is left out\n"));
  EXPECT_FALSE(exists(std::string(accounts) + "atemp"));
  EXPECT_THAT(read_file(kmailrc), HasSubstr("\naccounts=0\n"));
  disk.empty();
  EXPECT_EQ(0, kmailaccountsettings("/tmp/b"));
  EXPECT_THAT(read_file(kmailrc), HasSubstr("\nhost=s\n"));
}

// ---- Files whose names meet -----------------------------------------------------------------------------

// The text of each is converted into the file that the next one is: all are there, in whatever order.
TEST_F(KMail, AFileIsNotLostToTheConvertedTextOfAnother) {
  for (const std::vector<std::string>& order :
       {std::vector<std::string>{"work", "worktemp", "worktemptemp"}, {"worktemptemp", "worktemp", "work"}}) {
    std::filesystem::remove_all(accounts);
    for (const std::string& name : order) account(name, "Account Name=" + name + "\nPOP3 Server=p\n");
    EXPECT_EQ(0, kmailaccountsettings("/tmp/b"));
    EXPECT_EQ("Name=work\nName=worktemp\nName=worktemptemp\naccounts=3\n",
              output_of(std::string("grep -h -e ^Name= -e ^accounts= ") + kmailrc + " | LC_ALL=C sort"));
    EXPECT_EQ("work\nworktemp\nworktemptemp\n", output_of(std::string("ls -A ") + accounts));
    EXPECT_EQ("Account Name=worktemp\nPOP3 Server=p\n", read_file(std::string(accounts) + "worktemp"));
  }
}

TEST_F(KMail, AFolderInThePlaceOfTheConvertedTextIsNotInTheWay) {
  account("work", "Account Name=Work\nPOP3 Server=p\n");
  write_file(std::string(accounts) + "worktemp/inside", "x");
  EXPECT_EQ(0, kmailaccountsettings("/tmp/b"));
  EXPECT_THAT(read_file(kmailrc), HasSubstr("\nName=Work\n"));
  EXPECT_EQ("x", read_file(std::string(accounts) + "worktemp/inside"));
}

// ---- A full disk ----------------------------------------------------------------------------------------

TEST_F(KMail, OnAFullDiskTheOldFileStays) {
  work();
  home();
  write_file(kmailrc, "[Old]\nkept=yes\n");
  const SmallDisk disk("/root/.kde/share/config");
  disk.fill_but(0);
  testing::internal::CaptureStdout();
  EXPECT_EQ(1, kmailaccountsettings("/tmp/b"));
  EXPECT_THAT(testing::internal::GetCapturedStdout(), testing::EndsWith("\nERROR :: Could not create file"));
  EXPECT_EQ("[Old]\nkept=yes\n", read_file(kmailrc));
  EXPECT_EQ("filling\nkmailrc\n", output_of("ls -A /root/.kde/share/config"));
}

TEST_F(KMail, ADiskThatFillsUpOnTheWayLeavesTheOldFile) {
  for (const std::string name : {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j"})
    account(name, "Account Name=" + name + "\nPOP3 Server=p\n");
  write_file(kmailrc, "[Old]\nkept=yes\n");
  const SmallDisk disk("/root/.kde/share/config");
  for (const int left : {1, 2, 3}) {
    disk.empty();
    disk.fill_but(left);
    EXPECT_EQ(1, kmailaccountsettings("/tmp/b")) << left;
    EXPECT_EQ("[Old]\nkept=yes\n", read_file(kmailrc));
  }
  disk.empty();
  EXPECT_EQ(0, kmailaccountsettings("/tmp/b"));
  EXPECT_THAT(read_file(kmailrc), HasSubstr("\naccounts=10\n"));
}

TEST_F(KMail, OnAFullDiskAFirstFileIsNotMade) {
  work();
  const SmallDisk disk("/root/.kde/share/config");
  disk.fill_but(0);
  EXPECT_EQ(1, kmailaccountsettings("/tmp/b"));
  EXPECT_FALSE(exists(kmailrc));
}

TEST_F(KMail, OnAFullDiskAnAccountAloneLeavesTheOldFile) {
  write_file("/tmp/a", "Account Name=A\nPOP3 Server=p\nPOP3 User=u\n");
  write_file(kmailrc, "[Old]\n");
  const SmallDisk disk("/root/.kde/share/config");
  disk.fill_but(0);
  for (const int number : {1, 2}) {
    EXPECT_EQ(1, kde_extract_from_account_path("/tmp/a", "/tmp/b", number));
    EXPECT_EQ("[Old]\n", read_file(kmailrc));
  }
}

TEST_F(KMail, ALoginCannotChooseAnotherPlace) {
  account("a.txt", "POP3 Server=p\nPOP3 User=../../../../../../etc/cron.d/x\nAccount Name=evil\n");
  kmailaccountsettings("/tmp/b");
  EXPECT_EQ("",
            output_of("find /etc /root -newer /tmp/b/ImapMail/brindle-email-accounts/a.txt -name '*:110'"));
}

TEST_F(KMail, AHostileFileNameStaysOneWord) {
  account("a b;touch ran;$(touch ran).txt", "Account Name=A\nPOP3 Server=p\nPOP3 User=u\n");
  EXPECT_EQ(0, kmailaccountsettings("/tmp/b"));
  EXPECT_THAT(read_file(kmailrc), HasSubstr("\nName=A\n"));
  EXPECT_FALSE(exists("ran"));
}

// ---- The migrator ---------------------------------------------------------------------------------------

std::vector<std::string> steps_of(const std::string& output) {
  std::vector<std::string> found;
  const std::regex step(
      "Migration Account Settings|Migrating addressbook|Migrating Emails\\.|Migrating Contacts and "
      "Tasks\\.|Migrating Notes\\.|Notes are done\\.");
  for (std::sregex_iterator i(output.begin(), output.end(), step), end; i != end; ++i)
    found.push_back(i->str());
  return found;
}

TEST_F(KMail, MigratorRunsItsStepsInOrder) {
  work();
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, kmail_mail_account("/tmp/b"));
  EXPECT_THAT(steps_of(testing::internal::GetCapturedStdout()),
              ElementsAre("Migration Account Settings", "Migrating addressbook", "Migrating Emails.",
                          "Migrating Contacts and Tasks.", "Migrating Notes.", "Notes are done."));
}

TEST_F(KMail, MigratorsTracesHaveNoLineEndsOfTheirOwn) {
  shell_quietly("mkdir -p /tmp/b/Mail");
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, kmail_mail_account("/tmp/b"));
  const std::string said = testing::internal::GetCapturedStdout();
  EXPECT_THAT(said, StartsWith("Migration Account Settingsbuffer=/root\n"
                               "Migrating addressbookbuffer=/root\n"
                               "Migrating Emails.buffer=/root\n"
                               "Migrating Contacts and Tasks.Migrating Calendarsbuffer=/root\n"));
  EXPECT_THAT(said, testing::EndsWith("Migrating Notes.buffer=/root\nsrcpath::/tmp/b/NotesNotes are done."));
}

TEST_F(KMail, MigratorStopsAtOne) {
  work();
  shell_quietly("rm -r /root/.kde/share/config");
  testing::internal::CaptureStdout();
  EXPECT_EQ(1, kmail_mail_account("/tmp/b"));
  EXPECT_THAT(steps_of(testing::internal::GetCapturedStdout()), ElementsAre("Migration Account Settings"));
}

TEST_F(KMail, MigratorGoesOnWithoutAccounts) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, kmail_mail_account("/tmp/missing"));
  EXPECT_EQ(6u, steps_of(testing::internal::GetCapturedStdout()).size());
}

TEST_F(KMail, MigratorFailsInTheEndWhenMailWasLost) {
  work();
  write_file("/tmp/b/Mail/Inbox", "From a\n1\nFrom b\n2\n");
  const SmallDisk disk("/root/Mail");
  std::filesystem::create_directories("/root/Mail/inbox/cur");
  disk.fill_but(0);
  testing::internal::CaptureStdout();
  EXPECT_EQ(-1, kmail_mail_account("/tmp/b"));
  EXPECT_EQ("Notes are done.", steps_of(testing::internal::GetCapturedStdout()).back());
  EXPECT_EQ("", output_of("ls /root/Mail/inbox/cur"));
  disk.empty();
  EXPECT_EQ(0, kmail_mail_account("/tmp/b"));
  EXPECT_EQ("Inbox2\nInbox3\n", output_of("ls /root/Mail/inbox/cur"));
}

TEST_F(KMail, AProfileGetsItsOwn) {
  work();
  isDefaultUser = 0;
  assign(cur_user, "ann");
  shell_quietly("mkdir -p /home/ann/.kde/share/config /home/ann/.kde/share/apps/kmail/imap");
  EXPECT_EQ(0, kmailaccountsettings("/tmp/b"));
  EXPECT_TRUE(exists("/home/ann/.kde/share/config/kmailrc"));
  EXPECT_TRUE(exists("/home/ann/.kde/share/apps/kmail/ann:@pop.work.example:110"));
  EXPECT_FALSE(exists(kmailrc));
}

}  // namespace
