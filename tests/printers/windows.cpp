#include "printers/windows.h"

#include <glib.h>

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <utility>

#include "state/posts.h"
#include "state/question.h"
#include "state/sleep.h"
#include "state/state.h"

namespace {

std::mutex planning;
std::deque<std::string> drivers;
std::map<std::string, std::string> drivers_by_title;
std::deque<std::pair<std::string, std::string>> credentials;
bool driver_declined = false;
bool credentials_declined = false;
std::vector<std::string> windows;
std::vector<std::string> named;
GMainLoop* loop = nullptr;
std::atomic<std::chrono::milliseconds::rep> slept{0};

// What the person does in the window that is shown, once the worker has slept twice: one that does not wait
// for the answer has none.
std::function<void()> deed;
constexpr int times_to_sleep = 2;
int times_left = 0;

template <typename Answer>
Answer next(std::deque<Answer>& planned) {
  if (planned.empty()) return {};
  Answer answer = planned.front();
  planned.pop_front();
  return answer;
}

int do_it(void*) {
  take_hand_over();
  const std::scoped_lock lock(planning);
  if (deed) std::exchange(deed, nullptr)();
  return 0;
}

// Under the lock.
void will_do(Question& question, std::function<void()> what) {
  question.window_shown();
  deed = std::move(what);
  times_left = times_to_sleep;
}

// A second is short here.
void sleep_shortly(std::chrono::milliseconds time) {
  slept += time.count();
  {
    const std::scoped_lock lock(planning);
    if (deed && --times_left == 0) post_to_gui(do_it, nullptr);
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(5));
}

}  // namespace

// No printer asks these two.
int show_popup_printer_error_window(void*) { return 0; }
int show_popup_user_error_window(void*) { return 0; }

int show_popup_window_select_driver(void*) {
  take_hand_over();
  const std::scoped_lock lock(planning);
  windows.push_back(std::string("driver ") + displaylabel);
  named.emplace_back(driver_question.text());
  if (std::exchange(driver_declined, false))
    return will_do(driver_question, [] { driver_question.decline(); }), 0;
  const auto planned = drivers_by_title.find(displaylabel);
  const std::string answer = planned == drivers_by_title.end() ? next(drivers) : planned->second;
  will_do(driver_question, [answer] {
    driver_question.keep_answer(0, answer.c_str());
    driver_question.close();
  });
  return 0;
}

int show_smb_username_password_window(void*) {
  take_hand_over();
  const std::scoped_lock lock(planning);
  windows.push_back(std::string("credentials ") + displaylabel + " " + smburl);
  if (std::exchange(credentials_declined, false))
    return will_do(share_question, [] { share_question.decline(); }), 0;
  will_do(share_question, [answers = next(credentials)] {
    share_question.keep_answer(share_user, answers.first.c_str());
    share_question.keep_answer(share_password, answers.second.c_str());
    share_question.close();
  });
  return 0;
}

Windows::Windows() {
  waiting::sleep_with(sleep_shortly);
  loop = g_main_loop_new(nullptr, FALSE);
  loop_ = std::thread([] { g_main_loop_run(loop); });
}

Windows::~Windows() {
  g_idle_add([](gpointer) -> gboolean { return g_main_loop_quit(loop), G_SOURCE_REMOVE; }, nullptr);
  loop_.join();
  g_main_loop_unref(loop);
}

void Windows::choose(const std::string& driver) {
  const std::scoped_lock lock(planning);
  drivers.push_back(driver);
}

void Windows::choose_for(const std::string& title, const std::string& driver) {
  const std::scoped_lock lock(planning);
  drivers_by_title[title] = driver;
}

void Windows::decline_driver() {
  const std::scoped_lock lock(planning);
  driver_declined = true;
}

void Windows::decline_credentials() {
  const std::scoped_lock lock(planning);
  credentials_declined = true;
}

void Windows::sign_in(const std::string& user, const std::string& password) {
  const std::scoped_lock lock(planning);
  credentials.emplace_back(user, password);
}

std::vector<std::string> Windows::shown() {
  const std::scoped_lock lock(planning);
  return windows;
}

std::vector<std::string> Windows::named_printers() {
  const std::scoped_lock lock(planning);
  return named;
}

std::chrono::seconds Windows::slept() {
  return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::milliseconds(::slept.load()));
}
