#include "state/gui_thread.h"

#include <glib.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <future>
#include <utility>

#include "state/posts.h"
#include "state/sleep.h"

namespace {

std::function<void()> planned;
std::function<void()> before;
std::atomic<int> slept{0};
GMainLoop* loop = nullptr;

void sleep_shortly(std::chrono::milliseconds time) {
  EXPECT_EQ(time, std::chrono::seconds(1));
  if (before) before();
  ++slept;
  usleep(1000);
}

int do_as_planned(void*) {
  take_hand_over();
  if (planned) std::exchange(planned, nullptr)();
  return 0;
}

}  // namespace

// GLib is not built for the thread checker: what it calls itself (memcpy, write) is ordered by locks that the
// checker cannot see. Our own accesses are still checked.
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() { return "called_from_lib:libglib-2.0.so\n"; }

// Takes the place of GLib's function in the test program: the GUI thread is quicker than whoever posts.
extern "C" guint g_idle_add(GSourceFunc function, gpointer data) {
  const guint id = g_idle_add_full(G_PRIORITY_DEFAULT_IDLE, function, data, nullptr);
  usleep(20'000);
  return id;
}

int show_popup_printer_error_window(void* data) { return do_as_planned(data); }
int show_popup_user_error_window(void* data) { return do_as_planned(data); }
int show_popup_window_select_driver(void* data) { return do_as_planned(data); }
int show_smb_username_password_window(void* data) { return do_as_planned(data); }

GuiThread::GuiThread() {
  waiting::sleep_with(sleep_shortly);
  loop = g_main_loop_new(nullptr, FALSE);
  loop_ = std::thread([] { g_main_loop_run(loop); });
}

GuiThread::~GuiThread() {
  g_idle_add([](gpointer) -> gboolean { return g_main_loop_quit(loop), G_SOURCE_REMOVE; }, nullptr);
  loop_.join();
  g_main_loop_unref(loop);
}

void GuiThread::when_asked(std::function<void()> action) { planned = std::move(action); }

void GuiThread::run(const std::function<void()>& action) {
  std::promise<void> done;
  std::pair<const std::function<void()>*, std::promise<void>*> job{&action, &done};
  post_to_gui(
      [](void* data) {
        take_hand_over();
        const auto* given = static_cast<decltype(job)*>(data);
        (*given->first)();
        given->second->set_value();
        return 0;
      },
      &job);
  done.get_future().wait();
}

int GuiThread::seconds_slept() { return slept; }

void GuiThread::before_sleep(std::function<void()> action) { before = std::move(action); }
