#include "process/mail/kde/calendar_lines.h"

void append_as_utc(std::string_view line, std::string& out) {
  const bool is_marked = line.find('Z') != std::string_view::npos;
  const bool is_ended = line.ends_with('\n');
  out += line.substr(0, line.size() - (is_ended ? 1 : 0));
  if (!is_marked) out += 'Z';
  if (is_ended) out += '\n';
}

void append_with_date_only_until(std::string_view line, std::string& out) {
  bool in_until = false;
  bool dropping = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    const char next = i + 1 < line.size() ? line[i + 1] : '\0';
    if (c == 'U' && next == 'N') in_until = true;
    if (in_until && c == 'T' && next != 'I') dropping = true;
    if (c == ';') in_until = dropping = false;
    if (!dropping) out += c;
  }
}

std::string DateValues::rewrite(std::string_view line, std::string_view property, std::string& out) {
  std::string date;
  bool in_date = false;
  for (const char c : line.substr(line.find(property))) {
    if (c == ';') {
      out += ";VALUE=DATE";
      dropping_ = true;
      continue;
    }
    if (c == ':') dropping_ = false;
    if (dropping_) continue;
    out += c;
    if (in_date && c != '\n') date += c;
    in_date = in_date || c == ':';
  }
  return date;
}
