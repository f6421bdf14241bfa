// A Windows volume as it is read: folders, files and what they hold, wherever it lies. It is never written
// to.
#ifndef BRINDLE_PACK_DISK_TREE_H
#define BRINDLE_PACK_DISK_TREE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "pack/model/causes.h"

namespace pack {

enum class What : std::uint8_t { file, folder, other };

/// Something in a folder.
struct Entry {
  std::string name;           ///< as the volume has it: UTF-8, but for what Windows itself holds no text
  std::uint64_t size = 0;     ///< of a file, in bytes
  std::int64_t modified = 0;  ///< seconds since 1970 began
  What what = What::file;
  std::string target{};  ///< of a link, the Windows path that it names, when that is known
  /// Why what it holds cannot be had, when that is known without reading; else none.
  std::optional<Cause> gap{};
};

/// What a file holds, from its beginning on.
class Content {
 public:
  virtual ~Content() = default;

  /// Puts up to `most` bytes (at least 1) into `to` and returns how many; 0 at the end. Throws
  /// std::system_error when the disk does not give them.
  virtual std::size_t read(char* to, std::size_t most) = 0;

  /// True when it is known that somebody has written to the file since it was opened.
  virtual bool has_changed() const { return false; }

  /// Goes on at that byte of the file. False, and nothing done, when it can only be read from its beginning
  /// on.
  virtual bool seek(std::uint64_t) { return false; }
};

/// What lies in a folder, one after the other.
class Listing {
 public:
  virtual ~Listing() = default;

  /// The next one; no value at the end. Throws std::system_error.
  virtual std::optional<Entry> next() = 0;
};

/// A volume. Paths begin at its top, without a slash, with "/" between names as the volume has them; "" is
/// the top. No link in a path is followed.
class Tree {
 public:
  virtual ~Tree() = default;

  /// What lies in a folder, ordered by the bytes of the names. Throws std::system_error.
  virtual std::vector<Entry> list(const std::string& folder) const = 0;

  /// The same one by one, for folders of any size: a volume that can hands it out in a memory that does not
  /// grow with the folder. It is valid as long as the tree. Throws std::system_error when the folder cannot
  /// be listed.
  virtual std::unique_ptr<Listing> entries(const std::string& folder) const;

  /// What a folder has under that name, whatever its case; a name as written goes before others, among which
  /// it is the first. No value when there is none. Throws std::system_error.
  virtual std::optional<Entry> look_up(const std::string& folder, std::string_view name) const;

  /// Opens a file. Throws std::system_error.
  virtual std::unique_ptr<Content> open(const std::string& file) const = 0;

  /// True when Windows has not closed the volume, where that can be seen: its last changes may be missing.
  virtual bool is_dirty() const { return false; }

  /// Folders that are there and could not be listed, or not to their end, and of which nobody else has told.
  std::set<std::string> unlisted() const;
  void note_unlisted(const std::string& folder) const { unlisted_.insert(folder); }
  void note_told(const std::string& folder) const { told_.insert(folder); }

 private:
  mutable std::set<std::string> unlisted_;
  mutable std::set<std::string> told_;
};

/// What lies in a folder. When it cannot be listed there is nothing, and the folder is noted with its tree,
/// unless it is not there.
std::vector<Entry> listed(const Tree& tree, const std::string& folder);

/// "a/b" of a and b, "b" of the top and b.
std::string joined(const std::string& folder, std::string_view name);

/// The entry at `path` below `folder`, with names compared as Windows does, whatever their case; a name as
/// written goes before others. Its path is that of the volume. No value when something of it is missing or
/// cannot be listed.
struct Found {
  std::string path;
  Entry entry;
};
std::optional<Found> find(const Tree& tree, const std::string& folder, std::string_view path);

/// The same, when it is a folder; its path.
std::optional<std::string> find_folder(const Tree& tree, const std::string& folder, std::string_view path);

/// True for names that are one on Windows.
bool is_same_name(std::string_view one, std::string_view other);

}  // namespace pack

#endif
