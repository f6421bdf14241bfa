// What is counted, and how it is told.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <stdexcept>

#include "pack/report.h"
#include "support/commands.h"

namespace {

using pack::Cause;
using pack::Kind;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

std::string numbers(const pack::Tally::Count& count) {
  return std::to_string(count.found) + " " + std::to_string(count.packed) + " " +
         std::to_string(count.left_out) + " " + std::to_string(count.bytes);
}

std::vector<std::string> remarks(const pack::Tally& tally) {
  std::vector<std::string> told;
  tally.each_remark([&](const pack::Tally::Remark& remark) {
    told.push_back(std::string(name_of(remark.kind)) + " " + std::string(name_of(remark.cause)) + " " +
                   remark.path);
  });
  return told;
}

TEST(Tally, CountsEachKindByItself) {
  pack::Tally tally;
  tally.packed(Kind::documents, 100);
  tally.packed(Kind::documents, 20);
  tally.packed(Kind::music, 3);
  tally.remark(Kind::documents, Cause::link, "a", 1000);
  tally.remark(Kind::documents, Cause::renamed, "b", 5);
  EXPECT_EQ("4 3 1 125", numbers(tally.count(Kind::documents)));
  EXPECT_EQ("1 1 0 3", numbers(tally.count(Kind::music)));
  EXPECT_EQ("0 0 0 0", numbers(tally.count(Kind::notes)));
  EXPECT_EQ("5 4 1 128", numbers(tally.total()));
}

TEST(Tally, NotesWithoutCounting) {
  pack::Tally tally;
  tally.note(Kind::mail, Cause::damaged, "x");
  tally.note(Kind::mail, Cause::damaged, "y");
  EXPECT_EQ("0 0 0 0", numbers(tally.total()));
  EXPECT_EQ(2U, tally.count(Kind::mail, Cause::damaged));
  EXPECT_EQ(0U, tally.count(Kind::mail, Cause::link));
  EXPECT_EQ(0U, tally.count(Kind::contacts, Cause::damaged));
}

TEST(Tally, HasLossesAsSoonAsOneThingIsMissed) {
  pack::Tally tally;
  EXPECT_FALSE(tally.has_losses());
  tally.packed(Kind::documents, 1);
  tally.remark(Kind::documents, Cause::windows_own, "desktop.ini");
  tally.remark(Kind::documents, Cause::renamed, "a");
  EXPECT_FALSE(tally.has_losses());
  tally.remark(Kind::documents, Cause::link, "b");
  EXPECT_TRUE(tally.has_losses());
}

TEST(Tally, HandsRemarksOutAgainAndAgainInTheirOrder) {
  pack::Tally tally;
  const std::string odd("a\0b\n\xff", 5);
  tally.remark(Kind::music, Cause::link, "second kind first");
  tally.note(Kind::documents, Cause::damaged, "");
  EXPECT_THAT(remarks(tally), ElementsAre("music link second kind first", "documents damaged "));
  tally.remark(Kind::documents, Cause::link, odd);
  for (int time = 0; time < 2; ++time)
    EXPECT_THAT(remarks(tally),
                ElementsAre("music link second kind first", "documents damaged ", "documents link " + odd));
}

TEST(Tally, HandsOutMoreThanItHolds) {
  pack::Tally tally;
  std::vector<std::string> expected;
  for (int i = 0; i < 2000; ++i) {
    const std::string name = std::to_string(i) + std::string(static_cast<std::size_t>(i % 97), 'n');
    tally.remark(Kind::documents, Cause::link, name);
    expected.push_back("documents link " + name);
  }
  const std::string longer_than_any_block(100000, 'x');
  tally.note(Kind::documents, Cause::link, longer_than_any_block);
  tally.note(Kind::documents, Cause::link, "last");
  expected.push_back("documents link " + longer_than_any_block);
  expected.push_back("documents link last");
  EXPECT_EQ(remarks(tally), expected);
}

TEST(Tally, LiesWhereCopiesLie) {
  ASSERT_EQ(output_of("mkdir -p /mnt/small && mount -t tmpfs -o size=64k none /mnt/small && echo done"),
            "done\n");
  setenv("TMPDIR", "/mnt/small", 1);
  pack::Tally tally;
  EXPECT_THROW(for (int i = 0; i < 2000; ++i) tally.note(Kind::documents, Cause::link, std::string(100, 'n')),
               std::runtime_error);
  EXPECT_EQ(output_of("ls -A /mnt/small"), "");
}

TEST(Kinds, HaveNamesThatAreReadBackAndTitles) {
  for (const Kind kind : pack::all_kinds) EXPECT_EQ(kind, pack::kind_named(name_of(kind)));
  EXPECT_EQ("others", name_of(Kind::others));
  EXPECT_EQ("Other files in the person's folder", title_of(Kind::others));
  EXPECT_EQ(std::nullopt, pack::kind_named("Documents"));
  EXPECT_EQ(std::nullopt, pack::kind_named(""));
}

// ---- The report ----------------------------------------------------------------------------------------

struct Report : testing::Test {
  pack::Tally& add(const std::string& shown, const std::string& login) {
    people.emplace_back();
    people.back().person.shown = shown;
    people.back().person.login = login;
    return people.back().tally;
  }
  std::string text() const {
    std::ostringstream out;
    write_report(out, people);
    return out.str();
  }
  std::vector<pack::Packed> people;
};

TEST_F(Report, NamesThreeThingsOfACause) {
  pack::Tally& tally = add("Ann", "ann");
  for (const char* name : {"a", "b", "c"}) tally.remark(Kind::documents, Cause::link, name);
  EXPECT_THAT(text(), HasSubstr("\n    a\n    b\n    c\n\n"));
  tally.remark(Kind::pictures, Cause::link, "d");
  tally.remark(Kind::pictures, Cause::encrypted, "e");
  EXPECT_THAT(text(), HasSubstr("\n    a\n    b\n    c\n    ... and 1 more\n"));
  EXPECT_THAT(text(), HasSubstr("\n  4 things, each of which is a link"));
  EXPECT_THAT(text(), HasSubstr("\n  1 thing "));
}

TEST_F(Report, NamesNothingThatNobodyMisses) {
  add("Ann", "ann").remark(Kind::documents, Cause::windows_own, "desktop.ini");
  EXPECT_THAT(text(), HasSubstr("\n  1 thing "));
  EXPECT_THAT(text(), Not(HasSubstr("desktop.ini")));
  EXPECT_THAT(text(), Not(HasSubstr("What to do")));
}

TEST_F(Report, TellsSizesInPowersOfAThousand) {
  const std::pair<std::uint64_t, const char*> sizes[] = {{0, " 0 B\n"},
                                                         {999, " 999 B\n"},
                                                         {1000, " 1.0 kB\n"},
                                                         {1010, " 1.0 kB\n"},
                                                         {999'900, " 999.9 kB\n"},
                                                         {1'000'000, " 1.0 MB\n"},
                                                         {2'500'000'000, " 2.5 GB\n"},
                                                         {3'000'000'000'000, " 3.0 TB\n"},
                                                         {4'000'000'000'000'000, " 4000.0 TB\n"}};
  for (const auto& [bytes, said] : sizes) {
    people.clear();
    add("Ann", "ann").packed(Kind::videos, bytes);
    EXPECT_THAT(text(), HasSubstr(said)) << bytes;
  }
}

TEST_F(Report, HasTheKindsThatWereFoundAlone) {
  add("Ann", "ann").packed(Kind::music, 1);
  EXPECT_THAT(text(), HasSubstr("  Music "));
  EXPECT_THAT(text(), Not(HasSubstr("  Documents ")));
  EXPECT_EQ("person\tlogin\tkind\tfound\tpacked\tleft_out\tbytes\nAnn\tann\tmusic\t1\t1\t0\t1\n",
            table_of_counts(people));
}

TEST_F(Report, HasEverybodyAndTheComputerWhenItHasSomething) {
  add("Ann", "ann");
  add("This computer", "");
  EXPECT_THAT(text(), HasSubstr("Ann, account ann\n"));
  EXPECT_THAT(text(), Not(HasSubstr("This computer")));
  people.back().tally.packed(Kind::fonts, 1);
  EXPECT_THAT(text(), HasSubstr("\nThis computer\n\n"));
}

TEST_F(Report, GivesTheTerminalNoOrders) {
  add("A\x1b\x7f\tn\u00e4", "ann").remark(Kind::documents, Cause::link, "\r\x7fz");
  EXPECT_THAT(text(), HasSubstr("A???n\u00e4, account ann\n"));
  EXPECT_THAT(text(), HasSubstr("\n    ??z\n"));
}

TEST_F(Report, HasTablesWithACellForEachNameWhateverItHolds) {
  add("A\tn", "ann").remark(Kind::documents, Cause::link, "a\\b\tc\nd\re");
  std::string table;
  write_table_of_remarks([&](std::string_view line) { table += line; }, people);
  EXPECT_THAT(table, HasSubstr("\nA\\tn\tdocuments\ta\\\\b\\tc\\nd\\re\tlink\t"));
  EXPECT_THAT(table_of_counts(people), HasSubstr("\nA\\tn\tann\tdocuments\t1\t0\t1\t0\n"));
}

}  // namespace
