#include "process/printers/driver_search.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "printers/archive.h"
#include "printers/windows.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/system_log.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* listing =
    "HP LaserJet 4050 Id='HP-LaserJet_4050' Driver='ljet4' CompatibleDrivers='ljet4 lj5gray '";

// The database as far as a test wants it: a listing line for one search text, nothing for all others.
void database_knows(const std::string& text, const std::string& line) {
  write_file("/tmp/known", line + "\n");
  stand_in("foomatic-ppdfile-bd", "printf '%s\\n' \"$1\" >>/tmp/searched\nif [ \"$1\" = '-P" + text +
                                      "' ]; then cat /tmp/known; fi");
}

void model_list(const std::string& lines) {
  write_file("/tmp/models", lines);
  stand_in("lpinfo", "[ \"$*\" = -m ] && cat /tmp/models");
}

std::string search(const std::string& text) {
  return "foomatic-ppdfile-bd -P\"" + text + "\" > /root/ppd.txt";
}

std::string grep(const std::string& text) {
  return "grep -i \"" + text + "\" /root/ppdlist.txt > /root/ppd.txt";
}

class FoomaticSearch : public testing::Test {
 protected:
  FoomaticSearch() { database_knows("no such text", ""); }
  Windows windows;
};

TEST_F(FoomaticSearch, TakesIdAndDriverInTheirQuotes) {
  database_knows("HP LaserJet 4050", listing);
  EXPECT_STREQ("", finddriver("HP LaserJet 4050"));
  EXPECT_STREQ("'HP-LaserJet_4050'", Id2);
  EXPECT_STREQ("'ljet4'", Driver2);
  EXPECT_STREQ("HP LaserJet 4050", displaylabel);
  EXPECT_THAT(commands_run(), ElementsAre(search("HP LaserJet 4050"), "rm /root/ppd.txt"));
  EXPECT_THAT(Windows::shown(), IsEmpty());
  EXPECT_FALSE(exists("/root/ppd.txt"));
}

TEST_F(FoomaticSearch, DropsWordAfterWordDownToThree) {
  finddriver("HP LaserJet 4050 Series PCL6");
  EXPECT_THAT(commands_run(),
              ElementsAre(search("HP LaserJet 4050 Series PCL6"), search("HP LaserJet 4050 Series"),
                          search("HP LaserJet 4050"), "rm /root/ppd.txt"));
  EXPECT_THAT(Windows::shown(), ElementsAre("driver HP LaserJet 4050 Series PCL6"));
}

TEST_F(FoomaticSearch, StopsAtTheFirstHit) {
  database_knows("HP LaserJet 4050 Series", listing);
  finddriver("HP LaserJet 4050 Series PCL6");
  EXPECT_THAT(commands_run(), ElementsAre(search("HP LaserJet 4050 Series PCL6"),
                                          search("HP LaserJet 4050 Series"), "rm /root/ppd.txt"));
  EXPECT_STREQ("'ljet4'", Driver2);
}

TEST_F(FoomaticSearch, TracesAHit) {
  database_knows("HP LaserJet 4", listing);
  const std::string loops = "In the Loop.In the Loop.";
  EXPECT_EQ(
      "buffer=/root\n"
      "Splitting up Driver Name::HP LaserJet 4" +
          loops + "In the Loop.Driver Part 0 - HP" + loops + loops + loops + loops +
          "In the Loop.Driver Part 1 - LaserJetIn the Loop."
          "Trying to find printer name using grep."
          "GrepString::HP LaserJet 4"
          "Removing the ppd.txt file."
          "Executed Command::foomatic-ppdfile-bd -P\"HP LaserJet 4\" > /root/ppd.txt"
          "Trying to open the ppd.txt file."
          "Found the ppd.txt file.Continuing"
          "Value read from ppd.txt::" +
          listing + "\nId='HP-LaserJet_4050'\tDriver='ljet4'",
      traces([] { finddriver("HP LaserJet 4"); }));
}

