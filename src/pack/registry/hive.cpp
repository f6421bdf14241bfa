#include "pack/registry/hive.h"

#include <hivex.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <system_error>

#include "pack/disk/nameless.h"

namespace pack {

namespace {

using Text = std::unique_ptr<char, decltype([](char* text) { std::free(text); })>;

// A machine's largest one may have a hundred megabytes. They are not held: the library looks at them through
// the copy, of which the system keeps in memory what it has room for.
constexpr std::uint64_t largest_hive = std::uint64_t{256} << 20;

// False when the disk does not give the whole file, or more than a hive can be.
bool copy_all(Content& content, Nameless& copy) {
  std::array<char, 1 << 16> block;
  while (copy.size() <= largest_hive) {
    std::size_t count = 0;
    try {
      count = content.read(block.data(), block.size());
    } catch (const std::system_error&) {
      return false;
    }
    if (count == 0) return true;
    copy.append({block.data(), count});
  }
  return false;
}

// Two counters, raised before a change and after it.
bool has_open_change(const Nameless& hive) {
  std::array<std::uint32_t, 2> counters{};
  return hive.read_at(4, reinterpret_cast<char*>(counters.data()), sizeof counters) == sizeof counters &&
         counters[0] != counters[1];
}

// What hivex says of places that are none, of too many or too large things, of lists in themselves, and of
// names that are no text. Of what is just not there it says nothing, and may leave another error behind.
constexpr std::array signs_of_damage{EFAULT, EINVAL, ENOTSUP, ERANGE, ELOOP, EILSEQ};

constexpr bool is_text(hive_type type) {
  return type == hive_t_string || type == hive_t_expand_string || type == hive_t_link;
}

}  // namespace

void Hive::Closing::operator()(hive_h* hive) const { hivex_close(hive); }

std::optional<Hive> Hive::open(const Tree& tree, const std::string& path) {
  std::unique_ptr<Content> content;
  try {
    content = tree.open(path);
  } catch (const std::system_error&) {
    return std::nullopt;
  }
  Nameless copy(folder_for_copies());
  if (!copy_all(*content, copy)) return std::nullopt;
  Handle hive(hivex_open(copy.path().c_str(), 0));
  return hive ? std::optional(Hive(std::move(hive), has_open_change(copy))) : std::nullopt;
}

// An answer of zero is none.
template <typename Question>
auto Hive::ask(Question question) const {
  errno = 0;
  const auto answer = question();
  if (!answer && std::ranges::find(signs_of_damage, errno) != signs_of_damage.end()) is_damaged_ = true;
  return answer;
}

// hivex lists end with a zero.
template <typename Handles, typename Name>
std::vector<std::string> Hive::names_of(Handles* list, Name name) const {
  std::vector<std::string> names;
  const std::unique_ptr<Handles, decltype(&std::free)> handles(list, std::free);
  for (const Handles* handle = handles.get(); handle != nullptr && *handle != 0; ++handle)
    if (const Text text{ask([&] { return name(hive_.get(), *handle); })}) names.emplace_back(text.get());
  return names;
}

std::size_t Hive::find(std::string_view key) const {
  hive_node_h node = ask([&] { return hivex_root(hive_.get()); });
  while (node != 0 && !key.empty()) {
    const std::string name(key.substr(0, key.find('\\')));
    key.remove_prefix(std::min(name.size() + 1, key.size()));
    node = ask([&] { return hivex_node_get_child(hive_.get(), node, name.c_str()); });
  }
  return node;
}

std::size_t Hive::find(std::string_view key, std::string_view value) const {
  const hive_node_h node = find(key);
  if (node == 0) return 0;
  return ask([&] { return hivex_node_get_value(hive_.get(), node, std::string(value).c_str()); });
}

std::optional<std::string> Hive::text(std::string_view key, std::string_view value) const {
  const hive_value_h found = find(key, value);
  if (found == 0) return std::nullopt;
  hive_type type{};
  std::size_t size = 0;
  const bool has_type = ask([&] { return hivex_value_type(hive_.get(), found, &type, &size) == 0; });
  if (!has_type || !is_text(type)) return std::nullopt;
  const Text text{ask([&] { return hivex_value_string(hive_.get(), found); })};
  return text ? std::optional<std::string>(text.get()) : std::nullopt;
}

std::optional<std::uint32_t> Hive::number(std::string_view key, std::string_view value) const {
  const auto data = bytes(key, value);
  if (!data || data->size() != 4) return std::nullopt;
  std::uint32_t number = 0;
  for (std::size_t byte = 4; byte > 0; --byte)
    number = number << 8 | static_cast<unsigned char>((*data)[byte - 1]);
  return number;
}

std::optional<std::string> Hive::bytes(std::string_view key, std::string_view value) const {
  const hive_value_h found = find(key, value);
  if (found == 0) return std::nullopt;
  std::size_t size = 0;
  hive_type type{};
  const Text data{ask([&] { return hivex_value_value(hive_.get(), found, &type, &size); })};
  return data ? std::optional(std::string(data.get(), size)) : std::nullopt;
}

std::vector<std::string> Hive::keys(std::string_view key) const {
  const hive_node_h node = find(key);
  if (node == 0) return {};
  return names_of(ask([&] { return hivex_node_children(hive_.get(), node); }), hivex_node_name);
}

std::vector<std::string> Hive::values(std::string_view key) const {
  const hive_node_h node = find(key);
  if (node == 0) return {};
  return names_of(ask([&] { return hivex_node_values(hive_.get(), node); }), hivex_value_key);
}

}  // namespace pack
