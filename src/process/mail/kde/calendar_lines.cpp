#include "process/mail/kde/calendar_lines.h"

#include "shell/files.h"

std::string marked_as_utc(const std::string& line) {
  if (contains(line, "Z")) return line;
  std::string marked = line;
  const bool ended = !marked.empty() && marked.back() == '\n';
  marked.insert(marked.size() - (ended ? 1 : 0), "Z");
  return marked;
}

std::string with_date_only_until(const std::string& line) {
  std::string kept;
  bool in_until = false;
  bool dropping = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    const char next = i + 1 < line.size() ? line[i + 1] : '\0';
    if (c == 'U' && next == 'N') in_until = true;
    if (in_until && c == 'T' && next != 'I') dropping = true;
    if (c == ';') in_until = dropping = false;
    if (!dropping) kept += c;
  }
  return kept;
}

DateLine DateValues::rewrite(const std::string& line, const char* property) {
  DateLine rewritten;
  bool in_date = false;
  for (const char c : line.substr(line.find(property))) {
    if (c == ';') {
      rewritten.line += ";VALUE=DATE";
      dropping_ = true;
      continue;
    }
    if (c == ':') dropping_ = false;
    if (dropping_) continue;
    rewritten.line += c;
    if (in_date && c != '\n') rewritten.date += c;
    in_date = in_date || c == ':';
  }
  return rewritten;
}
