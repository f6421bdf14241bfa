// Modes, owners, times, further names, access lists.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "keep/keep.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/programs.h"
#include "undo/scene.h"

namespace {

using scene::Ended;
using testing::HasSubstr;

std::string inode_of(const std::string& path) { return output_of("stat -c %i " + path); }

TEST(Attributes, of_a_tree_that_was_opened_to_everybody_come_back) {
  write_file("/Share/a/one", "1");
  write_file("/Share/a/two", "2");
  write_file("/Share/three", "3");
  shell_quietly("cd /Share; chmod 640 a/one; chmod 4711 a/two; chmod 750 a; chown 12:34 a a/two three");
  const std::string before = scene::tree("/Share");
  {
    const scene::Migration run;
    ASSERT_TRUE(keep::before_mode("/Share", 0777));
    shell_quietly("chmod -R 0777 /Share");
    ASSERT_TRUE(keep::before_owner("/Share/a", 77));
    shell_quietly("chown -R 77 /Share/a");
  }
  ASSERT_NE(before, scene::tree("/Share"));
  const std::string after = scene::tree("/Share");
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_TRUE(same_bytes(before, scene::tree("/Share"))) << ended.said;
  EXPECT_EQ(0, scene::undo("--yes " + scene::newest_undo()).status);
  EXPECT_TRUE(same_bytes(after, scene::tree("/Share")));
}

TEST(Attributes, of_others_come_back_without_set_id_bits) {
  shell_quietly("useradd -m -u 1234 ann");
  write_file("/home/ann/tool", "#!/bin/sh\n");
  shell_quietly("chown 77:78 /home/ann/tool; chmod 6755 /home/ann/tool");
  {
    const scene::Migration run;
    ASSERT_TRUE(keep::before_owner("/home/ann", 1234));
    shell_quietly("chown -R ann /home/ann");
  }
  ASSERT_EQ("1234 78 755\n", output_of("stat -c '%u %g %a' /home/ann/tool"));
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_EQ("77 78 755\n", output_of("stat -c '%u %g %a' /home/ann/tool"));
}

TEST(Attributes, that_somebody_has_changed_since_stay) {
  write_file("/Share/one", "1");
  write_file("/Share/two", "2");
  {
    const scene::Migration run;
    ASSERT_TRUE(keep::before_mode("/Share", 0777));
    shell_quietly("chmod -R 0777 /Share");
  }
  shell_quietly("chmod 0600 /Share/one; echo more >> /Share/two; touch -d 2030-01-01 /Share/two");
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(1, ended.status);
  EXPECT_THAT(ended.said, HasSubstr("/Share/one: its owner or rights have changed since\n"));
  EXPECT_EQ("600\n", output_of("stat -c %a /Share/one"));
  EXPECT_EQ("644 2030-01-01\n", output_of("stat -c '%a %y' /Share/two | cut -c1-14"));
  EXPECT_EQ("2more\n", read_file("/Share/two"));
}

TEST(Attributes, before_the_first_change_count_when_the_file_was_replaced_later) {
  write_file("/root/a", "old");
  shell_quietly("chmod 600 /root/a; chown 5:6 /root/a");
  const std::string before = scene::tree("/root");
  {
    const scene::Migration run;
    ASSERT_TRUE(keep::before_mode("/root/a", 0666));
    shell_quietly("chmod 666 /root/a");
    ASSERT_TRUE(keep::before_owner("/root/a", 0));
    shell_quietly("chown 0 /root/a");
    scene::write("/root/a", "new");
  }
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_EQ("600 5 6\n", output_of("stat -c '%a %u %g' /root/a"));
  EXPECT_EQ("old", read_file("/root/a"));
}

TEST(Attributes, alone_come_back_where_the_content_stayed) {
  write_file("/root/a", "same");
  shell_quietly("chmod 640 /root/a; touch -d 2001-01-01 /root/a /root");
  const std::string before = scene::tree("/root");
  {
    const scene::Migration run;
    ASSERT_TRUE(keep::before_change("/root/a"));
    shell_quietly("rm /root/a; printf same > /root/a");
  }
  ASSERT_NE(before, scene::tree("/root"));
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_THAT(ended.said, HasSubstr("Only rights or time are given back (2):\n  /root\n  /root/a\n"));
  EXPECT_TRUE(same_bytes(before, scene::tree("/root")));
}

class FurtherNames : public testing::Test {
 protected:
  FurtherNames() {
    write_file("/root/a", "old\n");
    write_file("/root/alone", "alone\n");
    shell_quietly("cd /root; ln a b; ln a c; chmod 640 a; touch -d 2001-01-01 a alone .");
    before_ = scene::tree("/root");
    inode_ = inode_of("/root/a");
  }
  void expect_as_before(int undo_status = 0) const {
    const Ended ended = scene::undo("--yes");
    EXPECT_EQ(undo_status, ended.status) << ended.said;
    EXPECT_TRUE(same_bytes(before_, scene::tree("/root"))) << ended.said;
  }
  std::string before_;
  std::string inode_;
};

TEST_F(FurtherNames, of_a_file_that_was_written_in_place_get_the_old_content_too) {
  {
    const scene::Migration run;
    ASSERT_TRUE(keep::before_change("/root/a"));
    shell_quietly("echo something longer than before > /root/a");
  }
  ASSERT_EQ("something longer than before\n", read_file("/root/c"));
  expect_as_before();
  EXPECT_EQ(inode_, inode_of("/root/a"));
  EXPECT_EQ("old\n", read_file("/root/c"));
}

TEST_F(FurtherNames, that_are_still_the_old_file_are_linked_to) {
  {
    const scene::Migration run;
    ASSERT_TRUE(keep::before_change("/root/b"));
    ASSERT_TRUE(keep::before_change("/root/a"));
    shell_quietly("cd /root; rm a; echo new > a; chmod 600 b");
  }
  expect_as_before();
  EXPECT_EQ(inode_, inode_of("/root/a"));
  EXPECT_EQ(inode_, inode_of("/root/b"));
}

TEST_F(FurtherNames, that_all_went_are_linked_among_themselves) {
  {
    const scene::Migration run;
    for (const char* name : {"/root/a", "/root/b", "/root/c", "/root/alone"})
      ASSERT_TRUE(keep::before_removal(name));
    shell_quietly("cd /root; rm a b c alone");
  }
  expect_as_before();
  EXPECT_EQ(inode_of("/root/a"), inode_of("/root/b"));
  EXPECT_EQ(inode_of("/root/a"), inode_of("/root/c"));
  EXPECT_NE(inode_of("/root/a"), inode_of("/root/alone"));
}

TEST_F(FurtherNames, that_the_run_has_not_touched_are_found) {
  {
    const scene::Migration run;
    ASSERT_TRUE(keep::before_change("/root/a"));
    shell_quietly("cd /root; rm a; echo new > a");
  }
  ASSERT_NE(inode_, inode_of("/root/a"));
  expect_as_before();
  EXPECT_EQ(inode_, inode_of("/root/a"));
}

TEST_F(FurtherNames, do_not_lead_to_a_file_that_is_another_now) {
  {
    const scene::Migration run;
    ASSERT_TRUE(keep::before_change("/root/b"));
    scene::remove("/root/a");
  }
  shell_quietly("cd /root; rm b; echo old > b");  // the same text in a file of its own
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ("old\n", read_file("/root/a"));
  EXPECT_NE(inode_of("/root/a"), inode_of("/root/b"));
}

TEST_F(FurtherNames, that_were_being_written_when_an_undo_was_killed_are_completed) {
  {
    const scene::Migration run;
    ASSERT_TRUE(keep::before_change("/root/a"));
    shell_quietly("echo something longer than before > /root/a");
  }
  const std::string strace = "strace -o /dev/null -e trace=ftruncate,?ftruncate64,pwrite64 -e inject=";
  ASSERT_NE(0, shell_quietly(strace + "ftruncate,?ftruncate64:signal=KILL:when=1 " + built::brindle_undo +
                             " --yes < /dev/null"));
  ASSERT_EQ("old\nthing longer than before\n", read_file("/root/a"));
  expect_as_before();
  EXPECT_EQ(inode_, inode_of("/root/a"));
}

TEST(AccessLists, come_back_with_a_file_and_with_a_folder_that_an_undo_took) {
  write_file("/root/a", "old");
  shell_quietly("setfacl -m u:games:rw /root/a; setfattr -n user.note -v mine /root/a");
  const std::string before = scene::tree("/root");
  {
    const scene::Migration run;
    scene::remove("/root/a");
    scene::write("/root/New/b", "b");
    shell_quietly("setfacl -m u:games:rwx,d:u:games:r /root/New");
  }
  const std::string after = scene::tree("/root");
  EXPECT_EQ(0, scene::undo("--yes").status);
  EXPECT_EQ("user:games:rw-\n", output_of("getfacl -pc /root/a | grep games"));
  EXPECT_EQ("mine", output_of("getfattr --only-values -n user.note /root/a 2>/dev/null"));
  EXPECT_EQ(0, scene::undo("--yes " + scene::newest_undo()).status);
  EXPECT_TRUE(same_bytes(after, scene::tree("/root")));
}

}  // namespace