TEST_F(FoomaticSearch, TracesAMissAndTheAnswer) {
  windows.choose("HP LaserJet Id='HP-LaserJet' Driver='laserjet' Com");
  const std::string said = traces([] { finddriver("A B C"); });
  EXPECT_THAT(said, HasSubstr("Found the ppd.txt file.ContinuingNothing in lineFile pointer closed."
                              "Woken up."
                              "Selected Driver::HP LaserJet Id='HP-LaserJet' Driver='laserjet' Com"
                              "Found Id="
                              "Id='HP-LaserJet'\tDriver='laserjet'"));
}

TEST_F(FoomaticSearch, GoesOnWithoutAResultFile) {
  write_file("/root/ppd.txt/keep", "");  // a folder stands where the result should go
  stand_in("rm", "exit 1");
  database_knows("A B C", listing);
  EXPECT_THAT(traces([] { finddriver("A B C"); }), HasSubstr("Nothing in line"));
  shell_quietly("/bin/rm -r /root; touch /root");
  EXPECT_THAT(traces([] { finddriver("A B C"); }), HasSubstr("fp is null.Continuing"));
}

class ShortName : public FoomaticSearch, public testing::WithParamInterface<const char*> {};

TEST_P(ShortName, IsNeverSearched) {
  windows.choose("HP DeskJet 200 Id='HP-DeskJet_200' Driver='pcl3' CompatibleDrivers=' '");
  finddriver(GetParam());
  EXPECT_THAT(commands_run(), ElementsAre("rm /root/ppd.txt"));
  EXPECT_THAT(Windows::shown(), ElementsAre(std::string("driver ") + GetParam()));
  EXPECT_STREQ("'HP-DeskJet_200'", Id2);
  EXPECT_STREQ("'pcl3'", Driver2);
}

INSTANTIATE_TEST_SUITE_P(Names, ShortName, testing::Values("", "LaserJet", "HP LaserJet", "HP "));

TEST_F(FoomaticSearch, CountsAnEmptyWordBetweenTwoBlanks) {
  finddriver("HP  LaserJet");
  EXPECT_THAT(commands_run(), ElementsAre(search("HP  LaserJet"), "rm /root/ppd.txt"));
}

TEST_F(FoomaticSearch, TakesTheFirstTenWords) {
  const std::string said = traces([] { finddriver("1 2 3 4 5 6 7 8 9 10 11 12"); });
  EXPECT_THAT(commands_run().front(), search("1 2 3 4 5 6 7 8 9 10"));
  EXPECT_EQ(9u, commands_run().size());
  EXPECT_THAT(said, HasSubstr("Driver Part 9 - 10"));
  EXPECT_THAT(said, Not(HasSubstr("Driver Part 10")));
}

TEST_F(FoomaticSearch, SkippedHasNoDriverEvenAfterAHit) {
  database_knows("HP LaserJet 4050", listing);
  finddriver("HP LaserJet 4050");
  finddriver("Unknown");
  EXPECT_STREQ("", Id2);
  EXPECT_STREQ("", Driver2);
}

TEST_F(FoomaticSearch, TakesTheFirstLineWhateverItSays) {
  database_knows("A B C", "no printer at all");
  finddriver("A B C");
  EXPECT_STREQ("", Id2);
  EXPECT_STREQ("", Driver2);
  EXPECT_THAT(Windows::shown(), IsEmpty());
}

TEST_F(FoomaticSearch, EndsADriverAtTheLineEndToo) {
  database_knows("A B C", "A B C Id='A-B' Driver='one'");
  finddriver("A B C");
  EXPECT_STREQ("'one'", Driver2);
}

TEST_F(FoomaticSearch, ReadsTheFirst1023CharactersOfALine) {
  const std::string line = "A B C Id='A-B' Driver='one' ";
  database_knows("A B C", line + std::string(1023 - line.size() - 9, 'x') + "Id='late' Driver='late'");
  const std::string said = traces([] { finddriver("A B C"); });
  EXPECT_THAT(said, HasSubstr("xxxId='late'Id='A-B'\tDriver='one'"));
}

