#include "pack/ntfs_image.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

// Last, for they have macros of those names.
extern "C" {
#include <ntfs-3g/attrib.h>
#include <ntfs-3g/dir.h>
#include <ntfs-3g/inode.h>
#include <ntfs-3g/logging.h>
#include <ntfs-3g/ntfstime.h>
#include <ntfs-3g/reparse.h>
#include <ntfs-3g/runlist.h>
#include <ntfs-3g/unistr.h>
#include <ntfs-3g/volume.h>
}
#undef min
#undef max

namespace windows {

namespace {

constexpr std::uint64_t megabyte = 1024 * 1024;

[[noreturn]] void fail(const std::string& what) {
  throw std::runtime_error(what + ": " + std::strerror(errno));
}

std::string number(std::uint64_t value, std::size_t size) {
  std::string bytes;
  for (; size > 0; --size, value >>= 8) bytes += static_cast<char>(value);
  return bytes;
}

std::string new_file() {
  std::string path = std::filesystem::temp_directory_path() / "image-XXXXXX";
  const int file = mkstemp(path.data());
  if (file < 0) fail(path);
  ::close(file);
  return path;
}

using Inode = std::unique_ptr<ntfs_inode, decltype([](ntfs_inode* inode) { ntfs_inode_close(inode); })>;
using Attribute =
    std::unique_ptr<ntfs_attr, decltype([](ntfs_attr* attribute) { ntfs_attr_close(attribute); })>;

struct Wide {
  explicit Wide(const std::string& text) : size(ntfs_mbstoucs(text.c_str(), &letters)) {
    if (size < 0) fail(text);
  }
  Wide(const Wide&) = delete;
  Wide& operator=(const Wide&) = delete;
  ~Wide() { std::free(letters); }

  ntfschar* letters = nullptr;
  int size;
};

std::string above(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "" : path.substr(0, slash);
}

std::string last(const std::string& path) { return path.substr(path.rfind('/') + 1); }

}  // namespace

struct NtfsImage::Library {
  explicit Library(const std::string& path) {
    ntfs_log_set_handler(ntfs_log_handler_null);
    ntfs_set_char_encoding("en_US.UTF-8");
    volume = ntfs_mount(path.c_str(), 0);
    if (volume == nullptr) fail(path);
    NVolSetCompression(volume);
  }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
  ~Library() { ntfs_umount(volume, FALSE); }

  Inode open(const std::string& path) const {
    Inode inode(ntfs_pathname_to_inode(volume, nullptr, ("/" + path).c_str()));
    if (!inode) fail(path);
    return inode;
  }

  bool has(const std::string& path) const {
    return Inode(ntfs_pathname_to_inode(volume, nullptr, ("/" + path).c_str())) != nullptr;
  }

  Inode create(const std::string& path, mode_t type) const {
    const Inode folder = open(above(path));
    const Wide name(last(path));
    Inode inode(ntfs_create(folder.get(), 0, name.letters, static_cast<u8>(name.size), type));
    if (!inode) fail(path);
    return inode;
  }

  std::uint64_t place_of(ntfs_attr* attribute, std::uint64_t position) const {
    const LCN cluster = ntfs_attr_vcn_to_lcn(attribute, static_cast<VCN>(position / volume->cluster_size));
    if (cluster < 0) fail("no place on the disk");
    return static_cast<std::uint64_t>(cluster) * volume->cluster_size + position % volume->cluster_size;
  }

