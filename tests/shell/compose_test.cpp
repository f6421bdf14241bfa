#include "shell/compose.h"

#include <gtest/gtest.h>

#include <clocale>

#include "composer/trial.h"
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
  EXPECT_EQ("rm a_b@c%d+e=f:g,h./-9", compose("rm %s", "a_b@c%d+e=f:g,h./-9").text());
}

TEST(Compose, TakesNumbersAndPercentSigns) {
  const Command tiled = compose("dcop kdesktop +%%Z %d%d", -7, 12L);
  EXPECT_EQ("dcop kdesktop +%Z -712", tiled.text());
  EXPECT_FALSE(tiled.refused());  // a number is the program's own
  EXPECT_EQ("rm /r/.gconf/%gconf.xml", compose("rm %s/.gconf/%%gconf.xml", std::string("/r")).text());
}

TEST(Compose, LeavesAnEmptyBareValueEmpty) {
  EXPECT_EQ("rm -rf ", compose("rm -rf %s", "").text());
  EXPECT_FALSE(compose("rm -rf %s", "").refused());
  EXPECT_EQ("cp -a /root/.mozilla /root", compose("cp -a %s/root/.mozilla %s", "", "/root").text());
}

TEST(Compose, KeepsTheWordOfAnEmptyValueInQuotes) {
  EXPECT_EQ("grep -i \"\" ''", compose("grep -i \"%s\" '%s'", "", "").text());
}

// One row of the header's table after the other.
TEST(Compose, EscapesForThePlace) {
  const auto all = [](const std::string& value) {
    return compose("cat %s \"%s\" '%s' >%s", value, value, value, value).text();
  };
  EXPECT_EQ("cat /home/ann \"/home/ann\" '/home/ann' >/home/ann", all("/home/ann"));
  EXPECT_EQ("cat 'a b' \"a b\" 'a b' >'a b'", all("a b"));
  EXPECT_EQ("cat 'it'\\''s' \"it's\" 'it'\\''s' >'it'\\''s'", all("it's"));
  EXPECT_EQ("cat 'a \"b\" $c' \"a \\\"b\\\" \\$c\" 'a \"b\" $c' >'a \"b\" $c'", all("a \"b\" $c"));
  EXPECT_EQ("cat 'a\nb' \"a\nb\" 'a\nb' >'a\nb'", all("a\nb"));
  EXPECT_EQ("cat '\xff\xfe' \"\xff\xfe\" '\xff\xfe' >'\xff\xfe'", all("\xff\xfe"));
}

TEST(Compose, KeepsTheTemplatesOwnQuotesAndExpansionsInSingleQuotes) {
  EXPECT_EQ("unzip -l \"a b\" | awk '{print $1}' | tail -n 1",
            compose("unzip -l \"%s\" | awk '{print $1}' | tail -n 1", "a b").text());
}

// ---- Every other value stays one word: a child shows what arrived ---------------------------------------

// The program of the commands below.
constexpr const char* show_words = R"(print map { "$_\0" } @ARGV)";

std::vector<std::string> received_words(const Command& command) {
  EXPECT_FALSE(command.refused());
  write_file("/tmp/show", show_words);
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
  const std::vector<std::string> bare =
      received_words(compose("perl /tmp/show x/%s/y %s > /tmp/words", value, "/" + value));
  EXPECT_EQ((std::vector<std::string>{"x/" + value + "/y", "/" + value}), bare);

  const std::vector<std::string> in_double =
      received_words(compose("perl /tmp/show \"/%s\"/z > /tmp/words", value));
  EXPECT_EQ((std::vector<std::string>{"/" + value + "/z"}), in_double);

  const std::vector<std::string> in_single =
      received_words(compose("perl /tmp/show 'smb:%s' > /tmp/words", value));
  EXPECT_EQ((std::vector<std::string>{"smb:" + value}), in_single);
  EXPECT_FALSE(exists("/tmp/ran"));
}

TEST_P(HostileValue, StaysOneWordAtTheStartOfOne) {
  const std::string value = GetParam();
  EXPECT_EQ((std::vector<std::string>{value, value + "/y", value + value}),
            received_words(compose("perl /tmp/show %s %s/y %s%s > /tmp/words", value, value, value, value)));
  EXPECT_EQ((std::vector<std::string>{value, value}),
            received_words(compose("perl /tmp/show \"%s\" '%s' > /tmp/words", value, value)));
  EXPECT_FALSE(exists("/tmp/ran"));
}

