#include "account/archive/shown_name.h"

#include <glib.h>

#include <algorithm>

#include "account/archive/charset.h"

namespace account {
namespace {

constexpr std::size_t longest_part = 255;
constexpr std::size_t longest_ending = 64;

bool is_word_letter(gunichar c) {
  const GUnicodeScript script = g_unichar_get_script(c);
  return g_unichar_isalpha(c) && script != G_UNICODE_SCRIPT_COMMON && script != G_UNICODE_SCRIPT_LATIN;
}

// Of another script than the Latin one, beside ASCII, and not mIxed like this.
bool looks_like_words(const std::string& text) {
  bool behind_small_letter = false;
  for (const char* at = text.c_str(); *at != '\0'; at = g_utf8_next_char(at)) {
    const gunichar c = g_utf8_get_char(at);
    const bool is_ascii = c < 0x80;
    if (!is_ascii && (!is_word_letter(c) || (behind_small_letter && g_unichar_isupper(c)))) return false;
    behind_small_letter = g_unichar_islower(c) != FALSE;
  }
  return true;
}

// Short words in a code page are valid UTF-8 by chance, for letters that the code page does not have.
bool is_rather_in(const char* charset, std::string_view bytes) {
  const auto text = to_utf8(bytes, charset);
  return text && looks_like_words(*text) && !is_in_charset(bytes, charset);
}

bool is_ascii(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool continues_character(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

std::string fitting(std::string_view part) {
  if (part.size() <= longest_part) return std::string(part);
  const std::size_t dot = part.rfind('.');
  const bool has_ending = dot != std::string_view::npos && dot != 0 && part.size() - dot <= longest_ending;
  const std::string_view ending = has_ending ? part.substr(dot) : "";
  std::size_t kept = longest_part - ending.size();
  while (kept > 0 && continues_character(part[kept])) --kept;
  return std::string(part.substr(0, kept)).append(ending);
}

}  // namespace

std::string shown_name(std::string_view bytes, const char* charset, bool is_marked) {
  if (is_ascii(bytes) || (is_utf8(bytes) && (is_marked || !is_rather_in(charset, bytes))))
    return std::string(bytes);
  if (const auto text = to_utf8(bytes, charset)) return *text;
  return to_utf8(bytes, "CP437").value_or(std::string(bytes));
}

std::string fitting_path(std::string_view path) {
  std::string result;
  for (std::size_t begin = 0; begin <= path.size();) {
    const std::size_t end = std::min(path.find('/', begin), path.size());
    result += fitting(path.substr(begin, end - begin));
    if (end < path.size()) result += '/';
    begin = end + 1;
  }
  return result;
}

}  // namespace account
