// What the migrators for KMail and its kin keep of a home before they change it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "process/mail/kde/accounts.h"
#include "process/mail/kde/personal.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/keeping_run.h"

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

const std::string root = "/tmp/b";
const std::string kde = "/root/.kde/share/";
const std::string kmailrc = kde + "config/kmailrc";

struct KdeKept : testing::Test {
  KdeKept() {
    shell_quietly("mkdir -p /usr/local/brindle && cp " + test_data("../data/scripts/") +
                  "* /usr/local/brindle/");
    assign(OSName, "Xandros");
    assign(OSVersion, "Any");
    account("work", "Account Name=Work\nPOP3 Server=pop.example\nPOP3 User Name=ann\n");
    account("home", "Account Name=Home\nIMAP Server=imap.example\nIMAP User Name=ann\n");
    write_file(root + "/ImapMail/Contacts/addressbook.db", "BEGIN:VCARD\nFN:Bob\nEND:VCARD\n");
    write_file(root + "/ImapMail/Calendar/calendar.ics", "BEGIN:VCALENDAR\nEND:VCALENDAR\n");
    write_file(root + "/ImapMail/Tasks/tasks.ics", "BEGIN:VCALENDAR\nEND:VCALENDAR\n");
    write_file(root + "/Notes/note", "Subject: Shopping\nmilk\n");
    write_file(root + "/Mail/Inbox", "From a\n");
  }

  static void account(const std::string& name, const std::string& text) {
    write_file(root + "/ImapMail/brindle-email-accounts/" + name, text);
  }

  // A home in which each file that is written is there already, the work files too.
  static void fill() {
    const char* files[] = {"config/kmailrc",
                           "config/korganizerrc",
                           "apps/kmail/ann:@pop.example:110",
                           "apps/kmail/imap/ann:@imap.example:110",
                           "apps/kmail/imap/other",
                           "apps/kabc/std.vcf",
                           "apps/kabc/orig.vcf",
                           "apps/kabc/std.vcf_\xC5\xF3\xD3\xD1",
                           "apps/korganizer/std.ics",
                           "apps/korganizer/std2.ics",
                           "apps/korganizer/other.ics",
                           "apps/knotes/notes.ics",
                           "apps/knotes/notes2.ics"};
    for (const char* file : files) write_file(kde + file, std::string("own ") + file);
    shell_quietly("chmod 600 " + kmailrc + "; chown -R 1234:1234 " + kde + "apps/kabc; find " + kde +
                  " -exec touch -d 2001-01-01 {} +");
  }

  int migrate() { return kmail_mail_account(root.c_str()); }
};

// ---- Full homes -------------------------------------------------------------------------------------------

