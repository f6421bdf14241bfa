#include "pack/parcel/zip.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <system_error>
#include <utility>

namespace pack {

namespace {

constexpr std::size_t block_size = std::size_t{1} << 16;

// Ends of names of files that hold compressed data already.
constexpr std::array<std::string_view, 36> packed_endings = {
    "7z",  "aac",  "apk", "avi",  "bz2",  "cab", "docx", "epub", "flac", "gif", "gz",   "heic",
    "jar", "jpeg", "jpg", "lzma", "m4a",  "m4v", "mkv",  "mov",  "mp3",  "mp4", "mpg",  "odp",
    "ods", "odt",  "ogg", "png",  "pptx", "rar", "webm", "webp", "wma",  "wmv", "xlsx", "zip"};

bool is_compressed(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  if (dot == std::string_view::npos) return false;
  std::string ending(name.substr(dot + 1));
  std::ranges::transform(ending, ending.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return std::ranges::binary_search(packed_endings, ending);
}
static_assert(std::ranges::is_sorted(packed_endings));

[[noreturn]] void fail_at(const std::string& path) {
  throw std::system_error(errno, std::generic_category(), path);
}

std::string folder_of(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

// 0 at the end, and where the disk gives nothing.
std::size_t read_some(Content& content, char* to, std::size_t most) {
  try {
    return content.read(to, most);
  } catch (const std::system_error&) {
    return 0;
  }
}

}  // namespace

// The file under its name for the time being.
class Zip::Part {
 public:
  explicit Part(std::string name)
      : name_(std::move(name)), file_(open(name_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600)) {
    if (file_ < 0) fail_at(name_);
  }
  Part(const Part&) = delete;
  Part& operator=(const Part&) = delete;
  ~Part() {
    if (file_ >= 0) close(file_);
    if (!name_.empty()) unlink(name_.c_str());
  }

  // For the library. It never hears of an error, for it leaves memory behind when a zip ends in one: error()
  // has it.
  static la_ssize_t write(archive*, void* self, const void* bytes, std::size_t size) {
    static_cast<Part*>(self)->write(static_cast<const char*>(bytes), size);
    return static_cast<la_ssize_t>(size);
  }

  // What went wrong so far; nothing more is written then.
  int error() const { return error_; }
  void give_up() { error_ = ECANCELED; }

  void keep_as(const std::string& path) {
    if (fsync(file_) != 0) fail_at(name_);
    if (renameat2(AT_FDCWD, name_.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) != 0)
      rename_by_link(path);
    name_.clear();
    const int folder = open(folder_of(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) return;  // it is there, though nobody has waited for its name
    fsync(folder);
    close(folder);
  }

 private:
  // For file systems that cannot rename without replacing: sticks of Windows are among them.
  void rename_by_link(const std::string& path) {
    if (errno != EINVAL) fail_at(path);
    if (access(path.c_str(), F_OK) == 0) {
      errno = EEXIST;
      fail_at(path);
    }
    if (rename(name_.c_str(), path.c_str()) != 0) fail_at(path);
  }

  void write(const char* bytes, std::size_t size) {
    while (size > 0 && error_ == 0) {
      const ssize_t written = ::write(file_, bytes, size);
      if (written < 0 && errno != EINTR) error_ = errno;
      if (written <= 0) continue;
      bytes += written;
      size -= static_cast<std::size_t>(written);
    }
  }

  std::string name_;
  int file_;
  int error_ = 0;
};

void Zip::Closing::operator()(archive* zip) const { archive_write_free(zip); }

Zip::Zip(const std::string& path, How how) : path_(path), how_(std::move(how)), block_(block_size) {
  struct stat found {};
  if (lstat(path.c_str(), &found) == 0) {
    errno = EEXIST;
    fail_at(path);
  }
  part_ = std::make_unique<Part>(path + ".part");
  // No locale is set and none asked for: then names go in byte for byte.
  zip_.reset(archive_write_new());
  archive* const zip = zip_.get();
  check(archive_write_set_format_zip(zip));
  check(archive_write_set_format_option(zip, "zip", "compression-level", "1"));
  check(archive_write_set_bytes_per_block(zip, block_size));
  check(archive_write_set_bytes_in_last_block(zip, 1));
  check(archive_write_open(zip, part_.get(), nullptr, Part::write, nullptr));
}

Zip::~Zip() {
  // It is closed properly, which frees all that the library has taken, and written nowhere.
  part_->give_up();
}

// Some names make the library warn; they are written all the same.
void Zip::check(int result) const {
  if (part_->error() != 0) throw std::system_error(part_->error(), std::generic_category(), path_);
  if (result >= ARCHIVE_WARN) return;
  const int error = archive_errno(zip_.get());
  throw std::system_error(error > 0 ? error : EIO, std::generic_category(), path_);
}

void Zip::stop_when_asked() const {
  if (how_.stopped != nullptr && *how_.stopped != 0) throw Interrupted();
}

void Zip::begin(const std::string& name, std::optional<std::uint64_t> size, std::int64_t modified,
                unsigned type) {
  stop_when_asked();
  const bool as_it_is = how_.store || size == 0U || is_compressed(name);
  check((as_it_is ? archive_write_zip_set_compression_store
                  : archive_write_zip_set_compression_deflate)(zip_.get()));
  const std::unique_ptr<archive_entry, decltype(&archive_entry_free)> entry(archive_entry_new(),
                                                                            archive_entry_free);
  archive_entry_set_pathname(entry.get(), name.c_str());
  archive_entry_set_filetype(entry.get(), type);
  archive_entry_set_perm(entry.get(), type == AE_IFDIR ? 0755 : 0644);
  if (size) archive_entry_set_size(entry.get(), static_cast<la_int64_t>(*size));
  archive_entry_set_mtime(entry.get(), modified, 0);
  check(archive_write_header(zip_.get(), entry.get()));
}

void Zip::write(const char* bytes, std::size_t size) {
  while (size > 0) {
    const la_ssize_t written = archive_write_data(zip_.get(), bytes, size);
    check(written < 0 ? static_cast<int>(written) : ARCHIVE_OK);
    if (written == 0) return;  // beyond the size it was announced with
    bytes += written;
    size -= static_cast<std::size_t>(written);
  }
}

void Zip::add_folder(const std::string& name, std::int64_t modified) {
  begin(name + "/", 0, modified, AE_IFDIR);
}

// Its size stands behind it, and in the zip's list.
void Zip::add_stream(const std::string& name, std::uint64_t,
                     const std::function<void(const Writer& write)>& make) {
  begin(name, std::nullopt, std::time(nullptr), AE_IFREG);
  make([this](std::string_view bytes) {
    stop_when_asked();
    write(bytes.data(), bytes.size());
    how_.progress(bytes.size());
  });
}

void Zip::add_text(const std::string& name, std::string_view content) {
  begin(name, content.size(), std::time(nullptr), AE_IFREG);
  write(content.data(), content.size());
}

std::optional<Cause> Zip::add_file(const std::string& name, const Tree& tree, const std::string& path,
                                   const Entry& entry) {
  std::unique_ptr<Content> content;
  try {
    content = tree.open(path);
  } catch (const std::system_error&) {
    return Cause::unreadable;
  }
  begin(name, entry.size, entry.modified, AE_IFREG);
  return copy(*content, entry);
}

// A file that grows meanwhile is cut at the size it had.
std::optional<Cause> Zip::copy(Content& content, const Entry& entry) {
  for (std::uint64_t left = entry.size; left > 0;) {
    stop_when_asked();
    const std::size_t count = read_some(content, block_.data(), std::min<std::uint64_t>(left, block_.size()));
    if (count == 0) return Cause::cut_short;
    write(block_.data(), count);
    how_.progress(count);
    left -= count;
  }
  return std::nullopt;
}

void Zip::finish() {
  check(archive_write_close(zip_.get()));
  zip_.reset();
  part_->keep_as(path_);
}

}  // namespace pack
