// What a run keeps from its beginning to its end, and what it leaves alone where nothing can be kept.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ctime>
#include <functional>

#include "keep/keep.h"
#include "keep/store.h"
#include "process/run/accounts.h"
#include "process/run/applications.h"
#include "process/run/process.h"
#include "process/run/walk.h"
#include "run/fakes.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/keeping_run.h"
#include "support/sleeps.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::SizeIs;

constexpr const char* root = "/tmp/brindAb/Brindle";

std::string in_archive(const std::string& name) { return std::string(root) + "/" + name; }

void stand_in(const std::string& program, const std::string& script) {
  write_file("/usr/local/bin/" + program, "#!/bin/sh\n" + script + "\n");
  shell_quietly("chmod 755 /usr/local/bin/" + program);
}

std::string quietly(const std::function<void()>& run) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  run_as_worker(run);
  testing::internal::GetCapturedStdout();
  return testing::internal::GetCapturedStderr();
}

// ---- Applications ---------------------------------------------------------------------------------------

struct KeptApplications : testing::Test {
  KeptApplications() {
    setenv("HOME", "/root", 1);
    shell_quietly(
        "mkdir -p /tmp/s/root/.mozilla/default /usr/local/brindle && touch /tmp/s/root/.mozilla/appreg && "
        "tar -cf /usr/local/brindle/linspireroot.tar -C /tmp/s root && "
        "tar -cjf /usr/local/brindle/nldroot.tar.bz2 -C /tmp/s/root .mozilla");
    stand_in("killall", "");
  }
  static std::string prepare(const char* system) {
    assign(OSName, system);
    return quietly([] { prepare_applications(target_of("")); });
  }
};

TEST_F(KeptApplications, ABrowserProfileIsListedAsMade) {
  KeepingRun run;
  prepare("Linspire");
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(), ElementsAre("made /root/.mozilla", "made /root/.mozilla/default"));
}

TEST_F(KeptApplications, WithoutAPlaceToKeepThemGetNoProfile) {
  KeepingRun::prevent();
  const KeepingRun run;
  EXPECT_THAT(prepare("Linspire"), HasSubstr("could not be kept"));
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("/root/.mozilla /root"))));
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("appreg"))));
  EXPECT_EQ("rm -rf /tmp/linspireroot", commands_run().back());
  EXPECT_TRUE(run.has_changed_nothing());
}

TEST_F(KeptApplications, WhatEvolutionMakesAndChangesIsKept) {
  stand_in("evolution",
           "mkdir -p /root/.evolution/mail /root/.config/evolution; echo new > /root/.gnome2/accels; "
           "echo cert > /root/.camel_certs; echo new > /root/.gnome2_private/a; "
           "mkdir -p /root/.local/share/evolution; echo new > /root/.local/share/evolution/a");
  shell_quietly("mkdir -p /root/.mozilla");
  for (const char* name : {".gnome2/accels", ".gnome2_private/a", ".local/share/evolution/a"})
    write_file(std::string("/root/") + name, "old");
  KeepingRun run;
  ASSERT_TRUE(keep::before_change("/root/.gconf"));  // said where the client begins
  sleeps::end_when([] { return read_file("/root/.local/share/evolution/a") == "new\n"; });
  prepare("GNome");
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(),
              IsSupersetOf({"made /root/.evolution", "made /root/.evolution/mail", "made /root/.camel_certs",
                            "made /root/.config", "replaced /root/.gnome2/accels",
                            "replaced /root/.gnome2_private/a", "replaced /root/.local/share/evolution/a"}));
}

TEST_F(KeptApplications, EvolutionIsNotStartedWhereNothingCanBeKept) {
  stand_in("evolution", "touch /tmp/started");
  shell_quietly("mkdir -p /root/.mozilla");
  KeepingRun::prevent();
  const KeepingRun run;
  EXPECT_THAT(prepare("GNome"), HasSubstr("could not be kept"));
  EXPECT_FALSE(exists("/tmp/started"));
}

