#include "process/archive/settings.h"

#include <glib.h>

#include <cstdlib>
#include <string_view>

#include "shell/pieces.h"

namespace {

// Deliberate: part of the format. A longer line comes in pieces, and each piece counts as a line.
constexpr std::size_t line_limit = 127;
constexpr std::size_t value_size = line_limit + 1;

// ---- Where a long line is cut ------------------------------------------------------------------------

bool is_gb2312_lead(char c) { return c >= '\xa1' && c <= '\xf7'; }
bool is_gb2312_trail(char c) { return c >= '\xa1' && c <= '\xfe'; }

// Half a character at the end of a text of ASCII and GB2312; 0 for another text.
std::size_t half_of_gb2312(std::string_view text) {
  while (!text.empty()) {
    if (g_ascii_isprint(text[0]) != 0 || g_ascii_isspace(text[0]) != 0) {
      text.remove_prefix(1);
    } else if (!is_gb2312_lead(text[0]) || (text.size() > 1 && !is_gb2312_trail(text[1]))) {
      return 0;
    } else if (text.size() == 1) {
      return 1;
    } else {
      text.remove_prefix(2);
    }
  }
  return 0;
}

// The same for UTF-8.
std::size_t part_of_utf8(std::string_view text) {
  const char* end = nullptr;
  g_utf8_validate(text.data(), static_cast<gssize>(text.size()), &end);
  const auto rest = static_cast<std::size_t>(text.data() + text.size() - end);
  constexpr gunichar cut_short = static_cast<gunichar>(-2);
  const bool is_part = rest > 0 && g_utf8_get_char_validated(end, static_cast<gssize>(rest)) == cut_short;
  return is_part ? rest : 0;
}

std::string_view without_half_character(std::string_view text) {
  const std::size_t part = part_of_utf8(text);
  text.remove_suffix(part != 0 ? part : half_of_gb2312(text));
  return text;
}

// The line of a piece, without its newline.
std::string_view line_of(std::string_view piece) {
  if (piece.ends_with('\n')) return piece.substr(0, piece.size() - 1);
  return piece.size() == line_limit ? without_half_character(piece) : piece;
}

// ---- Looking for a key -------------------------------------------------------------------------------

// The first line that contains `key`, without its newline.
std::optional<std::string> find_line(std::FILE* fp, const char* key) {
  std::rewind(fp);
  PieceReader lines(fp, line_limit);
  std::string_view line;
  while (lines.next(line)) {
    if (line.find(key) != std::string_view::npos) return std::string(line_of(line));
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> setting(std::FILE* fp, const char* key) {
  const std::optional<std::string> line = find_line(fp, key);
  if (!line) return std::nullopt;
  const std::size_t equals = line->find('=');
  if (equals == std::string::npos) return "";
  // A NUL would end the value for every writer that follows; end it here already.
  // NOLINTNEXTLINE(readability-redundant-string-cstr)
  return std::string(line->substr(equals + 1).c_str());
}

std::optional<char> flag_setting(std::FILE* fp, const char* key) {
  const std::optional<std::string> line = find_line(fp, key);
  if (!line) return std::nullopt;
  return line->empty() ? '\0' : line->back();
}

char* get_string(std::FILE* fp, const char* key) {
  const std::optional<std::string> value = setting(fp, key);
  if (!value) return nullptr;
  char* buffer = static_cast<char*>(std::calloc(value_size, 1));
  if (buffer != nullptr) value->copy(buffer, value->size());
  return buffer;
}

char get_char(std::FILE* fp, const char* key) { return flag_setting(fp, key).value_or('\0'); }
