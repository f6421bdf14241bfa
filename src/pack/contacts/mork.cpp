#include "pack/contacts/mork.h"

#include <glib.h>

#include <algorithm>
#include <set>

#include "pack/files/texts.h"

namespace pack {

namespace {

constexpr std::string_view magic = "<mdb:mork:z";
constexpr std::string_view blanks = " \t\r\n\f";
constexpr std::string_view scope_of_cards = "ns:addrbk:db:row:scope:card:all";
constexpr std::string_view scope_of_lists = "ns:addrbk:db:row:scope:list:all";
constexpr std::string_view kind_of_deleted = "ns:addrbk:db:table:kind:deleted";

// The two dictionaries: names of columns, scopes and kinds in one, values in the other.
constexpr char columns = 'c';
constexpr char atoms = 'a';

// A short file may name a long value many times, and a long one be nothing but names. So many bytes of values
// are taken, and so many values and names.
constexpr std::size_t most_bytes = std::size_t{1} << 24;
constexpr std::size_t most_things = 300'000;

bool is_digit_of_16(char c) { return g_ascii_isxdigit(c); }

// Of Windows in Western Europe.
constexpr const char* charset = "CP1252";

class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {}

  MorkBook book() {
    read(text_.size());
    MorkBook book;
    book.is_whole = is_whole_;
    std::set<std::string> taken;
    for (const auto& [name, table] : tables_) {
      if (table.kind == kind_of_deleted) continue;
      for (const std::string& id : table.rows)
        if (taken.insert(id).second) take_row(id, book);
    }
    return book;
  }

 private:
  using Row = std::map<std::string, std::string>;
  struct Table {
    std::string kind;
    std::set<std::string> rows;
  };

  bool is_at_end() const { return place_ >= end_; }
  char here() const { return is_at_end() ? '\0' : text_[place_]; }
  bool begins_with(std::string_view what) const {
    return !is_at_end() && text_.substr(place_, end_ - place_).starts_with(what);
  }

  // Over blanks and comments. False at the end.
  bool skip_to_something() {
    for (;;) {
      place_ = std::min(text_.find_first_not_of(blanks, place_), end_);
      if (!begins_with("//")) return !is_at_end();
      place_ = std::min(text_.find('\n', place_), end_);
    }
  }

  // The same within brackets, which the file must close.
  bool is_more_before(char bracket) {
    if (!skip_to_something()) is_whole_ = false;
    return !is_at_end() && here() != bracket;
  }

  // Up to a blank or one of `ends`.
  std::string word(std::string_view ends) {
    const std::size_t begin = place_;
    while (!is_at_end() && ends.find(here()) == std::string_view::npos &&
           blanks.find(here()) == std::string_view::npos)
      ++place_;
    return std::string(text_.substr(begin, place_ - begin));
  }

  void read(std::size_t end) {
    end_ = end;
    while (skip_to_something()) read_one();
  }

  void read_one() {
    if (begins_with("@$${") && !is_in_group_) return read_group();
    switch (here()) {
      case '<':
        return read_dictionary();
      case '{':
        return read_table();
      case '[':
        read_row("");
        return;
      default:
        ++place_;
    }
  }

  // "@$${1{@ ... @$$}1}@" is a group of changes, with "@$$}~" at its end one that was taken back.
  void read_group() {
    constexpr std::string_view ending = "@$$}";
    const std::size_t begin = text_.find("{@", place_ + 4);
    const std::size_t end = begin == std::string_view::npos ? begin : text_.find(ending, begin);
    if (end == std::string_view::npos) {
      is_whole_ = false;
      place_ = end_;
      return;
    }
    const std::size_t all = end_;
    if (text_.substr(end + ending.size(), 1) != "~") {
      place_ = begin + 2;
      is_in_group_ = true;
      read(end);
      is_in_group_ = false;
    }
    end_ = all;
    const std::size_t behind = text_.find("}@", end + ending.size());
    place_ = std::min(behind == std::string_view::npos ? all : behind + 2, all);
  }

