#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pack/calendars.h"
#include "pack/planner/content_line.h"

namespace {

using calendars::at;
using calendars::calendar_file;
using calendars::lines_of;
using calendars::local;
using calendars::packed;
using calendars::tasks_file;
using recorded::pack_disk;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const std::string berlin = "Europe/Berlin";

TEST(ContentLines, HaveNamesParametersAndValues) {
  const auto lines = pack::content_lines(
      "attendee;cn=\"Lee; Ann: A\";PartStat=ACCEPTED:mailto:ann@home.ex\r\n ample\r\nnothing\r\n\r\nX:\r\n");
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0].name, "ATTENDEE");
  EXPECT_EQ(pack::parameter(lines[0], "CN"), "Lee; Ann: A");
  EXPECT_EQ(pack::parameter(lines[0], "PARTSTAT"), "ACCEPTED");
  EXPECT_EQ(pack::parameter(lines[0], "ROLE"), "");
  EXPECT_EQ(lines[0].value, "mailto:ann@home.example");
  EXPECT_EQ(lines[1].name, "X");
  EXPECT_EQ(lines[1].value, "");
}

TEST(ContentLines, HaveListsAndDurations) {
  EXPECT_THAT(pack::listed_texts("a,b\\,c,,d\\\\"), ElementsAre("a", "b,c", "d\\"));
  EXPECT_EQ(pack::duration_of("-PT15M"), -900);
  EXPECT_EQ(pack::duration_of("P1DT2H3M4S"), 93784);
  EXPECT_EQ(pack::duration_of("+P2W"), 1209600);
  EXPECT_EQ(pack::duration_of("P99999999999999999999D"), std::int64_t{8640000000000});
  for (const char* other : {"", "15", "P15", "PT15", "PM", "P15M", "PT5D", "P5X"})
    EXPECT_FALSE(pack::duration_of(other)) << other;
}

TEST(ThunderbirdCalendars, GiveAllThatAnEventHas) {
  const auto result = packed(
      calendars::event("1", "Survey", "2005-04-18 07:00:00", "2005-04-18 08:30:00", berlin) +
      "UPDATE cal_events SET time_created = " + at("2005-03-01 10:00:00") + ", last_modified = " +
      at("2005-03-02 10:00:00") + ", priority = 1, privacy = 'PRIVATE', ical_status = 'TENTATIVE';" +
      calendars::property("1", "DESCRIPTION", "old charts; low water,\nat 9:40") +
      calendars::property("1", "LOCATION", "Quay") + calendars::property("1", "CATEGORIES", "Club,a\\,b") +
      calendars::property("1", "TRANSP", "TRANSPARENT") +
      calendars::property("1", "URL", "https://club.example") +
      calendars::property("1", "X-MOZ-GENERATION", "3") +
      calendars::alarm("1", "TRIGGER;VALUE=DURATION:-PT15M") +
      calendars::line("cal_attendees", "1", "ORGANIZER;CN=Ann:mailto:ann@home.example") +
      calendars::line("cal_attendees", "1",
                      "ATTENDEE;CN=\"Bob\";PARTSTAT=ACCEPTED;ROLE=OPT-PARTICIPANT:mailto:bob@home.example") +
      calendars::line("cal_attachments", "1", "ATTACH:https://club.example/chart.pdf") +
      calendars::event("2", "Other", "2005-04-19 07:00:00", "", "UTC"));
  EXPECT_THAT(
      lines_of(result, calendar_file, "1"),
      ElementsAre("CREATED:20050301T100000Z", "LAST-MODIFIED:20050302T100000Z", "DTSTART:20050418T090000",
                  "DTEND:20050418T103000", "SUMMARY:Survey", "LOCATION:Quay",
                  "DESCRIPTION:old charts\\; low water\\,\\nat 9:40", "CATEGORIES:Club,a\\,b",
                  "ATTACH:https://club.example", "ATTACH:https://club.example/chart.pdf", "PRIORITY:1",
                  "STATUS:TENTATIVE", "CLASS:PRIVATE", "TRANSP:TRANSPARENT",
                  "ORGANIZER;CN=\"Ann\":MAILTO:ann@home.example",
                  "ATTENDEE;CN=\"Bob\";ROLE=OPT-PARTICIPANT;PARTSTAT=ACCEPTED:MAILTO:bob@home.example",
                  "BEGIN:VALARM", "ACTION:DISPLAY", "DESCRIPTION:Survey", "TRIGGER;VALUE=DURATION:-PT15M",
                  "END:VALARM"));
  EXPECT_THAT(lines_of(result, calendar_file, "2"),
              ElementsAre("DTSTART:20050419T090000", "SUMMARY:Other", "CLASS:PUBLIC"));
  EXPECT_THAT(result.remarks(), IsEmpty());
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::events).packed, 2U);
  EXPECT_FALSE(result.content.contains(tasks_file));
}

