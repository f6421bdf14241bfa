// Two profiles of one archive in turn, each through the administrator's Mozilla: whole files before and
// after, with the stand-in that drops the address books an import makes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "process/mail/mozilla/accounts.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"

namespace {

using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::Not;

const std::string administrator = "/root/.mozilla/default/adm.slt";
const std::string ann = "/home/ann/.mozilla/default/k3x9.slt";
const std::string oskar = "/home/oskar/.mozilla/default/p7.slt";

struct Family : testing::Test {
  Family() {
    shell_quietly("mkdir -p /usr/local/brindle && cp " + test_data("../data/scripts/") +
                  "*.p[lm] /usr/local/brindle/ && cp " + test_data("standins/mozilla") + " /usr/local/bin/");
    write_file(administrator + "/abook.mab", std::string("// <!-- mork -->\0\xff\r\n", 20));
    write_file(administrator + "/history.mab", "");
    write_file(administrator + "/impab.mab", "imported long ago");
    write_file(administrator + "/abook.mab.prev", "yesterday's");
    write_file(administrator + "/prefs.js", "the administrator's");
    for (const std::string& profile : {ann, oskar}) {
      write_file(profile + "/chrome/userChrome.css", "");
      write_file(profile + "/../../appreg", "profiles");
    }
    contact_of("ann", "Ann's friend");
    contact_of("oskar", "Oskar's friend");
  }

  static std::string part_of(const std::string& name) { return "/tmp/b/Profiles/" + name; }

  static void contact_of(const std::string& name, const std::string& friends_name) {
    write_file(part_of(name) + "/ImapMail/Contacts/addressbook.db",
               "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:" + friends_name + "\r\nEND:VCARD\r\n");
  }

  static int migrate(const std::string& name) {
    isDefaultUser = 0;
    assign(cur_user, name.c_str());
    return mozilla(part_of(name).c_str());
  }

