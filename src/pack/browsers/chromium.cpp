#include <charconv>
#include <nlohmann/json.hpp>

#include "pack/browsers/readers.h"

namespace pack {

namespace {

using Json = nlohmann::json;

// A list this deep is none that a person has made.
constexpr int deepest = 200;

std::string text_of(const Json& object, const char* key) {
  const auto found = object.find(key);
  return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

// Microseconds since 1601 began, as a text.
std::int64_t date_of(const Json& object) {
  constexpr std::int64_t microseconds = 1'000'000;
  constexpr std::int64_t from_1601_to_1970 = 11'644'473'600;
  const std::string text = text_of(object, "date_added");
  std::int64_t since_1601 = 0;
  std::from_chars(text.data(), text.data() + text.size(), since_1601);
  return since_1601 == 0 ? 0 : since_1601 / microseconds - from_1601_to_1970;
}

Bookmark bookmark_of(const Json& object, int depth) {
  Bookmark bookmark{
      .title = text_of(object, "name"), .url = text_of(object, "url"), .added = date_of(object)};
  const auto children = object.find("children");
  if (children == object.end() || !children->is_array() || depth > deepest) return bookmark;
  for (const Json& child : *children)
    if (child.is_object()) bookmark.children.push_back(bookmark_of(child, depth + 1));
  return bookmark;
}

}  // namespace

std::optional<Bookmark> chromium_bookmarks(std::string_view json) {
  const Json file = Json::parse(json, nullptr, false);
  if (!file.is_object()) return std::nullopt;
  const auto roots = file.find("roots");
  if (roots == file.end() || !roots->is_object()) return std::nullopt;
  Bookmark top;
  // Some of the values there are texts.
  for (const Json& root : *roots) {
    if (!root.is_object()) continue;
    Bookmark folder = bookmark_of(root, 0);
    if (!folder.children.empty()) top.children.push_back(std::move(folder));
  }
  return top;
}

}  // namespace pack
