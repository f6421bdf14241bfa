// The wizard's language, and with it the encoding of texts that a Windows of that language wrote.
#ifndef BRINDLE_SYSTEM_LANGUAGE_H
#define BRINDLE_SYSTEM_LANGUAGE_H

#include <string>
#include <string_view>

#include "system/system.h"

/// The language code that the wizard's texts are chosen by: the first five characters of LANG, or, on a
/// system whose row says so, of LC_CTYPE when that is set. Empty when the variable is missing or shorter.
std::string wizard_language(System system);

/// The name, for iconv, of the code page that a Windows of `language` uses for texts of its programs. The
/// country counts where two differ, as for Chinese; a language without a row has that of Western Europe.
///
///   "de_DE"   "CP1252"        "ru_RU"   "CP1251"        "zh_CN"   "CP936"        "zh_TW"   "CP950"
const char* windows_code_page(std::string_view language);

/// `bytes` in UTF-8: as they are when they are UTF-8, else read in the Windows code page of `language`. A
/// byte that the code page does not have becomes U+FFFD; half a character at the end is left out.
std::string as_utf8(std::string_view bytes, std::string_view language);

#endif
