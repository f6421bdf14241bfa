#include "system/marks.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

// The numbers are in the widgets' names and the keys in every language's text file.
TEST(Marks, HaveTheirNumbersTextsAndOrder) {
  const std::vector<std::pair<int, std::string>> expected = {
      {12, "window3-preparingprinters"},
      {0, "window3-multiuser"},
      {1, "window3-mydocuments"},
      {2, "window3-desktop"},
      {3, "window3-emails"},
      {4, "window3-wallpaper"},
      {5, "window3-favorites"},
      {6, "window3-cookies"},
      {7, "window3-fonts"},
      {8, "window3-otherfiles"},
      {9, "window3-networkdrives"},
      {10, "window3-printers"},
      {11, "window3-groupwise"},
  };
  std::vector<std::pair<int, std::string>> rows;
  for (const MarkRow& row : mark_rows()) rows.emplace_back(static_cast<int>(row.mark), row.text_key);
  EXPECT_EQ(expected, rows);
}

TEST(Marks, GoByTheNamesOfTheirImages) {
  EXPECT_EQ("image_0", image_name(Mark::several_users));
  EXPECT_EQ("image_12", image_name(Mark::preparing_printers));
  for (const MarkRow& row : mark_rows()) EXPECT_EQ(row.mark, mark_of_image(image_name(row.mark)));
}

TEST(Marks, AreNotFoundByAnyOtherName) {
  for (const char* name : {"", "image_", "image_13", "image_-1", "image_01", "image_1 ", "label_1", "1"})
    EXPECT_EQ(std::nullopt, mark_of_image(name)) << name;
}

TEST(MarkSets, HoldWhatTheyAreMadeOf) {
  const MarkSet some = {Mark::several_users, Mark::preparing_printers};
  for (const MarkRow& row : mark_rows()) {
    const bool in_it = row.mark == Mark::several_users || row.mark == Mark::preparing_printers;
    EXPECT_EQ(in_it, some.contains(row.mark)) << image_name(row.mark);
    EXPECT_FALSE(MarkSet({}).contains(row.mark));
  }
}

TEST(MarkSets, AreEqualByWhatTheyHold) {
  EXPECT_EQ((MarkSet{Mark::fonts, Mark::mail}), (MarkSet{Mark::mail, Mark::fonts, Mark::mail}));
  EXPECT_NE((MarkSet{Mark::mail}), (MarkSet{Mark::mail, Mark::fonts}));
}

}  // namespace
