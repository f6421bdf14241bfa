#include "state/state.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(State, IsThatOfARunOfTheRunningUserAtTheStart) {
  EXPECT_EQ(1, isDefaultUser);
  EXPECT_EQ(0, isMultiUser);
  EXPECT_EQ(0, isNLD);
  EXPECT_EQ(0, isKilled);
  EXPECT_EQ(0, timer);
  EXPECT_EQ(STPHOTO, driverselection);
  EXPECT_FALSE(worker_runs);
  EXPECT_EQ(nullptr, dir_name.load());
  EXPECT_EQ(nullptr, client);
  EXPECT_EQ(nullptr, default_user);
  for (const char* text : {OSName, OSVersion, g_filename, g_password, Username, Password, selecteddriver,
                           cur_user, new_dir_path, font_dir_path, homedirpath, tarfilepath})
    EXPECT_STREQ("", text);
}

TEST(Assign, TakesWhatFitsWithTheNulBehindIt) {
  char buffer[8] = "before";
  EXPECT_TRUE(assign(buffer, "1234567"));
  EXPECT_STREQ("1234567", buffer);
  EXPECT_TRUE(assign(buffer, ""));
  EXPECT_STREQ("", buffer);
}

TEST(Assign, EmptiesTheBufferForWhatDoesNotFit) {
  char buffer[8] = "before";
  EXPECT_FALSE(assign(buffer, "12345678"));
  EXPECT_STREQ("", buffer);
  assign(buffer, "before");
  EXPECT_FALSE(assign(buffer, std::string(1000, 'x').c_str()));
  EXPECT_STREQ("", buffer);
}

TEST(Assign, TakesAPartOfTheBufferItself) {
  char buffer[8] = "1234567";
  EXPECT_TRUE(assign(buffer, buffer + 2));
  EXPECT_STREQ("34567", buffer);
  EXPECT_TRUE(assign(buffer, buffer));
  EXPECT_STREQ("34567", buffer);
}

}  // namespace
