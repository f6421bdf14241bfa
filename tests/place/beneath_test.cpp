#include "place/beneath.h"

#include <fcntl.h>
#include <gmock/gmock.h>

#include <cerrno>

#include "trees.h"

namespace {

using place::open_beneath;

// Each test runs with the kernel's call and without.
struct Beneath : Below, testing::WithParamInterface<int> {
  Beneath() {
    if (GetParam() != 0) answer_calls("openat2", [] { return GetParam(); });
  }
  /// 0, or the error.
  int open(const std::string& path, int flags = O_RDONLY) const {
    const Descriptor opened = open_beneath(top.number(), path, flags, 0600);
    return opened ? 0 : errno;
  }
  bool make(const std::string& path, mode_t mode = 0700) const {
    return place::make_folder_beneath(top.number(), path, mode, 12, 34);
  }
};

INSTANTIATE_TEST_SUITE_P(Kernels, Beneath, testing::Values(0, ENOSYS, EPERM));

TEST_P(Beneath, OpensFilesAndFolders) {
  prepare("mkdir -p a/b; printf x > a/b/file; printf y > file");
  const Descriptor file = open_beneath(top.number(), "a//./b/file", O_RDONLY);
  ASSERT_TRUE(file);
  EXPECT_EQ(output_of("cat <&" + std::to_string(fcntl(file.number(), F_DUPFD, 3))), "x");
  EXPECT_EQ(fcntl(file.number(), F_GETFD), FD_CLOEXEC);
  for (const char* path : {"", ".", "a", "a/", "a/b/.", "a/b/"})
    EXPECT_EQ(open(path, O_RDONLY | O_DIRECTORY), 0) << path;
  EXPECT_EQ(open("file", O_RDONLY | O_DIRECTORY), ENOTDIR);
  EXPECT_EQ(open("file/below"), ENOTDIR);
  EXPECT_EQ(open("missing"), ENOENT);
  EXPECT_EQ(open("missing/below"), ENOENT);
}

TEST_P(Beneath, FollowsNoLink) {
  prepare("mkdir -p a/b; printf x > a/b/file; ln -s b a/link; ln -s file a/b/link; ln -s missing dangling");
  for (const char* path : {"a/link/file", "a/b/link", "a/link", "dangling"})
    for (const int flags :
         {O_RDONLY, O_PATH, O_PATH | O_DIRECTORY, O_RDONLY | O_DIRECTORY, O_WRONLY | O_CREAT})
      EXPECT_EQ(open(path, flags), ELOOP) << path << flags;
  EXPECT_EQ(open("a/b/link", O_PATH | O_NOFOLLOW), 0);  // the link itself
  EXPECT_EQ(open("a/link/file", O_PATH | O_NOFOLLOW), ELOOP);
  EXPECT_EQ(listed(), "a\ndangling\n");
}

TEST_P(Beneath, LeadsNotOut) {
  prepare("mkdir a");
  for (const char* path :
       {"..", "../top", "a/../..", "/", "/tmp/top/a", "/etc/passwd", "a/../../../etc/passwd"})
    EXPECT_EQ(open(path), EXDEV) << path;
}

TEST_P(Beneath, MakesFilesWithTheirMode) {
  prepare("mkdir a");
  EXPECT_EQ(open("a/new", O_WRONLY | O_CREAT | O_EXCL), 0);
  EXPECT_EQ(look("a/new").mode, 0600U);
  EXPECT_EQ(open("a/new", O_WRONLY | O_CREAT | O_EXCL), EEXIST);
}

TEST_P(Beneath, TakesNoZeroByte) {
  prepare("touch a");
  EXPECT_EQ(open(std::string("a\0b", 3)), EINVAL);
  EXPECT_FALSE(spot(std::string("a\0b", 3)));
  EXPECT_EQ(errno, EINVAL);
}

TEST_P(Beneath, TakesPathsOfAnyLength) {
  std::string path = "folder";
  prepare("mkdir folder");
  while (path.size() < 10000) {
    path += "/" + std::string(200, 'x');
    ASSERT_TRUE(make(path)) << path.size();
  }
  EXPECT_EQ(open(path, O_RDONLY | O_DIRECTORY), 0);
  EXPECT_EQ(look(path).type, place::Type::folder);
  EXPECT_EQ(open(std::string(300, 'x')), ENAMETOOLONG);
}

TEST_P(Beneath, ASpotIsAFolderAndAName) {
  prepare("mkdir -p a/b; ln -s b a/link; printf x > file; printf x > a/b/file");
  for (const char* path : {"a/b/file", "a//b//file", "./a/b/file"}) {
    const place::Spot found = spot(path);
    ASSERT_TRUE(found) << path;
    EXPECT_EQ(found.name, "file");
    EXPECT_EQ(faccessat(found.folder.number(), "file", F_OK, 0), 0) << path;
  }
  EXPECT_EQ(spot("file").name, "file");
  EXPECT_TRUE(spot("missing"));
  const auto error_of = [&](const char* path) {
    errno = 0;
    const place::Spot none = spot(path);
    EXPECT_FALSE(none) << path;
    EXPECT_EQ(none.error, errno) << path;
    return errno;
  };
  for (const char* path : {"", ".", "..", "a/", "a/.", "a/..", "/"})
    EXPECT_EQ(error_of(path), EINVAL) << path;
  EXPECT_EQ(error_of("missing/x"), ENOENT);
  EXPECT_EQ(error_of("file/x"), ENOTDIR);
  EXPECT_EQ(error_of("a/link/x"), ELOOP);
  EXPECT_EQ(error_of("../x"), EXDEV);
  EXPECT_EQ(error_of("/x"), EXDEV);
  EXPECT_EQ(error_of("/tmp/top/file"), EXDEV);
}

TEST_P(Beneath, AFolderThatMayNotBeListedHasSpots) {
  prepare("mkdir a; printf x > a/file; chmod 755 .; chmod 644 a/file; chmod 711 a");
  EXPECT_TRUE(as_person([&] { return look("a/file").content.ends_with(":1"); }));
}

TEST_P(Beneath, MakesFoldersWithOwnerAndMode) {
  prepare("mkdir a; chmod 755 a; printf x > file; ln -s a link");
  umask(077);
  for (const char* path : {"a/b/c", "d", "e//f/", ""}) EXPECT_TRUE(make(path, 02755)) << path;
  umask(022);
  for (const char* path : {"a/b", "a/b/c", "d", "e", "e/f"}) {
    EXPECT_EQ(text_of(look(path)).substr(0, 17), "folder 2755 12 34") << path;
  }
  EXPECT_EQ(look("a").mode, 0755U);
  EXPECT_EQ(look("a").uid, 0U);
  EXPECT_TRUE(make("a/b/c"));
  EXPECT_EQ(look("a/b/c").mode, 02755U);
  EXPECT_FALSE(make("link/x"));
  EXPECT_EQ(errno, ELOOP);
  EXPECT_FALSE(make("link"));
  EXPECT_FALSE(make("file/x"));
  EXPECT_EQ(errno, ENOTDIR);
  EXPECT_FALSE(make("file"));
  EXPECT_FALSE(make("../x"));
  EXPECT_FALSE(make("/tmp/top/x"));
  EXPECT_EQ(listed(), "a\nd\ne\nfile\nlink\n");
}

TEST_P(Beneath, FoldersThatMayNotBeGivenAwayStayOurs) {
  prepare("chown 1234:1234 .");
  EXPECT_TRUE(as_person([&] { return make("a/b", 0750); }));
  EXPECT_EQ(text_of(look("a/b")).substr(0, 21), "folder 0750 1234 1234");
}

// Somebody who owns the folder above is quick, and puts another folder of ours where one was made.
TEST_P(Beneath, AFolderThatWasPutInTheWayIsGivenToNobody) {
  prepare("mkdir -m 700 secret; printf x > secret/in");
  answer_calls("mkdirat", [] { return rename("/tmp/top/secret", "/tmp/top/new") == 0 ? done : EIO; });
  EXPECT_TRUE(make("new", 0755));
  EXPECT_EQ(text_of(look("new")).substr(0, 15), "folder 0700 0 0");
  prepare("mkdir -m 750 theirs; chown 77:88 theirs");
  answer_calls("mkdirat", [] { return rename("/tmp/top/theirs", "/tmp/top/other") == 0 ? done : EIO; });
  EXPECT_TRUE(make("other", 0755));
  EXPECT_EQ(text_of(look("other")).substr(0, 17), "folder 0750 77 88");
}

TEST_P(Beneath, AFolderThatSomebodyElseHasJustMadeWillDo) {
  answer_calls("mkdirat", [] { return mkdir("/tmp/top/new", 0711); });
  EXPECT_TRUE(make("new", 0755));
  EXPECT_EQ(look("new").mode, 0711U);
  answer_calls("mkdirat", [] { return symlink("new", "/tmp/top/link"); });
  EXPECT_FALSE(make("link", 0755));
  EXPECT_EQ(errno, ELOOP);
  prepare("mkdir -m 750 target");
  answer_calls("mkdirat", [] { return symlink("target", "/tmp/top/led") == 0 ? done : EIO; });
  EXPECT_FALSE(make("led", 0755));
  EXPECT_EQ(text_of(look("target")).substr(0, 15), "folder 0750 0 0");
}

// ---- The end of links ------------------------------------------------------------------------------------

struct Links : Below {};

TEST_F(Links, LeadToTheirEndWhetherItIsThereOrNot) {
  prepare(
      "mkdir sub; ln -s sub/b a; ln -s ../c sub/b; ln -s missing/d c; ln -s /tmp/top/a far; printf x > file");
  for (const char* link : {"a", "c", "far", "sub/b"})
    EXPECT_EQ(output_of(std::string("realpath -m /tmp/top/") + link),
              output_of("realpath -m " + place::end_of_links(std::string("/tmp/top/") + link)))
        << link;
  EXPECT_EQ(place::end_of_links("/tmp/top/far"), "/tmp/top/sub/../missing/d");
  EXPECT_EQ(place::end_of_links("/tmp/top/file"), "/tmp/top/file");
  EXPECT_EQ(place::end_of_links("/tmp/top/none"), "/tmp/top/none");
}

TEST_F(Links, InARingHaveNoEnd) {
  prepare("ln -s two one; ln -s one two");
  EXPECT_EQ(place::end_of_links("/tmp/top/one"), "");
  EXPECT_EQ(errno, ELOOP);
}

TEST(EndOfLinks, IsFoundBehindAsManyAsTheKernelFollows) {
  write_file("/tmp/top/0", "x");
  shell_quietly("cd /tmp/top && for i in $(seq 41); do ln -s $((i - 1)) $i; done");
  EXPECT_EQ(0, system("cat /tmp/top/40 > /dev/null"));
  EXPECT_EQ("/tmp/top/0", place::end_of_links("/tmp/top/40"));
  EXPECT_NE(0, system("cat /tmp/top/41 > /dev/null 2>&1"));
  EXPECT_EQ("", place::end_of_links("/tmp/top/41"));
  EXPECT_EQ(ELOOP, errno);
}

}  // namespace
