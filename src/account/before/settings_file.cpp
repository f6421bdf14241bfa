#include "account/before/settings_file.h"

#include <algorithm>

namespace account {
namespace {

constexpr std::size_t longest_file = 1 << 20, piece_size = 127;

// Without its line end.
std::string without_end(std::string line) {
  if (line.ends_with('\n')) line.pop_back();
  return line;
}

bool is_line_for(std::string_view key, std::string_view line) {
  return line.starts_with(key) && line.substr(key.size()).starts_with('=');
}

}  // namespace

SettingsFile::SettingsFile(const Archive& archive, const Entry& entry) {
  const std::string text = archive.read(entry, longest_file);
  std::string line;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool dos_end = text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n';
    if (!dos_end) line += text[i];
    if (text[i] != '\n' && i + 1 < text.size()) continue;
    for (std::size_t at = 0; at < line.size(); at += piece_size)
      pieces_.push_back(without_end(line.substr(at, piece_size)));
    lines_.push_back(without_end(line));
    line.clear();
  }
}

std::optional<std::string> SettingsFile::value(std::string_view key) const {
  const auto found = std::ranges::find_if(
      pieces_, [key](const std::string& piece) { return piece.find(key) != std::string::npos; });
  if (found == pieces_.end()) return std::nullopt;
  const std::size_t equals = found->find('=');
  return equals == std::string::npos ? "" : found->substr(equals + 1);
}

std::vector<std::string> SettingsFile::cut_keys() const {
  std::vector<std::string> keys;
  for (const std::string& line : lines_)
    if (line.size() >= piece_size) keys.push_back(line.substr(0, std::min(line.find('='), piece_size)));
  return keys;
}

bool SettingsFile::hides(std::string_view key) const {
  const auto own =
      std::ranges::find_if(lines_, [key](const std::string& line) { return is_line_for(key, line); });
  if (own == lines_.end()) return false;
  const auto first = std::ranges::find_if(
      pieces_, [key](const std::string& piece) { return piece.find(key) != std::string::npos; });
  return !is_line_for(key, *first);
}

}  // namespace account
