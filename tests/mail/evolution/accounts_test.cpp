#include "process/mail/evolution/accounts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <string>

#include "mail/evolution/homes.h"
#include "shell/files.h"
#include "support/full_disk.h"
#include "support/session.h"

// Takes the place of the C library's clock in this program, so that uids can be compared.
extern "C" time_t time(time_t* result) noexcept {
  constexpr time_t now = 1105000000;
  if (result != nullptr) *result = now;
  return now;
}

namespace {

using testing::HasSubstr;
using testing::Not;

const std::string accounts_folder = imap_mail + "/brindle-email-accounts";
const std::string profile_file = "/home/ann/.gconf/apps/evolution/mail/%gconf.xml";

constexpr const char* work =
    "Account Name=Work & Play\r\nSMTP Display Name=Ann Lee\r\nSMTP Email Address=ann@example.org\r\n"
    "SMTP Reply To Email Address=reply@example.org\r\nSMTP Organization Name=Example Ltd\r\n"
    "POP3 Server=pop.example.org\r\nPOP3 Prompt for Password=1\r\nPOP3 User Name=ann\r\nPOP3 Port=995\r\n"
    "POP3 Secure Connection=1\r\nLeave on Server=1\r\nSMTP Use Auth=1\r\nSMTP Prompt for Password=1\r\n"
    "SMTP Server=smtp.example.org\r\nSMTP Secure Connection=1\r\n";

constexpr const char* home =
    "Account Name=Home\r\nDisplay Name=Ann\r\nEmail=ann@example.net\r\nReply Email=unused@example.net\r\n"
    "Organization=Unused\r\nIMAP Server=imap.example.net\r\nIMAP User=lee\r\nIMAP Port=143\r\n"
    "SMTP Use Sicily=1\r\nSMTP Server=smtp.example.net\r\n";

/// What the data server makes of has_three_accounts. Without an option for SSL it chooses STARTTLS.
constexpr const char* three_accounts =
    "account Club\n"
    "  pop lee pop.club.example starttls-on-standard-port\n"
    "  keep on server false\n"
    "  sender A. Lee lee@club.example  \n"
    "  sends with lee smtp.club.example PLAIN starttls-on-standard-port\n"
    "account Home\n"
    "  imapx lee imap.example.net starttls-on-standard-port\n"
    "  sender Ann ann@example.net  \n"
    "  sends with lee smtp.example.net none starttls-on-standard-port\n"
    "account Work and Play\n"
    "  pop ann pop.example.org ssl-on-alternate-port\n"
    "  keep on server true\n"
    "  sender Ann Lee ann@example.org reply@example.org Example Ltd\n"
    "  sends with ann smtp.example.org PLAIN ssl-on-alternate-port\n";

/// How many accounts data_server_finds has found.
int accounts_in(const std::string& found) {
  int count = 0;
  for (std::size_t at = 0; (at = found.find("account ", at)) != std::string::npos; ++at) ++count;
  return count;
}

class EvolutionAccounts : public testing::Test {
 protected:
  void SetUp() override {
    install_evolution();
    write_file("/usr/local/bin/hostname", "#!/bin/sh\necho winstation\n");
    ASSERT_EQ(0, shell_quietly("chmod +x /usr/local/bin/hostname"));
    std::filesystem::create_directories(accounts_folder);
  }

  static void has(const std::string& name, const std::string& settings) {
    write_file(accounts_folder + "/" + name, settings);
  }

  static void has_three_accounts() {
    std::string settings = work;
    settings.replace(settings.find(" & "), 3, " and ");
    has("1", settings);
    has("2", home);
    has("3",
        "Account Name=Club\nPOP3 Server=pop.club.example\nPOP3 User=lee\nSMTP Display Name=A. Lee\n"
        "SMTP Email Address=lee@club.example\nSMTP Server=smtp.club.example\nSMTP Use Sicily=2\n");
  }

  static int migrate() { return mail_account(archive_root.c_str()); }

  static std::string described(const std::string& settings) {
    write_file("/tmp/account", settings);
    std::array<char, account_description_size> data{};
    EXPECT_EQ(0, extract_from_account_path("/tmp/account", data.data()));
    return data.data();
  }
};

/// The same with the real settings daemon on a bus of the test's own.
class EvolutionAccountsInGconf : public EvolutionAccounts {
 protected:
  static std::string stored() { return Session::get("/apps/evolution/mail/accounts"); }

