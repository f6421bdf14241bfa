#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "pack/calendars.h"
#include "pack/growth.h"
#include "pack/outlook/recurrence.h"
#include "pack/pst_file.h"
#include "pack/recorded.h"
#include "pack/windows_disk.h"

namespace {

using calendars::calendar_file;
using calendars::lines_of;
using calendars::tasks_file;
using recorded::pack_disk;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

const std::string place = "Users/Ann/AppData/Local/Microsoft/Outlook/Outlook.pst";

std::string little(std::uint64_t number, std::size_t size) {
  std::string bytes;
  for (std::size_t byte = 0; byte < size; ++byte) bytes += static_cast<char>(number >> (8 * byte));
  return bytes;
}
std::string wide(std::string_view text) {
  std::string bytes;
  for (const char c : text) bytes += {c, '\0'};
  return bytes;
}

// Minutes since 1601 of a date.
std::uint32_t minutes(int year, unsigned month, unsigned day, int hour = 0, int minute = 0) {
  std::tm parts{};
  parts.tm_year = year - 1900;
  parts.tm_mon = static_cast<int>(month) - 1;
  parts.tm_mday = static_cast<int>(day);
  parts.tm_hour = hour;
  parts.tm_min = minute;
  return static_cast<std::uint32_t>((timegm(&parts) + 11644473600) / 60);
}
std::int64_t utc(int year, unsigned month, unsigned day, int hour = 0, int minute = 0) {
  return std::int64_t{minutes(year, month, day, hour, minute)} * 60 - 11644473600;
}

enum Unit { daily = 0x200A, weekly = 0x200B, monthly = 0x200C, yearly = 0x200D };

// A rule as Outlook keeps it.
struct Series {
  int unit = weekly;
  int pattern = 1;
  std::uint32_t period = 1;
  std::vector<std::uint32_t> specific{0x04};  // Tuesday
  std::uint32_t end = 0x2023;
  std::uint32_t times = 10;
  std::uint32_t first_of_week = 0;
  std::vector<std::uint32_t> left_out{};
  std::vector<std::uint32_t> changed{};
  std::uint32_t first = minutes(2005, 4, 12);
  std::uint32_t last = 0x5AE980DF;
  std::string exceptions{};  // count and all of them
  std::string behind = little(0, 4);
  std::uint32_t start = 9 * 60, finish = 10 * 60 + 30;
  std::uint32_t version = 0x3009;
  int calendar = 0;
  std::uint32_t after_done = 0;

