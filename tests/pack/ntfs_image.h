// Images of NTFS partitions and of disks with them, as Windows would leave them.
#ifndef BRINDLE_TESTS_PACK_NTFS_IMAGE_H
#define BRINDLE_TESTS_PACK_NTFS_IMAGE_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace windows {

constexpr std::uint32_t offline = 0x1000;
constexpr std::uint32_t encrypted = 0x4000;
constexpr std::uint32_t recall_on_open = 0x40000;
constexpr std::uint32_t recall_on_access = 0x400000;
constexpr std::uint32_t onedrive = 0x9000601A;
constexpr std::uint32_t junction = 0xA0000003;
constexpr std::uint32_t compact_os = 0x80000017;

/// The data of a reparse point: of a tag with nothing to say, and of a junction to a path of Windows.
std::string reparse_point(std::uint32_t tag);
std::string junction_to(std::string_view path);

/// A partition that mkfs.ntfs makes in a file of its own in /tmp, filled through libntfs-3g. Paths have "/"
/// between names; folders above are made too. What fails throws.
class NtfsImage {
 public:
  explicit NtfsImage(std::uint64_t megabytes = 4);
  NtfsImage(const NtfsImage&) = delete;
  NtfsImage& operator=(const NtfsImage&) = delete;
  ~NtfsImage();

  void add_folder(const std::string& path);
  void add(const std::string& path, std::string_view content = "content\n");
  /// All that lies below a folder of this machine, with its times.
  void add_tree(const std::string& folder);

  void set_attributes(const std::string& path, std::uint32_t more);
  void set_reparse_point(const std::string& path, const std::string& data);
  /// Files that are added to this folder from now on are packed by NTFS.
  void compress(const std::string& folder);
  /// The short name that Windows makes beside a long one.
  void set_short_name(const std::string& folder, const std::string& name, const std::string& short_name);
  /// As Windows leaves the volume when it crashes.
  void set_dirty();
  /// Makes a folder's index name another folder or file as well.
  void link(const std::string& path, const std::string& from);

  /// Where the record of a file begins in the image, where its content does, and the list of a folder that is
  /// too long for its record.
  std::uint64_t record_of(const std::string& path);
  std::uint64_t content_of(const std::string& path);
  std::uint64_t index_of(const std::string& folder);

  /// Writes everything out; nothing is added after it. Returns the path of the image.
  const std::string& close();

 private:
  struct Library;

  std::string path_;
  std::unique_ptr<Library> library_;
};

/// Writes over bytes of a file.
void patch(const std::string& file, std::uint64_t at, std::string_view bytes);

/// A partition of a disk to be: an image, or "" for one with nothing in it.
struct DiskPart {
  std::string image;
  std::uint8_t type = 7;  ///< of the old table
};

/// A disk with the old table, or with the new one. The first begins at 1 MiB, each behind the one before.
/// With `logical` those behind the first lie in an extended partition. Returns its path.
std::string disk_with_mbr(const std::vector<DiskPart>& parts, bool logical = false);
std::string disk_with_gpt(const std::vector<DiskPart>& parts, std::uint64_t sector = 512);

/// Where a partition of these begins.
std::uint64_t begin_of(const std::vector<DiskPart>& parts, std::size_t part);

/// What identifies a partition of these in MountedDevices.
std::string mbr_identity(std::uint64_t begin);
std::string gpt_identity(std::size_t part);

}  // namespace windows

#endif
