// What SOURCE and --drive can be: a folder, an NTFS partition, or a whole disk, these as a device or a file.
#ifndef BRINDLE_PACK_VOLUMES_H
#define BRINDLE_PACK_VOLUMES_H

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "pack/disk/tree.h"

namespace pack {

/// Something is no volume that can be read; what() says why and what to do, for people.
class NoVolume : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Another partition of a disk that may hold somebody's files.
struct OtherPartition {
  std::string name;                      ///< "disk.img#3", which `open_volume` takes
  std::string identity;                  ///< in SYSTEM\MountedDevices
  std::unique_ptr<Tree> tree;            ///< null when it cannot be read
  Cause cause = Cause::other_partition;  ///< why it is not packed, as long as it has no letter
  std::string complaint{};               ///< why it cannot be read, for people
};

struct Volume {
  std::unique_ptr<Tree> tree;
  std::vector<OtherPartition> others;
};

/// Opens the folder, partition or disk; of a disk the partition with Windows, or the one whose number stands
/// behind "#". Nothing of it is ever written. Throws NoVolume.
Volume open_volume(const std::string& name);

/// The path in `name`, without the number of a partition.
std::string path_of(const std::string& name);

}  // namespace pack

#endif
