#include "pack/disk/folder_tree.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/magic.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <span>
#include <system_error>
#include <utility>

#include "pack/disk/attributes.h"
#include "pack/disk/listing_in_parts.h"
#include "pack/disk/refusal.h"
#include "pack/disk/stop.h"

namespace pack {

namespace {

[[noreturn]] void fail(const std::string& path) {
  throw std::system_error(errno, std::generic_category(), path);
}

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&&) = delete;
  ~Descriptor() {
    if (number_ >= 0) close(number_);
  }
  int get() const { return number_; }
  int release() { return std::exchange(number_, -1); }

 private:
  int number_;
};

// Without a step over a link or out of the folder. The times of last reading stay as they are, where we may
// ask for that: the files are ours, or we are root.
Descriptor open_below(int top, const std::string& path, int flags) {
  open_how how{.flags = static_cast<std::uint64_t>(flags | O_CLOEXEC | O_NOFOLLOW | O_NOATIME),
               .mode = 0,
               .resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS};
  const std::string place = path.empty() ? "." : path;
  for (;;) {
    stop_when_asked();
    const long opened = syscall(SYS_openat2, top, place.c_str(), &how, sizeof how);
    if (opened >= 0) return Descriptor(static_cast<int>(opened));
    if (errno == EPERM && (how.flags & O_NOATIME) != 0) {
      how.flags &= ~std::uint64_t{O_NOATIME};
    } else if (errno != EAGAIN && errno != EINTR) {
      fail(path);
    }
  }
}

// On machines of 32 bits stat refuses what has a date before 1901 or after 2038; Windows' first is in 1601.
bool look_at(int folder, const char* name, int flags, struct statx& found) {
  constexpr unsigned wanted = STATX_TYPE | STATX_SIZE | STATX_MTIME;
  return statx(folder, name, flags | AT_NO_AUTOMOUNT, wanted, &found) == 0;
}

class FileContent : public Content {
 public:
  explicit FileContent(Descriptor file) : file_(std::move(file)), opened_(looked_at()) {}

  std::size_t read(char* to, std::size_t most) override {
    for (;;) {
      stop_when_asked();
      const ssize_t count = ::read(file_.get(), to, most);
      if (count >= 0) return static_cast<std::size_t>(count);
      if (errno != EINTR) fail("");
    }
  }

  bool has_changed() const override {
    const struct statx now = looked_at();
    return now.stx_size != opened_.stx_size || now.stx_mtime.tv_sec != opened_.stx_mtime.tv_sec ||
           now.stx_mtime.tv_nsec != opened_.stx_mtime.tv_nsec;
  }

  bool seek(std::uint64_t position) override {
    return lseek(file_.get(), static_cast<off_t>(position), SEEK_SET) >= 0;
  }

 private:
  struct statx looked_at() const {
    struct statx found {};
    if (!look_at(file_.get(), "", AT_EMPTY_PATH, found)) fail("");
    return found;
  }

  Descriptor file_;
  struct statx opened_;
};

using Folder = std::unique_ptr<DIR, decltype([](DIR* folder) { closedir(folder); })>;

// Of something in the open folder, that may not be opened itself: a link without an end is one of them.
std::size_t attribute_of(int folder, const std::string& name, const char* attribute, std::span<char> value) {
  const std::string path = "/proc/self/fd/" + std::to_string(folder) + "/" + name;
  const ssize_t size = lgetxattr(path.c_str(), attribute, value.data(), value.size());
  return size < 0 ? 0 : static_cast<std::size_t>(size);
}

// Big-endian, as the second of ntfs-3g's two names for it says.
std::uint32_t windows_attributes(int folder, const std::string& name) {
  std::array<char, 4> bytes{};
  if (attribute_of(folder, name, "system.ntfs_attrib_be", bytes) != bytes.size()) return 0;
  std::uint32_t attributes = 0;
  for (const char byte : bytes) attributes = attributes << 8 | static_cast<unsigned char>(byte);
  return attributes;
}

std::string reparse_data(int folder, const std::string& name) {
  std::string data(16384, '\0');  // at most
  data.resize(attribute_of(folder, name, "system.ntfs_reparse_data", data));
  return data;
}

// Other file systems have no attributes of Windows.
bool may_be_ntfs(int folder) {
  struct statfs found {};
  return fstatfs(folder, &found) == 0 && found.f_type == FUSE_SUPER_MAGIC;
}

// A link to nothing is how what is no link, but unknown to the file system's reader, is shown.
void look_at_link(int folder, Entry& entry) {
  const std::string data = reparse_data(folder, entry.name);
  entry.target = link_target(data);
  const std::uint32_t tag = reparse_tag(data);
  entry.gap = data.empty() || is_link(tag) ? Cause::link
              : is_cloud(tag)              ? Cause::unknown_reparse
                                           : Cause::form_of_windows;
}

