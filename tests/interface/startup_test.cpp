// The real program, from its start to its end.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "gui.h"
#include "support/commands.h"
#include "support/files.h"
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
    execl(program.c_str(), "brindle-wizard", nullptr);
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

TEST_F(StartupTest, LeavesTheMarkerTheLogAndTheLook) {
  EXPECT_EQ(live_once(), 0);
  EXPECT_EQ(read_file("/root/.brindle_first_run"), "Installed");
  EXPECT_EQ(read_file("/root/.brindle_log"), "exit main\n");
  EXPECT_TRUE(same_bytes(read_file(test_data("../data/gtkrc/gtkrc")), read_file("/etc/skel/.gtkrc-2.0")));
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

// ---- the start script -----------------------------------------------------------------------------

struct Started {
  std::string variables;
  std::string said;
};

// What the wizard gets when people start `brindle`.
Started start_script(const std::string& environment) {
  const std::string wizard = "/usr/local/libexec/brindle/brindle-wizard";
  write_file(wizard, "#!/bin/sh\necho \"${LC_CTYPE-unset} ${LANG-unset} $*\"\n");
  shell_quietly("chmod +x " + wizard);
  const std::string script = read_file(test_data("../data/start/brindle.in"));
  std::string installed = script;
  const std::string blank = "@BRINDLE_WIZARD@";
  installed.replace(installed.find(blank), blank.size(), wizard);
  write_file("/usr/local/bin/brindle", installed);
  shell_quietly("chmod +x /usr/local/bin/brindle");
  const std::string variables =
      output_of("env -u LC_CTYPE -u LANG " + environment + " brindle --sync 'a b' 2>/root/said");
  return {variables, read_file("/root/said")};
}

class StartScriptTest : public testing::Test {
 protected:
  void SetUp() override {
    write_file("/usr/local/brindle/en_US", "");
    write_file("/usr/local/brindle/de_DE", "");
  }
};

TEST_F(StartScriptTest, AnInstalledLanguageIsKept) {
  const Started started = start_script("LANG=de_DE.UTF-8");
  EXPECT_EQ(started.variables, "unset de_DE.UTF-8 --sync a b\n");
  EXPECT_EQ(started.said, "");
}

TEST_F(StartScriptTest, AMissingLanguageBecomesEnglish) {
  const Started started = start_script("LANG=fr_FR.UTF-8");
  EXPECT_EQ(started.variables, "unset en_US.UTF-8 --sync a b\n");
  EXPECT_EQ(started.said,
            "brindle: no texts are installed for the language of LANG=\"fr_FR.UTF-8\"; using English.\n");
}

TEST_F(StartScriptTest, AnEmptyCodeBecomesEnglish) {
  for (const char* locale : {"LANG=C", "LANG=", "LANG=../..", "LANG=.////"}) {
    const Started started = start_script(locale);
    EXPECT_EQ(started.variables, "unset en_US.UTF-8 --sync a b\n") << locale;
    EXPECT_NE(started.said, "");
  }
}

TEST_F(StartScriptTest, NoLocaleBecomesEnglish) {
  EXPECT_EQ(start_script("A=1").variables, "unset en_US.UTF-8 --sync a b\n");
}

TEST_F(StartScriptTest, LcCtypeCountsFirstOnGnome) {
  EXPECT_EQ(start_script("LANG=fr_FR LC_CTYPE=de_DE").variables, "de_DE fr_FR --sync a b\n");
  EXPECT_EQ(start_script("LANG=de_DE LC_CTYPE=C").variables, "en_US.UTF-8 de_DE --sync a b\n");
}

TEST_F(StartScriptTest, LcCtypeDoesNotCountOnKde) {
  write_file("/etc/xandros-version", "");
  EXPECT_EQ(start_script("LANG=de_DE LC_CTYPE=C").variables, "C de_DE --sync a b\n");
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

}  // namespace
