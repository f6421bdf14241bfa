#include "pack/outlook/charsets.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <memory>

#include "pack/disk/bytes.h"

namespace pack {

namespace {

constexpr std::uint32_t western = 1252;
constexpr std::uint32_t utf8 = 65001;
constexpr std::uint32_t utf7 = 65000;
constexpr std::uint32_t hz = 52936;  // Chinese in ASCII

using Text = std::unique_ptr<char, decltype(&g_free)>;

struct Named {
  std::uint32_t code_page;
  const char* in_mail;
  const char* converted;  // the name that the C library converts it by
};
constexpr std::array named{
    Named{437, "ibm437", "CP437"},
    Named{850, "ibm850", "CP850"},
    Named{852, "ibm852", "CP852"},
    Named{862, "ibm862", "CP862"},
    Named{866, "ibm866", "CP866"},
    Named{874, "windows-874", "CP874"},
    Named{932, "shift_jis", "CP932"},
    Named{936, "gbk", "CP936"},
    Named{949, "ks_c_5601-1987", "CP949"},
    Named{950, "big5", "CP950"},
    Named{1361, "", "JOHAB"},
    Named{10000, "macintosh", "MACINTOSH"},
    Named{20127, "us-ascii", "CP1252"},
    Named{20866, "koi8-r", "KOI8-R"},
    Named{20932, "euc-jp", "EUC-JP"},
    Named{20936, "gb2312", "EUC-CN"},
    Named{21866, "koi8-u", "KOI8-U"},
    Named{38596, "iso-8859-6", "ISO-8859-6"},
    Named{38598, "iso-8859-8-i", "ISO-8859-8"},
    Named{50220, "iso-2022-jp", "EUC-JP-MS"},
    Named{50221, "iso-2022-jp", "EUC-JP-MS"},
    Named{50222, "iso-2022-jp", "EUC-JP-MS"},
    Named{50225, "iso-2022-kr", "ISO-2022-KR"},
    Named{50227, "iso-2022-cn", "ISO-2022-CN"},
    Named{50229, "iso-2022-cn", "ISO-2022-CN"},
    Named{51932, "euc-jp", "EUC-JP"},
    Named{51936, "gb2312", "EUC-CN"},
    Named{51949, "euc-kr", "EUC-KR"},
    Named{hz, "", "EUC-CN"},
    Named{54936, "gb18030", "GB18030"},
    Named{utf7, "", "UTF-7"},
    Named{utf8, "utf-8", "UTF-8"},
};

const Named* found(std::uint32_t code_page) {
  const auto place = std::ranges::find(named, code_page, &Named::code_page);
  return place == named.end() ? nullptr : &*place;
}

bool is_windows(std::uint32_t code_page) { return code_page >= 1250 && code_page <= 1258; }
bool is_latin(std::uint32_t code_page) { return code_page >= 28591 && code_page <= 28605; }
std::string latin(std::uint32_t code_page) { return "iso-8859-" + std::to_string(code_page - 28590); }

std::string without_zeros(std::string text) {
  std::erase(text, '\0');
  return text;
}

std::string made_valid(std::string_view bytes) {
  const Text text(g_utf8_make_valid(bytes.data(), static_cast<gssize>(bytes.size())), g_free);
  return text.get();
}

// Bytes that the page does not have become U+FFFD.
std::string converted(std::string_view bytes, const std::string& charset) {
  std::string text;
  while (!bytes.empty()) {
    gsize read = 0;
    gsize written = 0;
    GError* error = nullptr;
    const Text all(g_convert(bytes.data(), static_cast<gssize>(bytes.size()), "UTF-8", charset.c_str(), &read,
                             &written, &error),
                   g_free);
    g_clear_error(&error);
    if (all) {
      text.append(all.get(), written);
      return read < bytes.size() ? text + "\xEF\xBF\xBD" : text;  // half a character at the end
    }
    if (read > 0) {
      const Text begin(g_convert(bytes.data(), static_cast<gssize>(read), "UTF-8", charset.c_str(), nullptr,
                                 &written, nullptr),
                       g_free);
      if (begin) text.append(begin.get(), written);
    }
    text += "\xEF\xBF\xBD";
    bytes.remove_prefix(std::min<std::size_t>(read + 1, bytes.size()));
  }
  return text;
}

// Between "~{" and "~}" each byte lacks its highest bit; "~~" is "~", and "~" in front of a line's end
// nothing.
std::string hz_with_all_bits(std::string_view bytes) {
  std::string text;
  bool is_chinese = false;
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    const char c = bytes[at];
    const char next = at + 1 < bytes.size() ? bytes[at + 1] : '\0';
    if (c == '~' && (next == '{' || next == '}')) {
      is_chinese = next == '{';
      ++at;
    } else if (c == '~' && !is_chinese && (next == '~' || next == '\n')) {
      if (next == '~') text += c;
      ++at;
    } else {
      if (c == '\n') is_chinese = false;
      text += is_chinese ? static_cast<char>(c | 0x80) : c;
    }
  }
  return text;
}

// Behind an escape each byte of Japanese lacks its highest bit. Here each letter says of which set it is.
std::string jis_with_all_bits(std::string_view bytes) {
  struct Escape {
    std::string_view sign;
    std::string_view mark;  // in front of a letter
    std::size_t size;       // of a letter; 0 of ASCII
  };
  constexpr std::array escapes{Escape{"\x1B(B", "", 0},      Escape{"\x1B(J", "", 0},
                               Escape{"\x1B$@", "", 2},      Escape{"\x1B$B", "", 2},
                               Escape{"\x1B$(D", "\x8F", 2}, Escape{"\x1B(I", "\x8E", 1},
                               Escape{"\x0E", "\x8E", 1},    Escape{"\x0F", "", 0}};
  std::string text;
  Escape letters = escapes.front();
  for (std::size_t at = 0; at < bytes.size();) {
    const std::string_view rest = bytes.substr(at);
    const auto is_here = [&](const Escape& escape) { return rest.starts_with(escape.sign); };
    const auto escape = std::ranges::find_if(escapes, is_here);
    if (escape != escapes.end()) {
      letters = *escape;
      at += escape->sign.size();
    } else if (letters.size == 0 || static_cast<unsigned char>(rest.front()) <= ' ') {
      if (rest.front() == '\n') letters = escapes.front();
      text += rest.front();
      ++at;
    } else {
      text += letters.mark;
      for (const char c : rest.substr(0, letters.size)) text += static_cast<char>(c | 0x80);
      at += letters.size;
    }
  }
  return text;
}

bool is_jis(std::uint32_t code_page) { return code_page >= 50220 && code_page <= 50222; }

// Without states, in which a wrong byte would change all behind it.
std::string with_all_bits(std::string_view bytes, std::uint32_t code_page) {
  if (code_page == hz) return hz_with_all_bits(bytes);
  return is_jis(code_page) ? jis_with_all_bits(bytes) : std::string(bytes);
}

void append(std::string& text, std::uint32_t character) {
  std::array<char, 6> bytes{};
  const int size = g_unichar_to_utf8(character, bytes.data());
  text.append(bytes.data(), static_cast<std::size_t>(size));
}

}  // namespace

