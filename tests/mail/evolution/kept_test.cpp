// What Evolution's migrators keep of a home before they change it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "mail/evolution/homes.h"
#include "process/mail/evolution/accounts.h"
#include "process/mail/evolution/new_home.h"
#include "process/mail/evolution/personal.h"
#include "support/keeping_run.h"
#include "support/sleeps.h"

namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

const std::string gconf = "/home/ann/.gconf/apps/evolution/";

struct EvolutionKept : testing::Test {
  EvolutionKept() {
    install_evolution();
    write_file(imap_mail + "/Calendar/calendar.ics", "calendar");
    write_file(imap_mail + "/Contacts/addressbook.db", "contacts");
    write_file(imap_mail + "/Tasks/tasks.ics", "tasks");
  }

  static void fill(const std::string& store) {
    write_file(store + "/calendar/local/system/calendar.ics", "own calendar");
    write_file(store + "/addressbook/local/system/addressbook.db", "own contacts");
    write_file(store + "/addressbook/local/system/addressbook.db.summary", "own");
    write_file(store + "/tasks/local/system/tasks.ics", "own tasks");
    shell_quietly("chmod 600 " + store + "/calendar/local/system/*; touch -d 2001-01-01 " + store +
                  "/*/local/system/*");
  }
  static void make_person() {
    isDefaultUser = 0;
    ASSERT_TRUE(assign(cur_user, "ann"));
    std::filesystem::create_directories("/home/ann");
  }
};

// ---- Calendar, contacts, tasks ----------------------------------------------------------------------------

TEST_F(EvolutionKept, TheStoresOfAFullHome) {
  make_person();
  fill("/home/ann/.evolution");
  write_file(gconf + "calendar/%gconf.xml", "source uid=&quot;1&quot;");
  write_file(gconf + "calendar/display/%gconf.xml", "own");
  KeepingRun run;
  EXPECT_EQ(0, calendar_contacts_tasks(imap_mail.c_str()));
  EXPECT_THAT(run.listed(),
              AllOf(Contains("replaced /home/ann/.evolution/addressbook/local/system/addressbook.db"),
                    Contains("replaced /home/ann/.evolution/calendar/local/system/calendar.ics"),
                    Contains("replaced /home/ann/.evolution/tasks/local/system/tasks.ics"),
                    Contains("replaced " + gconf + "calendar/display/%gconf.xml")));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_F(EvolutionKept, TheStoresThatAreMade) {
  std::filesystem::create_directories("/root/evolution");
  KeepingRun run;
  EXPECT_EQ(0, calendar_contacts_tasks(imap_mail.c_str()));
  EXPECT_THAT(
      run.listed(),
      ElementsAre("made /root/evolution/local", "made /root/evolution/local/Calendar",
                  "made /root/evolution/local/Calendar/calendar.ics", "made /root/evolution/local/Contacts",
                  "made /root/evolution/local/Contacts/addressbook.db", "made /root/evolution/local/Tasks",
                  "made /root/evolution/local/Tasks/tasks.ics"));
  EXPECT_TRUE(run.has_kept_all());
}

// Each store alone, and each only in part.
TEST_F(EvolutionKept, OneStoreThatIsMade) {
  make_person();
  for (const char* store : {"calendar", "addressbook", "tasks"}) {
    shell_quietly("rm -rf /home/ann/.evolution /home/ann/.brindle_before /root/.brindle_before");
    fill("/home/ann/.evolution");
    std::filesystem::remove_all(std::string("/home/ann/.evolution/") + store + "/local");
    KeepingRun run;
    EXPECT_EQ(0, calendar_contacts_tasks(imap_mail.c_str()));
    EXPECT_THAT(run.listed(), Contains(std::string("made /home/ann/.evolution/") + store + "/local"));
    EXPECT_TRUE(run.has_kept_all()) << store;
  }
}

// Into a full store, into one that is to be made, into Evolution 1's.
TEST_F(EvolutionKept, OrNothingIsCopied) {
  make_person();
  KeepingRun::prevent("/home/ann");
  for (const char* gone : {"nothing", "calendar", ""}) {
    fill("/home/ann/.evolution");
    shell_quietly(std::string("rm -rf /home/ann/.evolution/") + gone);
    forget_commands();
    const KeepingRun run;
    testing::internal::CaptureStderr();
    EXPECT_EQ(-1, calendar_contacts_tasks(imap_mail.c_str()));
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("could not be kept as it is"));
    EXPECT_TRUE(run.has_changed_nothing({"/home/ann"})) << gone;
    EXPECT_THAT(commands_run(), Not(Contains(StartsWith("cp"))));
  }
}

