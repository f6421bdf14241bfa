// A disk or partition that is not mounted: a device, or a file with its bytes. It is read and never written.
#ifndef BRINDLE_PACK_NTFS_IMAGE_H
#define BRINDLE_PACK_NTFS_IMAGE_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace pack {

class Image {
 public:
  /// Opens it for reading. Throws std::system_error.
  explicit Image(const std::string& path);
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;
  ~Image();

  /// In bytes.
  std::uint64_t size() const { return size_; }

  /// Puts up to `most` bytes from `at` on into `to` and returns how many; fewer than asked for at the end
  /// alone. Throws std::system_error when the disk does not give them.
  std::size_t read(std::uint64_t at, char* to, std::size_t most) const;

  /// The bytes from `at` on, at most so many; fewer at the end, and where the disk gives none.
  std::string bytes(std::uint64_t at, std::size_t most) const;

 private:
  int file_;
  std::uint64_t size_ = 0;
};

}  // namespace pack

#endif
