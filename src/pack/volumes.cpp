#include "pack/volumes.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <system_error>

#include "pack/disk/folder_tree.h"
#include "pack/ntfs/ntfs_tree.h"
#include "pack/ntfs/partitions.h"

namespace pack {

namespace {

// What lies at the top of a partition that holds nothing of people: those that start or rescue Windows.
constexpr std::array<std::string_view, 10> names_of_windows = {
    "$RECYCLE.BIN", "$WINRE_BACKUP_PARTITION.MARKER",
    "Boot",         "BOOTNXT",
    "BOOTSECT.BAK", "bootmgr",
    "EFI",          "Recovery",
    "RECYCLER",     "System Volume Information"};

// The places that show that somebody uses Windows from there, the surest first.
constexpr std::array<std::string_view, 4> signs_of_windows = {
    "Windows/System32/config", "WINNT/system32/config", "Users", "Documents and Settings"};

struct Name {
  std::string path;
  std::optional<int> partition;
};

[[noreturn]] void refuse_bitlocker(const std::string& name) {
  throw NoVolume(
      name +
      " cannot be read: BitLocker has encrypted it. Open it with \"cryptsetup bitlkOpen --readonly "
      "DEVICE windows\", and pack /dev/mapper/windows; the recovery key that is asked for is at "
      "account.microsoft.com/devices/recoverykey, or with whoever looks after the computer");
}

bool is_there(const std::string& path) {
  struct stat found {};
  return stat(path.c_str(), &found) == 0;
}

Name name_of(const std::string& name) {
  const std::size_t mark = name.rfind('#');
  if (mark == std::string::npos || is_there(name)) return {.path = name, .partition = {}};
  char* end = nullptr;
  const long number = std::strtol(name.c_str() + mark + 1, &end, 10);
  if (end == name.c_str() + mark + 1 || *end != '\0' || number < 1 || number > 10000)
    return {.path = name, .partition = {}};
  return {.path = name.substr(0, mark), .partition = static_cast<int>(number)};
}

std::unique_ptr<Tree> opened(const std::shared_ptr<const Image>& image, const std::string& name,
                             std::uint64_t begin, std::uint64_t size) {
  try {
    return ntfs_tree(image, begin, size);
  } catch (const std::system_error& error) {
    throw NoVolume(name + " is an NTFS partition, too damaged to be read (" + error.code().message() +
                   "); make a copy of the disk with ddrescue, and let chkdsk of Windows mend the copy");
  }
}

// How surely Windows was started from there: 0 is surest.
std::size_t rank_of(const Tree& tree) {
  const auto* const sign = std::ranges::find_if(
      signs_of_windows, [&](std::string_view one) { return find_folder(tree, "", one).has_value(); });
  return static_cast<std::size_t>(sign - signs_of_windows.begin());
}

// What cannot be listed to its end may hold anything.
bool is_for_windows_alone(const Tree& tree) {
  const auto is_of_windows = [](const Entry& entry) {
    return std::ranges::any_of(names_of_windows,
                               [&](std::string_view own) { return is_same_name(entry.name, own); });
  };
  try {
    const auto listing = tree.entries("");
    while (const auto entry = listing->next())
      if (!is_of_windows(*entry)) return false;
    return tree.unlisted().empty();
  } catch (const std::system_error&) {
    return false;
  }
}

class WholeDisk {
 public:
  WholeDisk(std::string name, std::shared_ptr<const Image> image, std::vector<Partition> partitions)
      : name_(std::move(name)), image_(std::move(image)), partitions_(std::move(partitions)) {}

  Volume one(int number) const {
    const auto partition = std::ranges::find(partitions_, number, &Partition::number);
    if (partition == partitions_.end())
      throw NoVolume(name_ + " has no partition " + std::to_string(number) + "; it has " + all_numbers());
    const std::string name = name_of_partition(*partition);
    if (partition->holds == Holds::bitlocker) refuse_bitlocker(name);
    if (partition->holds != Holds::ntfs) throw NoVolume(name + " is no NTFS partition");
    return {.tree = opened(image_, name, partition->begin, partition->size), .others = {}};
  }

