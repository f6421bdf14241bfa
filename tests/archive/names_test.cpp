#include "process/archive/names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "archive/windows_zip.h"
#include "process/archive/code_page.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* archive = "/tmp/a.zip";

bool never() { return false; }

struct Names : testing::Test {
  // As unzip leaves the files, and then with their names.
  static void unpack(const std::vector<PackedFile>& files, const char* page = "CP850") {
    write_zip(archive, files);
    shell_quietly(
        "mkdir -p /tmp/w; unzip -qq -o /tmp/a.zip -d /tmp/w </dev/null >/dev/null 2>/tmp/unzip-said");
    restore(page);
  }
  static void restore(const char* page) {
    testing::internal::CaptureStderr();
    restore_names({.archive = archive, .folder = "/tmp/w", .code_page = page}, never);
    said = testing::internal::GetCapturedStderr();
  }
  // "path=content", sorted; a folder ends in "/". What holds something is not listed itself.
  static std::vector<std::string> found() {
    const std::string list = output_of(
        "cd /tmp/w && { find . -type f -printf '%P=' -exec cat {} \\; -printf '\\n';"
        " find . -mindepth 1 -type d -empty -printf '%P/\\n'; } | LC_ALL=C sort");
    std::vector<std::string> lines;
    for (std::size_t begin = 0; begin < list.size();) {
      const std::size_t end = list.find('\n', begin);
      lines.push_back(list.substr(begin, end - begin));
      begin = end + 1;
    }
    return lines;
  }
  static std::string said;
};
std::string Names::said;

// ---- Which name -----------------------------------------------------------------------------------------

TEST_F(Names, GoThroughTheDosCodePage) {
  unpack({{"B/Gr\x81\xE1"
           "e.txt",
           "1"},
          {"B/\x84rger/\x94l.txt", "2"}});
  EXPECT_THAT(found(), ElementsAre("B/Grüße.txt=1", "B/ärger/öl.txt=2"));
  EXPECT_EQ("", said);
}

TEST_F(Names, ThatAreUtf8StayWhoeverMadeThem) {
  unpack({{"B/日本.txt", "1"},
          {"B/flag 日本.txt", "2", 0, 0x800},
          {"B/ntfs 日本.txt", "3", 11, 0x800},
          {"B/unix 日本.txt", "4", 3, 0, "", 0100644u << 16}});
  EXPECT_THAT(found(),
              ElementsAre("B/flag 日本.txt=2", "B/ntfs 日本.txt=3", "B/unix 日本.txt=4", "B/日本.txt=1"));
}

TEST_F(Names, FromNtfsGoThroughTheCodePageToo) {
  unpack(
      {{"B/Gr\x81\xE1"
        "e.txt",
        "1", 11}});
  EXPECT_THAT(found(), ElementsAre("B/Grüße.txt=1"));
}

TEST_F(Names, FromNtfsThatHappenToBeUtf8AreReadInTheLanguageToo) {
  unpack({{"B/\xE1\xA0\xA4.txt", "1", 11}, {"B\\\xAF.txt", "2", 11}}, "CP866");
  EXPECT_THAT(found(), ElementsAre("B/п.txt=2", "B/сад.txt=1"));
}

TEST_F(Names, OfTheUnicodeFieldGoFirst) {
  unpack({{"B/Gr\x81n ??.txt", "1", 0, 0, "B/Grün 日本.txt"},
          {"B/ascii ??.txt", "2", 0, 0, "B/ascii 日本.txt"}});
  EXPECT_THAT(found(), ElementsAre("B/Grün 日本.txt=1", "B/ascii 日本.txt=2"));
}

TEST_F(Names, OfTheUnicodeFieldAreFoundInEveryLocale) {
  // unzip writes #U65e5 where its locale has no such character.
  setenv("LC_ALL", "C", 1);
  unpack({{"B/ascii ??.txt", "2", 0, 0, "B/ascii 日本.txt"}});
  EXPECT_THAT(found(), ElementsAre("B/ascii 日本.txt=2"));
}

