#include "process/mail/client_files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"

namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

// A line that holds "ab" comes in brackets.
LineRules brackets() {
  return {.marks = {"ab"}, .rewrite = [](std::string_view line, std::string& out) {
            out.append("[").append(line).append("]");
            return false;
          }};
}

TEST(AccountFiles, AreEveryEntryOfTheirFolder) {
  write_file("/tmp/b/ImapMail/brindle-email-accounts/work.txt", "");
  write_file("/tmp/b/ImapMail/brindle-email-accounts/.home", "");
  EXPECT_THAT(account_files("/tmp/b").value(),
              UnorderedElementsAre("/tmp/b/ImapMail/brindle-email-accounts/work.txt",
                                   "/tmp/b/ImapMail/brindle-email-accounts/.home"));
}

TEST(AccountFiles, ComeInTheOrderOfTheirFolder) {
  const std::string folder = "/tmp/b/ImapMail/brindle-email-accounts/";
  for (const char* name : {"d", "a", "c", "b"}) write_file(folder + name, "");
  const auto files = account_files("/tmp/b");
  std::string names;
  for (const std::string& file : *files) names += file.substr(folder.size()) + "\n";
  EXPECT_EQ(output_of("ls -U " + folder), names);
}

TEST(AccountFiles, ReportAFolderThatCannotBeOpened) {
  testing::internal::CaptureStderr();
  EXPECT_FALSE(account_files("/tmp/missing"));
  EXPECT_EQ("In mail_account() opendir: : No such file or directory\n",
            testing::internal::GetCapturedStderr());
}

TEST(ClientFile, IsReplacedAndAppendedTo) {
  write_file("/tmp/kmailrc", "an old one");
  testing::internal::CaptureStdout();
  EXPECT_TRUE(replace_client_file("/tmp/kmailrc", "a\n"));
  EXPECT_TRUE(append_to_client_file("/tmp/kmailrc", "b\n"));
  EXPECT_EQ("", testing::internal::GetCapturedStdout());
  EXPECT_EQ("a\nb\n", read_file("/tmp/kmailrc"));
}

TEST(ClientFile, ThatCannotBeWrittenIsReported) {
  testing::internal::CaptureStdout();
  EXPECT_FALSE(append_to_client_file("/tmp/missing/kmailrc", "a\n"));
  EXPECT_EQ("\nERROR :: Could not create file", testing::internal::GetCapturedStdout());
  testing::internal::CaptureStdout();
  EXPECT_FALSE(replace_client_file("/tmp/missing/prefs.js", "a\n"));
  EXPECT_EQ("\nERROR :: Could not create file", testing::internal::GetCapturedStdout());
}

TEST(RewriteLines, ChangeLinesAndPiecesOfLongOnes) {
  const std::string full(1021, 'x');
  write_file("/tmp/from", "ab\n\na\nb\n" + full + "abyab\n" + std::string("n\0ab", 4));
  write_file("/tmp/to", "old");
  EXPECT_TRUE(rewrite_lines("/tmp/from", "/tmp/to", brackets()));
  EXPECT_EQ("[ab\n]\na\nb\n[" + full + "ab][yab\n]" + std::string("[n\0ab]", 6), read_file("/tmp/to"));
}

// The second line lies across whatever is read at once.
TEST(RewriteLines, ChangeALongFileLikeAShortOne) {
  std::string from, to;
  for (int number = 0; number < 40'000; ++number) {
    const std::string line = std::to_string(number) + (number % 7 == 0 ? " ab\n" : " ba\n");
    from += line;
    to += number % 7 == 0 ? "[" + line + "]" : line;
  }
  write_file("/tmp/from", from);
  EXPECT_TRUE(rewrite_lines("/tmp/from", "/tmp/to", brackets()));
  EXPECT_TRUE(read_file("/tmp/to") == to);
}

TEST(RewriteLines, OfAMissingFileAreNone) {
  write_file("/tmp/to", "old");
  EXPECT_TRUE(rewrite_lines("/tmp/missing", "/tmp/to", brackets()));
  EXPECT_EQ("", read_file("/tmp/to"));
}

TEST(RewriteLines, AreNotReadForAFileThatCannotBeMade) {
  write_file("/tmp/from", "ab\n");
  const auto fail = [](std::string_view line, std::string&) {
    ADD_FAILURE() << line;
    return false;
  };
  EXPECT_FALSE(rewrite_lines("/tmp/from", "/tmp/missing/to", {.marks = {"ab"}, .rewrite = fail}));
}

TEST(RewriteLines, OfNothingIntoNothingAreDone) {
  EXPECT_TRUE(rewrite_lines("/tmp/missing/from", "/tmp/missing/to", brackets()));
}

TEST(RewriteLines, TellOfAFullDisk) {
  write_file("/tmp/from", std::string(20'000, 'x') + "\n");
  const SmallDisk disk("/tmp/small");
  disk.fill_but(2);
  EXPECT_FALSE(rewrite_lines("/tmp/from", "/tmp/small/to", brackets()));
  disk.empty();
  EXPECT_TRUE(rewrite_lines("/tmp/from", "/tmp/small/to", brackets()));
}

TEST(Contacts, AreConvertedByAScriptAndGetLocalLineEnds) {
  write_file("/tmp/b/ImapMail/Contacts/addressbook.db", "a\r\n");
  write_file("/tmp/copy.pl", "print <STDIN>;");
  convert_contacts("/tmp/b/ImapMail", "/tmp/copy.pl", "/tmp/b/out");
  EXPECT_EQ("a\n", read_file("/tmp/b/out"));
  EXPECT_THAT(commands_run(),
              ElementsAre("perl /tmp/copy.pl </tmp/b/ImapMail/Contacts/addressbook.db >/tmp/b/out",
                          "dos2unix /tmp/b/out"));
}

TEST(RunAndTrace, PrintsTheCommandAfterItsOutput) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(3, run_and_trace(compose("echo ran; exit 3")));
  EXPECT_EQ("ran\nCommand::echo ran; exit 3", testing::internal::GetCapturedStdout());
}

}  // namespace
