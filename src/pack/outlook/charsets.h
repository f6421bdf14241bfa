// Texts in the character sets of Windows.
#ifndef BRINDLE_PACK_OUTLOOK_CHARSETS_H
#define BRINDLE_PACK_OUTLOOK_CHARSETS_H

#include <cstdint>
#include <string>
#include <string_view>

namespace pack {

/// A text in UTF-8, made of UTF-16 in Windows' byte order, or of a code page (65001 is UTF-8). What is no
/// character becomes U+FFFD; zero bytes are left out.
std::string text_of_utf16(std::string_view bytes);
std::string text_of_code_page(std::string_view bytes, std::uint32_t code_page);

/// True for a code page that texts can be made of; what is in another one is taken for Western.
bool has_code_page(std::uint32_t code_page);

/// The name that mail has for a code page; empty when it has none that mail programs read.
std::string charset_of(std::uint32_t code_page);

/// True for UTF-8.
bool is_utf8(std::string_view text);

}  // namespace pack

#endif
