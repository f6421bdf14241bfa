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

// Without a step over a link or out of the folder.
Descriptor open_below(int top, const std::string& path, int flags) {
  const open_how how{.flags = static_cast<std::uint64_t>(flags | O_CLOEXEC | O_NOFOLLOW),
                     .mode = 0,
                     .resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS};
  const std::string place = path.empty() ? "." : path;
  for (;;) {
    const long opened = syscall(SYS_openat2, top, place.c_str(), &how, sizeof how);
    if (opened >= 0) return Descriptor(static_cast<int>(opened));
    if (errno != EAGAIN && errno != EINTR) fail(path);
  }
}

class FileContent : public Content {
 public:
  explicit FileContent(Descriptor file) : file_(std::move(file)) {}

  std::size_t read(char* to, std::size_t most) override {
    for (;;) {
      const ssize_t count = ::read(file_.get(), to, most);
      if (count >= 0) return static_cast<std::size_t>(count);
      if (errno != EINTR) fail("");
    }
  }

  bool seek(std::uint64_t position) override {
    return lseek(file_.get(), static_cast<off_t>(position), SEEK_SET) >= 0;
  }

 private:
  Descriptor file_;
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
  entry.gap = data.empty() || is_link(reparse_tag(data)) ? Cause::link : Cause::unknown_reparse;
}

class FolderTree : public Tree {
 public:
  explicit FolderTree(const std::string& folder)
      : top_(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (top_.get() < 0) fail(folder);
  }

  std::vector<Entry> list(const std::string& path) const override {
    Descriptor opened = open_below(top_.get(), path, O_RDONLY | O_DIRECTORY);
    const Folder folder(fdopendir(opened.get()));
    if (!folder) fail(path);
    opened.release();
    const bool has_attributes = may_be_ntfs(dirfd(folder.get()));
    std::vector<Entry> entries;
    errno = 0;
    while (const dirent* found = readdir(folder.get())) {
      const std::string name = found->d_name;
      if (name != "." && name != "..") entries.push_back(entry_of(dirfd(folder.get()), name, has_attributes));
      errno = 0;
    }
    if (errno != 0) fail(path);
    std::ranges::sort(entries, {}, &Entry::name);
    return entries;
  }

  std::unique_ptr<Content> open(const std::string& path) const override {
    // A pipe that took the file's place meanwhile would keep us waiting.
    return std::make_unique<FileContent>(open_below(top_.get(), path, O_RDONLY | O_NONBLOCK));
  }

 private:
  // What cannot be looked at is there all the same.
  static Entry entry_of(int folder, const std::string& name, bool has_attributes) {
    Entry entry{.name = name, .what = What::other, .gap = Cause::unreadable};
    struct stat found {};
    if (fstatat(folder, name.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0) return entry;
    entry.modified = found.st_mtim.tv_sec;
    entry.gap = Cause::special;
    if (S_ISLNK(found.st_mode)) look_at_link(folder, entry);
    if (S_ISDIR(found.st_mode)) {
      entry.what = What::folder;
      entry.gap.reset();
    }
    if (S_ISREG(found.st_mode)) {
      entry.what = What::file;
      entry.size = static_cast<std::uint64_t>(found.st_size);
      entry.gap = has_attributes ? gap_by_attributes(windows_attributes(folder, name)) : std::nullopt;
    }
    return entry;
  }

  Descriptor top_;
};

}  // namespace

std::unique_ptr<Tree> folder_tree(const std::string& folder) { return std::make_unique<FolderTree>(folder); }

}  // namespace pack
