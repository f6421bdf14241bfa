#include "shell/compose.h"

#include <gtest/gtest.h>

namespace {

TEST(Compose, HarmlessValuesGiveTheTemplatesText) {
  EXPECT_EQ("cp -a \"/tmp/brindAb/Brindle/My Documents\"/* /root/Documents ",
            compose("cp -a \"%s\"/* %s/Documents ", "/tmp/brindAb/Brindle/My Documents", "/root").text());
}

}  // namespace
