#include "account/readers/kmailrc.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "account/readers/text.h"

namespace account {
namespace {

constexpr std::size_t longest_line = 1 << 16;
constexpr long most_accounts = 100000;

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(" \t\r\n");
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(" \t\r\n") - begin + 1);
}

std::string unescaped(std::string_view text) {
  static constexpr std::string_view codes = "stnr\\", meanings = " \t\n\r\\";
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::size_t code =
        text[i] == '\\' && i + 1 < text.size() ? codes.find(text[i + 1]) : std::string_view::npos;
    result += code == std::string_view::npos ? text[i] : meanings[code];
    if (code != std::string_view::npos) ++i;
    // A backslash before anything else stands for itself, and what follows for itself.
    else if (text[i] == '\\' && i + 1 < text.size())
      result += text[++i];
  }
  return result;
}

// The value of `key`; empty when it is not there.
std::string value_of(const KdeSettings& settings, const std::string& section, const char* key) {
  const auto found = settings.find(section);
  if (found == settings.end()) return {};
  const auto value = found->second.find(key);
  return value == found->second.end() ? std::string() : value->second;
}

long count_of(const KdeSettings& settings, const char* key) {
  return std::min(std::strtol(value_of(settings, "General", key).c_str(), nullptr, 10), most_accounts);
}

}  // namespace

KdeSettings read_kde_settings(const std::string& path) {
  KdeSettings settings;
  std::map<std::string, std::string>* section = nullptr;
  PieceReader lines(file_source(path), longest_line);
  std::string_view line;
  while (lines.next(line)) {
    if (!lines.begins_line()) continue;
    line = trimmed(line);
    if (line.starts_with('[') && line.ends_with(']')) {
      section = &settings[std::string(line.substr(1, line.size() - 2))];
      continue;
    }
    const std::size_t equals = line.find('=');
    if (line.starts_with('#') || equals == std::string_view::npos || section == nullptr) continue;
    (*section)[std::string(trimmed(line.substr(0, equals)))] = unescaped(trimmed(line.substr(equals + 1)));
  }
  return settings;
}

std::vector<MailAccount> read_kmail_accounts(const std::string& path) {
  const KdeSettings settings = read_kde_settings(path);
  const long transports = count_of(settings, "transports");
  std::vector<MailAccount> accounts;
  for (long number = 1; number <= count_of(settings, "accounts"); ++number) {
    const std::string account = "Account " + std::to_string(number);
    if (!settings.contains(account)) continue;
    const std::string transport = number <= transports ? "Transport " + std::to_string(number) : "";
    accounts.push_back(
        {{Field::name, value_of(settings, account, "Name")},
         {Field::type, value_of(settings, account, "Type")},
         {Field::host, value_of(settings, account, "host")},
         {Field::user, value_of(settings, account, "login")},
         {Field::port, value_of(settings, account, "port")},
         {Field::secure, flag_text(value_of(settings, account, "use-ssl") == "true")},
         {Field::keep_on_server, flag_text(value_of(settings, account, "leave-on-server") == "true")},
         {Field::display_name, value_of(settings, transport, "name")},
         {Field::smtp_host, value_of(settings, transport, "host")},
         {Field::smtp_secure, flag_text(value_of(settings, transport, "encryption") == "SSL")}});
  }
  return accounts;
}

}  // namespace account
