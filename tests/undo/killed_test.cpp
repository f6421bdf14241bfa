// Runs and undos that were killed at any moment.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>

#include "keep/keep.h"
#include "keep/store.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/programs.h"
#include "undo/scene.h"

namespace {

using scene::Ended;
using testing::HasSubstr;

// Runs the program under a tracer that kills it before its Nth call of `name`. False when it came to its end
// before.
bool undo_killed_at(const std::string& name, int call) {
  // The leak checker of a build that has one does not work under a tracer, and would say so by the exit
  // status.
  const int status = shell_quietly("ASAN_OPTIONS=detect_leaks=0 strace -f -o /dev/null -e trace=" + name +
                                   " -e inject=" + name + ":signal=KILL:when=" + std::to_string(call) + " " +
                                   built::brindle_undo + " --yes < /dev/null > /dev/null 2>&1");
  return status == -1 || status == 128 + SIGKILL;
}

// All that change files.
constexpr std::array changing_calls = {"renameat",  "renameat2",       "linkat",    "symlinkat", "mkdirat",
                                       "mknodat",   "unlinkat",        "fchmod",    "fchmodat",  "chmod",
                                       "fchown",    "fchownat",        "write",     "pwrite64",  "utimensat",
                                       "fsetxattr", "copy_file_range", "ftruncate", "openat2"};

class Killed : public testing::TestWithParam<const char*> {
 protected:
  Killed() {
    scene::fill_home();
    before_ = scene::tree("/root");
    {
      const scene::Migration run;
      scene::migrate_home();
    }
    after_ = scene::tree("/root");
    shell_quietly("cp -a /root /tmp/migrated");
  }

  static void migrate_again() {
    shell_quietly("cd /root && find . -mindepth 1 -delete; cp -a /tmp/migrated/. /root");
  }

  // Calls `test` with the program killed at call after call of that name. Opening is only looked at here and
  // there, since it changes little.
  template <typename Test>
  void each_time(Test test) {
    const bool is_frequent = std::string("openat2") == GetParam();
#ifdef BRINDLE_ADDRESS_CHECKER  // a sample: each undo takes several times as long
    const int few = 2, step = 29;
#else
    const int few = 8, step = 3;
#endif
    for (int call = is_frequent ? 50 : 1;; call += is_frequent ? 97 : call < few ? 1 : step) {
      migrate_again();
      if (!undo_killed_at(GetParam(), call)) break;
      SCOPED_TRACE(std::string(GetParam()) + " " + std::to_string(call));
      ASSERT_NO_FATAL_FAILURE(test());
    }
  }

