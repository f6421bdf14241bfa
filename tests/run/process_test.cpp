#include "process/run/process.h"

#include <dlfcn.h>
#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>

#include "archive/windows_zip.h"
#include "keep/keep.h"
#include "keep/store.h"
#include "process/archive/encryption.h"
#include "process/archive/work_folder.h"
#include "run/fakes.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"
#include "support/sleeps.h"
#include "support/system_log.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::Pair;
using testing::StartsWith;

bool closing_fails = false;
bool client_is_missing = false;

}  // namespace

// Takes the library's place for the one test in which there is no client.
extern "C" GConfClient* gconf_client_get_default();
extern "C" GConfClient* gconf_client_get_default() {
  using Get = GConfClient* (*)();
  static const Get next =
      reinterpret_cast<Get>(dlsym(dlopen("libgconf-2.so.4", RTLD_LAZY), "gconf_client_get_default"));
  return client_is_missing ? nullptr : next();
}

// Takes the C library's place for the one test in which a file cannot be closed.
extern "C" int fclose(std::FILE* file) {
  using Close = int (*)(std::FILE*);
  static const Close next = reinterpret_cast<Close>(dlsym(RTLD_NEXT, "fclose"));
  const int result = next(file);
  return closing_fails ? EOF : result;
}

namespace {

// A machine of one system and an archive to migrate onto it.
struct Run : testing::Test {
  Run() {
    shell_quietly(
        "rm -f /etc/*-version /etc/redflag-release; mkdir -p /root/Desktop /root/.evolution /root/.mozilla");
    for (const char* program : {"kmail", "kaddressbook", "killall", "evolution", "dcop", "mozilla"})
      stand_in(program);
    fp_log = std::fopen("/tmp/log", "w");
  }
  static void stand_in(const std::string& program) {
    write_file("/usr/local/bin/" + program, "#!/bin/sh\nexit 0\n");
    shell_quietly("chmod 755 /usr/local/bin/" + program);
  }
  static void on(const std::string& system) {
    if (system == "Linspire") write_file("/etc/linspire-version", "");
    if (system == "Xandros") write_file("/etc/xandros-version", "");
    if (system == "RedFlag") write_file("/etc/redflag-release", "Red Flag release 4.1 x\n");
    if (system == "INVALID") write_file("/etc/redflag-release", "Red Flag release 4.2\n");
  }
  static void pack(const std::string& name, const std::string& bytes) {
    write_file("/tmp/in/" + name, bytes);
  }
  static void migrate(const std::string& archive = "/tmp/my archive.zip") {
    shell_quietly("cd /tmp/in && zip -qry '/tmp/my archive.zip' .");
    ASSERT_TRUE(assign(g_filename, archive.c_str()));
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    run_as_worker([] { EXPECT_EQ(nullptr, process(nullptr)); });
    complained = testing::internal::GetCapturedStderr();
    said = testing::internal::GetCapturedStdout();
  }
  static std::string log() {
    std::fflush(fp_log);
    return read_file("/tmp/log");
  }
  static std::string dir() { return dir_name.load(); }
  static std::string said;
  static std::string complained;
};
std::string Run::said;
std::string Run::complained;

// ---- Which marks a system posts -------------------------------------------------------------------------

TEST_F(Run, OnLinspirePostsItsMarksInOrder) {
  on("Linspire");
  pack("Brindle/My Documents/a.txt", "a");
  migrate();
  EXPECT_THAT(posts(),
              ElementsAre(Pair("image_12", -1), Pair("image_0", -1), Pair("image_1", 0), Pair("image_2", -1),
                          Pair("image_3", -1), Pair("image_4", -1), Pair("image_5", -1), Pair("image_6", -1),
                          Pair("image_7", -1), Pair("image_8", -1), Pair("image_9", -1), Pair("image_10", -1),
                          Pair("done buttons", 0), Pair("done", 0)));
  EXPECT_EQ("a", read_file("/root/Documents/a.txt"));
  EXPECT_FALSE(exists(dir()));
  EXPECT_THAT(said, HasSubstr("Aboutj to call mozilla mailAbout to call kdewallpaper"));
}

TEST_F(Run, OnXandrosPrinterMarkStaysEmpty) {
  on("Xandros");
  pack("Brindle/My Documents/a.txt", "a");
  migrate();
  EXPECT_EQ(0, times_posted("image_10"));
  EXPECT_EQ(0, times_posted("image_11"));
  EXPECT_EQ(1, times_posted("image_9"));
  EXPECT_THAT(said, HasSubstr("About to call kmailAbout to call kdewallpaper"));
}

TEST_F(Run, SaysWhatBeginsFromTheUnpackingToTheRemoval) {
  pack("Brindle/x", "");
  on("Linspire");
  migrate();
  ASSERT_GT(beginnings().size(), 4u);
  EXPECT_EQ("unpacking", beginnings()[0]);
  EXPECT_EQ("getting ready", beginnings()[1]);
  EXPECT_EQ("image_12", beginnings()[2]);
  EXPECT_EQ("image_9", beginnings()[beginnings().size() - 2]);
  EXPECT_EQ("cleaning up", beginnings().back());
}

TEST_F(Run, OnXandrosTheProgramsAreStartedOnce) {
  on("Xandros");
  pack("Brindle/x", "");
  migrate();
  const auto commands = commands_run();
  const auto first = std::find(commands.begin(), commands.end(), "kmail");
  ASSERT_NE(commands.end(), first);
  EXPECT_THAT(std::vector<std::string>(first, first + 4),
              ElementsAre("kmail", "killall kmail", "kaddressbook", "killall kaddressbook"));
  EXPECT_EQ(std::chrono::seconds(5 + 2), sleeps::meant());
}

TEST_F(Run, OnXandrosEachProgramHasItsTimeBeforeItIsEnded) {
  on("Xandros");
  pack("Brindle/x", "");
  const std::pair<const char*, int> expected[] = {
      {"kmail", 0}, {"killall kmail", 5}, {"kaddressbook", 5}, {"killall kaddressbook", 7}};
  for (const auto& [command, seconds] : expected) {
    std::chrono::milliseconds slept{-1};
    when_command(command, [&slept] { slept = sleeps::meant(); });
    sleeps::are_short();
    migrate();
    EXPECT_EQ(std::chrono::seconds(seconds), slept) << command;
  }
}

// KMail goes into the background, where it gets its name late, and killall has been ended itself.
TEST_F(Run, OnXandrosNoProgramStaysWhereKillallFails) {
  on("Xandros");
  for (const std::string program : {"kmail", "kaddressbook"}) {
    shell_quietly("cp /bin/sleep /srv/" + program);
    write_file("/usr/local/bin/" + program,
               "#!/bin/sh\nsetsid sh -c 'until [ -e /srv/called ]; do sleep 0.05; done; exec /srv/" +
                   program + " 100' >/dev/null 2>&1 &\n");
  }
  shell_quietly(
      "setsid /srv/kmail 100 >/dev/null 2>&1 & until pgrep -x kmail >/srv/hers; do sleep 0.1; done");
  write_file("/usr/local/bin/killall", "#!/bin/bash\ntouch /srv/called; kill -SEGV $$\n");
  pack("Brindle/x", "");
  migrate();
  // A signal takes a moment.
  const std::string look =
      "for i in $(seq 50); do [ $(pgrep -xc $NAME) -gt $MOST ] && sleep 0.1; done; pgrep -x $NAME";
  EXPECT_EQ(read_file("/srv/hers"), output_of("NAME=kmail MOST=1; " + look));
  EXPECT_EQ("", output_of("NAME=kaddressbook MOST=0; " + look));
  shell_quietly("kill $(cat /srv/hers)");
}

TEST_F(Run, OnRedFlagGroupwiseStaysEmpty) {
  on("RedFlag");
  pack("Brindle/My Documents/a.txt", "a");
  migrate();
  EXPECT_EQ(1, times_posted("image_10"));
  EXPECT_EQ(0, times_posted("image_11"));
  EXPECT_EQ("a", read_file("/root/Desktop/mydocument/a.txt"));
  EXPECT_THAT(said, HasSubstr("About to call kmailAbout to call kdewallpaper"));
}

TEST_F(Run, OnGnomePostsEveryMark) {
  pack("Brindle/My Documents/a.txt", "a");
  migrate();
  EXPECT_EQ(13u, marks().size());
  EXPECT_THAT(said, Not(HasSubstr("About")));
  EXPECT_THAT(commands_run(),
              Contains("cp /usr/local/brindle/firefox.desktop /root/.gnome2/panel2.d/default/launchers/"));
}

TEST_F(Run, OnAnInvalidSystemNothingHappens) {
  on("INVALID");
  pack("Brindle/My Documents/a.txt", "a");
  ASSERT_TRUE(assign(g_password, "sesame"));
  migrate();
  EXPECT_THAT(posts(), IsEmpty());
  EXPECT_THAT(commands_run(), IsEmpty());
  EXPECT_EQ("ends\n", log());
  EXPECT_EQ("Getting OS Version.........\n\nOS Name::INVALID\nOS Version::INVALID\n", said);
  EXPECT_STREQ("", g_password);
  EXPECT_EQ(nullptr, dir_name.load());
}

TEST_F(Run, WithoutAListOfEtcNothingHappens) {
  shell_quietly("chmod 711 /etc");
  ASSERT_EQ(0, setresuid(2345, 2345, 2345));
  migrate("/tmp/none.zip");
  EXPECT_EQ("In /etc opendir: : Permission denied\n", complained);
  EXPECT_THAT(posts(), IsEmpty());
  EXPECT_THAT(commands_run(), IsEmpty());
  EXPECT_EQ("", log());
}

// ---- Many names -----------------------------------------------------------------------------------------

TEST_F(Run, TheFirstCommandMayHaveSixMegabytesOfWords) {
  write_file("/usr/local/bin/gconftool-2", "#!/bin/sh\n[ -e /tmp/limit ] || ulimit -s > /tmp/limit\n");
  shell_quietly("chmod 755 /usr/local/bin/gconftool-2");
  rlimit limit{};
  getrlimit(RLIMIT_STACK, &limit);
  limit.rlim_cur = 1024 * 1024;
  ASSERT_EQ(0, setrlimit(RLIMIT_STACK, &limit));
  pack("Brindle/x", "");
  migrate();
  EXPECT_EQ("24576\n", read_file("/tmp/limit"));
}

TEST_F(Run, MoreDocumentsThanACommandTakesArrive) {
  on("Linspire");
  shell_quietly(
      "mkdir -p '/tmp/in/Brindle/My Documents' && cd '/tmp/in/Brindle/My Documents' && "
      "seq -f \"" +
      std::string(240, 'n') + "%05.0f\" 30000 | xargs touch");
  migrate();
  EXPECT_EQ("30000\n", output_of("ls /root/Documents | wc -l"));
  EXPECT_EQ(1, times_posted("image_1"));
  EXPECT_THAT(posts(), Contains(Pair("image_1", 0)));
}

// ---- A full disk, a file with an end mark -----------------------------------------------------------------

TEST_F(Run, BookmarksThatCannotBeWrittenStayAndFailTheirMark) {
  on("Linspire");
  const SmallDisk disk("/root/.kde");
  const std::string bookmarks = "/root/.kde/share/apps/konqueror/bookmarks.xml";
  const std::string before = "<xbel>\n" + std::string(9000, 'b') + "\n</xbel>\n";
  write_file(bookmarks, before);
  disk.fill_but(2);
  pack("Brindle/Mapped_Drives/z", "//s/a\nA\n");
  migrate();
  EXPECT_TRUE(same_bytes(before, read_file(bookmarks)));
  EXPECT_THAT(posts(), Contains(Pair("image_9", -1)));
}

TEST_F(Run, OnePersonStaysOneWithTheEndMarkOfDos) {
  on("Linspire");
  pack("Brindle/users.txt", "Default=ann\r\nMultiUser Migration=0\r\n\x1a");
  pack("Brindle/My Documents/a.txt", "a");
  migrate();
  EXPECT_THAT(said, HasSubstr("Is Multi User::0\nDefault User::ann\n"));
  EXPECT_EQ("a", read_file("/root/Documents/a.txt"));
}

// The end of the program waits for a worker.
TEST_F(Run, IsOverForWhoeverWaitsForIt) {
  on("Linspire");
  pack("Brindle/x", "");
  worker_runs = true;
  migrate();
  EXPECT_FALSE(worker_runs);
}

TEST_F(Run, IsOverOnAnInvalidSystemAsWell) {
  on("INVALID");
  pack("Brindle/x", "");
  worker_runs = true;
  migrate();
  EXPECT_FALSE(worker_runs);
}

// ---- The progress timeout -------------------------------------------------------------------------------

struct Timeout : Run {
  Timeout() {
    timer = static_cast<int>(g_timeout_add(
        3600 * 1000, [](void*) { return 1; }, nullptr));
    pack("Brindle/x", "");
  }
  static bool runs() {
    return g_main_context_find_source_by_id(nullptr, static_cast<guint>(timer)) != nullptr;
  }
};

TEST_F(Timeout, IsRemovedAtTheEnd) {
  on("Linspire");
  EXPECT_TRUE(runs());
  migrate();
  EXPECT_FALSE(runs());
}

TEST_F(Timeout, IsRemovedOnAnInvalidSystem) {
  on("INVALID");
  migrate();
  EXPECT_FALSE(runs());
}

TEST_F(Timeout, IsRemovedWhenSeveralUsersAreRefused) {
  on("Linspire");
  shell_quietly("useradd -u 2345 ann");
  pack("Brindle/users.txt", "MultiUser Migration=1\n");
  shell_quietly("cd /tmp/in && zip -qry '/tmp/my archive.zip' .; chmod -R a+rX /tmp/in");
  ASSERT_EQ(0, setresuid(2345, 2345, 2345));
  migrate();
  EXPECT_EQ(1, times_posted("multi user error"));
  EXPECT_FALSE(runs());
}

TEST_F(Timeout, ThatHasEndedItselfIsNoTrouble) {
  on("Linspire");
  g_source_remove(static_cast<guint>(timer));
  migrate();
  EXPECT_THAT(complained, Not(HasSubstr("GLib")));
}

// ---- Log, traces, commands ------------------------------------------------------------------------------

TEST_F(Run, LogListsTheItemsAttempted) {
  on("Linspire");
  pack("Brindle/Personal/a.txt", "a");
  migrate();
  EXPECT_EQ(
      "Personal\nDesktop\nImapMail\nWallpaper\nBookmark.htm\nCookies.txt\nFonts\nFile "
      "Extensions\nMapped_Drives\n"
      "delete Brindle folder\nshow popup dialog\nends\n",
      log());
}

TEST_F(Run, TracesTellWhereItIs) {
  on("Linspire");
  pack("Brindle/users.txt", "Default=ann\r\nMultiUser Migration=0\r\n");
  migrate();
  EXPECT_THAT(said, HasSubstr("\nOS Name::Linspire\nOS Version::Any\n"));
  EXPECT_THAT(said, HasSubstr("Dir Name::" + dir()));
  EXPECT_THAT(said, HasSubstr("Temp Dir Path::" + dir() + "/Brindle\n"));
  EXPECT_THAT(said, HasSubstr("Is Multi User::0\nDefault User::ann\n"));
  EXPECT_THAT(said, HasSubstr("Initializing Applications..............\n"));
  EXPECT_THAT(said, HasSubstr("Applications Initialization.......DONE"));
  EXPECT_THAT(said, HasSubstr("New Dir Path::" + dir() + "/Brindle\nDoing for default user::ann\n"));
}

TEST_F(Run, TracesOfAnEmptyArchiveWholeAndInOrder) {
  on("Linspire");
  pack("Brindle/x", "");
  migrate();
  EXPECT_EQ(
      "Getting OS Version.........\n\nOS Name::Linspire\nOS Version::Any\nDir Name::" + dir() +
          "Temp Dir Path::" + dir() +
          "/Brindle\nIs Multi User::0\nDefault User::\n"
          "Initializing Applications..............\nbuffer=/root\nApplications Initialization.......DONE"
          "New Dir Path::" +
          dir() +
          "/Brindle\nDoing for default user::\n"
          "Aboutj to call mozilla mailAbout to call kdewallpaper",
      said.substr(said.find("Getting OS Version")));
}

TEST_F(Run, TracesComeBeforeWhatTheyAnnounce) {
  on("Linspire");
  pack("Brindle/ImapMail/x", "");
  pack("Brindle/Wallpaper/a.bmp", "BM");
  pack("Brindle/Wallpaper/option.txt", "C");
  migrate();
  EXPECT_THAT(said, HasSubstr("Aboutj to call mozilla mailMigration Mozilla Account Settings"));
  EXPECT_THAT(said, HasSubstr("About to call kdewallpaperIn kdewallpaper"));
}

TEST_F(Run, TheLogTellsOfTheRemovalWhenItIsMade) {
  on("Linspire");
  pack("Brindle/x", "");
  std::string logged;
  when_command("rm -rf /tmp/brind", [&logged] { logged = log(); });
  migrate();
  EXPECT_THAT(logged, EndsWith("Mapped_Drives\n"));
  EXPECT_THAT(log(), EndsWith("Mapped_Drives\ndelete Brindle folder\nshow popup dialog\nends\n"));
}

TEST_F(Run, CommandsOfAnEmptyArchiveInOrder) {
  on("Linspire");
  pack("Brindle/x", "");
  migrate();
  EXPECT_THAT(commands_run(),
              ElementsAre("unzip -o \"/tmp/my archive.zip\" -d \"" + dir() + "\"",
                          "dos2unix -q \"" + dir() + "/Brindle/users.txt\"", "rm -rf " + dir(), "rm -rf "));
  EXPECT_THAT(dir(), StartsWith("/tmp/brind"));
  EXPECT_EQ(16u, dir().size());
}

TEST_F(Run, OnlyLoggedCommandsReachTheSystemLog) {
  on("Linspire");
  pack("Brindle/x", "");
  SystemLog system_log;
  migrate("/tmp/missing.zip");
  EXPECT_THAT(system_log.messages(), IsEmpty());  // unzip failed, but unlogged; its result is not negative
  EXPECT_EQ("", complained.substr(0, complained.find("unzip")));
}

TEST_F(Run, AnUnpackingThatCannotStartIsReportedAndTheRunGoesOn) {
  on("Linspire");
  pack("Brindle/x", "");
  SystemLog system_log;
  answer_command("unzip ", -1, EAGAIN);
  migrate();
  EXPECT_EQ("In process() Unzip: : Resource temporarily unavailable\n", complained);
  EXPECT_THAT(system_log.messages(), IsEmpty());
  EXPECT_EQ(1, times_posted("done"));
}

TEST_F(Run, AnUnpackingThatIsKilledIsReported) {
  on("Linspire");
  pack("Brindle/x", "");
  answer_command("unzip ", SIGKILL);
  migrate();
  EXPECT_EQ("In process() Unzip: Killed\n", complained);
  EXPECT_EQ(1, times_posted("done"));
}

TEST_F(Run, TellsOfEachCommandThatFailsOrNot) {
  on("Linspire");
  shell_quietly(
      "mkdir -p /tmp/s/root/.mozilla /usr/local/brindle && touch /tmp/s/root/.mozilla/appreg && "
      "tar -cf /usr/local/brindle/linspireroot.tar -C /tmp/s root");
  pack("Brindle/x", "");
  const auto is_logged = [](const std::string& command, int before = 0) {
    shell_quietly("rm -rf /root/.mozilla");
    return is_failure_logged(
        command, [] { migrate(); }, before);
  };
  EXPECT_FALSE(is_logged("unzip -o "));
  EXPECT_FALSE(is_logged("rm -rf /tmp/linspireroot"));
  EXPECT_FALSE(is_logged("mkdir /tmp/linspireroot"));
  EXPECT_TRUE(is_logged("tar -xf "));
  EXPECT_TRUE(is_logged("cp -a /tmp/linspireroot/root/.mozilla /root"));
  EXPECT_TRUE(is_logged("rm /root/.mozilla/appreg"));
  EXPECT_TRUE(is_logged("rm -rf /tmp/linspireroot", 1));
  EXPECT_FALSE(is_logged("rm -rf /tmp/linspireroot", 2));
}

TEST_F(Run, OfASkeletonWithAHomeInItTheUnpackingAloneIsTold) {
  const std::pair<const char*, std::string> systems[] = {{"RedFlag", "redflag"}, {"GNome", "nld"}};
  for (const auto& [system, name] : systems) {
    shell_quietly("rm -f /etc/redflag-release");
    on(system);
    shell_quietly("mkdir -p /tmp/s/.mozilla /usr/local/brindle && tar -cjf /usr/local/brindle/" + name +
                  "root.tar.bz2 -C /tmp/s .mozilla");
    pack("Brindle/x", "");
    const auto is_logged = [](const std::string& command, int before = 0) {
      shell_quietly("rm -rf /root/.mozilla");
      return is_failure_logged(
          command, [] { migrate(); }, before);
    };
    EXPECT_FALSE(is_logged("rm -rf /tmp/" + name + "root"));
    EXPECT_FALSE(is_logged("mkdir /tmp/" + name + "root"));
    EXPECT_FALSE(is_logged("mkdir /tmp/" + name + "root/root"));
    EXPECT_TRUE(is_logged("tar -jxf "));
    EXPECT_TRUE(is_logged("cp -a /tmp/" + name + "root/root/.mozilla /root"));
    EXPECT_TRUE(is_logged("rm /root/.mozilla/appreg"));
    EXPECT_TRUE(is_logged("rm -rf /tmp/" + name + "root", 1));
  }
}

TEST_F(Run, TellsOfAProgramThatCannotBeStartedOrEnded) {
  on("Xandros");
  pack("Brindle/x", "");
  for (const char* command : {"kmail", "killall kmail", "kaddressbook", "killall kaddressbook"})
    EXPECT_TRUE(is_failure_logged(command, [] { migrate(); })) << command;
}

TEST_F(Run, TellsOfADaemonThatCannotBeStarted) {
  pack("Brindle/x", "");
  EXPECT_TRUE(is_failure_logged("gconftool-2 --spawn", [] { migrate(); }));
}

TEST_F(Run, RemovalOfTheArchiveReachesTheSystemLog) {
  on("Linspire");
  pack("Brindle/x", "");
  SystemLog system_log;
  answer_command("rm -rf /tmp/brind", 1 << 8);
  migrate();
  EXPECT_THAT(system_log.messages(), ElementsAre(HasSubstr("exit status 1, rm -rf " + dir())));
}

// ---- The archive's own ways -------------------------------------------------------------------------------

struct WindowsArchive : Run {
  WindowsArchive() {
    on("Linspire");
    shell_quietly("mkdir -p /tmp/in");
  }
};

TEST_F(WindowsArchive, NamesGoThroughTheCodePageOfTheLanguage) {
  setenv("LANG", "zh_CN.UTF-8", 1);
  write_zip("/tmp/windows.zip", {{"Brindle/My Documents/\xCD\xBC.txt", "picture"},
                                 {"Brindle/My Documents/\xC2\xC3.txt", "travel"},
                                 {"Brindle/Desktop/\xCE\xC4/plain.txt", "text"}});
  migrate("/tmp/windows.zip");
  EXPECT_EQ("picture", read_file("/root/Documents/图.txt"));
  EXPECT_EQ("travel", read_file("/root/Documents/旅.txt"));
  EXPECT_EQ("图.txt\n旅.txt\n", output_of("LC_ALL=C ls /root/Documents"));
  EXPECT_EQ("text", read_file("/root/Desktop/文/plain.txt"));
  EXPECT_FALSE(exists(dir()));
}

TEST_F(WindowsArchive, NamesGoThroughThePersonsLanguageWhenTheTextsAreEnglish) {
  setenv("LANG", "en_US.UTF-8", 1);
  setenv("BRINDLE_LOCALE", "ru_RU.UTF-8", 1);
  write_zip("/tmp/windows.zip", {{"Brindle/My Documents/\xE1\xA0\xA4.txt", "garden"}});
  migrate("/tmp/windows.zip");
  EXPECT_EQ("garden", read_file("/root/Documents/сад.txt"));
}

TEST_F(WindowsArchive, ReadOnlyFilesCanBeWritten) {
  write_zip("/tmp/windows.zip", {{"Brindle/My Documents/a.txt", "a", 0, 0, "", 0x21},
                                 {"Brindle/My Documents/b.txt", "b", 0, 0, "", 0x20}});
  migrate("/tmp/windows.zip");
  EXPECT_EQ("644\n644\n", output_of("stat -c %a /root/Documents/a.txt /root/Documents/b.txt"));
}

TEST_F(WindowsArchive, NamesDoNotLeadOutOfTheFolder) {
  write_zip("/tmp/windows.zip", {{"../../tmp/out\x81", "1"}, {"Brindle/My Documents/a.txt", "a"}});
  migrate("/tmp/windows.zip");
  EXPECT_EQ("", output_of("ls /tmp | grep out"));
  EXPECT_EQ("a", read_file("/root/Documents/a.txt"));
}

TEST_F(WindowsArchive, OfAPatternsNameIsTheOneThatIsUnpacked) {
  write_zip("/tmp/my1.zip", {{"Brindle/My Documents/wrong.txt", "w"}});
  write_zip("/tmp/my[1].zip", {{"Brindle/My Documents/right.txt", "r"}});
  migrate("/tmp/my[1].zip");
  EXPECT_EQ("right.txt\n", output_of("ls /root/Documents"));
  EXPECT_THAT(commands_run(), Contains("unzip -o \"/tmp/my[[]1].zip\" -d \"" + dir() + "\""));
}

TEST_F(WindowsArchive, OfARelativeNameWithADashIsUnpacked) {
  write_zip("/tmp/-d.zip", {{"Brindle/My Documents/right.txt", "r"}});
  ASSERT_EQ(0, chdir("/tmp"));
  migrate("-d.zip");
  EXPECT_EQ("right.txt\n", output_of("ls /root/Documents"));
}

struct LockedArchive : WindowsArchive, testing::WithParamInterface<const char*> {};

TEST_P(LockedArchive, IsUnpackedAndItsPasswordForgotten) {
  pack("Brindle/My Documents/a.txt", "a");
  shell_quietly("cat > /tmp/pw <<'E'\n" + std::string(GetParam()) + "\nE");
  shell_quietly(
      "cd /tmp/in && zip -qr -P \"$(cat /tmp/pw)\" '/tmp/my archive.zip' . && rm -r /tmp/in && mkdir "
      "/tmp/in");
  write_file("/tmp/in/Brindle/x", "");
  SystemLog system_log;
  ASSERT_TRUE(assign(g_password, GetParam()));
  prepare_unzip_variable();
  migrate();
  EXPECT_EQ("a", read_file("/root/Documents/a.txt"));
  EXPECT_THAT(commands_run(), Contains("unzip -o \"/tmp/my archive.zip\" -d \"" + dir() + "\""));
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("sesame"))));
  for (const std::string& place : {said, complained, log()}) EXPECT_THAT(place, Not(HasSubstr("sesame")));
  EXPECT_THAT(system_log.messages(), Not(Contains(HasSubstr("sesame"))));
  EXPECT_EQ(std::string(sizeof g_password, '\0'), std::string(g_password, sizeof g_password));
  EXPECT_STREQ("", std::getenv("UNZIP"));
}

