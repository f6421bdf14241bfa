// What the migrators for the Mozilla suite keep of a profile before they change it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "process/mail/mozilla/accounts.h"
#include "process/mail/mozilla/personal.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/keeping_run.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::StartsWith;

const std::string root = "/tmp/b";
const std::string administrator = "/root/.mozilla/default/adm.slt";
const std::string ann = "/home/ann/.mozilla/default/k3x9.slt";

// The stand-in for Mozilla changes the settings and the register as well, as the suite does at each start.
void install_mozilla() {
  write_file("/usr/local/bin/mozilla",
             "#!/bin/sh\necho >> /root/.mozilla/appreg\nfor profile in /root/.mozilla/default/*; do\n"
             "  echo >> $profile/prefs.js; echo > $profile/localstore.rdf\ndone\nexec " +
                 test_data("standins/mozilla") + " \"$@\"\n");
  ASSERT_EQ(0, shell_quietly("chmod 755 /usr/local/bin/mozilla"));
}

struct MozillaKept : testing::Test {
  MozillaKept() {
    shell_quietly("mkdir -p /usr/local/brindle && cp " + test_data("../data/scripts/") +
                  "*.p[lm] /usr/local/brindle/");
    install_mozilla();
    write_file(root + "/ImapMail/brindle-email-accounts/work", "Account Name=Work\nPOP3 Server=pop\n");
    write_file(root + "/ImapMail/Contacts/addressbook.db", "BEGIN:VCARD\nFN:Bob\nEND:VCARD\n");
    write_file(root + "/ImapMail/Calendar/calendar.ics", "BEGIN:VCALENDAR\nEND:VCALENDAR\n");
    write_file(root + "/ImapMail/Tasks/tasks.ics", "BEGIN:VCALENDAR\nEND:VCALENDAR\n");
    write_file(root + "/Mail/Inbox", "From a\n");
    write_file(root + "/Mail/Sent", "From b\n");
    fill(administrator);
  }

  static void fill(const std::string& profile) {
    const char* files[] = {"prefs.js",
                           "user.js",
                           "abook.mab",
                           "history.mab",
                           "impab.mab",
                           "abook.mab.prev",
                           "Mail/Local Folders/Inbox",
                           "Mail/Local Folders/Inbox.msf",
                           "Calendar/CalendarDataFile.ics",
                           "chrome/userChrome.css"};
    for (const char* file : files) write_file(profile + "/" + file, std::string("own ") + file);
    write_file(profile + "/../../appreg", "profiles");
    shell_quietly("chmod 600 " + profile + "/*.*; find " + profile + "/.. -exec touch -d 2001-01-01 {} +");
  }

  static void make_profile() {
    isDefaultUser = 0;
    ASSERT_TRUE(assign(cur_user, "ann"));
    fill(ann);
    shell_quietly("chown -R 1234:1234 /home/ann");
  }
};

// ---- Full profiles ----------------------------------------------------------------------------------------

TEST_F(MozillaKept, AllOfTheRunningUser) {
  KeepingRun run;
  EXPECT_EQ(0, mozilla(root.c_str()));
  EXPECT_THAT(
      run.listed(),
      ElementsAre(
          "replaced /root/.mozilla/appreg", "replaced " + administrator + "/Calendar/CalendarDataFile.ics",
          "replaced " + administrator + "/Mail/Local Folders/Inbox",
          "made " + administrator + "/Mail/Local Folders/Sent", "replaced " + administrator + "/abook.mab",
          "replaced " + administrator + "/abook.mab.prev", "replaced " + administrator + "/history.mab",
          "made " + administrator + "/localstore.rdf", "replaced " + administrator + "/prefs.js"));
  // Whatever Mozilla may change is kept, and the rest of the profile's own files with it.
  EXPECT_FALSE(exists(KeepingRun::kept(administrator + "/chrome/userChrome.css")));
  EXPECT_TRUE(run.has_kept_all({.more_kept = administrator + "/"}));
}

TEST_F(MozillaKept, AllOfAProfileAndOfTheAdministratorWhoImports) {
  make_profile();
  KeepingRun run;
  EXPECT_EQ(0, mozilla(root.c_str()));
  EXPECT_THAT(
      run.listed(),
      ElementsAre("removed /home/ann/.mozilla/appreg", "replaced " + ann + "/Calendar/CalendarDataFile.ics",
                  "replaced " + ann + "/Mail/Local Folders/Inbox", "made " + ann + "/Mail/Local Folders/Sent",
                  "replaced " + ann + "/abook.mab", "replaced " + ann + "/history.mab",
                  "replaced " + ann + "/prefs.js", "replaced /root/.mozilla/appreg",
                  "made " + administrator + "/localstore.rdf", "replaced " + administrator + "/prefs.js"));
  EXPECT_TRUE(run.has_kept_all({.more_kept = administrator + "/"}));
}

