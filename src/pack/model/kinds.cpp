#include "pack/model/kinds.h"

#include <algorithm>

namespace pack {

namespace {

struct Words {
  std::string_view name;
  std::string_view title;
};

constexpr std::array words{
#define KIND(kind, name, title) Words{name, title},
#include "pack/model/kinds.def"
#undef KIND
};

}  // namespace

std::string_view name_of(Kind kind) { return words[static_cast<std::size_t>(kind)].name; }

std::string_view title_of(Kind kind) { return words[static_cast<std::size_t>(kind)].title; }

std::optional<Kind> kind_named(std::string_view name) {
  const auto found = std::ranges::find(all_kinds, name, name_of);
  return found == all_kinds.end() ? std::nullopt : std::optional(*found);
}

}  // namespace pack