INSTANTIATE_TEST_SUITE_P(Passwords, LockedArchive,
                         testing::Values("sesame", "open \"sesame\" \\ now", "-sesame"));

// A browser that Help opens, for instance.
TEST_F(WindowsArchive, ItsPasswordIsNotGivenToWhatIsStartedMeanwhile) {
  write_file("/usr/local/bin/unzip",
             "#!/bin/sh\nprintf %s \"$UNZIP\" > /tmp/given; mv /tmp/given /tmp/got\nsleep 1\n");
  shell_quietly("chmod +x /usr/local/bin/unzip");
  pack("Brindle/My Documents/a.txt", "a");
  ASSERT_TRUE(assign(g_password, "sesame"));
  prepare_unzip_variable();
  std::string seen = "nothing";
  std::thread other([&] {
    while (!exists("/tmp/got")) usleep(10'000);
    usleep(300'000);
    seen = output_of("printenv UNZIP");
  });
  migrate();
  other.join();
  EXPECT_EQ("-Psesame", read_file("/tmp/got"));
  EXPECT_EQ("\n", seen);
}

TEST_F(WindowsArchive, IsNotUnpackedOnceTheWizardIsLeft) {
  pack("Brindle/My Documents/a.txt", "a");
  stop_unpacking();
  migrate();
  EXPECT_EQ(nullptr, dir_name.load());
  EXPECT_EQ("", output_of("ls -d /tmp/brind* 2>/dev/null"));
  EXPECT_THAT(commands_run(), Not(Contains(StartsWith("unzip"))));
  EXPECT_FALSE(exists("/root/Documents"));
  EXPECT_EQ(1, times_posted("done buttons"));
}

TEST_F(WindowsArchive, HalfUnpackedIsNotMigrated) {
  write_file(
      "/usr/local/bin/unzip",
      "#!/bin/sh\nmkdir -p \"$4/Brindle/My Documents\"\necho half > \"$4/Brindle/My Documents/a.txt\"\n"
      "exec tail -f /dev/null \"$4\"\n");
  shell_quietly("chmod 755 /usr/local/bin/unzip");
  std::thread person([] {
    while (dir_name.load() == nullptr || !exists(dir() + "/Brindle/My Documents/a.txt")) usleep(1000);
    stop_unpacking();
  });
  migrate("/tmp/windows.zip");
  person.join();
  EXPECT_FALSE(exists("/root/Documents"));
  EXPECT_EQ(-1, marks()["image_1"]);
  EXPECT_EQ(1, times_posted("done buttons"));
  EXPECT_FALSE(exists(dir()));
}

struct BombArchive : Run {
  static void migrate_bomb() {
    on("Linspire");
    ASSERT_EQ(0, shell_quietly("python3 -B '" + test_data("hostile/zips.py") + "' /tmp/z lying-ratio"));
    migrate("/tmp/z/lying-ratio.zip");
  }
};

TEST_F(BombArchive, IsStoppedToldAndNotMigrated) {
  migrate_bomb();
  EXPECT_FALSE(exists("/root/Documents"));
  EXPECT_EQ(-1, marks()["image_1"]);
  EXPECT_THAT(complained,
              HasSubstr("Unpacking has been stopped, and nothing is migrated: the archive holds more "
                        "than its list says.\n"));
  EXPECT_THAT(said, HasSubstr("Temp Dir Path::/dev/null/Brindle\n"));
  EXPECT_EQ(1, times_posted("unpacking stopped"));
  EXPECT_EQ(1, times_posted("done"));
  EXPECT_FALSE(exists(dir()));
}

TEST_F(BombArchive, ForWhichThereIsNoRoomIsToldSo) {
  on("Linspire");
  ASSERT_EQ(0, shell_quietly("python3 -B '" + test_data("hostile/zips.py") + "' /root/z ratio"));
  shell_quietly("mount -t tmpfs -o size=80m none /tmp");
  migrate("/root/z/ratio.zip");
  EXPECT_THAT(
      complained,
      HasSubstr(
          "Unpacking has been stopped, and nothing is migrated: there is not enough room left in /tmp.\n"));
  EXPECT_EQ(1, times_posted("unpacking stopped"));
  EXPECT_FALSE(exists("/root/Documents"));
}

TEST_F(BombArchive, IsRemovedAtOnce) {
  answer_command("rm -rf /tmp/brind", 0);
  migrate_bomb();
  EXPECT_FALSE(exists(dir()));
}

TEST_F(BombArchive, InACancelledRunIsNotTold) {
  isKilled = 1;
  migrate_bomb();
  EXPECT_EQ(0, times_posted("unpacking stopped"));
  EXPECT_EQ(1, times_posted("done buttons"));
}

// ---- Skeleton homes -------------------------------------------------------------------------------------

TEST_F(Run, AHomeWithoutABrowserProfileGetsOne) {
  on("Linspire");
  shell_quietly(
      "rm -rf /root/.mozilla && mkdir -p /tmp/s/root/.mozilla /usr/local/brindle && touch "
      "/tmp/s/root/.mozilla/appreg "
      "/tmp/s/root/.mozilla/kept && tar -cf /usr/local/brindle/linspireroot.tar -C /tmp/s root");
  pack("Brindle/x", "");
  migrate();
  const auto commands = commands_run();
  EXPECT_THAT(std::vector<std::string>(commands.begin() + 2, commands.end() - 2),
              ElementsAre("rm -rf /tmp/linspireroot", "mkdir /tmp/linspireroot",
                          "tar -xf \"/usr/local/brindle/linspireroot.tar\" -C /tmp/linspireroot",
                          "cp -a /tmp/linspireroot/root/.mozilla /root", "rm /root/.mozilla/appreg",
                          "rm -rf /tmp/linspireroot"));
  EXPECT_EQ("rm -rf /tmp/linspireroot", commands.back());
  EXPECT_STREQ("/tmp/linspireroot", homedirpath);
  EXPECT_STREQ("/usr/local/brindle/linspireroot.tar", tarfilepath);
  EXPECT_EQ("kept\n", output_of("ls /root/.mozilla"));
  EXPECT_THAT(said, HasSubstr("untarringTar Command::tar -xf \"/usr/local/brindle/linspireroot.tar\" -C "
                              "/tmp/linspireroot\nHome Directory Path::/tmp/linspireroot\n"));
}

TEST_F(Run, OfASkeletonThatFailsOnlySomeCommandsReachTheSystemLog) {
  on("Linspire");
  shell_quietly("rm -rf /root/.mozilla /usr/local/brindle");
  pack("Brindle/x", "");
  SystemLog system_log;
  answer_command("mkdir /tmp/linspireroot", 1 << 8);
  migrate();
  EXPECT_THAT(system_log.messages(),
              ElementsAre(HasSubstr("exit status 2, tar -xf "), HasSubstr("exit status 1, cp -a "),
                          HasSubstr("exit status 1, rm /root/.mozilla/appreg")));
}

TEST_F(Run, OnRedFlagTheSkeletonHoldsTheHomeItself) {
  on("RedFlag");
  shell_quietly(
      "rm -rf /root/.mozilla && mkdir -p /tmp/s/.mozilla /usr/local/brindle && touch /tmp/s/.mozilla/kept && "
      "tar -cjf /usr/local/brindle/redflagroot.tar.bz2 -C /tmp/s .mozilla");
  pack("Brindle/x", "");
  migrate();
  EXPECT_THAT(commands_run(), Contains("mkdir /tmp/redflagroot/root"));
  EXPECT_THAT(commands_run(),
              Contains("tar -jxf \"/usr/local/brindle/redflagroot.tar.bz2\" -C /tmp/redflagroot/root"));
  EXPECT_EQ("kept\n", output_of("ls /root/.mozilla"));
}

struct BrowserProfile : Run, testing::WithParamInterface<const char*> {};

TEST_P(BrowserProfile, ThatIsThereIsLeftAlone) {
  on(GetParam());
  pack("Brindle/x", "");
  migrate();
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("tar -"))));
}

