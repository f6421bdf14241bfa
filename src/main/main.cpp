// Start-up, in its fixed order.
#include <gtk/gtk.h>
#include <pango/pangocairo.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "error/log.h"
#include "interface/dialogs.h"
#include "interface/pages.h"
#include "interface/texts.h"
#include "interface/windows.h"
#include "keep/keep.h"
#include "main/options.h"
#include "main/session.h"
#include "shell/copy.h"
#include "shell/files.h"
#include "shell/home.h"
#include "shell/run.h"
#include "state/state.h"
#include "support/gnome_program.h"
#include "system/detection.h"
#include "system/system.h"

namespace {

constexpr const char* look = "/usr/local/brindle/.gtkrc-2.0";

// Deliberate: the look goes only into homes that can NOT be opened. Nobody whose home opens gets it.
bool copy_look_into_homes() {
  const auto entries = list_folder("/home");
  if (!entries) return false;
  for (const std::string& entry : *entries) {
    if (is_folder("/home", entry.c_str()) == 1) continue;
    const std::string path = "/home/" + entry + "/";
    std::printf("Path::%s\n", path.c_str());
    copy_over(compose("cp -f /usr/local/brindle/.gtkrc-2.0 %s", path), look, path + ".gtkrc-2.0");
  }
  return true;
}

std::string marker_in(const std::string& home) { return home + "/.brindle_first_run"; }

constexpr const char* look_for_new_homes = "/etc/skel/.gtkrc-2.0";

// The run of the worker, which goes on with it. A wizard that is left at once leaves nothing of it when there
// was nothing to change.
void begin_run_for_changes(const std::string& home) {
  if (!open_file(marker_in(home), "r") || !same_content(look, look_for_new_homes))
    keep::begin_run(home, std::time(nullptr));
}

void leave_marker(const std::string& marker) {
  if (!keep::before_change(marker)) return;
  const File file = open_file(marker, "w");
  if (!file) std::exit(1);
  std::fputs("Installed", file.get());
}

// False when the homes cannot be listed.
bool prepare_first_run(const std::string& home) {
  trace_home(home);
  const std::string marker = marker_in(home);
  if (open_file(marker, "r")) return true;
  if (!copy_look_into_homes()) return false;
  leave_marker(marker);
  return true;
}

// False when the homes cannot be listed.
bool prepare_homes(const std::string& home) {
  const SignalsAtStart signals;
  begin_run_for_changes(home);
  if (!prepare_first_run(home)) return false;
  copy_over(compose("cp -f /usr/local/brindle/.gtkrc-2.0 /etc/skel/"), look, look_for_new_homes);
  keep::settle();
  return true;
}

int is_novell_layout(System system) {
  return system == System::gnome ? is_folder("/opt/gnome/share", "pixmaps") : 0;
}

std::FILE* start_log(const std::string& home) {
  trace_home(home);
  std::FILE* log = open_file(home + "/.brindle_log", "w").release();
  if (log == nullptr) {
    std::perror("fp_log");
    std::exit(1);
  }
  std::printf("Log path set");
  return log;
}

void start_threads() {
  G_GNUC_BEGIN_IGNORE_DEPRECATIONS
  g_thread_init(nullptr);  // nothing to do in today's GLib, needed by that of older desktops
  G_GNUC_END_IGNORE_DEPRECATIONS
  gdk_threads_init();
  std::printf("Threads Initialized");
}

// Pango reads the fonts on a thread of its own, so they are asked for before the first window is built.
void start_reading_fonts() { pango_cairo_font_map_get_default(); }

// Another language's look is its own file, there or not: it never falls back to the English one.
void load_look(int nld) {
  std::printf("Trying to read gtkrc file.");
  std::string path = "/usr/local/brindle/.gtkrc-2.0";
  if (std::strcmp(get_language(), "en_US") != 0) {
    path = std::string("/usr/local/brindle/.gtkrc-") + get_language();
  }
  std::printf("\nGTKRCPATH::%s\n\n", path.c_str());
  gtk_rc_parse(path.c_str());
  std::printf("Parse Complete:%d\n", nld);
}

// The reference keeps a closed page for what the worker posts.
GtkWidget* named_page(GtkWidget* page, const char* name) {
  if (page == nullptr) return nullptr;
  gtk_widget_set_name(page, name);
  return GTK_WIDGET(g_object_ref(page));
}

void build_pages() {
  window1 = named_page(create_window1(), "window_step1");
  window2 = named_page(create_window2(), "window_step2");
  window3 = named_page(create_window3(), "window_step3");
}

void build_dialogs() {
  keep_window(fileselection, create_fileselection());
  keep_window(quit_dialog, create_dialog1());
  keep_window(dialog_done, create_dialog_done());
  keep_window(dialog_multi_user_error, create_dialog_multi_user_error());
  keep_window(dialog_printer_error, create_dialog_printer_error());
}

void run_main_loop() {
  gdk_threads_enter();
  serve_windows_meanwhile();
  gtk_main();
  end_worker();
  gdk_threads_leave();
}

// A worker ends its run itself. When the program is left before that, it is like a run that was killed.
void end_run_without_worker() {
  if (timer == 0) keep::end_run();
}

void end_log(std::FILE* log) {
  write_log("exit main", log);
  close_log(log);
}

}  // namespace

int main(int argc, char** argv) {
  if (const auto status = answer_options(argc, argv)) return *status;
  leave_terminal();
  const std::string home = current_owner().home;
  if (!be_the_only_one(home)) return 1;
  if (!prepare_homes(home)) return -1;
  getOsVersion("");
  isNLD = is_novell_layout(detected_system());
  std::printf("ISNLD:%d\n", isNLD);
  fp_log = start_log(home);
  start_threads();
  start_reading_fonts();
  gnome_program_init("brindle", "0.1", libgnomeui_module_info_get(), argc, argv, "app-datadir",
                     "/usr/local/share", nullptr);
  leave_main_loop_on_signals();
  leave_nothing_behind();
  load_look(isNLD);
  build_pages();
  if (window1 != nullptr) gtk_widget_show(window1);
  build_dialogs();
  run_main_loop();
  end_run_without_worker();
  end_log(fp_log);
  end_by_signal();
  leave_worker_behind();
  return 0;
}
