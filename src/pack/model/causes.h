// Why something is left out, or changed on its way into the archive.
#ifndef BRINDLE_PACK_MODEL_CAUSES_H
#define BRINDLE_PACK_MODEL_CAUSES_H

#include <array>
#include <string_view>

namespace pack {

enum class Cause {
#define CAUSE(cause, name, said, advice) cause,
#include "pack/model/causes.def"
#undef CAUSE
};

inline constexpr std::array all_causes{
#define CAUSE(cause, name, said, advice) Cause::cause,
#include "pack/model/causes.def"
#undef CAUSE
};

/// Its name in tables: "online-only".
std::string_view name_of(Cause cause);

/// What is said behind the name of the thing: "is kept online only".
std::string_view said_of(Cause cause);

/// What a person can do about it.
std::string_view advice_on(Cause cause);

/// True for what is packed all the same, though not as it was.
constexpr bool is_packed(Cause cause) {
  return cause == Cause::renamed || cause == Cause::cut_short || cause == Cause::changed ||
         cause == Cause::salvaged || cause == Cause::item_cut || cause == Cause::simplified;
}

/// False for what nobody misses: it neither counts as a loss nor changes how the program ends.
constexpr bool is_loss(Cause cause) {
  return cause != Cause::windows_own && cause != Cause::renamed && cause != Cause::special &&
         cause != Cause::there_already && cause != Cause::deleted && cause != Cause::expired &&
         cause != Cause::unpacked && cause != Cause::registry_not_copied;
}

}  // namespace pack

#endif