INSTANTIATE_TEST_SUITE_P(Systems, BrowserProfile, testing::Values("Linspire", "RedFlag"),
                         [](const auto& system) { return std::string(system.param); });

TEST_F(Run, OnGnomeWithBrowserAndEvolutionNothingIsUnpacked) {
  pack("Brindle/x", "");
  migrate();
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("tar -"))));
  EXPECT_THAT(commands_run(), Not(Contains("evolution")));
  EXPECT_THAT(said, HasSubstr("Initializing Applications for NLD.::1\n"));
}

TEST_F(Run, OnGnomeWithoutEvolutionItIsStartedOnce) {
  shell_quietly(
      "rm -rf /root/.evolution && mkdir -p /tmp/s/.mozilla /usr/local/brindle && touch /tmp/s/.mozilla/new "
      "&& "
      "tar -cjf /usr/local/brindle/nldroot.tar.bz2 -C /tmp/s .mozilla");
  pack("Brindle/x", "");
  migrate();
  EXPECT_THAT(commands_run(), Contains("evolution"));
  EXPECT_THAT(commands_run(),
              Contains("tar -jxf \"/usr/local/brindle/nldroot.tar.bz2\" -C /tmp/nldroot/root"));
  // The browser profile was there, so the skeleton's is not copied over it.
  EXPECT_FALSE(exists("/root/.mozilla/new"));
  EXPECT_FALSE(exists("/tmp/nldroot"));
}