TEST_F(Names, ThatHappenToBeUtf8AreReadInTheLanguageOfTheirLetters) {
  unpack({{"B/\xE1\xA0\xA4.txt", "1"},
          {"B/сад.txt", "2"},
          {"B/日本.txt", "3"},
          {"B/flag \xE1\xA0\xA4.txt", "4", 0, 0x800}},
         "CP866");
  EXPECT_THAT(found(),
              ElementsAre("B/flag \xE1\xA0\xA4.txt=4", "B/сад.txt=1", "B/сад~2.txt=2", "B/日本.txt=3"));
}

// In CP850 the bytes are the letters of no word: ðû and ÐÅ.
TEST_F(Names, ThatAreUtf8StayWhereTheCodePageIsOfLatinLetters) {
  unpack({{"B/Ж.txt", "1"}, {"B/я.txt", "2"}});
  EXPECT_THAT(found(), ElementsAre("B/Ж.txt=1", "B/я.txt=2"));
}

TEST_F(Names, ThatTheCodePageDoesNotKnowAreStillNames) {
  unpack({{"B/\x81\xFF.txt", "1"}}, "CP936");  // no character begins so there
  EXPECT_THAT(found(), ElementsAre("B/ü\xC2\xA0.txt=1"));
}

TEST_F(Names, HoldNoLineEnds) {
  unpack({{"B/a\x81\nb.txt", "1"}});
  EXPECT_THAT(found(), ElementsAre("B/aüb.txt=1"));
}

TEST_F(Names, WithBackslashesAreFoldersOnlyFromWindows) {
  unpack({{"B\\\x95\\\\y.txt", "1"}, {"\x95\\.txt", "2"}, {"\x81\xE3\\u", "3", 3, 0, "", 0100644u << 16}},
         "CP932");
  EXPECT_THAT(found(), ElementsAre("B/表/y.txt=1", "√\\u=3", "表.txt=2"));
}

// ---- Which file -----------------------------------------------------------------------------------------

// In GBK. unzip makes "-+" of each of the first two, "+-" of the third.
const std::string picture = "\xCD\xBC";  // 图
const std::string travel = "\xC2\xC3";   // 旅
const std::string text = "\xCE\xC4";     // 文

TEST_F(Names, ThatFellTogetherAreTakenAgain) {
  unpack({{"B/" + picture + ".txt", "picture"},
          {"B/" + text + ".txt", "text"},
          {"B/" + travel + ".txt", "travel"},
          {"B/plain.txt", "plain"}},
         "CP936");
  EXPECT_THAT(found(),
              ElementsAre("B/plain.txt=plain", "B/图.txt=picture", "B/文.txt=text", "B/旅.txt=travel"));
  EXPECT_EQ("", said);
  EXPECT_EQ("2007-03-14\n", output_of("date -r '/tmp/w/B/图.txt' +%F"));  // the one that was gone
}

TEST_F(Names, OfOneSizeAreToldByContent) {
  unpack({{"B/" + picture + ".txt", "1111"},
          {"B/" + text + ".txt", "2222"},
          {"B/" + travel + ".txt", "3333"},
          {"B/" + text + text + ".txt", "4444"}},
         "CP936");
  EXPECT_THAT(found(), ElementsAre("B/图.txt=1111", "B/文.txt=2222", "B/文文.txt=4444", "B/旅.txt=3333"));
}

TEST_F(Names, OfOneContentGetAFileEach) {
  unpack({{"B/" + picture + ".txt", "same"},
          {"B/" + text + ".txt", "same"},
          {"B/" + travel + ".txt", ""},
          {"B/x/" + text, ""}},
         "CP936");
  EXPECT_THAT(found(), ElementsAre("B/x/文=", "B/图.txt=same", "B/文.txt=same", "B/旅.txt="));
}

