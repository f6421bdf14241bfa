#include "account/readers/kconfig.h"

namespace account {
namespace {

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r";
  const std::size_t begin = text.find_first_not_of(blanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(blanks) + 1 - begin);
}

std::string unescaped(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char next = text[i] == '\\' && i + 1 < text.size() ? text[i + 1] : '\0';
    const std::size_t known = std::string_view("\\ntrs").find(next);
    const bool is_escape = next != '\0' && known != std::string_view::npos;
    result += is_escape ? "\\\n\t\r "[known] : text[i];
    if (is_escape) ++i;
  }
  return result;
}

}  // namespace

std::optional<std::string> read_kconfig(std::string_view text, std::string_view group, std::string_view key) {
  std::optional<std::string> value;
  bool in_group = false;
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    const std::string_view line = trimmed(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (line.starts_with('[')) in_group = line.substr(1, line.find(']') - 1) == group;
    const std::size_t equals = line.find('=');
    if (!in_group || line.starts_with('#') || equals == std::string_view::npos) continue;
    std::string_view name = trimmed(line.substr(0, equals));
    if (name.ends_with("[$e]")) name.remove_suffix(4);
    if (name == key) value = unescaped(trimmed(line.substr(equals + 1)));
  }
  return value;
}

}  // namespace account