// What cannot be kept ends it, wherever it is: one store is behind a link out of the home.
TEST_F(EvolutionKept, NothingBehindAStoreThatCannotBeKept) {
  make_person();
  const std::string store = "/home/ann/.evolution/";
  const std::pair<const char*, std::vector<std::string>> cases[] = {
      {"calendar", {}}, {"addressbook", {"calendar.ics"}}, {"tasks", {"calendar.ics", "addressbook.db"}}};
  for (const auto& [name, copied] : cases) {
    shell_quietly("rm -rf /home/ann/.evolution /home/ann/.brindle_before /root/.brindle_before /root/out");
    fill("/home/ann/.evolution");
    shell_quietly("mv " + store + name + "/local /root/out; ln -s /root/out " + store + name + "/local");
    forget_commands();
    const KeepingRun run;
    EXPECT_EQ(-1, calendar_contacts_tasks(imap_mail.c_str()));
    EXPECT_TRUE(run.has_changed_nothing({"/root/out"})) << name;
    std::vector<std::string> commands;
    for (const std::string& command : commands_run())
      if (command.starts_with("cp ")) commands.push_back(command);
    ASSERT_EQ(copied.size(), commands.size()) << name;
    for (std::size_t i = 0; i < copied.size(); ++i) EXPECT_THAT(commands[i], HasSubstr(copied[i]));
  }
}

// ---- Accounts, and all that comes with them ---------------------------------------------------------------

struct EvolutionMailKept : EvolutionKept {
  EvolutionMailKept() {
    write_file(imap_mail + "/brindle-email-accounts/work", "Account Name=Work\nPOP3 Server=pop\n");
    write_file(archive_root + "/Mail/Inbox", "From a\n");
    make_person();
    fill("/home/ann/.evolution");
    write_file("/home/ann/.evolution/mail/local/Inbox", "own");
    write_file(gconf + "mail/%gconf.xml", "own accounts");
    write_file(gconf + "%gconf.xml", "");
  }
};

TEST_F(EvolutionMailKept, AProfilesWholeMail) {
  KeepingRun run;
  EXPECT_EQ(0, mail_account(archive_root.c_str()));
  EXPECT_THAT(run.listed(),
              AllOf(Contains("replaced /home/ann/.evolution/mail/local/Inbox"),
                    Contains("replaced " + gconf + "mail/%gconf.xml"),
                    Contains("replaced /home/ann/.evolution/calendar/local/system/calendar.ics")));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_F(EvolutionMailKept, OrNothingOfIt) {
  KeepingRun::prevent("/home/ann");
  const KeepingRun run;
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, mail_account(archive_root.c_str()));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(KeepingRun::left("/home/ann")));
  EXPECT_TRUE(run.has_changed_nothing({"/home/ann"}));
  EXPECT_THAT(commands_run(), IsEmpty());
}

// The store is a link out of the home; what would come after the folders stays out as well.
TEST_F(EvolutionMailKept, NothingBehindFoldersThatCannotBeKept) {
  std::filesystem::rename("/home/ann/.evolution/mail/local", "/root/out");
  std::filesystem::create_directory_symlink("/root/out", "/home/ann/.evolution/mail/local");
  const KeepingRun run;
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, mail_account(archive_root.c_str()));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("a link leads out of its home"));
  EXPECT_TRUE(run.has_changed_nothing({"/root/out", "/home/ann/.evolution"}));
}

