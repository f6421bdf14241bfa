#include "things/lines.h"

#include <algorithm>

namespace things {

std::string escaped(std::string_view value) {
  std::string text;
  for (const char c : value) {
    if (c == '\\') text += '\\';
    if (c == '\n') {
      text += "\\n";
    } else {
      text += c;
    }
  }
  return text;
}

std::string unescaped(std::string_view line) {
  std::string text;
  for (std::size_t at = 0; at < line.size(); ++at) {
    const bool is_escape = line[at] == '\\' && at + 1 < line.size();
    if (is_escape) ++at;
    text += is_escape && line[at] == 'n' ? '\n' : line[at];
  }
  return text;
}

std::vector<std::string> parts_of(std::string_view text, char border) {
  std::vector<std::string> parts;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(border, begin), text.size());
    parts.emplace_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return parts;
}

std::vector<std::string> lines_of(std::string_view text) { return parts_of(text, '\n'); }

std::string take_word(std::string_view& line) {
  const std::size_t end = std::min(line.find(' '), line.size());
  const std::string word(line.substr(0, end));
  line.remove_prefix(std::min(end + 1, line.size()));
  return word;
}

}  // namespace things
