// What somebody has changed or added since the run is left, and named.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/commands.h"
#include "support/files.h"
#include "undo/scene.h"

namespace {

using scene::Ended;
using testing::HasSubstr;
using testing::Not;

class Changed : public testing::Test {
 protected:
  Changed() {
    scene::fill_home();
    const scene::Migration run;
    scene::migrate_home();
  }
};

TEST_F(Changed, file_that_replaced_an_old_one_stays) {
  write_file("/root/Documents/letter.txt", "mine now\n");
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(1, ended.status);
  EXPECT_THAT(ended.said,
              HasSubstr("Left as it is (1):\n  /root/Documents/letter.txt: it has changed since\n"));
  EXPECT_THAT(ended.said, HasSubstr("). Keep it for what was not given back.\n"));
  EXPECT_EQ("mine now\n", read_file("/root/Documents/letter.txt"));
  EXPECT_EQ("[General]\nFirst=old\n", read_file("/root/.kde/share/config/kmailrc"));
}

TEST_F(Changed, file_that_the_run_made_stays_with_its_folders) {
  write_file("/root/Documents/New/a/1.txt", "one, and mine\n");
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(1, ended.status);
  EXPECT_THAT(ended.said,
              HasSubstr("Left as it is (1):\n  /root/Documents/New/a/1.txt: it has changed since\n"));
  EXPECT_EQ("one, and mine\n", read_file("/root/Documents/New/a/1.txt"));
  EXPECT_FALSE(exists("/root/Documents/New/a/2.txt"));
  EXPECT_FALSE(exists("/root/Documents/New/b.txt"));
}

TEST_F(Changed, same_content_at_another_time_is_the_same) {
  shell_quietly("touch -d 2030-01-01 /root/Documents/letter.txt /root/Documents/New/a/1.txt");
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_EQ("old letter\n", read_file("/root/Documents/letter.txt"));
  EXPECT_FALSE(exists("/root/Documents/New"));
}

TEST_F(Changed, things_added_to_a_folder_of_the_run_stay) {
  write_file("/root/Documents/New/a/mine", "m");
  write_file("/root/Documents/New/folder/of mine", "m");
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(1, ended.status);
  EXPECT_THAT(ended.said, HasSubstr("Left as it is (2):\n  /root/Documents/New/a/mine: it was added since\n"
                                    "  /root/Documents/New/folder: it was added since\n"));
  EXPECT_TRUE(exists("/root/Documents/New/a/mine"));
  EXPECT_TRUE(exists("/root/Documents/New/folder/of mine"));
  EXPECT_FALSE(exists("/root/Documents/New/a/1.txt"));
}

TEST_F(Changed, folder_with_additions_keeps_the_place_of_an_old_file) {
  write_file("/root/program/mine", "m");
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(1, ended.status);
  EXPECT_THAT(ended.said, HasSubstr("/root/program: a folder with other things is in its place\n"));
  EXPECT_THAT(ended.said, HasSubstr("/root/program/mine: it was added since\n"));
  EXPECT_EQ("m", read_file("/root/program/mine"));
}

TEST_F(Changed, things_that_somebody_has_put_where_an_old_one_was_removed_stay) {
  write_file("/root/dangling", "mine");
  write_file("/root/empty-one", "mine");
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(1, ended.status);
  EXPECT_THAT(ended.said, HasSubstr("Left as it is (2):\n  /root/dangling: it has changed since\n"
                                    "  /root/empty-one: it has changed since\n"));
  EXPECT_EQ("mine", read_file("/root/dangling"));
  EXPECT_EQ("mine", read_file("/root/empty-one"));
}

TEST_F(Changed, old_file_comes_back_where_the_new_one_was_deleted) {
  shell_quietly("rm /root/.kde/share/config/kmailrc /root/Documents/new.txt; rm -r /root/Documents/New/a");
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_EQ("[General]\nFirst=old\n", read_file("/root/.kde/share/config/kmailrc"));
  EXPECT_FALSE(exists("/root/Documents/New"));
}

TEST_F(Changed, mode_of_a_folder_stays) {
  shell_quietly("chmod 711 /root/Documents");
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(1, ended.status);
  EXPECT_THAT(ended.said, HasSubstr("  /root/Documents: its owner or rights have changed since\n"));
  EXPECT_EQ("711\n", output_of("stat -c %a /root/Documents"));
  EXPECT_EQ("old letter\n", read_file("/root/Documents/letter.txt"));
}

TEST_F(Changed, kept_copy_that_is_gone_or_another_is_told) {
  shell_quietly("cd /root/.brindle_before/*/files/root; rm Documents/letter.txt; echo x >> program");
  const std::string new_letter = read_file("/root/Documents/letter.txt");
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(1, ended.status);
  EXPECT_THAT(ended.said,
              HasSubstr("not given back: /root/Documents/letter.txt: its kept copy is missing\n"));
  EXPECT_THAT(ended.said, HasSubstr("not given back: /root/program: its kept copy has been changed\n"));
  EXPECT_EQ(new_letter, read_file("/root/Documents/letter.txt"));
  EXPECT_EQ("[General]\nFirst=old\n", read_file("/root/.kde/share/config/kmailrc"));
}

TEST_F(Changed, own_files_of_the_wizard_stay) {
  for (const char* name : {".brindle_log", ".brindle_run", ".brindle_first_run", "Brindle account.html"})
    write_file(std::string("/root/") + name, "w");
  EXPECT_EQ(0, scene::undo("--yes").status);
  for (const char* name : {".brindle_log", ".brindle_run", ".brindle_first_run", "Brindle account.html"})
    EXPECT_EQ("w", read_file(std::string("/root/") + name));
}

TEST(OwnFiles, that_a_run_has_listed_stay) {
  scene::fill_home();
  {
    const scene::Migration run;
    scene::write("/root/.brindle_log", "log\n");
    scene::write("/root/.brindle_run", "run\n");
    scene::write("/root/.brindle_first_run", "\n");
    scene::write("/root/Brindle account.html", "<html>\n");
    scene::write("/root/made", "m");
    scene::write("/root/Documents/.brindle_log", "somebody else's log of that name\n");
  }
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_EQ("log\n", read_file("/root/.brindle_log"));
  EXPECT_EQ("run\n", read_file("/root/.brindle_run"));
  EXPECT_EQ("\n", read_file("/root/.brindle_first_run"));
  EXPECT_EQ("<html>\n", read_file("/root/Brindle account.html"));
  EXPECT_FALSE(exists("/root/made"));
  EXPECT_FALSE(exists("/root/Documents/.brindle_log"));
}

TEST_F(Changed, kept_folder_stays_and_its_size_is_told) {
  const Ended ended = scene::undo("--yes");
  EXPECT_THAT(ended.said,
              testing::ContainsRegex("What the run had kept still lies in "
                                     "/root/.brindle_before/2026-11-22-014530 \\([0-9.]+ KB\\). You may "
                                     "delete it.\n"));
  EXPECT_TRUE(exists(std::string("/root/.brindle_before/") + scene::first + "/list.tsv"));
  EXPECT_THAT(ended.said, HasSubstr("brindle-undo " + scene::newest_undo() + " brings that state back.\n"));
}

}  // namespace