TEST_P(HostileValue, StaysOneWordInACommandInsideACommand) {
  const std::string value = GetParam();
  const Command inner = compose("perl /tmp/show '/%s' > /tmp/words", value);
  EXPECT_EQ((std::vector<std::string>{"/" + value}), received_words(compose("su - root -c\"%s\"", inner)));
  EXPECT_FALSE(exists("/tmp/ran"));
}

INSTANTIATE_TEST_SUITE_P(Values, HostileValue,
                         testing::Values("~root", "~/x", "#", "=x", "^x", "{", "}", "(", "!", "&", ";", "<x",
                                         ">x", "|x", "it's", "say \"x\"", "a b", "$(touch /tmp/ran)",
                                         "`touch /tmp/ran`", "a; touch /tmp/ran", "a\ntouch /tmp/ran", "\\",
                                         "\\\"", "'; touch /tmp/ran; '", "\"; touch /tmp/ran; \"", "*",
                                         "?[a]", "~", "$HOME", "${IFS}", "a&b", "a|b", "a>b", "a<b", "#x",
                                         "!x", "{a,b}", "\t", "\r", "\u6587\u4ef6", "\xff\xfe", "'", "''",
                                         "%s", "%n"));

// ---- What cannot be put in safely is refused ------------------------------------------------------------

// One program puts two of its words between quotes for a shell, and one of the two into the name of a file.
TEST(Refusal, MeetsAValueThatAProgramQuotesOnceMore) {
  for (const char* value : {"a'b", "a\"b", "a$b", "a`b", "a\\b"}) {
    EXPECT_TRUE(compose("foomatic-configure -s cups -n '%s' -o PageSize=A4", value).refused()) << value;
    EXPECT_TRUE(compose("foomatic-configure -c '%s'", value).refused()) << value;
    EXPECT_TRUE(compose("foomatic-configure -c x%s", value).refused()) << value;
    EXPECT_TRUE(compose("foomatic-configure -c a%s%s", value, "b").refused()) << value;
    EXPECT_FALSE(compose("foomatic-configure -n a -o Quality=%s %s", value, value).refused()) << value;
    EXPECT_FALSE(compose("lpadmin -p '%s'", value).refused()) << value;
  }
  EXPECT_TRUE(compose("foomatic-configure -D -n '%s'", "../a").refused());
  EXPECT_FALSE(compose("foomatic-configure -c '%s' -n '%s'", "lpd://a/b", "a;b|c&d <e> (f)*?~#!").refused());
}

// Whatever one shell or another makes of them.
TEST(Compose, QuotesEveryOtherCharacter) {
  const std::string harmless = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_@%+=:,./-";
  for (int c = 1; c < 128; ++c) {
    const std::string value(1, static_cast<char>(c));
    const bool passes = compose("cat /%s", value).text() == "cat /" + value;
    EXPECT_EQ(harmless.find(value) != std::string::npos, passes) << value;
  }
}

TEST(Compose, RefusesAValueThatWouldBeAnOption) {
  EXPECT_TRUE(compose("chown -R %s /home", "-rf").refused());
  EXPECT_TRUE(compose("file -b \"%s\"", "--help").refused());
  EXPECT_TRUE(compose("lpadmin -p '%s'", "-x").refused());
  EXPECT_FALSE(compose("cp /tmp/%s /root", "-x").refused());
  EXPECT_FALSE(compose("foomatic-ppdfile-bd -P\"%s\"", "-x").refused());
}

TEST(Compose, RefusesAnOptionBehindAnEmptyValue) {
  EXPECT_TRUE(compose("mkdir %s%s", "", "-p").refused());
  EXPECT_TRUE(compose("mkdir %s\"%s\"", "", "-p").refused());
  EXPECT_FALSE(compose("mkdir %s%s", "a", "-p").refused());
  EXPECT_TRUE(compose("mkdir %s %s", "a", "-p").refused());
  EXPECT_FALSE(compose("mkdir %s/%s", "", "-p").refused());
}

TEST(Compose, TakesADashAtTheBeginningOfAFileName) {
  const Command command = compose("cat <%s >\"%s\"", "-", "-rf");
  EXPECT_EQ("cat <- >\"-rf\"", command.text());
  EXPECT_FALSE(command.refused());
}

