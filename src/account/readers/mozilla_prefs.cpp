#include "account/readers/mozilla_prefs.h"

#include <glib.h>

#include <cstdlib>
#include <optional>
#include <string_view>

#include "account/readers/text.h"

namespace account {
namespace {

constexpr std::size_t longest_line = 1 << 16;
constexpr std::size_t most_accounts = 500;  // each may have all of its values from the same few lines

using Prefs = std::map<std::string, std::string>;

// Reads one line from left to right.
class Scanner {
 public:
  explicit Scanner(std::string_view line) : rest_(line) {}

  bool skip(std::string_view word) {
    skip_blanks();
    if (!rest_.starts_with(word)) return false;
    rest_.remove_prefix(word.size());
    return true;
  }

  // A text in quotes.
  std::optional<std::string> text() {
    skip_blanks();
    if (rest_.empty() || (rest_.front() != '"' && rest_.front() != '\'')) return std::nullopt;
    const char quote = rest_.front();
    rest_.remove_prefix(1);
    std::string result;
    while (!rest_.empty() && rest_.front() != quote) take_character(result);
    if (rest_.empty()) return std::nullopt;
    rest_.remove_prefix(1);
    return result;
  }

  // A number or a flag.
  std::optional<std::string> word() {
    skip_blanks();
    const std::size_t end = rest_.find_first_of(" \t)");
    if (end == std::string_view::npos || end == 0) return std::nullopt;
    const std::string result(rest_.substr(0, end));
    rest_.remove_prefix(end);
    return result;
  }

 private:
  void skip_blanks() { rest_.remove_prefix(std::min(rest_.find_first_not_of(" \t"), rest_.size())); }

  void take_character(std::string& result) {
    static constexpr std::string_view codes = "nr\\\"'", meanings = "\n\r\\\"'";
    const std::size_t code =
        rest_.size() > 1 && rest_.front() == '\\' ? codes.find(rest_[1]) : std::string_view::npos;
    if (code != std::string_view::npos) {
      result += meanings[code];
      rest_.remove_prefix(2);
    } else if (!take_code(result, "\\x", 2) && !take_code(result, "\\u", 4)) {
      // Another backslash stands for itself.
      result += rest_.front();
      rest_.remove_prefix(1);
    }
  }

  // A character by its number in hexadecimal digits.
  bool take_code(std::string& result, std::string_view mark, std::size_t digits) {
    if (!rest_.starts_with(mark) || rest_.size() < mark.size() + digits) return false;
    const std::string number(rest_.substr(mark.size(), digits));
    if (number.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) return false;
    char character[6];
    const auto code = static_cast<gunichar>(std::strtoul(number.c_str(), nullptr, 16));
    result.append(character, static_cast<std::size_t>(g_unichar_to_utf8(code, character)));
    rest_.remove_prefix(mark.size() + digits);
    return true;
  }

  std::string_view rest_;
};

void read_line(std::string_view line, Prefs& prefs) {
  Scanner scanner(line);
  if (!scanner.skip("user_pref") || !scanner.skip("(")) return;
  const auto key = scanner.text();
  if (!key || !scanner.skip(",")) return;
  auto value = scanner.text();
  if (!value) value = scanner.word();
  if (value && scanner.skip(")") && scanner.skip(";")) prefs[*key] = *value;
}

std::string value_of(const Prefs& prefs, const std::string& key) {
  const auto found = prefs.find(key);
  return found == prefs.end() ? std::string() : found->second;
}

// The part of a list of names before its first comma, which is taken off.
std::string next_name(std::string_view& list) {
  const std::size_t comma = std::min(list.find(','), list.size());
  std::string name(list.substr(0, comma));
  list.remove_prefix(std::min(comma + 1, list.size()));
  std::erase(name, ' ');
  return name;
}

MailAccount account_of(const Prefs& prefs, const std::string& name) {
  const std::string account = "mail.account." + name;
  const std::string identities = value_of(prefs, account + ".identities");
  std::string_view list = identities;
  const std::string identity = "mail.identity." + next_name(list);
  const std::string server = "mail.server." + value_of(prefs, account + ".server");
  const std::string smtp = "mail.smtpserver." + value_of(prefs, identity + ".smtpServer");
  const std::string person = value_of(prefs, identity + ".fullName"),
                    type = value_of(prefs, server + ".type");
  const std::string ssl = value_of(prefs, smtp + ".try_ssl");
  return {{Field::name, person == value_of(prefs, server + ".name") ? person : std::string()},
          {Field::address, value_of(prefs, identity + ".useremail")},
          {Field::reply_to, value_of(prefs, identity + ".reply_to")},
          {Field::organization, value_of(prefs, identity + ".organization")},
          {Field::type, type == "pop3" ? "pop" : type},
          {Field::host, value_of(prefs, server + ".hostname")},
          {Field::user, value_of(prefs, server + ".userName")},
          {Field::port, value_of(prefs, server + ".port")},
          {Field::secure, flag_text(value_of(prefs, server + ".isSecure") == "true")},
          {Field::keep_on_server, flag_text(value_of(prefs, server + ".leave_on_server") == "true")},
          {Field::smtp_host, value_of(prefs, smtp + ".hostname")},
          {Field::smtp_user, value_of(prefs, smtp + ".username")},
          {Field::smtp_secure, flag_text(ssl == "1")}};
}

}  // namespace

Prefs read_mozilla_prefs(const std::string& path) {
  Prefs prefs;
  PieceReader lines(file_source(path), longest_line);
  std::string_view line;
  while (lines.next(line))
    if (lines.begins_line()) read_line(line, prefs);
  return prefs;
}

std::vector<MailAccount> read_mozilla_accounts(const std::string& path) {
  const Prefs prefs = read_mozilla_prefs(path);
  const std::string names = value_of(prefs, "mail.accountmanager.accounts");
  std::vector<MailAccount> accounts;
  for (std::string_view list = names; !list.empty() && accounts.size() < most_accounts;) {
    const std::string name = next_name(list);
    if (prefs.contains("mail.account." + name + ".server")) accounts.push_back(account_of(prefs, name));
  }
  return accounts;
}

}  // namespace account