TEST_F(MozillaKept, FoldersThatAreMade) {
  make_profile();
  shell_quietly("rm -r " + ann + "/Mail " + ann + "/Calendar " + ann + "/*.mab");
  KeepingRun run;
  EXPECT_EQ(0, mozilla(root.c_str()));
  EXPECT_THAT(run.listed(), IsSupersetOf(std::vector<std::string>{
                                "made " + ann + "/Mail", "made " + ann + "/Mail/Local Folders/Inbox",
                                "made " + ann + "/Calendar", "made " + ann + "/Calendar/CalendarDataFile.ics",
                                "made " + ann + "/abook.mab", "made " + ann + "/history.mab"}));
  EXPECT_TRUE(run.has_kept_all({.more_kept = administrator + "/"}));
}

// What an earlier run has set aside goes back, over what has come in its place since.
TEST_F(MozillaKept, BooksThatWereSetAside) {
  make_profile();
  for (const char* book : {"abook.mab", "old.mab"})
    write_file(administrator + "/mabtemp/" + book, "set aside");
  write_file(administrator + "/mabtemp/folder/book", "set aside");
  KeepingRun run;
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, mozillaaddressbook(root.c_str(), ann.c_str(), administrator.c_str()));
  testing::internal::GetCapturedStderr();
  EXPECT_THAT(run.listed(),
              IsSupersetOf(std::vector<std::string>{
                  "replaced " + administrator + "/abook.mab", "made " + administrator + "/abook.mab.found",
                  "made " + administrator + "/old.mab", "removed " + administrator + "/mabtemp",
                  "removed " + administrator + "/mabtemp/abook.mab",
                  "removed " + administrator + "/mabtemp/folder/book"}));
  EXPECT_TRUE(run.has_kept_all({.more_kept = administrator + "/"}));
}

TEST_F(MozillaKept, PreferencesAlone) {
  KeepingRun run;
  EXPECT_EQ(0, mozillaaccountsettings(administrator.c_str(), root.c_str()));
  EXPECT_THAT(run.listed(), ElementsAre("replaced " + administrator + "/prefs.js"));
  EXPECT_TRUE(run.has_kept_all());
}

// What a run that is cut short leaves is known as its own.
TEST_F(MozillaKept, TheCopyOfTheCalendarThatIsLeft) {
  const std::string copy = administrator + "/Calendar/CalendarDataFile.ics.temp";
  answer_command("rm " + copy, 0);
  KeepingRun run;
  EXPECT_EQ(0, mozillacalendar(root.c_str(), administrator.c_str()));
  EXPECT_THAT(run.listed(), Contains("made " + copy));
  EXPECT_TRUE(run.has_kept_all());
}

struct CalendarCase {
  const char* name;
  std::vector<const char*> without;  // of the archive
};

class MozillaCalendarKept : public MozillaKept, public testing::WithParamInterface<CalendarCase> {
 protected:
  MozillaCalendarKept() {
    for (const char* folder : GetParam().without) std::filesystem::remove_all(root + "/ImapMail/" + folder);
  }
};

TEST_P(MozillaCalendarKept, BesideAFileNamedLikeTheCopy) {
  write_file(administrator + "/Calendar/CalendarDataFile.ics.temp", "own");
  KeepingRun run;
  EXPECT_EQ(0, mozillacalendar(root.c_str(), administrator.c_str()));
  EXPECT_THAT(run.listed(), ElementsAre("replaced " + administrator + "/Calendar/CalendarDataFile.ics"));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_P(MozillaCalendarKept, OrNotReplaced) {
  KeepingRun::prevent();
  const KeepingRun run;
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, mozillacalendar(root.c_str(), administrator.c_str()));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr(KeepingRun::left(administrator + "/Calendar/CalendarDataFile.ics")));
  EXPECT_TRUE(run.has_changed_nothing());
  EXPECT_THAT(commands_run(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Cases, MozillaCalendarKept,
                         testing::Values(CalendarCase{"both", {}}, CalendarCase{"calendar", {"Tasks"}},
                                         CalendarCase{"tasks", {"Calendar"}}),
                         [](const auto& one) { return std::string(one.param.name); });

TEST_F(MozillaKept, NothingOfACalendarThatIsNotThere) {
  std::filesystem::remove_all(root + "/ImapMail/Calendar");
  std::filesystem::remove_all(root + "/ImapMail/Tasks");
  KeepingRun::prevent();
  const KeepingRun run;
  EXPECT_EQ(0, mozillacalendar(root.c_str(), administrator.c_str()));
  EXPECT_TRUE(run.has_changed_nothing());
}

// ---- Nothing can be kept ----------------------------------------------------------------------------------

TEST_F(MozillaKept, OrNothingIsMigrated) {
  KeepingRun::prevent();
  shell_quietly("rm -r " + administrator + "/Mail");
  const KeepingRun run;
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, mozilla(root.c_str()));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr(KeepingRun::left(administrator + "/Mail/Local Folders")));
  EXPECT_TRUE(run.has_changed_nothing());
  EXPECT_THAT(commands_run(), IsEmpty());
}

