// The bytes of one open file into another, in the way that the file system does best.
#ifndef BRINDLE_PLACE_BYTES_H
#define BRINDLE_PLACE_BYTES_H

#include <sys/stat.h>

#include <vector>

namespace place {

/// Copies all of the file `from`, of which fstat said `what`, to the empty file `to`: shared blocks where
/// both lie on a file system that can, else in the kernel, else through our memory. Holes stay holes, and
/// what the file grows by meanwhile is left. False, with errno set; EFBIG when it said to be empty and holds
/// more than most_without_size.
bool copy_bytes(int from, int to, const struct stat& what);

/// What the kernel makes up when it is read says that it is empty; it is read up to here.
inline constexpr off_t most_without_size = 1 << 20;

/// The memory that files are read through, one a thread.
std::vector<char>& reading_memory();

}  // namespace place

#endif
