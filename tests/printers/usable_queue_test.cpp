// A page comes out of every queue, on a machine as Debian ships it: cupsd with its own settings, which writes
// printers.conf half a minute after a change, and foomatic-configure as it is, which cannot read it then.
#include "process/printers/usable_queue.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "keep/keep.h"
#include "place/descriptor.h"
#include "printers/archive.h"
#include "printers/print_server.h"
#include "printers/windows.h"
#include "process/printers/cups.h"
#include "process/printers/foomatic.h"
#include "process/printers/ppd_defaults.h"
#include "shell/files.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "system/detection.h"
#include "things/queue.h"

namespace {

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* laserjet = "HP LaserJet 4050 Id='HP-LaserJet_4050' Driver='ljet4' Com";
constexpr const char* refused = "10.0.0.5:a b";  // no address of a device has a blank

void prepare(const std::string& command) { ASSERT_EQ(0, shell_quietly(command)) << command; }

struct UsableQueues : testing::Test {
  UsableQueues() {
    stand_in("foomatic-ppdfile-bd", std::string("echo \"") + laserjet + "\"");
    stand_in("lpinfo", "echo 'laserjet.ppd.gz HP LaserJet 4050 (recommended)'");
    PrintServer::keep_pages();
  }

  /// Of the driver that every search finds.
  static void add(const std::string& file, const std::string& queue,
                  std::map<std::string, std::string> more = {}) {
    more.insert({{"Driver Name", "HP LaserJet 4050"}, {"Driver Name Wo Spaces", queue}});
    add_printer(file, more);
  }
  /// Two that get no queue: a search that finds nothing asks a window, which is skipped, and no queue has a
  /// blank in its name.
  static void add_two_without_queues() {
    add("unknown.txt", "Unknown", {{"Driver Name", "Nobody"}, {"Paper Size", "DMPAPER_A4"}});
    add("two words.txt", "two words", {{"Paper Size", "DMPAPER_A4"}});
  }

  static std::string migrate(const char* system) {
    assign(OSName, system);
    return migrate();
  }
  static std::string migrate() {
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, std::string(OSName) == "GNome" ? nldprinter(archive) : printer(archive));
    return testing::internal::GetCapturedStderr();
  }

  static std::string queues() { return output_of("lpstat -v 2>/dev/null | sort"); }
  /// Each in its printer's language: a reset, and rows of a picture.
  static void expect_pages(const std::vector<std::string>& names) {
    const std::vector<std::string> pages = PrintServer::print_pages(names);
    for (std::size_t i = 0; i < names.size(); ++i) {
      const bool is_page = pages[i].find(
                               "\x1b"
                               "E") != std::string::npos &&
                           pages[i].find("\x1b*b") != std::string::npos;
      EXPECT_TRUE(is_page) << names[i] << ": " << pages[i].size() << " bytes";
    }
  }
  /// Queues were there before, and have been written down.
  static void have_old_queues() {
    prepare("lpadmin -p Old -E -v parallel:/dev/lp1 -m deskjet.ppd.gz 2>/dev/null; lpadmin -d Old");
    PrintServer::write_queues();
    ASSERT_THAT(read_file("/etc/cups/printers.conf"), HasSubstr("<DefaultPrinter Old>"));
  }

  PrintServer server{PrintServer::Settings::as_installed};
  Windows windows;
};

// ---- What the machine does by itself ----------------------------------------------------------------------

TEST_F(UsableQueues, AreOnTheMachineAsItIsInstalled) {
  const std::string changed = output_of("dpkg --verify cups-daemon foomatic-db-engine");
  EXPECT_THAT(changed, Not(HasSubstr("/etc/cups")));
  EXPECT_THAT(changed, Not(HasSubstr("/usr/bin/foomatic-configure")));
  EXPECT_EQ("", output_of("grep -i dirty /etc/cups/cupsd.conf"));
}

TEST_F(UsableQueues, AreLostByFoomaticAlone) {
  prepare("foomatic-configure -s cups -p HP-LaserJet_4 -c parallel:/dev/lp0 -n Q -d ljet4");
  ASSERT_TRUE(exists("/etc/cups/ppd/Q.ppd"));
  prepare("foomatic-configure -s cups -n Q -o PageSize=A4");
  EXPECT_FALSE(exists("/etc/cups/ppd/Q.ppd"));
  prepare("foomatic-configure -s cups -n None -o PageSize=A4");
  EXPECT_THAT(queues(), HasSubstr("device for None: ///dev/null\n"));
  PrintServer::write_queues();
  EXPECT_EQ(255, shell_quietly("foomatic-configure -s cups -n Q -o PageSize=A4"));
}

