#include "pack/outlook/compressed_rtf.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <utility>
#include <vector>

#include "pack/disk/bytes.h"
#include "pack/outlook/charsets.h"

namespace pack {

namespace {

constexpr std::size_t longest = std::size_t{16} << 20;

// What the dictionary begins with.
constexpr std::string_view beginning =
    "{\\rtf1\\ansi\\mac\\deff0\\deftab720{\\fonttbl;}{\\f0\\fnil \\froman \\fswiss \\fmodern \\fscript "
    "\\fdecor MS "
    "Sans SerifSymbolArialTimes New RomanCourier{\\colortbl\\red0\\green0\\blue0\r\n\\par "
    "\\pard\\plain\\f0\\fs20\\b\\i\\u\\tab\\tx";
static_assert(beginning.size() == 207);

std::optional<std::string> unpacked(std::string_view bytes) {
  std::array<char, 4096> dictionary{};
  std::size_t place = beginning.copy(dictionary.data(), beginning.size());
  std::string text;
  const auto put = [&](char c) {
    text += c;
    dictionary[place] = c;
    place = (place + 1) % dictionary.size();
  };
  for (std::size_t at = 0; at < bytes.size();) {
    const auto kinds = static_cast<unsigned char>(bytes[at++]);
    for (unsigned bit = 0; bit < 8; ++bit) {
      if ((kinds >> bit & 1U) == 0) {
        if (at >= bytes.size()) return std::nullopt;
        put(bytes[at++]);
        continue;
      }
      if (at + 2 > bytes.size()) return std::nullopt;
      const unsigned reference =
          static_cast<unsigned char>(bytes[at]) << 8U | static_cast<unsigned char>(bytes[at + 1]);
      at += 2;
      std::size_t from = reference >> 4U;
      if (from == place) return text;
      for (std::size_t left = (reference & 15U) + 2; left > 0; --left) {
        put(dictionary[from]);
        from = (from + 1) % dictionary.size();
      }
      if (text.size() > longest) return std::nullopt;
    }
  }
  return std::nullopt;  // the end is marked
}

// 0 for those that say nothing of their own: "ANSI" stands for the document's.
std::uint32_t code_page_of_charset(int charset) {
  using Page = std::pair<int, std::uint32_t>;
  constexpr std::array pages{Page{77, 10000}, Page{128, 932},  Page{129, 949},  Page{130, 1361},
                             Page{134, 936},  Page{136, 950},  Page{161, 1253}, Page{162, 1254},
                             Page{163, 1258}, Page{177, 1255}, Page{178, 1256}, Page{186, 1257},
                             Page{204, 1251}, Page{222, 874},  Page{238, 1250}, Page{254, 437}};
  const auto found = std::ranges::find(pages, charset, &Page::first);
  return found == pages.end() ? 0 : found->second;
}

enum class Wanted : std::uint8_t { html, text };

// Takes the HTML out, token by token; or the text.
class Unwrapped {
 public:
  Unwrapped(std::string_view rtf, Wanted wanted) : rest_(rtf), wanted_(wanted) {}

  std::string result() {
    while (!rest_.empty()) step();
    flush();
    return std::move(html_);
  }

 private:
  struct Group {
    bool is_left_out = false;  // fonts, colours and the like
    bool is_tag = false;       // HTML as it is
    bool is_for_rtf = false;   // what readers of RTF see in the tags' place
    bool is_of_fonts = false;  // their list
    int font = -1;             // in which text stands; -1 for the usual one
  };

  void step() {
    const char c = rest_.front();
    rest_.remove_prefix(1);
    constexpr std::size_t deepest = 1000;
    if (c == '{') {
      if (groups_.size() < deepest) groups_.push_back(groups_.back());
    } else if (c == '}') {
      const std::uint32_t page = code_page();
      if (groups_.size() > 1) groups_.pop_back();
      if (code_page() != page) flush_bytes(page);
    } else if (c == '\\') {
      control();
    } else if (c != '\r' && c != '\n') {
      put(c);
    }
  }

  void control() {
    if (rest_.empty()) return;
    const char c = rest_.front();
    if ((c < 'a' || c > 'z') && (c < 'A' || c > 'Z')) {
      rest_.remove_prefix(1);
      if (c == '\'') return byte();
      if (c == '*') is_destination_ = true;
      if (c == '\\' || c == '{' || c == '}') put(c);
      if (c == '~') put_text(wanted_ == Wanted::html ? "&nbsp;" : " ");
      return;
    }
    std::size_t end = 0;
    while (end < rest_.size() &&
           ((rest_[end] >= 'a' && rest_[end] <= 'z') || (rest_[end] >= 'A' && rest_[end] <= 'Z')))
      ++end;
    const std::string_view word = rest_.substr(0, end);
    int number = 1;
    const auto [stop, error] = std::from_chars(rest_.data() + end, rest_.data() + rest_.size(), number);
    const bool has_number = error == std::errc();
    rest_.remove_prefix(static_cast<std::size_t>(stop - rest_.data()));
    if (rest_.starts_with(' ')) rest_.remove_prefix(1);
    take_word(word, number, has_number);
  }

