#include "process/mail/folders/evolution.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/limits.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "mail/mail_files.h"
#include "process/mail/folders/background.h"
#include "shell/compose.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/system_log.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

const std::string mail = "/tmp/brindAb12cd/Brindle/Mail";
const std::string staging = mail + "/brindlemail/";

class EvolutionFolders : public testing::Test {
 protected:
  void SetUp() override { install_evolution(); }

  static void pop() { EXPECT_EQ(nullptr, mails_pop(mail.c_str())); }
};

// --- Evolution 2

TEST_F(EvolutionFolders, Evolution2TakesTheMailboxesAsTheyAre) {
  std::filesystem::create_directories("/root/.evolution/mail/local");
  make_mail_tree(mail);
  pop();
  EXPECT_EQ(0, shell_quietly("diff -r " + mail + " /root/.evolution/mail/local"));
  EXPECT_EQ(counted_mail_tree, counted("archive", "/root/.evolution/mail/local"));
}

TEST_F(EvolutionFolders, Evolution2NeedsTwoCommands) {
  std::filesystem::create_directories("/root/.evolution/mail/local");
  write_file(mail + "/Inbox", "");
  testing::internal::CaptureStdout();
  pop();
  EXPECT_EQ("buffer=/root\nChecking for evolution version.Command Executed::cp -a " + mail +
                "/* /root/.evolution/mail/local/\nReturning",
            testing::internal::GetCapturedStdout());
  EXPECT_THAT(commands_run(),
              ElementsAre("evolution --force-shutdown", "cp -a " + mail + "/* /root/.evolution/mail/local/"));
  EXPECT_EQ("evolution --force-shutdown\n", read_file("/tmp/evolution.calls"));
}

TEST_F(EvolutionFolders, Evolution2sMissingStoreIsMade) {
  for (const char* there : {"/root/.evolution", "/root/.evolution/mail"}) {
    std::filesystem::remove_all("/root/.evolution");
    std::filesystem::create_directories(there);
    make_mail_tree(mail);
    pop();
    EXPECT_EQ(counted_mail_tree, counted("archive", "/root/.evolution/mail/local")) << there;
  }
  EXPECT_FALSE(exists("/root/evolution"));
}

TEST_F(EvolutionFolders, AHomeWithoutEvolutionGetsTheFoldersOfEvolution1) {
  make_mail_tree(mail);
  pop();
  EXPECT_EQ(counted_mail_tree, counted("evolution", "/root/evolution/local"));
}

// What system() has of a command with more names than the kernel takes.
constexpr int too_many_names = 126 << 8;

TEST_F(EvolutionFolders, MoreThanACommandTakesAreAllCopied) {
  make_mail_tree(mail);
  answer_command("cp -a", too_many_names);
  pop();
  EXPECT_EQ(counted_mail_tree, counted("evolution", "/root/evolution/local"));
  std::filesystem::create_directory("/root/.evolution");
  std::filesystem::remove_all(staging);
  shell_quietly("cd " + mail + " && chown 1234:2345 Inbox && chmod 640 Inbox && touch -d @1000000000 Inbox");
  answer_command("cp -a", too_many_names);
  pop();
  EXPECT_EQ(counted_mail_tree, counted("archive", "/root/.evolution/mail/local"));
  EXPECT_EQ("1234:2345 640 1000000000\n",
            output_of("stat -c '%u:%g %a %Y' /root/.evolution/mail/local/Inbox"));
}

TEST_F(EvolutionFolders, MoreThanACommandTakesThatCannotBeCopiedAreAFailure) {
  write_file(mail + "/Inbox", "From a\n");
  for (const char* store : {"/root/evolution/local", "/root/.evolution/mail/local"}) {
    answer_command("cp -a", too_many_names);
    write_file(std::string(store) + "/Inbox/mbox/in the way", "");
    testing::internal::CaptureStderr();
    EXPECT_EQ(Folders::not_all, migrate_mail_folders(target_of(""), mail));
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(std::string(store) + "/Inbox"));
  }
}

