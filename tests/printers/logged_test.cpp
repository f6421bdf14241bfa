// Which commands for printers the system log tells of when they fail.
#include <gtest/gtest.h>

#include "printers/archive.h"
#include "printers/windows.h"
#include "process/printers/cups.h"
#include "process/printers/foomatic.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/system_log.h"

namespace {

struct Row {
  const char* name;
  int (*migrate)(const char* args);
  const char* command;
  bool logged = true;
};

class PrinterCommand : public testing::TestWithParam<Row> {};

TEST_P(PrinterCommand, ThatFailsIsLoggedOrNot) {
  const Row& row = GetParam();
  const Windows windows;  // whose questions nobody answers
  for (const char* program : {"lpadmin", "lpoptions", "foomatic-configure", "lpinfo", "foomatic-ppdfile-bd"})
    stand_in(program);
  stand_in("lpinfo", "echo 'foomatic:ljet4.ppd HP LaserJet 4050 Foomatic/ljet4 (recommended)'");
  stand_in("foomatic-ppdfile-bd", "echo \"Any Id='Any-Printer' Driver='ljet4' CompatibleDrivers='ljet4 '\"");
  assign(OSName, row.migrate == printer ? "Linspire" : "GNome");
  add_printer("Default.txt", {{"Orientation", "DMORIENT_LANDSCAPE"}, {"Paper Size", "DMPAPER_A4"}});
  EXPECT_EQ(row.logged, is_failure_logged(row.command, [&row] { row.migrate(archive); }));
}

INSTANTIATE_TEST_SUITE_P(
    All, PrinterCommand,
    testing::Values(Row{"line_ends", nldprinter, "dos2unix /tmp/archive/Printers/Default.txt"},
                    Row{"models", nldprinter, "lpinfo -m > /root/ppdlist.txt"},
                    Row{"old_result", nldprinter, "rm /root/ppd.txt"},
                    Row{"model", nldprinter, "grep -i ", false}, Row{"queue", nldprinter, " lpadmin -p "},
                    Row{"the_default", nldprinter, "lpadmin -d "},
                    Row{"orientation", nldprinter, "lpoptions -p 'HPLaserJet4050' -o landscape"},
                    Row{"persons_default", normalprinter, "su - root ", false},
                    Row{"foomatic_model", printer, "foomatic-ppdfile-bd "},
                    Row{"foomatic_queue", printer, " foomatic-configure -s cups -p "},
                    Row{"foomatic_default", printer, "foomatic-configure -s cups -D "},
                    Row{"foomatic_paper", printer, "foomatic-configure -s cups -n "}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
