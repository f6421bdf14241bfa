#include "shell/processes.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/commands.h"
#include "support/files.h"

namespace {

TEST(Processes, ThatHaveEndedAreNobody) {
  const pid_t child = fork();
  if (child == 0) _exit(0);
  siginfo_t ended{};
  ASSERT_EQ(0, waitid(P_PID, child, &ended, WEXITED | WNOWAIT));  // it stays, for its parent to look
  EXPECT_FALSE(shell::Processes().own().contains(child));
  waitpid(child, nullptr, 0);
}

TEST(Processes, MayHaveAnyName) {
  shell_quietly(
      "cp /bin/sleep '/usr/local/bin/a) Z 1 (b'; 'a) Z 1 (b' 30 & echo $! > /tmp/id; until grep -q '(a) Z 1 "
      "(b)' /proc/$(cat /tmp/id)/stat; do sleep 0.1; done");
  const std::set<pid_t> found = shell::Processes().called("a) Z 1 (b");
  ASSERT_EQ(1U, found.size());
  EXPECT_EQ(read_file("/tmp/id"), std::to_string(*found.begin()) + "\n");
  shell_quietly("kill $(cat /tmp/id)");
}

TEST(Processes, OfOthersAreNotFoundByTheirName) {
  shell_quietly(
      "cp /bin/sleep /usr/local/bin/strange; setpriv --reuid 4321 --clear-groups strange 30 & strange 30 & "
      "for _ in 1 2 3 4 5 6 7 8 9; do [ \"$(pgrep -cx strange)\" = 2 ] && break; sleep 0.2; done");
  ASSERT_EQ("2\n", output_of("pgrep -cx strange"));
  const std::set<pid_t> found = shell::Processes().called("strange");
  ASSERT_EQ(1U, found.size());
  EXPECT_EQ(std::to_string(*found.begin()) + "\n", output_of("pgrep -x -u root strange"));
  shell_quietly("pkill -x strange");
}

}  // namespace
