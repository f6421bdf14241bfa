// The file of an archive while it is written.
#ifndef BRINDLE_PACK_PARCEL_PART_H
#define BRINDLE_PACK_PARCEL_PART_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "pack/disk/trace.h"

namespace pack {

/// Lies beside its place under a name for the time being, and is gone when it does not get its own. Throws
/// std::system_error in all calls when the disk is full or fails; after that every call does.
class Part {
 public:
  /// Makes a file that only its owner can read; something of that name is left as it is, and an error.
  explicit Part(const std::string& name);
  Part(const Part&) = delete;
  Part& operator=(const Part&) = delete;
  ~Part();

  void append(std::string_view bytes);
  std::uint64_t size() const { return written_ + waiting_.size(); }

  /// Writes over what was appended before.
  void replace(std::uint64_t place, std::string_view bytes);

  /// Waits until all is on the disk and gives the file its name, unless something else has it: an error then.
  void keep_as(const std::string& path);

 private:
  [[noreturn]] void fail(int error);
  void flush();
  void begin_with_disk();
  void bring_to_disk(std::uint64_t place, std::uint64_t size, unsigned how);
  void write(std::string_view bytes, std::uint64_t place);
  void wait_for_disk();

  std::string name_;
  int file_;
  std::optional<Trace> trace_;
  std::string waiting_;
  std::uint64_t written_ = 0;
  std::uint64_t begun_ = 0;  // to be brought to the disk
  int error_ = 0;
};

}  // namespace pack

#endif