  Volume with_windows() const {
    std::vector<OtherPartition> others;
    std::optional<OtherPartition> system;
    std::size_t best = signs_of_windows.size();
    for (const Partition& partition : partitions_) {
      if (partition.holds == Holds::something_else) continue;
      OtherPartition other = opened_one(partition);
      const std::size_t rank = other.tree ? rank_of(*other.tree) : signs_of_windows.size();
      if (rank < best) {
        best = rank;
        if (system) others.push_back(std::move(*system));
        system = std::move(other);
      } else {
        others.push_back(std::move(other));
      }
    }
    if (!system) complain(others);
    std::erase_if(
        others, [](const OtherPartition& other) { return other.tree && is_for_windows_alone(*other.tree); });
    return {.tree = std::move(system->tree), .others = std::move(others)};
  }

 private:
  [[noreturn]] void complain(const std::vector<OtherPartition>& others) const {
    for (const OtherPartition& other : others)
      if (!other.tree) throw NoVolume(other.complaint);
    throw NoVolume(name_ + " has no partition with Windows on it; one is named by its number, " + name_ +
                   "#1. It has " + all_numbers());
  }

  OtherPartition opened_one(const Partition& partition) const {
    OtherPartition other{.name = name_of_partition(partition), .identity = partition.identity, .tree = {}};
    try {
      if (partition.holds == Holds::bitlocker) refuse_bitlocker(other.name);
      other.tree = opened(image_, other.name, partition.begin, partition.size);
    } catch (const NoVolume& why) {
      other.cause = partition.holds == Holds::bitlocker ? Cause::bitlocker : Cause::unreadable;
      other.complaint = why.what();
    }
    return other;
  }

  std::string name_of_partition(const Partition& partition) const {
    return name_ + "#" + std::to_string(partition.number);
  }

  std::string all_numbers() const {
    std::string numbers;
    for (const Partition& partition : partitions_) {
      const char* const what = partition.holds == Holds::ntfs        ? " (NTFS)"
                               : partition.holds == Holds::bitlocker ? " (BitLocker)"
                                                                     : "";
      numbers += (numbers.empty() ? "" : ", ") + std::to_string(partition.number) + what;
    }
    return numbers;
  }

  std::string name_;
  std::shared_ptr<const Image> image_;
  std::vector<Partition> partitions_;
};

Volume in_image(const Name& name) {
  const auto image = std::make_shared<const Image>(name.path);
  const Bytes bytes = [&](std::uint64_t at, std::size_t most) { return image->bytes(at, most); };
  const Holds holds = held_at(bytes, 0);
  if (holds == Holds::bitlocker) refuse_bitlocker(name.path);
  if (holds == Holds::ntfs && name.partition)
    throw NoVolume(name.path + " is one partition and has no others");
  if (holds == Holds::ntfs) return {.tree = opened(image, name.path, 0, image->size()), .others = {}};
  auto partitions = partitions_of(bytes);
  const bool may_be_disk = std::ranges::any_of(
      partitions, [](const Partition& partition) { return partition.holds != Holds::something_else; });
  if (!may_be_disk) throw NoVolume(name.path + " " + described(bytes));
  const WholeDisk disk(name.path, image, std::move(partitions));
  return name.partition ? disk.one(*name.partition) : disk.with_windows();
}

}  // namespace

std::string path_of(const std::string& name) { return name_of(name).path; }

Volume open_volume(const std::string& text) {
  const Name name = name_of(text);
  struct stat found {};
  try {
    if (stat(name.path.c_str(), &found) != 0) throw std::system_error(errno, std::generic_category());
    if (S_ISDIR(found.st_mode)) return {.tree = folder_tree(name.path), .others = {}};
    if (!S_ISREG(found.st_mode) && !S_ISBLK(found.st_mode))
      throw NoVolume(name.path + " is neither a folder nor a disk");
    return in_image(name);
  } catch (const std::system_error& error) {
    throw NoVolume(name.path + " cannot be read: " + error.code().message());
  }
}

}  // namespace pack
