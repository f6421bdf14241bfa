#include "place/outside.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "place/descriptor.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

std::string named_outside() {
  const Descriptor top(open("/tmp/in", O_PATH | O_DIRECTORY | O_CLOEXEC));
  return place::file_with_name_outside(top.number(), "", [](const struct stat&) { return true; })
      .value_or("cannot be told");
}

TEST(NamesOutside, AreThoseThatTheFolderDoesNotHave) {
  write_file("/tmp/in/folder/one", "1");
  write_file("/tmp/in/alone", "a");
  shell_quietly("mkdir /tmp/out; cd /tmp/in && ln folder/one two");
  EXPECT_EQ("", named_outside());
  shell_quietly("ln /tmp/in/alone /tmp/out/alone");
  EXPECT_EQ("alone", named_outside());
}

}  // namespace
