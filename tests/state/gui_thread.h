// Stands in for the GUI thread: a main loop on a thread of its own, in which the callback of a question does
// what a test has planned.
#ifndef BRINDLE_TESTS_STATE_GUI_THREAD_H
#define BRINDLE_TESTS_STATE_GUI_THREAD_H

#include <functional>
#include <thread>

class GuiThread {
 public:
  GuiThread();
  ~GuiThread();
  GuiThread(const GuiThread&) = delete;
  GuiThread& operator=(const GuiThread&) = delete;

  /// What the next callback of any question does. Planned before the question is asked.
  static void when_asked(std::function<void()> action);

  /// Runs `action` on the GUI thread and waits until it has.
  static void run(const std::function<void()>& action);

  /// Seconds that the worker has slept. The test does not wait them. Every sleep must be one second long.
  static int seconds_slept();

  /// Called on the worker before each of its sleeps.
  static void before_sleep(std::function<void()> action);

 private:
  std::thread loop_;
};

#endif
