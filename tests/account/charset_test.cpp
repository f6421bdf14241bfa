// Texts of a person, in the character set that they are most likely in.
#include "account/archive/charset.h"

#include <gtest/gtest.h>

namespace {

using namespace account;

TEST(Readable, keeps_what_is_utf8) {
  EXPECT_EQ("M\u00fcller \u674e", readable("M\u00fcller \u674e", "CP1252"));
}

TEST(Readable, takes_the_code_page_of_windows) {
  EXPECT_EQ("M\u00fcller", readable("M\xfcller", "CP1252"));
  EXPECT_EQ("\u00c4\u00d6", readable("\xc4\xd6", "CP1252"));  // two letters, or an ideograph
  EXPECT_EQ("\u00c4\u00d6\u00dc\u00df", readable("\xc4\xd6\xdc\xdf", "CP1252"));
  EXPECT_EQ("caf\u00e9\u00bb", readable("caf\xe9\xbb", "CP1252"));
  EXPECT_EQ("\u0418\u0432\u0430\u043d", readable("\xc8\xe2\xe0\xed", "CP1251"));
}

// Of a person who writes Chinese on a PC set to English.
TEST(Readable, knows_chinese_where_no_western_word_can_be_meant) {
  EXPECT_EQ("\u674e\u5c0f\u660e", readable("\xc0\xee\xd0\xa1\xc3\xf7", "CP1252"));
  EXPECT_EQ("\u674e\u5c0f, \u660e", readable("\xc0\xee\xd0\xa1, \xc3\xf7", "CP1252"));
  EXPECT_EQ("\u65b0\u5e74", readable("\xd0\xc2\xc4\xea", "CP936"));
}

TEST(Readable, is_western_when_one_byte_is_no_chinese) {
  EXPECT_EQ("\u00c0\u00ee\u00d0\u00a1\u00c3\u00f7 \u00fc",
            readable("\xc0\xee\xd0\xa1\xc3\xf7 \xfc", "CP1252"));
  EXPECT_EQ("\u00c0\u00ee\u00d0\u00a1\u00c3", readable("\xc0\xee\xd0\xa1\xc3", "CP1252"));
}

}  // namespace
