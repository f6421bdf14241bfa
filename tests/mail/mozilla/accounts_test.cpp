#include "process/mail/mozilla/accounts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <map>
#include <regex>
#include <sstream>

#include "shell/files.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* accounts = "/tmp/b/ImapMail/brindle-email-accounts/";
constexpr const char* profile = "/root/.mozilla/default/abc.slt";

struct Mozilla : testing::Test {
  Mozilla() {
    shell_quietly("mkdir -p " + std::string(profile) + " " + accounts);
    write_file("/usr/local/bin/mozilla", "#!/bin/sh\nexit 0\n");
    shell_quietly("chmod 755 /usr/local/bin/mozilla");
  }
  static void account(const std::string& name, const std::string& text) { write_file(accounts + name, text); }
  static void work() {
    account(
        "work.txt",
        "Account Name=Work\r\nSMTP Display Name=Ann Lee\r\nSMTP Email Address=ann@work.example\r\n"
        "SMTP Reply To Email Address=reply@work.example\r\nSMTP Organization Name=Lee & Sons\r\n"
        "POP3 Server=pop.work.example\r\nPOP3 User Name=ann\r\nPOP3 Port=995\r\nPOP3 Secure Connection=1\r\n"
        "Leave Mail On Server=1\r\nSMTP Server=smtp.work.example\r\nSMTP Secure Connection=1\r\n");
  }
  static void home() {
    account(
        "home.txt",
        "Account Name=Home\r\nDisplay Name=Ann\r\nEmail=ann@home.example\r\nReply Email=r@home.example\r\n"
        "Organization=Family\r\nIMAP Server=imap.home.example\r\nIMAP User=ann.lee\r\n"
        "SMTP Server=smtp.home.example\r\n");
  }
  static void work_with_number(int number) {
    account(std::to_string(number),
            "Account Name=" + std::string(100, 'n') + "\nPOP3 Server=" + std::string(100, 'p') + "\n");
  }
  static std::string prefs() { return read_file(std::string(profile) + "/prefs.js"); }
  static testing::AssertionResult prefs_are(const std::string& expected) {
    return matches_expected(std::string(profile) + "/prefs.js", "mozilla/" + expected);
  }
};

// A small reader of prefs.js: names and values, strings without their quotes. Every line must be one call
// with a quoted name of its own and one value; the type lines alone have a stray parenthesis.
std::map<std::string, std::string> read_prefs(const std::string& text) {
  const std::regex call(R"re(user_pref\("([a-z_A-Z0-9.]+)", ("([^"\\]*)"|true|false|[0-9]+)\);(\)?))re");
  std::map<std::string, std::string> prefs;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    std::smatch match;
    if (!std::regex_match(line, match, call)) {
      ADD_FAILURE() << "no user_pref call: " << line;
      continue;
    }
    EXPECT_EQ(match.str(1).ends_with(".type"), match[4] == ")") << line;
    const std::string value = line.find(", \"") == std::string::npos ? match.str(2) : match.str(3);
    EXPECT_TRUE(prefs.emplace(match.str(1), value).second) << "twice: " << line;
  }
  EXPECT_TRUE(text.ends_with("\n"));
  return prefs;
}

std::string lines_with(const std::string& start, const std::string& text) {
  std::string found;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);)
    if (line.starts_with(start)) found += line + "\n";
  return found;
}

// What a JavaScript engine makes of prefs.js, line by line, for the stray parentheses are errors to it: "NAME
// = VALUE", the value as JSON, and "refused: LINE".
std::string read_by_an_engine() {
  write_file(
      "/tmp/judge.py",
      "import json, subprocess, sys\n"
      "lines = open(sys.argv[1], encoding='utf-8').read().split('\\n')\n"
      "program = 'function user_pref(n, v) { print(n + \" = \" + JSON.stringify(v)); }\\n'\n"
      "program += 'function judge(l) { try { eval(l); } catch (e) { print(\"refused: \" + l); } }\\n'\n"
      "program += ''.join('judge(' + json.dumps(line) + ');\\n' for line in lines)\n"
      "open('/tmp/judge.js', 'w').write(program)\n"
      "subprocess.run(['duk', '/tmp/judge.js'], check=True)\n");
  return output_of("/usr/bin/python3 /tmp/judge.py " + std::string(profile) + "/prefs.js 2>&1");
}

void expect_well_formed(const std::string& text) { EXPECT_THAT(read_prefs(text), Not(IsEmpty())); }

