#include "process/run/accounts.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "process/run/password_file.h"
#include "run/fakes.h"
#include "shell/ending.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"
#include "support/system_log.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::Pair;
using testing::StartsWith;

constexpr const char* root = "/tmp/brindAb/Brindle";

const char* no_more_threads_after = nullptr;  // a command that begins so

int error_of_lookups = 0;  // of whoever is called "ann"

}  // namespace

// Takes the C library's place for the one test in which accounts cannot be looked up.
extern "C" passwd* getpwnam(const char* login) {
  using Lookup = decltype(&getpwnam);
  static const auto next = reinterpret_cast<Lookup>(dlsym(RTLD_NEXT, "getpwnam"));
  if (error_of_lookups == 0 || std::strcmp(login, "ann") != 0) return next(login);
  errno = error_of_lookups;
  return nullptr;
}

// Takes the C library's place for the one test in which no thread can be made.
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* how, void* (*start)(void*),
                              void* argument) {
  using Create = decltype(&pthread_create);
  static const auto next = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
  if (no_more_threads_after != nullptr)
    for (const std::string& command : commands_run())
      if (command.starts_with(no_more_threads_after)) return EAGAIN;
  return next(thread, how, start, argument);
}

namespace {

std::string in_archive(const std::string& name) { return std::string(root) + "/" + name; }

// ---- users.txt ------------------------------------------------------------------------------------------

struct Users : testing::Test {
  static int check(const std::string& users) {
    write_file(in_archive("users.txt"), users);
    isMultiUser = 7;
    return CheckMultiUser(root);
  }
};

TEST_F(Users, SayWhetherThereAreSeveral) {
  EXPECT_EQ(0, check("Default=ann\nMultiUser Migration=1\n"));
  EXPECT_EQ(1, isMultiUser);
  EXPECT_STREQ("ann", default_user);
  EXPECT_EQ(0, check("Default=ann\nMultiUser Migration=0\n"));
  EXPECT_EQ(0, isMultiUser);
}

TEST_F(Users, MissingAltogetherMeanOne) {
  SystemLog log;
  isMultiUser = 7;
  EXPECT_EQ(0, CheckMultiUser("/tmp/missing"));
  EXPECT_EQ(0, isMultiUser);
  EXPECT_EQ(nullptr, default_user);
  EXPECT_THAT(commands_run(), ElementsAre("dos2unix -q \"/tmp/missing/users.txt\""));
  EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(Users, AreOneWithTheEndMarkOfDos) {
  for (const char* text :
       {"Default=ann\r\nMultiUser Migration=0\r\n\x1a", "Default=ann\r\nMultiUser Migration=0\x1a",
        "Default=ann\nMultiUser Migration=0\x1a"}) {
    check(text);
    EXPECT_EQ(0, isMultiUser) << text;
    EXPECT_STREQ("ann", default_user);
  }
}

TEST_F(Users, WithoutTheLineMeanSeveral) {
  check("Default=ann\n");
  EXPECT_EQ(1, isMultiUser);
}

TEST_F(Users, MayHaveWindowsLineEnds) {
  check("Default=ann\r\nMultiUser Migration=0\r\n");
  EXPECT_EQ(0, isMultiUser);
  EXPECT_STREQ("ann", default_user);
  EXPECT_EQ("Default=ann\nMultiUser Migration=0\n", read_file(in_archive("users.txt")));
}

TEST_F(Users, TheLastCharacterDecides) {
  check("MultiUser Migration=10\n");
  EXPECT_EQ(0, isMultiUser);
  check("MultiUser Migration=\n");
  EXPECT_EQ(1, isMultiUser);
  check("MultiUser Migration=0 \n");
  EXPECT_EQ(1, isMultiUser);
}

TEST_F(Users, AKeyIsFoundAnywhereInALine) {
  check("MyDefault=x\nDefault=y\nMultiUser Migration=0\n");
  EXPECT_STREQ("x", default_user);
}

// ---- The account loop -----------------------------------------------------------------------------------

struct Family : testing::Test {
  Family() {
    // A skeleton home in each of the three forms, small and easy to tell.
    shell_quietly(
        "mkdir -p /tmp/s/root/.mozilla /usr/local/brindle && echo s > /tmp/s/root/.mozilla/skeleton &&"
        "tar -cf /usr/local/brindle/linspireroot.tar -C /tmp/s root &&"
        "tar -cjf /usr/local/brindle/nldroot.tar.bz2 -C /tmp/s/root .mozilla &&"
        "cp /usr/local/brindle/nldroot.tar.bz2 /usr/local/brindle/redflagroot.tar.bz2");
    isMultiUser = 1;
    on("GNome");
  }
  static void on(const char* system) { assign(OSName, system); }
  static void profile(const std::string& name) {
    write_file(in_archive("Profiles/" + name + "/My Documents/of " + name + ".txt"), name);
  }
  static void migrate() {
    testing::internal::CaptureStdout();
    run_as_worker([] { result = migrate_profiles(root); });
    said = testing::internal::GetCapturedStdout();
  }
  static bool ran(const std::string& command) {
    const auto commands = commands_run();
    return std::find(commands.begin(), commands.end(), command) != commands.end();
  }
  static std::string said;
  static int result;
};
std::string Family::said;
int Family::result = -7;

TEST_F(Family, EachProfileBecomesAnAccount) {
  profile("ann");
  profile("9ben");
  migrate();
  for (const std::string name : {"ann", "9ben"}) {
    EXPECT_EQ("of " + name + ".txt\n", output_of("ls /home/" + name + "/Documents"));
    EXPECT_EQ("s\n", read_file("/home/" + name + "/.mozilla/skeleton"));
    EXPECT_EQ("/home/" + name + "\n", output_of("getent passwd " + name + " | cut -d: -f6"));
    EXPECT_EQ("users\n", output_of("id -gn " + name));
    EXPECT_EQ("", output_of("find /home/" + name + " ! -user " + name));
    EXPECT_FALSE(exists("/home/" + name + "/pass"));
  }
  EXPECT_EQ(0, result);
  EXPECT_THAT(posts(), IsEmpty());  // the mark is the run's
}

TEST_F(Family, CommandsOfOneAccountInOrder) {
  profile("ann");
  migrate();
  std::vector<std::string> commands = commands_run();
  // Up to the profile's own items.
  const auto items = std::find(commands.begin(), commands.end(), "mkdir -p /home/ann/Documents");
  ASSERT_NE(commands.end(), items);
  const std::vector<std::string> before(commands.begin(), items);
  const std::string evolution = "/home/ann/.gconf/apps/evolution/";
  EXPECT_THAT(
      before,
      ElementsAre("rm -rf /tmp/nldroot", "mkdir /tmp/nldroot", "mkdir /tmp/nldroot/root",
                  "tar -jxf \"/usr/local/brindle/nldroot.tar.bz2\" -C /tmp/nldroot/root", "groupadd users",
                  "useradd ann -d /home/ann -m -k /tmp/nldroot/root -g users",
                  "cp " + evolution + "addressbook/%gconf.xml " + evolution + "addressbook/%gconftemp.xml",
                  "cp " + evolution + "calendar/%gconf.xml " + evolution + "calendar/%gconftemp.xml",
                  "cp " + evolution + "tasks/%gconf.xml " + evolution + "tasks/%gconftemp.xml",
                  "chpasswd < /home/ann/pass", "rm /home/ann/pass"));
  EXPECT_EQ("chown -R ann /home/ann", commands.back());
}

TEST_F(Family, EachSystemHasItsOwnAccountCommand) {
  profile("ann");
  on("Linspire");
  migrate();
  EXPECT_TRUE(ran("tar -xf \"/usr/local/brindle/linspireroot.tar\" -C /tmp/linspireroot"));
  EXPECT_FALSE(ran("mkdir /tmp/linspireroot/root"));
  EXPECT_TRUE(
      ran("useradd ann -d /home/ann -m -k /tmp/linspireroot/root -G "
          "audio,cdrom,cnr,desktop,dialout,dip,disk -s /bin/bash -g users"));
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("gconf"))));
}