TEST_F(FoomaticSearch, LeavesAnAnswerWithoutADriverEmpty) {
  windows.choose("Only Id='A'");
  finddriver("A");
  EXPECT_STREQ("'A'", Id2);
  EXPECT_STREQ("", Driver2);
}

TEST_F(FoomaticSearch, RefusesAnIdThatDoesNotFit) {
  windows.choose("X Id='" + std::string(300, 'i') + "' Driver='d'");
  finddriver("A");
  EXPECT_STREQ("", Id2);
}

// A command with it would be refused, and the options be set of a queue that is not there.
TEST_F(FoomaticSearch, RefusesADriverWithANulInIt) {
  using namespace std::string_literals;
  database_knows("D E F", "Id='A-B' Driver='o\0ne'"s);
  const Model model = find_foomatic_model("/root", "D E F");
  EXPECT_EQ("'A-B'", model.id);
  EXPECT_EQ("", model.driver);
  EXPECT_STREQ("", Driver2);
}

TEST_F(FoomaticSearch, LogsTheRemovalOfAMissingFile) {
  SystemLog log;
  finddriver("A");
  EXPECT_THAT(log.messages(), ElementsAre(HasSubstr("normal termination, exit status 1, rm /root/ppd.txt")));
}

TEST_F(FoomaticSearch, NeverLetsANameOutOfItsWord) {
  const std::string name = "a\";touch /tmp/owned;\" $(touch /tmp/owned) `touch /tmp/owned`";
  finddriver(name.c_str());
  EXPECT_FALSE(exists("/tmp/owned"));
  EXPECT_THAT(read_file("/tmp/searched"), HasSubstr("-Pa\";touch /tmp/owned;\" $(touch /tmp/owned) "));
}

class ModelSearch : public testing::Test {
 protected:
  ModelSearch() {
    model_list(
        "drv:///sample.drv/laserjet.ppd HP LaserJet Series PCL 4/5\n"
        "foomatic:HP-LaserJet_4050-lj5gray.ppd HP LaserJet 4050 Foomatic/lj5gray\n"
        "foomatic:HP-LaserJet_4050-ljet4.ppd HP LaserJet 4050 Foomatic/ljet4 (recommended)\n"
        "foomatic:HP-LaserJet_4050-pxl.ppd HP LaserJet 4050 Foomatic/pxl (recommended)\n");
  }
  Windows windows;
};

TEST_F(ModelSearch, TakesTheFirstRecommendedModel) {
  EXPECT_STREQ("", nldfinddriver("hp laserjet 4050"));
  EXPECT_STREQ("foomatic:HP-LaserJet_4050-ljet4.ppd", Driver);
  EXPECT_STREQ("hp laserjet 4050", displaylabel);
  EXPECT_THAT(commands_run(), ElementsAre("lpinfo -m > /root/ppdlist.txt", "rm /root/ppd.txt",
                                          grep("hp laserjet 4050"), "rm /root/ppd.txt"));
  EXPECT_THAT(Windows::shown(), IsEmpty());
  EXPECT_TRUE(exists("/root/ppdlist.txt"));
  EXPECT_FALSE(exists("/root/ppd.txt"));
}

TEST_F(ModelSearch, DropsWordAfterWordDownToThree) {
  nldfinddriver("HP LaserJet 4050 Series PCL6");
  EXPECT_THAT(commands_run(), ElementsAre("lpinfo -m > /root/ppdlist.txt", "rm /root/ppd.txt",
                                          grep("HP LaserJet 4050 Series PCL6"), "rm /root/ppd.txt",
                                          grep("HP LaserJet 4050 Series"), "rm /root/ppd.txt",
                                          grep("HP LaserJet 4050"), "rm /root/ppd.txt"));
  EXPECT_STREQ("foomatic:HP-LaserJet_4050-ljet4.ppd", Driver);
}

