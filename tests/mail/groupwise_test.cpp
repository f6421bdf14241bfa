#include "process/mail/groupwise.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "mail/mail_files.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* settings = "/tmp/b/Groupwise/.gwuser.xml";
constexpr const char* mailbox = "\t<_default reg='sz'>gwremote</_default> <!-- here -->\n";

TEST(Groupwise, PointsTheMailboxToTheHome) {
  write_file(settings,
             std::string("<gw>\n") + mailbox + "<other reg='sz'>gwremote</other>\n" + mailbox + "</gw>\n");
  write_file("/tmp/b/Groupwise/gwremote/user.db", "mail");
  EXPECT_EQ(0, groupwise("/tmp/b"));
  EXPECT_EQ(
      "<gw>\n<_default reg=\"sz\">/root/gwremote</_default>\n<other reg='sz'>gwremote</other>\n"
      "<_default reg=\"sz\">/root/gwremote</_default>\n</gw>\n",
      read_file("/root/.gwuser.xml"));
  EXPECT_EQ("mail", read_file("/root/gwremote/user.db"));
  EXPECT_EQ("", output_of("xmllint --noout /root/.gwuser.xml 2>&1"));
  EXPECT_TRUE(exists("/tmp/b/Groupwise/.gwusertemp.xml"));
  EXPECT_THAT(commands_run(), ElementsAre("cp /tmp/b/Groupwise/.gwuser.xml /tmp/b/Groupwise/.gwusertemp.xml",
                                          "cp -a /tmp/b/Groupwise/.gwuser.xml /root/",
                                          "cp -a /tmp/b/Groupwise/gwremote /root"));
}

TEST(Groupwise, WithoutAMailboxLineIsCopiedUnchanged) {
  const std::string text =
      "<gw>\r\n<_default reg=\"sz\">gwremote</_default>\r\n" + std::string(3000, 'x') + "\n</gw>";
  write_file(settings, text);
  EXPECT_EQ(0, groupwise("/tmp/b"));
  EXPECT_EQ(text, read_file("/root/.gwuser.xml"));
}

TEST(Groupwise, OnlyTheMailboxLineLosesItsCarriageReturn) {
  write_file(settings, "<gw>\r\n<_default reg='sz'>gwremote</_default>\r\n</gw>\r\n");
  groupwise("/tmp/b");
  EXPECT_EQ("<gw>\r\n<_default reg=\"sz\">/root/gwremote</_default>\n</gw>\r\n",
            read_file("/root/.gwuser.xml"));
}

// A line of 1100 characters is two lines to the rewriting: the mailbox in the second, or across both.
TEST(Groupwise, LongLinesComeInPieces) {
  const std::string inside(1023, ' ');
  const std::string across(1000, ' ');
  const std::string text = "<_default reg='sz'>gwremote</_default>\n";
  write_file(settings, inside + text + across + text);
  groupwise("/tmp/b");
  EXPECT_EQ(inside + "<_default reg=\"sz\">/root/gwremote</_default>\n" + across + text,
            read_file("/root/.gwuser.xml"));
}

TEST(Groupwise, KeepsTheFormerSettingsInTheArchive) {
  write_file(settings, mailbox);
  groupwise("/tmp/b");
  EXPECT_EQ(mailbox, read_file("/tmp/b/Groupwise/.gwusertemp.xml"));
  EXPECT_EQ("<_default reg=\"sz\">/root/gwremote</_default>\n", read_file(settings));
}

TEST(Groupwise, AMailboxMayBeAFile) {
  write_file(settings, mailbox);
  write_file("/tmp/b/Groupwise/gwremote", "mail");
  groupwise("/tmp/b");
  EXPECT_EQ("mail", read_file("/root/gwremote"));
}

TEST(Groupwise, LeavesTheOldSettingsOnAFullDisk) {
  const std::string new_settings = std::string(20'000, 'n') + "\n";
  write_file(settings, new_settings);
  write_file("/home/ann/.gwuser.xml", "old");
  isDefaultUser = 0;
  assign(cur_user, "ann");
  const SmallDisk disk("/home/ann");
  disk.fill_but(2);
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, groupwise("/tmp/b"));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("the old one is back\n"));
  EXPECT_EQ("old", read_file("/home/ann/.gwuser.xml"));
  disk.empty();
  EXPECT_EQ(0, groupwise("/tmp/b"));
  EXPECT_EQ(new_settings, read_file("/home/ann/.gwuser.xml"));
  EXPECT_EQ("", output_of("ls -A /home/ann | grep brindle"));
}

