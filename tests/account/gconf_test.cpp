// Settings in GConf. What the files hold was tried with the real daemon.
#include "account/readers/gconf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "support/commands.h"
#include "support/files.h"

namespace {

using account::GConfValue;
using account::read_gconf;
using testing::ElementsAre;

constexpr const char* folder = "/desktop/gnome/background/";

std::string string_entry(const std::string& name, const std::string& value) {
  return "<entry name=\"" + name + "\" mtime=\"1114470984\" type=\"string\">\n<stringvalue>" + value +
         "</stringvalue>\n</entry>\n";
}

void write_settings(const std::string& home, const std::string& entries) {
  const std::string root = home + "/.gconf";
  write_file(root + "/desktop/%gconf.xml", "");
  write_file(root + "/desktop/gnome/%gconf.xml", "");
  write_file(root + folder + "%gconf.xml", "<?xml version=\"1.0\"?>\n<gconf>\n" + entries + "</gconf>\n");
}

std::optional<GConfValue> read_key(const std::string& key) { return read_gconf("/home/ann", folder + key); }

TEST(GConf, reads_texts_flags_and_lists_of_a_file) {
  write_settings("/home/ann", string_entry("one", "a &lt;b&gt; &amp; \u00e9") +
                                  "<entry name=\"on\" mtime=\"1\" type=\"bool\" value=\"true\"></entry>\n"
                                  "<entry name=\"off\" mtime=\"1\" type=\"bool\" value=\"false\"/>\n"
                                  "<entry name=\"list\" mtime=\"1\" type=\"list\" ltype=\"string\">\n"
                                  "<li type=\"string\"><stringvalue>a</stringvalue></li>\n"
                                  "<li type=\"string\"><stringvalue></stringvalue></li>\n"
                                  "<li type=\"string\"><stringvalue>c,d</stringvalue></li></entry>\n" +
                                  string_entry("two", " "));
  EXPECT_EQ("a <b> & \u00e9", read_key("one")->text());
  EXPECT_EQ(" ", read_key("two")->text());
  EXPECT_TRUE(std::get<bool>(read_key("on")->value));
  EXPECT_FALSE(std::get<bool>(read_key("off")->value));
  EXPECT_THAT(read_key("list")->list(), ElementsAre("a", "", "c,d"));
  EXPECT_FALSE(read_key("three"));
  EXPECT_FALSE(read_gconf("/home/bob", std::string(folder) + "one"));
}

TEST(GConf, stops_at_a_fault) {
  for (const char* fault : {"b & c", "b < c", "b \xe9 c"}) {
    write_settings("/home/ann",
                   string_entry("before", "a") + string_entry("at", fault) + string_entry("behind", "c"));
    EXPECT_EQ("a", read_key("before")->text());
    EXPECT_FALSE(read_key("before")->damaged);
    EXPECT_EQ("", read_key("at")->text());
    EXPECT_TRUE(read_key("at")->damaged);
    EXPECT_TRUE(read_key("behind")->damaged);
  }
}

TEST(GConf, sees_no_folder_below_one_without_settings) {
  write_settings("/home/ann", string_entry("one", "a"));
  ASSERT_TRUE(read_key("one"));  // also without a file in .gconf itself
  shell_quietly("rm /home/ann/.gconf/desktop/gnome/%gconf.xml");
  EXPECT_FALSE(read_key("one"));
  write_file("/home/ann/.gconf/desktop/gnome/%gconf.xml", "");
  shell_quietly("rm /home/ann/.gconf/desktop/%gconf.xml");
  EXPECT_FALSE(read_key("one"));
}

// A session bus of the test's own, on which the real daemon answers for root.
struct Daemon : testing::Test {
  Daemon() {
    setenv("HOME", "/root", 1);
    const std::string answer = output_of("dbus-daemon --session --fork --print-address=1 --print-pid=1");
    const std::size_t end = answer.find('\n');
    setenv("DBUS_SESSION_BUS_ADDRESS", answer.substr(0, end).c_str(), 1);
    bus = answer.substr(end + 1);
  }
  ~Daemon() override { shell_quietly("gconftool-2 --shutdown; kill " + bus); }
  std::string bus;
};

TEST_F(Daemon, is_asked_for_its_own_home_alone) {
  shell_quietly(R"(gconftool-2 -t string -s /x/text 'a <é>, \')");
  shell_quietly(R"(gconftool-2 -t bool -s /x/flag true)");
  shell_quietly(R"(gconftool-2 -t list --list-type string -s /x/list '[a\,b,,c\]\\]')");
  shell_quietly(R"(gconftool-2 -t list --list-type string -s /x/none '[]')");
  EXPECT_EQ("a <é>, \\", read_gconf("/root", "/x/text")->text());
  EXPECT_TRUE(std::get<bool>(read_gconf("/root", "/x/flag")->value));
  EXPECT_THAT(read_gconf("/root", "/x/list")->list(), ElementsAre("a,b", "", "c]\\"));
  EXPECT_THAT(read_gconf("/root", "/x/none")->list(), ElementsAre());
  EXPECT_FALSE(read_gconf("/root", "/x/unset"));
  EXPECT_FALSE(read_gconf("/home/ann", "/x/text"));
}

TEST(GConf, no_daemon_is_started) {
  setenv("HOME", "/root", 1);
  write_settings("/root", string_entry("one", "a"));
  const std::string answer = output_of("dbus-daemon --session --fork --print-address=1 --print-pid=1");
  setenv("DBUS_SESSION_BUS_ADDRESS", answer.substr(0, answer.find('\n')).c_str(), 1);
  EXPECT_EQ("a", read_gconf("/root", std::string(folder) + "one")->text());
  EXPECT_NE(0, shell_quietly("gconftool-2 --ping"));
  shell_quietly("kill " + answer.substr(answer.find('\n') + 1));
}

}  // namespace
