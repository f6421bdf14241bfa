// What lies on a disk that is not mounted: its partitions, and which of them Windows can have its files on.
#ifndef BRINDLE_PACK_NTFS_PARTITIONS_H
#define BRINDLE_PACK_NTFS_PARTITIONS_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace pack {

/// Gives up to `most` bytes of a disk from `at` on; fewer where it ends or cannot be read.
using Bytes = std::function<std::string(std::uint64_t at, std::size_t most)>;

enum class Holds { ntfs, bitlocker, something_else };

struct Partition {
  int number = 0;  ///< as Linux counts them
  std::uint64_t begin = 0;
  std::uint64_t size = 0;  ///< in bytes, both
  Holds holds = Holds::something_else;
  /// What Windows calls it in SYSTEM\MountedDevices.
  std::string identity{};
};

/// The partitions of a disk, by its table (MBR with logical ones, or GPT). Empty when there is none.
std::vector<Partition> partitions_of(const Bytes& disk);

/// What a partition that begins at `at` holds, by its first sector.
Holds held_at(const Bytes& disk, std::uint64_t at);

/// What something is that is no disk of Windows, for people: "is empty"; and what to do about it, where that
/// is known.
std::string described(const Bytes& disk);

}  // namespace pack

#endif
