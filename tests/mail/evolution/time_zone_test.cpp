#include "process/mail/evolution/time_zone.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>

#include "mail/evolution/homes.h"
#include "process/mail/evolution/personal.h"
#include "support/session.h"

namespace {

constexpr const char* key = "/apps/evolution/calendar/display/timezone";
const std::string profile_file = "/home/ann/.gconf/apps/evolution/calendar/display/%gconf.xml";

TEST(TimeZone, EveryAbbreviationOfTheTable) {
  const std::pair<const char*, const char*> rows[] = {
      {"ART", "America/Buenos_Aires"}, {"AST", "America/Puerto_Rico"}, {"CET", "Europe/Netherlands"},
      {"CST", "Asia/Shanghai"},        {"EET", "Europe/Athens"},       {"EST", "America/New_York"},
      {"GMT", "Europe/London"},        {"HKT", "Asia/Hong_Kong"},      {"ICT", "Asia/Bangkok"},
      {"JST", "Asia/Tokyo"},           {"KST", "Asia/Seoul"},          {"MST", "America/Phoenix"},
      {"MYT", "Asia/Kuala_Lumpur"},    {"PHT", "Asia/Manila"},         {"PST", "America/Los_Angeles"},
      {"SGT", "Asia/Singapore"},       {"WIT", "Asia/Jakarta"},        {"WST", "Australia/Perth"}};
  for (const auto& [abbreviation, zone] : rows)
    EXPECT_STREQ(zone, time_zone_matrix((std::string(abbreviation) + "\n").c_str())) << abbreviation;
}

TEST(TimeZone, OtherAbbreviationsHaveNoZone) {
  for (const char* text :
       {"CEST\n", "UTC\n", "EDT\n", "PDT\n", "cet\n", "CET", "CET\n\n", " CET\n", "\n", ""})
    EXPECT_EQ(nullptr, time_zone_matrix(text)) << text;
}

TEST(TimeZone, IsSetThroughTheClientForTheRunningUser) {
  const Session session;
  setenv("TZ", "CET-1", 1);
  testing::internal::CaptureStdout();
  set_time_zone();
  EXPECT_EQ("buffer=/root\nbuffer=/root\nTimezone Val::Europe/Netherlands",
            testing::internal::GetCapturedStdout());
  EXPECT_EQ("Europe/Netherlands\n", session.get(key));
  setenv("TZ", "CEST-2", 1);
  set_time_zone();
  EXPECT_EQ("Europe/Netherlands\n", session.get(key));
}

TEST(TimeZone, AnUnknownOneSetsNothing) {
  make_profile();
  setenv("TZ", "UTC0", 1);
  set_time_zone();
  EXPECT_FALSE(exists(profile_file));
}

TEST(TimeZone, IsWrittenForAProfile) {
  make_profile();
  setenv("TZ", "CET-1", 1);
  testing::internal::CaptureStdout();
  set_time_zone();
  EXPECT_EQ("buffer=/home/ann\nbuffer=/home/ann\nTimezone Val::Europe/Netherlands",
            testing::internal::GetCapturedStdout());
  EXPECT_TRUE(matches_expected(profile_file, "evolution_personal/time_zone.xml"));
  EXPECT_EQ("Europe/Netherlands\n", gconf_value_in("/home/ann", key));
}

TEST(TimeZone, AProfilesFoldersAreMadeBySimpleCommands) {
  isDefaultUser = 0;
  ASSERT_TRUE(assign(cur_user, "ann"));
  std::filesystem::create_directories("/home/ann/.gconf/apps/evolution");
  setenv("TZ", "CET-1", 1);
  set_time_zone();
  const std::string calendar = "/home/ann/.gconf/apps/evolution/calendar";
  EXPECT_THAT(commands_run(), testing::ElementsAre(testing::StartsWith("date +%Z > /home/ann/."),
                                                   "mkdir " + calendar, "mkdir " + calendar + "/display"));
  EXPECT_TRUE(exists(profile_file));
}

TEST(TimeZone, AProfilesFileHoldsOnlyWhatWasWrittenLast) {
  make_profile();
  setenv("TZ", "CET-1", 1);
  EXPECT_EQ(0, display_calendar());
  EXPECT_TRUE(matches_expected(profile_file, "evolution_personal/selected_calendars.xml"));
  set_time_zone();
  EXPECT_TRUE(matches_expected(profile_file, "evolution_personal/time_zone.xml"));
  EXPECT_EQ(0, display_calendar());
  EXPECT_TRUE(matches_expected(profile_file, "evolution_personal/selected_calendars.xml"));
}

TEST(TimeZone, AProfileWithoutAHomeDoesNoHarm) {
  isDefaultUser = 0;
  ASSERT_TRUE(assign(cur_user, "nobodyhere"));
  setenv("TZ", "CET-1", 1);
  set_time_zone();
  EXPECT_FALSE(exists("/home/nobodyhere"));
}

}  // namespace
