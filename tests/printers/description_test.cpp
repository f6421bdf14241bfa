#include "process/printers/description.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "printers/archive.h"
#include "shell/files.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* file = "/tmp/printer.txt";

PrinterDescription read(const std::string& text) {
  write_file(file, text);
  return read_description(file).value();
}

std::vector<std::string> queues_of(const char* args) {
  std::vector<std::string> queues;
  for_each_description(args, [&](const PrinterDescription& one) {
    queues.push_back(one.queue);
    return true;
  });
  return queues;
}

TEST(PrinterDescription, ReadsEveryKey) {
  const PrinterDescription printer = read(
      "Printer Name=Office\nPort Name=LPT1\nDriver Name=HP LaserJet 4\n"
      "Driver Name Wo Spaces=HPLaserJet4\nOrientation=DMORIENT_LANDSCAPE\nPaper Size=DMPAPER_USER\n"
      "Paper Width=612\nPaper Length=792\nScale=100\nPrint Quality=DMRES_HIGH\n"
      "Color=DMCOLOR_COLOR\nDuplex=DMDUP_VERTICAL\nY-Resolution=600\n");
  EXPECT_EQ("LPT1", printer.port);
  EXPECT_EQ("HP LaserJet 4", printer.driver_name);
  EXPECT_EQ("HPLaserJet4", printer.queue);
  EXPECT_EQ("DMORIENT_LANDSCAPE", printer.orientation);
  EXPECT_EQ("DMPAPER_USER", printer.paper_size);
  EXPECT_EQ("612", printer.paper_width);
  EXPECT_EQ("792", printer.paper_length);
  EXPECT_EQ("100", printer.scale);
  EXPECT_EQ("DMRES_HIGH", printer.print_quality);
  EXPECT_EQ("DMCOLOR_COLOR", printer.color);
  EXPECT_EQ("DMDUP_VERTICAL", printer.duplex);
  EXPECT_EQ("600", printer.y_resolution);
  EXPECT_EQ("Office", printer.name);
  EXPECT_FALSE(printer.is_default);
}

TEST(PrinterDescription, ReadsAMissingKeyAsEmpty) {
  const PrinterDescription printer = read("Port Name=LPT1\n");
  EXPECT_EQ("LPT1", printer.port);
  EXPECT_EQ("", printer.driver_name);
  EXPECT_EQ("", printer.queue);
  EXPECT_EQ("", printer.duplex);
  EXPECT_EQ("", printer.name);
}

TEST(PrinterDescription, FindsAKeyInsideAnEarlierLinesValue) {
  const PrinterDescription printer = read("Driver Name=HP Color LaserJet\nColor=DMCOLOR_COLOR\n");
  EXPECT_EQ("HP Color LaserJet", printer.color);
}

TEST(PrinterDescription, FindsTheNameWithoutBlanksWhenThatStandsFirst) {
  const PrinterDescription printer = read("Driver Name Wo Spaces=HPLaserJet4\nDriver Name=HP LaserJet 4\n");
  EXPECT_EQ("HPLaserJet4", printer.driver_name);
}

TEST(PrinterDescription, CutsALineAt127Characters) {
  const std::string name(200, 'n');
  EXPECT_EQ(name.substr(0, 127 - std::string("Driver Name=").size()),
            read("Driver Name=" + name + "\n").driver_name);
}

TEST(PrinterDescription, NeedsAFile) { EXPECT_FALSE(read_description("/tmp/none").has_value()); }

TEST(PrinterFolder, ConvertsLineEndsAndTellsTheDefault) {
  add_printer("Default.txt", {{"Driver Name Wo Spaces", "First"}});
  std::vector<bool> defaults;
  forget_commands();
  for_each_description(archive, [&](const PrinterDescription& one) {
    EXPECT_EQ("First", one.queue);
    defaults.push_back(one.is_default);
    return true;
  });
  EXPECT_THAT(defaults, ElementsAre(true));
  EXPECT_THAT(commands_run(), ElementsAre("dos2unix /tmp/archive/Printers/Default.txt"));
  EXPECT_THAT(read_file("/tmp/archive/Printers/Default.txt"), testing::Not(testing::HasSubstr("\r")));
}

class NotTheDefault : public testing::TestWithParam<const char*> {};

TEST_P(NotTheDefault, IsAnyOtherName) {
  add_printer(GetParam());
  std::vector<bool> defaults;
  for_each_description(archive, [&](const PrinterDescription& one) {
    defaults.push_back(one.is_default);
    return true;
  });
  EXPECT_THAT(defaults, ElementsAre(false));
}

INSTANTIATE_TEST_SUITE_P(Names, NotTheDefault,
                         testing::Values("default.txt", "DEFAULT.TXT", "MyDefault.txt", "Default.txt.bak"));

TEST(PrinterFolder, IsWalkedInDirectoryOrder) {
  for (const char* name : {"c.txt", "a.txt", "b", "d.txt"})
    add_printer(name, {{"Driver Name Wo Spaces", name}});
  // Before the walk: the conversion of the line ends replaces the files.
  const std::vector<std::string> order = list_folder("/tmp/archive/Printers").value();
  EXPECT_EQ(order, queues_of(archive));
}

TEST(PrinterFolder, PassesOverAFileThatCannotBeOpened) {
  add_printer("a.txt", {{"Driver Name Wo Spaces", "Good"}});
  std::filesystem::create_symlink("/tmp/nowhere", "/tmp/archive/Printers/dangling");
  EXPECT_THAT(queues_of(archive), ElementsAre("Good"));
}

TEST(PrinterFolder, TakesAFolderInItForAnEmptyDescription) {
  std::filesystem::create_directories("/tmp/archive/Printers/folder");
  EXPECT_THAT(queues_of(archive), ElementsAre(""));
}

TEST(PrinterFolder, QuotesAStrangersFileName) {
  const std::string name = "a b';touch /tmp/owned;$(touch /tmp/owned)";
  write_file("/tmp/archive/Printers/" + std::filesystem::path(name).filename().string(), description());
  EXPECT_EQ(1u, queues_of(archive).size());
  EXPECT_FALSE(exists("/tmp/owned"));
}

TEST(PrinterFolder, IsReportedWhenItCannotBeOpened) {
  testing::internal::CaptureStderr();
  EXPECT_THAT(queues_of("/tmp/no archive"), IsEmpty());
  EXPECT_EQ("Printer:: : No such file or directory\n", testing::internal::GetCapturedStderr());
}

TEST(PrinterFolder, TracesEachPrinter) {
  add_printer("hp.txt");
  EXPECT_EQ(
      "Printer File::/tmp/archive/Printers/hp.txt"
      "Printer Port::LPT1"
      "Printer Name::HP LaserJet 4050"
      "Printer Name Wo Spaces::HPLaserJet4050",
      traces([] { queues_of(archive); }));
}

}  // namespace
