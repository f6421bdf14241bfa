#include "pack/pst_file.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace pst {

namespace {

std::string little(std::uint64_t number, std::size_t size) {
  std::string bytes;
  for (std::size_t byte = 0; byte < size; ++byte) bytes += static_cast<char>(number >> (8 * byte));
  return bytes;
}

void put(std::string& bytes, std::size_t at, std::uint64_t number, std::size_t size) {
  bytes.replace(at, size, little(number, size));
}

std::string utf16(std::string_view text) {
  std::string wide;
  for (std::size_t at = 0; at < text.size();) {
    const auto byte = [&](std::size_t i) {
      return static_cast<unsigned>(static_cast<unsigned char>(text[at + i]));
    };
    const std::size_t size = byte(0) >= 0xF0 ? 4 : byte(0) >= 0xE0 ? 3 : byte(0) >= 0xC0 ? 2 : 1;
    unsigned code = size == 1 ? byte(0) : byte(0) & (0xFFU >> (size + 1));
    for (std::size_t i = 1; i < size; ++i) code = code << 6 | (byte(i) & 0x3F);
    if (code >= 0x10000) {
      wide += little(0xD800 + ((code - 0x10000) >> 10), 2);
      code = 0xDC00 + ((code - 0x10000) & 0x3FF);
    }
    wide += little(code, 2);
    at += size;
  }
  return wide;
}

std::uint32_t sum_of(std::string_view bytes) {
  std::uint32_t sum = 0;
  for (const char c : bytes) {
    sum ^= static_cast<unsigned char>(c);
    for (int bit = 0; bit < 8; ++bit) sum = (sum & 1) != 0 ? sum >> 1 ^ 0xEDB88320U : sum >> 1;
  }
  return sum;
}

std::uint64_t signature(std::uint64_t place, std::uint64_t id) {
  const auto both = static_cast<std::uint32_t>(place ^ id);
  return (both >> 16 ^ both) & 0xFFFF;
}

// The two ciphers' tables, as they are published: which byte stands for each.
using Table = std::array<unsigned char, 256>;

Table table(std::string_view hexadecimal) {
  Table bytes{};
  for (std::size_t i = 0; i < bytes.size(); ++i)
    bytes[i] = static_cast<unsigned char>(std::stoi(std::string(hexadecimal.substr(2 * i, 2)), nullptr, 16));
  return bytes;
}

const Table first_table = table(
    "41361362a8216ebbf416cc047f64e85d1ef2cb2a74c55e35d295479e962d9a884c7d843fdbac31b6485ff6c4d8398be7"
    "233b388ec8c1df25b120a546604e9cfbaad35651457c550007c92b9d859b09a08fadb30f63ab894bd7a7155a716642bf"
    "264a6b98faea7753b270052cfd593a867ece06eb827857c78d43afb41cd45bcde2e9274fc3087280cfb0eff5286dbe30"
    "4d3492d50e3c2232e5e4f99fc2d10a8112e1ee918376e397e6618a1779a4b7dc907a5c8c02a6ca69de501a1193b95287"
    "58fced1d37491b6ae0293399bd6cd994f340546ff0c673b8d63e6518441fdd6710f10c19ecae03a1147ba90bfff8a3c0"
    "a201f72ebc2468750dfeba2fb5d0da3d");

const Table second_table = table(
    "14530f56b3c87a9ceb65481716159f02cc547c83000d0c0ba262a876dbd9edc7c5a4dcac8574d6d0a79bae9a967166c3"
    "6399b8dd73928e847da55ed15d93b1575150808952944f4e0a6bbc8d7f6e47464140440111cb033ff7f4e1a98f3c3af9"
    "fbf0193082092ec99da08649ee6f4d6dc42d813425871b88aafc06a11238fd4c4272641337246a757743ffe6b44b365c"
    "e4d8353d45b92cecb7312b290768a30e697b189e2139be281a5b78f523ca2ab0af3efe048ce7e5983295d3f64ae8a6ea"
    "e9f3d52f7020f21f0567ad5510cecde3273bdabad7c226d4911dd21c2233f8faf15aefcf90b68bb5bdc0bf08971e6ce2"
    "61e0c6c159abbb58de5fdf60797eb28a");

Table inverse(const Table& table) {
  Table other{};
  for (std::size_t i = 0; i < table.size(); ++i) other[table[i]] = static_cast<unsigned char>(i);
  return other;
}

std::string compressed(const std::string& data) {
  uLongf size = compressBound(data.size());
  std::string bytes(size, '\0');
  if (compress(reinterpret_cast<Bytef*>(bytes.data()), &size, reinterpret_cast<const Bytef*>(data.data()),
               data.size()) != Z_OK)
    throw std::runtime_error("zlib");
  bytes.resize(size);
  return bytes.size() < data.size() ? bytes : data;
}

constexpr std::uint16_t type_number = 3, type_flag = 0xB, type_object = 0xD, type_ansi = 0x1E,
                        type_text = 0x1F, type_time = 0x40, type_binary = 0x102, type_texts = 0x101F,
                        type_ansi_texts = 0x101E;

// A heap in the making: small pieces, in as many blocks as it takes.
class Heap {
 public:
  /// An id has so many bits for the number of a piece in its block.
  Heap(char use, int number_bits) : use_(use), number_bits_(number_bits) { blocks_.emplace_back(12, '\0'); }

