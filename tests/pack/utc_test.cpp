// Dates by the world's clock, against what date(1) says.
#include <gtest/gtest.h>

#include <array>
#include <limits>

#include "pack/disk/utc.h"

namespace {

std::string text_of(std::int64_t seconds) {
  const std::tm parts = pack::utc_parts(seconds);
  std::array<char, 64> text;
  text[std::strftime(text.data(), text.size(), "%w %Y-%m-%d %H:%M:%S", &parts)] = '\0';
  return text.data();
}

TEST(Utc, KnowsTheDaysOfOurTime) {
  EXPECT_EQ(text_of(0), "4 1970-01-01 00:00:00");
  EXPECT_EQ(text_of(-1), "3 1969-12-31 23:59:59");
  EXPECT_EQ(text_of(951782399), "1 2000-02-28 23:59:59");
  EXPECT_EQ(text_of(951782400), "2 2000-02-29 00:00:00");
}

TEST(Utc, GoesBeyondWhat32BitsCount) {
  EXPECT_EQ(text_of(-2147483648), "5 1901-12-13 20:45:52");
  EXPECT_EQ(text_of(-2147483649), "5 1901-12-13 20:45:51");
  EXPECT_EQ(text_of(2147483648), "2 2038-01-19 03:14:08");
  EXPECT_EQ(text_of(-11644473600), "1 1601-01-01 00:00:00");
  EXPECT_EQ(text_of(79870665600), "6 4501-01-01 00:00:00");
}

TEST(Utc, EndsWithTheCalendarItIsCountedBy) {
  EXPECT_EQ(text_of(971890963199), "0 32767-12-31 23:59:59");
  EXPECT_EQ(text_of(971890963200), "0 32767-12-31 23:59:59");
  EXPECT_EQ(text_of(std::numeric_limits<std::int64_t>::max()), "0 32767-12-31 23:59:59");
  EXPECT_EQ(text_of(std::numeric_limits<std::int64_t>::min()).substr(1), " -32767-01-01 00:00:00");
}

}  // namespace
