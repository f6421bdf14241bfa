#include "gconf/folders.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "support/commands.h"
#include "support/files.h"
#include "support/keeping_run.h"

namespace {

struct SettingsFolder : testing::Test {
  SettingsFolder() { shell_quietly("mkdir -p /home/ann /srv/others && chown 1234:2345 /home/ann"); }
};

TEST_F(SettingsFolder, IsMadeWithThoseAboveItForTheOwnerOfTheHome) {
  EXPECT_TRUE(make_settings_folder("/home/ann", "apps/evolution"));
  EXPECT_EQ(
      ".gconf 1234:2345\n.gconf/apps 1234:2345\n.gconf/apps/%gconf.xml 1234:2345\n"
      ".gconf/apps/evolution 1234:2345\n.gconf/apps/evolution/%gconf.xml 1234:2345\n",
      output_of("cd /home/ann && find .gconf -printf '%p %U:%G\\n' | LC_ALL=C sort"));
}

TEST_F(SettingsFolder, ThatIsThereKeepsItsSettings) {
  write_file("/home/ann/.gconf/apps/%gconf.xml", "mine");
  EXPECT_TRUE(make_settings_folder("/home/ann", "apps/evolution"));
  EXPECT_TRUE(make_settings_folder("/home/ann", "apps/evolution"));
  EXPECT_EQ("mine", read_file("/home/ann/.gconf/apps/%gconf.xml"));
  EXPECT_EQ("", read_file("/home/ann/.gconf/apps/evolution/%gconf.xml"));
  EXPECT_FALSE(exists("/home/ann/.gconf/%gconf.xml"));
}

TEST_F(SettingsFolder, IsNotMadeBehindALinkOutOfTheHome) {
  shell_quietly(
      "mkdir /srv/others/evolution; mkdir /home/ann/.gconf; ln -s /srv/others /home/ann/.gconf/apps");
  EXPECT_FALSE(make_settings_folder("/home/ann", "apps/evolution"));
  EXPECT_FALSE(exists("/srv/others/%gconf.xml"));
  EXPECT_TRUE(std::filesystem::is_empty("/srv/others/evolution"));
}

TEST_F(SettingsFolder, IsNoneWithATrapInThePlaceOfAFile) {
  write_file("/srv/others/secret", "others'");
  for (const char* trap :
       {"ln -s /srv/others/secret", "ln -s /srv/others/missing", "ln /srv/others/secret", "mkfifo"}) {
    SCOPED_TRACE(trap);
    shell_quietly("rm -rf /home/ann/.gconf; mkdir -p /home/ann/.gconf/apps");
    shell_quietly(std::string(trap) + " /home/ann/.gconf/apps/%gconf.xml");
    shell_quietly("chown -hR 1234 /home/ann/.gconf; chown root /srv/others/secret");
    const KeepingRun run;
    testing::internal::CaptureStderr();
    EXPECT_FALSE(make_settings_folder("/home/ann", "apps/evolution"));
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                testing::HasSubstr("/home/ann/.gconf/apps/%gconf.xml"));
  }
}

TEST_F(SettingsFolder, MayHaveALinkThatStaysInTheHome) {
  shell_quietly("mkdir -p /home/ann/.gconf/apps; ln -s ../mine /home/ann/.gconf/apps/%gconf.xml");
  write_file("/home/ann/.gconf/mine", "mine");
  shell_quietly("chown -hR 1234 /home/ann");
  const KeepingRun run;
  EXPECT_TRUE(make_settings_folder("/home/ann", "apps"));
  EXPECT_EQ("mine", read_file("/home/ann/.gconf/mine"));
  EXPECT_TRUE(std::filesystem::is_symlink("/home/ann/.gconf/apps/%gconf.xml"));
}

TEST_F(SettingsFolder, IsNotMadeWhereAFileIs) {
  write_file("/home/ann/.gconf", "mine");
  EXPECT_FALSE(make_settings_folder("/home/ann", "apps"));
  EXPECT_EQ("mine", read_file("/home/ann/.gconf"));
}

TEST_F(SettingsFolder, IsListedAsMade) {
  shell_quietly("mkdir -p /home/ann/.gconf/apps/evolution; touch /home/ann/.gconf/apps/evolution/%gconf.xml");
  KeepingRun run;
  EXPECT_TRUE(make_settings_folder("/home/ann", "apps/evolution/mail"));
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_EQ((std::vector<std::string>{"made /home/ann/.gconf/apps/%gconf.xml",
                                      "made /home/ann/.gconf/apps/evolution/mail",
                                      "made /home/ann/.gconf/apps/evolution/mail/%gconf.xml"}),
            run.listed());
}

TEST_F(SettingsFolder, WhoseFileCannotBeListedIsNotFilled) {
  shell_quietly("mkdir -p /home/ann/.gconf/apps");
  KeepingRun::prevent("/home/ann");
  const KeepingRun run;
  EXPECT_FALSE(make_settings_folder("/home/ann", "apps"));
  EXPECT_FALSE(exists("/home/ann/.gconf/apps/%gconf.xml"));
}

}  // namespace