 private:
  Session session_;
};

std::string expected(const std::string& name) {
  return read_file(test_data("expected/evolution_accounts/" + name));
}

// --- The running user

TEST_F(EvolutionAccountsInGconf, AnAccountIsStoredForEvolution2) {
  make_evolution_2();
  has("1", work);
  EXPECT_EQ(0, migrate());
  EXPECT_TRUE(same_bytes("[" + expected("pop3_evolution2.xml") + "]\n", stored()));
}

TEST_F(EvolutionAccountsInGconf, AnAccountIsStoredForEvolution1) {
  has("1", home);
  EXPECT_EQ(0, migrate());
  EXPECT_TRUE(same_bytes("[" + expected("imap_evolution1.xml") + "]\n", stored()));
}

TEST_F(EvolutionAccountsInGconf, NoAccountsAreAnEmptyList) {
  shell_quietly("gconftool-2 --set --type=list --list-type=string /apps/evolution/mail/accounts '[old]'");
  EXPECT_EQ(0, migrate());
  EXPECT_EQ("[]\n", stored());
}

TEST_F(EvolutionAccountsInGconf, AccountsAreStoredInTheOrderOfTheirFolder) {
  has("1", "Account Name=first\n");
  has("2", "Account Name=second\n");
  has("3", "Account Name=third\n");
  const auto names = list_folder(accounts_folder);  // converting line ends moves them about
  EXPECT_EQ(0, migrate());
  const std::string list = stored();
  std::size_t last = 0;
  int number = 0;
  for (const std::string& name : *names) {
    const std::string account = name == "1" ? "first" : name == "2" ? "second" : "third";
    const std::size_t at = list.find("<account name=\"" + account + "\" uid=\"1105000000.170." +
                                     std::to_string(number++) + "@winstation\"");
    ASSERT_NE(std::string::npos, at) << account << " in " << list;
    EXPECT_GT(at, last);
    last = at;
  }
}

TEST_F(EvolutionAccountsInGconf, TheTimeZoneIsSetAfterTheAccounts) {
  setenv("TZ", "EST5", 1);
  EXPECT_EQ(0, migrate());
  EXPECT_EQ("America/New_York\n", Session::get("/apps/evolution/calendar/display/timezone"));
}

// GConf takes no list at all when a single text in it is not UTF-8.
TEST_F(EvolutionAccountsInGconf, AnAccountThatIsNotUtf8DoesNotLoseTheOthers) {
  setenv("LANG", "zh_CN.GB2312", 1);
  has("1", "Account Name=Work\nIMAP Server=h\n");
  has("2", "Account Name=\xd5\xcb\xba\xc5\nIMAP Server=h\n");
  has("3", "Account Name=Club\nIMAP Server=h\n");
  EXPECT_EQ(0, migrate());
  setenv("LANG", "C.UTF-8", 1);  // for the reader
  const std::string list = stored();
  for (const char* name : {"Work", "\u8d26\u53f7", "Club"})
    EXPECT_THAT(list, HasSubstr(std::string("<account name=\"") + name + "\" uid="));
}

// The daemon writes them, and cannot read the file again.
TEST_F(EvolutionAccountsInGconf, CharactersThatNoFileHoldsAreLeftOut) {
  has("1",
      "Account Name=Wo\x1b[2J\x07rk\x01\nSMTP Display Name=A\xEF\xBF\xBF\xEF\xBF\xBEnn\tB\nIMAP Server=h\n");
  has("2", "Account Name=Club\nIMAP Server=h\n");
  EXPECT_EQ(0, migrate());
  shell_quietly("gconftool-2 --shutdown");
  const std::string list = stored();
  for (const char* text : {"<account name=\"Wo[2Jrk\"", "<name>Ann\tB</name>", "<account name=\"Club\""})
    EXPECT_THAT(list, HasSubstr(text));
}

TEST_F(EvolutionAccounts, CharactersThatNoFileHoldsAreLeftOutForAProfileToo) {
  make_profile();
  has("1", "Account Name=Wo\x1brk\nIMAP Server=h\n");
  EXPECT_EQ(0, migrate());
  EXPECT_THAT(read_file(profile_file), HasSubstr("&lt;account name=&quot;Work&quot;"));
}

TEST_F(EvolutionAccountsInGconf, AStoringThatFailsIsReportedAndTheRestMigrated) {
  has("1", "Account Name=A\n");
  g_clear_object(&client);
  write_file(archive_root + "/Mail/Inbox", "From a\n");
  std::filesystem::create_directories("/root/evolution/local");
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, migrate());
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("in set_gconf_list "));
  EXPECT_TRUE(exists("/root/evolution/local/Inbox/mbox"));
}

