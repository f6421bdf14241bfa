#include "shell/kept.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "shell/copy.h"
#include "shell/replace.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/keeping_run.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* path = "/root/d/a";

struct KeptFirst : testing::Test {
  KeptFirst() {
    write_file(path, "old");
    write_file("/tmp/new", "new");
    write_file("/tmp/f/a", "new");
  }
  // What `change` says and leaves in errno where nothing can be kept.
  template <class Change>
  static void expect_refusal(Change change) {
    KeepingRun::prevent();
    const KeepingRun run;
    testing::internal::CaptureStderr();
    errno = 0;
    EXPECT_FALSE(change());
    EXPECT_EQ(not_kept, errno);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(" could not be kept"));
    EXPECT_TRUE(run.has_changed_nothing());
    EXPECT_THAT(commands_run(), IsEmpty());
  }
};

// ---- A text into a file ---------------------------------------------------------------------------------

TEST_F(KeptFirst, IsWhatAFileHeld) {
  KeepingRun run;
  EXPECT_TRUE(replace_file(path, "new"));
  EXPECT_TRUE(append_to_file("/root/d/b", "new"));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_EQ("old", read_file(KeepingRun::kept(path)));
  EXPECT_THAT(run.listed(), ElementsAre("replaced /root/d/a", "made /root/d/b"));
}

// What is open from before stays so, and is written through.
TEST_F(KeptFirst, IsWhatAFileHeldUnderADiskThatWasMountedReadOnlyOverTheHome) {
  KeepingRun run;
  EXPECT_TRUE(replace_file("/root/d/first", "new"));
  shell_quietly("mount --bind /root /root && mount -o remount,ro,bind /root");
  EXPECT_NE(0, access(path, W_OK));
  EXPECT_TRUE(replace_file(path, "new"));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_EQ("old", read_file(KeepingRun::kept(path)));
  shell_quietly("umount /root");
}

TEST_F(KeptFirst, OrTheFileIsLeft) {
  expect_refusal([] { return replace_file(path, "new"); });
  expect_refusal([] { return append_to_file(path, "new"); });
  expect_refusal([] { return replace_file("/root/d/new", "new"); });
}

TEST_F(KeptFirst, IsNothingWhereNothingChanges) {
  shell_quietly("mkdir /root/d/folder");
  const KeepingRun run;
  EXPECT_FALSE(replace_file("/root/missing/a", "new"));
  EXPECT_FALSE(replace_file("/root/d/folder", "new"));
  EXPECT_FALSE(replace_file("/root/d/..", "new"));
  EXPECT_FALSE(exists(KeepingRun::folder()));
}

TEST_F(KeptFirst, IsTheTimeOfAFileThatGetsTheContentItHas) {
  KeepingRun run;
  EXPECT_TRUE(replace_file(path, "old"));
  EXPECT_TRUE(append_to_file(path, ""));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_FALSE(exists(KeepingRun::kept(path)));
  EXPECT_THAT(read_file(KeepingRun::folder() + "/list.tsv"), HasSubstr("path\t/root/d/a\tfile "));
}

TEST_F(KeptFirst, DoesNotWaitForWhoeverWritesToAPipe) {
  ASSERT_EQ(0, mkfifo("/root/d/pipe", 0600));
  const int reader = open("/root/d/pipe", O_RDONLY | O_NONBLOCK);
  EXPECT_TRUE(replace_file("/root/d/pipe", "new"));
  close(reader);
}

// ---- Copies ---------------------------------------------------------------------------------------------

TEST_F(KeptFirst, IsTheFileThatACopyReplaces) {
  KeepingRun run;
  EXPECT_TRUE(copy_over(compose("cp /tmp/new %s", path), "/tmp/new", path));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_EQ("old", read_file(KeepingRun::kept(path)));
}

TEST_F(KeptFirst, IsTheFileInTheFolderThatHasTheNameOfACopy) {
  write_file("/root/d/folder/new", "old");
  write_file("/root/d/folder/other", "old");
  shell_quietly("ln -s folder /root/d/link");
  for (const std::string to : {"/root/d/folder", "/root/d/link"}) {
    KeepingRun run;
    EXPECT_FALSE(copy_over(compose("cp /tmp/new %s", to), "/tmp/new", to));
    EXPECT_EQ("new", read_file("/root/d/folder/new"));
    EXPECT_TRUE(run.has_kept_all());
    EXPECT_EQ("old", read_file(KeepingRun::kept("/root/d/folder/new")));
    EXPECT_FALSE(exists(KeepingRun::kept("/root/d/folder/other")));
    write_file("/root/d/folder/new", "old");
    shell_quietly("rm -rf /root/.brindle_before");
  }
}

TEST_F(KeptFirst, OrTheCopyIsNotMade) {
  expect_refusal([] { return copy_over(compose("cp /tmp/new %s", path), "/tmp/new", path); });
  expect_refusal(
      [] { return copy_entries(compose("cp /tmp/f/* /root/d"), "/tmp/f", "/root/d", CopyLike::cp); });
}

