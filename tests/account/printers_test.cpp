// Printers: CUPS is the real one, and is told what the wizard tells it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "account/scene.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using namespace account;
using testing::ElementsAre;

using Lines = std::vector<std::pair<std::string, std::string>>;

// A description with the keys in the order in which Windows has them, CR LF line ends.
std::string description(const std::string& queue, const std::string& port, const Lines& settings = {}) {
  std::string text = "Printer Name=My " + queue + "\r\nPort Name=" + port + "\r\nDriver Name=Model of " +
                     queue + "\r\nDriver Name Wo Spaces=" + queue + "\r\n";
  for (const auto& [key, value] : settings) text += key + "=" + value + "\r\n";
  return text;
}

class Printers : public testing::Test {
 protected:
  Printers() {
    setenv("HOME", "/root", 1);
    run("ppdc -z -d /usr/share/cups/model " + test_data("../data/ppd/brindle.drv"));
    run(test_data("../tools/print-server"));
  }

  static void run(const std::string& command) {
    ASSERT_EQ(0, shell_quietly(command + " 2>/dev/null")) << command;
  }
  static void make(const std::string& queue, const std::string& uri) {
    run("lpadmin -p " + queue + " -E -v '" + uri + "' -m laserjet.ppd.gz");
  }
  static void choose(const std::string& queue, const std::string& option) {
    run("lpoptions -p " + queue + " -o " + option);
  }
};

const std::string not_there = "There is no print queue ";
const std::string lost_setting = " was not taken over.";

TEST_F(Printers, have_arrived_with_their_queues) {
  const Scene scene(System::gnome, {{"Printers/Default.txt", description("Laser", "LPT1")},
                                    {"Printers/a.txt", description("Net", "10.0.0.5:lp")},
                                    {"Printers/b.txt", description("Share", "//server/hp")},
                                    {"Printers/c.txt", description("Usb", "USB001")},
                                    {"Printers/d.txt", description("Web", "http://srv:631/printers/hp")}});
  make("Laser", "parallel:/dev/lp0");
  make("Net", "lpd://10.0.0.5/lp");
  make("Share", "smb://u:p@server/hp");
  make("Usb", "parallel:/dev/usb/lp0");
  make("Web", "ipp://srv:631/printers/hp");
  run("lpadmin -d Laser");
  EXPECT_EQ("5 5 0 0 0", numbers(scene.look(Kind::printers)));

  run("lpadmin -x Usb");
  EXPECT_THAT(missing_names(scene.look(Kind::printers)), ElementsAre("My Usb: There is no print queue Usb."));
  run("lpadmin -d Net");
  run("lpadmin -p Web -v ipp://other:631/printers/hp");
  run("lpadmin -p Share -v smb://u:p@server/other");
  EXPECT_THAT(missing_names(scene.look(Kind::printers)),
              ElementsAre("My Laser: It is not the default printer.",
                          "My Share: Its print queue leads to smb://server/other.",
                          "My Usb: There is no print queue Usb.",
                          "My Web: Its print queue leads to ipp://other:631/printers/hp."));
}

TEST_F(Printers, without_a_driver_or_a_device_have_not_arrived) {
  const Scene scene(System::gnome, {{"Printers/a.txt", description("A", "LPT1")},
                                    {"Printers/b.txt", description("B", "LPT2")},
                                    {"Printers/c.txt", description("C", "LPT2")},
                                    {"Printers/d.txt", description("D", "LPT2")}});
  make("A", "parallel:/dev/lp0");
  run("lpadmin -p B -E -v parallel:/dev/lp1");
  run("lpadmin -p C -E -v file:///dev/null");
  make("D", "parallel:/dev/lp1");
  run("rm /etc/cups/ppd/D.ppd");
  EXPECT_THAT(
      missing_names(scene.look(Kind::printers)),
      ElementsAre("My B: Its print queue has no driver.", "My C: What is printed on its queue is lost.",
                  "My D: Its print queue has no driver."));
}

