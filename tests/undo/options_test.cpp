// The command line of brindle-undo.
#include "undo/options.h"

#include <gtest/gtest.h>

namespace {

using namespace undo;

Options options(std::vector<const char*> words) {
  words.insert(words.begin(), "brindle-undo");
  return read_options(static_cast<int>(words.size()), words.data());
}

std::string complaint(const std::vector<const char*>& words) {
  try {
    options(words);
    return "";
  } catch (const UsageError& error) {
    return error.what();
  }
}

TEST(Options, that_are_not_given_are_empty) {
  const Options read = options({});
  EXPECT_FALSE(read.list || read.accounts || read.yes || read.help);
  EXPECT_TRUE(read.only.empty());
  EXPECT_EQ("", read.date_time);
}

TEST(Options, are_set_one_at_a_time) {
  EXPECT_TRUE(options({"--list"}).list);
  EXPECT_TRUE(options({"--accounts"}).accounts);
  EXPECT_TRUE(options({"--yes"}).yes);
  EXPECT_TRUE(options({"--help"}).help);
  EXPECT_FALSE(options({"--list"}).yes || options({"--list"}).accounts || options({"--list"}).help);
  EXPECT_FALSE(options({"--yes"}).list || options({"--yes"}).accounts || options({"--yes"}).help);
}

TEST(Options, take_several_paths_up_to_an_option_or_a_time) {
  const Options read = options({"--only", "a", "/b c", "-d", "--yes", "2026-11-22-014530"});
  EXPECT_EQ((std::vector<std::string>{"a", "/b c", "-d"}), read.only);
  EXPECT_TRUE(read.yes);
  EXPECT_EQ("2026-11-22-014530", read.date_time);
  EXPECT_EQ("2026-11-22-014530-2", options({"--only", "a", "2026-11-22-014530-2"}).date_time);
  EXPECT_EQ((std::vector<std::string>{"a", "b"}), options({"--only", "a", "--only", "b"}).only);
  EXPECT_EQ((std::vector<std::string>{"./2026-11-22-014530"}),
            options({"--only", "./2026-11-22-014530"}).only);
}

TEST(Options, that_make_no_sense_are_refused) {
  EXPECT_EQ("--only needs a path", complaint({"--only"}));
  EXPECT_EQ("--only needs a path", complaint({"--only", "--yes"}));
  EXPECT_EQ("--only needs a path", complaint({"--only", "2026-11-22-014530"}));
  EXPECT_EQ("a path or time is empty", complaint({""}));
  EXPECT_EQ("a path or time is empty", complaint({"--only", ""}));
  EXPECT_EQ("there is no option --all", complaint({"--all"}));
  EXPECT_EQ("there is no option -y", complaint({"-y"}));
  EXPECT_EQ("'yesterday' is not the time of a run, as 2026-11-22-014530", complaint({"yesterday"}));
  EXPECT_EQ("only one run can be given", complaint({"2026-11-22-014530", "2026-11-22-014531"}));
  EXPECT_EQ("--accounts and --only exclude each other", complaint({"--accounts", "--only", "a"}));
}

TEST(Options, know_a_time) {
  EXPECT_TRUE(is_date_time("2026-11-22-014530"));
  EXPECT_TRUE(is_date_time("2026-11-22-014530-12"));
  for (const char* wrong : {"", "2026-11-22", "2026-11-22-01453", "2026-11-22-0145300", "2026-11-22-014530-",
                            "2026-11-22-014530-a", "2026/11/22-014530", "../../../../etc-01"})
    EXPECT_FALSE(is_date_time(wrong)) << wrong;
}

}  // namespace
