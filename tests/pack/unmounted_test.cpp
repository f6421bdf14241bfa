// Whole runs of the program on images.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "pack/ntfs_image.h"
#include "pack/windows_disk.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/programs.h"

namespace {

using testing::HasSubstr;
using testing::Not;

struct Ended {
  int status = 0;
  std::string said;
  std::string complaint;
};

Ended run(const std::string& words) {
  const int status =
      std::stoi(output_of(built::brindle_pack + " " + words + " >/tmp/said 2>/tmp/complaint; echo $?"));
  return {.status = status, .said = read_file("/tmp/said"), .complaint = read_file("/tmp/complaint")};
}

// Names, sizes and sums of all, and the times of what is not made now.
std::string contents_of(const std::string& zip) {
  return output_of(
      "rm -rf /tmp/out && mkdir /tmp/out && cd /tmp/out && TZ=UTC unzip -q " + zip +
      " && find . ! -name '*.tsv' -printf '%p %s\\n' | sort; find . -type f ! -name '*.tsv' -exec "
      "sha256sum {} + | sort; find . -path '*/My Documents/*' -printf '%p %Ts\\n' | sort; "
      "cat Brindle/packed.tsv; cat 'Brindle/left out.tsv'");
}

windows::Disk family() {
  const windows::Disk disk;
  disk.add("Users/Ann/Documents/letter.txt", "Dear\n");
  disk.add("Users/Ann/Documents/deep/er/large.bin", std::string(500'000, 'x') + "end");
  disk.add("Users/Ann/Documents/half\xED\xA0\x80.txt", "half");
  disk.add("Users/Ann/Pictures/p.jpg", "picture");
  disk.add("Users/Ann/Favorites/b.url", "[InternetShortcut]\r\nURL=http://b.example/\r\n");
  disk.add("Users/Ann/NTUSER.DAT", windows::hive({{"Network\\P", {{"RemotePath", R"(\\s\p)"}}}}));
  disk.add("Users/Bob/Desktop/d.txt");
  disk.add_folder("Users/Bob/Documents/empty");
  output_of("find " + disk.path() + " -exec touch -d '2020-02-03 04:05:06 UTC' {} +");
  return disk;
}

TEST(Unmounted, GivesTheSameArchiveAsTheFolders) {
  const windows::Disk disk = family();
  windows::NtfsImage image;
  image.add_tree(disk.path());
  const Ended of_folders = run(disk.path() + " /tmp/folders.zip");
  const Ended of_image = run(image.close() + " /tmp/image.zip");
  EXPECT_EQ(of_image.complaint, "");
  EXPECT_EQ(of_image.status, of_folders.status);
  EXPECT_EQ(of_image.said, of_folders.said);
  const std::string expected = contents_of("/tmp/folders.zip");
  EXPECT_THAT(expected, testing::AllOf(HasSubstr("large.bin 500003\n"), HasSubstr("large.bin 1580702706\n")));
  EXPECT_EQ(contents_of("/tmp/image.zip"), expected);
}

TEST(Unmounted, GivesTheSameArchiveAsMounted) {
  const windows::Disk disk = family();
  windows::NtfsImage image;
  image.add_tree(disk.path());
  image.add_folder("Users/Ann/Again");
  image.set_reparse_point("Users/Ann/Again", windows::junction_to("C:\\Users\\Ann\\Documents"));
  image.add("Users/Ann/Documents/online");
  image.set_attributes("Users/Ann/Documents/online", windows::offline);
  const std::string path = image.close();
  if (output_of("mkdir -p /mnt/w && ntfs-3g -o ro " + path + " /mnt/w >/tmp/mounting 2>&1; echo $?") != "0\n")
    GTEST_SKIP() << read_file("/tmp/mounting");
  const Ended of_mount = run("/mnt/w /tmp/mount.zip");
  output_of("fusermount3 -u /mnt/w || umount /mnt/w");
  const Ended of_image = run(path + " /tmp/image.zip");
  EXPECT_EQ(of_image.said, of_mount.said);
  EXPECT_THAT(of_mount.said, HasSubstr("kept online only"));
  EXPECT_EQ(contents_of("/tmp/image.zip"), contents_of("/tmp/mount.zip"));
}

TEST(Unmounted, HasWhatIsInOneDriveAndMountedSaysHow) {
  windows::NtfsImage image;
  image.add("Users/Ann/OneDrive/Documents/a.txt", "in the cloud");
  image.add("Users/Ann/Documents/b.txt");
  for (const char* name :
       {"Users/Ann/OneDrive", "Users/Ann/OneDrive/Documents", "Users/Ann/OneDrive/Documents/a.txt"})
    image.set_reparse_point(name, windows::reparse_point(windows::onedrive));
  const std::string path = image.close();
  EXPECT_EQ(run(path + " /tmp/image.zip").status, 0);
  EXPECT_EQ(output_of("unzip -p /tmp/image.zip '*/OneDrive/Documents/a.txt'"), "in the cloud");
  if (output_of("mkdir -p /mnt/w && ntfs-3g -o ro " + path + " /mnt/w >/tmp/mounting 2>&1; echo $?") != "0\n")
    GTEST_SKIP() << read_file("/tmp/mounting");
  const Ended mounted = run("/mnt/w /tmp/mount.zip");
  output_of("fusermount3 -u /mnt/w || umount /mnt/w");
  EXPECT_EQ(mounted.status, 1);
  EXPECT_THAT(mounted.said, HasSubstr("1 thing is OneDrive's, and is not shown where the disk is mounted"));
  EXPECT_THAT(mounted.said, HasSubstr("name the partition itself"));
}

TEST(Unmounted, OneBadPlaceIsNamedAndTheRestIsPacked) {
  windows::NtfsImage image;
  image.add("Users/Ann/Documents/a.txt", "a");
  image.add("Users/Ann/Documents/b.txt", "b");
  image.add("Users/Ann/Documents/deep/c.txt", "c");
  image.add("Users/Ann/Music/m.mp3", "m");
  const std::uint64_t file = image.record_of("Users/Ann/Documents/b.txt");
  const std::uint64_t folder = image.record_of("Users/Ann/Documents/deep");
  windows::patch(image.close(), file, "BAAD");
  windows::patch(image.close(), folder, "BAAD");
  const Ended ended = run(image.close() + " /tmp/image.zip");
  EXPECT_EQ(ended.status, 1);
  EXPECT_EQ(ended.complaint, "") << "the library's messages are not ours";
  EXPECT_THAT(ended.said, HasSubstr("2 things, each of which cannot be read."));
  EXPECT_THAT(ended.said, HasSubstr("    Users/Ann/Documents/b.txt\n    Users/Ann/Documents/deep\n"));
  EXPECT_EQ(output_of("unzip -Z1 /tmp/image.zip | grep '[am].[tm]'"),
            "Brindle/My Documents/a.txt\nBrindle/My Documents/My Music/m.mp3\n");
}

TEST(Unmounted, WindowsThatSleepsIsTold) {
  for (const char* sign : {"hibr", "HIBR"}) {
    windows::NtfsImage image;
    image.add("Users/Ann/Documents/a.txt");
    image.add("hiberfil.sys", std::string(sign) + std::string(100, '\0'));
    const Ended ended = run("--list " + image.close());
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.said, HasSubstr("1 thing shows that Windows was only put to sleep"));
    EXPECT_THAT(ended.said, HasSubstr("shutdown /s /t 0"));
    EXPECT_THAT(ended.said, HasSubstr("    C:/hiberfil.sys\n"));
  }
  windows::NtfsImage awake;
  awake.add("Users/Ann/Documents/a.txt");
  awake.add("hiberfil.sys", "wake" + std::string(100, '\0'));
  EXPECT_EQ(run("--list " + awake.close()).status, 0);
}

TEST(Unmounted, AVolumeThatWasNotClosedIsTold) {
  windows::NtfsImage image;
  image.add("Users/Ann/Documents/a.txt");
  image.add("Users/Bob/Documents/b.txt");
  image.set_dirty();
  const Ended ended = run("--list " + image.close());
  EXPECT_EQ(ended.status, 1);
  EXPECT_THAT(ended.said, HasSubstr("This computer\n"));
  EXPECT_THAT(ended.said, HasSubstr("1 thing is a disk that Windows did not close"));
}

TEST(Unmounted, ADisksOtherPartitionsHaveTheirLetters) {
  windows::NtfsImage data;
  data.add("Papers/a.txt");
  windows::NtfsImage other;
  other.add("Stuff/b.txt");
  windows::NtfsImage system;
  const std::uint64_t second = 1024 * 1024 * (1 + 4 + 1);
  system.add("Users/Ann/NTUSER.DAT",
             windows::hive({{R"(Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders)",
                             {{"Personal", R"(E:\Papers)", windows::Value::expand}}}}));
  system.add(
      "Windows/System32/config/SYSTEM",
      windows::hive({{"MountedDevices",
                      {{R"(\DosDevices\C:)", windows::mbr_identity(1), windows::Value::binary},
                       {R"(\DosDevices\E:)", windows::mbr_identity(second), windows::Value::binary}}}}));
  const std::vector<windows::DiskPart> parts{{system.close()}, {data.close()}, {other.close()}};
  ASSERT_EQ(windows::begin_of(parts, 1), second);
  const std::string disk = windows::disk_with_mbr(parts);
  const Ended ended = run(disk + " /tmp/image.zip");
  EXPECT_EQ(ended.status, 1);
  EXPECT_THAT(output_of("unzip -Z1 /tmp/image.zip"), HasSubstr("Brindle/My Documents/a.txt\n"));
  EXPECT_THAT(ended.said, HasSubstr("is another partition of this disk"));
  EXPECT_THAT(ended.said, HasSubstr("    " + disk + "#3\n"));
  const Ended named = run("--drive F=" + disk + "#3 " + disk + " /tmp/more.zip");
  EXPECT_THAT(named.said, Not(HasSubstr("another partition")));
  EXPECT_EQ(output_of("unzip -p /tmp/more.zip 'Brindle/My Documents/Drive F/Stuff/b.txt'"), "content\n");
}

TEST(Unmounted, LettersAreFoundWhereverWindowsIs) {
  windows::NtfsImage data;
  data.add("Papers/a.txt");
  const std::uint64_t second = 1024 * 1024 * (1 + 4 + 1);
  for (const char* place : {"winnt/SYSTEM32/Config/system", "WINDOWS/system32/config/system"}) {
    windows::NtfsImage system;
    system.add_folder("Users/Ann");
    system.add(
        place,
        windows::hive({{"MountedDevices",
                        {{R"(\DosDevices\E:)", windows::mbr_identity(second), windows::Value::binary}}}}));
    const std::string disk = windows::disk_with_mbr({{system.close()}, {data.close()}});
    EXPECT_THAT(run(disk + " /tmp/image.zip").said, Not(HasSubstr("another partition"))) << place;
    EXPECT_THAT(output_of("unzip -Z1 /tmp/image.zip"), HasSubstr("Drive E/Papers/a.txt\n")) << place;
  }
}

TEST(Unmounted, ItsImageIsNotWritten) {
  windows::NtfsImage image;
  image.add("Users/Ann/Documents/a.txt");
  const std::string path = image.close();
  const std::string look = "sha256sum " + path + "; stat -c '%y %z' " + path;
  const std::string before = output_of(look);
  EXPECT_EQ(run(path + " /tmp/image.zip").status, 0);
  EXPECT_EQ(run(path + " " + path).status, 2) << "nothing is written over it";
  EXPECT_EQ(output_of(look), before);
}

// An image as a device, or a partition of it, mounted on /mnt/w.
struct Mounted {
  explicit Mounted(const std::string& image, const std::string& partition = "") {
    write_file("/tmp/mount.sh", R"(
      set -e
      # The private view has no devices of disks.
      [ -e /dev/loop-control ] || mknod -m 600 /dev/loop-control c 10 237
      for number in $(seq 0 63); do
        [ -e /dev/loop$number ] || mknod -m 600 /dev/loop$number b 7 $number
      done
      device=$(losetup --show --partscan --find "$1")
      # It goes when nothing uses it any more, whatever becomes of us.
      trap 'losetup --detach "$device"' EXIT
      if [ -n "$2" ]; then
        # A kernel that knows no tables has none yet; of others it is this one.
        addpart "$device" 1 2048 $(($(stat -c %s "$1") / 512 - 4096)) || true
        numbers=$(tr : ' ' < "/sys/class/block/${device#/dev/}$2/dev")
        rm -f "$device$2"
        mknod -m 600 "$device$2" b $numbers
      fi
      mkdir -p /mnt/w
      ntfs-3g "$device$2" /mnt/w >&2
      echo "$device" > /tmp/device)");
    const std::string command = "bash /tmp/mount.sh " + image + " '" + partition + "'";
    if (output_of(command + " 2>/tmp/mounting; echo $?") == "0\n") device = read_file("/tmp/device");
    if (!device.empty()) device.pop_back();
  }
  Mounted(const Mounted&) = delete;
  Mounted& operator=(const Mounted&) = delete;
  ~Mounted() {
    if (!device.empty()) output_of("umount /mnt/w");
  }

  static std::string complaint() { return read_file("/tmp/mounting"); }

  std::string device;  // empty: there are no such devices
};

void expect_nothing_written_there(const std::string& device) {
  const Ended within = run(device + " /mnt/w/o.zip");
  EXPECT_EQ(within.status, 2);
  EXPECT_THAT(within.complaint, HasSubstr("/mnt/w/o.zip lies on the disk that is to be packed"));
  setenv("TMPDIR", "/mnt/w", 1);
  const Ended copies = run(device + " /tmp/o.zip");
  unsetenv("TMPDIR");
  EXPECT_EQ(copies.status, 2);
  EXPECT_THAT(copies.complaint, HasSubstr("/mnt/w lies on the disk that is to be packed"));
  EXPECT_EQ(run(device + " /tmp/o.zip").status, 0) << "beside it there is no objection";
  EXPECT_EQ(output_of("ls /mnt/w"), "Users\n");
}

TEST(Unmounted, NothingIsWrittenWhereTheDeviceIsMounted) {
  windows::NtfsImage image;
  image.add("Users/Ann/Documents/a.txt");
  const Mounted mounted(image.close());
  if (mounted.device.empty()) GTEST_SKIP() << Mounted::complaint();
  expect_nothing_written_there(mounted.device);
}

// Which partitions a disk has is said in /sys.
TEST(Unmounted, NothingIsWrittenWhereAPartitionOfTheDeviceIsMounted) {
  output_of("[ -e /sys/dev/block ] || { mkdir -p /sys && mount -t sysfs sysfs /sys; }");
  windows::NtfsImage image;
  image.add("Users/Ann/Documents/a.txt");
  const Mounted mounted(windows::disk_with_mbr({{image.close()}}), "p1");
  if (mounted.device.empty()) GTEST_SKIP() << Mounted::complaint();
  expect_nothing_written_there(mounted.device);
}

TEST(Unmounted, WhatIsNoDiskEndsWith2) {
  write_file("/tmp/locked", std::string("\0\0\0-FVE-FS-", 11) + std::string(5000, '\0'));
  const Ended ended = run("/tmp/locked /tmp/image.zip");
  EXPECT_EQ(ended.status, 2);
  EXPECT_THAT(ended.complaint,
              HasSubstr("brindle-pack: /tmp/locked cannot be read: BitLocker has encrypted it."));
  write_file("/tmp/empty", "");
  EXPECT_EQ(run("/tmp/empty /tmp/image.zip").status, 2);
  EXPECT_EQ(run("--drive E=/tmp/empty /mnt /tmp/image.zip").complaint,
            "brindle-pack: /tmp/empty is empty, or cannot be read\n");
  EXPECT_FALSE(std::filesystem::exists("/tmp/image.zip"));
}

}  // namespace
