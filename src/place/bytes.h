// The bytes of one open file into another, in the way that the file system does best.
#ifndef BRINDLE_PLACE_BYTES_H
#define BRINDLE_PLACE_BYTES_H

#include <sys/stat.h>

#include <vector>

namespace place {

/// Copies all of the file `from`, of which fstat said `what`, to the empty file `to`: shared blocks where
/// both lie on a file system that can, else in the kernel, else through our memory. Holes stay holes, and
/// what the file grows by meanwhile is left. False, with errno set.
bool copy_bytes(int from, int to, const struct stat& what);

/// The memory that files are read through, one a thread.
std::vector<char>& reading_memory();

}  // namespace place

#endif