// ---- Pages ------------------------------------------------------------------------------------------------

/// What each desktop is known by.
struct Desktop {
  const char* name;
  const char* file;
  const char* content;
  const char* os_name;
  const char* version = "Any";
  int is_nld = 0;
};

class OneDesktop : public UsableQueues, public testing::WithParamInterface<Desktop> {
 protected:
  void SetUp() override {
    write_file(GetParam().file, GetParam().content);
    testing::internal::CaptureStdout();
    EXPECT_EQ(0, getOsVersion(""));
    testing::internal::GetCapturedStdout();
    ASSERT_STREQ(GetParam().os_name, OSName);
    ASSERT_STREQ(GetParam().version, OSVersion);
    isNLD = GetParam().is_nld;
  }
};

std::string name_of(const testing::TestParamInfo<Desktop>& one) { return one.param.name; }

struct FoomaticSystem : OneDesktop {};

TEST_P(FoomaticSystem, PrintsOnANewMachine) {
  add("a first.txt", "First",
      {{"Paper Size", "DMPAPER_ENV_C5"}, {"Orientation", "DMORIENT_LANDSCAPE"}, {"Color", "DMCOLOR_COLOR"}});
  add("Default.txt", "Middle",
      {{"Port Name", "10.0.0.5:lp"}, {"Duplex", "DMDUP_HORIZONTAL"}, {"Paper Size", "DMPAPER_A5"}});
  add_two_without_queues();
  add("z last.txt", "Last", {{"Port Name", "USB001"}, {"Y-Resolution", "600"}});
  const std::string said = migrate();

  EXPECT_EQ(
      "device for First: parallel:/dev/lp0\ndevice for Last: parallel:/dev/usb/lp0\n"
      "device for Middle: lpd://10.0.0.5/lp\n",
      queues());
  EXPECT_EQ("Middle", PrintServer::default_queue());
  EXPECT_EQ("EnvC5", PrintServer::choice("First", "PageSize"));
  EXPECT_EQ("A5", PrintServer::choice("Middle", "PageSize"));
  EXPECT_EQ("DuplexTumble", PrintServer::choice("Middle", "Duplex"));
  EXPECT_THAT(said, HasSubstr("print queue First lost its driver by foomatic-configure: the print server has "
                              "given it, with PageSize=EnvC5\n"));
  EXPECT_THAT(said,
              HasSubstr("print queue Last was sent to a device that nothing comes out of, and now leads "
                        "to parallel:/dev/usb/lp0\n"));
  EXPECT_THAT(said, Not(HasSubstr("Unknown")));
  EXPECT_THAT(output_of("lpstat -l -p First"), HasSubstr("Description: HP LaserJet 4050\n"));
  expect_pages({"First", "Middle", "Last"});
}

INSTANTIATE_TEST_SUITE_P(
    Desktops, FoomaticSystem,
    testing::Values(Desktop{"linspire", "/etc/linspire-version", "Linspire 5.0\n", "Linspire"},
                    Desktop{"xandros", "/etc/xandros-version", "Xandros Desktop OS 3\n", "Xandros"},
                    Desktop{"redflag", "/etc/redflag-release", "Red Flag Linux release 4.1 (Desktop)\n",
                            "RedFlag", "4.1"},
                    Desktop{"redflag_plus", "/etc/redflag-release",
                            "Red Flag Linux release 4.1plus (Desktop)\n", "RedFlag", "4.1 Plus"}),
    name_of);

struct CupsSystem : OneDesktop {};