TEST_F(EvolutionMailKept, TheHomesTimeWhenNothingElseChanges) {
  std::filesystem::remove(imap_mail + "/brindle-email-accounts/work");
  std::filesystem::remove_all(archive_root + "/Mail");
  std::filesystem::remove_all(imap_mail + "/Contacts");
  KeepingRun run;
  EXPECT_EQ(0, mail_account(archive_root.c_str()));
  EXPECT_TRUE(run.has_kept_all());
}

// ---- A new home -------------------------------------------------------------------------------------------

struct Repair {
  const char* list;
  int (*repair)();
};

class EvolutionListsKept : public testing::TestWithParam<Repair> {
 protected:
  EvolutionListsKept() {
    isDefaultUser = 0;
    assign(cur_user, "ann");
    write_file(list, "file:///root\n");
    write_file(aside, "own");
  }

  const std::string list = gconf + GetParam().list + "/%gconf.xml";
  const std::string aside = gconf + GetParam().list + "/%gconftemp.xml";
};

TEST_P(EvolutionListsKept, WithAFileNamedLikeTheCopy) {
  KeepingRun run;
  EXPECT_EQ(0, GetParam().repair());
  EXPECT_THAT(run.listed(), ElementsAre("replaced " + list, "removed " + aside));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_P(EvolutionListsKept, OrNotRepaired) {
  KeepingRun::prevent("/home/ann");
  const KeepingRun run;
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, GetParam().repair());
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(KeepingRun::left(list)));
  EXPECT_TRUE(run.has_changed_nothing({"/home/ann"}));
  EXPECT_THAT(commands_run(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Lists, EvolutionListsKept,
                         testing::Values(Repair{"addressbook", updateAddressbookGconf},
                                         Repair{"calendar", updateCalendarGconf},
                                         Repair{"tasks", updateTasksGconf}),
                         [](const auto& one) { return std::string(one.param.list); });

// An Evolution that makes and changes files in all its folders.
void install_writing_evolution() {
  write_file(
      "/usr/local/bin/evolution",
      "#!/bin/sh\n[ $# = 0 ] || exit 0\ncd /root\n"
      "for f in .gconf/apps/evolution .gnome2 .gnome2_private .camel_certs .config/evolution; do\n"
      "  mkdir -p $f/sub; echo own >> $f/there; echo own > $f/sub/made\ndone\n"
      "for f in evolution .evolution .local/share/evolution; do mkdir -p $f/sub; echo > $f/made; done\n"
      "mkdir .local/share/evolution/mail 2>/dev/null\necho > /tmp/evolution.has.written\n");
  ASSERT_EQ(0, shell_quietly("chmod 755 /usr/local/bin/evolution"));
}

TEST_F(EvolutionKept, WhatItsFirstStartChanges) {
  install_writing_evolution();
  for (const char* folder : {".gconf/apps/evolution", ".gnome2", ".config/evolution"})
    write_file(std::string("/root/") + folder + "/there", "before");
  write_file("/root/.local/share/evolution/mail/local/cur/1", "letter");
  KeepingRun run;
  sleeps::end_when([] { return exists("/tmp/evolution.has.written"); });
  launch_evolution();
  EXPECT_THAT(run.listed(),
              AllOf(Contains("replaced /root/.gnome2/there"), Contains("made /root/.camel_certs"),
                    Contains("made /root/.local/share/evolution/sub"), Contains("made /root/evolution")));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_F(EvolutionKept, OrItIsNotStarted) {
  KeepingRun::prevent();
  const KeepingRun run;
  testing::internal::CaptureStderr();
  launch_evolution();
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("could not be kept as it is"));
  EXPECT_TRUE(run.has_changed_nothing());
  EXPECT_THAT(commands_run(), IsEmpty());
}

}  // namespace