  // Of a task there is no more.
  std::string head() const {
    std::string all = little(0x3004, 2) + little(0x3004, 2) + little(static_cast<unsigned>(unit), 2) +
                      little(static_cast<unsigned>(pattern), 2) + little(static_cast<unsigned>(calendar), 2) +
                      little(0, 4) + little(period, 4) + little(after_done, 4);
    for (const std::uint32_t number : specific) all += little(number, 4);
    all += little(end, 4) + little(times, 4) + little(first_of_week, 4);
    for (const auto* list : {&left_out, &changed}) {
      all += little(list->size(), 4);
      for (const std::uint32_t one : *list) all += little(one, 4);
    }
    return all + little(first, 4) + little(last, 4);
  }
  std::string bytes() const {
    const std::string all =
        head() + little(0x3006, 4) + little(version, 4) + little(start, 4) + little(finish, 4);
    return all + (exceptions.empty() ? little(0, 2) : exceptions) + behind + little(0, 4);
  }
};

std::string rule_of(const Series& series) {
  const auto recurrence = pack::outlook_recurrence(series.bytes());
  return recurrence ? recurrence->rule : "none";
}

TEST(OutlookRules, OfDays) {
  EXPECT_EQ(rule_of({.unit = daily, .pattern = 0, .period = 1440, .specific = {}}), "FREQ=DAILY;INTERVAL=1");
  EXPECT_EQ(rule_of({.unit = daily, .pattern = 0, .period = 4320, .specific = {}}), "FREQ=DAILY;INTERVAL=3");
  EXPECT_EQ(rule_of({.unit = daily, .pattern = 1, .period = 1, .specific = {0x3E}}),
            "FREQ=WEEKLY;INTERVAL=1;BYDAY=MO,TU,WE,TH,FR");
}

TEST(OutlookRules, OfWeeks) {
  EXPECT_EQ(rule_of({}), "FREQ=WEEKLY;INTERVAL=1;BYDAY=TU");
  EXPECT_EQ(rule_of({.specific = {0x2A}}), "FREQ=WEEKLY;INTERVAL=1;BYDAY=MO,WE,FR");
  EXPECT_EQ(rule_of({.period = 2, .specific = {0x41}, .first_of_week = 1}),
            "FREQ=WEEKLY;INTERVAL=2;BYDAY=SU,SA;WKST=MO");
  EXPECT_EQ(rule_of({.period = 2, .specific = {0x40}}), "FREQ=WEEKLY;INTERVAL=2;BYDAY=SA;WKST=SU");
  EXPECT_EQ(rule_of({.specific = {0}}), "none");
}

TEST(OutlookRules, OfMonths) {
  EXPECT_EQ(rule_of({.unit = monthly, .pattern = 2, .specific = {12}}),
            "FREQ=MONTHLY;INTERVAL=1;BYMONTHDAY=12");
  EXPECT_EQ(rule_of({.unit = monthly, .pattern = 2, .period = 3, .specific = {31}}),
            "FREQ=MONTHLY;INTERVAL=3;BYMONTHDAY=-1");
  EXPECT_EQ(rule_of({.unit = monthly, .pattern = 2, .specific = {30}}),
            "FREQ=MONTHLY;INTERVAL=1;BYMONTHDAY=28,29,30;BYSETPOS=-1");
  EXPECT_EQ(rule_of({.unit = monthly, .pattern = 4, .specific = {31}}),
            "FREQ=MONTHLY;INTERVAL=1;BYMONTHDAY=-1");
  EXPECT_EQ(rule_of({.unit = monthly, .pattern = 3, .specific = {0x04, 2}}),
            "FREQ=MONTHLY;INTERVAL=1;BYDAY=2TU");
  EXPECT_EQ(rule_of({.unit = monthly, .pattern = 3, .specific = {0x20, 5}}),
            "FREQ=MONTHLY;INTERVAL=1;BYDAY=-1FR");
  EXPECT_EQ(rule_of({.unit = monthly, .pattern = 3, .specific = {0x3E, 5}}),
            "FREQ=MONTHLY;INTERVAL=1;BYDAY=MO,TU,WE,TH,FR;BYSETPOS=-1");
  EXPECT_EQ(rule_of({.unit = monthly, .pattern = 2, .specific = {32}}), "none");
  EXPECT_EQ(rule_of({.unit = monthly, .pattern = 3, .specific = {0x04, 0}}), "none");
}

TEST(OutlookRules, OfYears) {
  EXPECT_EQ(rule_of({.unit = yearly, .pattern = 2, .period = 12, .specific = {12}}),
            "FREQ=YEARLY;INTERVAL=1;BYMONTH=4;BYMONTHDAY=12");
  EXPECT_EQ(rule_of({.unit = yearly, .pattern = 3, .period = 24, .specific = {0x01, 5}}),
            "FREQ=YEARLY;INTERVAL=2;BYMONTH=4;BYDAY=-1SU");
}

TEST(OutlookRules, OfOtherCalendarsAreNone) {
  EXPECT_EQ(rule_of({.unit = monthly, .pattern = 0xA, .specific = {12}}), "none");
  EXPECT_EQ(rule_of({.unit = monthly, .pattern = 0xB, .specific = {1, 1}}), "none");
  for (const int lunar : {0x6, 0x8, 0xE, 0xF, 0x10, 0x11, 0x12, 0x13, 0x17, 0x99}) {
    EXPECT_EQ(rule_of({.unit = monthly, .pattern = 2, .specific = {12}, .calendar = lunar}), "none");
    EXPECT_EQ(rule_of({.unit = yearly, .pattern = 3, .period = 12, .specific = {1, 1}, .calendar = lunar}),
              "none");
    EXPECT_EQ(rule_of({.unit = monthly, .pattern = 4, .specific = {31}, .calendar = lunar}), "none");
    EXPECT_EQ(rule_of({.calendar = lunar}), "FREQ=WEEKLY;INTERVAL=1;BYDAY=TU");
    EXPECT_EQ(rule_of({.unit = daily, .pattern = 0, .period = 1440, .specific = {}, .calendar = lunar}),
              "FREQ=DAILY;INTERVAL=1");
  }
  for (const int ours : {0, 1, 2, 3, 4, 5, 7, 9, 0xA, 0xB, 0xC})
    EXPECT_EQ(rule_of({.unit = monthly, .pattern = 2, .specific = {12}, .calendar = ours}),
              "FREQ=MONTHLY;INTERVAL=1;BYMONTHDAY=12");
  EXPECT_FALSE(pack::outlook_recurrence("no rule"));
  EXPECT_FALSE(pack::outlook_recurrence(""));
}

TEST(OutlookRules, HaveAnEnd) {
  const auto ends = pack::outlook_recurrence(Series{.end = 0x2021, .last = minutes(2005, 12, 27)}.bytes());
  EXPECT_EQ(ends->last_day, utc(2005, 12, 27));
  EXPECT_EQ(ends->rule, "FREQ=WEEKLY;INTERVAL=1;BYDAY=TU");
  EXPECT_EQ(rule_of({.end = 0x2022, .times = 7}), "FREQ=WEEKLY;INTERVAL=1;BYDAY=TU;COUNT=7");
  EXPECT_FALSE(pack::outlook_recurrence(Series{}.bytes())->last_day);
}

TEST(OutlookRules, OfTasksEndBehindThePattern) {
  const auto recurrence = pack::outlook_recurrence(Series{.left_out = {minutes(2005, 4, 19)}}.head());
  ASSERT_TRUE(recurrence);
  EXPECT_TRUE(recurrence->is_whole);
  EXPECT_THAT(recurrence->left_out, ElementsAre(utc(2005, 4, 19)));
  EXPECT_FALSE(pack::outlook_recurrence(Series{.changed = {minutes(2005, 4, 19)}}.head())->is_whole);
}

TEST(OutlookRules, ThatEndAnywhereAreNoneOrSaySo) {
  const std::string bytes =
      Series{.left_out = {minutes(2005, 4, 19), minutes(2005, 4, 26)},
             .changed = {minutes(2005, 4, 27)},
             .exceptions = little(1, 2) + little(minutes(2005, 4, 27, 8), 4) +
                           little(minutes(2005, 4, 27, 9), 4) + little(minutes(2005, 4, 26, 9), 4) +
                           little(1, 2) + little(3, 2) + little(2, 2) + "ab"}
          .bytes();
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    const auto recurrence = pack::outlook_recurrence(bytes.substr(0, size));
    if (recurrence && recurrence->is_whole) {
      EXPECT_EQ(recurrence->exceptions.size(), 1U) << size;
    }
  }
  std::string many = bytes;
  many.replace(38, 4, "\xFF\xFF\xFF\x7F");
  EXPECT_FALSE(pack::outlook_recurrence(many));
}

// ---- Appointments

class Planner {
 public:
  pst::Property uid(const std::string& uid) {
    using namespace std::string_literals;
    return pst::binary(file_.named(pst::meeting_set, 0x23),
                       std::string(40, 'g') + "vCal-Uid\x01\0\0\0"s + uid + '\0');
  }
  std::uint16_t of_appointment(std::uint32_t number) { return file_.named(pst::appointment_set, number); }
  std::uint16_t of_task(std::uint32_t number) { return file_.named(pst::task_set, number); }
  std::uint16_t of_all(std::uint32_t number) { return file_.named(pst::common_set, number); }
  std::uint16_t keywords() { return file_.named("Keywords"); }
  pst::Property zone(const std::string& key) {
    return pst::binary(of_appointment(0x825E), little(0x0102, 2) + little(6 + 2 * key.size(), 2) +
                                                   little(2, 2) + little(key.size(), 2) + wide(key) +
                                                   little(1, 2) + std::string(66, '\1'));
  }

  pst::Item appointment(const std::string& name, std::int64_t start, std::int64_t end,
                        pst::Properties more = {}) {
    more.insert(more.end(),
                {pst::text(0x001A, "IPM.Appointment"), pst::text(0x0037, name), uid(name),
                 pst::time(of_appointment(0x820D), start), pst::time(of_appointment(0x820E), end)});
    return {.properties = more};
  }
  pst::Item series(const std::string& name, const Series& series, pst::Properties more = {}) {
    more.push_back(pst::binary(of_appointment(0x8216), series.bytes()));
    more.push_back(zone("W. Europe Standard Time"));
    return appointment(name, utc(2005, 4, 12, 7), utc(2005, 4, 12, 8, 30), more);
  }
  // One that does not say by whose clock, and begins at an instant.
  pst::Item series_at(const std::string& name, const Series& series, std::int64_t start,
                      pst::Properties more = {}) {
    more.push_back(pst::binary(of_appointment(0x8216), series.bytes()));
    return appointment(name, start, start + 5400, more);
  }
  pst::Item task(const std::string& name, pst::Properties more) {
    more.insert(more.end(), {pst::text(0x001A, "IPM.Task"), pst::text(0x0037, name), uid(name)});
    return {.properties = more};
  }