  std::uint32_t add(const std::string& piece) {
    constexpr std::size_t room = 7000;
    if (blocks_.back().size() + piece.size() > room) {
      blocks_.emplace_back(2, '\0');
      places_.emplace_back();
    }
    std::vector<std::size_t>& places = places_.back();
    if (places.empty()) places.push_back(blocks_.back().size());
    blocks_.back() += piece;
    places.push_back(blocks_.back().size());
    return static_cast<std::uint32_t>((blocks_.size() - 1) << (5 + number_bits_) | (places.size() - 1) << 5);
  }

  std::vector<std::string> finish(std::uint32_t root) {
    for (std::size_t number = 0; number < blocks_.size(); ++number) {
      std::string& block = blocks_[number];
      std::vector<std::size_t>& places = places_[number];
      if (places.empty()) places.push_back(block.size());
      if (block.size() % 2 != 0) block += '\0';
      put(block, 0, block.size(), 2);
      block += little(places.size() - 1, 2) + little(0, 2);
      for (const std::size_t place : places) block += little(place, 2);
    }
    blocks_[0][2] = '\xEC';
    blocks_[0][3] = use_;
    put(blocks_[0], 4, root, 4);
    return blocks_;
  }

  // An index: keys with values, sorted.
  std::uint32_t add_index(const std::vector<std::string>& records, std::size_t key, std::size_t value) {
    constexpr std::size_t most = 3500;
    std::vector<std::string> level = records;
    std::size_t size = key + value;
    int levels = 0;
    std::uint32_t root = 0;
    for (;;) {
      std::vector<std::string> above;
      std::string piece;
      std::string first;
      const auto end_piece = [&] {
        if (piece.empty()) return;
        root = add(piece);
        above.push_back(first + little(root, 4));
        piece.clear();
      };
      for (const std::string& record : level) {
        if (piece.size() + size > most) end_piece();
        if (piece.empty()) first = record.substr(0, key);
        piece += record;
      }
      end_piece();
      if (above.size() <= 1) break;
      level = above;
      size = key + 4;
      ++levels;
    }
    return add(std::string("\xB5") + little(key, 1) + little(value, 1) +
               little(static_cast<unsigned>(levels), 1) + little(root, 4));
  }

 private:
  char use_;
  int number_bits_;
  std::vector<std::string> blocks_;
  std::vector<std::vector<std::size_t>> places_{{}};
};

}  // namespace

