// The migrators with nothing stood in: cupsd, lpadmin, lpoptions, lpinfo, foomatic-configure and the foomatic
// database are the real ones.
#include "printers/print_server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "printers/archive.h"
#include "printers/windows.h"
#include "process/printers/cups.h"
#include "process/printers/foomatic.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/system_log.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* fallback_deskjet =
    "HP DeskJet 200 Id='HP-DeskJet_200' Driver='pcl3' CompatibleDrivers=' '";

// A default printer found in the database, one of every other kind of port, one that is skipped.
void pack_archive() {
  add_printer("Default.txt", {{"Driver Name", "HP LaserJet 4050 Series PCL6"},
                              {"Driver Name Wo Spaces", "HPLaserJet4050SeriesPCL6"},
                              {"Orientation", "DMORIENT_LANDSCAPE"},
                              {"Paper Size", "DMPAPER_A5"},
                              {"Duplex", "DMDUP_HORIZONTAL"}});
  add_printer("inkjet.txt", {{"Driver Name", "HP DeskJet"},
                             {"Driver Name Wo Spaces", "HPDeskJet"},
                             {"Port Name", "10.0.0.5:lp"},
                             {"Paper Size", "DMPAPER_A4"},
                             {"Color", "DMCOLOR_MONOCHROME"},
                             {"Print Quality", "DMRES_HIGH"},
                             {"Y-Resolution", "600"}});
  add_printer("share.txt", {{"Driver Name", "hp laserjet 4"},
                            {"Driver Name Wo Spaces", "hplaserjet4"},
                            {"Port Name", "//server/hp"},
                            {"Paper Size", "DMPAPER_LEGAL"}});
  add_printer("web.txt", {{"Driver Name", "HP LaserJet 4050"},
                          {"Driver Name Wo Spaces", "Web"},
                          {"Port Name", "http://srv:631/printers/hp"}});
  add_printer(
      "usb.txt",
      {{"Driver Name", "HP LaserJet 4050"}, {"Driver Name Wo Spaces", "Usb"}, {"Port Name", "USB001"}});
  add_printer("skipped.txt", {{"Driver Name", "Nobody"}, {"Driver Name Wo Spaces", "Nobody"}});
  add_printer("file.txt", {{"Driver Name Wo Spaces", "ToFile"}, {"Port Name", "FILE:"}});
}

class RealPrinters : public testing::Test {
 protected:
  RealPrinters() { windows.sign_in("u", "p"); }

  static void on(const char* system) { assign(OSName, system); }
  static std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> all;
    for (std::size_t at = 0; at < text.size();) {
      const std::size_t end = text.find('\n', at);
      all.push_back(text.substr(at, end - at));
      at = end == std::string::npos ? text.size() : end + 1;
    }
    return all;
  }

  // What both families make of pack_archive.
  static void expect_queues_of_archive() {
    EXPECT_THAT(
        lines(output_of("lpstat -v | sort")),
        ElementsAre("device for HPDeskJet: lpd://10.0.0.5/lp",
                    "device for HPLaserJet4050SeriesPCL6: parallel:/dev/lp0",
                    "device for Usb: parallel:/dev/usb/lp0", "device for Web: ipp://srv:631/printers/hp",
                    "device for hplaserjet4: smb://server/hp"));
    EXPECT_EQ("smb://u:p@server/hp", PrintServer::uri_of("hplaserjet4"));
    EXPECT_EQ("HPLaserJet4050SeriesPCL6", PrintServer::default_queue());
    EXPECT_EQ("DuplexTumble", PrintServer::choice("HPLaserJet4050SeriesPCL6", "Duplex"));
    EXPECT_EQ("A5", PrintServer::choice("HPLaserJet4050SeriesPCL6", "PageSize"));
    EXPECT_EQ("Legal", PrintServer::choice("hplaserjet4", "PageSize"));
    EXPECT_EQ("A4", PrintServer::choice("HPDeskJet", "PageSize"));
  }

  PrintServer server;
  Windows windows;
};

class RealKdePrinters : public RealPrinters, public testing::WithParamInterface<const char*> {};