TEST_F(Family, OnRedFlag) {
  profile("ann");
  on("RedFlag");
  migrate();
  EXPECT_TRUE(ran("tar -jxf \"/usr/local/brindle/redflagroot.tar.bz2\" -C /tmp/redflagroot/root"));
  EXPECT_TRUE(ran("useradd ann -d /home/ann -m -k /tmp/redflagroot/root -s /bin/bash -g users"));
  EXPECT_EQ("/bin/bash\n", output_of("getent passwd ann | cut -d: -f7"));
  // Fonts are everybody's there: no copy for a profile.
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("/.fonts"))));
}

TEST_F(Family, OnXandrosAccountsAreMadeFromRootsHome) {
  profile("ann");
  write_file("/root/of root", "");
  on("Xandros");
  migrate();
  EXPECT_TRUE(ran("useradd ann -d /home/ann -m -k /root -g users"));
  EXPECT_TRUE(exists("/home/ann/of root"));
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("tar "))));
  EXPECT_THAT(commands_run(), Contains(HasSubstr("/home/ann/.gconf/apps/evolution/tasks/%gconftemp.xml")));
}

TEST_F(Family, OnGnomeEachGetsTheLauncherOfTheBrowser) {
  profile("ann");
  migrate();
  const std::string launcher =
      "cp /usr/local/brindle/firefox.desktop /home/ann/.gnome2/panel2.d/default/launchers/";
  EXPECT_TRUE(ran(launcher));
  forget_commands();
  on("Xandros");
  migrate();
  EXPECT_FALSE(ran(launcher));
}

struct FamilyFonts : Family, testing::WithParamInterface<const char*> {};

TEST_P(FamilyFonts, ComeFromTheArchiveRoot) {
  on(GetParam());
  profile("ann");
  write_file(in_archive("Fonts/a.ttf"), "root's");
  write_file(in_archive("Profiles/ann/Fonts/b.ttf"), "ann's");
  migrate();
  EXPECT_EQ("a.ttf\n", output_of("ls /home/ann/.fonts | grep -v cache"));
}

INSTANTIATE_TEST_SUITE_P(Systems, FamilyFonts, testing::Values("GNome", "Linspire", "Xandros"),
                         [](const auto& system) { return std::string(system.param); });

TEST_F(Family, EachCommandForAnAccountThatFailsIsLogged) {
  int number = 0;
  for (const std::string command : {"groupadd users", "useradd ", "chpasswd < ", "rm ", "chown -R "}) {
    const std::string name = "ann" + std::to_string(number++);
    shell_quietly("rm -rf " + in_archive("Profiles"));
    profile(name);
    const std::string whole = command == "rm " ? "rm /home/" + name + "/pass" : command;
    EXPECT_TRUE(is_failure_logged(whole, [] { migrate(); })) << whole;
  }
}