TEST_F(KeptApplications, WhatTheKdeProgramsMakeAndChangeIsKept) {
  stand_in("kmail",
           "cd /root; for name in .kde/share/config/kmailrc .kde/share/apps/kmail/a Mail/inbox; do mkdir -p "
           "${name%/*}; echo new > $name; done");
  stand_in("kaddressbook",
           "cd /root/.kde/share/apps; for name in kabc/std.vcf kaddressbook/a; do echo new > $name; done");
  for (const char* name : {".kde/share/config/kmailrc", ".kde/share/apps/kmail/a",
                           ".kde/share/apps/kabc/std.vcf", ".kde/share/apps/kaddressbook/a", "Mail/mine"})
    write_file(std::string("/root/") + name, "old");
  KeepingRun run;
  prepare("Xandros");
  EXPECT_TRUE(run.has_kept_all());
  EXPECT_THAT(run.listed(), ElementsAre("replaced /root/.kde/share/apps/kabc/std.vcf",
                                        "replaced /root/.kde/share/apps/kaddressbook/a",
                                        "replaced /root/.kde/share/apps/kmail/a",
                                        "replaced /root/.kde/share/config/kmailrc", "made /root/Mail/inbox"));
}

TEST_F(KeptApplications, TheKdeProgramsAreNotStartedWhereNothingCanBeKept) {
  KeepingRun::prevent();
  const KeepingRun run;
  EXPECT_THAT(prepare("Xandros"), HasSubstr("could not be kept"));
  EXPECT_THAT(commands_run(), IsEmpty());
}

// A run that is killed later has told what became of them.
TEST_F(KeptApplications, AreSettled) {
  const KeepingRun run;
  prepare("Linspire");
  EXPECT_THAT(read_file(KeepingRun::folder() + "/list.tsv"),
              HasSubstr("\t/root/.mozilla/default\tnothing\tfolder"));
}

// ---- Accounts -------------------------------------------------------------------------------------------

struct KeptHomes : testing::Test {
  KeptHomes() {
    isMultiUser = 1;
    assign(OSName, "Xandros");
    write_file(in_archive("Profiles/ann/My Documents/a.txt"), "new");
    shell_quietly("useradd -m -u 1234 -g users ann");
    write_file("/home/ann/Documents/a.txt", "old");
    write_file("/home/ann/roots", "");  // not hers
    shell_quietly("chown -R ann /home/ann/Documents");
  }
  static std::string migrate() {
    return quietly([] { result = migrate_profiles(root); });
  }
  static int result;
};
int KeptHomes::result = 7;

TEST_F(KeptHomes, FilesAndOwnersOfAHomeThatIsThereAreKept) {
  KeepingRun run;
  migrate();
  EXPECT_TRUE(run.has_kept_all({.given_away = "/home/ann/"}));
  EXPECT_THAT(run.listed(),
              IsSupersetOf({"attributes /home/ann/roots", "replaced /home/ann/Documents/a.txt"}));
  EXPECT_EQ("old", read_file(KeepingRun::kept("/home/ann/Documents/a.txt", "/home/ann")));
}

// Where the run is killed before the file with the password is gone.
TEST_F(KeptHomes, TheFileWithThePasswordIsListedBeforeItIsMade) {
  shell_quietly("userdel -r ann 2>/dev/null");
  stand_in("chpasswd", "cp /home/ann/.brindle_before/*/list.tsv /tmp/at-chpasswd");
  const KeepingRun run;
  migrate();
  EXPECT_THAT(read_file("/tmp/at-chpasswd"), HasSubstr("path\t/home/ann/pass\tnothing\tunknown\n"));
}

TEST_F(KeptHomes, AFileOfTheirOwnOfThatNameIsNotKept) {
  write_file("/home/ann/pass", "hers");
  const KeepingRun run;
  migrate();
  EXPECT_FALSE(exists(KeepingRun::kept("/home/ann/pass", "/home/ann")));
}

