// The program as people start it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "pack/windows_disk.h"
#include "support/commands.h"
#include "support/files.h"

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
  const std::string command =
      std::string(BRINDLE_PACK) + " " + words + " >/tmp/said 2>/tmp/complaint; echo $?";
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
  EXPECT_THAT(ended.said,
              HasSubstr("  4 things is a link, and what it names is not followed.\n  What to do: "));
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
  EXPECT_GE(bytes, std::filesystem::file_size(out) - output_of("unzip -p " + out + " '*.tsv'").size() - 500);
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
  EXPECT_EQ(run(disk.path() + " " + disk.path() + ".beside/o.zip").status, 0);
}

TEST(Program, ChangesNothingOnTheDisk) {
  const windows::Disk disk = disk_of_two();
  disk.add("Users/Ann/NTUSER.DAT", windows::hive({{"Network\\P", {{"RemotePath", R"(\\s\p)"}}}}));
  const std::string look = "cd " + disk.path() + " && find . -printf '%p %y %m %s %T@ %C@\\n' | sort";
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

TEST(Program, StoppedByAKeyItLeavesNothing) {
  const windows::Disk disk;
  disk.add_folder("Users/Ann/Documents");
  ASSERT_EQ(output_of("truncate -s 20G " + disk.path() + "/Users/Ann/Documents/large && echo done"),
            "done\n");
  // The room that 20 GB would need is not there, nor used: the file has no blocks, and its zip is small.
  ASSERT_EQ(output_of("mkdir -p /mnt/large && mount -t tmpfs -o size=30g none /mnt/large && echo done"),
            "done\n");
  const std::string status =
      output_of(std::string("cd /mnt/large && ") + BRINDLE_PACK + " " + disk.path() +
                " o.zip >/tmp/said 2>/tmp/complaint & sleep 1; ls /mnt/large; kill -INT $!; "
                "wait $!; echo $?; ls -A /mnt/large");
  EXPECT_EQ(status, "o.zip.part\n2\n");
  EXPECT_EQ(read_file("/tmp/complaint"), "brindle-pack: stopped; nothing is written\n");
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
