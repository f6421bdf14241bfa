#include "shell/compose.h"

namespace shell {

namespace {

constexpr std::string_view harmless =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_@%+=:,./-";

std::string in_single_quotes(std::string_view value) {
  std::string text;
  for (const char c : value) {
    if (c == '\'') {
      text += "'\\''";
    } else {
      text += c;
    }
  }
  return text;
}

std::string in_double_quotes(std::string_view value) {
  std::string text;
  for (const char c : value) {
    if (c == '\\' || c == '"' || c == '$' || c == '`') text += '\\';
    text += c;
  }
  return text;
}

std::string bare(std::string_view value) {
  if (value.find_first_not_of(harmless) == std::string_view::npos) return std::string(value);
  return "'" + in_single_quotes(value) + "'";
}

std::string escaped(Place place, std::string_view value) {
  switch (place) {
    case Place::double_quotes:
      return in_double_quotes(value);
    case Place::single_quotes:
      return in_single_quotes(value);
    case Place::bare:
      break;
  }
  return bare(value);
}

bool is_one_quoted_word(std::string_view text) {
  return text.size() >= 2 && text.front() == '\'' && text.back() == '\'' &&
         text.substr(1, text.size() - 2).find_first_of(std::string_view("'\0", 2)) == std::string_view::npos;
}

}  // namespace

void Composition::copy_up_to(std::size_t offset) {
  for (; done_ < offset; ++done_) {
    command_.text_ += rest_[done_];
    // "%%" stands for one percent sign.
    if (rest_[done_] == '%') ++done_;
  }
}

void Composition::put(const Slot& slot, std::string_view value) {
  copy_up_to(slot.offset);
  if (value.find('\0') != std::string_view::npos) command_.refused_ = true;
  if (slot.starts_word && !value.empty() && value.front() == '-') command_.refused_ = true;
  command_.text_ += escaped(slot.place, value);
  done_ += 2;
}

void Composition::put(const Slot& slot, const char* value) {
  if (value == nullptr) command_.refused_ = true;
  put(slot, std::string_view(value == nullptr ? "" : value));
}

void Composition::put(const Slot& slot, const Command& inner) {
  copy_up_to(slot.offset);
  if (inner.refused()) command_.refused_ = true;
  command_.text_ += escaped(slot.place, inner.text());
  done_ += 2;
}

void Composition::put(const Slot& slot, QuotedWord word) {
  copy_up_to(slot.offset);
  if (is_one_quoted_word(word.text)) {
    command_.text_ += word.text;
  } else {
    command_.refused_ = true;
    command_.text_ += bare(word.text);
  }
  done_ += 2;
}

Command Composition::join(const Command& head, const Command& tail) {
  Command whole;
  whole.text_ = head.text_ + tail.text_;
  whole.refused_ = head.refused_ || tail.refused_;
  return whole;
}

Command Composition::finish() {
  copy_up_to(rest_.size());
  return std::move(command_);
}

Command redirected(const Command& command, std::string_view path) {
  return Composition::join(command, compose(" > %s", path));
}

}  // namespace shell
