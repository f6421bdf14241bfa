// What the printer migrators keep of the files beside the queues.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "printers/archive.h"
#include "printers/print_server.h"
#include "printers/windows.h"
#include "process/printers/cups.h"
#include "process/printers/driver_search.h"
#include "process/printers/foomatic.h"
#include "process/printers/options.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/keeping_run.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* options = "/root/.cups/lpoptions";

// The tools change their files as the real ones do.
struct PrintersKept : testing::Test {
  PrintersKept() {
    stand_in("foomatic-ppdfile-bd",
             "echo \"Any Id='Any-Printer' Driver='ljet4' CompatibleDrivers='ljet4 '\"");
    stand_in("lpinfo", "echo 'any.ppd HP LaserJet 4050 recommended'");
    stand_in("lpadmin");
    stand_in("lpoptions", "echo \"$*\" >> /root/.cups/lpoptions");
    stand_in(
        "foomatic-configure",
        "ln -s /etc/cups/ppd/ /etc/foomatic/cups 2>/dev/null\n"
        "case \"$*\" in *-D*) lpoptions -d Q; exit;; esac\n"
        "[ -f /etc/cups/ppd/HPLaserJet4050.ppd ] && cp -f /etc/cups/ppd/HPLaserJet4050.ppd{,.old}\nexit 0");
    shell_quietly("sed -i 1s,sh,bash, /usr/local/bin/foomatic-configure");
    for (const char* file : {"/root/ppd.txt", "/root/ppdlist.txt", options}) write_file(file, "own\n");
    std::filesystem::remove("/etc/foomatic/cups");
    std::filesystem::create_directories("/etc/foomatic");
  }

  static const std::vector<std::string>& looked_at() {
    static const std::vector<std::string> folders = {"/root", options, "/etc/foomatic",
                                                     "/etc/cups/ppd/HPLaserJet4050.ppd.old"};
    return folders;
  }
  static void use(const char* system) { ASSERT_TRUE(assign(OSName, system)); }
  static void add_description() {
    write_file("/etc/cups/ppd/HPLaserJet4050.ppd", "description");
    write_file("/etc/cups/ppd/HPLaserJet4050.ppd.old", "older");
  }

  Windows windows;
};

// ---- The search -------------------------------------------------------------------------------------------

TEST_F(PrintersKept, TheFilesOfACupsSearch) {
  add_printer("hp.txt");
  KeepingRun run(looked_at());
  EXPECT_EQ(0, nldprinter(archive));
  EXPECT_THAT(run.listed(), ElementsAre("removed /root/ppd.txt", "replaced /root/ppdlist.txt"));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_F(PrintersKept, TheListThatACupsSearchLeaves) {
  std::filesystem::remove("/root/ppdlist.txt");
  nldfinddriver("HP LaserJet 4050");
  std::filesystem::remove("/root/ppdlist.txt");
  KeepingRun run(looked_at());
  nldfinddriver("HP LaserJet 4050");
  EXPECT_THAT(run.listed(), ElementsAre("made /root/ppdlist.txt"));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_F(PrintersKept, TheFileOfAFoomaticSearch) {
  KeepingRun run(looked_at());
  finddriver("HP LaserJet 4050");
  EXPECT_THAT(run.listed(), ElementsAre("removed /root/ppd.txt"));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_F(PrintersKept, OrNothingIsSearched) {
  KeepingRun::prevent();
  const KeepingRun run(looked_at());
  testing::internal::CaptureStderr();
  finddriver("HP LaserJet 4050");
  nldfinddriver("HP LaserJet 4050");
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(KeepingRun::left("/root/ppd.txt")));
  EXPECT_TRUE(run.has_changed_nothing());
  EXPECT_THAT(commands_run(), IsEmpty());
}

struct Tools {
  const char* name;
  const char* system;
  int (*migrate)(const char* args);
};

class PrinterToolsKept : public PrintersKept, public testing::WithParamInterface<Tools> {
 protected:
  PrinterToolsKept() { use(GetParam().system); }
};

// The first printer ends it for all.
TEST_P(PrinterToolsKept, OrNoQueueIsMade) {
  add_printer("a.txt");
  add_printer("b.txt");
  KeepingRun::prevent();
  const KeepingRun run(looked_at());
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, GetParam().migrate(archive));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(KeepingRun::left("/root/ppd.txt")));
  EXPECT_TRUE(run.has_changed_nothing());
  EXPECT_THAT(commands_run(), ElementsAre(HasSubstr("dos2unix")));
}

TEST_P(PrinterToolsKept, NothingOfAPrinterWithoutAPort) {
  add_printer("a.txt", {{"Port Name", "LPT3"}});
  KeepingRun::prevent();
  const KeepingRun run(looked_at());
  EXPECT_EQ(0, GetParam().migrate(archive));
  EXPECT_TRUE(run.has_changed_nothing());
}