TEST_F(Printers, settings_are_looked_at_one_by_one) {
  const struct {
    const char *key, *value, *option, *numbers;
  } cases[] = {{"Orientation", "DMORIENT_LANDSCAPE", "landscape", "1 1 0 0 0"},
               {"Duplex", "DMDUP_HORIZONTAL", "Duplex=DuplexTumble", "1 1 0 0 0"},
               {"Duplex", "DMDUP_VERTICAL", "Duplex=DuplexNoTumble", "1 1 0 0 0"},
               // Only the first that fits counts.
               {"Duplex", "DMDUP_HORIZONTAL, DMDUP_VERTICAL", "Duplex=DuplexTumble", "1 1 0 0 0"},
               {"Paper Size", "DMPAPER_A4SMALL", "PageSize=A4", "1 1 0 0 0"},
               {"Paper Size", "DMPAPER_B5", "PageSize=EnvISOB5", "1 0 1 0 0"},
               {"Paper Size", "DMPAPER_ENV_C65", "PageSize=EnvC6", "1 1 0 0 0"},
               {"Paper Size", "DMPAPER_USER", "PageSize=Custom.100x200", "1 1 0 0 0"},
               {"Color", "DMCOLOR_COLOR", "OutputType=Color", "1 1 0 0 0"},
               {"Print Quality", "DMRES_HIGH", "QualityType=High", "1 1 0 0 0"},
               {"Print Quality", "DMRES_DRAFT", "QualityType=Draft", "1 1 0 0 0"},
               {"Y-Resolution", "600", "Quality=600x600sw", "1 1 0 0 0"},
               {"Y-Resolution", "3000", "Quality=3000x3000sw", "1 1 0 0 0"}};
  make("Q", "parallel:/dev/lp0");
  for (const auto& one : cases) {
    const Scene scene(System::gnome, {{"Printers/a.txt", description("Q", "LPT1", {{one.key, one.value}})}});
    const std::string option = one.option;
    EXPECT_THAT(missing_names(scene.look(Kind::printers)),
                ElementsAre("My Q: Its setting " + option.substr(0, option.find('=')) + lost_setting))
        << one.option;
    choose("Q", one.option);
    EXPECT_EQ(one.numbers, numbers(scene.look(Kind::printers))) << one.option;
    run("lpoptions -x Q");
  }
}

// What is a driver's own default has not to be said again.
TEST_F(Printers, settings_may_be_the_drivers_own) {
  const Scene scene(System::gnome, {{"Printers/a.txt", description("Q", "LPT1",
                                                                   {{"Paper Size", "DMPAPER_LETTER"},
                                                                    {"Color", "DMCOLOR_MONOCHROME"},
                                                                    {"Print Quality", "DMRES_LOW"}})}});
  make("Q", "parallel:/dev/lp0");
  EXPECT_EQ("1 0 1 0 0", numbers(scene.look(Kind::printers)));
  choose("Q", "PageSize=A4");
  EXPECT_EQ((std::vector<std::string>{"My Q: Its setting PageSize was not taken over."}),
            missing_names(scene.look(Kind::printers)));
}

TEST_F(Printers, settings_of_kde_systems_are_those_that_the_driver_offers) {
  const Lines settings = {
      {"Orientation", "DMORIENT_LANDSCAPE"}, {"Paper Size", "DMPAPER_A5"}, {"Y-Resolution", "1600"}};
  const Scene scene(System::redflag, {{"Printers/a.txt", description("Q", "USB001", settings)}});
  make("Q", "usb:/dev/usb/lp0");
  run("lpadmin -p Q -o PageSize=A5");  // into the driver's file, as foomatic-configure does
  EXPECT_THAT(missing_names(scene.look(Kind::printers)),
              ElementsAre("My Q: Its setting orientation-requested was not taken over."));
  choose("Q", "orientation-requested=4");
  EXPECT_EQ("1 0 1 0 0", numbers(scene.look(Kind::printers)));
  run("lpadmin -p Q -o PageSize=A6");
  EXPECT_THAT(missing_names(scene.look(Kind::printers)),
              ElementsAre("My Q: Its setting PageSize was not taken over."));
}

TEST_F(Printers, of_one_queue_are_one_printer) {
  const Scene scene(System::gnome, {{"Printers/a.txt", description("Q", "LPT1")},
                                    {"Printers/b.txt", description("q", "10.0.0.5:lp")},
                                    {"Printers/c.txt", description("R", "LPT1")},
                                    {"Printers/d.txt", description("R", "LPT2")}});
  make("Q", "lpd://10.0.0.5/lp");
  make("R", "parallel:/dev/elsewhere");
  EXPECT_THAT(missing_names(scene.look(Kind::printers)),
              ElementsAre("My Q: Its print queue Q serves another printer of the archive.",
                          "My R: Its print queue R serves another printer of the archive.",
                          "My R: Its print queue leads to parallel:/dev/elsewhere."));
  EXPECT_EQ("4 1 0 0 3", numbers(scene.look(Kind::printers)));
}

TEST_F(Printers, that_lead_to_no_device_are_named) {
  const Scene scene(System::gnome, {{"Printers/a.txt", description("A", "FILE:")},
                                    {"Printers/b.txt", description("B", "LPT3")},
                                    {"Printers/c.txt", "\r\n"},
                                    {"Printers/d.txt", description("D", "LPT1:")},
                                    {"Printers/sub/e.txt", description("E", "LPT1")}});
  make("D", "lpd://LPT1/");
  EXPECT_THAT(missing_names(scene.look(Kind::printers)),
              ElementsAre("My A: Nothing here corresponds to its port FILE:.",
                          "My B: Nothing here corresponds to its port LPT3.",
                          "c.txt: Nothing here corresponds to its port .",
                          "sub/e.txt: Only files are moved from here, no folders."));
}

