#include "system/target.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>

#include "state/state.h"
#include "support/commands.h"

namespace {

TEST(TargetOf, ARunIsTheRunningUser) {
  const Target target = target_of("/tmp/brindAb/Brindle");
  EXPECT_EQ("/root", target.home);
  EXPECT_EQ("root", target.login);
  EXPECT_TRUE(target.is_running_user);
  EXPECT_FALSE(target.one_of_several);
  EXPECT_EQ("/tmp/brindAb/Brindle", target.root);
}

TEST(TargetOf, AnOrdinaryUserLivesBelowHome) {
  ASSERT_EQ(0, shell_quietly("useradd -u 2345 -d /srv/elsewhere ann"));
  ASSERT_EQ(0, setreuid(2345, 0));
  const Target target = target_of("");
  EXPECT_EQ("/home/ann", target.home);
  EXPECT_EQ("ann", target.login);
}

TEST(TargetOf, AProfileIsTheProfilesUser) {
  isDefaultUser = 0;
  isMultiUser = 1;
  assign(cur_user, "ben");
  const Target target = target_of("/a/Profiles/ben");
  EXPECT_EQ("/home/ben", target.home);
  EXPECT_EQ("ben", target.login);
  EXPECT_FALSE(target.is_running_user);
  EXPECT_TRUE(target.one_of_several);
  EXPECT_EQ("/a/Profiles/ben", target.root);
}

TEST(TargetOf, TheLocaleIsThePersons) {
  setenv("LANG", "ru_RU.UTF-8", 1);
  EXPECT_EQ("ru_RU.UTF-8", target_of("").locale);
  setenv("BRINDLE_LOCALE", "de_DE.UTF-8", 1);  // where the texts had to be English
  EXPECT_EQ("de_DE.UTF-8", target_of("").locale);
  setenv("BRINDLE_LOCALE", "", 1);
  EXPECT_EQ("ru_RU.UTF-8", target_of("").locale);
  unsetenv("BRINDLE_LOCALE");
  unsetenv("LANG");
  EXPECT_EQ("", target_of("").locale);
}

// An empty LC_CTYPE is set all the same.
TEST(TargetOf, OnGnomeAloneTheLocaleIsThatOfItsLetters) {
  setenv("LANG", "ru_RU.UTF-8", 1);
  for (const char* ctype : {"ja_JP.UTF-8", ""}) {
    setenv("LC_CTYPE", ctype, 1);
    for (const char* system : {"Linspire", "Xandros", "RedFlag", "INVALID", ""}) {
      assign(OSName, system);
      EXPECT_EQ("ru_RU.UTF-8", target_of("").locale) << system;
    }
    assign(OSName, "GNome");
    EXPECT_EQ(ctype, target_of("").locale);
  }
  unsetenv("LC_CTYPE");
  EXPECT_EQ("ru_RU.UTF-8", target_of("").locale);
}

TEST(TargetOf, TheLocaleOfAProfileIsThePersonsToo) {
  isDefaultUser = 0;
  assign(cur_user, "ben");
  setenv("LANG", "ru_RU.UTF-8", 1);
  EXPECT_EQ("ru_RU.UTF-8", target_of("").locale);
}

TEST(TargetOf, AProfileCalledRootDoesNotGetTheSuperusersHome) {
  isDefaultUser = 0;
  assign(cur_user, "root");
  EXPECT_EQ("/home/root", target_of("").home);
}

TEST(TargetOf, AFamilyStillHasARunningUser) {
  isMultiUser = 1;
  const Target target = target_of("");
  EXPECT_TRUE(target.is_running_user);
  EXPECT_TRUE(target.one_of_several);
}

TEST(TargetOf, TheSystemGoesWithIt) {
  assign(OSName, "RedFlag");
  assign(OSVersion, "4.1 Plus");
  const Target target = target_of("");
  EXPECT_EQ(System::redflag, target.system);
  EXPECT_EQ("4.1 Plus", target.system_version);
  EXPECT_STREQ("RedFlag", target.has().name);
}

TEST(TargetOf, IsMadeInSilence) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  target_of("");
  EXPECT_EQ("", testing::internal::GetCapturedStdout());
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST(TargetOf, SomebodyWithoutAnAccountHasNoHome) {
  ASSERT_EQ(0, setreuid(54321, 0));
  testing::internal::CaptureStderr();
  const Target target = target_of("");
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
  EXPECT_EQ("", target.home);
  EXPECT_EQ("", target.login);
}

}  // namespace
