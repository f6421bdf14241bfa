// A Windows machine's volumes by their drive letters.
#ifndef BRINDLE_PACK_DISK_DISK_H
#define BRINDLE_PACK_DISK_DISK_H

#include <compare>
#include <map>

#include "pack/disk/tree.h"

namespace pack {

/// A file or folder on a volume.
struct Place {
  const Tree* tree = nullptr;
  std::string path;
};

/// Something of a machine that is not read, and why.
struct Gap {
  Cause cause{};
  std::string path;
  auto operator<=>(const Gap&) const = default;
};

class Disk {
 public:
  /// Of the volume that Windows was started from, which is C: until somebody else is.
  explicit Disk(std::unique_ptr<Tree> system);

  /// Gives a volume a letter, 'A' to 'Z'.
  void add(char letter, std::unique_ptr<Tree> tree);

  /// True when some volume has that letter; C: always.
  bool has(char letter) const { return letter == 'C' || others_.contains(letter); }

  const Tree& system() const { return *system_; }

  /// All of them, by letter.
  std::vector<std::pair<char, const Tree*>> volumes() const;

  /// What of the machine cannot be read at all: partitions that are encrypted or have no letter.
  const std::vector<Gap>& gaps() const { return gaps_; }
  void add_gap(Cause cause, const std::string& path) { gaps_.push_back({.cause = cause, .path = path}); }

  /// The place of a path as Windows writes it, "C:\Users\ann", whatever the case. No value when the drive is
  /// not known, or nothing is there.
  std::optional<Place> find(std::string_view windows_path) const;

 private:
  std::unique_ptr<Tree> system_;
  std::map<char, std::unique_ptr<Tree>> others_;
  std::vector<Gap> gaps_;
};

}  // namespace pack

#endif
