#include "pack/calendar/calendar.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>

#include "pack/calendar/component.h"
#include "pack/calendar/lines.h"
#include "pack/calendar/rule.h"
#include "pack/growth.h"
#include "pack/pack.h"
#include "pack/planner/content_line.h"
#include "pack/recorded.h"
#include "pack/windows_disk.h"
#include "support/commands.h"

namespace {

using pack::Moment;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// ---- Moments and zones -----------------------------------------------------------------------------------

const std::int64_t nine = pack::clock_seconds(2005, 4, 18, 9);

TEST(Moments, AreWrittenAndRead) {
  EXPECT_EQ(pack::time_text(nine), "20050418T090000");
  EXPECT_EQ(pack::date_text(nine), "20050418");
  EXPECT_EQ(pack::time_text(-1), "19691231T235959");
  EXPECT_EQ(pack::moment_of("20050418"), Moment::day(pack::clock_seconds(2005, 4, 18)));
  EXPECT_EQ(pack::moment_of("20050418T090000"), Moment::floating(nine));
  EXPECT_EQ(pack::moment_of("20050418T090000Z"), Moment::instant(nine));
  for (const char* other :
       {"", "2005041", "20051318", "20050230", "2005041a", "20050418T0900", "20050418T096000",
        "20050418T240000", "20050418x090000", "20050418T090000X", "-0050418"})
    EXPECT_FALSE(pack::moment_of(other).is_there()) << other;
}

TEST(Moments, StayWithinACalendar) {
  EXPECT_EQ(pack::time_text(INT64_MAX), "99991231T235959");
  EXPECT_EQ(pack::time_text(INT64_MIN), "00010101T000000");
  const auto zone = pack::Zone::named("Europe/Berlin");
  EXPECT_EQ(pack::time_text(zone->clock_at(INT64_MAX)), "99991231T235959");
  EXPECT_EQ(pack::time_text(zone->instant_of(INT64_MIN)), "00010101T000000");
}

TEST(Zones, KnowSummerTimeOfAllYears) {
  const auto berlin = pack::Zone::named("Europe/Berlin");
  ASSERT_TRUE(berlin);
  for (const int year : {1985, 2005, 2045}) {
    EXPECT_EQ(berlin->clock_at(pack::clock_seconds(year, 1, 18, 8)), pack::clock_seconds(year, 1, 18, 9));
    EXPECT_EQ(berlin->clock_at(pack::clock_seconds(year, 7, 18, 7)), pack::clock_seconds(year, 7, 18, 9));
    EXPECT_EQ(berlin->instant_of(pack::clock_seconds(year, 1, 18, 9)), pack::clock_seconds(year, 1, 18, 8));
    EXPECT_EQ(berlin->instant_of(pack::clock_seconds(year, 7, 18, 9)), pack::clock_seconds(year, 7, 18, 7));
  }
  EXPECT_FALSE(pack::Zone::named("Europe/Nowhere"));
  EXPECT_FALSE(pack::Zone::named(""));
  EXPECT_FALSE(pack::Zone::named(std::string(200, 'x')));
}

TEST(Zones, HaveWindowsNamesAndThoseOfOthers) {
  EXPECT_EQ(pack::olson_of_windows("W. Europe Standard Time"), "Europe/Berlin");
  EXPECT_EQ(pack::olson_of_windows("China Standard Time"), "Asia/Shanghai");
  EXPECT_EQ(pack::olson_of_windows("Central Standard Time"), "America/Chicago");
  EXPECT_EQ(pack::olson_of_windows("No Standard Time"), "");
  EXPECT_EQ(pack::olson_of("Europe/Berlin"), "Europe/Berlin");
  EXPECT_EQ(pack::olson_of("/mozilla.org/20050126_1/America/Argentina/Ushuaia"), "America/Argentina/Ushuaia");
  EXPECT_EQ(pack::olson_of("W. Europe Standard Time"), "Europe/Berlin");
  EXPECT_EQ(pack::olson_of("/nobody.example/1/Nowhere"), "");
}

TEST(Zones, AreThoseOfTheMachine) {
  const auto zone = [](const windows::Keys& system, const windows::Keys& software,
                       const std::string& windows = "Windows") {
    const windows::Disk folder;
    folder.add(windows + "/System32/config/SYSTEM", windows::hive(system));
    folder.add(windows + "/System32/config/SOFTWARE", windows::hive(software));
    pack::Options options;
    options.source = folder.path();
    const pack::Disk disk = pack::disk_of(options);
    const std::vector<pack::Person> people;
    return pack::zone_of({.disk = disk, .people = people, .registry = pack::machine_registry(disk)});
  };
  const std::string key = R"(ControlSet003\Control\TimeZoneInformation)";
  const std::vector<windows::Value> current = {{"Current", "3", windows::Value::dword}};
  const windows::Keys zones = {{R"(Microsoft\Windows NT\CurrentVersion\Time Zones\Tokyo Standard Time)",
                                {{"Std", "Tokyo Normalzeit"}}},
                               {R"(Microsoft\Windows NT\CurrentVersion\Time Zones\W. Europe Standard Time)",
                                {{"Std", "Westeuropäische Normalzeit"}}}};
  EXPECT_EQ(zone({{"Select", current}, {key, {{"TimeZoneKeyName", "China Standard Time"}}}}, zones),
            "Asia/Shanghai");
  // Before Vista.
  EXPECT_EQ(zone({{"Select", current}, {key, {{"StandardName", "Westeuropäische Normalzeit"}}}}, zones),
            "Europe/Berlin");
  const windows::Keys old = {{"Select", current}, {key, {{"StandardName", "Westeuropäische Normalzeit"}}}};
  EXPECT_EQ(zone(old, zones, "WINNT"), "Europe/Berlin");
  EXPECT_EQ(zone({{"Select", current}, {key, {{"StandardName", "another"}}}}, zones), "");
  EXPECT_EQ(zone({{"Select", current},
                  {key, {{"TimeZoneKeyName", "nowhere"}, {"StandardName", "Tokyo Normalzeit"}}}},
                 zones),
            "Asia/Tokyo")
      << "a name that nobody knows";
  EXPECT_EQ(zone({{"Select", current},
                  {key, {{"TimeZoneKeyName", "China Standard Time"}, {"StandardName", "Tokyo Normalzeit"}}}},
                 zones),
            "Asia/Shanghai");
  EXPECT_EQ(zone({{"Select", current}}, zones), "");
}

// ---- Lines -----------------------------------------------------------------------------------------------

TEST(Lines, AreFoldedBetweenCharacters) {
  pack::Lines lines;
  std::string text;
  for (int i = 0; i < 100; ++i) text += "ä";
  lines.add_text("SUMMARY", text);
  EXPECT_EQ(lines.text(),
            "SUMMARY:" + text.substr(0, 66) + "\n " + text.substr(66, 74) + "\n " + text.substr(140) + "\n");
}

TEST(Lines, HoldNothingThatTheWizardRewrites) {
  pack::Lines lines;
  lines.add_text("SUMMARY", "a END:VALARM b RRULE:FREQ=DAILY c-PT5M d PRIORITY:9 e COMPLETED:1");
  lines.add_folded("ATTACH:http://x.example/DTSTART;TZID=1:/DTEND;TZID=1:/DUE;TZID=1:");
  EXPECT_EQ(lines.text(),
            "SUMMARY:a END:VALAR\n M b RRUL\n E:FREQ=DAILY c-P\n T5M d PRIORITY\n :9 e COMPLETED\n :1\n"
            "ATTACH:http://x.example/DTSTART;TZI\n D=1:/DTEND;TZI\n D=1:/DUE;TZI\n D=1:\n");
}

TEST(Lines, EscapeWhatHasAMeaning) {
  EXPECT_EQ(pack::escaped("a,b;c\\d\r\ne\x01"
                          "f\xFF"
                          "g" +
                          std::string("\0h", 2)),
            "a\\,b\\;c\\\\d\\nef\xEF\xBF\xBDg\xEF\xBF\xBDh");
  EXPECT_EQ(pack::plain("a,b;c\r\nd"), "a,b;cd");
  EXPECT_EQ(pack::in_quotes("Ann \"Annie\"; Lee"), "\"Ann 'Annie'; Lee\"");
}

// ---- Rules -----------------------------------------------------------------------------------------------

TEST(Rules, HaveFrequencyAndIntervalInFront) {
  EXPECT_EQ(pack::written_rule("BYDAY=MO,TH;FREQ=WEEKLY", ""), "FREQ=WEEKLY;INTERVAL=1;BYDAY=MO,TH");
  EXPECT_EQ(pack::written_rule("FREQ=YEARLY;INTERVAL=2;BYMONTHDAY=-1;BYMONTH=2;WKST=SU", ""),
            "FREQ=YEARLY;INTERVAL=2;WKST=SU;BYMONTH=2;BYMONTHDAY=-1");
  EXPECT_EQ(pack::written_rule("freq=daily;count=5", ""), "FREQ=DAILY;INTERVAL=1;COUNT=5");
  EXPECT_EQ(pack::written_rule("FREQ=DAILY", "20051231"), "FREQ=DAILY;INTERVAL=1;UNTIL=20051231");
  // Two ends are none for a calendar library.
  EXPECT_EQ(pack::written_rule("FREQ=DAILY;COUNT=5", "20051231"), "FREQ=DAILY;INTERVAL=1;COUNT=5");
}

TEST(Rules, OfAWeekdayOfTheMonthHaveTheFormThatAllRead) {
  EXPECT_EQ(pack::written_rule("FREQ=MONTHLY;BYDAY=2MO", ""), "FREQ=MONTHLY;INTERVAL=1;BYDAY=MO;BYSETPOS=2");
  EXPECT_EQ(pack::written_rule("FREQ=MONTHLY;BYSETPOS=-1;BYDAY=FR", ""),
            "FREQ=MONTHLY;INTERVAL=1;BYDAY=FR;BYSETPOS=-1");
  EXPECT_EQ(pack::written_rule("FREQ=MONTHLY;COUNT=3;BYDAY=2MO", ""),
            "FREQ=MONTHLY;INTERVAL=1;COUNT=3;BYDAY=MO;BYSETPOS=2");
  EXPECT_EQ(pack::written_rule("FREQ=MONTHLY;BYDAY=MO;BYSETPOS=2", "20051231"),
            "FREQ=MONTHLY;INTERVAL=1;UNTIL=20051231;BYDAY=2MO");
  EXPECT_EQ(pack::written_rule("FREQ=YEARLY;BYMONTH=3;BYDAY=SU;BYSETPOS=-1", ""),
            "FREQ=YEARLY;INTERVAL=1;BYMONTH=3;BYDAY=-1SU");
  // The position is not the weekday's own.
  EXPECT_EQ(pack::written_rule("FREQ=YEARLY;BYDAY=20MO", ""), "FREQ=YEARLY;INTERVAL=1;BYDAY=20MO");
  EXPECT_EQ(pack::written_rule("FREQ=YEARLY;BYMONTH=3,4;BYDAY=SU;BYSETPOS=-1", ""),
            "FREQ=YEARLY;INTERVAL=1;BYMONTH=3,4;BYDAY=SU;BYSETPOS=-1");
  EXPECT_EQ(pack::written_rule("FREQ=MONTHLY;BYDAY=MO,TU,WE,TH,FR;BYSETPOS=-1", ""),
            "FREQ=MONTHLY;INTERVAL=1;BYDAY=MO,TU,WE,TH,FR;BYSETPOS=-1");
  EXPECT_EQ(pack::written_rule("FREQ=MONTHLY;BYMONTHDAY=13;BYDAY=FR;BYSETPOS=1", ""),
            "FREQ=MONTHLY;INTERVAL=1;BYMONTHDAY=13;BYDAY=FR;BYSETPOS=1");
  EXPECT_EQ(pack::written_rule("FREQ=MONTHLY;BYMONTH=1,7;BYDAY=2MO", ""),
            "FREQ=MONTHLY;INTERVAL=1;BYMONTH=1,7;BYDAY=2MO");
}

TEST(Rules, ThatNoLibraryTakesAreNone) {
  for (const char* rule :
       {"", "BYDAY=MO", "FREQ=SOMETIMES", "FREQ=DAILY;INTERVAL=0", "FREQ=DAILY;COUNT=x",
        "FREQ=WEEKLY;BYDAY=XX", "FREQ=WEEKLY;BYDAY=0MO", "FREQ=WEEKLY;BYDAY=MO,,TU",
        "FREQ=MONTHLY;BYMONTHDAY=32", "FREQ=YEARLY;BYMONTH=-1", "FREQ=YEARLY;BYMONTH=1;SKIP=OMIT",
        "FREQ=YEARLY;RSCALE=CHINESE", "FREQ=WEEKLY;WKST=1", "FREQ=DAILY;COUNT=99999999999"})
    EXPECT_EQ(pack::written_rule(rule, ""), "") << rule;
}

TEST(Rules, ComeADayLaterOrEarlier) {
  EXPECT_EQ(pack::moved_rule("FREQ=WEEKLY;BYDAY=MO,SU", 1), "BYDAY=TU,MO;FREQ=WEEKLY;WKST=TU");
  EXPECT_EQ(pack::moved_rule("FREQ=WEEKLY;INTERVAL=2;BYDAY=MO,SU;WKST=SU", -1),
            "BYDAY=SU,SA;FREQ=WEEKLY;INTERVAL=2;WKST=SA");
  EXPECT_EQ(pack::moved_rule("FREQ=DAILY;COUNT=5", 1), "COUNT=5;FREQ=DAILY");
  EXPECT_EQ(pack::moved_rule("FREQ=DAILY;BYDAY=FR", 1), "BYDAY=SA;FREQ=DAILY");
  EXPECT_EQ(pack::moved_rule("FREQ=MONTHLY", 1), "FREQ=MONTHLY");
  EXPECT_EQ(pack::moved_rule("FREQ=MONTHLY;BYMONTHDAY=2,27", 1), "BYMONTHDAY=3,28;FREQ=MONTHLY");
  EXPECT_EQ(pack::moved_rule("FREQ=YEARLY;BYMONTH=4;BYMONTHDAY=2", -1), "BYMONTH=4;BYMONTHDAY=1;FREQ=YEARLY");
  EXPECT_EQ(pack::moved_rule("FREQ=MONTHLY;BYDAY=2TU", 0), "FREQ=MONTHLY;BYDAY=2TU");
  for (const char* rule :
       {"FREQ=MONTHLY;BYDAY=2TU", "FREQ=MONTHLY;BYDAY=TU;BYSETPOS=2", "FREQ=MONTHLY;BYMONTHDAY=28",
        "FREQ=MONTHLY;BYMONTHDAY=-1", "FREQ=YEARLY;BYMONTH=4;BYDAY=TU", "FREQ=YEARLY;BYYEARDAY=5",
        "FREQ=MONTHLY;BYMONTHDAY=13;BYDAY=FR", "FREQ=DAILY;BYMONTH=4"})
    EXPECT_EQ(pack::moved_rule(rule, 1), "") << rule;
  EXPECT_EQ(pack::moved_rule("FREQ=MONTHLY;BYMONTHDAY=1", -1), "");
  EXPECT_EQ(pack::moved_rule("FREQ=MONTHLY;BYMONTHDAY=30", -1), "");
}

TEST(Rules, AreFoldedWhereTheWizardWouldRewrite) {
  pack::Lines lines;
  lines.add_rule("FREQ=WEEKLY;INTERVAL=1;UNTIL=20051231T235959;BYDAY=TU");
  lines.add_rule("FREQ=MONTHLY;INTERVAL=1;BYDAY=MO,TU;BYSETPOS=-1");
  lines.add_rule("FREQ=MONTHLY;INTERVAL=1;BYDAY=MO;BYSETPOS=-1");
  lines.add_rule("FREQ=MONTHLY;INTERVAL=1;BYMONTHDAY=1,2;BYDAY=MO;BYSETPOS=-1");
  EXPECT_EQ(lines.text(),
            "RRULE:FREQ=WEEKLY;INTERVAL=1;UNTIL\n =20051231T235959;BYDAY=TU\n"
            "RRULE:FREQ=MONTHLY;INTERVAL=1;BYDAY=MO,TU;BYSETPOS\n =-1\n"
            "RRULE:FREQ=MONTHLY;INTERVAL=1;BYDAY=MO;BYSETPOS=-1\n"
            "RRULE:FREQ=MONTHLY;INTERVAL=1;BYMONTHDAY=1,2;BYDAY=MO;BYSETPOS\n =-1\n");
}

// ---- Items -----------------------------------------------------------------------------------------------

const auto berlin = pack::Zone::named("Europe/Berlin");
const std::string new_york = "America/New_York";

pack::CalendarItem item_at(const Moment& start) {
  pack::CalendarItem item;
  item.title = "Meeting";
  item.start = start;
  return item;
}

pack::CalendarItem weekly(const Moment& start) {
  pack::CalendarItem item = item_at(start);
  item.recurrence.rule = "FREQ=WEEKLY";
  return item;
}

std::string written(const pack::CalendarItem& item, const std::optional<pack::Zone>& home = berlin) {
  return pack::component_of(item, "uid", home).text;
}

TEST(Items, HaveTheTimeOfThePersonsClock) {
  EXPECT_THAT(written(item_at(Moment::zoned(nine, "Europe/Berlin"))),
              HasSubstr("\nDTSTART:20050418T090000\n"));
  EXPECT_THAT(written(item_at(Moment::zoned(nine, new_york))), HasSubstr("\nDTSTART:20050418T150000\n"));
  EXPECT_THAT(written(item_at(Moment::instant(nine))), HasSubstr("\nDTSTART:20050418T110000\n"));
  EXPECT_THAT(written(item_at(Moment::floating(nine))), HasSubstr("\nDTSTART:20050418T090000\n"));
  EXPECT_THAT(written(item_at(Moment::day(nine))),
              HasSubstr("\nDTSTART;VALUE=DATE:20050418\nDTEND;VALUE=DATE:20050419\n"));
}

TEST(Items, KeepTheirOwnClockWhereNobodyKnowsThePersons) {
  EXPECT_THAT(written(item_at(Moment::zoned(nine, new_york)), std::nullopt),
              HasSubstr("\nDTSTART:20050418T090000\n"));
  EXPECT_THAT(written(item_at(Moment::instant(nine)), std::nullopt),
              HasSubstr("\nDTSTART:20050418T090000Z\n"));
}

TEST(Items, ThatComeAgainStayAtTheirHour) {
  EXPECT_THAT(written(weekly(Moment::zoned(nine, "Europe/Vienna"))),
              HasSubstr("\nDTSTART:20050418T090000\n"));
  EXPECT_FALSE(pack::component_of(weekly(Moment::zoned(nine, "Europe/Vienna")), "1", berlin).is_approximate);
  // The clock of UTC has no summer time; all targets know it.
  EXPECT_THAT(written(weekly(Moment::instant(nine))), HasSubstr("\nDTSTART:20050418T090000Z\n"));
}

TEST(Items, ThatComeAgainByAnotherClockAreTold) {
  pack::CalendarItem item = weekly(Moment::zoned(nine, new_york));
  item.end = Moment::zoned(nine + 3600, new_york);
  item.recurrence.until = Moment::instant(pack::clock_seconds(2006, 4, 17, 13));
  item.recurrence.excluded = {Moment::instant(pack::clock_seconds(2005, 12, 5, 14)),
                              Moment::zoned(pack::clock_seconds(2005, 4, 25, 9), new_york)};
  const auto component = pack::component_of(item, "uid", berlin);
  EXPECT_TRUE(component.is_approximate);
  EXPECT_THAT(component.text, HasSubstr("\nDTSTART:20050418T150000\nDTEND:20050418T160000\n"));
  EXPECT_THAT(component.text, HasSubstr("UNTIL\n =20060417T150000\n"));
  EXPECT_THAT(component.text, HasSubstr("\nEXDATE:20051205T150000\nEXDATE:20050425T150000\n"));
  // It has ended before either clock changes.
  item.recurrence.until = Moment::instant(pack::clock_seconds(2005, 5, 17, 13));
  EXPECT_FALSE(pack::component_of(item, "uid", berlin).is_approximate);
}

// Eight in the evening in New York is two in the night in Berlin.
TEST(Items, ThatComeAgainOnAnotherDayOfThePersonsWeekMoveTheirRule) {
  pack::CalendarItem item = weekly(Moment::zoned(nine + 11 * 3600, new_york));
  item.recurrence.rule = "FREQ=WEEKLY;BYDAY=MO";
  item.recurrence.until = Moment::day(pack::clock_seconds(2005, 5, 2));
  auto component = pack::component_of(item, "uid", berlin);
  EXPECT_THAT(component.text, HasSubstr("\nDTSTART:20050419T020000\n"));
  EXPECT_THAT(component.text, HasSubstr("UNTIL\n =20050503T055959;WKST=TU;BYDAY=TU\n"));
  EXPECT_FALSE(component.is_simplified);
  // In the morning of the next day there it is the night before here.
  item.start = Moment::zoned(nine - 3 * 3600, "Asia/Tokyo");
  component = pack::component_of(item, "uid", berlin);
  EXPECT_THAT(component.text, HasSubstr("\nDTSTART:20050417T230000\n"));
  EXPECT_THAT(component.text, HasSubstr("UNTIL\n =20050502T165959;WKST=SU;BYDAY=SU\n"));
  item.start = Moment::zoned(nine, new_york);
  EXPECT_THAT(written(item), HasSubstr("BYDAY=MO\n"));
  item.start = Moment::zoned(nine + 11 * 3600, new_york);
  item.recurrence.rule = "FREQ=MONTHLY;BYDAY=3MO";
  component = pack::component_of(item, "uid", berlin);
  EXPECT_THAT(component.text, Not(HasSubstr("RRULE")));
  EXPECT_TRUE(component.is_simplified);
}

TEST(Items, OfAnUnknownZoneAreTold) {
  for (const auto& item :
       {item_at(Moment::zoned(nine, "No/Where")), weekly(Moment::zoned(nine, "No/Where"))}) {
    const auto component = pack::component_of(item, "uid", berlin);
    EXPECT_TRUE(component.is_approximate);
    EXPECT_THAT(component.text, HasSubstr("\nDTSTART:20050418T090000\n"));
  }
}

TEST(Items, EndAtTheEndOfTheirLastDay) {
  pack::CalendarItem item = weekly(Moment::zoned(nine, "Europe/Berlin"));
  item.recurrence.until = Moment::day(pack::clock_seconds(2005, 12, 31));
  EXPECT_THAT(written(item), HasSubstr("UNTIL\n =20051231T235959\n"));
  item.start = Moment::day(nine);
  EXPECT_THAT(written(item), HasSubstr("UNTIL\n =20051231\n"));
}

TEST(Items, ReplacedAndAddedTimesAreItemsOfTheirOwn) {
  pack::CalendarItem item = weekly(Moment::zoned(nine, "Europe/Berlin"));
  item.end = Moment::zoned(nine + 3600, "Europe/Berlin");
  item.recurrence.excluded = {Moment::day(pack::clock_seconds(2005, 5, 2))};
  item.recurrence.added = {Moment::zoned(pack::clock_seconds(2005, 4, 20, 14), "Europe/Berlin"), item.start};
  pack::CalendarItem other = item_at(Moment::zoned(pack::clock_seconds(2005, 4, 25, 10), "Europe/Berlin"));
  other.replaces = Moment::instant(pack::clock_seconds(2005, 4, 25, 7));
  item.exceptions = {other};
  const std::string text = written(item);
  EXPECT_THAT(text, HasSubstr("\nEXDATE:20050502T090000\nEXDATE:20050425T090000\n"));
  EXPECT_THAT(text, HasSubstr("\nUID:uid-1\nDTSTAMP:19700101T000000Z\nDTSTART:20050420T140000\n"
                              "DTEND:20050420T150000\n"));
  EXPECT_THAT(text,
              HasSubstr("\nUID:uid-20050425T070000\nDTSTAMP:19700101T000000Z\nDTSTART:20050425T100000\n"));
  EXPECT_THAT(text, Not(HasSubstr("RECURRENCE-ID")));
  EXPECT_THAT(text, Not(HasSubstr("uid-2\n")));
}

// The times at which something of it begins.
std::string starts_of(const pack::CalendarItem& item) {
  std::string starts;
  const std::string text = written(item);
  constexpr std::size_t size = std::string_view("20050418T090000").size();
  for (std::size_t at = 0; (at = text.find("\nDTSTART:", at)) != std::string::npos;)
    starts += (starts.empty() ? "" : " ") + text.substr(at += 9, size);
  return starts;
}

Moment in_berlin(unsigned month, unsigned day, int hour = 9) {
  return Moment::zoned(pack::clock_seconds(2005, month, day, hour), "Europe/Berlin");
}

TEST(Items, DoNotComeOnAddedDaysThatAreLeftOut) {
  pack::CalendarItem item = weekly(in_berlin(4, 18));
  item.recurrence.added = {in_berlin(4, 20), in_berlin(4, 21), in_berlin(4, 22, 14), in_berlin(4, 23)};
  EXPECT_EQ(starts_of(item),
            "20050418T090000 20050420T090000 20050421T090000 20050422T140000 20050423T090000");
  item.recurrence.excluded = {Moment::instant(pack::clock_seconds(2005, 4, 20, 7)),
                              Moment::day(pack::clock_seconds(2005, 4, 22))};
  pack::CalendarItem other = item_at(in_berlin(4, 21, 10));
  other.replaces = in_berlin(4, 21);
  item.exceptions = {other};
  EXPECT_EQ(starts_of(item), "20050418T090000 20050423T090000 20050421T100000");
}

TEST(Items, WithoutARuleDoNotComeAtAStartThatIsLeftOut) {
  pack::CalendarItem item = item_at(in_berlin(4, 18));
  item.recurrence.added = {in_berlin(4, 18), in_berlin(4, 20)};
  EXPECT_EQ(starts_of(item), "20050418T090000 20050420T090000");
  item.recurrence.excluded = {Moment::day(pack::clock_seconds(2005, 4, 18))};
  EXPECT_EQ(starts_of(item), "20050420T090000");
  item.recurrence.excluded = {};
  pack::CalendarItem other = item_at(in_berlin(4, 18, 10));
  other.replaces = in_berlin(4, 18);
  item.exceptions = {other};
  EXPECT_EQ(starts_of(item), "20050420T090000 20050418T100000");
  item.recurrence.added = {};
  EXPECT_EQ(starts_of(item), "20050418T100000");
  // A rule that no target takes cannot leave it out either.
  item.recurrence.rule = "FREQ=OFTEN";
  EXPECT_EQ(starts_of(item), "20050418T100000");
  item.recurrence.rule = "FREQ=WEEKLY";
  EXPECT_EQ(starts_of(item), "20050418T090000 20050418T100000");
}

TEST(Items, ThatComeOnceComeOnceWhateverIsLeftOut) {
  pack::CalendarItem item = item_at(in_berlin(4, 18));
  item.recurrence.excluded = {in_berlin(4, 18)};
  EXPECT_EQ(starts_of(item), "20050418T090000");
}

TEST(Items, OfWholeDaysAreLeftOutLikeOthers) {
  pack::CalendarItem item = item_at(Moment::day(pack::clock_seconds(2005, 4, 18)));
  item.recurrence.added = {Moment::day(pack::clock_seconds(2005, 4, 20)),
                           Moment::day(pack::clock_seconds(2005, 4, 21))};
  item.recurrence.excluded = {Moment::day(pack::clock_seconds(2005, 4, 21))};
  const std::string text = written(item);
  EXPECT_THAT(text, HasSubstr("DTSTART;VALUE=DATE:20050418\n"));
  EXPECT_THAT(text, HasSubstr("DTSTART;VALUE=DATE:20050420\n"));
  EXPECT_THAT(text, Not(HasSubstr("DTSTART;VALUE=DATE:20050421\n")));
}

TEST(Items, HaveAlarmsInOneUnitBeforeTheStart) {
  pack::CalendarItem item = item_at(Moment::zoned(nine, "Europe/Berlin"));
  item.end = Moment::zoned(nine + 3600, "Europe/Berlin");
  const auto trigger = [&](pack::Alarm alarm, bool is_task, bool is_simplified) {
    item.alarms = {alarm};
    item.is_task = is_task;
    const auto component = pack::component_of(item, "uid", berlin);
    EXPECT_EQ(component.is_simplified, is_simplified);
    const std::size_t begin = component.text.find("TRIGGER;VALUE=DURATION") + 22;
    return component.text.substr(begin, component.text.find('\n', begin) - begin);
  };
  EXPECT_EQ(trigger({.seconds_before = 900}, false, false), ":-PT15M");
  EXPECT_EQ(trigger({.seconds_before = 7200}, false, false), ":-PT2H");
  EXPECT_EQ(trigger({.seconds_before = 86400}, false, false), ":-PT24H");
  EXPECT_EQ(trigger({.seconds_before = 0}, false, false), ":-PT0M");
  EXPECT_EQ(trigger({.seconds_before = 31}, false, false), ":-PT1M");
  EXPECT_EQ(trigger({.seconds_before = -900}, false, true), ":-PT0M");
  EXPECT_EQ(trigger({.seconds_before = INT64_MAX}, false, true), ":-PT8784H");
  EXPECT_EQ(trigger({.seconds_before = 4500, .is_of_end = true}, false, false), ":-PT15M");
  EXPECT_EQ(trigger({.seconds_before = 4500, .is_of_end = true}, true, false), ";RELATED=END:-PT75M");
  item.start = {};
  EXPECT_EQ(trigger({.seconds_before = 900}, true, false), ";RELATED=END:-PT15M");
}

TEST(Items, WithAnEndInFrontOfTheStartHaveNone) {
  pack::CalendarItem item = item_at(Moment::instant(nine));
  item.end = Moment::instant(nine - 1);
  const auto component = pack::component_of(item, "uid", berlin);
  EXPECT_THAT(component.text, Not(HasSubstr("DTEND")));
  EXPECT_TRUE(component.is_simplified);
}

// ---- What is very long -----------------------------------------------------------------------------------

std::size_t count_of(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (std::size_t at = 0; (at = text.find(part, at)) != std::string_view::npos; at += part.size()) ++count;
  return count;
}

// On so many days besides.
pack::CalendarItem with_days(std::size_t days) {
  pack::CalendarItem item = weekly(Moment::zoned(nine, "Europe/Berlin"));
  for (std::size_t i = 1; i <= days; ++i)
    item.recurrence.added.push_back(
        Moment::zoned(nine + static_cast<std::int64_t>(i) * 86400, "Europe/Berlin"));
  return item;
}

TEST(LongItems, HaveTheBeginningsOfTheirTextsOnSingleDays) {
  pack::CalendarItem item = with_days(10);
  item.title = std::string(119, 't') + "ä and more";
  item.location = "Room 1";
  item.description = std::string(1 << 20, 'd');
  item.categories = {"Work"};
  item.links = {"http://x.example/"};
  item.priority = 1;
  item.status = "TENTATIVE";
  item.access = pack::CalendarItem::Access::personal;
  item.leaves_time_free = true;
  item.attendees = {{.name = "Bob", .address = "bob@home.example", .role = "", .will_come = ""}};
  for (int minutes = 1; minutes <= 6; ++minutes) item.alarms.push_back({.seconds_before = minutes * 60});
  const auto component = pack::component_of(item, "uid", berlin);
  EXPECT_TRUE(component.is_simplified);
  EXPECT_EQ(component.items, 11U);
  EXPECT_EQ(count_of(component.text, "\nUID:uid-"), 10U);
  EXPECT_EQ(count_of(component.text, "\nDESCRIPTION:dd"), 4U) << "the series, and three days in 4 MB";
  EXPECT_EQ(count_of(component.text, "\nATTENDEE"), 4U);
  std::string alarms;
  for (const char minutes : {'1', '2', '3', '4', '5'})
    alarms += "BEGIN:VALARM\nACTION:DISPLAY\nDESCRIPTION:" + std::string(63, 't') + "\n " +
              std::string(56, 't') + "\nTRIGGER;VALUE=DURATION:-PT" + minutes + "M\nEND:VALARM\n";
  EXPECT_EQ(component.text.substr(component.text.find("BEGIN:VEVENT\nUID:uid-10")),
            "BEGIN:VEVENT\nUID:uid-10\nDTSTAMP:19700101T000000Z\nDTSTART:20050428T090000\nSUMMARY:" +
                std::string(67, 't') + "\n " + std::string(52, 't') +
                "\nLOCATION:Room 1\nPRIORITY:1\nSTATUS:TENTATIVE\nCLASS:PRIVATE\nTRANSP:TRANSPARENT\n" +
                alarms + "END:VEVENT\n");
}

TEST(LongItems, OfTasksAreTasksOnSingleDays) {
  pack::CalendarItem item = with_days(10);
  item.is_task = true;
  item.percent = 50;
  item.description = std::string(1 << 20, 'd');
  const std::string text = written(item);
  EXPECT_THAT(text.substr(text.find("BEGIN:VTODO\nUID:uid-10")), HasSubstr("\nPERCENT-COMPLETE:50\n"));
}

TEST(LongItems, OfOrdinaryLengthHaveAllOfThem) {
  pack::CalendarItem item = with_days(1000);
  item.description = std::string(2000, 'd');
  const auto component = pack::component_of(item, "uid", berlin);
  EXPECT_FALSE(component.is_simplified);
  EXPECT_EQ(count_of(component.text, "\nDESCRIPTION:dd"), 1001U);
}

TEST(LongItems, HaveTheBeginningOfTheirTitleInAlarms) {
  pack::CalendarItem item = item_at(Moment::zoned(nine, "Europe/Berlin"));
  item.title = std::string(10000, 't');
  item.alarms.assign(6, {.seconds_before = 900});
  std::string text = written(item);
  std::erase(text, '\n');
  std::erase(text, ' ');
  EXPECT_EQ(count_of(text, "DESCRIPTION:" + item.title + "TRIGGER"), 6U);
  item.alarms.assign(7, {.seconds_before = 900});
  const auto component = pack::component_of(item, "uid", berlin);
  EXPECT_EQ(count_of(component.text, "\nDESCRIPTION:" + std::string(63, 't') + "\n " + std::string(57, 't') +
                                         "\nTRIGGER;VALUE=DURATION:-PT15M\n"),
            7U);
  EXPECT_FALSE(component.is_simplified) << "the title stands in front of them";
}

TEST(LongItems, HaveAThousandAlarmsAndTellOfMore) {
  pack::CalendarItem item = item_at(Moment::zoned(nine, "Europe/Berlin"));
  item.alarms.assign(1000, {.seconds_before = 900});
  EXPECT_FALSE(pack::component_of(item, "uid", berlin).is_simplified);
  item.alarms.push_back({.seconds_before = 900});
  const auto component = pack::component_of(item, "uid", berlin);
  EXPECT_EQ(count_of(component.text, "BEGIN:VALARM"), 1000U);
  EXPECT_TRUE(component.is_simplified);
}

// An item of about so many bytes.
struct LongItem {
  const char* name;
  pack::CalendarItem (*of_size)(std::size_t size);
};

const LongItem long_items[] = {
    {"one long line",
     [](std::size_t size) {
       auto item = with_days(0);
       item.description = std::string(size, 'x');
       return item;
     }},
    {"many short lines",
     [](std::size_t size) {
       auto item = with_days(0);
       for (std::size_t i = 0; i < size / 2; ++i) item.description += "x\n";
       return item;
     }},
    {"bytes that are no characters",
     [](std::size_t size) {
       auto item = with_days(0);
       item.description = std::string(size, '\xFF');
       return item;
     }},
    {"many properties",
     [](std::size_t size) {
       auto item = with_days(0);
       for (std::size_t i = 0; i < size / 60; ++i) {
         item.attendees.push_back(
             {.name = "Ann", .address = "ann@home.example", .role = "CHAIR", .will_come = ""});
         item.links.emplace_back("http://x.example/");
         item.categories.emplace_back("Work");
       }
       return item;
     }},
    {"days that are left out",
     [](std::size_t size) {
       auto item = with_days(0);
       item.recurrence.excluded.assign(size / 16, Moment::zoned(nine + 86400, new_york));
       return item;
     }},
    {"days besides",
     [](std::size_t size) {
       auto item = with_days(size / 512);
       item.description = std::string(size / 2, 'x');
       return item;
     }},
    {"alarms",
     [](std::size_t size) {
       auto item = with_days(0);
       item.title = std::string(size / 2, 'x');
       item.alarms.assign(size / 32, {.seconds_before = 900});
       return item;
     }},
    {"exceptions",
     [](std::size_t size) {
       auto item = with_days(0);
       auto exception = item_at(Moment::zoned(nine, "Europe/Berlin"));
       exception.description = std::string(200, 'x');
       exception.alarms = {{.seconds_before = 900}};
       exception.replaces = Moment::zoned(nine + 7 * 86400, new_york);
       item.exceptions.assign(size / 250, exception);
       return item;
     }},
};

TEST(LongItems, TakeTimeAndRoomAsTheyAreLong) {
  constexpr std::size_t size = std::size_t{1} << 16;
  for (const auto& [name, of_size] : long_items) {
    const auto text_size = [&](std::size_t bytes) { return written(of_size(bytes)).size(); };
    EXPECT_LT(static_cast<double>(text_size(4 * size)) / static_cast<double>(text_size(size)), growth::most)
        << name;
    EXPECT_LT(growth::of_time([&](std::size_t bytes) { written(of_size(bytes)); }, size), growth::most)
        << name;
  }
}

TEST(LongItems, OfFourMegabytesAreReadAndWrittenAtOnce) {
#ifdef BRINDLE_ADDRESS_CHECKER
  GTEST_SKIP() << "the checker takes several times as long";
#endif
  constexpr double most = 3;
  for (const auto& [name, of_size] : long_items) {
    const pack::CalendarItem item = of_size(std::size_t{4} << 20);
    std::string text;
    EXPECT_LT(growth::seconds_of([&] { text = written(item); }, 1), most) << name;
    EXPECT_LT(growth::seconds_of([&] { pack::content_lines(text); }, 1), most) << name << ", lines";
  }
}

TEST(LongLines, TakeTimeAsTheyAreLong) {
  for (const char* part : {"x", "\n x", "x\n", "a:b\n", ";a=b", ";\"", "\",\"", ":a;b=c\r\n d"}) {
    const auto read = [&](std::size_t size) {
      std::string text = "A";
      while (text.size() < size) text += part;
      pack::content_lines(text + ":x\n");
    };
    EXPECT_LT(growth::of_time(read, std::size_t{1} << 16), growth::most) << part;
  }
}

// ---- Collecting ------------------------------------------------------------------------------------------

struct Collected {
  recorded::Parcel parcel;
  pack::Tally tally;
  std::set<pack::Kind> without;

