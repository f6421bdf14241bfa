// The fonts that come with Windows.
#ifndef BRINDLE_PACK_DESKTOP_SHIPPED_FONTS_H
#define BRINDLE_PACK_DESKTOP_SHIPPED_FONTS_H

#include <string_view>

namespace pack {

/// True for the name of a file that some Windows, XP to 11, brings along; whatever its case.
bool is_shipped_font(std::string_view name);

}  // namespace pack

#endif
