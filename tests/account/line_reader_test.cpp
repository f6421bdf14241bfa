// Lines of any length, and of a limited one.
#include <gtest/gtest.h>

#include "account/readers/text.h"
#include "support/files.h"

namespace {

std::vector<std::size_t> lengths(const std::string& bytes, std::size_t longest) {
  write_file("/tmp/lines", bytes);
  account::LineReader lines(account::file_source("/tmp/lines"), longest);
  std::vector<std::size_t> result;
  for (std::string line; lines.next(line);) result.push_back(line.size());
  return result;
}

// A limit is looked at a block of 65,536 bytes at a time.
TEST(LineReader, a_line_longer_than_the_limit_comes_as_several) {
  const std::string text = "one\n" + std::string(300000, 'x') + "\nlast";
  EXPECT_EQ((std::vector<std::size_t>{4, 300001, 4}), lengths(text, 1 << 20));
  const std::vector<std::size_t> pieces = lengths(text, 100000);
  EXPECT_EQ(5U, pieces.size());
  for (const std::size_t piece : pieces) EXPECT_LE(piece, 100000U + 65536U);
}

}  // namespace
