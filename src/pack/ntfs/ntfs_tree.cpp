#include "pack/ntfs/ntfs_tree.h"

#include <sys/stat.h>

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <compare>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <set>
#include <system_error>
#include <utility>

#include "pack/disk/attributes.h"
#include "pack/disk/listing_in_parts.h"
#include "pack/disk/stop.h"

// Last, for they have macros of those names.
extern "C" {
#include <ntfs-3g/attrib.h>
#include <ntfs-3g/device.h>
#include <ntfs-3g/dir.h>
#include <ntfs-3g/inode.h>
#include <ntfs-3g/logging.h>
#include <ntfs-3g/ntfstime.h>
#include <ntfs-3g/reparse.h>
#include <ntfs-3g/unistr.h>
#include <ntfs-3g/volume.h>
}
#undef min
#undef max

namespace pack {

namespace {

[[noreturn]] void fail(const std::string& path, int error) {
  stop_when_asked();  // which the library takes for a fault of the disk
  throw std::system_error(error == 0 ? EIO : error, std::generic_category(), path);
}

// The part of an image that the library reads.
struct Part {
  std::shared_ptr<const Image> image;
  std::uint64_t begin;
  std::uint64_t size;
  s64 position = 0;
  bool is_complete =
      false;  // what lies beyond its end is missing; before that is known it is taken for zeros
};

Part& part_of(ntfs_device* device) { return *static_cast<Part*>(device->d_private); }

s64 refuse() {
  errno = EROFS;
  return -1;
}

s64 read_at(ntfs_device* device, void* to, s64 count, s64 at) {
  const Part& part = part_of(device);
  if (at < 0 || count < 0) return errno = EINVAL, -1;
  if (is_asked_to_stop()) return errno = EINTR, -1;
  const auto begin = static_cast<std::uint64_t>(at);
  if (begin >= std::min(part.size, part.image->size() - std::min(part.begin, part.image->size()))) {
    // The library looks at the very end first, and wants nothing of a disk whose copy is cut off.
    if (part.is_complete) return 0;
    std::fill_n(static_cast<char*>(to), count, '\0');
    return count;
  }
  const std::size_t most = std::min<std::uint64_t>(static_cast<std::uint64_t>(count), part.size - begin);
  try {
    return static_cast<s64>(part.image->read(part.begin + begin, static_cast<char*>(to), most));
  } catch (const std::system_error& error) {
    errno = error.code().value();
    return -1;
  }
}

s64 read_on(ntfs_device* device, void* to, s64 count) {
  const s64 done = read_at(device, to, count, part_of(device).position);
  if (done > 0) part_of(device).position += done;
  return done;
}

s64 seek(ntfs_device* device, s64 offset, int whence) {
  Part& part = part_of(device);
  if (whence == SEEK_CUR) offset += part.position;
  if (whence == SEEK_END) offset += static_cast<s64>(part.size);
  if (offset < 0) return errno = EINVAL, -1;
  return part.position = offset;
}

int open_device(ntfs_device* device, int flags) {
  if ((flags & O_ACCMODE) != O_RDONLY) return static_cast<int>(refuse());
  NDevSetReadOnly(device);
  NDevSetOpen(device);
  return 0;
}

int close_device(ntfs_device* device) {
  NDevClearOpen(device);
  return 0;
}

int look_at_device(ntfs_device* device, struct stat* found) {
  *found = {};
  found->st_mode = S_IFREG | 0400;
  found->st_size = static_cast<off_t>(part_of(device).size);
  return 0;
}

// What the library may ask of a disk. Writing is not part of it.
ntfs_device_operations operations{
    .open = open_device,
    .close = close_device,
    .seek = seek,
    .read = read_on,
    .write = [](ntfs_device*, const void*, s64) { return refuse(); },
    .pread = read_at,
    .pwrite = [](ntfs_device*, const void*, s64, s64) { return refuse(); },
    .sync = [](ntfs_device*) { return 0; },
    .stat = look_at_device,
    .ioctl =
        [](ntfs_device*, unsigned long, void*) {
          errno = EOPNOTSUPP;
          return -1;
        },
};

// The library's messages would stand between ours; what they are about is told by what it returns.
void keep_quiet() {
  ntfs_log_set_handler(ntfs_log_handler_null);
  // Names in UTF-8, whatever the locale.
  ntfs_set_char_encoding("en_US.UTF-8");
}

class Volume {
 public:
  explicit Volume(Part part) : part_(std::move(part)) {
    keep_quiet();
    ntfs_device* const device = ntfs_device_alloc("SOURCE", 0, &operations, &part_);
    if (device == nullptr) fail("", errno);
    // What Windows left in memory when it was put to sleep is missing either way.
    volume_ = ntfs_device_mount(device, NTFS_MNT_RDONLY | NTFS_MNT_IGNORE_HIBERFILE);
    if (volume_ == nullptr) {
      const int error = errno;
      ntfs_device_free(device);
      fail("", error);
    }
    part_.is_complete = true;
    ntfs_set_shown_files(volume_, FALSE, TRUE, FALSE);
  }
  Volume(const Volume&) = delete;
  Volume& operator=(const Volume&) = delete;
  ~Volume() { ntfs_umount(volume_, TRUE); }