Property text(std::uint16_t id, std::string_view value) { return {id, type_text, utf16(value)}; }
Property ansi(std::uint16_t id, std::string_view value) { return {id, type_ansi, std::string(value)}; }
Property number(std::uint16_t id, std::int32_t value) {
  return {id, type_number, little(static_cast<std::uint32_t>(value), 4)};
}
Property flag(std::uint16_t id, bool value) { return {id, type_flag, little(value ? 1 : 0, 1)}; }
Property binary(std::uint16_t id, std::string value) { return {id, type_binary, std::move(value)}; }
Property time(std::uint16_t id, std::int64_t value) {
  return {id, type_time, little(static_cast<std::uint64_t>(value + 11644473600) * 10000000, 8)};
}
namespace {

std::string listed(const std::vector<std::string>& values) {
  std::string head = little(values.size(), 4);
  std::string data;
  for (const std::string& value : values) {
    head += little(4 + 4 * values.size() + data.size(), 4);
    data += value;
  }
  return head + data;
}

}  // namespace

Property texts(std::uint16_t id, const std::vector<std::string>& values) {
  std::vector<std::string> wide;
  for (const std::string& value : values) wide.push_back(utf16(value));
  return {id, type_texts, listed(wide)};
}
Property ansi_texts(std::uint16_t id, const std::vector<std::string>& values) {
  return {id, type_ansi_texts, listed(values)};
}

struct File::Node {
  std::uint64_t data = 0;
  std::uint64_t subnodes = 0;
};

std::string File::id_bytes(std::uint64_t id) const { return little(id, is_wide() ? 8 : 4); }

std::uint16_t File::named(int set, std::uint32_t number) {
  for (const auto& [name, id] : names_)
    if (name == std::pair(set, number)) return id;
  const auto id = static_cast<std::uint16_t>(0x8000 + next_name_++);
  names_.push_back({{set, number}, id});
  return id;
}

std::uint16_t File::named(const std::string& name) {
  const auto found = strings_.find(name);
  if (found != strings_.end()) return found->second;
  const auto id = static_cast<std::uint16_t>(0x8000 + next_name_++);
  name_order_.push_back(name);
  return strings_[name] = id;
}

std::string File::enciphered(std::string data, std::uint64_t id) const {
  if (cipher == permutation)
    for (char& c : data) c = static_cast<char>(first_table[static_cast<unsigned char>(c)]);
  if (cipher == cyclic) {
    static const Table third_table = inverse(first_table);
    auto key = static_cast<std::uint16_t>(id ^ id >> 16);
    for (char& c : data) {
      const auto low = static_cast<unsigned char>(key);
      const auto high = static_cast<unsigned char>(key >> 8);
      auto byte = static_cast<unsigned char>(static_cast<unsigned char>(c) + low);
      byte = static_cast<unsigned char>(first_table[byte] + high);
      byte = static_cast<unsigned char>(second_table[byte] - high);
      c = static_cast<char>(third_table[byte] - low);
      ++key;
    }
  }
  return data;
}

// Bytes, room to the next 64, and a trailer. With pages of 4K blocks are compressed, and end at multiples of
// 512.
std::uint64_t File::add_block(std::string data, bool is_list) {
  const std::uint64_t id = next_block_ | (is_list ? 2 : 0);
  next_block_ += 4;
  const bool has_4k = form_ == pages_of_4k;
  const std::size_t trailer = has_4k ? 24 : is_wide() ? 16 : 12;
  const std::size_t unit = has_4k ? 512 : 64;
  const std::size_t place = file_.size();
  const std::size_t whole_size = data.size();
  if (!is_list) data = enciphered(std::move(data), id);
  if (has_4k) data = compressed(data);
  const std::size_t size = data.size();
  const std::uint32_t sum = sum_of(data);
  data.resize((size + trailer + unit - 1) / unit * unit - trailer, '\0');
  file_ += data + little(size, 2) + little(signature(place, id), 2);
  file_ += is_wide() ? little(sum, 4) + little(id, 8) : little(id, 4) + little(sum, 4);
  if (has_4k) file_ += little(0, 2) + little(whole_size, 2) + little(0, 4);
  block_entries_[id] = id_bytes(id) + id_bytes(place) + little(size, 2) + little(has_4k ? whole_size : 2, 2);
  if (is_wide()) block_entries_[id] += little(has_4k ? 2 : 0, 4);
  blocks.push_back({.at = place, .size = size});
  return id;
}