  recorded::Result pack(const std::vector<pst::Item>& items, bool tells_zone = true) {
    const windows::Disk disk;
    if (tells_zone) calendars::set_zone(disk);
    file_.folders = {{.name = "Calendar", .container = "IPF.Appointment", .items = items}};
    disk.add(place, file_.bytes());
    return pack_disk(disk.path());
  }
  pst::File& file() { return file_; }

 private:
  pst::File file_;
};

TEST(OutlookAppointments, HaveAllThatTheyHave) {
  Planner planner;
  pst::Item meeting = planner.appointment(
      "Survey", utc(2005, 4, 18, 7), utc(2005, 4, 18, 8, 30),
      {pst::text(0x1000, "old charts\r\nlow water"), pst::text(planner.of_appointment(0x8208), "Quay"),
       pst::texts(planner.keywords(), {"Club", "a,b"}), pst::number(planner.of_appointment(0x8205), 1),
       pst::number(0x0017, 2), pst::number(0x0036, 2), pst::flag(planner.of_all(0x8503), true),
       pst::number(planner.of_all(0x8501), 30), pst::number(planner.of_appointment(0x8217), 1),
       pst::time(0x3007, utc(2005, 3, 1, 10)), pst::time(0x3008, utc(2005, 3, 2, 10))});
  meeting.recipients = {{pst::number(0x0C15, 1), pst::text(0x3001, "Ann"),
                         pst::text(0x3003, "ann@home.example"), pst::number(0x5FFD, 3)},
                        {pst::number(0x0C15, 2), pst::text(0x3001, "Bob"),
                         pst::text(0x3003, "bob@home.example"), pst::number(0x5FFF, 3)},
                        {pst::number(0x0C15, 3), pst::text(0x3001, "Room"),
                         pst::text(0x3003, "room@home.example"), pst::number(0x5FFF, 4)}};
  const auto result =
      planner.pack({meeting, planner.appointment("Other", utc(2005, 12, 19, 7), utc(2005, 12, 19, 7),
                                                 {pst::number(planner.of_appointment(0x8205), 0),
                                                  pst::number(0x0017, 0), pst::number(0x0036, 3)})});
  EXPECT_THAT(
      lines_of(result, calendar_file, "Survey"),
      ElementsAre("CREATED:20050301T100000Z", "LAST-MODIFIED:20050302T100000Z", "DTSTART:20050418T090000",
                  "DTEND:20050418T103000", "SUMMARY:Survey", "LOCATION:Quay",
                  "DESCRIPTION:old charts\\nlow water", "CATEGORIES:Club,a\\,b", "PRIORITY:1",
                  "STATUS:TENTATIVE", "CLASS:PRIVATE", "ORGANIZER;CN=\"Ann\":MAILTO:ann@home.example",
                  "ATTENDEE;CN=\"Bob\";ROLE=OPT-PARTICIPANT;PARTSTAT=ACCEPTED:MAILTO:bob@home.example",
                  "ATTENDEE;CN=\"Room\";ROLE=NON-PARTICIPANT;PARTSTAT=DECLINED:MAILTO:room@home.example",
                  "BEGIN:VALARM", "ACTION:DISPLAY", "DESCRIPTION:Survey", "TRIGGER;VALUE=DURATION:-PT30M",
                  "END:VALARM"));
  EXPECT_THAT(lines_of(result, calendar_file, "Other"),
              ElementsAre("DTSTART:20051219T080000", "DTEND:20051219T080000", "SUMMARY:Other", "PRIORITY:9",
                          "CLASS:CONFIDENTIAL", "TRANSP:TRANSPARENT"));
  EXPECT_THAT(result.remarks(), IsEmpty());
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::events).packed, 2U);
}

TEST(OutlookAppointments, SayWhoComesAndWhetherTheyTakePlace) {
  Planner planner;
  const std::int64_t start = utc(2005, 4, 18, 7);
  pst::Item meeting =
      planner.appointment("meeting", start, start, {pst::number(planner.of_appointment(0x8217), 1)});
  for (const int answer : {0, 2, 3, 4})
    meeting.recipients.push_back({pst::number(0x0C15, 1),
                                  pst::text(0x3003, "p" + std::to_string(answer) + "@home.example"),
                                  pst::number(0x5FFF, answer)});
  const auto result = planner.pack(
      {meeting,
       planner.appointment("cancelled", start, start, {pst::number(planner.of_appointment(0x8217), 5)}),
       planner.appointment("out of office", start, start, {pst::number(planner.of_appointment(0x8205), 3)})});
  const auto attendee = [](const std::string& answer, const std::string& address) {
    return "ATTENDEE;ROLE=REQ-PARTICIPANT;PARTSTAT=" + answer + ":MAILTO:" + address;
  };
  EXPECT_THAT(lines_of(result, calendar_file, "meeting"),
              testing::IsSupersetOf(
                  {attendee("NEEDS-ACTION", "p0@home.example"), attendee("TENTATIVE", "p2@home.example"),
                   attendee("ACCEPTED", "p3@home.example"), attendee("DECLINED", "p4@home.example")}));
  EXPECT_THAT(lines_of(result, calendar_file, "meeting"), Not(Contains(HasSubstr("STATUS:"))));
  EXPECT_THAT(lines_of(result, calendar_file, "cancelled"), Contains("STATUS:CANCELLED"));
  EXPECT_THAT(lines_of(result, calendar_file, "out of office"), Not(Contains(HasSubstr("TRANSP"))));
}

TEST(OutlookAppointments, RemindAtOutlooksUsualTime) {
  Planner planner;
  const auto with = [&](const std::string& name, pst::Properties more) {
    more.push_back(pst::flag(planner.of_all(0x8503), true));
    return planner.appointment(name, utc(2005, 4, 18, 7), utc(2005, 4, 18, 8), more);
  };
  const auto result =
      planner.pack({with("usual", {pst::number(planner.of_all(0x8501), 0x5AE980E1)}), with("untold", {}),
                    with("own", {pst::number(planner.of_all(0x8501), 5)})});
  EXPECT_THAT(lines_of(result, calendar_file, "usual"), Contains("TRIGGER;VALUE=DURATION:-PT15M"));
  EXPECT_THAT(lines_of(result, calendar_file, "untold"), Contains("TRIGGER;VALUE=DURATION:-PT15M"));
  EXPECT_THAT(lines_of(result, calendar_file, "own"), Contains("TRIGGER;VALUE=DURATION:-PT5M"));
}

