// A question that the worker asks the person in a window of its own, and waits for.
//
//   worker                            GUI thread
//   ask: title, text, flag = 1, post
//                                     the posted callback builds the window from title() and text()
//                                     answer or decline: the answers, then flag = 0
//   ask returns
//
// The flag is always the last write on either side. The given globals (state/state.h) are the storage, so each
// question is one of the four below.
#ifndef BRINDLE_STATE_QUESTION_H
#define BRINDLE_STATE_QUESTION_H

#include <atomic>
#include <span>
#include <string>
#include <utility>
#include <vector>

class Question {
 public:
  struct Storage {
    std::atomic<int>& open;                   ///< 1 while the question is open
    const char** title = nullptr;             ///< null: the window has a title of its own
    const char** text = nullptr;              ///< null: the window has no text from the worker
    std::vector<std::span<char>> answers{};  ///< none: a notice, which is only acknowledged
  };

  /// `show` is the callback that is posted to the GUI thread.
  Question(Storage storage, int (*show)(void*)) : storage_(std::move(storage)), show_(show) {}
  Question(const Question&) = delete;
  Question& operator=(const Question&) = delete;

  // ---- Worker

  /// Asks, and sleeps one second at a time until the question is closed. Returns whether it was answered: false
  /// when the person declined, or the run was cancelled. The answers are in their globals, empty ones after a
  /// decline.
  bool ask(const std::string& title = "", const std::string& text = "");

  // ---- GUI thread

  bool is_open() const { return storage_.open == 1; }

  /// Keeps one answer, without closing the question. False, and the answer is empty, when it does not fit: cut,
  /// it would be another one.
  bool keep_answer(std::size_t number, const char* text);

  /// Closes the question; what keep_answer kept is the answer. The worker goes on.
  void close();

  /// Empties the answers and closes the question.
  void decline();

 private:
  Storage storage_;
  int (*show_)(void*);
  std::string title_;  // the other thread reads title and text as long as the window lives
  std::string text_;
  std::atomic<bool> declined_{false};
};

/// OK of a notice that needs no answer: printers need root; this is no login name.
extern Question printer_notice;
extern Question user_notice;

/// Which driver has the printer? One answer, selecteddriver.
extern Question driver_question;

/// Who may print on the share? Two answers, Username and Password.
extern Question share_question;

/// Declines every open question. For a cancelled run, after isKilled is set: the callbacks of questions asked from
/// then on decline them instead of showing their windows.
void decline_open_questions();

#endif
