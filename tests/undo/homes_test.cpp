// Other people's homes, undone by root: by root's own lists, over no link, without set-id bits.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "keep/keep.h"
#include "support/commands.h"
#include "support/files.h"
#include "things/account.h"
#include "undo/scene.h"

namespace {

using scene::Ended;
using testing::HasSubstr;

class Homes : public testing::Test {
 protected:
  Homes() {
    shell_quietly("useradd -m ann; useradd -m ben");
    write_file("/home/ann/letter", "hers\n");
    write_file("/home/ann/program", "#!/bin/sh\n");
    write_file("/home/ann/deep/er/list", "a list\n");
    write_file("/home/ben/letter", "his\n");
    write_file("/root/letter", "root's\n");
    shell_quietly("chown -R ann: /home/ann; chown -R ben: /home/ben; chmod 6755 /home/ann/program");
    before_ = trees();
    const scene::Migration run;
    for (const char* home : {"/home/ann", "/home/ben", "/root"}) {
      scene::write(std::string(home) + "/letter", "new letter\n");
      scene::write(std::string(home) + "/made", "made\n");
    }
    scene::write("/home/ann/deep/er/list", "another list\n");
    scene::remove("/home/ann/program");
    shell_quietly("chown ann: /home/ann/made; chown ben: /home/ben/made");
  }

  static std::string trees() {
    return scene::tree("/home/ann") + scene::tree("/home/ben") + scene::tree("/root");
  }
  static std::string kept(const std::string& path) {
    return std::string("/home/ann/.brindle_before/") + scene::first + "/files" + path;
  }