std::uint64_t File::add_blocks(const std::vector<std::string>& parts) {
  constexpr std::size_t most_in_list = 1000;
  if (parts.size() == 1) return add_block(parts.front(), false);
  std::vector<std::uint64_t> ids;
  std::vector<std::uint64_t> sizes;
  for (const std::string& part : parts) {
    ids.push_back(add_block(part, false));
    sizes.push_back(part.size());
  }
  for (int level = 1; ids.size() > 1 || level == 1; ++level) {
    std::vector<std::uint64_t> above;
    std::vector<std::uint64_t> sums;
    for (std::size_t begin = 0; begin < ids.size(); begin += most_in_list) {
      const std::size_t end = std::min(begin + most_in_list, ids.size());
      std::uint64_t sum = 0;
      std::string list;
      for (std::size_t i = begin; i < end; ++i) {
        list += id_bytes(ids[i]);
        sum += sizes[i];
      }
      above.push_back(add_block(little(1, 1) + little(static_cast<unsigned>(level), 1) +
                                    little(end - begin, 2) + little(sum, 4) + list,
                                true));
      sums.push_back(sum);
    }
    ids = above;
    sizes = sums;
  }
  return ids.front();
}

std::uint64_t File::add_data(const std::string& data) {
  const std::size_t most = form_ == pages_of_4k ? 65512 : 8176;
  std::vector<std::string> parts;
  for (std::size_t at = 0; at < data.size() || parts.empty(); at += most)
    parts.push_back(data.substr(at, most));
  return add_blocks(parts);
}

std::uint64_t File::add_subnodes(const std::map<std::uint32_t, Node>& nodes) {
  if (nodes.empty()) return 0;
  constexpr std::size_t most = 300;
  std::vector<std::pair<std::uint32_t, std::uint64_t>> lists;
  std::string list;
  std::size_t count = 0;
  std::uint32_t first = 0;
  const auto pad = is_wide() ? little(0, 4) : std::string();
  const auto end_list = [&] {
    if (count > 0)
      lists.emplace_back(first, add_block(little(2, 1) + little(0, 1) + little(count, 2) + pad + list, true));
    list.clear();
    count = 0;
  };
  for (const auto& [id, node] : nodes) {
    if (count == most) end_list();
    if (count == 0) first = id;
    list += id_bytes(id) + id_bytes(node.data) + id_bytes(node.subnodes);
    ++count;
  }
  end_list();
  if (lists.size() == 1) return lists.front().second;
  std::string above;
  for (const auto& [id, block] : lists) above += id_bytes(id) + id_bytes(block);
  return add_block(little(2, 1) + little(1, 1) + little(lists.size(), 2) + pad + above, true);
}

File::Node File::properties_node(const Properties& properties, std::map<std::uint32_t, Node> subnodes) {
  constexpr std::size_t most_in_heap = 2000;
  Heap heap('\xBC', bits_of_pieces());
  std::map<std::uint16_t, std::string> records;
  for (const Property& property : properties) {
    std::string value = property.data;
    if (value.size() > 4 || property.type == type_binary || property.type == type_text ||
        property.type == type_ansi || property.type == type_texts || property.type == type_ansi_texts) {
      std::uint32_t where = 0;
      if (value.size() > most_in_heap) {
        where = next_subnode_++ << 5 | 0x1F;
        subnodes[where] = {.data = add_data(value), .subnodes = 0};
      } else if (!value.empty()) {
        where = heap.add(value);
      }
      value = little(where, 4);
    }
    value.resize(4, '\0');
    records[property.id] = little(property.id, 2) + little(property.type, 2) + value;
  }
  std::vector<std::string> sorted;
  for (const auto& [id, record] : records) sorted.push_back(record);
  const std::uint32_t root = heap.add_index(sorted, 2, 6);
  return {.data = add_blocks(heap.finish(root)), .subnodes = add_subnodes(subnodes)};
}

