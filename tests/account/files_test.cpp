// Files that arrive as they are.
#include <gtest/gtest.h>

#include "account/scene.h"
#include "support/files.h"

namespace {

using namespace account;
using testing::Test;

TEST(Files, everything_that_lies_there_has_arrived) {
  const Scene scene(System::gnome, {{"My Documents/a.txt", "one"},
                                    {"My Documents/b/c d.txt", std::string(200000, 'x')},
                                    {"My Documents/empty/", ""}});
  write_file("/home/ann/Documents/a.txt", "one");
  write_file("/home/ann/Documents/b/c d.txt", std::string(200000, 'x'));
  write_file("/home/ann/Documents/empty/.keep", "");
  EXPECT_EQ("3 3 0 0 0", numbers(scene.look(Kind::documents)));
}

TEST(Files, each_fault_is_named) {
  const Scene scene(System::redflag, {{"My Documents/.hidden", "h"},
                                      {"My Documents/cut.txt", "one two"},
                                      {"My Documents/gone.txt", "one"},
                                      {"My Documents/other.txt", "one"},
                                      {"My Documents/longer.txt", "one"},
                                      {"My Documents/same.txt", "one"}});
  const std::string place = "/home/ann/Desktop/mydocument/";
  write_file(place + ".hidden", "h");
  write_file(place + "cut.txt", "one");
  write_file(place + "other.txt", "two");
  write_file(place + "longer.txt", "one two");
  write_file(place + "same.txt", "one");
  const Tally tally = scene.look(Kind::documents);
  EXPECT_EQ("6 1 0 0 5", numbers(tally));
  EXPECT_EQ((std::vector<std::string>{".hidden: Names that begin with a dot are left out here.",
                                      "cut.txt: Only its beginning is there.", "gone.txt: It is not there.",
                                      "longer.txt: What is there has another content.",
                                      "other.txt: What is there has another content."}),
            missing_names(tally));
}

}  // namespace
