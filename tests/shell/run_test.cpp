#include "shell/run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "error/error.h"
#include "shell/home.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/system_log.h"

// The given signatures for bare texts are tried here; the program may not use them.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

// ---- SYSTEM: what is logged and what the caller gets ----------------------------------------------------

TEST(System, SaysNothingAboutACommandThatSucceeds) {
  SystemLog log;
  EXPECT_EQ(0, SYSTEM("true"));
  EXPECT_THAT(log.messages(), IsEmpty());
}

TEST(System, LogsAFailedCommandButCountsItAsSuccess) {
  SystemLog log;
  errno = ENOENT;
  EXPECT_EQ(0, SYSTEM("exit 3"));
  EXPECT_THAT(log.messages(), ElementsAre(HasSubstr(": normal termination, exit status 3, exit 3: ")));
}

TEST(System, AnUnknownCommandIsAnOrdinaryEnd) {
  SystemLog log;
  EXPECT_EQ(0, SYSTEM("no-such-program-here 2>/dev/null"));
  EXPECT_THAT(log.messages(),
              ElementsAre(HasSubstr("normal termination, exit status 127, no-such-program-here")));
}

TEST(System, ADeathByASignalIsAFailure) {
  SystemLog log;
  EXPECT_EQ(-1, SYSTEM("kill -KILL $$"));
  EXPECT_THAT(log.messages(), ElementsAre(HasSubstr("abnormal termination kill -KILL $$: ")));
}

TEST(System, AShellThatCannotBeStartedIsAFailure) {
  SystemLog log;
  answer_command("true", -1, EAGAIN);
  EXPECT_EQ(-1, SYSTEM("true"));
  EXPECT_THAT(log.messages(),
              ElementsAre(HasSubstr(": fork failed, true: Resource temporarily unavailable")));
}

// Before the decoding: its low bits alone would make it the death by a signal.
TEST(System, ARawStatusOf127IsAFailedExec) {
  SystemLog log;
  answer_command("true", 127, ENOENT);
  EXPECT_EQ(-1, SYSTEM("true"));
  EXPECT_THAT(log.messages(), ElementsAre(HasSubstr(": exec failed, true: No such file or directory")));
}

TEST(System, PercentSignsOfACommandReachTheLogAsTheyAre) {
  SystemLog log;
  SYSTEM("false %s%n%d");
  EXPECT_THAT(log.messages(), ElementsAre(HasSubstr("exit status 1, false %s%n%d: ")));
}

TEST(System, DoesNotRunARefusedCommand) {
  SystemLog log;
  EXPECT_EQ(-1, SYSTEM(compose("rm %s", "-x")));
  EXPECT_THAT(commands_run(), IsEmpty());
  EXPECT_THAT(log.messages(), ElementsAre(HasSubstr("refused, rm ")));
}

TEST(System, RunUnloggedLogsNothing) {
  SystemLog log;
  EXPECT_NE(0, shell::run_unlogged(compose("false")));
  EXPECT_EQ(-1, shell::run_unlogged(compose("rm %s", "-x")));
  EXPECT_THAT(log.messages(), IsEmpty());
  EXPECT_THAT(commands_run(), ElementsAre("false"));
}

// ---- Commands with many words ---------------------------------------------------------------------------

TEST(RunForStatus, GivesTheExitStatusAndLogsLikeSystem) {
  SystemLog log;
  EXPECT_EQ(0, shell::run_for_status(compose("true")));
  EXPECT_THAT(log.messages(), IsEmpty());
  EXPECT_EQ(1, shell::run_for_status(compose("false")));
  EXPECT_THAT(log.messages(), ElementsAre(HasSubstr(": normal termination, exit status 1, false: ")));
  answer_command("true", SIGKILL);
  EXPECT_EQ(-1, shell::run_for_status(compose("true")));
  EXPECT_THAT(log.messages(), ElementsAre(HasSubstr("abnormal termination true: ")));
}

TEST(RunForStatus, DoesNotRunARefusedCommand) {
  SystemLog log;
  EXPECT_EQ(-1, shell::run_for_status(compose("rm %s", "-x")));
  EXPECT_THAT(commands_run(), IsEmpty());
  EXPECT_THAT(log.messages(), ElementsAre(HasSubstr("refused, rm ")));
}

rlimit stack_limit() {
  rlimit limit{};
  getrlimit(RLIMIT_STACK, &limit);
  return limit;
}

// A copy from `from`, which is not there.
shell::Command copy_from(const std::string& from) { return compose("cp %s /tmp/copy 2>/dev/null", from); }

