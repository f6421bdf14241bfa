#include "process/mail/kde/personal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>

#include "process/mail/kde/encoding.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

/// While it lives, no file can be made longer, by the commands neither.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    std::signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit = {bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &before_); }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit before_{};
};

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

TEST_F(Calendar, WindowsLineEndsAreConverted) {
  calendar("DTSTART;TZID=X\r\n :20050510T120000\r\nSUMMARY:a\rb\r\n");
  tasks("DUE;TZID=X:20050510\r\nCOMPLETED:2005\r\n\x1a");
  EXPECT_EQ(0, kmailcallendar("/tmp/b"));
  EXPECT_EQ(
      "DTSTART;TZID=X\n :20050510T120000Z\nSUMMARY:a\rb\n"
      "DUE;VALUE=DATE:20050510\nRECURRENCE-ID:20050510T000000Z\nCOMPLETED:2005Z\n",
      read_file(organizer));
}

TEST_F(Calendar, WithoutALastLineEndIsNotJoinedToTheTasks) {
  calendar("BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nSUMMARY:Dentist\r\nEND:VEVENT\r\nEND:VCALENDAR");
  tasks("BEGIN:VCALENDAR\nBEGIN:VTODO\nSUMMARY:Milk\nEND:VTODO\nEND:VCALENDAR");
  EXPECT_EQ(0, kmailcallendar("/tmp/b"));
  write_file("/tmp/read.py",
             "import icalendar, sys\n"
             "found = icalendar.Calendar.from_ical(open(sys.argv[1]).read(), multiple=True)\n"
             "print(*[part['SUMMARY'] for c in found for part in c.subcomponents])\n");
  EXPECT_EQ("Dentist Milk\n", output_of("/usr/bin/python3 /tmp/read.py " + std::string(organizer) + " 2>&1"));
}

// Folds of both kinds, one of them in the middle of a word, with the line ends of Windows.
TEST_F(Calendar, OfFoldedLinesIsReadByOthers) {
  calendar(
      "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nSUMMARY:A long\r\n  talk with the den\r\n\ttist\r\nEND:VEVENT\r\n"
      "END:VCALENDAR");
  tasks("BEGIN:VCALENDAR\r\nBEGIN:VTODO\r\nSUMMARY:Mi\r\n lk\r\nEND:VTODO\r\nEND:VCALENDAR");
  EXPECT_EQ(0, kmailcallendar("/tmp/b"));
  write_file("/tmp/read.py",
             "import icalendar, sys\n"
             "found = icalendar.Calendar.from_ical(open(sys.argv[1], newline='').read(), multiple=True)\n"
             "print(*[repr(str(part['SUMMARY'])) for c in found for part in c.subcomponents])\n");
  EXPECT_EQ("'A long talk with the dentist' 'Milk'\n",
            output_of("/usr/bin/python3 /tmp/read.py " + std::string(organizer) + " 2>&1"));
}

TEST_F(Calendar, WithoutALastLineEndKeepsTheRulesOfItsLastLine) {
  calendar("RRULE:UNTIL=20051231T000000;A");
  tasks("COMPLETED:2005");
  kmailcallendar("/tmp/b");
  EXPECT_EQ("RRULE:UNTIL=20051231;A\nCOMPLETED:2005Z\n", read_file(organizer));
}

