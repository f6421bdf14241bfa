#include "process/mail/folders/mbox.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "support/commands.h"
#include "support/files.h"

namespace {

constexpr const char* base64_line = "Content-Transfer-Encoding: base64\n";

/// Splits into a folder as it is before.
bool split_mbox(const std::string& path, const std::string& prefix) {
  EarlierMessages earlier(prefix);
  return split_mbox(path, prefix, earlier);
}

/// Splits `mailbox` and returns the messages in order; the first of them is number 2.
std::vector<std::string> split(const std::string& mailbox) {
  std::filesystem::remove_all("/tmp/out");
  std::filesystem::create_directories("/tmp/out");
  write_file("/tmp/box", mailbox);
  EXPECT_TRUE(split_mbox("/tmp/box", "/tmp/out/M"));
  EXPECT_FALSE(exists("/tmp/out/M1"));
  std::vector<std::string> messages;
  for (int i = 2; exists("/tmp/out/M" + std::to_string(i)); ++i)
    messages.push_back(read_file("/tmp/out/M" + std::to_string(i)));
  const auto files = std::distance(std::filesystem::directory_iterator("/tmp/out"), {});
  EXPECT_EQ(files, static_cast<std::ptrdiff_t>(messages.size()));
  return messages;
}

/// Whether the encoding line right after this "From " line survives.
bool keeps_encoding_after(const std::string& from_line) {
  const auto messages = split(from_line + base64_line);
  EXPECT_EQ(1U, messages.size());
  return messages.at(0) != from_line;
}

using Messages = std::vector<std::string>;

TEST(Mbox, EachMessageIsAFileWithItsFromLine) {
  EXPECT_EQ((Messages{"From a\nSubject: 1\n\none\n\n", "From b\nSubject: 2\n\ntwo\n"}),
            split("From a\nSubject: 1\n\none\n\nFrom b\nSubject: 2\n\ntwo\n"));
}

TEST(Mbox, TextBeforeTheFirstMessageIsLost) {
  EXPECT_EQ((Messages{"From a\nx\n"}), split("junk\nmore junk\nFrom a\nx\n"));
  EXPECT_EQ(Messages{}, split("only junk\n"));
  EXPECT_EQ(Messages{}, split(""));
}

TEST(Mbox, AMailboxOfOneUnfinishedLine) {
  EXPECT_EQ(Messages{"From "}, split("From "));
  EXPECT_EQ(Messages{}, split("From"));
  EXPECT_EQ((Messages{"From a\nlast line"}), split("From a\nlast line"));
}

TEST(Mbox, OnlyALineThatBeginsWithFromAndABlankStartsAMessage) {
  const std::string text = "From a\n>From b\n From c\nFrom: d\nfrom e\nFROM f\n";
  EXPECT_EQ(Messages{text}, split(text));
}

TEST(Mbox, TheEncodingLineGoesByTheFifthCharacterAfterFrom) {
  EXPECT_FALSE(keeps_encoding_after("From - - - Mon\n"));
  EXPECT_TRUE(keeps_encoding_after("From - Tue Jan 04 10:00:00 2005\n"));
  EXPECT_FALSE(keeps_encoding_after("From abcd-efgh\n"));
  EXPECT_TRUE(keeps_encoding_after("From -abcdefgh\n"));
}

TEST(Mbox, AShortFromLineDropsTheEncodingLine) {
  EXPECT_FALSE(keeps_encoding_after("From \n"));
  EXPECT_FALSE(keeps_encoding_after("From x\n"));
  EXPECT_FALSE(keeps_encoding_after("From abcd\n"));
  EXPECT_TRUE(keeps_encoding_after("From abcde\n"));
  EXPECT_FALSE(keeps_encoding_after("From abcd-\n"));
}

TEST(Mbox, EveryFromLineDecidesAnew) {
  const std::string kept = std::string("From - Tue\n") + base64_line;
  const std::string dropped = std::string("From x\n") + base64_line;
  EXPECT_EQ((Messages{kept, "From x\n", kept}), split(kept + dropped + kept));
}

TEST(Mbox, DashesEndTheDropping) {
  const std::string text = std::string("From x\n--part\n") + base64_line;
  EXPECT_EQ(Messages{text}, split(text));
  const std::string signature = std::string("From x\nsome -- dashes\n") + base64_line;
  EXPECT_EQ(Messages{signature}, split(signature));
  EXPECT_EQ((Messages{"From x\none - dash\n"}), split(std::string("From x\none - dash\n") + base64_line));
}

TEST(Mbox, ALinesOwnDashesAndBoundaryComeBeforeItsEncoding) {
  const std::string dashes = std::string("From x\nX--") + base64_line;
  EXPECT_EQ(Messages{dashes}, split(dashes));
  EXPECT_EQ(Messages{"From - Tue\n"}, split(std::string("From - Tue\nboundary=\"x\"; ") + base64_line));
}

TEST(Mbox, DashesInTheFromLineDoNot) { EXPECT_FALSE(keeps_encoding_after("From a--\n")); }

TEST(Mbox, ABoundaryHeaderStartsTheDroppingAgain) {
  const std::string head = "From - Tue\nContent-Type: multipart/mixed; boundary=\"----=_x\"\n";
  EXPECT_EQ(Messages{head}, split(head + base64_line));
  EXPECT_EQ((Messages{head + "----=_x\n" + base64_line}),
            split(head + base64_line + "----=_x\n" + base64_line));
}

TEST(Mbox, ABoundaryWithoutAQuoteDoesNot) {
  const std::string text = std::string("From - Tue\nboundary=x\n") + base64_line;
  EXPECT_EQ(Messages{text}, split(text));
}

TEST(Mbox, OnlyTheExactEncodingTextIsDroppedAndThenTheWholeLine) {
  EXPECT_EQ((Messages{"From x\n"}), split(std::string("From x\nX-Was: ") + base64_line));
  const std::string others =
      "From x\nContent-Transfer-Encoding: BASE64\nContent-Transfer-Encoding:  base64\n"
      "content-transfer-encoding: base64\nContent-Transfer-Encoding: 7bit\n";
  EXPECT_EQ(Messages{others}, split(others));
}

TEST(Mbox, EveryByteIsKept) {
  std::string bytes = "From a\n";
  for (int round = 0; round < 3; ++round) {
    for (int c = 0; c < 256; ++c) bytes += static_cast<char>(c);
  }
  bytes += std::string("\r\n\0\0\n\0From b\n", 13);
  EXPECT_EQ(Messages{bytes}, split(bytes));
}

TEST(Mbox, ANulBeforeAMarkerDoesNotHideIt) {
  EXPECT_EQ((Messages{"From x\n"}),
            split("From x\n" + std::string(1, '\0') + "Content-Transfer-Encoding: base64\n"));
}

// A line is judged in pieces of at most 1023 bytes.
TEST(Mbox, ALineOf1023BytesIsOnePiece) {
  const std::string filler(1023 - 34, 'x');
  EXPECT_EQ((Messages{"From x\n"}), split("From x\n" + filler + base64_line));
}

TEST(Mbox, OfALongerLineOnlyThePieceWithTheEncodingTextIsDropped) {
  const std::string piece(1023, 'x');
  EXPECT_EQ((Messages{"From x\n" + piece}), split("From x\n" + piece + base64_line));
  EXPECT_EQ((Messages{"From x\n" + piece + "next\n"}), split("From x\n" + piece + base64_line + "next\n"));
}

TEST(Mbox, AMarkerAcrossTwoPiecesIsNotSeen) {
  const std::string text = "From x\n" + std::string(1020, 'x') + base64_line;
  EXPECT_EQ(Messages{text}, split(text));
  const std::string dashes = "From x\n" + std::string(1022, 'x') + "--\n";
  EXPECT_EQ(Messages{dashes}, split(dashes + base64_line));
}

TEST(Mbox, APieceThatBeginsWithFromStartsAMessage) {
  const std::string piece(1023, 'x');
  EXPECT_EQ((Messages{"From x\n" + piece, "From b\n"}), split("From x\n" + piece + "From b\n"));
  const std::string shorter(1022, 'x');
  EXPECT_EQ((Messages{"From x\n" + shorter + "From b\n"}), split("From x\n" + shorter + "From b\n"));
}

// The file is read in large blocks; their ends must not show.
TEST(Mbox, BlockEndsDoNotShow) {
  for (const std::size_t line : {1UL, 7UL, 1021UL, 1022UL, 1023UL, 1024UL, 4096UL, 262143UL}) {
    std::string message = "From x\n";
    while (message.size() < 1'200'000) message += std::string(line, 'y') + "\n";
    const std::string with_encoding = message + base64_line;
    EXPECT_TRUE(Messages({message, message}) == split(with_encoding + with_encoding)) << line;
  }
}

TEST(Mbox, AMarkerAcrossABlockEndIsSeen) {
  for (std::size_t before = 0; before <= 40; ++before) {
    std::string message = "From x\n";
    while (message.size() < (std::size_t{1} << 18) - before - 100) message += std::string(99, 'y') + "\n";
    message += std::string((std::size_t{1} << 18) - before - message.size() - 1, 'y') + "\n";
    EXPECT_TRUE(Messages({message, message}) == split(message + base64_line + message + base64_line))
        << before;
  }
}

TEST(Mbox, AMailboxThatCannotBeOpenedFails) {
  testing::internal::CaptureStderr();
  EXPECT_FALSE(split_mbox("/tmp/nowhere", "/tmp/M"));
  EXPECT_EQ("/tmp/nowhere: No such file or directory\n", testing::internal::GetCapturedStderr());
  EXPECT_FALSE(exists("/tmp/M2"));
}

TEST(Mbox, AMailboxThatCannotBeReadToItsEndFails) {
  testing::internal::CaptureStderr();
  EXPECT_FALSE(split_mbox("/proc/self/mem", "/tmp/M"));
  EXPECT_EQ("/proc/self/mem: Input/output error\n", testing::internal::GetCapturedStderr());
}

TEST(Mbox, AFolderGivesNoMessage) {
  EXPECT_TRUE(split_mbox("/usr", "/tmp/M"));
  EXPECT_FALSE(exists("/tmp/M2"));
}

long peak_kilobytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss;
}

