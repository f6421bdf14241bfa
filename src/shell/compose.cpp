#include "shell/compose.h"

#include <cstdlib>
#include <cwchar>

namespace shell {

namespace {

constexpr std::string_view harmless =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_@%+=:,./-";

// In Big5, GBK and GB18030 a backslash can be the second byte of a character.
bool may_be_half_a_character(const std::string& text) {
  return std::any_of(text.end() - std::min<std::ptrdiff_t>(std::ssize(text), 3), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
}

void add_in_single_quotes(std::string& text, std::string_view value) {
  for (const char c : value) {
    if (c == '\'') {
      text += "'\\''";
    } else {
      text += c;
    }
  }
}

// A backslash behind half a character would become its other half, and what it should protect would end the
// quotes: there they are left for a moment.
void add_in_double_quotes(std::string& text, std::string_view value) {
  for (const char c : value) {
    if (c != '\\' && c != '"' && c != '$' && c != '`') {
      text += c;
    } else if (may_be_half_a_character(text)) {
      text.append("\"'").append(1, c).append("'\"");
    } else {
      text.append(1, '\\').append(1, c);
    }
  }
}

void add_bare(std::string& text, std::string_view value) {
  if (value.find_first_not_of(harmless) == std::string_view::npos) {
    text += value;
    return;
  }
  text += '\'';
  add_in_single_quotes(text, value);
  text += '\'';
}

bool is_one_quoted_word(std::string_view text) {
  return text.size() >= 2 && text.front() == '\'' && text.back() == '\'' &&
         text.substr(1, text.size() - 2).find_first_of(std::string_view("'\0", 2)) == std::string_view::npos;
}

// Bash connects to a machine for /dev/tcp/... and takes an open file for /dev/fd/..., whatever lies there.
bool is_device(std::string_view path) { return path == "/dev" || path.starts_with("/dev/"); }

// Bash reads a line character by character in the encoding of its environment, which is ours. Of a sequence
// that turns out to be none, all bytes but the last are no characters of their own for it: in GB18030 a byte
// above 127 and a digit take a third byte with them, be it a quote or one of the two bytes that bash marks
// others with.
bool hides_a_byte(const std::string& text) {
  if (MB_CUR_MAX == 1) return false;
  std::size_t start = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    std::mbstate_t fresh{};
    const std::size_t size = std::mbrlen(text.data() + start, at + 1 - start, &fresh);
    const bool incomplete = size == static_cast<std::size_t>(-2);
    const bool is_character = size == 1 || size == static_cast<std::size_t>(-1);
    if (!is_character && std::string_view("'\"\1\177").find(text[at]) != std::string_view::npos) return true;
    if (!incomplete || text[at] == '\n') start = at + 1;
  }
  return false;
}

}  // namespace

void Composition::copy_up_to(std::size_t offset) {
  for (; done_ < offset; ++done_) {
    command_.text_ += rest_[done_];
    // "%%" stands for one percent sign.
    if (rest_[done_] == '%') ++done_;
  }
}

void Composition::begin(const Slot& slot) {
  copy_up_to(slot.offset);
  done_ += 2;
  if (slot.first_value) word_has_value_ = false;
}

bool Composition::may_stand(const Slot& slot, std::string_view value) const {
  if (value.find('\0') != std::string_view::npos) return false;
  if (slot.requoted && value.find_first_of("\"'\\$`") != std::string_view::npos) return false;
  if (slot.names_file && value.find('/') != std::string_view::npos) return false;
  if (slot.role == Role::file_name) return !(slot.alone && value.empty()) && !is_device(value);
  return !(slot.at_start && !word_has_value_ && value.starts_with('-'));
}

void Composition::escape(Place place, std::string_view value) {
  if (place == Place::double_quotes) {
    add_in_double_quotes(command_.text_, value);
  } else if (place == Place::single_quotes) {
    add_in_single_quotes(command_.text_, value);
  } else {
    add_bare(command_.text_, value);
  }
  if (!value.empty()) word_has_value_ = true;
}

void Composition::put(const Slot& slot, std::string_view value) {
  begin(slot);
  if (!may_stand(slot, value)) command_.refused_ = true;
  escape(slot.place, value);
}

void Composition::put(const Slot& slot, const char* value) {
  if (value == nullptr) command_.refused_ = true;
  put(slot, std::string_view(value == nullptr ? "" : value));
}

void Composition::put(const Slot& slot, const Command& inner) {
  begin(slot);
  if (inner.refused()) command_.refused_ = true;
  escape(slot.place, inner.text());
}

void Composition::put(const Slot& slot, QuotedWord word) {
  begin(slot);
  if (is_one_quoted_word(word.text) && word.text[1] != '-') {
    command_.text_ += word.text;
  } else {
    command_.refused_ = true;
    add_bare(command_.text_, word.text);
  }
}

void Composition::put_number(const Slot& slot, const std::string& digits) {
  begin(slot);
  escape(slot.place, digits);
}

Command Composition::join(const Command& head, const Command& tail) {
  Command whole;
  whole.text_ = head.text_ + tail.text_;
  whole.refused_ = head.refused_ || tail.refused_;
  return whole;
}

Command Composition::finish() {
  copy_up_to(rest_.size());
  if (hides_a_byte(command_.text_)) command_.refused_ = true;
  return std::move(command_);
}

Command redirected(const Command& command, std::string_view path) {
  return Composition::join(command, compose(" > %s", path));
}

}  // namespace shell
