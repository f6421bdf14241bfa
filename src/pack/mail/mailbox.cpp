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

// "Tue Mar": lines between messages have a date, which tells them from a text that begins so.
bool has_date(std::string_view line) {
  constexpr std::string_view days = "Mon Tue Wed Thu Fri Sat Sun ";
  constexpr std::string_view months = "Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec ";
  constexpr std::size_t size = 4;  // of a word with the blank behind it
  const auto is_word_of = [&](std::string_view words, std::size_t at) {
    return at + size <= line.size() && words.find(line.substr(at, size)) % size == 0;
  };
  for (std::size_t at = separator.size(); at + 2 * size <= line.size(); ++at)
    if (line[at - 1] == ' ' && is_word_of(days, at) && is_word_of(months, at + size)) return true;
  return false;
}

// "Subject:" and so on: a name of printable signs.
bool is_header(std::string_view line) {
  const std::size_t colon = line.find(':');
  return colon != std::string_view::npos && colon > 0 &&
         std::ranges::all_of(line.substr(0, colon), [](char c) { return c > ' ' && c <= '~'; });
}

}  // namespace

Beginning beginning_of_mailbox(std::string_view bytes) {
  bytes.remove_prefix(std::min(bytes.find_first_not_of("\r\n"), bytes.size()));
  if (bytes.empty()) return Beginning::nothing;
  if (bytes.starts_with(separator)) return Beginning::message;
  return is_header(bytes.substr(0, bytes.find('\n'))) ? Beginning::headers : Beginning::other;
}

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
  Piece piece{.text = {start, size}, .begins_line = at_line_, .follows_empty_line = behind_empty_line_};
  begin_ += size;
  at_line_ = newline != nullptr;
  if (piece.text.ends_with("\r\n")) {
    mended_.assign(piece.text.substr(0, size - 2));
    mended_ += '\n';
    piece.text = mended_;
  }
  behind_empty_line_ = piece.begins_line && piece.text == "\n";
  return piece;
}

// Up to the first message, whose first lines are left in `separator_`.
void MailboxReader::begin() {
  while (const auto piece = take()) {
    if (!piece->begins_line) continue;
    if (piece->text.starts_with(separator)) {
      separator_ = piece->text;
      return;
    }
    if (!has_begun_wrongly_ && is_header(piece->text)) {
      separator_ = std::string(line_without_date) + std::string(piece->text);
      return;
    }
    has_begun_wrongly_ |= piece->text != "\n";
  }
}

std::optional<std::string> MailboxReader::next() {
  if (std::exchange(is_at_beginning_, false)) begin();
  if (!separator_) body([](std::string_view) {});
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
      if (piece->follows_empty_line || has_date(piece->text)) {
        separator_ = piece->text;
        return;
      }
      write(">");
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

bool is_deleted(std::string_view head) {
  // Mozilla's bits for a message, in hexadecimal digits: out of the file at the next clearing, and marked as
  // deleted on a server that keeps such messages.
  constexpr unsigned expunged = 0x8;
  constexpr unsigned deleted_on_server = 0x00200000;
  const auto has = [&](std::string_view field, unsigned bit) {
    const std::string status = header_field(head, field);
    unsigned bits = 0;
    std::from_chars(status.data(), status.data() + status.size(), bits, 16);
    return (bits & bit) != 0;
  };
  return has("X-Mozilla-Status", expunged) || has("X-Mozilla-Status2", deleted_on_server);
}

}  // namespace pack