TEST_P(RealKdePrinters, BecomeQueues) {
  on(GetParam());
  PrintServer::patch_foomatic();
  pack_archive();
  windows.choose_for("HP DeskJet", fallback_deskjet);
  EXPECT_EQ(0, printer(archive));

  expect_queues_of_archive();
  EXPECT_THAT(PrintServer::ppd("HPLaserJet4050SeriesPCL6", "NickName"),
              StartsWith("HP LaserJet 4050 Foomatic/ljet4"));
  EXPECT_THAT(PrintServer::ppd("hplaserjet4", "NickName"), StartsWith("HP LaserJet 4 Foomatic/ljet4"));
  EXPECT_THAT(PrintServer::ppd("HPDeskJet", "NickName"), StartsWith("HP DeskJet 200 Foomatic/pcl3"));
  EXPECT_EQ("A5", PrintServer::ppd("HPLaserJet4050SeriesPCL6", "DefaultPageSize"));
  const bool red_flag = std::string(GetParam()) == "RedFlag";
  EXPECT_EQ(red_flag ? "4" : "no value",
            PrintServer::job_option("HPLaserJet4050SeriesPCL6", "orientation-requested"));
  EXPECT_EQ(red_flag ? "no value" : "true", PrintServer::job_option("HPLaserJet4050SeriesPCL6", "landscape"));
}

INSTANTIATE_TEST_SUITE_P(Systems, RealKdePrinters, testing::Values("Linspire", "Xandros", "RedFlag"));

TEST_F(RealPrinters, OfAKdeSystemPrint) {
  on("Linspire");
  PrintServer::patch_foomatic();
  add_printer("hp.txt", {{"Driver Name Wo Spaces", "Q"}});
  EXPECT_EQ(0, printer(archive));
  // PCL: reset, and raster rows.
  EXPECT_THAT(PrintServer::print_page("Q"), AllOf(HasSubstr("\x1b"
                                                            "E"),
                                                  HasSubstr("\x1b*b")));
}

TEST_F(RealPrinters, OfAGnomeSystemGetRecommendedModels) {
  on("GNome");
  add_printer("Default.txt", {{"Driver Name", "hp laserjet 4 Series"},
                              {"Driver Name Wo Spaces", "hplaserjet4Series"},
                              {"Orientation", "DMORIENT_LANDSCAPE"},
                              {"Paper Size", "DMPAPER_A5"}});
  EXPECT_EQ(0, nldprinter(archive));

  EXPECT_EQ("device for hplaserjet4Series: parallel:/dev/lp0\n", output_of("lpstat -v"));
  EXPECT_EQ("hplaserjet4Series", PrintServer::default_queue());
  EXPECT_THAT(PrintServer::ppd("hplaserjet4Series", "NickName"),
              AllOf(StartsWith("HP LaserJet 4"), HasSubstr("(recommended)")));
  EXPECT_EQ("true", PrintServer::job_option("hplaserjet4Series", "landscape"));
  EXPECT_EQ("A5", PrintServer::choice("hplaserjet4Series", "PageSize"));
}

TEST_F(RealPrinters, OfAGnomeSystemBecomeQueues) {
  on("GNome");
  stand_in("lpinfo");  // finds nothing, sooner than the real one
  pack_archive();
  windows.choose_for("HP LaserJet 4050 Series PCL6", "laserjet.ppd.gz");
  windows.choose_for("HP LaserJet 4050", "laserjet.ppd.gz");
  windows.choose_for("hp laserjet 4", "laserjet.ppd.gz");
  windows.choose_for("HP DeskJet", "deskjet.ppd.gz");
  EXPECT_EQ(0, nldprinter(archive));

  expect_queues_of_archive();
  EXPECT_EQ("HP DeskJet Series", PrintServer::ppd("HPDeskJet", "NickName"));
  EXPECT_EQ("true", PrintServer::job_option("HPLaserJet4050SeriesPCL6", "landscape"));
  EXPECT_EQ("BlackAndWhite", PrintServer::choice("HPDeskJet", "OutputType"));
  EXPECT_EQ("High", PrintServer::choice("HPDeskJet", "QualityType"));
  EXPECT_EQ("600x600sw", PrintServer::choice("HPDeskJet", "Quality"));
}

class WindowModel : public RealPrinters, public testing::WithParamInterface<const char*> {};

TEST_P(WindowModel, IsFoundByItsNameAndPrints) {
  on("GNome");
  stand_in("lpinfo");
  windows.choose(GetParam());
  add_printer("Default.txt", {{"Driver Name", "Any"}, {"Driver Name Wo Spaces", "Q"}});
  EXPECT_EQ(0, nldprinter(archive));
  EXPECT_EQ("Q", PrintServer::default_queue());
  EXPECT_EQ(std::string(GetParam()), PrintServer::ppd("Q", "PCFileName") + ".gz");
  const std::string printed = PrintServer::print_page("Q");
  EXPECT_GT(printed.size(), 1000u);
  EXPECT_EQ('\x1b', printed.at(0));
}

TEST_P(WindowModel, IsAcceptedByCups) {
  EXPECT_EQ(0, shell_quietly("cupstestppd -q /usr/share/cups/model/" + std::string(GetParam())));
}

