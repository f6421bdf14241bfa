// A folder of our own for copies of files that a library can only read by name.
#ifndef BRINDLE_PACK_DISK_STAGE_H
#define BRINDLE_PACK_DISK_STAGE_H

#include "pack/disk/disk.h"
#include "pack/disk/trace.h"

namespace pack {

class Stage {
 public:
  /// Makes the folder, below TMPDIR or /tmp. Throws std::system_error.
  Stage();
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;
  /// Removes it with all that is in it.
  ~Stage();

  /// Where a file of that name in it is, or can be made.
  std::string path(const std::string& name) const { return folder_ + "/" + name; }

  /// Copies a file there, under `name`, which is free. Returns its path; no value when the file cannot be
  /// read to its end. Throws std::runtime_error when there is no room for it here.
  std::optional<std::string> copy(const Place& file, const std::string& name) const;

 private:
  std::string folder_;
  Trace trace_;
};

/// All of a file, when it has at most `most` bytes and can be read to its end.
std::optional<std::string> whole(const Place& file, std::size_t most);

}  // namespace pack

#endif
