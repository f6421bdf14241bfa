// What the program shows, asks and refuses.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "keep/keep.h"
#include "support/commands.h"
#include "support/files.h"
#include "undo/scene.h"

namespace {

using scene::Ended;
using testing::HasSubstr;
using testing::Not;

class Asking : public testing::Test {
 protected:
  Asking() {
    scene::fill_home();
    {
      const scene::Migration run;
      scene::migrate_home();
    }
    after_ = scene::tree("/root");
  }
  void expect_untouched() const {
    EXPECT_TRUE(same_bytes(after_, scene::tree("/root")));
    EXPECT_EQ("", scene::newest_undo());
  }

  std::string after_;
};

constexpr const char* plan_of_all =
    R"(Given back as it was (14):
  /root/.kde/share/config/kmailrc
  /root/Documents/deep/er/list.txt
  /root/Documents/letter.txt
  /root/Mail
  /root/Mail/inbox
  /root/Mail/inbox/cur
  /root/Mail/inbox/cur/1
  /root/Mail/inbox/cur/2
  /root/Mail/sent
  /root/dangling
  /root/empty-one
  /root/name with\012line\011end
  /root/pipe
  /root/program
)";

TEST_F(Asking, shows_what_it_will_do_and_refuses_without_a_terminal) {
  const Ended ended = scene::undo("");
  EXPECT_EQ(2, ended.status);
  EXPECT_THAT(ended.said,
              HasSubstr("Undoing the run of 2026-11-22-014530 does this:\n\n" + std::string(plan_of_all)));
  EXPECT_THAT(ended.said, HasSubstr("Removed, since the run made it and nobody has changed it (2):\n"
                                    "  /root/Documents/New, with 4 things in it\n"
                                    "  /root/Documents/new.txt\n"));
  EXPECT_THAT(ended.said, HasSubstr("brindle-undo: nothing was done, since there is no terminal to ask on"));
  expect_untouched();
}

TEST_F(Asking, takes_an_empty_answer_for_no) {
  const Ended ended = scene::undo_on_terminal("", "\\n");
  EXPECT_EQ(2, ended.status);
  EXPECT_THAT(ended.said, HasSubstr("Go on? [y/N] "));
  expect_untouched();
}

TEST_F(Asking, takes_any_other_answer_for_no) {
  EXPECT_EQ(2, scene::undo_on_terminal("", "n\\n").status);
  EXPECT_EQ(2, scene::undo_on_terminal("", "perhaps\\n").status);
  expect_untouched();
}

TEST_F(Asking, goes_on_with_a_yes) {
  EXPECT_EQ(0, scene::undo_on_terminal("", "y\\n").status);
  EXPECT_EQ("old letter\n", read_file("/root/Documents/letter.txt"));
}

TEST_F(Asking, lists_runs) {
  EXPECT_EQ("2026-11-22-014530  migration: 14 replaced or removed, 7 made\n", scene::undo("--list").said);
  expect_untouched();
  scene::undo("--yes");
  const Ended ended = scene::undo("--list");
  EXPECT_EQ(0, ended.status);
  EXPECT_THAT(ended.said,
              HasSubstr("2026-11-22-014530  migration: 14 replaced or removed, 7 made; already undone\n"));
  EXPECT_THAT(ended.said, HasSubstr(scene::newest_undo() + "  undo of 2026-11-22-014530: "));
}

TEST_F(Asking, lists_everything_that_undoing_a_run_would_do) {
  const Ended ended = scene::undo(std::string("--list ") + scene::first);
  EXPECT_EQ(0, ended.status);
  EXPECT_THAT(ended.said, testing::StartsWith(plan_of_all));
  EXPECT_THAT(ended.said, HasSubstr("Removed, since the run made it and nobody has changed it (7):\n"
                                    "  /root/Documents/New\n  /root/Documents/New/a\n"
                                    "  /root/Documents/New/a/1.txt\n  /root/Documents/New/a/2.txt\n"
                                    "  /root/Documents/New/b.txt\n  /root/Documents/new.txt\n"
                                    "  /root/program/in it\n"));
  expect_untouched();
}

TEST(Asking_nothing, is_needed_without_a_run) {
  Ended ended = scene::undo("--yes");
  EXPECT_EQ(0, ended.status);
  EXPECT_EQ("There is nothing to undo.\n", ended.said);
  ended = scene::undo("--list");
  EXPECT_EQ(0, ended.status);
  EXPECT_EQ("No run of Brindle has kept anything in /root.\n", ended.said);
}