TEST(Groupwise, WithoutRoomToKeepTheOldSettingsCopiesNone) {
  write_file(settings, "new");
  write_file("/home/ann/.gwuser.xml", "old");
  isDefaultUser = 0;
  assign(cur_user, "ann");
  const SmallDisk disk("/home/ann");
  disk.fill_but(0);
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, groupwise("/tmp/b"));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("/home/ann/.gwuser.xml is not replaced: No space left on device\n"));
  EXPECT_EQ("old", read_file("/home/ann/.gwuser.xml"));
  EXPECT_THAT(commands_run(), ElementsAre("cp /tmp/b/Groupwise/.gwuser.xml /tmp/b/Groupwise/.gwusertemp.xml",
                                          "cp -a /tmp/b/Groupwise/gwremote /home/ann"));
}

// The working copy and the settings lie on one disk.
TEST(Groupwise, RewritesNothingFromACopyThatIsCutOff) {
  const std::string text = mailbox + std::string(20'000, 'n') + "\n";
  write_file(settings, text);
  const SmallDisk disk("/tmp/b/Groupwise");
  disk.fill_but(2);
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, groupwise("/tmp/b"));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("Could not be pointed to the mailbox in the home: " + std::string(settings) + "\n"));
  EXPECT_EQ(text, read_file("/root/.gwuser.xml"));
}

// There is room for the rest of it.
TEST(Groupwise, RewritesNothingFromACopyThatTheCommandLeftInPart) {
  write_file("/usr/local/bin/cp",
             "#!/bin/sh\n[ $# -gt 2 ] && exec /bin/cp \"$@\"\nhead -c 20 \"$1\" > \"$2\"\n");
  shell_quietly("chmod 755 /usr/local/bin/cp");
  const std::string text = std::string(mailbox) + "</gw>\n";
  write_file(settings, text);
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, groupwise("/tmp/b"));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("Could not be pointed to the mailbox"));
  EXPECT_EQ(text, read_file("/root/.gwuser.xml"));
}

TEST(Groupwise, OfAHostileFolderNameStaysOneWord) {
  write_file("/tmp/x y;touch ran;$(touch ran)/Groupwise/.gwuser.xml", mailbox);
  EXPECT_EQ(0, groupwise("/tmp/x y;touch ran;$(touch ran)"));
  EXPECT_TRUE(exists("/root/.gwuser.xml"));
  EXPECT_FALSE(exists("ran"));
}

TEST(Groupwise, OfAProfileGoesToItsHome) {
  isDefaultUser = 0;
  assign(cur_user, "ann");
  shell_quietly("mkdir -p /home/ann");
  write_file(settings, mailbox);
  EXPECT_EQ(0, groupwise("/tmp/b"));
  EXPECT_EQ("<_default reg=\"sz\">/home/ann/gwremote</_default>\n", read_file("/home/ann/.gwuser.xml"));
}

TEST(Groupwise, WithoutSettingsMakesNothing) {
  shell_quietly("mkdir -p /tmp/b/Groupwise");
  EXPECT_EQ(0, groupwise("/tmp/b"));
  EXPECT_EQ(0, groupwise("/tmp/missing"));
  EXPECT_THAT(commands_run(), IsEmpty());
  EXPECT_EQ("", output_of("ls -A /root /tmp/b/Groupwise | grep gw"));
}

TEST(Groupwise, AsksForTheHomeOnceThereAreSettings) {
  testing::internal::CaptureStdout();
  groupwise("/tmp/b");
  EXPECT_EQ("", testing::internal::GetCapturedStdout());
  write_file(settings, mailbox);
  testing::internal::CaptureStdout();
  groupwise("/tmp/b");
  EXPECT_EQ("buffer=/root\n", testing::internal::GetCapturedStdout());
}

TEST(Groupwise, WithoutAHomeOnlyTheCopyInTheArchiveIsMade) {
  lose_account_entry();
  write_file(settings, mailbox);
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, groupwise("/tmp/b"));
  EXPECT_EQ(1, complaints_of_no_home(testing::internal::GetCapturedStderr()));
  EXPECT_EQ(mailbox, read_file(settings));
  EXPECT_THAT(commands_run(),
              ElementsAre("cp /tmp/b/Groupwise/.gwuser.xml /tmp/b/Groupwise/.gwusertemp.xml"));
}

TEST(Groupwise, AMissingMailboxDoesNotStopTheSettings) {
  write_file(settings, mailbox);
  EXPECT_EQ(0, groupwise("/tmp/b"));
  EXPECT_TRUE(exists("/root/.gwuser.xml"));
}

}  // namespace