TEST_F(Family, PasswordIsTheLoginName) {
  profile("ann");
  migrate();
  EXPECT_EQ(0, shell_quietly("perl -e 'my @e = getpwnam(\"ann\"); exit(crypt(\"ann\", $e[1]) ne $e[1])'"));
}

TEST_F(Family, PasswordFileIsReadableByRootAlone) {
  profile("ann");
  write_file("/usr/local/bin/chpasswd",
             "#!/bin/sh\nstat -c '%a %U' /home/ann/pass > /tmp/pass; cat >> /tmp/pass\n");
  shell_quietly("chmod 755 /usr/local/bin/chpasswd; umask 0");
  migrate();
  EXPECT_EQ("600 root\nann:ann\n", read_file("/tmp/pass"));
}

TEST_F(Family, TracesTellTheSteps) {
  profile("ann");
  migrate();
  EXPECT_THAT(said,
              HasSubstr("Tar Command::tar -jxf \"/usr/local/brindle/nldroot.tar.bz2\" -C /tmp/nldroot/root\n"
                        "Home Directory Path::/tmp/nldroot\n"));
  EXPECT_THAT(said, HasSubstr("P2::abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789\nP1::a\n"
                              "Migrating Data for User::ann\nbuffer=/home/ann\n"
                              "User's Home Directory::/home/ann\n"));
  EXPECT_THAT(said, HasSubstr("resetpassword::chpasswd < /home/ann/pass\n"
                              "STEP 1: User and Home Directory Created.STEP 3: Migrating.........."));
  EXPECT_THAT(said, HasSubstr("Path::/tmp/brindAb/Brindle/Profiles/ann\n"));
  EXPECT_THAT(said, testing::EndsWith("....................DONESTEP 4: Chown Completed."));
}

// ---- Names that are no login names ----------------------------------------------------------------------

TEST_F(Family, ANameMustBeginWithALetterOrDigit) {
  profile("_ann");
  profile("ben");
  will_close(user_notice);
  migrate();
  EXPECT_EQ(0, result);
  EXPECT_THAT(posts(), ElementsAre(Pair("user error", 0)));
  EXPECT_FALSE(exists("/home/_ann"));
  EXPECT_TRUE(exists("/home/ben"));
  EXPECT_THAT(said, HasSubstr("P2::abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789\nP1::_\n"
                              "Invalid User."));
}

TEST_F(Family, ARefusedNameIsTheLastOneAllTheSame) {
  profile("_ann");
  will_close(user_notice);
  migrate();
  EXPECT_STREQ("_ann", cur_user);
  EXPECT_EQ(1, isDefaultUser);
}

TEST_F(Family, NobodyElseIsMigratedWhenTheProgramEnds) {
  profile("ann");
  profile("_ben");
  shell::start_no_more_commands();
  migrate();
  EXPECT_THAT(said, Not(HasSubstr("P2::")));
  EXPECT_THAT(posts(), IsEmpty());
  EXPECT_STREQ("", cur_user);
}

// One that ends a line of /etc/group takes the next group with it.
TEST_F(Family, ANameMustHoldNoBackslash) {
  profile("ann\\");
  profile("b\\en");
  profile("cy");
  when_asked(user_notice, [] { user_notice.close(); });
  const std::string groups = output_of("getent group | wc -l");
  migrate();
  EXPECT_EQ(2, times_posted("user error"));
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("\\"))));
  EXPECT_TRUE(exists("/home/cy"));
  EXPECT_EQ(groups, output_of("getent group | wc -l"));
}

TEST_F(Family, EachRefusedNameIsWaitedFor) {
  profile("_ann");
  profile("-ben");
  int answered = 0;
  when_asked(user_notice, [&] {
    EXPECT_EQ(++answered, times_posted("user error"));
    user_notice.close();
  });
  migrate();
  EXPECT_EQ(2, answered);
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("useradd"))));
}

TEST_F(Family, HostileNamesNeverRunAnything) {
  for (const char* name :
       {"a;touch ran", "a$(touch ran)", "a`touch ran`", "a\ntouch ran", "a' 'b\"", "a -G disk"})
    profile(name);
  SystemLog log;
  migrate();
  EXPECT_EQ("", output_of("ls -d ran /tmp/ran /root/ran /home/ran 2>/dev/null"));
  EXPECT_EQ(6u, [&] {
    std::size_t refused = 0;
    for (const auto& message : log.messages())
      refused += message.find(", useradd ") != std::string::npos ? 1 : 0;
    return refused;
  }());
  EXPECT_THAT(commands_run(),
              Contains("useradd 'a;touch ran' -d '/home/a;touch ran' -m -k /tmp/nldroot/root -g users"));
}

TEST_F(Family, ANameCannotSetAnotherAccountsPassword) {
  const std::string before = read_file("/etc/shadow");
  profile("a\nroot:owned");
  shell_quietly("mkdir '/home/a\nroot:owned'");  // so that only the name keeps the file from being written
  migrate();
  EXPECT_EQ(before, read_file("/etc/shadow"));
}

TEST_F(Family, ARootInTheArchiveCannotSetTheSuperusersPassword) {
  const std::string before = read_file("/etc/shadow");
  profile("root");
  shell_quietly("mkdir /home/root");  // as a run before may have left it
  migrate();
  EXPECT_EQ(before, read_file("/etc/shadow"));
  EXPECT_TRUE(ran("chpasswd < /home/root/pass"));
}

// ---- Accounts that were there before --------------------------------------------------------------------

