#include "pack/disk/tree.h"

#include <glib.h>

#include <algorithm>
#include <system_error>

namespace pack {

namespace {

// Names that are no UTF-8 are compared as bytes.
std::string folded(std::string_view name) {
  if (!g_utf8_validate(name.data(), static_cast<gssize>(name.size()), nullptr)) return std::string(name);
  const std::unique_ptr<char, decltype(&g_free)> key(
      g_utf8_casefold(name.data(), static_cast<gssize>(name.size())), g_free);
  return key.get();
}

std::optional<Entry> entry_named(std::vector<Entry> entries, std::string_view name) {
  auto found = std::ranges::find(entries, name, &Entry::name);
  if (found == entries.end())
    found = std::ranges::find_if(entries, [&](const Entry& entry) { return is_same_name(entry.name, name); });
  return found == entries.end() ? std::nullopt : std::optional(std::move(*found));
}

}  // namespace

std::string joined(const std::string& folder, std::string_view name) {
  return folder.empty() ? std::string(name) : folder + "/" + std::string(name);
}

std::vector<Entry> listed(const Tree& tree, const std::string& folder) {
  try {
    return tree.list(folder);
  } catch (const std::system_error& error) {
    if (error.code() != std::errc::no_such_file_or_directory) tree.note_unlisted(folder);
    return {};
  }
}

bool is_same_name(std::string_view one, std::string_view other) { return folded(one) == folded(other); }

std::optional<Found> find(const Tree& tree, const std::string& folder, std::string_view path) {
  Found found{.path = folder, .entry = {.name = "", .what = What::folder, .gap = {}}};
  while (!path.empty()) {
    const std::string_view name = path.substr(0, path.find('/'));
    path.remove_prefix(std::min(name.size() + 1, path.size()));
    if (name.empty()) continue;
    if (found.entry.what != What::folder) return std::nullopt;
    auto entry = entry_named(listed(tree, found.path), name);
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
