// Texts of people and programs.
#ifndef BRINDLE_PACK_FILES_TEXTS_H
#define BRINDLE_PACK_FILES_TEXTS_H

#include <cstddef>
#include <string>
#include <string_view>

namespace pack {

/// At most so many bytes of a text in UTF-8, all of its characters whole.
std::string_view beginning(std::string_view text, std::size_t most);

/// A text that is UTF-8 already, or else in the character set `charset`, in UTF-8. One with a byte that is no
/// character there is taken for Latin-1, in which each is one.
std::string in_utf8(std::string_view bytes, const char* charset);

}  // namespace pack

#endif
