#include "shell/files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"
#include "support/system_log.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

TEST(OpenFile, DoesNotWaitForWhoeverWritesToAPipe) {
  ASSERT_EQ(0, mkfifo("/tmp/pipe", 0600));
  alarm(20);  // ends a test that waits
  EXPECT_TRUE(open_file("/tmp/pipe", "r"));
  EXPECT_EQ("", read_whole("/tmp/pipe"));
  alarm(0);
}

TEST(OpenFile, MakesFilesWithTheRightsOfTheUmask) {
  umask(022);
  EXPECT_TRUE(open_file("/tmp/w", "w"));
  EXPECT_TRUE(open_file("/tmp/wx", "wx"));
  EXPECT_EQ("644\n644\n", output_of("stat -c %a /tmp/w /tmp/wx"));
}

TEST(IsFolder, IsTrueForWhateverOpensForReading) {
  write_file("/tmp/a/plain", "x");
  EXPECT_EQ(1, is_folder("/tmp", "a"));
  EXPECT_EQ(1, is_folder("/tmp/a", "plain"));
  EXPECT_EQ(0, is_folder("/tmp/a", "missing"));
  EXPECT_EQ(1, is_folder("/tmp", "a/plain"));
}

TEST(IsFolder, IsFalseForWhatMayNotBeRead) {
  write_file("/tmp/a/plain", "x");
  chmod("/tmp/a/plain", 0);
  ASSERT_EQ(0, seteuid(65534));
  const int readable = is_folder("/tmp/a", "plain");
  ASSERT_EQ(0, seteuid(0));
  EXPECT_EQ(0, readable);
}

TEST(IsFolder, TakesPathsOfAnyLength) {
  const std::string deep = std::string(200, 'd') + "/" + std::string(200, 'e');
  write_file("/tmp/" + deep, "x");
  EXPECT_EQ(1, is_folder("/tmp", deep.c_str()));
}

TEST(CloseFile, TellsWhetherEveryByteWasWritten) {
  File whole = open_file("/tmp/f", "w");
  write_text(whole, "text");
  EXPECT_TRUE(close_file(whole));
  EXPECT_FALSE(whole);
  EXPECT_EQ("text", read_file("/tmp/f"));
}

TEST(CloseFile, SaysThatTheDiskIsFull) {
  File full = open_file("/dev/full", "w");
  write_text(full, "text");
  EXPECT_FALSE(close_file(full));
  EXPECT_EQ(ENOSPC, errno);
  EXPECT_FALSE(full);
}

TEST(CloseFile, RemembersAWriteThatFailedBefore) {
  File full = open_file("/dev/full", "w");
  std::setbuf(full.get(), nullptr);
  write_text(full, "text");
  errno = EBADF;
  EXPECT_FALSE(close_file(full));
  EXPECT_EQ(ENOSPC, errno);
}

TEST(CloseFile, HasAReasonForAWriteOfOthers) {
  File full = open_file("/dev/full", "w");
  std::setbuf(full.get(), nullptr);
  std::fputs("text", full.get());
  errno = 0;
  EXPECT_FALSE(close_file(full));
  EXPECT_EQ(EIO, errno);
}

TEST(CloseFile, IsFalseForAStreamThatNeverOpened) {
  File none = open_file("/tmp/missing/f", "w");
  EXPECT_FALSE(close_file(none));
}

