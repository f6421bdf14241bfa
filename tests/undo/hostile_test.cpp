// Lists that somebody, or a failing disk, has changed.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "support/commands.h"
#include "support/files.h"
#include "undo/scene.h"

namespace {

using scene::Ended;
using testing::HasSubstr;

TEST(List, written_by_hand_is_understood) {
  write_file("/root/a", "new\n");
  write_file("/root/made", "made\n");
  write_file("/root/other", "mine\n");
  write_file("/root/.brindle_before/2026-11-22-014530/files/root/a", "old\n");
  scene::write_list(
      "run\tmigration\t-\tover\n"
      "path\t/root\tfolder 0700 0 0 981173106.789000000 0\tunknown\n"
      "path\t/root/a\tfile 0640 5 6 981173106.789000000 0 " +
      output_of("printf 'old\\n' | xxh128sum | cut -d' ' -f1 | tr -d '\\n'") +
      ":4\tunknown\n"
      "path\t/root/made\tnothing\tunknown\n"
      "path\t/root/gone\tlink 0777 0 0 5.000000000 0 a b\tnothing\n"
      "path\t/root/other\tnothing\tfile 0644 0 0 5.000000000 0 00000000000000000000000000000000:5\n");
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(1, ended.status);
  EXPECT_THAT(ended.said, HasSubstr("Left as it is (1):\n  /root/other: it has changed since\n"));
  EXPECT_EQ("old\n", read_file("/root/a")) << ended.said;
  EXPECT_EQ("640 5 6 981173106\n", output_of("stat -c '%a %u %g %Y' /root/a"));
  EXPECT_EQ("981173106\n", output_of("stat -c %Y /root"));
  EXPECT_EQ("a b\n", output_of("readlink /root/gone"));
  EXPECT_FALSE(exists("/root/made"));
}

TEST(List, that_is_empty_is_refused) {
  scene::write_list("");
  const Ended ended = scene::undo(std::string("--yes ") + scene::first);
  EXPECT_EQ(2, ended.status);
  EXPECT_EQ("brindle-undo: the list of 2026-11-22-014530 is empty or cannot be read\n", ended.said);
  EXPECT_EQ("There is nothing to undo.\n", scene::undo("--yes").said);
}

TEST(List, with_paths_that_are_none_changes_nothing) {
  write_file("/etc/precious", "p");
  write_file("/root/a", "a");
  std::string rows = "run\tmigration\t-\tover\n";
  for (const char* path :
       {"", "/", ".", "..", "a", "/root/", "/root//a", "/root/../etc/precious", "/root/./a",
        "/root/.brindle_before", "/root/.brindle_before/2026-11-22-014530/list.tsv", "//etc/precious"})
    rows += std::string("path\t") + path + "\tnothing\tunknown\n";
  scene::write_list(rows);
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_EQ("p", read_file("/etc/precious"));
  EXPECT_EQ("a", read_file("/root/a"));
  EXPECT_TRUE(exists("/root/.brindle_before/2026-11-22-014530/list.tsv"));
}

TEST(List, with_control_characters_shows_none) {
  scene::write_list(
      "run\tmigration\t-\tover\npath\t/root/\x1b[2Ja\x7f\xc2\x9b"
      "b\xc3\xa4\tnothing\tunknown\n");
  write_file(
      "/root/\x1b[2Ja\x7f\xc2\x9b"
      "b\xc3\xa4",
      "a");
  EXPECT_THAT(scene::undo("").said, HasSubstr("  /root/\\033[2Ja\\177\\302\x9b"
                                              "b\xc3\xa4\n"));
}

TEST(List, that_names_runs_in_a_circle_ends) {
  scene::write_list("run\tmigration\t-\tover\nrun\tundone\t2026-11-22-014531\tover\n");
  scene::write_list("run\tundo\t2026-11-22-014530\tover\nrun\tundone\t2026-11-22-014531\tover\n",
                    "2026-11-22-014531");
  const Ended ended = scene::undo("--list");
  EXPECT_EQ(0, ended.status);
}

// Any byte may have changed, the end may be missing: the program ends by itself, and touches nothing that no
// list named.
TEST(List, that_is_damaged_does_not_bring_the_program_down) {
  scene::fill_home();
  {
    const scene::Migration run;
    scene::migrate_home();
  }
  const std::string file = std::string("/root/.brindle_before/") + scene::first + "/list.tsv";
  const std::string whole = read_file(file);
  write_file("/etc/precious", "p");
  std::mt19937 random(7);
  for (int round = 0; round < 150; ++round) {
    std::string damaged = whole;
    for (int flips = 1 + static_cast<int>(random() % 8); flips > 0; --flips)
      damaged[random() % damaged.size()] ^= static_cast<char>(1U << (random() % 8));
    if (round % 3 == 0) damaged.resize(random() % damaged.size());
    write_file(file, damaged);
    const Ended ended = round % 10 == 9 ? scene::undo("--yes " + std::string(scene::first)) : scene::undo("");
    ASSERT_THAT(ended.status, testing::AnyOf(0, 1, 2)) << round << ended.said;
    ASSERT_EQ("untouched\n", read_file("/root/.kde/share/config/korgrc"));
    ASSERT_EQ("p", read_file("/etc/precious"));
  }
}

}  // namespace
