// The properties of things in a mail store, and tables of them.
#ifndef BRINDLE_PACK_OUTLOOK_PROPERTIES_H
#define BRINDLE_PACK_OUTLOOK_PROPERTIES_H

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "pack/outlook/heap.h"

namespace pack {

/// Longer texts than this are not taken into memory.
inline constexpr std::size_t longest_text = std::size_t{4} << 20;

/// What a property's value is.
enum class Form : std::uint16_t {
  small = 0x02,
  number = 0x03,
  flag = 0x0B,
  object = 0x0D,
  large = 0x14,
  bytes_text = 0x1E,  ///< in a code page
  text = 0x1F,
  time = 0x40,
  binary = 0x102,
  bytes_texts = 0x101E,
  texts = 0x101F
};

/// True for the id of a node that is an attachment of an item.
constexpr bool is_attachment(std::uint32_t node) {
  constexpr std::uint32_t type_bits = 0x1F;
  constexpr std::uint32_t attachment = 0x05;
  return (node & type_bits) == attachment;
}

/// Properties by their ids; all that are asked for and not there, of another form or damaged are empty
/// answers.
class Properties {
 public:
  Properties() = default;

  /// Those of a node. `code_page` is for texts that do not tell theirs.
  Properties(Blocks& blocks, const NodeBlocks& node, std::uint32_t code_page = 1252);

  /// False when the node holds no properties, or some cannot be read.
  bool is_whole() const { return is_whole_; }
  bool is_empty() const { return values_.empty(); }
  bool has(std::uint16_t id) const { return values_.contains(id); }
  Form form(std::uint16_t id) const;

  /// A text in UTF-8; empty when it is not there or too long.
  std::string text(std::uint16_t id) const;
  std::vector<std::string> texts(std::uint16_t id) const;
  std::optional<std::int32_t> number(std::uint16_t id) const;
  bool flag(std::uint16_t id) const { return number(id).value_or(0) != 0; }
  /// 100 nanoseconds since 1601 began.
  std::optional<std::uint64_t> time(std::uint16_t id) const;
  /// Bytes of any form; no value when there are more than `most`, or they cannot be read.
  std::optional<std::string> bytes(std::uint16_t id, std::size_t most = longest_text) const;

  /// Hands out bytes of any form, however many. False when some are missing.
  bool each(std::uint16_t id, const std::function<void(std::string_view)>& take) const;

  /// The node that a property of the form `object` names, of those in `subnodes`.
  std::optional<NodeBlocks> object(std::uint16_t id) const;

  /// The node's own nodes.
  const Subnodes& subnodes() const { return subnodes_; }

  std::uint32_t code_page() const { return code_page_; }

  /// The subject of an item, without the mark in front that says how long its "Re: " is.
  std::string subject() const;

  /// True when a picture or a file goes with an item.
  bool has_attachments() const;

 private:
  struct Value {
    Form form{};
    std::uint32_t data = 0;
  };
  const Value* find(std::uint16_t id) const;
  std::string decoded(Form form, const std::string& bytes) const;

  Blocks* blocks_ = nullptr;
  std::shared_ptr<Heap> heap_;
  std::map<std::uint16_t, Value> values_;
  Subnodes subnodes_;
  std::uint32_t code_page_ = 1252;
  bool is_whole_ = false;
};

/// A table: rows with properties.
class Table {
 public:
  Table(Blocks& blocks, const NodeBlocks& node, std::uint32_t code_page = 1252);

  /// A row while it is handed out.
  class Row {
   public:
    std::uint32_t id() const { return id_; }
    std::string text(std::uint16_t property) const;
    std::optional<std::int32_t> number(std::uint16_t property) const;

   private:
    friend class Table;
    Row(const Table& table, std::uint32_t id, std::string_view cells)
        : table_(table), id_(id), cells_(cells) {}
    std::string_view cell(std::uint16_t property, Form* form) const;

    const Table& table_;
    std::uint32_t id_;
    std::string_view cells_;
  };

  /// Hands out all rows. False when some cannot be read.
  bool each(const std::function<void(const Row&)>& take) const;

 private:
  struct Column {
    Form form{};
    std::size_t place = 0;
    std::size_t size = 0;
    std::size_t bit = 0;
  };
  void take_head(const std::string& head);

  Blocks& blocks_;
  Heap heap_;
  Subnodes subnodes_;
  std::uint32_t code_page_;
  std::map<std::uint16_t, Column> columns_;
  std::size_t row_size_ = 0;
  std::size_t bits_place_ = 0;  // in a row: which cells are there
  std::uint32_t index_ = 0;
  std::uint32_t rows_ = 0;
  bool is_whole_ = false;
};

}  // namespace pack

#endif
