// Names from a Windows disk as an archive can hold them.
#ifndef BRINDLE_PACK_FILES_NAMES_H
#define BRINDLE_PACK_FILES_NAMES_H

#include <string>
#include <string_view>

namespace pack {

/// `name`, or, when it is no UTF-8 (Windows allows halves of characters in a name), the same with U+FFFD for
/// what is none, and a number of its own at the end, so that two such names stay two.
std::string kept_name(std::string_view name);

}  // namespace pack

#endif
