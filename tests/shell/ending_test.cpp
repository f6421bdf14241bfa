#include "shell/ending.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <string>
#include <thread>

#include "shell/processes.h"
#include "shell/run.h"
#include "state/sleep.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/system_log.h"

namespace {

// How long the given action takes.
template <typename Action>
double seconds_of(Action action) {
  const auto begin = std::chrono::steady_clock::now();
  action();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

std::string running(const std::string& words) { return output_of("pgrep -xf '" + words + "'"); }

void wait_for(const std::string& words) {
  for (int tries = 0; tries < 200 && running(words).empty(); ++tries) usleep(10000);
}

void write_program(const std::string& path, const std::string& text) {
  write_file(path, "#!/bin/bash\n" + text + "\n");
  shell_quietly("chmod +x " + path);
}

int calls = 0;
int calls_until_end = 0;

bool count_calls() { return ++calls < calls_until_end; }

struct Ending : testing::Test {
  Ending() {
    calls = 0;
    calls_until_end = 1000000;
  }
  ~Ending() override { shell::while_waiting(nullptr); }
};

// ---- While a command is waited for ----------------------------------------------------------------------

TEST_F(Ending, TheThreadIsCalledWhileItWaits) {
  shell::while_waiting(count_calls);
  EXPECT_EQ(0, SYSTEM(compose("sleep 1")));
  EXPECT_LT(20, calls);
}

TEST_F(Ending, StatusesAreThoseOfSystem) {
  shell::while_waiting(count_calls);
  EXPECT_EQ(0, shell::run_unlogged(compose("true")));
  EXPECT_EQ(1, WEXITSTATUS(shell::run_unlogged(compose("false"))));
  EXPECT_EQ(127, WEXITSTATUS(shell::run_unlogged(compose("no-such-program-here 2>/dev/null"))));
  write_program("/root/dies", "kill -KILL $$");
  const int killed = shell::run_unlogged(compose("exec /root/dies"));
  EXPECT_TRUE(WIFSIGNALED(killed));
  EXPECT_EQ(SIGKILL, WTERMSIG(killed));
}

TEST_F(Ending, AnotherThreadWaitsAsBefore) {
  shell::while_waiting(count_calls);
  forget_commands();
  std::thread([] { SYSTEM(compose("true")); }).join();
  EXPECT_EQ(0, calls);
  EXPECT_EQ(1U, commands_run().size());  // by system(3)
}

// The shell waits for the one that minds no signal, so it may not go first.
TEST_F(Ending, ACommandThatMindsNothingIsEndedWithAllItHasStarted) {
  write_program("/root/stubborn", "trap '' TERM; (exec sleep 4321); exit 0");
  calls_until_end = 20;
  shell::while_waiting(count_calls);
  EXPECT_FALSE(shell::is_told_to_end());
  const double seconds = seconds_of([] { EXPECT_EQ(-1, SYSTEM(compose("/root/stubborn | cat; true"))); });
  EXPECT_GT(5.0, seconds);
  EXPECT_EQ("", running("sleep 4321"));
  EXPECT_EQ("", running("/bin/bash /root/stubborn"));
  EXPECT_TRUE(shell::is_told_to_end());
  EXPECT_EQ(-1, SYSTEM(compose("touch /root/later")));  // nothing more is begun
  EXPECT_FALSE(exists("/root/later"));
}

TEST_F(Ending, AThreadThatSleepsIsServedAndIsToldWhenToEnd) {
  EXPECT_TRUE(shell::pause_and_serve(1000));
  shell::while_waiting(count_calls);
  EXPECT_LT(0.1, seconds_of([] { EXPECT_TRUE(shell::pause_and_serve(100000)); }));
  EXPECT_EQ(1, calls);
  calls_until_end = 2;
  EXPECT_GT(1.0, seconds_of([] { EXPECT_FALSE(shell::pause_and_serve(2000000)); }));
  EXPECT_TRUE(shell::is_told_to_end());
  shell::while_waiting(nullptr);
  EXPECT_LT(0.1, seconds_of([] { EXPECT_TRUE(shell::pause_and_serve(100000)); }));  // at the program's end
  EXPECT_EQ(2, calls);
}

// ---- The end of the program ------------------------------------------------------------------------------

TEST_F(Ending, OnlyTheEndingThreadStartsCommandsAndNobodyIsToldOfTheOthers) {
  SystemLog log;
  EXPECT_FALSE(shell::starts_no_more_commands());
  shell::start_no_more_commands();
  EXPECT_TRUE(shell::starts_no_more_commands());
  std::thread([] {
    EXPECT_EQ(-1, SYSTEM(compose("touch /root/worker")));
    EXPECT_EQ(-1, shell::run_unlogged(compose("touch /root/worker")));
  }).join();
  EXPECT_EQ(0, SYSTEM(compose("touch /root/end")));
  EXPECT_FALSE(exists("/root/worker"));
  EXPECT_TRUE(exists("/root/end"));
  EXPECT_TRUE(log.messages().empty());
}

TEST_F(Ending, WhatEndsAnEarlierCommandIsStillRun) {
  shell::start_no_more_commands();
  std::thread([] {
    const shell::EvenAtTheEnd even_at_the_end;
    EXPECT_EQ(0, SYSTEM(compose("touch /root/ended")));
  }).join();
  EXPECT_TRUE(exists("/root/ended"));
  std::thread([] {
    { const shell::EvenAtTheEnd even_at_the_end; }
    EXPECT_EQ(-1, SYSTEM(compose("touch /root/later")));
  }).join();
  EXPECT_FALSE(exists("/root/later"));
}

TEST_F(Ending, APauseEndsWhenTheEndBegins) {
  waiting::sleep_with(nullptr);
  EXPECT_LE(1.0, seconds_of([] { shell::pause_for(1); }));
  EXPECT_GT(5.0, seconds_of([] {
              std::thread worker([] { shell::pause_for(60); });
              usleep(100000);
              shell::start_no_more_commands();
              worker.join();
            }));
}

TEST_F(Ending, WhatRunsIsAskedKindlyAndThenEnded) {
  std::thread worker([] {
    shell_quietly("sleep 4325 & bash -c 'trap \"\" TERM; (exec sleep 4322)'; sleep 4323 | cat; true");
  });
  wait_for("sleep 4322");
  wait_for("sleep 4325");
  EXPECT_TRUE(shell::end_commands(shell::Asked::kindly));
  usleep(300000);
  EXPECT_EQ("", running("sleep 4325"));
  EXPECT_NE("", running("sleep 4322"));  // minds no SIGTERM, and is nobody's yet
  EXPECT_FALSE(shell::Processes().own().empty());
  for (int tries = 0; tries < 100 && shell::end_commands(shell::Asked::to_death); ++tries) usleep(20000);
  worker.join();
  EXPECT_EQ("", running("sleep 432[23]"));
  EXPECT_FALSE(shell::end_commands(shell::Asked::to_death));
}

TEST_F(Ending, WhatIsNotWaitedForIsLeftAlone) {
  shell_quietly("setsid -f sleep 4324 >/dev/null 2>&1");
  wait_for("sleep 4324");
  EXPECT_FALSE(shell::end_commands(shell::Asked::to_death));
  EXPECT_NE("", running("sleep 4324"));
  shell_quietly("kill $(pgrep -xf 'sleep 4324')");
}

// ---- What is told ----------------------------------------------------------------------------------------

TEST(StandardError, NamesACommandThatASignalHasEnded) {
  write_program("/root/dies", "ulimit -c 0; kill -SEGV $$");
  testing::internal::CaptureStderr();
  SYSTEM(compose("exec /root/dies"));
  EXPECT_EQ("brindle: exec /root/dies was ended by a signal: Segmentation fault\n",
            testing::internal::GetCapturedStderr());
}

TEST(StandardError, NamesACommandThatCouldNotBeStarted) {
  testing::internal::CaptureStderr();
  answer_command("true", -1, EAGAIN);
  EXPECT_EQ(-1, SYSTEM(compose("true")));
  EXPECT_EQ("brindle: true could not be started: Resource temporarily unavailable\n",
            testing::internal::GetCapturedStderr());
}

// What today's C library answers when there is no process, and when there is no shell.
TEST(System, AStatusWithAReasonIsACommandThatCouldNotBeStarted) {
  SystemLog log;
  answer_command("true", 127 << 8, EAGAIN);
  EXPECT_EQ(-1, SYSTEM(compose("true")));
  answer_command("true", 127 << 8, ENOENT);
  EXPECT_EQ(-1, SYSTEM(compose("true")));
  answer_command("true", 127 << 8, ENOMEM);
  EXPECT_EQ(-1, SYSTEM(compose("true")));
  const std::vector<std::string> messages = log.messages();
  ASSERT_EQ(3U, messages.size());
  EXPECT_NE(std::string::npos, messages[0].find(": fork failed, true: Resource temporarily unavailable"));
  EXPECT_NE(std::string::npos, messages[1].find(": exec failed, true: No such file or directory"));
  EXPECT_NE(std::string::npos, messages[2].find(": fork failed, true: Cannot allocate memory"));
}

}  // namespace
