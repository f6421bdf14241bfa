#include "process/mail/evolution/new_home.h"

#include <dlfcn.h>
#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include "mail/evolution/homes.h"
#include "shell/ending.h"
#include "support/full_disk.h"
#include "support/sleeps.h"

namespace {

bool threads_fail = false;

}  // namespace

// Takes the place of GLib's function in this program, for the case that no thread can be made.
extern "C" GThread* g_thread_try_new(const gchar* name, GThreadFunc body, gpointer data, GError** error) {
  using Function = GThread* (*)(const gchar*, GThreadFunc, gpointer, GError**);
  static const auto next = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "g_thread_try_new"));
  return threads_fail ? nullptr : next(name, body, data, error);
}

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// --- Repairs

const std::string folder = "/home/ann/.gconf/apps/evolution/";

constexpr const char* of_root = R"(<?xml version="1.0"?>
<gconf>
<stringvalue>&lt;?xml version=&quot;1.0&quot;?&gt;
&lt;group base_uri=&quot;file:///root/.evolution&quot;/&gt;
</stringvalue>
<other>stays</other>
<stringvalue>&lt;group base_uri=&quot;file:///root&quot;/&gt;</stringvalue>
</gconf>)";

struct Repair {
  const char* list;
  int (*repair)();
};

class NewHome : public testing::TestWithParam<Repair> {
 protected:
  void SetUp() override {
    isDefaultUser = 0;
    ASSERT_TRUE(assign(cur_user, "ann"));
  }

  std::string file(const char* name = "%gconf.xml") const { return folder + GetParam().list + "/" + name; }
};

TEST_P(NewHome, EveryLineOfTheSuperusersHomeBecomesTheUsersGroup) {
  write_file(file(), of_root);
  EXPECT_EQ(0, GetParam().repair());
  EXPECT_TRUE(matches_expected(file(), std::string("evolution_new_home/") + GetParam().list + ".xml"));
  EXPECT_FALSE(exists(file("%gconftemp.xml")));
  EXPECT_THAT(commands_run(),
              ElementsAre("cp " + file() + " " + file("%gconftemp.xml"), "rm " + file("%gconftemp.xml")));
}

TEST_P(NewHome, OtherLinesStayAsTheyAre) {
  const std::string text = std::string("a\r\n\0b\n", 6) + "file:///home/root\nfile://root\nno newline";
  write_file(file(), text);
  EXPECT_EQ(0, GetParam().repair());
  EXPECT_TRUE(same_bytes(text, read_file(file())));
}

TEST_P(NewHome, AMissingFileIsAFailure) {
  EXPECT_EQ(-1, GetParam().repair());
  EXPECT_FALSE(exists(file()));
}

TEST_P(NewHome, AFileThatCannotBeWrittenIsAFailure) {
  write_file(file("%gconftemp.xml"), "left over");
  std::filesystem::create_directories(file());
  EXPECT_EQ(-1, GetParam().repair());
}

TEST_P(NewHome, OnAFullDiskTheListStaysAsItWas) {
  const std::string text = of_root + std::string(60'000, ' ');
  for (const int left : {0, 5, 14, 15, 20, 28}) {
    write_file(file(), text);
    const SmallDisk disk(folder + GetParam().list);
    disk.fill_but(left);
    EXPECT_EQ(-1, GetParam().repair()) << left;
    EXPECT_TRUE(same_bytes(text, read_file(file()))) << left;
  }
}

TEST_P(NewHome, TheListKeepsItsMode) {
  write_file(file(), of_root);
  shell_quietly("chmod 600 " + file());
  EXPECT_EQ(0, GetParam().repair());
  EXPECT_EQ("600\n", output_of("stat -c %a " + file()));
}

TEST_P(NewHome, TheSkeletonsListsAreRepairedForTheRealSettingsDaemon) {
  make_profile();
  EXPECT_EQ(0, GetParam().repair());
  const std::string sources =
      gconf_value_in("/home/ann", std::string("/apps/evolution/") + GetParam().list + "/sources");
  EXPECT_THAT(sources, HasSubstr("name=\"On This Computer\" base_uri=\"file:///home/ann/.evolution/" +
                                 std::string(GetParam().list) + "/local"));
  EXPECT_THAT(sources, testing::Not(HasSubstr("file:///root")));
}

// Lines are read in pieces of at most 1023 characters.
TEST_P(NewHome, OfALongLineOnlyThePieceIsReplaced) {
  const std::string piece(1023, 'x');
  write_file(file(), piece + "file:///root\nend\n");
  EXPECT_EQ(0, GetParam().repair());
  const std::string repaired = read_file(file());
  EXPECT_EQ(0U, repaired.find(piece + "&lt;group uid="));
  EXPECT_THAT(repaired, testing::EndsWith("&lt;/group&gt;end\n"));
}

TEST_P(NewHome, ANameAcrossTwoPiecesIsNotSeen) {
  const std::string text = std::string(1020, 'x') + "file:///root\n";
  write_file(file(), text);
  EXPECT_EQ(0, GetParam().repair());
  EXPECT_TRUE(same_bytes(text, read_file(file())));
}

TEST_P(NewHome, TracesShowEveryLine) {
  write_file(file(), "one\ntwo");
  testing::internal::CaptureStdout();
  GetParam().repair();
  EXPECT_EQ("buffer=/home/ann\nChanging for :: /home/annLine::one\nLine::two",
            testing::internal::GetCapturedStdout());
}

TEST_P(NewHome, WithoutAHomeIsAFailure) {
  isDefaultUser = 1;
  lose_account_entry();
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, GetParam().repair());
  EXPECT_EQ(1, complaints_of_no_home(testing::internal::GetCapturedStderr()));
  EXPECT_EQ("", testing::internal::GetCapturedStdout());
  EXPECT_TRUE(commands_run().empty());
}

