#include "process/mail/folders/messages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>

#include <ctime>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "process/mail/folders/mbox.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"

namespace {

using testing::HasSubstr;

const std::string prefix = "/tmp/cur/M";

/// A message of about `size` bytes.
std::string message(const std::string& name, std::size_t size = 0) {
  std::string text = "From x\nSubject: " + name + "\n\n";
  while (text.size() < size) text += std::string(99, 'y') + "\n";
  return text;
}

/// Longer than what is kept in memory.
std::string long_message(const std::string& name) { return message(name, 200'000) + name + "\n"; }

class MessageFolder : public testing::Test {
 protected:
  MessageFolder() { std::filesystem::create_directories("/tmp/cur"); }

  static bool put(const std::vector<std::string>& messages) {
    EarlierMessages earlier(prefix);
    return put(messages, earlier);
  }
  static bool put(const std::vector<std::string>& messages, EarlierMessages& earlier) {
    std::string mailbox;
    for (const std::string& each : messages) mailbox += each;
    write_file("/tmp/box", mailbox);
    return split_mbox("/tmp/box", prefix, earlier);
  }
  static std::string in_file(int number) { return read_file(prefix + std::to_string(number)); }
  static std::string everything() {
    return output_of("cd /tmp/cur && find . -mindepth 1 -printf '%f ' | xargs -rn1 | sort -V | xargs");
  }
  /// Names, inodes, times and contents.
  static std::string state() {
    return output_of("cd /tmp/cur && ls -i --full-time && find . -type f | sort | xargs -d '\\n' sha256sum");
  }
};

// The owner of a home can move its folders while we write there.
TEST_F(MessageFolder, MessagesStayInItWhereverItGoes) {
  EarlierMessages earlier(prefix);
  MessageFiles files(prefix, earlier);
  std::filesystem::rename("/tmp/cur", "/tmp/moved");
  std::filesystem::create_directories("/tmp/outside");
  std::filesystem::create_directory_symlink("/tmp/outside", "/tmp/cur");
  files.begin(1);
  files.write("a");
  files.end();
  EXPECT_EQ(0, files.lost());
  EXPECT_EQ("a", read_file("/tmp/moved/M1"));
  EXPECT_TRUE(std::filesystem::is_empty("/tmp/outside"));
}

TEST_F(MessageFolder, MessagesHaveTheRightsThatTheUmaskLeaves) {
  umask(027);
  EXPECT_TRUE(put({message("a"), long_message("b")}));
  EXPECT_EQ("640\n640\n", output_of("stat -c %a " + prefix + "2 " + prefix + "3"));
}

// ---- Running again ---------------------------------------------------------------------------------------

TEST_F(MessageFolder, RunningAgainChangesNothing) {
  const std::vector<std::string> mail = {message("a"), long_message("b"), message("c"), long_message("d")};
  EXPECT_TRUE(put(mail));
  const std::string before = state();
  EXPECT_TRUE(put(mail));
  EXPECT_EQ(before, state());
  EXPECT_EQ("M2 M3 M4 M5\n", everything());
}

// Equal ones, small and large, one behind the other and apart.
TEST_F(MessageFolder, EqualMessagesAreAsManyAsThereAre) {
  const std::vector<std::string> mail = {message("a"),      message("a"),      message("b"),
                                         long_message("c"), long_message("c"), message("a")};
  for (int run = 0; run < 3; ++run) {
    EXPECT_TRUE(put(mail));
    EXPECT_EQ("M2 M3 M4 M5 M6 M7\n", everything()) << run;
  }
  for (int i = 0; i < 6; ++i) EXPECT_EQ(mail[static_cast<std::size_t>(i)], in_file(i + 2));
}

TEST_F(MessageFolder, AFileStandsForOneMessageOnly) {
  EXPECT_TRUE(put({message("a"), long_message("b")}));
  EXPECT_TRUE(put({message("a"), message("a"), long_message("b"), long_message("b")}));
  EXPECT_EQ("M2 M3 M4 M5\n", everything());
  EXPECT_EQ(message("a"), in_file(4));
  EXPECT_EQ(long_message("b"), in_file(5));
}

TEST_F(MessageFolder, ALaterMailboxAddsOnlyWhatIsNew) {
  EXPECT_TRUE(put({message("a"), message("b"), message("c"), message("d")}));
  const std::vector<std::string> later = {message("d"), message("b"), message("e"), message("a"),
                                          long_message("f")};
  EXPECT_TRUE(put(later));
  EXPECT_EQ("M2 M3 M4 M5 M6 M7\n", everything());
  EXPECT_EQ(message("e"), in_file(6));
  EXPECT_EQ(long_message("f"), in_file(7));
  EXPECT_TRUE(put(later));
  EXPECT_EQ("M2 M3 M4 M5 M6 M7\n", everything());
}

TEST_F(MessageFolder, AMessageThatKmailHasFlaggedIsTheSame) {
  EXPECT_TRUE(put({message("a"), message("b"), message("c")}));
  std::filesystem::rename(prefix + "3", prefix + "3:2,S");
  EXPECT_TRUE(put({message("a"), message("b"), message("c")}));
  EXPECT_EQ("M2 M3:2,S M4\n", everything());
}

TEST_F(MessageFolder, AMessageThatWasTakenAwayComesBack) {
  EXPECT_TRUE(put({message("a"), message("b"), message("c")}));
  std::filesystem::remove(prefix + "3");
  EXPECT_TRUE(put({message("a"), message("b"), message("c")}));
  EXPECT_EQ(message("b"), in_file(3));
  EXPECT_EQ("M2 M3 M4\n", everything());
}

// Of the same length, and the same to the last byte or to the last byte that the index looks at.
TEST_F(MessageFolder, AMessageThatDiffersInOneByteIsAnother) {
  for (const std::size_t size : {100UL, 4000UL, 4200UL, 70'000UL, 300'000UL}) {
    std::filesystem::remove_all("/tmp/cur");
    std::filesystem::create_directories("/tmp/cur");
    const std::string same = message("a", size);
    EXPECT_TRUE(put({same + "1\n"}));
    EXPECT_TRUE(put({same + "2\n", same + "1\n"}));
    EXPECT_EQ("M2 M3\n", everything()) << size;
    EXPECT_EQ(same + "1\n", in_file(2));
    EXPECT_EQ(same + "2\n", in_file(3));
  }
}

TEST_F(MessageFolder, AMessageThatBeginsLikeALongerOneIsAnother) {
  EXPECT_TRUE(put({message("a") + "more\n"}));
  EXPECT_TRUE(put({message("a")}));
  EXPECT_EQ(message("a"), in_file(3));
}

// ---- What is there stays ---------------------------------------------------------------------------------

TEST_F(MessageFolder, WhatElseIsThereIsNeverOverwritten) {
  write_file(prefix + "2", "a plain file");
  std::filesystem::create_directories(prefix + "3");
  std::filesystem::create_symlink("/tmp/target", prefix + "4");
  write_file(prefix + "6", "another");
  EXPECT_TRUE(put({message("a"), long_message("b"), message("c")}));
  EXPECT_EQ("a plain file", in_file(2));
  EXPECT_EQ("another", in_file(6));
  EXPECT_FALSE(exists("/tmp/target"));
  EXPECT_EQ(message("a"), in_file(5));
  EXPECT_EQ(long_message("b"), in_file(7));
  EXPECT_EQ(message("c"), in_file(8));
  EXPECT_TRUE(put({message("a"), long_message("b"), message("c")}));
  EXPECT_EQ("M2 M3 M4 M5 M6 M7 M8\n", everything());
}

// A link to the same message is not the message, and nobody writes to the pipe.
TEST_F(MessageFolder, OnlyPlainFilesAreMessages) {
  write_file("/tmp/target", message("a"));
  std::filesystem::create_symlink("/tmp/target", prefix + "2");
  ASSERT_EQ(0, mkfifo((prefix + "3").c_str(), 0600));
  EXPECT_TRUE(put({message("a")}));
  EXPECT_EQ(message("a"), in_file(4));
}

// So many that trying each number for each message would take a minute.
TEST_F(MessageFolder, BesideManyOthersAMessageTakesNoLonger) {
  constexpr int count = 10'000;
  for (int i = 2; i < count + 2; ++i) write_file(prefix + std::to_string(i), "another");
  std::vector<std::string> mail;
  for (int i = 0; i < count; ++i) mail.push_back(message(std::to_string(i)));
  const std::clock_t before = std::clock();
  EXPECT_TRUE(put(mail));
  EXPECT_LT(std::clock() - before, 5 * CLOCKS_PER_SEC);
  EXPECT_EQ(mail.back(), in_file(2 * count + 1));
}

TEST_F(MessageFolder, OnlyFilesNamedLikeItsMessagesCount) {
  for (const char* name : {"/tmp/cur/N2", "/tmp/cur/M", "/tmp/cur/M2x", "/tmp/cur/xM2", "/tmp/cur/M:2,S"})
    write_file(name, message("a"));
  EXPECT_TRUE(put({message("a")}));
  EXPECT_EQ(message("a"), in_file(2));
}

// Two mailboxes into one folder: the second one's messages are not those that the first one just wrote.
TEST_F(MessageFolder, TwoMailboxesKeepBothContents) {
  for (int run = 0; run < 2; ++run) {
    EarlierMessages earlier(prefix);
    EXPECT_TRUE(put({message("a"), message("b")}, earlier));
    EXPECT_TRUE(put({message("c"), message("a"), message("d")}, earlier));
    EXPECT_EQ("M2 M3 M4 M5 M6\n", everything()) << run;
  }
  EXPECT_EQ(message("c"), in_file(4));
  EXPECT_EQ(message("a"), in_file(5));
}

// ---- A full disk -----------------------------------------------------------------------------------------

TEST_F(MessageFolder, OnAFullDiskNoPartOfAMessageStays) {
  const SmallDisk disk("/tmp/cur");
  disk.fill_but(0);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(put({message("a"), message("b"), message("c")}));
  EXPECT_EQ("/tmp/box: 3 of its messages cannot be written: No space left on device\n",
            testing::internal::GetCapturedStderr());
  EXPECT_EQ("filling\n", everything());
}

// Room for some of them: those are whole, also behind one that is not there.
TEST_F(MessageFolder, ADiskThatFillsUpKeepsWholeMessagesOnly) {
  const SmallDisk disk("/tmp/cur");
  disk.fill_but(3);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(put({message("a"), message("large", 10'000), long_message("b"), message("c"), message("d")}));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("2 of its messages cannot be written"));
  EXPECT_EQ("M2 M5 M6 filling\n", everything());
}

// The folder itself and two files are all the disk can hold.
TEST_F(MessageFolder, AMessageWhoseFileCannotBeMadeTakesNoOtherWithIt) {
  ASSERT_EQ(0, mount("tmpfs", "/tmp/cur", "tmpfs", 0, "nr_inodes=3"));
  testing::internal::CaptureStderr();
  EXPECT_FALSE(put({message("a"), long_message("b"), message("c"), long_message("d")}));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("2 of its messages cannot be written"));
  EXPECT_EQ("M2 M3\n", everything());
  EXPECT_EQ(message("a"), in_file(2));
  EXPECT_EQ(long_message("b"), in_file(3));
}

TEST_F(MessageFolder, AfterAFullDiskTheRestComesWithTheNextRun) {
  const std::vector<std::string> mail = {message("a"), long_message("b"), message("c"), message("d", 5000)};
  {
    const SmallDisk disk("/tmp/cur");
    disk.fill_but(2);
    EXPECT_FALSE(put(mail));
    const std::string there = everything();
    EXPECT_THAT(there, testing::Not(HasSubstr("M5")));
    disk.empty();
    EXPECT_TRUE(put(mail));
    std::multiset<std::string> found;
    for (int i = 2; i <= 5; ++i) found.insert(in_file(i));
    EXPECT_EQ(std::multiset<std::string>(mail.begin(), mail.end()), found);
  }
}

TEST_F(MessageFolder, WhatIsThereNeedsNoRoom) {
  const SmallDisk disk("/tmp/cur");
  EXPECT_TRUE(put({message("a"), message("b", 60'000)}));
  disk.fill_but(0);
  EXPECT_TRUE(put({message("a"), message("b", 60'000)}));
}

TEST_F(MessageFolder, WithoutAFolderEveryMessageIsLost) {
  std::filesystem::remove_all("/tmp/cur");
  testing::internal::CaptureStderr();
  EXPECT_FALSE(put({message("a"), message("b")}));
  EXPECT_EQ("/tmp/box: 2 of its messages cannot be written: No such file or directory\n",
            testing::internal::GetCapturedStderr());
}

}  // namespace
