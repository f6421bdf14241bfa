#include "process/mail/old_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* path = "/tmp/home/std.vcf";

struct KeptOldFile : testing::Test {
  KeptOldFile() {
    write_file(path, "old");
    shell_quietly("chown 1234:2345 " + std::string(path) + " && chmod 640 " + path);
  }

  static std::string names() { return output_of("ls -A /tmp/home"); }

  static void put_back(OldFile& old) {
    testing::internal::CaptureStderr();
    old.put_back();
    EXPECT_EQ(std::string(path) + " could not be written whole; the old one is back\n",
              testing::internal::GetCapturedStderr());
    EXPECT_EQ("old", read_file(path));
    EXPECT_EQ("1234:2345 640\n", output_of("stat -c '%u:%g %a' " + std::string(path)));
  }
};

TEST_F(KeptOldFile, ComesBackAsACopy) {
  OldFile old = OldFile::copy_of(path);
  EXPECT_TRUE(old.is_safe());
  write_file(path, "ne");
  put_back(old);
  EXPECT_EQ("std.vcf\n", names());
}

TEST_F(KeptOldFile, ComesBackAsACopyWhenItsModeAndOwnerAreGone) {
  OldFile old = OldFile::copy_of(path);
  shell_quietly("rm " + std::string(path) + "; echo new > " + path);
  put_back(old);
}

// A change of owner takes such bits away.
TEST_F(KeptOldFile, ComesBackWithEveryBitOfItsMode) {
  shell_quietly("chmod 6750 " + std::string(path));
  OldFile old = OldFile::copy_of(path);
  shell_quietly("rm " + std::string(path) + "; echo new > " + path);
  testing::internal::CaptureStderr();
  old.put_back();
  testing::internal::GetCapturedStderr();
  EXPECT_EQ("1234:2345 6750\n", output_of("stat -c '%u:%g %a' " + std::string(path)));
}

// The owner of a home can move its folders while we write there.
TEST_F(KeptOldFile, StaysInItsFolderWhereverThatGoes) {
  for (const bool is_copy : {true, false}) {
    OldFile old = is_copy ? OldFile::copy_of(path) : OldFile::second_name_of(path);
    shell_quietly(
        "rm -rf /tmp/other /tmp/outside; mv /tmp/home /tmp/other; mkdir /tmp/outside; echo theirs > "
        "/tmp/outside/std.vcf; ln -s /tmp/outside /tmp/home; rm /tmp/other/std.vcf");
    testing::internal::CaptureStderr();
    old.put_back();
    testing::internal::GetCapturedStderr();
    EXPECT_EQ("old", read_file("/tmp/other/std.vcf"));
    EXPECT_EQ("1234:2345 640\n", output_of("stat -c '%u:%g %a' /tmp/other/std.vcf"));
    EXPECT_EQ("theirs\n", read_file("/tmp/outside/std.vcf"));
    shell_quietly("rm /tmp/home; mv /tmp/other /tmp/home");
  }
}

TEST_F(KeptOldFile, ComesBackUnderASecondName) {
  OldFile old = OldFile::second_name_of(path);
  EXPECT_TRUE(old.is_safe());
  EXPECT_EQ("2\n", output_of("stat -c %h " + std::string(path)));
  std::filesystem::remove(path);
  write_file(path, "ne");
  put_back(old);
  EXPECT_EQ("std.vcf\n", names());
  EXPECT_EQ("1\n", output_of("stat -c %h " + std::string(path)));
}

