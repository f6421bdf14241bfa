#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/resource.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <thread>

#include "support/full_disk.h"
#include "trees.h"

namespace {

using testing::HasSubstr;

// A tree with everything that there can be.
constexpr const char* full_tree =
    "mkdir -p tree/folder/deep tree/empty tree/closed; cd tree; printf one > "
    "one; printf two > folder/two; "
    "printf deep > folder/deep/file; : > nothing; head -c 700000 /dev/urandom "
    "> folder/big; "
    "ln one folder/twin; ln one folder/deep/third; printf own > own; ln own "
    "own2; "
    "ln -s ../one folder/link; ln -s missing dangling; ln dangling "
    "folder/same; "
    "mkfifo -m 640 fifo; mknod -m 604 null c 1 3; mknod disk b 7 9; printf x > "
    "\"$(printf 'n\\n \\377')\"; "
    "python3 -c 'import socket; "
    "socket.socket(socket.AF_UNIX).bind(\"socket\")'; "
    "setfattr -n user.note -v text one; setfattr -n user.empty one; setfattr "
    "-n user.folder -v f folder; "
    "setfattr -n trusted.deep -v t folder/deep/file; "
    "chown 1234:4321 one folder; chown -h 77:88 dangling; chown 5:6 fifo null; "
    "chown 9:0 own; "
    "chmod 4711 one; chmod 2750 folder; chmod 1777 folder/deep; chmod 640 own; "
    "chmod 0 folder/two; "
    "printf in > closed/in; touch -d '2001-02-03 04:05:06.123456789' one; "
    "touch -d 2002-02-03 null fifo; "
    "touch -h -d 2003-02-03 dangling; touch -d 2004-02-03 folder/deep; touch "
    "-d 2005-02-03 folder; "
    "chmod 0 closed; touch -d 2006-02-03 closed; touch -d '2007-02-03 "
    "00:00:00.5' .";

struct Copying : Below {
  static void append(const std::string& name) { std::ofstream("/tmp/top/" + name, std::ios::app) << "x"; }

