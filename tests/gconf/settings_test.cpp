#include "gconf/settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "gconf/gconf_calls.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"
#include "support/keeping_run.h"
#include "support/session.h"
#include "support/system_log.h"

namespace {

using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const Target running_user = {.home = "/root", .login = "root", .system_version = "", .root = ""};
const Target ann = {
    .home = "/home/ann", .login = "ann", .is_running_user = false, .system_version = "", .root = ""};

const std::vector<Setting> one_setting = {{"/apps/x/text", "t"}};

// The file of settings below apps/x, with nothing made for it.
SettingsFile file_in_x() { return {.folder = "apps/x", .new_folders = {}, .text = "<gconf>\n</gconf>"}; }

constexpr const char* ann_s_file = "/home/ann/.gconf/apps/x/%gconf.xml";

// ---- The running user's, through the client -------------------------------------------------------------

TEST(ClientSettings, TextsAreStored) {
  Session session;
  EXPECT_EQ(Stored::all, store_settings(running_user, {{"/apps/x/text", "a <b> & \u6587"}}, file_in_x()));
  EXPECT_EQ("a <b> & \u6587\n", session.get("/apps/x/text"));
}

TEST(ClientSettings, FlagsAreStoredEitherWay) {
  Session session;
  EXPECT_EQ(Stored::all,
            store_settings(running_user, {{"/apps/x/on", true}, {"/apps/x/off", false}}, file_in_x()));
  EXPECT_EQ("true\n", session.get("/apps/x/on"));
  EXPECT_EQ("false\n", session.get("/apps/x/off"));
}

TEST(ClientSettings, ListsKeepTheirOrder) {
  Session session;
  const std::vector<std::string> values = {"two", "one,three", ""};
  EXPECT_EQ(Stored::all, store_settings(running_user, {{"/apps/x/list", values}}, file_in_x()));
  EXPECT_EQ("[two,one\\,three,]\n", session.get("/apps/x/list"));
}

TEST(ClientSettings, AnEmptyListIsStoredToo) {
  Session session;
  EXPECT_EQ(Stored::all,
            store_settings(running_user, {{"/apps/x/list", std::vector<std::string>{}}}, file_in_x()));
  EXPECT_EQ("[]\n", session.get("/apps/x/list"));
}

TEST(ClientSettings, AreMadeInTheirOrder) {
  Session session;
  EXPECT_EQ(Stored::all, store_settings(running_user,
                                        {{"/apps/x/z", "1"},
                                         {"/apps/x/a", false},
                                         {"/apps/x/m", std::vector<std::string>{"b", "a"}},
                                         {"/apps/x/b", "2"}},
                                        file_in_x()));
  EXPECT_THAT(settings_made(), ElementsAre("string /apps/x/z 1", "bool /apps/x/a false", "list /apps/x/m b a",
                                           "string /apps/x/b 2"));
}

TEST(ClientSettings, LeaveTheHomeAlone) {
  Session session;
  SettingsFile file = file_in_x();
  file.new_folders = {"apps/y"};
  file.announced = true;
  testing::internal::CaptureStdout();
  EXPECT_EQ(Stored::all, store_settings(running_user, one_setting, file));
  EXPECT_EQ("", testing::internal::GetCapturedStdout());
  EXPECT_THAT(commands_run(), Each(std::string("gconftool-2 --spawn")));
  EXPECT_FALSE(exists("/root/.gconf/apps/y"));
}

TEST(ClientSettings, OneThatFailsIsDeliveredAndStopsNoOther) {
  Session session;
  testing::internal::CaptureStderr();
  EXPECT_EQ(Stored::not_all_in_client,
            store_settings(running_user, {{"/apps/x/one", "1"}, {"no key", "2"}, {"/apps/x/three", "3"}},
                           file_in_x()));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("gconf_client_set_string : set: "));
  EXPECT_EQ("1\n", session.get("/apps/x/one"));
  EXPECT_EQ("3\n", session.get("/apps/x/three"));
}

struct OneKind {
  const char* name;
  Setting setting;
  const char* complaint;
};

class FailingKind : public testing::TestWithParam<OneKind> {};

TEST_P(FailingKind, IsDelivered) {
  const Setting& setting = GetParam().setting;
  testing::internal::CaptureStderr();
  EXPECT_EQ(Stored::not_all_in_client, store_settings(running_user, {setting}, file_in_x()));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(GetParam().complaint));
  EXPECT_FALSE(exists("/root/.gconf/apps/x/%gconf.xml"));
}

INSTANTIATE_TEST_SUITE_P(
    OfSetting, FailingKind,
    testing::Values(OneKind{"Text", {"/a/b", "c"}, "gconf_client_set_string : set: "},
                    OneKind{"Flag", {"/a/b", true}, "gconf_client_set_bool : set: "},
                    OneKind{"List", {"/a/b", std::vector<std::string>{"c"}}, "in set_gconf_list : "}),
    [](const auto& test) { return std::string(test.param.name); });

TEST(ClientSettings, CanBeMadeWhileAProfileIsMigrated) {
  Session session;
  isDefaultUser = 0;
  assign(cur_user, "ann");
  EXPECT_EQ(Stored::all, store_in_client(one_setting));
  EXPECT_EQ("t\n", session.get("/apps/x/text"));
}

// ---- A profile's, as a file -----------------------------------------------------------------------------

TEST(ProfileSettings, AreTheWholeFile) {
  write_file(ann_s_file, "a longer file that was there before");
  EXPECT_EQ(Stored::all, store_settings(ann, one_setting, file_in_x()));
  EXPECT_TRUE(same_bytes("<gconf>\n</gconf>", read_file(ann_s_file)));
}

