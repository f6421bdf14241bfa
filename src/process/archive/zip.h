// A zip's list of entries and their contents, read without unzip.
#ifndef BRINDLE_PROCESS_ARCHIVE_ZIP_H
#define BRINDLE_PROCESS_ARCHIVE_ZIP_H

#include <zip.h>

#include <cstdint>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

enum class Encryption { none, traditional, other };

/// What the list says of one entry.
struct ZipEntry {
  std::uint64_t size = 0;  ///< in bytes, unpacked
  std::uint32_t crc = 0;   ///< of the unpacked bytes
  std::time_t time = 0;
  Encryption encryption = Encryption::none;
  bool can_be_read = true;  ///< its way of compression is known here
};

class Zip {
 public:
  /// Reads the list. False, with the reason in `error`, when that cannot be done; nothing may be asked then.
  explicit Zip(const std::string& path);
  explicit operator bool() const { return zip_ != nullptr; }
  const std::string& error() const { return error_; }

  std::uint64_t count() const;

  /// The entry's name as bytes. That of the Unicode path field, in UTF-8, when it has a valid one.
  const char* name(std::uint64_t number) const;

  /// True when the archive says that the name is UTF-8, or when it is ASCII.
  bool says_utf8(std::uint64_t number) const;

  /// True when the archive says it was made on Windows or DOS, where a \ may separate folders.
  bool made_on_windows(std::uint64_t number) const;

  /// False for an entry that Unix marks as something else than a file: a link, a pipe, a device.
  bool may_be_file(std::uint64_t number) const;

  ZipEntry entry(std::uint64_t number) const;

  /// What becomes of reading an entry.
  enum class Reading { whole, wrong, unknown_compression, stopped };

  /// Hands the unpacked bytes of an entry to `take`, piece by piece, until it returns false. `wrong`:
  /// damaged, or the password is not this entry's. Only after `whole` have length and checksum been found
  /// right; `take` never gets more than the length.
  Reading read(std::uint64_t number, const char* password,
               const std::function<bool(std::string_view)>& take) const;

 private:
  struct Closer {
    void operator()(zip_t* zip) const;  // its memory goes back to the system
  };
  std::unique_ptr<zip_t, Closer> zip_;
  std::string error_;
};

#endif
