#include "pack/outlook/heap.h"

#include <algorithm>

#include "pack/disk/bytes.h"

namespace pack {

namespace {

// No honest file has more: 8 GiB of one attachment.
constexpr std::size_t most_leaves = std::size_t{1} << 20;
constexpr std::size_t most_subnodes = std::size_t{1} << 16;
constexpr std::size_t most_records = std::size_t{1} << 20;

bool is_list(std::uint64_t id) { return (id & 2) != 0; }

std::size_t id_size(const Blocks& blocks) { return blocks.form() == Blocks::Form::ansi ? 4 : 8; }

struct List {
  int kind;
  int level;
  std::size_t count;
};
List list_of(std::string_view block) {
  return {.kind = static_cast<int>(number_at(block, 0, 1)),
          .level = static_cast<int>(number_at(block, 1, 1)),
          .count = word_at(block, 2)};
}

constexpr int list_of_blocks = 1;
constexpr int list_of_nodes = 2;

}  // namespace

Data::Data(Blocks& blocks, std::uint64_t id) : blocks_(&blocks) {
  if (id != 0) add(id, 0);
}

void Data::add(std::uint64_t id, int depth) {
  constexpr int deepest = 2;
  if (!is_list(id)) {
    leaves_.push_back(id);
    return;
  }
  const auto block = depth <= deepest ? blocks_->block(id) : std::nullopt;
  const List list = block ? list_of(*block) : List{};
  constexpr std::size_t head = 8;
  const std::size_t size = id_size(*blocks_);
  if (!block || list.kind != list_of_blocks || leaves_.size() > most_leaves ||
      head + list.count * size > block->size()) {
    is_whole_ = false;
    return;
  }
  for (std::size_t entry = 0; entry < list.count && is_whole_; ++entry)
    add(number_at(*block, head + entry * size, size), depth + 1);
}

std::optional<std::string> Data::block(std::size_t number) const {
  return number < leaves_.size() ? blocks_->block(leaves_[number]) : std::nullopt;
}

bool Data::each(const std::function<void(std::string_view)>& take) const {
  for (const std::uint64_t leaf : leaves_) {
    const auto block = blocks_->block(leaf);
    if (!block) return false;
    take(*block);
  }
  return is_whole_;
}

std::optional<std::string> Data::whole(std::size_t most) const {
  std::string all;
  for (const std::uint64_t leaf : leaves_) {
    const auto block = blocks_->block(leaf);
    if (!block || all.size() + block->size() > most) return std::nullopt;
    all += *block;
  }
  return is_whole_ ? std::optional(std::move(all)) : std::nullopt;
}

namespace {

bool add_subnodes(Blocks& blocks, std::uint64_t id, int depth, Subnodes& nodes) {
  const auto block = blocks.block(id);
  if (!block) return false;
  const List list = list_of(*block);
  const std::size_t size = id_size(blocks);
  const std::size_t entry_size = (list.level == 0 ? 3 : 2) * size;
  if (list.kind != list_of_nodes || list.level > 1 - depth || size + list.count * entry_size > block->size())
    return false;
  bool is_whole = true;
  for (std::size_t entry = 0; entry < list.count; ++entry) {
    if (nodes.size() >= most_subnodes) return false;
    const std::size_t at = size + entry * entry_size;
    const std::uint64_t first = number_at(*block, at + size, size);
    if (list.level > 0) {
      is_whole &= add_subnodes(blocks, first, depth + 1, nodes);
    } else {
      nodes[long_at(*block, at)] = {.data = first, .subnodes = number_at(*block, at + 2 * size, size)};
    }
  }
  return is_whole;
}

}  // namespace

Subnodes subnodes_of(Blocks& blocks, std::uint64_t id, bool* is_whole) {
  Subnodes nodes;
  const bool good = id == 0 || add_subnodes(blocks, id, 0, nodes);
  if (is_whole != nullptr && !good) *is_whole = false;
  return nodes;
}

struct Heap::Index {
  std::size_t key;
  std::size_t value;
  mutable std::size_t records = 0;
};

Heap::Heap(Blocks& blocks, std::uint64_t data)
    : data_(blocks, data), has_large_blocks_(blocks.form() == Blocks::Form::pages_of_4k) {
  const std::string* const first = block(0);
  constexpr int signature = 0xEC;
  if (first == nullptr || number_at(*first, 2, 1) != signature) return;
  use_ = static_cast<int>(number_at(*first, 3, 1));
  root_ = long_at(*first, 4);
}

const std::string* Heap::block(std::size_t number) const {
  if (number != cached_number_) {
    auto bytes = data_.block(number);
    if (!bytes) return nullptr;
    cached_ = std::move(*bytes);
    cached_number_ = number;
  }
  return &cached_;
}

// An id has a type in its lowest bits, then the piece's number in its block, counted from 1, and the block's.
std::optional<std::string> Heap::piece(std::uint32_t id) const {
  constexpr unsigned type_bits = 5;
  const unsigned number_bits = has_large_blocks_ ? 14 : 11;
  const std::size_t number = (id >> type_bits) & ((1U << number_bits) - 1);
  if ((id & 0x1F) != 0 || number == 0) return std::nullopt;
  const std::string* const bytes = block(id >> (type_bits + number_bits));
  if (bytes == nullptr) return std::nullopt;
  const std::size_t map = word_at(*bytes, 0);
  if (number > word_at(*bytes, map)) return std::nullopt;
  const std::size_t place = map + 4 + (number - 1) * 2;
  const std::size_t begin = word_at(*bytes, place);
  const std::size_t end = word_at(*bytes, place + 2);
  if (place + 4 > bytes->size() || begin > end || end > bytes->size()) return std::nullopt;
  return bytes->substr(begin, end - begin);
}

bool Heap::each(std::uint32_t index, const Take& take) const {
  const auto head = piece(index);
  constexpr int signature = 0xB5;
  if (!head || head->size() < 8 || number_at(*head, 0, 1) != signature) return false;
  const Index sizes{.key = number_at(*head, 1, 1), .value = number_at(*head, 2, 1)};
  const int levels = static_cast<int>(number_at(*head, 3, 1));
  const std::uint32_t root = long_at(*head, 4);
  constexpr int deepest = 8;
  if (sizes.key == 0 || levels > deepest) return false;
  return root == 0 || each(sizes, root, levels, take);
}

bool Heap::each(const Index& index, std::uint32_t id, int level, const Take& take) const {
  const auto records = piece(id);
  if (!records) return false;
  constexpr std::size_t reference = 4;
  const std::size_t size = index.key + (level > 0 ? reference : index.value);
  bool is_whole = true;
  for (std::size_t at = 0; at + size <= records->size(); at += size) {
    if (++index.records > most_records) return false;
    if (level > 0) {
      is_whole &= each(index, long_at(*records, at + index.key), level - 1, take);
    } else {
      take(std::string_view(*records).substr(at, index.key),
           std::string_view(*records).substr(at + index.key, index.value));
    }
  }
  return is_whole;
}

}  // namespace pack