struct Passwords : Family {
  static void migrate_noting_errors() {
    testing::internal::CaptureStderr();
    migrate();
    complained = testing::internal::GetCapturedStderr();
  }
  static void use_program(const std::string& name, const std::string& script) {
    write_file("/usr/local/bin/" + name, "#!/bin/sh\n" + script);
    shell_quietly("chmod 755 /usr/local/bin/" + name);
  }
  static std::string password_of(const std::string& login) {
    return output_of("getent shadow " + login + " | cut -d: -f2");
  }
  static bool has_its_name_as_password(const std::string& login) {
    return shell_quietly("perl -e 'my @e = getpwnam(\"" + login + "\"); exit(crypt(\"" + login +
                         "\", $e[1]) ne $e[1])'") == 0;
  }
  static std::string complained;
};
std::string Passwords::complained;

// The pictures' folder goes into the home as it is, and the run before has made that home.
TEST_F(Passwords, AFileThatTheRunBeforeHasBroughtIsNeverRead) {
  const std::string before = read_file("/etc/shadow");
  profile("root");
  write_file(in_archive("Profiles/root/Wallpaper/pass"), "root:owned\n");
  write_file(in_archive("Profiles/root/Wallpaper/option.txt"), "");
  migrate();
  ASSERT_EQ("root:owned\n", read_file("/home/root/pass"));
  forget_commands();
  migrate_noting_errors();
  EXPECT_EQ(before, read_file("/etc/shadow"));
  EXPECT_EQ("root:owned\n", read_file("/home/root/pass"));
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("chpasswd"))));
  EXPECT_THAT(commands_run(), Not(Contains(StartsWith("rm /home/root/pass"))));
  EXPECT_THAT(complained,
              HasSubstr("/home/root/pass is already there and stays; the password of root is not set\n"));
}

TEST_F(Passwords, KeepTheirPasswords) {
  shell_quietly("useradd -m ann; echo ann:secret | chpasswd; mkdir -p /usr/games");
  const std::string of_ann = password_of("ann");
  const std::string of_games = password_of("games");
  for (const char* name : {"ann", "ben", "games"}) profile(name);
  SystemLog log;
  migrate_noting_errors();
  EXPECT_EQ(of_ann, password_of("ann"));
  EXPECT_EQ(of_games, password_of("games"));
  EXPECT_TRUE(has_its_name_as_password("ben"));
  for (const std::string name : {"ann", "games"}) {
    EXPECT_TRUE(ran("chpasswd < /home/" + name + "/pass"));
    EXPECT_TRUE(ran("rm /home/" + name + "/pass"));
    EXPECT_THAT(complained, HasSubstr(name + ": The account was there before; its password is unchanged.\n"));
  }
  EXPECT_THAT(complained, Not(HasSubstr("ben:")));
  EXPECT_THAT(log.messages(), Contains(HasSubstr(", chpasswd < /home/ann/pass")));
  EXPECT_THAT(said, HasSubstr("resetpassword::chpasswd < /home/ann/pass\n"));
}

// It may be there, with a password of its own.
TEST_F(Passwords, StayWhereNobodyCanSayWhetherThereIsAnAccount) {
  for (const int error : {EIO, ENOMEM, EMFILE, ENFILE}) {
    shell_quietly("userdel -r ann 2>/dev/null; useradd -m ann; echo ann:secret | chpasswd");
    const std::string before = password_of("ann");
    profile("ann");
    error_of_lookups = error;
    migrate_noting_errors();
    error_of_lookups = 0;
    EXPECT_EQ(before, password_of("ann"));
    EXPECT_THAT(complained, HasSubstr("ann: The account was there before; its password is unchanged.\n"));
  }
}

// A shell that gives the owner of the home time before it opens the file.
TEST_F(Passwords, TheirOwnerCannotSlipAFileIn) {
  shell_quietly("useradd -m ann");
  profile("ann");
  const std::string before = password_of("root");
  shell_quietly("rm /bin/sh");
  write_file("/bin/sh",
             "#!/bin/dash\n"
             "case \"$*\" in *'chpasswd < '*)\n"
             "  : > /tmp/now; until [ -e /tmp/there ]; do sleep 0.01; done;;\n"
             "esac\n"
             "exec /bin/dash \"$@\"\n");
  chmod("/bin/sh", 0755);
  std::thread owner([] {
    while (!exists("/tmp/now")) usleep(1000);
    write_file("/home/ann/pass", "root:owned\n");
    write_file("/tmp/there", "");
  });
  migrate_noting_errors();
  owner.join();
  EXPECT_EQ(before, password_of("root"));
  EXPECT_EQ("root:owned\n", read_file("/home/ann/pass"));
}

TEST_F(Passwords, StayWhereNoThreadCanBeMade) {
  shell_quietly("useradd -m ann");
  profile("ann");
  const std::string before = password_of("ann");
  no_more_threads_after = "useradd ";
  migrate_noting_errors();
  EXPECT_EQ(before, password_of("ann"));
  EXPECT_THAT(complained,
              HasSubstr("/home/ann/pass cannot be written (Resource temporarily unavailable); the "
                        "password of ann is not set\n"));
  EXPECT_EQ("ann\n", read_file("/home/ann/Documents/of ann.txt") + "\n");
}

