// Numbers in the byte order of Windows, read where they may not be, and its texts.
#ifndef BRINDLE_PACK_DISK_BYTES_H
#define BRINDLE_PACK_DISK_BYTES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace pack {

/// The number of `size` bytes, lowest first, at `at`; 0 when they are not all there.
inline std::uint64_t number_at(std::string_view bytes, std::size_t at, std::size_t size) {
  if (at > bytes.size() || size > bytes.size() - at) return 0;
  std::uint64_t number = 0;
  for (std::size_t byte = size; byte > 0; --byte)
    number = number << 8 | static_cast<unsigned char>(bytes[at + byte - 1]);
  return number;
}
inline std::uint16_t word_at(std::string_view bytes, std::size_t at) {
  return static_cast<std::uint16_t>(number_at(bytes, at, 2));
}
inline std::uint32_t long_at(std::string_view bytes, std::size_t at) {
  return static_cast<std::uint32_t>(number_at(bytes, at, 4));
}

/// A text in UTF-16; empty when it is none.
std::string utf8_of_utf16(std::string_view bytes);

/// Two digits for each byte.
inline std::string hex(std::string_view bytes, std::string_view digits = "0123456789abcdef") {
  std::string text;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    text += {digits[value >> 4], digits[value & 0xF]};
  }
  return text;
}

/// The part of so many bytes there, or what there is of it.
inline std::string_view part_of(std::string_view bytes, std::size_t at, std::size_t size) {
  return at > bytes.size() ? std::string_view() : bytes.substr(at, size);
}

}  // namespace pack

#endif