  ntfs_volume* get() const { return volume_; }

 private:
  Part part_;
  ntfs_volume* volume_;
};

using Inode = std::unique_ptr<ntfs_inode, decltype([](ntfs_inode* inode) { ntfs_inode_close(inode); })>;
using Attribute =
    std::unique_ptr<ntfs_attr, decltype([](ntfs_attr* attribute) { ntfs_attr_close(attribute); })>;

class FileContent : public Content {
 public:
  FileContent(std::shared_ptr<const Volume> volume, Inode inode)
      : volume_(std::move(volume)),
        inode_(std::move(inode)),
        data_(ntfs_attr_open(inode_.get(), AT_DATA, AT_UNNAMED, 0)) {
    if (!data_) fail("", errno);
  }

  std::size_t read(char* to, std::size_t most) override {
    stop_when_asked();
    const s64 count = ntfs_attr_pread(data_.get(), position_, static_cast<s64>(most), to);
    if (count < 0) fail("", errno);
    position_ += count;
    return static_cast<std::size_t>(count);
  }

  bool seek(std::uint64_t position) override {
    position_ = static_cast<s64>(position);
    return true;
  }

 private:
  std::shared_ptr<const Volume> volume_;  // lives longer than what is open in it
  Inode inode_;
  Attribute data_;
  s64 position_ = 0;
};

std::string text_of(const ntfschar* name, int size) {
  char* text = nullptr;
  const int length = ntfs_ucstombs(name, size, &text, 0);
  const std::unique_ptr<char, decltype([](char* bytes) { std::free(bytes); })> owned(text);
  return length < 0 ? "" : std::string(text, static_cast<std::size_t>(length));
}

// A name as the library wants it; of size 0 when it can be no name.
class Wide {
 public:
  explicit Wide(const std::string& name) {
    ntfschar* wide = nullptr;
    size_ = std::max(ntfs_mbstoucs(name.c_str(), &wide), 0);
    text_.reset(wide);
  }
  const ntfschar* text() const { return text_.get(); }
  int size() const { return size_; }