TEST_F(EvolutionAccounts, AProfilesAccountsFromWindowsAreUtf8) {
  make_profile();
  setenv("LANG", "de_DE", 1);
  has("1", "Account Name=M\xfcller\nIMAP Server=h\n");
  EXPECT_EQ(0, migrate());
  EXPECT_THAT(read_file(profile_file), HasSubstr("&lt;account name=&quot;M\u00fcller&quot;"));
}

TEST_F(EvolutionAccounts, OnAFullDiskAProfilesFileStaysAsItWas) {
  make_profile();
  has("1", work);
  write_file(profile_file, "an old file");
  const SmallDisk disk("/home/ann/.gconf/apps/evolution/mail");
  disk.fill_but(0);
  EXPECT_EQ(-1, migrate());
  EXPECT_EQ("an old file", read_file(profile_file));
}

TEST_F(EvolutionAccountsInGconf, TheDataServerTakesTheRunningUsersAccountsOver) {
  make_evolution_2();
  has_three_accounts();
  EXPECT_EQ(0, migrate());
  shell_quietly("gconftool-2 --shutdown");
  EXPECT_EQ(three_accounts, data_server_finds("accounts", "/root"));
}

// Nothing in a description is escaped. One that is no XML ends the list for the data server: of three
// accounts with the second like this only the first is left.
constexpr const char* no_xml[] = {"Account Name=Work & Play\n", "SMTP Display Name=Ann <Lee\n"};

TEST_F(EvolutionAccountsInGconf, AnAccountThatIsNoXmlEndsTheRunningUsersList) {
  make_evolution_2();
  for (const char* settings : no_xml) {
    has_three_accounts();
    has(list_folder(accounts_folder)->at(1), settings + std::string("IMAP Server=h\n"));
    EXPECT_EQ(0, migrate());
    shell_quietly("gconftool-2 --shutdown");
    EXPECT_EQ(1, accounts_in(data_server_finds("accounts", "/root"))) << settings;
    shell_quietly("rm -rf /root/.config /root/.cache");
  }
}

TEST_F(EvolutionAccounts, WithoutASettingsClientTheRestIsStillMigrated) {
  has("1", work);
  std::filesystem::create_directories("/root/evolution/local");
  write_file(archive_root + "/Mail/Inbox", "From a\n");
  EXPECT_EQ(0, migrate());
  EXPECT_TRUE(exists("/root/evolution/local/Inbox/mbox"));
}

TEST_F(EvolutionAccounts, FailInTheEndWhenMailFoldersCouldNotBeCopied) {
  has("1", work);
  write_file("/root/evolution/local/Inbox/mbox/in the way", "");
  write_file(archive_root + "/Mail/Inbox", "From a\n");
  answer_command("cp -a " + archive_root + "/Mail/brindlemail", 126 << 8);  // too many names
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, migrate());
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("/root/evolution/local/Inbox/mbox: "));
}

// --- A profile

TEST_F(EvolutionAccounts, AProfilesFileForEvolution2) {
  make_profile();
  has("1", work);
  EXPECT_EQ(0, migrate());
  EXPECT_TRUE(matches_expected(profile_file, "evolution_accounts/profile_pop3_evolution2.xml"));
}

TEST_F(EvolutionAccounts, AProfilesFileForEvolution1) {
  make_profile();
  std::filesystem::remove_all("/home/ann/.evolution");
  has("1", home);
  EXPECT_EQ(0, migrate());
  EXPECT_TRUE(matches_expected(profile_file, "evolution_accounts/profile_imap_evolution1.xml"));
}

TEST_F(EvolutionAccounts, AProfileWithoutAccountsGetsAnEmptyEntry) {
  make_profile();
  write_file(profile_file, "an old file");
  EXPECT_EQ(0, migrate());
  EXPECT_TRUE(matches_expected(profile_file, "evolution_accounts/profile_empty.xml"));
}