  int opened_ = 0;
};

TEST_F(Copying, TakesEverythingAlong) {
  prepare(full_tree);
  const std::string before = seen("/tmp/top/tree");
  ASSERT_TRUE(copy("tree", "copy")) << errno;
  EXPECT_TRUE(same_bytes(before, seen("/tmp/top/copy")));
  EXPECT_TRUE(same_bytes(before, seen("/tmp/top/tree")));
  EXPECT_EQ(listed(), "copy\ntree\n");
}

TEST_F(Copying, MakesNoSecondNameOfTheOriginal) {
  prepare("printf one > a; ln a b; mkdir folder; printf two > folder/c");
  ASSERT_TRUE(copy("a", "copy") && copy("folder", "copies"));
  prepare("printf changed > a; printf changed > folder/c");
  EXPECT_EQ(read_file("/tmp/top/copy"), "one");
  EXPECT_EQ(read_file("/tmp/top/copies/c"), "two");
  EXPECT_EQ(look("copy").inode, 0U);
}

TEST_F(Copying, OfEachKindAloneWorks) {
  prepare(full_tree);
  for (const char* name :
       {"one", "nothing", "dangling", "fifo", "null", "disk", "socket", "empty", "closed"}) {
    const std::string from = std::string("tree/") + name;
    ASSERT_TRUE(copy(from, "copy")) << name;
    EXPECT_TRUE(place::is_same_thing(look(from), look("copy"))) << name;
    EXPECT_TRUE(place::has_same_attributes(look(from), look("copy"))) << name;
    EXPECT_EQ(look(from).modified.tv_sec, look("copy").modified.tv_sec) << name;
    ASSERT_TRUE(place::remove_entry(spot("copy")));
  }
}

TEST_F(Copying, NeverTakesATakenSpot) {
  prepare(
      "printf new > file; mkdir folder; printf x > folder/in; "
      "mkdir taken; printf old > taken/file; mkdir taken/folder; ln -s "
      "nowhere taken/link; mkfifo "
      "taken/fifo");
  const std::string before = seen("/tmp/top/taken");
  for (const char* from : {"file", "folder"})
    for (const char* name : {"file", "folder", "link", "fifo"}) {
      EXPECT_FALSE(copy(from, std::string("taken/") + name));
      EXPECT_EQ(errno, EEXIST) << name;
    }
  EXPECT_TRUE(same_bytes(before, seen("/tmp/top/taken")));
}

TEST_F(Copying, OfNothingFails) {
  prepare("mkdir folder");
  EXPECT_FALSE(copy("missing", "copy"));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(copy("folder", "missing/copy"));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(copy("missing/folder", "copy"));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(listed(), "folder\n");
}

TEST_F(Copying, KeepsHoles) {
  prepare(
      "truncate -s 50M sparse; printf middle | dd of=sparse bs=1 "
      "seek=20000000 conv=notrunc status=none; "
      "truncate -s 9M empty; truncate -s 5M ends; printf end >> ends; "
      "printf start > starts; truncate -s 5M "
      "starts");
  for (const char* name : {"sparse", "empty", "ends", "starts"}) {
    ASSERT_TRUE(copy(name, "copy"));
    EXPECT_EQ(look(name).content, look("copy").content) << name;
    EXPECT_LT(std::stol(output_of("stat -c %b /tmp/top/copy")), 1000) << name;
    ASSERT_TRUE(place::remove_entry(spot("copy")));
  }
}

TEST_F(Copying, NeedsNoDiskThatTellsHoles) {
  prepare("truncate -s 1M holes; head -c 5000 /dev/urandom >> holes");
  answer_calls("lseek", [] { return EINVAL; });
  ASSERT_TRUE(copy("holes", "copy"));
  EXPECT_EQ(look("holes").content, look("copy").content);
}

TEST_F(Copying, GoesToAnotherDisk) {
  prepare(full_tree);
  prepare("mkdir disk");
  ASSERT_EQ(mount("tmpfs", "/tmp/top/disk", "tmpfs", 0, "size=20m"), 0);
  const std::string before = seen("/tmp/top/tree");
  ASSERT_TRUE(copy("tree", "disk/copy"));
  EXPECT_TRUE(same_bytes(before, seen("/tmp/top/disk/copy")));
  ASSERT_TRUE(copy("disk/copy", "back"));
  EXPECT_TRUE(same_bytes(before, seen("/tmp/top/back")));
  umount("/tmp/top/disk");
}

TEST_F(Copying, LeavesNothingOnAFullDisk) {
  prepare(
      "mkdir tree; printf small > tree/a; head -c 100000 /dev/urandom > "
      "tree/big; printf z > tree/z");
  const SmallDisk disk("/tmp/top/disk");
  disk.fill_but(10);
  for (const char* from : {"tree", "tree/big"}) {
    EXPECT_FALSE(copy(from, "disk/copy"));
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(listed("disk"), "filling\n");
  }
}

TEST_F(Copying, GoesAThousandFoldersDeep) {
  prepare(
      "python3 -c '\nimport os\nos.mkdir(\"deep\"); "
      "os.chdir(\"deep\")\nfor i in range(1500):\n"
      " open(\"f%d\" % i, \"w\").write(str(i)); os.mkdir(\"a folder "
      "here\"); os.chdir(\"a folder here\")'");
  rlimit files{};
  getrlimit(RLIMIT_NOFILE, &files);
  files.rlim_cur = 100;
  setrlimit(RLIMIT_NOFILE, &files);
  ASSERT_TRUE(copy("deep", "copy")) << errno;
  const std::string list = "find . -printf '%P %m %U %T@ %s\\n' | LC_ALL=C sort | md5sum";
  EXPECT_EQ(output_of("cd /tmp/top/deep; " + list), output_of("cd /tmp/top/copy; " + list));
  EXPECT_EQ(output_of("cd /tmp/top/copy; find . -type f | wc -l"), "1500\n");
  EXPECT_TRUE(place::remove_entry(spot("copy")));
  EXPECT_EQ(listed(), "deep\n");
}

TEST_F(Copying, IsNotLedAwayByAFolderThatMoves) {
  prepare(
      "mkdir -p other/x; cd other; d=tree; for i in $(seq 40); do d=$d/$i; done; mkdir -p $d; "
      "printf x > $d/file; printf y > tree/1/y; mv tree ..");
  answer_calls("copy_file_range", [] { return shell_quietly("cd /tmp/top; mv tree/1/2 other/x"); });
  EXPECT_FALSE(copy("tree", "copy"));
  EXPECT_EQ(errno, ESTALE);
  EXPECT_EQ(listed(), "other\ntree\n");
}

TEST_F(Copying, GivesNoRightsOfTheFolderAbove) {
  prepare(
      "mkdir tree; printf x > tree/a; printf x > alone; mkdir shared; "
      "setfacl -d -m u:7:rwx,g::rwx shared; "
      "chmod g+s shared; chgrp 55 shared");
  ASSERT_TRUE(copy("tree", "shared/tree") && copy("alone", "shared/alone"));
  EXPECT_TRUE(same_bytes(seen("/tmp/top/tree"), seen("/tmp/top/shared/tree")));
  EXPECT_EQ(output_of("cd /tmp/top/shared; getfacl -cs alone tree tree/a 2>&1"), "");
  EXPECT_EQ(look("shared/tree/a").gid, 0U);
}

TEST_F(Copying, TakesAccessListsAlong) {
  prepare(
      "mkdir -p tree/in; printf x > tree/a; setfacl -m u:7:rw,g:8:r,m::r "
      "tree/a; "
      "setfacl -d -m u:9:rwx tree; setfacl -m u:10:x tree/in; printf x > "
      "tree/in/b");
  const std::string list = "find . -print0 | LC_ALL=C sort -z | xargs -0 getfacl -n";
  const std::string before = output_of("cd /tmp/top/tree; " + list);
  EXPECT_THAT(before, HasSubstr("default:user:9:rwx"));
  ASSERT_TRUE(copy("tree", "copy"));
  EXPECT_TRUE(same_bytes(before, output_of("cd /tmp/top/copy; " + list)));
}

TEST_F(Copying, TakesCapabilitiesAndSetIdBitsOnlyWhenToldTo) {
  prepare(
      "mkdir tree; for name in tree/a b; do printf x > $name; chmod 6755 "
      "$name; "
      "setcap cap_net_raw+ep $name; done; chmod 3777 tree; setfattr -n "
      "user.note -v x b");
  ASSERT_TRUE(copy("b", "full"));
  EXPECT_EQ(look("full").mode, 06755U);
  EXPECT_THAT(output_of("getcap /tmp/top/full"), HasSubstr("cap_net_raw"));
  ASSERT_TRUE(place::copy_entry(spot("b"), spot("file"), true));
  ASSERT_TRUE(place::copy_entry(spot("tree"), spot("folder"), true));
  EXPECT_EQ(look("file").mode, 0755U);
  EXPECT_EQ(look("folder").mode, 01777U);
  EXPECT_EQ(look("folder/a").mode, 0755U);
  EXPECT_EQ(output_of("cd /tmp/top; getcap file folder/a"), "");
  EXPECT_THAT(output_of("getfattr -d /tmp/top/file"), HasSubstr("user.note"));
}

TEST_F(Copying, GivesWhatAPersonMayGive) {
  prepare(
      "mkdir tree; printf x > tree/a; chown 5:6 tree/a; chmod 6755 tree/a; "
      "chown 1234:1234 tree .; "
      "ln -s a tree/link; chown -h 5:6 tree/link; printf own > tree/own; "
      "chmod 4700 tree/own; "
      "chown 1234:1234 tree/own; chmod 4700 tree/own; touch -d 2001-02-03 "
      "tree/a tree; chmod 555 tree");
  ASSERT_EQ(look("tree/a").mode, 06755U);  // which a change of the owner would have taken
  ASSERT_TRUE(as_person([&] { return copy("tree", "copy"); }));
  EXPECT_EQ(look("copy/a").mode, 0755U);
  EXPECT_EQ(look("copy/a").uid, 1234U);
  EXPECT_EQ(look("copy/a").gid, 1234U);
  EXPECT_EQ(look("copy/own").mode, 04700U);
  EXPECT_EQ(look("copy/link").content, "a");
  EXPECT_EQ(look("copy").mode, 0555U);
  EXPECT_EQ(look("copy").modified.tv_sec, look("tree").modified.tv_sec);
  EXPECT_EQ(look("copy/a").modified.tv_sec, look("tree/a").modified.tv_sec);
  EXPECT_EQ(listed(), "copy\ntree\n");
}

TEST_F(Copying, GivesAttributesToAFileThatItsOwnerMayNotWrite) {
  prepare("printf x > a; setfattr -n user.note -v text a; chmod 444 a; chown 1234:1234 a .");
  ASSERT_TRUE(as_person([&] { return copy("a", "copy"); }));
  EXPECT_THAT(output_of("getfattr -d --absolute-names /tmp/top/copy"), HasSubstr("user.note"));
}

TEST_F(Copying, FailsForWhatMayNotBeRead) {
  prepare(
      "mkdir tree; printf x > tree/a; printf x > tree/b; printf x > "
      "tree/c; chmod 600 tree/b; chown 1234 .");
  EXPECT_TRUE(as_person([&] { return !copy("tree", "copy") && errno == EACCES; }));
  EXPECT_EQ(listed(), "tree\n");
}

TEST_F(Copying, NeverTakesAFileThatIsWrittenMeanwhile) {
  prepare("mkdir tree; printf a > tree/a; head -c 600000 /dev/zero > tree/big");
  answer_calls("copy_file_range", [] { return append("tree/big"), 0; });
  EXPECT_FALSE(copy("tree", "copy"));
  EXPECT_EQ(errno, EBUSY);
  EXPECT_EQ(listed(), "tree\n");
}

TEST_F(Copying, StartsAgainWithAFileThatWasWrittenMeanwhile) {
  prepare("head -c 600000 /dev/urandom > big; printf short > other");
  int calls = 0;
  answer_calls("copy_file_range", [] { return EXDEV; });
  answer_calls("pread", [&] {  // two thirds of it are copied by then
    return ++calls == 3 ? shell_quietly("cd /tmp/top; cat other > big; touch -d 2001-02-03 big") : 0;
  });
  ASSERT_TRUE(copy("big", "copy"));
  EXPECT_EQ(read_file("/tmp/top/copy"), "short");
  EXPECT_TRUE(place::has_same_attributes(look("big"), look("copy")));
}

TEST_F(Copying, WorksWithoutTheKernelsHelp) {
  prepare(full_tree);
  const std::string before = seen("/tmp/top/tree");
  for (const int error : {EXDEV, ENOSYS, EINVAL, EOPNOTSUPP}) {
    answer_calls("ioctl", [&] { return error; });
    answer_calls("copy_file_range", [&] { return error; });
    ASSERT_TRUE(copy("tree", "copy"));
    EXPECT_TRUE(same_bytes(before, seen("/tmp/top/copy")));
    ASSERT_TRUE(place::remove_entry(spot("copy")));
  }
}

TEST_F(Copying, SharesBlocksWhereTheDiskCan) {
  prepare("head -c 9000 /dev/urandom > big");
  int calls = 0;
  answer_calls("ioctl", [] { return done; });
  answer_calls("copy_file_range", [&] { return ++calls, 0; });
  ASSERT_TRUE(copy("big", "copy"));
  EXPECT_EQ(calls, 0);
}

TEST_F(Copying, IsNotDisturbedBySignals) {
  prepare("head -c 600000 /dev/urandom > big");
  answer_calls("copy_file_range", [] { return EXDEV; });
  for (const char* call : {"pread", "pwrite"}) {
    int calls = 0;
    answer_calls(call, [&] { return ++calls == 2 ? EINTR : 0; });
    ASSERT_TRUE(copy("big", "copy"));
    EXPECT_EQ(look("big").content, look("copy").content);
    ASSERT_TRUE(place::remove_entry(spot("copy")));
  }
}

TEST_F(Copying, SaysWhenTheDiskFails) {
  prepare(
      "head -c 600000 /dev/urandom > big; truncate -s 20M holes; head -c "
      "5000 big >> holes");
  answer_calls("copy_file_range", [] { return EXDEV; });
  for (const char* call : {"pread", "pwrite"})
    for (const char* name : {"big", "holes"}) {
      answer_calls(call, [] { return EIO; });
      EXPECT_FALSE(copy(name, "copy"));
      EXPECT_EQ(errno, EIO);
      answer_calls(call, [] { return 0; });
      EXPECT_EQ(listed(), "big\nholes\n");
    }
}

TEST_F(Copying, GoesOnThroughMemoryWhereTheKernelStops) {
  prepare(
      "head -c 900000 /dev/urandom > big; truncate -s 20M holes; head -c "
      "5000 big >> holes");
  for (const char* name : {"big", "holes"}) {
    int calls = 0;
    answer_calls("copy_file_range", [&] { return ++calls > 1 ? EIO : 0; });
    ASSERT_TRUE(copy(name, "copy"));
    EXPECT_EQ(look(name).content, look("copy").content);
    ASSERT_TRUE(place::remove_entry(spot("copy")));
  }
}

TEST_F(Copying, CopiesWhatHasNoSize) {
  const Descriptor processes = place::open_top("/proc/self");
  ASSERT_TRUE(place::copy_entry(place::spot_beneath(processes.number(), "comm"), spot("copy")));
  EXPECT_EQ(read_file("/tmp/top/copy"), read_file("/proc/self/comm"));
  EXPECT_FALSE(place::copy_entry(place::spot_beneath(processes.number(), "pagemap"), spot("endless")));
  EXPECT_EQ(errno, EFBIG);
}

TEST_F(Copying, SaysWhenSomethingCannotBeMade) {
  prepare(full_tree);
  for (const char* call : {"mkdirat", "mknodat", "linkat", "fchownat"})
    for (const int nth : {1, 2, 3}) {
      int calls = 0;
      answer_calls(call, [&] { return ++calls == nth ? EIO : 0; });
      EXPECT_FALSE(copy("tree", "copy")) << call << nth;
      EXPECT_EQ(errno, EIO) << call << nth;
      forget_answers();
      EXPECT_EQ(listed(), "tree\n");
    }
}

// ---- What a killed run left, and what somebody put in the way ----

TEST_F(Copying, ClearsWhatAKilledOneLeft) {
  prepare(
      "printf x > file; mkdir -m 700 .brindle_copy; mkdir -p "
      ".brindle_copy/made/deep; printf half > "
      ".brindle_copy/made/deep/f; "
      "printf y > .brindle_copy/name-0");
  ASSERT_TRUE(copy("file", "copy"));
  EXPECT_EQ(listed(), "copy\nfile\n");
}

TEST_F(Copying, TouchesNoFolderOfThatNameThatIsSomebodys) {
  prepare(
      "printf x > file; mkdir -m 700 .brindle_copy .brindle_copy-2; printf "
      "mine > .brindle_copy/letters; "
      "printf mine > .brindle_copy-2/made; chown 1234 .brindle_copy-2; "
      "mkdir -m 755 .brindle_copy-3; "
      "printf mine > .brindle_copy-3/made; ln -s /tmp/top/file "
      ".brindle_copy-4; printf mine > "
      ".brindle_copy-5");
  const std::string before = seen("/tmp/top/.brindle_copy") + seen("/tmp/top/.brindle_copy-2") +
                             seen("/tmp/top/.brindle_copy-3") + listed();
  ASSERT_TRUE(copy("file", "copy"));
  ASSERT_TRUE(place::remove_entry(spot("copy")));
  EXPECT_TRUE(same_bytes(before, seen("/tmp/top/.brindle_copy") + seen("/tmp/top/.brindle_copy-2") +
                                     seen("/tmp/top/.brindle_copy-3") + listed()));
}

TEST_F(Copying, ThatIsKilledLeavesNoHalf) {
  prepare(
      "mkdir tree; for i in 1 2 3 4 5; do printf $i > tree/$i; ln tree/$i "
      "tree/s$i; done");
  const std::string before = seen("/tmp/top/tree");
  for (int last = 1; last <= 6; ++last) {
    EXPECT_FALSE(as_person_of(0, [&] {
      int calls = 0;
      answer_calls(last < 6 ? "copy_file_range" : "renameat2",
                   [&] { return last == 6 || ++calls == last ? raise(SIGKILL) : 0; });
      return copy("tree", "copy");
    }));
    EXPECT_EQ(look("copy").type, place::Type::nothing);
    EXPECT_TRUE(exists("/tmp/top/.brindle_copy/made/1"));
  }
  ASSERT_TRUE(copy("tree", "copy"));
  EXPECT_TRUE(same_bytes(before, seen("/tmp/top/copy")));
  EXPECT_EQ(listed(), "copy\ntree\n");
}

TEST_F(Copying, IsNotLedAwayByALinkInThePlaceOfItsFolder) {
  prepare(
      "mkdir tree outside; printf a > tree/a; printf b > tree/b; printf "
      "mine > outside/made");
  int calls = 0;
  answer_calls("copy_file_range", [&] {
    return ++calls == 1 ? shell_quietly(
                              "cd /tmp/top; mv .brindle_copy away; "
                              "ln -s outside .brindle_copy")
                        : 0;
  });
  static_cast<void>(copy("tree", "copy"));
  EXPECT_EQ(listed("outside"), "made\n");
  EXPECT_EQ(read_file("/tmp/top/outside/made"), "mine");
  forget_answers();
  prepare("rm -rf copy away .brindle_copy");
  answer_calls("mkdirat",
               [&] { return shell_quietly("cd /tmp/top; ln -sT outside .brindle_copy") == 0 ? done : 0; });
  static_cast<void>(copy("tree/a", "copy"));
  EXPECT_EQ(listed("outside"), "made\n");
}

TEST_F(Copying, TakesAnEmptyFolderInThePlaceOfItsOwnOver) {
  prepare("printf a > a; mkdir theirs; chown 1234 theirs; chmod 777 theirs");
  answer_calls("mkdirat", [] { return rename("/tmp/top/theirs", "/tmp/top/.brindle_copy") == 0 ? done : 0; });
  std::string seen_meanwhile;
  answer_calls("copy_file_range", [&] {
    seen_meanwhile = output_of("stat -c '%a %u' /tmp/top/.brindle_copy");
    return 0;
  });
  ASSERT_TRUE(copy("a", "copy"));
  EXPECT_EQ(seen_meanwhile, "700 0\n");
  EXPECT_EQ(listed(), "a\ncopy\n");
}

TEST_F(Copying, LeavesAFullFolderInThePlaceOfItsOwn) {
  prepare("printf a > a; mkdir secret; printf x > secret/made; chmod 750 secret");
  answer_calls("mkdirat", [] { return rename("/tmp/top/secret", "/tmp/top/.brindle_copy") == 0 ? done : 0; });
  ASSERT_TRUE(copy("a", "copy"));
  EXPECT_EQ(text_of(look(".brindle_copy")).substr(0, 15), "folder 0750 0 0");
  EXPECT_EQ(listed(".brindle_copy"), "made\n");
}

TEST_F(Copying, WorksOnADiskWithoutOwners) {
  prepare("mkdir tree; printf a > tree/a; mkfifo tree/fifo; ln -s a tree/link");
  answer_calls("mkdirat", [&] {
    answer_calls("mkdirat", [] { return 0; });
    return shell_quietly("cd /tmp/top; mkdir .brindle_copy; chown 1234 .brindle_copy") == 0 ? done : 0;
  });
  answer_calls("fchown", [] { return EPERM; });
  answer_calls("fchownat", [] { return EPERM; });
  ASSERT_TRUE(copy("tree", "copy"));
  EXPECT_EQ(listed("copy"), "a\nfifo\nlink\n");
  EXPECT_EQ(listed(), "copy\ntree\n");
}

TEST_F(Copying, OpensNothingThatTookTheFilesPlace) {
  prepare("printf secret > secret; mkfifo fifo");
  for (const char* other : {"ln -s secret file", "mkfifo file", "mknod file c 1 5", "mkdir file"}) {
    prepare("rm -rf file; printf x > file");
    bool is_swapped = false;
    answer_calls("openat", [&] {
      struct stat stage {};
      if (is_swapped || stat("/tmp/top/.brindle_copy", &stage) != 0 || ++opened_ < 2) return 0;
      is_swapped = true;
      return shell_quietly(std::string("cd /tmp/top; rm file; ") + other);
    });
    opened_ = 0;
    EXPECT_FALSE(copy("file", "copy")) << other;
    EXPECT_TRUE(is_swapped);
    EXPECT_EQ(look("copy").type, place::Type::nothing) << other;
  }
}

TEST_F(Copying, SaysWhenEveryNameBesideIsTaken) {
  prepare(
      "printf a > a; mkdir -m 700 .brindle_copy; touch .brindle_copy/mine; "
      "for i in $(seq 2 64); do cp -a .brindle_copy .brindle_copy-$i; done");
  const std::string before = seen("/tmp/top");
  EXPECT_FALSE(copy("a", "copy"));
  EXPECT_EQ(errno, EBUSY);
  EXPECT_TRUE(same_bytes(before, seen("/tmp/top")));
}

TEST_F(Copying, TakesNoFolderThatAnotherOneHasJustRemoved) {
  prepare("printf a > a; mkdir -m 700 .brindle_copy");
  answer_calls("flock", [] { return static_cast<void>(rmdir("/tmp/top/.brindle_copy")), 0; });
  ASSERT_TRUE(copy("a", "copy"));
  EXPECT_EQ(listed(), "a\ncopy\n");
}

TEST_F(Copying, OfSeveralAtATimeWorks) {
  prepare("mkdir tree; for i in $(seq 50); do printf $i > tree/$i; done");
  std::vector<std::thread> workers;
  std::atomic<int> failed = 0;
  for (int worker = 0; worker < 8; ++worker)
    workers.emplace_back([&, worker] {
      for (int round = 0; round < 20; ++round)
        if (!copy("tree", std::to_string(worker) + "-" + std::to_string(round))) ++failed;
    });
  for (std::thread& worker : workers) worker.join();
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(output_of("cd /tmp/top; ls -A | wc -l; cat */50 | wc -c"), "161\n322\n");
}

// ---- Moving ----

struct Moving : Below {
  bool move(const std::string& from, const std::string& to) const {
    return place::move_entry(spot(from), spot(to));
  }
};

TEST_F(Moving, TakesEverythingAlong) {
  prepare(full_tree);
  const std::string before = seen("/tmp/top/tree");
  ASSERT_TRUE(move("tree", "moved"));
  EXPECT_TRUE(same_bytes(before, seen("/tmp/top/moved")));
  EXPECT_EQ(listed(), "moved\n");
}

TEST_F(Moving, GoesToAnotherDisk) {
  prepare(full_tree);
  const std::string before = seen("/tmp/top/tree");
  prepare("mkdir disk");
  ASSERT_EQ(mount("tmpfs", "/tmp/top/disk", "tmpfs", 0, "size=20m"), 0);
  ASSERT_TRUE(move("tree", "disk/moved"));
  EXPECT_TRUE(same_bytes(before, seen("/tmp/top/disk/moved")));
  EXPECT_EQ(listed(), "disk\n");
  umount("/tmp/top/disk");
}

TEST_F(Moving, KeepsTheOldOneWhenTheOtherDiskIsFull) {
  prepare(
      "mkdir tree; printf small > tree/a; head -c 100000 /dev/urandom > "
      "tree/big");
  const std::string before = seen("/tmp/top/tree");
  const SmallDisk disk("/tmp/top/disk");
  disk.fill_but(10);
  EXPECT_FALSE(move("tree", "disk/moved"));
  EXPECT_EQ(errno, ENOSPC);
  EXPECT_TRUE(same_bytes(before, seen("/tmp/top/tree")));
  EXPECT_EQ(listed("disk"), "filling\n");
}

TEST_F(Moving, NeverTakesATakenSpot) {
  prepare(
      "printf new > file; mkdir folder; mkdir taken; printf old > "
      "taken/file; mkdir taken/folder; "
      "ln -s nowhere taken/link");
  const std::string before = seen("/tmp/top/taken");
  for (const char* from : {"file", "folder"})
    for (const char* name : {"file", "folder", "link"}) {
      EXPECT_FALSE(move(from, std::string("taken/") + name));
      EXPECT_EQ(errno, EEXIST) << name;
    }
  EXPECT_TRUE(same_bytes(before, seen("/tmp/top/taken")));
  EXPECT_EQ(listed(), "file\nfolder\ntaken\n");
}

TEST_F(Moving, OfNothingFails) {
  EXPECT_FALSE(move("missing", "moved"));
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(Moving, TakesAFolderIntoWhichItsOwnerMayNotWrite) {
  prepare(
      "mkdir -p closed/in target; chmod 555 closed; touch -d 2001-02-03 "
      "closed; chown -R 1234 .");
  EXPECT_TRUE(as_person([&] { return move("closed", "target/closed"); }));
  EXPECT_EQ(look("target/closed").mode, 0555U);
  EXPECT_EQ(output_of("stat -c %y /tmp/top/target/closed | cut -c-10"), "2001-02-03\n");
  prepare("chown 0 target; chmod 755 target");
  EXPECT_TRUE(as_person([&] { return !move("target/closed", "closed") && errno == EACCES; }));
  EXPECT_EQ(look("target/closed").mode, 0555U);
}

TEST_F(Moving, NeedsNoKernelThatRefusesTakenNames) {
  prepare(
      "printf new > file; mkdir folder; printf in > folder/in; ln -s nowhere "
      "link; mkdir taken; "
      "printf old > taken/file; mkdir taken/folder; ln -s nowhere taken/link");
  const std::string taken = seen("/tmp/top/taken");
  for (const int error : {EINVAL, ENOSYS}) {
    answer_calls("renameat2", [&] { return error; });
    for (const char* from : {"file", "folder", "link"}) {
      for (const char* name : {"taken/file", "taken/folder", "taken/link"}) {
        EXPECT_FALSE(move(from, name));
        EXPECT_EQ(errno, EEXIST) << from << name;
      }
      const place::Entry before = look(from);
      EXPECT_TRUE(move(from, "moved") && move("moved", from)) << from;
      EXPECT_EQ(text_of(look(from)), text_of(before));
    }
  }
  EXPECT_TRUE(same_bytes(taken, seen("/tmp/top/taken")));
  EXPECT_EQ(read_file("/tmp/top/folder/in"), "in");
  EXPECT_EQ(listed(), "file\nfolder\nlink\ntaken\n");
}

TEST_F(Moving, SaysWhenItMayNot) {
  prepare(
      "mkdir theirs folder; mkdir theirs/folder; chown 1234 . "
      "theirs/folder; chmod 755 theirs theirs/folder");
  EXPECT_TRUE(as_person([&] { return !move("theirs/folder", "moved") && errno == EACCES; }));
  EXPECT_TRUE(as_person([&] { return !move("folder", "theirs/moved") && errno == EACCES; }));
  EXPECT_EQ(listed(), "folder\ntheirs\n");
}

TEST_F(Moving, ThatFailsHalfwayLeavesNothing) {
  prepare("mkdir folder; printf in > folder/in");
  answer_calls("renameat2", [] { return EINVAL; });
  answer_calls("renameat", [] { return EIO; });
  EXPECT_FALSE(move("folder", "moved"));
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(listed(), "folder\n");
}

TEST_F(Moving, NeedsNoSecondNames) {
  prepare("printf new > file; printf old > taken; ln -s nowhere link");
  answer_calls("renameat2", [] { return EINVAL; });
  for (const int error : {EPERM, EOPNOTSUPP}) {
    answer_calls("linkat", [&] { return error; });
    EXPECT_TRUE(move("file", "moved") && move("moved", "file"));
    for (const char* name : {"taken", "link"}) {
      EXPECT_FALSE(move("file", name));
      EXPECT_EQ(errno, EEXIST);
    }
  }
  answer_calls("linkat", [] { return EIO; });
  EXPECT_FALSE(move("file", "moved"));
  EXPECT_EQ(read_file("/tmp/top/taken"), "old");
  EXPECT_EQ(listed(), "file\nlink\ntaken\n");
}

// ---- Removing ----

struct Removing : Below {};

TEST_F(Removing, LeavesNothing) {
  prepare(full_tree);
  prepare(
      "printf stays > other; ln -s /tmp/top/other tree/away; mkdir "
      "outside; printf x > outside/in; "
      "ln -s /tmp/top/outside tree/folder/out");
  EXPECT_TRUE(place::remove_entry(spot("tree")));
  EXPECT_EQ(listed(), "other\noutside\n");
  EXPECT_EQ(listed("outside"), "in\n");
}

TEST_F(Removing, OfLinksLeavesWhatTheyName) {
  prepare(
      "mkdir folder; printf x > folder/in; ln -s folder link; printf x > "
      "file; ln -s file second");
  EXPECT_TRUE(place::remove_entry(spot("link")) && place::remove_entry(spot("second")));
  EXPECT_EQ(listed(), "file\nfolder\n");
  EXPECT_EQ(listed("folder"), "in\n");
}

TEST_F(Removing, OfNothingIsDone) {
  prepare("printf x > file");
  EXPECT_TRUE(place::remove_entry(spot("missing")));
  EXPECT_TRUE(place::remove_entry(spot("missing/deep")));
  EXPECT_TRUE(place::remove_entry(spot("file/below")));
  EXPECT_FALSE(place::remove_entry(spot("../outside")));
  EXPECT_EQ(listed(), "file\n");
}

TEST_F(Removing, TakesFoldersThatTheirOwnerClosed) {
  prepare(
      "mkdir -p tree/a/b tree/c; touch tree/a/b/f tree/c/f; chmod 0 "
      "tree/a/b; chmod 500 tree/c; chmod 100 "
      "tree/a; "
      "chown -R 1234 .; chmod 0 tree");
  EXPECT_TRUE(as_person([&] { return place::remove_entry(spot("tree")); }));
  EXPECT_EQ(listed(), "");
}

TEST_F(Removing, SaysWhenSomethingIsLeft) {
  prepare("mkdir -p tree/a; touch tree/a/f; chmod 755 . tree");
  EXPECT_TRUE(as_person([&] { return !place::remove_entry(spot("tree")) && errno == EACCES; }));
  EXPECT_EQ(listed("tree/a"), "f\n");
}

TEST_F(Removing, LeavesWhatIsMounted) {
  prepare("mkdir -p tree/disk");
  ASSERT_EQ(mount("tmpfs", "/tmp/top/tree/disk", "tmpfs", 0, "size=1m"), 0);
  prepare("printf x > tree/disk/theirs");
  prepare("chown 1234 tree; chmod 500 tree");
  EXPECT_FALSE(place::remove_entry(spot("tree")));
  EXPECT_EQ(errno, EBUSY);
  EXPECT_EQ(look("tree").mode, 0500U);
  EXPECT_EQ(listed("tree/disk"), "theirs\n");
  umount("/tmp/top/tree/disk");
}

TEST_F(Removing, IsNotLedAwayByAFolderThatMoves) {
  prepare(
      "mkdir other; cd other; d=tree; for i in $(seq 40); do d=$d/$i; done; mkdir -p $d; touch tree/1/a; "
      "touch $d/file; mkdir x x/2; mv tree ..; find .. -name file > ../../deepest");
  const std::string deepest = "/tmp/top/other/" + output_of("tr -d '\\n' < /tmp/deepest");
  ASSERT_TRUE(exists(deepest));
  answer_calls("unlinkat", [&] {
    return exists(deepest) ? 0 : shell_quietly("cd /tmp/top; mv -T tree/1/2 other/x/2 2>/dev/null") * 0;
  });
  EXPECT_FALSE(place::remove_entry(spot("tree")));
  EXPECT_EQ(errno, ESTALE);
  EXPECT_EQ(listed("other/x"), "2\n");
}

// ---- Attributes ----

struct Attributes : Below {
  bool give(const std::string& path, const place::Entry& like, bool without_set_id = false) const {
    return place::give_attributes(spot(path), like, without_set_id);
  }
};

TEST_F(Attributes, AreGivenToEverything) {
  prepare(
      "printf x > file; mkdir folder; mkfifo fifo; mkdir like; printf y > "
      "like/file; mkdir like/folder; "
      "mkfifo like/fifo; ln -s a link; ln -s b like/link; chown -h 5:6 "
      "like/*; chmod 4751 like/file; "
      "chmod 2700 like/folder; chmod 600 like/fifo; touch -h -d "
      "'2001-02-03 04:05:06.5' like/*");
  for (const char* name : {"file", "folder", "fifo", "link"}) {
    const place::Entry like = look(std::string("like/") + name);
    EXPECT_TRUE(give(name, like)) << name;
    EXPECT_TRUE(place::has_same_attributes(look(name), like)) << name;
    EXPECT_EQ(look(name).modified.tv_nsec, 500000000) << name;
  }
  EXPECT_EQ(read_file("/tmp/top/file"), "x");
}

TEST_F(Attributes, AreGivenWithoutSetIdBits) {
  prepare("printf x > file; printf y > like; chmod 7777 like");
  EXPECT_TRUE(give("file", look("like"), true));
  EXPECT_EQ(look("file").mode, 01777U);
}

TEST_F(Attributes, OfALinkStayOffWhatItNames) {
  prepare(
      "printf x > file; chmod 640 file; ln -s file link; printf y > like; "
      "chmod 4777 like; chown 5:6 like; "
      "ln -s x other; chown -h 7:8 other");
  const std::string before = text_of(look("file"));
  EXPECT_FALSE(give("link", look("like")));
  EXPECT_EQ(errno, EBUSY);
  EXPECT_TRUE(give("link", look("other")));
  EXPECT_EQ(look("link").uid, 7U);
  EXPECT_EQ(text_of(look("file")), before);
}

TEST_F(Attributes, OfAnotherTypeAreRefused) {
  prepare("printf x > file; mkdir folder; mkfifo fifo; chown 5 *");
  const std::string before = seen("/tmp/top");
  for (const char* name : {"file", "folder", "fifo"})
    for (const char* other : {"file", "folder", "fifo", "missing"})
      EXPECT_EQ(give(name, look(other)), std::string(name) == other) << name << other;
  EXPECT_TRUE(same_bytes(before, seen("/tmp/top")));
  EXPECT_FALSE(give("missing", look("file")));
  EXPECT_EQ(errno, ENOENT);
}

TEST_F(Attributes, ThatMayNotBeGivenAreSaid) {
  prepare(
      "printf x > file; chown 1234:1234 file .; printf y > like; chmod "
      "4751 like; touch -d 2001-02-03 like");
  const place::Entry like = look("like");
  EXPECT_TRUE(as_person([&] { return !give("file", like) && errno == EPERM; }));
  EXPECT_EQ(look("file").uid, 1234U);
  EXPECT_EQ(look("file").mode, 0751U);
  EXPECT_EQ(look("file").modified.tv_sec, like.modified.tv_sec);
}

}  // namespace
