// The migration archive, opened by the account itself: what it holds, by the names that Windows showed.
#ifndef BRINDLE_ACCOUNT_ARCHIVE_ARCHIVE_H
#define BRINDLE_ACCOUNT_ARCHIVE_ARCHIVE_H

#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace account {

/// The archive as a whole cannot be read; what() says why.
class Unreadable : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// One entry of the archive's own list. Its name lives as long as the archive.
struct Entry {
  std::string_view name;      ///< UTF-8, without a slash at its ends, empty parts and "."
  std::uint64_t size;         ///< unpacked, in bytes
  std::uint64_t packed;       ///< in bytes
  std::uint64_t header;       ///< where its own header lies in the archive
  std::uint64_t record;       ///< where its line of the list lies in the archive
  std::uint32_t record_size;  ///< in bytes
  std::uint32_t crc;
  std::uint16_t mode;    ///< Unix mode, 0 when the archive has none
  std::uint16_t flags;   ///< general purpose bits
  std::uint16_t method;  ///< of compression; 99 stands for an encryption that unzip cannot read
  bool folder;
  bool read_only;  ///< a Windows file that its owner must not write
  bool unsafe;     ///< the name leads out of the archive, is absolute, or holds a NUL
  bool shortened;  ///< a part of the name was longer than a file system takes

  bool encrypted() const { return (flags & 1U) != 0; }
  bool is_link_or_device() const;
};

/// The bytes of one entry, unpacked on the way. Its checksum is looked at when the end is reached.
class EntryStream {
 public:
  EntryStream(EntryStream&&) noexcept;
  EntryStream& operator=(EntryStream&&) noexcept;
  ~EntryStream();

  /// The next bytes, at most buffer.size(); 0 at the end, and after a fault.
  std::size_t read(std::span<char> buffer);

  /// True when the entry could not be opened or its data are damaged; certain only at the end.
  bool failed() const;

 private:
  friend class Archive;
  struct Parts;
  explicit EntryStream(std::unique_ptr<Parts> parts);

  std::unique_ptr<Parts> parts_;
};

/// Reads the list of a zip once. Memory: about 100 bytes an entry; data are read entry by entry.
class Archive {
 public:
  /// `dos_charset`: of names without a mark (account/archive/charset.h). Throws Unreadable.
  Archive(const std::string& path, const char* dos_charset);
  ~Archive();
  Archive(const Archive&) = delete;
  Archive& operator=(const Archive&) = delete;

  const std::string& path() const { return path_; }

  /// Every entry, sorted by name byte for byte. Of two entries with the same name both are there, the later
  /// one of the archive last: it is the one that is unpacked.
  std::span<const Entry> entries() const { return entries_; }

  /// The entries below the folder `name`, at any depth, without itself.
  std::span<const Entry> below(std::string_view name) const;

  /// The entry of that name; null when there is none, or when it is only implied by entries below it.
  const Entry* find(std::string_view name) const;

  /// True when `name` is there, if only as the folder of other entries.
  bool has(std::string_view name) const;

  EntryStream open(const Entry& entry) const;

  /// All bytes of the entry. A fault of the entry, and more than `limit` bytes, set `*whole` to false when it
  /// is not null; what could be read is returned.
  std::string read(const Entry& entry, std::size_t limit, bool* whole = nullptr) const;

 private:
  std::string path_;
  int file_ = -1;
  std::string names_;  // of all entries
  std::vector<Entry> entries_;
};

}  // namespace account

#endif
