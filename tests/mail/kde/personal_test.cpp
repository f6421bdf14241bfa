#include "process/mail/kde/personal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

constexpr const char* organizer = "/root/.kde/share/apps/korganizer/std.ics";
constexpr const char* notes = "/root/.kde/share/apps/knotes/notes.ics";
constexpr const char* kabc = "/root/.kde/share/apps/kabc/";

struct Personal : testing::Test {
  Personal() {
    shell_quietly("mkdir -p /usr/local/brindle /root/.kde/share/apps/kabc && cp " +
                  test_data("../data/scripts/") + "* /usr/local/brindle/");
    assign(OSName, "Xandros");
    assign(OSVersion, "Any");
  }
};

// ---- Calendar and tasks ---------------------------------------------------------------------------------

struct Calendar : Personal {
  static void calendar(const std::string& text) { write_file("/tmp/b/ImapMail/Calendar/calendar.ics", text); }
  static void tasks(const std::string& text) { write_file("/tmp/b/ImapMail/Tasks/tasks.ics", text); }
};

TEST_F(Calendar, IsRewrittenJoinedAndConverted) {
  shell_quietly("mkdir -p /tmp/b/ImapMail && cp -r " + test_data("expected/korganizer/in/") +
                "* /tmp/b/ImapMail/");
  write_file(organizer, "old");
  EXPECT_EQ(0, kmailcallendar("/tmp/b"));
  EXPECT_TRUE(matches_expected(organizer, "korganizer/std.ics"));
  EXPECT_THAT(commands_run(),
              ElementsAre("mkdir -p /root/.kde/share/apps/korganizer",
                          "cat /tmp/b/ImapMail/Calendar/calendar2.ics /tmp/b/ImapMail/Tasks/tasks2.ics > "
                          "/root/.kde/share/apps/korganizer/std2.ics",
                          "iconv -c -f GB2312 -t utf-8 /root/.kde/share/apps/korganizer/std2.ics -o "
                          "/root/.kde/share/apps/korganizer/std.ics",
                          "rm /root/.kde/share/apps/korganizer/std2.ics"));
}

TEST_F(Calendar, IsReadByOthers) {
  shell_quietly("mkdir -p /tmp/b/ImapMail && cp -r " + test_data("expected/korganizer/in/") +
                "* /tmp/b/ImapMail/");
  kmailcallendar("/tmp/b");
  write_file("/tmp/count.py",
             "import icalendar, sys\n"
             "found = icalendar.Calendar.from_ical(open(sys.argv[1]).read(), multiple=True)\n"
             "print(len(found), *[sum(len(c.walk(kind)) for c in found) for kind in ('VEVENT', 'VTODO')])\n");
  EXPECT_EQ("2 2 2\n", output_of("/usr/bin/python3 /tmp/count.py " + std::string(organizer) + " 2>&1"));
}

TEST_F(Calendar, TheLineAfterATimeIsNotTestedAndNotTraced) {
  calendar("DTSTART;TZID=X\nRRULE:UNTIL=20051231T000000\nDTEND;TZID=X\nDTSTART;TZID=Y\nDTEND;TZID=X\n");
  testing::internal::CaptureStdout();
  kmailcallendar("/tmp/b");
  const std::string said = testing::internal::GetCapturedStdout();
  EXPECT_EQ("DTSTART;TZID=X\nRRULE:UNTIL=20051231T000000Z\nDTEND;TZID=X\nDTSTART;TZID=Y\nDTEND;TZID=X\n",
            read_file(organizer));
  EXPECT_THAT(said, HasSubstr("Line2::DTSTART;TZID=X\nLine2::DTEND;TZID=X\nLine2::DTEND;TZID=X\n"));
  EXPECT_THAT(said, Not(HasSubstr("RRULE found")));
}

