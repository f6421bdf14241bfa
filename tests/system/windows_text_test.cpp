#include "system/windows_text.h"

#include <gtest/gtest.h>

namespace {

// ---- Code pages ------------------------------------------------------------------------------------------

struct Letter {
  const char* language;
  const char* bytes;
  const char* text;
};

class CodePages : public testing::TestWithParam<Letter> {};

// The bytes are a letter that no neighbouring code page has in that place.
TEST_P(CodePages, HaveTheirLettersInTheirPlaces) {
  const Letter& letter = GetParam();
  EXPECT_EQ(std::string("<") + letter.text + ">",
            as_utf8(std::string("<") + letter.bytes + ">", letter.language));
}

INSTANTIATE_TEST_SUITE_P(
    All, CodePages,
    testing::Values(Letter{"de_DE", "\xfc", "\u00fc"}, Letter{"en_US", "\x80", "\u20ac"},
                    Letter{"pl_PL", "\xb3", "\u0142"}, Letter{"cs_CZ", "\xec", "\u011b"},
                    Letter{"hu_HU", "\xf5", "\u0151"}, Letter{"ru_RU", "\xe6", "\u0436"},
                    Letter{"uk_UA", "\xbf", "\u0457"}, Letter{"el_GR", "\xf9", "\u03c9"},
                    Letter{"tr_TR", "\xf0", "\u011f"}, Letter{"he_IL", "\xf9", "\u05e9"},
                    Letter{"ar_EG", "\xe3", "\u0645"}, Letter{"lt_LT", "\xeb", "\u0117"},
                    Letter{"vi_VN", "\xf5", "\u01a1"}, Letter{"th_TH", "\xa1", "\u0e01"},
                    Letter{"ja_JP", "\x83\x81", "\u30e1"}, Letter{"ko_KR", "\xb8\xde", "\uba54"},
                    Letter{"zh_CN", "\xb9\xa4", "\u5de5"}, Letter{"zh_TW", "\xa4\x75", "\u5de5"},
                    Letter{"zh_HK", "\xa4\x75", "\u5de5"}, Letter{"zh_SG", "\xb9\xa4", "\u5de5"}),
    [](const auto& one) { return std::string(one.param.language); });

TEST(CodePage, IsThatOfTheLanguageAndItsCountry) {
  const std::pair<const char*, std::vector<const char*>> expected[] = {
      {"CP1250", {"cs_CZ", "hr_HR", "hu_HU", "bs_BA", "pl_PL", "ro_RO", "sk_SK", "sl_SI", "sq_AL"}},
      {"CP1251", {"be_BY", "bg_BG", "kk_KZ", "ky_KG", "mk_MK", "mn_MN", "ru_RU", "sr_RS", "tt_RU", "uk_UA"}},
      {"CP1253", {"el_GR"}},
      {"CP1254", {"az_AZ", "tr_TR", "uz_UZ"}},
      {"CP1255", {"he_IL", "iw_IL", "yi_US"}},
      {"CP1256", {"ar_EG", "fa_IR", "ur_PK"}},
      {"CP1257", {"et_EE", "lt_LT", "lv_LV"}},
      {"CP1258", {"vi_VN"}},
      {"CP874", {"th_TH"}},
      {"CP932", {"ja_JP"}},
      {"CP949", {"ko_KR"}},
      {"CP950", {"zh_TW", "zh_HK", "zh_MO"}},
      {"CP936", {"zh_CN", "zh_SG"}}};
  for (const auto& [page, locales] : expected)
    for (const char* locale : locales) EXPECT_STREQ(page, windows_code_page(locale)) << locale;
}

TEST(CodePage, IsFoundInEveryFormOfALocale) {
  for (const char* locale : {"ru", "ru_RU", "ru_RU.KOI8-R", "ru.UTF-8", "ru@x", "ru_UA@x"})
    EXPECT_STREQ("CP1251", windows_code_page(locale)) << locale;
  EXPECT_STREQ("CP950", windows_code_page("zh_TW.Big5"));
  EXPECT_STREQ("CP936", windows_code_page("zh"));
}

TEST(CodePage, OfAnUnknownLanguageIsThatOfWesternEurope) {
  for (const char* language : {"", "C.UTF", "POSIX", "xx_YY", "zhx_C", "r", "rus"})
    EXPECT_STREQ("CP1252", windows_code_page(language)) << language;
}

// ---- Texts -----------------------------------------------------------------------------------------------

TEST(AsUtf8, LeavesUtf8AsItIs) {
  EXPECT_EQ("", as_utf8("", "de_DE"));
  EXPECT_EQ("plain", as_utf8("plain", "ja_JP"));
  EXPECT_EQ("M\u00fcller \u5de5 \U0001f600", as_utf8("M\u00fcller \u5de5 \U0001f600", "zh_CN"));
}

// Neither is UTF-8 although each looks like it: a surrogate, and an overlong form.
TEST(AsUtf8, TakesOnlyRealUtf8ForIt) {
  EXPECT_EQ("\u00ed\u00a0\u20ac", as_utf8("\xed\xa0\x80", "de_DE"));
  EXPECT_EQ("\u00c0\u00af", as_utf8("\xc0\xaf", "de_DE"));
}

TEST(AsUtf8, MarksABytePerLetterThatTheCodePageDoesNotHave) {
  EXPECT_EQ("a\ufffdb\ufffd\ufffd", as_utf8("a\x81"
                                            "b\x8d\x8f",
                                            "de_DE"));
}

TEST(AsUtf8, LeavesHalfACharacterAtTheEndOut) {
  EXPECT_EQ("\u5de5", as_utf8("\xb9\xa4\xb9", "zh_CN"));
  EXPECT_EQ("\u30e1", as_utf8("\x83\x81\x83", "ja_JP"));
}

// In CP1258 a letter waits for its accent: none may be lost, at the end or before a mark.
TEST(AsUtf8, KeepsALetterThatWaitsForAnAccent) {
  EXPECT_EQ("\u00fda", as_utf8("y\xec"
                               "a",
                               "vi_VN"));
  EXPECT_EQ("a", as_utf8("a", "vi_VN"));
  EXPECT_EQ("\u01b0a\ufffd", as_utf8("\xfd"
                                     "a\x8d",
                                     "vi_VN"));
  EXPECT_EQ("\u01b0a", as_utf8("\xfd"
                               "a",
                               "vi_VN"));
}

TEST(AsUtf8, ConvertsLongTexts) {
  std::string expected;
  for (int i = 0; i < 1000; ++i) expected += "\u0436";
  EXPECT_EQ(expected, as_utf8(std::string(1000, '\xe6'), "ru_RU"));
}

}  // namespace