TEST_F(KeptHomes, WhereNothingCanBeKeptNothingIsMigrated) {
  KeepingRun::prevent("/home/ann");
  const KeepingRun run;
  EXPECT_THAT(migrate(), HasSubstr("/home/ann/roots could not be kept"));
  EXPECT_EQ(-1, result);
  EXPECT_EQ("old", read_file("/home/ann/Documents/a.txt"));
  EXPECT_EQ("root\n", output_of("stat -c %U /home/ann/roots"));
  EXPECT_THAT(commands_run(), Not(Contains("chown -R ann /home/ann")));
}

TEST_F(KeptHomes, OneThatCannotBeKeptFailsTheFamilyWhereverItStands) {
  for (const std::string name : {"ben", "cy"}) {
    write_file(in_archive("Profiles/" + name + "/My Documents/a.txt"), "new");
    shell_quietly("useradd -m -g users " + name);
  }
  for (const std::string name : {"ann", "ben", "cy"}) {
    shell_quietly(
        "rm -rf /home/*/.brindle_before; for home in /home/*; do touch $home/roots; chown root $home/roots; "
        "done");
    KeepingRun::prevent("/home/" + name);
    const KeepingRun run;
    EXPECT_THAT(migrate(), HasSubstr("/home/" + name + "/roots could not be kept"));
    EXPECT_EQ(-1, result) << name;
  }
}

// A home that was somebody's.
TEST_F(KeptHomes, ThatAreGivenToANewAccountAreNotFilledWhenTheyCannotBeKept) {
  shell_quietly("userdel ann");
  KeepingRun::prevent("/home/ann");
  const KeepingRun run;
  EXPECT_THAT(migrate(), HasSubstr("/home/ann could not be kept"));
  EXPECT_EQ(-1, result);
  EXPECT_THAT(beginnings(), ElementsAre("image_0 for ann"));
  EXPECT_EQ("useradd ann -d /home/ann -m -k /root -g users", commands_run().back());
  EXPECT_TRUE(run.has_changed_nothing({"/home/ann"}));
}

// Where there is no skeleton home, a new home is a copy of root's.
TEST_F(KeptHomes, DoNotGetWhatRootsRunsHaveKept) {
  shell_quietly("userdel -r ann 2>/dev/null");
  write_file("/root/.brindle_before/2001-02-03-040506/files/root/secret", "root's");
  write_file("/root/mine", "copied");
  KeepingRun run;
  migrate();
  EXPECT_EQ("copied", read_file("/home/ann/mine"));
  EXPECT_FALSE(exists("/home/ann/.brindle_before/2001-02-03-040506"));
  EXPECT_TRUE(exists("/root/.brindle_before/2001-02-03-040506/files/root/secret"));
  EXPECT_EQ("new", read_file("/home/ann/Documents/a.txt"));
  EXPECT_THAT(run.listed(), Contains("made /home/ann/Documents/a.txt"));
}

// One that is there keeps its own.
TEST_F(KeptHomes, ThatAreThereKeepWhatEarlierRunsHaveKept) {
  write_file("/home/ann/.brindle_before/2001-02-03-040506/files/home/ann/a", "hers");
  const KeepingRun run;
  migrate();
  EXPECT_TRUE(exists("/home/ann/.brindle_before/2001-02-03-040506/files/home/ann/a"));
}

TEST_F(KeptHomes, AreSettledBeforeTheirItems) {
  shell_quietly("userdel -r ann 2>/dev/null");
  stand_in("cp", "cat /home/ann/.brindle_before/*/list.tsv > /tmp/at-cp; exec /bin/cp \"$@\"");
  const KeepingRun run;
  EXPECT_THAT(migrate(), Not(HasSubstr("could not be kept")));
  EXPECT_THAT(read_file("/tmp/at-cp"), HasSubstr("path\t/home/ann/pass\tnothing\tnothing\n"));
}

// ---- Steps ----------------------------------------------------------------------------------------------

