#include "process/archive/safety.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/commands.h"
#include "support/files.h"

namespace {

struct Unpacked : testing::Test {
  Unpacked() {
    write_file("/tmp/out/secret", "s");
    write_file("/tmp/in/Brindle/My Documents/plain", "p");
    write_file("/tmp/in/Brindle/My Documents/sub/deep", "d");
  }
  static void link(const char* target, const char* name) {
    ASSERT_EQ(0, symlink(target, ("/tmp/in/Brindle/My Documents/" + std::string(name)).c_str()));
  }
  static bool left(const char* name) { return exists("/tmp/in/Brindle/My Documents/" + std::string(name)); }
};

TEST_F(Unpacked, LinksAreRemoved) {
  link("plain", "beside");
  link("sub", "folder");
  link(".", "round in circles");
  link("/tmp/out/secret", "absolute");
  link("../../../out/secret", "upwards");
  link("sub/../../../../out", "downwards first");
  link("/", "root of the machine");
  testing::internal::CaptureStderr();
  remove_unsafe_entries("/tmp/in");
  const std::string said = testing::internal::GetCapturedStderr();
  for (const char* name : {"beside", "folder", "round in circles", "absolute", "upwards", "downwards first",
                           "root of the machine"}) {
    EXPECT_FALSE(left(name)) << name;
    EXPECT_NE(std::string::npos, said.find(name)) << said;
  }
  EXPECT_TRUE(exists("/tmp/out/secret"));
}

TEST_F(Unpacked, PipesAndSocketsAreRemoved) {
  ASSERT_EQ(0, mkfifo("/tmp/in/Brindle/My Documents/pipe", 0600));
  shell_quietly(
      "cd '/tmp/in/Brindle/My Documents' && "
      "/usr/bin/python3 -c \"import socket; socket.socket(socket.AF_UNIX).bind('socket')\"");
  ASSERT_TRUE(left("socket"));
  testing::internal::CaptureStderr();
  remove_unsafe_entries("/tmp/in");
  testing::internal::GetCapturedStderr();
  for (const char* name : {"pipe", "socket"}) EXPECT_FALSE(left(name)) << name;
}

// Root enters every folder; whoever else runs the program has unpacked the archive as its owner.
TEST_F(Unpacked, LinksInFoldersThatMayNotBeEnteredAreRemoved) {
  shell_quietly(
      "cd '/tmp/in/Brindle/My Documents' && mkdir -p closed/below && ln -s /etc closed/link && "
      "ln -s /etc closed/below/link && chown -hR 4321 /tmp/in && chmod 0 closed/below closed");
  ASSERT_EQ(0, seteuid(4321));
  testing::internal::CaptureStderr();
  remove_unsafe_entries("/tmp/in");
  testing::internal::GetCapturedStderr();
  ASSERT_EQ(0, seteuid(0));
  EXPECT_EQ("", output_of("find /tmp/in -type l"));
}

TEST_F(Unpacked, FilesAndFoldersStay) {
  testing::internal::CaptureStderr();
  remove_unsafe_entries("/tmp/in");
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
  for (const char* name : {"plain", "sub/deep"}) EXPECT_TRUE(left(name)) << name;
}

TEST_F(Unpacked, PipesAndDevicesAreRemoved) {
  ASSERT_EQ(0, mkfifo("/tmp/in/Brindle/My Documents/pipe", 0600));
  shell_quietly("mknod '/tmp/in/Brindle/My Documents/device' c 1 3");
  testing::internal::CaptureStderr();
  remove_unsafe_entries("/tmp/in");
  testing::internal::GetCapturedStderr();
  EXPECT_FALSE(left("pipe"));
  EXPECT_FALSE(left("device"));
}

TEST_F(Unpacked, LinksAreRemovedHoweverDeepTheTreeIs) {
  std::string deep = "/tmp/in/Brindle/My Documents";
  for (int level = 0; level < 1200; ++level) ASSERT_EQ(0, mkdir((deep += "/d").c_str(), 0700));
  ASSERT_EQ(0, symlink("/tmp/out/secret", (deep + "/link").c_str()));
  link("/tmp/out/secret", "a link");
  link("/tmp/out/secret", "z link");
  const rlimit usual{1024, 1024};
  ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &usual));
  testing::internal::CaptureStderr();
  remove_unsafe_entries("/tmp/in");
  testing::internal::GetCapturedStderr();
  EXPECT_EQ("", output_of("find /tmp/in -type l"));
}

TEST_F(Unpacked, LinksInAFolderThatCannotBeListedAreRemoved) {
  link("/tmp/out/secret", "sub/link");
  shell_quietly("chown -R 2345 /tmp/in; chmod 111 '/tmp/in/Brindle/My Documents/sub'");
  ASSERT_EQ(0, setresuid(2345, 2345, 2345));
  testing::internal::CaptureStderr();
  remove_unsafe_entries("/tmp/in");
  testing::internal::GetCapturedStderr();
  EXPECT_EQ("", output_of("find /tmp/in -type l"));
  EXPECT_TRUE(left("sub/deep"));
}

TEST_F(Unpacked, ReadOnlyFilesMayBeWrittenByTheirOwnerAndNothingElseChanges) {
  shell_quietly(
      "cd '/tmp/in/Brindle/My Documents'; chmod 444 plain; chmod 000 sub/deep; echo > all; chmod 751 all; "
      "echo > some;"
      " chmod 604 some; chmod 711 sub");
  remove_unsafe_entries("/tmp/in");
  EXPECT_EQ("644 plain\n711 sub\n600 sub/deep\n751 all\n604 some\n",
            output_of("cd '/tmp/in/Brindle/My Documents'; stat -c '%a %n' plain sub sub/deep all some"));
}

TEST_F(Unpacked, ALinksTargetKeepsItsMode) {
  shell_quietly("chmod 444 /tmp/out/secret");
  link("/tmp/out/secret", "link");
  testing::internal::CaptureStderr();
  remove_unsafe_entries("/tmp/in");
  testing::internal::GetCapturedStderr();
  EXPECT_EQ("444\n", output_of("stat -c %a /tmp/out/secret"));
}

TEST(UnpackedNothing, AMissingFolderIsNoTrouble) { remove_unsafe_entries("/tmp/missing"); }

}  // namespace
