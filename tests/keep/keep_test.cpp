#include "keep/keep.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "keep/store.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"

namespace {

namespace fs = std::filesystem;
using keep::Kind;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;

constexpr std::time_t noon = 1'795'000'000;

std::string noons() { return keep::name_of_run(noon); }

std::string kept(const std::string& path, const std::string& home = "/root") {
  return keep::kept_path(home, noons(), path);
}

// "PATH BEFORE BECAME" of the rows about paths, of each state its first word; the home's own row left out.
std::vector<std::string> told(const std::string& home = "/root") {
  std::vector<std::string> result;
  const auto word = [](const std::string& text) { return text.substr(0, text.find(' ')); };
  for (const keep::Row& row : keep::rows_of(home, noons()))
    if (row.kind == Kind::path && row.name != home)
      result.push_back(row.name + " " + word(row.before) + " " + word(row.became));
  return result;
}

std::string state_of(const std::string& path, Kind kind = Kind::path, const std::string& home = "/root") {
  for (const keep::Row& row : keep::rows_of(home, noons()))
    if (row.kind == kind && row.name == path) return row.before;
  return "no row";
}

std::string last_state_of(const std::string& path) {
  for (const keep::Row& row : keep::rows_of("/root", noons()))
    if (row.kind == Kind::path && row.name == path) return row.became;
  return "no row";
}

std::vector<std::string> twenty_in(const std::string& folder) {
  std::vector<std::string> paths;
  for (int number = 0; number < 20; ++number) paths.push_back(folder + "/" + std::to_string(number));
  return paths;
}

// And one that takes a while to be read: in whichever order they are listed, some come before it.
void write_around_large(const std::string& folder) {
  for (const std::string& path : twenty_in(folder)) {
    write_file(path, "theirs");
    if (path.ends_with("/10")) shell_quietly("truncate -s 2G " + folder + "/large");
  }
}

void let_it_come_to_the_large_one() { std::this_thread::sleep_for(std::chrono::milliseconds(50)); }

mode_t mode_of(const std::string& path) {
  struct stat found {};
  lstat(path.c_str(), &found);
  return found.st_mode & 07777;
}

uid_t owner_of(const std::string& path) {
  struct stat found {};
  lstat(path.c_str(), &found);
  return found.st_uid;
}

// A run of root's.
class Keep : public testing::Test {
 protected:
  Keep() { keep::begin_run("/root", noon); }
  ~Keep() override { keep::end_run(); }

