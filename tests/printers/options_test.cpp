#include "process/printers/options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "printers/archive.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Printer = PrinterDescription;

// No queue is there to be changed: the programs only have to be found.
class Options : public testing::Test {
 protected:
  Options() {
    stand_in("foomatic-configure");
    stand_in("lpoptions");
    printer.queue = "Q";
    forget_commands();
  }

  void set(PrinterTools tools, System system) {
    UsableQueue queue(printer.queue);
    EXPECT_TRUE(set_options(printer, tools, system, queue, compose("the command before")));
  }

  Printer printer;
};

struct Setting {
  std::string Printer::*value;
  const char* text;
  const char* kde;    // the command on KDE systems
  const char* gnome;  // the command on "GNome"
};

void PrintTo(const Setting& setting, std::ostream* out) { *out << "value " << setting.text; }

class EachSetting : public Options, public testing::WithParamInterface<Setting> {};

TEST_P(EachSetting, IsOneFoomaticCommandOnKde) {
  printer.*GetParam().value = GetParam().text;
  for (const System system : {System::linspire, System::xandros, System::other}) {
    forget_commands();
    set(PrinterTools::foomatic, system);
    EXPECT_THAT(commands_run(), ElementsAre(GetParam().kde));
  }
}

TEST_P(EachSetting, IsOneCupsCommandOnGnome) {
  printer.*GetParam().value = GetParam().text;
  set(PrinterTools::cups, System::gnome);
  EXPECT_THAT(commands_run(), ElementsAre(GetParam().gnome));
}

INSTANTIATE_TEST_SUITE_P(
    Orientation, EachSetting,
    testing::Values(Setting{&Printer::orientation, "DMORIENT_LANDSCAPE", "lpoptions -p 'Q' -o landscape",
                            "lpoptions -p 'Q' -o landscape"},
                    Setting{&Printer::orientation, "2 (DMORIENT_LANDSCAPE)", "lpoptions -p 'Q' -o landscape",
                            "lpoptions -p 'Q' -o landscape"}));

INSTANTIATE_TEST_SUITE_P(Duplex, EachSetting,
                         testing::Values(Setting{&Printer::duplex, "DMDUP_HORIZONTAL",
                                                 "foomatic-configure -s cups -n 'Q' -o Duplex=DuplexTumble",
                                                 "lpoptions -p 'Q' -o Duplex=DuplexTumble"},
                                         Setting{&Printer::duplex, "DMDUP_VERTICAL",
                                                 "foomatic-configure -s cups -n 'Q' -o Duplex=DuplexNoTumble",
                                                 "lpoptions -p 'Q' -o Duplex=DuplexNoTumble"}));

#define PAPER(constant, size)                                                              \
  Setting {                                                                                \
    &Printer::paper_size, constant, "foomatic-configure -s cups -n 'Q' -o PageSize=" size, \
        "lpoptions -p 'Q' -o PageSize=" size                                               \
  }

INSTANTIATE_TEST_SUITE_P(
    PaperSize, EachSetting,
    testing::Values(PAPER("DMPAPER_LETTER", "Letter"), PAPER("DMPAPER_A3", "A3"), PAPER("DMPAPER_A4", "A4"),
                    PAPER("DMPAPER_A5", "A5"), PAPER("DMPAPER_A6", "A6"), PAPER("DMPAPER_LEGAL", "Legal"),
                    PAPER("DMPAPER_ENV_10", "Env10"), PAPER("DMPAPER_ENV_DL", "EnvDL"),
                    PAPER("DMPAPER_EXECUTIVE", "Executive"), PAPER("DMPAPER_B5", "EnvISOB5"),
                    // foomatic-configure on "GNome" too
                    Setting{&Printer::paper_size, "DMPAPER_ENV_C5",
                            "foomatic-configure -s cups -n 'Q' -o PageSize=EnvC5",
                            "foomatic-configure -s cups -n 'Q' -o PageSize=EnvC5"},
                    PAPER("DMPAPER_ENV_C6", "EnvC6"), PAPER("DMPAPER_ENV_MONARCH", "EnvMonarch"),
                    // by containment
                    PAPER("DMPAPER_LETTERSMALL", "Letter"), PAPER("DMPAPER_A4SMALL", "A4"),
                    PAPER("DMPAPER_ENV_C65", "EnvC6"), PAPER("DMPAPER_A3 DMPAPER_LETTER", "Letter")));