// The listing decides which of two accounts is number 2; asked beforehand, for dos2unix changes the order.
std::string expected_file_of_both() {
  return list_folder(accounts)->front() == "work.txt" ? "pop3_imap.js" : "imap_pop3.js";
}

TEST_F(Mozilla, WithoutAHomeTakesNoOtherFolder) {
  work();
  shell_quietly("mkdir -p /.mozilla/default/abc.slt");  // where an empty home would lead to
  ASSERT_EQ(0, setreuid(54321, 0));
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, mozilla("/tmp/b"));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), StartsWith("username : "));
  EXPECT_EQ("", output_of("ls -A /.mozilla/default/abc.slt"));
  EXPECT_THAT(commands_run(), IsEmpty());
}

TEST_F(Mozilla, OfSeveralProfilesTheFirstIsTaken) {
  shell_quietly("cd /root/.mozilla/default && mkdir one.slt two.slt three.slt four.slt");
  const std::string first = list_folder("/root/.mozilla/default")->front();
  work();
  mozilla("/tmp/b");
  EXPECT_EQ("/root/.mozilla/default/" + first + "/prefs.js\n",
            output_of("find /root/.mozilla -name prefs.js"));
}

// ---- Accounts -------------------------------------------------------------------------------------------

TEST_F(Mozilla, WithoutAccountsHasItsLocalFolders) {
  write_file(std::string(profile) + "/prefs.js", "old");
  EXPECT_EQ(0, mozillaaccountsettings(profile, "/tmp/b"));
  EXPECT_TRUE(prefs_are("none.js"));
  expect_well_formed(prefs());
  EXPECT_THAT(commands_run(), ElementsAre("rm " + std::string(profile) + "/prefs.js"));
}

TEST_F(Mozilla, OnePop3Account) {
  work();
  EXPECT_EQ(0, mozillaaccountsettings(profile, "/tmp/b"));
  EXPECT_TRUE(prefs_are("pop3.js"));
  expect_well_formed(prefs());
}

TEST_F(Mozilla, EachFlagChangesItsOwnPreferenceAlone) {
  const auto read_with = [](const std::string& settings) {
    account("a.txt", "POP3 Server=p\n" + settings);
    mozillaaccountsettings(profile, "/tmp/b");
    return read_prefs(prefs());
  };
  const auto without = read_with("");
  const auto changed_by = [&](const std::string& settings) {
    std::string changed;
    for (const auto& [name, value] : read_with(settings))
      if (without.at(name) != value) changed += name + "=" + value + " ";
    return changed;
  };
  EXPECT_EQ("mail.server.server2.isSecure=true ", changed_by("POP3 Secure Connection=1\n"));
  EXPECT_EQ("mail.server.server2.leave_on_server=true ", changed_by("Leave Mail On Server=1\n"));
  EXPECT_EQ("mail.smtpserver.smtp2.try_ssl=1 ", changed_by("SMTP Secure Connection=1\n"));
  for (const char* other :
       {"POP3 Prompt for Password=1\n", "SMTP Prompt for Password=1\n", "SMTP Use Auth=1\n"})
    EXPECT_EQ("", changed_by(other));
}

TEST_F(Mozilla, OneThatCannotBeReadHasNoNumber) {
  const std::vector<std::string> names = {"a", "b", "c", "d"};
  for (const std::string& broken : names) {
    shell_quietly("rm -rf " + std::string(accounts) + "*");
    for (const std::string& name : names) {
      if (name == broken) {
        shell_quietly("mkdir " + (accounts + name));
      } else {
        account(name, "Account Name=" + name + "\nPOP3 Server=p\n");
      }
    }
    EXPECT_EQ(0, mozillaaccountsettings(profile, "/tmp/b"));
    EXPECT_THAT(prefs(), HasSubstr("\"account1,account2,account3,account4\""));
    EXPECT_THAT(prefs(), HasSubstr("\"smtp2,smtp3,smtp4\""));
    EXPECT_THAT(prefs(), HasSubstr("mail.server.server4.name"));
  }
}

