#include "process/desktop/fonts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"
#include "support/system_log.h"
#include "system/capabilities.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

struct Fonts : testing::Test {
  Fonts() {
    // A real font under a name of its own.
    shell_quietly(
        "mkdir -p /tmp/b/Fonts && cp \"$(fc-list -f '%{file}\\n' | grep '\\.ttf$' | head -n 1)\" "
        "/tmp/b/Fonts/migrated.ttf; rm -f /usr/bin/staroffice");
    on("GNome");
  }
  static void on(const char* system) { assign(OSName, system); }
  static void redflag_skeleton() {
    shell_quietly(
        "mkdir -p /tmp/s/.kde/share/config /usr/local/brindle /root/.kde/share/config && "
        "echo skeleton > /tmp/s/.kde/share/config/konsolerc && "
        "tar -cjf /usr/local/brindle/redflagroot.tar.bz2 -C /tmp/s .kde");
    write_file("/root/.kde/share/config/konsolerc", "old");
  }
};

TEST_F(Fonts, AreInstalledForTheUserAndFound) {
  EXPECT_EQ(0, fonts("/tmp/b"));
  EXPECT_THAT(commands_run(), ElementsAre("mkdir -p /root/.fonts", "cp /tmp/b/Fonts/* /root/.fonts",
                                          "fc-cache /root/.fonts"));
  EXPECT_THAT(output_of("HOME=/root fc-list"), HasSubstr("/root/.fonts/migrated.ttf"));
}

TEST_F(Fonts, OfAProfileGoToItsHome) {
  isDefaultUser = 0;
  assign(cur_user, "ann");
  fonts("/tmp/b");
  EXPECT_TRUE(exists("/home/ann/.fonts/migrated.ttf"));
  EXPECT_FALSE(exists("/root/.fonts"));
}

// Somebody was quicker than mkdir.
TEST_F(Fonts, OnRedFlagTakeNobodyElsesTerminalConfiguration) {
  on("RedFlag");
  redflag_skeleton();
  write_file("/usr/local/bin/mkdir",
             "#!/bin/sh\nfolder=/tmp/redflagroot2/root/.kde/share/config\n"
             "[ \"$*\" != /tmp/redflagroot2 ] || { /bin/mkdir -p $folder; echo evil > $folder/konsolerc; "
             "chown -R games /tmp/redflagroot2; }\nexec /bin/mkdir \"$@\"\n");
  write_file("/usr/local/bin/tar", "#!/bin/sh\n");
  shell_quietly("chmod 755 /usr/local/bin/mkdir /usr/local/bin/tar");
  EXPECT_EQ(0, fonts("/tmp/b"));
  EXPECT_EQ("old", read_file("/root/.kde/share/config/konsolerc"));
  EXPECT_FALSE(exists("/tmp/redflagroot2"));
}

TEST_F(Fonts, OnRedFlagBringTheTerminalConfiguration) {
  on("RedFlag");
  redflag_skeleton();
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, fonts("/tmp/b"));
  EXPECT_EQ(
      "buffer=/root\nReplacing the konsole file."
      "Tar Command::tar -jxf \"/usr/local/brindle/redflagroot.tar.bz2\" -C /tmp/redflagroot2/root\n"
      "Home Directory Path::/tmp/redflagroot2\n"
      "CMD Executed::cp -f /tmp/redflagroot2/root/.kde/share/config/konsolerc /root/.kde/share/config\n",
      testing::internal::GetCapturedStdout());
  EXPECT_THAT(
      commands_run(),
      ElementsAre("rm -rf /tmp/redflagroot2", "mkdir /tmp/redflagroot2", "mkdir /tmp/redflagroot2/root",
                  "tar -jxf \"/usr/local/brindle/redflagroot.tar.bz2\" -C /tmp/redflagroot2/root",
                  "cp -f /tmp/redflagroot2/root/.kde/share/config/konsolerc /root/.kde/share/config",
                  "rm -rf /tmp/redflagroot2", "mkdir -p /root/.fonts", "cp /tmp/b/Fonts/* /root/.fonts",
                  "fc-cache /root/.fonts"));
  EXPECT_EQ("skeleton\n", read_file("/root/.kde/share/config/konsolerc"));
  EXPECT_TRUE(exists("/root/.fonts/migrated.ttf"));
  EXPECT_FALSE(exists("/tmp/redflagroot2"));
}

TEST_F(Fonts, OnRedFlagAFullDiskLeavesTheOldTerminalConfiguration) {
  on("RedFlag");
  redflag_skeleton();
  const SmallDisk disk("/root/.kde");
  disk.fill_but(0);
  EXPECT_EQ(0, fonts("/tmp/b"));
  EXPECT_EQ("old", read_file("/root/.kde/share/config/konsolerc"));
}

TEST_F(Fonts, OnRedFlagLeaveNoWorkingFolderWhereRmFails) {
  on("RedFlag");
  redflag_skeleton();
  write_file("/usr/local/bin/rm", "#!/bin/sh\nexit 1\n");
  shell_quietly("chmod 755 /usr/local/bin/rm");
  EXPECT_EQ(0, fonts("/tmp/b"));
  EXPECT_EQ("skeleton\n", read_file("/root/.kde/share/config/konsolerc"));
  EXPECT_FALSE(exists("/tmp/redflagroot2"));
}