TEST(ThunderbirdCalendars, GiveTasks) {
  const auto result =
      packed(calendars::task("1", "Insurance", "2005-03-31 22:00:00", "2005-04-30 15:00:00", berlin) +
             "UPDATE cal_todos SET todo_complete = 50, ical_status = 'IN-PROCESS', privacy = 'CONFIDENTIAL', "
             "priority = 9;" +
             calendars::alarm("1", "TRIGGER;VALUE=DURATION;RELATED=END:-PT1H") +
             calendars::task("2", "Letter", "", "2005-05-10 00:00:00", "floating", 8) +
             calendars::task("3", "Done", "", "", "") +
             "UPDATE cal_todos SET todo_completed = " + at("2005-03-14 16:15:00") +
             ", todo_completed_tz = 'UTC', ical_status = 'COMPLETED', todo_complete = 100 WHERE id = '3';");
  EXPECT_THAT(lines_of(result, tasks_file, "1"),
              ElementsAre("DTSTART:20050401T000000", "DUE:20050430T170000", "SUMMARY:Insurance", "PRIORITY:9",
                          "STATUS:IN-PROCESS", "CLASS:CONFIDENTIAL", "PERCENT-COMPLETE:50", "BEGIN:VALARM",
                          "ACTION:DISPLAY", "DESCRIPTION:Insurance",
                          "TRIGGER;VALUE=DURATION;RELATED=END:-PT1H", "END:VALARM"));
  EXPECT_THAT(lines_of(result, tasks_file, "2"),
              ElementsAre("DUE;VALUE=DATE:20050510", "SUMMARY:Letter", "CLASS:PUBLIC"));
  EXPECT_THAT(lines_of(result, tasks_file, "3"),
              ElementsAre("COMPLETED:20050314T161500Z", "SUMMARY:Done", "STATUS:COMPLETED", "CLASS:PUBLIC",
                          "PERCENT-COMPLETE:100"));
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::tasks).packed, 3U);
}