#undef PAPER

INSTANTIATE_TEST_SUITE_P(
    Color, EachSetting,
    testing::Values(Setting{&Printer::color, "DMCOLOR_MONOCHROME",
                            "foomatic-configure -s cups -n 'Q' -o OutputType=BlackAndWhite",
                            "lpoptions -p 'Q' -o OutputType=BlackAndWhite"},
                    Setting{&Printer::color, "DMCOLOR_COLOR",
                            "foomatic-configure -s cups -n 'Q' -o OutputType=Color",
                            "lpoptions -p 'Q' -o OutputType=Color"}));

INSTANTIATE_TEST_SUITE_P(Quality, EachSetting,
                         testing::Values(Setting{&Printer::print_quality, "DMRES_HIGH",
                                                 "foomatic-configure -s cups -n 'Q' -o QualityType=High",
                                                 "lpoptions -p 'Q' -o QualityType=High"},
                                         Setting{&Printer::print_quality, "DMRES_MEDIUM",
                                                 "foomatic-configure -s cups -n 'Q' -o QualityType=Normal",
                                                 "lpoptions -p 'Q' -o QualityType=Normal"},
                                         Setting{&Printer::print_quality, "DMRES_LOW",
                                                 "foomatic-configure -s cups -n 'Q' -o QualityType=Normal",
                                                 "lpoptions -p 'Q' -o QualityType=Normal"},
                                         Setting{&Printer::print_quality, "DMRES_DRAFT",
                                                 "foomatic-configure -s cups -n 'Q' -o QualityType=Draft",
                                                 "lpoptions -p 'Q' -o QualityType=Draft"}));

INSTANTIATE_TEST_SUITE_P(Resolution, EachSetting,
                         testing::Values(Setting{&Printer::y_resolution, "300",
                                                 "foomatic-configure -s cups -n 'Q' -o Quality=300x300sw",
                                                 "lpoptions -p 'Q' -o Quality=300x300sw"},
                                         Setting{&Printer::y_resolution, "600",
                                                 "foomatic-configure -s cups -n 'Q' -o Quality=600x600sw",
                                                 "lpoptions -p 'Q' -o Quality=600x600sw"},
                                         // The whole value, wherever the number stands in it.
                                         Setting{&Printer::y_resolution, "3000",
                                                 "foomatic-configure -s cups -n 'Q' -o Quality=3000x3000sw",
                                                 "lpoptions -p 'Q' -o Quality=3000x3000sw"},
                                         Setting{&Printer::y_resolution, "1600",
                                                 "foomatic-configure -s cups -n 'Q' -o Quality=1600x1600sw",
                                                 "lpoptions -p 'Q' -o Quality=1600x1600sw"}));

class NoSetting : public Options, public testing::WithParamInterface<Setting> {};

