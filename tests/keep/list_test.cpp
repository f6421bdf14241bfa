#include "keep/list.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "place/descriptor.h"
#include "support/files.h"

namespace keep {

// For gtest's messages and comparisons.
bool operator==(const Row& one, const Row& other) {
  return one.kind == other.kind && one.name == other.name && one.before == other.before &&
         one.became == other.became;
}
void PrintTo(const Row& row, std::ostream* out) { *out << line_of(row); }

namespace {

using testing::ElementsAre;

constexpr const char* path = "/tmp/list.tsv";

std::vector<Row> joined(const std::string& text) {
  write_file(path, text);
  const Descriptor file(open(path, O_RDONLY | O_CLOEXEC));
  return joined_rows(file.number());
}

TEST(List, has_a_line_a_row_whatever_a_name_holds) {
  EXPECT_EQ("path\t/a\\tb\\nc\\\\d\tnothing\tunknown\n",
            line_of({Kind::path, "/a\tb\nc\\d", nothing, unknown}));
  EXPECT_EQ("kind\tname\tbefore\tbecame\n", head_line());
}

TEST(List, is_read_as_it_was_written) {
  for (const Kind kind : {Kind::path, Kind::attributes, Kind::gconf, Kind::queue, Kind::default_queue,
                          Kind::account, Kind::names, Kind::new_home, Kind::run}) {
    const Row row{kind, "\t\\t\n\\n\\", "", "\\\\"};
    EXPECT_THAT(joined(head_line() + line_of(row)), ElementsAre(row));
  }
}

TEST(List, takes_the_first_before_and_the_last_became_of_each_name) {
  EXPECT_THAT(joined("path\t/a\tfile 1\tunknown\n"
                     "path\t/b\tnothing\tunknown\n"
                     "attributes\t/a\tx\ty\n"
                     "path\t/a\tfile 2\tfile 3\n"
                     "path\t/a\t\tfile 4\n"),
              ElementsAre(Row{Kind::path, "/a", "file 1", "file 4"}, Row{Kind::path, "/b", nothing, unknown},
                          Row{Kind::attributes, "/a", "x", "y"}));
}

TEST(List, leaves_out_what_is_no_row) {
  EXPECT_THAT(joined("kind\tname\tbefore\tbecame\nstrange\t/a\tb\tc\npath\t/a\tb\npath\t/a\tb\tc\td\n\n"
                     "path\t/b\tnothing\tunknown\npath\t/c\tnothing\tunkn"),
              ElementsAre(Row{Kind::path, "/b", nothing, unknown}));
}

TEST(List, may_be_longer_than_a_block) {
  std::string text;
  for (int number = 0; number < 5000; ++number)
    text += line_of({Kind::path, "/" + std::to_string(number), nothing, std::string(100, 'x')});
  text += line_of({Kind::names, "/n", std::string(200'000, 'n'), unknown});
  const std::vector<Row> rows = joined(text);
  ASSERT_EQ(5001U, rows.size());
  EXPECT_EQ("/4999", rows[4999].name);
  EXPECT_EQ(200'000U, rows[5000].before.size());
}

}  // namespace
}  // namespace keep
