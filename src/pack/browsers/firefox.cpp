#include <map>
#include <set>

#include "pack/browsers/readers.h"
#include "pack/database/database.h"

namespace pack {

namespace {

constexpr std::int64_t microseconds = 1'000'000;
constexpr int folder_type = 2;
constexpr int link_type = 1;

constexpr const char* all_rows =
    "SELECT b.id, b.type, b.parent, b.title, p.url, b.dateAdded, b.guid FROM moz_bookmarks b "
    "LEFT JOIN moz_places p ON b.fk = p.id ORDER BY b.parent, b.position, b.id";

struct Item {
  std::int64_t id;
  bool is_folder;
  Bookmark bookmark;
};
using Items = std::multimap<std::int64_t, Item>;

// The folders that Firefox makes have names for itself, if any.
std::string title_of(const std::string& guid, const std::string& title) {
  static const std::map<std::string, const char*> own = {{"menu________", "Bookmarks Menu"},
                                                         {"toolbar_____", "Bookmarks Toolbar"},
                                                         {"unfiled_____", "Other Bookmarks"},
                                                         {"mobile______", "Mobile Bookmarks"}};
  const auto found = own.find(guid);
  return found == own.end() ? title : found->second;
}

// A list this deep is none that a person has made.
constexpr int deepest = 200;

// A damaged file may have a folder in itself: each is gone into once.
Bookmark tree_below(const Items& items, std::int64_t parent, std::set<std::int64_t>& seen, int depth = 0) {
  Bookmark folder;
  if (depth > deepest || !seen.insert(parent).second) return folder;
  const auto [begin, end] = items.equal_range(parent);
  for (auto item = begin; item != end; ++item) {
    Bookmark bookmark = item->second.bookmark;
    if (item->second.is_folder) {
      bookmark.children = tree_below(items, item->second.id, seen, depth + 1).children;
      // Those that everybody has are not shown when they are empty.
      if (bookmark.children.empty() && parent <= 1) continue;
    }
    folder.children.push_back(std::move(bookmark));
  }
  return folder;
}

}  // namespace

std::optional<Bookmark> firefox_bookmarks(const Place& places) {
  const auto database = Database::open(places);
  if (!database) return std::nullopt;
  Items items;
  std::int64_t root = 1;
  const bool good = database->each(all_rows, [&](const Row& row) {
    const std::string guid = row.text(6);
    if (guid == "root________") root = row.number(0);
    const bool is_folder = row.number(1) == folder_type;
    const std::string url = row.text(4);
    // Tags and stored searches look like bookmarks and are none.
    if (guid == "tags________" || url.starts_with("place:") || row.number(0) == row.number(2)) return;
    if (!is_folder && (row.number(1) != link_type || url.empty())) return;
    items.insert(
        {row.number(2),
         {.id = row.number(0),
          .is_folder = is_folder,
          .bookmark = {
              .title = title_of(guid, row.text(3)), .url = url, .added = row.number(5) / microseconds}}});
  });
  if (!good) return std::nullopt;
  std::set<std::int64_t> seen;
  return tree_below(items, root, seen);
}

}  // namespace pack
