// The zip that is written.
#ifndef BRINDLE_PACK_PARCEL_ZIP_H
#define BRINDLE_PACK_PARCEL_ZIP_H

#include <functional>
#include <memory>

#include "pack/disk/nameless.h"
#include "pack/parcel/deflate.h"
#include "pack/parcel/parcel.h"
#include "pack/parcel/part.h"
#include "pack/parcel/records.h"

namespace pack {

/// A zip that is written beside its place and gets its name when it is complete; what is not finished is
/// removed. Its memory does not grow with the number of files: the list of them, which stands at the end of a
/// zip, waits in a file without a name.
class Zip : public Parcel {
 public:
  struct How {
    bool store = false;  ///< compress nothing
    /// Called with the number of bytes that are packed, block by block.
    std::function<void(std::uint64_t)> progress = [](std::uint64_t) {};
  };

  /// Begins the zip `path`, for its owner's eyes alone. Throws std::system_error, with EEXIST when something
  /// is there already.
  Zip(const std::string& path, How how);

  void add_folder(const std::string& name, std::int64_t modified) override;
  Outcome add_file(const std::string& name, const Tree& tree, const std::string& path,
                   const Entry& entry) override;
  void add_stream(const std::string& name, std::uint64_t most,
                  const std::function<void(const Writer& write)>& make) override;
  void add_text(const std::string& name, std::string_view content) override;

  /// Writes the zip's list, waits until all is on the disk, and gives it its name. Throws std::system_error.
  void finish();

 private:
  void begin(Item item);
  void add(std::string_view bytes);
  void end();
  void add_to_list(const std::string& entry);

  std::string path_;
  How how_;
  std::unique_ptr<Part> part_;
  Deflate deflate_;
  Item item_;  // that is being written
  std::uint64_t items_ = 0;
  Nameless list_;
  std::string end_of_list_;  // not yet in its file
  std::string block_;        // of what is read
};

}  // namespace pack

#endif
