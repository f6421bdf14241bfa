// The way from a folder down into its tree and up again, with few open folders at any depth.
#ifndef BRINDLE_PLACE_TRAIL_H
#define BRINDLE_PLACE_TRAIL_H

#include <sys/types.h>

#include <vector>

#include "place/descriptor.h"

namespace place {

/// Where a walk through a tree stands. However somebody moves the folders meanwhile, it never leaves the way
/// it came.
class Trail {
 public:
  /// Into the folder `name` of `folder`: of the one where the walk stands, or of any open one where it
  /// begins. False, with errno set, when it is no folder or cannot be opened for reading.
  bool down(int folder, const char* name);

  /// Back to where the last step began; after the first one nothing is left. False, with errno set, when the
  /// way is no longer there.
  bool up();

  /// The folder where the walk stands, open for reading.
  int here() const { return steps_.back().folder.number(); }

 private:
  struct Step {
    Descriptor folder;
    dev_t device;
    ino_t inode;
  };

  static bool open_above(const Descriptor& below, Step& step);

  std::vector<Step> steps_;
};

}  // namespace place

#endif
