#include <charconv>
#include <nlohmann/json.hpp>

#include "pack/browsers/readers.h"
#include "pack/disk/stop.h"

namespace pack {

namespace {

using Json = nlohmann::json;

// What no person has made: so deep a list, and so much in one.
constexpr std::size_t deepest = 200;
constexpr std::size_t most_bytes = std::size_t{1} << 23;

// Microseconds since 1601 began, as a text.
std::int64_t date_of(const std::string& text) {
  constexpr std::int64_t microseconds = 1'000'000;
  constexpr std::int64_t from_1601_to_1970 = 11'644'473'600;
  std::int64_t since_1601 = 0;
  std::from_chars(text.data(), text.data() + text.size(), since_1601);
  return since_1601 == 0 ? 0 : since_1601 / microseconds - from_1601_to_1970;
}

// Takes the file piece by piece as it is parsed, so that only bookmarks are held. In the file's object is one
// "roots", in that folders by their names, each with a list "children" of bookmarks and folders.
class Reader : public nlohmann::json_sax<Json> {
 public:
  std::optional<Bookmark> result() && { return has_roots_ ? std::optional(std::move(top_)) : std::nullopt; }

  bool start_object(std::size_t) override {
    return open(inner() == Level::above                                 ? Level::file
                : is_key(Level::file, "roots")                          ? Level::roots
                : inner() == Level::roots || inner() == Level::children ? Level::bookmark
                                                                        : Level::other);
  }
  bool start_array(std::size_t) override {
    return open(is_key(Level::bookmark, "children") ? Level::children : Level::other);
  }
  bool end_object() override { return close(); }
  bool end_array() override { return close(); }
  bool key(std::string& name) override {
    key_ = name;
    return true;
  }
  bool string(std::string& text) override {
    if (inner() != Level::bookmark) return true;
    Bookmark& bookmark = bookmarks_.back();
    if (key_ == "date_added") bookmark.added = date_of(text);
    if (key_ != "name" && key_ != "url") return true;
    bytes_ += text.size();
    (key_ == "url" ? bookmark.url : bookmark.title) = text;
    return bytes_ < most_bytes;
  }
  bool null() override { return true; }
  bool boolean(bool) override { return true; }
  bool number_integer(Json::number_integer_t) override { return true; }
  bool number_unsigned(Json::number_unsigned_t) override { return true; }
  bool number_float(Json::number_float_t, const std::string&) override { return true; }
  bool binary(Json::binary_t&) override { return true; }
  bool parse_error(std::size_t, const std::string&, const Json::exception&) override { return false; }

 private:
  enum class Level : std::uint8_t { above, file, roots, bookmark, children, other };

  Level inner() const { return others_ > 0 ? Level::other : levels_.empty() ? Level::above : levels_.back(); }
  bool is_key(Level level, const char* name) const { return inner() == level && key_ == name; }

  bool open(Level level) {
    stop_when_asked();
    if (level == Level::other || bookmarks_.size() > deepest) {
      ++others_;
      return true;
    }
    levels_.push_back(level);
    has_roots_ = has_roots_ || level == Level::roots;
    if (level != Level::bookmark) return true;
    bookmarks_.emplace_back();
    bytes_ += sizeof(Bookmark);
    return bytes_ < most_bytes;
  }

  bool close() {
    if (others_ > 0) {
      --others_;
      return true;
    }
    const Level closed = levels_.back();
    levels_.pop_back();
    if (closed != Level::bookmark) return true;
    Bookmark bookmark = std::move(bookmarks_.back());
    bookmarks_.pop_back();
    // Folders at the top are there when they are empty as well.
    if (bookmarks_.empty() && bookmark.children.empty()) return true;
    (bookmarks_.empty() ? top_ : bookmarks_.back()).children.push_back(std::move(bookmark));
    return true;
  }

  Bookmark top_;
  std::vector<Level> levels_;
  std::size_t others_ = 0;  // levels in which nothing is looked for, within those
  std::vector<Bookmark> bookmarks_;
  std::string key_;
  std::size_t bytes_ = 0;
  bool has_roots_ = false;
};

}  // namespace

std::optional<Bookmark> chromium_bookmarks(std::string_view json) {
  Reader reader;
  if (!Json::sax_parse(json, &reader)) return std::nullopt;
  return std::move(reader).result();
}

}  // namespace pack