TEST_F(EvolutionAccounts, PercentSignsInAProfilesFileStayAsTheyAre) {
  make_profile();
  has("1", "Account Name=100%% s%s %n\nIMAP Server=\"<x>\"\n");
  EXPECT_EQ(0, migrate());
  EXPECT_THAT(read_file(profile_file), HasSubstr("&lt;account name=&quot;100%% s%s %n&quot; uid="));
  EXPECT_THAT(read_file(profile_file), HasSubstr("@&quot;&lt;x&gt;&quot;/;use_lsub"));
}

TEST_F(EvolutionAccounts, ALongDescriptionIsWhole) {
  make_profile();
  const std::string quotes(100, '"');
  has("1", "Account Name=" + quotes + "\nSMTP Display Name=" + quotes + "\nSMTP Email Address=" + quotes +
               "\nSMTP Organization Name=" + quotes + "\nIMAP Server=" + quotes +
               "\nIMAP User Name=" + quotes + "\nSMTP Server=" + quotes + "\n");
  EXPECT_EQ(0, migrate());
  const std::string file = read_file(profile_file);
  EXPECT_GT(file.size(), 6000U);
  EXPECT_THAT(file, HasSubstr("&lt;/account&gt;</stringvalue>\n</li>\n</entry>\n</gconf>"));
}

TEST_F(EvolutionAccounts, AProfilesFoldersAreMadeBySimpleCommands) {
  make_profile();
  EXPECT_EQ(0, migrate());
  const auto commands = commands_run();
  EXPECT_THAT(commands, testing::ElementsAre("mkdir /home/ann/.gconf/apps/evolution",
                                             "mkdir /home/ann/.gconf/apps/evolution/mail"));
}

TEST_F(EvolutionAccounts, AProfileWhoseFileCannotBeMadeEndsTheMigrator) {
  isDefaultUser = 0;
  ASSERT_TRUE(assign(cur_user, "ann"));
  std::filesystem::create_directories("/home/ann/evolution/local");
  write_file("/home/ann/.gconf", "no folder");
  write_file(archive_root + "/Mail/Inbox", "From a\n");
  testing::internal::CaptureStdout();
  EXPECT_EQ(-1, migrate());
  EXPECT_THAT(testing::internal::GetCapturedStdout(),
              testing::EndsWith("GConfPath::/home/ann/.gconf/apps/evolution/mail/%gconf.xml\n"));
  EXPECT_FALSE(exists("/home/ann/evolution/local/Inbox"));
}

TEST_F(EvolutionAccounts, TheCountGoesOnInTheNextProfile) {
  make_profile();
  has("1", work);
  EXPECT_EQ(0, migrate());
  ASSERT_TRUE(assign(cur_user, "bob"));
  std::filesystem::create_directories("/home/bob/.gconf/apps");
  EXPECT_EQ(0, migrate());
  EXPECT_THAT(read_file(profile_file), HasSubstr(".170.0@winstation"));
  EXPECT_THAT(read_file("/home/bob/.gconf/apps/evolution/mail/%gconf.xml"), HasSubstr(".170.1@winstation"));
}

TEST_F(EvolutionAccounts, TheDataServerTakesAProfilesAccountsOver) {
  make_profile();
  has_three_accounts();
  EXPECT_EQ(0, migrate());
  EXPECT_EQ(three_accounts, data_server_finds("accounts", "/home/ann"));
}

TEST_F(EvolutionAccounts, AnAccountThatIsNoXmlEndsAProfilesList) {
  for (const char* settings : no_xml) {
    make_profile();
    has_three_accounts();
    has(list_folder(accounts_folder)->at(1), settings + std::string("IMAP Server=h\n"));
    EXPECT_EQ(0, migrate());
    EXPECT_EQ(1, accounts_in(data_server_finds("accounts", "/home/ann"))) << settings;
    std::filesystem::remove_all("/home/ann");
  }
}

// A real settings daemon reads what was written below the folders that were missing.
TEST_F(EvolutionAccounts, AHomeWithoutSettingsGetsTheFoldersForThem) {
  isDefaultUser = 0;
  ASSERT_TRUE(assign(cur_user, "ann"));
  has("1", "Account Name=Work\nIMAP Server=h\n");
  for (const std::string there : {"", "/.gconf", "/.gconf/apps", "/.gconf/apps/evolution"}) {
    std::filesystem::remove_all("/home/ann");
    std::filesystem::create_directories("/home/ann" + there);
    EXPECT_EQ(0, migrate());
    EXPECT_THAT(gconf_value_in("/home/ann", "/apps/evolution/mail/accounts"),
                HasSubstr("<account name=\"Work\" uid="))
        << there;
  }
}

