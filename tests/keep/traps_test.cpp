// What the owner of a home, or anybody in a folder of all, may have put in the superuser's way.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "keep/keep.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

struct Traps : testing::Test {
  Traps() {
    shell_quietly(
        "rm -rf /home/ann /srv/* /Share /tmp/from /root/* /root/.brindle_before; "
        "useradd -M -d /home/ann -u 1234 ann 2>/dev/null; mkdir /srv/out; echo secret > /srv/out/file");
    write_file("/home/ann/d/f", "ann's");
    shell_quietly("chown -R ann /home/ann");
    keep::begin_run("/root", 1'795'000'000);
  }
  ~Traps() override { keep::end_run(); }

  static std::string complaint_before_change(const std::string& path, bool expected = false) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(expected, keep::before_change(path));
    return testing::internal::GetCapturedStderr();
  }
  static std::string refusal(const std::string& path, const std::string& why) {
    return path + " could not be kept as it is, so it stays and is not changed: " + why + "\n";
  }
  static void write_at(const place::Spot& spot, const std::string& text) {
    const Descriptor file(
        openat(spot.folder.number(), spot.name.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
    EXPECT_EQ(static_cast<ssize_t>(text.size()), write(file.number(), text.data(), text.size()));
  }
};

constexpr const char* leads_out = "a link leads out of its home";

TEST_F(Traps, LinksOutOfTheHome) {
  shell_quietly(
      "cd /home/ann; ln -s /srv/out/file a; ln -s a b; ln -s ../../srv/out c; ln -s /etc/nothing e; ln -s "
      "/root g");
  for (const char* name : {"a", "b", "c", "e", "c/file", "c/new", "g/x/y"}) {
    const std::string path = std::string("/home/ann/") + name;
    EXPECT_EQ(refusal(path, leads_out), complaint_before_change(path));
  }
}

TEST_F(Traps, LinksIntoAFolderWhoseNameBeginsLikeTheHomes) {
  shell_quietly(
      "mkdir -p /home/anna/d; echo secret > /home/anna/file; cd /home/ann; ln -s ../anna/file a; ln -s "
      "/home/anna b");
  for (const char* name : {"a", "b/file", "b/new", "b/d/new"}) {
    const std::string path = std::string("/home/ann/") + name;
    EXPECT_EQ(refusal(path, leads_out), complaint_before_change(path));
  }
}

TEST_F(Traps, LinksWithinTheHomeAreNone) {
  shell_quietly("cd /home/ann; ln -s d/f a; ln -s /home/ann/d b; ln -s b c; ln -s ../ann/d/new e");
  for (const char* name : {"a", "b", "c", "c/f", "b/new", "e"})
    EXPECT_EQ("", complaint_before_change(std::string("/home/ann/") + name, true));
}

// The first look is no promise for the next one.
TEST_F(Traps, AreLookedForEachTime) {
  EXPECT_EQ("", complaint_before_change("/home/ann/d/f", true));
  EXPECT_EQ("", complaint_before_change("/home/ann/new/f", true));
  shell_quietly("cd /home/ann; ln -sf /srv/out/file d/f; mkdir new; ln -s /srv/out/file new/f");
  EXPECT_EQ(refusal("/home/ann/d/f", leads_out), complaint_before_change("/home/ann/d/f"));
  EXPECT_EQ(refusal("/home/ann/new/f", leads_out), complaint_before_change("/home/ann/new/f"));
}

// What is copied into a folder that the run has made is looked at as well.
TEST_F(Traps, AreLookedForInFoldersThatTheRunHasMade) {
  write_file("/tmp/from/f", "new");
  EXPECT_EQ("", complaint_before_change("/home/ann/new", true));
  shell_quietly("mkdir /home/ann/new; ln -s /srv/out/file /home/ann/new/f");
  testing::internal::CaptureStderr();
  EXPECT_FALSE(keep::before_copy("/tmp/from", "/home/ann/new"));
  EXPECT_EQ(refusal("/home/ann/new/f", leads_out), testing::internal::GetCapturedStderr());
}

TEST_F(Traps, FurtherNamesOfOthersFiles) {
  shell_quietly("cd /home/ann; ln /srv/out/file a; ln d/f b");
  const std::string why = "it is a further name of somebody else's file";
  EXPECT_EQ(refusal("/home/ann/a", why), complaint_before_change("/home/ann/a"));
  EXPECT_EQ("", complaint_before_change("/home/ann/b", true));
}

// Also where the copy would bring the same.
TEST_F(Traps, FurtherNamesOfOthersFilesAreNotCopiedOver) {
  write_file("/tmp/from/f", "secret\n");
  shell_quietly("ln -f /srv/out/file /home/ann/d/f");
  testing::internal::CaptureStderr();
  EXPECT_FALSE(keep::before_copy("/tmp/from", "/home/ann/d"));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("further name"));
}

TEST_F(Traps, PipesAndDevices) {
  shell_quietly("cd /home/ann; mkfifo a; mknod b c 1 3");
  const std::string why = "it is neither a file nor a folder";
  EXPECT_EQ(refusal("/home/ann/a", why), complaint_before_change("/home/ann/a"));
  EXPECT_EQ(refusal("/home/ann/b", why), complaint_before_change("/home/ann/b"));
}

TEST_F(Traps, AreNoneInTheOwnHome) {
  shell_quietly("cd /root; ln -s /srv/out/file a; ln /srv/out/file b; mkfifo c; ln -s /srv/out d");
  for (const char* name : {"a", "b", "c", "d/file", "d/new"})
    EXPECT_EQ("", complaint_before_change(std::string("/root/") + name, true));
}

TEST_F(Traps, OfAnybodyWhereAllMayWrite) {
  shell_quietly(
      "mkdir -m 777 /Share; cd /Share; ln -s /srv/out/file a; ln -s /srv/out b; ln -s a c; ln /srv/out/file "
      "d; "
      "mkfifo e; chown -h ann a b c e");
  const std::string why = "a link that somebody else has put there leads elsewhere";
  for (const char* name : {"a", "b", "c", "b/file"}) {
    const std::string path = std::string("/Share/") + name;
    EXPECT_EQ(refusal(path, why), complaint_before_change(path));
  }
  EXPECT_THAT(complaint_before_change("/Share/d"), HasSubstr("further name"));
  EXPECT_THAT(complaint_before_change("/Share/e"), HasSubstr("neither a file nor a folder"));
  EXPECT_EQ("", complaint_before_change("/Share/new", true));
}

TEST_F(Traps, AreNoneWhereTheSuperuserAloneWrites) {
  shell_quietly("mkdir /srv/own; cd /srv/own; ln -s /srv/out/file a; ln -s ../out b; ln /srv/out/file c");
  for (const char* name : {"a", "b", "b/file", "c"})
    EXPECT_EQ("", complaint_before_change(std::string("/srv/own/") + name, true));
}

// ---- Owners and modes -------------------------------------------------------------------------------------

TEST_F(Traps, NamesOutsideAreNeitherGivenAwayNorOpened) {
  shell_quietly("mkdir -m 777 /Share; ln /srv/out/file /home/ann/d/a; ln /srv/out/file /Share/a");
  testing::internal::CaptureStderr();
  EXPECT_FALSE(keep::before_owner("/home/ann", 1234));
  EXPECT_FALSE(keep::before_closing("/home/ann", 1234));
  EXPECT_FALSE(keep::before_mode("/Share", 0777));
  const std::string complaint = testing::internal::GetCapturedStderr();
  EXPECT_THAT(complaint, HasSubstr(refusal("/home/ann/d/a", "a name of it lies outside of /home/ann")));
  EXPECT_THAT(complaint, HasSubstr(refusal("/Share/a", "a name of it lies outside of /Share")));
}

TEST_F(Traps, NamesInsideAreNone) {
  shell_quietly("cd /home/ann; echo a > a; ln a d/a; ln d/f /srv/out/ann; ln -s /srv/out/file e; ln e d/e");
  EXPECT_TRUE(keep::before_owner("/home/ann", 1234));  // a file of ann's own may have a name elsewhere
}

// More levels than a program may have files open.
TEST_F(Traps, NamesOutsideAreFoundInTheDeepestFolder) {
  shell_quietly("cd /home/ann/d; for level in $(seq 1100); do mkdir d; cd -P d; done");
  rlimit files{};
  getrlimit(RLIMIT_NOFILE, &files);
  files.rlim_cur = 1024;
  ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &files));
  EXPECT_TRUE(keep::before_owner("/home/ann", 1234));
  shell_quietly("cd /home/ann/d; for level in $(seq 1100); do cd -P d; done; ln /srv/out/file a");
  testing::internal::CaptureStderr();
  EXPECT_FALSE(keep::before_owner("/home/ann", 1234));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("/d/a could not be kept"));
}