TEST(RunShownAs, LogsOnlyWhatIsShown) {
  const shell::Command shown = copy_from("/tmp/shown");
  SystemLog log;
  EXPECT_EQ(0, shell::run_shown_as(copy_from("/tmp/hidden"), shown));
  EXPECT_EQ(-1, shell::run_shown_as(copy_from("-hidden"), shown));
  answer_command("cp", 9);
  EXPECT_EQ(-1, shell::run_shown_as(copy_from("/tmp/hidden"), shown));
  answer_command("cp", -1, ENOMEM);
  EXPECT_EQ(-1, shell::run_shown_as(copy_from("/tmp/hidden"), shown));
  const std::string text = "cp /tmp/shown /tmp/copy 2>/dev/null";
  EXPECT_THAT(
      log.messages(),
      ElementsAre(HasSubstr("normal termination, exit status 1, " + text), HasSubstr("refused, " + text),
                  HasSubstr("abnormal termination " + text), HasSubstr("fork failed, " + text)));
}

TEST(RunShownAs, RunsTheCommandItself) {
  write_file("/tmp/hidden", "h");
  SystemLog log;
  EXPECT_EQ(0, shell::run_shown_as(copy_from("/tmp/hidden"), copy_from("/tmp/shown")));
  EXPECT_EQ("h", read_file("/tmp/copy"));
  EXPECT_THAT(log.messages(), IsEmpty());
}

TEST(LongCommands, GetSixMegabytesOfWords) {
  rlimit limit = stack_limit();
  limit.rlim_cur = 1024 * 1024;
  ASSERT_EQ(0, setrlimit(RLIMIT_STACK, &limit));
  for (int number = 0; number < 5000; ++number)
    write_file("/tmp/many/" + std::string(200, 'n') + std::to_string(number), "");
  EXPECT_EQ(126, shell_quietly("/bin/echo /tmp/many/* 2>/dev/null >/dev/null"));
  shell::allow_long_commands();
  EXPECT_EQ(0, shell_quietly("/bin/echo /tmp/many/* 2>/dev/null >/dev/null"));
  EXPECT_EQ(24u * 1024 * 1024, stack_limit().rlim_cur);
}

TEST(LongCommands, AreAsLongAsTheProcessMayMakeThem) {
  rlimit limit = stack_limit();
  limit.rlim_cur = 1024 * 1024;
  limit.rlim_max = 2 * 1024 * 1024;
  ASSERT_EQ(0, setrlimit(RLIMIT_STACK, &limit));
  shell::allow_long_commands();
  EXPECT_EQ(limit.rlim_max, stack_limit().rlim_cur);
}

TEST(LongCommands, TakeNothingFromAHigherLimit) {
  rlimit limit = stack_limit();
  limit.rlim_cur = rlim_t{100} * 1024 * 1024;
  if (setrlimit(RLIMIT_STACK, &limit) != 0) GTEST_SKIP() << "the machine allows less";
  shell::allow_long_commands();
  EXPECT_EQ(limit.rlim_cur, stack_limit().rlim_cur);
}

// ---- execute_first --------------------------------------------------------------------------------------

std::string temporary_file(unsigned seed) {
  std::srand(seed);
  return "/root/." + std::to_string(std::rand());
}

TEST(ExecuteFirst, KeepsTheNewlineOfTheFirstLine) {
  char result[256] = "old";
  EXPECT_EQ(1, execute_first("echo 5; echo 6", result));
  EXPECT_STREQ("6\n", result);  // the redirection takes the last command's output only
  EXPECT_EQ(1, execute_first("printf '5\\n6\\n'", result));
  EXPECT_STREQ("5\n", result);
}

TEST(ExecuteFirst, SendsTheOutputThroughAHiddenFileInTheHome) {
  const std::string first = temporary_file(0);
  char result[256];
  execute_first("echo 5", result);
  EXPECT_THAT(commands_run(), ElementsAre("echo 5 > " + first));
  EXPECT_FALSE(exists(first));
}

TEST(ExecuteFirst, HasAFileThatNobodyElseReads) {
  char result[256];
  EXPECT_EQ(1, execute_first(("stat -c %a " + temporary_file(0)).c_str(), result));
  EXPECT_STREQ("600\n", result);
}

TEST(ExecuteFirst, OfAComposedCommandThatIsKilledLeavesNothing) {
  answer_command("cat", SIGKILL);
  std::string line = "old";
  EXPECT_EQ(-1, shell::execute_first(compose("cat /etc/hostname"), "/root", line));
  EXPECT_EQ("", line);
  EXPECT_EQ("", output_of("ls -A /root"));
}

TEST(ExecuteFirst, NoOutputIsNoFailure) {
  char result[256] = "old";
  EXPECT_EQ(0, execute_first("true", result));
  EXPECT_STREQ("", result);
  EXPECT_EQ(0, execute_first("false", result));
  EXPECT_EQ("", output_of("ls -A /root"));
}

TEST(ExecuteFirst, ReadsAtMost255Characters) {
  char result[256];
  EXPECT_EQ(1, execute_first("printf '%0300d\\n' 7", result));
  EXPECT_EQ(std::string(255, '0'), result);
}