// --- Failure

TEST_F(EvolutionAccounts, WithoutAnAccountsFolderNothingIsMigrated) {
  std::filesystem::remove(accounts_folder);
  make_evolution_2();
  write_file(archive_root + "/Mail/Inbox", "From a\n");
  write_file(imap_mail + "/Contacts/addressbook.db", "db");
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, migrate());
  EXPECT_EQ("In mail_account() opendir: : No such file or directory\n",
            testing::internal::GetCapturedStderr());
  EXPECT_FALSE(exists("/root/.evolution/mail/local/Inbox"));
  EXPECT_TRUE(commands_run().empty());
}

TEST_F(EvolutionAccounts, AFolderAmongTheAccountsIsSkipped) {
  make_profile();
  std::filesystem::create_directories(accounts_folder + "/folder");
  has("1", work);
  EXPECT_EQ(0, migrate());
  EXPECT_TRUE(matches_expected(profile_file, "evolution_accounts/profile_pop3_evolution2.xml"));
}

TEST_F(EvolutionAccounts, OneThatCannotBeReadCostsNoOther) {
  const std::vector<std::string> names = {"a", "b", "c", "d"};
  make_profile();
  for (const std::string& broken : names) {
    std::filesystem::remove_all(accounts_folder);
    for (const std::string& name : names) {
      if (name == broken) {
        std::filesystem::create_directories(accounts_folder + "/" + name);
      } else {
        has(name, "Account Name=of " + name + "\nPOP3 Server=p\n");
      }
    }
    EXPECT_EQ(0, migrate());
    for (const std::string& name : names)
      EXPECT_EQ(name != broken, read_file(profile_file).find("of " + name + "&quot;") != std::string::npos)
          << name << " without " << broken;
  }
}

TEST_F(EvolutionAccounts, AMissingFileHasNoDescription) {
  std::array<char, account_description_size> data{'x'};
  EXPECT_EQ(-1, extract_from_account_path("/tmp/nowhere", data.data()));
  EXPECT_STREQ("", data.data());
}

// --- Folders, calendar, contacts, tasks

TEST_F(EvolutionAccounts, MailFoldersAreMigrated) {
  make_evolution_2();
  make_mail_tree(archive_root + "/Mail");
  EXPECT_EQ(0, migrate());
  EXPECT_EQ(counted_mail_tree, counted("archive", "/root/.evolution/mail/local"));
}

TEST_F(EvolutionAccounts, CalendarAndTasksComeWithContacts) {
  make_evolution_2();
  write_file(imap_mail + "/Calendar/calendar.ics", "calendar");
  write_file(imap_mail + "/Tasks/tasks.ics", "tasks");
  write_file(imap_mail + "/Contacts/addressbook.db", "contacts");
  fp_log = std::fopen("/tmp/log", "w");
  EXPECT_EQ(0, migrate());
  std::fclose(fp_log);
  EXPECT_EQ("calendar", read_file("/root/.evolution/calendar/local/system/calendar.ics"));
  EXPECT_EQ("tasks", read_file("/root/.evolution/tasks/local/system/tasks.ics"));
  EXPECT_EQ("contacts", read_file("/root/.evolution/addressbook/local/system/addressbook.db"));
  EXPECT_THAT(read_file("/tmp/log"),
              HasSubstr("before calendar contacts tasks\nafter calendar contacts tasks\n"));
}

TEST_F(EvolutionAccounts, CalendarAndTasksWithoutContactsStayBehind) {
  make_evolution_2();
  write_file(imap_mail + "/Calendar/calendar.ics", "calendar");
  write_file(imap_mail + "/Tasks/tasks.ics", "tasks");
  EXPECT_EQ(0, migrate());
  EXPECT_FALSE(exists("/root/.evolution/calendar"));
  EXPECT_FALSE(exists("/root/.evolution/tasks"));
}

