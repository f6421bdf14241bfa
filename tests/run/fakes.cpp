#include "run/fakes.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

#include "state/posts.h"
#include "state/state.h"

namespace {

Posts posted;
std::vector<std::string> begun_so_far;
std::map<Question*, std::function<void()>> answers;
std::function<void()> look_when_done;

// Long enough for a worker that does not wait to show it.
constexpr guint milliseconds_to_think = 200;

int note(const std::string& name) {
  take_hand_over();
  posted.emplace_back(name, 0);
  return 0;
}

int answer_now(void* question) {
  answers[static_cast<Question*>(question)]();
  return 0;
}

int note(const std::string& name, Question& question) {
  note(name);
  if (answers.count(&question) != 0) {
    question.window_shown();
    g_timeout_add(milliseconds_to_think, answer_now, &question);
  } else {
    ADD_FAILURE() << "nobody was going to answer the " << name;
    question.decline();
  }
  return 0;
}

}  // namespace

// GLib is not built for the thread checker: what it calls itself (memcpy, write) is ordered by locks that the
// checker cannot see. Our own accesses are still checked.
extern "C" const char* __tsan_default_suppressions();
extern "C" const char* __tsan_default_suppressions() {
  // The second is the main loop's look at the connection to the settings daemon that the worker has opened.
  return "called_from_lib:libglib-2.0.so\nrace:^dbus_connection_get_dispatch_status$\n";
}

int draw_posted_mark(void* data) {
  take_hand_over();
  const std::unique_ptr<PostedMark> mark(static_cast<PostedMark*>(data));
  posted.emplace_back("image_" + std::to_string(mark->number), mark->result);
  return 0;
}

int show_posted_beginning(void* data) {
  take_hand_over();
  const std::unique_ptr<PostedBeginning> begun(static_cast<PostedBeginning*>(data));
  constexpr const char* phases[] = {"unpacking", "getting ready", "cleaning up"};
  const Phase* phase = std::get_if<Phase>(&begun->what);
  const std::string what = phase != nullptr ? phases[static_cast<int>(*phase)]
                                            : "image_" + std::to_string(std::get<int>(begun->what));
  begun_so_far.push_back(begun->login.empty() ? what : what + " for " + begun->login);
  return 0;
}

int show_popup_window(void*) { return note("done"); }
int show_popup_multi_user_error_window(void*) { return note("multi user error"); }
int show_popup_unpacking_stopped(void*) { return note("unpacking stopped"); }
int show_popup_printer_error_window(void*) { return note("printer error", printer_notice); }
int show_popup_user_error_window(void*) { return note("user error", user_notice); }
int show_popup_window_select_driver(void*) { return note("driver window", driver_question); }
int show_smb_username_password_window(void*) { return note("share window", share_question); }
int done_button_bar(void*) {
  if (look_when_done) look_when_done();
  return note("done buttons");
}

const Posts& posts() { return posted; }

const std::vector<std::string>& beginnings() { return begun_so_far; }

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

void when_asked(Question& question, std::function<void()> answer) { answers[&question] = std::move(answer); }

void will_close(Question& question) {
  when_asked(question, [&question] { question.close(); });
}

void when_done(std::function<void()> look) { look_when_done = std::move(look); }

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
