#include "main/session.h"

#include <fcntl.h>
#include <glib-unix.h>
#include <gtk/gtk.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "process/archive/work_folder.h"

namespace {

int ending_signal = 0;

template <int Signal>
gboolean leave_main_loop(gpointer /*user_data*/) {
  ending_signal = Signal;
  gtk_main_quit();
  return TRUE;
}

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
