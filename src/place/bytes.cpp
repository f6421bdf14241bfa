#include "place/bytes.h"

#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace place {

namespace {

constexpr std::size_t memory_size = 256 * 1024;
constexpr std::size_t most_at_once = std::size_t{1} << 30;

bool write_all(int to, const char* bytes, std::size_t size, off_t place) {
  while (size > 0) {
    const ssize_t written = pwrite(to, bytes, size, place);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    bytes += written;
    place += written;
    size -= static_cast<std::size_t>(written);
  }
  return true;
}

/// A part of a file that is being copied to the same place in another one.
struct Part {
  int from;
  int to;
  off_t place;
  off_t end;  ///< the part ends before, at the latest with the file

  std::size_t left(std::size_t most) const {
    return static_cast<std::size_t>(std::min<off_t>(end - place, static_cast<off_t>(most)));
  }
};

// Copies as much as the kernel does; what is left is for copy_through_memory. Some file systems say that
// there is nothing more though there is.
void copy_in_kernel(Part& part) {
  while (part.place < part.end) {
    off_t to = part.place;
    if (copy_file_range(part.from, &part.place, part.to, &to, part.left(most_at_once), 0) <= 0) return;
  }
}

bool copy_through_memory(Part& part) {
  std::vector<char>& memory = reading_memory();
  while (part.place < part.end) {
    const ssize_t size = pread(part.from, memory.data(), part.left(memory.size()), part.place);
    if (size < 0 && errno == EINTR) continue;
    if (size <= 0) return size == 0;
    if (!write_all(part.to, memory.data(), static_cast<std::size_t>(size), part.place)) return false;
    part.place += size;
  }
  return true;
}

bool copy_part(Part part) {
  copy_in_kernel(part);
  return copy_through_memory(part);
}

bool copy_without_size(Part part) {
  if (!copy_through_memory(part)) return false;
  if (part.place < part.end) return true;
  errno = EFBIG;
  return false;
}

bool copy_all_but_holes(int from, int to, off_t size) {
  off_t end = 0;
  while (end < size) {
    const off_t start = lseek(from, end, SEEK_DATA);
    if (start < 0 && errno == ENXIO) break;  // only a hole is left
    if (start < 0) return copy_part({from, to, end, size});
    end = lseek(from, start, SEEK_HOLE);
    if (end < 0 || !copy_part({from, to, start, end})) return false;
  }
  return ftruncate(to, size) == 0;
}

bool has_holes(const struct stat& what) { return what.st_blocks < what.st_size / 512; }

}  // namespace

std::vector<char>& reading_memory() {
  thread_local std::vector<char> memory(memory_size);
  return memory;
}

bool copy_bytes(int from, int to, const struct stat& what) {
  if (what.st_size == 0) return copy_without_size({from, to, 0, most_without_size});
  if (ioctl(to, FICLONE, from) == 0) return true;
  return has_holes(what) ? copy_all_but_holes(from, to, what.st_size)
                         : copy_part({from, to, 0, what.st_size});
}

}  // namespace place
