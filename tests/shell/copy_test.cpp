#include "shell/copy.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "shell/run.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"
#include "support/system_log.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr int too_many_names = 126 << 8;  // as system() has it

// Everything that can be seen of a tree.
std::string tree(const std::string& folder) {
  return output_of("cd " + folder +
                   " && find . -mindepth 1 \\( -type d -printf '%P %y %m %U %G %T@\\n' -o -printf " +
                   "'%P %y %m %U %G %T@ %n %s %l\\n' \\) | sort; cd " + folder + " && grep -r . . | sort");
}

// The same without what a plain copy does not take along.
std::string content(const std::string& folder) {
  return output_of("cd " + folder +
                   " && find . -mindepth 1 -printf '%P %y %m %U %s %l\\n' | sed 's/ d \\(.*\\) " +
                   "[0-9]* $/ d \\1/' | sort; cd " + folder + " && grep -r . . | sort");
}

struct Copy : testing::Test {
  Copy() {
    // The sizes of folders differ between file systems; both trees lie on one.
    shell_quietly(
        "mkdir -p /tmp/from/folder/.inside/deep /tmp/from/empty /tmp/from/.hidden; cd /tmp/from; echo h > "
        ".hidden/f; "
        "echo h > .file; echo one > one; echo two > 'folder/t w\to'; echo in > folder/.inside/f; "
        "echo deep > folder/.inside/deep/f; : > nothing; chmod 751 folder; chmod 500 folder/.inside; "
        "chown 1234:4321 one; chmod 4640 one; ln -s ../one folder/link; ln -s missing dangling; "
        "ln one 'folder/second name'; touch -d '2001-02-03 04:05:06.5' one; "
        "touch -h -d '2002-02-03' dangling; touch -d '2003-02-03' folder/.inside; touch -d '2004-02-03' "
        "folder");
    for (const char* target : {"/tmp/expected", "/tmp/copied"}) {
      shell_quietly(std::string("mkdir -p ") + target + "/folder; cd " + target +
                    "; echo longer than the new one > one; echo mine > mine; echo mine > folder/mine; "
                    "chmod 600 one; echo x > dangling; touch -d 2005-02-03 mine folder/mine");
    }
  }
  // What the real command does.
  static void copy_as_expected(const std::string& command) {
    shell_quietly(command + " /tmp/from/* /tmp/expected 2>/dev/null");
  }
  static testing::AssertionResult copied(const shell::Command& command, CopyLike like) {
    answer_command("cp ", too_many_names);
    return copy_entries(command, "/tmp/from", "/tmp/copied", like) ? testing::AssertionSuccess()
                                                                   : testing::AssertionFailure();
  }
};

TEST_F(Copy, LeavesTheWorkToACommandThatRuns) {
  testing::internal::CaptureStderr();
  EXPECT_TRUE(copy_entries(compose("echo x > /tmp/ran"), "/tmp/from", "/tmp/copied", CopyLike::cp_a));
  EXPECT_TRUE(
      copy_entries(compose("cp /tmp/missing /tmp/copied"), "/tmp/from", "/tmp/copied", CopyLike::cp_a));
  EXPECT_TRUE(exists("/tmp/ran"));
  EXPECT_FALSE(exists("/tmp/copied/nothing"));
  testing::internal::GetCapturedStderr();
}

TEST_F(Copy, StillRunsAndLogsTheCommand) {
  SystemLog log;
  EXPECT_TRUE(copied(compose("cp -a /tmp/from/* %s", "/tmp/copied"), CopyLike::cp_a));
  EXPECT_THAT(commands_run(), ElementsAre("cp -a /tmp/from/* /tmp/copied"));
  EXPECT_THAT(log.messages(),
              ElementsAre(HasSubstr("normal termination, exit status 126, cp -a /tmp/from/* /tmp/copied")));
}

TEST_F(Copy, IsTheSameAsByCpA) {
  copy_as_expected("cp -a");
  EXPECT_TRUE(copied(compose("cp -a /tmp/from/* %s", "/tmp/copied"), CopyLike::cp_a));
  EXPECT_TRUE(same_bytes(tree("/tmp/expected"), tree("/tmp/copied")));
  EXPECT_THAT(tree("/tmp/copied"), HasSubstr("folder/.inside/deep/f:deep"));
  EXPECT_FALSE(exists("/tmp/copied/.file"));
  EXPECT_EQ("1\n", output_of("stat -c %h /tmp/copied/mine"));
  EXPECT_EQ("2\n", output_of("stat -c %h /tmp/copied/one"));
}