  ntfs_volume* volume;
};

std::string reparse_point(std::uint32_t tag) { return number(tag, 4) + number(4, 2) + number(0, 2) + "data"; }

std::string junction_to(std::string_view path) {
  const auto wide = [](const std::string& text) {
    std::string letters;
    for (const char c : text) letters += std::string(1, c) + '\0';
    return letters + std::string(2, '\0');
  };
  const std::string target = wide("\\??\\" + std::string(path));
  const std::string shown = wide(std::string(path));
  const std::string names = number(0, 2) + number(target.size() - 2, 2) + number(target.size(), 2) +
                            number(shown.size() - 2, 2) + target + shown;
  return number(junction, 4) + number(names.size(), 2) + number(0, 2) + names;
}

NtfsImage::NtfsImage(std::uint64_t megabytes) : path_(new_file()) {
  std::filesystem::resize_file(path_, megabytes * megabyte);
  const std::string command = "mkfs.ntfs -F -Q -q -s 512 -p 0 -H 0 -S 0 " + path_ + " >/dev/null 2>&1";
  if (std::system(command.c_str()) != 0) fail("mkfs.ntfs");
  library_ = std::make_unique<Library>(path_);
}

NtfsImage::~NtfsImage() = default;

void NtfsImage::add_folder(const std::string& path) {
  if (path.empty() || library_->has(path)) return;
  add_folder(above(path));
  library_->create(path, S_IFDIR);
}

void NtfsImage::add(const std::string& path, std::string_view content) {
  add_folder(above(path));
  const Inode inode = library_->create(path, S_IFREG);
  const Attribute data(ntfs_attr_open(inode.get(), AT_DATA, AT_UNNAMED, 0));
  if (!data) fail(path);
  for (std::size_t at = 0; at < content.size();) {
    const s64 count = ntfs_attr_pwrite(data.get(), static_cast<s64>(at),
                                       static_cast<s64>(content.size() - at), content.data() + at);
    if (count <= 0) fail(path);
    at += static_cast<std::size_t>(count);
  }
  if ((data->data_flags & ATTR_COMPRESSION_MASK) != 0) ntfs_attr_pclose(data.get());
}

void NtfsImage::add_tree(const std::string& folder) {
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    const std::string path = entry.path().string().substr(folder.size() + 1);
    if (entry.is_directory()) {
      add_folder(path);
      continue;
    }
    std::ifstream file(entry.path(), std::ios::binary);
    add(path, std::string(std::istreambuf_iterator<char>(file), {}));
  }
  // Times at last, for a folder's change with what is put into it.
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    struct stat found {};
    if (stat(entry.path().c_str(), &found) != 0) fail(entry.path());
    const Inode inode = library_->open(entry.path().string().substr(folder.size() + 1));
    inode->last_data_change_time = timespec2ntfs(found.st_mtim);
    ntfs_inode_mark_dirty(inode.get());
  }
}

void NtfsImage::set_attributes(const std::string& path, std::uint32_t more) {
  const Inode inode = library_->open(path);
  inode->flags = static_cast<FILE_ATTR_FLAGS>(inode->flags | cpu_to_le32(more));
  NInoFileNameSetDirty(inode.get());  // folders' lists have them too
  ntfs_inode_mark_dirty(inode.get());
}

void NtfsImage::set_reparse_point(const std::string& path, const std::string& data) {
  const Inode inode = library_->open(path);
  if (ntfs_set_ntfs_reparse_data(inode.get(), data.data(), data.size(), 0) != 0) fail(path);
}

void NtfsImage::compress(const std::string& folder) {
  const Inode inode = library_->open(folder);
  inode->flags = static_cast<FILE_ATTR_FLAGS>(inode->flags | FILE_ATTR_COMPRESSED);
  ntfs_inode_mark_dirty(inode.get());
}

// The library closes both.
void NtfsImage::set_short_name(const std::string& folder, const std::string& name,
                               const std::string& short_name) {
  Inode inode = library_->open(folder + "/" + name);
  Inode parent = library_->open(folder);
  if (ntfs_set_ntfs_dos_name(inode.release(), parent.release(), short_name.data(), short_name.size(), 0) != 0)
    fail(short_name);
}

void NtfsImage::set_dirty() {
  if (ntfs_volume_write_flags(library_->volume, library_->volume->flags | VOLUME_IS_DIRTY) != 0)
    fail("flags");
}

void NtfsImage::link(const std::string& path, const std::string& from) {
  const Inode inode = library_->open(path);
  const Inode folder = library_->open(above(from));
  const Wide name(last(from));
  if (ntfs_link(inode.get(), folder.get(), name.letters, static_cast<u8>(name.size)) != 0) fail(from);
}

std::uint64_t NtfsImage::record_of(const std::string& path) {
  const Inode inode = library_->open(path);
  return library_->place_of(library_->volume->mft_na, inode->mft_no * library_->volume->mft_record_size);
}

std::uint64_t NtfsImage::content_of(const std::string& path) {
  const Inode inode = library_->open(path);
  const Attribute data(ntfs_attr_open(inode.get(), AT_DATA, AT_UNNAMED, 0));
  if (!data) fail(path);
  return library_->place_of(data.get(), 0);
}

std::uint64_t NtfsImage::index_of(const std::string& folder) {
  const Inode inode = library_->open(folder);
  const Attribute index(ntfs_attr_open(inode.get(), AT_INDEX_ALLOCATION, NTFS_INDEX_I30, 4));
  if (!index) fail(folder);
  return library_->place_of(index.get(), 0);
}