TEST_F(Mozilla, AJavaScriptEngineReadsAllButTheTypes) {
  work();
  EXPECT_EQ(0, mozillaaccountsettings(profile, "/tmp/b"));
  const std::string read = read_by_an_engine();
  for (const char* line :
       {"mail.account.account2.server = \"server2\"\n",
        "mail.identity.id2.useremail = \"ann@work.example\"\n", "mail.identity.id2.valid = true\n",
        "mail.server.server2.port = 995\n", "mail.server.server2.isSecure = true\n",
        "mail.server.server2.leave_on_server = true\n", "mail.identity.id2.organization = \"Lee & Sons\"\n",
        "mail.smtpserver.smtp2.try_ssl = 1\n", "mail.accountmanager.accounts = \"account1,account2\"\n",
        "mail.smtpservers = \"smtp2\"\n"})
    EXPECT_THAT(read, HasSubstr(line));
  EXPECT_EQ(
      "refused: user_pref(\"mail.server.server1.type\", \"none\");)\n"
      "refused: user_pref(\"mail.server.server2.type\", \"pop3\");)\n",
      lines_with("refused: ", read));
}

// Nothing in a value is escaped: of a backslash the engine makes what JavaScript makes of it, and a quote
// costs the line.
TEST_F(Mozilla, AJavaScriptEngineReadsBackslashesInItsOwnWay) {
  account(
      "a.txt",
      "Account Name=C:\\temp\r\nSMTP Email Address=a@b.example\r\nSMTP Organization Name=\"Lee\" & Sons\r\n"
      "POP3 Server=pop.example\r\nPOP3 User Name=WORK\\ann\r\nPOP3 Port=110\r\n");
  EXPECT_EQ(0, mozillaaccountsettings(profile, "/tmp/b"));
  const std::string read = read_by_an_engine();
  EXPECT_THAT(read, HasSubstr("mail.server.server2.name = \"C:\\temp\"\n"));
  EXPECT_THAT(read, HasSubstr("mail.server.server2.userName = \"WORKann\"\n"));
  EXPECT_THAT(read, HasSubstr("mail.server.server2.port = 110\n"));
  EXPECT_THAT(lines_with("refused: ", read),
              HasSubstr("mail.identity.id2.organization\", \"\"Lee\" & Sons\");\n"));
}

TEST_F(Mozilla, OneImapAccountWithItsFallbacks) {
  home();
  EXPECT_EQ(0, mozillaaccountsettings(profile, "/tmp/b"));
  EXPECT_TRUE(prefs_are("imap.js"));
  expect_well_formed(prefs());
}

TEST_F(Mozilla, SeveralAccountsAreNumberedFromTwo) {
  work();
  home();
  const std::string expected = expected_file_of_both();
  EXPECT_EQ(0, mozillaaccountsettings(profile, "/tmp/b"));
  EXPECT_TRUE(prefs_are(expected));
  EXPECT_THAT(prefs(),
              EndsWith("user_pref(\"mail.accountmanager.accounts\", \"account1,account2,account3\");\n"
                       "user_pref(\"mail.smtpservers\", \"smtp2,smtp3\");\n"));
}

TEST_F(Mozilla, AnAccountsNumbersBelongTogether) {
  work();
  home();
  mozillaaccountsettings(profile, "/tmp/b");
  auto found = read_prefs(prefs());
  for (const std::string n : {"2", "3"}) {
    EXPECT_EQ("id" + n, found["mail.account.account" + n + ".identities"]);
    EXPECT_EQ("server" + n, found["mail.account.account" + n + ".server"]);
    EXPECT_EQ("smtp" + n, found["mail.identity.id" + n + ".smtpServer"]);
    EXPECT_EQ(found["mail.server.server" + n + ".userName"], found["mail.smtpserver.smtp" + n + ".username"]);
  }
}

TEST_F(Mozilla, CommandsOfTheAccountsAreInOrder) {
  work();
  mozillaaccountsettings(profile, "/tmp/b");
  EXPECT_THAT(commands_run(), ElementsAre("rm " + std::string(profile) + "/prefs.js",
                                          "dos2unix -q \"" + std::string(accounts) + "work.txt\""));
}

TEST_F(Mozilla, AnAccountIsTraced) {
  write_file("/tmp/a", "Account Name=Work\nPOP3 Server=p\n");
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, mozilla_extract_from_account_path("/tmp/a", profile, 7));
  EXPECT_EQ("Account Name::Work\n\n\n File Opened", testing::internal::GetCapturedStdout());
  EXPECT_EQ("Work", read_prefs(prefs())["mail.identity.id7.fullName"]);
}

TEST_F(Mozilla, AnAccountIsAppended) {
  write_file(std::string(profile) + "/prefs.js", "first\n");
  write_file("/tmp/a", "POP3 Server=p\n");
  EXPECT_EQ(0, mozilla_extract_from_account_path("/tmp/a", profile, 2));
  EXPECT_THAT(prefs(), StartsWith("first\nuser_pref(\"mail.account.account2.identities\", \"id2\");\n"));
}

