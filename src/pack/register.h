// The register of what brindle-pack packs: which kinds, in which order, by what.
#ifndef BRINDLE_PACK_REGISTER_H
#define BRINDLE_PACK_REGISTER_H

#include <span>

#include "pack/files/packing.h"
#include "pack/people/people.h"
#include "pack/registry/hive.h"

namespace pack {

/// A source of data on a disk.
struct Source {
  const char* where;  ///< where Windows keeps it
  const char* to;     ///< what it becomes in the archive
  void (*pack)(Packing& packing, const Disk& disk, const Person& person, const Hive* hive);
};

/// All of them, in the order in which they are packed.
std::span<const Source> sources();

}  // namespace pack

#endif
