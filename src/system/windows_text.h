// Texts that programs on Windows wrote, in the encoding of its language.
#ifndef BRINDLE_SYSTEM_WINDOWS_TEXT_H
#define BRINDLE_SYSTEM_WINDOWS_TEXT_H

#include <string>
#include <string_view>

/// The code page that a Windows in the language of `locale` uses for texts, under its name for iconv. The
/// country counts where two differ, as for Chinese; a language without a row has that of Western Europe.
///
///   "de_DE.UTF-8"   "CP1252"      "ru"      "CP1251"      "zh_CN"   "CP936"      "zh_TW"   "CP950"
const char* windows_code_page(std::string_view locale);

/// True when `bytes` are UTF-8 throughout; ASCII is.
bool is_utf8(std::string_view bytes);

/// `bytes` in UTF-8: as they are when they are UTF-8, else read in the code page of `locale`. A byte that the
/// code page does not have becomes U+FFFD; half a character at the end is left out.
std::string as_utf8(std::string_view bytes, std::string_view locale);

#endif