TEST_F(Run, OnGnomeWithoutABrowserProfileOnlyThatIsCopied) {
  shell_quietly(
      "rm -rf /root/.mozilla && mkdir -p /tmp/s/.mozilla /usr/local/brindle && touch /tmp/s/.mozilla/new && "
      "tar -cjf /usr/local/brindle/nldroot.tar.bz2 -C /tmp/s .mozilla");
  pack("Brindle/x", "");
  migrate();
  const auto commands = commands_run();
  const auto first = std::find(commands.begin(), commands.end(), "rm -rf /tmp/nldroot");
  ASSERT_LE(7, commands.end() - first);
  EXPECT_THAT(std::vector<std::string>(first, first + 7),
              ElementsAre("rm -rf /tmp/nldroot", "mkdir /tmp/nldroot", "mkdir /tmp/nldroot/root",
                          "tar -jxf \"/usr/local/brindle/nldroot.tar.bz2\" -C /tmp/nldroot/root",
                          "cp -a /tmp/nldroot/root/.mozilla /root", "rm /root/.mozilla/appreg",
                          "rm -rf /tmp/nldroot"));
  EXPECT_THAT(commands, Not(Contains("evolution")));
  EXPECT_THAT(said, HasSubstr("Initializing Applications for NLD.::0\n"));
  EXPECT_TRUE(exists("/root/.mozilla/new"));
}

