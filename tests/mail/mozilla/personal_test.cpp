#include "process/mail/mozilla/personal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr const char* profile = "/root/.mozilla/default/abc.slt";
constexpr const char* data_file = "/root/.mozilla/default/abc.slt/Calendar/CalendarDataFile.ics";

// ---- Calendar -------------------------------------------------------------------------------------------

struct Calendar : testing::Test {
  Calendar() { shell_quietly("mkdir -p " + std::string(profile)); }
  static void calendar(const std::string& text) { write_file("/tmp/b/ImapMail/Calendar/calendar.ics", text); }
  static void tasks(const std::string& text) { write_file("/tmp/b/ImapMail/Tasks/tasks.ics", text); }
  static void both() {
    shell_quietly("mkdir -p /tmp/b/ImapMail && cp -r " + test_data("expected/mozilla-calendar/in/") +
                  "* /tmp/b/ImapMail/");
  }
};

TEST_F(Calendar, HasTheTasksInFront) {
  both();
  EXPECT_EQ(0, mozillacalendar("/tmp/b", profile));
  EXPECT_TRUE(matches_expected(data_file, "mozilla-calendar/CalendarDataFile.ics"));
  EXPECT_EQ("CalendarDataFile.ics\n", output_of("ls " + std::string(profile) + "/Calendar"));
}

TEST_F(Calendar, CommandsAreInOrder) {
  both();
  mozillacalendar("/tmp/b", profile);
  const std::string imap = "/tmp/b/ImapMail";
  EXPECT_THAT(commands_run(),
              ElementsAre("dos2unix " + imap + "/Calendar/calendar.ics",
                          "cp " + imap + "/Calendar/calendar.ics " + imap + "/Calendar/calendartemp.ics",
                          "dos2unix " + imap + "/Tasks/tasks.ics",
                          "cp " + imap + "/Tasks/tasks.ics " + imap + "/Calendar/taskstemp.ics",
                          "mkdir " + std::string(profile) + "/Calendar", std::string("rm ") + data_file,
                          "cp " + imap + "/Calendar/calendar.ics " + data_file,
                          std::string("cp ") + data_file + " " + data_file + ".temp",
                          "cat " + imap + "/Tasks/tasks.ics " + data_file + ".temp > " + data_file,
                          std::string("rm ") + data_file + ".temp"));
}

TEST_F(Calendar, IsReadByOthersOnceUnfolded) {
  both();
  mozillacalendar("/tmp/b", profile);
  write_file("/tmp/count.py",
             "import icalendar, sys\n"
             "found = icalendar.Calendar.from_ical(open(sys.argv[1]).read(), multiple=True)\n"
             "print(*[sum(len(c.walk(kind)) for c in found) for kind in ('VEVENT', 'VTODO', 'VALARM')])\n"
             "print([t['PRIORITY'] for c in found for t in c.walk('VTODO')])\n");
  EXPECT_EQ("2 2 2\n[5, 1]\n",
            output_of("/usr/bin/python3 /tmp/count.py " + std::string(data_file) + " 2>&1"));
}

TEST_F(Calendar, ReplacesTheOldOne) {
  write_file(data_file, "old");
  calendar("BEGIN:VCALENDAR\nEND:VCALENDAR\n");
  EXPECT_EQ(0, mozillacalendar("/tmp/b", profile));
  EXPECT_EQ("BEGIN:VCALENDAR\nEND:VCALENDAR\n", read_file(data_file));
}

TEST_F(Calendar, TasksAloneStandAlone) {
  write_file(data_file, "old");
  tasks("BEGIN:VTODO\nPRIORITY:4\nEND:VTODO\n");
  EXPECT_EQ(0, mozillacalendar("/tmp/b", profile));
  EXPECT_EQ("BEGIN:VTODO\nPRIORITY\n :5\nEND:VTODO\n", read_file(data_file));
}