  // "<(81=Ann)>", and "<<(a=c)>(83=FirstName)>" for names of columns.
  void read_dictionary() {
    ++place_;
    char scope = atoms;
    while (is_more_before('>')) {
      if (here() == '<') {
        scope = scope_in_settings(scope);
      } else if (here() == '(') {
        read_alias(scope);
      } else {
        ++place_;
      }
    }
    ++place_;
  }

  char scope_in_settings(char scope) {
    ++place_;
    while (is_more_before('>')) {
      if (here() != '(') {
        ++place_;
        continue;
      }
      ++place_;
      const std::string name = word("=)");
      const std::string value = here() == '=' ? literal() : "";
      if ((name == "a" || name == "atomScope") && !value.empty()) scope = value.front();
      ++place_;
    }
    ++place_;
    return scope;
  }

  void read_alias(char scope) {
    ++place_;
    const std::string id = word("=)");
    skip_to_something();
    if (here() == '=') {
      std::string value = literal();
      if (has_room_for(value.size())) dictionaries_[scope][id] = std::move(value);
    }
    ++place_;
  }

  bool has_room_for(std::size_t bytes) {
    const bool has_room = things_left_ > 0 && bytes <= bytes_left_;
    if (has_room) {
      --things_left_;
      bytes_left_ -= bytes;
    }
    is_whole_ = is_whole_ && has_room;
    return has_room;
  }

  // From "=" up to the bracket, which stays. A bracket, a dollar and a backslash have a backslash before
  // them, and other bytes are written $C3.
  std::string literal() {
    ++place_;
    std::string value;
    for (; !is_at_end() && here() != ')'; ++place_) {
      const std::string_view rest = text_.substr(place_, end_ - place_);
      if (here() == '\\' && rest.size() > 1) {
        ++place_;
        if (begins_with("\r\n")) ++place_;
        if (here() != '\n' && here() != '\r') value += here();
      } else if (here() == '$' && rest.size() > 2 && is_digit_of_16(rest[1]) && is_digit_of_16(rest[2])) {
        value += static_cast<char>(g_ascii_xdigit_value(rest[1]) * 16 + g_ascii_xdigit_value(rest[2]));
        place_ += 2;
      } else {
        value += here();
      }
    }
    if (is_at_end()) is_whole_ = false;
    return value;
  }

  // "80:c", where the dictionary may be missing.
  std::string looked_up(const std::string& id, char scope) const {
    const std::size_t colon = std::min(id.find(':'), id.size());
    if (colon + 1 < id.size()) scope = id[colon + 1];
    const auto dictionary = dictionaries_.find(scope);
    if (dictionary == dictionaries_.end()) return "";
    const auto found = dictionary->second.find(id.substr(0, colon));
    return found == dictionary->second.end() ? "" : found->second;
  }

  // "1:^80" and "1:name", with the scope in full; `scope` is that of what it stands in.
  std::string full_id(const std::string& id, const std::string& scope) const {
    const std::size_t colon = id.find(':');
    if (colon == std::string::npos) return id + ":" + scope;
    const std::string named = id.substr(colon + 1);
    return id.substr(0, colon + 1) + (named.starts_with('^') ? looked_up(named.substr(1), columns) : named);
  }

  // "{1:^80 {(k^C0:c)(s=9)} [1 ...] 2 -3}": rows, those that stand elsewhere, and those that go.
  void read_table() {
    ++place_;
    skip_to_something();
    const bool is_anew = here() == '-';
    if (is_anew) ++place_;
    const std::string id = full_id(word("{}[]()"), "");
    const std::string scope = id.substr(id.find(':') + 1);
    Table& table = tables_[id];
    if (is_anew) table.rows.clear();
    while (is_more_before('}')) {
      const bool goes = here() == '-';
      if (goes) ++place_;
      if (here() == '{') {
        read_settings(table);
      } else if (here() == '[') {
        set_member(table, read_row(scope), !goes);
      } else if (here() == '!') {  // a row's place among the others
        ++place_;
        word("{}[]()!-");
      } else if (const std::string row = word("{}[]()!-"); !row.empty()) {
        set_member(table, full_id(row, scope), !goes);
      } else {
        ++place_;
      }
    }
    ++place_;
  }