TEST(OutlookAppointments, OfWholeDaysHaveDays) {
  Planner planner;
  const auto day = [&](const std::string& name, std::int64_t start, std::int64_t end,
                       pst::Properties more = {}) {
    more.push_back(pst::flag(planner.of_appointment(0x8215), true));
    return planner.appointment(name, start, end, more);
  };
  const auto result = planner.pack(
      {day("summer", utc(2005, 7, 8, 22), utc(2005, 7, 10, 22)),
       day("winter", utc(2005, 12, 23, 23), utc(2005, 12, 24, 23)),
       day("abroad", utc(2005, 7, 9, 7), utc(2005, 7, 10, 7), {planner.zone("Pacific Standard Time")})});
  EXPECT_THAT(lines_of(result, calendar_file, "summer"),
              testing::IsSupersetOf({"DTSTART;VALUE=DATE:20050709", "DTEND;VALUE=DATE:20050711"}));
  EXPECT_THAT(lines_of(result, calendar_file, "winter"),
              testing::IsSupersetOf({"DTSTART;VALUE=DATE:20051224", "DTEND;VALUE=DATE:20051225"}));
  EXPECT_THAT(lines_of(result, calendar_file, "abroad"),
              testing::IsSupersetOf({"DTSTART;VALUE=DATE:20050709", "DTEND;VALUE=DATE:20050710"}));
}

// Outlook's names for a meeting: that of all of its times, and that of one of them, which has the day.
std::string name_of_meeting(int year, int month, int day_of_month, const std::string& own) {
  return std::string(16, 'g') + static_cast<char>(year >> 8) + static_cast<char>(year) +
         static_cast<char>(month) + static_cast<char>(day_of_month) + std::string(16, 'g') +
         little(own.size(), 4) + own;
}

TEST(OutlookAppointments, OfOneSeriesToWhichSomebodyIsInvitedOnceEachAreAllThere) {
  using namespace std::string_literals;
  Planner planner;
  const std::uint16_t of_all = planner.file().named(pst::meeting_set, 0x23);
  const std::uint16_t of_one = planner.file().named(pst::meeting_set, 0x03);
  const auto single = [&](const std::string& own, int month, int day) {
    const std::int64_t start = utc(2005, static_cast<unsigned>(month), static_cast<unsigned>(day), 7);
    return pst::Item{.properties = {pst::text(0x001A, "IPM.Appointment"), pst::text(0x0037, "tour"),
                                    pst::binary(of_all, name_of_meeting(0, 0, 0, own)),
                                    pst::binary(of_one, name_of_meeting(2005, month, day, own)),
                                    pst::time(planner.of_appointment(0x820D), start)}};
  };
  const std::string foreign = "vCal-Uid\x01\0\0\0tour\0"s;
  const auto result = planner.pack({single(foreign, 4, 19), single(foreign, 4, 26), single(foreign, 4, 19),
                                    single("own", 4, 19), single("own", 5, 19), single("own", 5, 19)});
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::events).packed, 4U);
  EXPECT_THAT(result.remarks(), ElementsAre("there-already " + place + ": Calendar: tour",
                                            "there-already " + place + ": Calendar: tour"));
  EXPECT_THAT(lines_of(result, calendar_file, "tour-07D50413"), Contains("DTSTART:20050419T090000"));
  EXPECT_THAT(lines_of(result, calendar_file, "tour-07D5041A"), Contains("DTSTART:20050426T090000"));
}

TEST(OutlookAppointments, WithoutADayHaveTheNameOfAllTimes) {
  Planner planner;
  const std::uint16_t of_one = planner.file().named(pst::meeting_set, 0x03);
  const std::int64_t start = utc(2005, 4, 18, 7);
  const auto result = planner.pack(
      {planner.appointment("one", start, start, {pst::binary(of_one, name_of_meeting(0, 0, 0, "other"))}),
       planner.appointment("short", start, start, {pst::binary(of_one, "short")})});
  EXPECT_THAT(lines_of(result, calendar_file, "one"), Contains("SUMMARY:one"));
  EXPECT_THAT(lines_of(result, calendar_file, "short"), Contains("SUMMARY:short"));
}