TEST_F(Calendar, WindowsLineEndsAreConverted) {
  calendar("RRULE:FREQ=YEARLY;BYDAY=MO;BYSETPOS=2\r\nTRIGGER:-PT5M\r\n");
  tasks("PRIORITY:4\r\n");
  mozillacalendar("/tmp/b", profile);
  EXPECT_EQ(
      "PRIORITY\n :5\nX-MOZILLA-RECUR-DEFAULT-UNITS\n :years\nRRULE:FREQ=YEARLY;BYDAY=2MO\nTRIGGER\n "
      ":-PT5M\n",
      read_file(data_file));
}

TEST_F(Calendar, WithNeitherNothingIsMade) {
  shell_quietly("mkdir -p /tmp/b/ImapMail");
  EXPECT_EQ(0, mozillacalendar("/tmp/b", profile));
  EXPECT_FALSE(exists(std::string(profile) + "/Calendar"));
}

TEST_F(Calendar, AlarmsGoOnFromTheCalendarToTheTasks) {
  calendar("TRIGGER:-PT2H\nEND:VALARM\n");
  tasks("END:VALARM\n");
  mozillacalendar("/tmp/b", profile);
  const std::string end =
      "END:VALARM\nX-MOZILLA-ALARM-DEFAULT-UNITS\n :hours\nX-MOZILLA-ALARM-DEFAULT-LENGTH\n :2\n";
  EXPECT_EQ(end + "TRIGGER\n :-PT2H\n" + end, read_file(data_file));
}

TEST_F(Calendar, LongLinesComeInPieces) {
  const std::string start = "SUMMARY:" + std::string(1023 - 8, 'x');
  calendar(start + "-PT1H;y\n");
  mozillacalendar("/tmp/b", profile);
  EXPECT_EQ(start + "-PT1H\n ;y\n", read_file(data_file));
}

TEST_F(Calendar, AFileOfTheUsersOwnIsNotInTheWay) {
  both();
  write_file(std::string(data_file) + ".temp", "mine");
  mozillacalendar("/tmp/b", profile);
  EXPECT_EQ("mine", read_file(std::string(data_file) + ".temp"));
  EXPECT_TRUE(matches_expected(data_file, "mozilla-calendar/CalendarDataFile.ics"));
}

// ---- Contacts -------------------------------------------------------------------------------------------

struct Contacts : testing::Test {
  Contacts() {
    shell_quietly("mkdir -p /usr/local/brindle /home/ann/p " + std::string(profile) + " && cp " +
                  test_data("../data/scripts/") + "* /usr/local/brindle/");
    write_file("/tmp/b/ImapMail/Contacts/addressbook.db",
               "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:Ann Lee\r\nEND:VCARD\r\n");
    stand_in("cp \"$2\" " + std::string(profile) + "/abook.mab; echo h > " + profile +
             "/history.mab; touch " + profile + "/abook.mab.prev");
  }
  // What "mozilla -syncin FILE" does.
  static void stand_in(const std::string& body) {
    write_file("/usr/local/bin/mozilla", "#!/bin/sh\nprintf '[%s]' \"$@\" >> /tmp/mozilla\n" + body + "\n");
    shell_quietly("chmod 755 /usr/local/bin/mozilla");
  }
  static void administrators_own() {
    write_file(std::string(profile) + "/abook.mab", "admin's");
    write_file(std::string(profile) + "/impab.mab", "admin's too");
    write_file(std::string(profile) + "/abook.mab.prev", "admin's older");
  }
  static std::string books_of(const std::string& folder) {
    return output_of("cd " + folder +
                     " && for f in *.mab *.prev; do [ -e \"$f\" ] && echo \"$f $(cat \"$f\")\"; done");
  }
};

TEST_F(Contacts, OfTheRunningUserAreImportedDirectly) {
  isDefaultUser = 1;
  EXPECT_EQ(0, mozillaaddressbook("/tmp/b", profile, ""));
  const std::string contacts = "/tmp/b/ImapMail/Contacts/addressbook";
  EXPECT_THAT(commands_run(),
              ElementsAre("perl /usr/local/brindle/vcard2xml.pl <" + contacts + ".db >" + contacts + ".xml",
                          "dos2unix " + contacts + ".xml", "mozilla -syncin " + contacts + ".xml"));
  EXPECT_EQ("[-syncin][" + contacts + ".xml]", read_file("/tmp/mozilla"));
  EXPECT_EQ("Ann Lee\n",
            output_of("xmllint --xpath '/contacts/contact/displayName/text()' " + contacts + ".xml"));
}

