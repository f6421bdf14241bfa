#include "things/account.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <lastlog.h>
#include <utmpx.h>

#include <cstring>

#include "support/commands.h"
#include "support/files.h"

namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using things::account_state;
using things::give_account;
using things::give_group;
using things::group_state;
using things::use_of_account;

std::string state(const std::string& login) {
  std::string error;
  return account_state(login, error).value_or("error: " + error);
}

std::string group(const std::string& name) {
  std::string error;
  return group_state(name, error).value_or("error: " + error);
}

/// Why `text` cannot be given; empty when it was.
std::string refusal(const std::string& login, const std::string& text) {
  std::string error;
  return give_account(login, text, error) ? "" : "refused: " + error;
}

void prepare(const std::string& command) { ASSERT_EQ(0, shell_quietly(command)) << command; }

/// The lines of all files that make accounts, as they stand but for their order.
std::string files() {
  return output_of("cd /etc; for f in passwd shadow group gshadow subuid subgid; do echo $f; sort $f; done");
}

struct Accounts : testing::Test {
  Accounts() {
    prepare(
        "groupadd -f audio; groupadd -f cdrom; groupadd -f users; groupadd -f games; touch /etc/subuid "
        "/etc/subgid");
    prepare("useradd -m -g users -G cdrom,audio -s /bin/bash -c 'Ann <ann@home>, 12' ann");
    prepare("useradd -m -g users annabel; useradd -m -g users -G games jo");
    prepare("usermod -p '$6$salt$of-today' ann; chage -d 2020-02-03 -W 5 -E 2031-01-01 ann");
  }
};

TEST_F(Accounts, AreNothingOrTheirLines) {
  EXPECT_EQ("nothing", state("an"));
  const std::string ann = state("ann");
  const std::string id = output_of("id -u ann | tr -d '\\n'");
  EXPECT_THAT(ann, StartsWith("passwd ann:x:" + id +
                              ":100:Ann <ann@home>, 12:/home/ann:/bin/bash\n"
                              "shadow ann:$6$salt$of-today:18295:0:99999:5::22280:\n"
                              "groups audio cdrom\n"
                              "subuid ann:"));
  EXPECT_EQ(output_of("sed -n 's/^ann:/subgid ann:/p' /etc/subgid"), ann.substr(ann.rfind('\n') + 1) + "\n");
  EXPECT_THAT(state("annabel"), HasSubstr("\ngroups \n"));
  prepare("usermod -G games annabel");
  EXPECT_THAT(state("ann"), HasSubstr("\ngroups audio cdrom\n"));
}

TEST_F(Accounts, GoAndComeBackAsTheyWere) {
  const std::string before = files();
  const std::string ann = state("ann");
  EXPECT_EQ("", refusal("ann", "nothing"));
  EXPECT_EQ("nothing", state("ann"));
  EXPECT_EQ("2\n", output_of("getent passwd ann annabel jo | wc -l"));
  EXPECT_TRUE(exists("/home/ann"));
  EXPECT_EQ("", refusal("ann", "nothing"));
  EXPECT_EQ("", refusal("ann", ann));
  EXPECT_TRUE(same_bytes(before, files()));
  EXPECT_EQ("", refusal("ann", ann));
}

TEST_F(Accounts, ComeBackWithAnEmptyFieldAsWithAFullOne) {
  prepare("chage -d -1 -m -1 -M -1 -W -1 -I 7 -E -1 jo; usermod -c '' -s '' jo; sed -i /jo:/d /etc/subuid");
  prepare("usermod --add-subgids 900000-900009 jo");
  const std::string before = files();
  const std::string jo = state("jo");
  EXPECT_THAT(jo, HasSubstr("shadow jo:!:::::7::\n"));
  EXPECT_EQ("", refusal("jo", "nothing"));
  EXPECT_EQ("", refusal("jo", jo));
  EXPECT_TRUE(same_bytes(before, files()));
}

TEST_F(Accounts, ThatAreThereGetBackWhatWasChanged) {
  const std::string before = files();
  const std::string ann = state("ann");
  for (const char* change :
       {"echo ann:ann | chpasswd", "chage -M 7 ann", "usermod -G '' ann", "usermod -aG disk ann",
        "usermod -c else ann", "usermod -d /home/else -s /bin/false ann", "usermod -g audio ann",
        "usermod --del-subuids 0-99999999 ann", "usermod --add-subuids 900000-900009 ann",
        "usermod --add-subgids 900000-900009 ann"}) {
    prepare(change);
    ASSERT_NE(ann, state("ann")) << change;
    EXPECT_EQ("", refusal("ann", ann)) << change;
    EXPECT_TRUE(same_bytes(before, files())) << change;
  }
}