TEST(Mbox, MemoryDoesNotGrowWithALine) {
  ASSERT_EQ(0, shell_quietly("(printf 'From a\\n'; head -c 100000000 /dev/zero | tr '\\0' z) > /tmp/box"));
  const long before = peak_kilobytes();
  EXPECT_TRUE(split_mbox("/tmp/box", "/tmp/M"));
  EXPECT_LT(peak_kilobytes() - before, 8 * 1024);
  EXPECT_EQ(0, shell_quietly("cmp /tmp/box /tmp/M2"));
}

TEST(Mbox, MessagesBehindTwoGibibytesAreFound) {
  const off_t far = (off_t{1} << 31) + 12345;
  write_file("/tmp/box", "");
  ASSERT_EQ(0, truncate("/tmp/box", far));  // a hole: no memory behind it
  std::FILE* box = std::fopen("/tmp/box", "a");
  std::fputs("\nFrom a\n1\nFrom b\n2\n", box);
  std::fclose(box);
  const long before = peak_kilobytes();
  EXPECT_TRUE(split_mbox("/tmp/box", "/tmp/M"));
  EXPECT_LT(peak_kilobytes() - before, 8 * 1024);
  EXPECT_EQ("From a\n1\n", read_file("/tmp/M2"));
  EXPECT_EQ("From b\n2\n", read_file("/tmp/M3"));
}

TEST(Mbox, TracesNameTheFileAndCountTheMessages) {
  write_file("/tmp/box", "From a\nFrom b\n");
  testing::internal::CaptureStdout();
  EXPECT_TRUE(split_mbox("/tmp/box", "/tmp/M"));
  EXPECT_EQ("Filepath::/tmp/box\nFile ReadTrying to now get each line.::1\nnew email.new email.Count::3\nend",
            testing::internal::GetCapturedStdout());
}

}  // namespace