TEST_F(EvolutionAccounts, TracesTellTheWay) {
  make_profile();
  has("1", work);
  std::filesystem::create_directories(archive_root + "/Mail");
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, migrate());
  const std::string traces = testing::internal::GetCapturedStdout();
  EXPECT_THAT(traces, HasSubstr("Extracting from account path::" + accounts_folder + "/1\n"));
  EXPECT_THAT(traces, HasSubstr("is_evolution_2::1\n"));
  EXPECT_THAT(traces, HasSubstr("Command::mkdir /home/ann/.gconf/apps/evolution\n"
                                "Command::mkdir /home/ann/.gconf/apps/evolution/mail\nGConfPath::" +
                                profile_file +
                                "\nHeader Written.freeingfreeing complete."
                                "after mail accounts::" +
                                profile_file + "\nPopping Mail::" + archive_root + "/Mail\n"));
  EXPECT_THAT(traces, HasSubstr("ReturningReturning from Mail Account."));
}

TEST_F(EvolutionAccounts, AProfilesTracesAreTheseAndNoOthers) {
  make_profile();
  has("1", work);
  has("2", home);
  const auto names = list_folder(accounts_folder);
  std::string accounts;
  for (const std::string& name : *names)
    accounts += "Extracting from account path::" + accounts_folder + "/" + name +
                "\nbuffer=/home/ann\nbuffer=/home/ann\nis_evolution_2::1\n";
  std::filesystem::create_directories(archive_root + "/Mail");
  for (const char* folder : {"/Calendar", "/Contacts", "/Tasks"})
    std::filesystem::create_directories(imap_mail + folder);
  const std::string store = "/home/ann/.evolution/";
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, migrate());
  EXPECT_EQ(accounts +
                "buffer=/home/ann\nCommand::mkdir /home/ann/.gconf/apps/evolution\n"
                "Command::mkdir /home/ann/.gconf/apps/evolution/mail\nGConfPath::" +
                profile_file + "\nHeader Written.freeingfreeing complete.after mail accounts::" +
                profile_file + "\nPopping Mail::" + archive_root +
                "/Mail\nbuffer=/home/ann\nChecking for evolution version.Command Executed::cp -a " +
                archive_root + "/Mail/* " + store + "mail/local/\nReturning" +
                "buffer=/home/ann\nIn Calendar Contacts Tasks::" + imap_mail + "cp -f " + imap_mail +
                "/Calendar/calendar.ics " + store + "calendar/local/system" +
                "In display_calendar for other user.buffer=/home/ann\nCalendar Display Over." + "cp -f " +
                imap_mail + "/Contacts/addressbook.db " + store + "addressbook/local/system" + "cp -f " +
                imap_mail + "/Tasks/tasks.ics " + store + "tasks/local/system" +
                "In display_task for other user.buffer=/home/ann\nReturning from Mail Account.",
            testing::internal::GetCapturedStdout());
}

TEST_F(EvolutionAccounts, WithoutAHomeEachQuestionForItIsAComplaint) {
  lose_account_entry();
  has("1", work);
  setenv("TZ", "EST5", 1);
  std::filesystem::create_directories(archive_root + "/Mail");
  std::filesystem::create_directories(imap_mail + "/Contacts");
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, migrate());
  // For the host's name and the ending of the account, twice for the time zone, for folders and contacts.
  EXPECT_EQ(6, complaints_of_no_home(testing::internal::GetCapturedStderr()));
  EXPECT_EQ("Extracting from account path::" + accounts_folder +
                "/1\nis_evolution_2::0\nbefore mail accountsspawning the gconf tool.before gconf list"
                "after mail accountsTimezone Val::America/New_YorkPopping Mail::" +
                archive_root + "/Mail\nReturning from Mail Account.",
            testing::internal::GetCapturedStdout());
}

TEST_F(EvolutionAccounts, ADescriptionAsksForTheHomeTwice) {
  testing::internal::CaptureStdout();
  described(home);
  EXPECT_EQ("buffer=/root\nbuffer=/root\nis_evolution_2::0\n", testing::internal::GetCapturedStdout());
}

TEST_F(EvolutionAccountsInGconf, TracesTellTheRunningUsersWay) {
  setenv("TZ", "EST5", 1);
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, migrate());
  EXPECT_EQ(
      "before mail accountsspawning the gconf tool.before gconf listafter gconf list"
      "after mail accountsbuffer=/root\nbuffer=/root\nTimezone Val::America/New_York"
      "Returning from Mail Account.",
      testing::internal::GetCapturedStdout());
}

// --- One account

struct FlagCase {
  const char* name;
  const char* settings;
  const char* source;
  const char* transport;
};

