#include "process/mail/kde/calendar_lines.h"

#include <gtest/gtest.h>

namespace {

std::string marked_as_utc(const char* line) {
  std::string out = "before\n";
  append_as_utc(line, out);
  EXPECT_TRUE(out.starts_with("before\n"));
  return out.substr(7);
}

std::string with_date_only_until(const char* line) {
  std::string out = "before\n";
  append_with_date_only_until(line, out);
  EXPECT_TRUE(out.starts_with("before\n"));
  return out.substr(7);
}

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

TEST(DateOnlyUntil, LeavesTheDaysAsTheyAre) {
  EXPECT_EQ("RRULE:FREQ=WEEKLY;BYDAY=SU,TU,TH;UNTIL=20051231;WKST=SU\n",
            with_date_only_until("RRULE:FREQ=WEEKLY;BYDAY=SU,TU,TH;UNTIL=20051231T235959Z;WKST=SU\n"));
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

void expect_date(const std::string& line, const char* date, DateValues& dates, const char* from,
                 const char* property) {
  std::string out = "before\n";
  EXPECT_EQ(date, dates.rewrite(from, property, out));
  EXPECT_EQ("before\n" + line, out);
}

TEST(DateValues, MakeADateOfDue) {
  DateValues dates;
  expect_date("DUE;VALUE=DATE:20050510\n", "20050510", dates, "DUE;TZID=X:20050510\n", "DUE;TZID");
}

TEST(DateValues, DropWhatStandsBeforeAndRepeatForEverySemicolon) {
  DateValues dates;
  expect_date("DUE;VALUE=DATE;VALUE=DATE:2005\n", "2005", dates, "  X DUE;TZID=A;B=C:2005\n", "DUE;TZID");
}

TEST(DateValues, TakeWhatFollowsASecondColonIntoTheDate) {
  DateValues dates;
  expect_date("DUE;VALUE=DATE:20:05;VALUE=DATE:6\n", "20:05:6", dates, "DUE;TZID=X:20:05;Y=Z:6\n",
              "DUE;TZID");
}

TEST(DateValues, GoOnDroppingAfterALineWithoutAColon) {
  DateValues dates;
  expect_date("DUE;VALUE=DATE", "", dates, "DUE;TZID=X\n", "DUE;TZID");
  expect_date(";VALUE=DATE:2005\n", "2005", dates, "DTSTART;TZID=X:2005\n", "DTSTART;TZID");
  expect_date("DTSTART;VALUE=DATE:2006\n", "2006", dates, "DTSTART;TZID=X:2006\n", "DTSTART;TZID");
}

}  // namespace
