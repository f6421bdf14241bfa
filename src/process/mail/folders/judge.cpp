#include "process/mail/folders/judge.h"

#include <algorithm>
#include <cstring>

namespace {

// Deliberate: part of the output. The rule looks at the fifth character after "From ", not at the first: a
// message after "From - Mon ..." keeps an encoding line at its top.
int removal_after(std::string_view separator_line, std::size_t separator_size) {
  const std::string_view text = separator_line.substr(separator_size);
  const std::size_t length = std::min(text.find('\n'), text.size());
  return length < 5 || text[4] == '-' ? 1 : 0;
}

// The end of the piece at `begin`, or nothing of it when the block ends before the piece is known to.
std::size_t end_of_piece(std::string_view block, std::size_t begin, bool is_last) {
  const std::size_t window = std::min(block.size() - begin, Judge::longest_piece);
  const char* start = block.data() + begin;
  const void* newline = std::memchr(start, '\n', window);
  if (newline != nullptr)
    return begin + static_cast<std::size_t>(static_cast<const char*>(newline) - start) + 1;
  return window == Judge::longest_piece || is_last ? begin + window : begin;
}

// `begin`, or the start of a later line, when the lines before that are whole and end before `until`.
std::size_t pass_over_lines(std::string_view block, std::size_t begin, std::size_t until) {
  while (begin < until) {
    const char* start = block.data() + begin;
    const void* newline = memrchr(start, '\n', std::min(until - begin, Judge::longest_piece));
    if (newline == nullptr) break;
    begin += static_cast<std::size_t>(static_cast<const char*>(newline) - start) + 1;
  }
  return begin;
}

void add(std::vector<Part>& parts, std::size_t begin, std::size_t end, bool begins_message) {
  if (begin < end)
    parts.push_back(
        {static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(end - begin), begins_message});
}

}  // namespace

// What is kept goes on in runs as long as they come, not piece by piece.
std::size_t Judge::take(std::string_view block, bool is_last, std::vector<Part>& parts) {
  for (NextOf* text : {&separator_, &dashes_, &boundary_, &encoding_}) text->search(block);
  std::size_t run = 0;
  bool begins_message = false;
  std::size_t begin = 0;
  for (;;) {
    begin = pass_over_lines(block, begin, next_marker(begin));
    const std::size_t end = end_of_piece(block, begin, is_last);
    if (end == begin) break;
    const bool starts = block.substr(begin).starts_with(separator);
    if (starts || is_dropped(begin, end)) {
      add(parts, run, begin, begins_message);
      if (starts) removeencoding = removal_after(block.substr(begin, end - begin), separator.size());
      run = starts ? begin : end;
      begins_message = starts;
    }
    begin = end;
  }
  add(parts, run, begin, begins_message);
  return begin;
}

// Where something comes that a piece is judged by; the lines before that are all kept.
std::size_t Judge::next_marker(std::size_t begin) {
  const std::size_t start = separator_.from(begin);
  return removeencoding == 0 ? std::min(start, boundary_.from(begin))
                             : std::min({start, dashes_.from(begin), encoding_.from(begin)});
}

bool Judge::is_dropped(std::size_t begin, std::size_t end) {
  // In this order: a boundary may hold "--" itself. What would change nothing is not looked for.
  if (removeencoding == 1 && dashes_.lies_in(begin, end)) removeencoding = 0;
  if (removeencoding == 0 && boundary_.lies_in(begin, end)) removeencoding = 1;
  return removeencoding == 1 && encoding_.lies_in(begin, end);
}
