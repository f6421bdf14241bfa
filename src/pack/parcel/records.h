// The records that a zip is made of beside what its files hold.
#ifndef BRINDLE_PACK_PARCEL_RECORDS_H
#define BRINDLE_PACK_PARCEL_RECORDS_H

#include <cstdint>
#include <string>

namespace pack {

/// A file or folder in a zip. Names are UTF-8 and not marked so: unzip gives them back byte for byte then, in
/// whatever locale.
struct Item {
  std::string name;           ///< that of a folder ends with "/"
  std::int64_t modified = 0;  ///< seconds since 1970 began
  bool is_folder = false;
  bool may_be_large = false;  ///< its head has room for sizes from 4 GiB on
  bool is_deflated = false;
  std::uint64_t place = 0;  ///< of its head in the zip
  std::uint64_t size = 0;
  std::uint64_t packed_size = 0;
  std::uint32_t checksum = 0;  ///< CRC-32
};

/// A file of up to so many bytes needs no room for large sizes, however badly it is compressed.
inline constexpr std::uint64_t largest_small = 0xF0000000;

/// What stands in front of an item's content. Its length does not depend on sizes and checksum.
std::string head_of(const Item& item);

/// An item's entry in the list behind all items.
std::string list_entry_of(const Item& item);

/// What stands behind that list and closes the zip.
std::string end_of_zip(std::uint64_t items, std::uint64_t place_of_list, std::uint64_t size_of_list);

}  // namespace pack

#endif