TEST(ThunderbirdCalendars, KnowDaysFloatingTimesAndZones) {
  const auto result = packed(
      calendars::event("day", "a", "2005-07-09 00:00:00", "2005-07-11 00:00:00", "floating", 8) +
      calendars::event("day in a zone", "a", "2005-07-08 22:00:00", "2005-07-09 22:00:00", berlin, 8) +
      calendars::event("floating", "a", "2005-07-09 09:00:00", "", "floating") +
      calendars::event("old name", "a", "2005-07-09 07:00:00", "", "/mozilla.org/20050126_1/Europe/Berlin") +
      calendars::event("of a text", "a", "2005-07-09 13:00:00", "",
                       "BEGIN:VTIMEZONE\r\nTZID:America/New_York\r\nEND:VTIMEZONE\r\n") +
      calendars::event("unknown", "a", "2005-07-09 07:00:00", "", "My own") +
      calendars::event("before 1970", "a", "1960-07-09 08:00:00", "", berlin));
  const auto start = [&](const char* uid) { return lines_of(result, calendar_file, uid).at(0); };
  EXPECT_EQ(start("day"), "DTSTART;VALUE=DATE:20050709");
  EXPECT_EQ(lines_of(result, calendar_file, "day").at(1), "DTEND;VALUE=DATE:20050711");
  EXPECT_EQ(start("day in a zone"), "DTSTART;VALUE=DATE:20050709");
  EXPECT_EQ(start("floating"), "DTSTART:20050709T090000");
  EXPECT_EQ(start("old name"), "DTSTART:20050709T090000");
  EXPECT_EQ(start("of a text"), "DTSTART:20050709T150000");
  EXPECT_EQ(start("unknown"), "DTSTART:20050709T090000");
  EXPECT_EQ(start("before 1970"), "DTSTART:19600709T090000");
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(ThunderbirdCalendars, KnowHowThingsComeAgain) {
  const auto result = packed(
      calendars::event("1", "Class", "2005-04-05 17:00:00", "2005-04-05 19:00:00", berlin) +
      calendars::rule("1", "RRULE:FREQ=WEEKLY;UNTIL=20050628T170000Z;BYDAY=TU") +
      calendars::rule("1", "EXDATE;TZID=Europe/Berlin:20050412T190000,20050419T190000") +
      calendars::rule("1", "EXDATE:20050426T170000Z") +
      calendars::rule("1", "RDATE;TZID=Europe/Berlin;VALUE=PERIOD:20050407T190000/PT2H") +
      calendars::exception("1", "Class, later", "2005-05-03 17:00:00", "2005-05-03 18:00:00",
                           "2005-05-03 20:00:00", berlin) +
      "INSERT INTO cal_properties VALUES ('c', '1', 'LOCATION', 'Room 2', " + at("2005-05-03 17:00:00") +
      ", 'Europe/Berlin');" + calendars::property("1", "LOCATION", "Room 1"));
  EXPECT_THAT(
      lines_of(result, calendar_file, "1"),
      ElementsAre("DTSTART:20050405T190000", "DTEND:20050405T210000", "SUMMARY:Class", "LOCATION:Room 1",
                  "CLASS:PUBLIC", "RRULE:FREQ=WEEKLY;INTERVAL=1;UNTIL=20050628T190000;BYDAY=TU",
                  "EXDATE:20050412T190000", "EXDATE:20050419T190000", "EXDATE:20050426T190000",
                  "EXDATE:20050503T190000"));
  EXPECT_THAT(lines_of(result, calendar_file, "1-1"),
              ElementsAre("DTSTART:20050407T190000", "DTEND:20050407T210000", "SUMMARY:Class",
                          "LOCATION:Room 1", "CLASS:PUBLIC"));
  EXPECT_THAT(lines_of(result, calendar_file, "1-20050503T190000"),
              ElementsAre("DTSTART:20050503T200000", "DTEND:20050503T220000", "SUMMARY:Class\\, later",
                          "LOCATION:Room 2", "CLASS:PUBLIC"));
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::events).packed, 3U);
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(ThunderbirdCalendars, PackAnExceptionWhoseSeriesIsGone) {
  const auto result =
      packed(calendars::exception("1", "Class", "2005-05-03 17:00:00", "2005-05-03 18:00:00", "", berlin));
  EXPECT_THAT(lines_of(result, calendar_file, "1-20050503T190000"), Contains("DTSTART:20050503T200000"));
}

// Who is invited to one time of a series alone: the program makes the series up, without a title.
TEST(ThunderbirdCalendars, HaveAnInvitationToOneTimeOnce) {
  const char* const when = "2005-05-03 17:00:00";
  const auto result =
      packed(calendars::event("1", "", when, "", berlin) + calendars::rule("1", "RDATE:20050503T170000Z") +
             calendars::exception("1", "Class", when, when, "2005-05-03 18:00:00", berlin) +
             calendars::event("2", "", when, "", berlin) +
             calendars::exception("2", "Course", when, when, "2005-05-03 18:00:00", berlin));
  EXPECT_THAT(lines_of(result, calendar_file, "1"), IsEmpty());
  EXPECT_THAT(lines_of(result, calendar_file, "2"), IsEmpty());
  EXPECT_THAT(lines_of(result, calendar_file, "1-20050503T190000"), Contains("SUMMARY:Class"));
  EXPECT_THAT(lines_of(result, calendar_file, "2-20050503T190000"), Contains("SUMMARY:Course"));
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::events).packed, 2U);
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(ThunderbirdCalendars, KeepTheExceptionsOfWhatDoesNotComeAgain) {
  const auto result =
      packed(calendars::event("1", "First", "2005-04-05 17:00:00", "", berlin) +
             calendars::exception("1", "Second", "2005-05-03 17:00:00", "2005-05-03 18:00:00", "", berlin));
  EXPECT_THAT(lines_of(result, calendar_file, "1"), Contains("DTSTART:20050405T190000"));
  EXPECT_THAT(lines_of(result, calendar_file, "1-20050503T190000"), Contains("SUMMARY:Second"));
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::events).packed, 2U);
}

