#include "things/gconf_calls.h"

#include <gtest/gtest.h>

namespace {

// The tests are linked with it, the wizard is not: there it must be found under this name.
TEST(GConfCalls, LibgconfIsFoundUnderItsName) { EXPECT_TRUE(late::libgconf.load()); }

}  // namespace
