#include "shell/blocks.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "support/files.h"

namespace {

LineEnds ends_of(const std::string& text) {
  write_file("/tmp/f", text);
  return line_ends_of("/tmp/f").value();
}

TEST(BlockReader, GivesEveryByteInItsOrder) {
  const std::string text =
      std::string(BlockReader::block_size, 'a') + std::string("\0b", 2) + std::string(100, 'c');
  write_file("/tmp/f", text);
  BlockReader reader("/tmp/f");
  ASSERT_TRUE(reader.is_open());
  EXPECT_EQ("aaa", reader.next(3));
  EXPECT_EQ(text.substr(3, BlockReader::block_size), reader.next());
  EXPECT_EQ(text.substr(3 + BlockReader::block_size), reader.next());
  EXPECT_EQ("", reader.next());
  EXPECT_FALSE(reader.has_failed());
}

TEST(BlockReader, TellsWhatCannotBeReadFromAnEnd) {
  BlockReader missing("/tmp/missing");
  EXPECT_EQ(ENOENT, errno);
  EXPECT_FALSE(missing.is_open());
  EXPECT_EQ("", missing.next());
  BlockReader folder("/tmp");
  EXPECT_TRUE(folder.is_open());
  EXPECT_EQ("", folder.next());
  EXPECT_TRUE(folder.has_failed());
}

TEST(LineEnds, AreToldOfTheWholeFile) {
  const LineEnds plain = ends_of("a\rb\n");
  EXPECT_FALSE(plain.has_mark);
  EXPECT_FALSE(plain.has_returns);
  EXPECT_EQ('\n', plain.last);
  EXPECT_EQ('\n', ends_of("").last);
  EXPECT_EQ('\x1a', ends_of("a\n\x1a").last);
  EXPECT_TRUE(ends_of("\xEF\xBB\xBF").has_mark);
  EXPECT_FALSE(ends_of("a\xEF\xBB\xBF").has_mark);
  EXPECT_TRUE(ends_of("a\r\nb\n").has_returns);
}

// The mark only counts in front, and a return may end one block and its line feed begin the next.
TEST(LineEnds, AreToldAcrossBlocks) {
  const std::string block(BlockReader::block_size, 'a');
  EXPECT_TRUE(ends_of(block.substr(1) + "\r\nb\n").has_returns);
  EXPECT_FALSE(ends_of(block.substr(1) + "\rb\n").has_returns);
  EXPECT_TRUE(ends_of(block + "\r\nb\n").has_returns);
  EXPECT_FALSE(ends_of(block + "\xEF\xBB\xBF").has_mark);
  EXPECT_EQ('b', ends_of("\r\n" + block + "b").last);
  EXPECT_TRUE(ends_of("\r\n" + block).has_returns);
  EXPECT_TRUE(ends_of("\xEF\xBB\xBF" + block).has_mark);
}

TEST(LineEnds, HaveNoValueForWhatCannotBeRead) {
  EXPECT_FALSE(line_ends_of("/tmp/missing"));
  EXPECT_FALSE(line_ends_of("/tmp"));
}

TEST(CarriageReturns, GoBeforeLineFeedsAlone) {
  EXPECT_EQ("a\nb\n\n\rc\r", without_carriage_returns("a\r\nb\r\r\n\r\n\rc\r"));
  EXPECT_EQ("", without_carriage_returns(""));
}

}  // namespace
