// A Windows machine's volumes by their drive letters.
#ifndef BRINDLE_PACK_DISK_DISK_H
#define BRINDLE_PACK_DISK_DISK_H

#include <map>

#include "pack/disk/tree.h"

namespace pack {

/// A file or folder on a volume.
struct Place {
  const Tree* tree = nullptr;
  std::string path;
};

class Disk {
 public:
  /// Of the volume that Windows was started from, which is C: until somebody else is.
  explicit Disk(std::unique_ptr<Tree> system);

  /// Gives a volume a letter, 'A' to 'Z'.
  void add(char letter, std::unique_ptr<Tree> tree);

  const Tree& system() const { return *system_; }

  /// The place of a path as Windows writes it, "C:\Users\ann", whatever the case. No value when the drive is
  /// not known, or nothing is there.
  std::optional<Place> find(std::string_view windows_path) const;

 private:
  std::unique_ptr<Tree> system_;
  std::map<char, std::unique_ptr<Tree>> others_;
};

}  // namespace pack

#endif