TEST_F(Names, OfOneContentStayWhereTheyLieRight) {
  std::vector<PackedFile> files = {{"B/" + picture + ".txt", "same"}};
  for (int number = 1; number <= 9; ++number) files.push_back({"B/日本" + std::to_string(number), "same"});
  write_zip(archive, files);
  shell_quietly(
      "mkdir -p /tmp/w/B; cd /tmp/w/B; printf same > x; touch -d 2017-01-01 x;"
      " for n in 1 2 3 4 5 6 7 8 9; do printf same > 日本$n; touch -d 200$n-01-01 日本$n; done");
  restore("CP936");
  EXPECT_EQ("2001 2002 2003 2004 2005 2006 2007 2008 2009 2017 ",
            output_of("cd /tmp/w/B; for f in 日本? 图.txt; do printf '%s ' $(date -r $f +%Y); done"));
}

TEST_F(Names, ThatFellOnAPlainOneLeaveItItsContent) {
  unpack({{"B/-+.txt", "plain"}, {"B/+-.txt", "third"}, {"B/" + picture + ".txt", "other"}}, "CP936");
  EXPECT_THAT(found(), ElementsAre("B/+-.txt=third", "B/-+.txt=plain", "B/图.txt=other"));
}

TEST_F(Names, ThatAPlainOneFellOnAreTakenAgain) {
  unpack({{"B/" + picture + ".txt", "other"}, {"B/-+.txt", "plain"}}, "CP936");
  EXPECT_THAT(found(), ElementsAre("B/-+.txt=plain", "B/图.txt=other"));
}

TEST_F(Names, OfAFolderInThePlaceOfAPlainFileGiveItBack) {
  unpack({{"B/" + picture + "/a.txt", "inside"}, {"B/-+", "plain"}}, "CP936");
  EXPECT_THAT(found(), ElementsAre("B/-+=plain", "B/图/a.txt=inside"));
}

TEST_F(Names, ThatAreEachOthersPlaceAreExchanged) {
  // The second is packed under the name that unzip gives the first, as the first page would show it.
  unpack({{"B/\x84.txt", "1111"}, {"B/\xE4.txt", "2222"}});  // ä is E4 in Latin-1, and E4 is õ
  EXPECT_THAT(found(), ElementsAre("B/ä.txt=1111", "B/õ.txt=2222"));
}

TEST_F(Names, GivenTwiceAreTheLastOnes) {
  unpack({{"B/" + picture + ".txt", "first"}, {"B/" + picture + ".txt", "second"}}, "CP936");
  EXPECT_THAT(found(), ElementsAre("B/图.txt=second"));
}

TEST_F(Names, OfEmptyFoldersAreRestoredAndOtherEmptyFoldersStay) {
  unpack({{"B/" + picture + "/", ""}, {"B/" + text + "/" + text + "/a", "1"}, {"B/empty/", ""}}, "CP936");
  EXPECT_THAT(found(), ElementsAre("B/empty/", "B/图/", "B/文/文/a=1"));
}

TEST_F(Names, OfPlainFilesStayAsUnzipMadeThem) {
  // All of one content, so that only the names tell whose the files are.
  std::vector<PackedFile> files = {{"B/" + text, "1"}};
  std::vector<std::string> expected;
  for (const char* name : {"a", "b", "c", "d", "e", "f"}) {
    files.push_back({std::string("B/v") + name + ";1", "1"});
    files.push_back({std::string("B/\x01w") + name, "1"});
  }
  for (const char* name : {"va", "vb", "vc", "vd", "ve", "vf", "wa", "wb", "wc", "wd", "we", "wf", "文"})
    expected.push_back(std::string("B/") + name + "=1");
  unpack(files, "CP936");
  EXPECT_EQ(expected, found());
}

TEST_F(Names, ThatArePlainCostNothing) {
  write_zip(archive, {{"B/plain.txt", "1"}, {"B/other.txt", "2"}});
  shell_quietly("mkdir -p /tmp/w/B; echo -n wrong > '/tmp/w/B/left.txt'; chmod 555 /tmp/w");
  restore("CP850");
  EXPECT_THAT(found(), ElementsAre("B/left.txt=wrong"));
  EXPECT_EQ("", said);
}

// ---- Long names -----------------------------------------------------------------------------------------

std::string times(int count, const std::string& text_of_one) {
  std::string all;
  for (int number = 0; number < count; ++number) all += text_of_one;
  return all;
}

