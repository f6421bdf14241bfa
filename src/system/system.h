// The systems that Brindle knows.
#ifndef BRINDLE_SYSTEM_SYSTEM_H
#define BRINDLE_SYSTEM_SYSTEM_H

#include <string_view>

/// A system, and the column it has in every table by system. `other` is none of the four names: only
/// documents, the desktop and printers are migrated there, for profiles only the first two.
enum class System { gnome, linspire, redflag, xandros, other };
inline constexpr int system_count = 5;

/// The Red Flag release with a Chinese address book, as OSVersion spells it.
inline constexpr const char* redflag_plus = "4.1 Plus";

/// The system of that name, as OSName spells it.
System system_called(std::string_view name);

/// The system in OSName. For entry functions: helpers take the answer.
System detected_system();

/// Whether the detection found a Red Flag release that is not served, OSName "INVALID": no run is made there.
bool detected_unserved_release();

#endif
