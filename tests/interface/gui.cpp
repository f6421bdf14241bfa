#include "gui.h"

#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <sstream>

#include "interface/dialogs.h"
#include "interface/pages.h"
#include "interface/windows.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "system/detection.h"

// What the leak checker may pass over in libraries that are not ours: the list of the whole runs.
const char* const toolkit_leaks = BRINDLE_LEAKS_OF_OTHERS;

// Pango reads the fonts on a thread of its own; the sanitizer cannot see how these libraries order that.
const char* const toolkit_races =
    "called_from_lib:libfontconfig.so\ncalled_from_lib:libpangoft2-1.0.so\ncalled_from_lib:libglib-2.0.so\n"
    "called_from_lib:libpango-1.0.so\ncalled_from_lib:libpangocairo-1.0.so\ncalled_from_lib:libcairo.so\n"
    "called_from_lib:libfreetype.so\ncalled_from_lib:libharfbuzz.so\n"
    // GObject's own locks, which GLib also gives back in ways that are not seen: they count as held when they
    // are not.
    "mutex:^g_rw_lock_reader_lock$\nmutex:^g_type_class_ref$\n";

extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return toolkit_leaks; }
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() { return toolkit_races; }

std::string shipped_text(const std::string& key) {
  std::istringstream lines(read_file(test_data("../data/texts/en_US")));
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind(key + "=", 0) == 0) return line.substr(key.size() + 1);
  }
  ADD_FAILURE() << "no text for " << key;
  return "";
}

std::string plain(std::string caption) {
  std::erase(caption, '_');
  return caption;
}

std::string built(const std::string& name) {
  const auto program = std::filesystem::absolute(program_invocation_name);
  return (program.parent_path().parent_path() / name).string();
}

void install_interface() {
  namespace fs = std::filesystem;
  const std::string folder = "/usr/local/brindle/";
  fs::create_directories(folder);
  const auto replace = fs::copy_options::overwrite_existing;
  fs::copy_file(test_data("../data/texts/en_US"), folder + "en_US", replace);
  fs::copy_file(test_data("../data/gtkrc/gtkrc"), folder + ".gtkrc-2.0", replace);
  for (const char* picture : {"step1", "step2", "step3", "mark-apply", "mark-cancel"}) {
    fs::copy_file(built(std::string("data/icons/") + picture + ".png"), folder + picture + ".png", replace);
  }
  fs::create_directories("/usr/share/pixmaps");
  fs::copy_file(built("data/icons/Brindle_Icon.png"), "/usr/share/pixmaps/Brindle_Icon.png", replace);
}

void start_display() {
  static bool started = false;
  if (started) return;
  started = true;
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  if (fork() == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const std::string end = std::to_string(ends[1]);
    if (freopen("/dev/null", "w", stderr) == nullptr) _exit(1);
    execlp("Xvfb", "Xvfb", "-displayfd", end.c_str(), "-screen", "0", "1024x768x24", "-nolisten", "tcp",
           "-noreset", nullptr);
    _exit(127);
  }
  close(ends[1]);
  char number[16] = "";
  ASSERT_GT(read(ends[0], number, sizeof number - 1), 0) << "no Xvfb";
  close(ends[0]);
  setenv("DISPLAY", (":" + std::string(number, std::strcspn(number, "\n"))).c_str(), 1);
}

void settle() {
  while (g_main_context_pending(nullptr)) g_main_context_iteration(nullptr, FALSE);
}

namespace {

struct Attempt {
  void (*action)(void*);
  void* data;
  bool gave_up = false;
};

int act(void* data) {
  const auto* attempt = static_cast<Attempt*>(data);
  attempt->action(attempt->data);
  return 0;
}

int give_up(void* data) {
  static_cast<Attempt*>(data)->gave_up = true;
  gtk_main_quit();
  return 0;
}

}  // namespace

bool run_main_loop_until(void (*action)(void*), void* data) {
  Attempt attempt{action, data};
  g_idle_add(act, &attempt);
  const guint watch = g_timeout_add(500, give_up, &attempt);
  gtk_main();
  if (!attempt.gave_up) g_source_remove(watch);
  return !attempt.gave_up;
}

void close_window(GtkWidget* window) {
  gtk_widget_realize(window);
  GdkEvent* event = gdk_event_new(GDK_DELETE);
  event->any.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(window)));
  gtk_main_do_event(event);
  gdk_event_free(event);
}

std::string title_of(GtkWidget* window) {
  const char* title = gtk_window_get_title(GTK_WINDOW(window));
  return title != nullptr ? title : "";
}

