// Where what is packed goes: into a zip, or only into a sum.
#ifndef BRINDLE_PACK_PARCEL_PARCEL_H
#define BRINDLE_PACK_PARCEL_PARCEL_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "pack/disk/tree.h"

namespace pack {

/// Takes bytes as they come.
using Writer = std::function<void(std::string_view bytes)>;

/// What became of a file.
struct Outcome {
  std::uint64_t bytes = 0;  ///< of its content that are packed
  std::optional<Cause>
      cause{};  ///< why it is left out (Cause::unreadable), or not as it was (cut_short, changed)
};

/// Names are those in the archive: UTF-8, with "/" between folders, and none is given twice.
class Parcel {
 public:
  virtual ~Parcel() = default;

  /// Adds a folder, so that it is there even when it is empty. Throws std::system_error, like the next three,
  /// when the archive cannot be written.
  virtual void add_folder(const std::string& name, std::int64_t modified) = 0;

  /// Adds the file at `path` of the tree, which is `entry` there.
  virtual Outcome add_file(const std::string& name, const Tree& tree, const std::string& path,
                           const Entry& entry) = 0;

  /// Adds a file that `make` writes piece by piece. It takes at most `most` bytes.
  virtual void add_stream(const std::string& name, std::uint64_t most,
                          const std::function<void(const Writer& write)>& make) = 0;

  /// Adds a file with that content.
  virtual void add_text(const std::string& name, std::string_view content) = 0;
};

/// Adds up what it gets.
class Sum : public Parcel {
 public:
  /// With `makes` files that are made piece by piece are made, so that what is in them is counted; else they
  /// are not. `found` is called for each thing.
  explicit Sum(
      bool makes = false, std::function<void()> found = [] {})
      : makes_(makes), found_(std::move(found)) {}

  void add_folder(const std::string& name, std::int64_t modified) override;
  Outcome add_file(const std::string& name, const Tree& tree, const std::string& path,
                   const Entry& entry) override;
  void add_stream(const std::string& name, std::uint64_t most,
                  const std::function<void(const Writer& write)>& make) override;
  void add_text(const std::string& name, std::string_view content) override;

  /// At most so many bytes a zip of it takes while it is written: what it holds, the zip's own list, and what
  /// is gathered for that.
  std::uint64_t bytes() const { return bytes_; }

 private:
  void add(const std::string& name, std::uint64_t size);

  bool makes_;
  std::function<void()> found_;
  std::uint64_t bytes_ = 0;
};

}  // namespace pack

#endif