TEST(Compose, RefusesAFileNameThatTheShellWouldNotTakeAsOne) {
  EXPECT_TRUE(compose("cat %s > %s", "a", "").refused());
  EXPECT_TRUE(compose("cat %s < \"%s\"", "a", "").refused());
  EXPECT_FALSE(compose("cat %s > %s/ppd.txt", "a", "").refused());
  for (const char* device :
       {"/dev/tcp/127.0.0.1/9", "/dev/udp/localhost/9", "/dev/fd/3", "/dev/stdin", "/dev"})
    EXPECT_TRUE(compose("cat > '%s'", device).refused()) << device;
  EXPECT_TRUE(compose("cat > %s/9", "/dev/tcp/localhost").refused());
  EXPECT_FALSE(compose("mount -t iso9660 %s", "/dev/cdrom").refused());
  EXPECT_FALSE(compose("cat > %s", "/devices/x").refused());
}

TEST(Compose, RefusesNulBytesAndNullPointers) {
  EXPECT_TRUE(compose("cat %s", std::string("a\0b", 3)).refused());
  EXPECT_TRUE(compose("cat > %s", std::string("a\0b", 3)).refused());
  const char* missing = nullptr;
  EXPECT_TRUE(compose("rm -rf %s", missing).refused());
  EXPECT_TRUE(compose("lpadmin -d '%s'", missing).refused());
}

TEST(Compose, TakesAWordWithItsOwnQuotesOnlyWhenItIsOne) {
  EXPECT_EQ("lpoptions -d 'ljet4'", compose("lpoptions -d %s", QuotedWord{"'ljet4'"}).text());
  EXPECT_FALSE(compose("lpoptions -d %s", QuotedWord{"'a b;c'"}).refused());
  for (const char* bad : {"ljet4", "'a' b", "'a'b'", "'", "", "'a';touch /tmp/ran;'b'", "'-rf'"})
    EXPECT_TRUE(compose("lpoptions -d %s", QuotedWord{bad}).refused()) << bad;
}

TEST(Compose, RefusesACommandAroundARefusedOne) {
  const Command inner = compose("lpoptions -d '%s'", "-x");
  EXPECT_TRUE(compose("su - %s -c\"%s\"", "ann", inner).refused());
  EXPECT_TRUE(shell::redirected(inner, "/tmp/out").refused());
  EXPECT_TRUE(shell::redirected(compose("hostname"), "").refused());
}

// A backslash behind half a character would be its other half in Big5 and GB18030.
TEST(Compose, LeavesDoubleQuotesWhereABackslashMayNotStand) {
  EXPECT_EQ("rm \"\xa4\"'\"'\"; touch /tmp/ran #\"", compose("rm \"%s\"", "\xa4\"; touch /tmp/ran #").text());
  EXPECT_EQ("rm \"\xa4\"'\\'\"\"", compose("rm \"%s\"", "\xa4\\").text());
  EXPECT_EQ("rm \"\u6587.txt\\\"\"", compose("rm \"%s\"", "\u6587.txt\"").text());
}

// Half a character of this encoding, and the shell would read the quote behind it as its other half.
TEST(Compose, RefusesHalfACharacterThatWouldTakeAQuoteWithIt) {
  const Trial trial;
  const auto language = trial.make_language("EUC-TW");
  ASSERT_TRUE(language);
  for (const Command& command :
       {compose("rm '%s'", "\x8e\xa1"), compose("rm \"%s\"", "\x8e\xa1"), compose("rm %s/x", "\x8e\xa1"),
        compose("rm '%s'", "\x8e\xa1\n\x8e\xa1"), compose("rm '%s/x'", "\x8e\xa1\x7f")})
    EXPECT_TRUE(command.refused()) << command.text();
  EXPECT_FALSE(compose("rm '%s/x'", "\x8e\xa1").refused());
  EXPECT_FALSE(compose("rm '%s'", "\xa4\xa4\xa4\xe5").refused());
  EXPECT_FALSE(compose("rm %s \"%s\"", "it's \"x\"", "it's \"x\"").refused());
}

TEST(Compose, TakesHalvesOfCharactersWhereTheyTakeNothingWithThem) {
  for (const char* language : {"C", "C.UTF-8"}) {
    ASSERT_NE(nullptr, std::setlocale(LC_ALL, language));
    EXPECT_FALSE(compose("rm '%s' %s \"%s\"", "\x8e\xa1", "\xe6\x96", "\x82\x32").refused());
  }
}

TEST(Compose, SendsOutputToAFile) {
  EXPECT_EQ("date +%Z > '/home/a b/.1'", shell::redirected(compose("date +%%Z"), "/home/a b/.1").text());
}

}  // namespace
