// The language the person reads, as the locale variables name it.
#ifndef BRINDLE_SYSTEM_LANGUAGE_H
#define BRINDLE_SYSTEM_LANGUAGE_H

#include <string>
#include <string_view>

/// The locale that the wizard takes its language from, such as "de_DE.UTF-8": LC_CTYPE on systems that look
/// at it first, when it is set, else LANG. Null when that is not set. Prints nothing.
const char* wizard_locale();

/// The locale the person has chosen: wizard_locale, unless the start script went over to English texts, which
/// then keeps it in BRINDLE_LOCALE. Empty when none is set. The texts of a language may be missing, its files
/// are there all the same.
std::string persons_locale();

/// True when `locale` is one of the language `language`, which may have its country with it:
///
///   "zh_TW.Big5" is one of "zh" and of "zh_TW", "zhx" is not
bool is_in_language(std::string_view locale, std::string_view language);

#endif