TEST_F(Run, OnGnomeWithoutEitherTheBrowserProfileComesBeforeEvolution) {
  shell_quietly(
      "rm -rf /root/.mozilla /root/.evolution && mkdir -p /tmp/s/.mozilla /usr/local/brindle && touch "
      "/tmp/s/.mozilla/new && tar -cjf /usr/local/brindle/nldroot.tar.bz2 -C /tmp/s .mozilla");
  write_file("/usr/local/bin/evolution",
             "#!/bin/sh\n[ $# != 0 ] || { ls /root/.mozilla > /tmp/seen; ls /tmp/nldroot >> /tmp/seen; }\n");
  pack("Brindle/x", "");
  write_file("/tmp/seen", "");
  sleeps::end_when([] { return read_file("/tmp/seen").ends_with("root\n"); });
  migrate();
  EXPECT_EQ("new\nroot\n", read_file("/tmp/seen"));
  EXPECT_THAT(said, HasSubstr("Initializing Applications for NLD.::0\nuntarringTar Command::tar -jxf "
                              "\"/usr/local/brindle/nldroot.tar.bz2\" -C /tmp/nldroot/root\nHome Directory "
                              "Path::/tmp/nldroot\nbuffer=/root\nLaunching Evolution."));
  EXPECT_FALSE(exists("/tmp/nldroot"));
}