TEST(ThunderbirdCalendars, TellWhatHasNoPlace) {
  const char* const when = "2005-04-05 17:00:00";
  const auto result = packed(
      calendars::event("1", "Second rule", when, "", berlin) + calendars::rule("1", "RRULE:FREQ=DAILY") +
      calendars::rule("1", "RRULE:FREQ=YEARLY") +
      calendars::event("2", "Left out by rule", when, "", berlin) + calendars::rule("2", "RRULE:FREQ=DAILY") +
      calendars::rule("2", "EXRULE:FREQ=WEEKLY") + calendars::event("3", "Wrong rule", when, "", berlin) +
      calendars::rule("3", "RRULE:FREQ=OFTEN") + calendars::event("4", "Mail", when, "", berlin) +
      calendars::line("cal_alarms", "4", "BEGIN:VALARM\r\nACTION:EMAIL\r\nTRIGGER:-PT5M\r\nEND:VALARM\r\n") +
      calendars::event("5", "Without trigger", when, "", berlin) + calendars::alarm("5", "TRIGGER:soon") +
      calendars::event("6", "File", when, "", berlin) +
      calendars::line("cal_attachments", "6", "ATTACH;ENCODING=BASE64;VALUE=BINARY:QQ==") +
      calendars::event("7", "Long", when, "", berlin) +
      "INSERT INTO cal_properties (cal_id, item_id, key, value) VALUES ('c', '7', 'DESCRIPTION', "
      "printf('%.*c', 300000, 'x'));" +
      calendars::event("8", "Wrong end", when, "", berlin) +
      calendars::rule("8", "RRULE:FREQ=DAILY;UNTIL=never") +
      calendars::event("9", "Wrong day", when, "", berlin) + calendars::rule("9", "RRULE:FREQ=DAILY") +
      calendars::rule("9", "EXDATE:never") +
      calendars::event("10", "New York", when, "", "America/New_York") +
      calendars::rule("10", "RRULE:FREQ=WEEKLY") + calendars::event("11", "Good", when, "", berlin) +
      calendars::rule("11", "RRULE:FREQ=WEEKLY"));
  const std::string file = " " + local + ": ";
  EXPECT_THAT(result.remarks(),
              ElementsAre("simplified" + file + "Second rule", "simplified" + file + "Left out by rule",
                          "simplified" + file + "Wrong rule", "simplified" + file + "Mail",
                          "simplified" + file + "Without trigger", "simplified" + file + "File",
                          "simplified" + file + "Long", "simplified" + file + "Wrong end",
                          "simplified" + file + "Wrong day", "other-clock" + file + "New York"));
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::events).packed, 11U);
  EXPECT_THAT(lines_of(result, calendar_file, "3"), Not(Contains(HasSubstr("RRULE"))));
  EXPECT_THAT(lines_of(result, calendar_file, "7"), Contains("DESCRIPTION:" + std::string(250000, 'x')));
}

TEST(ThunderbirdCalendars, CountAlarmsAtATimeFromTheStart) {
  const auto result = packed(calendars::event("1", "a", "2005-04-05 17:00:00", "", berlin) +
                             calendars::alarm("1", "TRIGGER;VALUE=DATE-TIME:20050405T150000Z") +
                             calendars::event("2", "a", "2005-04-05 17:00:00", "", "UTC") +
                             calendars::alarm("2", "TRIGGER;VALUE=DATE-TIME:20050405T163000Z"));
  EXPECT_THAT(lines_of(result, calendar_file, "1"), Contains("TRIGGER;VALUE=DURATION:-PT2H"));
  EXPECT_THAT(lines_of(result, calendar_file, "2"), Contains("TRIGGER;VALUE=DURATION:-PT30M"));
}

