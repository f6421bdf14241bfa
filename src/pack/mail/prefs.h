// The settings of a Mozilla program (prefs.js).
#ifndef BRINDLE_PACK_MAIL_PREFS_H
#define BRINDLE_PACK_MAIL_PREFS_H

#include <map>
#include <string>
#include <string_view>

namespace pack {

/// Values by their names, texts as they are meant, numbers and truth values as they are written.
using Prefs = std::map<std::string, std::string, std::less<>>;

/// Those of a file. Lines of another form are passed over.
Prefs read_prefs(std::string_view text);

/// The value of a name, empty when there is none.
std::string pref(const Prefs& prefs, const std::string& name);

}  // namespace pack

#endif