INSTANTIATE_TEST_SUITE_P(Names, WindowModel,
                         testing::Values("stphoto.ppd.gz", "stcolor.ppd.gz", "epson24.ppd.gz",
                                         "epson9.ppd.gz", "deskjet.ppd.gz", "laserjet.ppd.gz"));

// The ink jets print a red square with magenta and yellow, unless they are told not to.
class InkJet : public RealPrinters, public testing::WithParamInterface<const char*> {};

TEST_P(InkJet, PrintsInColourUnlessItWasMonochrome) {
  on("GNome");
  stand_in("lpinfo");
  windows.choose_for("Colour", GetParam());
  windows.choose_for("Grey", GetParam());
  add_printer("colour.txt",
              {{"Driver Name", "Colour"}, {"Driver Name Wo Spaces", "Colour"}, {"Color", "DMCOLOR_COLOR"}});
  add_printer("grey.txt",
              {{"Driver Name", "Grey"}, {"Driver Name Wo Spaces", "Grey"}, {"Color", "DMCOLOR_MONOCHROME"}});
  nldprinter(archive);
  EXPECT_EQ("Color", PrintServer::choice("Colour", "OutputType"));
  EXPECT_EQ("BlackAndWhite", PrintServer::choice("Grey", "OutputType"));
  EXPECT_GT(PrintServer::print_page("Colour").size(), 13 * PrintServer::print_page("Grey").size() / 10);
}

INSTANTIATE_TEST_SUITE_P(Names, InkJet,
                         testing::Values("stphoto.ppd.gz", "stcolor.ppd.gz", "deskjet.ppd.gz"));

// The window's lines for KDE systems that Debian's database can serve.
class WindowLine : public RealPrinters, public testing::WithParamInterface<const char*> {};

TEST_P(WindowLine, BecomesAQueueThatPrints) {
  on("Xandros");
  PrintServer::patch_foomatic();
  windows.choose(GetParam());
  add_printer("a.txt", {{"Driver Name", "Any"}, {"Driver Name Wo Spaces", "Q"}});
  EXPECT_EQ(0, printer(archive));
  EXPECT_EQ("parallel:/dev/lp0", PrintServer::uri_of("Q"));
  EXPECT_GT(PrintServer::print_page("Q").size(), 1000u);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, WindowLine,
    testing::Values("Epson Stylus Color 300 Id='Epson-Stylus_Color_300' Driver='stcolor' CompatibleDrivers",
                    "Epson Dot Matrix Id='Epson-Dot_Matrix' Driver='epsonc' CompatibleDrivers",
                    fallback_deskjet, "HP LaserJet Id='HP-LaserJet' Driver='laserjet' Com"));

TEST_F(RealPrinters, WithAStrangeNameAreRefusedByCupsAlone) {
  on("GNome");
  stand_in("lpinfo");
  windows.choose_for("Any", "laserjet.ppd.gz");
  for (const char* name : {"two words", "it's", "a#b"})
    add_printer(name, {{"Driver Name", "Any"}, {"Driver Name Wo Spaces", name}});
  SystemLog log;
  EXPECT_EQ(0, nldprinter(archive));
  EXPECT_EQ("", output_of("lpstat -v 2>/dev/null"));
  const auto messages = log.messages();
  EXPECT_EQ(3, std::ranges::count_if(messages, [](const std::string& message) {
              return message.find("exit status 1,  lpadmin -p ") != std::string::npos;
            }));
}

TEST_F(RealPrinters, AreTheDefaultsOfRealAccounts) {
  on("GNome");
  for (const char* queue : {"Office", "Home"})
    ASSERT_EQ(0, shell_quietly("lpadmin -p " + std::string(queue) +
                               " -E -v parallel:/dev/lp0 -m laserjet.ppd.gz 2>/dev/null"));
  isDefaultUser = 0;
  for (const char* user : {"ann", "bob"}) {
    ASSERT_EQ(0, shell_quietly("useradd -m -s /bin/bash " + std::string(user)));
    assign(cur_user, user);
    const std::string folder = "/tmp/Profiles/" + std::string(user);
    write_file(folder + "/Printers/Default.txt",
               description({{"Printer Name", user[0] == 'a' ? "Office" : "Home"}}));
    EXPECT_EQ(0, normalprinter(folder.c_str()));
  }
  EXPECT_EQ("Default Office\n", read_file("/home/ann/.cups/lpoptions"));
  EXPECT_EQ("Default Home\n", read_file("/home/bob/.cups/lpoptions"));
  EXPECT_EQ("ann\n", output_of("stat -c %U /home/ann/.cups/lpoptions"));
  EXPECT_EQ("system default destination: Home\n", output_of("su - bob -c 'lpstat -d'"));
  EXPECT_FALSE(exists("/root/.cups/lpoptions"));
}

}  // namespace
