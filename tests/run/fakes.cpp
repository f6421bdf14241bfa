#include "run/fakes.h"

#include <glib.h>

#include <atomic>
#include <memory>
#include <thread>

#include "state/posts.h"
#include "state/state.h"

namespace {

Posts posted;
std::map<std::string, std::function<void()>> answers;

int note(const std::string& name) {
  take_hand_over();
  posted.emplace_back(name, 0);
  if (answers.count(name) != 0) answers[name]();
  return 0;
}

}  // namespace

// GLib is not built for the thread checker: what it calls itself (memcpy, write) is ordered by locks that the
// checker cannot see. Our own accesses are still checked.
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() { return "called_from_lib:libglib-2.0.so\n"; }

int draw_posted_mark(void* data) {
  take_hand_over();
  const std::unique_ptr<PostedMark> mark(static_cast<PostedMark*>(data));
  posted.emplace_back("image_" + std::to_string(mark->number), mark->result);
  return 0;
}

int show_popup_window(void*) { return note("done"); }
int show_popup_multi_user_error_window(void*) { return note("multi user error"); }
int show_popup_printer_error_window(void*) {
  note("printer error");
  isPrinterPopupOpen = 0;
  return 0;
}
int show_popup_user_error_window(void*) {
  note("user error");
  isUserPopupOpen = 0;
  return 0;
}
int show_popup_window_select_driver(void*) {
  note("driver window");
  isWindowSelectDriverOpen = 0;
  return 0;
}
int show_smb_username_password_window(void*) {
  note("share window");
  isWindowSmbUsernamePasswordOpen = 0;
  return 0;
}
int done_button_bar(void*) { return note("done buttons"); }

const Posts& posts() { return posted; }

std::map<std::string, int> marks() {
  std::map<std::string, int> last;
  for (const auto& [name, result] : posted) {
    if (name.starts_with("image_")) last[name] = result;
  }
  return last;
}

int times_posted(const std::string& name) {
  int times = 0;
  for (const auto& post : posted) times += post.first == name ? 1 : 0;
  return times;
}

void when_shown(const std::string& name, std::function<void()> answer) { answers[name] = std::move(answer); }

void drain_posts() {
  while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
  }
}

void run_as_worker(const std::function<void()>& body) {
  std::atomic<bool> done{false};
  std::thread worker([&] {
    body();
    done = true;
    g_main_context_wakeup(nullptr);
  });
  while (!done) g_main_context_iteration(nullptr, TRUE);
  worker.join();
  drain_posts();
}
