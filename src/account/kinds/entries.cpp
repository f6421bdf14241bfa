#include "account/kinds/entries.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace account {
namespace {

class OpenFile {
 public:
  explicit OpenFile(const std::string& path) : file_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
  ~OpenFile() {
    if (file_ >= 0) close(file_);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  bool is_open() const { return file_ >= 0; }
  // Bytes read, fewer than asked for only at the end or after a fault.
  std::size_t fill(char* to, std::size_t size) const {
    std::size_t have = 0;
    while (have < size) {
      const ssize_t got = ::read(file_, to + have, size - have);
      if (got <= 0) break;
      have += static_cast<std::size_t>(got);
    }
    return have;
  }

 private:
  int file_;
};

enum class Likeness { same, longer_in_archive, different, damaged };

std::array<char, 1 << 16> packed, there;  // one pair for all files: there is one thread

// An encrypted entry cannot be read, but the archive's list has its length and checksum.
Likeness compare_checksum(const Entry& entry, const OpenFile& file) {
  uLong crc = crc32(0, nullptr, 0);
  std::uint64_t size = 0;
  for (std::size_t got; (got = file.fill(there.data(), there.size())) > 0; size += got)
    crc = crc32(crc, reinterpret_cast<const Bytef*>(there.data()), static_cast<uInt>(got));
  return size == entry.size && crc == entry.crc ? Likeness::same : Likeness::different;
}

Likeness compare_bytes(EntryStream stream, const OpenFile& file) {
  for (;;) {
    const std::size_t wanted = stream.read(packed);
    if (stream.failed()) return Likeness::damaged;
    const std::size_t have = file.fill(there.data(), wanted == 0 ? 1 : wanted);
    if (wanted == 0) return have == 0 ? Likeness::same : Likeness::different;
    if (std::memcmp(packed.data(), there.data(), have) != 0) return Likeness::different;
    if (have < wanted) return Likeness::longer_in_archive;
  }
}

bool is_folder(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool is_empty_folder(const Entry& entry, std::span<const Entry> among) {
  const Entry* const next = &entry + 1;
  const bool is_last = next >= among.data() + among.size();
  return entry.folder &&
         (is_last || !(next->name.starts_with(entry.name) && next->name.size() > entry.name.size() &&
                       next->name[entry.name.size()] == '/'));
}

}  // namespace

std::string_view name_within(const Entry& entry, std::string_view folder) {
  return entry.name.substr(folder.size() + 1);
}

std::optional<Cause> fault_of(const Entry& entry) {
  if (entry.unsafe) return Cause::unsafe_name;
  if (entry.is_link_or_device()) return Cause::not_a_file;
  return std::nullopt;
}

void compare_file(const Archive& archive, const Entry& entry, const std::string& path, std::string name,
                  Tally& tally) {
  if (const auto fault = fault_of(entry)) return tally.miss(std::move(name), *fault);
  struct stat status;
  if (stat(path.c_str(), &status) != 0) {
    const Cause cause = entry.encrypted() ? Cause::encrypted : Cause::not_there;
    return tally.miss(std::move(name), cause);
  }
  const OpenFile file(path);
  if (!S_ISREG(status.st_mode) || !file.is_open())
    return tally.miss(std::move(name), Cause::place_unreadable, path);
  switch (entry.encrypted() ? compare_checksum(entry, file) : compare_bytes(archive.open(entry), file)) {
    case Likeness::same:
      return tally.arrive_unchanged();
    case Likeness::longer_in_archive:
      return tally.miss(std::move(name), Cause::shorter);
    case Likeness::damaged:
      return tally.miss(std::move(name), Cause::damaged);
    case Likeness::different:
      return tally.miss(std::move(name), entry.encrypted() ? Cause::encrypted : Cause::differs);
  }
}

void compare_thing(const Archive& archive, const Entry& entry, const std::string& path, std::string name,
                   Tally& tally) {
  if (!entry.folder) return compare_file(archive, entry, path, std::move(name), tally);
  if (is_folder(path)) return tally.arrive_unchanged();
  tally.miss(std::move(name), Cause::not_there);
}

void for_each_thing(const Archive& archive, std::string_view name,
                    const std::function<void(const Entry&)>& take) {
  const auto entries = archive.below(name);
  for (const Entry& entry : entries) {
    if (entry.folder && !is_empty_folder(entry, entries)) continue;
    if (!is_overridden(entry, entries)) take(entry);
  }
}

bool is_overridden(const Entry& entry, std::span<const Entry> among) {
  const Entry* const next = &entry + 1;
  return next < among.data() + among.size() && next->name == entry.name;
}

}  // namespace account
