// Settings files of an archive, as the wizard's own reader takes them.
#include "account/archive/settings.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace account;
using std::string_literals::operator""s;

TEST(SettingsText, is_searched_for_the_first_line_that_has_the_key_anywhere) {
  const Settings settings("Other Name=one\nName=two\nName=three\n");
  EXPECT_EQ("one", settings.text("Name"));
  EXPECT_EQ("two", settings.text("Name=t"));
  EXPECT_EQ(std::nullopt, settings.value("name"));
  EXPECT_EQ("", settings.text("name"));
}

TEST(SettingsText, has_values_from_the_first_equals_sign_to_the_end_or_a_zero_byte) {
  const Settings settings("A=x=y = z \nB\nC=\nD=ab\0cd\n"s);
  EXPECT_EQ("x=y = z ", settings.value("A"));
  EXPECT_EQ("", settings.value("B"));
  EXPECT_EQ("", settings.value("C"));
  EXPECT_EQ("ab", settings.value("D"));
}

TEST(SettingsText, has_flags_at_the_end_of_a_line) {
  const Settings settings("Only=10\r\nLast=01");
  EXPECT_EQ('0', settings.flag("Only"));
  EXPECT_EQ('1', settings.flag("Last"));
  EXPECT_EQ('\0', settings.flag("None"));
}

// What converts the line ends leaves the last line alone when it has none.
TEST(SettingsText, has_lines_of_windows_and_of_unix) {
  const Settings settings("\r\n\nA=1\r\nB=2\nC=3\r\r\nD=4\r");
  EXPECT_EQ("1", settings.value("A"));
  EXPECT_EQ("2", settings.value("B"));
  EXPECT_EQ("3\r", settings.value("C"));
  EXPECT_EQ("4\r", settings.value("D"));
}

TEST(SettingsText, is_read_in_pieces_of_127_bytes_that_are_lines_of_their_own) {
  const std::string full = "A=" + std::string(125, 'a');
  const Settings settings(full + "B=2\n" + full + "\nC=3\n");
  EXPECT_EQ(std::string(125, 'a'), settings.value("A"));
  EXPECT_EQ("2", settings.value("B"));
  EXPECT_EQ("3", settings.value("C"));
  EXPECT_EQ("a", Settings(std::string(127, 'k') + "=a\n").value("="));
  EXPECT_EQ("", Settings(std::string(127, 'k') + "=a\n").value("k"));
}

}  // namespace