TEST(ThunderbirdCalendars, OfTheNetworkArePackedAndTold) {
  const windows::Disk disk;
  calendars::set_zone(disk);
  make_database(disk, local,
                calendars::tables + calendars::event("1", "Here", "2005-04-05 17:00:00", "", berlin));
  make_database(disk, calendars::cache,
                calendars::tables + calendars::event("1", "Copied", "2005-04-05 17:00:00", "", berlin) +
                    calendars::event("2", "There", "2005-04-05 17:00:00", "", berlin) +
                    calendars::event("3", "Removed", "2005-04-05 17:00:00", "", berlin) +
                    "UPDATE cal_events SET offline_journal = 4 WHERE id = '3';"
                    "UPDATE cal_events SET offline_journal = 1 WHERE id = '2';" +
                    calendars::task("4", "Removed too", "", "", "") +
                    "UPDATE cal_todos SET offline_journal = 4;");
  disk.add(calendars::profile + "prefs.js",
           "user_pref(\"calendar.registry.a.name\", \"Home\");\r\n"
           "user_pref(\"calendar.registry.a.type\", \"storage\");\r\n"
           "user_pref(\"calendar.registry.b.disabled\", true);\r\n"
           "user_pref(\"calendar.registry.b.name\", \"Work\");\r\n"
           "user_pref(\"calendar.registry.b.readOnly\", true);\r\n"
           "user_pref(\"calendar.registry.b.type\", \"caldav\");\r\n"
           "user_pref(\"calendar.registry.b.uri\", \"https://work.example/ann\");\r\n");
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(lines_of(result, calendar_file, "1"), Contains("SUMMARY:Here"));
  EXPECT_THAT(lines_of(result, calendar_file, "2"), Contains("SUMMARY:There"));
  EXPECT_THAT(lines_of(result, calendar_file, "3"), IsEmpty());
  std::string folder = calendars::profile;
  folder.pop_back();
  EXPECT_THAT(result.remarks(), testing::UnorderedElementsAre(
                                    "there-already " + calendars::cache + ": Copied",
                                    "deleted " + calendars::cache + ": Removed",
                                    "deleted " + calendars::cache + ": Removed too",
                                    "lies-in-network " + folder + ": Work, https://work.example/ann"));
}

TEST(ThunderbirdCalendars, HaveTheProgramsZoneWhereWindowsTellsNone) {
  const windows::Disk disk;
  make_database(disk, local,
                calendars::tables + calendars::event("1", "a", "2005-04-05 17:00:00", "", "UTC"));
  EXPECT_THAT(lines_of(pack_disk(disk.path()), calendar_file, "1"), Contains("DTSTART:20050405T170000Z"));
  disk.add(calendars::profile + "prefs.js", "user_pref(\"calendar.timezone.local\", \"Europe/Berlin\");\n");
  EXPECT_THAT(lines_of(pack_disk(disk.path()), calendar_file, "1"), Contains("DTSTART:20050405T190000"));
  calendars::set_zone(disk, "Tokyo Standard Time");
  EXPECT_THAT(lines_of(pack_disk(disk.path()), calendar_file, "1"), Contains("DTSTART:20050406T020000"));
}

// Of a person whose zone nothing tells: two are in Berlin, the others elsewhere.
const std::string of_three_zones =
    calendars::event("berlin 1", "a", "2005-07-05 07:00:00", "", berlin) +
    calendars::event("summer", "a", "2005-07-02 00:00:00", "", "America/New_York") +
    calendars::event("weekly", "a", "2005-07-05 13:00:00", "", "America/New_York") +
    calendars::rule("weekly", "RRULE:FREQ=WEEKLY") +
    calendars::event("tokyo", "a", "2005-07-05 16:00:00", "", "Asia/Tokyo") +
    calendars::event("utc", "a", "2005-07-05 16:00:00", "", "UTC") +
    calendars::event("own", "a", "2005-07-05 16:00:00", "", "My own") +
    calendars::event("own series", "a", "2005-07-05 16:00:00", "", "My own") +
    calendars::rule("own series", "RRULE:FREQ=WEEKLY") +
    calendars::event("utc series", "a", "2005-07-05 16:00:00", "", "UTC") +
    calendars::rule("utc series", "RRULE:FREQ=WEEKLY") +
    calendars::event("floating", "a", "2005-07-05 16:00:00", "", "floating") +
    "UPDATE cal_events SET title = id;";

std::string doubt(const std::string& title) { return "clock-in-doubt " + local + ": " + title; }

