#include "shell/home.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "state/state.h"
#include "support/commands.h"

namespace {

TEST(UserHome, OfRootIsSlashRoot) {
  char buffer[64];
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, username(buffer));
  EXPECT_STREQ("/root", buffer);
  EXPECT_EQ("buffer=/root\n", testing::internal::GetCapturedStdout());
}

TEST(UserHome, OfAnybodyElseIsBelowHomeWhateverTheAccountSays) {
  ASSERT_EQ(0, shell_quietly("useradd -u 2345 -d /srv/elsewhere ann"));
  ASSERT_EQ(0, setreuid(2345, 0));  // the real user counts
  EXPECT_EQ("/home/ann", user_home());
}

TEST(UserHome, OfAProfileIsBelowHome) {
  isDefaultUser = 0;
  assign(cur_user, "ben");
  EXPECT_EQ("/home/ben", user_home());
}

TEST(UserHome, OfAProfileCalledRootIsBelowHomeToo) {
  isDefaultUser = 0;
  assign(cur_user, "root");
  EXPECT_EQ("/home/root", user_home());
}

TEST(UserHome, WithoutAnAccountIsAFailure) {
  ASSERT_EQ(0, setreuid(54321, 0));
  char buffer[64];
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, username(buffer));
  EXPECT_EQ("", testing::internal::GetCapturedStdout());
  EXPECT_EQ(0u, testing::internal::GetCapturedStderr().find("username : "));
}

TEST(UserHome, IsRefusedRatherThanCutByASmallBuffer) {
  isDefaultUser = 0;
  const std::string name(100, 'n');
  assign(cur_user, name.c_str());
  char buffer[64] = "old";
  EXPECT_EQ(-1, username(buffer));
  EXPECT_EQ(-1, currentusername(buffer));
  EXPECT_STREQ("old", buffer);
  EXPECT_EQ("/home/" + name, user_home());
}

TEST(UserHome, FitsWithTheNulBehindIt) {
  isDefaultUser = 0;
  const std::string longest(63 - std::strlen("/home/"), 'n');
  char buffer[80] = "";
  assign(cur_user, longest.c_str());
  EXPECT_EQ(0, username(buffer));
  EXPECT_EQ("/home/" + longest, buffer);
  EXPECT_EQ(0, currentusername(buffer));
  assign(cur_user, (longest + "n").c_str());
  EXPECT_EQ(-1, username(buffer));
  EXPECT_EQ(ENAMETOOLONG, errno);
  EXPECT_EQ(-1, currentusername(buffer));
  EXPECT_EQ("/home/" + longest, buffer);
}

TEST(CurrentUsername, IsTheProfilesHome) {
  assign(cur_user, "cat");
  char buffer[64];
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, currentusername(buffer));
  EXPECT_STREQ("/home/cat", buffer);
  EXPECT_EQ("", testing::internal::GetCapturedStdout());
}

}  // namespace