File::Node File::table_node(const std::vector<std::pair<std::uint32_t, Properties>>& rows,
                            Properties columns) {
  columns.insert(columns.begin(), {number(0x67F2, 0), number(0x67F3, 0)});
  for (const auto& [id, properties] : rows)
    for (const Property& property : properties)
      if (std::ranges::find(columns, property.id, &Property::id) == columns.end())
        columns.push_back(property);
  struct Column {
    Property property;
    std::size_t place, size, bit;
  };
  std::vector<Column> all;
  const auto size_of = [](const Property& property) -> std::size_t {
    return property.type == type_flag ? 1 : property.type == type_time ? 8 : 4;
  };
  std::size_t place = 0;
  std::array<std::size_t, 4> ends{};
  for (const std::size_t size : {8U, 4U, 1U}) {
    // The row's own number comes first.
    if (size == 8) {
      all.push_back({columns[0], 0, 4, 0});
      all.push_back({columns[1], 4, 4, 1});
      place = 8;
    }
    for (std::size_t i = 2; i < columns.size(); ++i)
      if (size_of(columns[i]) == size) {
        all.push_back({columns[i], place, size, all.size()});
        place += size;
      }
    if (size == 4) ends[0] = ends[1] = place;
    if (size == 1) ends[2] = place;
  }
  const std::size_t bits = (all.size() + 7) / 8;
  ends[3] = place + bits;
  Heap heap('\x7C', bits_of_pieces());
  std::vector<std::string> index;
  std::vector<std::string> row_blocks(1);
  const std::size_t rows_in_block = 8176 / ends[3];
  std::size_t count = 0;
  for (const auto& [id, properties] : rows) {
    std::string row(ends[3], '\0');
    put(row, 0, id, 4);
    row[ends[2]] = '\xC0';
    for (const Property& property : properties) {
      const auto column = std::ranges::find(all, property.id, [](const Column& c) { return c.property.id; });
      std::string value = property.data;
      if (property.type == type_text || property.type == type_ansi || property.type == type_binary)
        value = little(value.empty() ? 0 : heap.add(value), 4);
      row.replace(column->place, column->size, value);
      char& byte = row[ends[2] + column->bit / 8];
      byte = static_cast<char>(byte | 0x80 >> column->bit % 8);
    }
    index.push_back(little(id, 4) + little(count, is_wide() ? 4 : 2));
    if (count > 0 && count % rows_in_block == 0) row_blocks.emplace_back();
    row_blocks.back() += row;
    ++count;
  }
  std::ranges::sort(index, [](const std::string& one, const std::string& other) {
    return std::lexicographical_compare(one.rbegin() + 4, one.rend(), other.rbegin() + 4, other.rend());
  });
  const std::uint32_t index_id = heap.add_index(index, 4, is_wide() ? 4 : 2);
  std::map<std::uint32_t, Node> subnodes;
  std::uint32_t rows_id = 0;
  if (row_blocks.size() > 1 || row_blocks.front().size() > 3000) {
    rows_id = next_subnode_++ << 5 | 0x1F;
    subnodes[rows_id] = {.data = add_blocks(row_blocks), .subnodes = 0};
  } else if (!row_blocks.front().empty()) {
    rows_id = heap.add(row_blocks.front());
  }
  std::ranges::sort(
      all, {}, [](const Column& c) { return static_cast<unsigned>(c.property.id) << 16 | c.property.type; });
  std::string head = "\x7C" + little(all.size(), 1);
  for (const std::size_t end : ends) head += little(end, 2);
  head += little(index_id, 4) + little(rows_id, 4) + little(0, 4);
  for (const Column& column : all)
    head += little(column.property.type, 2) + little(column.property.id, 2) + little(column.place, 2) +
            little(column.size, 1) + little(column.bit, 1);
  const std::uint32_t root = heap.add(head);
  return {.data = add_blocks(heap.finish(root)), .subnodes = add_subnodes(subnodes)};
}

