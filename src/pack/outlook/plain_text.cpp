#include "pack/outlook/plain_text.h"

#include <glib.h>
#include <libxml/HTMLparser.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

#include "pack/outlook/charsets.h"
#include "pack/outlook/compressed_rtf.h"

namespace pack {

namespace {

namespace id {
constexpr std::uint16_t body = 0x1000;
constexpr std::uint16_t rtf = 0x1009;
constexpr std::uint16_t html = 0x1013;
constexpr std::uint16_t internet_code_page = 0x3FDE;
}  // namespace id

constexpr std::string_view blanks = " \t\r\n\f";

bool is_blank(char c) { return blanks.find(c) != std::string_view::npos; }
bool is_letter(char c) { return g_ascii_isalpha(c) != 0; }

// Goes through HTML once, from its beginning to its end, whatever it is.
class Page {
 public:
  explicit Page(std::string_view html)
      : html_(html), last_comment_(html.rfind("-->")), last_tag_(html.rfind('>')) {}

  std::string text() {
    while (at_ < html_.size()) step();
    return std::move(text_);
  }

 private:
  static constexpr std::string_view comment = "<!--";

  void step() {
    const char c = html_[at_];
    const std::string_view rest = html_.substr(at_);
    if (!unseen_.empty() && !rest.starts_with("</")) {
      ++at_;
    } else if (rest.starts_with(comment) && last_comment_ != std::string_view::npos && at_ < last_comment_) {
      at_ = html_.find("-->", at_) + 3;
    } else if (is_tag(rest)) {
      const std::size_t end = html_.find('>', at_);
      take_tag(html_.substr(at_ + 1, end - at_ - 1));
      at_ = end + 1;
    } else if (c == '&') {
      take_character(rest);
    } else {
      ++at_;
      if (is_blank(c))
        has_gap_ = true;
      else
        put({&c, 1});
    }
  }

  bool is_tag(std::string_view rest) const {
    if (rest.size() < 2 || rest[0] != '<' || last_tag_ == std::string_view::npos || at_ > last_tag_)
      return false;
    return is_letter(rest[1]) || rest[1] == '/' || rest[1] == '!' || rest[1] == '?';
  }

  void take_tag(std::string_view tag) {
    constexpr std::array<std::string_view, 3> unseen = {"script", "style", "title"};
    constexpr std::array<std::string_view, 20> on_lines_of_their_own = {
        "p",  "div", "tr", "table", "li", "ul", "ol", "dl",         "dt",     "dd",
        "h1", "h2",  "h3", "h4",    "h5", "h6", "hr", "blockquote", "center", "pre"};
    const bool is_end = tag.starts_with('/');
    if (is_end) tag.remove_prefix(1);
    std::string name(tag.substr(0, std::min(tag.find_first_of(" \t\r\n\f/"), tag.size())));
    std::ranges::transform(name, name.begin(), g_ascii_tolower);
    if (!unseen_.empty()) {
      if (is_end && name == unseen_) unseen_.clear();
    } else if (!is_end && std::ranges::find(unseen, name) != unseen.end()) {
      unseen_ = name;
    } else if (name == "br") {
      end_line();
    } else if (name == "td" || name == "th") {
      has_gap_ = true;
    } else if (std::ranges::find(on_lines_of_their_own, name) != on_lines_of_their_own.end()) {
      if (!text_.empty() && !text_.ends_with('\n')) end_line();
    }
  }

  // "&amp;", "&#38;", "&#x26;".
  void take_character(std::string_view rest) {
    constexpr std::size_t longest = 32;
    const std::size_t end = rest.substr(0, longest).find(';');
    const std::string name(end == std::string_view::npos ? "" : rest.substr(1, end - 1));
    const gunichar character = named(name);
    at_ += character == 0 ? 1 : name.size() + 2;
    constexpr gunichar unbroken_blank = 0xA0;
    std::array<char, 6> bytes{};
    const int size = g_unichar_to_utf8(character == unbroken_blank ? ' ' : character, bytes.data());
    put(character == 0 ? "&" : std::string_view(bytes.data(), static_cast<std::size_t>(size)));
  }

  // 0 for none.
  static gunichar named(const std::string& name) {
    gunichar character = 0;
    if (name.starts_with('#')) {
      const bool is_hex = name.size() > 1 && (name[1] == 'x' || name[1] == 'X');
      const char* const begin = name.data() + (is_hex ? 2 : 1);
      std::from_chars(begin, name.data() + name.size(), character, is_hex ? 16 : 10);
    } else if (const auto* entity = htmlEntityLookup(reinterpret_cast<const xmlChar*>(name.c_str()))) {
      character = entity->value;
    }
    return character < ' ' || g_unichar_validate(character) == FALSE ? 0 : character;
  }

  void end_line() {
    if (!unseen_.empty()) return;
    text_ += '\n';
    has_gap_ = false;
  }

  void put(std::string_view text) {
    if (!unseen_.empty()) return;
    if (std::exchange(has_gap_, false) && !text_.empty() && !text_.ends_with('\n')) text_ += ' ';
    text_ += text;
  }

  std::string_view html_;
  std::size_t last_comment_, last_tag_;  // where the last one ends
  std::size_t at_ = 0;
  std::string text_;
  std::string unseen_;    // the element within which nothing is shown
  bool has_gap_ = false;  // blanks have come
};

std::string without_end(std::string text) {
  text.erase(text.find_last_not_of(blanks) + 1);
  return text;
}

// Each gives no value for what is there and cannot be read.

std::optional<std::string> in_body(const Properties& item) {
  return item.bytes(id::body) ? std::optional(item.text(id::body)) : std::nullopt;
}

std::optional<std::string> in_html(const Properties& item) {
  const auto bytes = item.bytes(id::html);
  if (!bytes) return std::nullopt;
  constexpr std::int32_t utf16 = 1200;
  const std::int32_t page = item.number(id::internet_code_page).value_or(0);
  if (item.form(id::html) == Form::text || page == utf16) return text_of_html(text_of_utf16(*bytes));
  constexpr std::uint32_t utf8 = 65001;
  const bool is_told = page > 0 && !charset_of(static_cast<std::uint32_t>(page)).empty();
  const std::uint32_t usual = is_utf8(*bytes) ? utf8 : item.code_page();
  return text_of_html(text_of_code_page(*bytes, is_told ? static_cast<std::uint32_t>(page) : usual));
}

std::optional<std::string> in_rtf(const Properties& item) {
  const auto bytes = item.bytes(id::rtf);
  if (!bytes) return std::nullopt;
  auto rtf = bytes->empty() ? std::optional<std::string>("") : plain_rtf(*bytes);
  if (!rtf) return std::nullopt;
  const auto html = html_in_rtf(*rtf);
  if (!html) return without_end(text_in_rtf(*rtf));
  rtf.reset();
  return text_of_html(*html);
}

}  // namespace

std::string text_of_html(std::string_view html) { return without_end(Page(html).text()); }

PlainText plain_text_of(const Properties& item) {
  struct Way {
    std::uint16_t id;
    std::optional<std::string> (*read)(const Properties& item);
  };
  constexpr std::array ways{Way{id::body, in_body}, Way{id::html, in_html}, Way{id::rtf, in_rtf}};
  bool is_whole = true;
  for (const auto& [id, read] : ways) {
    if (!item.has(id)) continue;
    const auto text = read(item);
    const bool is_good = text && text->size() <= longest_text;
    if (is_good && text->find_first_not_of(blanks) != std::string::npos) return {.text = *text};
    is_whole &= is_good;
  }
  return {.text = "", .is_whole = is_whole};
}

}  // namespace pack
