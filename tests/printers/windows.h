// Stands in for the wizard: a main loop on a thread of its own, in which the driver window and the
// credentials window are answered as a test has planned.
#ifndef BRINDLE_TESTS_PRINTERS_WINDOWS_H
#define BRINDLE_TESTS_PRINTERS_WINDOWS_H

#include <chrono>
#include <string>
#include <thread>
#include <vector>

class Windows {
 public:
  Windows();
  ~Windows();
  Windows(const Windows&) = delete;
  Windows& operator=(const Windows&) = delete;

  /// Answers of the coming driver windows, in turn. A window without a planned answer is skipped.
  void choose(const std::string& driver);
  /// The answer whenever a driver window has this title.
  void choose_for(const std::string& title, const std::string& driver);
  /// The coming driver window, or credentials window, is declined instead.
  void decline_driver();
  void decline_credentials();
  /// Answers of the coming credentials windows, in turn.
  void sign_in(const std::string& user, const std::string& password);

  /// The windows that were shown, in order: "driver TITLE" and "credentials TITLE SHARE".
  static std::vector<std::string> shown();
  /// The printers that the driver windows were about, in order.
  static std::vector<std::string> named_printers();
  /// What the worker has meant to sleep so far. The test does not wait for it.
  static std::chrono::seconds slept();

 private:
  std::thread loop_;
};

#endif
