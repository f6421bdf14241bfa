// Zips byte by byte, with the names that packers on Windows write and zip(1) does not.
#ifndef BRINDLE_TESTS_ARCHIVE_WINDOWS_ZIP_H
#define BRINDLE_TESTS_ARCHIVE_WINDOWS_ZIP_H

#include <string>
#include <vector>

struct PackedFile {
  std::string name;     // as bytes
  std::string bytes;    // stored
  int host = 0;         // 0: DOS, 3: Unix, 11: NTFS
  int flags = 0;        // 0x800: the name is UTF-8
  std::string shown{};  // in the Unicode path field, when there is one
  unsigned attributes = 0x20;
};

/// Writes a zip of stored entries, in this order.
void write_zip(const std::string& path, const std::vector<PackedFile>& files);

#endif