const std::string& NtfsImage::close() {
  library_.reset();
  return path_;
}

void patch(const std::string& file, std::uint64_t at, std::string_view bytes) {
  std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
  stream.seekp(static_cast<std::streamoff>(at));
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  stream.close();
  if (!stream) fail(file);
}

namespace {

std::uint64_t size_of(const DiskPart& part) {
  return part.image.empty() ? megabyte : std::filesystem::file_size(part.image);
}

void append(std::ofstream& disk, const std::string& bytes) {
  disk.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

void pad_to(std::ofstream& disk, std::uint64_t position) {
  append(disk, std::string(position - static_cast<std::uint64_t>(disk.tellp()), '\0'));
}

void append_parts(std::ofstream& disk, const std::vector<DiskPart>& parts) {
  for (std::size_t i = 0; i < parts.size(); ++i) {
    pad_to(disk, begin_of(parts, i));
    std::ifstream image(parts[i].image, std::ios::binary);
    append(disk, parts[i].image.empty() ? std::string(megabyte, '\0')
                                        : std::string(std::istreambuf_iterator<char>(image), {}));
  }
  append(disk, std::string(megabyte, '\0'));
}

constexpr std::uint32_t signature = 0x1234ABCD;

std::string entry_of(std::uint8_t type, std::uint64_t begin, std::uint64_t size) {
  return number(0, 4) + number(type, 1) + number(0, 3) + number(begin / 512, 4) + number(size / 512, 4);
}

std::string table_of(const std::vector<std::string>& entries) {
  std::string table = std::string(440, '\0') + number(signature, 4) + number(0, 2);
  for (const std::string& entry : entries) table += entry;
  table.resize(510, '\0');
  return table + "\x55\xAA";
}

std::string guid(std::size_t part) { return std::string(15, 'g') + static_cast<char>('1' + part); }

}  // namespace

// A table of a logical partition lies 512 KiB in front of it.
std::uint64_t begin_of(const std::vector<DiskPart>& parts, std::size_t part) {
  std::uint64_t begin = megabyte;
  for (std::size_t i = 0; i < part; ++i) begin += size_of(parts[i]) + megabyte;
  return begin;
}

std::string mbr_identity(std::uint64_t begin) { return number(signature, 4) + number(begin, 8); }

std::string gpt_identity(std::size_t part) { return "DMIO:ID:" + guid(part); }

std::string disk_with_mbr(const std::vector<DiskPart>& parts, bool logical) {
  const std::string path = new_file();
  std::ofstream disk(path, std::ios::binary);
  std::vector<std::string> entries;
  const std::size_t primary = logical ? 1 : parts.size();
  for (std::size_t i = 0; i < primary; ++i)
    entries.push_back(entry_of(parts[i].type, begin_of(parts, i), size_of(parts[i])));
  const auto table_in_front = [&](std::size_t i) { return begin_of(parts, i) - megabyte / 2; };
  if (logical) entries.push_back(entry_of(0x0F, table_in_front(1), 100 * megabyte));
  append(disk, table_of(entries));
  append_parts(disk, parts);
  disk.close();
  if (!disk) fail(path);
  for (std::size_t i = primary; i < parts.size(); ++i) {
    std::vector<std::string> here{entry_of(parts[i].type, megabyte / 2, size_of(parts[i]))};
    if (i + 1 < parts.size())
      here.push_back(entry_of(0x05, table_in_front(i + 1) - table_in_front(1), 100 * megabyte));
    patch(path, table_in_front(i), table_of(here));
  }
  return path;
}

std::string disk_with_gpt(const std::vector<DiskPart>& parts, std::uint64_t sector) {
  const std::string path = new_file();
  std::ofstream disk(path, std::ios::binary);
  append(disk, table_of({entry_of(0xEE, 512, 100 * megabyte)}));
  pad_to(disk, sector);
  append(disk, "EFI PART" + std::string(64, '\0') + number(2, 8) + number(16, 4) + number(128, 4));
  pad_to(disk, 2 * sector);
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const std::uint64_t begin = begin_of(parts, i);
    append(disk, std::string(16, 't') + guid(i) + number(begin / sector, 8) +
                     number((begin + size_of(parts[i])) / sector - 1, 8) + std::string(80, '\0'));
  }
  append_parts(disk, parts);
  disk.close();
  if (!disk) fail(path);
  return path;
}

}  // namespace windows