TEST_F(Passwords, OnlyTheCommandsForThePasswordSeeAnEmptyHome) {
  shell_quietly("useradd -m ann && echo hers > /home/ann/letter");
  profile("ann");
  use_program("rm", "ls -A /home/ann > /tmp/seen; /bin/rm \"$@\"\n");
  migrate_noting_errors();
  EXPECT_EQ("", read_file("/tmp/seen"));
  EXPECT_EQ("hers\n", read_file("/home/ann/letter"));
  EXPECT_EQ("ann\n", read_file("/home/ann/Documents/of ann.txt") + "\n");
  EXPECT_EQ("", output_of("grep ' /home/ann ' /proc/self/mounts"));
}

// On most machines what is mounted for one is mounted for all.
TEST_F(Passwords, NobodyElseSeesAnEmptyHome) {
  shell_quietly("useradd -m ann && echo hers > /home/ann/letter && mount --make-rshared /");
  profile("ann");
  migrate_noting_errors();
  EXPECT_TRUE(ran("chpasswd < /home/ann/pass"));
  EXPECT_EQ("hers\n", read_file("/home/ann/letter"));
  EXPECT_EQ("", output_of("grep ' /home/ann ' /proc/self/mounts"));
}

// ---- The skeleton home ----------------------------------------------------------------------------------

// Somebody was quicker than mkdir.
TEST_F(Passwords, NobodyElseFurnishesNewHomes) {
  profile("ann");
  use_program("mkdir",
              "[ \"$*\" != /tmp/nldroot ] || { /bin/mkdir -p /tmp/nldroot/root; echo evil > "
              "/tmp/nldroot/root/.profile; chmod -R 777 /tmp/nldroot; chown -R games /tmp/nldroot; }\n"
              "exec /bin/mkdir \"$@\"\n");
  migrate();
  EXPECT_FALSE(exists("/home/ann/.profile"));
  EXPECT_EQ("s\n", read_file("/home/ann/.mozilla/skeleton"));
}

// ---- The password file ----------------------------------------------------------------------------------

TEST_F(Passwords, ACopyOfAFileInRootsHomeDoesNotLockNewAccountsOut) {
  on("Xandros");
  write_file("/root/pass", "root's recipes");
  profile("ann");
  migrate_noting_errors();
  EXPECT_TRUE(has_its_name_as_password("ann"));
  EXPECT_EQ("root's recipes", read_file("/home/ann/pass"));
  EXPECT_EQ("ann\n", output_of("stat -c %U /home/ann/pass"));
  EXPECT_EQ("root's recipes", read_file("/root/pass"));
}

TEST_F(Passwords, ALinkOfThatNameIsNotFollowed) {
  shell_quietly("mkdir -p /home/ann && echo kept > /etc/victim && ln -s /etc/victim /home/ann/pass");
  profile("ann");
  migrate_noting_errors();
  EXPECT_EQ("kept\n", read_file("/etc/victim"));
  EXPECT_EQ("/etc/victim\n", output_of("readlink /home/ann/pass"));
  EXPECT_TRUE(has_its_name_as_password("ann"));
}

TEST_F(Passwords, ANewAccountWithoutAHomeGetsNoPassword) {
  profile("ann");
  use_program("useradd", "/usr/sbin/useradd -M ann\n");
  migrate_noting_errors();
  EXPECT_EQ("!\n", password_of("ann"));
  EXPECT_TRUE(ran("chpasswd < /home/ann/pass"));
  EXPECT_THAT(
      complained,
      HasSubstr(
          "/home/ann/pass cannot be written (No such file or directory); the password of ann is not set\n"));
}

TEST_F(Passwords, AFileThatIsCutShortIsNotReadAndDoesNotStay) {
  shell_quietly("mkdir -p /home");
  const SmallDisk disk("/home");
  profile("ann");
  use_program("useradd", "/usr/sbin/useradd \"$@\"; cat /dev/zero > /home/filling 2> /dev/null; true\n");
  use_program("chpasswd", "cat > /tmp/read\n");
  migrate_noting_errors();
  EXPECT_FALSE(exists("/home/ann/pass"));
  EXPECT_FALSE(exists("/tmp/read"));
  EXPECT_EQ("!\n", password_of("ann"));
  EXPECT_TRUE(ran("chpasswd < /home/ann/pass"));
  EXPECT_THAT(
      complained,
      HasSubstr(
          "/home/ann/pass cannot be written (No space left on device); the password of ann is not set\n"));
}

TEST_F(Passwords, AnAccountThatWouldBeTheSuperusersGetsNoPassword) {
  profile("toor");
  use_program("useradd", "/usr/sbin/useradd -o -u 0 \"$@\"\n");
  migrate_noting_errors();
  EXPECT_EQ("!\n", password_of("toor"));
  EXPECT_THAT(complained, HasSubstr("/home/toor/pass may not name this account; the password of toor"));
}

TEST_F(Passwords, SayWhyTheirFileIsNotThere) {
  write_file("/tmp/hers", "hers");
  shell_quietly("ln -s missing /tmp/link");
  for (const char* path : {"/tmp/hers", "/tmp/link"})
    EXPECT_EQ(PasswordFile::in_the_way, write_password_file(path, "ann")) << path;
  EXPECT_EQ("hers", read_file("/tmp/hers"));
  EXPECT_FALSE(exists("/tmp/missing"));
  for (const char* path : {"/tmp/nobody/pass", "/tmp/hers/pass"})
    EXPECT_EQ(PasswordFile::no_home, write_password_file(path, "ann")) << path;
  const SmallDisk disk("/tmp/disk");
  shell_quietly("mount -o remount,ro /tmp/disk");
  EXPECT_EQ(PasswordFile::not_written, write_password_file("/tmp/disk/pass", "ann"));
  EXPECT_EQ(EROFS, errno);
}

