#include <map>
#include <set>

#include "pack/browsers/readers.h"
#include "pack/database/database.h"

namespace pack {

namespace {

constexpr std::int64_t microseconds = 1'000'000;
constexpr int folder_type = 2;
constexpr int link_type = 1;
constexpr int line_type = 3;

constexpr const char* all_rows =
    "SELECT b.id, b.type, b.parent, b.title, p.url, b.dateAdded, b.guid, b.fk FROM moz_bookmarks b "
    "LEFT JOIN moz_places p ON b.fk = p.id ORDER BY b.parent, b.position, b.id";
// A tag is a folder among the tags, with a bookmark for each place that has it.
constexpr const char* all_tags =
    "SELECT b.fk, t.title FROM moz_bookmarks b JOIN moz_bookmarks t ON b.parent = t.id "
    "JOIN moz_bookmarks r ON t.parent = r.id WHERE r.guid = 'tags________' ORDER BY t.title";
// Since Firefox 39, and before.
constexpr const char* all_keywords = "SELECT place_id, keyword FROM moz_keywords ORDER BY id";
constexpr const char* all_old_keywords =
    "SELECT b.fk, k.keyword FROM moz_bookmarks b JOIN moz_keywords k ON b.keyword_id = k.id ORDER BY b.id";

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

// Words by the places that have them.
using Words = std::map<std::int64_t, std::string>;

Words tags_of(const Database& database) {
  Words tags;
  database.each(all_tags, [&](const Row& row) {
    std::string& text = tags[row.number(0)];
    text += (text.empty() ? "" : ",") + row.text(1);
  });
  return tags;
}

// The first of a place: a bookmark in a file has one.
Words keywords_of(const Database& database) {
  Words keywords;
  const auto take = [&](const Row& row) { keywords.try_emplace(row.number(0), row.text(1)); };
  if (!database.each(all_keywords, take)) database.each(all_old_keywords, take);
  return keywords;
}

std::string word_of(const Words& words, std::int64_t place) {
  const auto found = words.find(place);
  return found == words.end() ? "" : found->second;
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
  const Words tags = tags_of(*database);
  const Words keywords = keywords_of(*database);
  Items items;
  std::int64_t root = 1;
  const bool good = database->each(all_rows, [&](const Row& row) {
    const std::string guid = row.text(6);
    if (guid == "root________") root = row.number(0);
    const bool is_folder = row.number(1) == folder_type;
    const std::string url = row.text(4);
    // Tags and stored searches look like bookmarks and are none.
    if (guid == "tags________" || url.starts_with("place:") || row.number(0) == row.number(2)) return;
    const bool is_line = row.number(1) == line_type;
    if (!is_folder && !is_line && (row.number(1) != link_type || url.empty())) return;
    Bookmark bookmark{
        .title = title_of(guid, row.text(3)), .url = url, .added = row.number(5) / microseconds};
    if (!is_folder && !is_line) {
      bookmark.tags = word_of(tags, row.number(7));
      bookmark.keyword = word_of(keywords, row.number(7));
    }
    bookmark.is_line = is_line;
    items.insert(
        {row.number(2), {.id = row.number(0), .is_folder = is_folder, .bookmark = std::move(bookmark)}});
  });
  if (!good) return std::nullopt;
  std::set<std::int64_t> seen;
  return tree_below(items, root, seen);
}

}  // namespace pack