TEST_F(Run, OnGnomeWithoutAClientItSaysSoAndGoesOn) {
  pack("Brindle/My Documents/a.txt", "a");
  migrate();
  EXPECT_EQ(nullptr, client);  // given back at the end
  EXPECT_THAT(said, Not(HasSubstr("gconf_client_get_default")));
  client_is_missing = true;
  migrate();
  EXPECT_THAT(said, HasSubstr("OS Version::Any\ngconf_client_get_default NULL\nDir Name::"));
  EXPECT_EQ(2, times_posted("done"));
}

TEST_F(Run, OnGnomeTheFileManagerIsSetUpFirst) {
  pack("Brindle/x", "");
  migrate();
  // Once for the client and twice for each of the three booleans, before anything else but the unpacking.
  const auto commands = commands_run();
  EXPECT_THAT(std::vector<std::string>(commands.begin(), commands.begin() + 9),
              ElementsAre("gconftool-2 --spawn", StartsWith("unzip -o "), StartsWith("dos2unix "),
                          "gconftool-2 --spawn", "gconftool-2 --spawn", "gconftool-2 --spawn",
                          "gconftool-2 --spawn", "gconftool-2 --spawn", "gconftool-2 --spawn"));
}

// ---- Several users, ordinary users ----------------------------------------------------------------------

