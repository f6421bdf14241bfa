#include "pack/mail/mailbox.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <utility>

namespace pack {

namespace {

constexpr std::size_t block_size = std::size_t{1} << 17;
constexpr std::string_view separator = "From ";

// A head that is longer goes on in the body.
constexpr std::size_t longest_head = std::size_t{1} << 20;

bool begins_with(std::string_view line, std::string_view name) {
  return line.size() > name.size() && line[name.size()] == ':' &&
         is_same_name(line.substr(0, name.size()), name);
}

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(" \t\r\n");
  if (begin == std::string_view::npos) return "";
  return text.substr(begin, text.find_last_not_of(" \t\r\n") + 1 - begin);
}

}  // namespace

MailboxReader::MailboxReader(Content& content) : content_(content), block_(block_size) {}

// Moves what is left to the front and reads behind it. False at the end.
bool MailboxReader::fill() {
  std::memmove(block_.data(), block_.data() + begin_, end_ - begin_);
  end_ -= begin_;
  begin_ = 0;
  const std::size_t count = content_.read(block_.data() + end_, block_.size() - end_);
  end_ += count;
  return count > 0;
}

std::optional<MailboxReader::Piece> MailboxReader::take() {
  const void* newline = nullptr;
  while ((newline = std::memchr(block_.data() + begin_, '\n', end_ - begin_)) == nullptr && !is_at_end_ &&
         end_ - begin_ < block_.size())
    is_at_end_ = !fill();
  if (begin_ == end_) return std::nullopt;
  const char* const start = block_.data() + begin_;
  // The last byte of a piece stays for the next one: it may be the first half of a line's end.
  const std::size_t size = newline != nullptr
                               ? static_cast<std::size_t>(static_cast<const char*>(newline) - start) + 1
                           : is_at_end_ ? end_ - begin_
                                        : end_ - begin_ - 1;
  Piece piece{.text = {start, size}, .begins_line = at_line_};
  begin_ += size;
  at_line_ = newline != nullptr;
  if (piece.text.ends_with("\r\n")) {
    mended_.assign(piece.text.substr(0, size - 2));
    mended_ += '\n';
    piece.text = mended_;
  }
  return piece;
}

std::optional<std::string> MailboxReader::next() {
  if (!separator_) body([this](std::string_view text) { has_begun_wrongly_ |= text != "\n"; });
  if (!separator_) return std::nullopt;
  std::string head = *std::exchange(separator_, std::nullopt);
  while (head.size() < longest_head) {
    const auto piece = take();
    if (!piece) break;
    if (piece->begins_line && piece->text.starts_with(separator)) {
      separator_ = piece->text;
      break;
    }
    head += piece->text;
    if (piece->begins_line && piece->text == "\n") break;
  }
  return head;
}

void MailboxReader::body(const Writer& write) {
  if (separator_) return;
  while (const auto piece = take()) {
    if (piece->begins_line && piece->text.starts_with(separator)) {
      separator_ = piece->text;
      return;
    }
    write(piece->text);
  }
}

std::string header_field(std::string_view head, std::string_view name) {
  std::string value;
  bool is_ours = false;
  while (!head.empty()) {
    const std::size_t end = std::min(head.find('\n'), head.size() - 1) + 1;
    const std::string_view line = head.substr(0, end);
    head.remove_prefix(end);
    if (trimmed(line).empty()) break;
    const bool is_folded = line.front() == ' ' || line.front() == '\t';
    if (is_ours && !is_folded) break;
    if (!is_folded) is_ours = begins_with(line, name);
    if (!is_ours) continue;
    if (!value.empty()) value += ' ';
    value += trimmed(is_folded ? line : line.substr(name.size() + 1));
  }
  return value;
}

// Mozilla's bits for a message, in hexadecimal digits.
bool is_deleted(std::string_view head) {
  constexpr unsigned expunged = 0x8;
  const std::string status = header_field(head, "X-Mozilla-Status");
  unsigned bits = 0;
  std::from_chars(status.data(), status.data() + status.size(), bits, 16);
  return (bits & expunged) != 0;
}

}  // namespace pack
