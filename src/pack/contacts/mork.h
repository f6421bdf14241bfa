// Address books of Mozilla programs before version 78 (.mab), in the format Mork.
#ifndef BRINDLE_PACK_CONTACTS_MORK_H
#define BRINDLE_PACK_CONTACTS_MORK_H

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pack {

struct MorkBook {
  /// Contacts by Mozilla's names ("FirstName", "PrimaryEmail", ...), in UTF-8.
  std::vector<std::map<std::string, std::string>> cards;
  std::vector<std::string> lists;  ///< the names of lists of addresses
  bool is_whole = true;            ///< false when the file ends within something
};

/// A file of which everything is read at once has at most so many bytes.
inline constexpr std::size_t longest_mork = std::size_t{1} << 23;

/// Reads a file as its program would have: changes that it has begun to write and not finished, and those
/// that it took back, are none. No value when it is none, or longer than that.
std::optional<MorkBook> read_mork(std::string_view file);

}  // namespace pack

#endif
