#include "main/session.h"

#include <fcntl.h>
#include <glib-unix.h>
#include <gtk/gtk.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "place/descriptor.h"
#include "process/archive/work_folder.h"
#include "process/run/run_note.h"
#include "shell/ending.h"
#include "shell/processes.h"
#include "state/question.h"
#include "state/state.h"

namespace {

int ending_signal = 0;

constexpr int ending_signals[] = {SIGHUP, SIGINT, SIGTERM};

template <int Signal>
gboolean leave_main_loop(gpointer /*user_data*/) {
  ending_signal = Signal;
  gtk_main_quit();
  return TRUE;
}

// ---- Before the main loop --------------------------------------------------------------------------------

volatile std::sig_atomic_t signal_at_start = 0;

void note_signal(int signal) { signal_at_start = signal; }

bool no_signal_yet() { return signal_at_start == 0; }

// ---- In the main loop ------------------------------------------------------------------------------------

// False once the main loop was left.
bool serve_windows() {
  do {
    if (gtk_main_iteration_do(FALSE) != FALSE) return false;
  } while (gtk_events_pending() != FALSE);
  return true;
}

// ---- After it --------------------------------------------------------------------------------------------

void hide_windows() {
  GList* windows = gtk_window_list_toplevels();
  for (const GList* window = windows; window != nullptr; window = window->next)
    gtk_widget_hide(GTK_WIDGET(window->data));
  g_list_free(windows);
  gdk_flush();
}

constexpr auto time_to_end_by_itself = std::chrono::seconds(3);
constexpr auto time_to_end_kindly = std::chrono::seconds(1);
constexpr auto time_to_end_at_all = std::chrono::seconds(3);

// Most commands end by themselves within a moment, and whole.
class Patience {
 public:
  bool is_over() const { return passed() > time_to_end_by_itself + time_to_end_kindly + time_to_end_at_all; }

  void end_what_runs() {
    if (passed() < time_to_end_by_itself) return;
    const bool is_over = passed() > time_to_end_by_itself + time_to_end_kindly;
    if (is_over) shell::end_commands(shell::Asked::to_death);
    if (!is_over && !std::exchange(asked_, true)) shell::end_commands(shell::Asked::kindly);
  }

 private:
  std::chrono::steady_clock::duration passed() const { return std::chrono::steady_clock::now() - began_; }

  const std::chrono::steady_clock::time_point began_ = std::chrono::steady_clock::now();
  bool asked_ = false;
};

bool something_runs() { return worker_runs || !shell::Processes().own().empty(); }

// ---- The terminal ----------------------------------------------------------------------------------------

void read_nothing() {
  const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
  if (nothing < 0) return;
  dup2(nothing, STDIN_FILENO);
  if (nothing != STDIN_FILENO) close(nothing);
}

}  // namespace

void leave_terminal() {
  read_nothing();
  const int terminal = open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (terminal < 0) return;
  // Where the program leads the terminal's session, the kernel hangs up on it for this.
  const auto before = std::signal(SIGHUP, SIG_IGN);
  ioctl(terminal, TIOCNOTTY);
  std::signal(SIGHUP, before);
  close(terminal);
}

bool be_the_only_one(const std::string& home) {
  static Descriptor folder;
  folder = Descriptor(open(home.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder || flock(folder.number(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) return true;
  std::fprintf(stderr, "brindle: it is running already for %s; two at once would be in each other's way.\n",
               home.c_str());
  return false;
}

SignalsAtStart::SignalsAtStart() {
  for (const int signal : ending_signals) std::signal(signal, note_signal);
  shell::while_waiting(no_signal_yet);
}

SignalsAtStart::~SignalsAtStart() {
  shell::while_waiting(nullptr);
  for (const int signal : ending_signals) std::signal(signal, SIG_DFL);
  if (signal_at_start != 0) std::raise(signal_at_start);
}

void serve_windows_meanwhile() { shell::while_waiting(serve_windows); }

void end_worker() {
  shell::while_waiting(nullptr);
  hide_windows();
  if (worker_runs) {
    isKilled = 1;
    cancel_run_note();
    stop_unpacking();
  }
  shell::start_no_more_commands();
  constexpr useconds_t look_microseconds = 20'000;
  for (Patience patience; !patience.is_over() && something_runs();) {
    decline_all_questions();
    patience.end_what_runs();
    usleep(look_microseconds);
  }
  if (!worker_runs) remove_own_folder(homedirpath);
}

void leave_nothing_behind() { std::atexit(remove_work_folder); }

void leave_main_loop_on_signals() {
  g_unix_signal_add(SIGHUP, leave_main_loop<SIGHUP>, nullptr);
  g_unix_signal_add(SIGINT, leave_main_loop<SIGINT>, nullptr);
  g_unix_signal_add(SIGTERM, leave_main_loop<SIGTERM>, nullptr);
}

void end_by_signal() {
  if (ending_signal == 0) return;
  remove_work_folder();  // such an end does not come past the exit handlers
  std::signal(ending_signal, SIG_DFL);
  std::raise(ending_signal);
}

void leave_worker_behind() {
  if (!worker_runs) return;
  std::fflush(nullptr);
  remove_work_folder();
  _exit(0);
}