File::Node File::item_node(const Item& item) {
  std::map<std::uint32_t, Node> subnodes;
  std::vector<std::pair<std::uint32_t, Properties>> rows;
  for (const Properties& recipient : item.recipients)
    rows.emplace_back(static_cast<std::uint32_t>(rows.size()), recipient);
  if (!rows.empty()) subnodes[0x692] = table_node(rows);
  std::vector<std::pair<std::uint32_t, Properties>> list;
  for (const Attachment& attachment : item.attachments) {
    const std::uint32_t id = next_subnode_++ << 5 | 0x05;
    list.emplace_back(id, Properties{number(0x0E20, 0)});
    Properties properties = attachment.properties;
    std::map<std::uint32_t, Node> within;
    if (!attachment.message.empty()) {
      const std::uint32_t message = next_subnode_++ << 5 | 0x04;
      within[message] = item_node(attachment.message.front());
      properties.push_back({0x3701, type_object, little(message, 4) + little(1000, 4)});
    }
    if (!attachment.object.empty()) {
      const std::uint32_t object = next_subnode_++ << 5 | 0x1F;
      within[object] = {.data = add_data(attachment.object), .subnodes = 0};
      properties.push_back({0x3701, type_object, little(object, 4) + little(attachment.object.size(), 4)});
    }
    subnodes[id] = properties_node(properties, within);
  }
  if (!list.empty()) subnodes[0x671] = table_node(list);
  Properties properties = item.properties;
  if (!item.attachments.empty() && std::ranges::find(properties, 0x0E07, &Property::id) == properties.end())
    properties.push_back(number(0x0E07, 0x10));
  return properties_node(properties, subnodes);
}

void File::add_folder(const Folder& folder, std::uint32_t id, std::uint32_t parent,
                      const Properties& further) {
  const auto add_node = [&](std::uint32_t node_id, const Node& node, std::uint32_t above) {
    node_entries_[node_id] =
        id_bytes(node_id) + id_bytes(node.data) + id_bytes(node.subnodes) + little(above, 4);
    if (is_wide()) node_entries_[node_id] += little(0, 4);
  };
  Properties properties{text(0x3001, folder.name), number(0x3602, static_cast<int>(folder.items.size())),
                        number(0x3603, 0), flag(0x360A, !folder.folders.empty())};
  if (!folder.container.empty()) properties.push_back(text(0x3613, folder.container));
  properties.insert(properties.end(), further.begin(), further.end());
  properties.insert(properties.end(), folder.properties.begin(), folder.properties.end());
  add_node(id, properties_node(properties), parent);
  std::vector<std::pair<std::uint32_t, Properties>> rows;
  for (const Item& item : folder.items) {
    const std::uint32_t item_id = next_item_++ << 5 | 0x04;
    add_node(item_id, item_node(item), id);
    Properties row;
    for (const Property& property : item.properties)
      if (property.id == 0x001A || property.id == 0x0E07 || property.id == 0x0E08) row.push_back(property);
    rows.emplace_back(item_id, row);
  }
  for (const Item& item : folder.unlisted) add_node(next_item_++ << 5 | 0x04, item_node(item), id);
  if (folder.has_contents) add_node((id & ~0x1FU) | 0x0E, table_node(rows), 0);
}

