#include "process/mail/mozilla/calendar_lines.h"

#include <gtest/gtest.h>

namespace {

// ---- Alarms ---------------------------------------------------------------------------------------------

TEST(CalendarLines, AlarmsInHoursGetTheirUnit) {
  CalendarLines lines;
  EXPECT_EQ("TRIGGER\n ;VALUE=DURATION\n :-PT2H\n", lines.calendar("TRIGGER;VALUE=DURATION:-PT2H\n"));
  EXPECT_EQ(
      "END:VALARM\nX-MOZILLA-ALARM-DEFAULT-UNITS\n :hours\n"
      "X-MOZILLA-ALARM-DEFAULT-LENGTH\n :2\n",
      lines.calendar("END:VALARM\n"));
}

TEST(CalendarLines, AlarmsInMinutesGetNoUnit) {
  CalendarLines lines;
  EXPECT_EQ("TRIGGER\n ;VALUE=DURATION\n :-PT15M\n", lines.calendar("TRIGGER;VALUE=DURATION:-PT15M\n"));
  EXPECT_EQ("END:VALARM\nX-MOZILLA-ALARM-DEFAULT-LENGTH\n :15\n", lines.calendar("END:VALARM\n"));
}

TEST(CalendarLines, AlarmsInDays) {
  CalendarLines lines;
  lines.task("TRIGGER:-PT3D\n");
  EXPECT_EQ("END:VALARM\nX-MOZILLA-ALARM-DEFAULT-UNITS\n :days\nX-MOZILLA-ALARM-DEFAULT-LENGTH\n :3\n",
            lines.task("END:VALARM\n"));
}

TEST(CalendarLines, AlarmUnitsAreKeptFromLineToLineAndPassToPass) {
  CalendarLines lines;
  lines.calendar("TRIGGER:-PT2H\n");
  lines.task("TRIGGER:-PT40S\n");  // no known unit: the rest of the line is the number
  EXPECT_EQ("END:VALARM\nX-MOZILLA-ALARM-DEFAULT-UNITS\n :hours\nX-MOZILLA-ALARM-DEFAULT-LENGTH\n :40S\n",
            lines.task("END:VALARM\n"));
}

TEST(CalendarLines, TheFirstUnitEndsTheNumber) {
  CalendarLines lines;
  EXPECT_EQ("TRIGGER\n :-PT1H30M\n", lines.task("TRIGGER:-PT1H30M\n"));
  EXPECT_EQ("END:VALARM\nX-MOZILLA-ALARM-DEFAULT-UNITS\n :hours\nX-MOZILLA-ALARM-DEFAULT-LENGTH\n :1\n",
            lines.task("END:VALARM\n"));
}

TEST(CalendarLines, AnAlarmWithoutADurationHasAnEmptyLength) {
  CalendarLines lines;
  EXPECT_EQ("END:VALARM\nX-MOZILLA-ALARM-DEFAULT-LENGTH\n :\n", lines.calendar("END:VALARM\n"));
}

// ---- Recurrence -----------------------------------------------------------------------------------------

TEST(CalendarLines, MonthlyRulesGetUnitsAndTheirPositionInTheDay) {
  CalendarLines lines;
  EXPECT_EQ("X-MOZILLA-RECUR-DEFAULT-UNITS\n :months\nRRULE:FREQ=MONTHLY;INTERVAL=1;BYDAY=2MO\n",
            lines.calendar("RRULE:FREQ=MONTHLY;INTERVAL=1;BYDAY=MO;BYSETPOS=2\n"));
}

TEST(CalendarLines, TasksKeepTheirPosition) {
  CalendarLines lines;
  EXPECT_EQ("X-MOZILLA-RECUR-DEFAULT-UNITS\n :months\nRRULE:FREQ=MONTHLY;INTERVAL=1;BYDAY=MO;BYSETPOS=2\n",
            lines.task("RRULE:FREQ=MONTHLY;INTERVAL=1;BYDAY=MO;BYSETPOS=2\n"));
}

TEST(CalendarLines, YearlyRulesGetUnits) {
  CalendarLines lines;
  EXPECT_EQ("X-MOZILLA-RECUR-DEFAULT-UNITS\n :years\nRRULE:FREQ=YEARLY;COUNT=5\n",
            lines.calendar("RRULE:FREQ=YEARLY;COUNT=5\n"));
  EXPECT_EQ("X-MOZILLA-RECUR-DEFAULT-UNITS\n :years\nRRULE:FREQ=YEARLY\n", lines.task("RRULE:FREQ=YEARLY\n"));
}

TEST(CalendarLines, DailyRulesGetNoneUnlessMisspelt) {
  CalendarLines lines;
  for (const char* rule : {"RRULE:FREQ=DAILY;COUNT=5\n", "RRULE:FREQ=WEEKLY;COUNT=5\n"}) {
    EXPECT_EQ(rule, lines.calendar(rule));
    EXPECT_EQ(rule, lines.task(rule));
  }
  EXPECT_EQ("X-MOZILLA-RECUR-DEFAULT-UNITS\n :days\nRRULE:FREQ=DAILLY;COUNT=5\n",
            lines.calendar("RRULE:FREQ=DAILLY;COUNT=5\n"));
}

TEST(CalendarLines, APositionWithoutADayIsLeftAlone) {
  CalendarLines lines;
  EXPECT_EQ("RRULE:FREQ=WEEKLY;BYSETPOS=2\n", lines.calendar("RRULE:FREQ=WEEKLY;BYSETPOS=2\n"));
}

TEST(CalendarLines, ThePositionStandsOnceBeforeAllDays) {
  CalendarLines lines;
  EXPECT_EQ("RRULE:FREQ=WEEKLY;BYDAY=-1MO,TU,WE\n",
            lines.calendar("RRULE:FREQ=WEEKLY;BYDAY=MO,TU,WE;BYSETPOS=-1\n"));
}

TEST(CalendarLines, TheCutIsAtTheFirstB) {
  CalendarLines lines;
  EXPECT_EQ("RRULE:FREQ=WEEKLY;BYDAY=2MO\n",
            lines.calendar("RRULE:FREQ=WEEKLY;BYMONTH=3;BYDAY=MO;BYSETPOS=2\n"));
}

// ---- Tasks ----------------------------------------------------------------------------------------------

TEST(CalendarLines, DatesOfTasksAreFolded) {
  CalendarLines lines;
  EXPECT_EQ("DUE\n ;TZID=X\n :20050510\n", lines.task("DUE;TZID=X:20050510\n"));
  EXPECT_EQ("DTSTART\n ;TZID=X\n :20050510\n", lines.task("DTSTART;TZID=X:20050510\n"));
  EXPECT_EQ("DUE;TZID=X:20050510\n", lines.calendar("DUE;TZID=X:20050510\n"));
}

TEST(CalendarLines, PriorityFourBecomesFive) {
  CalendarLines lines;
  EXPECT_EQ("PRIORITY\n :5\n", lines.task("PRIORITY:4\n"));
  EXPECT_EQ("PRIORITY\n :1\n", lines.task("PRIORITY:1\n"));
  EXPECT_EQ("PRIORITY\n :9\n", lines.task("PRIORITY:9\n"));
  EXPECT_EQ("PRIORITY:4\n", lines.calendar("PRIORITY:4\n"));
}

TEST(CalendarLines, EverythingElseStays) {
  CalendarLines lines;
  for (const char* line : {"SUMMARY:a;b:c\n", "END:VEVENT\n", "\n", "no end", "TRIGGER;RELATED=END:PT5M\n",
                           "DUE;VALUE=DATE:20050510\n", "DTSTART;VALUE=DATE:20050510\n",
                           "RRULE:INTERVAL=2;FREQ=MONTHLY\n", "X-PRIORITY;A=B:4\n", "END:VTODO\n"}) {
    EXPECT_EQ(line, lines.calendar(line));
    EXPECT_EQ(line, lines.task(line));
  }
}

TEST(CalendarLines, TheFirstRuleWins) {
  CalendarLines lines;
  EXPECT_EQ("X-PT\n :END\n :VALARM-PT1H\n", lines.calendar("X-PT:END:VALARM-PT1H\n"));
  EXPECT_EQ("PRIORITY\n :5 -PT1H\n", lines.task("PRIORITY:4 -PT1H\n"));
}

TEST(CalendarLines, AlarmsComeBeforeRulesInACalendar) {
  CalendarLines lines;
  EXPECT_EQ("RRULE\n :FREQ=YEARLY\n ;X=-PT1M\n", lines.calendar("RRULE:FREQ=YEARLY;X=-PT1M\n"));
  EXPECT_EQ("X-MOZILLA-RECUR-DEFAULT-UNITS\n :years\nRRULE:FREQ=YEARLY;END:VALARM\n",
            lines.calendar("RRULE:FREQ=YEARLY;END:VALARM\n"));
}

TEST(CalendarLines, DatesAndPrioritiesOfTasksComeBeforeAlarmsAndThoseBeforeRules) {
  CalendarLines lines;
  EXPECT_EQ("DUE\n ;TZID=X\n :PRIORITY\n :4-PT1H\n", lines.task("DUE;TZID=X:PRIORITY:4-PT1H\n"));
  EXPECT_EQ("DTSTART\n ;TZID=X\n :PRIORITY\n :4-PT1H\n", lines.task("DTSTART;TZID=X:PRIORITY:4-PT1H\n"));
  const std::string end = "X-MOZILLA-ALARM-DEFAULT-LENGTH\n :";
  EXPECT_EQ("END:VALARM\n" + end + "\n", lines.task("END:VALARM\n"));
  EXPECT_EQ("END\n :VALARM-PT1M\n", lines.task("END:VALARM-PT1M\n"));
  EXPECT_EQ("RRULE:FREQ=YEARLY;END:VALARM\n" + end + "1\n", lines.task("RRULE:FREQ=YEARLY;END:VALARM\n"));
  EXPECT_EQ("RRULE\n :FREQ=YEARLY\n ;X=-PT3M\n", lines.task("RRULE:FREQ=YEARLY;X=-PT3M\n"));
}

}  // namespace
