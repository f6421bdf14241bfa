#include "account/kinds/account_file.h"

#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <initializer_list>
#include <vector>

#include "account/archive/charset.h"

namespace account {
namespace {

// Lines are taken in pieces of this size, each judged as a line of its own.
constexpr std::size_t piece_size = 127;

using Keys = std::initializer_list<std::string_view>;

class SettingsText {
 public:
  explicit SettingsText(std::string_view text) : text_(text) {}

  // By the rules: the first piece that holds the key anywhere.
  std::optional<std::string> moved(std::string_view key) const {
    const auto piece = piece_with(key);
    if (!piece) return std::nullopt;
    const std::size_t equals = piece->find('=');
    if (equals == std::string::npos) return "";
    // A NUL ends a text for every program that reads it.
    return std::string(piece->substr(equals + 1).c_str());  // NOLINT(readability-redundant-string-cstr)
  }

  // The last character of that piece.
  std::optional<std::string> moved_flag(std::string_view key) const {
    const auto piece = piece_with(key);
    return piece ? std::optional(piece->substr(piece->empty() ? 0 : piece->size() - 1)) : std::nullopt;
  }

  // As it was meant: the value of the first line with exactly the key.
  std::optional<std::string> meant(std::string_view key) const {
    for (std::string_view rest = text_; !rest.empty();) {
      const std::string_view line = rest.substr(0, rest.find('\n'));
      rest.remove_prefix(std::min(line.size() + 1, rest.size()));
      if (line.starts_with(key) && line.substr(key.size()).starts_with('='))
        return std::string(line.substr(key.size() + 1));
    }
    return std::nullopt;
  }

 private:
  std::optional<std::string> piece_with(std::string_view key) const {
    for (std::string_view rest = text_; !rest.empty();) {
      const std::size_t end = rest.find('\n');
      const std::size_t whole = end == std::string_view::npos ? rest.size() : end + 1;
      std::string_view piece = rest.substr(0, std::min(whole, piece_size));
      rest.remove_prefix(piece.size());
      if (piece.find(key) == std::string_view::npos) continue;
      if (piece.ends_with('\n')) piece.remove_suffix(1);
      return std::string(piece);
    }
    return std::nullopt;
  }

  std::string_view text_;
};

class Reading {
 public:
  explicit Reading(const SettingsText& text) : text_(text) {}

  // The first of the keys that is there.
  void take(Field field, Keys keys) {
    const std::string value = moved(keys).value_or("");
    result_.values[field] = value;
    const auto meant = first(keys, &SettingsText::meant);
    if (meant && *meant != value)
      lose(field, meant->starts_with(value) && !value.empty() ? Loss::cut : Loss::hidden);
  }

  std::optional<std::string> moved(Keys keys) const { return first(keys, &SettingsText::moved); }

  // True when the flag of the first key that is there is `yes`.
  bool flag(Field field, Keys keys, std::string_view yes = "1") {
    const bool value = first(keys, &SettingsText::moved_flag).value_or("") == yes;
    const auto meant = first(keys, &SettingsText::meant);
    if (meant && meant->ends_with(yes) != value) lose(field, Loss::hidden);
    return value;
  }

  void set(Field field, const std::string& value) { result_.values[field] = value; }
  void lose(Field field, Loss loss) { result_.losses.emplace(field, loss); }
  void leave_aside(Field field, Keys keys) {
    if (const auto value = moved(keys); value && !value->empty()) result_.left_aside[field] = *value;
  }
  const SettingsText& text() const { return text_; }
  ArchivedAccount result() && { return std::move(result_); }

 private:
  using Look = std::optional<std::string> (SettingsText::*)(std::string_view) const;

  std::optional<std::string> first(Keys keys, Look look) const {
    for (const std::string_view key : keys)
      if (auto value = (text_.*look)(key)) return value;
    return std::nullopt;
  }

