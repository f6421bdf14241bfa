// What a whole run on a GNOME system writes down of the settings that it makes through a real daemon.
#include <fcntl.h>
#include <gconf/gconf-client.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>

#include "keep/keep.h"
#include "place/beneath.h"
#include "place/entry.h"
#include "process/run/applications.h"
#include "process/run/process.h"
#include "run/fakes.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

struct KeptSettings : testing::Test {
  KeptSettings() {
    shell_quietly("rm -f /etc/*-version /etc/redflag-release; mkdir -p /root/.evolution /root/.mozilla/x");
    setenv("HOME", "/root", 1);
    const std::string answer = output_of("dbus-daemon --session --fork --print-address=1");
    setenv("DBUS_SESSION_BUS_ADDRESS", answer.substr(0, answer.find('\n')).c_str(), 1);
    write_file("/tmp/in/Brindle/Mapped_Drives/d.txt", "x");
    write_file("/tmp/in/Brindle/Wallpaper/a.bmp", "BM");
    write_file("/tmp/in/Brindle/Wallpaper/option.txt", "C");
  }

  static void migrate() {
    shell_quietly("cd /tmp/in && zip -qry /tmp/my.zip .");
    ASSERT_TRUE(assign(g_filename, "/tmp/my.zip"));
    testing::internal::CaptureStdout();
    run_as_worker([] { EXPECT_EQ(nullptr, process(nullptr)); });
    testing::internal::GetCapturedStdout();
    const Descriptor list(open(list_file().c_str(), O_RDONLY));
    for (const keep::Row& row : keep::joined_rows(list.number())) {
      rows[row.name] = row;
      if (row.kind == keep::Kind::gconf) keys.push_back(row.name);
    }
  }
  static std::string list_file() {
    const std::string file = output_of("ls /root/.brindle_before/*/list.tsv");
    return file.substr(0, file.find('\n'));
  }
  static std::map<std::string, keep::Row> rows;
  static std::vector<std::string> keys;  // in the order in which they were set first
};
std::map<std::string, keep::Row> KeptSettings::rows;
std::vector<std::string> KeptSettings::keys;

TEST_F(KeptSettings, OfAFreshHomeAreTheRunsWithTheirFolder) {
  migrate();
  EXPECT_EQ("nothing", rows["/root/.gconf"].before);
  EXPECT_THAT(rows["/root/.gconf"].became, StartsWith("folder "));
  const keep::Row& key = rows["/apps/nautilus/preferences/always_use_browser"];
  EXPECT_EQ("nothing", key.before);
  EXPECT_EQ("bool true", key.became);
}

TEST_F(KeptSettings, OfTheFileManagerComeFirstAndInTheirOrder) {
  migrate();
  const std::string folder = "/apps/nautilus/preferences/";
  ASSERT_LE(3U, keys.size());
  keys.resize(3);
  EXPECT_THAT(keys, testing::ElementsAre(folder + "always_use_browser", folder + "start_with_sidebar",
                                         folder + "side_pane_view"));
}

TEST_F(KeptSettings, HaveFilesThatTheDaemonDoesNotChangeAfterTheRun) {
  const std::string file = "/root/.gconf/apps/nautilus/preferences/%gconf.xml";
  const std::string old =
      "<?xml version=\"1.0\"?>\n<gconf>\n<entry name=\"always_use_browser\" mtime=\"1\" type=\"bool\" "
      "value=\"false\"/>\n</gconf>\n";
  for (const char* folder : {"", "apps/", "apps/nautilus/"})
    write_file(std::string("/root/.gconf/") + folder + "%gconf.xml", "");
  write_file(file, old);
  migrate();
  EXPECT_EQ("bool false", rows["/apps/nautilus/preferences/always_use_browser"].before);
  EXPECT_THAT(read_file(file), HasSubstr("value=\"true\""));
  shell_quietly("gconftool-2 --shutdown; while gconftool-2 --ping; do sleep 0.05; done");
  const Descriptor top = place::open_top("/");
  std::size_t files = 0;
  for (const auto& [name, row] : rows) {
    if (!name.ends_with("%gconf.xml")) continue;
    const auto now = place::look_beneath(top.number(), name.substr(1), place::Content::read);
    ASSERT_TRUE(now);
    EXPECT_EQ(place::text_of(*now), row.became) << name;
    ++files;
  }
  EXPECT_TRUE(rows.contains(file));
  // Of the preparation and of a step.
  EXPECT_TRUE(rows.contains("/root/.gconf/desktop/gnome/background/%gconf.xml"));
  EXPECT_LT(4u, files);
  const std::string kept = list_file().substr(0, list_file().rfind('/')) + "/files" + file;
  EXPECT_EQ(old, read_file(kept));
}

TEST_F(KeptSettings, OfThePreparationAreWrittenWithIt) {
  assign(OSName, "GNome");
  client = gconf_client_get_default();
  testing::internal::CaptureStdout();
  run_as_worker([] { prepare_applications(target_of("/tmp/in/Brindle")); });
  testing::internal::GetCapturedStdout();
  EXPECT_THAT(read_file("/root/.gconf/apps/nautilus/preferences/%gconf.xml"),
              HasSubstr("always_use_browser"));
  const std::string read = "gconftool-2 -g /apps/nautilus/preferences/";
  EXPECT_EQ("false\n", output_of(read + "always_use_browser"));
  EXPECT_EQ("false\n", output_of(read + "start_with_sidebar"));
  EXPECT_EQ("true\n", output_of(read + "side_pane_view"));
  g_clear_object(&client);
}

}  // namespace
