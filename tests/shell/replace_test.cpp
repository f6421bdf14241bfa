#include "shell/replace.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "shell/files.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

struct stat information(const std::string& path) {
  struct stat found {};
  EXPECT_EQ(0, lstat(path.c_str(), &found)) << path;
  return found;
}

std::vector<std::string> names_in(const std::string& folder) { return list_folder(folder).value(); }

TEST(ReplaceFile, LeavesNothingButTheTextAndKeepsEveryByte) {
  const std::string text("a%s\0\n", 5);
  write_file("/tmp/d/f", "something longer");
  EXPECT_TRUE(replace_file("/tmp/d/f", text));
  EXPECT_TRUE(same_bytes(text, read_file("/tmp/d/f")));
  EXPECT_THAT(names_in("/tmp/d"), ElementsAre("f"));
}

TEST(ReplaceFile, MakesAFileWithTheRightsOfTheUmask) {
  umask(027);
  EXPECT_TRUE(replace_file("/tmp/f", "text"));
  EXPECT_EQ("text", read_file("/tmp/f"));
  EXPECT_EQ(0640U, information("/tmp/f").st_mode & 07777);
}

TEST(ReplaceFile, SaysWhenTheFolderIsMissing) {
  EXPECT_FALSE(replace_file("/tmp/missing/f", "a"));
  EXPECT_EQ(ENOENT, errno);
  EXPECT_FALSE(exists("/tmp/missing"));
}

TEST(ReplaceFile, SaysWhenAFolderIsInThePlace) {
  std::filesystem::create_directory("/tmp/d");
  EXPECT_FALSE(replace_file("/tmp/d", "a"));
  EXPECT_EQ(EISDIR, errno);
}

TEST(ReplaceFile, KeepsModeOwnerAndGroup) {
  write_file("/tmp/f", "old");
  ASSERT_EQ(0, chown("/tmp/f", 1234, 4321));
  ASSERT_EQ(0, chmod("/tmp/f", 04605));
  const ino_t before = information("/tmp/f").st_ino;
  EXPECT_TRUE(replace_file("/tmp/f", "new"));
  const struct stat after = information("/tmp/f");
  EXPECT_NE(before, after.st_ino);
  EXPECT_EQ(04605U, after.st_mode & 07777);
  EXPECT_EQ(1234U, after.st_uid);
  EXPECT_EQ(4321U, after.st_gid);
}

TEST(ReplaceFile, LeavesTheLinkAndReplacesWhatItNames) {
  write_file("/tmp/far/f", "old");
  std::filesystem::create_directory("/tmp/near");
  std::filesystem::create_symlink("../far/f", "/tmp/near/second");
  std::filesystem::create_symlink("/tmp/near/second", "/tmp/near/first");
  EXPECT_TRUE(replace_file("/tmp/near/first", "new"));
  EXPECT_EQ("/tmp/near/second", std::filesystem::read_symlink("/tmp/near/first"));
  EXPECT_EQ("../far/f", std::filesystem::read_symlink("/tmp/near/second"));
  EXPECT_EQ("new", read_file("/tmp/far/f"));
  EXPECT_THAT(names_in("/tmp/near"), UnorderedElementsAre("first", "second"));
}

TEST(ReplaceFile, MakesWhatADanglingLinkNames) {
  std::filesystem::create_directory("/tmp/d");
  std::filesystem::create_symlink("named", "/tmp/d/link");
  EXPECT_TRUE(replace_file("/tmp/d/link", "new"));
  EXPECT_TRUE(std::filesystem::is_symlink("/tmp/d/link"));
  EXPECT_EQ("new", read_file("/tmp/d/named"));
}

TEST(ReplaceFile, SaysWhenLinksGoRound) {
  std::filesystem::create_symlink("/tmp/b", "/tmp/a");
  std::filesystem::create_symlink("/tmp/a", "/tmp/b");
  EXPECT_FALSE(replace_file("/tmp/a", "new"));
  EXPECT_EQ(ELOOP, errno);
}

TEST(ReplaceFile, KeepsTheSecondNameOfAFile) {
  write_file("/tmp/f", "something longer");
  std::filesystem::create_hard_link("/tmp/f", "/tmp/other");
  EXPECT_TRUE(replace_file("/tmp/f", "new"));
  EXPECT_EQ("new", read_file("/tmp/other"));
  EXPECT_TRUE(replace_file("/tmp/f", "newer and longer"));
  EXPECT_EQ("newer and longer", read_file("/tmp/other"));
  EXPECT_EQ(2U, information("/tmp/f").st_nlink);
}