TEST_P(CupsSystem, PrintsThroughTheOneCommandOfFoomatic) {
  add("a.txt", "First", {{"Paper Size", "DMPAPER_A4"}});
  add("Default.txt", "Middle", {{"Paper Size", "DMPAPER_ENV_C5"}, {"Port Name", "USB001"}});
  add_two_without_queues();
  add("z.txt", "Last", {{"Paper Size", "DMPAPER_ENV_C5"}, {"Duplex", "DMDUP_VERTICAL"}});
  stand_in("lpinfo", "echo 'lsb/usr/none.ppd Nobody'; echo 'laserjet.ppd.gz HP LaserJet 4050 (recommended)'");
  const std::string said = migrate();

  EXPECT_EQ(
      "device for First: parallel:/dev/lp0\ndevice for Last: parallel:/dev/lp0\n"
      "device for Middle: parallel:/dev/usb/lp0\n",
      queues());
  EXPECT_EQ("Middle", PrintServer::default_queue());
  EXPECT_EQ("EnvC5", PrintServer::choice("Middle", "PageSize"));
  EXPECT_EQ("EnvC5", PrintServer::choice("Last", "PageSize"));
  EXPECT_EQ("DuplexNoTumble", PrintServer::choice("Last", "Duplex"));
  EXPECT_THAT(said, HasSubstr("print queue Middle lost its driver by foomatic-configure: "));
  EXPECT_THAT(said, Not(HasSubstr("print queue First")));
  expect_pages({"First", "Middle", "Last"});
}

INSTANTIATE_TEST_SUITE_P(Desktops, CupsSystem,
                         testing::Values(Desktop{"gnome", "/etc/debian_version", "12.0\n", "GNome"},
                                         Desktop{"nld", "/opt/gnome/share/pixmaps/Brindle_Icon.png", "icon",
                                                 "GNome", "Any", 1}),
                         name_of);

TEST_F(UsableQueues, OfFoomaticPrintBesideOlderOnes) {
  have_old_queues();
  windows.sign_in("ann", "se$cret");
  add("a.txt", "First", {{"Port Name", "//pc/hp"}, {"Paper Size", "DMPAPER_A4"}});
  add("Default.txt", "Second", {{"Port Name", "http://srv:631/printers/p"}});
  const std::string said = migrate("Linspire");

  EXPECT_EQ(
      "device for First: smb://pc/hp\ndevice for Old: parallel:/dev/lp1\n"
      "device for Second: ipp://srv:631/printers/p\n",
      queues());
  EXPECT_EQ("Second", PrintServer::default_queue());
  EXPECT_EQ("A4", PrintServer::choice("First", "PageSize"));
  EXPECT_THAT(said,
              HasSubstr("print queue Second was not made by its command: the print server has made it\n"));
  EXPECT_THAT(said, HasSubstr("print queue First did not get PageSize=A4: the print server has given it\n"));
  EXPECT_THAT(said, Not(HasSubstr("cret")));
  expect_pages({"First", "Second"});
  PrintServer::write_queues();
  EXPECT_EQ("smb://ann:se$cret@pc/hp", PrintServer::uri_of("First"));
}

// The server tells no password, so the address looks right.
TEST_F(UsableQueues, OfAShareGetThePasswordThatWasTypedLast) {
  add("a.txt", "Q", {{"Port Name", "//pc/hp"}});
  windows.sign_in("ann", "wrong");
  EXPECT_THAT(migrate("Linspire"), Not(HasSubstr("the password")));
  PrintServer::write_queues();
  windows.sign_in("ann", "right");
  const std::string said = migrate("Linspire");
  PrintServer::write_queues();
  EXPECT_EQ("smb://ann:right@pc/hp", PrintServer::uri_of("Q"));
  EXPECT_THAT(said,
              AllOf(HasSubstr("print queue Q was there before: the print server has been given the user "
                              "and the password of its share\n"),
                    Not(HasSubstr("right"))));
  EXPECT_THAT(PrintServer::ppd("Q", "NickName"), StartsWith("HP LaserJet 4050 Foomatic/ljet4"));
}

// At the right address, and of no use.
TEST_F(UsableQueues, OfFoomaticGetTheDriverThatTheyNeverHad) {
  prepare("lpadmin -p Q -E -v parallel:/dev/lp0 2>/dev/null");
  have_old_queues();
  add("a.txt", "Q");
  EXPECT_THAT(migrate("Xandros"),
              HasSubstr("print queue Q was not made by its command: the print server has "));
  EXPECT_THAT(PrintServer::ppd("Q", "NickName"), StartsWith("HP LaserJet 4050 Foomatic/ljet4"));
}

// The command loses it, and there is nothing to set in it.
TEST_F(UsableQueues, OfFoomaticKeepTheirDriverWithAnOptionThatItDoesNotHave) {
  add("a.txt", "Q", {{"Print Quality", "DMRES_DRAFT"}});
  migrate("Linspire");
  EXPECT_THAT(PrintServer::ppd("Q", "NickName"), StartsWith("HP LaserJet 4050 Foomatic/ljet4"));
  expect_pages({"Q"});
}

