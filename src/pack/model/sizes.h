// Sizes as people read them.
#ifndef BRINDLE_PACK_MODEL_SIZES_H
#define BRINDLE_PACK_MODEL_SIZES_H

#include <cstdint>
#include <string>

namespace pack {

/// "999 B", "1.2 MB".
std::string size_in_words(std::uint64_t bytes);

}  // namespace pack

#endif
