#include "pack/disk/tree.h"

#include <glib.h>

#include <algorithm>
#include <iterator>
#include <system_error>
#include <utility>

namespace pack {

namespace {

bool is_ascii(char c) { return static_cast<unsigned char>(c) < 0x80; }

// Names that are no UTF-8 are compared as bytes.
std::string folded(std::string_view name) {
  if (!g_utf8_validate(name.data(), static_cast<gssize>(name.size()), nullptr)) return std::string(name);
  const std::unique_ptr<char, decltype(&g_free)> key(
      g_utf8_casefold(name.data(), static_cast<gssize>(name.size())), g_free);
  return key.get();
}

// Of a list that is there already.
class WholeListing : public Listing {
 public:
  explicit WholeListing(std::vector<Entry> entries) : entries_(std::move(entries)) {}

  std::optional<Entry> next() override {
    return at_ < entries_.size() ? std::optional(std::move(entries_[at_++])) : std::nullopt;
  }

 private:
  std::vector<Entry> entries_;
  std::size_t at_ = 0;
};

void note(const Tree& tree, const std::string& folder, const std::system_error& error) {
  if (error.code() != std::errc::no_such_file_or_directory) tree.note_unlisted(folder);
}

std::optional<Entry> looked_up(const Tree& tree, const std::string& folder, std::string_view name) {
  try {
    return tree.look_up(folder, name);
  } catch (const std::system_error& error) {
    note(tree, folder, error);
    return std::nullopt;
  }
}

}  // namespace

std::string joined(const std::string& folder, std::string_view name) {
  return folder.empty() ? std::string(name) : folder + "/" + std::string(name);
}

std::vector<Entry> listed(const Tree& tree, const std::string& folder) {
  try {
    return tree.list(folder);
  } catch (const std::system_error& error) {
    note(tree, folder, error);
    return {};
  }
}

// Most names are ASCII and differ in their first letters, and there are many.
bool is_same_name(std::string_view one, std::string_view other) {
  const auto is_same_letter = [](char c, char d) {
    return is_ascii(c) && is_ascii(d) && g_ascii_tolower(c) == g_ascii_tolower(d);
  };
  const auto [at, at_other] = std::ranges::mismatch(one, other, is_same_letter);
  if (at == one.end() && at_other == other.end()) return true;
  const auto is_known = [](const char* place, const char* end) { return place == end || is_ascii(*place); };
  if (is_known(at, one.end()) && is_known(at_other, other.end())) return false;
  return folded(one) == folded(other);
}

std::set<std::string> Tree::unlisted() const {
  std::set<std::string> untold;
  std::ranges::set_difference(unlisted_, told_, std::inserter(untold, untold.end()));
  return untold;
}

std::unique_ptr<Listing> Tree::entries(const std::string& folder) const {
  return std::make_unique<WholeListing>(list(folder));
}

std::optional<Entry> Tree::look_up(const std::string& folder, std::string_view name) const {
  std::optional<Entry> found;
  const auto listing = entries(folder);
  while (auto entry = listing->next()) {
    if (entry->name == name) return entry;
    if (!found && is_same_name(entry->name, name)) found = std::move(entry);
  }
  return found;
}

std::optional<Found> find(const Tree& tree, const std::string& folder, std::string_view path) {
  Found found{.path = folder, .entry = {.name = "", .what = What::folder, .gap = {}}};
  while (!path.empty()) {
    const std::string_view name = path.substr(0, path.find('/'));
    path.remove_prefix(std::min(name.size() + 1, path.size()));
    if (name.empty()) continue;
    if (found.entry.what != What::folder) return std::nullopt;
    auto entry = looked_up(tree, found.path, name);
    if (!entry) return std::nullopt;
    found.path = joined(found.path, entry->name);
    found.entry = std::move(*entry);
  }
  return found;
}

std::optional<std::string> find_folder(const Tree& tree, const std::string& folder, std::string_view path) {
  const auto found = find(tree, folder, path);
  return found && found->entry.what == What::folder ? std::optional(found->path) : std::nullopt;
}

}  // namespace pack
