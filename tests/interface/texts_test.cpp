#include "interface/texts.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdlib>
#include <set>
#include <sstream>
#include <vector>

#include "interface/parts.h"
#include "shell/files.h"
#include "state/state.h"
#include "support/files.h"

namespace {

constexpr const char* gnome_traces = "Getting OS Version.........\nOSName::GNome\nOSVersion::Any\n";

std::string language_with_traces(std::string& traces) {
  testing::internal::CaptureStdout();
  const std::string language = get_language();
  traces = testing::internal::GetCapturedStdout();
  return language;
}

std::string language() {
  std::string traces;
  return language_with_traces(traces);
}

void be_kde() { write_file("/etc/linspire-version", ""); }

TEST(Language, IsTheFirstFiveCharactersOfLang) {
  be_kde();
  unsetenv("LC_CTYPE");
  setenv("LANG", "de_DE.UTF-8", 1);
  std::string traces;
  EXPECT_EQ(language_with_traces(traces), "de_DE");
  EXPECT_EQ(traces, "Getting OS Version.........\nLC_CTYPE::(null)\nLANG::de_DE.UTF-8\nBUFFER::de_DE");
}

TEST(Language, KdePrintsCtypeButDoesNotUseIt) {
  be_kde();
  setenv("LC_CTYPE", "ja_JP.eucJP", 1);
  setenv("LANG", "de_DE", 1);
  std::string traces;
  EXPECT_EQ(language_with_traces(traces), "de_DE");
  EXPECT_EQ(traces, "Getting OS Version.........\nLC_CTYPE::ja_JP.eucJP\nLANG::de_DE\nBUFFER::de_DE");
}

TEST(Language, GnomePrefersCtype) {
  setenv("LC_CTYPE", "ja_JP.eucJP", 1);
  setenv("LANG", "en_US", 1);
  std::string traces;
  EXPECT_EQ(language_with_traces(traces), "ja_JP");
  EXPECT_EQ(traces, std::string(gnome_traces) +
                        "LC_CTYPE::ja_JP.eucJP\nLANG::en_US\nFinding language for Gnome OS.BUFFER::ja_JP");
}

TEST(Language, GnomeTakesLangWithoutCtype) {
  unsetenv("LC_CTYPE");
  setenv("LANG", "fr_FR.UTF-8", 1);
  EXPECT_EQ(language(), "fr_FR");
}

TEST(Language, AShortCtypeIsChosenAllTheSame) {
  setenv("LC_CTYPE", "C", 1);
  setenv("LANG", "en_US", 1);
  EXPECT_EQ(language(), "");
}

TEST(Language, ShortValueIsEmptyAndFiveCharactersAreEnough) {
  unsetenv("LC_CTYPE");
  setenv("LANG", "C", 1);
  EXPECT_EQ(language(), "");
  setenv("LANG", "POSI", 1);
  EXPECT_EQ(language(), "");
  setenv("LANG", "POSIX", 1);
  EXPECT_EQ(language(), "POSIX");
}

TEST(Language, UnsetIsEmpty) {
  unsetenv("LC_CTYPE");
  unsetenv("LANG");
  EXPECT_EQ(language(), "");
}

TEST(Language, OtherVariablesPlayNoPart) {
  unsetenv("LC_CTYPE");
  setenv("LC_ALL", "ja_JP.UTF-8", 1);
  setenv("LANGUAGE", "fr_FR", 1);
  setenv("LANG", "de_DE", 1);
  EXPECT_EQ(language(), "de_DE");
}

TEST(Substring, BothEndsAreIncluded) {
  EXPECT_STREQ(substring_r("en_US.UTF-8", 0, 4), "en_US");
  EXPECT_STREQ(substring_r("en_US.UTF-8", 6, 8), "UTF");
  EXPECT_STREQ(substring_r("en_US", 0, 0), "e");
}

TEST(Substring, ComparesTheLengthWithTheCountNotWithTheEnd) {
  EXPECT_STREQ(substring_r("abcd", 0, 4), "");
  EXPECT_STREQ(substring_r("abcde", 0, 4), "abcde");
  EXPECT_STREQ(substring_r("abcd", 2, 5), "cd");  // four characters asked, four there: no more than there are
}

TEST(Substring, ShortTextsShareOneEmptyText) {
  EXPECT_EQ(substring_r("a", 0, 4), substring_r("b", 0, 9));
  EXPECT_NE(substring_r("abcde", 0, 4), substring_r("abcde", 0, 4));
}

TEST(Substring, NoMoreThanTheBufferHolds) {
  const std::string longer(400, 'x');
  EXPECT_EQ(std::string(substring_r(longer.c_str(), 0, 299)).size(), 255U);
}

TEST(Substring, NonsenseIsEmpty) {
  EXPECT_STREQ(substring_r(nullptr, 0, 4), "");
  EXPECT_STREQ(substring_r("abcde", 3, 1), "");
  EXPECT_STREQ(substring_r("abcde", -1, 3), "");
  EXPECT_STREQ(substring_r("ab", 2, 3), "");
}

class TextFile : public testing::Test {
 protected:
  std::string text(const std::string& lines, const char* key) {
    write_file("/tmp/texts", lines);
    file = open_file("/tmp/texts", "r");
    return get_widget_string(file.get(), key);
  }
  File file;
};

TEST_F(TextFile, TheOrderOfTheLinesDecides) {
  EXPECT_EQ(text("window1-next=Next\nwindow1=Title\n", "window1"), "Next");
  EXPECT_EQ(text("window1=Title\nwindow1-next=Next\n", "window1"), "Title");
  EXPECT_STREQ(get_widget_string(file.get(), "window1-next"), "Next");
}

TEST_F(TextFile, AKeyIsFoundAnywhereInALine) {
  EXPECT_EQ(text("help=see window1 for more\nwindow1=Title\n", "window1"), "see window1 for more");
}

TEST_F(TextFile, EmptyCaptionIsEmpty) {
  EXPECT_EQ(text("window2-help=\nwindow2-next=Next\n", "window2-help"), "");
}

TEST_F(TextFile, AsksTwiceGetsTheSameTwice) {
  EXPECT_EQ(text("a=1\nb=2\n", "b"), "2");
  EXPECT_STREQ(get_widget_string(file.get(), "b"), "2");
  EXPECT_STREQ(get_widget_string(file.get(), "a"), "1");
}

TEST_F(TextFile, TheTextIsTakenAsItStands) { EXPECT_EQ(text("key=  a = b\\n \r\n", "key"), "  a = b\\n \r"); }

TEST_F(TextFile, MissingKeysShareOneEmptyText) {
  EXPECT_EQ(text("a=1\n", "b"), "");
  EXPECT_EQ(get_widget_string(file.get(), "b"), get_widget_string(file.get(), "c"));
}

// Callers may keep one and write into it.
TEST_F(TextFile, EveryAnswerHasABufferOfItsOwn) {
  EXPECT_EQ(text("a=1\nb=2\n", "a"), "1");
  char* first = get_widget_string(file.get(), "a");
  char* second = get_widget_string(file.get(), "a");
  EXPECT_NE(first, second);
  EXPECT_GE(malloc_usable_size(first), 512U);
  EXPECT_GE(malloc_usable_size(substring_r("en_US", 0, 4)), 256U);
}

TEST_F(TextFile, LinesWithoutAnEndOrAnEqualsSignDoNoHarm) {
  EXPECT_EQ(text("a=1", "a"), "1");
  EXPECT_EQ(text("nothing\n", "nothing"), "");
}

TEST_F(TextFile, LongLinesComeInPieces) {
  // "key=" and 507 characters fill the first piece; the rest is a line of its own, without the key.
  const std::string first(507, 'x');
  EXPECT_EQ(text("key=" + first + "rest\n", "key"), first);
  EXPECT_EQ(text("key=" + first + "tail=yes\n", "tail"), "yes");
}

TEST_F(TextFile, TheLongestLineFits) {
  const std::string longest(506, 'x');
  EXPECT_EQ(text("key=" + longest + "\nother=1\n", "key"), longest);
  EXPECT_STREQ(get_widget_string(file.get(), "other"), "1");
}

TEST(Caption, IsNamedWithoutTheMarkOfItsAccessLetter) {
  EXPECT_EQ(without_mnemonic("_Local drive"), "Local drive");
  EXPECT_EQ(without_mnemonic("C_D-ROM (a_b)"), "CD-ROM (ab)");
  EXPECT_EQ(without_mnemonic("my__disk_"), "my_disk");
  EXPECT_EQ(without_mnemonic("(_"), "(");
}

TEST(Caption, IsNamedWithoutALetterThatIsThereForTheKeyAlone) {
  EXPECT_EQ(without_mnemonic("ローカル(_L)"), "ローカル");
  EXPECT_EQ(without_mnemonic("사용자 이름(_U):"), "사용자 이름:");
}

TEST(LanguageFile, IsNamedByTheCode) {
  unsetenv("LC_CTYPE");
  setenv("LANG", "de_DE.UTF-8", 1);
  write_file("/usr/local/brindle/de_DE", "window1=Willkommen\n");
  const File file(get_language_file());
  ASSERT_TRUE(file);
  EXPECT_STREQ(get_widget_string(file.get(), "window1"), "Willkommen");
}

TEST(LanguageFile, NoneForAnotherLanguage) {
  unsetenv("LC_CTYPE");
  write_file("/usr/local/brindle/en_US", "window1=Welcome\n");
  setenv("LANG", "xx_XX", 1);
  EXPECT_EQ(get_language_file(), nullptr);
}

TEST(LanguageFile, TheFolderForAnEmptyCodeHasNoLines) {
  unsetenv("LC_CTYPE");
  write_file("/usr/local/brindle/en_US", "window1=Welcome\n");
  setenv("LANG", "C", 1);
  const File file(get_language_file());
  ASSERT_TRUE(file);
  EXPECT_STREQ(get_widget_string(file.get(), "window1"), "");
}

// Every key that a builder asks for.
const char* const keys[] = {
    "window1",
    "window1-next",
    "window1-cancel",
    "window1-help",
    "window2",
    "window2-back",
    "window2-next",
    "window2-browse1",
    "window2-browse2",
    "window2-cancel",
    "window2-help",
    "window2-cdrom",
    "window2-localdrives",
    "window3",
    "window3-done",
    "window3-preparingprinters",
    "window3-multiuser",
    "window3-mydocuments",
    "window3-desktop",
    "window3-emails",
    "window3-wallpaper",
    "window3-favorites",
    "window3-cookies",
    "window3-fonts",
    "window3-otherfiles",
    "window3-networkdrives",
    "window3-printers",
    "window3-groupwise",
    "window3-cancel",
    "window3-help",
    "createfileselection",
    "createerrormountingcdrom",
    "noremote",
    "noremote-label2",
    "nofilespecified",
    "nofilespecified-label13",
    "nofilefound",
    "nofilefound-label14",
    "notzipfile",
    "notzipfile-label15",
    "notenoughspace",
    "notenoughspace-label16",
    "zippassword",
    "zippassword-label17",
    "createdialogcancel",
    "createdialogcancel-label18",
    "createdialog1",
    "createdialog1-label19",
    "createdialogdone",
    "createdialogdone-label20",
    "createdialogmultiusererror",
    "createdialogmultiusererror-label20",
    "createdialogprintererror",
    "createdialogprintererror-label20",
    "createdialogusererror",
    "createdialogusererror-label20",
    "dialog_specify_username_password",
    "dialog_specify_username_password-label20",
    "window_select_driver-label20",
    "window_select_driver-next",
    "window_select_driver-stphoto",
    "window_select_driver-stcolor",
    "window_select_driver-epson24",
    "window_select_driver-epson9",
    "window_select_driver-deskjet",
    "window_select_driver-laserjet",
    "window_select_driver-skip",
    "smb_username_password_window",
    "smb_username_password_window-label_header",
    "smb_username_password_window-label_username",
    "smb_username_password_window-label_password",
    "smb_username_password_window-next",
    "smb_username_password_window2",
    "smb_username_password_window2-label_header",
    "smb_username_password_window2-label_username",
    "smb_username_password_window2-next",
    "smb_username_password_window2-back",
};

// The shipped files, one a language.
std::vector<std::string> shipped_files() {
  std::vector<std::string> files;
  const std::vector<std::string> names = list_folder(test_data("../data/texts")).value();
  for (const std::string& name : names)
    if (name != "CMakeLists.txt") files.push_back(test_data("../data/texts/" + name));
  return files;
}

TEST(ShippedTexts, EachOfThe77KeysIsFoundByItsOwnLine) {
  ASSERT_EQ(std::size(keys), 77U);
  for (const std::string& path : shipped_files()) {
    const File file = open_file(path, "r");
    ASSERT_TRUE(file);
    for (const std::string key : keys) {
      std::istringstream lines(read_file(path));
      std::string own;
      for (std::string line; std::getline(lines, line);) {
        if (line.rfind(key + "=", 0) == 0) own = line.substr(key.size() + 1);
      }
      EXPECT_NE(own, "") << key;
      EXPECT_EQ(get_widget_string(file.get(), key.c_str()), own) << key << " in " << path;
    }
  }
}

// Behind those that every language has.
const char* const later_keys[] = {
    "zipwrongpassword",
    "zipwrongpassword-label21",
    "zipotherencryption",
    "zipotherencryption-label22",
    "unpackingstopped",
    "unpackingstopped-label23",
    "window1-text",
    "window2-text",
    "window3-now",
    "window3-unpacking",
    "window3-gettingready",
    "window3-forperson",
    "window3-cleaningup",
    "window3-atend",
    "window3-progress",
    "window3-moved",
    "window3-notmoved",
    "window_select_driver-printer",
    "window_select_driver-windowsdriver",
    "window_select_driver-uses",
    "window_select_driver-skips",
    "smb_username_password_window-closing",
    "menu-generic",
    "menu-comment",
};

TEST(EnglishTexts, TheLaterKeysHideNoneAndAreFound) {
  const std::string all = read_file(test_data("../data/texts/en_US"));
  const File file = open_file(test_data("../data/texts/en_US"), "r");
  for (const std::string key : later_keys) {
    const std::size_t line = all.find("\n" + key + "=");
    ASSERT_NE(line, std::string::npos) << key;
    EXPECT_GT(line, all.find("\nsmb_username_password_window2-back="));
    const std::size_t begin = line + key.size() + 2;
    EXPECT_EQ(get_widget_string(file.get(), key.c_str()), all.substr(begin, all.find('\n', begin) - begin));
  }
}

TEST(ShippedTexts, HoldNothingElseButTheAccountsWords) {
  std::set<std::string> known(std::begin(keys), std::end(keys));
  known.insert(std::begin(later_keys), std::end(later_keys));
  for (const std::string& path : shipped_files()) {
    std::istringstream lines(read_file(path));
    for (std::string line; std::getline(lines, line);) {
      EXPECT_LE(line.size(), 510U) << line;
      EXPECT_TRUE(known.count(line.substr(0, line.find('='))) || line.rfind("account-", 0) == 0) << line;
    }
  }
}

TEST(ShippedTexts, OfTheDoneDialogSayThatAReportFollows) {
  const std::string text = read_file(test_data("../data/texts/en_US"));
  const std::size_t at = text.find("\ncreatedialogdone-label20=");
  EXPECT_NE(text.substr(at, text.find('\n', at + 1) - at).find("a report follows"), std::string::npos);
}

}  // namespace
