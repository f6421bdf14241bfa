#include "pack/parcel/records.h"

#include <algorithm>
#include <ctime>
#include <limits>

#include "pack/disk/utc.h"

namespace pack {

namespace {

// What a field of two or four bytes holds when the value is in a wider one elsewhere.
constexpr std::uint64_t elsewhere_16 = 0xFFFF;
constexpr std::uint64_t elsewhere_32 = 0xFFFFFFFF;

constexpr unsigned plain_version = 20;
constexpr unsigned large_version = 45;  // that knows of wider fields
constexpr unsigned made_on_unix = 3U << 8;

// Little-endian numbers, one after the other.
class Record {
 public:
  Record& two(std::uint64_t number) { return add(number, 2); }
  Record& four(std::uint64_t number) { return add(number, 4); }
  Record& eight(std::uint64_t number) { return add(number, 8); }
  Record& text(const std::string& bytes) {
    bytes_ += bytes;
    return *this;
  }
  std::string bytes() const { return bytes_; }

 private:
  Record& add(std::uint64_t number, int size) {
    for (int byte = 0; byte < size; ++byte) bytes_ += static_cast<char>(number >> (8 * byte));
    return *this;
  }

  std::string bytes_;
};

std::uint64_t limited(std::uint64_t number, std::uint64_t elsewhere) { return std::min(number, elsewhere); }

// Where the machine's clock does not go as far, by the world's.
std::tm local_parts(std::int64_t seconds) {
  std::tm parts{};
  const auto time = static_cast<std::time_t>(seconds);
  if (time != seconds || localtime_r(&time, &parts) == nullptr) return utc_parts(seconds);
  return parts;
}

// Two fields of a clock that runs from 1980 to 2107, in local time, and counts in pairs of seconds.
struct DosTime {
  unsigned time;
  unsigned date;
};
DosTime dos_time(std::int64_t seconds) {
  const std::tm parts = local_parts(seconds);
  const int year = parts.tm_year - 80;
  if (year < 0) return {.time = 0, .date = 1U << 5 | 1U};
  if (year > 127) return {.time = 23U << 11 | 59U << 5 | 29U, .date = 127U << 9 | 12U << 5 | 31U};
  const auto part = [](int value) { return static_cast<unsigned>(value); };
  return {.time = part(parts.tm_hour) << 11 | part(parts.tm_min) << 5 | part(parts.tm_sec) / 2,
          .date = part(year) << 9 | (part(parts.tm_mon) + 1) << 5 | part(parts.tm_mday)};
}

// The same by the world's clock, as far as its field goes.
std::string unix_time(std::int64_t seconds) {
  if (seconds < std::numeric_limits<std::int32_t>::min() ||
      seconds > std::numeric_limits<std::int32_t>::max())
    return "";
  constexpr unsigned only_modified = 1;
  return Record().two(0x5455).two(5).bytes() + static_cast<char>(only_modified) +
         Record().four(static_cast<std::uint32_t>(seconds)).bytes();
}

std::string wide_fields(const std::string& fields) {
  return fields.empty() ? "" : Record().two(0x0001).two(fields.size()).text(fields).bytes();
}

unsigned method_of(const Item& item) { return item.is_deflated ? 8 : 0; }

}  // namespace

std::string head_of(const Item& item) {
  const DosTime modified = dos_time(item.modified);
  const std::string wide =
      item.may_be_large ? wide_fields(Record().eight(item.size).eight(item.packed_size).bytes()) : "";
  const std::string more = wide + unix_time(item.modified);
  return Record()
      .four(0x04034b50)
      .two(item.may_be_large ? large_version : plain_version)
      .two(0)
      .two(method_of(item))
      .two(modified.time)
      .two(modified.date)
      .four(item.checksum)
      .four(item.may_be_large ? elsewhere_32 : item.packed_size)
      .four(item.may_be_large ? elsewhere_32 : item.size)
      .two(item.name.size())
      .two(more.size())
      .text(item.name)
      .text(more)
      .bytes();
}

std::string list_entry_of(const Item& item) {
  const DosTime modified = dos_time(item.modified);
  Record wide;
  for (const std::uint64_t number : {item.size, item.packed_size, item.place})
    if (number >= elsewhere_32) wide.eight(number);
  const std::string more = wide_fields(wide.bytes()) + unix_time(item.modified);
  const std::uint64_t mode = item.is_folder ? 040755 : 0100644;
  constexpr std::uint64_t dos_folder = 0x10;
  const unsigned version = item.may_be_large || !wide.bytes().empty() ? large_version : plain_version;
  return Record()
      .four(0x02014b50)
      .two(made_on_unix | version)
      .two(version)
      .two(0)
      .two(method_of(item))
      .two(modified.time)
      .two(modified.date)
      .four(item.checksum)
      .four(limited(item.packed_size, elsewhere_32))
      .four(limited(item.size, elsewhere_32))
      .two(item.name.size())
      .two(more.size())
      .two(0)
      .two(0)
      .two(0)
      .four(mode << 16 | (item.is_folder ? dos_folder : 0))
      .four(limited(item.place, elsewhere_32))
      .text(item.name)
      .text(more)
      .bytes();
}

std::string end_of_zip(std::uint64_t items, std::uint64_t place_of_list, std::uint64_t size_of_list) {
  Record end;
  if (items >= elsewhere_16 || place_of_list >= elsewhere_32 || size_of_list >= elsewhere_32) {
    end.four(0x06064b50)
        .eight(44)
        .two(made_on_unix | large_version)
        .two(large_version)
        .four(0)
        .four(0)
        .eight(items)
        .eight(items)
        .eight(size_of_list)
        .eight(place_of_list);
    end.four(0x07064b50).four(0).eight(place_of_list + size_of_list).four(1);
  }
  end.four(0x06054b50)
      .two(0)
      .two(0)
      .two(limited(items, elsewhere_16))
      .two(limited(items, elsewhere_16))
      .four(limited(size_of_list, elsewhere_32))
      .four(limited(place_of_list, elsewhere_32))
      .two(0);
  return end.bytes();
}

}  // namespace pack
