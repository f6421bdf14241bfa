#include "process/mail/mozilla/personal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"
#include "support/keeping_run.h"

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

TEST_F(Calendar, WindowsLineEndsInWhatPassesForABinaryFileAreConverted) {
  calendar("RRULE:FREQ=YEARLY;BYDAY=MO;BYSETPOS=2\r\n\x1a");
  tasks("PRIORITY:4\r\n\x1a");
  mozillacalendar("/tmp/b", profile);
  EXPECT_EQ("PRIORITY\n :5\nX-MOZILLA-RECUR-DEFAULT-UNITS\n :years\nRRULE:FREQ=YEARLY;BYDAY=2MO\n",
            read_file(data_file));
}

TEST_F(Calendar, WithoutALastLineEndIsNotJoined) {
  calendar("BEGIN:VCALENDAR\nBEGIN:VEVENT\nSUMMARY:Dentist\nEND:VEVENT\nEND:VCALENDAR");
  tasks("BEGIN:VCALENDAR\r\nBEGIN:VTODO\r\nSUMMARY:Milk\r\nEND:VTODO\r\nEND:VCALENDAR");
  EXPECT_EQ(0, mozillacalendar("/tmp/b", profile));
  write_file("/tmp/read.py",
             "import icalendar, sys\n"
             "found = icalendar.Calendar.from_ical(open(sys.argv[1]).read(), multiple=True)\n"
             "print(*[part['SUMMARY'] for c in found for part in c.subcomponents])\n");
  EXPECT_EQ("Milk Dentist\n", output_of("/usr/bin/python3 /tmp/read.py " + std::string(data_file) + " 2>&1"));
}

// Folds of both kinds, one of them in the middle of a word, with the line ends of Windows.
TEST_F(Calendar, OfFoldedLinesIsReadByOthers) {
  calendar(
      "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nSUMMARY:A long\r\n  talk with the den\r\n\ttist\r\nEND:VEVENT\r\n"
      "END:VCALENDAR");
  tasks("BEGIN:VCALENDAR\r\nBEGIN:VTODO\r\nSUMMARY:Mi\r\n lk\r\nEND:VTODO\r\nEND:VCALENDAR");
  EXPECT_EQ(0, mozillacalendar("/tmp/b", profile));
  write_file("/tmp/read.py",
             "import icalendar, sys\n"
             "found = icalendar.Calendar.from_ical(open(sys.argv[1], newline='').read(), multiple=True)\n"
             "print(*[repr(str(part['SUMMARY'])) for c in found for part in c.subcomponents])\n");
  EXPECT_EQ("'Milk' 'A long talk with the dentist'\n",
            output_of("/usr/bin/python3 /tmp/read.py " + std::string(data_file) + " 2>&1"));
}

TEST_F(Calendar, WithoutALastLineEndKeepsTheRulesOfItsLastLine) {
  calendar("TRIGGER:-PT2H\nEND:VALARM");
  mozillacalendar("/tmp/b", profile);
  EXPECT_EQ(
      "TRIGGER\n :-PT2H\nEND:VALARM\nX-MOZILLA-ALARM-DEFAULT-UNITS\n :hours\n"
      "X-MOZILLA-ALARM-DEFAULT-LENGTH\n :2\n",
      read_file(data_file));
}

