// Settings and queues: given back through the programs that own them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "keep/keep.h"
#include "printers/print_server.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/session.h"
#include "things/queue.h"
#include "things/setting.h"
#include "undo/scene.h"

namespace {

using keep::Kind;
using scene::Ended;
using testing::HasSubstr;

constexpr const char* key = "/apps/brindle/picture";
constexpr const char* new_key = "/apps/brindle/new";
constexpr const char* file = "/root/.gconf/apps/brindle/%gconf.xml";

// As the wizard does it: the key, and the file that the daemon writes for it.
void set_in_run(const char* name, const std::string& value) {
  std::string error;
  ASSERT_TRUE(keep::before_change(file));
  ASSERT_TRUE(
      keep::before_change_of(Kind::gconf, name, things::setting_state(client, name, error).value_or("")));
  ASSERT_TRUE(things::give_setting(client, name, "string " + value, error)) << error;
  ASSERT_TRUE(things::write_settings(client, error)) << error;
  keep::now_is(Kind::gconf, name, "string " + value);
}

class Settings : public testing::Test {
 protected:
  Settings() {
    shell_quietly(std::string("gconftool-2 -s -t string ") + key +
                  " old.png; gconftool-2 --shutdown; sleep 0.2");
    before_ = scene::tree("/root/.gconf/apps");
    const scene::Migration run;
    set_in_run(key, "new.png");
    set_in_run(new_key, "made");
    shell_quietly("sleep 1.1");  // the file tells when a key was set
  }
  Session session_;
  std::string before_;
};

TEST_F(Settings, are_what_they_were_in_the_daemon_and_in_its_file) {
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_THAT(ended.said, HasSubstr("  the setting /apps/brindle/picture\n"));
  EXPECT_TRUE(same_bytes(before_, scene::tree("/root/.gconf/apps"))) << ended.said;
  EXPECT_EQ("old.png\n", Session::get(key));
  EXPECT_THAT(Session::get(new_key), HasSubstr("No value set"));
  shell_quietly("gconftool-2 --shutdown; sleep 0.2");
  EXPECT_TRUE(same_bytes(before_, scene::tree("/root/.gconf/apps")));
}

TEST_F(Settings, come_back_with_the_undo_of_the_undo) {
  ASSERT_EQ(0, scene::undo("--yes").status);
  const Ended ended = scene::undo("--yes " + scene::newest_undo());
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_EQ("new.png\n", Session::get(key));
  EXPECT_EQ("made\n", Session::get(new_key));
}

// The daemon removes a folder with its empty file when the last setting below it goes.
TEST(Settings_of_a_new_desktop, leave_the_empty_files_that_it_had) {
  const Session session;
  constexpr const char* empty = "<?xml version=\"1.0\"?>\n<gconf>\n</gconf>\n";
  for (const char* folder : {"desktop", "desktop/gnome", "apps"})
    write_file("/root/.gconf/" + std::string(folder) + "/%gconf.xml", empty);
  shell_quietly("gconftool-2 --shutdown; find /root/.gconf -exec touch -d '2005-05-10 21:39:00' {} +");
  const std::string before = scene::tree("/root/.gconf/desktop");
  {
    const scene::Migration run;
    std::string error;
    constexpr const char* picture = "/desktop/gnome/background/picture";
    for (const char* folder : {"desktop", "desktop/gnome", "desktop/gnome/background"})
      ASSERT_TRUE(keep::before_change("/root/.gconf/" + std::string(folder) + "/%gconf.xml"));
    ASSERT_TRUE(keep::before_change_of(Kind::gconf, picture, keep::nothing));
    ASSERT_TRUE(things::give_setting(client, picture, "string new.png", error)) << error;
    ASSERT_TRUE(things::write_settings(client, error)) << error;
    keep::now_is(Kind::gconf, picture, "string new.png");
  }
  shell_quietly("sleep 1.1");
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_THAT(ended.said, testing::Not(HasSubstr("not given back")));
  EXPECT_THAT(ended.said, testing::Not(HasSubstr("Given back as it was")));
  EXPECT_THAT(ended.said, HasSubstr("\n0 files and folders were given back, "));
  EXPECT_EQ(empty, read_file("/root/.gconf/desktop/gnome/%gconf.xml"));
  EXPECT_TRUE(same_bytes(before, scene::tree("/root/.gconf/desktop"))) << ended.said;
}

TEST_F(Settings, that_somebody_has_changed_since_stay) {
  shell_quietly(std::string("gconftool-2 -s -t string ") + key + " mine.png");
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(1, ended.status);
  EXPECT_THAT(ended.said, HasSubstr("the setting /apps/brindle/picture: it has changed since\n"));
  EXPECT_EQ("mine.png\n", Session::get(key));
}

TEST(Queues, are_given_back_through_the_server) {
  const PrintServer server;
  std::string error;
  ASSERT_EQ(0, shell_quietly(
                   "lpadmin -p old -E -v socket://10.0.0.7:9100 -D 'Old one' 2>/dev/null; lpadmin -d old"));
  const auto old = things::queue_state("old", error);
  {
    const scene::Migration run;
    ASSERT_TRUE(keep::before_change_of(Kind::queue, "old", old.value_or("")));
    ASSERT_TRUE(keep::before_change_of(Kind::queue, "office", keep::nothing));
    ASSERT_TRUE(keep::before_change_of(Kind::default_queue, "-", "old"));
    ASSERT_TRUE(things::keep_queue("old", keep::folder_of_run() + "/queues", error)) << error;
    shell_quietly(
        "lpadmin -p old -v lpd://LPT1/ -D 'New one'; lpadmin -p office -E -v socket://10.0.0.8; "
        "lpadmin -d office");
    keep::now_is(Kind::queue, "old", things::queue_state("old", error).value_or(""));
    keep::now_is(Kind::queue, "office", things::queue_state("office", error).value_or(""));
    keep::now_is(Kind::default_queue, "-", "office");
  }
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(0, ended.status) << ended.said;
  EXPECT_EQ(old, things::queue_state("old", error)) << error;
  EXPECT_EQ(keep::nothing, things::queue_state("office", error).value_or(""));
  EXPECT_EQ("old", things::default_queue_state(error).value_or(""));
  const Ended back = scene::undo("--yes " + scene::newest_undo());
  EXPECT_EQ(0, back.status) << back.said;
  EXPECT_EQ("office", things::default_queue_state(error).value_or(""));
  EXPECT_EQ("socket://10.0.0.8", PrintServer::uri_of("office"));
}

TEST(Queues, that_cannot_be_told_are_named) {
  {
    const scene::Migration run;
    ASSERT_TRUE(keep::before_change_of(Kind::queue, "office", keep::nothing));
    keep::now_is(Kind::queue, "office", "device-uri socket://10.0.0.8");
    scene::write("/root/made", "m");
  }
  const Ended ended = scene::undo("--yes");
  EXPECT_EQ(1, ended.status);
  EXPECT_THAT(ended.said, HasSubstr("  the print queue office: "));
  EXPECT_FALSE(exists("/root/made"));
}

}  // namespace
