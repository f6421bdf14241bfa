#include "process/mail/kde/calendar_lines.h"

#include <gtest/gtest.h>

namespace {

TEST(MarkedAsUtc, PutsTheZBeforeTheLineFeed) {
  EXPECT_EQ("COMPLETED:20050101T120000Z\n", marked_as_utc("COMPLETED:20050101T120000\n"));
  EXPECT_EQ("COMPLETED:20050101T120000Z\n", marked_as_utc("COMPLETED:20050101T120000Z\n"));
  EXPECT_EQ("xZ", marked_as_utc("x"));
  EXPECT_EQ("TZID=X\n", marked_as_utc("TZID=X\n"));  // a Z anywhere counts
}

TEST(DateOnlyUntil, KeepsTheDateAlone) {
  EXPECT_EQ("RRULE:FREQ=WEEKLY;UNTIL=20051231;BYDAY=MO\n",
            with_date_only_until("RRULE:FREQ=WEEKLY;UNTIL=20051231T235959Z;BYDAY=MO\n"));
}

TEST(DateOnlyUntil, AtTheEndSwallowsTheLineFeed) {
  EXPECT_EQ("RRULE:FREQ=DAILY;UNTIL=20051231",
            with_date_only_until("RRULE:FREQ=DAILY;UNTIL=20051231T235959Z\n"));
  EXPECT_EQ("RRULE:FREQ=DAILY;UNTIL=20051231\n", with_date_only_until("RRULE:FREQ=DAILY;UNTIL=20051231\n"));
}

TEST(DateOnlyUntil, EndsAtTheSemicolonWithoutATimeToo) {
  EXPECT_EQ("RRULE:UNTIL=20051231;BYDAY=TU\n", with_date_only_until("RRULE:UNTIL=20051231;BYDAY=TU\n"));
}

TEST(DateOnlyUntil, TakesAnyUnForTheBeginning) {
  EXPECT_EQ("RRULE:COUN;UNTIL=20051231;X=1\n",
            with_date_only_until("RRULE:COUNT=5;UNTIL=20051231T000000Z;X=1\n"));
}

void expect_date(const char* line, const char* date, const DateLine& actual) {
  EXPECT_EQ(line, actual.line);
  EXPECT_EQ(date, actual.date);
}

TEST(DateValues, MakeADateOfDue) {
  DateValues dates;
  expect_date("DUE;VALUE=DATE:20050510\n", "20050510", dates.rewrite("DUE;TZID=X:20050510\n", "DUE;TZID"));
}

TEST(DateValues, DropWhatStandsBeforeAndRepeatForEverySemicolon) {
  DateValues dates;
  expect_date("DUE;VALUE=DATE;VALUE=DATE:2005\n", "2005",
              dates.rewrite("  X DUE;TZID=A;B=C:2005\n", "DUE;TZID"));
}

TEST(DateValues, TakeWhatFollowsASecondColonIntoTheDate) {
  DateValues dates;
  expect_date("DUE;VALUE=DATE:20:05;VALUE=DATE:6\n", "20:05:6",
              dates.rewrite("DUE;TZID=X:20:05;Y=Z:6\n", "DUE;TZID"));
}

TEST(DateValues, GoOnDroppingAfterALineWithoutAColon) {
  DateValues dates;
  expect_date("DUE;VALUE=DATE", "", dates.rewrite("DUE;TZID=X\n", "DUE;TZID"));
  expect_date(";VALUE=DATE:2005\n", "2005", dates.rewrite("DTSTART;TZID=X:2005\n", "DTSTART;TZID"));
  expect_date("DTSTART;VALUE=DATE:2006\n", "2006", dates.rewrite("DTSTART;TZID=X:2006\n", "DTSTART;TZID"));
}

}  // namespace
