// Zip archives byte by byte, for what no packer writes any more.
#ifndef BRINDLE_TESTS_ACCOUNT_RAW_ZIP_H
#define BRINDLE_TESTS_ACCOUNT_RAW_ZIP_H

#include <cstdint>
#include <string>
#include <vector>

/// One entry, stored as it is.
struct RawEntry {
  std::string name;
  std::string bytes = {};
  std::uint8_t made_on = 0;  ///< 0 DOS, 3 Unix, 10 or 11 NTFS
  std::uint16_t flags = 0;
  std::uint32_t external = 0;
  std::string extra = {};  ///< extra fields of the list
};

/// What lies around the entries.
struct RawFrame {
  std::string before = {};     ///< in front of the archive, which does not know of it
  std::string comment = {};    ///< of the archive
  std::string after = {};      ///< behind it
  std::string signature = {};  ///< behind the list's records, part of the list
  bool large = false;          ///< with the second end record, and numbers of 64 bits everywhere
};

std::string raw_zip(const std::vector<RawEntry>& entries, const RawFrame& frame = {});

/// The extra field with a name in Unicode, made for the raw name `of`.
std::string unicode_path(const std::string& of, const std::string& name);

#endif