TEST_F(UsableQueues, OfFoomaticPrintWhenTheQueuesAreWrittenInBetween) {
  assign(OSName, "RedFlag");
  add("a.txt", "Q", {{"Orientation", "DMORIENT_LANDSCAPE"}, {"Paper Size", "DMPAPER_A5"}});
  stand_in("lpoptions", test_data("../tools/print-server") + " --written; exec /usr/bin/lpoptions \"$@\"");
  migrate("RedFlag");
  prepare("rm /usr/local/bin/lpoptions");
  EXPECT_EQ("4", PrintServer::job_option("Q", "orientation-requested"));
  EXPECT_EQ("A5", PrintServer::choice("Q", "PageSize"));
  expect_pages({"Q"});
}

// ---- Queues that lead nowhere -----------------------------------------------------------------------------

TEST_F(UsableQueues, LeaveNoneThatLeadsNowhere) {
  add("a.txt", "Bad", {{"Port Name", refused}, {"Paper Size", "DMPAPER_ENV_C5"}});
  add("b.txt", "Good", {{"Paper Size", "DMPAPER_ENV_C5"}});
  for (const char* system : {"Linspire", "GNome"}) {
    const std::string said = migrate(system);
    EXPECT_EQ("device for Good: parallel:/dev/lp0\n", queues()) << system;
    EXPECT_THAT(said, HasSubstr("print queue Bad was not made by its command, and the print server does not "
                                "make it, either: Bad device-uri"));
    EXPECT_THAT(
        said, HasSubstr("print queue Bad led nowhere, so it was removed: nothing prints for its printer\n"));
    prepare("lpadmin -x Good");
  }
}

TEST_F(UsableQueues, LeaveThoseThatWereThere) {
  prepare("lpadmin -p Mine -E -v file:///dev/null 2>/dev/null");
  add("a.txt", "Mine", {{"Port Name", refused}, {"Paper Size", "DMPAPER_A4"}});
  EXPECT_THAT(migrate("Linspire"), Not(HasSubstr("removed")));
  EXPECT_EQ("device for Mine: ///dev/null\n", queues());
}

// Somebody has been quicker: what was sent there may be printed after a change of the address.
TEST_F(UsableQueues, ThatHaveJobsAreNotRemoved) {
  stand_in("foomatic-configure",
           "case \"$*\" in *PageSize*) lpadmin -p Bad -v file:///dev/null; cupsaccept Bad; "
           "lp -s -d Bad /etc/hostname;; esac");
  add("a.txt", "Bad", {{"Port Name", refused}, {"Paper Size", "DMPAPER_A4"}});
  EXPECT_THAT(migrate("Linspire"),
              HasSubstr("print queue Bad leads nowhere and could not be removed: it has jobs left\n"));
  EXPECT_EQ("device for Bad: ///dev/null\n", queues());
}

// What was somebody's own driver comes back, too.
TEST_F(UsableQueues, KeepTheDriverOfThoseThatWereThere) {
  prepare("lpadmin -p Mine -E -v parallel:/dev/lp1 -m deskjet.ppd.gz -D 'My own' 2>/dev/null");
  add("a.txt", "Mine", {{"Port Name", refused}, {"Paper Size", "DMPAPER_ENV_C5"}});
  migrate("GNome");
  EXPECT_EQ("device for Mine: parallel:/dev/lp1\n", queues());
  EXPECT_EQ("HP DeskJet Series",
            PrintServer::choice("Mine", "PageSize").empty()
                ? ""
                : output_of("grep -h '^.NickName' /etc/cups/ppd/Mine.ppd | cut -d'\"' -f2 | "
                            "tr -d '\\n'"));
  EXPECT_THAT(output_of("lpstat -l -p Mine"), HasSubstr("Description: My own\n"));
}

TEST_F(UsableQueues, WithoutAServerAreNotLookedFor) {
  PrintServer::stop();
  add("a.txt", "Q", {{"Paper Size", "DMPAPER_A4"}});
  EXPECT_THAT(migrate("Linspire"), Not(HasSubstr("print queue")));
  EXPECT_EQ(2u, commands_of({"foomatic-configure"}).size());
}