  const SettingsText& text_;
  ArchivedAccount result_;
};

// One that is not moved because its first key is not there.
void take_sender(Reading& reading, SecondKeys second_keys) {
  reading.take(Field::name, {"Account Name"});
  reading.take(Field::display_name, {"SMTP Display Name", "Display Name"});
  reading.take(Field::address, {"SMTP Email Address", "Email"});
  if (second_keys == SecondKeys::used) {
    reading.take(Field::reply_to, {"SMTP Reply To Email Address", "Reply Email"});
    reading.take(Field::organization, {"SMTP Organization Name", "Organization"});
    return;
  }
  reading.take(Field::reply_to, {"SMTP Reply To Email Address"});
  reading.take(Field::organization, {"SMTP Organization Name"});
  if (!reading.moved({"SMTP Reply To Email Address"})) reading.leave_aside(Field::reply_to, {"Reply Email"});
  if (!reading.moved({"SMTP Organization Name"})) reading.leave_aside(Field::organization, {"Organization"});
}

void take_incoming(Reading& reading) {
  const bool pop = reading.moved({"POP3 Server"}).has_value();
  reading.set(Field::type, pop ? "pop" : "imap");
  if (pop && !reading.text().meant("POP3 Server") && reading.text().meant("IMAP Server"))
    reading.lose(Field::type, Loss::hidden);
  if (pop) {
    reading.take(Field::host, {"POP3 Server"});
    reading.take(Field::user, {"POP3 User Name", "POP3 User"});
    reading.take(Field::port, {"POP3 Port"});
    reading.set(Field::secure,
                flag_text(reading.flag(Field::secure, {"POP3 Secure Connection", "POP3 Use SSL"})));
  } else {
    reading.take(Field::host, {"IMAP Server"});
    reading.take(Field::user, {"IMAP User Name", "IMAP User"});
    reading.take(Field::port, {"IMAP Port"});
    reading.set(Field::secure,
                flag_text(reading.flag(Field::secure, {"IMAP Secure Connection", "IMAP Use SSL"})));
  }
  const bool leave_mail = reading.flag(Field::keep_on_server, {"Leave Mail On Server"});
  const bool leave = reading.flag(Field::keep_on_server, {"Leave on Server"});
  reading.set(Field::keep_on_server, flag_text(leave_mail || leave));
}

void take_outgoing(Reading& reading) {
  reading.take(Field::smtp_host, {"SMTP Server"});
  const bool sicily = reading.flag(Field::smtp_auth, {"SMTP Use Sicily"}, "2");
  const bool auth = reading.flag(Field::smtp_auth, {"SMTP Use Auth"});
  reading.set(Field::smtp_auth, flag_text(sicily || auth));
  reading.set(Field::smtp_secure, flag_text(reading.flag(Field::smtp_secure, {"SMTP Secure Connection"})));
}

std::string without_carriage_returns(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i)
    if (!(text[i] == '\r' && text.substr(i + 1).starts_with('\n'))) result += text[i];
  return result;
}

constexpr std::string_view utf8_mark = "\xef\xbb\xbf", utf16_mark = "\xff\xfe";

std::string as_read(std::string_view text) {
  if (text.starts_with(utf8_mark)) text.remove_prefix(utf8_mark.size());
  if (text.starts_with(utf16_mark))
    if (const auto converted = to_utf8(text, "UTF-16")) return without_carriage_returns(*converted);
  return without_carriage_returns(text);
}

}  // namespace

ArchivedAccount read_account_file(std::string_view text, SecondKeys second_keys) {
  const std::string bytes = as_read(text);
  const SettingsText settings(bytes);
  Reading reading(settings);
  take_sender(reading, second_keys);
  take_incoming(reading);
  take_outgoing(reading);
  ArchivedAccount account = std::move(reading).result();
  // The outgoing server is always asked with the login of the incoming one.
  account.values[Field::smtp_user] = account.values[Field::user];
  return account;
}

std::string from_gb2312(std::string_view text) {
  std::string result, from(text);
  const iconv_t converter = iconv_open("UTF-8//IGNORE", "GB2312");
  if (converter == reinterpret_cast<iconv_t>(-1)) return from;
  char* in = from.data();
  std::size_t left = from.size();
  while (left > 0) {
    char block[4096];
    char* out = block;
    std::size_t room = sizeof block;
    const std::size_t before = left;
    const bool stopped = iconv(converter, &in, &left, &out, &room) == static_cast<std::size_t>(-1);
    result.append(block, sizeof block - room);
    if (stopped && errno == EINVAL) break;  // half a character at the end
    if (stopped && left == before && room == sizeof block) {
      ++in;
      --left;
    }
  }
  iconv_close(converter);
  return result;
}

}  // namespace account