// Twenty blocks of the small disks below.
std::string old_calendar() { return "BEGIN:VCALENDAR\n" + std::string(80'000, 'o') + "\nEND:VCALENDAR\n"; }
std::string new_calendar() { return "BEGIN:VCALENDAR\n" + std::string(70'000, 'n') + "\nEND:VCALENDAR\n"; }

TEST_F(Calendar, OnAFullDiskTheOldOneStays) {
  calendar(new_calendar());
  const std::string folder = "/root/.kde/share/apps/korganizer";
  int refused = 0;
  for (const int left : {0, 1, 10, 17, 18, 19, 20, 30, 36, 40, 43}) {
    write_file(organizer, old_calendar());
    const SmallDisk disk(folder);
    disk.fill_but(left);
    const int result = kmailcallendar("/tmp/b");
    if (result != 0) ++refused;
    EXPECT_TRUE(same_bytes(result == 0 ? new_calendar() : old_calendar(), read_file(organizer))) << left;
    EXPECT_EQ("filling\nstd.ics\n", output_of("ls -A " + folder)) << left;
  }
  EXPECT_GE(refused, 8);
}

TEST_F(Calendar, NoFileIsReplacedByPartOfAnother) {
  write_file(organizer, "old");
  calendar(new_calendar());
  tasks(new_calendar());
  {
    const FileSizeLimit limit(100'000);  // for the two together
    EXPECT_EQ(-1, kmailcallendar("/tmp/b"));
  }
  EXPECT_EQ("old", read_file(organizer));
  {
    const FileSizeLimit limit(60'000);
    EXPECT_EQ(-1, kmailcallendar("/tmp/b"));
  }
  EXPECT_EQ("old", read_file(organizer));
  EXPECT_EQ("std.ics\n", output_of("ls -A /root/.kde/share/apps/korganizer"));
}

// A letter of another encoding, which is dropped, does not hide what is cut off behind it.
TEST_F(Calendar, AnOldOneKeepsItsModeAndOwnerWhenItIsPutBack) {
  calendar("SUMMARY:M\xFCller\n" + new_calendar());
  write_file(organizer, "old");
  shell_quietly("chown 1234:2345 " + std::string(organizer) + " && chmod 640 " + organizer);
  write_file("/usr/local/bin/iconv",
             "#!/bin/sh\n/usr/bin/iconv -c -f GB2312 -t utf-8 \"$6\" | head -c 1000 > \"$8\"\n");
  shell_quietly("chmod 755 /usr/local/bin/iconv");
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, kmailcallendar("/tmp/b"));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr(std::string(organizer) + " could not be written whole; the old one is back\n"));
  EXPECT_EQ("old", read_file(organizer));
  EXPECT_EQ("1234:2345 640\n", output_of("stat -c '%u:%g %a' " + std::string(organizer)));
  EXPECT_EQ("std.ics\n", output_of("ls -A /root/.kde/share/apps/korganizer"));
}

TEST_F(Calendar, ALinkStaysOne) {
  calendar("A\n");
  write_file("/root/mine.ics", "old");
  shell_quietly("mkdir -p /root/.kde/share/apps/korganizer && ln -s /root/mine.ics " +
                std::string(organizer));
  EXPECT_EQ(0, kmailcallendar("/tmp/b"));
  EXPECT_EQ("A\n", read_file("/root/mine.ics"));
  write_file("/usr/local/bin/iconv", "#!/bin/sh\n: > \"$8\"\n");
  shell_quietly("chmod 755 /usr/local/bin/iconv");
  EXPECT_EQ(-1, kmailcallendar("/tmp/b"));
  EXPECT_EQ("A\n", read_file("/root/mine.ics"));
  EXPECT_TRUE(std::filesystem::is_symlink(organizer));
}

TEST_F(Calendar, OnAFullWorkFolderTheOldOneStays) {
  calendar(new_calendar());
  tasks(new_calendar());
  write_file(organizer, "old");
  for (const int left : {0, 5, 20, 25}) {
    const SmallDisk disk("/tmp/b");
    disk.fill_but(left);
    testing::internal::CaptureStderr();
    EXPECT_EQ(-1, kmailcallendar("/tmp/b")) << left;
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("The calendar could not be rewritten: No space left on device\n"));
    EXPECT_EQ("old", read_file(organizer)) << left;
  }
}

// Whose characters lie across whatever is read at once.
TEST_F(Calendar, LongerThanABlockIsLookedAtToItsEnd) {
  std::string text = "a";
  std::string whole = "a";
  for (int i = 0; i < 100'000; ++i) {
    text += "\xD6\xD0";
    whole += "\xE4\xB8\xAD";
  }
  write_file("/tmp/from", text);
  EXPECT_TRUE(convert_to_utf8("/tmp/from", "/tmp/to"));
  EXPECT_TRUE(read_file("/tmp/to") == whole);
  shell_quietly("mkdir -p /usr/local/bin && touch /usr/local/bin/iconv && chmod 755 /usr/local/bin/iconv");
  for (const char* size : {"0", "1", "65536", "299999", "300000"}) {
    write_file("/usr/local/bin/iconv", "#!/bin/sh\n/usr/bin/iconv -c -f GB2312 -t utf-8 \"$6\" | head -c " +
                                           std::string(size) + " > \"$8\"\n");
    EXPECT_FALSE(convert_to_utf8("/tmp/from", "/tmp/to")) << size;
  }
  write_file("/usr/local/bin/iconv", "#!/bin/sh\necho another > \"$8\"\n");
  EXPECT_TRUE(convert_to_utf8("/tmp/from", "/tmp/to"));
}

TEST_F(Calendar, WithBytesOfAnotherEncodingIsNotTakenForCutOff) {
  std::string text = "SUMMARY:";
  for (int i = 0; i < 20'000; ++i) text += static_cast<char>((i * 7919 + i / 256) % 251 + 5);
  text += "\xA1";
  for (std::size_t size = text.size() - 300; size <= text.size(); ++size) {
    write_file("/tmp/from", text.substr(0, size));
    EXPECT_TRUE(convert_to_utf8("/tmp/from", "/tmp/to")) << size;
    if (size % 10 == 0) continue;
    const std::string whole = read_file("/tmp/to");
    EXPECT_NE("", whole);
  }
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

TEST_F(Calendar, TheFirstRuleOfALineWins) {
  calendar("DTSTART;TZID=X;RRULE:UNTIL=20051231T000000;A\n:20050510T120000\n");
  kmailcallendar("/tmp/b");
  EXPECT_EQ("DTSTART;TZID=X;RRULE:UNTIL=20051231T000000;A\n:20050510T120000Z\n", read_file(organizer));
}

TEST_F(Calendar, ATimeWithoutAZoneHasNoLineBehindIt) {
  calendar("DTSTART;TYPE=X:2005\nDTEND;TYPE=X:2005\nSUMMARY:a\n");
  kmailcallendar("/tmp/b");
  EXPECT_EQ("DTSTART;TYPE=X:2005\nDTEND;TYPE=X:2005\nSUMMARY:a\n", read_file(organizer));
}

TEST_F(Calendar, ARuleWithoutAnUntilStays) {
  calendar("RRULE:FREQ=DAILY;COUNT=5;INTERVAL=2\n");
  kmailcallendar("/tmp/b");
  EXPECT_EQ("RRULE:FREQ=DAILY;COUNT=5;INTERVAL=2\n", read_file(organizer));
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

TEST_F(Calendar, OtherLinesOfTasksStay) {
  calendar("");
  const std::string others =
      "DUE;VALUE=DATE:20050510\nDTSTART;VALUE=DATE:20050509\nSTATUS:COMPLETED\nPERCENT-COMPLETE:9\n"
      "PRIORITY:8\nDUE:20050510T120000\nDUE;TYPE=X:20050510\nDTSTART;TYPE=X:20050509\n";
  tasks(others);
  kmailcallendar("/tmp/b");
  EXPECT_EQ(others, read_file(organizer));
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
  EXPECT_EQ(entry("a\\(b\\)c\\\\d;e\\,f\\n\\nlast\\n", "(x), y\\z\n"), read_file(notes));
}

TEST_F(Notes, OneWithoutATitleCostsNoOther) {
  const std::vector<std::string> names = {"a", "b", "c", "d"};
  for (const std::string& untitled : names) {
    for (const std::string& name : names) note(name, "T:of " + name + "\nbody\n");
    note(untitled, "no title\nbody\n");
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, kmailnotes("/tmp/b"));
    testing::internal::GetCapturedStderr();
    for (const std::string& name : names)
      EXPECT_EQ(name != untitled, read_file(notes).find("SUMMARY:of " + name + "\n") != std::string::npos)
          << name;
  }
}

TEST_F(Notes, ComeInTheOrderOfTheirFolder) {
  for (const std::string name : {"d", "a", "c", "b"}) note(name, "T:" + name + "\n");
  const std::string names = output_of("ls -U /tmp/b/Notes");  // converting moves them about
  EXPECT_EQ(0, kmailnotes("/tmp/b"));
  EXPECT_EQ(names, output_of(std::string("sed -n s/^SUMMARY://p ") + notes));
}

TEST_F(Notes, HaveATitleBehindTheFirstColon) {
  note("a.txt", "Subject: Re: 12:30\nlunch\n");
  kmailnotes("/tmp/b");
  EXPECT_EQ(entry("lunch\\n", "Re: 12:30\n"), read_file(notes));
}

TEST_F(Notes, OfOneLineWithoutItsEndHaveATitleOfTheirOwn) {
  note("a.txt", "T:x");
  EXPECT_EQ(0, kmailnotes("/tmp/b"));
  EXPECT_EQ(entry("", "x\n"), read_file(notes));
}

TEST_F(Notes, ThatDos2unixTakesForBinaryLoseTheirCarriageReturnsToo) {
  note("a.txt", "T:x\r\nmilk\r\n\x01\x1a");
  kmailnotes("/tmp/b");
  EXPECT_EQ(entry("milk\\n\x01\\n", "x\n"), read_file(notes));
}

TEST_F(Notes, OfSeveralFormsAreReadByOthers) {
  note("a.txt", "Subject: Shopping\r\nmilk, eggs; C:\\temp\r\n\r\na last line without its end");
  note("b.txt", "Subject: One line");
  note("c.txt", "Subject: Long\r\n" + std::string(3000, 'x') + "\r\n");
  EXPECT_EQ(0, kmailnotes("/tmp/b"));
  write_file("/tmp/read.py",
             "import icalendar, sys\n"
             "found = icalendar.Calendar.from_ical(open(sys.argv[1], newline='').read(), multiple=True)\n"
             "for text in sorted(repr([str(j['SUMMARY']), str(j['DESCRIPTION'])]) for c in found for j in "
             "c.walk('VJOURNAL')):\n"
             "    print(text)\n");
  EXPECT_EQ("['Long', '" + std::string(3000, 'x') +
                "\\n']\n['One line', '']\n"
                "['Shopping', 'milk, eggs; C:\\\\temp\\n\\na last line without its end\\n']\n",
            output_of("/usr/bin/python3 /tmp/read.py " + std::string(notes) + " 2>&1"));
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
  EXPECT_EQ(entry(std::string(300 - 252, 't') + "\\nbody\\n", std::string(252, 't') + "\n"),
            read_file(notes));
}

TEST_F(Notes, ATitleThatJustFitsStaysWhole) {
  for (const char* end : {"", "\n", "\r\n"}) {
    note("a.txt", "T:" + std::string(252, 't') + end);
    kmailnotes("/tmp/b");
    EXPECT_EQ(entry("", std::string(252, 't') + "\n"), read_file(notes));
  }
  note("a.txt", "T:" + std::string(253, 't') + "\n");
  kmailnotes("/tmp/b");
  EXPECT_EQ(entry("t\\n", std::string(252, 't') + "\n"), read_file(notes));
}

TEST_F(Notes, ALongTitleIsCutBetweenTwoCharacters) {
  std::string title, in_utf8;
  for (int i = 0; i < 150; ++i) title += "\xC5\xF3";
  for (int i = 0; i < 150; ++i) in_utf8 += "\u670b";
  for (const std::string label : {"T:", "TT:"}) {
    note("a.txt", label + title + "\n");
    kmailnotes("/tmp/b");
    const std::size_t in_title = (254 - label.size()) / 2 * 3;
    EXPECT_EQ(entry(in_utf8.substr(in_title) + "\\n", in_utf8.substr(0, in_title) + "\n"), read_file(notes));
  }
}

TEST_F(Notes, LongTitlesAndSingleLinesAreReadByOthers) {
  note("a.txt", "T:" + std::string(300, 't') + "\r\nbody");
  note("b.txt", "T:x");
  EXPECT_EQ(0, kmailnotes("/tmp/b"));
  EXPECT_EQ("1 x 0\n252 " + std::string(252, 't') + " 54\n",
            output_of("/usr/bin/python3 -c '\nimport vobject\n"
                      "notes = [c.vjournal for c in vobject.readComponents(open(\"" +
                      std::string(notes) +
                      "\"))]\n"
                      "for n in sorted(notes, key=lambda n: len(n.summary.value)):\n"
                      "  print(len(n.summary.value), n.summary.value, len(n.description.value))' 2>&1"));
}

TEST_F(Notes, OnAFullDiskTheOldOnesStay) {
  const std::string old = entry(std::string(60'000, 'o'), "old\n");
  const std::string folder = "/root/.kde/share/apps/knotes";
  note("a.txt", "T:x\n" + std::string(60'000, 'n') + "\n");
  const std::string new_ones = entry(std::string(60'000, 'n') + "\\n", "x\n");
  int refused = 0;
  for (const int left : {0, 1, 10, 15, 16, 20, 30, 31, 45}) {
    write_file(notes, old);
    const SmallDisk disk(folder);
    disk.fill_but(left);
    const int result = kmailnotes("/tmp/b");
    if (result != 0) ++refused;
    EXPECT_TRUE(same_bytes(result == 0 ? new_ones : old, read_file(notes))) << left;
    EXPECT_EQ("filling\nnotes.ics\n", output_of("ls -A " + folder)) << left;
  }
  EXPECT_GE(refused, 6);
}

TEST_F(Notes, TheOldOnesAreNotReplacedByPartOfTheNew) {
  note("a.txt", "T:x\n" + std::string(60'000, 'n') + "\n");
  write_file(notes, "old");
  const FileSizeLimit limit(60'100);  // the entry is longer
  EXPECT_EQ(-1, kmailnotes("/tmp/b"));
  EXPECT_EQ("old", read_file(notes));
}

TEST_F(Notes, TheOldOnesAreNotReplacedByAFolder) {
  note("a.txt", "T:x\n");
  write_file(notes, "old");
  write_file("/root/.kde/share/apps/knotes/notes2.ics/inside", "mine");
  EXPECT_EQ(-1, kmailnotes("/tmp/b"));
  EXPECT_EQ("old", read_file(notes));
  EXPECT_EQ("mine", read_file("/root/.kde/share/apps/knotes/notes2.ics/inside"));
}

TEST_F(Notes, WithoutRoomToMendThemTheOldOnesStay) {
  note("a.txt", "T:" + std::string(300, 't'));
  write_file(notes, "old");
  const SmallDisk disk("/tmp/b");
  disk.fill_but(0);
  EXPECT_EQ(-1, kmailnotes("/tmp/b"));
  EXPECT_EQ("old", read_file(notes));
}

TEST_F(Notes, WhatIsNoNoteIsPassedOver) {
  note("folder/inner.txt", "T:inner\n");
  note("empty.txt", "");
  note("no colon.txt", "just text\nT: second line\n");
  note("note.txt", "T:a\nb\n");
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, kmailnotes("/tmp/b"));
  EXPECT_THAT(testing::internal::GetCapturedStdout(), Not(HasSubstr("Line::just text")));
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_EQ(entry("b\\n", "a\n"), read_file(notes));
  EXPECT_THAT(said, HasSubstr("The note /tmp/b/Notes/no colon.txt has no title and is left out\n"));
  for (const char* other : {"note.txt has", "empty.txt has", "folder has"})
    EXPECT_THAT(said, Not(HasSubstr(other)));
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

std::string many_cards(const std::string& name, int count) {
  std::string cards;
  for (int i = 0; i < count; ++i)
    cards += "BEGIN:VCARD\nVERSION:3.0\nFN:" + name + " " + std::to_string(i) + "\nEND:VCARD\n";
  return cards;
}

std::string people_read_by_others(const std::string& file) {
  return output_of(
      "/usr/bin/python3 -c '\nimport vobject\n"
      "print(len([c.fn.value for c in vobject.readComponents(open(\"" +
      file + "\"))]))' 2>&1");
}

TEST_F(Contacts, OnAFullDiskThoseThatAreThereStay) {
  const std::string old = many_cards("Old", 900);
  const std::string all = old + many_cards("New", 900);
  write_file("/tmp/b/ImapMail/Contacts/addressbook.db", many_cards("New", 900));
  for (const char* version : {"4.1", "4.1 Plus"}) {
    assign(OSVersion, version);
    const std::string name = std::string("std.vcf") + (OSVersion[3] == 0 ? "" : "_\xC5\xF3\xD3\xD1");
    const std::string book = kabc + name;
    int refused = 0;
    for (const int left : {0, 1, 5, 11, 12, 13, 18, 20, 24, 26, 30, 36, 40}) {
      shell_quietly("rm -f " + std::string(kabc) + "*");
      write_file(book, old);
      const SmallDisk disk("/root/.kde/share/apps/kabc");
      disk.fill_but(left);
      const int result = kaddressbook("/tmp/b");
      if (result != 0) ++refused;
      EXPECT_TRUE(same_bytes(result == 0 ? all : old, read_file(book))) << left;
      EXPECT_EQ("filling\n" + name + "\n", output_of(std::string("ls -A ") + kabc)) << left;
    }
    EXPECT_GE(refused, 8) << version;
    EXPECT_LE(refused, 12) << version;
  }
}

TEST_F(Contacts, ABookWhoseCopyIsCutOffIsNotTouched) {
  write_file(std::string(kabc) + "std.vcf", "BEGIN:VCARD\nFN:Old\nEND:VCARD\n");
  write_file("/usr/local/bin/cp", "#!/bin/sh\nhead -c 20 \"$1\" > \"$2\"\n");
  shell_quietly("chmod 755 /usr/local/bin/cp; ln " + std::string(kabc) + "std.vcf /root/second");
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, kaddressbook("/tmp/b"));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr(std::string(kabc) + "std.vcf could not be copied; no contacts are added\n"));
  EXPECT_THAT(commands_run(), Not(testing::Contains(HasSubstr("cat "))));
  EXPECT_EQ("BEGIN:VCARD\nFN:Old\nEND:VCARD\n", read_file(std::string(kabc) + "std.vcf"));
  EXPECT_EQ(0, shell_quietly("test /root/second -ef " + std::string(kabc) + "std.vcf"));
}

TEST_F(Contacts, InAFullWorkFolderAreNotAddedInPart) {
  write_file("/tmp/b/ImapMail/Contacts/addressbook.db", many_cards("New", 900));
  write_file(std::string(kabc) + "std.vcf", two_cards);
  for (const int left : {5, 15}) {
    const SmallDisk disk("/tmp/b");
    disk.fill_but(left);
    EXPECT_EQ(-1, kaddressbook("/tmp/b")) << left;
    EXPECT_EQ(two_cards, read_file(std::string(kabc) + "std.vcf")) << left;
  }
}

TEST_F(Contacts, ThatAreCutOffAreNotAdded) {
  write_file(std::string(kabc) + "std.vcf", two_cards);
  write_file("/usr/local/bin/perl",
             "#!/bin/sh\nprintf 'BEGIN:VCARD\\nFN:x\\nEND:VCARD\\nBEGIN:VCARD\\nFN:y\\n'\n");
  shell_quietly("chmod 755 /usr/local/bin/perl");
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, kaddressbook("/tmp/b"));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("The contacts could not be converted whole; none are added\n"));
  EXPECT_EQ(two_cards, read_file(std::string(kabc) + "std.vcf"));
}

TEST_F(Contacts, ThatWereNotConvertedAtAllAreAFailure) {
  write_file(std::string(kabc) + "std.vcf", two_cards);
  answer_command("perl ", 0);
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, kaddressbook("/tmp/b"));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("none are added\n"));
  EXPECT_EQ(two_cards, read_file(std::string(kabc) + "std.vcf"));
}

TEST_F(Contacts, ABookThatALinkNamesOnAFullDiskStays) {
  const std::string old = many_cards("Old", 900);
  write_file("/root/disk/mine.vcf", old);
  std::filesystem::create_symlink("/root/disk/mine.vcf", std::string(kabc) + "std.vcf");
  const SmallDisk disk("/root/disk");
  disk.fill_but(0);
  EXPECT_EQ(-1, kaddressbook("/tmp/b"));
  EXPECT_TRUE(same_bytes(old, read_file("/root/disk/mine.vcf")));
  EXPECT_TRUE(std::filesystem::is_symlink(std::string(kabc) + "std.vcf"));
  EXPECT_THAT(commands_run(), Not(testing::Contains(HasSubstr("cat "))));
}

TEST_F(Contacts, AreNotJoinedToALastLineWithoutAnEnd) {
  write_file(std::string(kabc) + "std.vcf", "BEGIN:VCARD\nVERSION:3.0\nFN:Old\nEND:VCARD");
  EXPECT_EQ(0, kaddressbook("/tmp/b"));
  EXPECT_THAT(read_file(std::string(kabc) + "std.vcf"), HasSubstr("FN:Old\nEND:VCARD\nBEGIN:VCARD\n"));
  EXPECT_EQ("3\n", people_read_by_others(std::string(kabc) + "std.vcf"));
}

TEST_F(Contacts, AFolderThatIsMissingIsMadeForItsOwner) {
  isDefaultUser = 0;
  assign(cur_user, "ann");
  assign(OSName, "RedFlag");
  assign(OSVersion, "4.1");
  shell_quietly("mkdir -p /home/ann && chown 1234:2345 /home/ann");
  EXPECT_EQ(0, kaddressbook("/tmp/b"));
  EXPECT_EQ("2\n", people_read_by_others("/home/ann/.kde/share/apps/kabc/std.vcf"));
  EXPECT_EQ("1234:2345\n", output_of("stat -c %u:%g /home/ann/.kde/share/apps/kabc"));
}

TEST_F(Contacts, APersonsOwnFileInTheCommandsWayIsThereAgain) {
  write_file(std::string(kabc) + "orig.vcf", "mine");
  EXPECT_EQ(0, kaddressbook("/tmp/b"));
  EXPECT_EQ("mine", read_file(std::string(kabc) + "orig.vcf"));
  EXPECT_EQ("2\n", people_read_by_others(std::string(kabc) + "std.vcf"));
}

TEST_F(Contacts, MissingLeaveTheAddressBookAsItWas) {
  write_file(std::string(kabc) + "std.vcf", "BEGIN:VCARD\nFN:Old\nEND:VCARD\n");
  EXPECT_EQ(0, kaddressbook("/tmp/missing"));
  EXPECT_EQ("BEGIN:VCARD\nFN:Old\nEND:VCARD\n", read_file(std::string(kabc) + "std.vcf"));
}

}  // namespace
