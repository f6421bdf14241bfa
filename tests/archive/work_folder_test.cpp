#include "process/archive/work_folder.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

#include "shell/ending.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

char folder[] = "/tmp/brindTEST01";

struct WorkFolder : testing::Test {
  WorkFolder() {
    shell_quietly("mkdir -m 700 /tmp/brindTEST01; mkdir /tmp/brindTEST01/Brindle");
    dir_name = folder;
  }
  // Processes whose command line has `words`, but for the search itself.
  static std::string running(const std::string& words) { return output_of("pgrep -xf '" + words + "'"); }
  static double seconds_of(void (*action)()) {
    const auto begin = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  }
};

TEST_F(WorkFolder, IsRemovedWithAllThatLiesInIt) {
  write_file("/tmp/brindTEST01/Brindle/a/b", "c");
  write_file("/tmp/brindTEST02/stays", "s");
  remove_work_folder();
  EXPECT_FALSE(exists(folder));
  EXPECT_TRUE(exists("/tmp/brindTEST02/stays"));
  EXPECT_FALSE(Unpacking::is_wanted());  // a worker that comes later makes it no more
}

TEST_F(WorkFolder, ThatIsGoneOrWasNeverMadeIsNoTrouble) {
  shell_quietly("rmdir /tmp/brindTEST01/Brindle /tmp/brindTEST01");
  remove_work_folder();
  dir_name = nullptr;
  remove_work_folder();
}

TEST_F(WorkFolder, OfAnotherUserOrBehindALinkStays) {
  shell_quietly("chown 2345 /tmp/brindTEST01");
  remove_work_folder();
  EXPECT_TRUE(exists("/tmp/brindTEST01/Brindle"));
  shell_quietly(
      "chown 0 /tmp/brindTEST01; mv /tmp/brindTEST01 /tmp/elsewhere; ln -s /tmp/elsewhere /tmp/brindTEST01");
  remove_work_folder();
  EXPECT_TRUE(exists("/tmp/elsewhere/Brindle"));
}

TEST_F(WorkFolder, IsRemovedHoweverDeepItIs) {
  std::string deep = std::string(folder) + "/Brindle";
  for (int level = 0; level < 1200; ++level) ASSERT_EQ(0, mkdir((deep += "/d").c_str(), 0700));
  const rlimit usual{1024, 1024};
  ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &usual));
  remove_work_folder();
  EXPECT_FALSE(exists(folder));
}

TEST_F(WorkFolder, EndsWhatWorksOnItAndNothingElse) {
  // The folder's name is an argument of the first two; the third only has nearly the same.
  std::thread unzip(
      [] { shell_quietly("tail -f /dev/null /tmp/brindTEST01/Brindle 2>/dev/null; echo $? > /tmp/told"); });
  std::thread pipe([] { shell_quietly("tail -f /dev/null /tmp/brindTEST01 2>/dev/null | cat; true"); });
  std::thread other([] { shell_quietly("timeout 20 tail -f /dev/null /tmp/brindTEST02 2>/dev/null"); });
  while (running("tail -f /dev/null /tmp/brindTEST0.*").empty()) usleep(10000);
  usleep(200000);
  remove_work_folder();
  unzip.join();
  pipe.join();
  EXPECT_FALSE(exists(folder));
  EXPECT_EQ("137\n", read_file("/tmp/told"));  // the shell was let live to tell it
  EXPECT_NE("", running("tail -f /dev/null /tmp/brindTEST02"));
  shell_quietly("kill $(pgrep -xf 'tail -f /dev/null /tmp/brindTEST02')");
  other.join();
}

TEST_F(WorkFolder, EndsWhatTheCommandOnItHasStarted) {
  write_file("/root/unzip", "#!/bin/bash\n(exec sleep 4326)\nexit 1\n");
  std::thread unzip(
      [] { shell_quietly("chmod +x /root/unzip; /root/unzip /tmp/brindTEST01 2>/dev/null; true"); });
  while (running("sleep 4326").empty()) usleep(10000);
  remove_work_folder();
  unzip.join();
  // Nobody waits for it: it may take a moment to be gone.
  for (int tries = 0; tries < 100 && !running("sleep 4326").empty(); ++tries) usleep(10000);
  EXPECT_EQ("", running("sleep 4326"));
}

TEST_F(WorkFolder, AnotherOwnFolderGoesInTheSameWay) {
  shell_quietly("mkdir -p /tmp/brindTEST03/root /tmp/brindTEST04; chown 2345 /tmp/brindTEST04");
  remove_own_folder("/tmp/brindTEST03");
  remove_own_folder("/tmp/brindTEST04");
  remove_own_folder("");
  EXPECT_FALSE(exists("/tmp/brindTEST03"));
  EXPECT_TRUE(exists("/tmp/brindTEST04"));
  EXPECT_TRUE(exists(folder));
}

