#include "pack/disk/limits.h"

#include <sys/resource.h>

namespace pack {

void limit(int resource, std::uint64_t most) {
  const rlimit both{.rlim_cur = most, .rlim_max = most};
  setrlimit(resource, &both);
}

#ifdef __SANITIZE_ADDRESS__
void limit_memory(std::uint64_t) {}
#else
void limit_memory(std::uint64_t bytes) { limit(RLIMIT_AS, bytes); }
#endif

}  // namespace pack
