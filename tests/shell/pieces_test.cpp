#include "shell/pieces.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "shell/files.h"
#include "support/files.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> pieces_of(const std::string& bytes, std::size_t limit,
                                   std::size_t block = PieceReader::usual_block) {
  write_file("/tmp/p", bytes);
  const File file = open_file("/tmp/p", "r");
  PieceReader reader(file.get(), limit, block);
  std::vector<std::string> pieces;
  for (std::string_view piece; reader.next(piece);) pieces.emplace_back(piece);
  return pieces;
}

TEST(PieceReader, GivesALongLineInPieces) {
  EXPECT_THAT(pieces_of("abcdef\nxy\n\nlast", 4), ElementsAre("abcd", "ef\n", "xy\n", "\n", "last"));
}

TEST(PieceReader, TakesALineOfExactlyTheLimitWhole) {
  EXPECT_THAT(pieces_of("abc\nx\n", 4), ElementsAre("abc\n", "x\n"));
  EXPECT_THAT(pieces_of("abcd", 4), ElementsAre("abcd"));
}

TEST(PieceReader, CutsALineThatIsOneLonger) {
  EXPECT_THAT(pieces_of("abcd\nx\n", 4), ElementsAre("abcd", "\n", "x\n"));
  EXPECT_THAT(pieces_of("abcde", 4), ElementsAre("abcd", "e"));
}

TEST(PieceReader, KeepsNulBytes) {
  const std::string line("a\0b\n", 4);
  EXPECT_THAT(pieces_of(line + std::string(1, '\0'), 100), ElementsAre(line, std::string(1, '\0')));
}

TEST(PieceReader, GivesNothingOfAnEmptyFile) {
  EXPECT_THAT(pieces_of("", 4), IsEmpty());
  EXPECT_THAT(pieces_of("\n", 4), ElementsAre("\n"));
}

TEST(PieceReader, GivesALastLineWithoutALineEnd) {
  EXPECT_THAT(pieces_of("a\nb", 4), ElementsAre("a\n", "b"));
}

TEST(PieceReader, GivesOneByteAtATime) {
  EXPECT_THAT(pieces_of("ab\nc", 1), ElementsAre("a", "b", "\n", "c"));
}

// The pieces are the same wherever a block ends.
TEST(PieceReader, GoesOnAcrossBlocks) {
  std::string text;
  for (std::size_t line = 0; line < 40; ++line) text += std::string(line % 9, "abcdefg"[line % 7]) + "\n";
  const std::vector<std::string> whole = pieces_of(text, 5);
  for (std::size_t block = 1; block <= text.size() + 1; ++block)
    EXPECT_EQ(whole, pieces_of(text, 5, block)) << block;
}

TEST(PieceReader, GoesOnAcrossItsUsualBlock) {
  const std::string full(PieceReader::usual_block - 1, 'x');
  EXPECT_THAT(pieces_of(full + "\nb\n", PieceReader::usual_block), ElementsAre(full + "\n", "b\n"));
  EXPECT_THAT(pieces_of(full + "xy\nb\n", 2 * PieceReader::usual_block), ElementsAre(full + "xy\n", "b\n"));
}

TEST(PieceReader, StaysAtTheEnd) {
  write_file("/tmp/p", "a");
  const File file = open_file("/tmp/p", "r");
  PieceReader reader(file.get(), 4);
  std::string_view piece;
  EXPECT_TRUE(reader.next(piece));
  EXPECT_FALSE(reader.next(piece));
  EXPECT_FALSE(reader.next(piece));
}

TEST(PieceReader, BeginsWhereTheFileIs) {
  write_file("/tmp/p", "first\nsecond\n");
  const File file = open_file("/tmp/p", "r");
  while (std::fgetc(file.get()) != '\n') continue;
  PieceReader reader(file.get(), 100);
  std::string_view piece;
  ASSERT_TRUE(reader.next(piece));
  EXPECT_EQ("second\n", piece);
}

TEST(PieceReader, EndsAtAFileThatCannotBeRead) {
  const File folder = open_file("/tmp", "r");
  PieceReader reader(folder.get(), 4);
  std::string_view piece;
  EXPECT_FALSE(reader.next(piece));
}

// ---- Blocks of pieces -----------------------------------------------------------------------------------

std::vector<std::string> blocks_of(const std::string& bytes, std::size_t limit, std::size_t block) {
  write_file("/tmp/p", bytes);
  const File file = open_file("/tmp/p", "r");
  PieceReader reader(file.get(), limit, block);
  std::vector<std::string> blocks;
  for (std::string_view pieces; reader.next_block(pieces);) blocks.emplace_back(pieces);
  return blocks;
}

TEST(PieceBlocks, EndWhereAPieceEnds) {
  EXPECT_THAT(blocks_of("ab\ncd\ne", 4, 7), ElementsAre("ab\ncd\n", "e"));
  EXPECT_THAT(blocks_of("ab\ncd\ne", 4, 5), ElementsAre("ab\n", "cd\ne"));
  EXPECT_THAT(blocks_of("ab\ncd\nef", 4, 5), ElementsAre("ab\n", "cd\n", "ef"));
  EXPECT_THAT(blocks_of("abcdefghij\nk", 3, 8), ElementsAre("abcdef", "ghij\nk"));
  EXPECT_THAT(blocks_of("", 3, 8), IsEmpty());
}

TEST(PieceBlocks, HoldThePiecesThatComeOneByOne) {
  std::string text;
  for (std::size_t line = 0; line < 40; ++line) text += std::string(line % 17, "abcdefg"[line % 7]) + "\n";
  text += "end";
  const std::vector<std::string> whole = pieces_of(text, 5);
  for (std::size_t block = 1; block <= text.size() + 1; ++block) {
    std::vector<std::string> pieces;
    for (const std::string& several : blocks_of(text, 5, block))
      for (std::string_view rest = several; !rest.empty(); rest.remove_prefix(pieces.back().size()))
        pieces.emplace_back(first_piece(rest, 5));
    EXPECT_EQ(whole, pieces) << block;
  }
}

TEST(PieceBlocks, GoOnBehindAPiece) {
  write_file("/tmp/p", "first\nsecond\nthird\n");
  const File file = open_file("/tmp/p", "r");
  PieceReader reader(file.get(), 100);
  std::string_view piece;
  ASSERT_TRUE(reader.next(piece));
  ASSERT_TRUE(reader.next_block(piece));
  EXPECT_EQ("second\nthird\n", piece);
  EXPECT_FALSE(reader.next_block(piece));
  EXPECT_FALSE(reader.next(piece));
}

TEST(PieceBlocks, OfAFileThatCannotBeReadAreNone) {
  const File folder = open_file("/tmp", "r");
  PieceReader reader(folder.get(), 4);
  std::string_view piece;
  EXPECT_FALSE(reader.next_block(piece));
}

}  // namespace
