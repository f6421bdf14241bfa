#include "process/archive/tree.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "support/commands.h"
#include "support/files.h"

namespace {

TEST(Tree, LeadsNowhereElse) {
  write_file("/tmp/beside/file", "s");
  write_file("/tmp/tree/folder/file", "f");
  const Tree tree("/tmp/tree");
  for (const char* path : {"../beside/new", "folder/../../beside/new", "..", "folder/..", ".", ""}) {
    errno = 0;
    EXPECT_FALSE(tree.create(path)) << path;
    EXPECT_EQ(EINVAL, errno) << path;
    EXPECT_FALSE(tree.move("folder/file", path)) << path;
  }
  EXPECT_FALSE(tree.checksum("../beside/file"));
  EXPECT_EQ("file\n", output_of("ls /tmp/beside"));
}

TEST(Tree, MakesNoFileWhereOneIs) {
  write_file("/tmp/tree/file", "old");
  shell_quietly("ln -s /tmp/elsewhere /tmp/tree/link");
  const Tree tree("/tmp/tree");
  for (const char* name : {"file", "link"}) {
    EXPECT_FALSE(tree.create(name)) << name;
    EXPECT_EQ(EEXIST, errno) << name;
  }
  EXPECT_EQ("old", read_file("/tmp/tree/file"));
  EXPECT_FALSE(exists("/tmp/elsewhere"));
  EXPECT_TRUE(tree.create("new/file"));
}

}  // namespace