// Somebody was quicker than mkdir.
TEST_F(WorkFolder, ThatSomebodyElseHasPutThereIsReplaced) {
  for (const char* trap : {"mkdir -p -m 777 /tmp/claimed/root; echo evil > /tmp/claimed/root/.profile; "
                           "chown -R 2345 /tmp/claimed",
                           "ln -s /srv /tmp/claimed", "echo evil > /tmp/claimed", "true"}) {
    shell_quietly("rm -rf /tmp/claimed; touch /srv/stays");
    shell_quietly(trap);
    const std::string before = output_of("ls -d /tmp/brind*");
    EXPECT_TRUE(claim_own_folder("/tmp/claimed")) << trap;
    EXPECT_EQ("700 root directory\n", output_of("stat -c '%a %U %F' /tmp/claimed")) << trap;
    EXPECT_EQ("", output_of("ls -A /tmp/claimed"));
    EXPECT_EQ(before, output_of("ls -d /tmp/brind*")) << trap;
    EXPECT_TRUE(exists("/srv/stays"));
  }
}

TEST_F(WorkFolder, ThatIsOursStaysAsItIs) {
  EXPECT_TRUE(claim_own_folder(folder));
  EXPECT_TRUE(exists("/tmp/brindTEST01/Brindle"));
}

TEST_F(WorkFolder, ThatSomebodyElseHoldsIsNotOurs) {
  shell_quietly("mkdir -m 777 /tmp/claimed; chown 2346 /tmp/claimed");
  ASSERT_EQ(0, setresuid(2345, 2345, 2345));
  testing::internal::CaptureStderr();
  EXPECT_FALSE(claim_own_folder("/tmp/claimed"));
  EXPECT_EQ("/tmp/claimed is somebody else's, so nothing is taken from there: Operation not permitted\n",
            testing::internal::GetCapturedStderr());
}

TEST_F(WorkFolder, LeavesOtherPeoplesProgramsAlone) {
  shell_quietly("setsid -f tail -f /dev/null /tmp/brindTEST01/Brindle >/dev/null 2>&1");
  usleep(200000);
  remove_work_folder();
  EXPECT_NE("", running("tail -f /dev/null /tmp/brindTEST01/Brindle"));
  shell_quietly("kill $(pgrep -xf 'tail -f /dev/null /tmp/brindTEST01/Brindle')");
}

TEST_F(WorkFolder, IsFilledByNobodyOnceUnpackingHasStopped) {
  std::atomic<bool> begun{false};
  std::atomic<bool> over{false};
  std::thread worker([&] {
    const Unpacking unpacking;
    begun = true;
    // As unzip does; the shell between is one more process.
    shell_quietly("exec 2>/dev/null; tail -f /dev/null /tmp/brindTEST01; true");
    while (Unpacking::is_wanted()) usleep(1000);
    usleep(100000);
    over = true;
  });
  while (!begun) usleep(1000);
  EXPECT_TRUE(Unpacking::is_wanted());
  stop_unpacking();
  EXPECT_TRUE(over);  // it was waited for
  EXPECT_FALSE(Unpacking::is_wanted());
  worker.join();
  EXPECT_TRUE(exists(folder));
}

int calls = 0;
int calls_until_end = 1000000;

bool count_calls() { return ++calls < calls_until_end; }

// The worker takes its time to notice.
double seconds_of_stopping(double seconds_until_noticed) {
  std::atomic<bool> begun{false};
  std::thread worker([&] {
    const Unpacking unpacking;
    begun = true;
    usleep(static_cast<useconds_t>(seconds_until_noticed * 1e6));
  });
  while (!begun) usleep(1000);
  shell::while_waiting(count_calls);
  const double seconds = WorkFolder::seconds_of(stop_unpacking);
  shell::while_waiting(nullptr);
  worker.join();
  return seconds;
}

TEST_F(WorkFolder, TheWindowsAreServedUntilUnpackingHasStopped) {
  EXPECT_LT(0.9, seconds_of_stopping(1));
  EXPECT_LT(20, calls);
}

TEST_F(WorkFolder, UnpackingIsNotWaitedForWhenTheMainLoopWasLeft) {
  calls_until_end = 5;
  EXPECT_GT(1.5, seconds_of_stopping(2));
  EXPECT_EQ(5, calls);
}

TEST_F(WorkFolder, WaitsForNobodyWhenNothingIsUnpacked) { EXPECT_GT(0.5, seconds_of(stop_unpacking)); }

}  // namespace
