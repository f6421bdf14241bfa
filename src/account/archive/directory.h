// A zip's list of entries (its central directory), read record by record so that an archive of any size is
// listed in little memory.
#ifndef BRINDLE_ACCOUNT_ARCHIVE_DIRECTORY_H
#define BRINDLE_ACCOUNT_ARCHIVE_DIRECTORY_H

#include <cstdint>
#include <functional>
#include <string_view>

namespace account {

/// One record of the list. The texts live during the call only.
struct DirectoryRecord {
  std::uint64_t place;   ///< of the record in the file
  std::uint64_t header;  ///< of the entry's own header in the file
  std::uint64_t size;
  std::uint64_t packed;
  std::uint32_t crc;
  std::uint32_t external;  ///< attributes: DOS below, Unix mode above
  std::uint16_t flags;
  std::uint16_t method;
  std::uint8_t made_on;           ///< 3 is Unix
  std::uint32_t length;           ///< of the record, in bytes
  std::string_view name;          ///< raw bytes
  std::string_view unicode_name;  ///< of the Unicode path field, when it belongs to the name; else empty
};

/// Calls `take` for each record of the zip open as `file`, in order. Throws Unreadable when there is no list
/// or it ends early.
void read_directory(int file, const std::function<void(const DirectoryRecord&)>& take);

}  // namespace account

#endif
