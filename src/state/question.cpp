#include "state/question.h"

#include <strings.h>

#include <chrono>
#include <cstring>

#include "state/posts.h"
#include "state/sleep.h"
#include "state/state.h"

namespace {

const char* stored(const char* const* text) { return text == nullptr || *text == nullptr ? "" : *text; }

}  // namespace

void Question::set_title(const std::string& title) {
  title_ = title;
  *storage_.title = title_.c_str();
}

void Question::set_text(const std::string& text) {
  text_ = text;
  if (storage_.text != nullptr) *storage_.text = text_.c_str();
}

bool Question::ask() {
  if (isKilled == 1 && wants_answers()) return skip();
  declined_ = 0;
  storage_.open = 1;
  post_to_gui(show_, nullptr);
  while (storage_.open == 1) waiting::sleep_for(std::chrono::seconds(1));
  return declined_ == 0;
}

// No window of a cancelled run writes an answer any more, and none is there for this question.
bool Question::skip() {
  forget_answers();
  storage_.open = 0;
  return false;
}

void Question::forget_answers() {
  for (const std::span<char> answer : storage_.answers) explicit_bzero(answer.data(), answer.size());
}

const char* Question::answer(std::size_t number) const { return storage_.answers.at(number).data(); }

const char* Question::title() const { return stored(storage_.title); }

const char* Question::text() const {
  return storage_.text == nullptr ? text_.c_str() : stored(storage_.text);
}

bool Question::keep_answer(std::size_t number, const char* text) {
  const std::span<char> answer = storage_.answers.at(number);
  const bool fits = std::strlen(text) < answer.size();
  std::strcpy(answer.data(), fits ? text : "");
  return answer.front() != '\0';
}

void Question::close() {
  shown_ = false;
  storage_.open = 0;
}

void Question::decline() {
  forget_answers();
  declined_ = 1;
  close();
}

Question printer_notice({.open = isPrinterPopupOpen}, show_popup_printer_error_window);
Question user_notice({.open = isUserPopupOpen}, show_popup_user_error_window);
Question driver_question({.open = isWindowSelectDriverOpen,
                          .title = &displaylabel,
                          .answers = {selecteddriver}},
                         show_popup_window_select_driver);
Question share_question({.open = isWindowSmbUsernamePasswordOpen,
                         .title = &displaylabel,
                         .text = &smburl,
                         .answers = {Username, Password}},
                        show_smb_username_password_window);

namespace {

constexpr Question* all_questions[] = {&printer_notice, &user_notice, &driver_question, &share_question};

}  // namespace

void decline_open_questions() {
  for (Question* question : all_questions) {
    if (question->has_window()) question->decline();
  }
}

void decline_all_questions() {
  for (Question* question : all_questions) {
    if (question->is_open()) question->decline();
  }
}