// ---- Spots ------------------------------------------------------------------------------------------------

TEST_F(Traps, HaveNoSpot) {
  shell_quietly("cd /home/ann; ln -s /srv/out a; ln -s /srv/out/file b; ln -s b c");
  EXPECT_FALSE(keep::spot_of("/home/ann/a/file"));
  EXPECT_FALSE(is_open(keep::spot_at_end("/home/ann/b")));
  EXPECT_EQ(EXDEV, errno);
  EXPECT_FALSE(keep::spot_at_end("/home/ann/c"));
  EXPECT_EQ("b", keep::spot_of("/home/ann/b").name);
}

TEST_F(Traps, LinksWithinTheHomeHaveTheSpotAtTheirEnd) {
  shell_quietly("cd /home/ann; ln -s d/f a; ln -s /home/ann/d b");
  write_at(keep::spot_at_end("/home/ann/a"), "new");
  write_at(keep::spot_of("/home/ann/b/g"), "new");
  EXPECT_THAT(read_file("/home/ann/d/f"), HasSubstr("new"));
  EXPECT_EQ("new", read_file("/home/ann/d/g"));
}

TEST_F(Traps, InTheOwnHomeLinksLeadAnywhere) {
  shell_quietly("ln -s /srv/out /root/a; ln -s a/file /root/b");
  write_at(keep::spot_of("/root/a/new"), "new");
  write_at(keep::spot_at_end("/root/b"), "public");
  EXPECT_EQ("new", read_file("/srv/out/new"));
  EXPECT_THAT(read_file("/srv/out/file"), HasSubstr("public"));
}