TEST_F(KdeKept, Accounts) {
  fill();
  KeepingRun run;
  EXPECT_EQ(0, kmailaccountsettings(root.c_str()));
  EXPECT_THAT(run.listed(), ElementsAre("replaced " + kde + "apps/kmail/ann:@pop.example:110",
                                        "replaced " + kde + "apps/kmail/imap/ann:@imap.example:110",
                                        "replaced " + kmailrc));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_F(KdeKept, NewFolderFiles) {
  fill();
  std::filesystem::remove(kde + "apps/kmail/ann:@pop.example:110");
  std::filesystem::remove(kde + "apps/kmail/imap/ann:@imap.example:110");
  KeepingRun run;
  EXPECT_EQ(0, kmailaccountsettings(root.c_str()));
  EXPECT_THAT(run.listed(),
              ElementsAre("made " + kde + "apps/kmail/ann:@pop.example:110",
                          "made " + kde + "apps/kmail/imap/ann:@imap.example:110", "replaced " + kmailrc));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_F(KdeKept, NumbersThatAreAppended) {
  fill();
  std::filesystem::remove_all(root + "/ImapMail/brindle-email-accounts");
  std::filesystem::create_directories(root + "/ImapMail/brindle-email-accounts");
  KeepingRun run;
  EXPECT_EQ(0, kmailaccountsettings(root.c_str()));
  EXPECT_THAT(run.listed(), ElementsAre("replaced " + kmailrc));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_F(KdeKept, OneAccount) {
  fill();
  KeepingRun run;
  EXPECT_EQ(0,
            kde_extract_from_account_path((root + "/ImapMail/brindle-email-accounts/work").c_str(), "", 1));
  EXPECT_THAT(run.listed(),
              ElementsAre("replaced " + kde + "apps/kmail/ann:@pop.example:110", "replaced " + kmailrc));
  EXPECT_TRUE(run.has_kept_all());
}

// The person's file with the work file's name comes back; its copy is one too many.
TEST_F(KdeKept, Contacts) {
  fill();
  std::filesystem::remove(kde + "apps/kabc/orig.vcf");
  KeepingRun run;
  EXPECT_EQ(0, kaddressbook(root.c_str()));
  EXPECT_THAT(run.listed(), ElementsAre("replaced " + kde + "apps/kabc/std.vcf"));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_F(KdeKept, ContactsBesideAnOwnFileNamedLikeTheCopy) {
  fill();
  KeepingRun run;
  EXPECT_EQ(0, kaddressbook(root.c_str()));
  EXPECT_THAT(run.listed(), ElementsAre("replaced " + kde + "apps/kabc/std.vcf"));
  EXPECT_EQ("own apps/kabc/orig.vcf", read_file(kde + "apps/kabc/orig.vcf"));
}

TEST_F(KdeKept, ContactsOfRedFlagPlus) {
  fill();
  std::filesystem::remove(kde + "apps/kabc/orig.vcf");
  assign(OSVersion, "4.1 Plus");
  KeepingRun run;
  EXPECT_EQ(0, kaddressbook(root.c_str()));
  EXPECT_THAT(run.listed(), ElementsAre("replaced " + kde + "apps/kabc/std.vcf_\xC5\xF3\xD3\xD1"));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_F(KdeKept, Calendar) {
  fill();
  KeepingRun run;
  EXPECT_EQ(0, kmailcallendar(root.c_str()));
  EXPECT_THAT(run.listed(), ElementsAre("replaced " + kde + "apps/korganizer/std.ics",
                                        "removed " + kde + "apps/korganizer/std2.ics"));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_F(KdeKept, Notes) {
  fill();
  KeepingRun run;
  EXPECT_EQ(0, kmailnotes(root.c_str()));
  EXPECT_THAT(run.listed(), ElementsAre("replaced " + kde + "apps/knotes/notes.ics",
                                        "removed " + kde + "apps/knotes/notes2.ics"));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_F(KdeKept, AllOfIt) {
  fill();
  write_file("/root/Mail/.inbox.index", "own");
  write_file("/root/Mail/inbox/cur/own", "own");
  KeepingRun run;
  EXPECT_EQ(0, migrate());
  EXPECT_THAT(run.listed(), testing::IsSupersetOf(std::vector<std::string>{
                                "replaced " + kmailrc, "removed /root/Mail/.inbox.index",
                                "made /root/Mail/inbox/cur/Inbox2", "replaced " + kde + "apps/kabc/std.vcf",
                                "replaced " + kde + "apps/korganizer/std.ics",
                                "replaced " + kde + "apps/knotes/notes.ics"}));
}

// ---- Folders that are made --------------------------------------------------------------------------------

struct Step {
  const char* folder;
  int (*migrate)(const char* args);
};

class KdeFolderKept : public KdeKept, public testing::WithParamInterface<Step> {};

TEST_P(KdeFolderKept, WhenItIsMade) {
  fill();
  std::filesystem::remove_all(kde + "apps/" + GetParam().folder);
  KeepingRun run;
  EXPECT_EQ(0, GetParam().migrate(root.c_str()));
  EXPECT_THAT(run.listed(), Contains("made " + kde + "apps/" + GetParam().folder));
  EXPECT_TRUE(run.has_kept_all());
}

// Nothing but the folder is made when the archive holds nothing for it.
TEST_P(KdeFolderKept, WhenNothingElseIsMade) {
  fill();
  std::filesystem::remove_all(kde + "apps/" + GetParam().folder);
  std::filesystem::remove_all(root + "/ImapMail/Calendar");
  std::filesystem::remove_all(root + "/Notes");
  KeepingRun run;
  EXPECT_EQ(0, GetParam().migrate(root.c_str()));
  EXPECT_THAT(run.listed(), Contains("made " + kde + "apps/" + GetParam().folder));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_P(KdeFolderKept, OrItIsNotMade) {
  fill();
  std::filesystem::remove_all(kde + "apps/" + GetParam().folder);
  KeepingRun::prevent();
  const KeepingRun run;
  testing::internal::CaptureStderr();
  EXPECT_EQ(1, GetParam().migrate(root.c_str()));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("could not be kept as it is"));
  EXPECT_TRUE(run.has_changed_nothing());
  EXPECT_THAT(commands_run(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Steps, KdeFolderKept,
                         testing::Values(Step{"kabc", kaddressbook}, Step{"korganizer", kmailcallendar},
                                         Step{"knotes", kmailnotes}),
                         [](const auto& one) { return std::string(one.param.folder); });

// ---- Nothing can be kept ----------------------------------------------------------------------------------

TEST_F(KdeKept, OrNoAccountIsWritten) {
  fill();
  KeepingRun::prevent();
  const KeepingRun run;
  testing::internal::CaptureStderr();
  EXPECT_EQ(1, kmailaccountsettings(root.c_str()));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(KeepingRun::left(kmailrc)));
  EXPECT_TRUE(run.has_changed_nothing());
  EXPECT_THAT(commands_run(), IsEmpty());
}

TEST_F(KdeKept, OrNotTheOneAccount) {
  fill();
  KeepingRun::prevent();
  const KeepingRun run;
  testing::internal::CaptureStderr();
  EXPECT_EQ(1,
            kde_extract_from_account_path((root + "/ImapMail/brindle-email-accounts/work").c_str(), "", 1));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(KeepingRun::left(kmailrc)));
  EXPECT_TRUE(run.has_changed_nothing());
  EXPECT_THAT(commands_run(), IsEmpty());
}

TEST_F(KdeKept, OrNoCalendarIsReplaced) {
  fill();
  KeepingRun::prevent();
  const KeepingRun run;
  testing::internal::CaptureStderr();
  EXPECT_EQ(1, kmailcallendar(root.c_str()));
  testing::internal::GetCapturedStderr();
  EXPECT_TRUE(run.has_changed_nothing());
  EXPECT_THAT(commands_run(), IsEmpty());
}

TEST_F(KdeKept, OrNoNoteIsReplaced) {
  fill();
  KeepingRun::prevent();
  const KeepingRun run;
  testing::internal::CaptureStderr();
  EXPECT_EQ(1, kmailnotes(root.c_str()));
  testing::internal::GetCapturedStderr();
  EXPECT_TRUE(run.has_changed_nothing());
  EXPECT_THAT(commands_run(), IsEmpty());
}

// The whole item ends at the first step.
TEST_F(KdeKept, OrNothingAtAllIsMigrated) {
  fill();
  write_file("/root/Mail/.inbox.index", "own");
  KeepingRun::prevent();
  const KeepingRun run;
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  EXPECT_EQ(1, migrate());
  testing::internal::GetCapturedStderr();
  EXPECT_EQ("Migration Account Settings", testing::internal::GetCapturedStdout());
  EXPECT_TRUE(run.has_changed_nothing());
  EXPECT_THAT(commands_run(), IsEmpty());
}

// Each of the later steps meets a link out of the home, and none behind it begins.
TEST_F(KdeKept, TheItemEndsAtTheStepThatCannotKeep) {
  isDefaultUser = 0;
  ASSERT_TRUE(assign(cur_user, "ann"));
  struct {
    std::string link, last, next;
  } const steps[] = {{".kde/share/apps/kabc", "Migrating addressbook", "Migrating Emails."},
                     {"Mail", "Migrating Emails.", "Migrating Contacts and Tasks."},
                     {".kde/share/apps/korganizer", "Migrating Contacts and Tasks.", "Migrating Notes."},
                     {".kde/share/apps/knotes", "Migrating Notes.", "Notes are done."}};
  fill();
  for (const auto& step : steps) {
    shell_quietly(
        "rm -rf /home/ann /root/out; mkdir -p /home/ann/Mail /root/out; cp -a /root/.kde /home/ann");
    shell_quietly("cd /home/ann; mv " + step.link + " /root/out; ln -s /root/out/* " + step.link);
    const KeepingRun run;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, migrate()) << step.link;
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("a link leads out of its home"));
    EXPECT_THAT(testing::internal::GetCapturedStdout(),
                AllOf(HasSubstr(step.last), Not(HasSubstr(step.next))));
    EXPECT_TRUE(run.has_changed_nothing({"/root/out"})) << step.link;
  }
}

// A folder file is behind a link out of the home: kmailrc comes back, and the item ends.
TEST_F(KdeKept, KmailrcComesBackWhenAFolderFileCannotBeKept) {
  isDefaultUser = 0;
  ASSERT_TRUE(assign(cur_user, "ann"));
  fill();
  std::filesystem::create_directories("/home/ann");
  shell_quietly(
      "cp -a /root/.kde /home/ann; mkdir /root/out; cd /home/ann/.kde/share/apps; mv kmail/imap /root/out; "
      "ln -s /root/out/imap kmail/imap");
  std::filesystem::remove(root + "/ImapMail/brindle-email-accounts/work");
  const KeepingRun run;
  testing::internal::CaptureStderr();
  EXPECT_EQ(1, migrate());
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("a link leads out of its home"));
  EXPECT_TRUE(run.has_changed_nothing({"/root/out", "/home/ann/.kde/share/apps"}));
  EXPECT_EQ("own config/kmailrc", read_file("/home/ann/.kde/share/config/kmailrc"));
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("perl"))));
}

}  // namespace