TEST_F(Copy, IsTheSameAsByCpRf) {
  copy_as_expected("cp -rf");
  EXPECT_TRUE(copied(compose("cp -rf /tmp/from/* %s", "/tmp/copied"), CopyLike::cp_rf));
  EXPECT_TRUE(same_bytes(content("/tmp/expected"), content("/tmp/copied")));
}

TEST_F(Copy, IsTheSameAsByCp) {
  shell_quietly("rm /tmp/from/dangling; ln -s one /tmp/from/link");
  copy_as_expected("cp");
  testing::internal::CaptureStderr();
  EXPECT_TRUE(copied(compose("cp /tmp/from/* %s", "/tmp/copied"), CopyLike::cp));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("Left out, it is a folder: /tmp/from/folder\n"));
  EXPECT_TRUE(same_bytes(content("/tmp/expected"), content("/tmp/copied")));
  EXPECT_EQ("one\n", read_file("/tmp/copied/link"));
}

TEST_F(Copy, OfALargeFileIsWhole) {
  const std::string large(5'000'000, 'l');
  write_file("/tmp/from/large", large);
  EXPECT_TRUE(copied(compose("cp -a /tmp/from/* %s", "/tmp/copied"), CopyLike::cp_a));
  EXPECT_TRUE(same_bytes(large, read_file("/tmp/copied/large")));
}

TEST_F(Copy, GoesOnAfterWhatCannotBeCopied) {
  shell_quietly(
      "mkdir /tmp/copied/one; rm -rf /tmp/copied/folder; echo file > /tmp/copied/folder; echo new > "
      "/tmp/from/zz; "
      "mkfifo /tmp/from/pipe");
  shell_quietly("rm -f /tmp/copied/one; mkdir -p /tmp/copied/one");
  testing::internal::CaptureStderr();
  EXPECT_FALSE(copied(compose("cp -a /tmp/from/* %s", "/tmp/copied"), CopyLike::cp_a));
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_THAT(said, HasSubstr("/tmp/copied/one: Is a directory\n"));
  EXPECT_THAT(said, HasSubstr("/tmp/copied/folder: File exists\n"));
  EXPECT_THAT(said, HasSubstr("/tmp/copied/pipe: Operation not supported\n"));
  EXPECT_EQ("file\n", read_file("/tmp/copied/folder"));
  EXPECT_EQ("new\n", read_file("/tmp/copied/zz"));
}

TEST_F(Copy, TellsOfOneThatFailsWhereverItStands) {
  const std::vector<std::string> names = {"a", "b", "c", "d"};
  for (const std::string& name : names) write_file("/tmp/several/" + name, name);
  for (const std::string& name : names) {
    shell_quietly("rm -rf /tmp/to; mkdir -p /tmp/to/" + name);
    answer_command("cp ", too_many_names);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(copy_entries(compose("cp -a /tmp/several/* %s", "/tmp/to"), "/tmp/several", "/tmp/to",
                              CopyLike::cp_a));
    EXPECT_EQ("/tmp/to/" + name + ": Is a directory\n", testing::internal::GetCapturedStderr());
  }
}

TEST_F(Copy, WritesThroughALinkInItsPlace) {
  shell_quietly("rm /tmp/copied/one; echo far > /tmp/far; ln -s /tmp/far /tmp/copied/one");
  EXPECT_TRUE(copied(compose("cp -a /tmp/from/* %s", "/tmp/copied"), CopyLike::cp_a));
  EXPECT_EQ("/tmp/far\n", output_of("readlink /tmp/copied/one"));
  EXPECT_EQ("one\n", read_file("/tmp/far"));
}

TEST_F(Copy, OfAnothersProgramRunsNothingUnderOurName) {
  shell_quietly(
      "cd /tmp/from; rm -rf folder empty one two nothing dangling 't w\to'; echo p > program; chown "
      "1234:4321 program; chmod 6755 program; chmod 777 /tmp/copied");
  ASSERT_EQ(0, setegid(65534));
  ASSERT_EQ(0, seteuid(65534));
  const bool is_copied =
      static_cast<bool>(copied(compose("cp -a /tmp/from/* %s", "/tmp/copied"), CopyLike::cp_a));
  ASSERT_EQ(0, seteuid(0));
  ASSERT_EQ(0, setegid(0));
  EXPECT_TRUE(is_copied);
  EXPECT_EQ("755 65534 65534\n", output_of("stat -c '%a %u %g' /tmp/copied/program"));
}