 private:
  std::unique_ptr<ntfschar, decltype([](ntfschar* text) { std::free(text); })> text_;
  int size_ = 0;
};

// A name in a folder, and the number of what has it.
struct Named {
  std::string name;
  std::uint64_t number;
  auto operator<=>(const Named&) const = default;
};
using TakeName = std::function<void(Named named)>;

struct Names {
  const TakeName& take;
  s64 last = -1;  // where the last one stands
};

// Takes one name; called by the library, which knows no exceptions.
int take_name(void* names, const ntfschar* name, const int size, const int type, const s64 position,
              const MFT_REF number, const unsigned) {
  if (is_asked_to_stop()) return errno = EINTR, -1;
  try {
    if ((type & 3) == FILE_NAME_DOS) return 0;
    std::string text = text_of(name, size);
    if (text == "." || text == "..") return 0;
    auto& taken = *static_cast<Names*>(names);
    taken.take({.name = std::move(text), .number = number});
    taken.last = position;
    return 0;
  } catch (const std::exception&) {
    errno = ENOMEM;
    return -1;
  }
}

// A name that something itself says it has.
struct OwnName {
  std::uint64_t folder;
  bool is_short;  // 8.3
  std::vector<ntfschar> text;
};

std::vector<OwnName> own_names(ntfs_inode* inode) {
  std::vector<OwnName> names;
  const std::unique_ptr<ntfs_attr_search_ctx, decltype(&ntfs_attr_put_search_ctx)> search(
      ntfs_attr_get_search_ctx(inode, nullptr), ntfs_attr_put_search_ctx);
  while (search &&
         ntfs_attr_lookup(AT_FILE_NAME, AT_UNNAMED, 0, CASE_SENSITIVE, 0, nullptr, 0, search.get()) == 0) {
    const ATTR_RECORD* const record = search->attr;
    const std::size_t size = le32_to_cpu(record->value_length);
    if (record->non_resident != 0 || size < sizeof(FILE_NAME_ATTR)) break;
    const char* const value = reinterpret_cast<const char*>(record) + le16_to_cpu(record->value_offset);
    const auto& head = *reinterpret_cast<const FILE_NAME_ATTR*>(value);
    std::vector<ntfschar> text(head.file_name_length);
    if (size - sizeof head < text.size() * sizeof(ntfschar)) break;
    std::memcpy(text.data(), value + sizeof head, text.size() * sizeof(ntfschar));
    names.push_back({.folder = MREF_LE(head.parent_directory),
                     .is_short = (head.file_name_type & 3) == FILE_NAME_DOS,
                     .text = std::move(text)});
  }
  return names;
}

std::uint64_t parent_of(ntfs_inode* inode) {
  const std::vector<OwnName> names = own_names(inode);
  return names.empty() ? 0 : names.front().folder;
}

std::string reparse_data(ntfs_inode* inode) {
  std::string data(16384, '\0');  // at most
  const int size = ntfs_get_ntfs_reparse_data(inode, data.data(), data.size());
  data.resize(size < 0 || static_cast<std::size_t>(size) > data.size() ? 0 : static_cast<std::size_t>(size));
  return data;
}

bool is_folder(const ntfs_inode& inode) { return (inode.mrec->flags & MFT_RECORD_IS_DIRECTORY) != 0; }

// Links are followed by nobody; what a cloud's program has put there is like other files and folders.
void look_at_reparse_point(ntfs_inode* inode, Entry& entry) {
  const std::string data = reparse_data(inode);
  const std::uint32_t tag = reparse_tag(data);
  if (is_cloud(tag)) return;
  entry.what = What::other;
  entry.target = link_target(data);
  entry.gap = is_link(tag) ? Cause::link : Cause::form_of_windows;
}

Entry entry_of(ntfs_inode* inode, std::string name) {
  Entry entry{.name = std::move(name)};
  const std::uint32_t attributes = le32_to_cpu(inode->flags);
  entry.modified = ntfs2timespec(inode->last_data_change_time).tv_sec;
  entry.what = is_folder(*inode) ? What::folder : What::file;
  if (entry.what == What::file) entry.size = static_cast<std::uint64_t>(std::max<s64>(inode->data_size, 0));
  entry.gap = gap_by_attributes(attributes);
  // A folder's attribute says that new files in it are to be encrypted.
  if (entry.what == What::folder && entry.gap == Cause::encrypted) entry.gap.reset();
  if ((inode->flags & FILE_ATTR_REPARSE_POINT) != 0) look_at_reparse_point(inode, entry);
  return entry;
}

class NtfsTree : public Tree {
 public:
  explicit NtfsTree(std::shared_ptr<const Volume> volume) : volume_(std::move(volume)) {}

  std::vector<Entry> list(const std::string& path) const override {
    const OpenFolder folder(*this, path);
    std::vector<Named> names;
    folder.each_name([&](Named named) { names.push_back(std::move(named)); });
    std::vector<Entry> entries = folder.entries_of(std::move(names));
    std::ranges::sort(entries, {}, &Entry::name);
    return entries;
  }

  std::unique_ptr<Listing> entries(const std::string& path) const override {
    return std::make_unique<ListingInParts<OpenFolder>>([this, path] { return OpenFolder(*this, path); },
                                                        held_);
  }