// Whatever useradd makes of such a name.
TEST_F(Passwords, AreWrittenForNoNameThatIsMoreThanTheFirstFieldOfALine) {
  for (const char* name : {"root:owned", ":", "ann\nroot", "ann\n", "ann\rroot", "\r"}) {
    errno = 0;
    EXPECT_EQ(PasswordFile::not_allowed, write_password_file("/tmp/pass", name)) << name;
    EXPECT_EQ(EPERM, errno);
    EXPECT_FALSE(exists("/tmp/pass"));
  }
  EXPECT_EQ(PasswordFile::written, write_password_file("/tmp/pass", "ann"));
  EXPECT_EQ("ann:ann\n", read_file("/tmp/pass"));
}

// ---- Privacy --------------------------------------------------------------------------------------------

struct Privacy : Passwords {
  static std::string mode_of(const std::string& path) { return output_of("stat -c '%a %U' '" + path + "'"); }
  // Of everything but links.
  static std::string open_to_others(const std::string& home) {
    return output_of("find " + home + " ! -type l -perm /7077");
  }
  static std::string documents_of(const std::string& name) {
    return in_archive("Profiles/" + name + "/My Documents/");
  }
};

TEST_F(Privacy, OfEveryNewHome) {
  for (const std::string name : {"ann", "ben"}) {
    profile(name);
    write_file(documents_of(name) + "letters/mail", "private");
    shell_quietly(
        "umask 0; cd '" + documents_of(name) +
        "' && echo > run && echo > seen && mkdir -p shared/deep && chmod 4755 run && chmod 6444 seen && "
        "chmod 2775 shared && chmod 1777 shared/deep && chmod 644 letters/mail");
  }
  migrate_noting_errors();
  for (const std::string home : {"/home/ann", "/home/ben"}) {
    const std::string name = home.substr(6);
    EXPECT_EQ("", open_to_others(home));
    EXPECT_EQ("700 " + name + "\n", mode_of(home));
    EXPECT_EQ("600 " + name + "\n", mode_of(home + "/Documents/letters/mail"));
    EXPECT_EQ("700 " + name + "\n", mode_of(home + "/Documents/run"));
    EXPECT_EQ("400 " + name + "\n", mode_of(home + "/Documents/seen"));
    EXPECT_EQ("700 " + name + "\n", mode_of(home + "/Documents/shared/deep"));
    EXPECT_EQ("600 " + name + "\n", mode_of(home + "/.mozilla/skeleton"));
  }
  EXPECT_NE(0, shell_quietly("su ben -s /bin/sh -c 'cat /home/ann/Documents/letters/mail'"));
  EXPECT_EQ(0, shell_quietly("su ann -s /bin/sh -c 'cat /home/ann/Documents/letters/mail'"));
  EXPECT_THAT(complained, Not(HasSubstr("private")));
}

TEST_F(Privacy, BeginsBeforeAnythingIsPutIn) {
  shell_quietly(
      "useradd -u 2345 ben; mkdir -m 777 /home/ann; chown ben /home/ann; mkdir /home/eve; useradd -m eve");
  profile("ann");
  use_program("chpasswd", "stat -c '%a %U' /home/ann > /tmp/seen\n");
  migrate_noting_errors();
  EXPECT_EQ("700 ann\n", read_file("/tmp/seen"));
}

TEST_F(Privacy, ChangesNothingForThoseWhoHadAnAccount) {
  shell_quietly(
      "umask 022; useradd -m ann && chmod 755 /home/ann && echo > /home/ann/letter && chmod 4755 "
      "/home/ann/letter");
  profile("ann");
  shell_quietly("chmod 644 '" + documents_of("ann") + "of ann.txt'");
  migrate_noting_errors();
  EXPECT_EQ("755 ann\n", mode_of("/home/ann"));
  EXPECT_EQ("644 ann\n", mode_of("/home/ann/Documents/of ann.txt"));
}

TEST_F(Privacy, OfAHomeWhoseAccountCannotBeMade) {
  shell_quietly("umask 022; mkdir /home/eve && echo > /home/eve/hers");
  for (const std::string name : {"ann", "eve"}) {
    profile(name);
    shell_quietly("chmod 755 '" + documents_of(name) + "'; chmod 644 '" + documents_of(name) + "of " + name +
                  ".txt'");
  }
  use_program("useradd", "exit 3\n");
  migrate_noting_errors();
  EXPECT_EQ("700 root\n", mode_of("/home/ann"));
  EXPECT_EQ("600 root\n", mode_of("/home/ann/Documents/of ann.txt"));
  EXPECT_EQ("", open_to_others("/home/ann"));
  EXPECT_EQ("755 root\n", mode_of("/home/eve"));  // somebody's
  EXPECT_EQ("644 root\n", mode_of("/home/eve/hers"));
  EXPECT_THAT(complained, Not(HasSubstr("private")));
}

TEST_F(Privacy, OfAHomeThatAnAccountDidNotHaveYet) {
  shell_quietly("useradd -M ann");
  profile("ann");
  shell_quietly("chmod 644 '" + documents_of("ann") + "of ann.txt'");
  migrate_noting_errors();
  EXPECT_EQ("700 ann\n", mode_of("/home/ann"));
  EXPECT_EQ("600 ann\n", mode_of("/home/ann/Documents/of ann.txt"));
}

