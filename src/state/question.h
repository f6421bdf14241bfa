// A question that the worker asks the person in a window of its own, and waits for.
//
//   worker                      GUI thread
//   set_title, set_text
//   ask: flag = 1, post
//                               the posted callback builds the window from title() and text(): window_shown
//                               the window's buttons: keep_answer, then close: flag = 0
//                               or decline, from the callback, a button or Cancel: no answers, then flag = 0
//   ask returns
//
// The answers come first and the flag comes last. A question is closed only after its callback has run, so
// between two questions no window reads the texts and the worker may write them. The given globals
// (state/state.h) are the storage, so each question is one of the four below.
#ifndef BRINDLE_STATE_QUESTION_H
#define BRINDLE_STATE_QUESTION_H

#include <atomic>
#include <cstddef>
#include <span>
#include <string>
#include <utility>
#include <vector>

class Question {
 public:
  struct Storage {
    std::atomic<int>& open;                  ///< 1 while the question is open
    const char** title = nullptr;            ///< null: the window has a title of its own
    const char** text = nullptr;             ///< null: nobody else reads the text
    std::vector<std::span<char>> answers{};  ///< none: a notice, which is only acknowledged
  };

  /// `show` is the callback that is posted to the GUI thread.
  Question(Storage storage, int (*show)(void*)) : storage_(std::move(storage)), show_(show) {}
  Question(const Question&) = delete;
  Question& operator=(const Question&) = delete;

  // ---- Worker, never while the question is open

  /// The title and the text of the coming window. A title only for questions that have storage for it.
  void set_title(const std::string& title);
  void set_text(const std::string& text);

  /// Asks, and sleeps one second at a time until the question is closed. Returns whether it was answered:
  /// false when it was declined. One that wants answers is declined at once, without a post, in a
  /// cancelled run.
  bool ask();

  /// Overwrites the answers to their last byte.
  void forget_answers();

  // ---- Both threads

  /// An answer as it lies in its global; empty after a decline. For the worker once ask has returned, for the
  /// GUI thread while the question is open.
  const char* answer(std::size_t number) const;

  // ---- GUI thread

  /// Empty when none is set.
  const char* title() const;
  const char* text() const;

  /// Tells that the window is there and its buttons will close the question, which Cancel may decline from
  /// now on.
  void window_shown() { shown_ = true; }
  bool has_window() const { return shown_; }

  /// Keeps one answer, without closing the question. False for an empty text and for one that does not fit,
  /// which is kept as an empty one: cut, it would be another answer.
  bool keep_answer(std::size_t number, const char* text);

  /// Closes the question; what keep_answer kept is the answer. The worker goes on.
  void close();

  /// Empties the answers and closes the question.
  void decline();

  /// True while the worker waits for it, and before it has asked for the first time.
  bool is_open() const { return storage_.open == 1; }

 private:
  bool wants_answers() const { return !storage_.answers.empty(); }
  bool skip();

  Storage storage_;
  int (*show_)(void*);
  std::string title_;
  std::string text_;
  std::atomic<int> declined_{0};
  bool shown_ = false;  // GUI thread only
};

/// OK of a notice that needs no answer: printers need root; this is no login name.
extern Question printer_notice;
extern Question user_notice;

/// Which driver has the printer? The title is the name of its Windows driver, the text that of the printer;
/// one answer, selecteddriver, which is empty for a printer to be skipped.
extern Question driver_question;

/// Who may print on the share? The title is the queue, the text the share; two answers, Username and
/// Password.
extern Question share_question;
enum ShareAnswer : std::size_t { share_user, share_password };

/// Declines every question whose window is there. For a cancelled run, after isKilled is set: the callbacks
/// of questions that are on their way, and of notices that come later, decline them themselves.
void decline_open_questions();

/// Declines every question that is open, for the time after the main loop: what the worker posts is shown no
/// more.
void decline_all_questions();

#endif
