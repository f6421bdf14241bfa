#include "process/mail/kde/calendar_lines.h"

#include <gtest/gtest.h>

namespace {

TEST(MarkedAsUtc, PutsTheZBeforeTheLineFeed) {
  EXPECT_EQ("COMPLETED:20050101T120000Z\n", marked_as_utc("COMPLETED:20050101T120000\n"));
  EXPECT_EQ("COMPLETED:20050101T120000Z\n", marked_as_utc("COMPLETED:20050101T120000Z\n"));
  EXPECT_EQ("x\rZ\n", marked_as_utc("x\r\n"));  // a carriage return stays where it was
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
  EXPECT_EQ("RRULE:FREQ=DAILY;UNTIL=20051231",
            with_date_only_until("RRULE:FREQ=DAILY;UNTIL=20051231T235959Z\r\n"));
  EXPECT_EQ("RRULE:FREQ=DAILY;UNTIL=20051231\n", with_date_only_until("RRULE:FREQ=DAILY;UNTIL=20051231\n"));
}

TEST(DateOnlyUntil, EndsAtTheSemicolonWithoutATimeToo) {
  EXPECT_EQ("RRULE:UNTIL=20051231;BYDAY=TU\n", with_date_only_until("RRULE:UNTIL=20051231;BYDAY=TU\n"));
}

TEST(DateOnlyUntil, TakesAnyUnForTheBeginning) {
  EXPECT_EQ("RRULE:COUN;UNTIL=20051231;X=1\n",
            with_date_only_until("RRULE:COUNT=5;UNTIL=20051231T000000Z;X=1\n"));
}

TEST(DateValues, MakeADateOfDue) {
  DateValues dates;
  std::string value;
  EXPECT_EQ("DUE;VALUE=DATE:20050510\n", dates.rewrite("DUE;TZID=X:20050510\n", "DUE;TZID", value));
  EXPECT_EQ("20050510", value);
}

TEST(DateValues, DropWhatStandsBeforeAndRepeatForEverySemicolon) {
  DateValues dates;
  std::string value;
  EXPECT_EQ("DUE;VALUE=DATE;VALUE=DATE:2005\n",
            dates.rewrite("  X DUE;TZID=A;B=C:2005\n", "DUE;TZID", value));
  EXPECT_EQ("2005", value);
}

TEST(DateValues, KeepACarriageReturnInTheValue) {
  DateValues dates;
  std::string value;
  EXPECT_EQ("DUE;VALUE=DATE:2005\r\n", dates.rewrite("DUE;TZID=X:2005\r\n", "DUE;TZID", value));
  EXPECT_EQ("2005\r", value);
}

TEST(DateValues, GoOnDroppingAfterALineWithoutAColon) {
  DateValues dates;
  std::string value;
  EXPECT_EQ("DUE;VALUE=DATE", dates.rewrite("DUE;TZID=X\n", "DUE;TZID", value));
  EXPECT_EQ("", value);
  EXPECT_EQ(";VALUE=DATE:2005\n", dates.rewrite("DTSTART;TZID=X:2005\n", "DTSTART;TZID", value));
  EXPECT_EQ("DTSTART;VALUE=DATE:2006\n", dates.rewrite("DTSTART;TZID=X:2006\n", "DTSTART;TZID", value));
}

}  // namespace
