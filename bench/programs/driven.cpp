// A library to be loaded before the wizard's own (LD_PRELOAD): presses its buttons as soon as they can be
// pressed and measures the run. For bench/runs.py.
//
// BRINDLE_BENCH_ARCHIVE is what is typed on page 2. The file BRINDLE_BENCH_REPORT gets, once the worker has
// ended, the seconds from the click on page 2's Next; those of them that the worker has waited as it must,
// between a start and its end and until an answer is there; the largest resident memory of the wizard in
// kilobytes; how many commands a recorder had noted before the click; and the seconds of the processor that
// the wizard itself has taken since.
//
// What the wizard starts does not have the library.
#include <dlfcn.h>
#include <glib.h>
#include <gtk/gtk.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

using Clock = std::chrono::steady_clock;

constexpr guint look_milliseconds = 5;
constexpr const char* record = "/run/brindle/record/started";

Clock::time_point clicked;
Clock::time_point ended;
long commands_before = 0;
double seconds_of_worker = 0;
std::atomic<bool> worker_has_ended{false};
std::atomic<long long> slept_nanoseconds{0};
thread_local bool is_worker = false;
GThreadFunc work = nullptr;

template <typename Function>
Function* next_of(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// ---- The worker ------------------------------------------------------------------------------------------

gpointer measured_work(gpointer data) {
  is_worker = true;
  gpointer result = work(data);
  ended = Clock::now();
  timespec used{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
  seconds_of_worker = double(used.tv_sec) + double(used.tv_nsec) / 1e9;
  worker_has_ended = true;
  return result;
}

// A stated pause is slept in pieces of 50 ms, a question looked for each second. Neither is a matter of
// speed: both are cut short here, which saves hours, and what is left of them is taken off.
bool is_waiting(const timespec& time) {
  return is_worker && (time.tv_sec == 1 || time.tv_nsec == 50'000'000);
}

// ---- The windows -----------------------------------------------------------------------------------------

GtkWidget* part(GtkWidget* window, const char* name) {
  return static_cast<GtkWidget*>(g_object_get_data(G_OBJECT(window), name));
}

bool press(GtkWidget* button) {
  if (button == nullptr || gtk_widget_is_sensitive(button) == FALSE) return false;
  gtk_button_clicked(GTK_BUTTON(button));
  return true;
}

long count_commands() {
  std::FILE* file = std::fopen(record, "r");
  long lines = 0;
  for (int letter = 0; file != nullptr && (letter = std::getc(file)) != EOF;) lines += letter == '\n' ? 1 : 0;
  if (file != nullptr) std::fclose(file);
  return lines;
}

bool start_run(GtkWidget* page) {
  static bool pressed = false;
  if (pressed) return false;
  pressed = true;
  press(part(page, "local"));
  gtk_entry_set_text(GTK_ENTRY(part(page, "entry_local")), std::getenv("BRINDLE_BENCH_ARCHIVE"));
  commands_before = count_commands();
  clicked = Clock::now();
  return press(part(page, "next2"));
}

// The kernel's count of the wizard alone: of its children's there is another.
long largest_memory() {
  std::FILE* file = std::fopen("/proc/self/status", "r");
  char line[256];
  long kilobytes = 0;
  while (file != nullptr && std::fgets(line, sizeof line, file) != nullptr)
    std::sscanf(line, "VmHWM: %ld", &kilobytes);
  if (file != nullptr) std::fclose(file);
  return kilobytes;
}

double seconds_of(const timeval& time) { return double(time.tv_sec) + double(time.tv_usec) / 1e6; }

void report() {
  std::FILE* file = std::fopen(std::getenv("BRINDLE_BENCH_REPORT"), "w");
  if (file == nullptr) return;
  const std::chrono::duration<double> seconds = ended - clicked;
  rusage commands{};
  getrusage(RUSAGE_CHILDREN, &commands);
  std::fprintf(file, "%.6f %.6f %ld %ld %.6f %.6f\n", seconds.count(), double(slept_nanoseconds) / 1e9,
               largest_memory(), commands_before, seconds_of_worker,
               seconds_of(commands.ru_utime) + seconds_of(commands.ru_stime));
  std::fclose(file);
}

bool end_run(GtkWidget* page) {
  static bool reported = false;
  GtkWidget* done = part(page, "button_done");
  if (!worker_has_ended || reported || gtk_widget_is_sensitive(done) == FALSE) return false;
  reported = true;
  report();
  return press(done);
}

bool enter_user(GtkWidget* window) {
  for (const char* name : {"entry_username", "entry_password"})
    gtk_entry_set_text(GTK_ENTRY(part(window, name)), "guest");
  return press(part(window, "next2"));
}

// True when something was pressed: what was shown may be gone.
bool answer(GtkWidget* window) {
  if (part(window, "next1") != nullptr) return press(part(window, "next1"));
  if (part(window, "entry_local") != nullptr) return start_run(window);
  if (part(window, "button_done") != nullptr) return end_run(window);
  if (part(window, "skip") != nullptr) return press(part(window, "skip")) && press(part(window, "next2"));
  if (part(window, "entry_password") != nullptr) return enter_user(window);
  if (part(window, "back2") != nullptr) return press(part(window, "next2"));
  return false;
}

gboolean look(gpointer /*data*/) {
  GList* windows = gtk_window_list_toplevels();
  for (const GList* window = windows; window != nullptr; window = window->next) {
    auto* const widget = static_cast<GtkWidget*>(window->data);
    if (gtk_widget_get_visible(widget) != FALSE && answer(widget)) break;
  }
  g_list_free(windows);
  return G_SOURCE_CONTINUE;
}

__attribute__((constructor)) void leave_children_alone() { unsetenv("LD_PRELOAD"); }

}  // namespace

extern "C" {

void gtk_main() {
  gdk_threads_add_timeout(look_milliseconds, look, nullptr);
  next_of<void()>("gtk_main")();
}

// The wizard starts one thread by this name, the worker.
G_GNUC_BEGIN_IGNORE_DEPRECATIONS
GThread* g_thread_create_full(GThreadFunc func, gpointer data, gulong stack, gboolean joinable,
                              gboolean bound, GThreadPriority priority, GError** error) {
  work = func;
  using Create = GThread*(GThreadFunc, gpointer, gulong, gboolean, gboolean, GThreadPriority, GError**);
  return next_of<Create>("g_thread_create_full")(measured_work, data, stack, joinable, bound, priority,
                                                 error);
}
G_GNUC_END_IGNORE_DEPRECATIONS

// What std::this_thread::sleep_for calls.
int nanosleep(const timespec* time, timespec* left) {
  constexpr timespec short_time{.tv_sec = 0, .tv_nsec = 1'000'000};
  auto* const real = next_of<int(const timespec*, timespec*)>("nanosleep");
  if (!is_waiting(*time)) return real(time, left);
  const auto start = Clock::now();
  const int result = real(&short_time, left);
  const std::chrono::nanoseconds took = Clock::now() - start;
  slept_nanoseconds += took.count();
  return result;
}
}