TEST_F(EvolutionFolders, AProfilesMissingStoreBelongsToTheOwnerOfTheHome) {
  isDefaultUser = 0;
  ASSERT_TRUE(assign(cur_user, "ann"));
  ASSERT_EQ(0, shell_quietly("mkdir -p /home/ann/.evolution && chown -R 1234:2345 /home/ann"));
  write_file(mail + "/Inbox", "From a\n");
  pop();
  EXPECT_EQ("From a\n", read_file("/home/ann/.evolution/mail/local/Inbox"));
  EXPECT_EQ("1234:2345\n1234:2345\n", output_of("cd /home/ann/.evolution/mail && stat -c %u:%g . local"));
}

TEST_F(EvolutionFolders, NoStoreIsMadeThroughALinkOutOfTheHome) {
  std::filesystem::create_directories("/srv/others");
  std::filesystem::create_directory_symlink("/srv/others", "/root/.evolution");
  write_file(mail + "/Inbox", "From a\n");
  const SystemLog log;
  pop();
  EXPECT_TRUE(std::filesystem::is_empty("/srv/others"));
}

TEST_F(EvolutionFolders, OnlyTheCopyIsLogged) {
  std::filesystem::remove("/usr/local/bin/evolution");
  SystemLog log;
  write_file("/root/.evolution", "no folder");
  write_file(mail + "/Inbox", "");
  pop();
  EXPECT_THAT(log.messages(), ElementsAre(HasSubstr("normal termination, exit status 1, cp -a ")));
}

// --- Evolution 1

TEST_F(EvolutionFolders, Evolution1GetsATreeOfItsOwn) {
  std::filesystem::create_directories("/root/evolution/local");
  make_mail_tree(mail);
  ASSERT_EQ(counted_mail_tree, counted("archive", mail));
  pop();
  EXPECT_EQ(counted_mail_tree, counted("evolution", "/root/evolution/local"));
  EXPECT_EQ(mailbox_of(4),
            read_file("/root/evolution/local/Inbox/subfolders/Work/subfolders/Old \"bills\"/mbox"));
  EXPECT_FALSE(exists("/root/email_sbd_sbd"));
}

TEST_F(EvolutionFolders, Evolution1sCommandsComeInTheirOrder) {
  std::filesystem::create_directories("/root/evolution/local");
  write_file(mail + "/Work.sbd/Old", "From a\n");
  pop();
  const std::string old = staging + "Work/subfolders";
  EXPECT_THAT(commands_run(), ElementsAre("evolution --force-shutdown",
                                          "find \"" + mail + "\" -name \"*.sbd\" > /root/email_sbd_sbd",
                                          "mkdir -p \"" + old + "\"/\"Old\"",
                                          "cp \"" + mail + "/Work.sbd\"/\"Old\" \"" + old + "\"/\"Old\"/mbox",
                                          "cp -a " + staging + "* /root/evolution/local/"));
}

TEST_F(EvolutionFolders, Evolution1sTracesAskForTheHomeTwice) {
  std::filesystem::create_directories("/root/evolution/local");
  write_file(mail + "/Inbox", "From a\n");
  testing::internal::CaptureStdout();
  pop();
  EXPECT_EQ("buffer=/root\nChecking for evolution version.buffer=/root\nCommand Executed::cp -a " + staging +
                "* /root/evolution/local/\nReturning",
            testing::internal::GetCapturedStdout());
}

TEST_F(EvolutionFolders, TheTreeAloneAsksForTheHomeOnce) {
  write_file(mail + "/Inbox", "From a\n");
  testing::internal::CaptureStdout();
  evolution_old(mail.c_str(), staging.c_str());
  EXPECT_EQ("buffer=/root\n", testing::internal::GetCapturedStdout());
}

TEST_F(EvolutionFolders, WithoutAHomeNothingIsCopied) {
  lose_account_entry();
  write_file(mail + "/Inbox", "From a\n");
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  pop();
  evolution_old(mail.c_str(), staging.c_str());
  EXPECT_EQ(2, complaints_of_no_home(testing::internal::GetCapturedStderr()));
  EXPECT_EQ("", testing::internal::GetCapturedStdout());
  EXPECT_THAT(commands_run(), ElementsAre("evolution --force-shutdown"));
}

TEST_F(EvolutionFolders, AProfilesHomeIsTheTarget) {
  isDefaultUser = 0;
  ASSERT_TRUE(assign(cur_user, "ann"));
  std::filesystem::create_directories("/root/.evolution");
  std::filesystem::create_directories("/home/ann/evolution/local");
  write_file(mail + "/Inbox", "From a\n");
  pop();
  EXPECT_EQ("From a\n", read_file("/home/ann/evolution/local/Inbox/mbox"));
}