  // By the folder's index, in which names stand as Windows compares them.
  std::optional<Entry> look_up(const std::string& path, std::string_view name) const override {
    const Inode folder = open_folder(path);
    const Wide wanted{std::string(name)};
    if (wanted.size() == 0 || name == "." || name == "..") return std::nullopt;
    for (const bool is_as_written : {true, false}) {
      const u64 number = indexed(folder.get(), wanted, is_as_written);
      if (number == none && errno != ENOENT) return looked_through(folder.get(), path, name);
      if (number == none || MREF(number) < FILE_first_user) continue;
      auto entry = entry_called(number, folder->mft_no, wanted, name);
      return entry ? entry : looked_through(folder.get(), path, name);
    }
    return std::nullopt;
  }

  std::unique_ptr<Content> open(const std::string& path) const override {
    return std::make_unique<FileContent>(volume_, open_inode(number_of(path), path));
  }

  bool is_dirty() const override { return (volume_->get()->flags & VOLUME_IS_DIRTY) != 0; }

 private:
  class OpenFolder {
   public:
    using Name = Named;

    OpenFolder(const NtfsTree& tree, const std::string& path)
        : tree_(tree), path_(path), inode_(tree.open_folder(path)) {}

    void each_name(const TakeName& take) const { tree_.each_name(inode_.get(), path_, take); }

    std::vector<Entry> entries_of(std::vector<Named> names) const {
      return tree_.entries_of(std::move(names), inode_->mft_no);
    }

    static std::size_t size_of(const Named& named) {
      return sizeof named + sizeof(Entry) + 2 * (named.name.capacity() + 16);
    }

   private:
    const NtfsTree& tree_;
    std::string path_;
    Inode inode_;
  };

  static Entry unreadable(std::string name) {
    return {.name = std::move(name), .what = What::other, .gap = Cause::unreadable};
  }

  Inode open_inode(std::uint64_t number, const std::string& path) const {
    Inode inode(ntfs_inode_open(volume_->get(), number));
    if (!inode) fail(path, errno);
    return inode;
  }

  Inode open_folder(const std::string& path) const {
    Inode folder = open_inode(number_of(path), path);
    if (!is_folder(*folder)) fail(path, ENOTDIR);
    return folder;
  }

  // None, with errno, when there is no such name, whatever its case unless it is to be as written. 8.3 names
  // are names here.
  u64 indexed(ntfs_inode* folder, const Wide& name, bool is_as_written) const {
    stop_when_asked();
    if (!is_as_written) NVolClearCaseSensitive(volume_->get());
    const u64 number = ntfs_inode_lookup_by_name(folder, name.text(), name.size());
    const int error = errno;
    NVolSetCaseSensitive(volume_->get());
    errno = error;
    return number;
  }

  bool is_equal(const std::vector<ntfschar>& name, const Wide& other) const {
    return ntfs_names_are_equal(name.data(), name.size(), other.text(),
                                static_cast<std::size_t>(other.size()), IGNORE_CASE, volume_->get()->upcase,
                                volume_->get()->upcase_len);
  }

  // No value when it cannot be read, or says that it is called something else: then the name is its 8.3 one,
  // or something is damaged.
  std::optional<Entry> entry_called(u64 number, std::uint64_t folder, const Wide& wanted,
                                    std::string_view as_written) const {
    const Inode inode(ntfs_inode_open(volume_->get(), number));
    if (!inode) return std::nullopt;
    std::optional<std::string> found;
    for (const OwnName& own : own_names(inode.get())) {
      if (own.folder != folder || own.is_short || !is_equal(own.text, wanted)) continue;
      std::string text = text_of(own.text.data(), static_cast<int>(own.text.size()));
      if (!found || text == as_written) found = std::move(text);
    }
    return found ? std::optional(entry_of_child(inode.get(), std::move(*found), folder)) : std::nullopt;
  }

  // By the list of a folder's names, which is there as far as it can be read. 8.3 names are none of them.
  std::optional<Entry> looked_through(ntfs_inode* folder, const std::string& path,
                                      std::string_view name) const {
    std::vector<Named> found;
    each_name(folder, path, [&](const Named& named) {
      if (!is_same_name(named.name, name)) return;
      const bool is_better =
          found.empty() || named.name == name || (found.front().name != name && named < found.front());
      if (is_better) found.assign(1, named);
    });
    std::vector<Entry> entries = entries_of(std::move(found), folder->mft_no);
    return entries.empty() ? std::nullopt : std::optional(std::move(entries.front()));
  }

