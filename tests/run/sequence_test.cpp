#include "process/run/sequence.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "process/desktop/browser.h"
#include "process/desktop/documents.h"
#include "process/desktop/fonts.h"
#include "process/desktop/mapped_drives.h"
#include "process/desktop/wallpaper.h"
#include "process/mail/evolution/accounts.h"
#include "process/mail/groupwise.h"
#include "process/mail/kde/accounts.h"
#include "process/mail/mozilla/accounts.h"
#include "process/printers/cups.h"
#include "process/printers/foomatic.h"
#include "process/run/accounts.h"
#include "system/capabilities.h"

namespace {

constexpr System systems[] = {System::gnome, System::linspire, System::redflag, System::xandros,
                              System::other};

bool sets_mark(const Step& step) { return step.mark && step.whom != For::profiles; }

// The marks that a run leaves as they were, by hand.
std::set<Mark> marks_left_alone(System system) {
  if (system == System::gnome) return {};
  if (system == System::linspire || system == System::redflag) return {Mark::groupwise};
  if (system == System::xandros) return {Mark::printers, Mark::groupwise};
  return {Mark::mail,          Mark::wallpaper, Mark::bookmarks,
          Mark::cookies,       Mark::fonts,     Mark::file_extensions,
          Mark::mapped_drives, Mark::printers,  Mark::groupwise};
}

std::multiset<Mark> marks_set(System system) {
  std::multiset<Mark> set;
  for (const Step& step : sequence()) {
    if (sets_mark(step) && exists_on(step, system)) set.insert(*step.mark);
  }
  return set;
}

TEST(Sequence, SetsTheMarksOfEachSystemOnce) {
  for (const System system : systems) {
    const std::multiset<Mark> set = marks_set(system);
    const std::set<Mark> left = marks_left_alone(system);
    for (const MarkRow& row : mark_rows())
      EXPECT_EQ(left.contains(row.mark) ? 0u : 1u, set.count(row.mark))
          << image_name(row.mark) << " on \"" << capabilities(system).name << "\"";
  }
}

TEST(Sequence, SetsNoMarkWithoutARow) {
  for (const System system : systems) {
    for (const Mark mark : marks_set(system))
      EXPECT_FALSE(capabilities(system).hidden_rows.contains(mark)) << image_name(mark);
  }
}

// A row that is never set would look as if it were waiting.
TEST(Sequence, ShowsNoRowThatIsNeverSet) {
  for (const System system : systems) {
    const std::set<Mark> left = marks_left_alone(system);
    for (const MarkRow& row : mark_rows()) {
      const Capabilities& has = capabilities(system);
      EXPECT_EQ(left.contains(row.mark),
                has.hidden_rows.contains(row.mark) || has.unset_rows.contains(row.mark))
          << image_name(row.mark) << " on \"" << has.name << "\"";
    }
  }
}

TEST(Sequence, HasSomethingToCallWhereItExists) {
  for (const Step& step : sequence()) {
    for (const System system : systems) {
      const bool calls = exists_on(step, system) && step.looks != Looks::back_at_printers;
      EXPECT_EQ(calls, migrator_of(step, system).run != nullptr);
    }
  }
}

TEST(Sequence, ServesEveryMark) {
  for (const MarkRow& row : mark_rows()) {
    int steps = 0;
    for (const Step& step : sequence()) steps += sets_mark(step) && step.mark == row.mark ? 1 : 0;
    EXPECT_EQ(1, steps) << image_name(row.mark);
  }
}

TEST(Sequence, KeepsTheOrderOfTheRows) {
  std::vector<Mark> marks;
  for (const Step& step : sequence()) {
    if (sets_mark(step)) marks.push_back(*step.mark);
  }
  std::vector<Mark> rows;
  for (const MarkRow& row : mark_rows()) rows.push_back(row.mark);
  EXPECT_EQ(rows, marks);
}

TEST(Sequence, HasAMarkForEveryStepWhoseResultShows) {
  for (const Step& step : sequence()) {
    const bool shows = step.looks != Looks::for_nothing && step.whom != For::profiles;
    EXPECT_EQ(shows, sets_mark(step));
  }
}

TEST(Sequence, CanSayWhatBeginsInEachProfile) {
  for (const Step& step : sequence()) {
    if (step.whom == For::profiles) {
      EXPECT_TRUE(step.mark);
    }
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

// By hand: what serves each step on GNOME, Linspire, Red Flag, Xandros and any other system. The launcher of
// the browser has no function that others know.
TEST(Sequence, HasTheMigratorsOfEachSystem) {
  struct Expected {
    For whom;
    std::string name;  // of what is looked for, or empty
    std::vector<func_t> migrators;
  };
  const func_t launcher = migrator_of(sequence()[8], System::gnome).run;
  ASSERT_NE(nullptr, launcher);
  const Expected all[] = {
      {For::running_user, "Printers", {nldprinter, printer, printer, printer, printer}},
      {For::running_user,
       "",
       {migrate_profiles, migrate_profiles, migrate_profiles, migrate_profiles, migrate_profiles}},
      {For::running_user,
       "",
       {begin_running_user, begin_running_user, begin_running_user, begin_running_user, begin_running_user}},
      {For::everybody, "", {mydocs, mydocs, mydocs, mydocs, mydocs}},
      {For::everybody, "Desktop", {desktop, desktop, desktop, desktop, desktop}},
      {For::everybody, "ImapMail", {mail_account, mozilla, kmail_mail_account, kmail_mail_account, nullptr}},
      {For::everybody, "Wallpaper", {wallpaper, kdewallpaper, kdewallpaper, kdewallpaper, nullptr}},
      {For::everybody, "Bookmark.htm", {favourites, favourites, favourites, favourites, nullptr}},
      {For::everybody, "", {launcher, nullptr, nullptr, nullptr, nullptr}},
      {For::everybody, "Cookies.txt", {cookies, cookies, cookies, cookies, nullptr}},
      {For::running_user, "Fonts", {fonts, fonts, fonts, fonts, nullptr}},
      {For::profiles, "", {fonts, fonts, nullptr, fonts, nullptr}},
      {For::everybody,
       "File Extensions",
       {file_extensions, file_extensions, file_extensions, file_extensions, nullptr}},
      {For::everybody,
       "Mapped_Drives",
       {nautilusmappeddrives, mappeddrives, mappeddrives, mappeddrives, nullptr}},
      {For::running_user, "", {nullptr, nullptr, nullptr, nullptr, nullptr}},
      {For::profiles, "Printers", {normalprinter, normalprinter, normalprinter, normalprinter, nullptr}},
      {For::everybody, "Groupwise", {groupwise, nullptr, nullptr, nullptr, nullptr}}};
  auto expected = std::begin(all);
  for (const Step& step : sequence()) {
    ASSERT_NE(std::end(all), expected);
    EXPECT_EQ(expected->whom, step.whom) << expected->name;
    EXPECT_EQ(expected->name, step.name == nullptr ? "" : step.name);
    std::vector<func_t> migrators;
    for (const System system : systems) migrators.push_back(migrator_of(step, system).run);
    EXPECT_EQ(expected->migrators, migrators) << expected->name;
    ++expected;
  }
  EXPECT_EQ(std::end(all), expected);
}

TEST(Sequence, MakesQueuesWithToolsOfItsOwnOnGnomeOnly) {
  const Step& printers = sequence().front();
  ASSERT_EQ(Looks::for_printers, printers.looks);
  for (const System system : systems) {
    const bool as_linspire = migrator_of(printers, system).run == migrator_of(printers, System::linspire).run;
    EXPECT_EQ(system != System::gnome, as_linspire) << capabilities(system).name;
  }
}

}  // namespace
