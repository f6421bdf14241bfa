#include "process/desktop/konqueror.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;

constexpr const char* bookmarks = "/root/.kde/share/apps/konqueror/bookmarks.xml";
constexpr const char* copy_of_bookmarks = "/root/.kde/share/apps/konqueror/bookmarkstemp.xml";

std::string after_adding(const std::string& before, const std::string& bookmark) {
  write_file(bookmarks, before);
  EXPECT_TRUE(add_konqueror_bookmark("/root", bookmark));
  return read_file(bookmarks);
}

TEST(KonquerorBookmark, GoesRightBehindTheOpeningElement) {
  EXPECT_TRUE(
      same_bytes("<!DOCTYPE xbel>\n<xbel folded=\"no\" >\n<new/> <old/>\n</xbel>\n",
                 after_adding("<!DOCTYPE xbel>\n<xbel folded=\"no\" >\n <old/>\n</xbel>\n", "<new/>")));
}

TEST(KonquerorBookmark, MakesAListOfAnEmptyElement) {
  EXPECT_TRUE(same_bytes("<xbel>\n<new/></xbel>\n", after_adding("<xbel/>", "<new/>")));
}

TEST(KonquerorBookmark, ReplacesTheWholeLineOfAnEmptyElement) {
  EXPECT_TRUE(same_bytes("<?xml version=\"1.0\"?>\n<xbel>\n<new/></xbel>\n",
                         after_adding("<?xml version=\"1.0\"?>\n <!DOCTYPE xbel> <xbel/>\n", "<new/>")));
}

TEST(KonquerorBookmark, GoesBehindEachLineWithAnOpeningElement) {
  EXPECT_TRUE(
      same_bytes("<xbel>\n<new/></xbel>\n<xbel folded=\"no\">\n<new/></xbel>\n<xbel>\n<new/></xbel>\n",
                 after_adding("<xbel>\n</xbel>\n<xbel folded=\"no\">\n</xbel>\n<xbel/>\n", "<new/>")));
}

TEST(KonquerorBookmark, OfAnEmptyFileChangesNothing) {
  EXPECT_TRUE(same_bytes("", after_adding("", "<new/>")));
}

TEST(KonquerorBookmark, KeepsAMissingLastLineEndAndOddBytes) {
  const std::string zero(1, '\0');
  EXPECT_TRUE(same_bytes("<xbel>\n<new/>a" + zero + "\xff\r\n</xbel>",
                         after_adding("<xbel>\na" + zero + "\xff\r\n</xbel>", "<new/>")));
}

TEST(KonquerorBookmark, ReadsLongLinesInPiecesOf1023Characters) {
  const std::string title(1018, 't');
  EXPECT_TRUE(same_bytes("<xbel>" + title.substr(0, 1017) + "<new/>t</xbel>\n",
                         after_adding("<xbel>" + title + "</xbel>\n", "<new/>")));
}

TEST(KonquerorBookmark, DoesNotFindAnElementCutByTheEndOfAPiece) {
  const std::string line = std::string(1020, ' ') + "<xbel>\n</xbel>\n";
  EXPECT_TRUE(same_bytes(line, after_adding(line, "<new/>")));
}

TEST(KonquerorBookmark, RunsItsCommandsAndSaysWhatItFound) {
  write_file(bookmarks, "<xbel/>\n");
  forget_commands();
  testing::internal::CaptureStdout();
  EXPECT_TRUE(add_konqueror_bookmark("/root", "<new/>"));
  EXPECT_EQ("found something", testing::internal::GetCapturedStdout());
  EXPECT_THAT(commands_run(), ElementsAre(std::string("rm -f ") + copy_of_bookmarks,
                                          std::string("cp ") + bookmarks + " " + copy_of_bookmarks));
  EXPECT_EQ("<xbel/>\n", read_file(copy_of_bookmarks));
}

TEST(KonquerorBookmark, DoesNotMakeAMissingFileNorUseAnOldCopy) {
  write_file(copy_of_bookmarks, "<xbel/>\n");
  EXPECT_TRUE(add_konqueror_bookmark("/root", "<new/>"));
  EXPECT_FALSE(exists(bookmarks));
  EXPECT_FALSE(exists(copy_of_bookmarks));
}

TEST(KonquerorBookmark, IsNotLostInSilenceWhenTheFileCannotBeWritten) {
  shell_quietly("mkdir -p /root/.kde/share/apps/konqueror; cp /bin/sleep " + std::string(bookmarks));
  const std::string program = output_of(std::string(bookmarks) + " 60 > /dev/null & echo $!");
  shell_quietly("until readlink /proc/" + program.substr(0, program.size() - 1) +
                "/exe | grep -q bookmarks; do sleep 0.01; done");
  testing::internal::CaptureStderr();
  EXPECT_FALSE(add_konqueror_bookmark("/root", "<new/>"));
  EXPECT_EQ(std::string(bookmarks) + ": Text file busy\n", testing::internal::GetCapturedStderr());
  shell_quietly("kill " + program);
}

// ---- On a full disk ----------------------------------------------------------------------------------

std::string many_bookmarks() {
  std::string text = "<xbel>\n";
  for (int number = 0; number < 300; ++number)
    text += "<bookmark href=\"http://" + std::to_string(number) + ".example/\"/>\n";
  return text + "</xbel>\n";
}

TEST(KonquerorBookmarkOnAFullDisk, IsRefusedWhenTheCopyIsNotWhole) {
  const SmallDisk disk("/root");
  write_file(bookmarks, many_bookmarks());
  for (const int left : {0, 1}) {  // no copy, and a part of one
    disk.empty();
    disk.fill_but(left);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(add_konqueror_bookmark("/root", "<new/>"));
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                EndsWith(std::string(bookmarks) + ": No space left on device\n"));
    EXPECT_TRUE(same_bytes(many_bookmarks(), read_file(bookmarks)));
    shell_quietly(std::string("rm -f ") + copy_of_bookmarks);
  }
}

TEST(KonquerorBookmarkOnAFullDisk, LeavesTheOldOnesWhenThereIsRoomForTheCopyAlone) {
  const SmallDisk disk("/root");
  write_file(bookmarks, many_bookmarks());
  disk.fill_but(3);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(add_konqueror_bookmark("/root", "<new/>"));
  EXPECT_EQ(std::string(bookmarks) + ": No space left on device\n", testing::internal::GetCapturedStderr());
  EXPECT_TRUE(same_bytes(many_bookmarks(), read_file(copy_of_bookmarks)));
  EXPECT_TRUE(same_bytes(many_bookmarks(), read_file(bookmarks)));
}

}  // namespace