TEST_F(Privacy, IsNotMissedWhereThereIsNoHome) {
  profile("ann");
  shell_quietly("rm -r '" + in_archive("Profiles/ann") + "'/*");
  use_program("useradd", "exit 3\n");
  migrate_noting_errors();
  EXPECT_THAT(complained, Not(HasSubstr("private")));
}

// More levels than a program may have files open.
TEST_F(Privacy, ReachesTheDeepestFolder) {
  profile("ann");
  shell_quietly("cd '" + documents_of("ann") +
                "' && for level in $(seq 1100); do mkdir d; cd -P d; done; echo > deep; chmod 644 deep");
  rlimit files{};
  getrlimit(RLIMIT_NOFILE, &files);
  files.rlim_cur = 1024;
  ASSERT_EQ(0, setrlimit(RLIMIT_NOFILE, &files));
  migrate_noting_errors();
  EXPECT_EQ("1\n", output_of("find /home/ann -name deep | wc -l"));
  EXPECT_EQ("0\n", output_of("find /home/ann ! -user ann | wc -l"));
  EXPECT_TRUE(open_to_others("/home/ann").empty());
  EXPECT_FALSE(complained.find("Too many open files") != std::string::npos);
}

TEST_F(Privacy, FollowsNoLink) {
  profile("ann");
  shell_quietly("mkdir -p /srv/open && echo > /srv/open/file && echo > /srv/file && chmod -R 777 /srv");
  shell_quietly("ln -s /srv/file /srv/open '" + documents_of("ann") + "'");
  migrate_noting_errors();
  EXPECT_EQ("/srv/open\n", output_of("readlink /home/ann/Documents/open"));
  for (const char* path : {"/srv/file", "/srv/open", "/srv/open/file"})
    EXPECT_EQ("777 root\n", mode_of(path));
  EXPECT_EQ("600 ann\n", mode_of("/home/ann/Documents/of ann.txt"));
}

TEST_F(Privacy, LeavesAHomeThatIsALink) {
  shell_quietly(
      "mkdir -m 755 /srv/ann && echo > /srv/ann/file && chmod 644 /srv/ann/file && ln -s /srv/ann /home");
  profile("ann");
  migrate_noting_errors();
  EXPECT_EQ("755 root\n", mode_of("/srv/ann"));
  EXPECT_EQ("644 root\n", mode_of("/srv/ann/file"));
  EXPECT_THAT(complained, HasSubstr("/home/ann cannot be made private: "));
}

TEST_F(Privacy, LeavesAFileThatHasANameElsewhere) {
  shell_quietly(
      "umask 022; mkdir /home/ann && cd /home/ann && echo > inside && ln inside again && echo > "
      "/home/outside && "
      "ln /home/outside outside");
  profile("ann");
  migrate_noting_errors();
  EXPECT_EQ("644 ann\n", mode_of("/home/outside"));
  EXPECT_EQ("600 ann\n", mode_of("/home/ann/inside"));
  EXPECT_EQ("700 ann\n", mode_of("/home/ann"));
}

TEST_F(Privacy, StopsAtAnotherFileSystem) {
  shell_quietly("mkdir -p /home/ann/disk");
  profile("ann");
  const SmallDisk disk("/home/ann/disk");
  shell_quietly("echo > /home/ann/disk/file && chmod 666 /home/ann/disk/file");
  migrate_noting_errors();
  EXPECT_EQ("666 ann\n", mode_of("/home/ann/disk/file"));
  EXPECT_EQ("600 ann\n", mode_of("/home/ann/Documents/of ann.txt"));
}

TEST_F(Privacy, DoesNotWaitForAPipe) {
  profile("ann");
  mkfifo((documents_of("ann") + "pipe").c_str(), 0644);
  migrate_noting_errors();
  EXPECT_EQ("700 ann\n", mode_of("/home/ann"));
}

TEST_F(Privacy, LeavesTheSharedFolderOpen) {
  profile("ann");
  write_file(in_archive("Profiles/ann/File Extensions/song.mp3"), "la");
  migrate_noting_errors();
  EXPECT_EQ("777 root\n", mode_of("/Share"));
  EXPECT_EQ("777 root\n", mode_of("/Share/song.mp3"));
  EXPECT_EQ("", open_to_others("/home/ann"));
}

// ---- Failures -------------------------------------------------------------------------------------------

TEST_F(Family, WithoutProfilesTheMarkIsACrossFirst) {
  migrate();
  EXPECT_EQ(0, result);
  EXPECT_THAT(posts(), ElementsAre(Pair("image_0", -1)));
  EXPECT_THAT(said, testing::EndsWith("No Profiles Directory."));
}

TEST_F(Family, AFailedAccountDoesNotStopTheProfile) {
  profile("ann");
  profile("ben");
  write_file("/usr/local/bin/useradd", "#!/bin/sh\nexit 1\n");
  shell_quietly("chmod 755 /usr/local/bin/useradd");
  SystemLog log;
  migrate();
  EXPECT_TRUE(ran("chpasswd < /home/ann/pass"));
  EXPECT_TRUE(ran("rm /home/ann/pass"));
  EXPECT_TRUE(ran("chown -R ben /home/ben"));
  EXPECT_THAT(log.messages(), Contains(HasSubstr("normal termination, exit status 1, useradd ann")));
}

TEST_F(Family, AFileOfTheUsersOwnIsNeitherOverwrittenNorRemoved) {
  shell_quietly("useradd -m ann");
  write_file("/home/ann/pass", "my recipes");
  profile("ann");
  testing::internal::CaptureStderr();
  migrate();
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("/home/ann/pass is already there and stays"));
  EXPECT_EQ("my recipes", read_file("/home/ann/pass"));
  EXPECT_FALSE(ran("chpasswd < /home/ann/pass"));
}

