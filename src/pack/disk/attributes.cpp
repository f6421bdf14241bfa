#include "pack/disk/attributes.h"

#include <glib.h>

#include <memory>

namespace pack {

namespace {

// Little-endian; 0 beyond the end.
std::size_t number_at(std::string_view data, std::size_t at, std::size_t bytes) {
  if (data.size() < bytes || at > data.size() - bytes) return 0;
  std::size_t number = 0;
  for (std::size_t byte = bytes; byte > 0; --byte)
    number = number << 8 | static_cast<unsigned char>(data[at + byte - 1]);
  return number;
}

std::string utf8_of(std::string_view utf16) {
  const std::unique_ptr<char, decltype(&g_free)> text(
      g_convert(utf16.data(), static_cast<gssize>(utf16.size()), "UTF-8", "UTF-16LE", nullptr, nullptr,
                nullptr),
      g_free);
  return text ? text.get() : "";
}

}  // namespace

std::uint32_t reparse_tag(std::string_view reparse_data) {
  return static_cast<std::uint32_t>(number_at(reparse_data, 0, 4));
}

// Tag, length, an empty word, then place and length of two names in what follows: the one Windows goes by and
// the one it shows. Symbolic links have flags in front of it.
std::string link_target(std::string_view reparse_data) {
  constexpr std::uint32_t symbolic_link = 0xA000000C;
  const std::uint32_t tag = reparse_tag(reparse_data);
  if (!is_link(tag)) return "";
  const std::size_t names = tag == symbolic_link ? 20 : 16;
  const std::size_t begin = names + number_at(reparse_data, 8, 2);
  const std::size_t size = number_at(reparse_data, 10, 2);
  if (begin > reparse_data.size() || size > reparse_data.size() - begin) return "";
  std::string target = utf8_of(reparse_data.substr(begin, size));
  if (target.starts_with("\\??\\")) target.erase(0, 4);
  return target;
}

}  // namespace pack