// Blocks of 4096 bytes: the old calendar has 20, the new one 15, the tasks have 10.
TEST_F(Calendar, OnAFullDiskTheOldOneStays) {
  const std::string old(80'000, 'o');
  const std::string events = std::string(60'000, 'e') + "\n";
  const std::string to_do = std::string(40'000, 't') + "\n";
  calendar(events);
  for (const bool with_tasks : {false, true}) {
    if (with_tasks) tasks(to_do);
    int refused = 0;
    for (const int left : {0, 1, 10, 14, 15, 16, 20, 25, 30, 39, 40, 42}) {
      calendar(events);
      if (with_tasks) tasks(to_do);
      write_file(data_file, old);
      shell_quietly("chown 1234:2345 " + std::string(data_file));
      const SmallDisk disk(std::string(profile) + "/Calendar");
      shell_quietly("chown 1234:2345 " + std::string(data_file));
      disk.fill_but(left);
      const int result = mozillacalendar("/tmp/b", profile);
      if (result != 0) ++refused;
      EXPECT_TRUE(same_bytes(result != 0  ? old
                             : with_tasks ? to_do + events
                                          : events,
                             read_file(data_file)))
          << left;
      if (result != 0) {
        EXPECT_EQ("1234:2345\n", output_of("stat -c %u:%g " + std::string(data_file)));
      }
      EXPECT_EQ("CalendarDataFile.ics\nfilling\n", output_of("ls -A " + std::string(profile) + "/Calendar"))
          << left;
    }
    EXPECT_GE(refused, with_tasks ? 8 : 4);
    EXPECT_LE(refused, with_tasks ? 11 : 6);
  }
}

TEST_F(Calendar, TasksAloneOnAFullDiskLeaveTheOldOne) {
  write_file(data_file, std::string(8'000, 'o'));
  tasks(std::string(40'000, 't') + "\n");
  const SmallDisk disk(std::string(profile) + "/Calendar");
  disk.fill_but(3);
  EXPECT_EQ(-1, mozillacalendar("/tmp/b", profile));
  EXPECT_EQ(std::string(8'000, 'o'), read_file(data_file));
}

TEST_F(Calendar, OnAFullDiskNothingIsLeftWhereNothingWas) {
  calendar(std::string(40'000, 'e') + "\n");
  const SmallDisk disk(profile);
  disk.fill_but(3);
  EXPECT_EQ(-1, mozillacalendar("/tmp/b", profile));
  EXPECT_EQ("", output_of("ls -A " + std::string(profile) + "/Calendar"));
}

TEST_F(Calendar, InAFullWorkFolderTheOldOneStays) {
  write_file(data_file, "old");
  for (const int left : {0, 5, 15, 16, 20, 25}) {
    calendar(std::string(60'000, 'e') + "\n");
    tasks(std::string(60'000, 't') + "\n");
    const SmallDisk disk("/tmp/b");
    disk.fill_but(left);
    const std::string before = read_file("/tmp/b/ImapMail/Calendar/calendar.ics");
    const int result = mozillacalendar("/tmp/b", profile);
    EXPECT_EQ(-1, result) << left;
    EXPECT_EQ("old", read_file(data_file)) << left;
    EXPECT_TRUE(same_bytes(before, read_file("/tmp/b/ImapMail/Calendar/calendar.ics"))) << left;
  }
}

// Their copy lies on another disk, with room.
TEST_F(Calendar, TasksThatCannotBeMendedLeaveTheOldOne) {
  write_file(data_file, "old");
  calendar("BEGIN:VCALENDAR\n");
  tasks("BEGIN:VTODO\r\nEND:VTODO\r\n");
  const SmallDisk disk("/tmp/b/ImapMail/Tasks");
  disk.fill_but(0);
  EXPECT_EQ(-1, mozillacalendar("/tmp/b", profile));
  EXPECT_EQ("old", read_file(data_file));
}

TEST_F(Calendar, ALinkIsReplacedAsBeforeAndComesBackAsALink) {
  shell_quietly("mkdir -p " + std::string(profile) + "/Calendar");
  write_file("/root/mine.ics", "mine");
  std::filesystem::create_symlink("/root/mine.ics", data_file);
  calendar(std::string(40'000, 'e') + "\n");
  {
    const SmallDisk disk(std::string(profile) + "/Calendar");
    disk.fill_but(3);
    EXPECT_EQ(-1, mozillacalendar("/tmp/b", profile));
    EXPECT_TRUE(std::filesystem::is_symlink(data_file));
  }
  EXPECT_EQ(0, mozillacalendar("/tmp/b", profile));
  EXPECT_FALSE(std::filesystem::is_symlink(data_file));
  EXPECT_EQ("mine", read_file("/root/mine.ics"));
}

TEST_F(Calendar, AFolderInThePlaceOfTheOldOneStays) {
  write_file(std::string(data_file) + "/inside", "mine");
  calendar("BEGIN:VCALENDAR\n");
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, mozillacalendar("/tmp/b", profile));
  EXPECT_EQ(std::string(data_file) + " is not replaced: Is a directory\n",
            testing::internal::GetCapturedStderr());
  EXPECT_EQ("./CalendarDataFile.ics\n./CalendarDataFile.ics/inside\n",
            output_of("cd " + std::string(profile) + "/Calendar && find . -mindepth 1"));
  EXPECT_THAT(commands_run(), testing::IsEmpty());
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

TEST_F(Calendar, NorIsALinkToNothing) {
  both();
  shell_quietly("mkdir " + std::string(profile) + "/Calendar");
  std::filesystem::create_symlink("/root/elsewhere", std::string(data_file) + ".temp");
  EXPECT_EQ(0, mozillacalendar("/tmp/b", profile));
  EXPECT_FALSE(exists("/root/elsewhere"));
  EXPECT_TRUE(std::filesystem::is_symlink(std::string(data_file) + ".temp"));
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

TEST_F(Contacts, FailWhenOneOfTheTwoBooksIsNotCopied) {
  isDefaultUser = 0;
  assign(cur_user, "ann");
  for (const std::string book : {"abook.mab", "history.mab"}) {
    shell_quietly("rm -f /home/ann/p/*");
    answer_command("cp -f " + std::string(profile) + "/" + book, 0);
    EXPECT_EQ(-1, mozillaaddressbook("/tmp/b", "/home/ann/p", profile)) << book;
  }
  EXPECT_EQ(0, mozillaaddressbook("/tmp/b", "/home/ann/p", profile));
}

TEST_F(Contacts, OfARunThatWasCutShortArePutBackFirst) {
  isDefaultUser = 0;
  administrators_own();
  const std::string before = books_of(profile);
  const std::string root = profile;
  // After the books were set aside.
  shell_quietly("cd " + root + " && mkdir mabtemp && mv *.mab *.mab.prev mabtemp/");
  EXPECT_EQ(0, mozillaaddressbook("/tmp/b", "/home/ann/p", profile));
  EXPECT_EQ(before, books_of(profile));
  EXPECT_THAT(read_file("/home/ann/p/abook.mab"), HasSubstr("Ann Lee"));
  EXPECT_THAT(commands_run()[2], "mkdir " + root + "/mabtemp");
  EXPECT_FALSE(exists(root + "/mabtemp"));
}

TEST_F(Contacts, OfARunThatWasCutShortAmidTheMoveArePutBackFirst) {
  isDefaultUser = 0;
  administrators_own();
  const std::string before = books_of(profile);
  shell_quietly("cd " + std::string(profile) + " && mkdir mabtemp && mv abook.mab mabtemp/");
  EXPECT_EQ(0, mozillaaddressbook("/tmp/b", "/home/ann/p", profile));
  EXPECT_EQ(before, books_of(profile));
  EXPECT_THAT(read_file("/home/ann/p/abook.mab"), HasSubstr("Ann Lee"));
}

TEST_F(Contacts, OfARunThatWasCutShortInItsImportArePutBackAndTheImportsKept) {
  isDefaultUser = 0;
  administrators_own();
  const std::string before = books_of(profile);
  const std::string root = profile;
  shell_quietly("cd " + root + " && mkdir mabtemp && mv *.mab *.mab.prev mabtemp/");
  write_file(root + "/abook.mab", "half an import");
  write_file(root + "/abook.mab.found", "an earlier one");
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, mozillaaddressbook("/tmp/b", "/home/ann/p", profile));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("The address book in the place of the administrator's own is now " + root +
                        "/abook.mab.found~\n"));
  EXPECT_EQ(before, books_of(profile));
  EXPECT_EQ("an earlier one", read_file(root + "/abook.mab.found"));
  EXPECT_EQ("half an import", read_file(root + "/abook.mab.found~"));
  EXPECT_THAT(read_file("/home/ann/p/abook.mab"), HasSubstr("Ann Lee"));
}

TEST_F(Contacts, OfARunThatWasCutShortArePutBackForTheAdministratorToo) {
  isDefaultUser = 1;
  administrators_own();
  const std::string before = books_of(profile);
  shell_quietly("cd " + std::string(profile) + " && mkdir mabtemp && mv *.mab *.mab.prev mabtemp/");
  stand_in("cat " + std::string(profile) + "/abook.mab > /tmp/found");
  EXPECT_EQ(0, mozillaaddressbook("/tmp/b", profile, ""));
  EXPECT_EQ("admin's", read_file("/tmp/found"));
  EXPECT_EQ(before, books_of(profile));
}

TEST_F(Contacts, AreNotImportedWhileOthersCannotBePutBack) {
  administrators_own();
  const std::string before = books_of(profile);
  for (const int running_user : {0, 1}) {
    isDefaultUser = running_user;
    write_file(std::string(profile) + "/mabtemp", "no folder");
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, mozillaaddressbook("/tmp/b", running_user == 1 ? profile : "/home/ann/p", profile));
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("The address books in " + std::string(profile) +
                          "/mabtemp could not be put back; nothing is imported\n"));
    EXPECT_EQ(before, books_of(profile));
  }
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("syncin"))));
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("rm -rf"))));
}

TEST_F(Contacts, AreImportedBesideHiddenBooks) {
  isDefaultUser = 0;
  administrators_own();
  write_file(std::string(profile) + "/.abook.mab", "hidden");
  write_file(std::string(profile) + "/.mab", "hidden too");
  EXPECT_EQ(0, mozillaaddressbook("/tmp/b", "/home/ann/p", profile));
  EXPECT_THAT(read_file("/home/ann/p/abook.mab"), HasSubstr("Ann Lee"));
  EXPECT_EQ("hidden", read_file(std::string(profile) + "/.abook.mab"));
  EXPECT_EQ("hidden too", read_file(std::string(profile) + "/.mab"));
}

TEST_F(Contacts, AreImportedBesideALinkWithoutAnEnd) {
  isDefaultUser = 1;
  const KeepingRun run;
  shell_quietly("ln -s loop /root/.mozilla/loop; ln -s loop " + std::string(profile) + "/loop");
  EXPECT_EQ(0, mozillaaddressbook("/tmp/b", profile, ""));
  EXPECT_THAT(read_file(std::string(profile) + "/abook.mab"), HasSubstr("Ann Lee"));
  EXPECT_EQ("loop\nloop\n", output_of("readlink /root/.mozilla/loop " + std::string(profile) + "/loop"));
}

TEST_F(Contacts, BooksThatTheCommandDoesNotBringBackAreBroughtBack) {
  isDefaultUser = 0;
  administrators_own();
  const std::string before = books_of(profile);
  write_file("/usr/local/bin/mv",
             "#!/bin/sh\ncase \"$1\" in *mabtemp*) exit 1 ;; *) exec /bin/mv \"$@\" ;; esac\n");
  shell_quietly("chmod 755 /usr/local/bin/mv");
  EXPECT_EQ(0, mozillaaddressbook("/tmp/b", "/home/ann/p", profile));
  EXPECT_EQ(before, books_of(profile));
  EXPECT_FALSE(exists(std::string(profile) + "/mabtemp"));
}

// Another file system in its place: nothing can be renamed out of it.
TEST_F(Contacts, BooksThatCannotBeBroughtBackAreNotRemoved) {
  isDefaultUser = 0;
  administrators_own();
  const std::string aside = std::string(profile) + "/mabtemp";
  write_file("/usr/local/bin/mv", "#!/bin/sh\ncase \"$1\" in *mabtemp*) exit 1 ;; esac\nmountpoint -q " +
                                      aside + " || mount -t tmpfs none " + aside + "\nexec /bin/mv \"$@\"\n");
  shell_quietly("chmod 755 /usr/local/bin/mv");
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, mozillaaddressbook("/tmp/b", "/home/ann/p", profile));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("mabtemp/abook.mab: Invalid cross-device link\n"));
  EXPECT_EQ("admin's", read_file(aside + "/abook.mab"));
  EXPECT_EQ("admin's too", read_file(aside + "/impab.mab"));
  EXPECT_EQ("admin's older", read_file(aside + "/abook.mab.prev"));
}

TEST_F(Contacts, OnAFullDiskTheOldBooksStay) {
  isDefaultUser = 0;
  stand_in("head -c 40000 /dev/zero > " + std::string(profile) + "/abook.mab; head -c 30000 /dev/zero > " +
           profile + "/history.mab");
  write_file("/home/ann/p/abook.mab", std::string(20'000, 'o'));
  write_file("/home/ann/p/history.mab", std::string(20'000, 'o'));
  for (const int left : {0, 4, 5, 8}) {
    const SmallDisk disk("/home/ann/p");
    disk.fill_but(left);
    EXPECT_EQ(-1, mozillaaddressbook("/tmp/b", "/home/ann/p", profile)) << left;
    EXPECT_EQ(std::string(20'000, 'o'), read_file("/home/ann/p/abook.mab")) << left;
    if (left < 5) {
      EXPECT_EQ(std::string(20'000, 'o'), read_file("/home/ann/p/history.mab")) << left;
    }
    EXPECT_EQ("abook.mab\nfilling\nhistory.mab\n", output_of("ls -A /home/ann/p")) << left;
  }
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
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("The address books in " + std::string(profile) +
                        " could not be set aside; nothing is imported\n"));
  EXPECT_EQ(before, books_of(profile));
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("syncin"))));
}

// The books themselves, or the older ones that Mozilla keeps of them.
TEST_F(Contacts, BooksOfOneKindThatCannotBeSetAsideAreNotTouchedEither) {
  isDefaultUser = 0;
  for (const std::string kind : {"/*.mab", "/*.mab.prev"}) {
    administrators_own();
    const std::string before = books_of(profile);
    answer_command("mv " + std::string(profile) + kind + " ", 0);
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, mozillaaddressbook("/tmp/b", "/home/ann/p", profile));
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("could not be set aside"));
    EXPECT_EQ(before, books_of(profile)) << kind;
  }
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("syncin"))));
}

}  // namespace