class AccountFlags : public EvolutionAccounts, public testing::WithParamInterface<FlagCase> {};

TEST_P(AccountFlags, AreInSourceAndTransport) {
  const std::string description =
      described(std::string(GetParam().settings) + "POP3 User Name=u\nIMAP User Name=u\nSMTP Server=s\n");
  EXPECT_THAT(description, HasSubstr(GetParam().source));
  EXPECT_THAT(description, HasSubstr(GetParam().transport));
}

constexpr const char* plain_transport =
    R"(</source><transport save-passwd="true"><url>smtp://u@s/</url></transport><)";

const FlagCase flag_cases[] = {
    {"Pop", "POP3 Server=h\n",
     R"(<source save-passwd="true" keep-on-server="false" auto-check="false" auto-check-timeout="0"><url>pop://u@h/;use_lsub;check_all</url></source>)",
     plain_transport},
    {"PopAskKeepSsl",
     "POP3 Server=h\nPOP3 Prompt for Password=1\nLeave Mail On Server=1\nPOP3 Secure Connection=1\n",
     R"(<source save-passwd="false" keep-on-server="true" auto-check="false" auto-check-timeout="0"><url>pop://u@h/;keep_on_server;use_lsub;check_all;use_ssl=always</url></source>)",
     plain_transport},
    {"PopAsk", "POP3 Server=h\nPOP3 Prompt for Password=1\n",
     R"(<source save-passwd="false" keep-on-server="false" auto-check="false" auto-check-timeout="0"><url>pop://u@h/;use_lsub;check_all</url></source>)",
     plain_transport},
    {"PopKeep", "POP3 Server=h\nLeave Mail On Server=1\n",
     R"(<source save-passwd="true" keep-on-server="true" auto-check="false" auto-check-timeout="0"><url>pop://u@h/;keep_on_server;use_lsub;check_all</url></source>)",
     plain_transport},
    {"PopSsl", "POP3 Server=h\nPOP3 Secure Connection=1\n",
     R"(<source save-passwd="true" keep-on-server="false" auto-check="false" auto-check-timeout="0"><url>pop://u@h/;use_lsub;check_all;use_ssl=always</url></source>)",
     plain_transport},
    {"PopKeepOtherKey", "POP3 Server=h\nLeave Mail On Server=0\nLeave on Server=1\n",
     R"(keep-on-server="true" auto-check="false" auto-check-timeout="0"><url>pop://u@h/;keep_on_server;use_lsub;check_all</url>)",
     plain_transport},
    {"PopSslOtherKey", "POP3 Server=h\nPOP3 Use SSL=1\n",
     "<url>pop://u@h/;use_lsub;check_all;use_ssl=always</url>", plain_transport},
    {"PopEmptyServer", "POP3 Server=\nIMAP Server=h\n", "<url>pop://u@/;use_lsub;check_all</url>",
     plain_transport},
    {"Imap", "IMAP Server=h\nIMAP Port=993\n",
     R"(<source save-passwd="true" keep-on-server="false" auto-check="false" auto-check-timeout="0"><url>imap://u@h/;use_lsub;check_all</url></source>)",
     plain_transport},
    {"ImapAskKeepSsl", "IMAP Server=h\nIMAP Prompt for Password=1\nLeave on Server=1\nIMAP Use SSL=1\n",
     R"(<source save-passwd="false" keep-on-server="true" auto-check="false" auto-check-timeout="0"><url>imap://u@h/;keep_on_server;use_lsub;check_all;use_ssl=always</url></source>)",
     plain_transport},
    {"NoServerAtAll", "", "<url>imap://u@/;use_lsub;check_all</url>", plain_transport},
    {"SmtpAuth", "POP3 Server=h\nSMTP Use Auth=1\n", "",
     R"(<transport save-passwd="true"><url>smtp://u;auth=PLAIN@s/</url></transport>)"},
    {"SmtpSicily", "POP3 Server=h\nSMTP Use Sicily=2\n", "",
     R"(<transport save-passwd="true"><url>smtp://u;auth=PLAIN@s/</url></transport>)"},
    {"SmtpSicilyOneIsNo", "POP3 Server=h\nSMTP Use Sicily=1\n", "", plain_transport},
    {"SmtpAsk", "POP3 Server=h\nSMTP Prompt for Password=1\n", R"(<source save-passwd="true")",
     R"(<transport save-passwd="false"><url>smtp://u@s/</url></transport>)"},
    {"SmtpSsl", "POP3 Server=h\nSMTP Secure Connection=1\n", "check_all</url>",
     R"(<transport save-passwd="true"><url>smtp://u@s/;use_ssl=always</url></transport>)"},
    {"SmtpAskSsl", "POP3 Server=h\nSMTP Prompt for Password=1\nSMTP Secure Connection=1\n", "",
     R"(<transport save-passwd="false"><url>smtp://u@s/;use_ssl=always</url></transport>)"},
};

