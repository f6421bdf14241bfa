#include "pack/ntfs/partitions.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "pack/disk/bytes.h"

namespace pack {

namespace {

constexpr std::size_t sector = 512;
constexpr std::size_t most_partitions = 128;

std::string as_bytes(std::uint64_t number, std::size_t size) {
  std::string bytes;
  for (; size > 0; --size, number >>= 8) bytes += static_cast<char>(number);
  return bytes;
}

bool has_at(std::string_view data, std::size_t at, std::string_view sign) {
  return data.size() >= at && data.substr(at, sign.size()) == sign;
}

// An entry of the old table, in a disk's first sector or in front of a logical partition.
struct Entry {
  unsigned type = 0;
  std::uint64_t begin = 0;
  std::uint64_t size = 0;

  bool is_chain() const { return type == 0x05 || type == 0x0F || type == 0x85; }
};

constexpr unsigned stands_for_gpt = 0xEE;

std::array<Entry, 4> entries_of(std::string_view table) {
  std::array<Entry, 4> entries;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const std::size_t at = 446 + 16 * i;
    entries[i] = {.type = static_cast<unsigned>(number_at(table, at + 4, 1)),
                  .begin = number_at(table, at + 8, 4) * sector,
                  .size = number_at(table, at + 12, 4) * sector};
  }
  return entries;
}

bool is_table(std::string_view first) { return first.size() == sector && has_at(first, 510, "\x55\xAA"); }

class OldTable {
 public:
  OldTable(const Bytes& disk, std::string_view first) : disk_(disk), signature_(first.substr(440, 4)) {}

  std::vector<Partition> partitions(const std::array<Entry, 4>& entries) {
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (entries[i].type == 0 || entries[i].size == 0) continue;
      if (entries[i].is_chain()) {
        follow(entries[i].begin);
      } else {
        add(static_cast<int>(i + 1), entries[i]);
      }
    }
    std::ranges::stable_sort(partitions_, {}, &Partition::number);
    return std::move(partitions_);
  }

 private:
  // Each logical partition has a table with itself, by its distance from there, and the next one, by its
  // distance from the first. A chain that bites its own tail ends.
  void follow(std::uint64_t first) {
    std::uint64_t at = first;
    for (std::size_t count = 0; count < most_partitions; ++count) {
      const std::string table = disk_(at, sector);
      if (!is_table(table)) return;
      const std::array<Entry, 4> entries = entries_of(table);
      Entry here = entries[0];
      here.begin += at;
      if (here.type != 0 && here.size != 0) add(next_logical_++, here);
      if (!entries[1].is_chain() || entries[1].begin == 0) return;
      at = first + entries[1].begin;
    }
  }

  void add(int number, const Entry& entry) {
    partitions_.push_back({.number = number,
                           .begin = entry.begin,
                           .size = entry.size,
                           .holds = held_at(disk_, entry.begin),
                           .identity = signature_ + as_bytes(entry.begin, 8)});
  }

  const Bytes& disk_;
  std::string signature_;
  std::vector<Partition> partitions_;
  int next_logical_ = 5;
};

// The new table has entries of 128 bytes or more; where they lie stands in the second sector.
std::vector<Partition> gpt_partitions(const Bytes& disk, std::uint64_t sector_size) {
  const std::string head = disk(sector_size, sector);
  if (!head.starts_with("EFI PART")) return {};
  const std::uint64_t at = number_at(head, 72, 8) * sector_size;
  const std::size_t count = std::min<std::size_t>(number_at(head, 80, 4), most_partitions);
  const std::size_t size = number_at(head, 84, 4);
  if (size < 128 || size > 4096) return {};
  const std::string table = disk(at, count * size);
  std::vector<Partition> partitions;
  for (std::size_t i = 0; i < count && (i + 1) * size <= table.size(); ++i) {
    const std::string_view entry = std::string_view(table).substr(i * size, size);
    if (entry.substr(0, 16) == std::string(16, '\0')) continue;
    const std::uint64_t first = number_at(entry, 32, 8);
    const std::uint64_t last = number_at(entry, 40, 8);
    if (last < first || last > UINT64_MAX / sector_size - 1) continue;
    partitions.push_back({.number = static_cast<int>(i + 1),
                          .begin = first * sector_size,
                          .size = (last - first + 1) * sector_size,
                          .holds = held_at(disk, first * sector_size),
                          .identity = "DMIO:ID:" + std::string(entry.substr(16, 16))});
  }
  return partitions;
}

struct Form {
  std::size_t at;
  std::string_view sign;
  const char* words;
};

using namespace std::string_view_literals;

constexpr const char* of_a_virtual_machine =
    "is an image of a virtual machine; make a plain one of it first, with \"qemu-img convert -O raw\"";
constexpr const char* to_be_mounted = "is no NTFS partition; mount it, and name the folder it is mounted in";
constexpr std::array forms{
    Form{0, "PK\x03\x04"sv, "is a zip file; unpack it, and name the folder"},
    Form{0, "7z\xBC\xAF"sv, "is a packed file; unpack it first"},
    Form{0, "\x1F\x8B"sv, "is a packed file; unpack it first"},
    Form{0,
         "\xFD"
         "7zXZ"sv,
         "is a packed file; unpack it first"},
    Form{0, "EVF\x09"sv, "is an image of EnCase; make a plain one of it first, with \"ewfexport\""},
    Form{0, "vhdxfile"sv, of_a_virtual_machine},
    Form{0, "conectix"sv, of_a_virtual_machine},
    Form{0, "QFI\xFB"sv, of_a_virtual_machine},
    Form{0, "KDMV"sv, of_a_virtual_machine},
    Form{0, "<<< "sv, of_a_virtual_machine},
    Form{0, "LUKS\xBA\xBE"sv, "is an encrypted partition of Linux"},
    Form{3, "EXFAT   "sv, to_be_mounted},
    Form{54, "FAT"sv, to_be_mounted},
    Form{82, "FAT32"sv, to_be_mounted},
    Form{1080, "\x53\xEF"sv, "is a partition of Linux"},
    Form{0, "XFSB"sv, "is a partition of Linux"},
    Form{65600, "_BHRfS_M"sv, "is a partition of Linux"},
    Form{32769, "CD001"sv, "is the image of a CD or DVD"},
};

}  // namespace

Holds held_at(const Bytes& disk, std::uint64_t at) {
  const std::string first = disk(at, sector);
  if (has_at(first, 3, "NTFS    ")) return Holds::ntfs;
  if (has_at(first, 3, "-FVE-FS-")) return Holds::bitlocker;
  return Holds::something_else;
}

std::vector<Partition> partitions_of(const Bytes& disk) {
  const std::string first = disk(0, sector);
  if (!is_table(first)) return {};
  const std::array<Entry, 4> entries = entries_of(first);
  if (std::ranges::find(entries, stands_for_gpt, &Entry::type) != entries.end())
    for (const std::uint64_t size : {std::uint64_t{512}, std::uint64_t{4096}})
      if (auto partitions = gpt_partitions(disk, size); !partitions.empty()) return partitions;
  return OldTable(disk, first).partitions(entries);
}

std::string described(const Bytes& disk) {
  if (disk(0, 1).empty()) return "is empty, or cannot be read";
  for (const Form& form : forms)
    if (disk(form.at, form.sign.size()) == form.sign) return form.words;
  return "is neither a folder nor a disk of Windows: no NTFS partition begins in it";
}

}  // namespace pack
