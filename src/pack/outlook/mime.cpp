#include "pack/outlook/mime.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <ctime>

#include "pack/disk/utc.h"
#include "pack/outlook/charsets.h"

namespace pack {

namespace {

constexpr std::size_t line_length = 76;
constexpr std::size_t longest_line = 990;

bool is_ascii(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return c >= ' ' && c < '\x7f'; });
}

// One line: what would end it, or a header, becomes a blank.
std::string on_one_line(std::string_view text) {
  std::string line(text);
  std::ranges::replace_if(
      line, [](char c) { return static_cast<unsigned char>(c) < ' ' || c == '\x7f'; }, ' ');
  return line;
}

bool goes_on(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// So many bytes, not within a character.
std::size_t piece_size(std::string_view text, std::size_t most) {
  if (text.size() <= most) return text.size();
  while (most > 1 && goes_on(text[most])) --most;
  return most;
}

std::string base64(std::string_view bytes) {
  gchar* const text = g_base64_encode(reinterpret_cast<const guchar*>(bytes.data()), bytes.size());
  std::string result = text;
  g_free(text);
  return result;
}

// =?utf-8?B?...?= as often as it takes, with a fold between two.
std::string encoded_words(std::string_view text) {
  constexpr std::size_t bytes_of_a_word = 36;
  std::string words;
  while (!text.empty()) {
    const std::size_t size = piece_size(text, bytes_of_a_word);
    if (!words.empty()) words += "\n ";
    words += "=?utf-8?B?" + base64(text.substr(0, size)) + "?=";
    text.remove_prefix(size);
  }
  return words;
}

bool needs_no_encoding(std::string_view text) {
  return is_ascii(text) && text.find("=?") == std::string_view::npos;
}

// Breaks lines in front of blanks, but for that behind the name, and where there are none, at the most that
// mail allows.
std::string folded(std::string text) {
  std::size_t begin = 0;
  for (std::size_t blank = std::string::npos, at = 0; at < text.size(); ++at) {
    if (text[at] == '\n') {
      begin = at + 1;
      blank = std::string::npos;
    } else if (at - begin >= line_length && blank != std::string::npos) {
      text.insert(blank, "\n");
      begin = blank + 1;
      blank = std::string::npos;
      ++at;
    } else if (at - begin >= longest_line && !goes_on(text[at])) {
      text.insert(at, "\n ");
      begin = at + 1;
    } else if (text[at] == ' ' && at > begin && text[at - 1] != ' ' && text[at - 1] != ':') {
      blank = at;
    }
  }
  return text;
}

std::string in_quotes(std::string_view text) {
  std::string result = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') result += '\\';
    result += c;
  }
  return result + "\"";
}

std::string percent(std::string_view text) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string result;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (g_ascii_isalnum(c) || c == '.' || c == '-' || c == '_') {
      result += c;
    } else {
      result += {'%', digits[byte >> 4], digits[byte & 15]};
    }
  }
  return result;
}