INSTANTIATE_TEST_SUITE_P(Families, PrinterToolsKept,
                         testing::Values(Tools{"cups", "GNome", nldprinter},
                                         Tools{"foomatic", "Linspire", printer}),
                         [](const auto& one) { return std::string(one.param.name); });

// ---- Options ----------------------------------------------------------------------------------------------

TEST_F(PrintersKept, TheOptionsThatLpoptionsSets) {
  use("GNome");
  add_printer("Default.txt", {{"Paper Size", "DMPAPER_A4"}, {"Color", "DMCOLOR_COLOR"}});
  KeepingRun run(looked_at());
  EXPECT_EQ(0, nldprinter(archive));
  EXPECT_THAT(run.listed(), Contains(std::string("replaced ") + options));
  EXPECT_TRUE(run.has_kept_all());
}

// An older lpoptions has the administrator's options in /etc, and others' in the home itself.
TEST_F(PrintersKept, TheOptionsOfOlderOnes) {
  use("GNome");
  add_printer("Default.txt", {{"Paper Size", "DMPAPER_A4"}});
  for (const char* file : {"/etc/cups/lpoptions", "/root/.lpoptions"}) {
    shell_quietly("rm -rf /root/.brindle_before");
    for (const char* each : {"/etc/cups/lpoptions", "/root/.lpoptions"}) write_file(each, "own\n");
    stand_in("lpoptions", std::string("echo \"$*\" >> ") + file);
    KeepingRun run({"/etc/cups/lpoptions"});
    EXPECT_EQ(0, nldprinter(archive));
    EXPECT_THAT(run.listed(), Contains(std::string("replaced ") + file));
    EXPECT_TRUE(run.has_kept_all());
  }
}

// The one size that the other family's command sets.
TEST_F(PrintersKept, TheDescriptionThatACupsSystemsOneFoomaticCommandPutsAside) {
  use("GNome");
  add_description();
  add_printer("hp.txt", {{"Paper Size", "DMPAPER_ENV_C5"}});
  KeepingRun run(looked_at());
  EXPECT_EQ(0, nldprinter(archive));
  EXPECT_THAT(run.listed(), testing::IsSupersetOf({"made /etc/foomatic/cups",
                                                   "replaced /etc/cups/ppd/HPLaserJet4050.ppd.old"}));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_F(PrintersKept, WhatFoomaticMakesAndPutsAside) {
  use("Linspire");
  add_description();
  add_printer("hp.txt");
  KeepingRun run(looked_at());
  EXPECT_EQ(0, printer(archive));
  EXPECT_THAT(run.listed(), ElementsAre("replaced /etc/cups/ppd/HPLaserJet4050.ppd.old",
                                        "made /etc/foomatic/cups", "removed /root/ppd.txt"));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_F(PrintersKept, TheOptionsThatFoomaticsDefaultSets) {
  use("Linspire");
  add_printer("Default.txt");
  KeepingRun run(looked_at());
  EXPECT_EQ(0, printer(archive));
  EXPECT_THAT(run.listed(), Contains(std::string("replaced ") + options));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_F(PrintersKept, TheOneOptionOfLpoptionsOnAKdeSystem) {
  use("Linspire");
  add_printer("hp.txt", {{"Orientation", "DMORIENT_LANDSCAPE"}});
  KeepingRun run(looked_at());
  EXPECT_EQ(0, printer(archive));
  EXPECT_THAT(run.listed(), Contains(std::string("replaced ") + options));
  EXPECT_TRUE(run.has_kept_all());
}

// Keeping comes to an end in the middle: a file lies where copies are to go.
TEST_F(PrintersKept, NoOptionBehindOneThatCannotBeKept) {
  use("GNome");
  add_printer("hp.txt", {{"Orientation", "DMORIENT_LANDSCAPE"}, {"Paper Size", "DMPAPER_A4"}});
  const KeepingRun run;
  stand_in("lpadmin",
           "mkdir -p " + KeepingRun::kept("/root") + " && touch " + KeepingRun::kept("/root/.cups"));
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, nldprinter(archive));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(KeepingRun::left(options)));
  EXPECT_TRUE(run.has_changed_nothing({options}));
  EXPECT_THAT(commands_of({"lpoptions", "foomatic-configure"}), IsEmpty());
  EXPECT_THAT(commands_of({"lpadmin"}), testing::SizeIs(1));
}

TEST_F(PrintersKept, NoDefaultOfFoomaticThatCannotBeKept) {
  use("Linspire");
  add_printer("Default.txt", {{"Paper Size", "DMPAPER_A4"}});
  const KeepingRun run;
  stand_in("foomatic-configure",
           "mkdir -p " + KeepingRun::kept("/root") + " && touch " + KeepingRun::kept("/root/.cups"));
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, printer(archive));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(KeepingRun::left(options)));
  EXPECT_TRUE(run.has_changed_nothing({options}));
  EXPECT_THAT(commands_of({"lpoptions", "foomatic-configure"}), testing::SizeIs(1));
}