TEST_F(ModelSearch, PassesOverAHitThatIsNotRecommended) {
  model_list("a.ppd HP LaserJet 4050 Series\nb.ppd HP LaserJet 4050 N (recommended)\n");
  nldfinddriver("HP LaserJet 4050 Series");
  EXPECT_STREQ("b.ppd", Driver);
  EXPECT_THAT(commands_run(), Contains(grep("HP LaserJet 4050")));
}

TEST_F(ModelSearch, ReadsALineInPiecesOf1023Characters) {
  const std::string line = "a.ppd HP LaserJet 4050 ";
  model_list(line + std::string(1100, 'x') + " (recommended)\n");
  nldfinddriver("HP LaserJet 4050");
  EXPECT_EQ(std::string(1100 - (1023 - line.size()), 'x'), Driver);
}

TEST_F(ModelSearch, AsksTheUserWhenNothingIsRecommended) {
  model_list("a.ppd HP LaserJet 4050\n");
  windows.choose("deskjet.ppd.gz");
  const std::string said = traces([] { nldfinddriver("HP LaserJet 4050"); });
  EXPECT_STREQ("deskjet.ppd.gz", Driver);
  EXPECT_EQ(selecteddriver, Driver);
  EXPECT_THAT(Windows::shown(), ElementsAre("driver HP LaserJet 4050"));
  EXPECT_THAT(said, HasSubstr("Value read from ppd.txt::a.ppd HP LaserJet 4050\n"
                              "Nothing in lineFile pointer closed."
                              "Selected Driver::deskjet.ppd.gzDriver=deskjet.ppd.gz"));
  EXPECT_THAT(said, Not(HasSubstr("Woken up.")));
}

TEST_F(ModelSearch, TracesAHit) {
  const std::string said = traces([] { nldfinddriver("HP LaserJet 4050"); });
  EXPECT_THAT(said, StartsWith("buffer=/root\nSplitting up Driver Name::HP LaserJet 4050In the Loop."));
  EXPECT_THAT(said, HasSubstr("Driver Part 1 - LaserJetIn the Loop.In the Loop.In the Loop.In the Loop."
                              "Executing command::lpinfo -m > /root/ppdlist.txt"
                              "Trying to find printer name using grep."
                              "GrepString::HP LaserJet 4050"
                              "Removing the ppd.txt file."
                              "Running the grep command."
                              "Trying to open the ppd.txt file."
                              "Value read from ppd.txt::foomatic:HP-LaserJet_4050-lj5gray.ppd HP LaserJet "
                              "4050 Foomatic/lj5gray\n"
                              "Value read from ppd.txt::foomatic:HP-LaserJet_4050-ljet4.ppd HP LaserJet 4050 "
                              "Foomatic/ljet4 (recommended)\n"
                              "Driver=foomatic:HP-LaserJet_4050-ljet4.ppd"));
}

TEST_F(ModelSearch, ListsTheModelsForAShortNameToo) {
  nldfinddriver("HP LaserJet");
  EXPECT_THAT(commands_run(), ElementsAre("lpinfo -m > /root/ppdlist.txt", "rm /root/ppd.txt"));
  EXPECT_STREQ("", Driver);
}

TEST_F(ModelSearch, SkippedHasNoDriverEvenAfterAHitOrAChoice) {
  nldfinddriver("HP LaserJet 4050");
  windows.choose("laserjet.ppd.gz");
  nldfinddriver("Unknown");
  EXPECT_STREQ("laserjet.ppd.gz", Driver);
  nldfinddriver("Unknown too");
  EXPECT_STREQ("", Driver);
}

TEST_F(ModelSearch, LogsNoFailingGrep) {
  write_file("/root/ppd.txt", "stale (recommended)\n");
  SystemLog log;
  nldfinddriver("No Such Printer");
  EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(ModelSearch, NeverLetsANameOutOfItsWord) {
  nldfinddriver("a\";touch /tmp/owned;\" $(touch /tmp/owned) `touch /tmp/owned`");
  nldfinddriver("-f /etc/passwd x");
  EXPECT_FALSE(exists("/tmp/owned"));
  EXPECT_STREQ("", Driver);
}

}  // namespace
