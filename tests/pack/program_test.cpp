// The program as people start it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "pack/windows_disk.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/programs.h"

namespace {

using testing::ContainsRegex;
using testing::HasSubstr;

const std::string out = "/tmp/out.zip";

struct Ended {
  int status = 0;
  std::string said;       // on standard output
  std::string complaint;  // on standard error
};

Ended run(const std::string& words) {
  const std::string command = built::brindle_pack + " " + words + " >/tmp/said 2>/tmp/complaint; echo $?";
  const int status = std::stoi(output_of(command));
  return {.status = status, .said = read_file("/tmp/said"), .complaint = read_file("/tmp/complaint")};
}

windows::Disk disk_of_two() {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/a.txt", "one\n");
  disk.add("Users/Ann/Desktop/b.txt");
  disk.add("Users/Bob/Documents/c.txt");
  return disk;
}

TEST(Program, PacksADisk) {
  const windows::Disk disk = disk_of_two();
  const Ended ended = run(disk.path() + " " + out);
  EXPECT_EQ(ended.status, 0) << ended.complaint;
  EXPECT_EQ(ended.complaint, "");
  EXPECT_THAT(ended.said, HasSubstr("Ann, account ann\n"));
  EXPECT_THAT(ended.said, ContainsRegex("  Documents +1 +1 +0 +4 B\n"));
  EXPECT_EQ(output_of("unzip -p " + out + " 'Brindle/Profiles/ann/My Documents/a.txt'"), "one\n");
  EXPECT_EQ(output_of("unzip -p " + out + " Brindle/packed.tsv"),
            "person\tlogin\tkind\tfound\tpacked\tleft_out\tbytes\n"
            "Ann\tann\tdocuments\t1\t1\t0\t4\n"
            "Ann\tann\tdesktop\t1\t1\t0\t8\n"
            "Bob\tbob\tdocuments\t1\t1\t0\t8\n");
}

TEST(Program, SaysWhatIsLeftOutAndEndsWith1) {
  const windows::Disk disk = disk_of_two();
  for (const char* name : {"l1", "l2", "l3", "l4"})
    std::filesystem::create_symlink("/etc", disk.path() + "/Users/Bob/Documents/" + name);
  const Ended ended = run(disk.path() + " " + out);
  EXPECT_EQ(ended.status, 1);
  EXPECT_THAT(
      ended.said,
      HasSubstr("  4 things, each of which is a link, and what it names is not followed.\n  What to do: "));
  EXPECT_THAT(ended.said, HasSubstr("    Users/Bob/Documents/l3\n    ... and 1 more\n"));
  EXPECT_THAT(output_of("unzip -p " + out + " 'Brindle/left out.tsv'"),
              HasSubstr("\nBob\tdocuments\tUsers/Bob/Documents/l1\tlink\t"));
  EXPECT_THAT(output_of("unzip -p " + out + " 'Brindle/left out.tsv'"),
              testing::StartsWith("person\tkind\tpath\tcause\tadvice\n"));
}

TEST(Program, ShowsNoOrdersToTheTerminal) {
  const windows::Disk disk;
  disk.add("Users/\x1b[2JAnn/Documents/a.txt");
  std::filesystem::create_symlink("/etc", disk.path() + "/Users/\x1b[2JAnn/Documents/\x1b]x\a");
  const Ended ended = run(disk.path() + " " + out);
  EXPECT_EQ(ended.said.find('\x1b'), std::string::npos) << ended.said;
  EXPECT_EQ(ended.said.find('\a'), std::string::npos);
}

TEST(Program, ListsAndWritesNothing) {
  const windows::Disk disk = disk_of_two();
  const std::string before = output_of("ls -A /tmp");
  const Ended ended = run("--list " + disk.path());
  EXPECT_EQ(ended.status, 0) << ended.complaint;
  EXPECT_THAT(ended.said, HasSubstr("Bob, account bob\n"));
  EXPECT_EQ(output_of("rm /tmp/said /tmp/complaint; ls -A /tmp"), before);
}

TEST(Program, EstimatesMoreThanItWrites) {
  const windows::Disk disk = disk_of_two();
  const Ended ended = run("--estimate " + disk.path());
  EXPECT_EQ(ended.status, 0) << ended.complaint;
  unsigned long bytes = 0;
  ASSERT_EQ(std::sscanf(ended.said.c_str(), "The archive takes at most %lu bytes.", &bytes), 1) << ended.said;
  ASSERT_EQ(run(disk.path() + " " + out).status, 0);
  EXPECT_GE(bytes, std::filesystem::file_size(out));
}

TEST(Program, PacksThosePeopleWhoAreNamed) {
  const windows::Disk disk = disk_of_two();
  EXPECT_EQ(run("--user Bob " + disk.path() + " " + out).status, 0);
  EXPECT_EQ(output_of("unzip -Z1 " + out + " | grep txt"), "Brindle/users.txt\nBrindle/My Documents/c.txt\n");
  EXPECT_EQ(run("--user Cid " + disk.path() + " /tmp/other.zip").status, 2);
  EXPECT_FALSE(std::filesystem::exists("/tmp/other.zip"));
}

TEST(Program, GivesTheLoginThatIsAskedFor) {
  const windows::Disk disk = disk_of_two();
  EXPECT_EQ(run("--login bob=robert " + disk.path() + " " + out).status, 0);
  EXPECT_THAT(output_of("unzip -Z1 " + out), HasSubstr("Brindle/Profiles/robert/My Documents/c.txt\n"));
  EXPECT_EQ(run("--login bob=ann " + disk.path() + " /tmp/other.zip").status, 2) << "it is Ann's";
  EXPECT_EQ(run("--login bob=../x " + disk.path() + " /tmp/other.zip").status, 2);
  for (const char* login : {"root", "nobody", "www-data"}) {
    const Ended ended = run(std::string("--login bob=") + login + " " + disk.path() + " /tmp/other.zip");
    EXPECT_EQ(ended.status, 2) << login;
    EXPECT_THAT(ended.complaint, HasSubstr("account of the system")) << login;
  }
  EXPECT_EQ(run("--login cid=robert " + disk.path() + " /tmp/other.zip").status, 2);
  EXPECT_FALSE(std::filesystem::exists("/tmp/other.zip"));
}

TEST(Program, LeavesKindsOutThatAreNamed) {
  const windows::Disk disk = disk_of_two();
  EXPECT_EQ(run("--without documents " + disk.path() + " " + out).status, 0);
  EXPECT_EQ(output_of("unzip -Z1 " + out + " | grep txt"),
            "Brindle/users.txt\nBrindle/Profiles/ann/Desktop/b.txt\n");
  const Ended ended = run("--without paper " + disk.path() + " /tmp/other.zip");
  EXPECT_EQ(ended.status, 2);
  EXPECT_EQ(ended.complaint,
            "brindle-pack: there is no kind of data 'paper'; brindle-pack --help tells more\n");
}

TEST(Program, ReplacesNothing) {
  const windows::Disk disk = disk_of_two();
  write_file(out, "mine");
  EXPECT_EQ(run(disk.path() + " " + out).status, 2);
  EXPECT_EQ(read_file(out), "mine");
}

TEST(Program, WritesNothingOnTheDisk) {
  const windows::Disk disk = disk_of_two();
  for (const std::string& place :
       {disk.path() + "/o.zip", disk.path() + "/Users/../o.zip", disk.path() + "/Users/Ann/o.zip"}) {
    const Ended ended = run(disk.path() + " " + place);
    EXPECT_EQ(ended.status, 2) << place;
    EXPECT_THAT(ended.complaint, HasSubstr("nothing is written there"));
  }
  std::filesystem::create_symlink(disk.path(), "/tmp/link");
  EXPECT_EQ(run(disk.path() + " /tmp/link/o.zip").status, 2);
  EXPECT_EQ(run("/tmp/link " + disk.path() + "/o.zip").status, 2);
  EXPECT_EQ(output_of("find " + disk.path() + " -name '*.zip*'"), "");
  std::filesystem::create_directory(disk.path() + ".beside");
  const Ended ended =
      run("--drive E=" + disk.path() + ".beside " + disk.path() + " " + disk.path() + ".beside/o.zip");
  EXPECT_EQ(ended.status, 2);
  EXPECT_THAT(ended.complaint, HasSubstr("nothing is written there"));
  EXPECT_EQ(run(disk.path() + " " + disk.path() + ".beside/o.zip").status, 0);
}

TEST(Program, KeepsNoCopiesOnTheDisk) {
  const windows::Disk disk = disk_of_two();
  setenv("TMPDIR", disk.path().c_str(), 1);
  for (const std::string& words : {disk.path() + " " + out, "--list " + disk.path()}) {
    const Ended ended = run(words);
    EXPECT_EQ(ended.status, 2) << words;
    EXPECT_THAT(ended.complaint, HasSubstr(disk.path() + " lies on the disk that is to be packed")) << words;
  }
}

TEST(Program, NamesAFolderThatCannotBeUsed) {
  const windows::Disk disk = disk_of_two();
  const std::string long_name = "/tmp/" + std::string(300, 'n') + "/o.zip";
  const Ended ended = run(disk.path() + " " + long_name);
  EXPECT_EQ(ended.status, 2);
  EXPECT_EQ(ended.complaint, "brindle-pack: " + long_name + " cannot be written: File name too long\n");
  setenv("TMPDIR", "/nonexistent", 1);
  const Ended without = run(disk.path() + " " + out);
  EXPECT_EQ(without.status, 2);
  EXPECT_EQ(
      without.complaint,
      "brindle-pack: a file for the time being cannot be kept in /nonexistent, which TMPDIR names: No such "
      "file or directory\n");
}

TEST(Program, ChangesNothingOnTheDisk) {
  const windows::Disk disk = disk_of_two();
  disk.add("Users/Ann/NTUSER.DAT", windows::hive({{"Network\\P", {{"RemotePath", R"(\\s\p)"}}}}));
  const std::string look =
      "cd " + disk.path() +
      " && find . -printf '%p %y %m %s %T@ %C@\\n' | sort; find . -type f -printf '%p %A@\\n' | sort";
  const std::string before = output_of(look);
  EXPECT_EQ(run(disk.path() + " " + out).status, 0);
  EXPECT_EQ(output_of(look), before);
}

TEST(Program, NeedsRoomFirst) {
  ASSERT_EQ(output_of("mkdir -p /mnt/small && mount -t tmpfs -o size=64k none /mnt/small && echo done"),
            "done\n");
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/large", std::string(100000, 'x'));
  const Ended ended = run(disk.path() + " /mnt/small/o.zip");
  EXPECT_EQ(ended.status, 2);
  EXPECT_THAT(ended.complaint, ContainsRegex("may take 1[0-9]* bytes and .* has room for [0-9]+"));
  EXPECT_EQ(output_of("ls -A /mnt/small"), "");
}

// A disk with a file that takes long to pack. The file has no blocks, and its zip is small, in a folder with
// the room that 20 GB would need.
windows::Disk disk_with_much() {
  windows::Disk disk;
  disk.add_folder("Users/Ann/Documents");
  EXPECT_EQ(output_of("truncate -s 20G " + disk.path() +
                      "/Users/Ann/Documents/large && "
                      "mkdir -p /mnt/large && mount -t tmpfs -o size=30g none /mnt/large && echo done"),
            "done\n");
  return disk;
}

// Starts the program with these words in /mnt/large, does `then` a moment later, with the program's process
// in $pid, and waits for its end. Standard output of all that: what `then` says, the exit status, the seconds
// that the program took to end after `then`, and what is left in /mnt/large and of copies. "soon" stands for
// fewer than `milliseconds`.
std::string ended_by(const std::string& words, const std::string& then, int milliseconds = 1000,
                     const std::string& moment = "1") {
  return output_of("mkdir -p /mnt/large /tmp/copies; cd /mnt/large; export TMPDIR=/tmp/copies; " +
                   built::brindle_pack + " " + words + " >/tmp/said 2>/tmp/complaint & pid=$!; sleep " +
                   moment + "; " + then +
                   "; begun=$(date +%s%N); wait $pid; echo $?; "
                   "[ $((($(date +%s%N) - begun) / 1000000)) -lt " +
                   std::to_string(milliseconds) + " ] && echo soon; ls -A /mnt/large /tmp/copies");
}

constexpr const char* nothing_left = "2\nsoon\n/mnt/large:\n\n/tmp/copies:\n";

// The table of what is left out takes room as well: 2 MB here.
TEST(Program, NeedsRoomForWhatItTells) {
  ASSERT_EQ(output_of("mkdir -p /mnt/small && mount -t tmpfs -o size=1m none /mnt/small && echo done"),
            "done\n");
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/a.txt");
  for (int i = 0; i < 5000; ++i)
    ASSERT_EQ(
        symlink("/etc",
                (disk.path() + "/Users/Ann/Documents/" + std::to_string(i) + std::string(200, 'n')).c_str()),
        0);
  const Ended ended = run(disk.path() + " /mnt/small/o.zip");
  EXPECT_EQ(ended.status, 2);
  EXPECT_THAT(ended.complaint, HasSubstr("has room for"));
}

// The most that packing took.
int kilobytes_of(const std::string& words) {
  const std::string command = "python3 -c \"import resource, subprocess; subprocess.run('" +
                              built::brindle_pack + " " + words +
                              "'.split(), stdout=subprocess.DEVNULL); "
                              "print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)\"";
  return std::stoi(output_of(command));
}

// 30,000 files, and 30,000 links that are told of, with names of 200 bytes: 12 MB of names in one folder.
TEST(Program, TakesLittleMemory) {
#ifdef BRINDLE_ADDRESS_CHECKER
  GTEST_SKIP() << "the address checker's own memory would be counted";
#endif
  const windows::Disk disk;
  disk.add_folder("Users/Ann/Documents");
  disk.add("Users/Ann/NTUSER.DAT", windows::hive({}));
  for (int i = 0; i < 30000; ++i) {
    const std::string name =
        disk.path() + "/Users/Ann/Documents/" + std::to_string(i) + std::string(194, 'n');
    ASSERT_EQ(mknod(name.c_str(), S_IFREG | 0600, 0), 0);
    ASSERT_EQ(symlink("/etc", (name + "l").c_str()), 0);
  }
  EXPECT_LT(kilobytes_of(disk.path() + " " + out), 28 * 1024);
  EXPECT_EQ(output_of("unzip -Z1 " + out + " | wc -l"), "30005\n");
  EXPECT_EQ(output_of("unzip -p " + out + " 'Brindle/left out.tsv' | wc -l"), "30001\n");
}

TEST(Program, TakesLittleMemoryForTheTopOfADrive) {
#ifdef BRINDLE_ADDRESS_CHECKER
  GTEST_SKIP() << "the address checker's own memory would be counted";
#endif
  const windows::Disk disk;
  const windows::Disk other;
  disk.add("Users/Ann/Documents/a.txt");
  for (int i = 0; i < 60000; ++i) {
    const std::string name = other.path() + "/" + std::to_string(i) + std::string(194, 'n');
    ASSERT_EQ(mknod(name.c_str(), S_IFREG | 0600, 0), 0);
  }
  EXPECT_LT(kilobytes_of("--drive D=" + other.path() + " " + disk.path() + " " + out), 28 * 1024);
  EXPECT_EQ(output_of("unzip -Z1 " + out + " | grep -c '/Drive D/.'"), "60000\n");
}

TEST(Stopping, LeavesNothingWhereverItComes) {
  const windows::Disk disk = disk_with_much();
  for (const char* signal : {"INT", "TERM", "HUP"}) {
    EXPECT_EQ(ended_by(disk.path() + " o.zip", std::string("ls; kill -") + signal + " $pid"),
              std::string("o.zip.part\n") + nothing_left)
        << signal;
    EXPECT_EQ(read_file("/tmp/complaint"), "brindle-pack: stopped; nothing is written\n");
  }
}

TEST(Stopping, TakesASecondKeyForNothingNew) {
  const windows::Disk disk = disk_with_much();
  EXPECT_EQ(ended_by(disk.path() + " o.zip", "kill -INT $pid; kill -INT $pid"), nothing_left);
  EXPECT_EQ(read_file("/tmp/complaint"), "brindle-pack: stopped; nothing is written\n");
}

// A folder that is mounted again and again: millions of files of a few.
void make_endless(const std::string& folder) {
  ASSERT_EQ(output_of("mkdir -p " + folder +
                      " /mnt/a /mnt/b && mount -t tmpfs none /mnt/a && cd /mnt/a && "
                      "seq 1 20000 | xargs touch && mount -t tmpfs none /mnt/b && cd /mnt/b && "
                      "for i in $(seq 1 20); do mkdir $i && mount --bind /mnt/a $i; done && cd " +
                      folder +
                      " && "
                      "for i in $(seq 1 20); do mkdir $i && mount --rbind /mnt/b $i; done && echo done"),
            "done\n");
}

TEST(Stopping, IsNotAskedForByAClosedWindowBehindNohup) {
  const windows::Disk disk = disk_of_two();
  make_endless(disk.path() + "/Users/Ann/Documents/more");
  EXPECT_EQ(
      output_of(
          "trap '' HUP; " + built::brindle_pack + " --list " + disk.path() +
          " >/dev/null 2>&1 & pid=$!; sleep 0.5; kill -HUP $pid; sleep 1.2; kill -0 $pid && echo works; "
          "kill -TERM $pid; wait $pid; echo $?"),
      "works\n2\n");
}

// A key of the terminal goes to both processes.
TEST(Stopping, IsTheSameForTheWholeGroup) {
  const windows::Disk disk = disk_with_much();
  EXPECT_EQ(ended_by(disk.path() + " o.zip", "kill -INT $pid $(pgrep -P $pid)"), nothing_left);
}

// As one that waits for a disk that does not answer.
TEST(Stopping, DoesNotWaitForWhoDoesNotHear) {
  const windows::Disk disk = disk_with_much();
  EXPECT_EQ(ended_by(disk.path() + " o.zip", "kill -STOP $(pgrep -P $pid); kill -INT $pid"), nothing_left);
  EXPECT_EQ(read_file("/tmp/complaint"), "brindle-pack: stopped; nothing is written\n");
  EXPECT_EQ(ended_by(disk.path() + " o.zip",
                     "kill -STOP $(pgrep -P $pid); kill -INT $pid; sleep 0.1; kill -INT $pid", 400),
            nothing_left)
      << "the second one ends it at once";
}

// Nobody reads what it says, so that it waits with the archive written and its table not yet told.
TEST(Stopping, SaysThatTheArchiveIsThereWhenItIs) {
  const windows::Disk disk = disk_of_two();
  for (const char* end : {"kill -STOP $(pgrep -P $pid); kill -INT $pid", "kill -KILL $(pgrep -P $pid)"}) {
    EXPECT_EQ(
        output_of("cd /tmp && rm -f pipe out.zip && mkfifo pipe && exec 3<>pipe && "
                  "dd if=/dev/zero of=pipe oflag=nonblock bs=4096 count=1000 2>/dev/null; " +
                  built::brindle_pack + " " + disk.path() + " " + out +
                  " >pipe 2>complaint & pid=$!; until [ -e " + out + " ]; do sleep 0.05; done; sleep 0.3; " +
                  end + "; wait $pid; echo $?; ls out.zip*; unzip -tqq " + out + " && echo good"),
        "1\nout.zip\ngood\n")
        << end;
    EXPECT_THAT(read_file("/tmp/complaint"), HasSubstr("the archive is there whole"));
  }
}

TEST(Stopping, ClearsUpBehindAFault) {
#ifdef BRINDLE_ADDRESS_CHECKER
  GTEST_SKIP() << "the address checker takes the fault for its own";
#endif
  const windows::Disk disk = disk_with_much();
  EXPECT_EQ(ended_by(disk.path() + " o.zip", "kill -SEGV $(pgrep -P $pid)"), nothing_left);
  EXPECT_EQ(read_file("/tmp/complaint"),
            "brindle-pack: it was ended by signal 11; what it had begun to write is removed\n");
}

TEST(Stopping, ClearsUpWhenNobodyWatches) {
  const windows::Disk disk = disk_with_much();
  EXPECT_EQ(ended_by(disk.path() + " o.zip", "kill -KILL $pid; sleep 0.5"),
            "137\nsoon\n/mnt/large:\n\n/tmp/copies:\n");
}

TEST(Stopping, IsHeardInTheFirstPass) {
  const windows::Disk disk;
  make_endless(disk.path() + "/Users/Ann/Documents");
  EXPECT_EQ(ended_by(disk.path() + " o.zip", "ls; kill -INT $pid"), nothing_left);
  EXPECT_EQ(ended_by("--list " + disk.path(), "kill -INT $pid"), nothing_left);
  EXPECT_EQ(ended_by("--estimate " + disk.path(), "kill -INT $pid"), nothing_left);
}

TEST(Stopping, IsHeardWhileMailIsCounted) {
  const windows::Disk disk;
  const std::string inbox = "Users/Ann/AppData/Roaming/Thunderbird/Profiles/x/Mail/Local Folders/Inbox";
  disk.add(inbox, "From - \nSubject: a\n\n");
  ASSERT_EQ(output_of("truncate -s 50G '" + disk.path() + "/" + inbox + "' && echo done"), "done\n");
  EXPECT_EQ(ended_by("--list " + disk.path(), "kill -INT $pid"), nothing_left);
}

TEST(Stopping, LeavesNoCopies) {
  const windows::Disk disk;
  const std::string places = "Users/Ann/AppData/Roaming/Mozilla/Firefox/Profiles/x/places.sqlite";
  disk.add(places, "");
  ASSERT_EQ(output_of("truncate -s 20G " + disk.path() + "/" + places +
                      " && mkdir -p /tmp/copies && "
                      "mount -t tmpfs -o size=40g none /tmp/copies && echo done"),
            "done\n");
  EXPECT_EQ(ended_by(disk.path() + " o.zip", "ls -d /tmp/copies/brindle-pack-* | wc -l; kill -INT $pid", 1000,
                     "0.3"),
            std::string("1\n") + nothing_left);
  EXPECT_EQ(ended_by(disk.path() + " o.zip", "kill -STOP $(pgrep -P $pid); kill -INT $pid", 1000, "0.3"),
            nothing_left);
}

TEST(Program, ShowsHowFarItIsOnATerminal) {
  const windows::Disk disk;
  disk.add_folder("Users/Ann/Documents");
  ASSERT_EQ(output_of("truncate -s 600M " + disk.path() + "/Users/Ann/Documents/large && echo done"),
            "done\n");
  const std::string shown = output_of("script -qec '" + built::brindle_pack + " " + disk.path() + " " + out +
                                      "' /dev/null; echo status $?");
  EXPECT_THAT(shown, ContainsRegex("\r[0-9]+ things found\x1b\\[K"));
  EXPECT_THAT(shown, ContainsRegex("\r +[0-9]+% packed, about 0:[0-9][0-9] left\x1b\\[K"));
  EXPECT_THAT(shown, ContainsRegex("\r\x1b\\[KAnn, account ann\r\n")) << "the line is gone in the end";
  EXPECT_THAT(shown, HasSubstr("status 0"));
  EXPECT_EQ(run(disk.path() + " /tmp/other.zip").complaint, "") << "and nowhere else";
}

TEST(Program, SaysTheArchiveIsThereToNobodyToo) {
  const windows::Disk disk = disk_of_two();
  EXPECT_EQ(output_of("(" + built::brindle_pack + " " + disk.path() + " " + out +
                      "; echo $? >/tmp/status) | true; "
                      "sleep 0.5; cat /tmp/status"),
            "0\n");
  EXPECT_TRUE(std::filesystem::exists(out));
}

// What is packed of a file that the disk does not give to its end counts, and no more.
TEST(Program, CountsWhatIsPackedOfABrokenFileAndEndsWith1) {
  ASSERT_EQ(output_of("cd /tmp && truncate -s 8M disk && mkntfs -qF disk >/dev/null && ntfs-3g disk /mnt && "
                      "mkdir -p /mnt/Users/Ann/Documents && echo done"),
            "done\n");
  write_file("/mnt/Users/Ann/Documents/a.txt", "whole\n");
  write_file("/mnt/Users/Ann/Documents/b.txt", "online\n");
  ASSERT_EQ(
      output_of(
          "setfattr -n system.ntfs_attrib_be -v 0x00001020 /mnt/Users/Ann/Documents/b.txt && echo done"),
      "done\n");
  const Ended ended = run("/mnt " + out);
  EXPECT_EQ(ended.status, 1);
  EXPECT_THAT(ended.said, ContainsRegex("Documents +2 +1 +1 +6 B\n"));
  EXPECT_EQ(output_of("umount /mnt && echo done"), "done\n");
}

TEST(Program, SaysWhyItCannot) {
  const windows::Disk disk;
  disk.add_folder("Windows");
  const struct {
    std::string words;
    const char* complaint;
  } cases[] = {
      {"", "the disk is missing"},
      {disk.path(), "the archive to write is missing"},
      {"--list " + disk.path() + " x.zip", "--list and --estimate write no archive"},
      {disk.path() + " a.zip b.zip", "'b.zip' is one word too many"},
      {"--nonsense", "there is no option --nonsense"},
      {"--user", "--user needs a value"},
      {"--drive E " + disk.path() + " " + out, "--drive needs two sides, one=other, and has 'E'"},
      {"--drive EE=x " + disk.path() + " " + out, "'EE' is no drive letter"},
      {"--drive E=/nowhere " + disk.path() + " " + out, "/nowhere cannot be read: No such file or directory"},
      {"/nowhere " + out, "/nowhere cannot be read: No such file or directory"},
      {"/etc/passwd " + out, "/etc/passwd is neither a folder nor a disk of Windows"},
      {"--charset nonsense " + disk.path() + " " + out, "there is no character set 'nonsense'"},
      {disk.path() + " " + out, " has no folder of a person"},
      {"'' " + out, "a name is empty"},
  };
  for (const auto& [words, complaint] : cases) {
    const Ended ended = run(words);
    EXPECT_EQ(ended.status, 2) << words;
    EXPECT_EQ(ended.said, "") << words;
    EXPECT_THAT(ended.complaint, HasSubstr(complaint)) << words;
  }
  EXPECT_FALSE(std::filesystem::exists(out));
}

TEST(Program, HelpsItself) {
  const Ended ended = run("--help");
  EXPECT_EQ(ended.status, 0);
  EXPECT_THAT(ended.said, HasSubstr("usage: brindle-pack [options] SOURCE OUT.zip\n"));
}

}  // namespace