TEST_F(Names, ThatAreTooLongAreCutBetweenCharactersAndKeepTheirEnd) {
  unpack({{"B/" + times(100, picture) + ".jpeg", "1"}, {"B/" + std::string(300, 'a') + ".txt", "2"}},
         "CP936");
  // 83 characters of three bytes and ".jpeg" are 254 bytes.
  EXPECT_THAT(found(),
              ElementsAre("B/" + std::string(251, 'a') + ".txt=2", "B/" + times(83, "图") + ".jpeg=1"));
  EXPECT_THAT(said, HasSubstr(times(100, "图") + ".jpeg"));
  EXPECT_THAT(said, HasSubstr(std::string(300, 'a') + ".txt"));
}

TEST_F(Names, Of255BytesStayWhole) {
  unpack({{"B/" + times(85, picture), "1"}, {"B/" + std::string(255, 'a'), "2"}}, "CP936");
  EXPECT_THAT(found(), ElementsAre("B/" + std::string(255, 'a') + "=2", "B/" + times(85, "图") + "=1"));
  EXPECT_EQ("", said);
}

TEST_F(Names, ThatBecomeOneByTheCutAreNumbered) {
  const std::string begin = times(90, picture);
  unpack({{"B/" + begin + "1.txt", "first"},
          {"B/" + begin + "2.txt", "second"},
          {"B/" + begin + "3.txt", "third"}},
         "CP936");
  EXPECT_THAT(found(),
              ElementsAre("B/" + times(83, "图") + ".txt=first", "B/" + times(83, "图") + "~2.txt=second",
                          "B/" + times(83, "图") + "~3.txt=third"));
}

TEST_F(Names, OfFoldersAreCutAsOne) {
  const std::string folder = times(90, picture);
  unpack({{"B/" + folder + "/a", "1"}, {"B/" + folder + "/b", "2"}}, "CP936");
  EXPECT_THAT(found(), ElementsAre("B/" + times(85, "图") + "/a=1", "B/" + times(85, "图") + "/b=2"));
  EXPECT_EQ(said.find("A name of more"), said.rfind("A name of more"));  // said once
}

// ---- Strangers' archives --------------------------------------------------------------------------------

TEST_F(Names, DoNotLeadOutOfTheFolder) {
  unpack({{"../../" + picture + "/../../out" + text, "1"},
          {"/" + travel, "2"},
          {"..\\..\\" + text, "3"},
          {"B/" + picture + "/..", "4"},
          {"..", "5"}},
         "CP936");
  EXPECT_EQ("", output_of("find / -maxdepth 3 -name '*文*' -not -path '/tmp/w/*' -not -path '/proc/*'"));
  EXPECT_THAT(found(), testing::IsSupersetOf({"图/out文=1", "旅=2", "文=3"}));
}

TEST_F(Names, FollowNoLinks) {
  shell_quietly("mkdir -p /tmp/w/B /tmp/out; ln -s /tmp/out '/tmp/w/B/图'");
  unpack({{"B/" + picture + "/" + text, "1"}, {"B/" + text, "2"}}, "CP936");
  EXPECT_EQ("", output_of("ls /tmp/out"));
  EXPECT_THAT(found(), testing::Contains("B/文=2"));
}

TEST_F(Names, OfLinksAreNoFiles) {
  unpack({{"B/" + picture, "/etc/shadow", 0, 0, "", 0120777u << 16}, {"B/" + text, "2"}}, "CP936");
  shell_quietly("find /tmp/w -type l -delete");
  restore("CP936");
  EXPECT_FALSE(exists("/tmp/w/B/图"));
  EXPECT_THAT(found(), testing::Contains("B/文=2"));
}

TEST_F(Names, ThatCannotBeReadAgainAreTold) {
  unpack({{"B/" + picture + ".txt", "damaged"}, {"B/" + text + ".txt", "whole"}}, "CP936");
  shell_quietly("sed -i s/damaged/xamaged/ /tmp/a.zip; rm -rf /tmp/w; mkdir /tmp/w");
  restore("CP936");
  EXPECT_THAT(said, HasSubstr("B/图.txt"));
  EXPECT_THAT(found(), ElementsAre("B/文.txt=whole"));
}

