// Mail folders of Outlook Express, made for a test.
#ifndef BRINDLE_TESTS_PACK_DBX_FILES_H
#define BRINDLE_TESTS_PACK_DBX_FILES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace dbx {

/// A file with these messages, in chains of blocks of 512 bytes, an index entry each and one page of an
/// index.
std::string file(const std::vector<std::string>& messages);

/// Where the first block of the first message begins.
inline constexpr std::size_t first_block = 0x24BC;

/// Puts a number of four bytes there, lowest first.
void put(std::string& file, std::size_t at, std::uint32_t number);

/// Where the number of messages stands, and the place of the next block in a block.
inline constexpr std::size_t count = 0xC4;
inline constexpr std::size_t next_block = 12;

}  // namespace dbx

#endif
