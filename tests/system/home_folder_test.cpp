#include "system/home_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

#include "shell/kept.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/keeping_run.h"

namespace {

struct HomeFolder : testing::Test {
  HomeFolder() { shell_quietly("mkdir -p /home/ann /srv/others && chown 1234:2345 /home/ann"); }

  static std::string owner(const std::string& path) { return output_of("stat -c %u:%g " + path); }
};

TEST_F(HomeFolder, IsMadeWithThoseAboveIt) {
  umask(022);
  EXPECT_TRUE(make_home_folder("/home/ann", ".kde/share/apps/kabc"));
  EXPECT_TRUE(std::filesystem::is_directory("/home/ann/.kde/share/apps/kabc"));
  EXPECT_EQ("755\n755\n", output_of("cd /home/ann; stat -c %a .kde .kde/share/apps/kabc"));
}

TEST_F(HomeFolder, BelongsToTheOwnerOfTheHomeAndThoseAboveItToo) {
  EXPECT_TRUE(make_home_folder("/home/ann", "a/b"));
  EXPECT_EQ("1234:2345\n", owner("/home/ann/a"));
  EXPECT_EQ("1234:2345\n", owner("/home/ann/a/b"));
}

TEST_F(HomeFolder, ThatIsThereStaysAsItIs) {
  shell_quietly("mkdir -p -m 700 /home/ann/a && touch /home/ann/a/file");
  EXPECT_TRUE(make_home_folder("/home/ann", "a/b"));
  EXPECT_EQ("0:0\n", owner("/home/ann/a"));
  EXPECT_EQ("700\n", output_of("stat -c %a /home/ann/a"));
  EXPECT_TRUE(make_home_folder("/home/ann", "a/b"));
}

TEST_F(HomeFolder, IsNotMadeThroughALinkOutOfTheHome) {
  shell_quietly("ln -s /srv/others /home/ann/out && ln -s ../../srv/others /home/ann/up");
  for (const char* folder : {"out/a/b", "up/a"}) {
    EXPECT_FALSE(make_home_folder("/home/ann", folder)) << folder;
    EXPECT_EQ(EXDEV, errno);
  }
  EXPECT_TRUE(std::filesystem::is_empty("/srv/others"));
}

TEST_F(HomeFolder, IsNotMadeInAFolderWhoseNameOnlyBeginsLikeTheHome) {
  shell_quietly("mkdir /home/anna && ln -s /home/anna /home/ann/out");
  EXPECT_FALSE(make_home_folder("/home/ann", "out/a"));
  EXPECT_FALSE(make_home_folder("/home/ann", "out"));
  EXPECT_EQ(EXDEV, errno);
  EXPECT_TRUE(std::filesystem::is_empty("/home/anna"));
}

TEST_F(HomeFolder, IsNotMadeInPlaceOfALinkToNothing) {
  shell_quietly("ln -s /srv/others/new /home/ann/out");
  EXPECT_FALSE(make_home_folder("/home/ann", "out"));
  EXPECT_EQ(ENOENT, errno);
  EXPECT_TRUE(std::filesystem::is_empty("/srv/others"));
}

TEST_F(HomeFolder, IsMadeThroughALinkThatStaysInTheHome) {
  shell_quietly("mkdir /home/ann/there && ln -s there /home/ann/in");
  EXPECT_TRUE(make_home_folder("/home/ann", "in/a"));
  EXPECT_EQ("1234:2345\n", owner("/home/ann/there/a"));
}

TEST_F(HomeFolder, IsMadeInAHomeThatIsALink) {
  shell_quietly("ln -s /home/ann /home/oskar");
  EXPECT_TRUE(make_home_folder("/home/oskar", "a"));
  EXPECT_TRUE(exists("/home/ann/a"));
}

TEST_F(HomeFolder, IsNotMadeWhereAFileIs) {
  write_file("/home/ann/file", "mine");
  for (const char* folder : {"file", "file/a"}) {
    EXPECT_FALSE(make_home_folder("/home/ann", folder)) << folder;
    EXPECT_EQ(ENOTDIR, errno);
  }
  EXPECT_EQ("mine", read_file("/home/ann/file"));
}

TEST_F(HomeFolder, IsNotMadeWithoutTheHome) {
  EXPECT_FALSE(make_home_folder("/home/nobody", "a"));
  EXPECT_FALSE(make_home_folder("", "a"));
  EXPECT_FALSE(exists("/home/nobody"));
}

TEST_F(HomeFolder, IsListedAsMade) {
  shell_quietly("mkdir /home/ann/a");
  KeepingRun run;
  EXPECT_TRUE(make_home_folder("/home/ann", "a/b/c"));
  EXPECT_TRUE(make_home_folder("/home/ann", "a"));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_EQ((std::vector<std::string>{"made /home/ann/a/b", "made /home/ann/a/b/c"}), run.listed());
}

TEST_F(HomeFolder, ThatIsThereIsNotListed) {
  shell_quietly("mkdir -p /home/ann/a/b");
  const KeepingRun run;
  EXPECT_TRUE(make_home_folder("/home/ann", "a/b"));
  EXPECT_FALSE(exists(KeepingRun::folder("/home/ann")));
}

TEST_F(HomeFolder, ThatCannotBeListedIsNotMade) {
  KeepingRun::prevent("/home/ann");
  const KeepingRun run;
  errno = 0;
  EXPECT_FALSE(make_home_folder("/home/ann", "a/b"));
  EXPECT_EQ(not_kept, errno);
  EXPECT_FALSE(exists("/home/ann/a"));
}

}  // namespace