TEST_F(Mozilla, ThePortIs110UnlessTold) {
  account("a", "POP3 Server=p\n");
  mozillaaccountsettings(profile, "/tmp/b");
  EXPECT_EQ("110", read_prefs(prefs())["mail.server.server2.port"]);
  account("a", "IMAP Server=i\nIMAP Port=993\n");
  mozillaaccountsettings(profile, "/tmp/b");
  EXPECT_EQ("993", read_prefs(prefs())["mail.server.server2.port"]);
}

TEST_F(Mozilla, AnyNumberOfAccountsFitsTheLists) {
  std::string numbers = "account1";
  for (int i = 0; i < 60; ++i) {
    account(std::to_string(i), "Account Name=A\nPOP3 Server=p\n");
    numbers += ",account" + std::to_string(i + 2);
  }
  EXPECT_EQ(0, mozillaaccountsettings(profile, "/tmp/b"));
  EXPECT_THAT(prefs(), HasSubstr("\"mail.accountmanager.accounts\", \"" + numbers + "\");\n"));
}

TEST_F(Mozilla, ValuesAreWrittenAsTheyAre) {
  account("a", "Account Name=a\"b\\c\nPOP3 Server=p\n");
  mozillaaccountsettings(profile, "/tmp/b");
  EXPECT_THAT(prefs(), HasSubstr("user_pref(\"mail.server.server2.name\", \"a\"b\\c\");\n"));
}

// The text is read in the code page of the wizard's language; an account beside it that is UTF-8 stays so.
TEST_F(Mozilla, NamesFromWindowsBecomeUtf8) {
  assign(OSName, "Linspire");
  setenv("LANG", "ru_RU.KOI8-R", 1);
  account("a", "Account Name=\xd0\xe0\xe1\xee\xf2\xe0\nPOP3 Server=p\n");
  account("b", "Account Name=M\u00fcller\nPOP3 Server=p\n");
  EXPECT_EQ(0, mozillaaccountsettings(profile, "/tmp/b"));
  EXPECT_THAT(prefs(), HasSubstr(".fullName\", \"\u0420\u0430\u0431\u043e\u0442\u0430\");\n"));
  EXPECT_THAT(prefs(), HasSubstr(".fullName\", \"M\u00fcller\");\n"));
}

// ---- A full disk ----------------------------------------------------------------------------------------

TEST_F(Mozilla, OnAFullDiskPreferencesStayAsTheyWere) {
  work();
  home();
  write_file(std::string(profile) + "/prefs.js", "old");
  const SmallDisk disk(profile);
  disk.fill_but(0);
  testing::internal::CaptureStdout();
  EXPECT_EQ(1, mozillaaccountsettings(profile, "/tmp/b"));
  EXPECT_THAT(testing::internal::GetCapturedStdout(), EndsWith("\nERROR :: Could not create file"));
  EXPECT_EQ("old", prefs());
  EXPECT_EQ("filling\nprefs.js\n", output_of("ls -A " + std::string(profile)));
}

// Two blocks: the local folders and an account fit, not two accounts and their lists.
TEST_F(Mozilla, ADiskThatFillsUpOnTheWayLeavesPreferencesAsTheyWere) {
  for (int i = 0; i < 5; ++i) work_with_number(i);
  write_file(std::string(profile) + "/prefs.js", "old");
  const SmallDisk disk(profile);
  for (const int left : {1, 2, 3}) {
    disk.empty();
    disk.fill_but(left);
    EXPECT_EQ(1, mozillaaccountsettings(profile, "/tmp/b")) << left;
    EXPECT_EQ("old", prefs());
  }
  disk.empty();
  EXPECT_EQ(0, mozillaaccountsettings(profile, "/tmp/b"));
  EXPECT_THAT(prefs(), HasSubstr("account5,account6"));
}

TEST_F(Mozilla, OnAFullDiskAFirstPreferencesFileIsNotMade) {
  work();
  const SmallDisk disk(profile);
  disk.fill_but(1);
  EXPECT_EQ(1, mozillaaccountsettings(profile, "/tmp/b"));
  EXPECT_FALSE(exists(std::string(profile) + "/prefs.js"));
  EXPECT_EQ(1, mozilla("/tmp/b"));
}

TEST_F(Mozilla, WithoutAnAccountsFolderPreferencesStay) {
  write_file(std::string(profile) + "/prefs.js", "old");
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, mozillaaccountsettings(profile, "/tmp/missing"));
  EXPECT_EQ("In mail_account() opendir: : No such file or directory\n",
            testing::internal::GetCapturedStderr());
  EXPECT_EQ("old", prefs());
}

