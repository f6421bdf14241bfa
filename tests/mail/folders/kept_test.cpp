// What the conversions of mail folders keep of a home before they change it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "mail/mail_files.h"
#include "process/mail/folders/evolution.h"
#include "process/mail/folders/kmail.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/keeping_run.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string root = "/tmp/brindAb12cd/Brindle";
const std::string mail = root + "/Mail";

// ---- KMail ------------------------------------------------------------------------------------------------

struct KmailKept : testing::Test {
  KmailKept() {
    write_file(mail + "/Inbox", "From a\n1\nFrom b\n2\n");
    write_file(mail + "/Inbox.sbd/Sub", "From c\n");
  }
};

TEST_F(KmailKept, IntoAnEmptyHomeAllIsMade) {
  KeepingRun run;
  EXPECT_EQ(0, kmailemails(root.c_str()));
  EXPECT_THAT(
      run.listed(),
      ElementsAre("made /root/Mail", "made /root/Mail/.inbox.directory",
                  "made /root/Mail/.inbox.directory/.Sub.directory", "made /root/Mail/.inbox.directory/Sub",
                  "made /root/Mail/.inbox.directory/Sub/cur", "made /root/Mail/.inbox.directory/Sub/cur/Sub2",
                  "made /root/Mail/.inbox.directory/Sub/new", "made /root/Mail/.inbox.directory/Sub/tmp",
                  "made /root/Mail/inbox", "made /root/Mail/inbox/cur", "made /root/Mail/inbox/cur/Inbox2",
                  "made /root/Mail/inbox/cur/Inbox3", "made /root/Mail/inbox/new",
                  "made /root/Mail/inbox/tmp"));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_F(KmailKept, OfAFullHomeTheIndexesAndNoLetter) {
  for (const char* index : {".inbox.index", ".inbox.index.ids", ".inbox.index.sorted", ".work.index"})
    write_file(std::string("/root/Mail/") + index, index);
  for (const char* letter : {"cur/Inbox2", "cur/own", "new/own"})
    write_file(std::string("/root/Mail/inbox/") + letter, "From a\n1\n");
  std::filesystem::create_directories("/root/Mail/inbox/tmp");
  write_file("/root/Mail/.inbox.directory/own/cur/1", "own");
  shell_quietly("chmod 700 /root/Mail/inbox; touch -d 2001-01-01 /root/Mail/inbox/cur");
  KeepingRun run;
  EXPECT_EQ(0, kmailemails(root.c_str()));
  EXPECT_THAT(
      run.listed(),
      ElementsAre("made /root/Mail/.inbox.directory/.Sub.directory", "made /root/Mail/.inbox.directory/Sub",
                  "made /root/Mail/.inbox.directory/Sub/cur", "made /root/Mail/.inbox.directory/Sub/cur/Sub2",
                  "made /root/Mail/.inbox.directory/Sub/new", "made /root/Mail/.inbox.directory/Sub/tmp",
                  "removed /root/Mail/.inbox.index", "removed /root/Mail/.inbox.index.ids",
                  "made /root/Mail/inbox/cur/Inbox3"));
  EXPECT_TRUE(run.has_kept_all());
}

// Each of the folders may be the one that is missing.
class KmailHalfAFolder : public testing::TestWithParam<const char*> {};

TEST_P(KmailHalfAFolder, IsMadeWhole) {
  write_file(mail + "/Inbox", "From a\n1\n");
  for (const char* folder : {"inbox/cur", "inbox/new", "inbox/tmp", ".inbox.directory"})
    if (folder != std::string(GetParam()))
      std::filesystem::create_directories(std::string("/root/Mail/") + folder);
  std::filesystem::create_directories("/root/Mail/inbox");
  KeepingRun run;
  EXPECT_EQ(0, kmailemails(root.c_str()));
  EXPECT_THAT(run.listed(), testing::Contains(std::string("made /root/Mail/") + GetParam()));
  EXPECT_TRUE(run.has_kept_all());
}

INSTANTIATE_TEST_SUITE_P(Folders, KmailHalfAFolder,
                         testing::Values("inbox/cur", "inbox/new", "inbox/tmp", ".inbox.directory"));

// Whose own folder is a link, and whose subfolders come without a mailbox of their own.
TEST_F(KmailKept, SubfoldersAlone) {
  std::filesystem::remove(mail + "/Inbox");
  std::filesystem::remove(mail + "/Inbox.sbd/Sub");
  std::filesystem::create_directories("/root/elsewhere");
  std::filesystem::create_symlink("/root/elsewhere", "/root/Mail");
  KeepingRun run;
  EXPECT_EQ(0, kmailemails(root.c_str()));
  EXPECT_THAT(run.listed(), ElementsAre("made /root/elsewhere/.inbox.directory"));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_F(KmailKept, OrNothingIsConverted) {
  write_file("/root/Mail/.inbox.index", "own");
  write_file("/root/Mail/inbox/cur/own", "own");
  KeepingRun::prevent();
  const KeepingRun run;
  testing::internal::CaptureStderr();
  EXPECT_EQ(1, kmailemails(root.c_str()));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("could not be kept as it is"));
  EXPECT_TRUE(run.has_changed_nothing());
  EXPECT_THAT(commands_run(), IsEmpty());
}

// A link of another's that leads out of that home is a trap.
TEST_F(KmailKept, NotBehindALinkOutOfAProfilesHome) {
  isDefaultUser = 0;
  ASSERT_TRUE(assign(cur_user, "ann"));
  std::filesystem::create_directories("/home/ann");
  std::filesystem::create_directories("/root/own");
  std::filesystem::create_symlink("/root/own", "/home/ann/Mail");
  const KeepingRun run;
  testing::internal::CaptureStderr();
  EXPECT_EQ(1, kmailemails(root.c_str()));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("a link leads out of its home"));
  EXPECT_TRUE(run.has_changed_nothing());
}

