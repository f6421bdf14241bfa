#include <algorithm>
#include <system_error>

#include "pack/browsers/readers.h"
#include "pack/disk/refusal.h"
#include "pack/disk/stage.h"
#include "pack/files/names.h"
#include "pack/files/texts.h"

namespace pack {

namespace {

constexpr std::string_view ending = ".url";
constexpr std::size_t most = std::size_t{1} << 20;

std::string_view trimmed(std::string_view line) {
  while (!line.empty() && (line.back() == '\r' || line.back() == ' ' || line.back() == '\t'))
    line.remove_suffix(1);
  while (!line.empty() && (line.front() == ' ' || line.front() == '\t')) line.remove_prefix(1);
  return line;
}

bool is_address_file(std::string_view name) {
  return name.size() > ending.size() && is_same_name(name.substr(name.size() - ending.size()), ending);
}

void add_folder(const Place& folder, const std::string& charset, Bookmark& bookmarks,
                std::vector<Other>& others) {
  std::vector<Entry> entries;
  try {
    entries = folder.tree->list(folder.path);
  } catch (const std::system_error& error) {
    folder.tree->note_told(folder.path);
    return others.push_back({folder, {.name = "", .what = What::other, .gap = cause_of(error)}});
  }
  for (const Entry& entry : entries) {
    const Place place{.tree = folder.tree, .path = joined(folder.path, entry.name)};
    if (entry.what == What::folder) {
      Bookmark below{.title = kept_name(entry.name), .url = "", .added = entry.modified};
      add_folder(place, charset, below, others);
      if (!below.children.empty()) bookmarks.children.push_back(std::move(below));
      continue;
    }
    const auto file = is_address_file(entry.name) && !entry.gap ? whole(place, most) : std::nullopt;
    const std::string address = file ? address_in(*file, charset) : "";
    if (address.empty()) {
      others.push_back({place, entry});
      continue;
    }
    const std::string name = kept_name(entry.name);
    bookmarks.children.push_back(
        {.title = name.substr(0, name.size() - ending.size()), .url = address, .added = entry.modified});
  }
}

}  // namespace

// Other sections have addresses as well, that are not the person's.
std::string address_in(std::string_view url_file, const std::string& charset) {
  bool is_ours = false;
  while (!url_file.empty()) {
    const std::size_t end = std::min(url_file.find('\n'), url_file.size());
    const std::string_view line = trimmed(url_file.substr(0, end));
    url_file.remove_prefix(std::min(end + 1, url_file.size()));
    if (line.starts_with('[')) is_ours = is_same_name(line, "[InternetShortcut]");
    if (is_ours && line.size() > 4 && is_same_name(line.substr(0, 4), "URL=")) {
      const std::string address = in_utf8(trimmed(line.substr(4)), charset.c_str());
      return address.substr(0, address.find('\0'));
    }
  }
  return "";
}

Bookmark favorites(const Place& folder, const std::string& charset, std::vector<Other>& others) {
  Bookmark bookmarks;
  add_folder(folder, charset, bookmarks, others);
  return bookmarks;
}

}  // namespace pack
