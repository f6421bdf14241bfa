#include "pack/disk/disk.h"

#include <algorithm>

namespace pack {

namespace {

constexpr bool is_letter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
constexpr char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

}  // namespace

Disk::Disk(std::unique_ptr<Tree> system) : system_(std::move(system)) {}

void Disk::add(char letter, std::unique_ptr<Tree> tree) { others_[upper(letter)] = std::move(tree); }

std::vector<std::pair<char, const Tree*>> Disk::volumes() const {
  std::vector<std::pair<char, const Tree*>> all;
  if (!others_.contains('C')) all.emplace_back('C', system_.get());
  for (const auto& [letter, tree] : others_) all.emplace_back(letter, tree.get());
  if (others_.contains('C')) all.emplace_back('?', system_.get());
  return all;
}

std::optional<Place> Disk::find(std::string_view windows_path) const {
  if (windows_path.size() < 2 || windows_path[1] != ':' || !is_letter(windows_path[0])) return std::nullopt;
  const auto other = others_.find(upper(windows_path[0]));
  if (other == others_.end() && upper(windows_path[0]) != 'C') return std::nullopt;
  const Tree& tree = other == others_.end() ? *system_ : *other->second;
  std::string path(windows_path.substr(2));
  std::ranges::replace(path, '\\', '/');
  const auto found = pack::find(tree, "", path);
  return found ? std::optional(Place{.tree = &tree, .path = found->path}) : std::nullopt;
}

}  // namespace pack
