#include "error/error.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <syslog.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <sstream>
#include <string>
#include <thread>

#include "error/log.h"
#include "place/descriptor.h"
#include "support/files.h"
#include "support/system_log.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

void call_err_doit(int errnoflag, const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  err_doit(errnoflag, fmt, ap);
  va_end(ap);
}

void call_log_doit(int errnoflag, int priority, const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  log_doit(errnoflag, priority, fmt, ap);
  va_end(ap);
}

TEST(ErrRet, WritesTheMessageAndTheSystemErrorToStandardError) {
  testing::internal::CaptureStderr();
  errno = EACCES;
  err_ret("cannot read %s", "x");
  EXPECT_EQ("cannot read x: Permission denied\n", testing::internal::GetCapturedStderr());
}

// In a file that takes both, as the output of a run does.
TEST(ErrRet, ComesBehindWhatWasPrintedBefore) {
  std::fflush(nullptr);
  const Descriptor output(dup(STDOUT_FILENO)), error(dup(STDERR_FILENO));
  const Descriptor both(open("/tmp/both", O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  dup2(both.number(), STDOUT_FILENO);
  dup2(both.number(), STDERR_FILENO);
  std::printf("first, ");
  err_ret("second");
  std::fflush(nullptr);
  dup2(output.number(), STDOUT_FILENO);
  dup2(error.number(), STDERR_FILENO);
  EXPECT_THAT(read_file("/tmp/both"), StartsWith("first, second: "));
}

TEST(ErrRet, FlushesEveryStream) {
  std::FILE* other = std::fopen("/tmp/other", "w");
  testing::internal::CaptureStderr();  // flushes every stream itself, as its end does
  std::fputs("written before", other);
  err_ret("broken");
  const std::string flushed = read_file("/tmp/other");
  testing::internal::GetCapturedStderr();
  EXPECT_EQ("written before", flushed);
  std::fclose(other);
}

TEST(ErrDoit, LeavesTheSystemErrorOutWithoutTheFlag) {
  testing::internal::CaptureStderr();
  call_err_doit(0, "%d files", 3);
  EXPECT_EQ("3 files\n", testing::internal::GetCapturedStderr());
}

TEST(ErrDoit, TakesMessagesOfAnyLength) {
  const std::string text(10000, 'x');
  testing::internal::CaptureStderr();
  call_err_doit(0, "%s", text.c_str());
  EXPECT_EQ(text + "\n", testing::internal::GetCapturedStderr());
}

TEST(LogRet, SendsOneErrorMessageWithoutAnIdentityOfItsOwn) {
  SystemLog log;
  errno = ENOENT;
  log_ret("isZipfile");
  const auto messages = log.messages();
  ASSERT_EQ(1u, messages.size());
  EXPECT_THAT(messages[0], StartsWith("<11>"));  // user facility, error priority
  EXPECT_THAT(messages[0],
              HasSubstr(std::string(program_invocation_short_name) + ": isZipfile: No such file"));
  EXPECT_THAT(messages[0], EndsWith(": No such file or directory\n"));
}

TEST(LogDoit, HasThePriorityAndTheSystemErrorThatItIsGiven) {
  SystemLog log;
  errno = EACCES;
  call_log_doit(0, LOG_NOTICE, "%d files", 3);
  errno = EACCES;
  call_log_doit(1, LOG_CRIT, "%d files", 4);
  EXPECT_THAT(log.messages(),
              ElementsAre(AllOf(StartsWith("<13>"), EndsWith(": 3 files\n")),
                          AllOf(StartsWith("<10>"), EndsWith(": 4 files: Permission denied\n"))));
}

TEST(LogRet, SendsMessagesOfAnyLength) {
  SystemLog log;
  const std::string command(4000, 'c');
  log_ret("normal termination, %s", command.c_str());
  const auto messages = log.messages();
  ASSERT_EQ(1u, messages.size());
  EXPECT_THAT(messages[0], HasSubstr("normal termination, " + command + ": "));
}

TEST(LogRet, GoesToStandardErrorInDebug) {
  SystemLog log;
  debug = 1;
  testing::internal::CaptureStderr();
  errno = ENOENT;
  log_ret("100%% of %s", "it");
  debug = 0;
  EXPECT_EQ("100% of it: No such file or directory\n", testing::internal::GetCapturedStderr());
  EXPECT_THAT(log.messages(), IsEmpty());
}

TEST(LogOpen, GivesTheSystemLogAnIdentity) {
  SystemLog log;
  log_open("brindle-test", LOG_PID, LOG_DAEMON);
  errno = 0;
  log_ret("hello");
  EXPECT_THAT(log.messages(), ElementsAre(AllOf(StartsWith("<27>"), HasSubstr("brindle-test["))));
}

TEST(LogOpen, DoesNothingInDebug) {
  SystemLog log;
  debug = 1;
  log_open("brindle-test", LOG_PID, LOG_DAEMON);
  debug = 0;
  log_ret("hello");
  EXPECT_THAT(log.messages(), ElementsAre(testing::Not(HasSubstr("brindle-test["))));
}

TEST(WriteLog, WritesALineThatIsNotFlushedAtOnce) {
  std::FILE* file = std::fopen("/tmp/log", "w");
  write_log("100% ends", file);
  EXPECT_EQ("", read_file("/tmp/log"));
  close_log(file);
  EXPECT_EQ("100% ends\n", read_file("/tmp/log"));
  write_log("too late", file);
  close_log(file);
  EXPECT_EQ("100% ends\n", read_file("/tmp/log"));
}

TEST(CloseLog, ClosesNoOtherFile) {
  std::FILE* first = std::fopen("/tmp/first", "w");
  std::FILE* other = std::fopen("/tmp/other", "w");
  close_log(first);
  write_log("too late", first);
  std::FILE* later = std::fopen("/tmp/later", "w");
  write_log("other", other);
  write_log("later", later);
  write_log("too late", first);
  std::fclose(other);
  std::fclose(later);
  EXPECT_EQ("", read_file("/tmp/first"));
  EXPECT_EQ("other\n", read_file("/tmp/other"));
  EXPECT_EQ("later\n", read_file("/tmp/later"));
}

// The worker still logs when the window is closed.
TEST(CloseLog, MayComeBetweenTheLinesOfAnotherThread) {
  std::FILE* file = std::fopen("/tmp/log", "w");
  std::atomic<int> lines = 0;
  std::thread worker([&] {
    for (; lines < 200000; ++lines) write_log("a line", file);
  });
  while (lines < 1000) std::this_thread::yield();
  close_log(file);
  std::FILE* later = std::fopen("/tmp/later", "w");
  worker.join();
  std::fclose(later);
  EXPECT_EQ("", read_file("/tmp/later"));
  std::istringstream log(read_file("/tmp/log"));
  for (std::string line; std::getline(log, line);) ASSERT_EQ("a line", line);
}

TEST(WriteLog, DoesNothingWithoutALog) {
  write_log("nowhere", nullptr);
  close_log(nullptr);
}

}  // namespace