TEST_F(Contacts, OfAProfileGoThroughTheAdministratorsBooks) {
  isDefaultUser = 0;
  administrators_own();
  const std::string before = books_of(profile);
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, mozillaaddressbook("/tmp/b", "/home/ann/p", profile));
  const std::string said = testing::internal::GetCapturedStdout();
  EXPECT_EQ(before, books_of(profile));
  EXPECT_FALSE(exists(std::string(profile) + "/mabtemp"));
  EXPECT_THAT(read_file("/home/ann/p/abook.mab"), HasSubstr("Ann Lee"));
  EXPECT_EQ("h\n", read_file("/home/ann/p/history.mab"));
  EXPECT_EQ("abook.mab\nhistory.mab\n", output_of("ls /home/ann/p"));

  const std::string root = profile;
  const auto commands = commands_run();
  const std::vector<std::string> import(commands.begin() + 2, commands.end());
  EXPECT_THAT(import, ElementsAre("mkdir " + root + "/mabtemp", "mv " + root + "/*.mab " + root + "/mabtemp/",
                                  "mv " + root + "/*.mab.prev " + root + "/mabtemp/",
                                  "mozilla -syncin /tmp/b/ImapMail/Contacts/addressbook.xml",
                                  "cp -f " + root + "/abook.mab /home/ann/p/",
                                  "cp -f " + root + "/history.mab /home/ann/p/", "rm " + root + "/*.mab",
                                  "rm " + root + "/*.mab.prev", "mv " + root + "/mabtemp/*.* " + root + "/",
                                  "rm -rf " + root + "/mabtemp"));
  std::string all;
  for (const std::string& command : import) all += command;
  EXPECT_EQ(all, said);
}

TEST_F(Contacts, AFailedImportLeavesTheAdministratorsBooks) {
  isDefaultUser = 0;
  administrators_own();
  const std::string before = books_of(profile);
  stand_in("exit 1");
  EXPECT_EQ(0, mozillaaddressbook("/tmp/b", "/home/ann/p", profile));
  EXPECT_EQ(before, books_of(profile));
  EXPECT_EQ("", output_of("ls /home/ann/p"));
}

TEST_F(Contacts, AnAdministratorWithoutBooksHasNoneAfterwards) {
  isDefaultUser = 0;
  EXPECT_EQ(0, mozillaaddressbook("/tmp/b", "/home/ann/p", profile));
  EXPECT_EQ("", books_of(profile));
  EXPECT_THAT(read_file("/home/ann/p/abook.mab"), HasSubstr("Ann Lee"));
}

TEST_F(Contacts, AFailedImportAndNoBooksLeaveNothing) {
  isDefaultUser = 0;
  stand_in("exit 1");
  EXPECT_EQ(0, mozillaaddressbook("/tmp/b", "/home/ann/p", profile));
  EXPECT_EQ("", output_of("find " + std::string(profile) + "/* /home/ann/p/* 2> /tmp/messages"));
}

TEST_F(Contacts, WithoutAnAddressBookChangeNothingOfTheAdministrators) {
  isDefaultUser = 0;
  administrators_own();
  const std::string before = books_of(profile);
  stand_in("[ -e \"$2\" ] || exit 1; touch " + std::string(profile) + "/abook.mab");
  EXPECT_EQ(0, mozillaaddressbook("/tmp/missing", "/home/ann/p", profile));
  EXPECT_EQ(before, books_of(profile));
  EXPECT_EQ("", output_of("ls /home/ann/p"));
}

TEST_F(Contacts, BooksThatCannotBeSetAsideAreNotTouched) {
  isDefaultUser = 0;
  administrators_own();
  const std::string before = books_of(profile);
  write_file("/usr/local/bin/mv", "#!/bin/sh\nexit 1\n");
  shell_quietly("chmod 755 /usr/local/bin/mv");
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, mozillaaddressbook("/tmp/b", "/home/ann/p", profile));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("could not be set aside"));
  EXPECT_EQ(before, books_of(profile));
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("syncin"))));
}

}  // namespace
