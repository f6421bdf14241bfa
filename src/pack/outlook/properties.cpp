#include "pack/outlook/properties.h"

#include <algorithm>

#include "pack/disk/bytes.h"
#include "pack/outlook/charsets.h"

namespace pack {

namespace {

constexpr int for_properties = 0xBC;
constexpr int for_a_table = 0x7C;

bool is_in_place(Form form) { return form == Form::small || form == Form::number || form == Form::flag; }

// A piece of the heap, or a node of the same name.
bool is_piece(std::uint32_t id) { return (id & 0x1F) == 0; }

std::string text_in(Form form, std::string_view bytes, std::uint32_t code_page) {
  if (form == Form::text) return text_of_utf16(bytes);
  return form == Form::bytes_text ? text_of_code_page(bytes, code_page) : "";
}

// The code pages of the text itself, then of what it was sent in.
std::uint32_t code_page_of(const Properties& properties, std::uint32_t otherwise) {
  constexpr std::uint16_t message_code_page = 0x3FFD;
  constexpr std::uint16_t internet_code_page = 0x3FDE;
  for (const std::uint16_t id : {message_code_page, internet_code_page})
    if (const auto number = properties.number(id); number && *number > 0 && *number != 1200)
      return static_cast<std::uint32_t>(*number);
  return otherwise;
}

}  // namespace

Properties::Properties(Blocks& blocks, const NodeBlocks& node, std::uint32_t code_page)
    : blocks_(&blocks), code_page_(code_page) {
  is_whole_ = true;
  heap_ = std::make_shared<Heap>(blocks, node.data);
  subnodes_ = subnodes_of(blocks, node.subnodes, &is_whole_);
  if (heap_->use() != for_properties) {
    is_whole_ = false;
    return;
  }
  is_whole_ &= heap_->each(heap_->root(), [&](std::string_view key, std::string_view value) {
    values_[word_at(key, 0)] = {.form = static_cast<Form>(word_at(value, 0)), .data = long_at(value, 2)};
  });
  code_page_ = code_page_of(*this, code_page);
}

const Properties::Value* Properties::find(std::uint16_t id) const {
  const auto found = values_.find(id);
  return found == values_.end() ? nullptr : &found->second;
}

Form Properties::form(std::uint16_t id) const {
  const Value* const value = find(id);
  return value == nullptr ? Form{} : value->form;
}

std::optional<std::string> Properties::bytes(std::uint16_t id, std::size_t most) const {
  const Value* const value = find(id);
  if (value == nullptr || is_in_place(value->form)) return std::nullopt;
  if (value->data == 0) return "";
  if (is_piece(value->data)) {
    auto piece = heap_->piece(value->data);
    return piece && piece->size() <= most ? std::move(piece) : std::nullopt;
  }
  const auto node = subnodes_.find(value->data);
  return node == subnodes_.end() ? std::nullopt : Data(*blocks_, node->second.data).whole(most);
}

bool Properties::each(std::uint16_t id, const std::function<void(std::string_view)>& take) const {
  const Value* const value = find(id);
  if (value == nullptr || is_in_place(value->form)) return false;
  if (value->data == 0) return true;
  if (is_piece(value->data)) {
    const auto piece = heap_->piece(value->data);
    if (piece) take(*piece);
    return piece.has_value();
  }
  const auto node = subnodes_.find(value->data);
  return node != subnodes_.end() && Data(*blocks_, node->second.data).each(take);
}

std::string Properties::text(std::uint16_t id) const {
  const auto bytes = this->bytes(id);
  return bytes ? text_in(form(id), *bytes, code_page_) : "";
}

// A count, the places of the texts, the texts.
std::vector<std::string> Properties::texts(std::uint16_t id) const {
  const auto bytes = this->bytes(id);
  const Form form = this->form(id);
  std::vector<std::string> all;
  if (!bytes || (form != Form::texts && form != Form::bytes_texts)) return all;
  const std::size_t count = std::min<std::size_t>(long_at(*bytes, 0), bytes->size() / 4);
  for (std::size_t number = 0; number < count; ++number) {
    const std::size_t begin = long_at(*bytes, 4 + number * 4);
    const std::size_t end = number + 1 < count ? long_at(*bytes, 8 + number * 4) : bytes->size();
    if (begin > end) continue;
    all.push_back(text_in(form == Form::texts ? Form::text : Form::bytes_text,
                          part_of(*bytes, begin, end - begin), code_page_));
  }
  return all;
}

std::optional<std::int32_t> Properties::number(std::uint16_t id) const {
  const Value* const value = find(id);
  if (value == nullptr || !is_in_place(value->form)) return std::nullopt;
  if (value->form == Form::number) return static_cast<std::int32_t>(value->data);
  if (value->form == Form::flag) return (value->data & 0xFF) != 0 ? 1 : 0;
  return static_cast<std::int16_t>(value->data & 0xFFFF);
}

std::optional<std::uint64_t> Properties::time(std::uint16_t id) const {
  constexpr std::size_t size = 8;
  if (form(id) != Form::time) return std::nullopt;
  const auto bytes = this->bytes(id, size);
  return bytes && bytes->size() == size ? std::optional(number_at(*bytes, 0, size)) : std::nullopt;
}

std::optional<NodeBlocks> Properties::object(std::uint16_t id) const {
  const auto bytes = form(id) == Form::object ? this->bytes(id) : std::nullopt;
  const auto node = bytes ? subnodes_.find(long_at(*bytes, 0)) : subnodes_.end();
  return node == subnodes_.end() ? std::nullopt : std::optional(node->second);
}

std::string Properties::subject() const {
  constexpr std::uint16_t subject = 0x0037;
  std::string text = this->text(subject);
  if (text.starts_with('\x01')) text.erase(0, 2);
  return text;
}

bool Properties::has_attachments() const {
  return std::ranges::any_of(subnodes_, [](const auto& node) { return is_attachment(node.first); });
}

Table::Table(Blocks& blocks, const NodeBlocks& node, std::uint32_t code_page)
    : blocks_(blocks), heap_(blocks, node.data), code_page_(code_page) {
  is_whole_ = heap_.use() == for_a_table;
  if (!is_whole_) return;
  subnodes_ = subnodes_of(blocks, node.subnodes, &is_whole_);
  const auto head = heap_.piece(heap_.root());
  if (head) take_head(*head);
  is_whole_ &= row_size_ > 0;
}

void Table::take_head(const std::string& head) {
  constexpr std::size_t first_column = 22;
  constexpr std::size_t column_size = 8;
  bits_place_ = word_at(head, 6);  // behind the cells of one byte
  row_size_ = word_at(head, 8);
  index_ = long_at(head, 10);
  rows_ = long_at(head, 14);
  const std::size_t count = number_at(head, 1, 1);
  for (std::size_t number = 0; number < count; ++number) {
    const std::string_view column = part_of(head, first_column + number * column_size, column_size);
    columns_[word_at(column, 2)] = {.form = static_cast<Form>(word_at(column, 0)),
                                    .place = word_at(column, 4),
                                    .size = number_at(column, 6, 1),
                                    .bit = number_at(column, 7, 1)};
  }
}

// Rows do not go over the end of a block.
bool Table::each(const std::function<void(const Row&)>& take) const {
  if (!is_whole_) return false;
  std::vector<std::pair<std::uint64_t, std::uint32_t>> ids;  // by the rows' numbers
  bool is_whole = heap_.each(index_, [&](std::string_view key, std::string_view value) {
    ids.emplace_back(number_at(value, 0, value.size()), long_at(key, 0));
  });
  std::ranges::sort(ids);
  auto next = ids.begin();
  std::uint64_t first = 0;  // row of the block
  const auto take_block = [&](std::string_view rows) {
    const std::uint64_t count = rows.size() / row_size_;
    for (; next != ids.end() && next->first < first + count; ++next)
      take(Row(*this, next->second, rows.substr((next->first - first) * row_size_, row_size_)));
    first += count;
  };
  if (rows_ != 0 && is_piece(rows_)) {
    const auto rows = heap_.piece(rows_);
    if (rows) take_block(*rows);
  } else if (const auto node = subnodes_.find(rows_); node != subnodes_.end()) {
    is_whole &= Data(blocks_, node->second.data).each(take_block);
  }
  return is_whole && next == ids.end();
}

std::string_view Table::Row::cell(std::uint16_t property, Form* form) const {
  const auto column = table_.columns_.find(property);
  if (column == table_.columns_.end()) return "";
  const auto& [cell_form, place, size, bit] = column->second;
  const std::uint64_t bits = number_at(cells_, table_.bits_place_ + bit / 8, 1);
  if ((bits & (0x80U >> (bit % 8))) == 0) return "";
  *form = cell_form;
  return part_of(cells_, place, size);
}

std::optional<std::int32_t> Table::Row::number(std::uint16_t property) const {
  Form form{};
  const std::string_view bytes = cell(property, &form);
  if (bytes.empty() || !is_in_place(form)) return std::nullopt;
  return static_cast<std::int32_t>(number_at(bytes, 0, bytes.size()));
}

std::string Table::Row::text(std::uint16_t property) const {
  Form form{};
  const std::uint32_t id = long_at(cell(property, &form), 0);
  if (id == 0 || (form != Form::text && form != Form::bytes_text)) return "";
  if (is_piece(id)) return text_in(form, table_.heap_.piece(id).value_or(""), table_.code_page_);
  const auto node = table_.subnodes_.find(id);
  if (node == table_.subnodes_.end()) return "";
  return text_in(form, Data(table_.blocks_, node->second.data).whole(longest_text).value_or(""),
                 table_.code_page_);
}

}  // namespace pack
