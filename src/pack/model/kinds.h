// The kinds of data that a person has on a Windows disk.
#ifndef BRINDLE_PACK_MODEL_KINDS_H
#define BRINDLE_PACK_MODEL_KINDS_H

#include <array>
#include <optional>
#include <string_view>

namespace pack {

enum class Kind {
#define KIND(kind, name, title) kind,
#include "pack/model/kinds.def"
#undef KIND
};

/// All of them, in the order in which they are packed.
inline constexpr std::array all_kinds{
#define KIND(kind, name, title) Kind::kind,
#include "pack/model/kinds.def"
#undef KIND
};

/// Its name in options and tables: "documents".
std::string_view name_of(Kind kind);

/// What a person calls it: "Documents".
std::string_view title_of(Kind kind);

/// The kind of that name.
std::optional<Kind> kind_named(std::string_view name);

}  // namespace pack

#endif