  std::string before_;
};

TEST_F(Homes, are_as_they_were_but_for_set_id_bits) {
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_EQ("755\n", output_of("stat -c %a /home/ann/program"));
  shell_quietly("touch -r /home/ann/program /tmp/time; chmod 6755 /home/ann/program");
  EXPECT_TRUE(same_bytes(before_, trees())) << ended.said;
}

TEST_F(Homes, are_undone_by_their_owners_too) {
  const Ended ended = scene::undo_as("ann", "--yes");
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_EQ("hers\n", read_file("/home/ann/letter"));
  EXPECT_FALSE(exists("/home/ann/made"));
  EXPECT_EQ("new letter\n", read_file("/home/ben/letter"));
  EXPECT_EQ("new letter\n", read_file("/root/letter"));
}

TEST_F(Homes, lists_of_others_are_not_believed) {
  write_file("/etc/precious", "p\n");
  shell_quietly(
      "cd /home/ann/.brindle_before/*; printf 'path\\t/etc/precious\\tnothing\\tunknown\\n"
      "path\\t/home/ann/letter\\tnothing\\tunknown\\n' >> list.tsv");
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_EQ("p\n", read_file("/etc/precious"));
  EXPECT_EQ("hers\n", read_file("/home/ann/letter"));
}

TEST_F(Homes, path_outside_of_the_home_in_its_list_is_left) {
  write_file("/etc/precious", "p\n");
  shell_quietly(
      "cd /root/.brindle_before/*/homes; printf 'path\\t/etc/precious\\tnothing\\tunknown\\n' >> ann.tsv");
  EXPECT_EQ(1, scene::undo("--yes").status);
  EXPECT_EQ("p\n", read_file("/etc/precious"));
  EXPECT_EQ("hers\n", read_file("/home/ann/letter"));
}

TEST(OrdinaryUser, gets_a_folder_back_that_takes_no_new_files) {
  shell_quietly("useradd -m ann");
  write_file("/home/ann/closed/in/letter", "hers\n");
  shell_quietly("chown -R ann: /home/ann; chmod 500 /home/ann/closed /home/ann/closed/in");
  const std::string before = scene::tree("/home/ann");
  {
    const scene::Migration run;
    scene::remove("/home/ann/closed");
  }
  const Ended ended = scene::undo_as("ann", "--yes");
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_TRUE(same_bytes(before, scene::tree("/home/ann"))) << ended.said;
}

TEST_F(Homes, kept_copies_of_others_must_be_what_they_were) {
  shell_quietly("echo evil >> " + kept("/home/ann/letter"));
  shell_quietly("ln -sf /etc/shadow " + kept("/home/ann/program"));
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(1, ended.status);
  EXPECT_THAT(ended.said, HasSubstr("not given back: /home/ann/letter: its kept copy has been changed\n"));
  EXPECT_THAT(ended.said, HasSubstr("not given back: /home/ann/program: its kept copy has been changed\n"));
  EXPECT_EQ("new letter\n", read_file("/home/ann/letter"));
  EXPECT_FALSE(exists("/home/ann/program"));
  EXPECT_EQ("his\n", read_file("/home/ben/letter"));
}

TEST_F(Homes, folder_that_became_a_link_leads_nowhere) {
  write_file("/etc/er/list", "another list\n");
  shell_quietly("cd /home/ann; rm -r deep; ln -s /etc deep");
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(1, ended.status);
  EXPECT_EQ("another list\n", read_file("/etc/er/list"));
  EXPECT_EQ("link\n", output_of("test -L /home/ann/deep && echo link"));
  EXPECT_THAT(ended.said, HasSubstr("/home/ann/deep/er/list: Too many levels of symbolic links\n"));
  EXPECT_EQ("hers\n", read_file("/home/ann/letter"));
}

TEST_F(Homes, file_that_became_a_link_is_replaced_itself_or_left) {
  write_file("/etc/precious", "new letter\n");
  shell_quietly("cd /home/ann; rm letter; ln -s /etc/precious letter; rm made; ln -s /etc/precious made");
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(1, ended.status);
  EXPECT_EQ("new letter\n", read_file("/etc/precious"));
  EXPECT_THAT(ended.said, HasSubstr("/home/ann/letter: it has changed since\n"));
  EXPECT_THAT(ended.said, HasSubstr("/home/ann/made: it has changed since\n"));
}

TEST_F(Homes, kept_folder_that_is_a_link_is_not_followed) {
  shell_quietly("mv /home/ann/.brindle_before /home/ann/moved; ln -s moved /home/ann/.brindle_before");
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(1, ended.status);
  EXPECT_EQ("new letter\n", read_file("/home/ann/letter"));
  EXPECT_EQ("his\n", read_file("/home/ben/letter"));
}

class LinkOut : public testing::Test {
 protected:
  LinkOut() {
    shell_quietly("useradd -m ann; cd /home/ann; ln -s /etc/precious link; chown -h 77:77 link");
    write_file("/etc/precious", "p\n");
    before_ = scene::tree("/home/ann") + scene::tree("/etc/precious");
  }
  void expect_as_before() const {
    const Ended ended = scene::undo("--yes");
    EXPECT_EQ(0, ended.status) << ended.said;
    EXPECT_TRUE(same_bytes(before_, scene::tree("/home/ann") + scene::tree("/etc/precious"))) << ended.said;
  }
  std::string before_;
};

TEST_F(LinkOut, of_a_home_gets_its_owner_back_and_is_not_followed) {
  {
    const scene::Migration run;
    ASSERT_TRUE(keep::before_owner("/home/ann", 1000));
    shell_quietly("chown -h 1000 /home/ann/link");
  }
  ASSERT_EQ("1000\n", output_of("stat -c %u /home/ann/link"));
  expect_as_before();
  EXPECT_EQ("0\n", output_of("stat -c %u /etc/precious"));
}

TEST_F(LinkOut, of_a_home_comes_back_where_a_migration_led_it_elsewhere) {
  {
    const scene::Migration run;
    ASSERT_TRUE(keep::before_removal("/home/ann/link"));
    shell_quietly("ln -sf /etc/passwd /home/ann/link");
  }
  expect_as_before();
}

TEST_F(Homes, undo_of_the_undo_works_there_too) {
  shell_quietly("chmod 755 /home/ann/program 2>/dev/null");
  const std::string after = trees();
  ASSERT_EQ(0, scene::undo("--yes").status);
  const Ended ended = scene::undo("--yes " + scene::newest_undo());
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_TRUE(same_bytes(after, trees())) << ended.said;
}

TEST_F(Homes, missing_home_is_told_and_harms_nothing_else) {
  shell_quietly("mv /home/ann /home/anna");
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(1, ended.status);
  EXPECT_EQ("his\n", read_file("/home/ben/letter"));
  EXPECT_EQ("root's\n", read_file("/root/letter"));
}

// ---- Accounts --------------------------------------------------------------------------------------------

class Account : public testing::Test {
 protected:
  Account() {
    shell_quietly("groupadd users 2>/dev/null; touch /etc/shadow");
    before_ = state();
    const scene::Migration run;
    std::string error;
    const auto was = things::account_state("zoe", error);
    static_cast<void>(keep::before_change_of(keep::Kind::account, "zoe", was.value_or("")));
    shell_quietly("useradd -m -g users -s /bin/sh zoe; echo zoe:zoe | chpasswd");
    keep::now_is(keep::Kind::account, "zoe", things::account_state("zoe", error).value_or(""));
    static_cast<void>(keep::after_new_home("/home/zoe"));
    scene::write("/home/zoe/Documents/letter", "hers\n");
    scene::write("/home/zoe/.profile", "a new profile\n");
    static_cast<void>(keep::before_owner("/home/zoe", 1));
    shell_quietly("chown -R zoe /home/zoe");
  }