  void set_member(Table& table, const std::string& row, bool is_member) {
    if (!is_member) {
      table.rows.erase(row);
    } else if (!table.rows.contains(row) && has_room_for(row.size())) {
      table.rows.insert(row);
    }
  }

  // "{(k^C0:c)(s=9) [1 ...]}": a row in there is not one of the table's.
  void read_settings(Table& table) {
    ++place_;
    while (is_more_before('}')) {
      if (here() == '(') {
        const auto [name, value] = read_cell(columns);
        if (name == "k") table.kind = value;
      } else if (here() == '[') {
        read_row("settings");
      } else {
        ++place_;
      }
    }
    ++place_;
  }

  // "[1:^80(^83=Ann)(^84^81)]", "[-1 ...]" without the cells it had, "-(^83)" one of them. Its name in full.
  std::string read_row(const std::string& scope) {
    ++place_;
    skip_to_something();
    const bool is_anew = here() == '-';
    if (is_anew) ++place_;
    const std::string id = full_id(word("[]()"), scope);
    Row& row = rows_[id];
    if (is_anew) row.clear();
    while (is_more_before(']')) {
      const bool goes = here() == '-';
      if (goes) ++place_;
      if (here() == '(') {
        set_cell(row, read_cell(atoms), goes);
      } else if (here() == '[') {
        skip_settings_of_row();
      } else {
        place_ += goes ? 0 : 1;
      }
    }
    ++place_;
    return id;
  }

  void skip_settings_of_row() {
    ++place_;
    while (is_more_before(']')) {
      if (here() == '(') {
        read_cell(atoms);
      } else {
        ++place_;
      }
    }
    ++place_;
  }

  void set_cell(Row& row, const std::pair<std::string, std::string>& cell, bool goes) {
    const auto& [column, value] = cell;
    if (goes || value.empty()) {
      row.erase(column);
      return;
    }
    if (has_room_for(column.size() + value.size())) row[column] = value;
  }

  // "(^83=text)", "(^83^8A)", "(name=text)": column and value. `scope` is that of a value's number.
  std::pair<std::string, std::string> read_cell(char scope) {
    ++place_;
    const bool is_number = here() == '^';
    if (is_number) ++place_;
    const std::string name = word("^=)");
    std::string column = is_number ? looked_up(name, columns) : name;
    std::string value;
    if (here() == '^') {
      ++place_;
      value = looked_up(word(")"), scope);
    } else if (here() == '=') {
      value = literal();
    }
    place_ = std::min(text_.find(')', place_), end_) + 1;
    return {std::move(column), std::move(value)};
  }

  void take_row(const std::string& id, MorkBook& book) const {
    const auto row = rows_.find(id);
    if (row == rows_.end()) return;
    const std::string_view scope = std::string_view(id).substr(id.find(':') + 1);
    if (scope == scope_of_lists) {
      const auto name = row->second.find("ListName");
      book.lists.push_back(name == row->second.end() ? "" : in_utf8(name->second, charset));
    }
    if (scope != scope_of_cards) return;
    auto& card = book.cards.emplace_back();
    for (const auto& [column, value] : row->second) card[column] = in_utf8(value, charset);
  }

  std::string_view text_;
  std::size_t place_ = 0;
  std::size_t end_ = 0;  // of what is read now
  std::size_t bytes_left_ = most_bytes;
  std::size_t things_left_ = most_things;
  bool is_in_group_ = false;
  bool is_whole_ = true;
  std::map<char, std::map<std::string, std::string>> dictionaries_;
  std::map<std::string, Row> rows_;      // by number and scope
  std::map<std::string, Table> tables_;  // likewise
};

}  // namespace

std::optional<MorkBook> read_mork(std::string_view file) {
  if (file.size() > longest_mork) return std::nullopt;
  if (file.substr(0, file.find('\n')).find(magic) == std::string_view::npos) return std::nullopt;
  return Reader(file).book();
}

}  // namespace pack
