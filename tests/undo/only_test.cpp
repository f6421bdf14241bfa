// An undo of some paths.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/commands.h"
#include "support/files.h"
#include "support/programs.h"
#include "undo/scene.h"

namespace {

using scene::Ended;
using testing::HasSubstr;

class Only : public testing::Test {
 protected:
  Only() {
    scene::fill_home();
    before_ = scene::tree("/root");
    {
      const scene::Migration run;
      scene::migrate_home();
    }
    after_ = scene::tree("/root");
  }
  std::string before_;
  std::string after_;
};

TEST_F(Only, one_file_is_given_back) {
  const Ended ended = scene::undo("--yes --only /root/Documents/letter.txt");
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_EQ("old letter\n", read_file("/root/Documents/letter.txt"));
  EXPECT_EQ("new\n", read_file("/root/Documents/new.txt"));
  EXPECT_EQ("[General]\nFirst=new\n", read_file("/root/.kde/share/config/kmailrc"));
  EXPECT_FALSE(exists("/root/dangling"));
  EXPECT_THAT(ended.said, HasSubstr("). Keep it for what was not given back.\n"));
  EXPECT_THAT(ended.said, Not(HasSubstr("delete")));
}

TEST_F(Only, folders_count_with_all_in_them) {
  const Ended ended = scene::undo("--yes --only /root/Documents/New /root/Documents/deep/ /root/dangling");
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_FALSE(exists("/root/Documents/New"));
  EXPECT_TRUE(exists("/root/dangling"));
  EXPECT_EQ("a list\n", read_file("/root/Documents/deep/er/list.txt"));
  EXPECT_EQ("new letter\n", read_file("/root/Documents/letter.txt"));
  EXPECT_FALSE(exists("/root/pipe"));
}

TEST_F(Only, paths_may_be_relative) {
  Ended ended = scene::undo("--yes --only /root/Documents");
  EXPECT_EQ(0, ended.status) << ended.said;
  shell_quietly("ln -s /root/.kde /tmp/kde");
  ended = {shell_quietly("cd /tmp/kde/share && " + built::brindle_undo +
                         " --yes --only ../share/./config/kmailrc ../../root/../share"
                         " > /tmp/said 2>&1"),
           read_file("/tmp/said")};
  EXPECT_EQ(2, ended.status) << ended.said;
  ended = {shell_quietly("cd /tmp/kde/share && " + built::brindle_undo +
                         " --yes --only config/kmailrc > /tmp/said 2>&1"),
           read_file("/tmp/said")};
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_EQ("[General]\nFirst=old\n", read_file("/root/.kde/share/config/kmailrc"));
}

TEST_F(Only, paths_that_no_list_has_are_an_error_before_anything_is_done) {
  const Ended ended = scene::undo("--yes --only /root/Documents/letter.txt /root/twin");
  EXPECT_EQ(2, ended.status);
  EXPECT_THAT(ended.said, HasSubstr("the run has done nothing to /root/twin or anything in it"));
  EXPECT_EQ(2, scene::undo("--yes --only /root/Documents/letter").status);
  EXPECT_TRUE(same_bytes(after_, scene::tree("/root")));
}

TEST_F(Only, file_brings_the_folders_back_that_it_was_in) {
  shell_quietly("rm /root/Mail");
  const Ended ended = scene::undo("--yes --only /root/Mail/inbox/cur/2");
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_EQ("From: ben\n", read_file("/root/Mail/inbox/cur/2"));
  EXPECT_FALSE(exists("/root/Mail/inbox/cur/1"));
  EXPECT_FALSE(exists("/root/Mail/sent"));
  EXPECT_EQ("2750\n", output_of("stat -c %a /root/Mail/inbox"));
}

TEST_F(Only, the_rest_comes_with_the_next_undo) {
  scene::undo("--yes --only /root/Documents /root/Mail");
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_TRUE(same_bytes(before_, scene::tree("/root"))) << ended.said;
  EXPECT_EQ("There is nothing to undo.\n", scene::undo("--yes").said);
}

TEST_F(Only, the_undo_can_be_undone) {
  scene::undo("--yes --only /root/Documents /root/Mail");
  const Ended ended = scene::undo("--yes " + scene::newest_undo());
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_TRUE(same_bytes(after_, scene::tree("/root"))) << ended.said;
}

}  // namespace