TEST(ReadWhole, GivesEveryByte) {
  const std::string text = std::string(200'000, 'a') + std::string("\0\r\n", 3) + "end";
  write_file("/tmp/f", text);
  EXPECT_TRUE(same_bytes(text, read_whole("/tmp/f").value()));
  write_file("/tmp/empty", "");
  EXPECT_EQ("", read_whole("/tmp/empty"));
}

TEST(ReadWhole, HasNoValueForWhatCannotBeRead) {
  EXPECT_FALSE(read_whole("/tmp/missing"));
  EXPECT_EQ(ENOENT, errno);
  EXPECT_FALSE(read_whole("/tmp"));  // opens, but cannot be read
  EXPECT_EQ(EISDIR, errno);
}

TEST(SameContent, ComparesToTheLastByte) {
  write_file("/tmp/f", "one\ntwo\n");
  write_file("/tmp/same", "one\ntwo\n");
  write_file("/tmp/short", "one\n");
  EXPECT_TRUE(same_content("/tmp/f", "/tmp/same"));
  EXPECT_FALSE(same_content("/tmp/f", "/tmp/short"));
  EXPECT_EQ(0, errno);
  EXPECT_FALSE(same_content("/tmp/f", "/tmp/missing"));
  EXPECT_EQ(ENOENT, errno);
  EXPECT_FALSE(same_content("/tmp/missing", "/tmp/f"));
  EXPECT_EQ(ENOENT, errno);
}

TEST(SameContent, ComparesBehindWhatIsReadAtOnce) {
  const std::string text(200'000, 'a');
  write_file("/tmp/f", text);
  write_file("/tmp/same", text);
  write_file("/tmp/other", text.substr(1) + "b");
  write_file("/tmp/short", text.substr(1));
  write_file("/tmp/long", text + "a");
  EXPECT_TRUE(same_content("/tmp/f", "/tmp/same"));
  for (const char* other : {"/tmp/other", "/tmp/short", "/tmp/long"}) {
    EXPECT_FALSE(same_content("/tmp/f", other)) << other;
    EXPECT_EQ(0, errno);
  }
}

TEST(Copied, IsToldByTheSizeWhenTheCommandHasSucceeded) {
  write_file("/tmp/f", "one\n");
  write_file("/tmp/same", "one\n");
  write_file("/tmp/other", "two\n");
  write_file("/tmp/short", "on");
  for (const int status : {0, 1, -1}) {
    EXPECT_TRUE(is_copied(status, "/tmp/f", "/tmp/same")) << status;
    EXPECT_EQ(status == 0, is_copied(status, "/tmp/f", "/tmp/other")) << status;
    EXPECT_FALSE(is_copied(status, "/tmp/f", "/tmp/short")) << status;
    EXPECT_EQ(0, errno);
    EXPECT_FALSE(is_copied(status, "/tmp/f", "/tmp/missing")) << status;
    EXPECT_EQ(ENOENT, errno);
    EXPECT_FALSE(is_copied(status, "/tmp/missing", "/tmp/f")) << status;
    EXPECT_FALSE(is_copied(status, "/tmp/f", "/tmp")) << status;
  }
}

TEST(SameContent, IsNotThatOfAFolder) {
  write_file("/tmp/empty", "");
  EXPECT_FALSE(same_content("/tmp/empty", "/tmp"));
  EXPECT_EQ(EISDIR, errno);
  EXPECT_FALSE(same_content("/tmp", "/tmp/empty"));
  EXPECT_EQ(EISDIR, errno);
}

TEST(DosToUnix, ConvertsInPlaceAndLogsNothing) {
  SystemLog log;
  write_file("/tmp/a b.txt", "one\r\ntwo\r\n");
  dos_to_unix("/tmp/a b.txt");
  EXPECT_EQ("one\ntwo\n", read_file("/tmp/a b.txt"));
  dos_to_unix("/tmp/missing");
  EXPECT_THAT(commands_run(), ElementsAre("dos2unix -q \"/tmp/a b.txt\"", "dos2unix -q \"/tmp/missing\""));
  EXPECT_THAT(log.messages(), IsEmpty());
}

TEST(DosToUnix, IsTheOneWhoseFailureIsNotLogged) {
  EXPECT_FALSE(is_failure_logged("dos2unix -q \"/tmp/a\"", [] { dos_to_unix("/tmp/a"); }));
  EXPECT_TRUE(is_failure_logged("dos2unix /tmp/a", [] { convert_line_ends("/tmp/a"); }));
  EXPECT_TRUE(is_failure_logged("dos2unix -q /tmp/a", [] { convert_line_ends_silently("/tmp/a"); }));
}

struct Converter {
  const char* name;
  void (*convert)(const std::string& path);
};

class LineEnds : public testing::TestWithParam<Converter> {
 protected:
  static std::string converted(const std::string& text) {
    write_file("/tmp/f", text);
    GetParam().convert("/tmp/f");
    return read_file("/tmp/f");
  }
};

TEST_P(LineEnds, AreConvertedInAFileThatDos2unixTakesForBinary) {
  EXPECT_EQ("a=1\nb=2\n", converted("a=1\r\nb=2\r\n\x1a"));
  EXPECT_EQ("a=1\nb=2", converted("a=1\r\nb=2\x1a"));
  EXPECT_EQ("a\x01=1\nb\n", converted("a\x01=1\r\nb\r\n"));
  EXPECT_EQ(std::string("a\0=1\nb\n", 8), converted(std::string("a\0=1\r\nb\r\n", 10)));
}

TEST_P(LineEnds, LoseTheEndMarkWithoutACarriageReturnToo) {
  EXPECT_EQ("a=1\nb=2", converted("a=1\nb=2\x1a\x1a"));
  EXPECT_EQ("", converted("\x1a"));
  EXPECT_EQ("a\x1a=1\n", converted("a\x1a=1\r\n"));
}

TEST_P(LineEnds, KeepACarriageReturnThatIsNone) { EXPECT_EQ("a\rb\x01\n\r", converted("a\rb\x01\r\n\r")); }

TEST_P(LineEnds, LoseEveryCarriageReturnBeforeTheLineFeed) {
  EXPECT_EQ("a\nb\n\n", converted("a\r\r\r\nb\r\r\n\r\n"));
  EXPECT_EQ("a\nb\x01\n\n", converted("a\r\r\r\nb\x01\r\r\n\r\n"));
}

TEST_P(LineEnds, LoseTheByteOrderMarkAsInAnyText) {
  EXPECT_EQ("a\n", converted("\xEF\xBB\xBF"
                             "a\r\n"));
  EXPECT_EQ("a\n", converted("\xEF\xBB\xBF"
                             "a\r\n\x1a"));
}

TEST_P(LineEnds, AreConvertedWithoutDos2unix) {
  answer_command("dos2unix", 127 << 8);
  EXPECT_EQ("a\nb\n", converted("a\r\nb\r\n"));
}

TEST_P(LineEnds, OfWhatALinkNamesAreLeft) {
  write_file("/tmp/named", "a\r\n\x1a");
  shell_quietly("ln -s /tmp/named /tmp/link");
  GetParam().convert("/tmp/link");
  EXPECT_EQ("a\r\n\x1a", read_file("/tmp/named"));
}

TEST_P(LineEnds, StayOnAFullDisk) {
  const SmallDisk disk("/tmp/disk");
  write_file("/tmp/disk/f", "a\r\n\x1a");
  disk.fill_but(0);
  testing::internal::CaptureStderr();
  GetParam().convert("/tmp/disk/f");
  EXPECT_THAT(testing::internal::GetCapturedStderr(), EndsWith("/tmp/disk/f: No space left on device\n"));
  EXPECT_EQ("a\r\n\x1a", read_file("/tmp/disk/f"));
}

TEST_P(LineEnds, OfAMissingFileMakeNone) {
  GetParam().convert("/tmp/missing");
  EXPECT_FALSE(exists("/tmp/missing"));
}

INSTANTIATE_TEST_SUITE_P(
    All, LineEnds,
    testing::Values(Converter{"Loudly", [](const std::string& path) { convert_line_ends(path); }},
                    Converter{"Silently", [](const std::string& path) { convert_line_ends_silently(path); }},
                    Converter{"Quietly", [](const std::string& path) { dos_to_unix(path.c_str()); }}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(ConvertLineEnds, TellsWhetherNothingIsLeftToMend) {
  using Convert = bool (*)(const std::string& path);
  for (const Convert convert : {Convert{convert_line_ends}, Convert{convert_line_ends_silently}}) {
    const auto converted = [&](const std::string& text) {
      write_file("/tmp/f", text);
      return convert("/tmp/f");
    };
    for (const char* whole : {"", "\n", "a\nb\n", "a\r\nb\r\n", "a\rb\n"})
      EXPECT_TRUE(converted(whole)) << whole;
    for (const char* part : {"a", "a\nb", "a\r\nb", "a\n\x1a", "a\n\r"})
      EXPECT_FALSE(converted(part)) << part;
    answer_command("dos2unix", 127 << 8);
    EXPECT_FALSE(converted("a\r\n"));  // it has been mended just now
    shell_quietly("echo a > /tmp/named; ln -sf /tmp/named /tmp/link");
    EXPECT_FALSE(convert("/tmp/link"));
    EXPECT_FALSE(convert("/tmp/missing"));
  }
}

TEST(RemoveFile, TakesALinkAndNotWhatItNames) {
  write_file("/tmp/d/named", "n");
  write_file("/tmp/d/f", "f");
  shell_quietly("ln -s named /tmp/d/link");
  EXPECT_TRUE(remove_file("/tmp/d/link"));
  EXPECT_TRUE(remove_file("/tmp/d/f"));
  EXPECT_THAT(list_folder("/tmp/d").value(), ElementsAre("named"));
  EXPECT_FALSE(remove_file("/tmp/d/f"));
  EXPECT_EQ(ENOENT, errno);
  EXPECT_FALSE(remove_file("/tmp/d"));
  EXPECT_EQ(EISDIR, errno);
}

TEST(MakeFolder, HasTheRightsOfTheUmask) {
  umask(022);
  EXPECT_TRUE(make_folder("/tmp/d"));
  EXPECT_EQ("755 directory\n", output_of("stat -c '%a %F' /tmp/d"));
  EXPECT_FALSE(make_folder("/tmp/d"));
  EXPECT_EQ(EEXIST, errno);
  EXPECT_FALSE(make_folder("/tmp/missing/d"));
  EXPECT_EQ(ENOENT, errno);
}

TEST(TellUnlisted, NamesWhatIsThereOnALineOfItsOwn) {
  const auto told = [](int error) {
    testing::internal::CaptureStderr();
    errno = error;
    tell_unlisted("Notes: ", "/tmp/notes");
    return testing::internal::GetCapturedStderr();
  };
  EXPECT_EQ("Notes: : No such file or directory\n", told(ENOENT));
  EXPECT_EQ("Notes: : Not a directory\n/tmp/notes: Not a directory\n", told(ENOTDIR));
  EXPECT_EQ("Notes: : Permission denied\n/tmp/notes: Permission denied\n", told(EACCES));
}

TEST(ListFolder, GivesEveryEntryButTheTwoDots) {
  write_file("/tmp/f/.hidden", "");
  write_file("/tmp/f/b", "");
  write_file("/tmp/f/sub/inner", "");
  EXPECT_THAT(list_folder("/tmp/f").value(), UnorderedElementsAre(".hidden", "b", "sub"));
}

TEST(ListFolder, HasNoValueForAFolderThatCannotBeOpened) {
  EXPECT_FALSE(list_folder("/tmp/missing"));
  EXPECT_EQ(ENOENT, errno);
}

}  // namespace