TEST(ExecuteFirst, FailsWhenTheCommandIsKilled) {
  char result[256] = "old";
  EXPECT_EQ(-1, execute_first("kill -KILL $$", result));
  EXPECT_STREQ("", result);
  EXPECT_EQ("", output_of("ls -A /root"));
}

TEST(ExecuteFirst, LeavesWhatHasTheNameOfItsFile) {
  const std::string first = temporary_file(0);
  const std::string second = temporary_file(2);  // 0 and 1 are the same to the generator
  write_file(first, "a year of work");
  write_file(first + "-2", "another year");
  shell_quietly("ln -s /etc/hostname " + second);
  const std::string hostname = read_file("/etc/hostname");
  char result[256];
  EXPECT_EQ(1, execute_first("echo 5", result));
  EXPECT_STREQ("5\n", result);
  EXPECT_EQ(0, execute_first("true", result));
  std::string line;
  EXPECT_EQ(1, shell::execute_first(compose("printf 6"), "/root", line));
  EXPECT_EQ("6", line);
  EXPECT_THAT(commands_run(), ElementsAre("echo 5 > " + first + "-3", "true > " + first + "-3",
                                          "printf 6 > " + second + "-2"));
  EXPECT_EQ("a year of work", read_file(first));
  EXPECT_EQ("another year", read_file(first + "-2"));
  EXPECT_EQ(hostname, read_file("/etc/hostname"));
  EXPECT_EQ("/etc/hostname\n", output_of("readlink " + second));
  EXPECT_FALSE(exists(first + "-3"));
}

TEST(ExecuteFirst, FailsWhenTheFileCannotBeOpened) {
  SystemLog log;
  isDefaultUser = 0;
  ASSERT_TRUE(assign(cur_user, "nobody-here"));
  char result[256];
  const std::string file = "/home/nobody-here/" + temporary_file(0).substr(6);
  EXPECT_EQ(-1, execute_first("echo 5", result));
  EXPECT_THAT(log.messages(), ElementsAre(HasSubstr("normal termination, exit status 2, echo 5 > " + file),
                                          HasSubstr("fopen in execute_first, echo 5 > " + file + ", " + file +
                                                    ": No such file or directory")));
}

TEST(ExecuteFirst, FailsWhenTheFileCannotBeRemoved) {
  SystemLog log;
  const std::string file = temporary_file(0);
  const std::string command = "rm " + file + "; mkdir -p " + file + "/full; true";
  char result[256];
  EXPECT_EQ(-1, execute_first(command.c_str(), result));
  EXPECT_THAT(log.messages().back(),
              HasSubstr("remove error, " + command + " > " + file + ": Directory not empty"));
}

TEST(ExecuteFirst, TakesAComposedCommandOfAnyLength) {
  const std::string long_name(400, 'x');
  std::string line;
  write_file("/tmp/show", "print @ARGV");
  EXPECT_EQ(1, shell::execute_first(compose("perl /tmp/show %s", long_name), "/root", line));
  EXPECT_EQ(std::string(255, 'x'), line);
  EXPECT_EQ(-1, shell::execute_first(compose("cat %s", "-n"), "/root", line));
}

TEST(TmpFile, NamesAreTheSameInEveryRunAndReseedTheGenerator) {
  for (const unsigned seed : {0u, 1u, 2u, 3u}) {
    const std::string expected = temporary_file(seed);
    const int following = std::rand();
    char name[64];
    std::srand(777);
    tmp_file(name);
    EXPECT_EQ(expected, name);
    EXPECT_EQ(following, std::rand());
  }
}

TEST(TmpFile, AsksForTheHomeEachTime) {
  char name[64];
  testing::internal::CaptureStdout();
  tmp_file(name);
  tmp_file(name);
  EXPECT_EQ("buffer=/root\nbuffer=/root\n", testing::internal::GetCapturedStdout());
}

TEST(TmpFile, FitsWithTheNulBehindIt) {
  const std::size_t digits = temporary_file(0).size() - std::strlen("/root/.");
  const std::string longest(63 - std::strlen("/home//.") - digits, 'u');
  char name[80] = "";
  isDefaultUser = 0;
  assign(cur_user, longest.c_str());
  tmp_file(name);
  EXPECT_EQ(63u, std::strlen(name));
  assign(cur_user, (longest + "u").c_str());  // the next seed, 1, gives the same number
  tmp_file(name);
  EXPECT_STREQ("", name);
}

TEST(TmpFile, LeavesTheBufferEmptyForAHomeThatDoesNotFit) {
  isDefaultUser = 0;
  assign(cur_user, std::string(60, 'u').c_str());
  char name[64] = "old";
  tmp_file(name);
  EXPECT_STREQ("", name);
  EXPECT_THAT(shell::tmp_file_name(current_owner().home),
              testing::StartsWith("/home/" + std::string(60, 'u') + "/."));
}

}  // namespace