TEST_F(Printers, of_an_ordinary_user_are_not_moved) {
  Scene scene(System::gnome, {{"Printers/a.txt", description("A", "LPT1")}});
  scene.as_root = false;
  EXPECT_THAT(missing_names(scene.look(Kind::printers)),
              ElementsAre("My A: Only the administrator can add printers."));
  make("A", "parallel:/dev/lp0");
  EXPECT_EQ("1 1 0 0 0", numbers(scene.look(Kind::printers)));
}

TEST_F(Printers, of_a_profile_miss_a_queue_whose_port_has_no_counterpart) {
  Scene scene(System::gnome, {{"Printers/a.txt", "Port Name=FILE:\r\nDriver Name Wo Spaces=File\r\n"},
                              {"Printers/b.txt", "Port Name=LPT1\r\nDriver Name Wo Spaces=Laser\r\n"},
                              {"Profiles/ann/Printers/Default.txt", "Printer Name=file\r\n"},
                              {"Profiles/ann/Printers/b.txt", "Printer Name=Laser\r\n"},
                              {"Profiles/ann/Printers/c.txt", "Printer Name=Unknown\r\n"}});
  scene.person.runs = false;
  scene.person.folder = "Brindle/Profiles/ann";
  EXPECT_THAT(
      missing_names(scene.look(Kind::printers)),
      ElementsAre("Laser: There is no print queue Laser.", "Unknown: There is no print queue Unknown.",
                  "file: Nothing here corresponds to its port FILE:."));
}

TEST_F(Printers, of_a_profile_are_the_machines) {
  Scene scene(System::gnome, {{"Printers/Default.txt", description("Laser", "LPT1")},
                              {"Printers/b.txt", description("Net", "LPT2")}});
  scene.person.runs = false;
  run("lpadmin -p My -E -v parallel:/dev/lp0 -m laserjet.ppd.gz");
  EXPECT_THAT(
      missing_names(scene.look(Kind::printers)),
      ElementsAre("My Laser: There is no print queue My Laser.", "My Net: There is no print queue My Net."));

  Scene named(System::gnome, {{"Printers/Default.txt", "Printer Name=Laser\r\n"},
                              {"Printers/b.txt", "Printer Name=Net\r\n"}});
  named.person.runs = false;
  make("Laser", "parallel:/dev/lp0");
  make("Net", "parallel:/dev/lp1");
  const std::vector<std::string> both = {"Laser: It is not the default printer.",
                                         "Net: It is not the default printer."};
  EXPECT_EQ(both, missing_names(named.look(Kind::printers)));
  write_file("/home/ann/.cups/lpoptions", "Dest Laser landscape=true\nDefault Net\n");
  EXPECT_THAT(missing_names(named.look(Kind::printers)),
              ElementsAre("Laser: It is not the default printer."));
  write_file("/home/ann/.cups/lpoptions", "Dest Net landscape=true\nDefault Laser duplex=true\n");
  EXPECT_EQ("2 2 0 0 0", numbers(named.look(Kind::printers)));
  write_file("/home/ann/.cups/lpoptions", "Default Other\n");
  EXPECT_EQ(both, missing_names(named.look(Kind::printers)));
}

TEST(PrintersWithoutCups, cannot_be_told) {
  setenv("CUPS_SERVER", "/run/cups/none.sock", 1);
  const Scene none(System::gnome, {{"Desktop/a.txt", "a"}});
  EXPECT_TRUE(none.look(Kind::printers).certain());
  const Scene skipped(System::gnome, {{"Printers/a.txt", description("A", "FILE:")}});
  EXPECT_TRUE(skipped.look(Kind::printers).certain());
  Scene scene(System::gnome, {{"Printers/a.txt", description("A", "LPT1")}});
  EXPECT_FALSE(scene.look(Kind::printers).certain());
  EXPECT_THAT(missing_names(scene.look(Kind::printers)),
              ElementsAre("My A: The print system does not answer."));
  scene.as_root = false;
  EXPECT_TRUE(scene.look(Kind::printers).certain());
  scene.person.runs = false;
  EXPECT_FALSE(scene.look(Kind::printers).certain());
}

TEST_F(Printers, of_an_empty_print_system_are_missing) {
  const Scene scene(System::xandros, {{"Printers/a.txt", description("A", "LPT1")}});
  EXPECT_TRUE(scene.look(Kind::printers).certain());
  EXPECT_THAT(missing_names(scene.look(Kind::printers)), ElementsAre("My A: There is no print queue A."));
}

}  // namespace