INSTANTIATE_TEST_SUITE_P(All, AccountFlags, testing::ValuesIn(flag_cases),
                         [](const auto& one) { return std::string(one.param.name); });

TEST_F(EvolutionAccounts, NothingInADescriptionIsEscaped) {
  EXPECT_THAT(described("Account Name=a & \"b\" <c>\n"), HasSubstr("<account name=\"a & \"b\" <c>\" uid="));
}

TEST_F(EvolutionAccounts, CarriageReturnsAndTabsWithinATextStay) {
  EXPECT_THAT(described("Account Name=a\rb\tc\n"), HasSubstr("<account name=\"a\rb\tc\" uid="));
}

TEST_F(EvolutionAccounts, MissingTextsAreEmpty) {
  EXPECT_THAT(described("POP3 Server=h\n"),
              HasSubstr("<account name=\"\" uid=\"1105000000.170.0@winstation\" enabled=\"true\"><identity>"
                        "<name></name><addr-spec></addr-spec><reply-to></reply-to>"
                        "<organization></organization><signature uid=\"\"/></identity>"));
}

TEST_F(EvolutionAccounts, TheLongestTextsFit) {
  const std::string value(90, '&');
  const std::string description =
      described("Account Name=" + value + "\nSMTP Display Name=" + value + "\nSMTP Email Address=" + value +
                "\nSMTP Reply To Email Address=" + value + "\nSMTP Organization Name=" + value +
                "\nPOP3 Server=" + value + "\nPOP3 User Name=" + value + "\nSMTP Server=" + value + "\n");
  EXPECT_THAT(description, testing::EndsWith("</account>"));
}

// Letters of Windows that are three bytes in UTF-8.
TEST_F(EvolutionAccounts, TheLongestTextsFitWhateverTheirLetters) {
  const std::string value(90, '\x80');
  const std::string description =
      described("Account Name=" + value + "\nSMTP Display Name=" + value + "\nSMTP Email Address=" + value +
                "\nSMTP Reply To Email Address=" + value + "\nSMTP Organization Name=" + value +
                "\nPOP3 Server=" + value + "\nPOP3 User Name=" + value + "\nSMTP Server=" + value + "\n");
  EXPECT_THAT(description, testing::EndsWith("</account>"));
  EXPECT_GT(description.size(), 3000u);
}

// In a home whose name is long.
TEST_F(EvolutionAccounts, ADescriptionFitsWithTheNulBehindIt) {
  isDefaultUser = 0;
  ASSERT_TRUE(assign(cur_user, std::string(240, 'u').c_str()));
  std::filesystem::create_directories("/home/" + std::string(240, 'u'));
  std::string others;
  for (const std::string key : {"Email", "Display Name", "SMTP Reply To Email Address",
                                "SMTP Organization Name", "POP3 Server", "POP3 User", "SMTP Server"})
    others += key + "=" + std::string(125 - key.size(), '\x80') + "\n";
  const std::string name(account_description_size - 1 - described(others).size(), 'n');
  ASSERT_LT(name.size(), 112U);
  EXPECT_EQ(account_description_size - 1U, described("Account Name=" + name + "\n" + others).size());
  for (const char* more : {"n", "nn"}) {
    write_file("/tmp/account", "Account Name=" + name + more + "\n" + others);
    std::array<char, account_description_size + 2> data{'x'};
    EXPECT_EQ(-1, extract_from_account_path("/tmp/account", data.data()));
    EXPECT_STREQ("", data.data());
  }
}

TEST_F(EvolutionAccounts, AMachineWithoutANameHasAnEmptyOne) {
  write_file("/usr/local/bin/hostname", "#!/bin/sh\n");
  EXPECT_THAT(described(""), HasSubstr(".170.0@\" enabled"));
}

}  // namespace