TEST(OutlookAppointments, ComeAgainByTheClockOfTheirZone) {
  Planner planner;
  const auto result = planner.pack(
      {planner.series("weekly", {.specific = {0x14}, .end = 0x2021, .last = minutes(2005, 12, 27)}),
       planner.series("some",
                      {.end = 0x2022, .times = 5, .left_out = {minutes(2005, 4, 19), minutes(2005, 5, 3)}}),
       planner.series(
           "days", {.unit = yearly, .pattern = 2, .period = 12, .specific = {12}, .start = 0, .finish = 1440},
           {pst::flag(planner.of_appointment(0x8215), true)})});
  EXPECT_THAT(lines_of(result, calendar_file, "weekly"),
              ElementsAre("DTSTART:20050412T090000", "DTEND:20050412T103000", "SUMMARY:weekly",
                          "CLASS:PUBLIC", "RRULE:FREQ=WEEKLY;INTERVAL=1;UNTIL=20051227T235959;BYDAY=TU,TH"));
  EXPECT_THAT(lines_of(result, calendar_file, "some"),
              ElementsAre("DTSTART:20050412T090000", "DTEND:20050412T103000", "SUMMARY:some", "CLASS:PUBLIC",
                          "RRULE:FREQ=WEEKLY;INTERVAL=1;COUNT=5;BYDAY=TU", "EXDATE:20050419T090000",
                          "EXDATE:20050503T090000"));
  EXPECT_THAT(lines_of(result, calendar_file, "days"),
              testing::IsSupersetOf({"DTSTART;VALUE=DATE:20050412", "DTEND;VALUE=DATE:20050413",
                                     "RRULE:FREQ=YEARLY;INTERVAL=1;BYMONTH=4;BYMONTHDAY=12"}));
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(OutlookAppointments, ComeAgainByTheClockOfTheirSeriesBeforeTheOneThatTheyAreShownBy) {
  Planner planner;
  pst::Property of_series = planner.zone("Pacific Standard Time");
  of_series.id = planner.of_appointment(0x8260);
  const auto result = planner.pack({planner.series("tour", {}, {of_series})});
  EXPECT_THAT(lines_of(result, calendar_file, "tour"), Contains("DTSTART:20050412T180000"));
}

TEST(OutlookAppointments, ThatDoNotSayByWhoseClockHaveTheOneThatShowedTheirStart) {
  Planner planner;
  const Series winter{.left_out = {minutes(2005, 1, 18)}, .first = minutes(2005, 1, 11)};
  const auto result = planner.pack(
      {planner.series_at("home", {}, utc(2005, 4, 12, 7)),
       planner.series_at("new york", {.left_out = {minutes(2005, 4, 19)}}, utc(2005, 4, 12, 13)),
       planner.series_at("own zone", winter, utc(2005, 1, 11, 14), {planner.zone("Customized Time Zone")}),
       planner.series_at("kolkata", {}, utc(2005, 4, 12, 3, 30)),
       // Shorter than the time between the changes of two clocks.
       planner.series_at("soon over", {.end = 0x2021, .last = minutes(2005, 4, 26)}, utc(2005, 4, 12, 13))});
  EXPECT_THAT(lines_of(result, calendar_file, "home"), Contains("DTSTART:20050412T090000"));
  EXPECT_THAT(lines_of(result, calendar_file, "new york"),
              ElementsAre("DTSTART:20050412T150000", "DTEND:20050412T163000", "SUMMARY:new york",
                          "CLASS:PUBLIC", "RRULE:FREQ=WEEKLY;INTERVAL=1;BYDAY=TU", "EXDATE:20050419T150000"));
  EXPECT_THAT(lines_of(result, calendar_file, "own zone"),
              testing::IsSupersetOf({"DTSTART:20050111T150000", "EXDATE:20050118T150000"}));
  EXPECT_THAT(lines_of(result, calendar_file, "kolkata"), Contains("DTSTART:20050412T053000"));
  EXPECT_THAT(lines_of(result, calendar_file, "soon over"), Contains("DTSTART:20050412T150000"));
  const std::string calendar = place + ": Calendar: ";
  EXPECT_THAT(
      result.remarks(),
      UnorderedElementsAre("other-clock " + calendar + "new york", "other-clock " + calendar + "own zone",
                           "other-clock " + calendar + "kolkata", "other-clock " + calendar + "soon over",
                           "kept-as-file " + place));
}

TEST(OutlookAppointments, KeepTheClockThatShowedTheirStartWhereThePersonsIsNotKnown) {
  Planner planner;
  const auto result =
      planner.pack({planner.series_at("unsaid", {}, utc(2005, 4, 12, 7)), planner.series("berlin", {}),
                    planner.appointment("once", utc(2005, 4, 12, 7), utc(2005, 4, 12, 8))},
                   false);
  EXPECT_THAT(lines_of(result, calendar_file, "unsaid"), Contains("DTSTART:20050412T090000"));
  EXPECT_THAT(lines_of(result, calendar_file, "berlin"), Contains("DTSTART:20050412T090000"));
  EXPECT_THAT(lines_of(result, calendar_file, "once"), Contains("DTSTART:20050412T070000Z"));
  const std::string calendar = place + ": Calendar: ";
  EXPECT_THAT(result.remarks(), testing::IsSupersetOf({"clock-in-doubt " + calendar + "unsaid",
                                                       "clock-in-doubt " + calendar + "berlin"}));
  EXPECT_THAT(result.remarks(), testing::Not(Contains("clock-in-doubt " + calendar + "once")));
}

TEST(OutlookAppointments, WhoseStartIsThatOfNoClockKeepTheirHourAndAreTold) {
  Planner planner;
  const auto result = planner.pack({planner.series_at("later", {}, utc(2005, 4, 14, 7))});
  EXPECT_THAT(lines_of(result, calendar_file, "later"), Contains("DTSTART:20050412T090000"));
  EXPECT_THAT(result.remarks(),
              UnorderedElementsAre("simplified " + place + ": Calendar: later", "kept-as-file " + place));
}

std::string exception_head(std::uint32_t start, std::uint32_t end, std::uint32_t replaces, unsigned changes) {
  return little(start, 4) + little(end, 4) + little(replaces, 4) + little(changes, 2);
}
std::string text_of_bytes(const std::string& text) {
  return little(text.size() + 1, 2) + little(text.size(), 2) + text;
}

TEST(OutlookAppointments, AreOtherwiseWhereTheirOwnerSaidSo) {
  Planner planner;
  const std::uint32_t first_start = minutes(2005, 4, 20, 11);
  const std::uint32_t second_start = minutes(2005, 4, 26, 9);
  const std::string exceptions =
      little(2, 2) +
      exception_head(first_start, first_start + 60, minutes(2005, 4, 19, 9), 0x01 | 0x10 | 0x20 | 0x08) +
      text_of_bytes("M\xFCller?") + little(0, 4) + text_of_bytes("Hall") + little(0, 4) +
      exception_head(second_start, second_start + 30, minutes(2005, 4, 26, 9), 0x04) + little(45, 4);
  // Behind a block that is kept for later: of each a note, and its texts once more.
  const std::string behind = little(0, 4) +                          //
                             little(4, 4) + "note" + little(0, 4) +  // of the first one
                             std::string(12, '\0') +                 //
                             little(2, 2) + wide("M1") + little(4, 2) + wide("Hall") + little(0, 4) +
                             little(4, 4) + "note" + little(0, 4);  // of the second one
  const auto result = planner.pack(
      {planner.series("tour",
                      {.left_out = {minutes(2005, 4, 19), minutes(2005, 4, 26), minutes(2005, 5, 3)},
                       .changed = {minutes(2005, 4, 20), minutes(2005, 4, 26)},
                       .exceptions = exceptions,
                       .behind = behind},
                      {pst::text(planner.of_appointment(0x8208), "Quay"),
                       pst::flag(planner.of_all(0x8503), true), pst::number(planner.of_all(0x8501), 10)})});
  EXPECT_THAT(
      lines_of(result, calendar_file, "tour"),
      ElementsAre("DTSTART:20050412T090000", "DTEND:20050412T103000", "SUMMARY:tour", "LOCATION:Quay",
                  "CLASS:PUBLIC", "RRULE:FREQ=WEEKLY;INTERVAL=1;BYDAY=TU", "EXDATE:20050503T090000",
                  "EXDATE:20050419T090000", "EXDATE:20050426T090000", "BEGIN:VALARM", "ACTION:DISPLAY",
                  "DESCRIPTION:tour", "TRIGGER;VALUE=DURATION:-PT10M", "END:VALARM"));
  EXPECT_THAT(lines_of(result, calendar_file, "tour-20050419T090000"),
              ElementsAre("DTSTART:20050420T110000", "DTEND:20050420T120000", "SUMMARY:M1", "LOCATION:Hall",
                          "CLASS:PUBLIC", "TRANSP:TRANSPARENT"));
  EXPECT_THAT(lines_of(result, calendar_file, "tour-20050426T090000"),
              ElementsAre("DTSTART:20050426T090000", "DTEND:20050426T093000", "SUMMARY:tour", "LOCATION:Quay",
                          "CLASS:PUBLIC", "BEGIN:VALARM", "ACTION:DISPLAY", "DESCRIPTION:tour",
                          "TRIGGER;VALUE=DURATION:-PT45M", "END:VALARM"));
}

TEST(OutlookAppointments, AreOfAWholeDayWhereTheirOwnerSaidSo) {
  Planner planner;
  const std::uint32_t day = minutes(2005, 4, 19);
  const std::string exceptions =
      little(1, 2) + exception_head(day, day + 1440, minutes(2005, 4, 19, 9), 0x80) + little(1, 4);
  const auto result =
      planner.pack({planner.series("tour", {.left_out = {day},
                                            .changed = {day},
                                            .exceptions = exceptions,
                                            .behind = little(0, 4) + little(0, 4) + little(0, 4)})});
  EXPECT_THAT(lines_of(result, calendar_file, "tour-20050419T090000"),
              testing::IsSupersetOf({"DTSTART;VALUE=DATE:20050419", "DTEND;VALUE=DATE:20050420"}));
}

// A series with one changed time, of which the rule says `changes`, and the hidden attachment with that time.
pst::Item series_with(Planner& planner, unsigned changes, const std::string& values,
                      const pst::Item& changed) {
  const std::uint32_t start = minutes(2005, 4, 19, 11);
  const std::string exceptions =
      little(1, 2) + exception_head(start, start + 60, minutes(2005, 4, 19, 9), changes) + values;
  pst::Item item = planner.series("tour", {.left_out = {minutes(2005, 4, 19)},
                                           .changed = {minutes(2005, 4, 19)},
                                           .exceptions = exceptions,
                                           .behind = little(0, 4) + little(0, 4) + little(0, 4)});
  item.recipients = {{pst::text(0x3003, "ann@home.example")}, {pst::text(0x3003, "bob@home.example")}};
  item.attachments = {
      {.properties = {pst::number(0x7FFD, 2), pst::flag(0x7FFE, true), pst::number(0x3705, 5)},
       .message = {changed}}};
  return item;
}

pst::Item changed_time(const std::vector<std::string>& people) {
  pst::Item item{.properties = {pst::text(0x001A, "IPM.OLE.CLASS.{00061055-0000-0000-C000-000000000046}"),
                                pst::text(0x0037, "tour")}};
  for (const std::string& address : people) item.recipients.push_back({pst::text(0x3003, address)});
  return item;
}

TEST(OutlookAppointments, AreWholeWithTimesThatWereMoved) {
  const std::vector<std::string> same{"bob@home.example", "ann@home.example"};
  for (const pst::Item& changed : {changed_time({}), changed_time(same)}) {
    Planner planner;
    const auto result = planner.pack({series_with(planner, 0, "", changed)});
    EXPECT_THAT(lines_of(result, calendar_file, "tour-20050419T090000"), Contains("DTSTART:20050419T110000"));
    EXPECT_THAT(result.remarks(), IsEmpty());
  }
}

TEST(OutlookAppointments, WithMoreToAChangedTimeAreTold) {
  pst::Item with_file = changed_time({});
  with_file.attachments = {{.properties = {pst::text(0x3707, "a.txt"), pst::binary(0x3701, "a")}}};
  struct Case {
    unsigned changes;
    std::string values;
    pst::Item changed;
  };
  const std::vector<Case> cases{{0x200, "", changed_time({})},
                                {0x002, little(1, 4), changed_time({})},
                                {0x040, little(1, 4), changed_time({})},
                                {0, "", changed_time({"ann@home.example"})},
                                {0, "", with_file}};
  for (const auto& [changes, values, changed] : cases) {
    Planner planner;
    EXPECT_THAT(planner.pack({series_with(planner, changes, values, changed)}).remarks(),
                UnorderedElementsAre("simplified " + place + ": Calendar: tour", "kept-as-file " + place))
        << changes;
  }
  Planner planner;
  EXPECT_THAT(planner.pack({series_with(planner, 0x040, little(0, 4), changed_time({}))}).remarks(),
              IsEmpty());
  // An attachment of that form which is none of a changed time.
  pst::Item forwarded = planner.series("tour", {});
  forwarded.attachments = {{.properties = {pst::number(0x3705, 5)}, .message = {changed_time({})}}};
  EXPECT_THAT(planner.pack({forwarded}).remarks(), Contains("simplified " + place + ": Calendar: tour"));
}

// Half an hour later on each of so many days from the first one on.
Series with_exceptions(std::size_t count) {
  Series series{.unit = daily, .pattern = 0, .period = 1440, .specific = {}, .exceptions = little(count, 2)};
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint32_t day = minutes(2005, 4, 12) + static_cast<std::uint32_t>(i) * 1440;
    const std::uint32_t start = day + 9 * 60;
    series.left_out.push_back(day);
    series.changed.push_back(day);
    series.exceptions += exception_head(start + 30, start + 60, start, 0);
  }
  return series;
}

