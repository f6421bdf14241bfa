#include "process/archive/zip.h"

#include <malloc.h>
#include <sys/stat.h>

#include <cstring>
#include <vector>

#include "process/archive/zip_calls.h"

namespace {

constexpr std::size_t piece_size = 64 * 1024;

struct FileCloser {
  void operator()(zip_file_t* file) const { late::zip_fclose(file); }
};
using OpenEntry = std::unique_ptr<zip_file_t, FileCloser>;

std::string words_for(int code) {
  zip_error_t error;
  late::zip_error_init_with_code(&error, code);
  std::string words = late::zip_error_strerror(&error);
  late::zip_error_fini(&error);
  return words;
}

Encryption encryption_of(zip_uint16_t method) {
  if (method == ZIP_EM_NONE) return Encryption::none;
  return method == ZIP_EM_TRAD_PKWARE ? Encryption::traditional : Encryption::other;
}

}  // namespace

// A list of 20,000 entries takes 6 MB in small pieces, which the C library would keep for each thread that
// has read one.
void Zip::Closer::operator()(zip_t* zip) const {
  late::zip_discard(zip);
  malloc_trim(0);
}

Zip::Zip(const std::string& path) {
  int code = 0;
  zip_.reset(late::zip_open(path.c_str(), ZIP_RDONLY, &code));
  if (zip_ == nullptr) error_ = words_for(code);
}

std::uint64_t Zip::count() const {
  return static_cast<std::uint64_t>(late::zip_get_num_entries(zip_.get(), ZIP_FL_UNCHANGED));
}

const char* Zip::name(std::uint64_t number) const {
  const char* name = late::zip_get_name(zip_.get(), number, ZIP_FL_ENC_RAW);
  return name != nullptr ? name : "";
}

bool Zip::says_utf8(std::uint64_t number) const {
  // The library converts what is not said to be UTF-8.
  const char* by_the_book = late::zip_get_name(zip_.get(), number, ZIP_FL_ENC_STRICT);
  return by_the_book != nullptr && std::strcmp(by_the_book, name(number)) == 0;
}

bool Zip::made_on_windows(std::uint64_t number) const {
  zip_uint8_t made_by = ZIP_OPSYS_UNIX;
  zip_uint32_t attributes = 0;
  late::zip_file_get_external_attributes(zip_.get(), number, ZIP_FL_UNCHANGED, &made_by, &attributes);
  constexpr zip_uint8_t ntfs_of_unzip = 11;  // what zip and unzip call NTFS, another one for libzip
  return made_by == ZIP_OPSYS_DOS || made_by == ZIP_OPSYS_WINDOWS_NTFS || made_by == ntfs_of_unzip ||
         made_by == ZIP_OPSYS_VFAT;
}

bool Zip::may_be_file(std::uint64_t number) const {
  zip_uint8_t made_by = ZIP_OPSYS_DOS;
  zip_uint32_t attributes = 0;
  late::zip_file_get_external_attributes(zip_.get(), number, ZIP_FL_UNCHANGED, &made_by, &attributes);
  const mode_t type = (attributes >> 16) & S_IFMT;
  return type == 0 || type == S_IFREG;
}

ZipEntry Zip::entry(std::uint64_t number) const {
  zip_stat_t stat;
  late::zip_stat_init(&stat);
  if (late::zip_stat_index(zip_.get(), number, ZIP_FL_UNCHANGED, &stat) != 0) return {.can_be_read = false};
  return {.size = stat.size,
          .crc = stat.crc,
          .time = stat.mtime,
          .encryption = encryption_of(stat.encryption_method),
          .can_be_read = late::zip_compression_method_supported(stat.comp_method, 0) != 0};
}

Zip::Reading Zip::read(std::uint64_t number, const char* password,
                       const std::function<bool(std::string_view)>& take) const {
  const OpenEntry file(late::zip_fopen_index_encrypted(zip_.get(), number, 0, password));
  if (file == nullptr) {
    const int code = late::zip_error_code_zip(late::zip_get_error(zip_.get()));
    return code == ZIP_ER_COMPNOTSUPP ? Reading::unknown_compression : Reading::wrong;
  }
  std::vector<char> piece(piece_size);
  std::uint64_t left = entry(number).size;
  for (;;) {
    const zip_int64_t size = late::zip_fread(file.get(), piece.data(), piece.size());
    // The library looks at the length at the end, and not always; and there may be no end.
    if (size < 0 || static_cast<std::uint64_t>(size) > left) return Reading::wrong;
    if (size == 0) return left == 0 ? Reading::whole : Reading::wrong;
    left -= static_cast<std::uint64_t>(size);
    if (!take({piece.data(), static_cast<std::size_t>(size)})) return Reading::stopped;
  }
}
