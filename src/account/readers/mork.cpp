#include "account/readers/mork.h"

#include <glib.h>

#include <algorithm>

namespace account {
namespace {

constexpr std::size_t most_growth = 16;
constexpr std::string_view blanks = " \t\r\n\f";

class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text), room_(most_growth * text.size() + (1 << 20)) {}

  std::vector<MorkRow> rows() {
    while (skip_to_something()) read_one();
    std::vector<MorkRow> result;
    for (const auto& [id, row] : rows_)
      if (!row.empty()) result.push_back(row);
    return result;
  }

 private:
  using Dictionary = std::map<std::string, std::string>;

  bool at_end() const { return place_ >= text_.size(); }
  char here() const { return at_end() ? '\0' : text_[place_]; }

  bool skip_to_something() {
    for (;;) {
      place_ = std::min(text_.find_first_not_of(blanks, place_), text_.size());
      if (text_.substr(place_, 2) != "//") return !at_end();
      place_ = std::min(text_.find('\n', place_), text_.size());
    }
  }

  // Up to one of `ends`, which stays.
  std::string word(std::string_view ends) {
    const std::size_t end = std::min(text_.find_first_of(ends, place_), text_.size());
    std::string result(text_.substr(place_, end - place_));
    place_ = end;
    return result;
  }

  void read_one() {
    switch (here()) {
      case '<':
        return read_dictionary();
      case '{':
        return begin_table();
      case '[':
        return read_row();
      case '(':
        read_cell();
        return;
      case '@':  // the marks around a group of changes
        ++place_;
        place_ = std::min(text_.find('@', place_), text_.size() - 1) + 1;
        return;
      case '-':
        return cut_row();
      default:
        ++place_;
    }
  }

  // "{1:^80 ...": rows inside are of that scope.
  void begin_table() {
    ++place_;
    if (here() == '(') return;  // a table's own properties
    const std::string id = word(" \t\r\n{}[(");
    if (const std::size_t colon = id.find(':'); colon != std::string::npos) scope_ = id.substr(colon + 1);
  }

  std::string row_id() {
    std::string id = word(" \t\r\n()[]{}");
    if (id.find(':') == std::string::npos) id += ":" + scope_;
    return id;
  }

  // "-2" takes a row out of its table.
  void cut_row() {
    ++place_;
    if (here() != '[') rows_.erase(row_id());
  }

  void read_row() {
    ++place_;
    const bool anew = here() == '-';
    if (anew) ++place_;
    MorkRow& row = rows_[row_id()];
    if (anew) row.clear();
    while (skip_to_something() && here() != ']') {
      if (here() != '(') {
        ++place_;
        continue;
      }
      const auto [column, value] = read_cell();
      const std::size_t size = column.size() + value.size();
      if (size > room_) continue;
      room_ -= size;
      if (value.empty()) {
        row.erase(column);
      } else {
        row[column] = value;
      }
    }
    ++place_;
  }

  // "(^83=text)", "(^83^8A)": column and value.
  std::pair<std::string, std::string> read_cell() {
    ++place_;
    std::string column;
    if (here() == '^') {
      ++place_;
      column = look_up(columns_, word("^=)"));
    } else {
      column = word("^=)");
    }
    std::string value;
    if (here() == '^') {
      ++place_;
      value = look_up(atoms_, word(")"));
    } else if (here() == '=') {
      ++place_;
      value = literal();
    }
    ++place_;
    return {column, value};
  }

  static std::string look_up(const Dictionary& dictionary, const std::string& id) {
    const auto found = dictionary.find(id.substr(0, id.find(':')));
    return found == dictionary.end() ? "" : found->second;
  }

  // Up to the bracket that no backslash stands before.
  std::string literal() {
    std::string result;
    for (; !at_end() && here() != ')'; ++place_) {
      const std::string_view rest = text_.substr(place_);
      if (here() == '\\' && rest.size() > 1) {
        ++place_;
        if (here() == '\r' && rest.size() > 2 && rest[2] == '\n') ++place_;
        if (here() != '\n' && here() != '\r') result += here();
      } else if (here() == '$' && rest.size() > 2 && g_ascii_isxdigit(rest[1]) && g_ascii_isxdigit(rest[2])) {
        result += static_cast<char>(g_ascii_xdigit_value(rest[1]) * 16 + g_ascii_xdigit_value(rest[2]));
        place_ += 2;
      } else {
        result += here();
      }
    }
    return result;
  }

  // "<(80=text)...>"; the one with "<(a=c)>" names columns.
  void read_dictionary() {
    ++place_;
    bool of_columns = false;
    while (skip_to_something() && here() != '>') {
      if (here() == '<') {
        const std::string kind = word(">");
        of_columns = kind.find("a=c") != std::string::npos;
        ++place_;
      } else if (here() == '(') {
        ++place_;
        const std::string id = word("=)");
        if (here() == '=') ++place_;
        (of_columns ? columns_ : atoms_)[id] = literal();
        ++place_;
      } else {
        ++place_;
      }
    }
    ++place_;
  }

  std::string_view text_;
  std::size_t place_ = 0;
  std::size_t room_;  // for values: a file made to fill the memory names a long one again and again
  std::string scope_;
  Dictionary columns_, atoms_;
  std::map<std::string, MorkRow> rows_;
};

}  // namespace

std::vector<MorkRow> mork_rows(std::string_view text) { return Reader(text).rows(); }

bool is_mork(std::string_view text) { return text.starts_with("// <!-- <mdb:mork:z"); }

}  // namespace account