TEST_F(Calendar, WindowsLineEndsAreNotConverted) {
  calendar("DTSTART;TZID=X\r\n :20050510T120000\r\n");
  tasks("DUE;TZID=X:20050510\r\nCOMPLETED:2005\r\n");
  kmailcallendar("/tmp/b");
  EXPECT_EQ(
      "DTSTART;TZID=X\r\n :20050510T120000\rZ\n"
      "DUE;VALUE=DATE:20050510\r\nRECURRENCE-ID:20050510\rT000000Z\nCOMPLETED:2005\rZ\n",
      read_file(organizer));
}

TEST_F(Calendar, LongLinesComeInPieces) {
  const std::string start = "SUMMARY:" + std::string(1023 - 8, 'x');
  calendar(start + "RRULE;UNTIL=20051231T000000;Y\n");
  kmailcallendar("/tmp/b");
  EXPECT_EQ(start + "RRULE;UNTIL=20051231;Y\n", read_file(organizer));
}

TEST_F(Calendar, WithoutItTheTasksStayBehindToo) {
  tasks("BEGIN:VCALENDAR\n");
  EXPECT_EQ(0, kmailcallendar("/tmp/b"));
  EXPECT_FALSE(exists(organizer));
  EXPECT_THAT(commands_run(), ElementsAre("mkdir -p /root/.kde/share/apps/korganizer"));
}

TEST_F(Calendar, WithoutTasksStandsAlone) {
  calendar("BEGIN:VCALENDAR\nEND:VCALENDAR\n");
  shell_quietly("mkdir -p /tmp/b/ImapMail/Tasks");
  EXPECT_EQ(0, kmailcallendar("/tmp/b"));
  EXPECT_EQ("BEGIN:VCALENDAR\nEND:VCALENDAR\n", read_file(organizer));
}

TEST_F(Calendar, PathsAreTraced) {
  testing::internal::CaptureStdout();
  kmailcallendar("/tmp/b");
  EXPECT_EQ(
      "Migrating Calendarsbuffer=/root\nsrcimappath::/tmp/b/ImapMail"
      "srccalpath::/tmp/b/ImapMail/Calendar/calendar.icssrccalpath2::/tmp/b/ImapMail/Calendar/calendar2.ics"
      "srctaskpath::/tmp/b/ImapMail/Tasks/tasks.icssrctaskpath2::/tmp/b/ImapMail/Tasks/tasks2.ics"
      "calendarpath::/root/.kde/share/apps/korganizer/std.ics"
      "calendarpath2::/root/.kde/share/apps/korganizer/std2.ics",
      testing::internal::GetCapturedStdout());
}

TEST_F(Calendar, TheConversionIsTracedAfterTheLines) {
  calendar("RRULE:FREQ=DAILY\nRRULE:UNTIL=2005;\nX\n");
  tasks("PRIORITY:9\n");
  testing::internal::CaptureStdout();
  kmailcallendar("/tmp/b");
  EXPECT_THAT(testing::internal::GetCapturedStdout(),
              testing::EndsWith("Line2::RRULE:FREQ=DAILY\nRRULE foundLine2::RRULE:UNTIL=2005;\nRRULE found"
                                "Line2::X\nCommand::rm /root/.kde/share/apps/korganizer/std2.ics"));
}

TEST_F(Calendar, AnUntilAtTheLinesEndTakesTheNextLineIn) {
  calendar("RRULE:FREQ=DAILY;UNTIL=20051231T235959Z\nEND:VEVENT\n");
  kmailcallendar("/tmp/b");
  EXPECT_EQ("RRULE:FREQ=DAILY;UNTIL=20051231END:VEVENT\n", read_file(organizer));
}

TEST_F(Calendar, ALastTimeWithoutItsLineEndsTheFile) {
  calendar("DTSTART;TZID=X\n");
  kmailcallendar("/tmp/b");
  EXPECT_EQ("DTSTART;TZID=X\n", read_file(organizer));
}

