// What a run writes down of the accounts it makes and of those that were there.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "keep/keep.h"
#include "keep/store.h"
#include "place/descriptor.h"
#include "process/run/accounts.h"
#include "run/fakes.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"
#include "things/account.h"

namespace {

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* root = "/tmp/brindAb/Brindle";

struct KeptAccounts : testing::Test {
  KeptAccounts() {
    shell_quietly(
        "mkdir -p /tmp/s/root/.mozilla /usr/local/brindle && echo s > /tmp/s/root/.mozilla/skeleton &&"
        "tar -cjf /usr/local/brindle/nldroot.tar.bz2 -C /tmp/s/root .mozilla");
    assign(OSName, "GNome");
    isMultiUser = 1;
    for (const std::string name : {"ann", "ben"})
      write_file(std::string(root) + "/Profiles/" + name + "/My Documents/a.txt", name);
    keep::begin_run("/root", 1'800'000'000);
  }
  ~KeptAccounts() override { keep::end_run(); }

  // With the end of the run, when all is written down.
  int migrate() {
    static int result = -7;
    testing::internal::CaptureStdout();
    run_as_worker([] { result = migrate_profiles(root); });
    testing::internal::GetCapturedStdout();
    folder = keep::folder_of_run();
    keep::end_run();
    return result;
  }
  std::vector<keep::Row> rows() const {
    const Descriptor list(open((folder + "/list.tsv").c_str(), O_RDONLY));
    return keep::joined_rows(list.number());
  }
  std::map<std::string, keep::Row> accounts() const {
    std::map<std::string, keep::Row> found;
    for (const keep::Row& row : rows())
      if (row.kind == keep::Kind::account) found[row.name] = row;
    return found;
  }
  static std::string state(const std::string& login) {
    std::string error;
    return things::account_state(login, error).value_or("error: " + error);
  }

  std::string folder;  // of the run
};

TEST_F(KeptAccounts, ThatAreMadeWereNothing) {
  ASSERT_EQ(0, migrate());
  const auto kept = accounts();
  for (const std::string name : {"ann", "ben"}) {
    ASSERT_TRUE(kept.contains(name));
    EXPECT_EQ("nothing", kept.at(name).before);
    EXPECT_THAT(kept.at(name).became, StartsWith("passwd " + name + ":x:"));
    EXPECT_EQ(state(name), kept.at(name).became);  // with its password
    EXPECT_EQ("", things::use_of_account(name, 0));
  }
}

TEST_F(KeptAccounts, ThatAreMadeHaveRightsThatAreTheRuns) {
  shell_quietly(
      "mkdir -m 755 /tmp/s/root/Desktop && "
      "tar -cjf /usr/local/brindle/nldroot.tar.bz2 -C /tmp/s/root .mozilla Desktop");
  for (const std::string name : {"ann", "ben"})
    write_file(std::string(root) + "/Profiles/" + name + "/Desktop/a.txt", name);
  ASSERT_EQ(0, migrate());
  const std::string run = folder.substr(sizeof "/root/.brindle_before");
  for (const std::string home : {"/home/ann", "/home/ben"}) {
    std::map<std::string, keep::Row> kept;
    for (const keep::Row& row : keep::rows_of(home, run)) kept[row.name] = row;
    ASSERT_TRUE(kept.contains(home + "/Desktop"));
    EXPECT_THAT(kept[home + "/Desktop"].before, StartsWith("folder 0755 "));
    EXPECT_THAT(kept[home + "/Desktop"].became, StartsWith("folder 0700 "));
    EXPECT_THAT(kept[home].before, StartsWith("folder 0700 "));
  }
}

TEST_F(KeptAccounts, ThatWereThereKeepTheirHash) {
  shell_quietly("useradd -m -g users -s /bin/bash ann && usermod -p '$6$salt$of-before' ann");
  const std::string before = state("ann");
  ASSERT_EQ(0, migrate());
  const keep::Row row = accounts().at("ann");
  EXPECT_EQ(before, row.before);
  EXPECT_THAT(row.before, HasSubstr("$6$salt$of-before"));
  EXPECT_EQ(state("ann"), row.became);
  EXPECT_EQ("600\n", output_of("stat -c %a " + folder + "/list.tsv"));
}

TEST_F(KeptAccounts, HaveTheirGroupWithThem) {
  ASSERT_EQ(0, migrate());
  EXPECT_EQ("group users:x:100:", accounts().at("group users").before);
  EXPECT_EQ("group users:x:100:", accounts().at("group users").became);
}

TEST_F(KeptAccounts, HaveAGroupThatWasMade) {
  shell_quietly("groupdel users");
  ASSERT_EQ(0, migrate());
  const keep::Row row = accounts().at("group users");
  EXPECT_EQ("nothing", row.before);
  EXPECT_THAT(row.became, StartsWith("group users:x:"));
}

TEST_F(KeptAccounts, HaveTheirNewHomesWrittenDown) {
  shell_quietly("mkdir /home/ben; echo mine >/home/ben/mine");
  ASSERT_EQ(0, migrate());
  std::vector<std::string> homes;
  for (const keep::Row& row : rows())
    if (row.kind == keep::Kind::new_home) homes.push_back(row.name);
  EXPECT_THAT(homes, AllOf(Contains("/home/ann"), Contains("/home/ann/.mozilla/skeleton"),
                           Not(Contains("/home/ann/Documents")), Not(Contains("/home/ann/pass")),
                           Not(Contains(StartsWith("/home/ben")))));
}

TEST_F(KeptAccounts, HaveWrittenDownWhoseAHomeWasThatTheyAreGiven) {
  shell_quietly(
      "mkdir -p /home/ben/d; echo mine >/home/ben/d/mine; echo x >/home/ben/closed; ln -s d /home/ben/link;"
      "chmod 2755 /home/ben/d; chmod 600 /home/ben/closed; chmod 751 /home/ben; chown -hR 4321:4321 "
      "/home/ben");
  const auto states = [] {
    return output_of("cd /home/ben; find . ./d ./d/mine ./closed ./link -prune -printf '%p %m %U %G\n'");
  };
  const std::string before = states();
  ASSERT_EQ(0, migrate());
  ASSERT_NE(before, states());
  std::map<std::string, keep::Row> listed;
  const Descriptor list(open((folder + "/homes/ben.tsv").c_str(), O_RDONLY));
  for (const keep::Row& row : keep::joined_rows(list.number()))
    if (row.kind == keep::Kind::path || row.kind == keep::Kind::attributes) listed[row.name] = row;
  const std::string uid = output_of("id -u ben | tr -d '\n'");
  const auto expect = [&](const std::string& path, const std::string& was, const std::string& is) {
    EXPECT_THAT(listed[path].before, StartsWith(was + " 4321 4321 ")) << path;
    EXPECT_THAT(listed[path].became, StartsWith(is + " " + uid + " 4321 ")) << path;
  };
  expect("/home/ben", "folder 0751", "folder 0700");
  expect("/home/ben/d", "folder 2755", "folder 0700");
  expect("/home/ben/d/mine", "file 0644", "file 0600");
  expect("/home/ben/closed", "file 0600", "file 0600");
  expect("/home/ben/link", "link 0777", "link 0777");
}

TEST_F(KeptAccounts, AreNotTouchedWhenNothingCanBeKept) {
  const std::string before = output_of("cat /etc/passwd /etc/shadow /etc/group");
  const SmallDisk disk("/root");
  disk.fill_but();
  forget_commands();
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, migrate());
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("could not be kept"));
  EXPECT_EQ(before, output_of("cat /etc/passwd /etc/shadow /etc/group"));
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("add "))));
  EXPECT_FALSE(exists("/home/ann"));
}

TEST_F(KeptAccounts, AreNotTouchedWhenTheyCannotBeTold) {
  shell_quietly("mv /etc/shadow /etc/shadow.away");
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, migrate());
  EXPECT_THAT(
      testing::internal::GetCapturedStderr(),
      AllOf(HasSubstr("account ann could not be kept as it is, so it stays and is not changed: /etc/shadow"),
            HasSubstr("account ben could not be kept")));
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("useradd"))));
  EXPECT_FALSE(exists("/home/ben"));
}

}  // namespace
