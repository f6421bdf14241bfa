#include "pack/calendar/lines.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <memory>
#include <span>

#include "pack/files/texts.h"

namespace pack {

namespace {

constexpr std::size_t longest_line = 75;

// By these the wizard knows lines that it rewrites.
constexpr std::array<std::string_view, 8> known = {"DTSTART;TZID", "DTEND;TZID", "DUE;TZID", "RRULE",
                                                   "COMPLETED:",   "PRIORITY:",  "-PT",      "END:VALARM"};
// With "RRULE" in front: KOrganizer's rules lose the time of their end, and Mozilla's all that stands before
// one position of all days.
constexpr std::array<std::string_view, 2> known_in_rules = {"UNTIL=", "BYSETPOS="};

std::string valid(std::string_view text) {
  const std::unique_ptr<char, decltype(&g_free)> made(
      g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())), g_free);
  return made.get();
}

bool is_control(char c) { return (static_cast<unsigned char>(c) < ' ' && c != '\t') || c == '\x7f'; }

// "BYDAY=MO;BYSETPOS=2" at the end, without other days or months in front: that may be joined.
bool has_one_weekday(std::string_view rule) {
  constexpr std::string_view days = "BYDAY=MO;BYSETPOS=";
  const std::size_t begin = std::min(rule.find('B'), rule.size());
  const std::size_t position = rule.find(";BYSETPOS=");
  return rule.substr(begin).starts_with("BYDAY=") && position == begin + days.find(';') &&
         rule.find(';', position + 1) == std::string_view::npos;
}

// How many bytes of a text have room in a line that holds none of `signs`.
std::size_t fitting(std::string_view text, std::size_t room, std::span<const std::string_view> signs) {
  std::string_view line = beginning(text, room);
  for (const std::string_view sign : signs)
    if (const std::size_t begin = line.find(sign); begin != std::string_view::npos)
      line = line.substr(0, begin + sign.size() - 1);
  return line.size();
}

std::string folded(std::string_view property, std::span<const std::string_view> signs) {
  std::string text;
  while (!property.empty()) {
    const std::string_view indent = text.empty() ? "" : " ";
    const std::size_t size = std::max<std::size_t>(fitting(property, longest_line - indent.size(), signs), 1);
    text.append(indent).append(property.substr(0, size)).append("\n");
    property.remove_prefix(size);
  }
  return text;
}

}  // namespace

void Lines::add(std::string_view line) { text_.append(line).append("\n"); }

void Lines::add_folded(std::string_view property) { text_ += folded(property, known); }

void Lines::add_text(std::string_view name, std::string_view value) {
  if (!value.empty()) add_folded(std::string(name) + ":" + escaped(value));
}

void Lines::add_rule(std::string_view rule) {
  const std::span<const std::string_view> signs = known_in_rules;
  text_ += folded("RRULE:" + std::string(rule), has_one_weekday(rule) ? signs.first(1) : signs);
}

std::string escaped(std::string_view text) {
  std::string result;
  for (const char c : valid(text)) {
    if (c == '\n') result += "\\n";
    if (is_control(c)) continue;
    if (c == '\\' || c == ';' || c == ',') result += '\\';
    result += c;
  }
  return result;
}

std::string plain(std::string_view text) {
  std::string result = valid(text);
  std::erase_if(result, is_control);
  return result;
}

std::string in_quotes(std::string_view text) {
  std::string result = plain(text);
  std::ranges::replace(result, '"', '\'');
  return '"' + result + '"';
}

}  // namespace pack
