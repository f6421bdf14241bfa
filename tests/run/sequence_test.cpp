#include "process/run/sequence.h"

#include <gtest/gtest.h>

#include <set>
#include <vector>

#include "system/capabilities.h"

namespace {

constexpr System systems[] = {System::gnome, System::linspire, System::redflag, System::xandros,
                              System::other};

bool sets_mark(const Step& step) { return step.mark && step.whom != For::profiles; }

TEST(Sequence, SetsTheMarksThatASystemIsSaidToSetAndEachOnce) {
  for (const System system : systems) {
    std::multiset<Mark> set;
    for (const Step& step : sequence()) {
      if (sets_mark(step) && exists_on(step, system)) set.insert(*step.mark);
    }
    for (const MarkRow& row : mark_rows())
      EXPECT_EQ(capabilities(system).sets.contains(row.mark) ? 1u : 0u, set.count(row.mark))
          << image_name(row.mark) << " on \"" << capabilities(system).name << "\"";
  }
}

TEST(Sequence, ServesEveryMark) {
  for (const MarkRow& row : mark_rows()) {
    int steps = 0;
    for (const Step& step : sequence()) steps += step.mark == row.mark ? 1 : 0;
    EXPECT_EQ(1, steps) << image_name(row.mark);
  }
}

TEST(Sequence, KeepsTheOrderOfTheRows) {
  std::vector<Mark> marks;
  for (const Step& step : sequence()) {
    if (step.mark) marks.push_back(*step.mark);
  }
  std::vector<Mark> rows;
  for (const MarkRow& row : mark_rows()) rows.push_back(row.mark);
  EXPECT_EQ(rows, marks);
}

TEST(Sequence, HasAMarkForEveryStepWhoseResultShows) {
  for (const Step& step : sequence()) {
    const bool shows = step.looks != Looks::for_nothing && step.whom != For::profiles;
    EXPECT_EQ(shows, step.mark.has_value());
  }
}

TEST(Sequence, KnowsWhatEachStepLooksFor) {
  for (const Step& step : sequence()) {
    const bool needs_name = step.looks == Looks::for_item || step.looks == Looks::for_printers;
    EXPECT_EQ(needs_name, step.name != nullptr);
  }
}

TEST(Sequence, RepeatsThePrintersResultOnlyAfterTheStepItself) {
  bool printers_done = false;
  for (const Step& step : sequence()) {
    if (step.looks == Looks::for_printers) printers_done = true;
    if (step.looks == Looks::back_at_printers) {
      EXPECT_TRUE(printers_done);
    }
  }
  EXPECT_TRUE(printers_done);
}

TEST(Sequence, MakesQueuesWithTheToolsOfTheSystem) {
  const Step& printers = sequence().front();
  ASSERT_EQ(Looks::for_printers, printers.looks);
  for (const System one : systems) {
    for (const System other : systems)
      EXPECT_EQ(capabilities(one).printers == capabilities(other).printers,
                migrator_of(printers, one).run == migrator_of(printers, other).run);
  }
}

}  // namespace