TEST_F(EvolutionFolders, AProfilesMailFolderHasItsSubfoldersToo) {
  const std::string profile_mail = "/tmp/brindAb12cd/Brindle/Profiles/ann.sbd/Mail";
  std::filesystem::create_directories("/root/evolution/local");
  make_mail_tree(profile_mail);
  mails_pop(profile_mail.c_str());
  EXPECT_EQ(counted_mail_tree, counted("evolution", "/root/evolution/local"));
}

TEST_F(EvolutionFolders, NoNameEndsItsWord) {
  std::filesystem::create_directories("/root/evolution/local");
  write_file(mail + "/a\"; touch pwned; \"", "From a\n");
  write_file(mail + "/x; touch pwned.sbd/$(touch pwned)", "From a\n");
  write_file(mail + "/-rf", "From a\n");
  pop();
  EXPECT_FALSE(exists("pwned"));
  EXPECT_TRUE(exists("/root/evolution/local/x; touch pwned/subfolders/$(touch pwned)/mbox"));
  EXPECT_TRUE(exists("/root/evolution/local/-rf/mbox"));
}

TEST_F(EvolutionFolders, AFolderThatIsNoneEndsTheWalkAndLeavesItsList) {
  write_file(mail + "/a.sbd", "a file");
  write_file(mail + "/Inbox", "From a\n");
  evolution_old(mail.c_str(), staging.c_str());
  EXPECT_EQ(mail + "/a.sbd\n", read_file("/root/email_sbd_sbd"));
  EXPECT_EQ("From a\n", read_file(staging + "Inbox/mbox"));
}

TEST_F(EvolutionFolders, NothingBehindAFolderThatIsNoneIsBuilt) {
  write_file("/usr/local/bin/find",
             "#!/bin/sh\nfor name in one two three; do echo \"" + mail + "/$name.sbd\"; done\n");
  ASSERT_EQ(0, shell_quietly("chmod 755 /usr/local/bin/find"));
  write_file(mail + "/one.sbd/One", "From a\n");
  write_file(mail + "/two.sbd", "a file");
  write_file(mail + "/three.sbd/Three", "From c\n");
  evolution_old(mail.c_str(), staging.c_str());
  EXPECT_EQ("From a\n", read_file(staging + "one/subfolders/One/mbox"));
  EXPECT_FALSE(exists(staging + "three"));
  EXPECT_TRUE(exists("/root/email_sbd_sbd"));
}

// What was built until then comes all the same.
TEST_F(EvolutionFolders, AWalkThatHasEndedEndsNothingElse) {
  write_file(mail + "/a.sbd", "a file");
  write_file(mail + "/Inbox", "From a\n");
  EXPECT_EQ(Folders::copied, migrate_mail_folders(target_of(""), mail));
  EXPECT_EQ("From a\n", read_file("/root/evolution/local/Inbox/mbox"));
}

TEST_F(EvolutionFolders, AMissingMailFolderLeavesAnEmptyList) {
  evolution_old("/tmp/nowhere/Brindle/Mail", "/tmp/nowhere/Brindle/Mail/brindlemail/");
  EXPECT_EQ("", read_file("/root/email_sbd_sbd"));
}

TEST_F(EvolutionFolders, AHomeThatIsMissingMakesNothing) {
  isDefaultUser = 0;
  ASSERT_TRUE(assign(cur_user, "nobodyhere"));
  write_file(mail + "/Inbox", "From a\n");
  evolution_old(mail.c_str(), staging.c_str());
  EXPECT_FALSE(exists(staging));
  EXPECT_EQ(Folders::copied, migrate_mail_folders(target_of(""), mail));
  EXPECT_EQ("cp -a " + staging + "* /home/nobodyhere/evolution/local/", commands_run().back());
}

TEST_F(EvolutionFolders, NamesThatHoldSbdAreNoMailboxes) {
  write_file(mail + "/a.sbd.bak", "From a\n");
  write_file(mail + "/Inbox", "From b\n");
  evolution_old(mail.c_str(), staging.c_str());
  EXPECT_EQ("brindlemail/Inbox\n", output_of("cd " + mail + " && find brindlemail -mindepth 1 -maxdepth 1"));
}

