#include "account/shown.h"

#include <clocale>
#include <cwchar>

namespace account {
namespace {

constexpr std::string_view replacement = "\xef\xbf\xbd";
constexpr char32_t none = 0xffffffff;

struct Character {
  char32_t code;  // none: the byte is no character
  std::size_t length;
};

// The first character of a text that is not empty.
Character first_of(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  if (lead < 0x80) return {lead, 1};
  const std::size_t length = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
  if (lead < 0xc2 || lead > 0xf4 || text.size() < length) return {none, 1};
  char32_t code = lead & (0x7fU >> length);
  for (std::size_t i = 1; i < length; ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xc0) != 0x80) return {none, 1};
    code = code << 6 | (byte & 0x3f);
  }
  constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = code >= 0xd800 && code < 0xe000;
  if (code < smallest[length] || code > 0x10ffff || surrogate) return {none, 1};
  return {code, length};
}

bool in(char32_t code, char32_t first, char32_t last) { return code >= first && code <= last; }

bool is_shown(char32_t code) {
  if (code == none || code < 0x20 || in(code, 0x7f, 0x9f)) return false;
  const bool turns_direction =
      code == 0x061c || in(code, 0x200e, 0x200f) || in(code, 0x202a, 0x202e) || in(code, 0x2066, 0x2069);
  const bool ends_lines = in(code, 0x2028, 0x2029);
  const bool is_tag = in(code, 0xe0000, 0xe007f);
  return !turns_direction && !ends_lines && !is_tag && code != 0xfeff;
}

// Widths are known to the C library in a locale of UTF-8 only, and every machine has this one.
class Widths {
 public:
  Widths() : locale_(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)), before_(uselocale(locale_)) {}
  ~Widths() {
    uselocale(before_);
    if (locale_ != nullptr) freelocale(locale_);
  }
  Widths(const Widths&) = delete;
  Widths& operator=(const Widths&) = delete;

  static std::size_t of(char32_t code) {
    const int columns = wcwidth(static_cast<wchar_t>(code));
    return columns < 0 ? 1 : static_cast<std::size_t>(columns);
  }

 private:
  locale_t locale_, before_;
};

}  // namespace

std::string shown(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const Character character = first_of(text);
    result += is_shown(character.code) ? text.substr(0, character.length) : replacement;
    text.remove_prefix(character.length);
  }
  return result;
}

std::size_t width(std::string_view text) {
  const Widths widths;
  std::size_t columns = 0;
  while (!text.empty()) {
    const Character character = first_of(text);
    columns += Widths::of(character.code);
    text.remove_prefix(character.length);
  }
  return columns;
}

std::string escaped(std::string_view text) {
  std::string result;
  for (const char c : shown(text)) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      case '"':
        result += "&quot;";
        break;
      case '\'':
        result += "&#39;";
        break;
      default:
        result += c;
    }
  }
  return result;
}

}  // namespace account