TEST_F(Calendar, TheFirstRuleOfATaskLineWins) {
  calendar("");
  tasks(
      "X DUE;TZID=DTSTART;TZID:PRIORITY:9\nDTSTART;TZID=COMPLETED:1\nCOMPLETED:PRIORITY:9\nX PRIORITY:90\n"
      "PRIORITY:1\n");
  kmailcallendar("/tmp/b");
  EXPECT_EQ(
      "DUE;VALUE=DATE;VALUE=DATE:PRIORITY:9\nRECURRENCE-ID:PRIORITY:9T000000Z\nDTSTART;VALUE=DATE:1\n"
      "COMPLETED:PRIORITY:9Z\nPRIORITY:5\nPRIORITY:1\n",
      read_file(organizer));
}

TEST_F(Calendar, AFolderWithoutAFileMigratesTheTasks) {
  shell_quietly("mkdir -p /tmp/b/ImapMail/Calendar");
  tasks("BEGIN:VCALENDAR\n");
  EXPECT_EQ(0, kmailcallendar("/tmp/b"));
  EXPECT_EQ("BEGIN:VCALENDAR\n", read_file(organizer));
}

// ---- Notes ----------------------------------------------------------------------------------------------

struct Notes : Personal {
  static void note(const std::string& name, const std::string& text) {
    write_file("/tmp/b/Notes/" + name, text);
  }
  static std::string entry(const std::string& body, const std::string& title) {
    return "BEGIN:VCALENDAR\nPRODID:-//K Desktop Environment//NONSGML libkcal 3.2//EN\nVERSION:2.0\n"
           "BEGIN:VJOURNAL\nDESCRIPTION:" +
           body + "\nSUMMARY:" + title + "END:VJOURNAL\nEND:VCALENDAR\n";
  }
};

TEST_F(Notes, BecomeOneJournalEach) {
  note("a.txt", "Subject: Shopping\r\nmilk, eggs\r\n");
  write_file(notes, "old");
  EXPECT_EQ(0, kmailnotes("/tmp/b"));
  EXPECT_EQ(entry("milk\\, eggs\\n", "Shopping\n"), read_file(notes));
  EXPECT_THAT(commands_run(),
              ElementsAre("mkdir -p /root/.kde/share/apps/knotes", "dos2unix /tmp/b/Notes/a.txt",
                          "iconv -c -f GB2312 -t utf-8 /root/.kde/share/apps/knotes/notes2.ics -o "
                          "/root/.kde/share/apps/knotes/notes.ics",
                          "rm /root/.kde/share/apps/knotes/notes2.ics"));
}

TEST_F(Notes, AreTraced) {
  note("a.txt", "Subject: Shopping\nmilk\n");
  testing::internal::CaptureStdout();
  kmailnotes("/tmp/b");
  EXPECT_EQ("buffer=/root\nsrcpath::/tmp/b/NotesOpening source file.Line::Subject: Shopping\n",
            testing::internal::GetCapturedStdout());
}

TEST_F(Notes, AHostileFileNameStaysOneWord) {
  note("a b;touch ran;$(touch ran)", "T:x\ny\n");
  EXPECT_EQ(0, kmailnotes("/tmp/b"));
  EXPECT_EQ(entry("y\\n", "x\n"), read_file(notes));
  EXPECT_FALSE(exists("ran"));
}

TEST_F(Notes, EscapeBodyButNotTitle) {
  note("a.txt", "T:\t (x), y\\z\na(b)c\\d;e,f\n\nlast");
  kmailnotes("/tmp/b");
  EXPECT_EQ(entry("a\\(b\\)c\\\\d;e\\,f\\n\\nlast", "(x), y\\z\n"), read_file(notes));
}

TEST_F(Notes, ATitleWithoutALineEndRunsIntoTheNextLine) {
  note("a.txt", "T:x");
  kmailnotes("/tmp/b");
  EXPECT_THAT(read_file(notes), HasSubstr("SUMMARY:xEND:VJOURNAL\n"));
}

TEST_F(Notes, ALongBodyIsKeptWhole) {
  const std::string body(10000, 'x');
  note("a.txt", "T:x\n" + body + "\n");
  kmailnotes("/tmp/b");
  EXPECT_EQ(entry(body + "\\n", "x\n"), read_file(notes));
}

