// The kinds of data, and the systems they are moved to.
#ifndef BRINDLE_ACCOUNT_MODEL_KINDS_H
#define BRINDLE_ACCOUNT_MODEL_KINDS_H

#include <optional>
#include <span>
#include <string_view>

namespace account {

enum class Kind {
#define KIND(name, table, key, english) name,
#include "account/model/kinds.def"
#undef KIND
};

struct KindName {
  Kind kind;
  const char* table;  ///< as the tables have it
  const char* key;    ///< of the page's line
  const char* english;
};

/// All kinds, in order.
std::span<const KindName> kinds();

const KindName& name_of(Kind kind);

/// The systems, each also a column of the register. `gnome` is every machine that is none of the others.
enum class System { gnome, nld, linspire, xandros, redflag, redflag_plus };
inline constexpr int system_count = 6;

/// "gnome", "nld", "linspire", "xandros", "redflag", "redflag-plus"; no value for another text.
std::optional<System> system_called(std::string_view name);
const char* name_of(System system);

/// The system whose files stand below `root`, "" for this machine's own.
System system_of_machine(const char* root = "");

constexpr bool has_evolution(System system) { return system == System::gnome || system == System::nld; }
constexpr bool has_kmail(System system) {
  return system == System::xandros || system == System::redflag || system == System::redflag_plus;
}
constexpr bool is_redflag(System system) {
  return system == System::redflag || system == System::redflag_plus;
}

}  // namespace account

#endif