// Two printers of one queue: the first one prints, and the second one's address is refused.
TEST_F(UsableQueues, StayWithTheFirstOfTwoPrinters) {
  for (const char* name : {"a.txt", "b.txt"}) add(name, "Q");
  add(list_folder(std::string(archive) + "/Printers")->back(), "Q",
      {{"Port Name", refused}, {"Paper Size", "DMPAPER_ENV_C5"}});
  for (const char* system : {"GNome", "Linspire"}) {
    migrate(system);
    EXPECT_EQ("device for Q: parallel:/dev/lp0\n", queues()) << system;
    EXPECT_NE("", PrintServer::ppd("Q", "NickName")) << system;
    prepare("lpadmin -x Q");
  }
}

TEST_F(UsableQueues, AskNobodyButTheDatabaseForTheirDriver) {
  stand_in("foomatic-ppdfile-bd", "echo \"None Id='No-Such_Printer' Driver='none' Com\"");
  add("a.txt", "Q", {{"Paper Size", "DMPAPER_A4"}});
  EXPECT_THAT(
      migrate("Linspire"),
      AllOf(HasSubstr("print queue Q was not made by its command, and the print server does not make it, "
                      "either: its driver is not there\n"),
            HasSubstr("print queue Q led nowhere, so it was removed")));
  EXPECT_EQ("", queues());
}

// It recommends one that it does not describe.
TEST_F(UsableQueues, GetNoDriverThatTheDatabaseDoesNotDescribe) {
  stand_in("foomatic-ppdfile-bd", "echo \"HP LaserJet 4050 Id='HP-LaserJet_4050' Driver='hplip' Com\"");
  add("a.txt", "Q");
  EXPECT_THAT(migrate("Linspire"), HasSubstr("does not make it, either: its driver is not there\n"));
  EXPECT_EQ("", queues());
}

TEST_F(UsableQueues, WithoutADatabaseAreNotMadeAndItIsSaidWhy) {
  prepare("rm -r /usr/share/perl5/Foomatic");
  add("a.txt", "Q");
  EXPECT_THAT(migrate("Linspire"),
              AllOf(HasSubstr("foomatic's database cannot be asked: Can't locate Foomatic/DB.pm"),
                    HasSubstr("does not make it, either: its driver is not there\n")));
  EXPECT_EQ("", queues());
}

// The database hands both to a shell of its own.
TEST_F(UsableQueues, GetNoDriverWithANameThatEndsQuotes) {
  for (const char* names : {"Id='a'$(touch${IFS}/tmp/owned)'b' Driver='ljet4' ",
                            "Id='HP-LaserJet_4050' Driver='a'$(touch${IFS}/tmp/owned)'b' "}) {
    stand_in("foomatic-ppdfile-bd", std::string("cat <<'END'\nAny ") + names + "\nEND");
    add("a.txt", "Q");
    EXPECT_THAT(migrate("Linspire"), HasSubstr("does not make it, either: its driver is not there\n"));
    EXPECT_FALSE(exists("/tmp/owned")) << names;
  }
}

// CUPS repeats an address that it refuses.
TEST_F(UsableQueues, OfARefusedShareDoNotTellItsPassword) {
  have_old_queues();
  windows.sign_in("ann", "se cret");
  add("a.txt", "Q", {{"Port Name", "//pc/hp"}});
  EXPECT_THAT(
      migrate("Linspire"),
      AllOf(HasSubstr("does not make it, either: it does not take the address\n"), Not(HasSubstr("cret"))));
}

TEST_F(UsableQueues, ThatCannotBeLookedAtAnyMoreAreNamed) {
  stand_in("foomatic-configure", PrintServer::breaking_down());
  add("a.txt", "Q", {{"Paper Size", "DMPAPER_A4"}});
  EXPECT_THAT(migrate("Linspire"), HasSubstr("print queue Q cannot be looked at: "));
}

// ---- What a shell would make of a name --------------------------------------------------------------------

// foomatic-configure puts name and address into a command line of its own.
TEST_F(UsableQueues, AreNoCommands) {
  for (const char* evil : {"a$(touch${IFS}/tmp/owned)", "a`touch /tmp/owned`", "a\";touch /tmp/owned;\"",
                           "a';touch /tmp/owned;'", "../../../tmp/owned", "a\\"}) {
    add("evil.txt", evil, {{"Paper Size", "DMPAPER_A4"}});
    add("Default.txt", "Q", {{"Port Name", std::string("host:") + evil}});
    migrate("Linspire");
    EXPECT_EQ("0", output_of("ls /tmp | grep -c owned | tr -d '\\n'")) << evil;
    EXPECT_THAT(queues(), Not(HasSubstr("device for a"))) << evil;
  }
}