TEST_P(NoSetting, RunsNothing) {
  printer.*GetParam().value = GetParam().text;
  set(PrinterTools::foomatic, System::linspire);
  set(PrinterTools::foomatic, System::redflag);
  set(PrinterTools::cups, System::gnome);
  EXPECT_THAT(commands_run(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Values, NoSetting,
                         testing::Values(Setting{&Printer::orientation, "DMORIENT_PORTRAIT", "", ""},
                                         Setting{&Printer::duplex, "DMDUP_SIMPLEX", "", ""},
                                         Setting{&Printer::paper_size, "DMPAPER_TABLOID", "", ""},
                                         Setting{&Printer::paper_size, "", "", ""},
                                         Setting{&Printer::color, "HP Color LaserJet", "", ""},
                                         Setting{&Printer::print_quality, "600", "", ""},
                                         Setting{&Printer::y_resolution, "1200", "", ""},
                                         Setting{&Printer::scale, "300 DMORIENT_LANDSCAPE", "", ""}));

TEST_F(Options, OfLandscapeHaveANumberOnRedFlag) {
  printer.orientation = "DMORIENT_LANDSCAPE";
  set(PrinterTools::foomatic, System::redflag);
  EXPECT_THAT(commands_run(), ElementsAre("lpoptions -p 'Q' -o orientation-requested=4"));
}

TEST_F(Options, OfAUsersPaperPassItsMeasuresOn) {
  printer.paper_size = "DMPAPER_USER";
  printer.paper_width = "612";
  printer.paper_length = "1008";
  const std::string said = traces([&] { set(PrinterTools::foomatic, System::linspire); });
  EXPECT_THAT(said, testing::HasSubstr("Setting page size based on paper width and height.Options::"));
  set(PrinterTools::cups, System::gnome);
  EXPECT_THAT(commands_run(), ElementsAre("foomatic-configure -s cups -n 'Q' -o PageSize=Custom: "
                                          "\" -dDEVICEWIDTHPOINTS=612 -dDEVICEHEIGHTPOINTS=1008\"",
                                          "lpoptions -p 'Q' -o PageSize=Custom: "
                                          "\" -dDEVICEWIDTHPOINTS=612 -dDEVICEHEIGHTPOINTS=1008\""));
}

TEST_F(Options, AreSetInTheirFixedOrderAndTraced) {
  printer.y_resolution = "600";
  printer.print_quality = "DMRES_HIGH";
  printer.color = "DMCOLOR_COLOR";
  printer.paper_size = "DMPAPER_A4";
  printer.duplex = "DMDUP_VERTICAL";
  printer.orientation = "DMORIENT_LANDSCAPE";
  EXPECT_EQ(
      "Options::lpoptions -p 'Q' -o landscape"
      "Options::foomatic-configure -s cups -n 'Q' -o Duplex=DuplexNoTumble"
      "Options::foomatic-configure -s cups -n 'Q' -o PageSize=A4"
      "Options::foomatic-configure -s cups -n 'Q' -o OutputType=Color"
      "Options::foomatic-configure -s cups -n 'Q' -o QualityType=High"
      "Options::foomatic-configure -s cups -n 'Q' -o Quality=600x600sw",
      traces([&] { set(PrinterTools::foomatic, System::xandros); }));
  EXPECT_EQ(6u, commands_run().size());
}

TEST_F(Options, WithoutAMatchTraceTheCommandBefore) {
  printer.paper_size = "DMPAPER_A4";
  EXPECT_EQ(
      "Options::the command before"
      "Options::the command before"
      "Options::lpoptions -p 'Q' -o PageSize=A4"
      "Options::lpoptions -p 'Q' -o PageSize=A4"
      "Options::lpoptions -p 'Q' -o PageSize=A4"
      "Options::lpoptions -p 'Q' -o PageSize=A4",
      traces([&] { set(PrinterTools::cups, System::gnome); }));
}

TEST_F(Options, NeverLetAValueOutOfItsWord) {
  printer.queue = "q';touch /tmp/owned;'";
  printer.paper_size = "DMPAPER_USER";
  printer.paper_width = "$(touch /tmp/owned)\";touch /tmp/owned;\"";
  printer.paper_length = "`touch /tmp/owned`";
  printer.y_resolution = "300;touch /tmp/owned";
  printer.duplex = "DMDUP_VERTICAL";
  set(PrinterTools::cups, System::gnome);
  printer.queue = "q;touch /tmp/owned|touch /tmp/owned&";
  set(PrinterTools::cups, System::gnome);
  EXPECT_EQ(6u, commands_run().size());
  EXPECT_FALSE(exists("/tmp/owned"));
}

// foomatic-configure gives the queue's name to a shell of its own, between double quotes.
TEST_F(Options, OfANameThatEndsQuotesAreNotSetByFoomatic) {
  printer.duplex = "DMDUP_VERTICAL";
  printer.y_resolution = "300";
  printer.paper_size = "DMPAPER_USER";
  for (const char* name : {"a'b", "a\"b", "a`b", "a$b", "a\\b", "a/b", "-b"}) {
    printer.queue = name;
    set(PrinterTools::foomatic, System::linspire);
  }
  EXPECT_THAT(commands_run(), IsEmpty());
  printer.queue = "a;b|c&d (e) <f> #~*?!";
  set(PrinterTools::foomatic, System::linspire);
  EXPECT_EQ(3u, commands_run().size());
}

}  // namespace