TEST_F(Notes, ALongTitleGoesOnInTheBody) {
  const std::string title(300, 't');
  note("a.txt", "T:" + title + "\nbody\n");
  kmailnotes("/tmp/b");
  EXPECT_EQ(entry(std::string(300 - 253, 't') + "\\nbody\\n", std::string(253, 't')), read_file(notes));
}

TEST_F(Notes, WhatIsNoNoteIsPassedOver) {
  note("folder/inner.txt", "T:inner\n");
  note("empty.txt", "");
  note("no colon.txt", "just text\nT: second line\n");
  note("note.txt", "T:a\nb\n");
  EXPECT_EQ(0, kmailnotes("/tmp/b"));
  EXPECT_EQ(entry("b\\n", "a\n"), read_file(notes));
}

TEST_F(Notes, InGb2312BecomeUtf8) {
  note("a.txt", "T: \xC5\xF3\xD3\xD1\n\xB9\xA4\xD7\xF7\xFF\n");
  kmailnotes("/tmp/b");
  EXPECT_EQ(entry("\u5de5\u4f5c\\n", "\u670b\u53cb\n"), read_file(notes));
}

TEST_F(Notes, AreReadByOthers) {
  note("a.txt", "Subject: Shopping\r\nmilk, eggs\r\n(and) bread\r\n");
  kmailnotes("/tmp/b");
  EXPECT_EQ(
      "Shopping|milk, eggs\n(and) bread\n\n",
      output_of(
          "/usr/bin/python3 -c '\nimport vobject\n"
          "j = vobject.readOne(open(\"" +
          std::string(notes) +
          "\")).vjournal\n"
          "print(j.summary.value, j.description.value.replace(\"\\\\(\", \"(\").replace(\"\\\\)\", \")\"), "
          "sep=\"|\")' 2>&1"));
}

TEST_F(Notes, MissingAreNoFailure) {
  EXPECT_EQ(0, kmailnotes("/tmp/missing"));
  EXPECT_FALSE(exists(notes));
  EXPECT_THAT(commands_run(), ElementsAre("mkdir -p /root/.kde/share/apps/knotes"));
}

TEST_F(Notes, AFileInPlaceOfTheFolderIsReported) {
  write_file("/tmp/b/Notes", "");
  write_file(notes, "old");
  write_file("/root/.kde/share/apps/knotes/notes2.ics", "left over");
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, kmailnotes("/tmp/b"));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("In kmailnotes() opendir: : Not a directory\n"));
  EXPECT_EQ("old", read_file(notes));
}

// ---- Contacts -------------------------------------------------------------------------------------------

constexpr const char* two_cards =
    "BEGIN:VCARD\nVERSION:3.0\nFN:Ann Lee\nEMAIL:ann@home.example\nEND:VCARD\n"
    "BEGIN:VCARD\nVERSION:3.0\nFN:\xC5\xF3\xD3\xD1\nEND:VCARD\n";

struct Contacts : Personal {
  Contacts() { write_file("/tmp/b/ImapMail/Contacts/addressbook.db", two_cards); }
};

TEST_F(Contacts, AreAppendedToThoseThatAreThere) {
  write_file(std::string(kabc) + "std.vcf", "BEGIN:VCARD\nFN:Old\nEND:VCARD\n");
  EXPECT_EQ(0, kaddressbook("/tmp/b"));
  EXPECT_EQ("FN:Old\nFN:Ann Lee\nFN:\u670b\u53cb\n",
            output_of(std::string("grep ^FN ") + kabc + "std.vcf | tr -d '\\r'"));
  EXPECT_FALSE(exists(std::string(kabc) + "orig.vcf"));
  const std::string from = "/tmp/b/ImapMail/Contacts/addressbook";
  const std::string to = "/root/.kde/share/apps/kabc";
  EXPECT_THAT(commands_run(),
              ElementsAre("perl /usr/local/brindle/vcard2vcf.pl <" + from + ".db >" + from + ".vcf",
                          "dos2unix " + from + ".vcf",
                          "iconv -c -f GB2312 -t utf-8 " + from + ".vcf -o " + from + "2.vcf",
                          "cp " + to + "/std.vcf " + to + "/orig.vcf",
                          "cat " + to + "/orig.vcf " + from + "2.vcf > " + to + "/std.vcf",
                          "rm " + to + "/orig.vcf"));
}

