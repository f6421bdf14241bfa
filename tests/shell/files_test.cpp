#include "shell/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "support/commands.h"
#include "support/files.h"
#include "support/system_log.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

TEST(IsFolder, IsTrueForWhateverOpensForReading) {
  write_file("/tmp/a/plain", "x");
  EXPECT_EQ(1, is_folder("/tmp", "a"));
  EXPECT_EQ(1, is_folder("/tmp/a", "plain"));
  EXPECT_EQ(0, is_folder("/tmp/a", "missing"));
  EXPECT_EQ(1, is_folder("/tmp", "a/plain"));
}

TEST(IsFolder, IsFalseForWhatMayNotBeRead) {
  write_file("/tmp/a/plain", "x");
  chmod("/tmp/a/plain", 0);
  ASSERT_EQ(0, seteuid(65534));
  const int readable = is_folder("/tmp/a", "plain");
  ASSERT_EQ(0, seteuid(0));
  EXPECT_EQ(0, readable);
}

TEST(IsFolder, TakesPathsOfAnyLength) {
  const std::string deep = std::string(200, 'd') + "/" + std::string(200, 'e');
  write_file("/tmp/" + deep, "x");
  EXPECT_EQ(1, is_folder("/tmp", deep.c_str()));
}

TEST(ReplaceFile, LeavesNothingButTheTextAndKeepsEveryByte) {
  const std::string text("a%s\0\n", 5);
  write_file("/tmp/f", "something longer");
  EXPECT_TRUE(replace_file("/tmp/f", text));
  EXPECT_TRUE(same_bytes(text, read_file("/tmp/f")));
}

TEST(ReplaceFile, SaysWhenTheFileCannotBeOpened) {
  EXPECT_FALSE(replace_file("/tmp/missing/f", "a"));
  EXPECT_EQ(ENOENT, errno);
  EXPECT_FALSE(exists("/tmp/missing"));
}

TEST(DosToUnix, ConvertsInPlaceAndLogsNothing) {
  SystemLog log;
  write_file("/tmp/a b.txt", "one\r\ntwo\r\n");
  dos_to_unix("/tmp/a b.txt");
  EXPECT_EQ("one\ntwo\n", read_file("/tmp/a b.txt"));
  dos_to_unix("/tmp/missing");
  EXPECT_THAT(commands_run(), ElementsAre("dos2unix -q \"/tmp/a b.txt\"", "dos2unix -q \"/tmp/missing\""));
  EXPECT_THAT(log.messages(), IsEmpty());
}

TEST(ListFolder, GivesEveryEntryButTheTwoDots) {
  write_file("/tmp/f/.hidden", "");
  write_file("/tmp/f/b", "");
  write_file("/tmp/f/sub/inner", "");
  EXPECT_THAT(list_folder("/tmp/f").value(), UnorderedElementsAre(".hidden", "b", "sub"));
}

TEST(ListFolder, HasNoValueForAFolderThatCannotBeOpened) {
  EXPECT_FALSE(list_folder("/tmp/missing"));
  EXPECT_EQ(ENOENT, errno);
}

}  // namespace