TEST_F(MozillaKept, OrNothingOfAProfile) {
  make_profile();
  KeepingRun::prevent("/home/ann");
  const KeepingRun run;
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, mozilla(root.c_str()));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr(KeepingRun::left("/home/ann/.mozilla/appreg")));
  EXPECT_TRUE(run.has_changed_nothing({"/home/ann"}));
  EXPECT_THAT(commands_run(), IsEmpty());
}

TEST_F(MozillaKept, OrNoPreferenceIsWritten) {
  KeepingRun::prevent();
  const KeepingRun run;
  testing::internal::CaptureStderr();
  EXPECT_EQ(1, mozillaaccountsettings(administrator.c_str(), root.c_str()));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr(KeepingRun::left(administrator + "/prefs.js")));
  EXPECT_TRUE(run.has_changed_nothing());
  EXPECT_THAT(commands_run(), IsEmpty());
}

TEST_F(MozillaKept, OrNothingIsImported) {
  KeepingRun::prevent();
  const KeepingRun run;
  testing::internal::CaptureStderr();
  EXPECT_EQ(1, mozillaaddressbook(root.c_str(), administrator.c_str(), ""));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("could not be kept as it is"));
  EXPECT_TRUE(run.has_changed_nothing());
  EXPECT_THAT(commands_run(), IsEmpty());
}

// The target's own kept folder counts as much as the administrator's.
TEST_F(MozillaKept, OrNothingIsImportedForAProfile) {
  make_profile();
  KeepingRun::prevent("/home/ann");
  const KeepingRun run;
  testing::internal::CaptureStderr();
  EXPECT_EQ(1, mozillaaddressbook(root.c_str(), ann.c_str(), administrator.c_str()));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(KeepingRun::left(ann + "/abook.mab")));
  EXPECT_TRUE(run.has_changed_nothing({"/root/.mozilla", "/home/ann"}));
  EXPECT_THAT(commands_run(), IsEmpty());
}

TEST_F(MozillaKept, OrNoMailIsCopied) {
  KeepingRun::prevent();
  const KeepingRun run;
  testing::internal::CaptureStderr();
  EXPECT_EQ(1, copymozillafiles((root + "/Mail").c_str(), (administrator + "/Mail/Local\\ Folders").c_str()));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("could not be kept as it is"));
  EXPECT_TRUE(run.has_changed_nothing());
  EXPECT_THAT(commands_run(), IsEmpty());
}

// A book is a link out of the home, all else could be kept: what comes after the contacts stays out.
TEST_F(MozillaKept, NoMailBehindContactsThatCannotBeKept) {
  make_profile();
  shell_quietly("mkdir /root/out; cd " + ann +
                "; mv abook.mab /root/out; ln -s /root/out/abook.mab abook.mab");
  const KeepingRun run;
  testing::internal::CaptureStderr();
  EXPECT_EQ(1, mozilla(root.c_str()));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("a link leads out of its home"));
  EXPECT_TRUE(run.has_changed_nothing({"/root/out", ann + "/Calendar", ann + "/Mail"}));
  EXPECT_THAT(commands_run(), Not(Contains(StartsWith("cp "))));
}

// A mailbox is a link out of the home, all else could be kept: what comes after the mail stays out.
TEST_F(MozillaKept, NoCalendarBehindMailThatCannotBeKept) {
  make_profile();
  shell_quietly("mkdir /root/out; cd " + ann +
                "/Mail/Local\\ Folders; mv Inbox /root/out; ln -s /root/out/Inbox Inbox");
  const KeepingRun run;
  testing::internal::CaptureStderr();
  EXPECT_NE(0, mozilla(root.c_str()));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("a link leads out of its home"));
  EXPECT_TRUE(run.has_changed_nothing({"/root/out", ann + "/Calendar"}));
  EXPECT_THAT(commands_run(), Not(Contains(StartsWith("cp -rf"))));
}

}  // namespace
