#include "process/archive/settings.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "shell/files.h"
#include "support/files.h"

namespace {

class Settings : public testing::Test {
 protected:
  void holds(const std::string& bytes) {
    write_file("/tmp/settings", bytes);
    file_ = open_file("/tmp/settings", "r");
    ASSERT_TRUE(file_);
  }

  /// The value as a text; "(null)" for a null pointer.
  std::string value(const char* key) {
    const std::unique_ptr<char, void (*)(void*)> buffer(get_string(file_.get(), key), std::free);
    return buffer ? buffer.get() : "(null)";
  }

  char flag(const char* key) { return get_char(file_.get(), key); }

 private:
  File file_;
};

TEST_F(Settings, AValueIsAllAfterTheFirstEqualsSign) {
  holds("Account Name=Work\nMulti=a=b\n");
  EXPECT_EQ("Work", value("Account Name"));
  EXPECT_EQ("a=b", value("Multi"));
}

TEST_F(Settings, NothingIsTrimmed) {
  holds("Account Name = Work \n");
  EXPECT_EQ(" Work ", value("Account Name"));
}

TEST_F(Settings, CarriageReturnsStay) {
  holds("Account Name=Work\r\nFlag=1\r\n");
  EXPECT_EQ("Work\r", value("Account Name"));
  EXPECT_EQ('\r', flag("Flag"));
}

TEST_F(Settings, AnEmptyValueIsNotAMissingOne) {
  holds("POP3 Server=\n");
  EXPECT_EQ("", value("POP3 Server"));
  EXPECT_EQ("(null)", value("IMAP Server"));
}

TEST_F(Settings, ALineWithoutEqualsSignIsEmpty) {
  holds("POP3 Server\nNext=1\n");
  EXPECT_EQ("", value("POP3 Server"));
}

TEST_F(Settings, AnEmptyFileHasNothing) {
  holds("");
  EXPECT_EQ("(null)", value("Account Name"));
  EXPECT_EQ('\0', flag("Account Name"));
}

TEST_F(Settings, KeysMatchAnywhereInALineAndTheFirstLineAnswers) {
  holds("SMTP Display Name=Ann Lee\nDisplay Name=Bob\n");
  EXPECT_EQ("Ann Lee", value("Display Name"));
}

TEST_F(Settings, AKeyInAnotherLinesValueMatchesThatLine) {
  holds("Account Name=my Email account\nEmail=ann@example.org\n");
  EXPECT_EQ("my Email account", value("Email"));
}

TEST_F(Settings, KeysAreCaseSensitive) {
  holds("account name=lower\nAccount Name=right\n");
  EXPECT_EQ("right", value("Account Name"));
}

TEST_F(Settings, EveryQuestionStartsAtTheTop) {
  holds("A=1\nB=2\n");
  EXPECT_EQ("2", value("B"));
  EXPECT_EQ("1", value("A"));
  EXPECT_EQ("(null)", value("C"));
  EXPECT_EQ("2", value("B"));
  EXPECT_EQ('1', flag("A"));
}

TEST_F(Settings, AFlagIsTheLastCharacterOfItsLine) {
  holds("Leave on Server=1\nLong=yes0\n");
  EXPECT_EQ('1', flag("Leave on Server"));
  EXPECT_EQ('0', flag("Long"));
}

TEST_F(Settings, AnEmptyFlagReadsAsTheEqualsSign) {
  holds("Leave on Server=\n");
  EXPECT_EQ('=', flag("Leave on Server"));
}

TEST_F(Settings, AMissingFlagIsNul) {
  holds("Leave on Server=1\n");
  EXPECT_EQ('\0', flag("Leave Mail On Server"));
}

TEST_F(Settings, TheLastLineMayLackItsNewline) {
  holds("A=1\nAccount Name=Work");
  EXPECT_EQ("Work", value("Account Name"));
  EXPECT_EQ('k', flag("Account Name"));
}

// 127 characters with the newline are one line; one more, and the newline comes as a piece of its own.
TEST_F(Settings, ALineOf127CharactersIsWhole) {
  const std::string long_value(127 - 2 - 1, 'x');
  holds("K=" + long_value + "\nNext=1\n");
  EXPECT_EQ(long_value, value("K"));
  EXPECT_EQ("1", value("Next"));
}

TEST_F(Settings, ALongerLineIsCutAt127Characters) {
  holds("K=" + std::string(200, 'x') + "1\n");
  EXPECT_EQ(std::string(125, 'x'), value("K"));
  EXPECT_EQ('x', flag("K"));
}

// A value of `byte` letters up to where the line is cut, and what of the letters `whole` stays.
struct Cut {
  const char* name;
  std::string before;  // up to the cut, and beyond it
  std::size_t kept;    // bytes of it that stay
};

class LongLine : public Settings, public testing::WithParamInterface<Cut> {};

TEST_P(LongLine, EndsBehindAWholeCharacter) {
  const Cut& cut = GetParam();
  for (const std::string filler : {"", "x"}) {  // the key and a filler put the cut between two bytes
    const std::string text = filler + cut.before;
    holds("K=" + text + "\nNext=1\n");
    const std::size_t room = 125;
    const std::size_t width = cut.kept;
    const std::size_t letters = (room - filler.size()) / width;
    EXPECT_EQ(text.substr(0, filler.size() + letters * width), value("K")) << filler;
  }
}

std::string many(const std::string& letter) {
  std::string text;
  while (text.size() < 150) text += letter;
  return text;
}

INSTANTIATE_TEST_SUITE_P(All, LongLine,
                         testing::Values(Cut{"TwoBytesOfUtf8", many("\u00fc"), 2},
                                         Cut{"ThreeBytesOfUtf8", many("\u5de5"), 3},
                                         Cut{"FourBytesOfUtf8", many("\U0001f600"), 4},
                                         Cut{"Gb2312", many("\xb9\xa4"), 2}, Cut{"Latin1", many("\xfc"), 1}),
                         [](const auto& one) { return std::string(one.param.name); });

// A letter of Latin-1 in front of a letter of ASCII is half of nothing.
TEST_F(Settings, ALongLineInLatin1KeepsEveryLetter) {
  holds("K=" + many("\xe9z") + "\n");
  EXPECT_EQ(many("\xe9z").substr(0, 125), value("K"));
}

TEST_F(Settings, AShortLineKeepsItsHalfCharacter) {
  holds("K=\xb9\nL=\xe5\xb7");
  EXPECT_EQ("\xb9", value("K"));
  EXPECT_EQ("\xe5\xb7", value("L"));
}

TEST_F(Settings, TheRestOfALongLineCountsAsALine) {
  holds("K=" + std::string(125, 'x') + "Email=rest\n");
  EXPECT_EQ("rest", value("Email"));
}

TEST_F(Settings, AKeyAcrossTwoPiecesIsNotFound) {
  holds("K=" + std::string(123, 'x') + "Email=rest\n");
  EXPECT_EQ("(null)", value("Email"));
}

TEST_F(Settings, ALineOfAMegabyteDoesNoHarm) {
  holds("K=" + std::string(1 << 20, 'x') + "\nNext=1\n");
  EXPECT_EQ("1", value("Next"));
}

TEST_F(Settings, ANulEndsTheValue) {
  holds(std::string("Account Name=Wo\0rk\n", 19));
  EXPECT_EQ("Wo", value("Account Name"));
}

TEST_F(Settings, BytesOutsideAsciiPassThrough) {
  holds("Account Name=\xd5\xcb\xba\xc5\n");
  EXPECT_EQ("\xd5\xcb\xba\xc5", value("Account Name"));
}

TEST_F(Settings, TheOwningFormsGiveTheSameValues) {
  write_file("/tmp/settings", "A=\nB=text\n");
  const File file = open_file("/tmp/settings", "r");
  EXPECT_EQ("", setting(file.get(), "A"));
  EXPECT_EQ("text", setting(file.get(), "B"));
  EXPECT_EQ(std::nullopt, setting(file.get(), "C"));
  EXPECT_EQ('=', flag_setting(file.get(), "A"));
  EXPECT_EQ('t', flag_setting(file.get(), "B"));
  EXPECT_EQ(std::nullopt, flag_setting(file.get(), "C"));
}

}  // namespace