TEST_F(Names, OfAnUnreadableListStayAsTheyAre) {
  write_file(archive, "PK but no zip");
  shell_quietly("mkdir -p /tmp/w/B; echo -n 1 > /tmp/w/B/a");
  restore("CP850");
  EXPECT_THAT(found(), ElementsAre("B/a=1"));
  EXPECT_NE("", said);
}

TEST_F(Names, AreLeftWhenTheyAreNoLongerWanted) {
  write_zip(archive, {{"B/" + picture, "1"}, {"B/" + travel, "2"}});
  for (const int allowed : {0, 1, 2, 3}) {
    shell_quietly("rm -rf /tmp/w; mkdir /tmp/w");
    int asked = 0;
    testing::internal::CaptureStderr();
    restore_names({.archive = archive, .folder = "/tmp/w", .code_page = "CP936"},
                  [&] { return ++asked > allowed; });
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    EXPECT_FALSE(exists("/tmp/w/B/旅"));
  }
}

// What has no place is not left behind under a name of ours.
TEST_F(Names, ThatLeadThroughAFileLeaveNothingBehind) {
  unpack({{"a", "file"}, {"a/M\x81ller", "below"}});
  EXPECT_THAT(found(), ElementsAre("a=file"));
  EXPECT_THAT(said, HasSubstr("cannot be put in its place: a/Müller"));
}

TEST_F(Names, OfManyFilesWithOneContentAreFoundInTime) {
  std::vector<PackedFile> files;
  for (int number = 0; number < 3000; ++number) files.push_back({"\x81" + std::to_string(number), ""});
  unpack(files);
  EXPECT_EQ(files.size(), found().size());
  EXPECT_TRUE(exists("/tmp/w/ü2999"));
}

// ---- Code pages -----------------------------------------------------------------------------------------

TEST(CodePage, IsThatOfTheLanguage) {
  const std::pair<const char*, const char*> expected[] = {
      {"de_DE.UTF-8", "CP850"}, {"fr_FR", "CP850"},     {"es_ES", "CP850"},      {"it_IT", "CP850"},
      {"pt_BR", "CP850"},       {"nl_NL", "CP850"},     {"sv_SE", "CP850"},      {"en_GB.UTF-8", "CP850"},
      {"pl_PL", "CP852"},       {"cs_CZ", "CP852"},     {"hu_HU", "CP852"},      {"ru_RU.UTF-8", "CP866"},
      {"uk_UA", "CP866"},       {"el_GR", "CP737"},     {"tr_TR", "CP857"},      {"ja_JP.eucJP", "CP932"},
      {"ko_KR", "CP949"},       {"zh_CN.GBK", "CP936"}, {"zh_TW.Big5", "CP950"}, {"en_US.UTF-8", "CP437"},
      {"de", "CP850"},          {"C.UTF-8", "CP437"},   {"", "CP437"},           {"eng", "CP437"},
      {"sr_RS", "CP855"},       {"mk_MK", "CP866"},     {"az_AZ", "CP857"},      {"bs_BA", "CP852"},
      {"zh_HK", "CP950"},       {"be_BY", "CP866"},     {"bg_BG", "CP866"},      {"sk_SK", "CP852"},
      {"ro_RO", "CP852"},       {"sl_SI", "CP852"},     {"hr_HR", "CP852"},      {"sq_AL", "CP852"},
      {"he_IL", "CP862"},       {"th_TH", "CP874"},     {"lt_LT", "CP775"},      {"lv_LV", "CP775"},
      {"et_EE", "CP775"},       {"vi_VN", "CP1258"},    {"kk_KZ", "CP866"},      {"ky_KG", "CP866"},
      {"mn_MN", "CP866"},       {"tt_RU", "CP866"},     {"uz_UZ", "CP857"}};
  for (const auto& [locale, page] : expected) {
    EXPECT_STREQ(page, dos_code_page(locale)) << locale;
    EXPECT_TRUE(converted("a", page, "UTF-8")) << page;
  }
}

}  // namespace
