#include "place/outside.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

#include "place/descriptor.h"
#include "trees.h"

namespace {

bool any(const struct stat& /*what*/) { return true; }

std::string named_outside(const std::string& path = "",
                          const std::function<bool(const struct stat&)>& counts = any) {
  const Descriptor top(open("/tmp/in", O_PATH | O_DIRECTORY | O_CLOEXEC));
  return place::file_with_name_outside(top.number(), path, counts).value_or("cannot be told");
}

TEST(NamesOutside, AreThoseThatTheFolderDoesNotHave) {
  write_file("/tmp/in/folder/one", "1");
  write_file("/tmp/in/alone", "a");
  shell_quietly("mkdir /tmp/out; cd /tmp/in && ln folder/one two");
  EXPECT_EQ("", named_outside());
  shell_quietly("ln /tmp/in/alone /tmp/out/alone");
  EXPECT_EQ("alone", named_outside());
}

TEST(NamesOutside, AreFoundInFoldersOfFolders) {
  write_file("/tmp/in/a/b/c/file", "x");
  write_file("/tmp/out/alone", "a");
  shell_quietly("ln /tmp/in/a/b/c/file /tmp/out/file");
  EXPECT_EQ("a/b/c/file", named_outside());
  EXPECT_EQ("a/b/c/file", named_outside("a/b"));
  EXPECT_EQ("", named_outside("missing"));
  EXPECT_EQ("", named_outside("a/b/c/file"));
}

TEST(NamesOutside, AreThoseOfFilesThatCount) {
  write_file("/tmp/in/closed", "x");
  write_file("/tmp/in/open", "x");
  shell_quietly("mkdir /tmp/out; ln /tmp/in/* /tmp/out; chmod 600 /tmp/in/closed");
  const auto is_open = [](const struct stat& what) { return (what.st_mode & 0044) != 0; };
  const auto is_nobodys = [](const struct stat& /*what*/) { return false; };
  EXPECT_EQ("open", named_outside("", is_open));
  EXPECT_EQ("", named_outside("", is_nobodys));
}

TEST(NamesOutside, AreNoneOfLinks) {
  shell_quietly("mkdir /tmp/in /tmp/out; ln -s x /tmp/in/link; ln /tmp/in/link /tmp/out/link");
  EXPECT_EQ("2\n", output_of("stat -c %h /tmp/in/link"));
  EXPECT_EQ("", named_outside());
}

TEST(NamesOutside, CannotBeToldOfAFolderThatMayNotBeRead) {
  write_file("/tmp/in/closed/file", "x");
  shell_quietly("chmod 755 /tmp/in; chmod 700 /tmp/in/closed");
  EXPECT_TRUE(as_person([] { return named_outside() == "cannot be told" && errno == EACCES; }));
  EXPECT_TRUE(as_person([] { return named_outside("closed") == "cannot be told"; }));
}

}  // namespace
