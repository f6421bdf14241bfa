#include "process/run/walk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "run/fakes.h"
#include "shell/ending.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Pair;

constexpr const char* root = "/tmp/brindAb/Brindle";

std::string in_archive(const std::string& name) { return std::string(root) + "/" + name; }

void walk(const Target& target) {
  testing::internal::CaptureStdout();
  run_as_worker([&] { walk_steps(target, root); });
  testing::internal::GetCapturedStdout();
}

TEST(Walk, OnAnyOtherSystemSetsFourMarks) {
  write_file(in_archive("My Documents/a.txt"), "a");
  write_file(in_archive("Bookmark.htm"), "b");
  write_file(in_archive("Printers/p.txt"), "Port Name=LPT3\n");
  shell_quietly("mkdir -p /root/Desktop");
  walk(target_of(root));
  EXPECT_THAT(posts(),
              ElementsAre(Pair("image_12", 0), Pair("image_0", -1), Pair("image_1", 0), Pair("image_2", -1)));
}

// The step that only repeats the printers' result is no beginning.
TEST(Walk, SaysWhatBeginsForTheRunningUser) {
  assign(OSName, "RedFlag");
  walk(target_of(root));
  EXPECT_THAT(beginnings(), ElementsAre("image_12", "image_0", "image_1", "image_2", "image_3", "image_4",
                                        "image_5", "image_6", "image_7", "image_8", "image_9"));
}

TEST(Walk, SaysNothingOfStepsThatASystemDoesNotHave) {
  walk(target_of(root));
  EXPECT_THAT(beginnings(), ElementsAre("image_12", "image_0", "image_1", "image_2"));
}

TEST(Walk, SaysWhatBeginsForEachOfAFamily) {
  isMultiUser = 1;
  write_file(in_archive("Profiles/ann/My Documents/a.txt"), "a");
  write_file(in_archive("Profiles/bob/My Documents/a.txt"), "a");
  walk(target_of(root));
  EXPECT_THAT(beginnings(), IsSupersetOf({"image_0 for ann", "image_1 for ann", "image_2 for ann",
                                          "image_0 for bob", "image_1 for bob", "image_2 for bob"}));
  EXPECT_EQ("image_0", beginnings()[1]);
  EXPECT_EQ("image_2", beginnings().back());
}

TEST(Walk, SaysThatAProfilesFontsAndPrintersBegin) {
  isMultiUser = 1;
  assign(OSName, "Xandros");
  write_file(in_archive("Profiles/ann/My Documents/a.txt"), "a");
  walk(target_of(root));
  EXPECT_THAT(beginnings(), IsSupersetOf({"image_7 for ann", "image_9 for ann", "image_10 for ann"}));
}

TEST(Walk, BeginsNothingWhenTheProgramEnds) {
  assign(OSName, "RedFlag");
  write_file(in_archive("My Documents/a.txt"), "a");
  shell::start_no_more_commands();
  walk(target_of(root));
  EXPECT_THAT(beginnings(), IsEmpty());
  EXPECT_THAT(posts(), IsEmpty());
}

TEST(Walk, AMigratorsOwnResultIsTheMarks) {
  assign(OSName, "Linspire");
  write_file(in_archive("Wallpaper/option.txt"), "C");  // without a picture
  walk(target_of(root));
  EXPECT_EQ(-1, marks()["image_4"]);
  EXPECT_STREQ(root, new_dir_path);
}

TEST(Walk, WhoeverHasAnotherHomeMakesNoPrinters) {
  assign(OSName, "Linspire");
  write_file(in_archive("Printers/p.txt"), "Port Name=LPT3\n");
  will_close(printer_notice);
  Target target = target_of(root);
  target.home = "/root2";
  walk(target);
  EXPECT_EQ(1, times_posted("printer error"));
  EXPECT_EQ(-1, marks()["image_12"]);
  EXPECT_EQ(-1, marks()["image_10"]);
}

TEST(Walk, EndsAtTheRunningUserAfterAFamily) {
  isMultiUser = 1;
  assign(OSName, "Xandros");
  write_file(in_archive("Profiles/ann/My Documents/a.txt"), "a");
  walk(target_of(root));
  EXPECT_EQ(0, marks()["image_0"]);
  EXPECT_EQ(1, isDefaultUser);
  EXPECT_STREQ(root, new_dir_path);
  EXPECT_STREQ(root, font_dir_path);
  EXPECT_STREQ("", homedirpath);
}

}  // namespace
