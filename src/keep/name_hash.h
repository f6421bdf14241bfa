// One number for a name, in place of the name where there are thousands.
#ifndef BRINDLE_KEEP_NAME_HASH_H
#define BRINDLE_KEEP_NAME_HASH_H

#include <cstddef>
#include <string_view>

namespace keep {

/// Another one in each process: names come from archives of strangers, who could make two that share a number
/// they know.
std::size_t hash_of_name(std::string_view name);

}  // namespace keep

#endif
