// How nodes hold things: trees of blocks, nodes of their own, and heaps of small pieces with an index.
#ifndef BRINDLE_PACK_OUTLOOK_HEAP_H
#define BRINDLE_PACK_OUTLOOK_HEAP_H

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "pack/outlook/blocks.h"

namespace pack {

/// Where a node's bytes and its own nodes are.
struct NodeBlocks {
  std::uint64_t data = 0;
  std::uint64_t subnodes = 0;
};

/// The bytes of a node, which may be more than fit into memory.
class Data {
 public:
  Data(Blocks& blocks, std::uint64_t id);

  /// How many blocks there are, and one of them. No value when it cannot be read.
  std::size_t count() const { return leaves_.size(); }
  std::optional<std::string> block(std::size_t number) const;

  /// Hands out all bytes. False when some are missing: those behind them are not handed out.
  bool each(const std::function<void(std::string_view)>& take) const;

  /// All bytes when they are `most` at most; no value else, and when some are missing.
  std::optional<std::string> whole(std::size_t most) const;

  /// False when the list of blocks itself is damaged.
  bool is_whole() const { return is_whole_; }

 private:
  void add(std::uint64_t id, int depth);

  Blocks* blocks_;
  std::vector<std::uint64_t> leaves_;
  bool is_whole_ = true;
};

/// A node's own nodes by their ids. `is_whole`, when given, becomes false when some are missing.
using Subnodes = std::map<std::uint32_t, NodeBlocks>;
Subnodes subnodes_of(Blocks& blocks, std::uint64_t id, bool* is_whole = nullptr);

/// Small pieces in a node's bytes.
class Heap {
 public:
  explicit Heap(Blocks& blocks, std::uint64_t data);

  /// What the heap is for: 0xBC properties, 0x7C a table; 0 when it is no heap.
  int use() const { return use_; }
  std::uint32_t root() const { return root_; }

  /// A piece. No value when it is not there.
  std::optional<std::string> piece(std::uint32_t id) const;

  /// Hands out the records of an index whose head is that piece, `key` and `value` of each. False when some
  /// cannot be read.
  using Take = std::function<void(std::string_view key, std::string_view value)>;
  bool each(std::uint32_t index, const Take& take) const;

 private:
  struct Index;
  bool each(const Index& index, std::uint32_t piece, int level, const Take& take) const;
  const std::string* block(std::size_t number) const;

  Data data_;
  bool has_large_blocks_;
  int use_ = 0;
  std::uint32_t root_ = 0;
  mutable std::size_t cached_number_ = SIZE_MAX;
  mutable std::string cached_;
};

}  // namespace pack

#endif