TEST(OutlookAppointments, ThatAreVeryLongAreBriefOnTheLastOfManyDays) {
  Planner planner;
  const auto result = planner.pack({planner.series(
      "tour", with_exceptions(3),
      {pst::text(0x1000, std::string(1'500'000, 'b')), pst::text(planner.of_appointment(0x8208), "Quay")})});
  for (const char* second : {"tour-20050412T090000", "tour-20050413T090000"})
    EXPECT_THAT(lines_of(result, calendar_file, second), Contains(HasSubstr("DESCRIPTION:bbb"))) << second;
  EXPECT_THAT(lines_of(result, calendar_file, "tour-20050414T090000"),
              ElementsAre("DTSTART:20050414T093000", "DTEND:20050414T100000", "SUMMARY:tour", "LOCATION:Quay",
                          "CLASS:PUBLIC"));
  EXPECT_THAT(result.remarks(), Contains("simplified " + place + ": Calendar: tour"));
}

TEST(OutlookAppointments, ThatAreOtherwiseOnManyDaysAreReadAtOnce) {
  const auto read = [](std::size_t count) {
    const auto recurrence = pack::outlook_recurrence(with_exceptions(count).bytes());
    EXPECT_EQ(recurrence->exceptions.size(), count);
    EXPECT_THAT(recurrence->left_out, IsEmpty());
  };
  EXPECT_LT(growth::of_time(read, 4000), growth::most);
  const auto pack = [](std::size_t count) {
    Planner planner;
    const auto result = planner.pack({planner.series("tour", with_exceptions(count))});
    EXPECT_EQ(result.people.front().tally.count(pack::Kind::events).packed, count + 1);
  };
  EXPECT_LT(growth::of_time(pack, 500), growth::most);
}

TEST(OutlookAppointments, ThatAreOtherwiseOnTooManyDaysAreTold) {
  Planner planner;
  const auto result = planner.pack({planner.series("tour", with_exceptions(10001))});
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::events).packed, 10001U);
  EXPECT_THAT(result.remarks(), Contains("simplified " + place + ": Calendar: tour"));
}

TEST(OutlookAppointments, ByAnotherCalendarComeOnceAndAreTold) {
  Planner planner;
  const auto result =
      planner.pack({planner.series("moon", {.unit = monthly, .pattern = 0xA, .specific = {12}}),
                    planner.series("sun", {})});
  EXPECT_THAT(
      lines_of(result, calendar_file, "moon"),
      ElementsAre("DTSTART:20050412T090000", "DTEND:20050412T103000", "SUMMARY:moon", "CLASS:PUBLIC"));
  EXPECT_THAT(result.remarks(),
              UnorderedElementsAre("simplified " + place + ": Calendar: moon", "kept-as-file " + place));
}

