// Values in data files of Outlook that have a form of their own: rules, zones, compressed texts.
#include <glib.h>

#include "pack/outlook/charsets.h"
#include "pack/outlook/compressed_rtf.h"
#include "pack/outlook/mime.h"
#include "pack/outlook/plain_text.h"
#include "pack/outlook/recurrence.h"
#include "support/harness.h"

namespace {

bool is_hex(char c) { return g_ascii_isxdigit(c) != 0; }

std::string from_quoted_printable(const std::string& text) {
  std::string plain;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '=') {
      plain += text[at];
    } else if (text[at + 1] == '\n') {
      ++at;
    } else {
      fuzz::require(at + 2 < text.size() && is_hex(text[at + 1]) && is_hex(text[at + 2]),
                    "what is encoded is a byte");
      plain +=
          static_cast<char>(g_ascii_xdigit_value(text[at + 1]) << 4 | g_ascii_xdigit_value(text[at + 2]));
      at += 2;
    }
  }
  return plain;
}

void try_texts(const std::string& text) {
  std::string unix_text = text;
  for (std::size_t at = 0; (at = unix_text.find("\r\n", at)) != std::string::npos;) unix_text.erase(at, 1);
  std::string encoded;
  pack::write_quoted_printable(text, [&](std::string_view more) { encoded += more; });
  std::string plain = from_quoted_printable(encoded);
  if (!unix_text.empty() && !unix_text.ends_with('\n')) unix_text += '\n';
  fuzz::require(plain == unix_text, "a text comes out as it went in");
  for (const std::uint32_t page : {1252U, 932U, 65001U, 50220U, 28592U, 38598U, 50227U, 52936U, 65000U, 4U})
    fuzz::require(pack::is_utf8(pack::text_of_code_page(text, page)), "texts are UTF-8");
  fuzz::require(pack::is_utf8(pack::text_of_utf16(text)), "texts are UTF-8");
  const std::string field = pack::text_field("Subject", pack::text_of_utf16(text));
  fuzz::require(field.find("\n\n") == std::string::npos && field.ends_with('\n'), "a field is one");
  for (std::size_t at = 0; (at = field.find('\n', at)) + 1 < field.size();)
    fuzz::require(field[++at] == ' ', "a field is folded");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Input input(data, size);
  const std::string text(input.text());
  if (const auto recurrence = pack::outlook_recurrence(text)) {
    fuzz::require(recurrence->rule.starts_with("FREQ="), "a rule is one");
    fuzz::require(recurrence->exceptions.size() * 14 <= text.size(),
                  "there are no more exceptions than bytes");
  }
  fuzz::require(pack::is_utf8(pack::zone_in_definition(text)), "a zone's name is a text");
  if (const auto rtf = pack::plain_rtf(text)) pack::html_in_rtf(*rtf);
  fuzz::require(pack::text_in_rtf("{\\rtf1 " + text).size() <= 4 * text.size() + 64,
                "a text does not grow without end");
  fuzz::require(pack::text_of_html(text).size() <= 2 * text.size(),
                "HTML has no more to read than it has bytes");
  if (const auto html = pack::html_in_rtf("{\\rtf1\\fromhtml1 " + text))
    fuzz::require(html->size() <= 16 * text.size() + 64, "HTML does not grow without end");
  try_texts(text);
  return 0;
}
