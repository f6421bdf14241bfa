#include "error/error.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <syslog.h>

#include <cerrno>
#include <cstdio>

#include "error/log.h"
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

TEST(ErrRet, WritesTheMessageAndTheSystemErrorToStandardError) {
  testing::internal::CaptureStderr();
  errno = EACCES;
  err_ret("cannot read %s", "x");
  EXPECT_EQ("cannot read x: Permission denied\n", testing::internal::GetCapturedStderr());
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

TEST(WriteLog, DoesNothingWithoutALog) { write_log("nowhere", nullptr); }

}  // namespace