TEST(ThunderbirdCalendars, GuessAZoneByMostItemsAndTellWhatDependsOnIt) {
  const windows::Disk disk;
  make_database(disk, local,
                calendars::tables + of_three_zones +
                    calendars::task("berlin 2", "a", "2005-07-05 07:00:00", "", berlin) +
                    calendars::task("berlin 3", "a", "", "2005-07-05 07:00:00", berlin));
  const auto result = pack_disk(disk.path());
  const auto start = [&](const char* uid) { return lines_of(result, calendar_file, uid).at(0); };
  EXPECT_EQ(start("berlin 1"), "DTSTART:20050705T090000");
  EXPECT_EQ(start("summer"), "DTSTART:20050702T020000");
  EXPECT_EQ(start("weekly"), "DTSTART:20050705T150000");
  EXPECT_EQ(start("tokyo"), "DTSTART:20050705T180000");
  EXPECT_EQ(start("utc"), "DTSTART:20050705T180000");
  EXPECT_EQ(start("own"), "DTSTART:20050705T180000");
  EXPECT_EQ(start("own series"), "DTSTART:20050705T160000Z");
  EXPECT_EQ(start("utc series"), "DTSTART:20050705T160000Z");
  EXPECT_EQ(start("floating"), "DTSTART:20050705T160000");
  EXPECT_THAT(result.remarks(), ElementsAre("zone-guessed Europe/Berlin", doubt("summer"), doubt("weekly"),
                                            doubt("tokyo"), doubt("utc"), doubt("own"), doubt("own series")));
}

TEST(ThunderbirdCalendars, KeepEachItemsClockAndTellItWhereNoZoneHasMost) {
  const windows::Disk disk;
  make_database(disk, local,
                calendars::tables + of_three_zones + "DELETE FROM cal_events WHERE id = 'weekly';" +
                    calendars::task("more of utc", "a", "2005-07-05 07:00:00", "", "UTC") +
                    calendars::task("and more", "a", "2005-07-05 07:00:00", "", "UTC"));
  const auto result = pack_disk(disk.path());
  const auto start = [&](const char* uid) { return lines_of(result, calendar_file, uid).at(0); };
  EXPECT_EQ(start("berlin 1"), "DTSTART:20050705T090000");
  EXPECT_EQ(start("summer"), "DTSTART:20050701T200000");
  EXPECT_EQ(start("tokyo"), "DTSTART:20050706T010000");
  EXPECT_EQ(start("utc"), "DTSTART:20050705T160000Z");
  EXPECT_THAT(result.remarks(),
              ElementsAre(doubt("berlin 1"), doubt("summer"), doubt("tokyo"), doubt("own series")));
}

TEST(ThunderbirdCalendars, WhoseZoneIsKnownAreInNoDoubt) {
  const windows::Disk disk;
  make_database(disk, local, calendars::tables + of_three_zones);
  disk.add(calendars::profile + "prefs.js", "user_pref(\"calendar.timezone.local\", \"Asia/Tokyo\");\n");
  const auto result = pack_disk(disk.path());
  EXPECT_EQ(lines_of(result, calendar_file, "summer").at(0), "DTSTART:20050702T090000");
  EXPECT_THAT(result.remarks(), ElementsAre("other-clock " + local + ": weekly"));
}

TEST(ThunderbirdCalendars, OfTwoPeopleStayApart) {
  const windows::Disk disk;
  make_database(disk, local,
                calendars::tables + calendars::event("1", "a", "2005-04-05 17:00:00", "", "UTC"));
  make_database(disk, "Users/Bob/AppData/Roaming/Thunderbird/Profiles/y/calendar-data/local.sqlite",
                calendars::tables + calendars::event("1", "b", "2005-04-05 17:00:00", "", "UTC"));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.content.at("Brindle/Profiles/ann/ImapMail/Calendar/calendar.ics"),
              HasSubstr("SUMMARY:a\n"));
  EXPECT_THAT(result.content.at("Brindle/Profiles/bob/ImapMail/Calendar/calendar.ics"),
              HasSubstr("SUMMARY:b\n"));
}

// ---- What is damaged, and hostile ------------------------------------------------------------------------

TEST(ThunderbirdCalendars, ThatCannotBeReadAreTold) {
  const windows::Disk disk;
  disk.add(local, "none");
  disk.add(calendars::profile + "storage.sdb", "old");
  make_database(disk, calendars::cache, "CREATE TABLE other (id TEXT);");
  EXPECT_THAT(pack_disk(disk.path()).remarks(),
              ElementsAre("damaged " + local, "damaged " + calendars::cache,
                          "unknown-format " + calendars::profile + "storage.sdb"));
}

TEST(ThunderbirdCalendars, WithoutATableKeepTheRest) {
  const auto result = packed(calendars::event("1", "a", "2005-04-05 17:00:00", "", berlin) +
                             "DROP TABLE cal_alarms; DROP TABLE cal_todos;");
  EXPECT_THAT(lines_of(result, calendar_file, "1"), Contains("SUMMARY:a"));
  EXPECT_THAT(result.remarks(), ElementsAre("damaged " + local));
}