constexpr std::array days{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr std::array months{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                            "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

}  // namespace

std::string text_field(std::string_view name, std::string_view text) {
  const std::string line = on_one_line(text);
  return raw_field(name, needs_no_encoding(line) ? line : encoded_words(line));
}

std::string raw_field(std::string_view name, std::string_view value) {
  return folded(std::string(name) + ": " + std::string(value)) + "\n";
}

std::string mailbox(std::string_view name, std::string_view address) {
  const std::string line = on_one_line(name);
  if (line.empty() || line == address) return "<" + std::string(address) + ">";
  return (needs_no_encoding(line) ? in_quotes(line) : encoded_words(line)) + " <" + std::string(address) +
         ">";
}

std::string parameter(std::string_view name, std::string_view value) {
  constexpr std::size_t bytes_of_a_piece = 18;  // three characters each at most
  const std::string line = on_one_line(value);
  const std::string begin = ";\n " + std::string(name);
  if (is_ascii(line) && line.size() <= 60) return begin + "=" + in_quotes(line);
  std::string_view rest = line;
  if (piece_size(rest, bytes_of_a_piece) == rest.size()) return begin + "*=utf-8''" + percent(rest);
  std::string text;
  for (int number = 0; !rest.empty(); ++number) {
    const std::size_t size = piece_size(rest, bytes_of_a_piece);
    text += begin + "*" + std::to_string(number) + "*=" + (number == 0 ? "utf-8''" : "") +
            percent(rest.substr(0, size));
    rest.remove_prefix(size);
  }
  return text;
}

bool is_plain(std::string_view text) {
  constexpr std::string_view of_boundaries = "=_";
  if (text.find(of_boundaries) != std::string_view::npos) return false;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    const bool is_short = line.size() <= longest_line && !line.starts_with("From ");
    if (!is_short || !std::ranges::all_of(line, [](char c) { return (c >= ' ' && c < '\x7f') || c == '\t'; }))
      return false;
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return true;
}

void write_quoted_printable(std::string_view text, const Writer& write) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string line;
  const auto end_line = [&](const char* end) {
    line += end;
    write(line);
    line.clear();
  };
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    if (c == '\r' && at + 1 < text.size() && text[at + 1] == '\n') continue;
    if (c == '\n') {
      end_line("\n");
      continue;
    }
    const bool is_last = at + 1 == text.size() || text[at + 1] == '\n' || text[at + 1] == '\r';
    const bool is_blank = (c == ' ' || c == '\t') && !is_last;
    // A mailbox would take it for the next message.
    const bool begins_message = line.empty() && text.substr(at, 5) == "From ";
    const bool is_itself = is_blank || (c > ' ' && c < '\x7f' && c != '=' && !begins_message);
    if (line.size() + (is_itself ? 1 : 3) >= line_length) end_line("=\n");
    const auto byte = static_cast<unsigned char>(c);
    if (is_itself && !(line.empty() && text.substr(at, 5) == "From ")) {
      line += c;
    } else {
      line += {'=', digits[byte >> 4], digits[byte & 15]};
    }
  }
  if (!line.empty()) end_line("\n");
}

void Base64::take(std::string_view bytes) {
  constexpr std::size_t block = 48 * 1024;
  std::array<char, block / 3 * 4 + block / 48 + 80> out;
  while (!bytes.empty()) {
    const std::size_t size = std::min(bytes.size(), block);
    const std::size_t count = g_base64_encode_step(reinterpret_cast<const guchar*>(bytes.data()), size, TRUE,
                                                   out.data(), &state_, &save_);
    if (count > 0) write_(std::string_view(out.data(), count));
    is_empty_ = false;
    bytes.remove_prefix(size);
  }
}

void Base64::finish() {
  if (is_empty_) return;
  std::array<char, 8> out{};
  const std::size_t count = g_base64_encode_close(TRUE, out.data(), &state_, &save_);
  if (count > 0) write_(std::string_view(out.data(), count));
}

void MailboxLines::take(std::string_view bytes) {
  constexpr std::size_t longest_piece = std::size_t{16} << 10;
  for (const char c : bytes) {
    if (c == '\0') continue;
    if (has_return_ && c != '\n') piece_ += '\r';
    has_return_ = c == '\r';
    if (has_return_) continue;
    piece_ += c;
    if (c == '\n' || piece_.size() >= longest_piece) end_piece();
  }
}

void MailboxLines::end_piece() {
  if (begins_line_ && piece_.starts_with("From ")) piece_.insert(0, ">");
  begins_line_ = piece_.ends_with('\n');
  write_(piece_);
  piece_.clear();
}

void MailboxLines::finish() {
  if (!piece_.empty() || !begins_line_) take("\n");
}

std::string date_in_mail(std::int64_t time) {
  const std::tm parts = utc_parts(time);
  char text[64];
  std::snprintf(text, sizeof text, "%s, %02d %s %04d %02d:%02d:%02d +0000",
                days.at(static_cast<std::size_t>(parts.tm_wday)), parts.tm_mday,
                months.at(static_cast<std::size_t>(parts.tm_mon)), parts.tm_year + 1900, parts.tm_hour,
                parts.tm_min, parts.tm_sec);
  return text;
}

std::string date_in_mailbox(std::int64_t time) {
  const std::tm parts = utc_parts(time);
  char text[64];
  std::snprintf(text, sizeof text, "%s %s %2d %02d:%02d:%02d %04d",
                days.at(static_cast<std::size_t>(parts.tm_wday)),
                months.at(static_cast<std::size_t>(parts.tm_mon)), parts.tm_mday, parts.tm_hour, parts.tm_min,
                parts.tm_sec, parts.tm_year + 1900);
  return text;
}

}  // namespace pack
