#include "shell/compose.h"

#include <gtest/gtest.h>

#include "support/commands.h"
#include "support/files.h"

namespace {

using shell::Command;
using shell::QuotedWord;

// ---- Harmless values give exactly the template's text ---------------------------------------------------

TEST(Compose, PutsHarmlessValuesInAsTheyAre) {
  EXPECT_EQ("cp -a \"/tmp/brindAb/Brindle/My Documents\"/* /root/Documents ",
            compose("cp -a \"%s\"/* %s/Documents ", "/tmp/brindAb/Brindle/My Documents", "/root").text());
  EXPECT_EQ("lpadmin -d 'HPLaserJet'", compose("lpadmin -d '%s'", "HPLaserJet").text());
  EXPECT_EQ("echo a_b@c%d+e=f:g,h./-9", compose("echo %s", "a_b@c%d+e=f:g,h./-9").text());
}

TEST(Compose, TakesNumbersAndPercentSigns) {
  EXPECT_EQ("date +%Z -7", compose("date +%%Z %d", -7).text());
  EXPECT_EQ("rm /r/.gconf/%gconf.xml", compose("rm %s/.gconf/%%gconf.xml", std::string("/r")).text());
}

TEST(Compose, LeavesAnEmptyBareValueEmpty) { EXPECT_EQ("rm -rf ", compose("rm -rf %s", "").text()); }

TEST(Compose, KeepsTheTemplatesOwnQuotesAndExpansionsInSingleQuotes) {
  EXPECT_EQ("unzip -l \"a b\" | awk '{print $1}' | tail -n 1",
            compose("unzip -l \"%s\" | awk '{print $1}' | tail -n 1", "a b").text());
}

// ---- Every other value stays one word: a child shows what arrived ---------------------------------------

std::vector<std::string> received_words(const Command& command) {
  EXPECT_FALSE(command.refused());
  EXPECT_EQ(0, shell_quietly(command.text()));
  std::vector<std::string> words;
  std::string bytes = read_file("/tmp/words");
  for (std::size_t end = bytes.find('\0'); end != std::string::npos; end = bytes.find('\0')) {
    words.push_back(bytes.substr(0, end));
    bytes.erase(0, end + 1);
  }
  return words;
}

class HostileValue : public testing::TestWithParam<std::string> {};

TEST_P(HostileValue, StaysOneWordInEveryPlace) {
  const std::string value = GetParam();
  const std::vector<std::string> bare = received_words(
      compose("perl -e 'print map { \"$_\\0\" } @ARGV' x/%s/y %s > /tmp/words", value, "/" + value));
  EXPECT_EQ((std::vector<std::string>{"x/" + value + "/y", "/" + value}), bare);

  const std::vector<std::string> in_double =
      received_words(compose("perl -e 'print map { \"$_\\0\" } @ARGV' \"/%s\"/z > /tmp/words", value));
  EXPECT_EQ((std::vector<std::string>{"/" + value + "/z"}), in_double);

  const std::vector<std::string> in_single =
      received_words(compose("perl -e 'print map { \"$_\\0\" } @ARGV' 'smb:%s' > /tmp/words", value));
  EXPECT_EQ((std::vector<std::string>{"smb:" + value}), in_single);
  EXPECT_FALSE(exists("/tmp/ran"));
}

TEST_P(HostileValue, StaysOneWordInACommandInsideACommand) {
  const std::string value = GetParam();
  const Command inner = compose("perl -e 'print map { \"$_\\0\" } @ARGV' '/%s' > /tmp/words", value);
  EXPECT_EQ((std::vector<std::string>{"/" + value}), received_words(compose("su - root -c\"%s\"", inner)));
  EXPECT_FALSE(exists("/tmp/ran"));
}

INSTANTIATE_TEST_SUITE_P(Values, HostileValue,
                         testing::Values("it's", "say \"x\"", "a b", "$(touch /tmp/ran)", "`touch /tmp/ran`",
                                         "a; touch /tmp/ran", "a\ntouch /tmp/ran", "\\", "\\\"",
                                         "'; touch /tmp/ran; '", "\"; touch /tmp/ran; \"", "*", "?[a]", "~",
                                         "$HOME", "${IFS}", "a&b", "a|b", "a>b", "a<b", "#x", "!x", "{a,b}",
                                         "\t", "\r", "\u6587\u4ef6", "\xff\xfe", "'", "''", "%s", "%n"));

// ---- What cannot be put in safely is refused ------------------------------------------------------------

TEST(Compose, RefusesAValueThatWouldBeAnOption) {
  EXPECT_TRUE(compose("chown -R %s /home", "-rf").refused());
  EXPECT_TRUE(compose("file -b \"%s\"", "--help").refused());
  EXPECT_TRUE(compose("lpadmin -p '%s'", "-x").refused());
  EXPECT_FALSE(compose("cp /tmp/%s /root", "-x").refused());
}

TEST(Compose, RefusesNulBytesAndNullPointers) {
  EXPECT_TRUE(compose("echo %s", std::string("a\0b", 3)).refused());
  const char* missing = nullptr;
  EXPECT_TRUE(compose("rm -rf %s", missing).refused());
}

TEST(Compose, TakesAWordWithItsOwnQuotesOnlyWhenItIsOne) {
  EXPECT_EQ("foo -d 'ljet4'", compose("foo -d %s", QuotedWord{"'ljet4'"}).text());
  EXPECT_FALSE(compose("foo -d %s", QuotedWord{"'a b;c'"}).refused());
  for (const char* bad : {"ljet4", "'a' b", "'a'b'", "'", "", "'a';touch /tmp/ran;'b'"})
    EXPECT_TRUE(compose("foo -d %s", QuotedWord{bad}).refused()) << bad;
}

TEST(Compose, RefusesACommandAroundARefusedOne) {
  const Command inner = compose("lpoptions -d '%s'", "-x");
  EXPECT_TRUE(compose("su - %s -c\"%s\"", "ann", inner).refused());
  EXPECT_TRUE(shell::redirected(inner, "/tmp/out").refused());
}

TEST(Compose, SendsOutputToAFile) {
  EXPECT_EQ("date +%Z > '/home/a b/.1'", shell::redirected(compose("date +%%Z"), "/home/a b/.1").text());
}

}  // namespace
