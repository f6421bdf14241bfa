// The character sets of a Windows PC, by the wizard's language.
#ifndef BRINDLE_ACCOUNT_ARCHIVE_CHARSET_H
#define BRINDLE_ACCOUNT_ARCHIVE_CHARSET_H

#include <optional>
#include <string>
#include <string_view>

namespace account {

/// iconv's name of the code page in which DOS, and so a zip without a mark, keeps names.
const char* dos_charset(std::string_view language);

/// iconv's name of the code page in which Windows programs keep texts.
const char* windows_charset(std::string_view language);

/// Valid UTF-8 that stands for nothing but whole characters; no surrogates.
bool is_utf8(std::string_view text);

/// `text` in UTF-8; no value when it holds what `charset` does not have.
std::optional<std::string> to_utf8(std::string_view text, const char* charset);

/// True when `text`, which is UTF-8, can be written in `charset`.
bool is_in_charset(std::string_view text, const char* charset);

/// `charset`; but iconv's name of the Chinese one for a text in which, were it in a Western character set,
/// signs and letters would stand in a row as in no word.
const char* likely_charset(std::string_view text, const char* charset);

/// `text` when it is UTF-8 already, else read in its likely character set, and where that fails in Latin-1.
std::string readable(std::string_view text, const char* charset);

}  // namespace account

#endif