TEST_F(Traps, ThatAreSetMeanwhileDoNotMoveASpot) {
  const place::Spot spot = keep::spot_of("/home/ann/d/f");
  shell_quietly("cd /home/ann; mv d e; ln -s /srv/out d; echo secret > /srv/out/f");
  write_at(spot, "new");
  EXPECT_THAT(read_file("/home/ann/e/f"), HasSubstr("new"));
  EXPECT_EQ("secret\n", read_file("/srv/out/f"));
}

// ---- Reading ----------------------------------------------------------------------------------------------

TEST_F(Traps, NothingIsReadThatItsOwnerCouldNot) {
  shell_quietly(
      "cd /srv/out; echo a > open; echo b > closed; chmod 600 closed; mkdir -m 700 folder; echo c > "
      "folder/open; "
      "cd /home/ann; ln -s /srv/out/open a; ln -s /srv/out/closed b; ln -s /srv/out/folder/open c; "
      "ln /srv/out/closed e; mkfifo p; ln -s /srv/out g");
  testing::internal::CaptureStderr();
  EXPECT_TRUE(keep::before_reading("/home/ann/a"));
  EXPECT_TRUE(keep::before_reading("/home/ann/d/f"));
  EXPECT_TRUE(keep::before_reading("/home/ann/missing"));
  EXPECT_TRUE(keep::before_reading("/home/ann/g/open"));
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
  for (const char* name : {"b", "c", "e", "p", "g/closed"}) {
    testing::internal::CaptureStderr();
    EXPECT_FALSE(keep::before_reading(std::string("/home/ann/") + name));
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr(std::string("/home/ann/") + name + " is not read"));
  }
}

}  // namespace
