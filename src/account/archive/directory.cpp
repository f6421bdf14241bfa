#include "account/archive/directory.h"

#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <string>
#include <vector>

#include "account/archive/archive.h"

namespace account {
namespace {

constexpr std::size_t record_head = 46, end_size = 22, locator_size = 20, end64_size = 56;
constexpr std::uint32_t record_mark = 0x02014b50, end_mark = 0x06054b50, locator_mark = 0x07064b50,
                        end64_mark = 0x06064b50;
constexpr std::uint16_t zip64_field = 0x0001, unicode_path_field = 0x7075;

// Little-endian numbers at a place of a text that is long enough.
template <typename Number>
Number number_at(std::string_view bytes, std::size_t place) {
  Number result = 0;
  for (std::size_t i = sizeof(Number); i-- > 0;)
    result = static_cast<Number>((static_cast<std::uint64_t>(result) << 8) |
                                 static_cast<unsigned char>(bytes[place + i]));
  return result;
}

std::string read_at(int file, std::uint64_t place, std::size_t size) {
  std::string bytes(size, '\0');
  std::size_t have = 0;
  while (have < size) {
    const ssize_t got = pread(file, bytes.data() + have, size - have, static_cast<off_t>(place + have));
    if (got <= 0) break;
    have += static_cast<std::size_t>(got);
  }
  bytes.resize(have);
  return bytes;
}

struct Directory {
  std::uint64_t place;
  std::uint64_t size;
  std::uint64_t records;  // may be the true number's last 16 bits only
  std::uint64_t shift;    // what stands before the archive, such as a program that unpacks it
};

bool has_mark(std::string_view bytes, std::uint32_t mark) {
  return bytes.size() >= sizeof mark && number_at<std::uint32_t>(bytes, 0) == mark;
}

// An archive over 4 GiB, or with more than 65,535 entries, has its true numbers in a second end record. The
// locator says where it lies, or would lie if nothing stood before the archive: then it lies right before the
// locator.
void read_large_end(int file, std::uint64_t end, Directory& directory, std::uint64_t& directory_end) {
  if (end < locator_size + end64_size) return;
  const std::string locator = read_at(file, end - locator_size, locator_size);
  if (locator.size() < locator_size || !has_mark(locator, locator_mark)) return;
  for (const std::uint64_t place : {number_at<std::uint64_t>(locator, 8), end - locator_size - end64_size}) {
    const std::string large = read_at(file, place, end64_size);
    if (large.size() < end64_size || !has_mark(large, end64_mark)) continue;
    directory.records = number_at<std::uint64_t>(large, 32);
    directory.size = number_at<std::uint64_t>(large, 40);
    directory.place = number_at<std::uint64_t>(large, 48);
    directory_end = place;
    return;
  }
}

// A comment may hold what looks like an end of the list. A true one has the list before it.
bool leads_to_list(int file, const Directory& directory) {
  if (directory.size == 0) return directory.records == 0;
  return has_mark(read_at(file, directory.place, sizeof record_mark), record_mark);
}

Directory find_directory(int file) {
  struct stat status;
  if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) throw Unreadable("not a file");
  const auto size = static_cast<std::uint64_t>(status.st_size);
  const std::uint64_t from = size > 65536 + end_size ? size - 65536 - end_size : 0;
  const std::string tail = read_at(file, from, static_cast<std::size_t>(size - from));
  for (std::size_t i = tail.size() < end_size ? 0 : tail.size() - end_size + 1; i-- > 0;) {
    if (number_at<std::uint32_t>(tail, i) != end_mark) continue;
    // Nothing but its comment may follow the end of an empty archive, which has no list to know it by.
    const bool at_end = i + end_size + number_at<std::uint16_t>(tail, i + 20) == tail.size();
    Directory found = {number_at<std::uint32_t>(tail, i + 16), number_at<std::uint32_t>(tail, i + 12),
                       number_at<std::uint16_t>(tail, i + 10), 0};
    std::uint64_t end = from + i;
    read_large_end(file, end, found, end);
    if (found.size > end || found.place > end - found.size) continue;
    found.shift = end - found.place - found.size;
    found.place += found.shift;
    if ((found.size > 0 || at_end) && leads_to_list(file, found)) return found;
  }
  throw Unreadable("no list of its content at its end: it is cut short or not a zip archive");
}

// Calls `take` with number and content of each extra field.
template <typename Take>
void each_field(std::string_view extra, Take take) {
  while (extra.size() >= 4) {
    const auto id = number_at<std::uint16_t>(extra, 0);
    const std::size_t size = number_at<std::uint16_t>(extra, 2);
    if (size > extra.size() - 4) return;
    take(id, extra.substr(4, size));
    extra.remove_prefix(4 + size);
  }
}

void take_large_numbers(std::string_view field, DirectoryRecord& record) {
  constexpr std::uint64_t full = 0xffffffff;
  for (std::uint64_t* number : {&record.size, &record.packed, &record.header}) {
    if (*number != full || field.size() < 8) continue;
    *number = number_at<std::uint64_t>(field, 0);
    field.remove_prefix(8);
  }
}

// The field only counts for the name it was made for, which its checksum tells.
void take_unicode_path(std::string_view field, DirectoryRecord& record) {
  if (field.size() < 5 || field[0] != 1) return;
  const auto crc =
      crc32(0, reinterpret_cast<const Bytef*>(record.name.data()), static_cast<uInt>(record.name.size()));
  if (number_at<std::uint32_t>(field, 1) == crc) record.unicode_name = field.substr(5);
}

DirectoryRecord record_at(std::string_view bytes, std::uint64_t place) {
  DirectoryRecord record = {};
  record.place = place;
  record.made_on = number_at<std::uint8_t>(bytes, 5);
  record.flags = number_at<std::uint16_t>(bytes, 8);
  record.method = number_at<std::uint16_t>(bytes, 10);
  record.crc = number_at<std::uint32_t>(bytes, 16);
  record.packed = number_at<std::uint32_t>(bytes, 20);
  record.size = number_at<std::uint32_t>(bytes, 24);
  const std::size_t name = number_at<std::uint16_t>(bytes, 28), extra = number_at<std::uint16_t>(bytes, 30);
  record.external = number_at<std::uint32_t>(bytes, 38);
  record.header = number_at<std::uint32_t>(bytes, 42);
  record.name = bytes.substr(record_head, name);
  each_field(bytes.substr(record_head + name, extra), [&record](std::uint16_t id, std::string_view field) {
    if (id == zip64_field) take_large_numbers(field, record);
    if (id == unicode_path_field) take_unicode_path(field, record);
  });
  return record;
}

std::size_t length_of(std::string_view head) {
  return record_head + number_at<std::uint16_t>(head, 28) + number_at<std::uint16_t>(head, 30) +
         number_at<std::uint16_t>(head, 32);
}

}  // namespace