std::string label_text(GtkWidget* window, const char* name) {
  GtkWidget* label = lookup_widget(window, name);
  if (!GTK_IS_LABEL(label)) return std::string("no label ") + name;
  return gtk_label_get_text(GTK_LABEL(label));
}

std::string button_caption(GtkWidget* window, const char* name) {
  GtkWidget* button = lookup_widget(window, name);
  if (!GTK_IS_BUTTON(button)) return std::string("no button ") + name;
  return gtk_button_get_label(GTK_BUTTON(button));
}

std::string entry_text(GtkWidget* window, const char* name) {
  GtkWidget* entry = lookup_widget(window, name);
  if (!GTK_IS_ENTRY(entry)) return std::string("no entry ") + name;
  return gtk_entry_get_text(GTK_ENTRY(entry));
}

void type(GtkWidget* window, const char* name, const std::string& text) {
  GtkWidget* entry = lookup_widget(window, name);
  ASSERT_TRUE(GTK_IS_ENTRY(entry)) << name;
  gtk_entry_set_text(GTK_ENTRY(entry), text.c_str());
}

void press(GtkWidget* window, const char* name) {
  GtkWidget* button = lookup_widget(window, name);
  ASSERT_TRUE(GTK_IS_BUTTON(button)) << name;
  gtk_button_clicked(GTK_BUTTON(button));
}

namespace {

using Clock = std::chrono::steady_clock;

bool comes_true(const std::function<bool()>& condition) {
  const auto end = Clock::now() + std::chrono::seconds(5);
  while (!condition() && Clock::now() < end) {
    settle();
    g_usleep(1000);
  }
  return condition();
}

// Handles all that the display has sent by now, and what comes of that.
void handle_events() {
  for (int round = 0; round < 3; ++round) {
    gdk_display_sync(gdk_display_get_default());
    settle();
  }
}

void keep_status(GPid process, gint status, gpointer ended) {
  g_spawn_close_pid(process);
  *static_cast<int*>(ended) = status;
}

// The main loop goes on while xdotool works, as it does while people type.
void use_xdotool(const std::vector<std::string>& words) {
  std::vector<const char*> arguments = {"xdotool"};
  for (const std::string& word : words) arguments.push_back(word.c_str());
  arguments.push_back(nullptr);
  GPid process = 0;
  const auto flags = static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_DO_NOT_REAP_CHILD);
  ASSERT_TRUE(g_spawn_async(nullptr, const_cast<char**>(arguments.data()), nullptr, flags, nullptr, nullptr,
                            &process, nullptr));
  int status = -1;
  g_child_watch_add(process, keep_status, &status);
  ASSERT_TRUE(comes_true([&status] { return status != -1; })) << "xdotool does not end";
  EXPECT_EQ(status, 0) << "xdotool " << words.front();
  handle_events();
}

std::pair<int, int> corner_of(GtkWidget* widget) {
  int left = 0;
  int top = 0;
  gdk_window_get_origin(gtk_widget_get_window(widget), &left, &top);
  if (gtk_widget_get_has_window(widget) != FALSE) return {left, top};  // the window is the widget's own
  GtkAllocation area{};
  gtk_widget_get_allocation(widget, &area);
  return {left + area.x, top + area.y};
}

// Where the middle of a widget is on the screen.
std::vector<std::string> middle_of(GtkWidget* widget) {
  GtkAllocation area{};
  gtk_widget_get_allocation(widget, &area);
  const auto [left, top] = corner_of(widget);
  return {std::to_string(left + area.width / 2), std::to_string(top + area.height / 2)};
}

void click_at(GtkWidget* window, const char* name, int times) {
  point_at(window, name);
  use_xdotool({"click", "--repeat", std::to_string(times), "--delay", "120", "1"});
}

}  // namespace

// Openbox is there from its startup command on: a window that comes before is managed and gets no keyboard.
void start_window_manager() {
  const std::string started = "/tmp/openbox-has-started";
  const std::string command = "touch " + started;
  const pid_t test = getpid();
  if (fork() == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != test || freopen("/dev/null", "w", stdout) == nullptr) _exit(1);
    if (freopen("/dev/null", "w", stderr) == nullptr) _exit(1);
    execlp("openbox", "openbox", "--sm-disable", "--startup", command.c_str(), nullptr);
    _exit(127);
  }
  ASSERT_TRUE(comes_true([&started] { return exists(started); })) << "no openbox";
}

bool gets_keyboard(GtkWidget* window) {
  const bool got = comes_true([window] { return gtk_window_has_toplevel_focus(GTK_WINDOW(window)); });
  handle_events();
  return got;
}

