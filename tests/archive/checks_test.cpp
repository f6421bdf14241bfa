#include "process/archive/checks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <memory>

#include "support/commands.h"
#include "support/files.h"
#include "support/system_log.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

// A program of this name that prints `output`, found before the real one.
void stand_in(const std::string& program, const std::string& output, int status = 0) {
  const std::string path = "/usr/local/bin/" + program;
  write_file("/tmp/standin-" + program, output);
  write_file(path, "#!/bin/sh\necho \"$0 $*\" >> /tmp/calls\ncat /tmp/standin-" + program + "\nexit " +
                       std::to_string(status) + "\n");
  shell_quietly("chmod 755 " + path);
}

std::string first_command() {
  const std::string command = commands_run().at(0);
  return command.substr(0, command.rfind(" > "));
}

struct Archive : testing::Test {
  Archive() {
    write_file("/tmp/in/Brindle/a", std::string(600000, 'a'));
    write_file("/tmp/in/Brindle/b", std::string(400000, 'b'));
    shell_quietly("cd /tmp/in && zip -qr '/tmp/my archive.zip' Brindle && tar -cf /tmp/it.tar Brindle");
  }
};

TEST_F(Archive, AZipIsOne) {
  EXPECT_EQ(1, isZipfile("/tmp/my archive.zip"));
  EXPECT_EQ("file -b \"/tmp/my archive.zip\"", first_command());
}

TEST_F(Archive, ATarIsNoZip) { EXPECT_EQ(0, isZipfile("/tmp/it.tar")); }

TEST_F(Archive, WhatIsCalledAZipAnywhereIsOne) {
  stand_in("file", "data of a Zip, with 5 entries\n");
  EXPECT_EQ(1, isZipfile("/tmp/my archive.zip"));
  stand_in("file", "gzip compressed data, was \"a.zip\", ZIP\n");
  EXPECT_EQ(0, isZipfile("/tmp/my archive.zip"));
  stand_in("file", "data\nZip archive data\n");  // the first line alone
  EXPECT_EQ(0, isZipfile("/tmp/my archive.zip"));
}

TEST_F(Archive, NoAnswerIsNotANo) {
  SystemLog log;
  stand_in("file", "", 1);
  EXPECT_EQ(-1, isZipfile("/tmp/my archive.zip"));
  EXPECT_THAT(log.messages().back(), HasSubstr("isZipfile: "));
}

TEST_F(Archive, SizeIsTheUncompressedTotal) {
  EXPECT_EQ(1000000, zipSize("/tmp/my archive.zip"));
  EXPECT_EQ("unzip -l \"/tmp/my archive.zip\" | awk '{print $1}' | tail -n 1", first_command());
  EXPECT_EQ(0, zipSize("/tmp/missing.zip"));
}

TEST_F(Archive, AHugeSizeIsNotCutToAnInt) {
  stand_in("unzip", "5000000000  1 file\n");
  EXPECT_EQ(5000000000LL, zip_bytes("/tmp/my archive.zip", "/root"));
  EXPECT_EQ(INT_MAX, zipSize("/tmp/my archive.zip"));
}

TEST_F(Archive, FreeSpaceIsTheFourthColumnOfDf) {
  stand_in("df", "Filesystem 1K-blocks Used Available Use% Mounted on\ntmpfs 9000 1 1999 1% /tmp\n");
  EXPECT_EQ(1999, tmpSize());
  EXPECT_EQ("df /tmp | awk '{print $4}' | tail -n 1", first_command());
  stand_in("df", "", 1);
  EXPECT_EQ(0, tmpSize());
}

TEST_F(Archive, TarSizeIsTheFilesOwn) {
  const std::string bytes = output_of("stat -c %s /tmp/it.tar");
  EXPECT_EQ(std::atoi(bytes.c_str()), tarsize("/tmp/it.tar"));
  EXPECT_EQ("ls -l \"/tmp/it.tar\" | awk '{print $5}'", first_command());
  EXPECT_EQ(0, tarsize("/tmp/missing"));
  EXPECT_EQ(1, is_tarfile("/tmp/anything"));
}

TEST_F(Archive, EncryptionIsTheFirstEntrys) {
  EXPECT_EQ(0, isEncrypted("/tmp/my archive.zip"));
  EXPECT_EQ(
      "zipinfo -v \"/tmp/my archive.zip\" | grep \"file security status\""
      "                         | awk '{print $4}'",
      first_command());
  shell_quietly("cd /tmp/in && zip -qrD -P secret /tmp/locked.zip Brindle");
  EXPECT_EQ(1, isEncrypted("/tmp/locked.zip"));
  EXPECT_EQ(-1, isEncrypted("/tmp/it.tar"));
}