std::string text_of_utf16(std::string_view bytes) {
  constexpr std::uint32_t replacement = 0xFFFD;
  const auto is_high = [](std::uint32_t unit) { return unit >= 0xD800 && unit < 0xDC00; };
  const auto is_low = [](std::uint32_t unit) { return unit >= 0xDC00 && unit < 0xE000; };
  std::string text;
  text.reserve(bytes.size() / 2);
  for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
    const std::uint32_t unit = word_at(bytes, at);
    const std::uint32_t next = word_at(bytes, at + 2);
    if (is_high(unit) && is_low(next)) {
      append(text, 0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00));
      at += 2;
    } else if (unit != 0) {
      append(text, is_high(unit) || is_low(unit) ? replacement : unit);
    }
  }
  return text;
}

std::string text_of_code_page(std::string_view bytes, std::uint32_t code_page) {
  const bool is_ascii =
      std::ranges::all_of(bytes, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
  // All of its bytes are ASCII's.
  const bool has_states = (code_page >= 50220 && code_page <= 50229) || code_page == hz || code_page == utf7;
  if (is_ascii && !has_states) return without_zeros(std::string(bytes));
  if (code_page == utf8) return without_zeros(made_valid(bytes));
  if (const Named* name = found(code_page))
    return without_zeros(converted(with_all_bits(bytes, code_page), name->converted));
  if (is_latin(code_page)) return without_zeros(converted(bytes, latin(code_page)));
  return without_zeros(converted(bytes, "CP" + std::to_string(is_windows(code_page) ? code_page : western)));
}

bool has_code_page(std::uint32_t code_page) {
  return found(code_page) != nullptr || is_windows(code_page) || is_latin(code_page);
}

std::string charset_of(std::uint32_t code_page) {
  if (const Named* name = found(code_page)) return name->in_mail;
  if (is_windows(code_page)) return "windows-" + std::to_string(code_page);
  return is_latin(code_page) ? latin(code_page) : "";
}

bool is_utf8(std::string_view text) {
  return g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr) != FALSE;
}

}  // namespace pack