  static std::string state() {
    return output_of("cat /etc/passwd /etc/shadow /etc/group /etc/subuid; ls -A /home");
  }

  std::string before_;
};

TEST_F(Account, stays_without_being_asked_for_and_its_things_go) {
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(1, ended.status);
  EXPECT_THAT(ended.said,
              HasSubstr("Accounts that stay (1):\n  the account zoe, /home/zoe: it goes only with "
                        "--accounts\n"));
  EXPECT_EQ(0, shell_quietly("id zoe > /dev/null"));
  EXPECT_FALSE(exists("/home/zoe/Documents"));
  EXPECT_TRUE(exists("/home/zoe/.profile"));
}

TEST_F(Account, goes_with_its_home) {
  const Ended ended = scene::undo("--yes --accounts");
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_EQ(before_, state());
}

TEST_F(Account, goes_after_its_things_went_before) {
  scene::undo("--yes");
  const Ended ended = scene::undo(std::string("--yes --accounts ") + scene::first);
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_EQ(before_, state());
}

TEST_F(Account, goes_by_the_words_that_named_it) {
  scene::undo("--yes");
  EXPECT_EQ("There is nothing to undo.\n", scene::undo("--yes").said);
  Ended ended = scene::undo("--yes --accounts");
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_EQ(before_, state());
  ended = scene::undo("--yes --accounts");
  EXPECT_EQ(0, ended.status);
  EXPECT_EQ("There is nothing to undo.\n", ended.said);
}

TEST_F(Account, comes_back_with_its_home) {
  const std::string after = state();
  const std::string home = scene::tree("/home/zoe");
  ASSERT_EQ(0, scene::undo("--yes --accounts").status);
  const Ended ended = scene::undo("--yes " + scene::newest_undo());
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_EQ(after, state());
  EXPECT_TRUE(same_bytes(home, scene::tree("/home/zoe")));
}

TEST_F(Account, stays_when_something_was_added) {
  write_file("/home/zoe/mine", "m");
  const Ended ended = scene::undo("--yes --accounts");
  EXPECT_EQ(1, ended.status);
  EXPECT_THAT(ended.said, HasSubstr("the account zoe, /home/zoe: /home/zoe/mine was added or changed\n"));
  EXPECT_EQ(0, shell_quietly("id zoe > /dev/null"));
  EXPECT_EQ("m", read_file("/home/zoe/mine"));
}

TEST_F(Account, stays_when_something_was_changed) {
  write_file("/home/zoe/.bashrc", "mine");
  const Ended ended = scene::undo("--yes --accounts");
  EXPECT_EQ(1, ended.status);
  EXPECT_THAT(ended.said, HasSubstr("/home/zoe/.bashrc was added or changed\n"));
  EXPECT_EQ("mine", read_file("/home/zoe/.bashrc"));
}

TEST_F(Account, stays_when_it_has_another_password) {
  shell_quietly("echo zoe:other | chpasswd");
  const Ended ended = scene::undo("--yes --accounts");
  EXPECT_EQ(1, ended.status);
  EXPECT_THAT(ended.said, HasSubstr("the account zoe, /home/zoe: it has changed since\n"));
  EXPECT_EQ(0, shell_quietly("id zoe > /dev/null"));
}

TEST_F(Account, stays_while_it_runs_a_process) {
  shell_quietly("setpriv --reuid zoe --clear-groups sleep 30 > /dev/null 2>&1 & sleep 0.3");
  const Ended ended = scene::undo("--yes --accounts");
  EXPECT_EQ(1, ended.status);
  EXPECT_EQ(0, shell_quietly("id zoe > /dev/null"));
  EXPECT_TRUE(exists("/home/zoe"));
}

}  // namespace