TEST_F(Mozilla, UnwritablePreferencesAreReported) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(1, mozillaaccountsettings("/tmp/missing", "/tmp/b"));
  EXPECT_EQ("\nERROR :: Could not create file", testing::internal::GetCapturedStdout());
  write_file("/tmp/a", "Account Name=A\nPOP3 Server=p\n");
  EXPECT_EQ(1, mozilla_extract_from_account_path("/tmp/a", "/tmp/missing", 2));
  EXPECT_EQ(1, mozilla_extract_from_account_path("/tmp/missing", profile, 2));
}

// ---- The migrator ---------------------------------------------------------------------------------------

TEST_F(Mozilla, MigratesEverythingInOrder) {
  work();
  write_file("/tmp/b/Mail/Inbox", "From - x\n\nhello\n");
  write_file("/tmp/b/Mail/Inbox.sbd/Work", "From - y\n\nwork\n");
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, mozilla("/tmp/b"));
  const std::string said = testing::internal::GetCapturedStdout();
  EXPECT_THAT(said, StartsWith("Migration Mozilla Account Settingsbuffer=/root\nline::abc.slt\n"
                               "Path::/root/.mozilla/default/abc.slt\nRoot Path::\n"
                               "Destination::/root/.mozilla/default/abc.slt/Mail/Local\\ Folders\n"));
  EXPECT_LT(said.find("Migrating addressbook"), said.find("Migrating Mozilla Emails."));
  EXPECT_LT(said.find("Migrating Mozilla Emails."), said.find("Migrating Mozilla Calendar."));
  EXPECT_EQ("From - x\n\nhello\n", read_file(std::string(profile) + "/Mail/Local Folders/Inbox"));
  EXPECT_EQ("From - y\n\nwork\n", read_file(std::string(profile) + "/Mail/Local Folders/Inbox.sbd/Work"));
  EXPECT_THAT(said,
              HasSubstr("CMD::cp -rf /tmp/b/Mail/* /root/.mozilla/default/abc.slt/Mail/Local\\ Folders\n"));
  EXPECT_TRUE(prefs_are("pop3.js"));
}

TEST_F(Mozilla, CommandsOfTheMigratorAreInOrder) {
  write_file("/tmp/c/Mail/Inbox", "m");
  const std::string root = profile;
  mozilla("/tmp/c");
  const auto commands = commands_run();
  ASSERT_GE(commands.size(), 6u);
  EXPECT_THAT(
      std::vector(commands.begin(), commands.begin() + 6),
      ElementsAre("mkdir " + root + "/Mail", "mkdir " + root + "/Mail/Local\\ Folders",
                  StartsWith("perl /usr/local/brindle/vcard2xml.pl <"), StartsWith("dos2unix "),
                  StartsWith("mozilla -syncin "), "cp -rf /tmp/c/Mail/* " + root + "/Mail/Local\\ Folders"));
}

TEST_F(Mozilla, TheRunningUserKeepsTheRegistryOfProfiles) {
  write_file("/root/.mozilla/appreg", "profiles");
  EXPECT_EQ(0, mozilla("/tmp/b"));
  EXPECT_EQ("profiles", read_file("/root/.mozilla/appreg"));
}

TEST_F(Mozilla, AProfilesUserIsServedThroughTheAdministrator) {
  work();
  home();
  isDefaultUser = 0;
  assign(cur_user, "ann");
  shell_quietly("mkdir -p /home/ann/.mozilla/default/q.slt; touch /home/ann/.mozilla/appreg");
  const std::string expected = read_file(test_data("expected/mozilla/" + expected_file_of_both()));
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, mozilla("/tmp/b"));
  EXPECT_THAT(testing::internal::GetCapturedStdout(),
              HasSubstr("Root Path::/root/.mozilla/default/abc.slt\n"));
  EXPECT_FALSE(exists("/home/ann/.mozilla/appreg"));
  EXPECT_TRUE(
      same_bytes(std::regex_replace(expected, std::regex(profile), "/home/ann/.mozilla/default/q.slt"),
                 read_file("/home/ann/.mozilla/default/q.slt/prefs.js")));
  EXPECT_EQ("rm /home/ann/.mozilla/appreg", commands_run().front());
  EXPECT_FALSE(exists(std::string(profile) + "/prefs.js"));
}