TEST_F(Accounts, LeaveALoginOfAnotherId) {
  const std::string ann = state("ann");
  prepare("userdel ann; useradd -u 4321 -g users ann");
  const std::string other = files();
  EXPECT_THAT(refusal("ann", ann), HasSubstr("another login has its name"));
  EXPECT_TRUE(same_bytes(other, files()));
}

TEST_F(Accounts, AreNotMadeWithAnIdThatIsTaken) {
  const std::string ann = state("ann");
  prepare("id=$(id -u ann); userdel ann; useradd -u $id -g users new");
  EXPECT_THAT(refusal("ann", ann), HasSubstr("not unique"));
  EXPECT_EQ("nothing", state("ann"));
}

TEST_F(Accounts, NeverShowAHashOnACommandLine) {
  const std::string ann = state("ann");
  prepare("userdel ann");
  prepare(
      "mkdir /tmp/seen; for p in useradd usermod chage chpasswd; do f=$(PATH=/usr/sbin:/usr/bin command -v "
      "$p);"
      "mv $f $f.real; printf '#!/bin/sh\\nprintf \"%%s|\" \"$0\" \"$@\" >>/tmp/seen/words\\n"
      "env >>/tmp/seen/words\\nexec %s.real \"$@\"\\n' $f >$f; chmod 755 $f; done");
  EXPECT_EQ("", refusal("ann", ann));
  EXPECT_THAT(read_file("/tmp/seen/words"),
              AllOf(HasSubstr("useradd"), HasSubstr("chpasswd|--encrypted|"), Not(HasSubstr("of-today"))));
}

TEST_F(Accounts, RefuseWhatIsNoState) {
  const std::string before = files();
  const std::string ann = state("ann");
  for (const std::string& text :
       {std::string("unknown"), std::string(), std::string("passwd ann:x:1:1::/:/bin/sh"),
        "passwd root:x:0:0::/:/bin/sh\n" + ann.substr(ann.find("shadow")), ann + "\nmore of it",
        ann + "\nshadow root:x:0:0::::"})
    EXPECT_THAT(refusal("ann", text), HasSubstr("no state of a login")) << text;
  for (const char* login : {"", "-r", "a:b", "a/b", "a b", "a\nb"}) {
    EXPECT_EQ("nothing", state(login));
    EXPECT_THAT(refusal(login, ann), HasSubstr("no state of a login")) << login;
  }
  EXPECT_TRUE(same_bytes(before, files()));
}

TEST_F(Accounts, CannotBeToldWhenAFileCannotBeRead) {
  for (const std::string file : {"/etc/passwd", "/etc/shadow", "/etc/group"}) {
    prepare("mv " + file + " " + file + ".away");
    EXPECT_THAT(state("ann"), StartsWith("error: " + file));
    EXPECT_THAT(refusal("ann", "nothing"), HasSubstr(file));
    prepare("mv " + file + ".away " + file);
  }
  prepare("mv /etc/subuid /etc/subuid.away; mv /etc/subgid /etc/subgid.away");
  EXPECT_THAT(state("ann"), EndsWith("groups audio cdrom"));
}

TEST_F(Accounts, SayWhyUserdelRefuses) {
  prepare("setpriv --reuid ann --clear-groups sleep 60 & sleep 0.3");
  EXPECT_THAT(refusal("ann", "nothing"), HasSubstr("currently used by process"));
  EXPECT_THAT(state("ann"), StartsWith("passwd"));
}

// ---- Who uses a login -----------------------------------------------------------------------------------

constexpr std::time_t begun = 1'800'000'000;

utmpx login_of(const char* name, short type, int at) {
  utmpx entry{};
  entry.ut_type = type;
  std::strcpy(entry.ut_user, name);
  std::strcpy(entry.ut_line, "tty1");
  std::strcpy(entry.ut_id, "1");
  entry.ut_pid = 1;
  entry.ut_tv.tv_sec = at;
  return entry;
}

void log_in(const char* name, int at, short type = USER_PROCESS) {
  const utmpx entry = login_of(name, type, at);
  updwtmpx("/var/log/wtmp", &entry);
}