TEST(ThunderbirdCalendars, OfAnOldVersionHaveNoJournal) {
  const auto result = packed(calendars::event("1", "a", "2005-04-05 17:00:00", "", berlin) +
                             "ALTER TABLE cal_events DROP COLUMN offline_journal;"
                             "ALTER TABLE cal_todos DROP COLUMN offline_journal;");
  EXPECT_THAT(lines_of(result, calendar_file, "1"), Contains("SUMMARY:a"));
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(ThunderbirdCalendars, WithAnEnormousValueKeepTheRest) {
  const auto result = packed(calendars::event("1", "a", "2005-04-05 17:00:00", "", berlin) +
                             calendars::event("2", "b", "2005-04-05 17:00:00", "", berlin) +
                             "UPDATE cal_events SET title = zeroblob(20000000) WHERE id = '1';" +
                             calendars::event("3", "c", "2005-04-05 17:00:00", "", berlin) +
                             "INSERT INTO cal_properties (cal_id, item_id, key, value) VALUES ('c', '3', "
                             "'DESCRIPTION', zeroblob(20000000));");
  EXPECT_THAT(lines_of(result, calendar_file, "2"), Contains("SUMMARY:b"));
  EXPECT_THAT(lines_of(result, calendar_file, "3"), Contains("SUMMARY:c"));
  EXPECT_THAT(result.remarks(), ElementsAre("damaged " + local, "damaged " + local));
}

TEST(ThunderbirdCalendars, WithEnormousExceptionsTellThatSomeAreMissing) {
  std::string statements = calendars::event("1", "a", "2005-04-05 17:00:00", "", berlin) +
                           calendars::rule("1", "RRULE:FREQ=DAILY");
  for (int day = 10; day < 30; ++day) {
    const std::string when = "2005-04-" + std::to_string(day) + " 17:00:00";
    statements += calendars::exception("1", "b", when, when, "", berlin);
  }
  statements += "UPDATE cal_events SET title = printf('%.*c', 240000, 'x') WHERE recurrence_id IS NOT NULL;";
  const auto result = packed(statements);
  EXPECT_THAT(result.remarks(), ElementsAre("simplified " + local + ": a"));
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::events).packed, 19U);
}

TEST(ThunderbirdCalendars, TakeNoOrderFromATextsLines) {
  const auto result = packed(
      calendars::event("1\r\nSUMMARY:x", "a\nEND:VEVENT\r\nBEGIN:VEVENT", "2005-04-05 17:00:00", "", berlin) +
      "UPDATE cal_events SET privacy = 'PUBLIC' || char(10) || 'X:y', ical_status = 'X' || char(10) || "
      "'Y:z', "
      "recurrence_id_tz = x'00FF';" +
      "INSERT INTO cal_properties (cal_id, item_id, key, value) SELECT 'c', id, 'DESCRIPTION', "
      "CAST(x'424547494E3A564556454E5400FFFE80' AS TEXT) FROM cal_events;" +
      "INSERT INTO cal_recurrence SELECT 'c', id, 'RRULE:FREQ=DAILY;BYDAY=MO' || char(10) || 'X-A:b' FROM "
      "cal_events;"
      "INSERT INTO cal_attendees (cal_id, item_id, icalString) SELECT 'c', id, "
      "'ATTENDEE;CN=\"A\";ROLE=X' || char(13) || 'Y:mailto:a@b' || char(13) || 'c' FROM cal_events;");
  EXPECT_EQ(
      result.content.at(calendar_file),
      "BEGIN:VCALENDAR\nCALSCALE:GREGORIAN\nPRODID:-//Brindle//brindle-pack//EN\nVERSION:2.0\n"
      "BEGIN:VEVENT\nUID:1\\nSUMMARY:x\nDTSTAMP:19700101T000000Z\nDTSTART:20050405T190000\n"
      "SUMMARY:a\\nEND:VEVENT\\nBEGIN:VEVENT\n"
      "DESCRIPTION:BEGIN:VEVENT\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\nCLASS:PUBLIC\n"
      "RRULE:FREQ=DAILY;INTERVAL=1;BYDAY=MO\nATTENDEE;CN=\"A\":MAILTO:a@bc\nEND:VEVENT\nEND:VCALENDAR\n");
}

}  // namespace
