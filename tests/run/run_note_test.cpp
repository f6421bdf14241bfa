// The note that a run leaves behind.
#include "process/run/run_note.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "keep/keep.h"
#include "process/run/process.h"
#include "run/fakes.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "system/detection.h"

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

constexpr const char* path = "/root/.brindle_run";
bool disk_is_slow = false;

}  // namespace

// Takes the C library's place.
extern "C" int fsync(int file) {
  using Sync = int (*)(int);
  static const Sync next = reinterpret_cast<Sync>(dlsym(RTLD_NEXT, "fsync"));
  if (disk_is_slow) usleep(200'000);
  return next(file);
}

namespace {

// The note with its times replaced by N.
std::string note() { return output_of("sed -E 's/^(begun|over)=[1-9][0-9]{8,}$/\\1=N/' /root/.brindle_run"); }

struct RunNoteTest : testing::Test {
  RunNoteTest() {
    shell_quietly("rm -f /etc/*-version /etc/redflag-release");
    write_file("/etc/linspire-version", "");
    getOsVersion("");
  }
};

TEST_F(RunNoteTest, TellsArchiveSystemPeopleAndTimes) {
  begin_run_note("/media/cd rom/a=b.zip");
  EXPECT_EQ(
      "archive=/media/cd rom/a=b.zip\nsystem=linspire\nperson=root\nhome=/root\nbegun=N\nending=begun\n",
      note());
  shell_quietly("mkdir -p '/tmp/x/Brindle/Profiles/ann lee'");
  add_profiles_to_run_note("/tmp/x/Brindle");
  EXPECT_EQ(
      "archive=/media/cd rom/a=b.zip\nsystem=linspire\nperson=root\nhome=/root\nperson=ann "
      "lee\nhome=/home/ann "
      "lee\nbegun=N\nending=begun\n",
      note());
  end_run_note(RunEnd::ended);
  EXPECT_EQ(
      "archive=/media/cd rom/a=b.zip\nsystem=linspire\nperson=root\nhome=/root\nperson=ann "
      "lee\nhome=/home/ann "
      "lee\nbegun=N\nover=N\nending=ended\n",
      note());
}

TEST_F(RunNoteTest, TellsWhoseAccountWasThereBefore) {
  shell_quietly("mkdir -p /tmp/x/Brindle/Profiles/ann");
  note_account_was_there("ann");  // without a run nothing is noted
  EXPECT_FALSE(exists(path));
  begin_run_note("/a.zip");
  add_profiles_to_run_note("/tmp/x/Brindle");
  note_account_was_there("ann");
  EXPECT_THAT(note(), HasSubstr("person=ann\nhome=/home/ann\naccount=before\nbegun=N\n"));
  begin_run_note("/b.zip");
  add_profiles_to_run_note("/tmp/x/Brindle");
  EXPECT_THAT(note(), Not(HasSubstr("account=")));
}

TEST_F(RunNoteTest, DoesNotTakeTheRunningUserForAProfileOfThatName) {
  shell_quietly("mkdir -p /tmp/x/Brindle/Profiles/root");
  begin_run_note("/a.zip");
  note_account_was_there("root");
  EXPECT_THAT(note(), Not(HasSubstr("account=")));
  add_profiles_to_run_note("/tmp/x/Brindle");
  EXPECT_THAT(note(), HasSubstr("person=root\nhome=/root\nperson=root\nhome=/home/root\naccount=before\n"));
}

TEST_F(RunNoteTest, KnowsEverySystem) {
  const auto system = [](const std::string& file, const std::string& bytes, int nld) {
    shell_quietly("rm -f /etc/*-version /etc/redflag-release");
    if (!file.empty()) write_file("/etc/" + file, bytes);
    getOsVersion("");
    isNLD = nld;
    begin_run_note("/a.zip");
    return output_of("sed -n 's/^system=//p' /root/.brindle_run");
  };
  EXPECT_EQ("gnome\n", system("", "", 0));
  EXPECT_EQ("nld\n", system("", "", 1));
  EXPECT_EQ("linspire\n", system("linspire-version", "", 0));
  EXPECT_EQ("xandros\n", system("xandros-version", "", 0));
  EXPECT_EQ("redflag\n", system("redflag-release", "Red Flag release 4.1 x\n", 0));
  EXPECT_EQ("redflag-plus\n", system("redflag-release", "Red Flag release 4.1plus\n", 0));
}

TEST_F(RunNoteTest, NoValueBreaksItsLine) {
  begin_run_note("/a\nperson=eve\r\\n.zip");
  EXPECT_THAT(note(), testing::StartsWith("archive=/a\\nperson=eve\\r\\\\n.zip\nsystem="));
}

TEST_F(RunNoteTest, AShortPathIsMadeWhole) {
  ASSERT_EQ(0, chdir("/tmp"));
  begin_run_note("a.zip");
  EXPECT_THAT(note(), testing::StartsWith("archive=/tmp/a.zip\n"));
}

TEST_F(RunNoteTest, ACancelledRunStaysCancelledWhenItsWorkerEnds) {
  begin_run_note("/a.zip");
  cancel_run_note();
  EXPECT_THAT(note(), testing::EndsWith("begun=N\nending=cancelled\n"));
  end_run_note(RunEnd::ended);
  EXPECT_THAT(note(), testing::EndsWith("begun=N\nover=N\nending=cancelled\n"));
}

TEST_F(RunNoteTest, ARunCancelledBeforeItsNoteIsCancelled) {
  isKilled = 1;
  begin_run_note("/a.zip");
  end_run_note(RunEnd::ended);
  EXPECT_THAT(note(), testing::EndsWith("over=N\nending=cancelled\n"));
}

TEST_F(RunNoteTest, OfSomebodyWithoutAHomeIsNotLeft) {
  ASSERT_EQ(0, setreuid(54321, 0));
  begin_run_note("/a.zip");
  note_account_was_there("ann");
  end_run_note(RunEnd::ended);
  EXPECT_FALSE(exists("/.brindle_run"));
}

TEST_F(RunNoteTest, NothingIsCancelledBeforeOrAfterARun) {
  cancel_run_note();
  end_run_note(RunEnd::ended);
  add_profiles_to_run_note("/tmp");
  EXPECT_FALSE(exists(path));
  begin_run_note("/a.zip");
  end_run_note(RunEnd::refused);
  cancel_run_note();
  EXPECT_THAT(note(), testing::EndsWith("over=N\nending=refused\n"));
}

TEST_F(RunNoteTest, IsItsOwnersAloneAndNeverWrittenThroughALink) {
  umask(0);
  write_file("/root/precious", "precious");
  symlink("/root/precious", path);
  begin_run_note("/a.zip");
  EXPECT_EQ("precious", read_file("/root/precious"));
  EXPECT_EQ("regular file 600\n", output_of("stat -c '%F %a' /root/.brindle_run"));
  EXPECT_EQ(".brindle_run\n", output_of("ls -A /root | grep brindle"));
}

TEST_F(RunNoteTest, ThatCannotBeWrittenIsComplainedAboutAndLeavesNothing) {
  shell_quietly("mkdir -p /root/.brindle_run/x");
  testing::internal::CaptureStderr();
  begin_run_note("/a.zip");
  EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::StartsWith("/root/.brindle_run: "));
  EXPECT_EQ(".brindle_run\n", output_of("ls -A /root | grep brindle"));
}

TEST_F(RunNoteTest, OfAnEarlierRunIsReplaced) {
  begin_run_note("/a.zip");
  end_run_note(RunEnd::ended);
  begin_run_note("/b.zip");
  EXPECT_EQ("archive=/b.zip\nsystem=linspire\nperson=root\nhome=/root\nbegun=N\nending=begun\n", note());
}

// What was kept at start-up, or is kept later.
TEST_F(RunNoteTest, NamesTheFolderOfWhatWasThereBefore) {
  setenv("TZ", "UTC", 1);
  const std::string start = "archive=/a.zip\nsystem=linspire\nperson=root\nhome=/root\nbegun=N\n";
  const std::string kept = "kept=/root/.brindle_before/2005-11-21-225215\n";
  keep::begin_run("/root", 1132613535);
  begin_run_note("/a.zip");
  add_kept_folder_to_run_note();
  EXPECT_EQ(start + "ending=begun\n", note());
  ASSERT_TRUE(keep::before_change("/root/new"));
  write_file("/root/new", "new");
  add_kept_folder_to_run_note();
  EXPECT_EQ(start + kept + "ending=begun\n", note());
  begin_run_note("/a.zip");
  EXPECT_EQ(start + kept + "ending=begun\n", note());
  keep::end_run();
  end_run_note(RunEnd::ended);
  EXPECT_EQ(start + kept + "over=N\nending=ended\n", note());
  begin_run_note("/b.zip");
  EXPECT_THAT(note(), Not(HasSubstr("kept=")));
}

// ---- Of the worker --------------------------------------------------------------------------------------

void migrate(const std::string& users) {
  shell_quietly("mkdir -p /root/Desktop /root/.mozilla /tmp/in/Brindle/Profiles/ann");
  if (!users.empty()) write_file("/tmp/in/Brindle/users.txt", users);
  shell_quietly("cd /tmp/in && zip -qr /tmp/a.zip . && chmod -R a+rX /tmp/in /tmp/a.zip");
  ASSERT_TRUE(assign(g_filename, "/tmp/a.zip"));
  fp_log = std::fopen("/tmp/log", "w");
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  run_as_worker([] { process(nullptr); });
  testing::internal::GetCapturedStderr();
  testing::internal::GetCapturedStdout();
}

TEST_F(RunNoteTest, OfAWholeRunSaysThatItEnded) {
  migrate("");
  EXPECT_EQ("archive=/tmp/a.zip\nsystem=linspire\nperson=root\nhome=/root\nbegun=N\nover=N\nending=ended\n",
            note());
}

TEST_F(RunNoteTest, OfSeveralPeopleNamesThem) {
  migrate("MultiUser Migration=1\n");
  EXPECT_THAT(note(), testing::ContainsRegex("person=root\nhome=/root\nperson=ann\nhome=/home/ann\nbegun=N\n"
                                             "kept=/root/.brindle_before/[-0-9]*\nover=N\nending=ended\n"));
}

TEST_F(RunNoteTest, OfSeveralPeopleTellsWhoHadAnAccount) {
  shell_quietly("useradd -m ann; mkdir -p /tmp/in/Brindle/Profiles/ben");
  migrate("MultiUser Migration=1\n");
  EXPECT_THAT(note(), HasSubstr("person=ann\nhome=/home/ann\naccount=before\n"));
  EXPECT_THAT(note(), testing::ContainsRegex("person=ben\nhome=/home/ben\n(person|begun)="));
}

// One that is killed while it moves things.
TEST_F(RunNoteTest, NamesWhatWasKeptForTheProgramsBeforeTheFirstItem) {
  shell_quietly(
      "mkdir -p /tmp/s/root/.mozilla /usr/local/brindle && touch /tmp/s/root/.mozilla/appreg && tar -cf "
      "/usr/local/brindle/linspireroot.tar -C /tmp/s root");
  write_file("/tmp/in/Brindle/My Documents/a.txt", "a");
  write_file("/usr/local/bin/cp",
             "#!/bin/sh\ncase \"$*\" in *'My Documents'*) /bin/cp /root/.brindle_run /tmp/note;; esac\nexec "
             "/bin/cp \"$@\"\n");
  shell_quietly("chmod 755 /usr/local/bin/cp");
  when_command("unzip ", [] { shell_quietly("rm -r /root/.mozilla"); });
  migrate("");
  EXPECT_THAT(read_file("/tmp/note"),
              testing::ContainsRegex("\nkept=/root/.brindle_before/[-0-9]*\nending=begun\n"));
}

std::string list_of_kept() {
  std::string list;
  for (const auto& run : std::filesystem::directory_iterator("/root/.brindle_before"))
    list += read_file((run.path() / "list.tsv").string());
  return list;
}

TEST_F(RunNoteTest, IsOverWithTheListOfWhatWasKeptBeforeTheWizardCanBeLeft) {
  disk_is_slow = true;
  std::string note_then;
  std::string list_then;
  when_done([&] {
    note_then = read_file(path);
    list_then = list_of_kept();
  });
  migrate("MultiUser Migration=1\n");
  EXPECT_THAT(note_then, testing::EndsWith("\nending=ended\n"));
  EXPECT_NE("", list_then);
  EXPECT_EQ(list_of_kept(), list_then);
}

TEST_F(RunNoteTest, OfARefusedRunSaysSo) {
  shell_quietly("useradd -m -u 2345 ada");
  shell_quietly("mkdir -p /tmp/in/Brindle; chmod 777 /tmp/in /tmp/in/Brindle /tmp");
  write_file("/tmp/in/Brindle/users.txt", "MultiUser Migration=1\n");
  ASSERT_EQ(0, setresuid(2345, 2345, 2345));
  migrate("");
  EXPECT_THAT(read_file("/home/ada/.brindle_run"), HasSubstr("person=ada\nhome=/home/ada\n"));
  EXPECT_THAT(read_file("/home/ada/.brindle_run"), testing::EndsWith("\nending=refused\n"));
}

TEST_F(RunNoteTest, IsNotLeftWhereNothingRuns) {
  shell_quietly("rm -f /etc/*-version");
  write_file("/etc/redflag-release", "Red Flag release 4.2\n");
  migrate("");
  EXPECT_FALSE(exists(path));
}

}  // namespace