// Whichever is the first in the folder; those behind it could be kept.
TEST_F(KmailKept, NoFolderBehindOneThatCannotBeKept) {
  isDefaultUser = 0;
  ASSERT_TRUE(assign(cur_user, "ann"));
  shell_quietly("rm -r " + mail + "/*");
  for (const char* name : {"one", "two", "three"}) write_file(mail + "/" + name, "From a\n");
  shell_quietly("mkdir -p /home/ann/Mail /root/own; ln -s /root/own \"/home/ann/Mail/$(ls -U " + mail +
                " | head -n 1)\"");
  const KeepingRun run;
  testing::internal::CaptureStderr();
  EXPECT_EQ(1, kmailemails(root.c_str()));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("a link leads out of its home"));
  EXPECT_TRUE(run.has_changed_nothing({"/root/own", "/home/ann/Mail"}));
  EXPECT_THAT(commands_run(), IsEmpty());
}

// ---- Evolution --------------------------------------------------------------------------------------------

struct EvolutionKept : testing::Test {
  EvolutionKept() {
    install_evolution();
    write_file(mail + "/Inbox", "From a\n1\n");
    write_file(mail + "/Sent", "From b\n");
    write_file(mail + "/Inbox.sbd/Work", "From c\n");
  }
  static Folders migrate() { return migrate_mail_folders(target_of(""), mail); }
};

TEST_F(EvolutionKept, Mailboxes) {
  const std::string store = "/root/.evolution/mail/local";
  write_file(store + "/Inbox", "own");
  write_file(store + "/Inbox.ev-summary", "own");
  write_file(store + "/Sent", "From b\n");
  shell_quietly("chmod 600 " + store + "/Inbox; touch -d 2001-01-01 " + store + "/Inbox");
  KeepingRun run;
  EXPECT_EQ(Folders::copied, migrate());
  EXPECT_THAT(run.listed(), ElementsAre("replaced " + store + "/Inbox", "made " + store + "/Inbox.sbd",
                                        "made " + store + "/Inbox.sbd/Work"));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_F(EvolutionKept, TheStoreThatIsMade) {
  std::filesystem::create_directories("/root/.evolution");
  KeepingRun run;
  EXPECT_EQ(Folders::copied, migrate());
  EXPECT_THAT(run.listed(), testing::Contains("made /root/.evolution/mail"));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_F(EvolutionKept, TheTreeOfEvolution1AndAFileNamedLikeTheList) {
  write_file("/root/email_sbd_sbd", "own");
  write_file("/root/evolution/local/Inbox/mbox", "own");
  write_file("/root/evolution/local/Inbox/folder-metadata.xml", "own");
  write_file("/root/evolution/local/Sent/own", "own");
  KeepingRun run;
  EXPECT_EQ(Folders::copied, migrate());
  EXPECT_THAT(
      run.listed(),
      ElementsAre("removed /root/email_sbd_sbd", "replaced /root/evolution/local/Inbox/folder-metadata.xml",
                  "replaced /root/evolution/local/Inbox/mbox", "made /root/evolution/local/Inbox/subfolders",
                  "made /root/evolution/local/Inbox/subfolders/Work",
                  "made /root/evolution/local/Inbox/subfolders/Work/folder-metadata.xml",
                  "made /root/evolution/local/Inbox/subfolders/Work/mbox",
                  "made /root/evolution/local/Sent/folder-metadata.xml",
                  "made /root/evolution/local/Sent/mbox"));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_F(EvolutionKept, TheStoreOfEvolution1) {
  KeepingRun run;
  EXPECT_EQ(Folders::copied, migrate());
  EXPECT_THAT(run.listed(), testing::Contains("made /root/evolution"));
  EXPECT_TRUE(run.has_kept_all());
}

TEST_F(EvolutionKept, OrNothingIsCopied) {
  for (const char* store :
       {"/root/.evolution/mail/local", "/root/.evolution", "/root/evolution/local", "/root"}) {
    shell_quietly("rm -rf /root/*evolution; rm -f /root/.brindle_before");
    std::filesystem::create_directories(store);
    write_file(std::string(store) + "/Inbox", "own");
    KeepingRun::prevent();
    forget_commands();
    const KeepingRun run;
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    EXPECT_EQ(Folders::not_kept, migrate()) << store;
    EXPECT_THAT(testing::internal::GetCapturedStdout(), testing::Not(HasSubstr("Returning")));
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("could not be kept as it is"));
    EXPECT_TRUE(run.has_changed_nothing()) << store;
    EXPECT_THAT(commands_run(), ElementsAre("evolution --force-shutdown")) << store;
  }
}

TEST_F(EvolutionKept, AnEvolution1TreeIsNotBuiltOverAListThatIsNotKept) {
  write_file("/root/email_sbd_sbd", "own");
  KeepingRun::prevent();
  const KeepingRun run;
  testing::internal::CaptureStderr();
  evolution_old(mail.c_str(), (mail + "/brindlemail/").c_str());
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(KeepingRun::left("/root/email_sbd_sbd")));
  EXPECT_TRUE(run.has_changed_nothing());
  EXPECT_THAT(commands_run(), IsEmpty());
}

}  // namespace