TEST_F(Mozilla, WithoutAProfileNothingIsWritten) {
  work();
  shell_quietly("rmdir " + std::string(profile));
  EXPECT_EQ(-1, mozilla("/tmp/b"));
  shell_quietly("rm -r /root/.mozilla");
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, mozilla("/tmp/b"));
  EXPECT_EQ("In mozilla_mail() opendir: : No such file or directory\n",
            testing::internal::GetCapturedStderr());
  EXPECT_THAT(commands_run(), IsEmpty());
}

TEST_F(Mozilla, WhatLiesInTheProfilesPlaceIsNamed) {
  shell_quietly("rm -r /root/.mozilla; mkfifo /root/.mozilla");
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, mozilla("/tmp/b"));
  EXPECT_EQ("In mozilla_mail() opendir: : Not a directory\n/root/.mozilla/default: Not a directory\n",
            testing::internal::GetCapturedStderr());
}

TEST_F(Mozilla, WithoutAnAdministratorsProfileNothingIsWritten) {
  work();
  isDefaultUser = 0;
  assign(cur_user, "ann");
  shell_quietly("mkdir -p /home/ann/.mozilla/default/q.slt; rmdir " + std::string(profile));
  EXPECT_EQ(-1, mozilla("/tmp/b"));
  shell_quietly("rm -r /root/.mozilla");
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, mozilla("/tmp/b"));
  EXPECT_EQ("In mozilla_mail() opendir: : No such file or directory\n",
            testing::internal::GetCapturedStderr());
  EXPECT_THAT(commands_run(), IsEmpty());
}

TEST_F(Mozilla, StopsWhenPreferencesCannotBeWritten) {
  shell_quietly("mkdir " + std::string(profile) + "/prefs.js && touch " + profile + "/prefs.js/x");
  EXPECT_EQ(1, mozilla("/tmp/b"));
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("vcard2xml"))));
}

TEST_F(Mozilla, GoesOnWithoutAccounts) {
  write_file("/tmp/c/Mail/Inbox", "From - x\n");
  EXPECT_EQ(0, mozilla("/tmp/c"));
  EXPECT_TRUE(exists(std::string(profile) + "/Mail/Local Folders/Inbox"));
}

// What system() has of a command with more names than the kernel takes.
constexpr int too_many_names = 126 << 8;

TEST_F(Mozilla, CopiesMoreMailFoldersThanACommandTakes) {
  write_file("/tmp/b/Mail/Inbox", "From - a\n");
  write_file("/tmp/b/Mail/Inbox.sbd/Work", "From - b\n");
  shell_quietly("touch -d @1000000000 /tmp/b/Mail/Inbox");
  answer_command("cp -rf", too_many_names);
  EXPECT_EQ(0, mozilla("/tmp/b"));
  const std::string folders = std::string(profile) + "/Mail/Local Folders";
  EXPECT_NE("1000000000\n", output_of("stat -c %Y '" + folders + "/Inbox'"));
  EXPECT_EQ("From - a\n", read_file(folders + "/Inbox"));
  EXPECT_EQ("From - b\n", read_file(folders + "/Inbox.sbd/Work"));
  write_file("/tmp/x/Drafts", "c");
  shell_quietly("mkdir /tmp/y");
  EXPECT_EQ(0, copymozillafiles("/tmp/x", "/tmp/y"));
  EXPECT_EQ("c", read_file("/tmp/y/Drafts"));
}

TEST_F(Mozilla, FailsWhenSoManyMailFoldersCannotBeCopied) {
  write_file("/tmp/b/Mail/Inbox", "From - a\n");
  write_file(std::string(profile) + "/Mail/Local Folders/Inbox/in the way", "");
  answer_command("cp -rf", too_many_names);
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, mozilla("/tmp/b"));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("Local Folders/Inbox: Is a directory\n"));
}

TEST_F(Mozilla, FailsWhenTheCopyIsRefused) {
  EXPECT_EQ(-1, copymozillafiles("-x", "/tmp/y"));
  EXPECT_THAT(commands_run(), IsEmpty());
}

TEST_F(Mozilla, CopiesMailWithAHostileFolderName) {
  write_file("/tmp/x;touch ran;$(touch ran)/Inbox", "m");
  shell_quietly("mkdir '/tmp/a b'");
  EXPECT_EQ(0, copymozillafiles("/tmp/x;touch ran;$(touch ran)", "/tmp/a b"));
  EXPECT_EQ("m", read_file("/tmp/a b/Inbox"));
  EXPECT_FALSE(exists("ran"));
}

}  // namespace