  static void make_ann() { shell_quietly("useradd -m -d /home/ann -u 1234 ann"); }
};

// ---- Without anything to keep -----------------------------------------------------------------------------

TEST(KeepWithoutARun, keeps_nothing_and_forbids_nothing) {
  write_file("/root/a", "one");
  EXPECT_TRUE(keep::before_change("/root/a"));
  EXPECT_TRUE(keep::before_change_of(Kind::gconf, "/apps/x", "1"));
  keep::now_is(Kind::gconf, "/apps/x", "2");
  keep::settle();
  keep::end_run();
  EXPECT_FALSE(exists("/root/.brindle_before"));
}

TEST_F(Keep, leaves_nothing_of_a_run_without_a_change) {
  keep::settle();
  EXPECT_EQ("", keep::folder_of_run());
  keep::end_run();
  EXPECT_FALSE(exists("/root/.brindle_before"));
}

TEST_F(Keep, passes_over_the_work_folder) {
  write_file("/tmp/brindXYZ/a", "one");
  EXPECT_TRUE(keep::before_change("/tmp/brindXYZ/a"));
  EXPECT_TRUE(keep::before_copy("/tmp/brindXYZ", "/tmp/other"));
  keep::end_run();
  EXPECT_FALSE(exists("/root/.brindle_before"));
}

// ---- One path
// ------------------------------------------------------------------------------------------------

TEST_F(Keep, copies_a_file_with_all_that_it_has) {
  write_file("/root/d/prefs.js", "mine");
  shell_quietly(
      "chmod 4640 /root/d/prefs.js; chown 7:8 /root/d/prefs.js; chmod 4640 /root/d/prefs.js; "
      "touch -d '2001-02-03 04:05:06.123456789' /root/d/prefs.js; setfattr -n user.x -v y /root/d/prefs.js");
  ASSERT_TRUE(keep::before_change("/root/d/prefs.js"));
  write_file("/root/d/prefs.js", "theirs");
  keep::end_run();
  EXPECT_EQ("mine", read_file(kept("/root/d/prefs.js")));
  EXPECT_EQ(mode_t{04640}, mode_of(kept("/root/d/prefs.js")));
  EXPECT_EQ("7:8 2001-02-03 04:05:06.123456789\n",
            output_of("stat -c '%u:%g %y' " + kept("/root/d/prefs.js") + " | cut -c1-33"));
  EXPECT_THAT(told(), UnorderedElementsAre("/root/d folder folder", "/root/d/prefs.js file file"));
  EXPECT_THAT(state_of("/root/d/prefs.js"), StartsWith("file 4640 7 8 981"));
}

TEST_F(Keep, is_for_its_owner_alone) {
  write_file("/root/a", "one");
  ASSERT_TRUE(keep::before_change("/root/a"));
  EXPECT_EQ("/root/.brindle_before/" + noons(), keep::folder_of_run());
  EXPECT_EQ(mode_t{0700}, mode_of("/root/.brindle_before"));
  EXPECT_EQ(mode_t{0700}, mode_of(keep::folder_of_run()));
  EXPECT_EQ(mode_t{0700}, mode_of(keep::folder_of_run() + "/files/root"));
  EXPECT_EQ(mode_t{0600}, mode_of(keep::folder_of_run() + "/list.tsv"));
}

TEST_F(Keep, closes_a_folder_of_earlier_runs_that_stands_open) {
  fs::create_directory("/root/.brindle_before");
  fs::permissions("/root/.brindle_before", fs::perms::all);
  ASSERT_TRUE(keep::before_change("/root/a"));
  EXPECT_EQ(mode_t{0700}, mode_of("/root/.brindle_before"));
}

TEST_F(Keep, keeps_the_first_state_of_a_path_alone) {
  write_file("/root/a", "one");
  ASSERT_TRUE(keep::before_change("/root/a"));
  write_file("/root/a", "two");
  keep::settle();
  ASSERT_TRUE(keep::before_change("/root//./a"));
  write_file("/root/a", "three");
  keep::end_run();
  EXPECT_EQ("one", read_file(kept("/root/a")));
  ASSERT_THAT(told(), ElementsAre("/root/a file file"));
  EXPECT_THAT(keep::rows_of("/root", noons()).back().kind, Kind::path);
  EXPECT_THAT(read_file("/root/.brindle_before/" + noons() + "/list.tsv"), HasSubstr(":5\n"));  // "three"
}

TEST_F(Keep, has_told_of_all_that_was_made_when_it_has_settled) {
  ASSERT_TRUE(keep::before_change("/root/made"));
  write_around_large("/root/made");
  keep::settle();
  EXPECT_THAT(last_state_of("/root/made/19"), StartsWith("file"));
  EXPECT_THAT(last_state_of("/root/made/large"), StartsWith("file"));
}

// What was made is read beside what comes after it, and what came last counts.
TEST_F(Keep, tells_the_last_state_of_what_is_changed_while_it_is_read) {
  ASSERT_TRUE(keep::before_change("/root/made"));
  const std::vector<std::string> paths = twenty_in("/root/made");
  write_around_large("/root/made");
  keep::begin_to_settle();
  let_it_come_to_the_large_one();
  for (const std::string& path : paths) {
    ASSERT_TRUE(keep::before_change(path));
    write_file(path, "another");
  }
  keep::begin_to_settle();
  keep::end_run();
  for (const std::string& path : paths) EXPECT_THAT(last_state_of(path), EndsWith(":7"));
}

TEST_F(Keep, tells_the_last_state_of_what_was_taken_and_made_again) {
  write_around_large("/from");
  const std::vector<std::string> paths = twenty_in("/root/d");
  for (const std::string& path : paths) {
    write_file(path, "mine");
    ASSERT_TRUE(keep::take(path));
  }
  ASSERT_TRUE(keep::before_copy("/from", "/root/d"));
  shell_quietly("cp --sparse=always /from/* /root/d");
  keep::begin_to_settle();
  let_it_come_to_the_large_one();
  for (const std::string& path : paths) {
    ASSERT_TRUE(keep::before_change(path));
    write_file(path, "another");
  }
  keep::end_run();
  for (const std::string& path : paths) {
    EXPECT_EQ("mine", read_file(kept(path)));
    EXPECT_THAT(last_state_of(path), EndsWith(":7"));
  }
}

TEST_F(Keep, keeps_no_copy_of_what_was_not_changed_in_the_end) {
  write_file("/root/d/a", "one");
  write_file("/root/d/b", "one");
  ASSERT_TRUE(keep::before_change("/root/d/a"));
  ASSERT_TRUE(keep::before_change("/root/d/b"));
  shell_quietly("rm /root/d/a; echo -n one > /root/d/a; echo -n two > /root/d/b; chmod 600 /root/d/a");
  keep::settle();
  EXPECT_FALSE(exists(kept("/root/d/a")));
  EXPECT_EQ("one", read_file(kept("/root/d/b")));
  ASSERT_TRUE(keep::before_change("/root/d/a"));
  write_file("/root/d/a", "two");
  keep::end_run();
  EXPECT_EQ("one", read_file(kept("/root/d/a")));
  EXPECT_THAT(state_of("/root/d/a"), StartsWith("file 0644 "));
}

TEST_F(Keep, leaves_no_empty_folders_of_copies_that_were_not_needed) {
  write_file("/root/d/sub/a", "one");
  ASSERT_TRUE(keep::before_change("/root/d/sub/a"));
  keep::end_run();
  EXPECT_FALSE(exists("/root/.brindle_before/" + noons() + "/files"));
  EXPECT_TRUE(exists("/root/.brindle_before/" + noons() + "/list.tsv"));
}

TEST_F(Keep, tells_a_removed_file) {
  write_file("/root/a", "one");
  ASSERT_TRUE(keep::before_change("/root/a"));
  fs::remove("/root/a");
  keep::end_run();
  EXPECT_THAT(told(), ElementsAre("/root/a file nothing"));
}

TEST_F(Keep, tells_what_is_made_from_the_uppermost_folder_on) {
  fs::create_directories("/root/there");
  ASSERT_TRUE(keep::before_change("/root/there/new/deep/a"));
  EXPECT_THAT(told(), UnorderedElementsAre("/root/there folder unknown", "/root/there/new nothing unknown"));
  write_file("/root/there/new/deep/a", "a");
  write_file("/root/there/new/.b", "b");
  symlink("a", "/root/there/new/deep/link");
  keep::end_run();
  EXPECT_THAT(told(), UnorderedElementsAre(
                          "/root/there folder folder", "/root/there/new nothing folder",
                          "/root/there/new/.b nothing file", "/root/there/new/deep nothing folder",
                          "/root/there/new/deep/a nothing file", "/root/there/new/deep/link nothing link"));
  EXPECT_FALSE(exists(kept("/root/there")));
}

TEST_F(Keep, tells_what_later_steps_make_of_what_the_run_has_made) {
  ASSERT_TRUE(keep::before_change("/root/new/a"));
  write_file("/root/new/a", "a");
  keep::settle();
  ASSERT_TRUE(keep::before_change("/root/new/b"));
  write_file("/root/new/b", "b");
  ASSERT_TRUE(keep::before_change("/root/new/a"));
  write_file("/root/new/a", "longer");
  keep::end_run();
  EXPECT_THAT(told(), UnorderedElementsAre("/root/new nothing folder", "/root/new/a nothing file",
                                           "/root/new/b nothing file"));
  EXPECT_THAT(read_file("/root/.brindle_before/" + noons() + "/list.tsv"),
              AllOf(HasSubstr(":6\n"), Not(HasSubstr("unknown"))));
}

TEST_F(Keep, tells_the_folders_that_came_later_into_what_the_run_has_made) {
  ASSERT_TRUE(keep::before_change("/root/new/a"));
  write_file("/root/new/a", "a");
  keep::settle();
  ASSERT_TRUE(keep::before_change("/root/new/deep/er/b"));
  ASSERT_TRUE(keep::before_change("/root/new/deep/c"));
  write_file("/root/new/deep/er/b", "b");
  keep::end_run();
  EXPECT_THAT(told(),
              UnorderedElementsAre("/root/new nothing folder", "/root/new/a nothing file",
                                   "/root/new/deep nothing folder", "/root/new/deep/c nothing nothing",
                                   "/root/new/deep/er nothing folder", "/root/new/deep/er/b nothing file"));
}

TEST_F(Keep, tells_a_folder_that_was_to_be_made_and_came_later) {
  ASSERT_TRUE(keep::before_adding("/root/Mail"));
  keep::settle();
  ASSERT_TRUE(keep::before_change("/root/Mail/inbox/cur"));
  fs::create_directories("/root/Mail/inbox/cur");
  keep::end_run();
  EXPECT_THAT(told(), UnorderedElementsAre("/root/Mail nothing folder", "/root/Mail/inbox nothing folder",
                                           "/root/Mail/inbox/cur nothing folder"));
}

TEST_F(Keep, tells_what_was_to_be_made_and_was_not) {
  ASSERT_TRUE(keep::before_change("/root/new/a"));
  keep::end_run();
  EXPECT_THAT(told(), ElementsAre("/root/new nothing nothing"));
}

TEST_F(Keep, keeps_of_a_folder_that_is_there_mode_owner_and_time_alone) {
  write_file("/root/d/a", "one");
  ASSERT_TRUE(keep::before_change("/root/d"));
  keep::end_run();
  EXPECT_THAT(told(), ElementsAre("/root/d folder folder"));
  EXPECT_FALSE(exists(kept("/root/d")));
}

TEST_F(Keep, tells_the_home_as_it_was_before_its_own_folder_came) {
  shell_quietly("touch -d '2001-02-03 04:05:06' /root");
  ASSERT_TRUE(keep::before_change("/root/a"));
  EXPECT_THAT(state_of("/root"), HasSubstr(" 981173106.000000000"));
}

TEST_F(Keep, keeps_a_link_and_what_it_names) {
  write_file("/root/elsewhere/prefs", "mine");
  symlink("elsewhere/prefs", "/root/prefs");
  ASSERT_TRUE(keep::before_change("/root/prefs"));
  EXPECT_EQ("elsewhere/prefs", fs::read_symlink(kept("/root/prefs")));
  EXPECT_EQ("mine", read_file(kept("/root/elsewhere/prefs")));
}

TEST_F(Keep, survives_links_without_an_end) {
  symlink("b", "/root/a");
  symlink("a", "/root/b");
  symlink("nowhere/x", "/root/c");
  EXPECT_TRUE(keep::before_change("/root/a"));
  EXPECT_TRUE(keep::before_change("/root/c"));
  EXPECT_TRUE(fs::is_symlink(kept("/root/b")));
}

TEST_F(Keep, names_what_lies_in_a_linked_folder_by_its_real_path) {
  write_file("/root/disk/Documents/a", "one");
  symlink("disk/Documents", "/root/Documents");
  ASSERT_TRUE(keep::before_change("/root/Documents/a"));
  EXPECT_EQ("one", read_file(kept("/root/disk/Documents/a")));
}

TEST_F(Keep, goes_up_from_where_a_linked_folder_lies) {
  write_file("/root/disk/a", "mine");
  fs::create_directory("/root/disk/photos");
  symlink("disk/photos", "/root/photos");
  write_file("/root/a", "another");
  ASSERT_TRUE(keep::before_change("/root/photos/../a"));
  ASSERT_TRUE(keep::before_change("/root/photos/.."));
  EXPECT_EQ("mine", read_file(kept("/root/disk/a")));
  EXPECT_FALSE(exists(kept("/root/a")));
  EXPECT_THAT(told(), ElementsAre("/root/disk folder unknown", "/root/disk/a file unknown"));
}

TEST_F(Keep, keeps_what_a_path_over_the_work_folder_names) {
  write_file("/root/a", "mine");
  ASSERT_TRUE(keep::before_change("/tmp/../root/a"));
  EXPECT_EQ("mine", read_file(kept("/root/a")));
}

TEST_F(Keep, keeps_what_lies_in_no_home_with_whoever_runs_the_program) {
  write_file("/Share/a", "one");
  ASSERT_TRUE(keep::before_change("/Share/a"));
  ASSERT_TRUE(keep::before_change("/etc/brindle-new"));
  EXPECT_EQ("one", read_file(kept("/Share/a")));
  EXPECT_THAT(told(), IsSupersetOf({"/Share/a file unknown", "/etc/brindle-new nothing unknown"}));
}

TEST_F(Keep, keeps_what_lies_beside_the_home_under_a_name_that_begins_alike) {
  write_file("/rootless", "one");
  write_file("/root2/a", "two");
  ASSERT_TRUE(keep::before_change("/rootless"));
  ASSERT_TRUE(keep::before_change("/root2/a"));
  EXPECT_EQ("one", read_file(kept("/rootless")));
  EXPECT_EQ("two", read_file(kept("/root2/a")));
}

TEST_F(Keep, removes_with_all_that_is_in_it) {
  write_file("/root/d/sub/a", "one");
  write_file("/root/d/.b", "two");
  ASSERT_TRUE(keep::before_removal("/root/d"));
  fs::remove_all("/root/d");
  keep::end_run();
  EXPECT_EQ("one", read_file(kept("/root/d/sub/a")));
  EXPECT_EQ("two", read_file(kept("/root/d/.b")));
  EXPECT_THAT(told(), UnorderedElementsAre("/root/d folder nothing", "/root/d/sub folder nothing",
                                           "/root/d/sub/a file nothing", "/root/d/.b file nothing"));
}

TEST_F(Keep, has_the_first_state_of_what_was_to_be_removed_later_and_was_not) {
  write_file("/root/d/a", "one");
  ASSERT_TRUE(keep::before_change("/root/d/a"));
  write_file("/root/d/a", "two");
  keep::settle();
  ASSERT_TRUE(keep::before_removal("/root/d"));
  keep::end_run();
  EXPECT_EQ("one", read_file(kept("/root/d/a")));
  EXPECT_THAT(told(), UnorderedElementsAre("/root/d folder folder", "/root/d/a file file"));
}

TEST_F(Keep, takes_things_away) {
  write_file("/root/d/sub/a", "one");
  ASSERT_TRUE(keep::take("/root/d/sub"));
  ASSERT_TRUE(keep::take("/root/gone"));
  keep::end_run();
  EXPECT_FALSE(exists("/root/d/sub"));
  EXPECT_EQ("one", read_file(kept("/root/d/sub/a")));
  EXPECT_THAT(told(), UnorderedElementsAre("/root/d folder folder", "/root/d/sub folder nothing"));
}

// One to another disk, which copies first.
TEST_F(Keep, completes_an_interrupted_move_whose_copy_is_whole_alone) {
  write_file("/root/whole/sub/a", "one");
  write_file("/root/half/sub/a", "one");
  write_file("/root/half/sub/b", "two");
  write_file("/root/other/sub/a", "one");
  ASSERT_TRUE(keep::before_change("/root/opens the store"));
  shell_quietly("mkdir -p " + kept("/root") + "; cp -a /root/whole /root/half /root/other " + kept("/root"));
  fs::remove(kept("/root/half/sub/b"));
  write_file(kept("/root/other/sub/a"), "two");
  EXPECT_TRUE(keep::take("/root/whole"));
  EXPECT_FALSE(exists("/root/whole"));
  EXPECT_EQ("one", read_file(kept("/root/whole/sub/a")));
  EXPECT_FALSE(keep::take("/root/half"));
  EXPECT_EQ("two", read_file("/root/half/sub/b"));
  EXPECT_FALSE(keep::take("/root/other"));
  EXPECT_EQ("one", read_file("/root/other/sub/a"));
}

// ---- Copies
// ----------------------------------------------------------------------------------------------------

TEST_F(Keep, keeps_what_a_copy_replaces) {
  write_file("/tmp/from/same", "same");
  write_file("/tmp/from/other", "theirs");
  write_file("/tmp/from/as-long", "abc");
  write_file("/tmp/from/new", "new");
  write_file("/tmp/from/.hidden", "theirs");
  write_file("/tmp/from/sub/.hidden", "theirs");
  write_file("/tmp/from/sub/new", "theirs");
  write_file("/root/to/same", "same");
  write_file("/root/to/other", "mine");
  write_file("/root/to/as-long", "xyz");
  write_file("/root/to/untouched", "mine");
  write_file("/root/to/.hidden", "mine");
  write_file("/root/to/sub/.hidden", "mine");
  write_file("/root/to/sub/untouched", "mine");
  ASSERT_TRUE(keep::before_copy("/tmp/from", "/root/to"));
  shell_quietly("cp -a /tmp/from/* /root/to");
  keep::end_run();
  EXPECT_THAT(told(),
              UnorderedElementsAre("/root/to folder folder", "/root/to/same file file",
                                   "/root/to/other file file", "/root/to/as-long file file",
                                   "/root/to/new nothing file", "/root/to/sub folder folder",
                                   "/root/to/sub/.hidden file file", "/root/to/sub/new nothing file"));
  EXPECT_EQ("mine", read_file(kept("/root/to/other")));
  EXPECT_EQ("xyz", read_file(kept("/root/to/as-long")));
  EXPECT_EQ("mine", read_file(kept("/root/to/sub/.hidden")));
  EXPECT_FALSE(exists(kept("/root/to/same")));
}

TEST_F(Keep, keeps_a_file_that_a_copy_left_as_it_was_when_a_later_step_changes_it) {
  write_file("/tmp/from/same", "same");
  write_file("/root/to/same", "same");
  ASSERT_TRUE(keep::before_copy("/tmp/from", "/root/to"));
  keep::settle();
  ASSERT_TRUE(keep::before_change("/root/to/same"));
  EXPECT_EQ("same", read_file(kept("/root/to/same")));
}

TEST_F(Keep, knows_that_files_and_folders_do_not_take_each_others_place) {
  write_file("/tmp/from/a/inside", "theirs");
  write_file("/tmp/from/b", "theirs");
  write_file("/root/to/a", "mine");
  write_file("/root/to/b/inside", "mine");
  ASSERT_TRUE(keep::before_copy("/tmp/from", "/root/to"));
  keep::end_run();
  EXPECT_THAT(told(), ElementsAre("/root/to folder folder"));
}

TEST_F(Keep, keeps_links_that_a_copy_replaces_or_writes_through) {
  write_file("/tmp/from/a", "theirs");
  symlink("x", "/tmp/from/b");
  write_file("/root/target", "mine");
  fs::create_directory("/root/to");
  symlink("../target", "/root/to/a");
  write_file("/root/to/b", "mine");
  ASSERT_TRUE(keep::before_copy("/tmp/from", "/root/to"));
  EXPECT_EQ("mine", read_file(kept("/root/target")));
  EXPECT_EQ("mine", read_file(kept("/root/to/b")));
  EXPECT_TRUE(fs::is_symlink(kept("/root/to/a")));
}

TEST_F(Keep, follows_a_linked_folder_that_is_copied_into) {
  write_file("/tmp/from/a", "theirs");
  write_file("/root/.gnome-desktop/a", "mine");
  symlink("/root/.gnome-desktop/", "/root/Desktop");
  ASSERT_TRUE(keep::before_copy("/tmp/from", "/root/Desktop"));
  EXPECT_EQ("mine", read_file(kept("/root/.gnome-desktop/a")));
}

TEST_F(Keep, tells_a_folder_that_a_copy_makes) {
  write_file("/tmp/from/a", "theirs");
  ASSERT_TRUE(keep::before_copy("/tmp/from", "/root/to"));
  shell_quietly("mkdir /root/to; cp -a /tmp/from/* /root/to");
  keep::end_run();
  EXPECT_THAT(told(), UnorderedElementsAre("/root/to nothing folder", "/root/to/a nothing file"));
}

TEST_F(Keep, tells_what_is_copied_into_what_the_run_has_made) {
  ASSERT_TRUE(keep::before_change("/root/to"));
  fs::create_directory("/root/to");
  keep::settle();
  write_file("/tmp/from/a", "theirs");
  ASSERT_TRUE(keep::before_copy("/tmp/from", "/root/to"));
  shell_quietly("cp -a /tmp/from/* /root/to");
  keep::end_run();
  EXPECT_THAT(told(), UnorderedElementsAre("/root/to nothing folder", "/root/to/a nothing file"));
}

TEST_F(Keep, keeps_what_one_folder_copied_under_a_name_replaces) {
  write_file("/tmp/from/.hidden", "theirs");
  write_file("/tmp/from/new", "theirs");
  write_file("/root/File Extensions/.hidden", "mine");
  ASSERT_TRUE(keep::before_copy_as("/tmp/from", "/root/File Extensions"));
  ASSERT_TRUE(keep::before_copy_as("/tmp/from", "/root/Other"));
  EXPECT_EQ("mine", read_file(kept("/root/File Extensions/.hidden")));
  EXPECT_THAT(told(),
              IsSupersetOf({"/root/File Extensions/new nothing unknown", "/root/Other nothing unknown"}));
}

double seconds_of_work() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// 0.07 s as people build it; this leaves room for a build with the checkers.
TEST_F(Keep, looks_at_20_000_documents_for_an_empty_folder_at_once) {
  fs::create_directories("/root/Documents");
  fs::create_directories("/tmp/from");
  ASSERT_EQ(0, mount("tmpfs", "/tmp/from", "tmpfs", 0, nullptr));
  for (int number = 0; number < 20'000; ++number)
    write_file("/tmp/from/document " + std::to_string(number), "");
  const double begin = seconds_of_work();
  ASSERT_TRUE(keep::before_copy("/tmp/from", "/root/Documents"));
  EXPECT_LT(seconds_of_work() - begin, 1.0);
  EXPECT_EQ(20'001U, told().size());
  umount("/tmp/from");
}

// ---- Programs, names, attributes
// ---------------------------------------------------------------------------

TEST_F(Keep, holds_little_of_thousands_of_documents) {
  constexpr int documents = 5000;
  for (int number = 0; number < documents; ++number)
    write_file("/tmp/from/a document with a name as people give them " + std::to_string(number), "");
  fs::create_directory("/root/Documents");
  const std::size_t before = mallinfo2().uordblks;
  ASSERT_TRUE(keep::before_copy("/tmp/from", "/root/Documents"));
  EXPECT_LT(mallinfo2().uordblks - before, std::size_t{documents} * 200);
}

TEST_F(Keep, counts_new_names_in_a_folder_as_made) {
  write_file("/root/cur/old", "mine");
  write_file("/root/cur/sub/old", "mine");
  ASSERT_TRUE(keep::before_adding("/root/cur"));
  EXPECT_EQ("old/sub", state_of("/root/cur", Kind::names));
  write_file("/root/cur/new", "theirs");
  write_file("/root/cur/folder/new", "theirs");
  write_file("/root/cur/sub/new", "theirs");
  keep::end_run();
  EXPECT_THAT(told(),
              UnorderedElementsAre("/root/cur folder folder", "/root/cur/new nothing file",
                                   "/root/cur/folder nothing folder", "/root/cur/folder/new nothing file"));
}

TEST_F(Keep, counts_all_in_a_folder_to_come_as_made) {
  ASSERT_TRUE(keep::before_adding("/root/new/cur"));
  write_file("/root/new/cur/1", "theirs");
  keep::end_run();
  EXPECT_THAT(told(), UnorderedElementsAre("/root/new nothing folder", "/root/new/cur nothing folder",
                                           "/root/new/cur/1 nothing file"));
}

TEST_F(Keep, keeps_all_that_a_program_may_change) {
  write_file("/root/.kde/config/rc", "mine");
  write_file("/root/.kde/config/gone", "mine");
  write_file("/root/.kde/config/large", std::string((1 << 20) + 1, 'x'));
  write_file("/root/.kde/config/as-large-as-may-be", std::string(1 << 20, 'x'));
  ASSERT_TRUE(keep::before_program("/root/.kde"));
  EXPECT_TRUE(exists(kept("/root/.kde/config/as-large-as-may-be")));
  EXPECT_FALSE(exists(kept("/root/.kde/config/large")));
  write_file("/root/.kde/config/rc", "theirs");
  write_file("/root/.kde/config/new", "theirs");
  fs::remove("/root/.kde/config/gone");
  keep::end_run();
  EXPECT_EQ("mine", read_file(kept("/root/.kde/config/rc")));
  EXPECT_THAT(told(),
              UnorderedElementsAre("/root/.kde folder folder", "/root/.kde/config folder folder",
                                   "/root/.kde/config/rc file file", "/root/.kde/config/gone file nothing",
                                   "/root/.kde/config/large file file",
                                   "/root/.kde/config/as-large-as-may-be file file",
                                   "/root/.kde/config/new nothing file"));
}

TEST_F(Keep, takes_all_that_a_program_makes_in_a_folder_to_come) {
  ASSERT_TRUE(keep::before_program("/root/.evolution"));
  write_file("/root/.evolution/a", "theirs");
  keep::end_run();
  EXPECT_THAT(told(),
              UnorderedElementsAre("/root/.evolution nothing folder", "/root/.evolution/a nothing file"));
}

TEST_F(Keep, tells_other_owners_and_set_id_bits) {
  make_ann();
  shell_quietly(
      "mkdir /home/ann/d; touch /home/ann/d/hers /home/ann/d/roots /home/ann/d/runs; ln -s x "
      "/home/ann/d/link; "
      "chown ann /home/ann/d /home/ann/d/hers /home/ann/d/runs; chmod 4755 /home/ann/d/runs");
  ASSERT_TRUE(keep::before_owner("/home/ann", 1234));
  const auto rows = keep::rows_of("/home/ann", noons());
  std::vector<std::string> names;
  for (const keep::Row& row : rows)
    if (row.kind == Kind::attributes)
      names.push_back(row.name + " " + row.before.substr(0, 9) + " " + row.became.substr(0, 12));
  EXPECT_THAT(names, UnorderedElementsAre("/home/ann/d/roots file 0644 file 0644 12",
                                          "/home/ann/d/runs file 4755 file 0755 12",
                                          "/home/ann/d/link link 0777 link 0777 12"));
}

TEST_F(Keep, tells_the_new_owner_of_what_an_earlier_step_has_changed) {
  make_ann();
  fs::create_directory("/home/ann/roots");
  write_file("/home/ann/roots/a", "mine");
  ASSERT_TRUE(keep::before_change("/home/ann/roots/a"));
  write_file("/home/ann/roots/a", "theirs");
  keep::settle();
  ASSERT_TRUE(keep::before_owner("/home/ann", 1234));
  shell_quietly("chown -R ann /home/ann");
  keep::end_run();
  for (const keep::Row& row : keep::rows_of("/home/ann", noons())) {
    if (!row.name.starts_with("/home/ann/roots")) continue;
    EXPECT_EQ(Kind::path, row.kind);
    EXPECT_THAT(row.before, HasSubstr(" 0 0 ")) << row.name;
    EXPECT_THAT(row.became, HasSubstr(" 1234 0 ")) << row.name;
  }
}

TEST_F(Keep, goes_on_in_a_home_that_has_got_another_owner) {
  make_ann();
  write_file("/home/ann/a", "hers");
  ASSERT_TRUE(keep::before_change("/home/ann/a"));
  keep::end_run();
  shell_quietly("chown 77 /home/ann");
  keep::begin_run("/root", noon + 60);
  EXPECT_TRUE(keep::before_change("/home/ann/a"));
  EXPECT_EQ(uid_t{77}, owner_of("/home/ann/.brindle_before"));
}

TEST_F(Keep, tells_other_modes_of_what_was_there) {
  write_file("/Share/a", "mine");
  fs::create_directory("/Share/d");
  shell_quietly("chmod 2770 /Share/d; chmod 777 /Share; ln -s a /Share/link");
  ASSERT_TRUE(keep::before_change("/Share/new"));
  write_file("/Share/new", "theirs");
  ASSERT_TRUE(keep::before_mode("/Share", 0777));
  shell_quietly("chmod -R 777 /Share");
  keep::end_run();
  EXPECT_THAT(state_of("/Share/a", Kind::attributes), StartsWith("file 0644"));
  EXPECT_THAT(state_of("/Share/d", Kind::attributes), StartsWith("folder 2770"));
  EXPECT_EQ("no row", state_of("/Share/link", Kind::attributes));
  EXPECT_EQ("no row", state_of("/Share/new", Kind::attributes));
  EXPECT_EQ("no row", state_of("/Share", Kind::attributes));
  for (const keep::Row& row : keep::rows_of("/root", noons())) {
    if (row.kind != Kind::attributes) continue;
    struct stat now {};
    lstat(row.name.c_str(), &now);
    char mode[8];
    std::snprintf(mode, sizeof mode, " %04o ", now.st_mode & 07777);
    EXPECT_THAT(row.became, HasSubstr(mode)) << row.name;
  }
}

TEST_F(Keep, tells_other_modes_behind_the_link_that_chmod_is_told) {
  write_file("/disk/a", "mine");
  write_file("/elsewhere/b", "mine");
  symlink("/disk", "/Share");
  symlink("/elsewhere", "/disk/link");
  ASSERT_TRUE(keep::before_mode("/Share", 0777));
  shell_quietly("chmod -R 777 /Share");
  EXPECT_EQ(mode_t{0777}, mode_of("/disk/a"));
  EXPECT_EQ(mode_t{0644}, mode_of("/elsewhere/b"));
  EXPECT_THAT(state_of("/disk", Kind::attributes), StartsWith("folder 0755"));
  EXPECT_THAT(state_of("/disk/a", Kind::attributes), StartsWith("file 0644"));
  EXPECT_EQ("no row", state_of("/disk/link", Kind::attributes));
  EXPECT_EQ("no row", state_of("/elsewhere/b", Kind::attributes));
}

TEST_F(Keep, writes_down_other_things) {
  ASSERT_TRUE(keep::before_change_of(Kind::gconf, "/apps/x", "bool true"));
  ASSERT_TRUE(keep::before_change_of(Kind::gconf, "/apps/x", "bool false"));
  ASSERT_TRUE(keep::before_change_of(Kind::queue, "/apps/x", "nothing"));
  keep::now_is(Kind::gconf, "/apps/x", "bool false");
  keep::end_run();
  std::vector<std::string> lines;
  for (const keep::Row& row : keep::rows_of("/root", noons()))
    if (row.kind != Kind::path && row.kind != Kind::run) lines.push_back(keep::line_of(row));
  EXPECT_THAT(lines,
              ElementsAre("gconf\t/apps/x\tbool true\tbool false\n", "queue\t/apps/x\tnothing\tunknown\n"));
}

// Both pairs are one to std::hash, for all names and for their rows.
TEST_F(Keep, tells_names_apart_that_a_stranger_has_chosen) {
  const std::string folder = "/root/Documents/";
  for (const char* mine : {"thesisofann.text", "xxxthesisofann.text"}) write_file(folder + mine, "mine");
  for (const char* theirs : {"XXHWaeg7RUWhbkCp", "xxx7HGdj5E93NkyST50"})
    write_file(std::string("/tmp/from/") + theirs, "");
  ASSERT_TRUE(keep::before_copy("/tmp/from", "/root/Documents"));
  for (const char* mine : {"thesisofann.text", "xxxthesisofann.text"}) {
    ASSERT_TRUE(keep::before_change(folder + mine));
    EXPECT_EQ("mine", read_file(kept(folder + mine)));
  }
  shell_quietly("cp /tmp/from/* /root/Documents; echo theirs | tee /root/Documents/*.text");
  keep::end_run();
  EXPECT_THAT(told(), UnorderedElementsAre("/root/Documents folder folder",
                                           "/root/Documents/XXHWaeg7RUWhbkCp nothing file",
                                           "/root/Documents/xxx7HGdj5E93NkyST50 nothing file",
                                           "/root/Documents/thesisofann.text file file",
                                           "/root/Documents/xxxthesisofann.text file file"));
}

// ---- Homes of others
// -----------------------------------------------------------------------------------------

TEST_F(Keep, keeps_with_each_home_what_is_its_own) {
  make_ann();
  write_file("/home/ann/a", "hers");
  shell_quietly("chown ann /home/ann/a");
  ASSERT_TRUE(keep::before_change("/home/ann/a"));
  ASSERT_TRUE(keep::before_change("/home/ann/new"));
  write_file("/home/ann/a", "ours");
  keep::end_run();
  EXPECT_EQ("hers", read_file(kept("/home/ann/a", "/home/ann")));
  for (const std::string& each :
       {std::string("/home/ann/.brindle_before"), "/home/ann/.brindle_before/" + noons(),
        "/home/ann/.brindle_before/" + noons() + "/files",
        "/home/ann/.brindle_before/" + noons() + "/list.tsv", kept("/home/ann/a", "/home/ann")})
    EXPECT_EQ(uid_t{1234}, owner_of(each)) << each;
  EXPECT_THAT(told("/home/ann"), ElementsAre("/home/ann/a file file", "/home/ann/new nothing nothing"));
  EXPECT_THAT(told(), IsEmpty());
  const auto others = keep::other_homes("/root", noons());
  ASSERT_EQ(1U, others.size());
  EXPECT_EQ("ann", others[0].login);
  EXPECT_EQ("/home/ann", others[0].home);
  EXPECT_EQ(keep::rows_of("/home/ann", noons()).size(), others[0].rows.size());
  EXPECT_EQ(uid_t{0}, owner_of("/root/.brindle_before/" + noons() + "/homes/ann.tsv"));
}

class Trap : public Keep {
 protected:
  Trap() {
    make_ann();
    write_file("/etc/target", "system");
  }
  // Nothing of it was read, nothing was written.
  static void expect_refused(const std::string& path) {
    testing::internal::CaptureStderr();
    EXPECT_FALSE(keep::before_change(path)) << path;
    EXPECT_EQ(ECANCELED, errno);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(path));
    keep::end_run();
    EXPECT_FALSE(exists(kept("/etc/target", "/home/ann")));
    EXPECT_FALSE(exists(kept("/etc/target")));
  }
};

TEST_F(Trap, in_anothers_home_is_a_folder_that_leads_out) {
  symlink("/etc", "/home/ann/.gconf");
  expect_refused("/home/ann/.gconf/target");
}

TEST_F(Trap, in_anothers_home_is_a_link_that_leads_out) {
  symlink("/etc/target", "/home/ann/prefs");
  expect_refused("/home/ann/prefs");
}

TEST_F(Trap, in_anothers_home_is_a_link_to_a_link_that_leads_out) {
  symlink("second", "/home/ann/prefs");
  symlink("../../etc/target", "/home/ann/second");
  expect_refused("/home/ann/prefs");
}

TEST_F(Trap, in_anothers_home_is_a_kept_folder_that_leads_out) {
  fs::create_directory("/etc/loot");
  symlink("/etc/loot", "/home/ann/.brindle_before");
  write_file("/home/ann/a", "hers");
  EXPECT_FALSE(keep::before_change("/home/ann/a"));
  EXPECT_TRUE(fs::is_empty("/etc/loot"));
}

TEST_F(Trap, in_anothers_home_is_a_folder_of_the_run_that_leads_out) {
  fs::create_directory("/etc/loot");
  fs::create_directory("/home/ann/.brindle_before");
  symlink("/etc/loot", ("/home/ann/.brindle_before/" + noons()).c_str());
  EXPECT_FALSE(keep::before_change("/home/ann/a"));
  EXPECT_TRUE(fs::is_empty("/etc/loot"));
}

TEST_F(Trap, in_anothers_home_is_a_list_that_is_there_before_the_run) {
  write_file("/home/ann/.brindle_before/" + noons() + "/list.tsv", "");
  EXPECT_FALSE(keep::before_change("/home/ann/a"));
}

TEST_F(Trap, in_anothers_home_is_a_second_name_of_a_file_as_the_list_of_an_undo) {
  write_file("/home/target", "");
  keep::begin_undo("/root", noon, "2020-01-01-000000");
  ASSERT_TRUE(keep::before_change("/root/a"));
  // Left here, as by a crash.
  fs::create_directories("/home/ann/.brindle_before/" + noons());
  ASSERT_EQ(0, link("/home/target", ("/home/ann/.brindle_before/" + noons() + "/list.tsv").c_str()));
  keep::begin_undo("/root", noon + 60, "2020-01-01-000000");
  expect_refused("/home/ann/a");
  EXPECT_EQ(uid_t{0}, owner_of("/home/target"));
  EXPECT_EQ("", read_file("/home/target"));
}

TEST_F(Trap, is_none_within_the_home) {
  write_file("/home/ann/disk/a", "hers");
  symlink("disk", "/home/ann/Documents");
  symlink("/home/ann/disk/a", "/home/ann/b");
  EXPECT_TRUE(keep::before_change("/home/ann/Documents/a"));
  EXPECT_TRUE(keep::before_change("/home/ann/b"));
  EXPECT_EQ("hers", read_file(kept("/home/ann/disk/a", "/home/ann")));
}

TEST_F(Keep, lets_whoever_runs_the_program_link_anywhere) {
  make_ann();
  write_file("/srv/data/a", "mine");
  write_file("/home/ann/a", "hers");
  symlink("/srv/data", "/root/Documents");
  symlink("/home/ann/a", "/root/hers");
  EXPECT_TRUE(keep::before_change("/root/Documents/a"));
  EXPECT_TRUE(keep::before_change("/root/hers"));
  EXPECT_EQ("mine", read_file(kept("/srv/data/a")));
  EXPECT_EQ("hers", read_file(kept("/home/ann/a", "/home/ann")));
}

TEST_F(Keep, notes_what_the_home_of_a_new_account_holds) {
  make_ann();
  ASSERT_TRUE(keep::after_new_home("/home/ann"));
  keep::end_run();
  std::vector<std::string> names;
  for (const keep::Row& row : keep::rows_of("/root", noons()))
    if (row.kind == Kind::new_home) names.push_back(row.name);
  EXPECT_THAT(names, IsSupersetOf({"/home/ann", "/home/ann/.bashrc", "/home/ann/.profile"}));
}

// ---- When it cannot be done
// ----------------------------------------------------------------------------------

TEST_F(Keep, refuses_on_a_full_disk_and_leaves_no_half_copy) {
  const SmallDisk disk("/root");
  write_file("/root/a", std::string(50'000, 'a'));
  write_file("/root/b", "b");
  ASSERT_TRUE(keep::before_change("/root/b"));
  disk.fill_but(2);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(keep::before_change("/root/a"));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              AllOf(HasSubstr("/root/a"), HasSubstr("No space left")));
  EXPECT_FALSE(exists(kept("/root/a")));
  EXPECT_THAT(told(), Not(Contains(StartsWith("/root/a "))));
  disk.empty();
  EXPECT_TRUE(keep::before_change("/root/a"));
}

TEST_F(Keep, takes_nothing_away_that_it_cannot_list) {
  const SmallDisk disk("/root");
  std::vector<std::string> paths;
  for (int number = 0; number < 60; ++number)
    paths.push_back("/root/" + std::string(200, 'n') + std::to_string(number));
  for (const std::string& path : paths) write_file(path, "");
  ASSERT_TRUE(keep::before_change("/root/opens the store"));
  disk.fill_but(0);
  int refused = 0;
  testing::internal::CaptureStderr();
  for (const std::string& path : paths) {
    const bool is_taken = keep::take(path);
    EXPECT_NE(exists(path), is_taken) << path;
    refused += is_taken ? 0 : 1;
  }
  testing::internal::GetCapturedStderr();
  EXPECT_GT(refused, 0);
}

TEST_F(Keep, refuses_where_a_file_stands_in_the_folders_place) {
  write_file("/root/.brindle_before", "a file");
  write_file("/root/a", "one");
  EXPECT_FALSE(keep::before_change("/root/a"));
  EXPECT_FALSE(keep::before_change("/root/new"));
  EXPECT_FALSE(keep::before_removal("/root/a"));
  EXPECT_FALSE(keep::before_adding("/root"));
  EXPECT_FALSE(keep::before_program("/root/a"));
  EXPECT_FALSE(keep::before_change_of(Kind::gconf, "/apps/x", "1"));
  EXPECT_FALSE(keep::take("/root/a"));
  write_file("/tmp/from/b", "b");
  EXPECT_FALSE(keep::before_copy("/tmp/from", "/root"));
  EXPECT_EQ("a file", read_file("/root/.brindle_before"));
}

TEST_F(Keep, gives_a_second_run_in_the_same_second_its_own_name) {
  ASSERT_TRUE(keep::before_change("/root/a"));
  keep::end_run();
  keep::begin_run("/root", noon);
  ASSERT_TRUE(keep::before_change("/root/b"));
  EXPECT_EQ("/root/.brindle_before/" + noons() + "-2", keep::folder_of_run());
  EXPECT_EQ(2U, keep::runs_in("/root").size());
}

// ---- Runs that were
// ------------------------------------------------------------------------------------------

TEST_F(Keep, tells_of_runs) {
  ASSERT_TRUE(keep::before_change("/root/a"));
  EXPECT_FALSE(keep::runs_in("/root").at(0).over);
  keep::end_run();
  keep::begin_undo("/root", noon + 60, noons());
  ASSERT_TRUE(keep::before_change("/root/a"));
  keep::end_run();
  EXPECT_TRUE(keep::mark_undone("/root", noons(), keep::name_of_run(noon + 60)));
  const auto runs = keep::runs_in("/root");
  ASSERT_EQ(2U, runs.size());
  EXPECT_TRUE(runs[0].over);
  EXPECT_FALSE(runs[0].is_undo);
  EXPECT_EQ(keep::name_of_run(noon + 60), runs[0].undone);
  EXPECT_TRUE(runs[1].is_undo);
  EXPECT_EQ(noons(), runs[1].of);
  EXPECT_EQ("", runs[1].undone);
}

TEST_F(Keep, goes_on_with_an_unfinished_undo_alone) {
  keep::begin_undo("/root", noon, "2020-01-01-000000");
  write_file("/root/a", "one");
  write_file("/root/b", "one");
  ASSERT_TRUE(keep::take("/root/a"));
  // Left here, as by a crash.
  keep::begin_undo("/root", noon + 60, "2020-01-01-000000");
  ASSERT_TRUE(keep::take("/root/b"));
  EXPECT_EQ("/root/.brindle_before/" + noons(), keep::folder_of_run());
  keep::end_run();
  EXPECT_EQ("one", read_file(kept("/root/a")));
  EXPECT_EQ("one", read_file(kept("/root/b")));
  EXPECT_THAT(told(), ElementsAre("/root/a file nothing", "/root/b file nothing"));
  keep::begin_undo("/root", noon + 120, "2020-01-01-000000");
  ASSERT_TRUE(keep::before_change("/root/c"));
  EXPECT_NE("/root/.brindle_before/" + noons(), keep::folder_of_run());
}

TEST_F(Keep, tells_a_run_that_goes_on_from_one_that_was_left) {
  ASSERT_TRUE(keep::before_change("/root/a"));
  EXPECT_TRUE(keep::runs_in("/root").at(0).is_going_on);
  keep::begin_undo("/root", noon + 60, noons());
  EXPECT_FALSE(keep::runs_in("/root").at(0).is_going_on);
  EXPECT_FALSE(keep::runs_in("/root").at(0).over);
}

TEST_F(Keep, does_not_go_on_with_an_undo_that_another_program_does) {
  keep::begin_undo("/root", noon, "2020-01-01-000000");
  ASSERT_TRUE(keep::before_change("/root/a"));
  const pid_t other = fork();
  if (other == 0) {
    keep::begin_undo("/root", noon + 60, "2020-01-01-000000");
    _exit(keep::before_change("/root/b") ? 1 : 0);
  }
  int status = -1;
  waitpid(other, &status, 0);
  EXPECT_EQ(0, status);
}

TEST_F(Keep, has_one_row_a_name_when_it_is_over) {
  write_file("/root/a", "one");
  ASSERT_TRUE(keep::before_change("/root/a"));
  keep::settle();
  write_file("/root/a", "two");
  ASSERT_TRUE(keep::before_change("/root/a"));
  keep::end_run();
  const std::string list = read_file("/root/.brindle_before/" + noons() + "/list.tsv");
  EXPECT_EQ(4, std::ranges::count(list, '\n')) << list;  // columns, run, home, file
  EXPECT_THAT(list, StartsWith("kind\tname\tbefore\tbecame\nrun\tmigration\t-\tover\npath\t/root\tfolder "));
}

TEST_F(Keep, closes_what_a_person_may_not_enter_again) {
  fs::create_directory("/root/d");
  write_file("/root/d/a", "one");
  fs::permissions("/root/d", fs::perms::none);
  ASSERT_TRUE(keep::before_change("/root/d/a"));
  EXPECT_THAT(state_of("/root/d"), StartsWith("folder 0000"));
}

}  // namespace