  // A list is a small part in the folder's record, and blocks. Those that cannot be read are passed over, and
  // the folder noted.
  void each_name(ntfs_inode* folder, const std::string& path, const TakeName& take) const {
    const s64 record = volume_->get()->mft_record_size;
    const s64 block = volume_->get()->indx_record_size;
    Names names{.take = take};
    s64 begin = 0;
    for (int faults = 0;; ++faults) {
      s64 position = begin;
      names.last = -1;
      if (ntfs_readdir(folder, &position, &names, take_name) == 0) return;
      if (errno == EINTR || errno == ENOMEM || faults == most_faults) fail(path, errno);
      note_unlisted(path);
      const s64 reached = std::max(begin, names.last);
      begin = reached < record ? record : record + ((reached - record) / block + 1) * block;
    }
  }

  // In the order in which the disk has them, for those that have to move a head.
  std::vector<Entry> entries_of(std::vector<Named> names, std::uint64_t folder) const {
    std::ranges::stable_sort(names, {}, [](const Named& named) { return MREF(named.number); });
    std::vector<Entry> entries;
    entries.reserve(names.size());
    std::uint64_t last_folder = 0;
    for (auto& [name, number] : names) {
      stop_when_asked();
      // A name that is no part of a path.
      if (name.empty() || name.find('/') != std::string::npos || name.find('\0') != std::string::npos) {
        std::ranges::replace(name, '/', '_');
        entries.push_back(unreadable(name + "#" + std::to_string(MREF(number))));
        continue;
      }
      const Inode inode(ntfs_inode_open(volume_->get(), number));
      const bool is_again = inode && is_folder(*inode) && inode->mft_no == last_folder;
      if (inode && is_folder(*inode)) last_folder = inode->mft_no;
      entries.push_back(inode && !is_again ? entry_of_child(inode.get(), std::move(name), folder)
                                           : unreadable(std::move(name)));
    }
    return entries;
  }

  // A folder lies in one other, once; where a damaged disk has it in two, or in itself, a walk would not end.
  static Entry entry_of_child(ntfs_inode* inode, std::string name, std::uint64_t folder) {
    Entry entry = entry_of(inode, std::move(name));
    const bool is_astray = entry.what == What::folder && parent_of(inode) != folder;
    return is_astray ? unreadable(std::move(entry.name)) : entry;
  }

  // Of a file or folder by its path. Folders' numbers are kept for a while: files are asked for one after the
  // other.
  std::uint64_t number_of(const std::string& path) const {
    if (path.empty()) return FILE_root;
    if (const auto known = folders_.find(path); known != folders_.end()) return known->second;
    const std::size_t slash = path.rfind('/');
    const std::string above = slash == std::string::npos ? "" : path.substr(0, slash);
    return number_in(number_of(above), above, path.substr(slash == std::string::npos ? 0 : slash + 1));
  }

  std::uint64_t number_in(std::uint64_t number, const std::string& path, const std::string& name) const {
    const Inode folder = open_inode(number, path);
    if (folders_.size() >= most_folders) folders_.clear();
    folders_[path] = number;
    const Wide wide(name);
    if (wide.size() == 0) fail(joined(path, name), ENOENT);
    const u64 found = indexed(folder.get(), wide, true);
    if (found == none) fail(joined(path, name), errno);
    return found;
  }

  static constexpr u64 none = static_cast<u64>(-1);
  static constexpr std::size_t most_folders = 1000;
  static constexpr int most_faults = 100;  // each can take a disk seconds

  std::shared_ptr<const Volume> volume_;
  mutable std::map<std::string, std::uint64_t> folders_;
  mutable std::size_t held_ = 0;
};

}  // namespace

std::unique_ptr<Tree> ntfs_tree(std::shared_ptr<const Image> image, std::uint64_t begin, std::uint64_t size) {
  return std::make_unique<NtfsTree>(
      std::make_shared<const Volume>(Part{.image = std::move(image), .begin = begin, .size = size}));
}

}  // namespace pack