TEST(OutlookAppointments, WithFilesAreTold) {
  Planner planner;
  pst::Item item = planner.appointment("with", utc(2005, 4, 18, 7), utc(2005, 4, 18, 8));
  item.attachments = {{.properties = {pst::text(0x3707, "a.txt"), pst::binary(0x3701, "a")}}};
  EXPECT_THAT(planner.pack({item}).remarks(),
              UnorderedElementsAre("simplified " + place + ": Calendar: with", "kept-as-file " + place));
}

// RTF as Outlook keeps it when that saves nothing.
std::string kept_rtf(const std::string& rtf) {
  return little(rtf.size() + 12, 4) + little(rtf.size(), 4) + "MELA" + little(0, 4) + rtf;
}

TEST(OutlookAppointments, HaveTheTextOfTheirHtmlOrRtf) {
  Planner planner;
  const std::int64_t start = utc(2005, 4, 18, 7);
  const std::string rtf = "{\\rtf1\\ansi one\\par two\\par}";
  const std::string wrapped = "{\\rtf1\\ansi\\fromhtml1 {\\*\\htmltag <p>}one{\\*\\htmltag </p><p>}two}";
  const std::string html = "<p>one</p><p>caf\xE9</p>";
  const std::string in_utf16 = wide("<p>one</p>");
  const auto result = planner.pack(
      {planner.appointment("html", start, start, {pst::binary(0x1013, html), pst::number(0x3FDE, 1252)}),
       planner.appointment("untold", start, start, {pst::binary(0x1013, html)}),
       planner.appointment("koi", start, start,
                           {pst::binary(0x1013, "<p>\xC4\xC1</p>"), pst::number(0x3FDE, 20866)}),
       planner.appointment("utf-8", start, start, {pst::binary(0x1013, "<p>caf\u00E9</p>")}),
       planner.appointment("utf-16", start, start,
                           {pst::binary(0x1013, in_utf16), pst::number(0x3FDE, 1200)}),
       planner.appointment("text", start, start, {pst::text(0x1013, "<p>caf\u00E9</p>")}),
       planner.appointment("rtf", start, start,
                           {pst::text(0x1000, " \r\n"), pst::binary(0x1009, kept_rtf(rtf))}),
       planner.appointment("wrapped", start, start, {pst::binary(0x1009, kept_rtf(wrapped))}),
       planner.appointment("first", start, start, {pst::text(0x1000, "body"), pst::binary(0x1013, html)}),
       planner.appointment("nothing", start, start, {pst::binary(0x1009, kept_rtf("{\\rtf1\\par}"))}),
       planner.task("task", {pst::binary(0x1013, html)})});
  const auto has = [&](const std::string& uid, const std::string& text) {
    EXPECT_THAT(lines_of(result, uid == "task" ? tasks_file : calendar_file, uid),
                Contains("DESCRIPTION:" + text))
        << uid;
  };
  has("html", "one\\ncaf\u00E9");
  has("untold", "one\\ncaf\u00E9");
  has("koi", "\u0434\u0430");
  has("utf-8", "caf\u00E9");
  has("utf-16", "one");
  has("text", "caf\u00E9");
  has("rtf", "one\\ntwo");
  has("wrapped", "one\\ntwo");
  has("first", "body");
  has("task", "one\\ncaf\u00E9");
  EXPECT_THAT(lines_of(result, calendar_file, "nothing"), Not(Contains(HasSubstr("DESCRIPTION"))));
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(OutlookAppointments, WhoseTextCannotBeReadAreTold) {
  const std::string calendar = place + ": Calendar: ";
  for (const pst::Property& text :
       {pst::binary(0x1009, "damaged"), pst::text(0x1000, std::string((std::size_t{2} << 20) + 1, 'x'))}) {
    Planner planner;
    const auto result =
        planner.pack({planner.appointment("a", utc(2005, 4, 18, 7), utc(2005, 4, 18, 8), {text})});
    EXPECT_THAT(result.remarks(),
                UnorderedElementsAre("simplified " + calendar + "a", "kept-as-file " + place));
  }
}

TEST(OutlookTasks, HaveAllThatTheyHave) {
  Planner planner;
  const double half = 0.5;
  std::string share(sizeof half, '\0');
  std::memcpy(share.data(), &half, sizeof half);
  const auto result =
      planner.pack({planner.task("Insurance", {pst::time(planner.of_task(0x8104), utc(2005, 4, 1)),
                                               pst::time(planner.of_task(0x8105), utc(2005, 4, 30)),
                                               pst::number(planner.of_task(0x8101), 1),
                                               {planner.of_task(0x8102), 5, share},
                                               pst::number(0x0017, 0),
                                               pst::text(0x1000, "call"),
                                               pst::flag(planner.of_all(0x8503), true),
                                               pst::time(planner.of_all(0x8502), utc(2005, 4, 29, 20))}),
                    planner.task("Done", {pst::number(planner.of_task(0x8101), 2),
                                          pst::time(planner.of_task(0x810F), utc(2005, 3, 14, 16, 15))}),
                    planner.task("Later", {pst::number(planner.of_task(0x8101), 4),
                                           pst::time(planner.of_task(0x8105), utc(2005, 5, 10))}),
                    planner.task("Bins", {pst::time(planner.of_task(0x8104), utc(2005, 4, 12)),
                                          pst::time(planner.of_task(0x8105), utc(2005, 4, 12)),
                                          pst::flag(planner.of_task(0x8126), true),
                                          pst::binary(planner.of_task(0x8116), Series{}.head())})});
  EXPECT_THAT(lines_of(result, tasks_file, "Insurance"),
              ElementsAre("DTSTART;VALUE=DATE:20050401", "DUE;VALUE=DATE:20050430", "SUMMARY:Insurance",
                          "DESCRIPTION:call", "PRIORITY:9", "STATUS:IN-PROCESS", "CLASS:PUBLIC",
                          "PERCENT-COMPLETE:50", "BEGIN:VALARM", "ACTION:DISPLAY", "DESCRIPTION:Insurance",
                          "TRIGGER;VALUE=DURATION;RELATED=END:-PT2H", "END:VALARM"));
  EXPECT_THAT(lines_of(result, tasks_file, "Done"),
              ElementsAre("COMPLETED:20050314T161500Z", "SUMMARY:Done", "STATUS:COMPLETED", "CLASS:PUBLIC"));
  EXPECT_THAT(lines_of(result, tasks_file, "Later"),
              ElementsAre("DUE;VALUE=DATE:20050510", "SUMMARY:Later", "STATUS:NEEDS-ACTION", "CLASS:PUBLIC"));
  EXPECT_THAT(lines_of(result, tasks_file, "Bins"),
              ElementsAre("DTSTART;VALUE=DATE:20050412", "DUE;VALUE=DATE:20050412", "SUMMARY:Bins",
                          "STATUS:NEEDS-ACTION", "CLASS:PUBLIC", "RRULE:FREQ=WEEKLY;INTERVAL=1;BYDAY=TU"));
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::tasks).packed, 4U);
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(OutlookTasks, ThatAreMarkedAsDoneAreDone) {
  Planner planner;
  const auto result = planner.pack({planner.task("a", {pst::flag(planner.of_task(0x811C), true)}),
                                    planner.task("b", {pst::flag(planner.of_task(0x811C), false)})});
  EXPECT_THAT(lines_of(result, tasks_file, "a"), Contains("STATUS:COMPLETED"));
  EXPECT_THAT(lines_of(result, tasks_file, "b"), Contains("STATUS:NEEDS-ACTION"));
}