// The list is read in lines of 511 characters: a longer path names no folder and ends the walk.
TEST_F(EvolutionFolders, APathOf510CharactersIsFollowed) {
  const std::string folder = mail + "/" + std::string(200, 'a') + ".sbd/" + std::string(200, 'b') + ".sbd/";
  const std::string last(510 - folder.size() - 4, 'c');
  write_file(folder + last + ".sbd/Old", "From a\n");
  evolution_old(mail.c_str(), staging.c_str());
  EXPECT_FALSE(exists("/root/email_sbd_sbd"));
  EXPECT_TRUE(exists(staging + std::string(200, 'a') + "/subfolders/" + std::string(200, 'b') +
                     "/subfolders/" + last + "/subfolders/Old/mbox"));
}

TEST_F(EvolutionFolders, ALongerPathEndsTheWalk) {
  const std::string folder = mail + "/" + std::string(200, 'a') + ".sbd/" + std::string(200, 'b') + ".sbd/";
  const std::string last(512 - folder.size() - 4, 'c');
  write_file(folder + last + ".sbd/Old", "From a\n");
  evolution_old(mail.c_str(), staging.c_str());
  EXPECT_TRUE(exists("/root/email_sbd_sbd"));
  EXPECT_EQ("", output_of("find " + staging + " -name Old"));
}

// "x\n/etc/private\n.sbd" puts the line "/etc/private" into the list of folders.
TEST_F(EvolutionFolders, ANewlineInANameCannotBringInAnotherFolder) {
  write_file("/etc/private/key", "secret");
  std::filesystem::create_directories(mail + "/x");
  write_file(mail + "/x\n/etc/private\n.sbd/Old", "From a\n");
  evolution_old(mail.c_str(), staging.c_str());
  EXPECT_EQ("", output_of("find /tmp /root -name key"));
  EXPECT_TRUE(exists("/root/email_sbd_sbd"));
}

TEST_F(EvolutionFolders, NorOneWhoseNameBeginsLikeTheMailFolders) {
  write_file(mail + " of others.sbd/letter", "secret");
  std::filesystem::create_directories(mail + "/x");
  write_file(mail + "/x\n" + mail + " of others.sbd/Old", "From a\n");
  evolution_old(mail.c_str(), staging.c_str());
  EXPECT_EQ("", output_of("grep -rl secret " + staging));
}

TEST_F(EvolutionFolders, AMailFolderNamedLikeTheStagingAreaIsNoEndlessWalk) {
  std::filesystem::create_directories("/root/evolution/local");
  write_file(mail + "/brindlemail/x.sbd/Inbox", "From a\n");
  write_file(mail + "/Inbox", "From b\n");
  pop();
  EXPECT_EQ("From b\n", read_file("/root/evolution/local/Inbox/mbox"));
}

// --- One folder

TEST(FileToFolder, MakesTheMailboxAndItsDescription) {
  write_file(mail + "/Inbox", "From a\n");
  file_to_folder(mail.c_str(), "Inbox", staging.c_str());
  EXPECT_EQ("From a\n", read_file(staging + "Inbox/mbox"));
  EXPECT_TRUE(
      same_bytes("<?xml version=\"1.0\"?>\n"
                 "<efolder>\n"
                 "\t<type>mail</type>\n"
                 "\t<description>Inbox</description>\n"
                 "</efolder>\n",
                 read_file(staging + "Inbox/folder-metadata.xml")));
  EXPECT_THAT(commands_run(),
              ElementsAre("mkdir -p \"" + staging + "\"/\"Inbox\"",
                          "cp \"" + mail + "\"/\"Inbox\" \"" + staging + "\"/\"Inbox\"/mbox"));
}

TEST(FileToFolder, TheDescriptionHoldsTheNameAsItIs) {
  write_file(mail + "/A & <b> @c@", "");
  file_to_folder(mail.c_str(), "A & <b> @c@", staging.c_str());
  EXPECT_THAT(read_file(staging + "A & <b> @c@/folder-metadata.xml"),
              HasSubstr("\t<description>A & <b> @c@</description>\n"));
}

TEST(FileToFolder, APlainSubdirectoryGetsNoMailbox) {
  std::filesystem::create_directories(mail + "/plain");
  file_to_folder(mail.c_str(), "plain", staging.c_str());
  EXPECT_FALSE(exists(staging + "plain/mbox"));
  EXPECT_TRUE(exists(staging + "plain/folder-metadata.xml"));
}

