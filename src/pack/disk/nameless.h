// A file of our own that nobody sees and that is gone when it is closed.
#ifndef BRINDLE_PACK_DISK_NAMELESS_H
#define BRINDLE_PACK_DISK_NAMELESS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace pack {

/// All calls throw std::runtime_error when there is no room or the disk fails: this is about our own disk,
/// not the one that is packed.
class Nameless {
 public:
  /// In that folder, for its owner's eyes.
  explicit Nameless(const std::string& folder);
  Nameless(const Nameless&) = delete;
  Nameless& operator=(const Nameless&) = delete;
  ~Nameless();

  void append(std::string_view bytes);
  std::uint64_t size() const { return size_; }

  /// Reads up to `most` bytes from a place on; 0 at the end.
  std::size_t read_at(std::uint64_t place, char* to, std::size_t most) const;

  /// A name under which this process can open it.
  std::string path() const;

 private:
  std::string folder_;
  int file_;
  std::uint64_t size_ = 0;
};

/// The folder for files of that kind: TMPDIR, or /tmp.
std::string folder_for_copies();

/// True when so many bytes still fit into that folder.
bool has_room(const std::string& folder, std::uint64_t bytes);

}  // namespace pack

#endif
