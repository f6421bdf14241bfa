// A migration and its undo: everything is as it was before.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/commands.h"
#include "support/files.h"
#include "undo/scene.h"

namespace {

using scene::Ended;
using testing::HasSubstr;

class Whole : public testing::Test {
 protected:
  Whole() {
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

TEST_F(Whole, home_is_as_it_was_byte_for_byte) {
  ASSERT_NE(before_, after_);
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_TRUE(same_bytes(before_, scene::tree("/root"))) << ended.said;
  EXPECT_THAT(ended.said, HasSubstr("Given back as it was (14):\n"));
  EXPECT_THAT(ended.said,
              HasSubstr("\n14 files and folders were given back, 2 were removed with all in them.\n"));
}

TEST_F(Whole, undo_done_twice_does_nothing) {
  scene::undo("--yes");
  const Ended again = scene::undo("--yes");
  EXPECT_EQ(0, again.status);
  EXPECT_EQ("There is nothing to undo.\n", again.said);
  const Ended named = scene::undo(std::string("--yes ") + scene::first);
  EXPECT_EQ(0, named.status);
  EXPECT_EQ(std::string("There is nothing left to undo of ") + scene::first + ".\n", named.said);
  EXPECT_TRUE(same_bytes(before_, scene::tree("/root")));
}

TEST_F(Whole, undo_of_the_undo_brings_the_migrated_home_back) {
  scene::undo("--yes");
  const Ended ended = scene::undo("--yes " + scene::newest_undo());
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_TRUE(same_bytes(after_, scene::tree("/root"))) << ended.said;
  const Ended once_more = scene::undo("--yes");
  EXPECT_EQ(0, once_more.status) << once_more.said;
  EXPECT_TRUE(same_bytes(before_, scene::tree("/root"))) << once_more.said;
}

}  // namespace
