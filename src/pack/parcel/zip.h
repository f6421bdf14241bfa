// The zip that is written.
#ifndef BRINDLE_PACK_PARCEL_ZIP_H
#define BRINDLE_PACK_PARCEL_ZIP_H

#include <atomic>
#include <functional>
#include <vector>

#include "pack/parcel/parcel.h"

struct archive;

namespace pack {

/// Thrown when the person has had enough.
struct Interrupted {};

/// A zip that is written beside its place and gets its name when it is complete; what is not finished is
/// removed.
class Zip : public Parcel {
 public:
  struct How {
    bool store = false;                         ///< compress nothing
    const std::atomic<int>* stopped = nullptr;  ///< not 0: throw Interrupted at the next block
    /// Called with the number of bytes that are packed, block by block.
    std::function<void(std::uint64_t)> progress = [](std::uint64_t) {};
  };

  /// Begins the zip `path`, for its owner's eyes alone. Throws std::system_error, with EEXIST when something
  /// is there already.
  Zip(const std::string& path, How how);
  Zip(const Zip&) = delete;
  Zip& operator=(const Zip&) = delete;
  ~Zip() override;

  void add_folder(const std::string& name, std::int64_t modified) override;
  std::optional<Cause> add_file(const std::string& name, const Tree& tree, const std::string& path,
                                const Entry& entry) override;
  void add_stream(const std::string& name, std::uint64_t most,
                  const std::function<void(const Writer& write)>& make) override;
  void add_text(const std::string& name, std::string_view content) override;

  /// Writes the zip's list, waits until all is on the disk, and gives it its name. Throws std::system_error.
  void finish();

 private:
  struct Closing {
    void operator()(archive* zip) const;
  };
  class Part;

  void begin(const std::string& name, std::optional<std::uint64_t> size, std::int64_t modified,
             unsigned type);
  void write(const char* bytes, std::size_t size);
  std::optional<Cause> copy(Content& content, const Entry& entry);
  void stop_when_asked() const;
  void check(int result) const;

  std::string path_;
  How how_;
  std::unique_ptr<Part> part_;
  std::unique_ptr<archive, Closing> zip_;
  std::vector<char> block_;
};

}  // namespace pack

#endif