TEST_F(Copy, IntoAFolderThatIsMissingIsOneFailure) {
  testing::internal::CaptureStderr();
  answer_command("cp ", too_many_names);
  EXPECT_FALSE(
      copy_entries(compose("cp -a /tmp/from/* /tmp/missing"), "/tmp/from", "/tmp/missing", CopyLike::cp_a));
  EXPECT_EQ("/tmp/missing: No such file or directory\n", testing::internal::GetCapturedStderr());
  EXPECT_FALSE(exists("/tmp/missing"));
}

TEST_F(Copy, OnAFullDiskLeavesTheOldFileAndFails) {
  const SmallDisk disk("/tmp/copied");
  write_file("/tmp/from/one", std::string(20'000, 'n'));
  disk.fill_but(2);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(copied(compose("cp -a /tmp/from/* %s", "/tmp/copied"), CopyLike::cp_a));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("/tmp/copied/one: No space left on device\n"));
  EXPECT_EQ("longer than the new one\n", read_file("/tmp/copied/one"));
  EXPECT_THAT(output_of("ls -A /tmp/copied | grep brindle"), IsEmpty());
}

// ---- One file over another ---------------------------------------------------------------------------

struct CopyOver : testing::Test {
  CopyOver() { write_file("/tmp/from", std::string(20'000, 'n')); }
  static bool copied() { return copy_over(compose("cp /tmp/from %s", to), "/tmp/from", to); }
  static constexpr const char* to = "/tmp/disk/d/f";
};

TEST_F(CopyOver, RunsTheCommandAndKeepsTheOldOnesLikeness) {
  write_file(to, "old");
  ASSERT_EQ(0, chown(to, 1234, 4321));
  ASSERT_EQ(0, chmod(to, 0640));
  EXPECT_TRUE(copied());
  EXPECT_THAT(commands_run(), ElementsAre("cp /tmp/from /tmp/disk/d/f"));
  EXPECT_TRUE(same_bytes(std::string(20'000, 'n'), read_file(to)));
  EXPECT_EQ("1234 4321 640\n", output_of("stat -c '%u %g %a' /tmp/disk/d/f"));
  EXPECT_EQ("f\n", output_of("ls -A /tmp/disk/d"));
}

TEST_F(CopyOver, LeavesTheOldOneOnAFullDisk) {
  const SmallDisk disk("/tmp/disk");
  const std::string old(5000, 'o');
  write_file(to, old);
  for (const int left : {0, 1}) {
    disk.empty();
    disk.fill_but(left);
    EXPECT_FALSE(copied());
    EXPECT_TRUE(same_bytes(old, read_file(to)));
    EXPECT_EQ("f\n", output_of("ls -A /tmp/disk/d"));
  }
}

TEST_F(CopyOver, LeavesTheOldOneBehindALinkOnAFullDisk) {
  const SmallDisk disk("/tmp/disk");
  const std::string old(5000, 'o');
  write_file("/tmp/disk/named", old);
  shell_quietly("mkdir /tmp/disk/d; ln -s ../named /tmp/disk/d/f");
  disk.fill_but(1);
  EXPECT_FALSE(copied());
  EXPECT_EQ("../named\n", output_of("readlink /tmp/disk/d/f"));
  EXPECT_TRUE(same_bytes(old, read_file("/tmp/disk/named")));
  disk.empty();
  EXPECT_TRUE(copied());
  EXPECT_EQ("../named\n", output_of("readlink /tmp/disk/d/f"));
  EXPECT_TRUE(same_bytes(std::string(20'000, 'n'), read_file("/tmp/disk/named")));
}

TEST_F(CopyOver, LeavesTheOldOneWithoutANewOne) {
  write_file(to, "old");
  shell_quietly("rm /tmp/from");
  EXPECT_FALSE(copied());
  EXPECT_EQ("old", read_file(to));
}

TEST_F(CopyOver, LeavesAFolderWhereItIs) {
  write_file(std::string(to) + "/inside", "old");
  EXPECT_FALSE(copied());
  EXPECT_EQ("old", read_file(std::string(to) + "/inside"));
  EXPECT_EQ("f\n", output_of("ls -A /tmp/disk/d"));
}

TEST_F(CopyOver, MakesAFileWhereNoneWas) {
  shell_quietly("mkdir -p /tmp/disk/d");
  EXPECT_TRUE(copied());
  EXPECT_EQ("f\n", output_of("ls -A /tmp/disk/d"));
}

}  // namespace
