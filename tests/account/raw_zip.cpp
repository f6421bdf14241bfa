#include "account/raw_zip.h"

#include <zlib.h>

namespace {

template <typename Number>
std::string number(Number value) {
  std::string bytes;
  for (std::size_t i = 0; i < sizeof value; ++i)
    bytes += static_cast<char>(static_cast<std::uint64_t>(value) >> (8 * i));
  return bytes;
}

std::string two(std::size_t value) { return number(static_cast<std::uint16_t>(value)); }
std::string four(std::size_t value) { return number(static_cast<std::uint32_t>(value)); }
std::string eight(std::size_t value) { return number(static_cast<std::uint64_t>(value)); }

std::string checksum(const std::string& bytes) {
  return four(crc32(0, reinterpret_cast<const Bytef*>(bytes.data()), static_cast<uInt>(bytes.size())));
}

std::string header(const RawEntry& entry) {
  return std::string("PK\3\4") + two(20) + two(entry.flags) + two(0) + four(0) + checksum(entry.bytes) +
         four(entry.bytes.size()) + four(entry.bytes.size()) + two(entry.name.size()) + two(0) + entry.name;
}

std::string record(const RawEntry& entry, std::size_t place, bool large) {
  std::string extra = entry.extra;
  if (large)
    extra = two(1) + two(24) + eight(entry.bytes.size()) + eight(entry.bytes.size()) + eight(place) + extra;
  const std::size_t size = large ? 0xffffffff : entry.bytes.size();
  return "PK\1\2" + two(20 + 256U * entry.made_on) + two(20) + two(entry.flags) + two(0) + four(0) +
         checksum(entry.bytes) + four(size) + four(size) + two(entry.name.size()) + two(extra.size()) +
         two(0) + two(0) + two(0) + four(entry.external) + four(large ? 0xffffffff : place) + entry.name +
         extra;
}

std::string large_end(std::size_t records, std::size_t size, std::size_t place) {
  return "PK\6\6" + eight(44) + two(45) + two(45) + four(0) + four(0) + eight(records) + eight(records) +
         eight(size) + eight(place) + "PK\6\7" + four(0) + eight(place + size) + four(1);
}

}  // namespace

std::string raw_zip(const std::vector<RawEntry>& entries, const RawFrame& frame) {
  std::string data, list;
  for (const RawEntry& entry : entries) {
    list += record(entry, data.size(), frame.large);
    data += header(entry) + entry.bytes;
  }
  list += frame.signature;
  const std::size_t records = entries.size(), place = data.size();
  std::string end;
  if (frame.large) {
    end = large_end(records, list.size(), place) + "PK\5\6" + two(0) + two(0) + two(0xffff) + two(0xffff) +
          four(0xffffffff) + four(0xffffffff);
  } else {
    end = "PK\5\6" + two(0) + two(0) + two(records) + two(records) + four(list.size()) + four(place);
  }
  return frame.before + data + list + end + two(frame.comment.size()) + frame.comment + frame.after;
}

std::string unicode_path(const std::string& of, const std::string& name) {
  return two(0x7075) + two(5 + name.size()) + "\1" + checksum(of) + name;
}
