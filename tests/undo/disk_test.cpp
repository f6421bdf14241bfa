// Disks that are full or end elsewhere, and many files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>

#include "keep/keep.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"
#include "undo/scene.h"

namespace {

using scene::Ended;
using testing::HasSubstr;

TEST(Disk, that_is_full_costs_nothing_and_the_next_undo_completes) {
  const SmallDisk disk("/root");
  const std::string old(40'000, 'o');
  write_file("/root/a", old);
  write_file("/root/b", "old b");
  {
    const scene::Migration run;
    scene::write("/root/a", std::string(30'000, 'n'));
    scene::write("/root/b", "new b");
    scene::write("/root/made", "m");
  }
  disk.fill_but(6);
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(1, ended.status) << ended.said;
  EXPECT_THAT(ended.said, HasSubstr("not given back: /root/a: "));
  EXPECT_THAT(ended.said, HasSubstr("start brindle-undo again: it goes on.\n"));
  EXPECT_THAT(ended.said, HasSubstr("). Keep it for what was not given back.\n"));
  EXPECT_EQ(std::string(30'000, 'n'), read_file("/root/a"));
  disk.empty();
  const Ended again = scene::undo("--yes");
  EXPECT_EQ(0, again.status) << again.said;
  EXPECT_EQ(old, read_file("/root/a"));
  EXPECT_EQ("old b", read_file("/root/b"));
  EXPECT_FALSE(exists("/root/made"));
  EXPECT_EQ("There is nothing to undo.\n", scene::undo("--yes").said);
}

TEST(Disk, of_its_own_within_the_home_gives_and_takes_too) {
  const SmallDisk disk("/root/disk");
  write_file("/root/disk/a", "old");
  write_file("/root/disk/c", "c");
  const std::string before = scene::tree("/root");
  {
    const scene::Migration run;
    scene::write("/root/disk/a", "new");
    scene::write("/root/disk/New/deep/b", "b");
    scene::remove("/root/disk/c");
  }
  const std::string after = scene::tree("/root");
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_TRUE(same_bytes(before, scene::tree("/root")));
  EXPECT_EQ(0, scene::undo("--yes " + scene::newest_undo()).status);
  EXPECT_TRUE(same_bytes(after, scene::tree("/root")));
}

TEST(Many, documents_go_in_a_few_seconds) {
  shell_quietly(
      "mkdir -p /root/Documents /tmp/from; cd /tmp/from; seq 10000 | xargs touch; echo old > "
      "/root/Documents/7");
  {
    const scene::Migration run;
    ASSERT_TRUE(keep::before_copy("/tmp/from", "/root/Documents"));
    shell_quietly("cp -a /tmp/from/* /root/Documents");
  }
  const auto begin = std::chrono::steady_clock::now();
  const Ended ended = scene::undo("--yes");
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
  EXPECT_EQ(0, ended.status);
  EXPECT_EQ("7\n", output_of("ls /root/Documents"));
  EXPECT_EQ("old\n", read_file("/root/Documents/7"));
  EXPECT_LT(took.count(), 20) << "seconds";
  RecordProperty("seconds", std::to_string(took.count()));
}

}  // namespace
