#include "pack/planner/content_line.h"

#include <glib.h>

#include <algorithm>

namespace pack {

namespace {

// The next line, put together, and what is left of the text.
std::string next_line(std::string_view& text) {
  std::string line;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view part = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (part.ends_with('\r')) part.remove_suffix(1);
    line += part;
    if (!text.starts_with(' ') && !text.starts_with('\t')) break;
    text.remove_prefix(1);
  }
  return line;
}

std::string in_capitals(std::string_view text) {
  std::string capitals(text);
  std::ranges::transform(capitals, capitals.begin(), g_ascii_toupper);
  return capitals;
}

// Where a part ends: before the next of `ends` that does not stand between quotes.
std::size_t end_of_part(std::string_view line, std::size_t begin, std::string_view ends) {
  bool is_quoted = false;
  for (std::size_t i = begin; i < line.size(); ++i) {
    if (line[i] == '"') is_quoted = !is_quoted;
    if (!is_quoted && ends.find(line[i]) != std::string_view::npos) return i;
  }
  return line.size();
}

void take_parameter(std::string_view part, ContentLine& line) {
  const std::size_t equals = part.find('=');
  if (equals == std::string_view::npos) return;
  std::string value(part.substr(equals + 1));
  std::erase(value, '"');
  line.parameters[in_capitals(part.substr(0, equals))] = value;
}

std::optional<ContentLine> parsed(std::string_view text) {
  ContentLine line;
  std::size_t end = end_of_part(text, 0, ";:");
  line.name = in_capitals(text.substr(0, end));
  while (end < text.size() && text[end] == ';') {
    const std::size_t begin = end + 1;
    end = end_of_part(text, begin, ";:");
    take_parameter(text.substr(begin, end - begin), line);
  }
  if (end == text.size()) return std::nullopt;
  line.value = text.substr(end + 1);
  return line;
}

// Seconds of the units behind "P" and behind "T"; 0 for another letter.
std::int64_t unit_of(char letter, bool is_of_day) {
  constexpr std::int64_t minute = 60;
  constexpr std::int64_t hour = 60 * minute;
  constexpr std::int64_t day = 24 * hour;
  if (!is_of_day) return letter == 'D' ? day : letter == 'W' ? 7 * day : 0;
  return letter == 'H' ? hour : letter == 'M' ? minute : letter == 'S' ? 1 : 0;
}

}  // namespace

std::vector<ContentLine> content_lines(std::string_view text) {
  std::vector<ContentLine> lines;
  while (!text.empty())
    if (auto line = parsed(next_line(text))) lines.push_back(std::move(*line));
  return lines;
}

std::string parameter(const ContentLine& line, const std::string& name) {
  const auto found = line.parameters.find(name);
  return found == line.parameters.end() ? "" : found->second;
}

std::vector<std::string> listed_texts(std::string_view list) {
  std::vector<std::string> texts(1);
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (list[i] == ',') {
      texts.emplace_back();
    } else if (list[i] == '\\' && i + 1 < list.size()) {
      texts.back() += list[++i];
    } else {
      texts.back() += list[i];
    }
  }
  std::erase(texts, "");
  return texts;
}

std::optional<std::int64_t> duration_of(std::string_view text) {
  const bool is_negative = text.starts_with('-');
  if (is_negative || text.starts_with('+')) text.remove_prefix(1);
  if (!text.starts_with('P')) return std::nullopt;
  constexpr std::int64_t most = 100'000'000;
  bool is_of_day = false;
  std::int64_t seconds = 0;
  std::int64_t number = -1;
  for (const char c : text.substr(1)) {
    if (c >= '0' && c <= '9') {
      number = std::min(most, std::max<std::int64_t>(number, 0) * 10 + (c - '0'));
    } else if (c == 'T' && number < 0) {
      is_of_day = true;
    } else if (number >= 0 && unit_of(c, is_of_day) != 0) {
      seconds += number * unit_of(c, is_of_day);
      number = -1;
    } else {
      return std::nullopt;
    }
  }
  if (number >= 0) return std::nullopt;
  return is_negative ? -seconds : seconds;
}

}  // namespace pack