TEST(OutlookTasks, WithMoreThanACalendarKnowsAreTold) {
  Planner planner;
  const auto result = planner.pack(
      {planner.task("reminder", {pst::flag(planner.of_all(0x8503), true),
                                 pst::time(planner.of_all(0x8502), utc(2005, 4, 29, 20))}),
       planner.task("moon", {pst::flag(planner.of_task(0x8126), true),
                             pst::binary(planner.of_task(0x8116),
                                         Series{.unit = monthly, .pattern = 0xA, .specific = {12}}.head())}),
       planner.task("once", {pst::binary(planner.of_task(0x8116), Series{.pattern = 0xA}.head())})});
  EXPECT_THAT(result.remarks(),
              UnorderedElementsAre("simplified " + place + ": Calendar: reminder",
                                   "simplified " + place + ": Calendar: moon", "kept-as-file " + place));
}

TEST(OutlookTasks, ThatComeAgainStandWhereTheyComeNext) {
  Planner planner;
  const auto weekly_task = [&](const std::string& name, const Series& series, pst::Properties times) {
    times.push_back(pst::flag(planner.of_task(0x8126), true));
    times.push_back(pst::binary(planner.of_task(0x8116), series.head()));
    return planner.task(name, times);
  };
  const auto start = [&](unsigned month, unsigned day) {
    return pst::time(planner.of_task(0x8104), utc(2010, month, day));
  };
  const auto due = [&](unsigned month, unsigned day) {
    return pst::time(planner.of_task(0x8105), utc(2010, month, day));
  };
  const Series counted{.end = 0x2022, .times = 10, .last = minutes(2010, 7, 13)};
  Series never_told = counted;
  never_told.last = 0x5AE980DF;
  const auto result =
      planner.pack({weekly_task("both", {}, {start(4, 13), due(4, 14)}), weekly_task("due", {}, {due(4, 14)}),
                    weekly_task("none", {}, {}), weekly_task("counted", counted, {start(4, 13), due(4, 13)}),
                    weekly_task("never told", never_told, {start(4, 13), due(4, 13)}),
                    weekly_task("after done", {.after_done = 1}, {start(4, 13)})});
  const std::string weekly_rule = "RRULE:FREQ=WEEKLY;INTERVAL=1;BYDAY=TU";
  EXPECT_THAT(lines_of(result, tasks_file, "both"),
              testing::IsSupersetOf({std::string("DTSTART;VALUE=DATE:20100413"),
                                     std::string("DUE;VALUE=DATE:20100414"), weekly_rule}));
  EXPECT_THAT(lines_of(result, tasks_file, "due"),
              testing::IsSupersetOf(
                  {std::string("DTSTART;VALUE=DATE:20100414"), std::string("DUE;VALUE=DATE:20100414")}));
  EXPECT_THAT(lines_of(result, tasks_file, "none"), Contains("DTSTART;VALUE=DATE:20050412"));
  EXPECT_THAT(lines_of(result, tasks_file, "counted"),
              testing::IsSupersetOf(
                  {"DTSTART;VALUE=DATE:20100413", "RRULE:FREQ=WEEKLY;INTERVAL=1;UNTIL=20100713;BYDAY=TU"}));
  EXPECT_THAT(lines_of(result, tasks_file, "never told"), Contains(weekly_rule));
  EXPECT_THAT(result.remarks(), UnorderedElementsAre("simplified " + place + ": Calendar: never told",
                                                     "simplified " + place + ": Calendar: after done",
                                                     "kept-as-file " + place));
}

TEST(OutlookTasks, ThatHaveNotMovedOnKeepTheirNumberOfTimes) {
  Planner planner;
  const auto result = planner.pack({planner.task(
      "a", {pst::time(planner.of_task(0x8104), utc(2005, 4, 12)), pst::flag(planner.of_task(0x8126), true),
            pst::binary(planner.of_task(0x8116), Series{.end = 0x2022, .times = 3}.head())})});
  EXPECT_THAT(lines_of(result, tasks_file, "a"), Contains("RRULE:FREQ=WEEKLY;INTERVAL=1;COUNT=3;BYDAY=TU"));
  EXPECT_THAT(result.remarks(), IsEmpty());
}

TEST(OutlookNotes, ArePacked) {
  Planner planner;
  const auto note = [](const std::string& title, const std::string& text) {
    return pst::Item{.properties = {pst::text(0x001A, "IPM.StickyNote"), pst::text(0x0037, title),
                                    pst::text(0x1000, text)}};
  };
  const auto result = planner.pack({note("Shopping", "Shopping\r\nmilk"), note("Title", "other text"),
                                    note("Shopping", "Shopping\r\nmilk")});
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::notes).packed, 2U);
  EXPECT_EQ(result.files_below("Brindle/Notes/").size(), 2U);
  EXPECT_THAT(result.remarks(), ElementsAre("there-already " + place + ": Calendar"));
  std::string all;
  for (const std::string& name : result.files_below("Brindle/Notes/"))
    all += result.content.at("Brindle/Notes/" + name);
  EXPECT_THAT(all, HasSubstr("milk"));
  EXPECT_THAT(all, HasSubstr("other text"));
  EXPECT_THAT(all, HasSubstr("Title"));
}

TEST(OutlookNotes, HaveTheTextOfTheirRtf) {
  Planner planner;
  const auto note = [](const std::string& title, const std::string& rtf) {
    return pst::Item{.properties = {pst::text(0x001A, "IPM.StickyNote"), pst::text(0x0037, title),
                                    pst::binary(0x1009, rtf)}};
  };
  const auto result =
      planner.pack({note("Shopping", kept_rtf("{\\rtf1 Shopping\\par milk}")), note("Damaged", "x")});
  EXPECT_EQ(result.people.front().tally.count(pack::Kind::notes).packed, 2U);
  std::string all;
  for (const std::string& name : result.files_below("Brindle/Notes/"))
    all += result.content.at("Brindle/Notes/" + name);
  EXPECT_THAT(all, HasSubstr("milk"));
  EXPECT_THAT(all, HasSubstr("Damaged"));
  EXPECT_THAT(result.remarks(),
              UnorderedElementsAre("item-cut " + place + ": Calendar", "kept-as-file " + place));
}

}  // namespace