TEST_F(KeptOldFile, ComesBackWholeWhateverItsSize) {
  const std::string text = std::string(100'000, 'o') + std::string("\0x", 2);
  write_file(path, text);
  OldFile old = OldFile::copy_of(path);
  write_file(path, "ne");
  testing::internal::CaptureStderr();
  old.put_back();
  testing::internal::GetCapturedStderr();
  EXPECT_TRUE(read_file(path) == text);
}

TEST_F(KeptOldFile, IsGoneWithTheObject) {
  {
    const OldFile copy = OldFile::copy_of(path);
    const OldFile second_name = OldFile::second_name_of(path);
    EXPECT_EQ(4, std::distance(std::filesystem::directory_iterator("/tmp/home"), {}) + 1);
  }
  EXPECT_EQ("std.vcf\n", names());
  EXPECT_EQ("old", read_file(path));
}

TEST_F(KeptOldFile, IsForItsOwnerAloneMeanwhile) {
  const OldFile old = OldFile::copy_of(path);
  EXPECT_EQ("600\n", output_of("stat -c %a /tmp/home/.brindle-*"));
}

TEST_F(KeptOldFile, OfALinkIsTheFileItNames) {
  std::filesystem::create_directories("/tmp/other");
  std::filesystem::create_symlink(path, "/tmp/other/link");
  OldFile old = OldFile::copy_of("/tmp/other/link");
  write_file("/tmp/other/link", "ne");
  put_back(old);
  EXPECT_TRUE(std::filesystem::is_symlink("/tmp/other/link"));
}

TEST_F(KeptOldFile, UnderASecondNameIsTheLinkItself) {
  std::filesystem::create_directories("/tmp/other");
  std::filesystem::create_symlink(path, "/tmp/other/link");
  OldFile old = OldFile::second_name_of("/tmp/other/link");
  shell_quietly("rm /tmp/other/link; echo new > /tmp/other/link");
  testing::internal::CaptureStderr();
  old.put_back();
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("the old one is back"));
  EXPECT_EQ(path, std::filesystem::read_symlink("/tmp/other/link"));
  EXPECT_EQ("1234:2345 640\n", output_of("stat -c '%u:%g %a' " + std::string(path)));
}

TEST_F(KeptOldFile, UnderASecondNameIsALinkOfItsOldOwner) {
  std::filesystem::create_symlink(path, "/tmp/link");
  shell_quietly("chown -h 3456:4567 /tmp/link");
  OldFile old = OldFile::second_name_of("/tmp/link");
  shell_quietly("chown -h 0:0 /tmp/link; rm /tmp/link; echo new > /tmp/link");
  testing::internal::CaptureStderr();
  old.put_back();
  testing::internal::GetCapturedStderr();
  EXPECT_EQ("3456:4567\n", output_of("stat -c %u:%g /tmp/link"));
}

TEST_F(KeptOldFile, OfNothingLeavesNothing) {
  for (const bool copy : {true, false}) {
    const std::string none = "/tmp/home/none";
    OldFile old = copy ? OldFile::copy_of(none) : OldFile::second_name_of(none);
    EXPECT_TRUE(old.is_safe());
    write_file(none, "ne");
    testing::internal::CaptureStderr();
    old.put_back();
    EXPECT_EQ(none + " could not be written whole and is gone\n", testing::internal::GetCapturedStderr());
    EXPECT_EQ("std.vcf\n", names());
  }
}

// It has neither a second name nor a copy.
TEST_F(KeptOldFile, OfAFolderIsNotSafe) {
  const std::string folder = "/tmp/home/folder";
  std::filesystem::create_directories(folder + "/inside");
  for (const bool copy : {true, false}) {
    testing::internal::CaptureStderr();
    EXPECT_FALSE((copy ? OldFile::copy_of(folder) : OldFile::second_name_of(folder)).is_safe());
    EXPECT_EQ(folder + " is not replaced: Is a directory\n", testing::internal::GetCapturedStderr());
  }
  EXPECT_EQ("folder\nstd.vcf\n", names());
}

TEST_F(KeptOldFile, OfALinkToNothingLeavesTheLink) {
  const std::string link = "/tmp/home/link";
  std::filesystem::create_symlink("/tmp/home/new", link);
  OldFile old = OldFile::copy_of(link);
  EXPECT_TRUE(old.is_safe());
  write_file(link, "ne");
  testing::internal::CaptureStderr();
  old.put_back();
  EXPECT_THAT(testing::internal::GetCapturedStderr(), StartsWith("/tmp/home/"));
  EXPECT_EQ("link\nstd.vcf\n", names());
}