  std::string before_;
  std::string after_;
};

TEST_P(Killed, undo_is_completed_by_the_next) {
  each_time([this] {
    const Ended ended = scene::undo("--yes");
    ASSERT_EQ(0, ended.status) << ended.said;
    ASSERT_TRUE(same_bytes(before_, scene::tree("/root"))) << ended.said;
    std::size_t undos = 0;
    for (const keep::Run& run : keep::runs_in("/root")) undos += run.is_undo ? 1 : 0;
    ASSERT_EQ(1, undos);
    const Ended back = scene::undo("--yes " + scene::newest_undo());
    ASSERT_EQ(0, back.status) << back.said;
    ASSERT_TRUE(same_bytes(after_, scene::tree("/root"))) << back.said;
  });
}

TEST_P(Killed, undo_that_was_not_completed_can_be_undone) {
  each_time([this] {
    const std::string name = scene::newest_undo();
    if (name.empty()) return;
    const Ended ended = scene::undo("--yes " + name);
    ASSERT_EQ(0, ended.status) << ended.said;
    ASSERT_TRUE(same_bytes(after_, scene::tree("/root"))) << ended.said;
  });
}

INSTANTIATE_TEST_SUITE_P(At, Killed, testing::ValuesIn(changing_calls),
                         [](const auto& each) { return std::string(each.param); });

class KilledAgain : public Killed {};

TEST_P(KilledAgain, undo_comes_to_its_end_all_the_same) {
  for (int call = 1; undo_killed_at(GetParam(), call); ++call) ASSERT_LT(call, 200);
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_TRUE(same_bytes(before_, scene::tree("/root")));
}

INSTANTIATE_TEST_SUITE_P(At, KilledAgain, testing::Values("renameat2", "write"),
                         [](const auto& each) { return std::string(each.param); });

// A child that goes through a migration and is killed in it.
void migration_killed_after(int steps) {
  const pid_t child = fork();
  if (child == 0) {
    keep::begin_run("/root", 1795311930);
    int step = 0;
    const auto next = [&] {
      if (++step > steps) kill(getpid(), SIGKILL);
    };
    next();
    scene::write("/root/.kde/share/config/kmailrc", "new\n");
    next();
    static_cast<void>(keep::before_change("/root/Documents/letter.txt"));
    next();
    write_file("/root/Documents/letter.txt", "half of");
    next();
    scene::remove("/root/Mail");
    next();
    static_cast<void>(keep::before_change("/root/New/a/b"));
    next();
    write_file("/root/New/a/b/one", "1");
    write_file("/root/New/a/two", "2");
    next();
    static_cast<void>(keep::before_adding("/root/Documents/deep/er"));
    write_file("/root/Documents/deep/er/added", "a");
    write_file("/root/Documents/deep/er/added folder/in it", "a");
    next();
    keep::settle();
    next();
    scene::write("/root/dangling", "a file\n");
    next();
    keep::end_run();
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
}

TEST(KilledRun, is_undone_wherever_it_was_killed) {
  scene::fill_home();
  const std::string before = scene::tree("/root");
  for (int steps = 0; steps <= 10; ++steps) {
    migration_killed_after(steps);
    const Ended ended = scene::undo("--yes");
    ASSERT_EQ(0, ended.status) << steps << "\n" << ended.said;
    ASSERT_TRUE(same_bytes(before, scene::tree("/root"))) << steps << "\n" << ended.said;
    ASSERT_EQ(0, scene::undo("--yes").status);
    shell_quietly("rm -rf /root/.brindle_before; touch -d '2001-02-03 04:05:06.789' /root");
  }
}

// Between the moment in which the old file is put aside and the one in which the new one is whole.
TEST(KilledRun, leaves_nothing_that_it_had_put_aside) {
  scene::fill_home();
  const std::string config = "/root/.kde/share/config/";
  for (const char* name : {".brindle-mine", ".brindle-1-", ".brindle--1", ".brindle-1-2x"})
    write_file(config + name, "mine");
  write_file("/root/.brindle-12-3", "mine");
  const std::string before = scene::tree("/root");
  const pid_t child = fork();
  if (child == 0) {
    keep::begin_run("/root", 1795311930);
    static_cast<void>(keep::before_change(config + "kmailrc"));
    std::filesystem::rename(config + "kmailrc", config + ".brindle-4711-0");
    write_file(config + ".brindle-4711-12", "half of");
    kill(getpid(), SIGKILL);
  }
  int status = 0;
  waitpid(child, &status, 0);
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_TRUE(same_bytes(before, scene::tree("/root"))) << ended.said;
}

TEST(KilledRun, leaves_things_that_were_there_and_that_nobody_listed) {
  scene::fill_home();
  migration_killed_after(8);
  write_file("/root/Documents/mine", "m");
  EXPECT_EQ(0, scene::undo("--yes").status);
  EXPECT_EQ("m", read_file("/root/Documents/mine"));
  EXPECT_EQ("a list\n", read_file("/root/Documents/deep/er/list.txt"));
  EXPECT_FALSE(exists("/root/Documents/deep/er/added"));
  EXPECT_FALSE(exists("/root/New"));
}

TEST(KilledRun, is_said_to_be_one) {
  scene::fill_home();
  migration_killed_after(8);
  EXPECT_THAT(scene::undo("--list").said, HasSubstr("made; it did not come to its end\n"));
}

}  // namespace
