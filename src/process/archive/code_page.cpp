#include "process/archive/code_page.h"

#include <glib.h>
#include <iconv.h>

#include <array>
#include <string_view>

#include "system/language.h"

namespace {

struct Row {
  std::string_view language;  ///< and country
  const char* page;
};

constexpr const char* united_states = "CP437";

// The first row that fits: a language and its country stand before the language alone.
constexpr std::array rows = {
    Row{"en_US", united_states}, Row{"en", "CP850"}, Row{"zh_TW", "CP950"}, Row{"zh_HK", "CP950"},
    Row{"zh", "CP936"},          Row{"ja", "CP932"}, Row{"ko", "CP949"},    Row{"ru", "CP866"},
    Row{"be", "CP866"},          Row{"bg", "CP866"}, Row{"uk", "CP866"},    Row{"pl", "CP852"},
    Row{"cs", "CP852"},          Row{"sk", "CP852"}, Row{"hu", "CP852"},    Row{"ro", "CP852"},
    Row{"sl", "CP852"},          Row{"hr", "CP852"}, Row{"sq", "CP852"},    Row{"el", "CP737"},
    Row{"tr", "CP857"},          Row{"he", "CP862"}, Row{"th", "CP874"},    Row{"lt", "CP775"},
    Row{"lv", "CP775"},          Row{"et", "CP775"}, Row{"vi", "CP1258"},   Row{"de", "CP850"},
    Row{"fr", "CP850"},          Row{"es", "CP850"}, Row{"it", "CP850"},    Row{"pt", "CP850"},
    Row{"nl", "CP850"},          Row{"sv", "CP850"}, Row{"da", "CP850"},    Row{"nb", "CP850"},
    Row{"nn", "CP850"},          Row{"no", "CP850"}, Row{"fi", "CP850"},    Row{"is", "CP850"},
    Row{"ca", "CP850"},          Row{"gl", "CP850"}, Row{"eu", "CP850"},    Row{"af", "CP850"},
    Row{"cy", "CP850"},          Row{"fo", "CP850"}, Row{"ga", "CP850"},    Row{"id", "CP850"},
    Row{"ms", "CP850"},          Row{"bs", "CP852"}, Row{"sr", "CP855"},    Row{"mk", "CP866"},
    Row{"kk", "CP866"},          Row{"ky", "CP866"}, Row{"mn", "CP866"},    Row{"tt", "CP866"},
    Row{"az", "CP857"},          Row{"uz", "CP857"},
};

bool is_letter_beside_latin(gunichar c) {
  const GUnicodeScript script = g_unichar_get_script(c);
  return g_unichar_isalpha(c) && script != G_UNICODE_SCRIPT_COMMON && script != G_UNICODE_SCRIPT_LATIN;
}

}  // namespace

const char* dos_code_page(const std::string& locale) {
  for (const Row& row : rows)
    if (is_in_language(locale, row.language)) return row.page;
  return united_states;
}

bool looks_like_words(const std::string& text) {
  bool behind_small_letter = false;
  for (const char* at = text.c_str(); *at != '\0'; at = g_utf8_next_char(at)) {
    const gunichar letter = g_utf8_get_char(at);
    if (letter >= 0x80 && !is_letter_beside_latin(letter)) return false;
    if (letter >= 0x80 && behind_small_letter && g_unichar_isupper(letter)) return false;
    behind_small_letter = g_unichar_islower(letter);
  }
  return true;
}

std::optional<std::string> converted(const std::string& text, const char* from, const char* to) {
  const iconv_t conversion = iconv_open(to, from);
  if (conversion == reinterpret_cast<iconv_t>(-1)) return std::nullopt;
  std::string source = text;
  std::string result(4 * text.size() + 16, '\0');  // no character set here needs more
  char* in = source.data();
  char* out = result.data();
  std::size_t in_left = source.size();
  std::size_t out_left = result.size();
  const bool whole = iconv(conversion, &in, &in_left, &out, &out_left) == 0;
  iconv_close(conversion);
  if (!whole) return std::nullopt;
  result.resize(result.size() - out_left);
  return result;
}
