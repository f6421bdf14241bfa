// What NTFS notes beside a file: its attributes, and the tag of a reparse point.
#ifndef BRINDLE_PACK_DISK_ATTRIBUTES_H
#define BRINDLE_PACK_DISK_ATTRIBUTES_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "pack/model/causes.h"

namespace pack {

/// True when the file's content is to be fetched from the network first.
constexpr bool is_online_only(std::uint32_t attributes) {
  constexpr std::uint32_t offline = 0x1000;
  constexpr std::uint32_t recall_on_open = 0x40000;
  constexpr std::uint32_t recall_on_access = 0x400000;
  return (attributes & (offline | recall_on_open | recall_on_access)) != 0;
}

/// True when it is encrypted for its owner (EFS).
constexpr bool is_encrypted(std::uint32_t attributes) { return (attributes & 0x4000) != 0; }

/// Why the content of a file with these attributes cannot be had, if it cannot.
constexpr std::optional<Cause> gap_by_attributes(std::uint32_t attributes) {
  if (is_online_only(attributes)) return Cause::online_only;
  if (is_encrypted(attributes)) return Cause::encrypted;
  return std::nullopt;
}

/// True for reparse points that name another place: symbolic links, junctions, mount points.
constexpr bool is_link(std::uint32_t tag) { return tag == 0xA000000C || tag == 0xA0000003; }

/// True for what a cloud storage program has put there, which is a file or folder like others when its
/// content is on the disk.
constexpr bool is_cloud(std::uint32_t tag) { return (tag & 0xFFFF0FFF) == 0x9000001A; }

/// The place that a link names, "C:\Users\ann", in UTF-8, from the data of its reparse point; empty when it
/// cannot be read. A relative one stays relative.
std::string link_target(std::string_view reparse_data);

/// The tag that the data of a reparse point begin with; 0 of too few bytes.
std::uint32_t reparse_tag(std::string_view reparse_data);

}  // namespace pack

#endif
