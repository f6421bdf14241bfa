#include "pack/outlook/store.h"

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <span>
#include <utility>

#include "pack/disk/bytes.h"
#include "pack/outlook/charsets.h"

namespace pack {

namespace {

// Nodes of one name in all files.
constexpr std::uint32_t the_store = 0x21;
constexpr std::uint32_t names_of_properties = 0x61;
constexpr std::uint32_t root_folder = 0x122;

// What a node is stands in the lowest bits of its id.
constexpr std::uint32_t type_bits = 0x1F;
constexpr std::uint32_t folder_type = 0x02;
constexpr std::uint32_t message_type = 0x04;
constexpr std::uint32_t contents_type = 0x0E;

namespace id {
constexpr std::uint16_t message_class = 0x001A;
constexpr std::uint16_t message_size = 0x0E08;
constexpr std::uint16_t display_name = 0x3001;
constexpr std::uint16_t top_of_folders = 0x35E0;
constexpr std::uint16_t outbox = 0x35E2;
constexpr std::uint16_t deleted_items = 0x35E3;
constexpr std::uint16_t sent_items = 0x35E4;
constexpr std::uint16_t container_class = 0x3613;
constexpr std::uint16_t calendar = 0x36D0;
constexpr std::uint16_t drafts = 0x36D7;
constexpr std::uint16_t guids = 0x0002;
constexpr std::uint16_t entries = 0x0003;
constexpr std::uint16_t strings = 0x0004;
}  // namespace id

// In an entry id.
std::uint32_t node_named(const Properties& properties, std::uint16_t property) {
  constexpr std::size_t size = 24;
  const auto bytes = properties.bytes(property, size);
  return bytes && bytes->size() == size ? long_at(*bytes, size - 4) : 0;
}

struct Class {
  std::string_view begin;
  ItemKind kind;
};
constexpr std::array classes{Class{"IPM.Contact", ItemKind::contact},
                             Class{"IPM.AbchPerson", ItemKind::contact},
                             Class{"IPM.DistList", ItemKind::list_of_contacts},
                             Class{"IPM.Appointment", ItemKind::appointment},
                             Class{"IPM.Task", ItemKind::task},
                             Class{"IPM.StickyNote", ItemKind::note},
                             Class{"IPM.Activity", ItemKind::journal}};

// What is none of the others is read like a message. "IPM.TaskRequest" is none of "IPM.Task".
ItemKind kind_of(std::string_view message_class) {
  for (const auto& [begin, kind] : classes) {
    const std::string_view rest = message_class.substr(std::min(begin.size(), message_class.size()));
    if (is_same_name(message_class.substr(0, begin.size()), begin) && (rest.empty() || rest.front() == '.'))
      return kind;
  }
  return ItemKind::message;
}

std::optional<PropertySet> set_of(std::string_view guid) {
  using namespace std::string_view_literals;
  constexpr std::string_view outlook = "\x20\x06\0\0\0\0\0\xC0\0\0\0\0\0\0\x46"sv;
  constexpr std::string_view public_strings = "\x29\x03\x02\0\0\0\0\0\xC0\0\0\0\0\0\0\x46"sv;
  constexpr std::string_view meeting = "\x90\xDA\xD8\x6E\x0B\x45\x1B\x10\x98\xDA\x00\xAA\x00\x3F\x13\x05"sv;
  if (guid == public_strings) return PropertySet::strings;
  if (guid == meeting) return PropertySet::meeting;
  if (guid.size() != outlook.size() + 1 || guid.substr(1) != outlook) return std::nullopt;
  const auto set = static_cast<PropertySet>(guid.front());
  for (const PropertySet known : {PropertySet::appointment, PropertySet::task, PropertySet::contact,
                                  PropertySet::common, PropertySet::note})
    if (set == known) return known;
  return std::nullopt;
}

// Names that a person has given may hold anything.
std::string folder_name(std::string name) {
  std::ranges::replace_if(
      name, [](char c) { return c == '/' || (static_cast<unsigned char>(c) < 0x20); }, '_');
  constexpr std::size_t longest = 200;
  if (name.size() > longest) {
    name.resize(longest);
    while (!is_utf8(name)) name.pop_back();
  }
  const bool is_no_name = name.find_first_not_of('.') == std::string::npos;
  return is_no_name ? "Folder" + name : name;
}

}  // namespace

NodeBlocks Store::blocks_of(std::uint32_t id) {
  const Blocks::Node* const node = blocks_.node(id);
  return node == nullptr ? NodeBlocks{} : NodeBlocks{.data = node->data, .subnodes = node->subnodes};
}

Properties Store::item(std::uint32_t id) { return {blocks_, blocks_of(id)}; }

std::vector<std::uint32_t> Store::children(std::uint32_t parent) {
  if (by_parent_.empty()) {
    for (const Blocks::Node& node : blocks_.nodes()) by_parent_.emplace_back(node.parent, node.id);
    std::ranges::sort(by_parent_);
  }
  std::vector<std::uint32_t> ids;
  for (auto at = std::ranges::lower_bound(by_parent_, std::pair(parent, 0U));
       at != by_parent_.end() && at->first == parent; ++at)
    if (at->second != parent) ids.push_back(at->second);
  return ids;
}

void Store::read_usual_folders() {
  const Properties store = item(the_store);
  usual_[node_named(store, id::outbox)] = "Outbox";
  usual_[node_named(store, id::sent_items)] = "Sent";
  deleted_ = node_named(store, id::deleted_items);
  usual_[node_named(item(root_folder), id::drafts)] = "Drafts";
  top_ = node_named(store, id::top_of_folders);
  if (blocks_.node(top_) == nullptr) top_ = root_folder;
}

std::vector<Store::Folder> Store::folders() {
  read_usual_folders();
  const Properties properties = item(top_);
  const Folder top{.id = top_,
                   .names = {folder_name(properties.text(id::display_name))},
                   .container = properties.text(id::container_class)};
  std::vector<Folder> folders;
  if (!items(top).empty()) folders.push_back(top);
  // A damaged file may have folders that lie within themselves.
  std::set<std::uint32_t> seen{top_};
  std::vector<std::pair<std::uint32_t, std::optional<std::size_t>>>
      left;  // with that above; the last is next
  const auto add_children = [&](std::uint32_t parent, std::optional<std::size_t> above) {
    const std::vector<std::uint32_t> ids = children(parent);
    for (auto id = ids.rbegin(); id != ids.rend(); ++id)
      if ((*id & type_bits) == folder_type && seen.insert(*id).second) left.emplace_back(*id, above);
  };
  add_children(top_, std::nullopt);
  while (!left.empty()) {
    const auto [id, above] = left.back();
    left.pop_back();
    folders.push_back(folder_in(above ? folders[*above] : Folder(), id));
    add_children(id, folders.size() - 1);
  }
  return folders;
}

Store::Folder Store::folder_in(const Folder& above, std::uint32_t id) {
  constexpr std::size_t most_names = 32;
  const Properties properties = item(id);
  Folder folder{.id = id,
                .names = above.names,
                .container = properties.text(id::container_class),
                .is_deleted = above.is_deleted || id == deleted_};
  // The one into which mail comes knows where the others are.
  const bool is_inbox = properties.has(id::drafts) || properties.has(id::calendar);
  if (is_inbox) usual_[id] = "Inbox";
  if (is_inbox) usual_.try_emplace(node_named(properties, id::drafts), "Drafts");
  const auto usual = usual_.find(id);
  if (folder.names.size() == most_names) folder.names.pop_back();
  folder.names.push_back(usual != usual_.end() && above.names.empty()
                             ? usual->second
                             : folder_name(properties.text(id::display_name)));
  return folder;
}

// The folder's table has the class and size of each item; one that the table does not have is asked itself.
std::vector<Store::Item> Store::items(const Folder& folder) {
  std::vector<Item> items;
  const Blocks::Node* const contents = blocks_.node((folder.id & ~type_bits) | contents_type);
  if (contents != nullptr) {
    const Table table(blocks_, {.data = contents->data, .subnodes = contents->subnodes});
    table.each([&](const Table::Row& row) {
      if ((row.id() & type_bits) != message_type) return;
      items.push_back({.id = row.id(),
                       .size = static_cast<std::uint32_t>(row.number(id::message_size).value_or(0)),
                       .kind = kind_of(row.text(id::message_class)),
                       .is_there = blocks_.node(row.id()) != nullptr});
    });
  }
  std::ranges::sort(items, {}, &Item::id);
  const std::size_t listed = items.size();
  for (const std::uint32_t id : children(folder.id)) {
    if ((id & type_bits) != message_type ||
        std::ranges::binary_search(std::span(items).first(listed), id, {}, &Item::id))
      continue;
    const Properties properties = item(id);
    items.push_back({.id = id,
                     .size = static_cast<std::uint32_t>(properties.number(id::message_size).value_or(0)),
                     .kind = kind_of(properties.text(id::message_class))});
  }
  return items;
}

// Each entry has a number or the place of a name, the number of a set, and the property's.
void Store::read_names() {
  has_names_ = true;
  const Properties names = item(names_of_properties);
  const std::string guids = names.bytes(id::guids).value_or("");
  const std::string strings = names.bytes(id::strings).value_or("");
  const std::string entries = names.bytes(id::entries).value_or("");
  constexpr std::size_t size = 8;
  constexpr std::size_t guid_size = 16;
  constexpr unsigned public_strings = 2;
  constexpr unsigned first_of_file = 3;
  for (std::size_t at = 0; at + size <= entries.size(); at += size) {
    const std::uint32_t number = long_at(entries, at);
    const unsigned what = word_at(entries, at + 4);
    const auto property = static_cast<std::uint16_t>(0x8000U + word_at(entries, at + 6));
    std::optional<PropertySet> set;
    if (what >> 1 == public_strings) set = PropertySet::strings;
    if (what >> 1 >= first_of_file)
      set = set_of(part_of(guids, ((what >> 1) - first_of_file) * guid_size, guid_size));
    if (!set) continue;
    if ((what & 1) == 0) {
      numbered_[{*set, number}] = property;
    } else {
      named_[{*set, text_of_utf16(part_of(strings, std::size_t{number} + 4, long_at(strings, number)))}] =
          property;
    }
  }
}

std::uint16_t Store::id_of(PropertySet set, std::uint32_t number) {
  if (!has_names_) read_names();
  const auto found = numbered_.find({set, number});
  return found == numbered_.end() ? 0 : found->second;
}

std::uint16_t Store::id_of(PropertySet set, const std::string& name) {
  if (!has_names_) read_names();
  const auto found = named_.find({set, name});
  return found == named_.end() ? 0 : found->second;
}

}  // namespace pack