std::pair<std::uint64_t, std::uint64_t> File::add_tree(
    const std::vector<std::pair<std::uint64_t, std::string>>& entries, int type, std::size_t entry_size) {
  const bool has_4k = form_ == pages_of_4k;
  const std::size_t page = has_4k ? 4096 : 512;
  const std::size_t room = has_4k ? 4056 : is_wide() ? 488 : 496;
  const std::size_t count_size = has_4k ? 2 : 1;
  std::vector<std::pair<std::uint64_t, std::string>> level = entries;
  std::size_t size = entry_size;
  for (int number = 0;; ++number) {
    std::vector<std::pair<std::uint64_t, std::string>> above;
    std::pair<std::uint64_t, std::uint64_t> last;
    const std::size_t most = room / size;
    for (std::size_t begin = 0; begin < level.size() || above.empty(); begin += most) {
      const std::size_t end = std::min(begin + most, level.size());
      std::string bytes;
      for (std::size_t i = begin; i < end; ++i) bytes += level[i].second;
      bytes.resize(room, '\0');
      bytes += little(end - begin, count_size) + little(most, count_size) + little(size, 1) +
               little(static_cast<unsigned>(number), 1);
      file_.resize((file_.size() + page - 1) / page * page, '\0');
      const std::uint64_t place = file_.size();
      const std::uint64_t id = next_page_;
      next_page_ += 4;
      if (is_wide()) bytes += std::string(has_4k ? 10 : 4, '\0');
      const std::uint32_t sum = sum_of(bytes);
      bytes += little(static_cast<unsigned>(type), 1) + little(static_cast<unsigned>(type), 1) +
               little(signature(place, id), 2);
      bytes += is_wide() ? little(sum, 4) + little(id, 8) : little(id, 4) + little(sum, 4);
      if (has_4k) bytes += little(0, 8);
      file_ += bytes;
      pages.push_back(place);
      above.emplace_back(level.empty() ? 0 : level[begin].first,
                         id_bytes(level.empty() ? 0 : level[begin].first) + id_bytes(id) + id_bytes(place));
      last = {id, place};
    }
    if (above.size() == 1) return last;
    level = above;
    size = is_wide() ? 24 : 12;
  }
}