TEST(ReplaceFile, KeepsExtendedAttributes) {
  const SmallDisk disk("/tmp/disk");  // the view's own may refuse them
  write_file("/tmp/disk/f", "old");
  if (setxattr("/tmp/disk/f", "trusted.kept", "yes", 3, 0) != 0) GTEST_SKIP() << "no attributes here";
  EXPECT_TRUE(replace_file("/tmp/disk/f", "new"));
  EXPECT_EQ("new", read_file("/tmp/disk/f"));
  char value[4] = "";
  EXPECT_EQ(3, getxattr("/tmp/disk/f", "trusted.kept", value, 3));
}

TEST(ReplaceFile, SendsTheTextToADeviceOrPipe) {
  EXPECT_TRUE(replace_file("/dev/null", "text"));
  EXPECT_TRUE(S_ISCHR(information("/dev/null").st_mode));
  EXPECT_FALSE(replace_file("/dev/full", "text"));
  EXPECT_EQ(ENOSPC, errno);
}

/// Runs as an ordinary user while it lives.
struct AsNobody {
  AsNobody() {
    EXPECT_EQ(0, setegid(65534));
    EXPECT_EQ(0, seteuid(65534));
  }
  ~AsNobody() {
    EXPECT_EQ(0, seteuid(0));
    EXPECT_EQ(0, setegid(0));
  }
};

TEST(ReplaceFile, WritesInPlaceWhereTheFolderMayNotBeWritten) {
  write_file("/tmp/d/f", "old");
  ASSERT_EQ(0, chown("/tmp/d/f", 65534, 65534));
  bool replaced = false;
  {
    const AsNobody user;
    replaced = replace_file("/tmp/d/f", "new");
  }
  EXPECT_TRUE(replaced);
  EXPECT_EQ("new", read_file("/tmp/d/f"));
}

TEST(ReplaceFile, LeavesSomebodyElsesFileTheirs) {
  write_file("/tmp/d/f", "old");
  ASSERT_EQ(0, chmod("/tmp/d", 0777));
  ASSERT_EQ(0, chmod("/tmp/d/f", 0666));
  bool replaced = false;
  {
    const AsNobody user;
    replaced = replace_file("/tmp/d/f", "new");
  }
  EXPECT_TRUE(replaced);
  EXPECT_EQ("new", read_file("/tmp/d/f"));
  EXPECT_EQ(0U, information("/tmp/d/f").st_uid);
  EXPECT_THAT(names_in("/tmp/d"), ElementsAre("f"));
}

TEST(ReplaceFile, LeavesAFileThatMayNotBeWritten) {
  write_file("/tmp/d/f", "old");
  ASSERT_EQ(0, chown("/tmp/d", 65534, 65534));
  ASSERT_EQ(0, chown("/tmp/d/f", 65534, 65534));
  ASSERT_EQ(0, chmod("/tmp/d/f", 0444));
  bool replaced = true;
  int error = 0;
  {
    const AsNobody user;
    replaced = replace_file("/tmp/d/f", "new");
    error = errno;
  }
  EXPECT_FALSE(replaced);
  EXPECT_EQ(EACCES, error);
  EXPECT_EQ("old", read_file("/tmp/d/f"));
}

// ---- On a full disk ----------------------------------------------------------------------------------