TEST_F(Archive, AnyOtherWordAboutEncryptionTellsNothing) {
  const std::pair<const char*, int> expected[] = {{"not", 0},      {"encrypted", 1}, {"unknown", -1},
                                                  {"nothing", -1}, {"Not", -1},      {"encrypted,", -1},
                                                  {"", -1}};
  for (const auto& [word, result] : expected) {
    stand_in("zipinfo", "  file security status:   " + std::string(word) + "\n");
    EXPECT_EQ(result, isEncrypted("/tmp/my archive.zip")) << word;
  }
}

TEST_F(Archive, AHostileNameStaysOneWord) {
  const std::string name = "/tmp/$(touch ran);\"x`touch ran`.zip";
  shell_quietly("cp '/tmp/my archive.zip' '" + name + "'");
  EXPECT_EQ(1, isZipfile(name.c_str()));
  EXPECT_EQ(1000000, zipSize(name.c_str()));
  EXPECT_FALSE(exists("ran"));
  EXPECT_FALSE(exists("/tmp/ran"));
}

// ---- The CD-ROM -----------------------------------------------------------------------------------------

std::string mounted(const char* type) {
  const std::unique_ptr<char, void (*)(void*)> place(mount_cdrom_remote(type), std::free);
  return place == nullptr ? "none" : place.get();
}

TEST(MountCdrom, GivesTheFirstMountedDisc) {
  stand_in("mount", "/dev/hdc on /media/cdrom type iso9660 (ro)\n/dev/hdd on /media/dvd type iso9660 (ro)\n");
  EXPECT_EQ("/media/cdrom", mounted("iso9660"));
  EXPECT_EQ("/usr/local/bin/mount /dev/cdrom\n/usr/local/bin/mount -l -t iso9660\n", read_file("/tmp/calls"));
}

TEST(MountCdrom, GivesTheFirstPlaceInTheLineWhateverItsLabelSays) {
  stand_in("mount", "/dev/hdc on /media/cdrom type iso9660 (ro) [photos on /tape]\n");
  EXPECT_EQ("/media/cdrom", mounted("iso9660"));
}

TEST(MountCdrom, MountsOnlyForADisc) {
  stand_in("mount", "//pc/c on /mnt/c type cifs (rw)\n");
  EXPECT_EQ("/mnt/c", mounted("cifs"));
  EXPECT_EQ("/usr/local/bin/mount -l -t cifs\n", read_file("/tmp/calls"));
}

TEST(MountCdrom, SaysNothingOfADiscThatIsMountedAlready) {
  stand_in("mount", "/dev/hdc on /media/cdrom type iso9660 (ro)\n");
  EXPECT_FALSE(is_failure_logged("mount /dev/cdrom", [] { mounted("iso9660"); }));
}

TEST(MountCdrom, OfSeveralDiscsWithBlanksTheFirstIsTaken) {
  ASSERT_EQ(0, shell_quietly("mkdir -p '/mnt/a b' '/mnt/a c' && mount -t ramfs one '/mnt/a b' && "
                             "mount -t ramfs two '/mnt/a c'"));
  EXPECT_EQ("/mnt/a b", whole_mount_point("/mnt/a", "ramfs"));
}

TEST(MountCdrom, AWholeNameIsTheOneOfADiscOfItsType) {
  ASSERT_EQ(0, shell_quietly("mkdir -p '/mnt/a b' '/mnt/a c' /mnt/a && mount -t ramfs one '/mnt/a b' && "
                             "mount -t tmpfs two '/mnt/a c'"));
  EXPECT_EQ("/mnt/a c", whole_mount_point("/mnt/a", "tmpfs"));
  EXPECT_EQ("/mnt/a", whole_mount_point("/mnt/a", "iso9660"));
  ASSERT_EQ(0,
            shell_quietly("mount -t tmpfs three /mnt/a; mkdir '/mnt/a d'; mount -t tmpfs four '/mnt/a d'"));
  EXPECT_EQ("/mnt/a", whole_mount_point("/mnt/a", "tmpfs"));
}

TEST(MountCdrom, FindsNothingWithoutADisc) {
  stand_in("mount", "");
  EXPECT_EQ("none", mounted("iso9660"));
  stand_in("mount", "something else\n");
  EXPECT_EQ("none", mounted("iso9660"));
}

TEST(MountCdrom, LeavesRoomForOneMoreCharacter) {
  stand_in("mount", "/dev/hdc on /" + std::string(200, 'm') + " type iso9660 (ro)\n");
  char* place = mount_cdrom_remote("iso9660");
  ASSERT_EQ(201u, std::string(place).size());
  place[201] = '/';
  place[202] = '\0';
  std::free(place);
}

}  // namespace