TEST_F(Contacts, AreTracedByTheHomeAlone) {
  testing::internal::CaptureStdout();
  kaddressbook("/tmp/b");
  EXPECT_EQ("buffer=/root\n", testing::internal::GetCapturedStdout());
}

TEST_F(Contacts, OfAProfileGoIntoItsHome) {
  isDefaultUser = 0;
  assign(cur_user, "ann");
  shell_quietly("mkdir -p /home/ann/.kde/share/apps/kabc");
  EXPECT_EQ(0, kaddressbook("/tmp/b"));
  EXPECT_TRUE(exists("/home/ann/.kde/share/apps/kabc/std.vcf"));
  EXPECT_FALSE(exists(std::string(kabc) + "std.vcf"));
}

TEST_F(Contacts, WithoutAnAddressBookOfTheUsersOwnStandAlone) {
  EXPECT_EQ(0, kaddressbook("/tmp/b"));
  EXPECT_EQ("FN:Ann Lee\nFN:\u670b\u53cb\n",
            output_of(std::string("grep ^FN ") + kabc + "std.vcf | tr -d '\\r'"));
}

TEST_F(Contacts, OnPlusGoToAFileWithAChineseName) {
  assign(OSVersion, "4.1 Plus");
  const std::string friends = std::string(kabc) + "std.vcf_\xC5\xF3\xD3\xD1";
  write_file(friends, "BEGIN:VCARD\nFN:Old\nEND:VCARD\n");
  EXPECT_EQ(0, kaddressbook("/tmp/b"));
  EXPECT_THAT(read_file(friends), testing::AllOf(HasSubstr("FN:Old"), HasSubstr("FN:Ann Lee")));
  EXPECT_FALSE(exists(std::string(kabc) + "std.vcf"));
  EXPECT_THAT(output_of("grep -a ^FN '" + friends + "'"), HasSubstr("FN:\u670b\u53cb"));
  const std::string to = "/root/.kde/share/apps/kabc";
  const auto commands = commands_run();
  EXPECT_THAT(std::vector<std::string>(commands.end() - 3, commands.end()),
              ElementsAre("cp " + friends + " " + to + "/orig.vcf",
                          "cat " + to + "/orig.vcf /tmp/b/ImapMail/Contacts/addressbook2.vcf > " + friends,
                          "rm " + to + "/orig.vcf"));
}

TEST_F(Contacts, GoByTheVersionAloneAndByAllOfIt) {
  assign(OSName, "RedFlag");
  for (const char* version : {"4.1", "4.1 Plus 2", "Any"}) {
    assign(OSVersion, version);
    shell_quietly("rm -f " + std::string(kabc) + "*");
    kaddressbook("/tmp/b");
    EXPECT_EQ("std.vcf\n", output_of(std::string("ls ") + kabc)) << version;
  }
}

TEST_F(Contacts, AreReadByOthers) {
  kaddressbook("/tmp/b");
  EXPECT_EQ("Ann Lee|\u670b\u53cb\n", output_of("/usr/bin/python3 -c '\nimport vobject\n"
                                                "print(*[c.fn.value for c in vobject.readComponents(open(\"" +
                                                std::string(kabc) + "std.vcf\"))], sep=\"|\")' 2>&1"));
}

TEST_F(Contacts, MissingLeaveTheAddressBookAsItWas) {
  write_file(std::string(kabc) + "std.vcf", "BEGIN:VCARD\nFN:Old\nEND:VCARD\n");
  EXPECT_EQ(0, kaddressbook("/tmp/missing"));
  EXPECT_EQ("BEGIN:VCARD\nFN:Old\nEND:VCARD\n", read_file(std::string(kabc) + "std.vcf"));
}

}  // namespace