TEST_F(KeptFirst, IsNothingWhereNothingIsCopied) {
  const KeepingRun run;
  EXPECT_FALSE(copy_over(compose("cp /tmp/missing %s", path), "/tmp/missing", path));
  EXPECT_FALSE(copy_over(compose("cp /tmp/new /root/missing/a"), "/tmp/new", "/root/missing/a"));
  EXPECT_FALSE(exists(KeepingRun::folder()));
}

TEST_F(KeptFirst, IsWhatTheEntriesReplace) {
  KeepingRun run;
  EXPECT_TRUE(copy_entries(compose("cp /tmp/f/* /root/d"), "/tmp/f", "/root/d", CopyLike::cp));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_EQ("old", read_file(KeepingRun::kept(path)));
}

// cp makes a file of a single entry where there is no folder to copy it into.
TEST_F(KeptFirst, IsTheFileWhosePlaceASingleEntryTakes) {
  KeepingRun run;
  EXPECT_TRUE(copy_entries(compose("cp /tmp/f/* %s", path), "/tmp/f", path, CopyLike::cp));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(), ElementsAre("replaced /root/d/a"));
}

// ---- Links ----------------------------------------------------------------------------------------------

// ln makes a link in a folder, or in the place of nothing.
TEST_F(KeptFirst, IsWhatALinkWouldBe) {
  for (const bool is_folder : {false, true}) {
    shell_quietly("rm -rf /root/.brindle_before /root/d/place");
    if (is_folder) shell_quietly("mkdir /root/d/place");
    KeepingRun run;
    EXPECT_TRUE(kept_before_linking("name", "/root/d/place"));
    shell_quietly(is_folder ? "ln -s /tmp/x /root/d/place/name" : "ln -s /tmp/x /root/d/place");
    EXPECT_TRUE(run.has_kept_all());
    EXPECT_THAT(run.listed(), ElementsAre(is_folder ? "made /root/d/place/name" : "made /root/d/place"));
  }
  shell_quietly("rm -rf /root/.brindle_before /root/d/place");
  expect_refusal([] { return kept_before_linking("name", "/root/d/place"); });
}

// ---- Owners ---------------------------------------------------------------------------------------------

TEST_F(KeptFirst, IsTheOwner) {
  shell_quietly("useradd -u 1234 ann");
  write_file("/root/d/hers", "");
  shell_quietly("chown 1234 /root/d/hers");
  KeepingRun run;
  EXPECT_TRUE(kept_before_chown("ann", "/root/d"));
  shell_quietly("chown -R ann /root/d");
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(), ElementsAre("attributes /root/d", "attributes /root/d/a"));
}

TEST_F(KeptFirst, IsEveryOwnerWhereTheUserIsNoName) {
  KeepingRun run;
  EXPECT_TRUE(kept_before_chown("1234:2345", "/root/d"));
  shell_quietly("chown -R 1234:2345 /root/d");
  EXPECT_TRUE(run.has_changed_nothing() == false);
  for (const char* each : {"/root/d", "/root/d/a"})
    EXPECT_THAT(run.listed(), testing::Contains("attributes " + std::string(each)));
}

TEST_F(KeptFirst, OrTheOwnersStay) {
  expect_refusal([] { return kept_before_chown("daemon", "/root/d"); });
}

// ---- Rights ---------------------------------------------------------------------------------------------

bool anybody_can_write(const std::string& place) {
  const pid_t child = fork();
  if (child == 0) _exit(setuid(65534) == 0 && can_be_written(place) ? 0 : 1);
  int status = 0;
  waitpid(child, &status, 0);
  return status == 0;
}

TEST(CanBeWritten, NothingInAFolderOfAnother) {
  shell_quietly("mkdir -p /srv/d/open; chmod 777 /srv/d/open");
  for (const char* name : {"/srv/d/a", "/srv/d/b", "/srv/d/open/a"}) write_file(name, "");
  shell_quietly("chmod 666 /srv/d/b; ln -s /srv/d/b /srv/d/link; ln -s /srv/d/a /srv/d/open/link");
  EXPECT_FALSE(anybody_can_write("/srv/d/a"));
  EXPECT_FALSE(anybody_can_write("/srv/d/new"));
  EXPECT_FALSE(anybody_can_write("/srv/d/missing/new"));
  EXPECT_FALSE(anybody_can_write("/srv/d/open/link"));
  EXPECT_TRUE(anybody_can_write("/srv/d/b"));
  EXPECT_TRUE(anybody_can_write("/srv/d/link"));
  EXPECT_TRUE(anybody_can_write("/srv/d/open/a"));
  EXPECT_TRUE(anybody_can_write("/srv/d/open/new"));
}

}  // namespace
