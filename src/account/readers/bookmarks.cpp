#include "account/readers/bookmarks.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <iterator>
#include <optional>
#include <set>
#include <utility>

namespace account {
namespace {

constexpr std::size_t longest_path = 512;

struct Entity {
  std::string_view written;
  char meant;
};
constexpr Entity entities[] = {
    {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&#39;", '\''}};

std::string resolved(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const auto* const entity =
        std::ranges::find_if(entities, [&](const Entity& one) { return text.starts_with(one.written); });
    const bool is_entity = entity != std::end(entities);
    result += is_entity ? entity->meant : text.front();
    text.remove_prefix(is_entity ? entity->written.size() : 1);
  }
  return result;
}

bool begins_with(std::string_view text, std::string_view word) {
  return text.size() >= word.size() && strncasecmp(text.data(), word.data(), word.size()) == 0;
}

// The first place of `word`, in small or capital letters.
std::size_t find_word(std::string_view text, std::string_view word) {
  const auto found = std::ranges::search(
      text, word, [](unsigned char a, unsigned char b) { return std::tolower(a) == std::tolower(b); });
  return found.empty() ? std::string_view::npos : static_cast<std::size_t>(found.begin() - text.begin());
}

std::optional<std::string> address_in(std::string_view tag) {
  const std::size_t key = find_word(tag, " href=\"");
  if (key == std::string_view::npos) return std::nullopt;
  tag.remove_prefix(key + 7);
  return resolved(tag.substr(0, tag.find('"')));
}

class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {}

  std::vector<Bookmark> read() {
    for (std::size_t open; (open = text_.find('<')) != std::string_view::npos;) {
      text_.remove_prefix(open);
      read_tag();
    }
    return std::move(bookmarks_);
  }

 private:
  // The end of the tag that the text begins with; an address may hold ">".
  std::size_t end_of_tag() const {
    bool quoted = false;
    for (std::size_t i = 0; i < text_.size(); ++i) {
      if (text_[i] == '"') quoted = !quoted;
      if (text_[i] == '>' && !quoted) return i;
    }
    return text_.size();
  }

  // What stands before the tag `end`, which is passed over. Nothing is passed over when the tag is not there;
  // it is not looked for again, which would take long in a text of many beginnings.
  std::optional<std::string> text_until(std::string_view end) {
    const std::size_t found = absent_.contains(end) ? std::string_view::npos : find_word(text_, end);
    if (found == std::string_view::npos) {
      absent_.insert(end);
      return std::nullopt;
    }
    std::string text = resolved(text_.substr(0, found));
    text_.remove_prefix(found + end.size());
    return text;
  }

  void read_tag() {
    const std::size_t end = end_of_tag();
    const std::string_view tag = text_.substr(0, end);
    text_.remove_prefix(std::min(end + 1, text_.size()));
    if (begins_with(tag, "<a ")) {
      const auto url = address_in(tag);
      const auto title = url ? text_until("</a>") : std::nullopt;
      if (title) bookmarks_.push_back({folder(), *title, *url});
    } else if (begins_with(tag, "<h3")) {
      heading_ = text_until("</h3>").value_or("");
    } else if (begins_with(tag, "<dl")) {
      folders_.push_back(std::exchange(heading_, {}));
    } else if (begins_with(tag, "</dl") && !folders_.empty()) {
      folders_.pop_back();
    }
  }

  // The list of the whole file has no heading. A path that nobody reads would be kept again with each
  // bookmark.
  std::string folder() const {
    std::string path;
    for (const std::string& name : folders_) {
      if (!name.empty()) path += name + "/";
      if (path.size() > longest_path) return path.substr(0, longest_path);
    }
    return path;
  }

  std::string_view text_;
  std::set<std::string_view> absent_;  // tags that do not come any more
  std::string heading_;
  std::vector<std::string> folders_;
  std::vector<Bookmark> bookmarks_;
};

}  // namespace

std::vector<Bookmark> read_bookmarks(std::string_view text) { return Reader(text).read(); }

}  // namespace account
