#include "shell/fill.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

TEST(Fill, PutsEachValueInOnceWithoutLookingAtIt) {
  EXPECT_EQ("URL=/root/Documents\n", fill("URL=@home@/Documents\n", {{"home", "/root"}}));
  EXPECT_EQ("@b@%s&<-2", fill("@a@-@b@", {{"a", "@b@%s&<"}, {"b", "2"}}));
  EXPECT_EQ("xx", fill("@a@@a@", {{"a", "x"}}));
  EXPECT_EQ("plain", fill("plain", {}));
}

TEST(Fill, RefusesWhatDoesNotMatch) {
  EXPECT_THROW(fill("@a@", {}), std::logic_error);
  EXPECT_THROW(fill("a", {{"a", "x"}}), std::logic_error);
  EXPECT_THROW(fill("a@b", {}), std::logic_error);
}

}  // namespace
