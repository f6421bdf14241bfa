#include "state/sleep.h"

#include <gtest/gtest.h>

#include <thread>

#include "support/sleeps.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

milliseconds given{0};

void keep(milliseconds time) { given = time; }

TEST(Sleep, TakesItsTime) {
  waiting::sleep_with(nullptr);
  const auto begin = Clock::now();
  waiting::sleep_for(milliseconds(300));
  EXPECT_LE(milliseconds(300), Clock::now() - begin);
}

TEST(Sleep, IsAnothersOnEveryThreadUntilItIsTheProgramsAgain) {
  waiting::sleep_with(keep);
  std::thread([] { waiting::sleep_for(std::chrono::hours(1)); }).join();
  EXPECT_EQ(std::chrono::hours(1), given);
  waiting::sleep_with(nullptr);
  waiting::sleep_for(milliseconds(1));
  EXPECT_EQ(std::chrono::hours(1), given);
}

TEST(Sleep, IsShortInATest) {
  const auto begin = Clock::now();
  waiting::sleep_for(std::chrono::minutes(1));
  EXPECT_GT(std::chrono::seconds(30), Clock::now() - begin);
  EXPECT_EQ(std::chrono::minutes(1), sleeps::meant());
}

}  // namespace