TEST_F(Asking, refuses_a_run_that_is_none) {
  const Ended ended = scene::undo("--yes 2020-01-01-000000");
  EXPECT_EQ(2, ended.status);
  EXPECT_EQ("brindle-undo: there is no run of 2020-01-01-000000\n", ended.said);
  expect_untouched();
}

TEST_F(Asking, refuses_wrong_words) {
  const Ended ended = scene::undo("--yes --everything");
  EXPECT_EQ(2, ended.status);
  EXPECT_EQ("brindle-undo: there is no option --everything; brindle-undo --help tells more\n", ended.said);
  expect_untouched();
}

TEST_F(Asking, names_only_some_of_many) {
  {
    const scene::Migration run(60);
    for (int number = 0; number < 25; ++number)
      scene::write("/root/many" + std::to_string(100 + number), "m");
  }
  const Ended ended = scene::undo("");
  EXPECT_THAT(
      ended.said,
      HasSubstr("  /root/many119\n  and 5 more, which brindle-undo --list 2026-11-22-014630 shows\n"));
  EXPECT_THAT(ended.said, Not(HasSubstr("many120")));
  EXPECT_THAT(scene::undo("--list 2026-11-22-014630").said, HasSubstr("/root/many124\n"));
}

// Before the question; afterwards each of them is named.
TEST_F(Asking, names_only_some_of_many_that_are_left) {
  {
    const scene::Migration run(60);
    for (int number = 0; number < 25; ++number)
      scene::write("/root/many" + std::to_string(100 + number), "m");
  }
  shell_quietly("for one in /root/many*; do echo mine >> $one; done");
  scene::write("/root/many100", "m");
  const Ended ended = scene::undo("");
  EXPECT_THAT(ended.said, HasSubstr("Left as it is (24):\n"));
  EXPECT_THAT(ended.said, Not(HasSubstr("many121")));
  EXPECT_THAT(ended.said, HasSubstr("  and 4 more, which brindle-undo --list 2026-11-22-014630 shows\n"));
  EXPECT_THAT(scene::undo("--yes").said, HasSubstr("/root/many124: it has changed since\n"));
}

TEST_F(Asking, takes_the_newest_run_first_and_then_the_one_before) {
  {
    const scene::Migration run(60);
    scene::write("/root/second", "2");
    scene::write("/root/Documents/letter.txt", "third letter\n");
  }
  EXPECT_EQ(0, scene::undo("--yes").status);
  EXPECT_FALSE(exists("/root/second"));
  EXPECT_EQ("new letter\n", read_file("/root/Documents/letter.txt"));
  EXPECT_EQ(0, scene::undo("--yes").status);
  EXPECT_EQ("old letter\n", read_file("/root/Documents/letter.txt"));
  EXPECT_EQ("There is nothing to undo.\n", scene::undo("--yes").said);
}

TEST_F(Asking, an_older_run_leaves_what_a_later_one_has_changed) {
  {
    const scene::Migration run(60);
    scene::write("/root/Documents/letter.txt", "third letter\n");
  }
  const Ended ended = scene::undo(std::string("--yes ") + scene::first);
  EXPECT_EQ(1, ended.status);
  EXPECT_EQ("third letter\n", read_file("/root/Documents/letter.txt"));
  EXPECT_EQ("[General]\nFirst=old\n", read_file("/root/.kde/share/config/kmailrc"));
}

TEST_F(Asking, nothing_is_undone_while_a_migration_is_at_work) {
  keep::begin_run("/root", 1'795'000'000);
  ASSERT_TRUE(keep::before_change("/root/later"));
  const Ended ended = scene::undo("--yes " + std::string(scene::first));
  EXPECT_EQ(2, ended.status);
  EXPECT_EQ("brindle-undo: a migration is at work; try again when it has ended\n", ended.said);
  EXPECT_EQ(0, scene::undo("--list").status);
  keep::end_run();
  EXPECT_NE(2, scene::undo("--yes " + std::string(scene::first)).status);
}

TEST_F(Asking, two_at_once_are_refused) {
  shell_quietly("flock /root/.brindle_before sleep 5 & sleep 0.3");
  const Ended second = scene::undo("--yes " + std::string(scene::first));
  EXPECT_EQ(2, second.status);
  EXPECT_EQ("brindle-undo: another brindle-undo is at work\n", second.said);
}

}  // namespace