TEST_F(Family, APlainFileInProfilesIsAnEntryToo) {
  write_file(in_archive("Profiles/notes.txt"), "");
  migrate();
  EXPECT_TRUE(ran("useradd notes.txt -d /home/notes.txt -m -k /tmp/nldroot/root -g users"));
  EXPECT_EQ(0, result);
}

TEST_F(Family, AProfileThatCannotBeOpenedStillGetsItsAccount) {
  shell_quietly("mkdir -p " + in_archive("Profiles") + " && ln -s /nowhere " + in_archive("Profiles/ann"));
  migrate();
  EXPECT_EQ(0, result);
  EXPECT_THAT(said, Not(HasSubstr("Path::/tmp/brindAb")));
  EXPECT_TRUE(ran("chpasswd < /home/ann/pass"));
  EXPECT_TRUE(ran("chown -R ann /home/ann"));
}

// ---- One profile ----------------------------------------------------------------------------------------

TEST_F(Family, AProfileMayBeGivenTheVeryBufferItChanges) {
  profile("ann");
  shell_quietly("mkdir -p /home/ann");
  isDefaultUser = 0;
  assign(cur_user, "ann");
  assign(new_dir_path, in_archive("Profiles").c_str());
  EXPECT_EQ(0, profiles(new_dir_path));
  EXPECT_EQ(in_archive("Profiles/ann"), new_dir_path);
  EXPECT_EQ("ann", read_file("/home/ann/Documents/of ann.txt"));
}

TEST_F(Family, AProfileSetsNoMarkWhoeverWasServedBefore) {
  profile("ann");
  assign(cur_user, "ann");
  ASSERT_EQ(1, isDefaultUser);
  profiles(in_archive("Profiles").c_str());
  drain_posts();
  EXPECT_THAT(posts(), IsEmpty());
}

TEST_F(Family, PersonalServesAProfileWithoutMyDocuments) {
  write_file(in_archive("Profiles/ann/Personal/p.txt"), "p");
  migrate();
  EXPECT_EQ("p", read_file("/home/ann/Documents/p.txt"));
}

TEST_F(Family, AnUnknownSystemMigratesDocumentsAndDesktopOnly) {
  on("INVALID");
  profile("ann");
  write_file(in_archive("Profiles/ann/Desktop/d.lnk"), "d");
  write_file(in_archive("Profiles/ann/Bookmark.htm"), "b");
  shell_quietly("mkdir -p /home/ann/Desktop");
  isDefaultUser = 0;
  assign(cur_user, "ann");
  profiles(in_archive("Profiles").c_str());
  EXPECT_TRUE(exists("/home/ann/Documents/of ann.txt"));
  EXPECT_TRUE(exists("/home/ann/Desktop/d.lnk"));
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("Bookmark.htm"))));
}

// The log lines of one profile's run: the items it attempts, in order.
struct ProfileItems : Family, testing::WithParamInterface<std::pair<const char*, const char*>> {
  std::string logged() {
    shell_quietly("mkdir -p /home/ann");
    isDefaultUser = 0;
    assign(cur_user, "ann");
    fp_log = std::fopen("/tmp/log", "w");
    testing::internal::CaptureStdout();
    profiles(in_archive("Profiles").c_str());
    said = testing::internal::GetCapturedStdout();
    std::fflush(fp_log);
    return read_file("/tmp/log");
  }
  static constexpr const char* up_to_cookies =
      "Personal\nDesktop\nImapMail\nWallpaper\nBookmark.htm\nCookies.txt\n";
  static constexpr const char* from_files = "File Extensions\nMapped_Drives\nPrinters\n";
};

TEST_P(ProfileItems, AreAttemptedInOrder) {
  const auto [system, traces] = GetParam();
  on(system);
  const std::string groupwise = std::string(system) == "GNome" ? "Groupwise\n" : "";
  EXPECT_EQ(up_to_cookies + (from_files + groupwise), logged());
  EXPECT_EQ("Path::/tmp/brindAb/Brindle/Profiles/ann\n" + std::string(traces),
            said.substr(0, said.find("buffer=")));
}

INSTANTIATE_TEST_SUITE_P(
    Systems, ProfileItems,
    testing::Values(std::pair{"GNome", ""},
                    std::pair{"Linspire", "Aboutj to call mozilla mailAbout to call kdewallpaper"},
                    std::pair{"RedFlag", "About to call kmailAbout to call kdewallpaper"},
                    std::pair{"Xandros", "About to call kmailAbout to call kdewallpaper"}),
    [](const auto& system) { return std::string(system.param.first); });

struct ProfilePrinters : Family, testing::WithParamInterface<const char*> {};

TEST_P(ProfilePrinters, HaveADefault) {
  on(GetParam());
  write_file(in_archive("Profiles/ann/Printers/p.txt"), "Printer Name=Office\n");
  shell_quietly("mkdir -p /home/ann");
  isDefaultUser = 0;
  assign(cur_user, "ann");
  profiles(in_archive("Profiles").c_str());
  EXPECT_TRUE(ran("su - ann -c\"lpoptions -d 'Office'\""));
}

INSTANTIATE_TEST_SUITE_P(Systems, ProfilePrinters, testing::Values("GNome", "Linspire", "RedFlag", "Xandros"),
                         [](const auto& system) { return std::string(system.param); });

}  // namespace
