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

// From the first ideograph to the last.
TEST(Readable, knows_every_ideograph) {
  EXPECT_EQ("\u554a\u554a\u554a", readable("\xb0\xa1\xb0\xa1\xb0\xa1", "CP1252"));
  EXPECT_EQ("\u9f44\u9f44\u9f44", readable("\xf7\xfe\xf7\xfe\xf7\xfe", "CP1252"));
  EXPECT_EQ("\u00c4\u00d6\u00dc\u00df\u00c4\u00a0", readable("\xc4\xd6\xdc\xdf\xc4\xa0", "CP1252"));
  EXPECT_EQ("\u00af\u00a1\u00c4\u00d6\u00dc\u00df", readable("\xaf\xa1\xc4\xd6\xdc\xdf", "CP1252"));
}

TEST(Readable, is_latin_1_where_the_code_page_has_no_such_byte) {
  EXPECT_EQ("\u0081\u00fc", readable("\x81\xfc", "CP1252"));
  EXPECT_EQ("\u0081\u00fc", readable("\x81\xfc", "no such page"));
}

TEST(Readable, is_western_when_one_byte_is_no_chinese) {
  EXPECT_EQ("\u00c0\u00ee\u00d0\u00a1\u00c3\u00f7 \u00fc",
            readable("\xc0\xee\xd0\xa1\xc3\xf7 \xfc", "CP1252"));
  EXPECT_EQ("\u00c0\u00ee\u00d0\u00a1\u00c3", readable("\xc0\xee\xd0\xa1\xc3", "CP1252"));
}

TEST(Pages, are_those_of_the_first_row_that_fits) {
  const auto pages = [](const char* language) {
    return std::string(dos_charset(language)) + " " + windows_charset(language);
  };
  EXPECT_EQ("CP437 CP1252", pages("en_US"));
  EXPECT_EQ("CP850 CP1252", pages("en_GB"));
  EXPECT_EQ("CP850 CP1252", pages(""));
  EXPECT_EQ("CP950 CP950", pages("zh_TW"));
  EXPECT_EQ("CP950 CP950", pages("zh_HK"));
  EXPECT_EQ("CP936 CP936", pages("zh_CN"));
  EXPECT_EQ("CP866 CP1251", pages("ru_RU"));
  EXPECT_EQ("CP852 CP1250", pages("pl_PL"));
  EXPECT_EQ("CP737 CP1253", pages("el_GR"));
  EXPECT_EQ("CP775 CP1257", pages("et_EE"));
}

TEST(Utf8, is_of_whole_characters_alone) {
  EXPECT_TRUE(is_utf8(""));
  EXPECT_TRUE(is_utf8("a\u00fc\U0001f600"));
  for (const char* text : {"\xfc", "\xc3", "\xed\xa0\x80", "\xc0\x80", "a\x80"})
    EXPECT_FALSE(is_utf8(text)) << text;
}

}  // namespace
