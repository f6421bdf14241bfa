#include "pack/dbx_files.h"

#include <algorithm>

namespace dbx {

namespace {

constexpr std::size_t head_of_block = 16;
constexpr std::size_t block_size = 512;
constexpr std::size_t place_of_index = 0xE4;

void add(std::string& file, std::uint32_t number, std::size_t bytes = 4) {
  for (std::size_t byte = 0; byte < bytes; ++byte) file += static_cast<char>(number >> (8 * byte));
}

std::uint32_t add_message(std::string& file, const std::string& message) {
  const auto first = static_cast<std::uint32_t>(file.size());
  for (std::size_t begin = 0; begin < message.size(); begin += block_size) {
    const std::string piece = message.substr(begin, block_size);
    const std::size_t next = file.size() + head_of_block + block_size;
    add(file, static_cast<std::uint32_t>(file.size()));
    add(file, block_size);
    add(file, static_cast<std::uint32_t>(piece.size()));
    add(file, begin + block_size < message.size() ? static_cast<std::uint32_t>(next) : 0);
    file += piece + std::string(block_size - piece.size(), '\0');
  }
  return first;
}

// One value, which is the place of the message, in the entry itself.
std::uint32_t add_entry(std::string& file, std::uint32_t message) {
  constexpr std::uint32_t place_of_message = 0x84;
  const auto place = static_cast<std::uint32_t>(file.size());
  add(file, place);
  add(file, 4);
  add(file, 0, 2);
  add(file, 1, 1);
  add(file, 0, 1);
  add(file, place_of_message | message << 8);
  return place;
}

}  // namespace

void put(std::string& file, std::size_t at, std::uint32_t number) {
  std::string bytes;
  add(bytes, number);
  file.replace(at, bytes.size(), bytes);
}

std::string file(const std::vector<std::string>& messages) {
  std::string file;
  for (const std::uint32_t word : {0xFE12ADCFU, 0x6F74FDC5U, 0x11D1E366U, 0xC0004E9AU}) add(file, word);
  file.resize(first_block);
  std::vector<std::uint32_t> entries;
  for (const std::string& message : messages) entries.push_back(add_entry(file, add_message(file, message)));
  put(file, count, static_cast<std::uint32_t>(messages.size()));
  put(file, place_of_index, static_cast<std::uint32_t>(file.size()));
  add(file, static_cast<std::uint32_t>(file.size()));
  file.resize(file.size() + 13);
  add(file, static_cast<std::uint32_t>(messages.size()), 1);
  file.resize(file.size() + 6);
  for (const std::uint32_t entry : entries) {
    add(file, entry);
    file.resize(file.size() + 8);
  }
  return file;
}

}  // namespace dbx
