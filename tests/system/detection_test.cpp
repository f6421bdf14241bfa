#include "system/detection.h"

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/resource.h>

#include "state/state.h"
#include "support/files.h"

namespace {

// An empty /etc that lists its newest file first.
class Detection : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(mount("etc", "/etc", "tmpfs", 0, nullptr), 0); }
  void TearDown() override { umount("/etc"); }

  static std::string detect() {
    testing::internal::CaptureStdout();
    result = getOsVersion("");
    return testing::internal::GetCapturedStdout();
  }

  static inline int result = -1;
};

void expect_system(const char* name, const char* version) {
  EXPECT_STREQ(OSName, name);
  EXPECT_STREQ(OSVersion, version);
}

constexpr const char* start = "Getting OS Version.........\n";

TEST_F(Detection, NoFileIsGnomeAndOnlyThatIsPrinted) {
  EXPECT_EQ(detect(), "Getting OS Version.........\nOSName::GNome\nOSVersion::Any\n");
  EXPECT_EQ(result, 0);
  expect_system("GNome", "Any");
}

TEST_F(Detection, Linspire) {
  write_file("/etc/linspire-version", "");
  EXPECT_EQ(detect(), start);
  EXPECT_EQ(result, 0);
  expect_system("Linspire", "Any");
}

TEST_F(Detection, Xandros) {
  write_file("/etc/xandros-version", "");
  EXPECT_EQ(detect(), start);
  expect_system("Xandros", "Any");
}

TEST_F(Detection, NamesMatchWhole) {
  write_file("/etc/linspire-version.bak", "");
  write_file("/etc/old-xandros-version", "");
  write_file("/etc/Redflag-release", "release 4.1 ");
  detect();
  expect_system("GNome", "Any");
}

TEST_F(Detection, TheFirstInDirectoryOrderDecides) {
  write_file("/etc/linspire-version", "");
  write_file("/etc/xandros-version", "");
  detect();
  expect_system("Xandros", "Any");  // the newest is listed first here
}

TEST_F(Detection, TheFirstInDirectoryOrderDecidesTheOtherWayRound) {
  write_file("/etc/xandros-version", "");
  write_file("/etc/linspire-version", "");
  detect();
  expect_system("Linspire", "Any");
}

TEST_F(Detection, RedFlagPlus) {
  write_file("/etc/redflag-release", "Red Flag Linux release 4.1plus (Desktop)\n");
  EXPECT_EQ(detect(), start);
  EXPECT_EQ(result, 0);
  expect_system("RedFlag", "4.1 Plus");
}

TEST_F(Detection, RedFlagNeedsABlankAfterTheNumber) {
  write_file("/etc/redflag-release", "Red Flag Linux release 4.1 (Desktop)\n");
  detect();
  expect_system("RedFlag", "4.1");
}

TEST_F(Detection, ANumberAtTheEndOfTheLineIsInvalid) {
  write_file("/etc/redflag-release", "Red Flag Linux release 4.1\n");
  EXPECT_EQ(detect(), start);
  EXPECT_EQ(result, 0);
  expect_system("INVALID", "INVALID");
}

TEST_F(Detection, OfBothReleasesInALineThePlainOneCounts) {
  write_file("/etc/redflag-release", "Red Flag Linux release 4.1plus, from release 4.1 (Desktop)\n");
  detect();
  expect_system("RedFlag", "4.1");
}

TEST_F(Detection, AnotherReleaseIsInvalidAlthoughAnotherFileFollows) {
  write_file("/etc/linspire-version", "");
  write_file("/etc/redflag-release", "Red Flag Linux release 4.2 \n");
  detect();
  expect_system("INVALID", "INVALID");
}

TEST_F(Detection, EmptyReleaseIsInvalid) {
  write_file("/etc/redflag-release", "");
  detect();
  expect_system("INVALID", "INVALID");
}

TEST_F(Detection, OnlyTheFirstLineCounts) {
  write_file("/etc/redflag-release", "Red Flag Linux\nrelease 4.1plus\n");
  detect();
  expect_system("INVALID", "INVALID");
}

TEST_F(Detection, OnlyTheFirst127CharactersCount) {
  write_file("/etc/redflag-release", std::string(115, 'x') + "release 4.1 \n");
  detect();
  expect_system("RedFlag", "4.1");
  write_file("/etc/redflag-release", std::string(116, 'x') + "release 4.1 \n");
  detect();
  expect_system("INVALID", "INVALID");
}

TEST_F(Detection, AFolderInPlaceOfTheReleaseIsInvalid) {
  write_file("/etc/redflag-release/file", "release 4.1 ");
  detect();
  expect_system("INVALID", "INVALID");
}

TEST_F(Detection, EachCallDetectsAgain) {
  detect();
  write_file("/etc/xandros-version", "");
  detect();
  expect_system("Xandros", "Any");
}

TEST_F(Detection, AnEtcThatCannotBeListedChangesNothing) {
  write_file("/etc/linspire-version", "");
  detect();
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  rlimit limit{};
  getrlimit(RLIMIT_NOFILE, &limit);
  const rlimit none{0, limit.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  const int status = getOsVersion("");
  setrlimit(RLIMIT_NOFILE, &limit);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), start);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "In /etc opendir: : Too many open files\n");
  EXPECT_EQ(status, 1);
  expect_system("Linspire", "Any");
}

}  // namespace
