// foomatic-ppdfile-bd on the foomatic database that is installed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "support/commands.h"
#include "support/files.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

struct Answer {
  int status;
  std::string lines;
  std::string message;
};

Answer ask(const std::string& words, const std::string& environment = "") {
  const std::string program = test_data("../data/foomatic/foomatic-ppdfile-bd");
  const int status = shell_quietly(environment + " " + program + " " + words + " >/tmp/lines 2>/tmp/message");
  return {status, read_file("/tmp/lines"), read_file("/tmp/message")};
}

std::string search(const std::string& text) {
  const Answer answer = ask("-P\"" + text + "\"");
  EXPECT_EQ(0, answer.status);
  EXPECT_EQ("", answer.message);
  return answer.lines;
}

TEST(SearchCommand, PrintsAListingLine) {
  EXPECT_EQ(
      "HP LaserJet 4050 Id='HP-LaserJet_4050' Driver='ljet4' CompatibleDrivers='ljet4 lj5gray Postscript "
      "pxlmono lj4dith '\n",
      search("HP LaserJet 4050"));
}

TEST(SearchCommand, LooksPastCaseBlanksAndHyphens) {
  EXPECT_THAT(search("hp LASERJET 4050"), StartsWith("HP LaserJet 4050 Id='HP-LaserJet_4050' "));
  EXPECT_THAT(search("  hp  laserjet 4050 "), StartsWith("HP LaserJet 4050 Id='HP-LaserJet_4050' "));
  EXPECT_THAT(search("canon bjc 4200"), StartsWith("Canon BJC-4200 Id='Canon-BJC-4200' "));
}

TEST(SearchCommand, TakesTheWordsInTheirOrderOnly) {
  EXPECT_THAT(search("HP 4050"), StartsWith("HP LaserJet 4050 Id="));
  EXPECT_THAT(search("laserjet 4050"), StartsWith("HP LaserJet 4050 Id="));
  EXPECT_EQ("", search("4050 LaserJet"));
}

TEST(SearchCommand, PrintsTheBestMatchFirst) {
  EXPECT_THAT(search("HP LaserJet 4"), StartsWith("HP LaserJet 4 Id='HP-LaserJet_4' "));
  EXPECT_THAT(search("HP LaserJet 4"), HasSubstr("\nHP LaserJet 4 Plus Id="));
}

TEST(SearchCommand, DoesNotTakeANumberForALongerOne) {
  EXPECT_THAT(search("HP LaserJet 4"), testing::Not(HasSubstr("4050")));
}

TEST(SearchCommand, PrintsNothingWhenNothingMatches) {
  EXPECT_EQ("", search("No Such Printer"));
  EXPECT_EQ("", search("HP LaserJet 4050 Series PCL6"));
  EXPECT_EQ("", search(".*"));
  EXPECT_EQ("", search("   "));
}

TEST(SearchCommand, AnswersSeveralTextsInTheirOrder) {
  const std::string laserjet = search("HP LaserJet 4"), canon = search("canon bjc 4200");
  ASSERT_NE("", laserjet);
  ASSERT_NE("", canon);
  const Answer both = ask("-P\"HP LaserJet 4\" -P \"canon bjc 4200\"");
  EXPECT_EQ(0, both.status);
  EXPECT_EQ("", both.message);
  EXPECT_EQ(laserjet + "\n" + canon + "\n", both.lines);
  EXPECT_EQ(canon + "\n" + laserjet + "\n" + canon + "\n",
            ask("-P \"canon bjc 4200\" -P\"HP LaserJet 4\" -P\"canon bjc 4200\"").lines);
}

TEST(SearchCommand, EndsTheAnswerToEachOfSeveralTexts) {
  const std::string canon = search("canon bjc 4200");
  for (const char* nothing : {"-P\"No Such Printer\"", "-P \"\"", "-P\" - \""}) {
    const std::string texts = std::string("-P\"canon bjc 4200\" ") + nothing;
    EXPECT_EQ(canon + "\n\n", ask(texts).lines) << texts;
    EXPECT_EQ(canon + "\n\n" + canon + "\n", ask(texts + " -P\"canon bjc 4200\"").lines) << texts;
  }
}

TEST(SearchCommand, ReadsTheDatabaseOnceForAllTexts) {
  write_file("/tmp/foomatic-combo-xml",
             "#!/bin/sh\necho >>/tmp/reads\nexec /usr/bin/foomatic-combo-xml \"$@\"\n");
  shell_quietly("chmod 755 /tmp/foomatic-combo-xml");
  EXPECT_NE("", ask("-P\"HP LaserJet 4\" -P\"canon bjc 4200\" -P\"HP 4050\"", "PATH=/tmp:$PATH").lines);
  EXPECT_EQ("\n", read_file("/tmp/reads"));
}