TEST(KeptSteps, AreSettledOneAfterTheOther) {
  assign(OSName, "other");
  shell_quietly("mkdir /root/Desktop");
  write_file(in_archive("My Documents/a.txt"), "new");
  write_file(in_archive("Desktop/b.lnk"), "new");
  write_file("/root/Documents/a.txt", "old");
  stand_in("cp",
           "case \"$*\" in *b.lnk*) cat /root/.brindle_before/*/list.tsv > /tmp/at-desktop;; esac; exec "
           "/bin/cp \"$@\"");
  KeepingRun run;
  quietly([] { walk_steps(target_of(root), root); });
  // The second row of the file, what became of it.
  EXPECT_EQ("1\n", output_of("grep -c '^path./root/Documents/a.txt.*file 0644.*file 0644' /tmp/at-desktop"));
  EXPECT_TRUE(run.has_kept_all());
}

// ---- Runs -----------------------------------------------------------------------------------------------

struct KeptWhole : testing::Test {
  KeptWhole() {
    shell_quietly("rm -f /etc/*-version /etc/redflag-release; mkdir -p /root/Desktop /root/.mozilla");
    write_file("/etc/linspire-version", "");
    write_file("/tmp/in/Brindle/My Documents/a.txt", "new");
    write_file("/root/Documents/a.txt", "old");
    stand_in("dcop", "");
    fp_log = std::fopen("/tmp/log", "w");
  }
  static void migrate() {
    shell_quietly("cd /tmp/in && zip -qry /tmp/a.zip .");
    assign(g_filename, "/tmp/a.zip");
    quietly([] { EXPECT_EQ(nullptr, process(nullptr)); });
  }
  static std::vector<keep::Run> runs() { return keep::runs_in("/root"); }
};

TEST_F(KeptWhole, BeginAndEnd) {
  const std::time_t before = std::time(nullptr);
  migrate();
  ASSERT_THAT(runs(), SizeIs(1));
  EXPECT_TRUE(runs()[0].over);
  EXPECT_GE(runs()[0].date_time, keep::name_of_run(before));
  EXPECT_LE(runs()[0].date_time, keep::name_of_run(std::time(nullptr)));
  EXPECT_EQ("old", read_file(keep::kept_path("/root", runs()[0].date_time, "/root/Documents/a.txt")));
  EXPECT_EQ("", keep::folder_of_run());
}

TEST_F(KeptWhole, GoOnWithWhatStartUpHasBegun) {
  keep::begin_run("/root", 1'795'000'000);
  ASSERT_TRUE(keep::before_change("/root/.brindle_first_run"));
  migrate();
  ASSERT_THAT(runs(), SizeIs(1));
  EXPECT_EQ(keep::name_of_run(1'795'000'000), runs()[0].date_time);
  EXPECT_TRUE(runs()[0].over);
}

TEST_F(KeptWhole, AreOverBeforeThePersonCanLeave) {
  // The note is read once the wizard is left.
  migrate();
  EXPECT_THAT(read_file("/root/.brindle_run"), HasSubstr("ending=ended"));
  EXPECT_EQ("1\n", output_of("[ /root/.brindle_before/*/list.tsv -nt /root/.brindle_run ]; echo $?"));
}

TEST_F(KeptWhole, OfAnInvalidSystemEndAsWell) {
  shell_quietly("rm /etc/linspire-version");
  write_file("/etc/redflag-release", "Red Flag release 4.2\n");
  keep::begin_run("/root", 1'795'000'000);
  ASSERT_TRUE(keep::before_change("/root/.brindle_first_run"));
  migrate();
  ASSERT_THAT(runs(), SizeIs(1));
  EXPECT_TRUE(runs()[0].over);
}

TEST_F(KeptWhole, ThatAreRefusedKeepNothing) {
  shell_quietly("rm -r '/tmp/in/Brindle/My Documents'");
  migrate();
  EXPECT_FALSE(exists("/root/.brindle_before"));
}

}  // namespace
