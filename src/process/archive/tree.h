// What lies below one folder, by paths relative to it. No call leaves the folder: a path has no "..", and a
// link on the way ends it.
#ifndef BRINDLE_PROCESS_ARCHIVE_TREE_H
#define BRINDLE_PROCESS_ARCHIVE_TREE_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "shell/beside.h"

class Tree {
 public:
  explicit Tree(const std::string& folder);

  struct File {
    std::string path;
    std::uint64_t size;
  };
  struct Contents {
    std::vector<File> files;
    std::vector<std::string> folders;  ///< each before those in it
  };
  Contents contents() const;

  /// CRC-32 of the file; no value when it cannot be read.
  std::optional<std::uint32_t> checksum(const std::string& path) const;

  /// Makes the folder and those above it. False, with errno set, when that cannot be done.
  bool make_folder(const std::string& path) const;

  /// Renames a file, making the folders of `to`. A file there is replaced. False, with errno set, otherwise.
  bool move(const std::string& from, const std::string& to) const;

  /// A new file, open for writing. -1, with errno set, also when something has that name.
  Descriptor create(const std::string& path) const;

  void remove_file(const std::string& path) const;

  /// Removes a folder that is empty.
  void remove_folder(const std::string& path) const;

 private:
  Descriptor open_folder(const std::string& path, bool make) const;
  Descriptor open_parent(const std::string& path, bool make) const;

  std::string folder_;
  Descriptor root_;
};

#endif