TEST(SearchCommand, NamesOnlyDriversThatCanBeBuilt) {
  const std::string drivers = "/usr/share/foomatic/db/source/driver/";
  ASSERT_EQ("", output_of("grep -L '<prototype>' " + drivers + "ljet4.xml"));
  ASSERT_FALSE(exists(drivers + "hplip.xml"));  // which the database recommends for it
  EXPECT_THAT(search("HP LaserJet 4050"), testing::Not(HasSubstr("hplip")));
  EXPECT_EQ("", search("HP LaserJet 1020"));  // has foo2zjs alone
}

TEST(SearchCommand, TakesAFewSecondsAtMost) {
  search("warm up");
  const auto begin = std::chrono::steady_clock::now();
  search("HP LaserJet 4050");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

TEST(SearchCommand, SaysWhenThereIsNoDatabase) {
  const Answer answer = ask("-P\"HP LaserJet 4050\"", "FOOMATICDB=/tmp/none");
  EXPECT_EQ(2, answer.status);
  EXPECT_EQ("", answer.lines);
  EXPECT_EQ(
      "foomatic-ppdfile-bd: no foomatic database under /tmp/none: the package foomatic-db is not "
      "installed\n",
      answer.message);
}

TEST(SearchCommand, NeedsNoDatabaseForTextsWithoutWords) {
  const Answer one = ask("-P\" \"", "FOOMATICDB=/tmp/none"), two = ask("-P\" \" -P-", "FOOMATICDB=/tmp/none");
  EXPECT_EQ(0, one.status);
  EXPECT_EQ("", one.lines);
  EXPECT_EQ(0, two.status);
  EXPECT_EQ("\n\n", two.lines);
  EXPECT_EQ(2, ask("-P\" \" -Pa", "FOOMATICDB=/tmp/none").status);
}

TEST(SearchCommand, SaysWhenTheDatabaseHasNoPrinter) {
  shell_quietly("mkdir -p /tmp/none/db/source/printer && touch /tmp/none/db/source/printer/notes.txt");
  const Answer answer = ask("-P\"HP LaserJet 4050\"", "FOOMATICDB=/tmp/none");
  EXPECT_EQ(2, answer.status);
  EXPECT_THAT(answer.message, HasSubstr("no foomatic database under /tmp/none: "));
}

TEST(SearchCommand, SaysWhenTheDatabaseCannotBeListed) {
  const Answer missing = ask("-P\"HP LaserJet 4050\"", "PATH=/tmp");
  EXPECT_EQ(2, missing.status);
  EXPECT_EQ("", missing.lines);
  EXPECT_THAT(missing.message,
              HasSubstr("foomatic-ppdfile-bd: foomatic-combo-xml does not run: No such file or directory\n"));
  write_file("/tmp/foomatic-combo-xml", "#!/bin/sh\n");
  shell_quietly("chmod 755 /tmp/foomatic-combo-xml");
  const Answer empty = ask("-P\"HP LaserJet 4050\"", "PATH=/tmp");
  EXPECT_EQ(2, empty.status);
  EXPECT_EQ("foomatic-ppdfile-bd: the foomatic database cannot be read\n", empty.message);
}

TEST(SearchCommand, SaysWhenThereIsNoFoomatic) {
  shell_quietly("rm -r /usr/share/perl5/Foomatic");
  const Answer answer = ask("-P\"HP LaserJet 4050\"");
  EXPECT_EQ(2, answer.status);
  EXPECT_EQ("foomatic-ppdfile-bd: no foomatic database: the package foomatic-db-engine is not installed\n",
            answer.message);
}

TEST(SearchCommand, ExplainsItself) {
  for (const char* words : {"", "-x", "-P", "-P a b", "-P a -P", "-P a -P b c", "-P a b -P c"}) {
    const Answer answer = ask(words);
    EXPECT_EQ(2, answer.status) << words;
    EXPECT_THAT(answer.message, HasSubstr("usage: foomatic-ppdfile-bd -P TEXT\n")) << words;
  }
  for (const char* words : {"-h", "-P a -P b -h", "-P a -h -P b"}) {
    const Answer answer = ask(words);
    EXPECT_EQ(0, answer.status) << words;
    EXPECT_THAT(answer.lines, StartsWith("usage: foomatic-ppdfile-bd -P TEXT\n"
                                         "       foomatic-ppdfile-bd -P TEXT -P TEXT ...\n"))
        << words;
  }
}

}  // namespace
