#include "shell/aside.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "support/commands.h"
#include "support/files.h"

namespace {

std::string everything() { return output_of("ls -A /tmp/d"); }

TEST(PutAside, MakesRoomAndComesBackUnchanged) {
  write_file("/tmp/d/option.txt", "mine");
  ASSERT_EQ(0, shell_quietly("chmod 640 /tmp/d/option.txt; chown 77:78 /tmp/d/option.txt; "
                             "touch -d 2001-02-03 /tmp/d/option.txt"));
  const std::string before = output_of("ls -il --full-time /tmp/d/option.txt");
  {
    const PutAside own("/tmp/d/option.txt");
    EXPECT_FALSE(exists("/tmp/d/option.txt"));
    write_file("/tmp/d/option.txt", "the command's");
  }
  EXPECT_EQ("mine", read_file("/tmp/d/option.txt"));
  EXPECT_EQ(before, output_of("ls -il --full-time /tmp/d/option.txt"));
  EXPECT_EQ("option.txt\n", everything());
}

TEST(PutAside, ComesBackWhereTheCommandLeftNothing) {
  write_file("/tmp/d/a", "mine");
  { const PutAside own("/tmp/d/a"); }
  EXPECT_EQ("mine", read_file("/tmp/d/a"));
}

TEST(PutAside, OfNothingLeavesWhatTheCommandMade) {
  std::filesystem::create_directories("/tmp/d");
  {
    const PutAside own("/tmp/d/a");
    write_file("/tmp/d/a", "the command's");
  }
  EXPECT_EQ("the command's", read_file("/tmp/d/a"));
}

TEST(PutAside, TakesAFolderAndALinkAsTheyAre) {
  write_file("/tmp/d/folder/inside", "x");
  write_file("/tmp/target", "target");
  std::filesystem::create_symlink("/tmp/target", "/tmp/d/link");
  std::filesystem::create_symlink("/nowhere", "/tmp/d/dangling");
  {
    const PutAside folder("/tmp/d/folder");
    const PutAside link("/tmp/d/link");
    const PutAside dangling("/tmp/d/dangling");
    for (const char* name : {"folder", "link", "dangling"})
      write_file(std::string("/tmp/d/") + name, "the command's");
  }
  EXPECT_EQ("x", read_file("/tmp/d/folder/inside"));
  EXPECT_EQ("/tmp/target", std::filesystem::read_symlink("/tmp/d/link"));
  EXPECT_EQ("/nowhere", std::filesystem::read_symlink("/tmp/d/dangling"));
  EXPECT_EQ("target", read_file("/tmp/target"));
  EXPECT_EQ("dangling\nfolder\nlink\n", everything());
}

TEST(PutAside, TakesNoNameThatIsTaken) {
  const std::string taken = "/tmp/d/.brindle-aside-" + std::to_string(getpid());
  write_file(taken, "somebody's");
  write_file("/tmp/d/a", "mine");
  {
    const PutAside own("/tmp/d/a");
    EXPECT_EQ("somebody's", read_file(taken));
  }
  EXPECT_EQ("somebody's", read_file(taken));
  EXPECT_EQ("mine", read_file("/tmp/d/a"));
}

}  // namespace