TEST_F(PrintersKept, NoQueueOfFoomaticBesideADescriptionThatCannotBeKept) {
  use("Linspire");
  add_description();
  add_printer("hp.txt");
  const KeepingRun run({"/etc/cups/ppd", "/etc/foomatic"});
  stand_in("foomatic-ppdfile-bd",
           "mkdir -p " + KeepingRun::kept("/etc") + " && touch " + KeepingRun::kept("/etc/cups") +
               "; echo \"Any Id='Any-Printer' Driver='ljet4' CompatibleDrivers='ljet4 '\"");
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, printer(archive));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr(KeepingRun::left("/etc/cups/ppd/HPLaserJet4050.ppd.old")));
  EXPECT_TRUE(run.has_changed_nothing({"/etc/cups/ppd", "/etc/foomatic"}));
  EXPECT_THAT(commands_of({"foomatic-configure"}), IsEmpty());
}

// ---- A profile's default printer --------------------------------------------------------------------------

// With real accounts, a real server and the real tools.
struct DefaultPrinterKept : testing::Test {
  DefaultPrinterKept() {
    shell_quietly(
        "useradd -m -s /bin/bash ann; lpadmin -p Office -E -v parallel:/dev/lp0 -m laserjet.ppd.gz "
        "2>/dev/null");
    isDefaultUser = 0;
    assign(cur_user, "ann");
    add_printer("Default.txt");
  }

  PrintServer server;
};

TEST_F(DefaultPrinterKept, WhenItReplacesAnother) {
  write_file("/home/ann/.cups/lpoptions", "Default Home\n");
  shell_quietly("chown -R ann /home/ann/.cups; chmod 600 /home/ann/.cups/lpoptions");
  KeepingRun run;
  EXPECT_EQ(0, normalprinter(archive));
  EXPECT_THAT(run.listed(), ElementsAre("replaced /home/ann/.cups/lpoptions"));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_F(DefaultPrinterKept, WhenItIsTheFirst) {
  KeepingRun run;
  EXPECT_EQ(0, normalprinter(archive));
  EXPECT_THAT(run.listed(), ElementsAre("made /home/ann/.cups", "made /home/ann/.cups/lpoptions"));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_F(DefaultPrinterKept, OrItStays) {
  add_printer("b.txt");
  write_file("/home/ann/.cups/lpoptions", "Default Home\n");
  KeepingRun::prevent("/home/ann");
  const KeepingRun run;
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, normalprinter(archive));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr(KeepingRun::left("/home/ann/.cups/lpoptions")));
  EXPECT_TRUE(run.has_changed_nothing({"/home/ann"}));
  EXPECT_THAT(commands_run(), ElementsAre(HasSubstr("dos2unix")));
}

// To su, root is root: its options are everybody's.
TEST_F(DefaultPrinterKept, OfAProfileCalledRoot) {
  assign(cur_user, "root");
  write_file(options, "Default Home\n");
  KeepingRun run;
  EXPECT_EQ(0, normalprinter(archive));
  EXPECT_THAT(run.listed(), ElementsAre(std::string("replaced ") + options));
  EXPECT_TRUE(run.has_kept_all());
}

// ---- The real tools ---------------------------------------------------------------------------------------

TEST(RealToolsKept, FoomaticsFiles) {
  const PrintServer server;
  PrintServer::patch_foomatic();
  ASSERT_TRUE(assign(OSName, "Linspire"));
  Windows windows;
  windows.choose("HP LaserJet Id='HP-LaserJet' Driver='laserjet' Com");
  add_printer("Default.txt",
              {{"Driver Name", "Any"}, {"Driver Name Wo Spaces", "Q"}, {"Paper Size", "DMPAPER_A4"}});
  write_file(options, "Default Home\n");
  write_file("/root/ppd.txt", "own");
  KeepingRun run({"/etc/foomatic", "/etc/cups/ppd/Q.ppd.old"});
  EXPECT_EQ(0, printer(archive));
  EXPECT_THAT(run.listed(),
              testing::IsSupersetOf({"replaced /root/.cups/lpoptions", "made /etc/foomatic/cups",
                                     "made /etc/cups/ppd/Q.ppd.old", "removed /root/ppd.txt"}));
  EXPECT_TRUE(run.has_kept_all());
}

TEST(RealToolsKept, TheOptionsOfLpoptions) {
  const PrintServer server;
  ASSERT_TRUE(assign(OSName, "GNome"));
  stand_in("lpinfo");
  Windows windows;
  windows.choose_for("Any", "laserjet.ppd.gz");
  add_printer("Default.txt",
              {{"Driver Name", "Any"}, {"Driver Name Wo Spaces", "Q"}, {"Paper Size", "DMPAPER_A4"}});
  write_file(options, "Default Home\n");
  KeepingRun run({"/etc/foomatic"});
  EXPECT_EQ(0, nldprinter(archive));
  EXPECT_THAT(run.listed(), Contains("replaced /root/.cups/lpoptions"));
  EXPECT_TRUE(run.has_kept_all());
}

}  // namespace