TEST(ProfileSettings, GoPastClientAndDaemon) {
  Session session;
  shell_quietly("mkdir -p /home/ann/.gconf/apps/x");
  EXPECT_EQ(Stored::all, store_settings(ann, one_setting, file_in_x()));
  EXPECT_THAT(settings_made(), IsEmpty());
  EXPECT_THAT(commands_run(), IsEmpty());
  EXPECT_THAT(session.get("/apps/x/text"), Not(HasSubstr("t\n")));
}

TEST(ProfileSettings, GetTheirNewFoldersInOrder) {
  shell_quietly("mkdir -p /home/ann/.gconf");
  SettingsFile file = file_in_x();
  file.new_folders = {"apps", "apps/x"};
  EXPECT_EQ(Stored::all, store_settings(ann, one_setting, file));
  EXPECT_THAT(commands_run(), ElementsAre("mkdir /home/ann/.gconf/apps", "mkdir /home/ann/.gconf/apps/x"));
  EXPECT_TRUE(exists(ann_s_file));
}

TEST(ProfileSettings, AFolderThatIsThereAlreadyIsOnlyLogged) {
  shell_quietly("mkdir -p /home/ann/.gconf/apps/x");
  SettingsFile file = file_in_x();
  file.new_folders = {"apps/x"};
  SystemLog log;
  EXPECT_EQ(Stored::all, store_settings(ann, one_setting, file));
  EXPECT_THAT(log.messages(), Contains(HasSubstr("exit status 1, mkdir /home/ann/.gconf/apps/x")));
  EXPECT_TRUE(exists(ann_s_file));
}

TEST(ProfileSettings, AFileThatCannotBeMadeLeavesItsReason) {
  errno = 0;
  EXPECT_EQ(Stored::not_in_file, store_settings(ann, one_setting, file_in_x()));
  EXPECT_EQ(ENOENT, errno);
  shell_quietly("mkdir -p /home/ann/.gconf/apps/x/%gconf.xml");
  EXPECT_EQ(Stored::not_in_file, store_settings(ann, one_setting, file_in_x()));
  EXPECT_EQ(EISDIR, errno);
}

TEST(ProfileSettings, OnAFullDiskTheOldFileStays) {
  const SmallDisk disk("/home/ann/.gconf");
  write_file(ann_s_file, "old");
  disk.fill_but(0);
  EXPECT_EQ(Stored::not_in_file, store_settings(ann, one_setting, file_in_x()));
  EXPECT_EQ(ENOSPC, errno);
  EXPECT_EQ("old", read_file(ann_s_file));
}

TEST(ProfileSettings, AreAnnouncedWhereItIsWanted) {
  shell_quietly("mkdir -p /home/ann/.gconf");
  SettingsFile file = file_in_x();
  file.new_folders = {"apps", "apps/x"};
  file.announced = true;
  testing::internal::CaptureStdout();
  EXPECT_EQ(Stored::all, store_settings(ann, one_setting, file));
  EXPECT_EQ(
      "Command::mkdir /home/ann/.gconf/apps\nCommand::mkdir /home/ann/.gconf/apps/x\n"
      "GConfPath::/home/ann/.gconf/apps/x/%gconf.xml\n",
      testing::internal::GetCapturedStdout());
}

TEST(ProfileSettings, AreAnnouncedEvenWhenTheFileCannotBeMade) {
  SettingsFile file = file_in_x();
  file.announced = true;
  testing::internal::CaptureStdout();
  EXPECT_EQ(Stored::not_in_file, store_settings(ann, one_setting, file));
  EXPECT_EQ("GConfPath::/home/ann/.gconf/apps/x/%gconf.xml\n", testing::internal::GetCapturedStdout());
}

TEST(ProfileSettings, WhoseFolderCannotBeKeptAreNotMade) {
  shell_quietly("mkdir -p /home/ann/.gconf");
  KeepingRun::prevent("/home/ann");
  const KeepingRun run;
  SettingsFile file = file_in_x();
  file.new_folders = {"apps", "apps/x"};
  file.announced = true;
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  EXPECT_EQ(Stored::not_in_file, store_settings(ann, one_setting, file));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("/home/ann/.gconf/apps could not be kept"));
  EXPECT_EQ("", testing::internal::GetCapturedStdout());
  EXPECT_THAT(commands_run(), IsEmpty());
  EXPECT_TRUE(run.has_changed_nothing({"/home/ann"}));
}

TEST(ProfileSettings, AreQuietOtherwise) {
  shell_quietly("mkdir -p /home/ann/.gconf/apps");
  SettingsFile file = file_in_x();
  file.new_folders = {"apps/x"};
  testing::internal::CaptureStdout();
  EXPECT_EQ(Stored::all, store_settings(ann, one_setting, file));
  EXPECT_EQ("", testing::internal::GetCapturedStdout());
}

TEST(ProfileSettings, AHostileHomeStaysOneWord) {
  Target hostile = ann;
  hostile.home = "/home/a;touch ran;$(touch ran)";
  shell_quietly("mkdir -p '" + hostile.home + "/.gconf/apps'");
  SettingsFile file = file_in_x();
  file.new_folders = {"apps/x"};
  EXPECT_EQ(Stored::all, store_settings(hostile, one_setting, file));
  EXPECT_TRUE(exists(hostile.home + "/.gconf/apps/x/%gconf.xml"));
  EXPECT_FALSE(exists("ran"));
}

TEST(ProfileSettings, LieBelowTheHomesGconfFolder) {
  EXPECT_EQ(ann_s_file, path_of(file_in_x(), ann));
  EXPECT_EQ("/root/.gconf/apps/x/%gconf.xml", path_of(file_in_x(), running_user));
}

}  // namespace
