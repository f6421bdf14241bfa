#include "process/mail/folders/next_of.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr const char* text = "boundary=\"";
const std::size_t text_size = std::string(text).size();

NextOf next_boundary() { return {text, 7, 9}; }

/// With what looks like the text by the two letters that are looked for first.
std::string nearly(std::size_t size) {
  std::string block;
  while (block.size() < size) block += "xxxxxxxyx\"";
  return block.substr(0, size);
}

// Blocks of more and of fewer bytes than are looked at together.
TEST(NextOf, FindsATextAtEveryPlaceOfABlock) {
  for (std::size_t size = text_size; size < 400; size += 13) {
    for (std::size_t at = 0; at + text_size <= size; ++at) {
      const std::string block = nearly(size).replace(at, text_size, text);
      NextOf next = next_boundary();
      next.search(block);
      EXPECT_EQ(at, next.from(0)) << size;
      EXPECT_EQ(at, next.from(at)) << size;
      EXPECT_EQ(size, next.from(at + 1)) << size;
    }
  }
}

TEST(NextOf, OfSeveralTheFirstBehindThePlace) {
  std::string block(1000, 'x');
  for (const std::size_t at : {100U, 110U, 700U}) block.replace(at, text_size, text);
  NextOf next = next_boundary();
  next.search(block);
  EXPECT_EQ(100U, next.from(3));
  EXPECT_EQ(110U, next.from(101));
  EXPECT_EQ(700U, next.from(111));
  EXPECT_EQ(1000U, next.from(701));
}

TEST(NextOf, LiesWholeBetweenTwoPlaces) {
  const std::string block = nearly(300).replace(200, text_size, text);
  NextOf next = next_boundary();
  next.search(block);
  EXPECT_FALSE(next.lies_in(0, 199 + text_size));
  EXPECT_TRUE(next.lies_in(0, 200 + text_size));
  EXPECT_TRUE(next.lies_in(200, 300));
  EXPECT_FALSE(next.lies_in(201, 300));
}

TEST(NextOf, CutOffAtTheEndOfABlockItIsNotThere) {
  for (std::size_t held = 1; held < text_size; ++held) {
    const std::string block = nearly(200) + std::string(text).substr(0, held);
    NextOf next = next_boundary();
    next.search(block);
    EXPECT_EQ(block.size(), next.from(0)) << held;
  }
}

TEST(NextOf, AnotherBlockIsSearchedFromItsBegin) {
  const std::string one = std::string(90, 'x') + text;
  const std::string other = text + std::string(90, 'x');
  NextOf next = next_boundary();
  next.search(one);
  EXPECT_EQ(90U, next.from(0));
  next.search(other);
  EXPECT_EQ(0U, next.from(0));
  next.search("");
  EXPECT_EQ(0U, next.from(0));
}

}  // namespace