  std::vector<std::string> remarks() const {
    std::vector<std::string> texts;
    tally.each_remark([&](const pack::Tally::Remark& remark) {
      texts.push_back(std::string(pack::name_of(remark.cause)) + " " + remark.path);
    });
    return texts;
  }
};

TEST(Collecting, DropsWhatCameBefore) {
  Collected to;
  pack::Packing packing(to.parcel, to.tally, "Brindle", to.without);
  pack::Calendar calendar(packing, "Europe/Berlin");
  pack::CalendarItem item = item_at(Moment::instant(nine));
  item.uid = "1";
  calendar.add(item, "a");
  item.title = "Otherwise";
  calendar.add(item, "b");
  item.is_task = true;
  calendar.add(item, "a task");
  item = item_at(Moment::instant(nine));
  item.modified = Moment::instant(1);
  calendar.add(item, "c");
  item.modified = Moment::instant(2);
  calendar.add(item, "d");
  item.title = "Otherwise";
  calendar.add(item, "e");
  item.start = {};
  calendar.add(item, "f");
  calendar.pack();
  EXPECT_THAT(to.remarks(), ElementsAre("there-already b", "there-already d", "damaged f"));
  EXPECT_EQ(to.tally.count(pack::Kind::events).packed, 3U);
  EXPECT_EQ(to.tally.count(pack::Kind::tasks).packed, 1U);
  const std::string text = to.parcel.content.at("Brindle/ImapMail/Calendar/calendar.ics");
  EXPECT_THAT(text,
              testing::StartsWith("BEGIN:VCALENDAR\nCALSCALE:GREGORIAN\nPRODID:-//Brindle//brindle-pack//EN\n"
                                  "VERSION:2.0\nBEGIN:VEVENT\nUID:1\n"));
  EXPECT_THAT(text, testing::EndsWith("\nEND:VEVENT\nEND:VCALENDAR\n"));
}

TEST(Collecting, TellsOneOfWhichEachDayWasTakenOut) {
  Collected to;
  pack::Packing packing(to.parcel, to.tally, "Brindle", to.without);
  pack::Calendar calendar(packing, "Europe/Berlin");
  pack::CalendarItem item = item_at(in_berlin(4, 18));
  item.recurrence.added = {in_berlin(4, 20)};
  item.recurrence.excluded = {in_berlin(4, 18), in_berlin(4, 20)};
  calendar.add(item, "a");
  calendar.pack();
  EXPECT_THAT(to.remarks(), ElementsAre("deleted a"));
  EXPECT_EQ(to.tally.count(pack::Kind::events).packed, 0U);
  EXPECT_THAT(to.parcel.content, IsEmpty());
}

TEST(Collecting, GivesItemsWithAVeryLongUidAShortOne) {
  Collected to;
  pack::Packing packing(to.parcel, to.tally, "Brindle", to.without);
  pack::Calendar calendar(packing, "Europe/Berlin");
  pack::CalendarItem item = item_at(Moment::instant(nine));
  for (const char end : {'a', 'b', 'a'}) {
    item.uid = std::string(1000, 'u') + end;
    calendar.add(item, {end});
  }
  item.uid = std::string(1000, 'u');
  calendar.add(item, "c");
  calendar.pack();
  EXPECT_THAT(to.remarks(), ElementsAre("there-already a"));
  std::string text = to.parcel.content.at("Brindle/ImapMail/Calendar/calendar.ics");
  EXPECT_EQ(count_of(text, "@brindle\n"), 2U);
  std::erase(text, '\n');
  std::erase(text, ' ');
  EXPECT_THAT(text, HasSubstr("UID:" + item.uid + "DTSTAMP"));
}

TEST(Collecting, BringsTheFoldersThatARunLooksFor) {
  Collected to;
  pack::Packing packing(to.parcel, to.tally, "Brindle", to.without);
  pack::Calendar calendar(packing, "");
  pack::CalendarItem item;
  item.is_task = true;
  item.title = "Task";
  calendar.add(item, "a");
  calendar.pack();
  std::vector<std::string> names;
  for (const auto& [name, bytes] : to.parcel.content) names.push_back(name);
  EXPECT_THAT(names,
              ElementsAre("Brindle/ImapMail/", "Brindle/ImapMail/Calendar/", "Brindle/ImapMail/Contacts/",
                          "Brindle/ImapMail/Tasks/", "Brindle/ImapMail/Tasks/tasks.ics",
                          "Brindle/ImapMail/brindle-email-accounts/"));
}

TEST(Collecting, HappensWhereCopiesLie) {
  ASSERT_EQ(output_of("mkdir -p /mnt/small && mount -t tmpfs -o size=64k none /mnt/small && echo done"),
            "done\n");
  Collected to;
  pack::Packing packing(to.parcel, to.tally, "Brindle", to.without);
  setenv("TMPDIR", "/mnt/small", 1);
  for (const bool is_task : {false, true}) {
    pack::Calendar calendar(packing, "");
    pack::CalendarItem item = item_at(Moment::instant(nine));
    item.is_task = is_task;
    EXPECT_THROW(
        for (int i = 0; i < 2000; ++i) {
          item.title = std::to_string(i);
          calendar.add(item, "a");
        },
        std::runtime_error);
  }
}

TEST(Collecting, OfNothingPacksNothing) {
  Collected to;
  to.without = {pack::Kind::events};
  pack::Packing packing(to.parcel, to.tally, "Brindle", to.without);
  pack::Calendar calendar(packing, "");
  calendar.add(item_at(Moment::instant(nine)), "a");
  calendar.pack();
  EXPECT_THAT(to.parcel.content, IsEmpty());
  EXPECT_EQ(to.tally.count(pack::Kind::events).found, 0U);
}

}  // namespace
