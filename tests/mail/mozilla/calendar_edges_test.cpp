// What the calendar's migration prints, and inputs at the edges.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "process/mail/mozilla/calendar_lines.h"
#include "process/mail/mozilla/personal.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

constexpr const char* data_file = "/tmp/p/Calendar/CalendarDataFile.ics";

struct CalendarEdges : testing::Test {
  CalendarEdges() { shell_quietly("mkdir -p /tmp/b/ImapMail /tmp/p"); }
  static void calendar(const std::string& text) { write_file("/tmp/b/ImapMail/Calendar/calendar.ics", text); }
  static void tasks(const std::string& text) { write_file("/tmp/b/ImapMail/Tasks/tasks.ics", text); }
  static std::string migrate() {
    testing::internal::CaptureStdout();
    EXPECT_EQ(0, mozillacalendar("/tmp/b", "/tmp/p"));
    return testing::internal::GetCapturedStdout();
  }
};

const std::string paths =
    "srcimappath::/tmp/b/ImapMailcalendarfolderpath::/tmp/p/Calendar"
    "srccalpath::/tmp/b/ImapMail/Calendar/calendar.ics"
    "srccalpathtemp::/tmp/b/ImapMail/Calendar/calendartemp.ics"
    "srctaskpath::/tmp/b/ImapMail/Tasks/tasks.ics"
    "srctaskpathtemp::/tmp/b/ImapMail/Calendar/taskstemp.ics"
    "calendarpath::/tmp/p/Calendar/CalendarDataFile.ics";

TEST_F(CalendarEdges, SaysWhereItWorks) { EXPECT_EQ(paths, migrate()); }

TEST_F(CalendarEdges, SaysWhatItReads) {
  calendar("BEGIN:VEVENT\r\nRRULE:FREQ=MONTHLY;BYDAY=MO,TU;BYSETPOS=2\r\n");
  EXPECT_EQ(paths +
                "Line::BEGIN:VEVENT\nLine::RRULE:FREQ=MONTHLY;BYDAY=MO,TU;BYSETPOS=2\n"
                "Recurrence::MONTHLYfound bysetposBysetpos::2found bydaynewbyday::2MO,TU"
                "Command::cp /tmp/b/ImapMail/Calendar/calendar.ics " +
                data_file,
            migrate());
  EXPECT_EQ("BEGIN:VEVENT\nX-MOZILLA-RECUR-DEFAULT-UNITS\n :months\nRRULE:FREQ=MONTHLY;BYDAY=2MO,TU\n",
            read_file(data_file));
}

TEST_F(CalendarEdges, SaysNothingOfTheLinesOfTasks) {
  tasks("BEGIN:VTODO\n");
  EXPECT_EQ(paths + "Command::rm " + data_file + ".temp", migrate());
}

TEST_F(CalendarEdges, AFolderWithoutItsFileCountsAsEmpty) {
  shell_quietly("mkdir /tmp/b/ImapMail/Calendar /tmp/b/ImapMail/Tasks");
  write_file(data_file, "old");
  migrate();
  EXPECT_EQ("", read_file(data_file));
}

TEST_F(CalendarEdges, ACalendarStaysWhenTheTasksFolderIsEmpty) {
  calendar("BEGIN:VEVENT\n");
  shell_quietly("mkdir /tmp/b/ImapMail/Tasks");
  migrate();
  EXPECT_EQ("BEGIN:VEVENT\n", read_file(data_file));
}

TEST_F(CalendarEdges, PathsWithBlanks) {
  const std::string archive = "/tmp/it's $(touch ran)/My Brindle";
  write_file(archive + "/ImapMail/Calendar/calendar.ics", "BEGIN:VEVENT\r\n");
  write_file(archive + "/ImapMail/Tasks/tasks.ics", "BEGIN:VTODO\r\n");
  shell_quietly("mkdir '/tmp/my profile'");
  EXPECT_EQ(0, mozillacalendar(archive.c_str(), "/tmp/my profile"));
  EXPECT_EQ("BEGIN:VTODO\nBEGIN:VEVENT\n", read_file("/tmp/my profile/Calendar/CalendarDataFile.ics"));
  EXPECT_FALSE(exists("ran"));
}

TEST_F(CalendarEdges, NulsPassThroughAndALineWithoutAnEndGetsOne) {
  const std::string text("SUMMARY:a\0b\nEND:VEVENT", 22);
  calendar(text);
  migrate();
  EXPECT_EQ(text + "\n", read_file(data_file));
}

// ---- Single lines ---------------------------------------------------------------------------------------

TEST(CalendarLinesEdges, ASetPositionBeforeTheDaysIsLeftAlone) {
  CalendarLines lines;
  EXPECT_EQ("RRULE:FREQ=WEEKLY;BYSETPOS=2;BYDAY=MO\n",
            lines.calendar("RRULE:FREQ=WEEKLY;BYSETPOS=2;BYDAY=MO\n"));
}

TEST(CalendarLinesEdges, ARuleOfOnePartHasItsFrequency) {
  CalendarLines lines;
  EXPECT_EQ("X-MOZILLA-RECUR-DEFAULT-UNITS\n :months\nRRULE:FREQ=MONTHLY\n",
            lines.calendar("RRULE:FREQ=MONTHLY\n"));
}

TEST(CalendarLinesEdges, ALineWithoutAnEndIsReadToItsEnd) {
  CalendarLines lines;
  EXPECT_EQ("TRIGGER\n :-PT", lines.calendar("TRIGGER:-PT"));
  EXPECT_EQ("END:VALARMX-MOZILLA-ALARM-DEFAULT-LENGTH\n :\n", lines.calendar("END:VALARM"));
  EXPECT_EQ("PRIORITY\n :", lines.task("PRIORITY:"));
  EXPECT_EQ("RRULE:FREQ=", lines.task("RRULE:FREQ="));
  EXPECT_EQ("RRULE:FREQ=;BYDAY=\n", lines.calendar("RRULE:FREQ=;BYDAY=;BYSETPOS="));
}

TEST(CalendarLinesEdges, AnyLineWithTheMarkOfADurationIsOne) {
  CalendarLines lines;
  EXPECT_EQ("SUMMARY\n :X-PT boat Monday\n", lines.calendar("SUMMARY:X-PT boat Monday\n"));
  EXPECT_EQ("END:VALARM\nX-MOZILLA-ALARM-DEFAULT-LENGTH\n : boat \n", lines.calendar("END:VALARM\n"));
}

TEST(CalendarLinesEdges, TheLengthIsNotCut) {
  CalendarLines lines;
  const std::string number(900, '1');
  lines.task("TRIGGER:-PT" + number + "H\n");
  EXPECT_THAT(lines.task("END:VALARM\n"), testing::EndsWith(" :" + number + "\n"));
}

}  // namespace
