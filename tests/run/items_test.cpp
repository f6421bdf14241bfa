#include "process/run/items.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "error/log.h"
#include "run/fakes.h"
#include "state/state.h"
#include "support/files.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

int calls = 0;
std::string last_argument;

int gives_zero(const char* argument) {
  ++calls;
  last_argument = argument;
  return 0;
}
int gives_one(const char*) { return 1; }
int gives_minus_five(const char*) { return -5; }

std::string log_at_call;

// Takes what the log holds so far.
int looks_into_the_log(const char*) {
  std::fflush(fp_log);
  log_at_call = read_file("/tmp/log");
  return 0;
}

struct Items : testing::Test {
  Items() {
    write_file("/tmp/a/Brindle/Desktop/x", "");
    write_file("/tmp/a/Brindle/Bookmark.htm", "");
    assign(new_dir_path, "/tmp/a/Brindle");
    fp_log = std::fopen("/tmp/log", "w");
  }
  static std::string log() {
    std::fflush(fp_log);
    return read_file("/tmp/log");
  }
};

TEST_F(Items, RunTheMigratorOfAFolderThatIsThere) {
  item(nullptr, "image_2", "Desktop", gives_zero, "/tmp/a/Brindle");
  EXPECT_EQ(1, calls);
  EXPECT_EQ("/tmp/a/Brindle", last_argument);
  EXPECT_THAT(posts(), IsEmpty());  // shown by the GUI thread, later
  drain_posts();
  EXPECT_THAT(posts(), ElementsAre(Pair("image_2", 0)));
  EXPECT_EQ("Desktop\n", log());
}

TEST_F(Items, APlainFileCountsAsThere) {
  item(nullptr, "image_5", "Bookmark.htm", gives_zero, "");
  EXPECT_EQ(1, calls);
}

TEST_F(Items, AMissingFolderFailsWithoutTheMigratorButIsLogged) {
  item(nullptr, "image_7", "Fonts", gives_zero, "");
  drain_posts();
  EXPECT_EQ(0, calls);
  EXPECT_THAT(posts(), ElementsAre(Pair("image_7", -1)));
  EXPECT_EQ("Fonts\n", log());
}

TEST_F(Items, AnyOtherResultIsHandedOnAsItIs) {
  item(nullptr, "image_3", "Desktop", gives_one, "");
  item(nullptr, "image_4", "Desktop", gives_minus_five, "");
  drain_posts();
  EXPECT_THAT(posts(), ElementsAre(Pair("image_3", 1), Pair("image_4", -5)));
}

TEST_F(Items, AreInTheLogBeforeTheyRun) {
  item(nullptr, "image_2", "Desktop", looks_into_the_log, "");
  EXPECT_EQ("Desktop\n", log_at_call);
  itemprofiles(nullptr, "image_5", "Bookmark.htm", looks_into_the_log, "");
  EXPECT_EQ("Desktop\nBookmark.htm\n", log_at_call);
  itemprofiles2(nullptr, "image_0", "Desktop", looks_into_the_log, "");
  EXPECT_EQ("Desktop\nBookmark.htm\nDesktop\n", log_at_call);
}

TEST_F(Items, OfAProfileGiveTheirResultAndPostNothing) {
  EXPECT_EQ(1, itemprofiles(nullptr, "image_3", "Desktop", gives_one, ""));
  EXPECT_EQ(-1, itemprofiles(nullptr, "image_3", "Fonts", gives_one, ""));
  drain_posts();
  EXPECT_THAT(posts(), IsEmpty());
  EXPECT_EQ("Desktop\nFonts\n", log());
}

TEST_F(Items, AMissingProfileIsNoFailureUnlikeAMissingItem) {
  EXPECT_EQ(0, itemprofiles2(nullptr, "image_0", "ann", gives_one, ""));
  EXPECT_EQ(-1, itemprofiles(nullptr, "image_0", "ann", gives_one, ""));
  EXPECT_EQ(-5, itemprofiles2(nullptr, "image_0", "Desktop", gives_minus_five, ""));
  drain_posts();
  EXPECT_THAT(posts(), IsEmpty());
  EXPECT_EQ("ann\nann\nDesktop\n", log());
}

}  // namespace
