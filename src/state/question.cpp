#include "state/question.h"

#include <unistd.h>

#include <cstring>

#include "state/posts.h"
#include "state/state.h"

bool Question::ask(const std::string& title, const std::string& text) {
  // Not in a cancelled run: the window of a question that Cancel declined may still be reading its texts.
  if (isKilled == 0) {
    title_ = title;
    text_ = text;
    if (storage_.title != nullptr) *storage_.title = title_.c_str();
    if (storage_.text != nullptr) *storage_.text = text_.c_str();
  }
  declined_ = false;
  storage_.open = 1;
  post_to_gui(show_, nullptr);
  while (storage_.open == 1) sleep(1);
  return !declined_;
}

bool Question::keep_answer(std::size_t number, const char* text) {
  const std::span<char> answer = storage_.answers.at(number);
  const bool fits = std::strlen(text) < answer.size();
  std::strcpy(answer.data(), fits ? text : "");
  return fits;
}

void Question::close() { storage_.open = 0; }

void Question::decline() {
  for (const std::span<char> answer : storage_.answers) answer.front() = '\0';
  declined_ = true;
  close();
}

Question printer_notice({.open = isPrinterPopupOpen}, show_popup_printer_error_window);
Question user_notice({.open = isUserPopupOpen}, show_popup_user_error_window);
Question driver_question({.open = isWindowSelectDriverOpen, .title = &displaylabel, .answers = {selecteddriver}},
                         show_popup_window_select_driver);
Question share_question({.open = isWindowSmbUsernamePasswordOpen,
                         .title = &displaylabel,
                         .text = &smburl,
                         .answers = {Username, Password}},
                        show_smb_username_password_window);

void decline_open_questions() {
  for (Question* question : {&printer_notice, &user_notice, &driver_question, &share_question}) {
    if (question->is_open()) question->decline();
  }
}
