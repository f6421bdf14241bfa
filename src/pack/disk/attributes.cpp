#include "pack/disk/attributes.h"

#include "pack/disk/bytes.h"

namespace pack {

std::uint32_t reparse_tag(std::string_view reparse_data) { return long_at(reparse_data, 0); }

// Tag, length, an empty word, then place and length of two names in what follows: the one Windows goes by and
// the one it shows. Symbolic links have flags in front of it.
std::string link_target(std::string_view reparse_data) {
  constexpr std::uint32_t symbolic_link = 0xA000000C;
  const std::uint32_t tag = reparse_tag(reparse_data);
  if (!is_link(tag)) return "";
  const std::size_t names = tag == symbolic_link ? 20 : 16;
  const std::size_t begin = names + word_at(reparse_data, 8);
  const std::size_t size = word_at(reparse_data, 10);
  if (begin > reparse_data.size() || size > reparse_data.size() - begin) return "";
  std::string target = utf8_of_utf16(reparse_data.substr(begin, size));
  if (target.starts_with("\\??\\")) target.erase(0, 4);
  return target;
}

}  // namespace pack
