// The real program, from its start to its end.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

#include "gui.h"
#include "main/session.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"
#include "support/system_log.h"

// Last: X names a macro None.
#include <gdk/gdkx.h>

namespace {

constexpr const char* gnome = "Getting OS Version.........\nOSName::GNome\nOSVersion::Any\n";

std::string language_traces(const std::string& lang) {
  return std::string(gnome) + "LC_CTYPE::(null)\nLANG::" + lang +
         "\nFinding language for Gnome OS.BUFFER::" + lang.substr(0, 5);
}

class StartupTest : public testing::Test {
 protected:
  void SetUp() override {
    install_interface();
    setenv("LANG", "en_US.UTF-8", 1);
    unsetenv("LC_CTYPE");
    unsetenv("GTK_MODULES");
    // For a program built with a sanitizer.
    write_file("/tmp/leaks", toolkit_leaks);
    write_file("/tmp/races", toolkit_races);
    setenv("LSAN_OPTIONS", "suppressions=/tmp/leaks:print_suppressions=0", 1);
    setenv("TSAN_OPTIONS", "suppressions=/tmp/races:print_suppressions=0", 1);
  }

  void start(bool with_display = true) {
    if (with_display) start_display();
    child = fork();
    if (child != 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (freopen("/root/stdout", "w", stdout) == nullptr) _exit(99);
    if (freopen("/root/stderr", "w", stderr) == nullptr) _exit(99);
    const std::string program = built("src/brindle-wizard");
    std::vector<char*> words = {const_cast<char*>("brindle-wizard")};
    for (std::string& word : arguments) words.push_back(word.data());
    words.push_back(nullptr);
    execv(program.c_str(), words.data());
    _exit(98);
  }

  // The same on a terminal, the session's leader or a job of its shell.
  void start_on_terminal(bool as_leader) {
    start_display();
    const std::string program = built("src/brindle-wizard");
    write_file("/root/job", "#!/bin/bash\n" + std::string(as_leader ? "exec " : "set -m\n") + program + "\n");
    child = fork();
    if (child != 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    execlp("script", "script", "-qec", "exec bash /root/job", "/root/stdout", nullptr);
    _exit(98);
  }

  static std::string wizard_id() { return output_of("pgrep -x brindle-wizard | tr -d '\\n'"); }

  // Waits for the window with this title and returns its X id; empty when it does not come.
  static std::string window_called(const std::string& title) {
    for (int tries = 0; tries < 100; ++tries) {
      const std::string id = output_of("xdotool search --onlyvisible --name '" + title + "' 2>/dev/null");
      if (!id.empty()) return id.substr(0, id.find('\n'));
      usleep(50000);
    }
    return "";
  }

  // Asks a window to close, as window managers do.
  static void ask_to_close(const std::string& id) {
    if (gdk_display_get_default() == nullptr) {
      gtk_disable_setlocale();
      gtk_init(nullptr, nullptr);
    }
    GdkEvent* event = gdk_event_new(GDK_CLIENT_EVENT);
    event->client.message_type = gdk_atom_intern("WM_PROTOCOLS", FALSE);
    event->client.data_format = 32;
    event->client.data.l[0] = static_cast<long>(gdk_x11_get_xatom_by_name("WM_DELETE_WINDOW"));
    gdk_event_send_client_message(event, static_cast<GdkNativeWindow>(std::stoul(id)));
    gdk_flush();
    gdk_event_free(event);
  }

  int wait_for_end() {
    int status = 0;
    for (int tries = 0; tries < 200; ++tries) {
      if (waitpid(child, &status, WNOHANG) == child) {
        return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
      }
      usleep(50000);
    }
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
    return -1;
  }

  // One whole life: page 1 appears and is closed.
  int live_once() {
    start();
    const std::string id = window_called(shipped_text("window1"));
    EXPECT_NE(id, "") << read_file("/root/stderr");
    if (!id.empty()) ask_to_close(id);
    return wait_for_end();
  }

  pid_t child = 0;
  std::vector<std::string> arguments;
};

TEST_F(StartupTest, PrintsItsMilestonesInOrder) {
  EXPECT_EQ(live_once(), 0);
  std::string expected = "buffer=/root\n";
  expected += gnome;
  expected += "ISNLD:0\nbuffer=/root\nLog path setThreads InitializedTrying to read gtkrc file.";
  expected += language_traces("en_US.UTF-8");
  expected += "\nGTKRCPATH::/usr/local/brindle/.gtkrc-2.0\n\nParse Complete:0\n";
  for (int builder = 0; builder < 8; ++builder) expected += language_traces("en_US.UTF-8");
  EXPECT_TRUE(same_bytes(expected, read_file("/root/stdout")));
}

// By which a window manager knows its windows.
TEST_F(StartupTest, ItsWindowsAreThoseOfBrindle) {
  start();
  const std::string id = window_called(shipped_text("window1"));
  ASSERT_NE(id, "");
  EXPECT_EQ(output_of("xprop -id " + id + " WM_CLASS"), "WM_CLASS(STRING) = \"brindle\", \"Brindle\"\n");
  usleep(300000);
  EXPECT_EQ(output_of("xdotool search --onlyvisible --class brindle"), id + "\n");  // the first page alone
  ask_to_close(id);
  EXPECT_EQ(wait_for_end(), 0);
}

TEST_F(StartupTest, LeavesTheMarkerTheLogAndTheLook) {
  EXPECT_EQ(live_once(), 0);
  EXPECT_EQ(read_file("/root/.brindle_first_run"), "Installed");
  EXPECT_EQ(read_file("/root/.brindle_log"), "exit main\n");
  EXPECT_TRUE(same_bytes(read_file(test_data("../data/gtkrc/gtkrc")), read_file("/etc/skel/.gtkrc-2.0")));
}

TEST_F(StartupTest, OnAFullDiskTheOldLookStays) {
  write_file("/etc/skel/.gtkrc-2.0", "old");
  const SmallDisk disk("/etc/skel");
  disk.fill_but(0);
  EXPECT_EQ(live_once(), 0);
  EXPECT_EQ(read_file("/etc/skel/.gtkrc-2.0"), "old");
  EXPECT_EQ("", output_of("ls -A /etc/skel | grep brindle"));
}

TEST_F(StartupTest, ASecondStartOnlyCopiesTheLookAndEmptiesTheLog) {
  write_file("/root/.brindle_first_run", "");
  write_file("/root/.brindle_log", "an old line\n");
  symlink("/nowhere", "/home/ghost");
  EXPECT_EQ(live_once(), 0);
  EXPECT_EQ(read_file("/root/.brindle_first_run"), "");  // whatever it holds, it is a marker
  EXPECT_EQ(read_file("/root/.brindle_log"), "exit main\n");
  EXPECT_EQ(read_file("/root/stdout").find("Path::"), std::string::npos);
  EXPECT_TRUE(exists("/etc/skel/.gtkrc-2.0"));
}

// What was there before a start can be had back, too.
std::string kept_runs() { return output_of("ls /root/.brindle_before 2>/dev/null"); }

TEST_F(StartupTest, WhatTheFirstStartMakesAndReplacesIsKept) {
  write_file("/etc/skel/.gtkrc-2.0", "old");
  EXPECT_EQ(live_once(), 0);
  const std::string run = "/root/.brindle_before/" + kept_runs().substr(0, 17);
  EXPECT_EQ("old", read_file(run + "/files/etc/skel/.gtkrc-2.0"));
  const std::string list = read_file(run + "/list.tsv");
  EXPECT_NE(list.find("path\t/root/.brindle_first_run\tnothing\tfile "), std::string::npos) << list;
  EXPECT_NE(list.find("run\tmigration\t-\tover\n"), std::string::npos) << list;
}

TEST_F(StartupTest, AStartThatChangesNothingKeepsNothing) {
  EXPECT_EQ(live_once(), 0);
  const std::string before = kept_runs();
  sleep(1);  // another run would have another name
  EXPECT_EQ(live_once(), 0);
  EXPECT_EQ(before, kept_runs());
}

TEST_F(StartupTest, WhereNothingCanBeKeptTheLookStays) {
  write_file("/root/.brindle_before", "");
  write_file("/etc/skel/.gtkrc-2.0", "old");
  EXPECT_EQ(live_once(), 0);
  EXPECT_EQ("old", read_file("/etc/skel/.gtkrc-2.0"));
  EXPECT_FALSE(exists("/root/.brindle_first_run"));
  EXPECT_NE(read_file("/root/stderr").find("could not be kept"), std::string::npos);
}

TEST_F(StartupTest, TheFirstStartCopiesOnlyIntoWhatCannotBeOpened) {
  write_file("/home/anna/file", "");
  symlink("/nowhere", "/home/ghost");
  start_display();  // before the log: the display must not inherit it
  SystemLog log;
  EXPECT_EQ(live_once(), 0);
  EXPECT_FALSE(exists("/home/anna/.gtkrc-2.0"));
  EXPECT_EQ(read_file("/root/stdout").rfind("buffer=/root\nPath::/home/ghost/\nGetting OS", 0), 0U);
  bool copied = false;
  for (const std::string& message : log.messages()) {
    if (message.find("exit status 1, cp -f /usr/local/brindle/.gtkrc-2.0 /home/ghost/") != std::string::npos)
      copied = true;
  }
  EXPECT_TRUE(copied);
}

TEST_F(StartupTest, AHostileHomeNameRunsNothing) {
  symlink("/nowhere", "/home/$(touch hit); touch hit");
  start();
  ask_to_close(window_called(shipped_text("window1")));
  EXPECT_EQ(wait_for_end(), 0);
  EXPECT_FALSE(exists("hit"));
  EXPECT_NE(read_file("/root/stdout").find("Path::/home/$(touch hit); touch hit/\n"), std::string::npos);
}

TEST_F(StartupTest, NoListingOfTheHomesEndsTheFirstStart) {
  ASSERT_EQ(shell_quietly("rm -rf /home && touch /home"), 0);
  start(false);
  EXPECT_EQ(wait_for_end(), 255);
  EXPECT_EQ(read_file("/root/stdout"), "buffer=/root\n");
  EXPECT_FALSE(exists("/root/.brindle_first_run"));
  EXPECT_FALSE(exists("/root/.brindle_log"));
}

TEST_F(StartupTest, NoListingOfTheHomesDoesNotMatterLater) {
  ASSERT_EQ(shell_quietly("rm -rf /home && touch /home /root/.brindle_first_run"), 0);
  EXPECT_EQ(live_once(), 0);
}

TEST_F(StartupTest, AMarkerThatCannotBeMadeEndsSilently) {
  symlink("/nowhere/file", "/root/.brindle_first_run");
  start(false);
  EXPECT_EQ(wait_for_end(), 1);
  EXPECT_EQ(read_file("/root/stderr"), "");
  EXPECT_FALSE(exists("/root/.brindle_log"));
}

TEST_F(StartupTest, ALogThatCannotBeMadeEndsWithTheReason) {
  write_file("/root/.brindle_log/in-the-way", "");
  start(false);
  EXPECT_EQ(wait_for_end(), 1);
  EXPECT_EQ(read_file("/root/stderr"), "fp_log: Is a directory\n");
  EXPECT_TRUE(read_file("/root/stdout").ends_with("ISNLD:0\nbuffer=/root\n"));
  EXPECT_TRUE(exists("/root/.brindle_first_run"));
}

TEST_F(StartupTest, TheNovellLayoutIsFoundOnGnomeOnly) {
  ASSERT_EQ(shell_quietly("mkdir -p /opt/gnome/share/pixmaps"), 0);
  EXPECT_EQ(live_once(), 0);
  EXPECT_NE(read_file("/root/stdout").find("ISNLD:1\n"), std::string::npos);
  EXPECT_NE(read_file("/root/stdout").find("Parse Complete:1\n"), std::string::npos);
  write_file("/etc/xandros-version", "");
  EXPECT_EQ(live_once(), 0);
  EXPECT_NE(read_file("/root/stdout").find("ISNLD:0\n"), std::string::npos);
}

TEST_F(StartupTest, AnotherLanguageHasItsOwnLookAndAsksTwice) {
  write_file("/usr/local/brindle/de_DE", "window1=Willkommen bei Brindle\n");
  setenv("LANG", "de_DE.UTF-8", 1);
  start();
  const std::string id = window_called("Willkommen bei Brindle");
  ASSERT_NE(id, "");
  ask_to_close(id);
  EXPECT_EQ(wait_for_end(), 0);
  const std::string twice = "Trying to read gtkrc file." + language_traces("de_DE.UTF-8") +
                            language_traces("de_DE.UTF-8") +
                            "\nGTKRCPATH::/usr/local/brindle/.gtkrc-de_DE\n\nParse Complete:0\n";
  EXPECT_NE(read_file("/root/stdout").find(twice), std::string::npos);
}

TEST_F(StartupTest, WithoutTextsThereIsNoWindowButAProgram) {
  setenv("LANG", "xx_XX", 1);
  start();
  usleep(1500000);
  EXPECT_EQ(output_of("xdotool search --onlyvisible --pid " + std::to_string(child) + " 2>/dev/null"), "");
  EXPECT_EQ(kill(child, 0), 0);
  EXPECT_EQ(waitpid(child, nullptr, WNOHANG), 0);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
}

TEST_F(StartupTest, NothingIsComplainedAbout) {
  EXPECT_EQ(live_once(), 0);
  std::string complaints = read_file("/root/stderr");
  // The locale may not be generated on the machine that runs the test.
  const std::string locale = "\tUsing the fallback 'C' locale.\n";
  const std::size_t at = complaints.find(locale);
  if (at != std::string::npos) complaints = complaints.substr(at + locale.size());
  EXPECT_EQ(complaints, "");
}

// ---- A worker that does not end ---------------------------------------------------------------------

void tell_that_objects_go() { std::fputs("objects go", stderr); }

TEST(Session, AWorkerThatGoesOnFindsEverythingInItsPlace) {
  const auto end_with = [](bool runs) {
    std::atexit(tell_that_objects_go);
    worker_runs = runs;
    std::fputs("written", stdout);
    leave_worker_behind();
    std::exit(3);
  };
  EXPECT_EXIT(end_with(true), testing::ExitedWithCode(0), testing::Not(testing::HasSubstr("objects go")));
  EXPECT_EXIT(end_with(false), testing::ExitedWithCode(3), "objects go");
}

// ---- Options --------------------------------------------------------------------------------------

class OptionsTest : public StartupTest {
 protected:
  // Whether a start with these words, without a display, ends with `status` and leaves nothing behind.
  bool only_answers(std::vector<std::string> words, int status) {
    arguments = std::move(words);
    unsetenv("DISPLAY");
    const std::string before = everything();
    start(false);
    const int ended = wait_for_end();
    EXPECT_EQ(status, ended) << read_file("/root/stderr");
    EXPECT_EQ(before, everything());
    return status == ended;
  }

 private:
  // The files that a start writes, with their times.
  static std::string everything() {
    return output_of(
        "find /root /etc/skel /home ! -name stdout ! -name stderr -newermt @0 -printf '%p %T@\\n' | sort");
  }
};

TEST_F(OptionsTest, HelpAndVersionAreAnswered) {
  write_file("/root/stdout", "");
  write_file("/root/stderr", "");
  for (const char* help : {"--help", "-h"}) {
    ASSERT_TRUE(only_answers({help}, 0));
    EXPECT_TRUE(read_file("/root/stdout").starts_with("usage: brindle [options]\n"));
    EXPECT_NE(read_file("/root/stdout").find("--version"), std::string::npos);
    EXPECT_EQ("", read_file("/root/stderr"));
  }
  for (const char* version : {"--version", "-V"}) {
    ASSERT_TRUE(only_answers({version}, 0));
    EXPECT_THAT(read_file("/root/stdout"), testing::MatchesRegex("brindle [0-9.]+\n"));
    EXPECT_EQ("", read_file("/root/stderr"));
  }
}

TEST_F(OptionsTest, WhatIsNotKnownIsNamedBeforeAnythingIsWritten) {
  write_file("/root/stdout", "");
  write_file("/root/stderr", "");
  const std::pair<std::vector<std::string>, std::string> refused[] = {
      {{"--nonsense"}, "the option --nonsense is not known, or not given like this"},
      {{"--displ=:5"}, "the option --displ=:5 is not known, or not given like this"},
      {{"--displ", ":5"}, "the option --displ is not known, or not given like this"},
      {{"--hel"}, "the option --hel is not known, or not given like this"},
      {{"--vers"}, "the option --vers is not known, or not given like this"},
      {{"--sync", "--nonsense=3"}, "the option --nonsense=3 is not known, or not given like this"},
      {{"-hx"}, ""},
      {{"-xh"}, "the option -x is not known, or not given like this"},
      {{"--display"}, "the option --display is not known, or not given like this"},
      {{"--help=yes"}, "the option --help=yes is not known, or not given like this"},
      {{"my archive.zip"}, "\"my archive.zip\" is no option"},
      {{"--sync", "", "--help"}, "\"\" is no option"},
  };
  for (const auto& [words, said] : refused) {
    ASSERT_TRUE(only_answers(words, said.empty() ? 0 : 2)) << words.back();
    if (!said.empty()) {
      EXPECT_EQ("brindle: " + said + "; brindle --help tells more\n", read_file("/root/stderr"));
    }
    EXPECT_EQ(said.empty(), !read_file("/root/stdout").empty());
  }
}

TEST_F(OptionsTest, OfTheToolkitAndTheSessionAreKnownWithTheirWords) {
  write_file("/root/stdout", "");
  write_file("/root/stderr", "");
  for (const std::string option :
       {"--display", "--screen", "--class", "--name", "--gtk-module", "--gdk-debug", "--gdk-no-debug",
        "--gtk-debug", "--gtk-no-debug", "--sm-client-id", "--sm-config-prefix"}) {
    ASSERT_TRUE(only_answers({option, "--help", "--version"}, 0));  // the second is the word of the first
    EXPECT_TRUE(read_file("/root/stdout").starts_with("brindle ")) << option;
    ASSERT_TRUE(only_answers({option + "=--help", "--version"}, 0));
    EXPECT_TRUE(read_file("/root/stdout").starts_with("brindle ")) << option;
  }
  for (const std::string option : {"--g-fatal-warnings", "--sync", "--sm-disable"}) {
    ASSERT_TRUE(only_answers({option, "--version", "--help"}, 0));
    EXPECT_TRUE(read_file("/root/stdout").starts_with("brindle ")) << option;
    ASSERT_TRUE(only_answers({option + "=1", "--version"}, 2));
  }
}

TEST_F(OptionsTest, TheToolkitsAreItsOwn) {
  start_display();
  arguments = {"--display=" + std::string(getenv("DISPLAY")), "--name", "mover", "--sync"};
  unsetenv("DISPLAY");
  start(false);
  setenv("DISPLAY", arguments[0].substr(arguments[0].find(':')).c_str(), 1);
  const std::string id = window_called(shipped_text("window1"));
  ASSERT_NE("", id) << read_file("/root/stderr");
  ask_to_close(id);
  EXPECT_EQ(0, wait_for_end());
}

// ---- the start script -----------------------------------------------------------------------------

struct Started {
  std::string variables;
  std::string said;
  int status;
};

constexpr const char* wizard_program = "/usr/local/libexec/brindle/brindle-wizard";

void install_script(const std::string& path, const std::string& text) {
  write_file(path, "#!/bin/sh\n" + text);
  shell_quietly("chmod +x '" + path + "'");
}

// What is installed when people start `brindle`, with a wizard that only tells how it was started.
void install_start_script() {
  install_script(wizard_program, "echo \"${LC_CTYPE-unset} ${LANG-unset} $*\"\n");
  std::string script = read_file(test_data("../data/start/brindle.in"));
  for (const auto& [blank, program] :
       {std::pair<std::string, std::string>("@BRINDLE_WIZARD@", wizard_program),
        {"@BRINDLE_ACCOUNT@", "/usr/local/bin/brindle-account"}})
    script.replace(script.find(blank), blank.size(), program);
  write_file("/usr/local/bin/brindle", script);
  shell_quietly("chmod +x /usr/local/bin/brindle");
}

Started start_installed(const std::string& environment) {
  const int status = shell_quietly("env -u LC_CTYPE -u LANG -u DISPLAY -u WAYLAND_DISPLAY " + environment +
                                   " brindle --sync 'a b' >/root/out 2>/root/said");
  return {read_file("/root/out"), read_file("/root/said"), status};
}

Started start_script(const std::string& environment) {
  install_start_script();
  return start_installed(environment);
}

class StartScriptTest : public testing::Test {
 protected:
  void SetUp() override {
    for (const char* code : {"en_US", "C.UTF", "de_DE"})
      write_file(std::string("/usr/local/brindle/") + code, "");
  }
};

TEST_F(StartScriptTest, AnInstalledLanguageIsKept) {
  const Started started = start_script("LANG=de_DE.UTF-8");
  EXPECT_EQ(started.variables, "unset de_DE.UTF-8 --sync a b\n");
  EXPECT_EQ(started.said, "");
}

TEST_F(StartScriptTest, AMissingLanguageBecomesEnglish) {
  const Started started = start_script("LANG=fr_FR.UTF-8");
  EXPECT_EQ(started.variables, "unset C.UTF-8 --sync a b\n");
  EXPECT_EQ(started.said,
            "brindle: no texts are installed for the language of LANG=\"fr_FR.UTF-8\"; using English.\n");
}

TEST_F(StartScriptTest, EnglishIsThatOfALocaleThatEveryMachineHas) {
  EXPECT_EQ(output_of("LC_ALL=C.UTF-8 locale charmap 2>&1"), "UTF-8\n");
  shell_quietly("rm /usr/local/brindle/C.UTF");
  EXPECT_EQ(start_script("LANG=fr_FR.UTF-8").variables, "unset en_US.UTF-8 --sync a b\n");
}

TEST_F(StartScriptTest, WithoutAnyTextsNothingIsStarted) {
  shell_quietly("rm /usr/local/brindle/C.UTF /usr/local/brindle/en_US");
  const Started started = start_script("LANG=fr_FR.UTF-8");
  EXPECT_EQ(started.status, 1);
  EXPECT_EQ(started.variables, "");
  EXPECT_EQ(started.said,
            "brindle: the texts of the wizard's windows are missing: neither /usr/local/brindle/C.UTF nor "
            "/usr/local/brindle/en_US can be read. Please install Brindle again.\n");
  EXPECT_EQ(start_installed("LANG=de_DE.UTF-8").variables, "unset de_DE.UTF-8 --sync a b\n");
}

TEST_F(StartScriptTest, HelpAndVersionNeedNoTexts) {
  shell_quietly("rm /usr/local/brindle/C.UTF /usr/local/brindle/en_US");
  install_start_script();
  for (const char* word : {"--help", "-h", "--version", "-V"}) {
    EXPECT_EQ(output_of(std::string("env -u LC_CTYPE LANG=fr_FR brindle --sync ") + word + " 2>&1"),
              std::string("unset fr_FR ") + word + "\n");
  }
}

TEST_F(StartScriptTest, AnEmptyCodeBecomesEnglish) {
  for (const char* locale : {"LANG=C", "LANG=", "LANG=../..", "LANG=.////"}) {
    const Started started = start_script(locale);
    EXPECT_EQ(started.variables, "unset C.UTF-8 --sync a b\n") << locale;
    EXPECT_NE(started.said, "");
  }
}

TEST_F(StartScriptTest, NoLocaleBecomesEnglish) {
  EXPECT_EQ(start_script("A=1").variables, "unset C.UTF-8 --sync a b\n");
}

TEST_F(StartScriptTest, LcCtypeCountsFirstOnGnome) {
  EXPECT_EQ(start_script("LANG=fr_FR LC_CTYPE=de_DE").variables, "de_DE fr_FR --sync a b\n");
  EXPECT_EQ(start_script("LANG=de_DE LC_CTYPE=C").variables, "C.UTF-8 de_DE --sync a b\n");
}

TEST_F(StartScriptTest, LcCtypeDoesNotCountOnKde) {
  write_file("/etc/xandros-version", "");
  EXPECT_EQ(start_script("LANG=de_DE LC_CTYPE=C").variables, "C de_DE --sync a b\n");
}

// The same after a run: a wizard that leaves a note, and programs that note how they were called.
class AfterARunTest : public StartScriptTest {
 protected:
  void SetUp() override {
    StartScriptTest::SetUp();
    install_start_script();
    shell_quietly("rm -f /usr/local/bin/xdg-open; mkdir -p /root/calls");
    wizard_leaves("system=gnome");
    record("brindle-account", "echo what arrived; echo page >\"$4\"; exit 1");
    record("gconftool-2", "");
    for (const char* browser : {"xdg-open", "firefox", "konqueror", "mozilla", "epiphany"})
      record(browser, "");
  }

  // A program that writes "name word|word|" for each call and then does `rest`.
  static void record(const std::string& name, const std::string& rest) {
    install_script(
        "/usr/local/bin/" + name,
        "{ printf '" + name + " '; printf '%s|' \"$@\"; echo; } >>/root/calls/list\n" + rest + "\n");
  }
  static void wizard_leaves(const std::string& line, const std::string& rest = "exit 0") {
    install_script(wizard_program, "echo '" + line + "' >/root/.brindle_run\necho wizard\n" + rest + "\n");
  }
  // Browsers are called in the background, so they come last and a moment later.
  static std::string calls(std::size_t lines) {
    std::string list;
    for (int tries = 0; tries < 40; ++tries) {
      list = output_of("cat /root/calls/list 2>/dev/null");
      if (static_cast<std::size_t>(std::count(list.begin(), list.end(), '\n')) >= lines) break;
      usleep(50000);
    }
    return list;
  }
};

constexpr const char* account_call =
    "brindle-account --run|/root/.brindle_run|--html|/root/Brindle account.html|\n";

TEST_F(AfterARunTest, TheAccountFollowsAndItsPageIsShown) {
  const Started started = start_installed("LANG=en_US DISPLAY=:7");
  EXPECT_EQ(started.variables, "wizard\n\nwhat arrived\n");
  EXPECT_EQ(started.said, "");
  EXPECT_EQ(started.status, 0);  // the wizard's, not the account's
  EXPECT_EQ(calls(3), std::string("gconftool-2 --shutdown|\n") + account_call +
                          "xdg-open /root/Brindle account.html|\n");
}

TEST_F(AfterARunTest, NothingFollowsAWizardThatRanNothing) {
  install_script(wizard_program, "exit 0\n");
  start_installed("LANG=en_US DISPLAY=:7");
  write_file("/root/.brindle_run", "system=gnome\n");  // of an earlier start
  start_installed("LANG=en_US DISPLAY=:7");
  EXPECT_EQ(calls(0), "");
}

TEST_F(AfterARunTest, ANoteIsReadThatReplacedAnEarlierOne) {
  write_file("/root/.brindle_run", "system=nld\n");
  start_installed("LANG=en_US");
  EXPECT_EQ(calls(2), std::string("gconftool-2 --shutdown|\n") + account_call);
}

TEST_F(AfterARunTest, ALinkInPlaceOfTheNoteIsNoNote) {
  install_script(wizard_program, "ln -s /root/else /root/.brindle_run; echo system=gnome >/root/else\n");
  start_installed("LANG=en_US");
  EXPECT_EQ(calls(0), "");
}

TEST_F(AfterARunTest, OnKdeThereAreNoSettingsToFlush) {
  wizard_leaves("system=xandros");
  start_installed("LANG=en_US");
  EXPECT_EQ(calls(1), account_call);
}

TEST_F(AfterARunTest, WithoutADisplayNoPageIsShown) {
  start_installed("LANG=en_US");
  usleep(300000);
  EXPECT_EQ(calls(2), std::string("gconftool-2 --shutdown|\n") + account_call);
}

TEST_F(AfterARunTest, APageThatWasNotWrittenIsNotShown) {
  write_file("/root/Brindle account.html", "an old page\n");
  record("brindle-account", "exit 2");
  start_installed("LANG=en_US DISPLAY=:7");
  usleep(300000);
  EXPECT_EQ(calls(2), std::string("gconftool-2 --shutdown|\n") + account_call);
}

TEST_F(AfterARunTest, TheFirstBrowserThatIsThereIsTaken) {
  for (const char* browser : {"xdg-open", "firefox", "konqueror", "mozilla"}) {
    shell_quietly("rm -f /usr/bin/" + std::string(browser) + " /usr/local/bin/" + browser +
                  " /root/calls/list");
    shell_quietly("rm -f '/root/Brindle account.html' /root/.brindle_run");
    start_installed("LANG=en_US WAYLAND_DISPLAY=wayland-0");
    const std::string next = std::string(browser) == "xdg-open"    ? "firefox"
                             : std::string(browser) == "firefox"   ? "konqueror"
                             : std::string(browser) == "konqueror" ? "mozilla"
                                                                   : "epiphany";
    EXPECT_TRUE(calls(3).ends_with("\n" + next + " /root/Brindle account.html|\n")) << calls(3);
  }
}

TEST_F(AfterARunTest, ABrowserThatStaysKeepsNobodyWaiting) {
  record("xdg-open", "sleep 50");
  EXPECT_EQ(shell_quietly("DISPLAY=:7 LANG=en_US timeout 10 brindle | cat >/root/out"), 0);
  EXPECT_EQ(read_file("/root/out"), "wizard\n\nwhat arrived\n");
  EXPECT_TRUE(calls(3).ends_with("\nxdg-open /root/Brindle account.html|\n"));
}

TEST_F(AfterARunTest, TheWizardsStatusIsTheScripts) {
  for (const int status : {0, 1, 7, 255}) {
    wizard_leaves("system=linspire", "exit " + std::to_string(status));
    EXPECT_EQ(start_installed("LANG=en_US").status, status);
    shell_quietly("rm /root/.brindle_run");
  }
}

TEST_F(AfterARunTest, AWizardThatWasKilledIsToldOfAndTheScriptEndsTheSameWay) {
  wizard_leaves("system=linspire", "kill -SEGV $$");
  EXPECT_EQ(
      output_of("LANG=en_US python3 -c 'import subprocess as s; print(s.run([\"brindle\"], stdout=s.DEVNULL, "
                "stderr=s.DEVNULL).returncode)'"),
      "-11\n");
  EXPECT_EQ(calls(1), account_call);
}

TEST_F(AfterARunTest, AnInterruptedWizardIsToldOfAsWell) {
  wizard_leaves("system=linspire", "sleep 50");
  EXPECT_EQ(
      output_of("LANG=en_US python3 -c '\n"
                "import os, signal, subprocess, time\n"
                "run = subprocess.Popen([\"brindle\"], stdout=subprocess.DEVNULL, start_new_session=True)\n"
                "while not os.path.exists(\"/root/.brindle_run\"): time.sleep(0.05)\n"
                "time.sleep(0.3)\n"
                "os.killpg(run.pid, signal.SIGINT)\n"
                "print(run.wait())'"),
      "-2\n");
  EXPECT_EQ(calls(1), account_call);
}

TEST_F(AfterARunTest, TheHomeIsTheWizards) {
  shell_quietly("useradd -m ada; chmod 777 /root /root/calls; mkdir /tmp/elsewhere");
  install_script(wizard_program, "echo system=xandros >/home/ada/.brindle_run\n");
  shell_quietly("HOME=/tmp/elsewhere LANG=en_US setpriv --reuid ada --regid ada --clear-groups brindle");
  EXPECT_EQ(calls(1),
            "brindle-account --run|/home/ada/.brindle_run|--html|/home/ada/Brindle account.html|\n");
}

TEST_F(AfterARunTest, WithoutTheAccountTheWizardIsEnough) {
  shell_quietly("rm /usr/local/bin/brindle-account");
  const Started started = start_installed("LANG=en_US DISPLAY=:7");
  EXPECT_EQ(started.variables, "wizard\n");
  EXPECT_EQ(started.said, "");
  EXPECT_EQ(calls(0), "");
}

// ---- The terminal and the end -----------------------------------------------------------------------

class TerminalTest : public StartupTest, public testing::WithParamInterface<bool> {};

TEST_P(TerminalTest, IsGivenUpSoThatNoCommandCanWaitThere) {
  start_on_terminal(GetParam());
  const std::string window = window_called(shipped_text("window1"));
  ASSERT_NE(window, "");
  const std::string wizard = wizard_id();
  ASSERT_NE(wizard, "");
  EXPECT_EQ(output_of("ps -o tty= -p " + wizard), "?\n");
  EXPECT_EQ(output_of("readlink /proc/" + wizard + "/fd/0"), "/dev/null\n");
  EXPECT_NE(output_of("readlink /proc/" + wizard + "/fd/1").find("/dev/pts/"), std::string::npos);
  ask_to_close(window);
  EXPECT_EQ(wait_for_end(), 0);
}

INSTANTIATE_TEST_SUITE_P(AsLeader, TerminalTest, testing::Values(true));
INSTANTIATE_TEST_SUITE_P(AsJob, TerminalTest, testing::Values(false));

TEST_F(StartupTest, ASignalEndsItAsAClosedWindowDoes) {
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
    start();
    ASSERT_NE(window_called(shipped_text("window1")), "");
    kill(child, signal);
    EXPECT_EQ(wait_for_end(), 1000 + signal);
    EXPECT_EQ(read_file("/root/.brindle_log"), "exit main\n");
  }
}

// A program of that name, found first, which tells that it runs and never ends.
void install_hanging(const std::string& name) {
  install_script("/usr/local/bin/" + name, "trap '' TERM\ntouch /root/hangs\n(exec sleep 4325)\nexit 1\n");
}

void wait_until_it_hangs() {
  for (int tries = 0; tries < 200 && !exists("/root/hangs"); ++tries) usleep(50000);
  ASSERT_TRUE(exists("/root/hangs"));
}

TEST_F(StartupTest, ASignalEndsItWithACommandThatHangsAtTheStart) {
  install_hanging("cp");
  start();
  wait_until_it_hangs();
  kill(child, SIGTERM);
  EXPECT_EQ(wait_for_end(), 1000 + SIGTERM);
  EXPECT_EQ("", output_of("pgrep -xf 'sleep 4325'"));
}

// Activates the window with this title and then does what xdotool is told.
bool xdotool_in(const std::string& title, const std::string& words) {
  return shell_quietly("timeout 10 xdotool search --sync --onlyvisible --name '" + title +
                       "' windowactivate --sync && timeout 10 xdotool " + words) == 0;
}

// How many pixels of a window on the screen are not those of a page's picture.
long other_pixels(const std::string& id, const std::string& picture) {
  return std::stol(output_of("import -window " + id +
                             " /tmp/page.png; compare -metric AE /tmp/page.png /usr/local/brindle/" +
                             picture + ".png null: 2>&1"));
}

TEST_F(StartupTest, ThePagesHaveThePicturesOfTheirNames) {
  start_display();
  start_window_manager();
  start();
  const std::string first = window_called(shipped_text("window1"));
  ASSERT_NE(first, "");
  ASSERT_TRUE(xdotool_in(shipped_text("window1"), "sleep 0.5"));
  EXPECT_LT(other_pixels(first, "step1"), other_pixels(first, "step2"));
  ASSERT_TRUE(xdotool_in(shipped_text("window1"), "key Return"));
  const std::string second = window_called(shipped_text("window2"));
  ASSERT_NE(second, "");
  ASSERT_TRUE(xdotool_in(shipped_text("window2"), "sleep 0.5"));
  EXPECT_LT(other_pixels(second, "step2"), other_pixels(second, "step1"));
  ask_to_close(second);
  EXPECT_EQ(wait_for_end(), 0);
}

// The progress is drawn behind the closing of its page when both are due at once, as on a machine that is
// busy with something else for a moment.
TEST_F(StartupTest, APageThatIsClosedIsStillThereForWhatIsDrawnOnIt) {
  install_script("/usr/local/bin/unzip",
                 "[ \"$1\" = -o ] || exec /usr/bin/unzip \"$@\"\ntouch /root/hangs\nsleep 4325\n");
  ASSERT_EQ(shell_quietly("cd /root; truncate -s 20M big; zip -q a.zip big; rm big"), 0);
  start_display();
  start_window_manager();
  start();
  ASSERT_NE(window_called(shipped_text("window1")), "") << read_file("/root/stderr");
  ASSERT_TRUE(xdotool_in(shipped_text("window1"), "key Return"));
  ASSERT_NE(window_called(shipped_text("window2")), "");
  ASSERT_TRUE(xdotool_in(shipped_text("window2"), "key Tab"));
  ASSERT_TRUE(xdotool_in(shipped_text("window2"), "type /root/a.zip"));
  ASSERT_TRUE(xdotool_in(shipped_text("window2"), "key alt+n"));
  const std::string page = window_called(shipped_text("window3"));
  ASSERT_NE(page, "");
  wait_until_it_hangs();
  ASSERT_TRUE(xdotool_in(shipped_text("window3"), "sleep 0.5"));
  EXPECT_LT(other_pixels(page, "step3"), other_pixels(page, "step1"));
  kill(child, SIGSTOP);
  ask_to_close(page);
  usleep(400000);  // longer than from one step of the progress to the next
  kill(child, SIGCONT);
  EXPECT_EQ(wait_for_end(), 0);
  EXPECT_EQ(read_file("/root/stderr").find("CRITICAL"), std::string::npos) << read_file("/root/stderr");
}

TEST_F(StartupTest, ASecondOneInTheSameHomeSaysSoAndGoes) {
  start();
  const std::string id = window_called(shipped_text("window1"));
  ASSERT_NE(id, "");
  write_file("/root/.brindle_log", "of the first one\n");
  const pid_t first = std::exchange(child, 0);
  start();
  EXPECT_EQ(wait_for_end(), 1);
  EXPECT_EQ(read_file("/root/stderr"),
            "brindle: it is running already for /root; two at once would be in each other's way.\n");
  EXPECT_EQ(read_file("/root/.brindle_log"), "of the first one\n");
  child = first;
  ask_to_close(id);
  EXPECT_EQ(wait_for_end(), 0);
}

}  // namespace
