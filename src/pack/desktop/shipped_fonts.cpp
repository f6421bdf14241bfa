#include "pack/desktop/shipped_fonts.h"

#include <algorithm>
#include <array>
#include <string>

namespace pack {

namespace {

constexpr std::array shipped = std::to_array<std::string_view>({
#include "pack/desktop/shipped_fonts.def"
});
static_assert(std::ranges::is_sorted(shipped));

}  // namespace

bool is_shipped_font(std::string_view name) {
  std::string small(name);
  std::ranges::transform(small, small.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return std::ranges::binary_search(shipped, small);
}

}  // namespace pack
