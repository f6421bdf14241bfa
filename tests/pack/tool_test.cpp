#include "pack/disk/tool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "support/commands.h"
#include "support/files.h"

namespace {

using pack::ToolEnd;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr pack::ToolLimits enough{.file_bytes = 10 << 20,
                                  .folder_bytes = 10 << 20,
                                  .memory_bytes = std::uint64_t{1} << 30,
                                  .time = std::chrono::seconds(60)};

ToolEnd run(const std::string& script, const pack::ToolLimits& limits = enough) {
  std::filesystem::create_directories("/tmp/work");
  return pack::run_tool("/tmp/work", {"sh", "-c", script}, limits);
}

TEST(Tools, WorkInTheirFolderAndSayHowTheyEnd) {
  EXPECT_EQ(run("pwd > where; echo said; echo 'a complaint' >&2").how, ToolEnd::well);
  EXPECT_EQ(read_file("/tmp/work/where"), "/tmp\n");
  EXPECT_EQ(run("echo 'a complaint' >&2").complaint, "a complaint\n");
  EXPECT_EQ(run("exit 1").how, ToolEnd::badly);
  EXPECT_EQ(run("kill -SEGV $$").how, ToolEnd::badly);
  EXPECT_EQ(pack::run_tool("/tmp/work", {"no-such-program"}, enough).how, ToolEnd::missing);
}

TEST(Tools, GetWordsAsTheyAre) {
  std::filesystem::create_directories("/tmp/work");
  const ToolEnd end = pack::run_tool(
      "/tmp/work", {"sh", "-c", "printf '%s|' \"$@\" > words", "x", "$(touch /tmp/work/y)", "a  b", "'"},
      enough);
  EXPECT_EQ(end.how, ToolEnd::well);
  EXPECT_EQ(read_file("/tmp/work/words"), "$(touch /tmp/work/y)|a  b|'|");
}

TEST(Tools, AreNobodyAndOwnTheirFolderAlone) {
  std::filesystem::create_directories("/tmp/work");
  write_file("/tmp/work/input", "x");
  ASSERT_EQ(chmod("/tmp/work/input", 0600), 0);
  write_file("/etc/secret", "x");
  ASSERT_EQ(chmod("/etc/secret", 0600), 0);
  EXPECT_EQ(run("id -u > who; id -G >> who; cat input >> who").how, ToolEnd::well);
  EXPECT_EQ(read_file("/tmp/work/who"), "65534\n65534\nx");
  EXPECT_EQ(run("cat /etc/secret").how, ToolEnd::badly);
}

TEST(Tools, FindTheirFolderWhoeverMayGoThere) {
  std::filesystem::create_directories("/tmp/private/work");
  ASSERT_EQ(chmod("/tmp/private", 0700), 0);
  const std::string back = "here=$(pwd); mkdir below; cd below; cd \"$here\" && echo done > end";
  EXPECT_EQ(pack::run_tool("/tmp/private/work", {"sh", "-c", back}, enough).how, ToolEnd::well);
  EXPECT_EQ(read_file("/tmp/private/work/end"), "done\n");
  EXPECT_EQ(output_of("grep -c /tmp/private /proc/self/mountinfo"), "0\n") << "it is for the program alone";
}

TEST(Tools, GetNothingElseOfOurs) {
  const int open_file = dup(0);
  EXPECT_EQ(run("ls /proc/self/fd > open; cat > input").how, ToolEnd::well);
  close(open_file);
  EXPECT_EQ(read_file("/tmp/work/open"), "0\n1\n2\n3\n") << "the last is that of ls";
  EXPECT_EQ(read_file("/tmp/work/input"), "");
}

TEST(Tools, SayNoMoreThanAPage) {
  const ToolEnd end = run("yes complaint | head -c 1000000 >&2");
  EXPECT_EQ(end.how, ToolEnd::well);
  EXPECT_EQ(end.complaint.size(), 4096U);
}

TEST(Tools, AreEndedInTime) {
  pack::ToolLimits limits = enough;
  limits.time = std::chrono::seconds(1);
  const auto begun = std::chrono::steady_clock::now();
  EXPECT_EQ(run("exec sleep 60", limits).how, ToolEnd::ended_by_us);
  EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(20));
}

TEST(Tools, WriteNoMoreThanTheyMay) {
  pack::ToolLimits limits = enough;
  limits.file_bytes = 1000;
  EXPECT_EQ(run("head -c 2000 /dev/zero > large", limits).how, ToolEnd::badly);
  EXPECT_LE(std::filesystem::file_size("/tmp/work/large"), 1000U);
  limits = enough;
  limits.folder_bytes = 5000;
  EXPECT_EQ(run("mkdir d; i=0; while :; do i=$((i+1)); echo line > d/$i; done", limits).how,
            ToolEnd::ended_by_us);
  EXPECT_EQ(run("head -c 9000 /dev/zero > at-once", limits).how, ToolEnd::ended_by_us);
}

TEST(Tools, TakeNoMoreMemoryThanTheyMay) {
  pack::ToolLimits limits = enough;
  limits.memory_bytes = 100 << 20;
  EXPECT_EQ(run("perl -e '$x = \"x\" x 10_000_000'", limits).how, ToolEnd::well);
  EXPECT_EQ(run("perl -e '$x = \"x\" x 200_000_000'", limits).how, ToolEnd::badly);
}

TEST(Tools, LeaveRoomForOthers) {
  ASSERT_EQ(output_of("mkdir -p /mnt/small && mount -t tmpfs -o size=40m none /mnt/small && echo done"),
            "done\n");
  pack::ToolLimits limits = enough;
  limits.file_bytes = limits.folder_bytes = std::uint64_t{1} << 30;
  const ToolEnd end =
      pack::run_tool("/mnt/small", {"sh", "-c", "head -c 20000000 /dev/zero > large; exec sleep 60"}, limits);
  EXPECT_EQ(end.how, ToolEnd::ended_by_us);
  EXPECT_TRUE(end.lacked_room);
}

TEST(Tools, AreLookedForOnThePath) {
  EXPECT_TRUE(pack::is_tool("sh"));
  EXPECT_FALSE(pack::is_tool("no-such-program"));
  setenv("PATH", "/nowhere", 1);
  EXPECT_FALSE(pack::is_tool("sh"));
  unsetenv("PATH");
  EXPECT_FALSE(pack::is_tool("sh"));
}

}  // namespace