std::pair<int, int> corner_of(GtkWidget* window, const char* name) {
  return corner_of(lookup_widget(window, name));
}

void move_window(GtkWidget* window, const char* name, std::pair<int, int> corner) {
  const auto [left, top] = corner_of(window, name);
  int x = 0;
  int y = 0;
  gtk_window_get_position(GTK_WINDOW(window), &x, &y);
  gtk_window_move(GTK_WINDOW(window), x + corner.first - left, y + corner.second - top);
  ASSERT_TRUE(comes_true([&] { return corner_of(window, name) == corner; })) << name;
}

void point_at(GtkWidget* window, const char* name) {
  GtkWidget* widget = lookup_widget(window, name);
  ASSERT_TRUE(widget != nullptr && gtk_widget_get_mapped(widget)) << name << " is not to be seen";
  ASSERT_TRUE(gets_keyboard(gtk_widget_get_toplevel(widget))) << name;
  const std::vector<std::string> middle = middle_of(widget);
  use_xdotool({"mousemove", middle[0], middle[1]});
}

void press_key(const char* keysym) { use_xdotool({"key", keysym}); }

void click(GtkWidget* window, const char* name) { click_at(window, name, 1); }

void double_click(GtkWidget* window, const char* name) { click_at(window, name, 2); }

std::string focused(GtkWidget* window) {
  struct Search {
    gpointer widget;
    std::string name = "nothing";
  } search{gtk_window_get_focus(GTK_WINDOW(window))};
  if (search.widget == nullptr) return search.name;
  search.name = "a widget without a name";
  const auto compare = [](GQuark name, gpointer widget, gpointer found) {
    if (widget == static_cast<Search*>(found)->widget)
      static_cast<Search*>(found)->name = g_quark_to_string(name);
  };
  g_datalist_foreach(&G_OBJECT(window)->qdata, compare, &search);
  return search.name;
}

Place place_of(GtkWidget* window, const char* name) {
  GtkWidget* widget = lookup_widget(window, name);
  if (widget == nullptr) return {-1, -1, -1, -1};
  int x = 0;
  int y = 0;
  gtk_container_child_get(GTK_CONTAINER(gtk_widget_get_parent(widget)), widget, "x", &x, "y", &y, nullptr);
  int width = 0;
  int height = 0;
  gtk_widget_get_size_request(widget, &width, &height);
  return {x, y, width, height};
}

std::ostream& operator<<(std::ostream& out, const Place& place) {
  return out << place.width << "x" << place.height << " at (" << place.x << ", " << place.y << ")";
}

std::vector<std::string> visible_titles() {
  std::vector<std::string> titles;
  GList* windows = gtk_window_list_toplevels();
  for (GList* each = windows; each != nullptr; each = each->next) {
    auto* window = static_cast<GtkWidget*>(each->data);
    if (gtk_widget_get_visible(window)) titles.push_back(title_of(window));
  }
  g_list_free(windows);
  return titles;
}

GtkWidget* visible_window(const std::string& title) {
  GtkWidget* found = nullptr;
  GList* windows = gtk_window_list_toplevels();
  for (GList* each = windows; each != nullptr; each = each->next) {
    auto* window = static_cast<GtkWidget*>(each->data);
    if (gtk_widget_get_visible(window) && title_of(window) == title) found = window;
  }
  g_list_free(windows);
  return found;
}

void GuiTest::SetUpTestSuite() {
  setenv("LANG", "en_US.UTF-8", 1);
  unsetenv("LC_CTYPE");
  setenv("GTK_MODULES", "gail", 1);
  install_interface();
  start_display();
  gtk_disable_setlocale();
  gtk_init(nullptr, nullptr);
  gtk_rc_parse("/usr/local/brindle/.gtkrc-2.0");
}

void GuiTest::SetUp() { getOsVersion(""); }

void GuiTest::build_pages() {
  window1 = create_window1();
  window2 = create_window2();
  window3 = create_window3();
  gtk_widget_set_name(window1, "window_step1");
  gtk_widget_set_name(window2, "window_step2");
  gtk_widget_set_name(window3, "window_step3");
}

void GuiTest::build_dialogs() {
  keep_window(fileselection, create_fileselection());
  keep_window(quit_dialog, create_dialog1());
  keep_window(dialog_done, create_dialog_done());
  keep_window(dialog_multi_user_error, create_dialog_multi_user_error());
  keep_window(dialog_printer_error, create_dialog_printer_error());
}

void GuiTest::open_with_keyboard(GtkWidget*& page) {
  start_window_manager();
  build_pages();
  build_dialogs();
  gtk_widget_show(page);
  ASSERT_TRUE(gets_keyboard(page));
}