TEST_F(Accounts, AreUnusedAtFirst) {
  EXPECT_EQ("", use_of_account("ann", 0));
  EXPECT_EQ("", use_of_account("missing", 0));
  prepare("rm -f /var/log/wtmp /var/log/lastlog /var/run/utmp");
  EXPECT_EQ("", use_of_account("ann", 0));
}

TEST_F(Accounts, AreUsedOnceSomebodyHasLoggedIn) {
  log_in("ann", begun - 1);
  log_in("annabel", begun + 5);
  log_in("ann", begun + 6, DEAD_PROCESS);
  EXPECT_EQ("", use_of_account("ann", begun));
  log_in("ann", begun);
  log_in("jo", begun + 7);
  EXPECT_EQ("it has been logged in with", use_of_account("ann", begun));
  EXPECT_EQ("", use_of_account("ann", begun + 1));
}

TEST_F(Accounts, AreUsedByTheirLastLogin) {
  lastlog entry{};
  entry.ll_time = begun;
  std::string all(sizeof entry * 3000, '\0');
  const auto uid = std::stoul(output_of("id -u ann"));
  std::memcpy(all.data() + uid * sizeof entry, &entry, sizeof entry);
  write_file("/var/log/lastlog", all);
  EXPECT_EQ("it has been logged in with", use_of_account("ann", begun));
  EXPECT_EQ("", use_of_account("ann", begun + 1));
  EXPECT_EQ("", use_of_account("jo", 0));
}

TEST_F(Accounts, AreUsedWhileLoggedIn) {
  write_file("/run/utmp", "");
  const utmpx other = login_of("annabel", USER_PROCESS, begun - 9);
  setutxent();
  pututxline(&other);
  endutxent();
  EXPECT_EQ("", use_of_account("ann", begun));
  EXPECT_EQ("it is logged in", use_of_account("annabel", begun));
}

TEST_F(Accounts, AreUsedByTheirProgramsMailAndCrontabs) {
  prepare("setpriv --reuid ann --clear-groups sleep 60 & sleep 0.3");
  EXPECT_EQ("it runs programs", use_of_account("ann", begun));
  EXPECT_EQ("", use_of_account("jo", begun));
  write_file("/var/mail/jo", "");
  EXPECT_EQ("", use_of_account("jo", begun));
  write_file("/var/mail/jo", "From ann\n");
  EXPECT_EQ("it has mail", use_of_account("jo", begun));
  write_file("/var/spool/cron/crontabs/annabel", "* * * * * true\n");
  EXPECT_EQ("it has a crontab", use_of_account("annabel", begun));
}

TEST_F(Accounts, CannotBeUnusedWhenThatCannotBeTold) {
  prepare("rm /var/log/wtmp; ln -s wtmp /var/log/wtmp");
  EXPECT_EQ("the records of logins cannot be read", use_of_account("ann", begun));
}

// ---- Groups ---------------------------------------------------------------------------------------------

std::string group_refusal(const std::string& name, const std::string& text) {
  std::string error;
  return give_group(name, text, error) ? "" : "refused: " + error;
}

TEST_F(Accounts, HaveGroupsThatGoAndComeBack) {
  EXPECT_EQ("nothing", group("club"));
  EXPECT_EQ("nothing", group("user"));
  prepare("groupadd -g 4567 club");
  const std::string before = files();
  EXPECT_EQ("group club:x:4567:", group("club"));
  EXPECT_EQ("", group_refusal("club", "nothing"));
  EXPECT_EQ("nothing", group("club"));
  EXPECT_EQ("", group_refusal("club", "nothing"));
  EXPECT_EQ("", group_refusal("club", "group club:x:4567:"));
  EXPECT_TRUE(same_bytes(before, files()));
  EXPECT_EQ("", group_refusal("club", "group club:x:4567:"));
}

TEST_F(Accounts, KeepTheirGroups) {
  prepare("groupadd club; usermod -g club ann; usermod -aG club jo");
  const std::string before = files();
  EXPECT_THAT(group("club"), EndsWith(":jo"));
  EXPECT_THAT(group_refusal("club", "nothing"), HasSubstr("primary group"));
  EXPECT_THAT(group_refusal("club", "group club:x:1:"), HasSubstr("another group"));
  EXPECT_THAT(group_refusal("club", "club"), HasSubstr("no state of a group"));
  EXPECT_TRUE(same_bytes(before, files()));
  EXPECT_EQ("group users", things::row_of_group("users"));
}

}  // namespace