void read_directory(int file, const std::function<void(const DirectoryRecord&)>& take) {
  const Directory directory = find_directory(file);
  constexpr std::size_t piece = 1 << 18, longest = record_head + 3 * 65535;
  static_assert(longest < piece);
  std::string window;
  std::uint64_t place = directory.place, window_place = place, count = 0;
  const std::uint64_t end = directory.place + directory.size;
  // Up to the list's end and not to its number of entries: packers that know no other end record write the
  // last 16 bits of a larger number.
  for (; place < end; ++count) {
    if (place + std::min<std::uint64_t>(longest, end - place) > window_place + window.size()) {
      window = read_at(file, place, static_cast<std::size_t>(std::min<std::uint64_t>(piece, end - place)));
      window_place = place;
    }
    const std::string_view rest =
        std::string_view(window).substr(static_cast<std::size_t>(place - window_place));
    if (!has_mark(rest, record_mark)) break;  // a signature of the list, or damage
    const std::size_t length = rest.size() < record_head ? record_head : length_of(rest);
    if (length > rest.size()) throw Unreadable("the list of its content ends early");
    DirectoryRecord record = record_at(rest.substr(0, length), place);
    record.header += directory.shift;
    record.length = static_cast<std::uint32_t>(length);
    take(record);
    place += length;
  }
  if ((count & 0xffff) != (directory.records & 0xffff))
    throw Unreadable("the list of its content is damaged");
}

}  // namespace account