  static std::string everything_in(const std::string& folder) {
    return output_of("cd " + folder + " && find . -type f | sort | xargs sha256sum");
  }
};

TEST_F(Family, EachGetsItsOwnAndTheAdministratorKeepsHis) {
  const std::string before = everything_in(administrator);
  EXPECT_EQ(0, migrate("ann"));
  EXPECT_EQ(0, migrate("oskar"));

  EXPECT_EQ(before, everything_in(administrator));
  EXPECT_FALSE(exists(administrator + "/mabtemp"));
  EXPECT_THAT(read_file(ann + "/abook.mab"), HasSubstr("<displayName>Ann&apos;s friend</displayName>"));
  EXPECT_THAT(read_file(ann + "/abook.mab"), Not(HasSubstr("Oskar")));
  EXPECT_THAT(read_file(oskar + "/abook.mab"), HasSubstr("<displayName>Oskar&apos;s friend</displayName>"));
  EXPECT_THAT(read_file(oskar + "/history.mab"), HasSubstr("imported history"));
  EXPECT_FALSE(exists(ann + "/abook.mab.prev"));
  EXPECT_FALSE(exists("/home/ann/.mozilla/appreg"));
  EXPECT_EQ("mozilla -syncin " + part_of("ann") + "/ImapMail/Contacts/addressbook.xml\nmozilla -syncin " +
                part_of("oskar") + "/ImapMail/Contacts/addressbook.xml\n",
            read_file("/tmp/standins.log"));
}

TEST_F(Family, WhoseContactsOrCalendarAreNotCopiedWholeFails) {
  write_file(part_of("ann") + "/ImapMail/Calendar/calendar.ics", "BEGIN:VCALENDAR\n");
  write_file(ann + "/abook.mab", "Ann's own");
  {
    const SmallDisk disk(ann);
    disk.fill_but(8);
    EXPECT_EQ(0, migrate("ann"));
    contact_of("ann", std::string(400'000, 'x'));
    EXPECT_EQ(-1, migrate("ann"));
  }
  write_file(part_of("ann") + "/ImapMail/Calendar/calendar.ics", std::string(400'000, 'x'));
  contact_of("ann", "Ann's friend");
  const SmallDisk disk(ann);
  EXPECT_EQ(-1, migrate("ann"));
}

TEST_F(Family, WithoutMozillaItselfTheAdministratorKeepsHis) {
  const std::string before = everything_in(administrator);
  shell_quietly("rm /usr/local/bin/mozilla");
  EXPECT_EQ(0, migrate("ann"));
  EXPECT_EQ(before, everything_in(administrator));
}

TEST_F(Family, AlarmsStartAnewWithEachProfile) {
  write_file(part_of("ann") + "/ImapMail/Calendar/calendar.ics", "TRIGGER:-PT2H\r\nEND:VALARM\r\n");
  write_file(part_of("oskar") + "/ImapMail/Calendar/calendar.ics", "END:VALARM\r\n");
  migrate("ann");
  migrate("oskar");
  EXPECT_EQ(
      "TRIGGER\n :-PT2H\nEND:VALARM\nX-MOZILLA-ALARM-DEFAULT-UNITS\n :hours\n"
      "X-MOZILLA-ALARM-DEFAULT-LENGTH\n :2\n",
      read_file(ann + "/Calendar/CalendarDataFile.ics"));
  EXPECT_EQ("END:VALARM\nX-MOZILLA-ALARM-DEFAULT-LENGTH\n :\n",
            read_file(oskar + "/Calendar/CalendarDataFile.ics"));
}

TEST_F(Family, AllCommandsInOrder) {
  migrate("oskar");
  const std::string part = part_of("oskar");
  const std::string contacts = part + "/ImapMail/Contacts/addressbook";
  const std::string calendar = part + "/ImapMail/Calendar/";
  const std::string root = administrator;
  const std::vector<std::string> commands = {
      "rm /home/oskar/.mozilla/appreg",
      "mkdir " + oskar + "/Mail",
      "mkdir " + oskar + "/Mail/Local\\ Folders",
      "perl /usr/local/brindle/vcard2xml.pl <" + contacts + ".db >" + contacts + ".xml",
      "dos2unix " + contacts + ".xml",
      "mkdir " + root + "/mabtemp",
      "mv " + root + "/*.mab " + root + "/mabtemp/",
      "mv " + root + "/*.mab.prev " + root + "/mabtemp/",
      "mozilla -syncin " + contacts + ".xml",
      "cp -f " + root + "/abook.mab " + oskar + "/",
      "cp -f " + root + "/history.mab " + oskar + "/",
      "rm " + root + "/*.mab",
      "rm " + root + "/*.mab.prev",
      "mv " + root + "/mabtemp/*.* " + root + "/",
      "rm -rf " + root + "/mabtemp",
      "cp -rf " + part + "/Mail/* " + oskar + "/Mail/Local\\ Folders",
      "dos2unix " + calendar + "calendar.ics",
      "cp " + calendar + "calendar.ics " + calendar + "calendartemp.ics",
      "dos2unix " + part + "/ImapMail/Tasks/tasks.ics",
      "cp " + part + "/ImapMail/Tasks/tasks.ics " + calendar + "taskstemp.ics",
  };
  EXPECT_THAT(commands_run(), ElementsAreArray(commands));
}

// ---- Names nobody expects -------------------------------------------------------------------------------

TEST_F(Family, AProfileFolderWithAnyNameStaysOneWord) {
  const std::string odd = "/home/ann/.mozilla/default/it's; touch ran $(touch ran)";
  std::filesystem::rename(ann, odd);
  write_file(part_of("ann") + "/Mail/Inbox", "From - x\n\nhello\n");
  write_file(part_of("ann") + "/ImapMail/Tasks/tasks.ics", "PRIORITY:4\n");
  EXPECT_EQ(0, migrate("ann"));
  EXPECT_EQ("From - x\n\nhello\n", read_file(odd + "/Mail/Local Folders/Inbox"));
  EXPECT_EQ("PRIORITY\n :5\n", read_file(odd + "/Calendar/CalendarDataFile.ics"));
  EXPECT_THAT(read_file(odd + "/abook.mab"), HasSubstr("friend"));
  EXPECT_FALSE(exists("ran"));
}

TEST_F(Family, APlainFileThatComesFirstIsTakenForTheProfile) {
  std::filesystem::remove_all(ann);
  write_file("/home/ann/.mozilla/default/pluginreg.dat", "");
  write_file(part_of("ann") + "/ImapMail/brindle-email-accounts/a", "Account Name=A\n");
  testing::internal::CaptureStdout();
  EXPECT_EQ(1, migrate("ann"));
  EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("line::pluginreg.dat\n"));
}

// Whichever comes first, second or third in the folder.
TEST_F(Family, AnAccountThatCannotBeReadTakesNoNumber) {
  const std::string folder = part_of("oskar") + "/ImapMail/brindle-email-accounts";
  for (const std::string gone : {"a", "b", "c"}) {
    std::filesystem::remove_all(folder);
    for (const std::string name : {"a", "b", "c"})
      write_file(folder + "/" + name, "Account Name=" + name + "\nPOP3 Server=p\n");
    std::filesystem::remove(folder + "/" + gone);
    std::filesystem::create_symlink("/nowhere", folder + "/" + gone);
    EXPECT_EQ(0, mozillaaccountsettings(oskar.c_str(), part_of("oskar").c_str()));
    const std::string prefs = read_file(oskar + "/prefs.js");
    EXPECT_THAT(prefs, testing::EndsWith(
                           "user_pref(\"mail.accountmanager.accounts\", \"account1,account2,account3\");\n"
                           "user_pref(\"mail.smtpservers\", \"smtp2,smtp3\");\n"));
    for (const char* defined : {"account2.server\", \"server2\"", "account3.server\", \"server3\""})
      EXPECT_THAT(prefs, HasSubstr(defined)) << gone;
    EXPECT_THAT(prefs, Not(HasSubstr("account4")));
  }
}

TEST_F(Family, WithoutAnAccountThatCanBeReadNoneIsListed) {
  const std::string folder = part_of("oskar") + "/ImapMail/brindle-email-accounts";
  std::filesystem::create_directories(folder + "/folder");
  EXPECT_EQ(0, mozillaaccountsettings(oskar.c_str(), part_of("oskar").c_str()));
  EXPECT_THAT(read_file(oskar + "/prefs.js"),
              testing::EndsWith("user_pref(\"mail.accountmanager.accounts\", \"account1\");\n"
                                "user_pref(\"mail.smtpservers\", \"\");\n"));
}

TEST_F(Family, AnEmptyPortIsTheDefaultPort) {
  write_file(part_of("oskar") + "/ImapMail/brindle-email-accounts/o",
             "Account Name=O\r\nPOP3 Server=\r\nPOP3 Port=\r\nIMAP Server=imap\r\n");
  migrate("oskar");
  EXPECT_THAT(read_file(oskar + "/prefs.js"), HasSubstr("user_pref(\"mail.server.server2.port\", 110);\n"));
  EXPECT_THAT(read_file(oskar + "/prefs.js"),
              HasSubstr("user_pref(\"mail.server.server2.type\", \"pop3\");)\n"));
}

}  // namespace