TEST_F(Fonts, OnRedFlagForSeveralUsersAreEverybodys) {
  on("RedFlag");
  redflag_skeleton();
  isMultiUser = 1;
  shell_quietly(
      "mkdir -p /usr/share/fonts/zh_CN/TrueType; touch /usr/share/fonts/zh_CN/TrueType/fonts.cache-1");
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, fonts("/tmp/b"));
  EXPECT_THAT(
      testing::internal::GetCapturedStdout(),
      testing::EndsWith("Deleting file::rm -f /usr/share/fonts/zh_CN/TrueType/fonts.cache-1"
                        "Copying fonts for redflag.\ncp /tmp/b/Fonts/* /usr/share/fonts/zh_CN/TrueType\n"
                        "Copying fonts for redflag.\nfc-cache /usr/share/fonts/zh_CN/TrueType\n"));
  const auto commands = commands_run();
  EXPECT_THAT(std::vector<std::string>(commands.end() - 3, commands.end()),
              ElementsAre("rm -f /usr/share/fonts/zh_CN/TrueType/fonts.cache-1",
                          "cp /tmp/b/Fonts/* /usr/share/fonts/zh_CN/TrueType",
                          "fc-cache /usr/share/fonts/zh_CN/TrueType"));
  EXPECT_THAT(output_of("fc-list"), HasSubstr("/usr/share/fonts/zh_CN/TrueType/migrated.ttf"));
  EXPECT_FALSE(exists("/usr/share/fonts/zh_CN/TrueType/fonts.cache-1"));
  EXPECT_FALSE(exists("/root/.fonts"));
  EXPECT_EQ("skeleton\n", read_file("/root/.kde/share/config/konsolerc"));
}

TEST_F(Fonts, OnRedFlagAProfileKeepsItsTerminal) {
  on("RedFlag");
  isDefaultUser = 0;
  assign(cur_user, "ann");
  fonts("/tmp/b");
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("redflagroot2"))));
  EXPECT_TRUE(exists("/home/ann/.fonts/migrated.ttf"));
}

TEST_F(Fonts, OnRedFlagAProfileOfSeveralUsersStillInstallsForEverybody) {
  on("RedFlag");
  isMultiUser = 1;
  isDefaultUser = 0;
  assign(cur_user, "ann");
  testing::internal::CaptureStdout();
  fonts("/tmp/b");
  EXPECT_THAT(testing::internal::GetCapturedStdout(), Not(HasSubstr("konsole")));
  EXPECT_THAT(commands_run(), ElementsAre("rm -f /usr/share/fonts/zh_CN/TrueType/fonts.cache-1",
                                          "cp /tmp/b/Fonts/* /usr/share/fonts/zh_CN/TrueType",
                                          "fc-cache /usr/share/fonts/zh_CN/TrueType"));
}

class OtherSystem : public Fonts, public testing::WithParamInterface<const char*> {};

TEST_P(OtherSystem, InstallsForTheUserEvenOfSeveral) {
  on(GetParam());
  isMultiUser = 1;
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, fonts("/tmp/b"));
  EXPECT_EQ("buffer=/root\n", testing::internal::GetCapturedStdout());
  EXPECT_THAT(commands_run(), ElementsAre("mkdir -p /root/.fonts", "cp /tmp/b/Fonts/* /root/.fonts",
                                          "fc-cache /root/.fonts"));
}

INSTANTIATE_TEST_SUITE_P(Each, OtherSystem, testing::Values("GNome", "Linspire", "Xandros", "INVALID"),
                         [](const auto& test) { return std::string(test.param); });

// It is unpacked with the options for such a tarball.
TEST(TerminalSettings, ComeFromACompressedSkeletonHome) {
  for (const System system :
       {System::gnome, System::linspire, System::redflag, System::xandros, System::other}) {
    const Capabilities& has = capabilities(system);
    if (!has.brings_terminal_settings) continue;
    ASSERT_NE(nullptr, has.skeleton) << has.name;
    EXPECT_TRUE(has.skeleton->bzip2) << has.name;
  }
}

TEST_F(Fonts, AnOfficeSuiteGetsAllOfTheUsersFonts) {
  write_file("/usr/bin/staroffice", "");
  write_file("/root/.fonts/own.ttf", "");
  EXPECT_EQ(0, fonts("/tmp/b"));
  EXPECT_EQ("migrated.ttf\nown.ttf\n", output_of("ls /root/.staroffice7/user/fonts"));
  const auto commands = commands_run();
  EXPECT_EQ("mkdir -p /root/.staroffice7/user/fonts", commands[commands.size() - 2]);
  EXPECT_EQ("cp /root/.fonts/* /root/.staroffice7/user/fonts", commands.back());
}

// The fonts are everybody's then, so there may be none in the home to copy from; only the log shows it.
TEST_F(Fonts, AnOfficeSuiteLooksInTheHomeAfterAnInstallationForEverybodyToo) {
  on("RedFlag");
  isMultiUser = 1;
  write_file("/usr/bin/staroffice", "");
  SystemLog log;
  EXPECT_EQ(0, fonts("/tmp/b"));
  EXPECT_EQ("cp /root/.fonts/* /root/.staroffice7/user/fonts", commands_run().back());
  EXPECT_THAT(log.messages(), Contains(HasSubstr("exit status 1, cp /root/.fonts/*")));
}

TEST_F(Fonts, AHostileFileNameStaysOneWord) {
  write_file("/tmp/b/Fonts/a;touch ran;$(touch ran).ttf", "");
  EXPECT_EQ(0, fonts("/tmp/b"));
  EXPECT_TRUE(exists("/root/.fonts/a;touch ran;$(touch ran).ttf"));
  EXPECT_FALSE(exists("ran"));
}

TEST_F(Fonts, ThatCannotBeCopiedAreOnlyLogged) {
  SystemLog log;
  EXPECT_EQ(0, fonts("/tmp/missing"));
  EXPECT_THAT(log.messages(), Contains(HasSubstr("exit status 1, cp /tmp/missing/Fonts/*")));
}

}  // namespace
