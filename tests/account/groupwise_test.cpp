// The settings of the GroupWise client and its mailbox.
#include <gtest/gtest.h>

#include "account/scene.h"
#include "support/files.h"

namespace {

using namespace account;

const std::string settings =
    "<settings>\r\n"
    "  <key name='path'><_default reg='sz'>gwremote</_default></key>\r\n"
    "  <key name='other'><_default reg='sz'>gwremote2</_default></key>\r\n"
    "</settings>\r\n";

const std::string settings_in_home =
    "<settings>\r\n"
    "<_default reg=\"sz\">/home/ann/gwremote</_default>\n"
    "  <key name='other'><_default reg='sz'>gwremote2</_default></key>\r\n"
    "</settings>\r\n";

Scene::Entries archive() {
  return {{"Groupwise/.gwuser.xml", settings},
          {"Groupwise/gwremote/a.db", "one"},
          {"Groupwise/gwremote/.b.db", "two"},
          {"Groupwise/gwremote/empty/", ""},
          {"Groupwise/gwremote2", "other"}};
}

void arrive() {
  write_file("/home/ann/.gwuser.xml", settings_in_home);
  write_file("/home/ann/gwremote/a.db", "one");
  write_file("/home/ann/gwremote/.b.db", "two");
  write_file("/home/ann/gwremote/empty/.keep", "");
  write_file("/home/ann/gwremote2", "other");
}

const std::string left = "gwremote2: Only .gwuser.xml, gwremote are moved from its folder.";

TEST(GroupWise, arrives_with_the_place_of_its_mailbox) {
  for (const System system : {System::gnome, System::nld}) {
    const Scene scene(system, archive());
    arrive();
    EXPECT_EQ((std::vector<std::string>{left}), missing_names(scene.look(Kind::groupwise)));
    EXPECT_EQ("5 3 1 0 1", numbers(scene.look(Kind::groupwise)));
  }
}

TEST(GroupWise, each_fault_is_named) {
  const Scene scene(System::gnome, archive());
  arrive();
  unlink("/home/ann/gwremote/.b.db");
  write_file("/home/ann/gwremote/a.db", "on");
  for (const auto& [there, fault] : {std::pair(settings, "What is there has different content."),
                                     {settings_in_home.substr(0, 40), "Only its beginning is there."},
                                     {settings_in_home + "\n", "What is there has different content."}}) {
    write_file("/home/ann/.gwuser.xml", there);
    EXPECT_EQ(
        (std::vector<std::string>{".gwuser.xml: " + std::string(fault), "gwremote/.b.db: It is not there.",
                                  "gwremote/a.db: Only its beginning is there.", left}),
        missing_names(scene.look(Kind::groupwise)));
  }
  unlink("/home/ann/.gwuser.xml");
  EXPECT_EQ(".gwuser.xml: It is not there.", missing_names(scene.look(Kind::groupwise)).front());
}

TEST(GroupWise, settings_without_the_mailbox_are_unchanged) {
  const Scene scene(System::gnome,
                    {{"Groupwise/.gwuser.xml", "<settings/>\n"}, {"Groupwise/gwremote", "box"}});
  write_file("/home/ann/.gwuser.xml", "<settings/>\n");
  write_file("/home/ann/gwremote", "box");
  EXPECT_EQ("2 2 0 0 0", numbers(scene.look(Kind::groupwise)));
}

// A long line comes in pieces of 1023 bytes; only the piece with the name is replaced.
TEST(GroupWise, long_lines_are_replaced_in_part) {
  const std::string start(1023, 'x'), name = "<_default reg='sz'>gwremote</_default>";
  const Scene scene(System::gnome, {{"Groupwise/.gwuser.xml", start + name + "\nlast"}});
  write_file("/home/ann/.gwuser.xml", start + "<_default reg=\"sz\">/home/ann/gwremote</_default>\nlast");
  EXPECT_EQ("1 0 1 0 0", numbers(scene.look(Kind::groupwise)));
}

TEST(GroupWise, is_not_looked_at_without_its_settings) {
  const Scene scene(System::gnome, {{"Groupwise/gwremote/a.db", "one"}});
  EXPECT_EQ((std::vector<std::string>{
                "gwremote/a.db: It is only looked at when the archive has .gwuser.xml as well."}),
            missing_names(scene.look(Kind::groupwise)));
}

TEST(GroupWise, has_no_place_on_kde) {
  for (const System system : {System::linspire, System::xandros, System::redflag, System::redflag_plus})
    EXPECT_EQ("5 0 0 5 0", numbers(Scene(system, archive()).look(Kind::groupwise)));
}

}  // namespace