// Root may read all; of others it is asked before, so that what they may not read counts as left out from
// the beginning.
bool is_forbidden(int folder, const std::string& name) {
  return geteuid() != 0 && faccessat(folder, name.c_str(), R_OK, AT_EACCESS | AT_SYMLINK_NOFOLLOW) != 0 &&
         is_refusal({errno, std::generic_category()});
}

// What cannot be looked at is there all the same.
Entry entry_of(int folder, std::string name, bool has_attributes) {
  Entry entry{.name = std::move(name), .what = What::other, .gap = Cause::unreadable};
  struct statx found {};
  if (!look_at(folder, entry.name.c_str(), AT_SYMLINK_NOFOLLOW, found)) {
    if (is_refusal({errno, std::generic_category()})) entry.gap = Cause::forbidden;
    return entry;
  }
  entry.modified = found.stx_mtime.tv_sec;
  entry.gap = Cause::special;
  if (S_ISLNK(found.stx_mode)) look_at_link(folder, entry);
  if (S_ISDIR(found.stx_mode)) {
    entry.what = What::folder;
    entry.gap.reset();
  }
  if (S_ISREG(found.stx_mode)) {
    entry.what = What::file;
    entry.size = found.stx_size;
    entry.gap = has_attributes ? gap_by_attributes(windows_attributes(folder, entry.name)) : std::nullopt;
    if (!entry.gap && is_forbidden(folder, entry.name)) entry.gap = Cause::forbidden;
  }
  return entry;
}

// A folder that is open, to be gone through once.
class OpenFolder {
 public:
  using Name = std::string;

  OpenFolder(int top, const std::string& path) : path_(path) {
    Descriptor opened = open_below(top, path, O_RDONLY | O_DIRECTORY);
    folder_.reset(fdopendir(opened.get()));
    if (!folder_) fail(path);
    opened.release();
    has_attributes_ = may_be_ntfs(dirfd(folder_.get()));
  }

  // In no order; null at the end.
  const char* next_name() const {
    for (;;) {
      stop_when_asked();
      errno = 0;
      const dirent* const found = readdir(folder_.get());
      if (found == nullptr && errno != 0) fail(path_);
      if (found == nullptr) return nullptr;
      const std::string_view name = found->d_name;
      if (name != "." && name != "..") return found->d_name;
    }
  }

  template <typename Take>
  void each_name(Take take) const {
    while (const char* const name = next_name()) take(name);
  }

  Entry entry_of(std::string name) const {
    stop_when_asked();
    return pack::entry_of(dirfd(folder_.get()), std::move(name), has_attributes_);
  }

  std::vector<Entry> entries_of(std::vector<std::string> names) const {
    std::vector<Entry> entries;
    entries.reserve(names.size());
    for (std::string& name : names) entries.push_back(entry_of(std::move(name)));
    return entries;
  }

  static std::size_t size_of(const std::string& name) {
    return sizeof(std::string) + sizeof(Entry) + name.capacity() + 16;
  }

 private:
  std::string path_;
  Folder folder_;
  bool has_attributes_ = false;
};

class FolderTree : public Tree {
 public:
  explicit FolderTree(const std::string& folder)
      : top_(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (top_.get() < 0) fail(folder);
  }

  std::vector<Entry> list(const std::string& path) const override {
    const OpenFolder folder(top_.get(), path);
    std::vector<Entry> entries;
    folder.each_name([&](std::string name) { entries.push_back(folder.entry_of(std::move(name))); });
    std::ranges::sort(entries, {}, &Entry::name);
    return entries;
  }

  std::unique_ptr<Listing> entries(const std::string& path) const override {
    return std::make_unique<ListingInParts<OpenFolder>>([this, path] { return OpenFolder(top_.get(), path); },
                                                        held_);
  }

  std::optional<Entry> look_up(const std::string& path, std::string_view name) const override {
    const OpenFolder folder(top_.get(), path);
    std::optional<std::string> found;
    while (const char* const other = folder.next_name()) {
      if (other != name && (found && other >= *found)) continue;
      if (!is_same_name(other, name)) continue;
      found = other;
      if (other == name) break;
    }
    return found ? std::optional(folder.entry_of(std::move(*found))) : std::nullopt;
  }

  std::unique_ptr<Content> open(const std::string& path) const override {
    // A pipe that took the file's place meanwhile would keep us waiting.
    return std::make_unique<FileContent>(open_below(top_.get(), path, O_RDONLY | O_NONBLOCK));
  }

 private:
  Descriptor top_;
  mutable std::size_t held_ = 0;
};

}  // namespace

std::unique_ptr<Tree> folder_tree(const std::string& folder) { return std::make_unique<FolderTree>(folder); }

}  // namespace pack