TEST_F(KeptOldFile, IsNotSafeOnAFullDisk) {
  write_file(path, std::string(20'000, 'o'));
  const SmallDisk disk("/tmp/home");
  disk.fill_but(3);
  testing::internal::CaptureStderr();
  const OldFile old = OldFile::copy_of(path);
  EXPECT_FALSE(old.is_safe());
  EXPECT_EQ(std::string(path) + " is not replaced: No space left on device\n",
            testing::internal::GetCapturedStderr());
}

TEST_F(KeptOldFile, IsSafeUnderASecondNameOnAFullDisk) {
  write_file(path, std::string(20'000, 'o'));
  const SmallDisk disk("/tmp/home");
  disk.fill_but(0);
  OldFile old = OldFile::second_name_of(path);
  EXPECT_TRUE(old.is_safe());
  std::filesystem::remove(path);
  old.put_back();
  EXPECT_EQ(std::string(20'000, 'o'), read_file(path));
}

// It is still there when nobody knows of it any more.
TEST_F(KeptOldFile, IsNamedWhenItCannotBePutBack) {
  testing::internal::CaptureStderr();
  {
    OldFile old = OldFile::copy_of(path);
    shell_quietly("rm " + std::string(path) + " && mkdir " + path);
    old.put_back();
  }
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_THAT(said,
              StartsWith(std::string(path) + " could not be written whole; the old one is /tmp/home/.br"));
  EXPECT_EQ("old", read_file(said.substr(said.find("is /") + 3, said.size() - said.find("is /") - 4)));
}

// ---- Joined files ---------------------------------------------------------------------------------------

TEST(JoinedFiles, HoldTheirPartsInOrderAndNothingElse) {
  write_file("/tmp/one", "1\n");
  write_file("/tmp/two", "2\n");
  write_file("/tmp/joined", "1\n2\n");
  EXPECT_TRUE(holds_joined("/tmp/joined", {"/tmp/one", "/tmp/two"}));
  EXPECT_TRUE(holds_joined("/tmp/joined", {"/tmp/one", "/tmp/none", "/tmp/two"}));
  EXPECT_TRUE(holds_joined("/tmp/none", {"/tmp/none"}));
  EXPECT_FALSE(holds_joined("/tmp/joined", {"/tmp/two", "/tmp/one"}));
  EXPECT_FALSE(holds_joined("/tmp/joined", {"/tmp/one"}));
  EXPECT_FALSE(holds_joined("/tmp/none", {"/tmp/one"}));
  EXPECT_FALSE(holds_joined("/tmp/one", {"/tmp/one", "/tmp/two"}));
}

TEST(JoinedFiles, MayBeLongerThanWhatIsReadAtOnce) {
  const std::string one(100'000, '1'), two(70'000, '2');
  write_file("/tmp/one", one);
  write_file("/tmp/two", two);
  write_file("/tmp/joined", one + two);
  EXPECT_TRUE(holds_joined("/tmp/joined", {"/tmp/one", "/tmp/two"}));
  for (const std::string& other : {one, one + two.substr(1), one + two + "2", one.substr(1) + "2" + two}) {
    write_file("/tmp/joined", other);
    EXPECT_FALSE(holds_joined("/tmp/joined", {"/tmp/one", "/tmp/two"}));
  }
}

TEST(JoinedFiles, AreTakenForWholeByTheirSizeWhenTheCommandHasSucceeded) {
  write_file("/tmp/one", "1\n");
  write_file("/tmp/two", "2\n");
  write_file("/tmp/joined", "1\n2\n");
  write_file("/tmp/other", "3\n4\n");
  for (const int status : {0, 1, -1}) {
    EXPECT_TRUE(is_joined(status, "/tmp/joined", {"/tmp/one", "/tmp/two"})) << status;
    EXPECT_TRUE(is_joined(status, "/tmp/joined", {"/tmp/one", "/tmp/none", "/tmp/two"})) << status;
    EXPECT_FALSE(is_joined(status, "/tmp/joined", {"/tmp/one"})) << status;
    EXPECT_FALSE(is_joined(status, "/tmp/none", {"/tmp/one"})) << status;
    EXPECT_EQ(status == 0, is_joined(status, "/tmp/other", {"/tmp/one", "/tmp/two"})) << status;
  }
}

TEST(JoinedFiles, HoldNothingOfAFolder) {
  write_file("/tmp/one", "1\n");
  EXPECT_TRUE(holds_joined("/tmp/one", {"/tmp", "/tmp/one"}));
  EXPECT_TRUE(holds_joined("/tmp", {"/tmp/none"}));
  EXPECT_FALSE(holds_joined("/tmp", {"/tmp/one"}));
}

// ---- Line ends ------------------------------------------------------------------------------------------

std::string last_line_ended(const std::string& text) {
  write_file("/tmp/text", text);
  EXPECT_TRUE(end_last_line("/tmp/text"));
  return read_file("/tmp/text");
}

std::string mended(const std::string& text) {
  write_file("/tmp/text", text);
  EXPECT_TRUE(mend_lines("/tmp/text"));
  return read_file("/tmp/text");
}

TEST(LastLine, GetsAnEndIfItHasNone) {
  EXPECT_EQ("a\nb\n", last_line_ended("a\nb"));
  EXPECT_EQ("a\r\nb\n", last_line_ended("a\r\nb"));
  EXPECT_EQ("a\n", last_line_ended("a\n"));
  EXPECT_EQ("a\r\n", last_line_ended("a\r\n"));
  EXPECT_EQ("", last_line_ended(""));
}

TEST(LastLine, OfNoFileIsNone) {
  EXPECT_TRUE(end_last_line("/tmp/none"));
  EXPECT_TRUE(mend_lines("/tmp/none"));
  EXPECT_FALSE(exists("/tmp/none"));
}

TEST(Lines, GetLocalEnds) {
  EXPECT_EQ("a\nb\n", mended("a\r\nb\r\n"));
  EXPECT_EQ("a\nb\n", mended("a\r\nb"));
  EXPECT_EQ("a\nb\n", mended("a\r\r\nb\r"));
  EXPECT_EQ("a\rb\n\n", mended("a\rb\n\r\n"));
  EXPECT_EQ(std::string("a\n\0\n", 4), mended(std::string("a\r\n\0", 4)));
  EXPECT_EQ("a\x1a\nb\n", mended("\xEF\xBB\xBF"
                                 "a\x1a\r\nb\r\n\x1a\x1a"));
  EXPECT_EQ("a\nb\n", mended("\xEF\xBB\xBF"
                             "a\nb\n"));
  EXPECT_EQ("", mended(""));
}

TEST(Lines, GetLocalEndsBehindDos2unixToo) {
  for (const char* text : {"a\r\nb\r\n", "a\r\nb", "a\x1\r\nb",
                           "\xEF\xBB\xBF"
                           "a\nb\n",
                           "a\nb\n\x1a"}) {
    write_file("/tmp/text", text);
    EXPECT_TRUE(convert_and_mend_lines("/tmp/text"));
    EXPECT_EQ(text[1] == '\x1' ? "a\x1\nb\n" : "a\nb\n", read_file("/tmp/text"));
  }
  EXPECT_TRUE(convert_and_mend_lines("/tmp/none"));
  EXPECT_FALSE(exists("/tmp/none"));
}

// dos2unix leaves what is no plain file alone.
TEST(Lines, OfTheFileThatALinkNamesGetLocalEnds) {
  write_file("/tmp/text", "a\r\nb");
  std::filesystem::create_symlink("/tmp/text", "/tmp/link");
  EXPECT_TRUE(convert_and_mend_lines("/tmp/link"));
  EXPECT_EQ("a\nb\n", read_file("/tmp/text"));
}

TEST(Lines, ThatCannotBeMendedStayAsTheyAre) {
  write_file("/tmp/small/text", "a\r\nb");
  const SmallDisk disk("/tmp/small");
  disk.fill_but(0);
  EXPECT_FALSE(mend_lines("/tmp/small/text"));
  testing::internal::CaptureStderr();
  EXPECT_FALSE(convert_and_mend_lines("/tmp/small/text"));
  testing::internal::GetCapturedStderr();
  EXPECT_FALSE(end_last_line("/tmp/small/text"));
  EXPECT_EQ("a\r\nb", read_file("/tmp/small/text"));
}

}  // namespace
