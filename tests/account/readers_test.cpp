// The account's readers by themselves, on texts that no writer of ours makes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "account/readers/calendar.h"
#include "account/readers/kmailrc.h"
#include "account/readers/mozilla_prefs.h"
#include "support/files.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Pair;

std::string as_it_is(std::string_view line) { return std::string(line); }

TEST(CalendarText, IsUnfoldedAtBlanksAndTabs) {
  const auto content =
      account::content_of("BEGIN:VEVENT\nSUMMARY:the den\n\ttist\n  again\nEND:VEVENT\n", as_it_is);
  ASSERT_TRUE(content);
  EXPECT_THAT(*content, Contains("SUMMARY:the dentist again"));
}

TEST(CalendarText, ThatEndsInAnItemHasOneThatIsNotComplete) {
  account::CalendarReader reader(
      account::text_source("BEGIN:VCALENDAR\nBEGIN:VEVENT\nSUMMARY:a\nEND:VEVENT\n"
                           "BEGIN:VEVENT\nSUMMARY:b\n"));
  account::CalendarItem item;
  ASSERT_TRUE(reader.next(item));
  EXPECT_TRUE(item.complete);
  ASSERT_TRUE(reader.next(item));
  EXPECT_FALSE(item.complete);
  EXPECT_FALSE(reader.next(item));
}

TEST(KdeSettingsText, HasBackslashesBeforeItsCodes) {
  write_file("/tmp/rc", "[A]\nkey=a\\\\tb\\tc\\\\\n");
  EXPECT_THAT(account::read_kde_settings("/tmp/rc")["A"], ElementsAre(Pair("key", "a\\tb\tc\\")));
}

TEST(MozillaPreferencesText, CountsWholeCallsAlone) {
  write_file("/tmp/prefs.js",
             "user_pref(\"a\", \"1\");\nuser_pref(\"b\", \"2\")\nuser_pref(\"c\", \"3\";\nuser_pref(\"d\", "
             "true);\n");
  EXPECT_THAT(account::read_mozilla_prefs("/tmp/prefs.js"), ElementsAre(Pair("a", "1"), Pair("d", "true")));
}

}  // namespace