// ---- Undo -------------------------------------------------------------------------------------------------

TEST_F(UsableQueues, AreWrittenDownAsTheyAreAtTheEnd) {
  prepare("lpadmin -p Old -E -v parallel:/dev/lp1 -m deskjet.ppd.gz 2>/dev/null");
  keep::begin_run("/root", 1'800'000'000);
  add("a.txt", "Bad", {{"Port Name", refused}, {"Paper Size", "DMPAPER_A4"}});
  add("b.txt", "Made", {{"Paper Size", "DMPAPER_A5"}});
  migrate("Linspire");
  const Descriptor list(open((keep::folder_of_run() + "/list.tsv").c_str(), O_RDONLY));
  std::string error;
  int found = 0;
  for (const keep::Row& row : keep::joined_rows(list.number())) {
    if (row.kind != keep::Kind::queue) continue;
    ++found;
    EXPECT_EQ("nothing", row.before);
    EXPECT_EQ(things::queue_state(row.name, error), row.became);
  }
  EXPECT_EQ(2, found);
  EXPECT_TRUE(things::give_queue("Made", "nothing", "", error)) << error;
  EXPECT_EQ("device for Old: parallel:/dev/lp1\n", queues());
}

// ---- Where the commands work ------------------------------------------------------------------------------

TEST(UsableQueue, IsLeftAloneWhereFoomaticWorks) {
  const PrintServer server;
  PrintServer::patch_foomatic();
  Windows windows;
  stand_in("foomatic-ppdfile-bd", std::string("echo \"") + laserjet + "\"");
  assign(OSName, "Xandros");
  add_printer("Default.txt", {{"Driver Name Wo Spaces", "Q"},
                              {"Paper Size", "DMPAPER_A5"},
                              {"Duplex", "DMDUP_HORIZONTAL"},
                              {"Color", "DMCOLOR_COLOR"}});
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, printer(archive));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), Not(HasSubstr("print queue")));
  EXPECT_EQ("A5", PrintServer::choice("Q", "PageSize"));
  EXPECT_EQ("DuplexTumble", PrintServer::choice("Q", "Duplex"));
}

// ---- PPD files --------------------------------------------------------------------------------------------

constexpr const char* ppd =
    "*PPD-Adobe: \"4.3\"\r\n"
    "*DefaultPageSize: Letter\r\n"
    "*PageSize Letter/US: \"1\"\r\n"
    "*PageSize A4/A4: \"2\"\r\n"
    "*DefaultPageRegion: Letter\r\n"
    "*DefaultImageableArea: Letter\n"
    "*DefaultPaperDimension:Letter\n"
    "*DefaultDuplex: None\n"
    "*Duplex None: \"\"\n"
    "*Duplex DuplexTumble: \"\"\n"
    "*DefaultDuplexer: None";

TEST(PpdDefaults, OfThePageGoTogether) {
  EXPECT_EQ(
      "*PPD-Adobe: \"4.3\"\r\n"
      "*DefaultPageSize: A4\r\n"
      "*PageSize Letter/US: \"1\"\r\n"
      "*PageSize A4/A4: \"2\"\r\n"
      "*DefaultPageRegion: A4\r\n"
      "*DefaultImageableArea: A4\n"
      "*DefaultPaperDimension: A4\n"
      "*DefaultDuplex: None\n"
      "*Duplex None: \"\"\n"
      "*Duplex DuplexTumble: \"\"\n"
      "*DefaultDuplexer: None",
      with_default(ppd, "PageSize", "A4"));
}

TEST(PpdDefaults, OfAnotherOptionGoAlone) {
  std::string expected = ppd;
  expected.replace(expected.find("Duplex: None"), 12, "Duplex: DuplexTumble");
  EXPECT_EQ(expected, with_default(ppd, "Duplex", "DuplexTumble"));
}

TEST(PpdDefaults, ThatAreNotOfferedStay) {
  for (const auto& [option, choice] : {std::pair("PageSize", "A"),
                                       {"PageSize", "A5"},
                                       {"Page", "A4"},
                                       {"Duplex", ""},
                                       {"", ""},
                                       {"Quality", "x"}})
    EXPECT_EQ(ppd, with_default(ppd, option, choice)) << option;
  EXPECT_EQ("", with_default("", "PageSize", "A4"));
}

}  // namespace
