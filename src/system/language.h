// The language the person reads, as the locale variables name it.
#ifndef BRINDLE_SYSTEM_LANGUAGE_H
#define BRINDLE_SYSTEM_LANGUAGE_H

#include <string>

/// The locale that the wizard takes its language from, such as "de_DE.UTF-8": LC_CTYPE on systems that look
/// at it first, when it is set, else LANG. Null when that is not set. Prints nothing.
const char* wizard_locale();

/// The locale the person has chosen: wizard_locale, unless the start script went over to English texts, which
/// then keeps it in BRINDLE_LOCALE. Empty when none is set. The texts of a language may be missing, its files
/// are there all the same.
std::string persons_locale();

#endif
