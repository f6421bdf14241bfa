#include "account/archive/settings.h"

#include <algorithm>

namespace account {
namespace {

constexpr std::size_t piece = 127;

}  // namespace

Settings::Settings(std::string_view text) {
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (end != std::string_view::npos && line.ends_with('\r')) line.remove_suffix(1);
    for (; line.size() >= piece; line.remove_prefix(piece)) lines_.emplace_back(line.substr(0, piece));
    if (!line.empty()) lines_.emplace_back(line);
  }
}

const std::string* Settings::line_with(std::string_view key) const {
  const auto line = std::ranges::find_if(
      lines_, [&](const std::string& one) { return one.find(key) != std::string::npos; });
  return line == lines_.end() ? nullptr : &*line;
}

std::optional<std::string> Settings::value(std::string_view key) const {
  const std::string* const line = line_with(key);
  if (line == nullptr) return std::nullopt;
  const std::size_t equals = line->find('=');
  if (equals == std::string::npos) return "";
  return std::string(line->c_str() + equals + 1);  // a NUL ends a value
}

char Settings::flag(std::string_view key) const {
  const std::string* const line = line_with(key);
  return line == nullptr || line->empty() ? '\0' : line->back();
}

}  // namespace account
