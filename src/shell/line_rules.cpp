#include "shell/line_rules.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

#include "shell/pieces.h"

LineRewriter::LineRewriter(LineRules rules, std::size_t limit) : rules_(std::move(rules)), limit_(limit) {}

std::string_view LineRewriter::rewrite(std::string_view lines) {
  out_.clear();
  lines_ = lines;
  rules_.marks.look_in(lines);
  for (std::size_t from = 0; from < lines.size();) {
    const std::size_t start = is_next_too_ ? from : start_of_line(rules_.marks.next(from), from);
    const std::string_view untouched = lines.substr(from, start - from);
    trace(untouched);
    out_ += untouched;
    const std::string_view line = first_piece(lines.substr(start), limit_);
    if (!is_next_too_) trace(line);
    if (!line.empty()) is_next_too_ = rules_.rewrite(line, out_);
    from = start + line.size();
  }
  return out_;
}

// Of the line around `at`, when one begins at `from`; the end for npos.
std::size_t LineRewriter::start_of_line(std::size_t at, std::size_t from) const {
  if (at == std::string_view::npos) return lines_.size();
  const void* newline = memrchr(lines_.data() + from, '\n', at - from);
  const std::size_t start =
      newline == nullptr ? from
                         : static_cast<std::size_t>(static_cast<const char*>(newline) - lines_.data()) + 1;
  return start + (at - start) / limit_ * limit_;
}

// As printf("%s%s") has it: a line with a zero byte ends there.
void LineRewriter::trace(std::string_view lines) {
  if (rules_.trace.empty() || lines.empty()) return;
  // Room for lines of one byte each.
  trace_.resize(std::max(trace_.size(), lines.size() * (rules_.trace.size() + 1)));
  char* end = trace_.data();
  const bool has_zeros = lines.find('\0') != std::string_view::npos;
  while (!lines.empty()) {
    const std::string_view line = first_piece(lines, limit_);
    const std::string_view shown = has_zeros ? line.substr(0, line.find('\0')) : line;
    end = std::copy(rules_.trace.begin(), rules_.trace.end(), end);
    end = std::copy(shown.begin(), shown.end(), end);
    lines.remove_prefix(line.size());
  }
  std::fwrite(trace_.data(), 1, static_cast<std::size_t>(end - trace_.data()), stdout);
}