TEST(ReplaceFileOnAFullDisk, LeavesTheOldContentAndNothingElse) {
  const SmallDisk disk("/tmp/disk");
  const std::string old(5000, 'o');
  write_file("/tmp/disk/d/f", old);
  for (const std::uintmax_t left : {0, 1, 2}) {
    disk.empty();
    disk.fill_but(left);
    EXPECT_FALSE(replace_file("/tmp/disk/d/f", std::string(20'000, 'n'))) << left;
    EXPECT_EQ(ENOSPC, errno);
    EXPECT_TRUE(same_bytes(old, read_file("/tmp/disk/d/f")));
    EXPECT_THAT(names_in("/tmp/disk/d"), ElementsAre("f"));
  }
  disk.empty();
  EXPECT_TRUE(replace_file("/tmp/disk/d/f", "new"));
  EXPECT_EQ("new", read_file("/tmp/disk/d/f"));
}

TEST(ReplaceFileOnAFullDisk, MakesNoPartOfANewFile) {
  const SmallDisk disk("/tmp/disk");
  std::filesystem::create_directory("/tmp/disk/d");
  disk.fill_but(1);
  EXPECT_FALSE(replace_file("/tmp/disk/d/f", std::string(20'000, 'n')));
  EXPECT_EQ(ENOSPC, errno);
  EXPECT_TRUE(names_in("/tmp/disk/d").empty());
}

TEST(ReplaceFileOnAFullDisk, LeavesTheOldContentUnderBothNames) {
  const SmallDisk disk("/tmp/disk");
  const std::string old(5000, 'o');
  write_file("/tmp/disk/f", old);
  std::filesystem::create_hard_link("/tmp/disk/f", "/tmp/disk/other");
  disk.fill_but(1);
  EXPECT_FALSE(replace_file("/tmp/disk/f", std::string(20'000, 'n')));
  EXPECT_EQ(ENOSPC, errno);
  EXPECT_TRUE(same_bytes(old, read_file("/tmp/disk/f")));
  EXPECT_TRUE(same_bytes(old, read_file("/tmp/disk/other")));
  EXPECT_TRUE(replace_file("/tmp/disk/f", std::string(4000, 'n')));  // needs no room
  EXPECT_TRUE(same_bytes(std::string(4000, 'n'), read_file("/tmp/disk/other")));
}

// ---- Appending ---------------------------------------------------------------------------------------

// ---- In parts -------------------------------------------------------------------------------------------

bool take_two_parts(const TakePart& take) { return take("one\n") && take(std::string("\0two", 4)); }

// The second part does not come.
bool break_off(const TakePart& take) {
  EXPECT_TRUE(take("one\n"));
  errno = EIO;
  return false;
}

TEST(ReplaceFileByParts, HoldsThemInTheirOrder) {
  write_file("/tmp/d/f", "something longer");
  for (const char* path : {"/tmp/d/f", "/tmp/d/new"}) {
    EXPECT_TRUE(replace_file_by(path, take_two_parts));
    EXPECT_TRUE(same_bytes(std::string("one\n\0two", 8), read_file(path)));
  }
  EXPECT_TRUE(replace_file_by("/tmp/d/f", [](const TakePart&) { return true; }));
  EXPECT_EQ("", read_file("/tmp/d/f"));
  EXPECT_THAT(names_in("/tmp/d"), UnorderedElementsAre("f", "new"));
}

TEST(ReplaceFileByParts, KeepsTheSecondNameOfAFile) {
  write_file("/tmp/d/f", "something longer");
  std::filesystem::create_hard_link("/tmp/d/f", "/tmp/d/second");
  EXPECT_TRUE(replace_file_by("/tmp/d/f", take_two_parts));
  EXPECT_TRUE(same_bytes(std::string("one\n\0two", 8), read_file("/tmp/d/second")));
}

TEST(ReplaceFileByParts, LeavesTheOldContentWhenOneDoesNotCome) {
  write_file("/tmp/d/f", "old");
  write_file("/tmp/d/g", "old");
  std::filesystem::create_hard_link("/tmp/d/g", "/tmp/d/second");
  for (const char* path : {"/tmp/d/f", "/tmp/d/g", "/tmp/d/new"}) {
    EXPECT_FALSE(replace_file_by(path, break_off)) << path;
    EXPECT_EQ(EIO, errno) << path;
  }
  EXPECT_EQ("old", read_file("/tmp/d/f"));
  EXPECT_EQ("old", read_file("/tmp/d/second"));
  EXPECT_THAT(names_in("/tmp/d"), UnorderedElementsAre("f", "g", "second"));
}

TEST(ReplaceFileByParts, SendsNothingOfThemToADeviceWhenOneDoesNotCome) {
  ASSERT_EQ(0, mkfifo("/tmp/pipe", 0600));
  const int reader = open("/tmp/pipe", O_RDONLY | O_NONBLOCK);
  EXPECT_FALSE(replace_file_by("/tmp/pipe", break_off));
  char c = 0;
  EXPECT_EQ(0, read(reader, &c, 1));
  EXPECT_TRUE(replace_file_by("/tmp/pipe", take_two_parts));
  EXPECT_EQ(1, read(reader, &c, 1));
  EXPECT_EQ('o', c);
  close(reader);
}

TEST(ReplaceFileByParts, LeavesTheOldContentOnAFullDisk) {
  const SmallDisk disk("/tmp/disk");
  write_file("/tmp/disk/f", "old");
  disk.fill_but(2);
  const std::string part(5000, 'x');
  EXPECT_FALSE(replace_file_by("/tmp/disk/f", [&](const TakePart& take) {
    return take(part) && take(part) && take(part) && take(part);
  }));
  EXPECT_EQ(ENOSPC, errno);
  EXPECT_EQ("old", read_file("/tmp/disk/f"));
  EXPECT_THAT(names_in("/tmp/disk"), UnorderedElementsAre("f", "filling"));
}

TEST(AppendToFile, PutsTheTextBehindTheOldContent) {
  write_file("/tmp/f", "old");
  EXPECT_TRUE(append_to_file("/tmp/f", "new"));
  EXPECT_EQ("oldnew", read_file("/tmp/f"));
  EXPECT_TRUE(append_to_file("/tmp/g", "first"));
  EXPECT_EQ("first", read_file("/tmp/g"));
}

TEST(AppendToFile, LeavesTheOldContentOnAFullDisk) {
  const SmallDisk disk("/tmp/disk");
  write_file("/tmp/disk/f", "old");
  disk.fill_but(0);
  EXPECT_FALSE(append_to_file("/tmp/disk/f", std::string(20'000, 'n')));
  EXPECT_EQ(ENOSPC, errno);
  EXPECT_EQ("old", read_file("/tmp/disk/f"));
}

TEST(AppendToFile, LosesNothingThatItCannotRead) {
  std::filesystem::create_directory("/tmp/d");
  EXPECT_FALSE(append_to_file("/tmp/d", "new"));
  EXPECT_EQ(EISDIR, errno);
}

TEST(AppendToFile, LeavesAFileThatMayNotBeRead) {
  write_file("/tmp/d/f", "old");
  ASSERT_EQ(0, chown("/tmp/d", 65534, 65534));
  ASSERT_EQ(0, chown("/tmp/d/f", 65534, 65534));
  ASSERT_EQ(0, chmod("/tmp/d/f", 0200));
  bool appended = true;
  {
    const AsNobody user;
    appended = append_to_file("/tmp/d/f", "new");
  }
  EXPECT_FALSE(appended);
  EXPECT_EQ("old", read_file("/tmp/d/f"));
}

// ---- Keeping a file over its removal -----------------------------------------------------------------

TEST(KeptFile, PutsTheOldOneBackWithoutANewOne) {
  write_file("/tmp/d/f", "old");
  ASSERT_EQ(0, chmod("/tmp/d/f", 0640));
  {
    const KeptFile before("/tmp/d/f");
    shell_quietly("rm /tmp/d/f");
    EXPECT_FALSE(exists("/tmp/d/f"));
  }
  EXPECT_EQ("old", read_file("/tmp/d/f"));
  EXPECT_EQ(0640U, information("/tmp/d/f").st_mode & 07777);
  EXPECT_THAT(names_in("/tmp/d"), ElementsAre("f"));
}

TEST(KeptFile, LeavesTheNewOne) {
  write_file("/tmp/d/f", "old");
  {
    const KeptFile before("/tmp/d/f");
    shell_quietly("rm /tmp/d/f");
    EXPECT_TRUE(replace_file("/tmp/d/f", "new"));
  }
  EXPECT_EQ("new", read_file("/tmp/d/f"));
  EXPECT_THAT(names_in("/tmp/d"), ElementsAre("f"));
}

TEST(KeptFile, KeepsALinkAsALink) {
  write_file("/tmp/far", "old");
  std::filesystem::create_directory("/tmp/d");
  std::filesystem::create_symlink("/tmp/far", "/tmp/d/f");
  {
    const KeptFile before("/tmp/d/f");
    shell_quietly("rm /tmp/d/f");
  }
  EXPECT_EQ("/tmp/far", std::filesystem::read_symlink("/tmp/d/f"));
}

TEST(KeptFile, KeepsNothingWhereNothingIs) {
  std::filesystem::create_directory("/tmp/d");
  { const KeptFile before("/tmp/d/f"); }
  { const KeptFile before("/tmp/missing/f"); }
  EXPECT_TRUE(names_in("/tmp/d").empty());
}

// ---- Setting a file aside ----------------------------------------------------------------------------

// The owner of a home can move its folders while we write there.
void put_a_link_in_place_of_the_folder() {
  shell_quietly(
      "mv /tmp/d /tmp/e; mkdir -p /tmp/outside; echo theirs > /tmp/outside/f; ln -s /tmp/outside /tmp/d");
}

TEST(KeptFile, StaysInItsFolderWhereverThatGoes) {
  write_file("/tmp/d/f", "old");
  {
    const KeptFile before("/tmp/d/f");
    put_a_link_in_place_of_the_folder();
    shell_quietly("rm /tmp/e/f /tmp/outside/f");
  }
  EXPECT_EQ("old", read_file("/tmp/e/f"));
  EXPECT_THAT(names_in("/tmp/e"), ElementsAre("f"));
  EXPECT_THAT(names_in("/tmp/outside"), IsEmpty());
}

TEST(SetAside, StaysInItsFolderWhereverThatGoes) {
  write_file("/tmp/d/f", "old");
  {
    const SetAside own("/tmp/d/f");
    put_a_link_in_place_of_the_folder();
  }
  EXPECT_EQ("old", read_file("/tmp/e/f"));
  EXPECT_THAT(names_in("/tmp/e"), ElementsAre("f"));
  EXPECT_EQ("theirs\n", read_file("/tmp/outside/f"));
}

TEST(SetAside, BringsTheOldOneBackOverTheNewOne) {
  write_file("/tmp/d/f", "old");
  ASSERT_EQ(0, chmod("/tmp/d/f", 0640));
  {
    const SetAside own("/tmp/d/f");
    EXPECT_FALSE(exists("/tmp/d/f"));
    write_file("/tmp/d/f", "new");
  }
  EXPECT_EQ("old", read_file("/tmp/d/f"));
  EXPECT_EQ(0640U, information("/tmp/d/f").st_mode & 07777);
  { const SetAside own("/tmp/d/f"); }
  EXPECT_EQ("old", read_file("/tmp/d/f"));
  EXPECT_THAT(names_in("/tmp/d"), ElementsAre("f"));
}

TEST(SetAside, BringsLinksAndFoldersBackToo) {
  write_file("/tmp/d/folder/inside", "old");
  std::filesystem::create_symlink("missing", "/tmp/d/link");
  {
    const SetAside folder("/tmp/d/folder");
    const SetAside link("/tmp/d/link");
    write_file("/tmp/d/folder", "new");
    write_file("/tmp/d/link", "new");
  }
  EXPECT_EQ("old", read_file("/tmp/d/folder/inside"));
  EXPECT_EQ("missing", std::filesystem::read_symlink("/tmp/d/link"));
  EXPECT_THAT(names_in("/tmp/d"), UnorderedElementsAre("folder", "link"));
}

TEST(SetAside, GivenUpLeavesTheNewOneLikeTheOld) {
  write_file("/tmp/d/f", "old");
  ASSERT_EQ(0, chown("/tmp/d/f", 1234, 4321));
  ASSERT_EQ(0, chmod("/tmp/d/f", 0640));
  {
    SetAside own("/tmp/d/f");
    write_file("/tmp/d/f", "new");
    own.give_up();
  }
  EXPECT_EQ("new", read_file("/tmp/d/f"));
  EXPECT_EQ(0640U, information("/tmp/d/f").st_mode & 07777);
  EXPECT_EQ(1234U, information("/tmp/d/f").st_uid);
  EXPECT_THAT(names_in("/tmp/d"), ElementsAre("f"));
}

TEST(SetAside, LeavesTheNewOneWhereNothingWas) {
  std::filesystem::create_directory("/tmp/d");
  {
    SetAside own("/tmp/d/f");
    write_file("/tmp/d/f", "new");
  }
  EXPECT_EQ("new", read_file("/tmp/d/f"));
  SetAside own("/tmp/d/missing");
  own.give_up();
  EXPECT_THAT(names_in("/tmp/d"), ElementsAre("f"));
}

}  // namespace
