// What a process of ours may take that works on strangers' files.
#ifndef BRINDLE_PACK_DISK_LIMITS_H
#define BRINDLE_PACK_DISK_LIMITS_H

#include <cstdint>

namespace pack {

/// Lets this process, and what it becomes, take no more of `resource` (RLIMIT_CORE, ...). For good. May be
/// called between fork and exec, as may the other.
void limit(int resource, std::uint64_t most);

/// The same for its memory, in a process that goes on in this program: with the address checker, which takes
/// more addresses than there is memory for itself, there is no such limit. What becomes another program has
/// none of that, and is limited by RLIMIT_AS.
void limit_memory(std::uint64_t bytes);

}  // namespace pack

#endif
