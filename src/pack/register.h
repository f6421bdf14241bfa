// The register of what brindle-pack packs: which kinds, in which order, by what.
#ifndef BRINDLE_PACK_REGISTER_H
#define BRINDLE_PACK_REGISTER_H

#include <span>

#include "pack/files/packing.h"
#include "pack/people/people.h"
#include "pack/registry/hive.h"

namespace pack {

/// A source of somebody's data.
struct Source {
  const char* where;  ///< where Windows keeps it
  const char* to;     ///< what it becomes in the person's folder of the archive
  /// `hive` is the person's registry, null when it cannot be read.
  void (*pack)(Packing& packing, const Machine& machine, const Person& person, const Hive* hive);
};

/// A source of what all people share.
struct SharedSource {
  const char* where;
  const char* to;  ///< what it becomes in the archive root
  void (*pack)(Packing& shared, const Machine& machine);
};

/// All of them, in the order in which they are packed.
std::span<const Source> sources();
std::span<const SharedSource> shared_sources();

}  // namespace pack

#endif