INSTANTIATE_TEST_SUITE_P(Lists, NewHome,
                         testing::Values(Repair{"addressbook", updateAddressbookGconf},
                                         Repair{"calendar", updateCalendarGconf},
                                         Repair{"tasks", updateTasksGconf}),
                         [](const auto& one) { return std::string(one.param.list); });

// --- First start

bool evolution_ended() {
  for (int i = 0; i < 100; ++i) {
    if (read_file("/tmp/evolution.calls").find("evolution ended") != std::string::npos) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return false;
}

TEST(LaunchEvolution, StartsItAndStopsItAfterTenSeconds) {
  install_evolution();
  std::string meanwhile;
  write_file("/tmp/evolution.calls", "");
  sleeps::end_when([&meanwhile] { return !(meanwhile = read_file("/tmp/evolution.calls")).empty(); });
  testing::internal::CaptureStdout();
  launch_evolution();
  EXPECT_EQ("buffer=/root\nLaunching Evolution.", testing::internal::GetCapturedStdout());
  EXPECT_EQ(std::chrono::seconds(10), sleeps::meant());
  EXPECT_EQ("evolution\n", meanwhile);
  ASSERT_TRUE(evolution_ended());
  EXPECT_EQ("evolution\nevolution --force-shutdown\nevolution ended\n", read_file("/tmp/evolution.calls"));
}

TEST(LaunchEvolution, DoesNotWaitForAnEvolutionThatGoesOn) {
  write_file("/usr/local/bin/evolution", "#!/bin/sh\n[ -n \"$1\" ] || exec sleep 60\n");
  ASSERT_EQ(0, shell_quietly("chmod +x /usr/local/bin/evolution"));
  const auto start = std::chrono::steady_clock::now();
  launch_evolution();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

// The windows are closed while it runs: nothing else would stop it.
TEST(LaunchEvolution, StopsItEvenAtTheEnd) {
  install_evolution();
  write_file("/tmp/evolution.calls", "");
  std::thread worker(launch_evolution);
  for (int i = 0; i < 200 && read_file("/tmp/evolution.calls").empty(); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  shell::start_no_more_commands();
  worker.join();
  ASSERT_TRUE(evolution_ended());
  EXPECT_EQ("evolution\nevolution --force-shutdown\nevolution ended\n", read_file("/tmp/evolution.calls"));
}

TEST(LaunchEvolution, LeavesAHomeThatHasAnEvolutionFolderAlone) {
  install_evolution();
  for (const char* name : {"/root/evolution", "/root/.evolution"}) {
    std::filesystem::create_directories(name);
    testing::internal::CaptureStdout();
    launch_evolution();
    EXPECT_EQ("buffer=/root\n", testing::internal::GetCapturedStdout());
    std::filesystem::remove(name);
  }
  EXPECT_TRUE(commands_run().empty());
}

TEST(LaunchEvolution, AThreadThatCannotBeMadeIsReported) {
  install_evolution();
  threads_fail = true;
  testing::internal::CaptureStderr();
  launch_evolution();
  EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::StartsWith("launch evolution : "));
  EXPECT_EQ("evolution --force-shutdown\n", read_file("/tmp/evolution.calls"));
}

}  // namespace