std::string File::bytes() {
  file_.assign(0x4600, '\0');
  next_block_ = 4;
  next_page_ = 0x1000;
  next_item_ = 0x10000;
  next_subnode_ = 0x400;
  block_entries_.clear();
  node_entries_.clear();
  blocks.clear();
  pages.clear();
  const auto add_node = [&](std::uint32_t id, const Node& node, std::uint32_t parent) {
    node_entries_[id] = id_bytes(id) + id_bytes(node.data) + id_bytes(node.subnodes) + little(parent, 4);
    if (is_wide()) node_entries_[id] += little(0, 4);
  };
  constexpr std::uint32_t root = 0x122;
  constexpr std::uint32_t top = 0x8022;
  constexpr std::uint32_t first = 0x8082;
  const auto folder_id = [&](std::size_t number) {
    return first + static_cast<std::uint32_t>(number) * 0x20;
  };
  const std::string key(16, 'K');
  const auto entry_id = [&](std::uint32_t id) { return little(0, 4) + key + little(id, 4); };
  Properties store{text(0x3001, "Outlook Data File"), binary(0x0FF9, key), number(0x35DF, 0x89),
                   binary(0x35E0, entry_id(top))};
  if (outbox) store.push_back(binary(0x35E2, entry_id(folder_id(*outbox))));
  if (deleted) store.push_back(binary(0x35E3, entry_id(folder_id(*deleted))));
  if (sent) store.push_back(binary(0x35E4, entry_id(folder_id(*sent))));
  add_node(0x21, properties_node(store), 0);
  // Names of properties.
  std::vector<int> sets;
  std::string entries;
  std::string strings;
  const auto set_number = [&](int set) {
    auto found = std::ranges::find(sets, set);
    if (found == sets.end()) found = sets.insert(sets.end(), set);
    return static_cast<unsigned>(found - sets.begin()) + 3;
  };
  for (const auto& [name, id] : names_)
    entries += little(name.second, 4) + little(set_number(name.first) << 1, 2) + little(id - 0x8000U, 2);
  for (const std::string& name : name_order_) {
    entries += little(strings.size(), 4) + little(2 << 1 | 1, 2) + little(strings_.at(name) - 0x8000U, 2);
    const std::string wide = utf16(name);
    strings += little(wide.size(), 4) + wide;
    strings.resize((strings.size() + 3) / 4 * 4, '\0');
  }
  std::string guids;
  for (const int set : sets)
    guids += set == meeting_set
                 ? std::string("\x90\xDA\xD8\x6E\x0B\x45\x1B\x10\x98\xDA\0\xAA\0\x3F\x13\x05", 16)
                 : little(0x00062000U + static_cast<unsigned>(set), 4) + std::string(4, '\0') + "\xC0" +
                       std::string(6, '\0') + "\x46";
  add_node(0x61, properties_node({number(1, 251), binary(2, guids), binary(3, entries), binary(4, strings)}),
           0);
  // Folders.
  Folder above{.name = "", .container = ""};
  add_folder(above, root, root, {});
  above.name = "Top of Outlook data file";
  above.items = at_top;
  add_folder(above, top, root, {});
  std::uint32_t next = folder_id(folders.size());
  const auto add_all = [&](const auto& self, const Folder& folder, std::uint32_t id, std::uint32_t parent,
                           const Properties& further) -> void {
    add_folder(folder, id, parent, further);
    for (const Folder& below : folder.folders) {
      const std::uint32_t below_id = next;
      next += 0x20;
      self(self, below, below_id, id, {});
    }
  };
  for (std::size_t number = 0; number < folders.size(); ++number) {
    Properties further;
    if (inbox == number && drafts) further.push_back(binary(0x36D7, entry_id(folder_id(*drafts))));
    if (inbox == number) further.push_back(binary(0x36D0, entry_id(top)));
    add_all(add_all, folders[number], folder_id(number), top, further);
  }
  // The two indexes, and the head.
  std::vector<std::pair<std::uint64_t, std::string>> list(block_entries_.begin(), block_entries_.end());
  const auto block_tree = add_tree(list, 0x80, is_wide() ? 24 : 12);
  list.assign(node_entries_.begin(), node_entries_.end());
  const auto node_tree = add_tree(list, 0x81, is_wide() ? 32 : 16);
  file_.replace(0, 4, "!BDN");
  file_.replace(8, 2, "SM");
  put(file_, 10,
      static_cast<std::uint64_t>(version.value_or(form_ == pages_of_4k ? 36
                                                  : is_wide()          ? 23
                                                                       : 14)),
      2);
  put(file_, 12, 19, 2);
  put(file_, 14, 0x0101, 2);
  const std::size_t id = is_wide() ? 8 : 4;
  const std::size_t size_place = is_wide() ? 0xB8 : 0xA8;
  const std::size_t trees = is_wide() ? 0xD8 : 0xB8;
  put(file_, size_place, file_.size(), id);
  put(file_, trees, node_tree.first, id);
  put(file_, trees + id, node_tree.second, id);
  put(file_, trees + 2 * id, block_tree.first, id);
  put(file_, trees + 3 * id, block_tree.second, id);
  put(file_, trees + 4 * id, 2, 1);
  const std::size_t sentinel = is_wide() ? 0x200 : 0x1CC;
  file_[sentinel] = '\x80';
  file_[sentinel + 1] = static_cast<char>(cipher);
  put(file_, 4, sum_of(std::string_view(file_).substr(8, 471)), 4);
  if (is_wide()) put(file_, 524, sum_of(std::string_view(file_).substr(8, 516)), 4);
  return file_;
}

std::optional<std::size_t> File::block_with(std::string_view text, std::string_view bytes) const {
  for (std::size_t number = 0; number < blocks.size(); ++number)
    if (bytes.substr(blocks[number].at, blocks[number].size).find(text) != std::string_view::npos)
      return number;
  return std::nullopt;
}

}  // namespace pst