TEST_F(Run, SeveralUsersNeedRoot) {
  on("Linspire");
  shell_quietly("useradd -m -u 2345 ann && mkdir -p /home/ann/.mozilla && chmod 666 /tmp/log");
  pack("Brindle/users.txt", "MultiUser Migration=1\n");
  pack("Brindle/My Documents/a.txt", "a");
  pack("Brindle/Profiles/ben/My Documents/b.txt", "b");
  shell_quietly("cd /tmp/in && zip -qry '/tmp/my archive.zip' .; chmod -R a+rX /tmp/in");
  ASSERT_EQ(0, setresuid(2345, 2345, 2345));
  migrate();
  EXPECT_THAT(posts(), ElementsAre(Pair("done buttons", 0), Pair("multi user error", 0)));
  EXPECT_EQ("delete Brindle folder\nshow popup dialog\nends\n", log());
  EXPECT_THAT(said, EndsWith("Initializing Applications..............\nbuffer=/home/ann\nApplications "
                             "Initialization.......DONE"));
  EXPECT_THAT(commands_run(),
              ElementsAre(StartsWith("unzip -o "), "dos2unix -q \"" + dir() + "/Brindle/users.txt\"",
                          "rm -rf " + dir()));
  EXPECT_FALSE(exists("/home/ann/Documents"));
  EXPECT_FALSE(exists(dir()));
}

TEST_F(Run, ACancelledRefusalShowsNoDialog) {
  on("Linspire");
  shell_quietly("useradd -u 2345 ann; chmod 666 /tmp/log");
  pack("Brindle/users.txt", "MultiUser Migration=1\n");
  shell_quietly("cd /tmp/in && zip -qry '/tmp/my archive.zip' .; chmod -R a+rX /tmp/in");
  isKilled = 1;
  ASSERT_EQ(0, setresuid(2345, 2345, 2345));
  migrate();
  EXPECT_THAT(posts(), ElementsAre(Pair("done buttons", 0)));
  EXPECT_EQ("delete Brindle folder\nends\n", log());
}

TEST_F(Run, ACancelledRunStillTellsAboutPrinters) {
  on("Linspire");
  shell_quietly("useradd -m -u 2345 ann; chmod 666 /tmp/log");
  pack("Brindle/x", "");
  shell_quietly("cd /tmp/in && zip -qry '/tmp/my archive.zip' .; chmod -R a+rX /tmp/in");
  isKilled = 1;
  will_close(printer_notice);
  ASSERT_EQ(0, setresuid(2345, 2345, 2345));
  migrate();
  EXPECT_EQ(1, times_posted("printer error"));
  EXPECT_EQ(0, times_posted("done"));
}

TEST_F(Run, CancelAlsoAnswersWhatIsAsked) {
  on("Linspire");
  shell_quietly("useradd -m -u 2345 ann; chmod 666 /tmp/log");
  pack("Brindle/My Documents/a.txt", "a");
  shell_quietly("cd /tmp/in && zip -qry '/tmp/my archive.zip' .; chmod -R a+rX /tmp/in");
  when_asked(printer_notice, [] {
    isKilled = 1;
    decline_open_questions();
  });
  ASSERT_EQ(0, setresuid(2345, 2345, 2345));
  migrate();
  EXPECT_EQ("a", read_file("/home/ann/Documents/a.txt"));
  EXPECT_EQ(1, times_posted("done buttons"));
  EXPECT_EQ(0, times_posted("done"));
}

TEST_F(Run, AnOrdinaryUserIsToldAboutPrintersFirst) {
  on("Linspire");
  shell_quietly(
      "useradd -m -u 2345 ann && mkdir -p /home/ann/.mozilla /home/ann/Desktop && chown -R ann /home/ann");
  pack("Brindle/My Documents/a.txt", "a");
  pack("Brindle/Printers/p.txt", "Port Name=LPT1\nDriver Name=No Such Printer\n");
  shell_quietly("cd /tmp/in && zip -qry '/tmp/my archive.zip' .; chmod -R a+rX /tmp/in; chmod 666 /tmp/log");
  when_asked(printer_notice, [] {
    EXPECT_THAT(posts(), ElementsAre(Pair("printer error", 0)));
    EXPECT_FALSE(exists("/home/ann/Documents"));
    EXPECT_EQ(1, isPrinterPopupOpen);
    printer_notice.close();
  });
  ASSERT_EQ(0, setresuid(2345, 2345, 2345));
  migrate();
  EXPECT_EQ(1, times_posted("printer error"));
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("ppd"))));
  EXPECT_EQ(-1, marks()["image_12"]);
  EXPECT_EQ(-1, marks()["image_10"]);
  EXPECT_EQ(0, marks()["image_1"]);
  EXPECT_EQ("a", read_file("/home/ann/Documents/a.txt"));
}

TEST_F(Run, AFamilyIsMigratedBeforeTheRunningUser) {
  on("Linspire");
  shell_quietly(
      "mkdir -p /tmp/s/root/Desktop /usr/local/brindle; tar -cf /usr/local/brindle/linspireroot.tar -C "
      "/tmp/s root");
  pack("Brindle/users.txt", "Default=ann\r\nMultiUser Migration=1\r\n");
  pack("Brindle/My Documents/mine.txt", "root's");
  pack("Brindle/Profiles/ann/My Documents/hers.txt", "ann's");
  migrate();
  EXPECT_EQ("hers.txt\n", output_of("ls /home/ann/Documents")) << complained;
  EXPECT_EQ("mine.txt\n", output_of("ls /root/Documents"));
  ASSERT_LE(3u, posts().size());
  EXPECT_THAT(Posts(posts().begin(), posts().begin() + 3),
              ElementsAre(Pair("image_12", -1), Pair("image_0", 0), Pair("image_1", 0)));
  EXPECT_EQ(1, isDefaultUser);
  EXPECT_STREQ("ann", cur_user);
}

TEST_F(Run, AFamilyWithoutProfilesEndsWithATick) {
  on("Linspire");
  pack("Brindle/users.txt", "MultiUser Migration=1\n");
  migrate();
  ASSERT_LE(3u, posts().size());
  EXPECT_THAT(Posts(posts().begin(), posts().begin() + 3),
              ElementsAre(Pair("image_12", -1), Pair("image_0", -1), Pair("image_0", 0)));
}

TEST_F(Run, TheProgramEndsWhenUsersCannotBeClosed) {
  on("Linspire");
  pack("Brindle/users.txt", "MultiUser Migration=0\n");
  shell_quietly("cd /tmp/in && zip -qry '/tmp/my archive.zip' .");
  assign(g_filename, "/tmp/my archive.zip");
  EXPECT_EXIT(
      {
        closing_fails = true;
        process(nullptr);
      },
      testing::ExitedWithCode(0), "");
  EXPECT_EQ("", output_of("ls -d /tmp/brind* 2>/dev/null"));
  EXPECT_EQ("ends\n", read_file("/tmp/log"));
}