  void take_word(std::string_view word, int number, bool has_number) {
    Group& group = groups_.back();
    const bool is_destination = std::exchange(is_destination_, false);
    constexpr std::array<std::string_view, 5> left_out = {"fonttbl", "colortbl", "stylesheet", "info",
                                                          "pict"};
    if (word == "htmltag" && is_destination) {
      flush_bytes();
      group.is_tag = true;
    } else if (word == "htmlrtf") {
      group.is_for_rtf = !has_number || number != 0;
    } else if (is_destination || std::ranges::find(left_out, word) != left_out.end()) {
      group.is_left_out = true;
      group.is_of_fonts |= word == "fonttbl";
    } else if (word == "f" || word == "plain" || word == "deff" || word == "fcharset" || word == "cpg") {
      take_font(word, number);
    } else if (word == "ansicpg") {
      code_page_ = static_cast<std::uint32_t>(number);
    } else if (word == "uc") {
      skipped_ = static_cast<std::size_t>(std::clamp(number, 0, 8));
    } else if (word == "u") {
      character(number);
    } else if (word == "par" || word == "line" || (word == "row" && wanted_ == Wanted::text)) {
      put('\n');
    } else if (word == "tab" || (word == "cell" && wanted_ == Wanted::text)) {
      put('\t');
    } else {
      symbol(word);
    }
  }

  // What Outlook hides from readers of HTML tells the font all the same.
  void take_font(std::string_view word, int number) {
    Group& group = groups_.back();
    if (group.is_of_fonts) {
      if (word == "f") listed_font_ = number;
      const std::uint32_t page = word == "cpg"        ? static_cast<std::uint32_t>(number)
                                 : word == "fcharset" ? code_page_of_charset(number)
                                                      : 0;
      if (has_code_page(page) && fonts_.size() < most_fonts) fonts_[listed_font_] = page;
      return;
    }
    const std::uint32_t page = code_page();
    if (word == "deff") usual_font_ = number;
    if (word == "f") group.font = number;
    if (word == "plain") group.font = -1;
    if (code_page() != page) flush_bytes(page);
  }

  // Tags are in the page of the whole.
  std::uint32_t code_page() const {
    const Group& group = groups_.back();
    const auto font = fonts_.find(group.font >= 0 ? group.font : usual_font_);
    return group.is_tag || font == fonts_.end() ? code_page_ : font->second;
  }

  void symbol(std::string_view word) {
    struct Symbol {
      std::string_view word;
      std::string_view html;
      std::string_view text;
    };
    constexpr std::array symbols{
        Symbol{"lquote", "&lsquo;", "\u2018"},    Symbol{"rquote", "&rsquo;", "\u2019"},
        Symbol{"ldblquote", "&ldquo;", "\u201C"}, Symbol{"rdblquote", "&rdquo;", "\u201D"},
        Symbol{"bullet", "&bull;", "\u2022"},     Symbol{"endash", "&ndash;", "\u2013"},
        Symbol{"emdash", "&mdash;", "\u2014"}};
    const auto found = std::ranges::find(symbols, word, &Symbol::word);
    if (found != symbols.end()) put_text(wanted_ == Wanted::html ? found->html : found->text);
  }

  void byte() {
    unsigned value = 0;
    const std::string_view digits = rest_.substr(0, 2);
    std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    rest_.remove_prefix(digits.size());
    if (!is_shown()) return;
    flush_units();
    bytes_ += static_cast<char>(value);
  }

  // A number below zero stands for one beyond 32767; characters for older readers follow.
  void character(int number) {
    flush_bytes();
    if (is_shown()) {
      units_ += static_cast<char>(number & 0xFF);
      units_ += static_cast<char>(number >> 8 & 0xFF);
    }
    for (std::size_t left = skipped_; left > 0 && !rest_.empty(); --left) {
      if (rest_.starts_with("\\'"))
        rest_.remove_prefix(std::min<std::size_t>(4, rest_.size()));
      else if (rest_.front() != '\\' && rest_.front() != '{' && rest_.front() != '}')
        rest_.remove_prefix(1);
    }
  }

  bool is_shown() const {
    const Group& group = groups_.back();
    return !group.is_left_out && (group.is_tag || !group.is_for_rtf);
  }
  void put(char c) {
    if (!is_shown()) return;
    flush();
    html_ += c;
  }
  void put_text(std::string_view text) {
    if (!is_shown()) return;
    flush();
    html_ += text;
  }
  // What stands in bytes or units may be a character of several.
  void flush() {
    flush_bytes();
    flush_units();
  }
  void flush_bytes() {
    if (!bytes_.empty()) flush_bytes(code_page());
  }
  void flush_bytes(std::uint32_t page) { html_ += text_of_code_page(std::exchange(bytes_, ""), page); }
  void flush_units() {
    if (!units_.empty()) html_ += text_of_utf16(std::exchange(units_, ""));
  }

  std::string_view rest_;
  Wanted wanted_;
  std::string html_;
  std::string bytes_;
  std::string units_;
  std::vector<Group> groups_{Group{}};
  static constexpr std::size_t most_fonts = 4096;

  std::map<int, std::uint32_t> fonts_;  // code pages of those that have one
  int listed_font_ = 0;
  int usual_font_ = 0;
  std::uint32_t code_page_ = 1252;
  std::size_t skipped_ = 1;
  bool is_destination_ = false;
};

}  // namespace

std::optional<std::string> plain_rtf(std::string_view compressed) {
  constexpr std::size_t head = 16;
  constexpr std::uint32_t as_it_is = 0x414C454D;
  constexpr std::uint32_t packed = 0x75465A4C;
  const std::uint32_t form = long_at(compressed, 8);
  const std::size_t size = long_at(compressed, 4);
  if (compressed.size() < head) return std::nullopt;
  compressed.remove_prefix(head);
  if (form == as_it_is) return std::string(compressed.substr(0, size));
  return form == packed ? unpacked(compressed) : std::nullopt;
}

std::optional<std::string> html_in_rtf(std::string_view rtf) {
  constexpr std::size_t head = 512;
  if (rtf.substr(0, head).find("\\fromhtml") == std::string_view::npos) return std::nullopt;
  return Unwrapped(rtf, Wanted::html).result();
}

std::string text_in_rtf(std::string_view rtf) { return Unwrapped(rtf, Wanted::text).result(); }

}  // namespace pack