TEST(FileToFolder, ADescriptionThatCannotBeMadeIsSkipped) {
  write_file(mail + "/Inbox", "From a\n");
  write_file(mail + "/brindlemail", "a file");
  file_to_folder(mail.c_str(), "Inbox", staging.c_str());
  EXPECT_EQ("a file", read_file(mail + "/brindlemail"));
}

// --- Staging paths

std::string staged(const std::string& path, const std::string& dest = staging) {
  char buffer[PATH_MAX];
  std::snprintf(buffer, sizeof buffer, "%s", path.c_str());
  delete_sbd_add_subfolders(buffer, dest.c_str());
  return buffer;
}

TEST(StagingPath, TheMailFolderIsTheStagingAreaItself) { EXPECT_EQ(staging, staged(mail)); }

TEST(StagingPath, AFolderWithoutSubfoldersOfAnotherIsTheStagingAreaToo) {
  EXPECT_EQ(staging, staged(mail + "/Local"));
  EXPECT_EQ("/tmp/elsewhere/", staged(mail + "/Local", "/tmp/elsewhere/"));
}

TEST(StagingPath, EveryLevelGetsItsSubfolders) {
  EXPECT_EQ(staging + "Work/subfolders", staged(mail + "/Work.sbd"));
  EXPECT_EQ(staging + "Work/subfolders/Old/subfolders", staged(mail + "/Work.sbd/Old.sbd"));
  EXPECT_EQ(staging + "a/subfolders/b/subfolders/c/subfolders", staged(mail + "/a.sbd/b.sbd/c.sbd"));
}

TEST(StagingPath, AFolderAboveStaysInThePath) {
  EXPECT_EQ(staging + "Local/Work/subfolders", staged(mail + "/Local/Work.sbd"));
}

TEST(StagingPath, AnyDestinationTakesThePathBelowTheArchivesMailFolder) {
  EXPECT_EQ("/tmp/elsewhere/Work/subfolders", staged(mail + "/Work.sbd", "/tmp/elsewhere/"));
  EXPECT_EQ("/tmp/elsewhere/Work/subfolders/Brindle/Mail/Old/subfolders",
            staged(mail + "/Work.sbd/Brindle/Mail/Old.sbd", "/tmp/elsewhere/"));
}

TEST(StagingPath, AProfilesMailFolderCountsLikeTheArchives) {
  const std::string profile = "/tmp/b/Brindle/Profiles/a.sbd/Mail";
  EXPECT_EQ(profile + "/brindlemail/", staged(profile, profile + "/brindlemail/"));
  EXPECT_EQ(profile + "/brindlemail/Work/subfolders",
            staged(profile + "/Work.sbd", profile + "/brindlemail/"));
}

TEST(StagingPath, AResultThatDoesNotFitIsEmpty) {
  EXPECT_EQ("", staged(mail + "/" + std::string(PATH_MAX - mail.size() - 6, 'a') + ".sbd"));
}

TEST(StagingPath, FitsWithTheNulBehindIt) {
  const std::size_t room = PATH_MAX - 1 - staging.size() - std::strlen("/subfolders");
  EXPECT_EQ(PATH_MAX - 1, staged(mail + "/" + std::string(room, 'a') + ".sbd").size());
  EXPECT_EQ("", staged(mail + "/" + std::string(room + 1, 'a') + ".sbd"));
}

TEST(DeleteNewLine, RemovesOneAtTheEnd) {
  const auto without = [](std::string text) {
    delete_new_line(text.data());
    return std::string(text.c_str());
  };
  EXPECT_EQ("a", without("a\n"));
  EXPECT_EQ("a\n", without("a\n\n"));
  EXPECT_EQ("a\nb", without("a\nb"));
  EXPECT_EQ("", without("\n"));
  EXPECT_EQ("", without(""));
}

TEST(Func, RunsItsCommandAndLogsAFailure) {
  SystemLog log;
  shell::Command command = compose("touch /tmp/ran; exit 3");
  EXPECT_EQ(nullptr, func(&command));
  EXPECT_TRUE(exists("/tmp/ran"));
  EXPECT_THAT(log.messages(), ElementsAre(HasSubstr("normal termination, exit status 3, touch /tmp/ran")));
}

}  // namespace