TEST_F(Run, AProgramThatEndsSoHasItsRunOverAndItsRemovalLogged) {
  on("Linspire");
  pack("Brindle/users.txt", "MultiUser Migration=0\n");
  shell_quietly("cd /tmp/in && zip -qry '/tmp/my archive.zip' .");
  assign(g_filename, "/tmp/my archive.zip");
  keep::begin_run("/root", 1'795'000'000);
  ASSERT_TRUE(keep::before_change("/root/.brindle_first_run"));
  SystemLog system_log(SystemLog::Reads::when_asked);
  answer_command("rm -rf /tmp/brind", 1 << 8);
  EXPECT_EXIT(
      {
        closing_fails = true;
        process(nullptr);
      },
      testing::ExitedWithCode(0), "");
  EXPECT_THAT(system_log.messages(), ElementsAre(HasSubstr("exit status 1, rm -rf /tmp/brind")));
  ASSERT_THAT(keep::runs_in("/root"), testing::SizeIs(1));
  EXPECT_TRUE(keep::runs_in("/root")[0].over);
}

// ---- Printers -------------------------------------------------------------------------------------------

TEST_F(Run, RootWithoutPrintersGetsCrosses) {
  on("RedFlag");
  pack("Brindle/x", "");
  migrate();
  EXPECT_EQ(-1, marks()["image_12"]);
  EXPECT_EQ(-1, marks()["image_10"]);
}

TEST_F(Run, RootWithPrintersGetsTicks) {
  on("RedFlag");
  pack("Brindle/Printers/skipped.txt",
       "Port Name=LPT3\r\nDriver Name=A B\r\nDriver Name Wo Spaces=AB\r\n");  // no such port: nothing to do
  migrate();
  EXPECT_EQ(0, marks()["image_12"]);
  EXPECT_EQ(0, marks()["image_10"]);
}

struct Printers : Run {
  Printers() {
    pack("Brindle/Printers/p.txt", "Port Name=LPT1\nDriver Name=No Such Printer\n");
    when_asked(driver_question, [] {
      driver_question.keep_answer(0, "");
      driver_question.close();
    });
  }
};

TEST_F(Printers, AreMadeWithTheCupsToolsOnGnome) {
  migrate();
  EXPECT_THAT(commands_run(), Contains("lpinfo -m > /root/ppdlist.txt"));
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("foomatic-ppdfile-bd"))));
}

struct FoomaticPrinters : Printers, testing::WithParamInterface<const char*> {};

TEST_P(FoomaticPrinters, AreMadeOnTheOthers) {
  on(GetParam());
  migrate();
  EXPECT_THAT(commands_run(), Contains("foomatic-ppdfile-bd -P\"No Such Printer\" > /root/ppd.txt"));
  EXPECT_THAT(commands_run(), Not(Contains(HasSubstr("lpinfo"))));
}

INSTANTIATE_TEST_SUITE_P(Systems, FoomaticPrinters, testing::Values("RedFlag", "Linspire", "Xandros"),
                         [](const auto& system) { return std::string(system.param); });

// ---- Documents ------------------------------------------------------------------------------------------

TEST_F(Run, PersonalServesAnArchiveWithoutMyDocuments) {
  on("Linspire");
  pack("Brindle/Personal/p.txt", "p");
  migrate();
  EXPECT_EQ(0, marks()["image_1"]);
  EXPECT_EQ("p.txt\n", output_of("ls /root/Documents"));
}

TEST_F(Run, PersonalDoesNotCountBesideMyDocuments) {
  on("Linspire");
  pack("Brindle/My Documents/a.txt", "a");
  pack("Brindle/Personal/p.txt", "p");
  migrate();
  EXPECT_EQ("a.txt\n", output_of("ls /root/Documents"));
}

// ---- What can go wrong ----------------------------------------------------------------------------------

TEST_F(Run, AnArchiveWithoutItsFolderFindsNothing) {
  on("Linspire");
  pack("My Documents/a.txt", "a");
  migrate();
  for (const auto& [mark, result] : marks()) EXPECT_EQ(-1, result) << mark;
  EXPECT_EQ(1, times_posted("done"));
  EXPECT_FALSE(exists(dir()));
}

TEST_F(Run, ACancelledRunShowsNoDialog) {
  on("Linspire");
  pack("Brindle/My Documents/a.txt", "a");
  isKilled = 1;
  migrate();
  EXPECT_EQ(1, times_posted("done buttons"));
  EXPECT_EQ(0, times_posted("done"));
  EXPECT_THAT(log(), EndsWith("delete Brindle folder\nends\n"));
  EXPECT_FALSE(exists(dir()));
}

TEST_F(Run, WithoutATemporaryDirectoryNothingIsTouched) {
  on("Linspire");
  pack("Brindle/My Documents/a.txt", "a");
  shell_quietly(
      "cd /tmp/in && zip -qry /root/a.zip . && mkdir -p '/Brindle/My Documents' && touch "
      "'/Brindle/My Documents/not mine'");
  shell_quietly("mount -t tmpfs -o size=4k,nr_inodes=1,ro none /tmp");
  assign(g_filename, "/root/a.zip");
  // GoogleTest would capture into /tmp.
  ASSERT_NE(nullptr, std::freopen("/root/complained", "w", stderr));
  run_as_worker([] { process(nullptr); });
  std::fflush(stderr);
  EXPECT_EQ(
      "In process() create temp dir: : Read-only file system\n"
      "In process() Unzip: : Invalid argument\n",
      read_file("/root/complained").substr(0, read_file("/root/complained").find("dos2unix")));
  EXPECT_EQ(nullptr, dir_name.load());
  EXPECT_THAT(commands_run(), ElementsAre("dos2unix -q \"/dev/null/Brindle/users.txt\"", "rm -rf "));
  EXPECT_TRUE(exists("/Brindle/My Documents/not mine"));
  EXPECT_FALSE(exists("/root/Documents"));
  EXPECT_EQ(1, times_posted("done"));
}

TEST_F(Run, LinksInTheArchiveAreNotFollowed) {
  on("Linspire");
  write_file("/root/secret", "s");
  pack("Brindle/My Documents/a.txt", "a");
  shell_quietly(
      "ln -s /root/secret '/tmp/in/Brindle/My Documents/link'; ln -s /root /tmp/in/Brindle/Desktop");
  migrate();
  EXPECT_EQ("a.txt\n", output_of("ls /root/Documents"));
  EXPECT_EQ(-1, marks()["image_2"]);
  EXPECT_THAT(complained, HasSubstr("neither a file nor a folder"));
  EXPECT_TRUE(exists("/root/secret"));
}

TEST_F(Run, AHostileArchiveNameStaysOneWord) {
  on("Linspire");
  pack("Brindle/My Documents/a.txt", "a");
  const std::string name = "/tmp/a\"; touch ran; $(touch ran)`touch ran`.zip";
  shell_quietly("cd /tmp/in && zip -qry '/tmp/my archive.zip' . && cp '/tmp/my archive.zip' '" + name + "'");
  migrate(name);
  EXPECT_EQ("a", read_file("/root/Documents/a.txt"));
  EXPECT_FALSE(exists("ran"));
}

}  // namespace
