#include "account/kinds/mozilla_contacts.h"

#include <algorithm>
#include <set>

namespace account {
namespace {

constexpr std::size_t largest_book = std::size_t{64} << 20;

std::string content_of(const std::string& path) {
  std::string text;
  char buffer[1 << 16];
  const Source source = file_source(path);
  for (std::size_t got; text.size() < largest_book && (got = source(buffer)) > 0;) text.append(buffer, got);
  return text;
}

// Values are compared without line ends and what stands around them.
std::string trimmed(std::string text) {
  std::erase(text, '\r');
  std::ranges::replace(text, '\n', ' ');
  const std::size_t begin = text.find_first_not_of(' ');
  if (begin == std::string::npos) return "";
  return text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
}

bool has_type(const CardField& field, const char* type) {
  return std::ranges::find(field.types, type) != field.types.end();
}

// The first of `kinds` that the field's types name; empty for none.
std::string kind_of(const CardField& field, std::initializer_list<const char*> kinds) {
  for (const char* kind : kinds)
    if (has_type(field, kind)) return kind;
  return "";
}

// A value that the book must have, and the field of the vCard that it comes from.
struct Wanted {
  std::string field, value;
};

// What the book has a place for: two addresses for mail, one number of each kind, an address at home and one
// at work, and some single fields.
class WantedValues {
 public:
  explicit WantedValues(const Card& card) {
    for (const CardField& field : card.fields()) add(field);
  }

  const std::vector<Wanted>& values() const { return values_; }
  bool is_all() const { return is_all_; }

 private:
  void want(const CardField& field, const std::string& value) {
    const std::string text = trimmed(value);
    if (!text.empty()) values_.push_back({field.name, text});
  }

  void want_parts(const CardField& field, std::size_t from, std::size_t to) {
    const std::vector<std::string> parts = parts_of(field.raw);
    for (std::size_t i = 0; i < parts.size(); ++i) {
      if (i >= from && i < to) {
        want(field, parts[i]);
      } else if (!parts[i].empty()) {
        is_all_ = false;
      }
    }
  }

  // True when the book has a place for one more of this kind.
  bool has_place(const std::string& kind, int places = 1) {
    const bool has = !kind.empty() && ++used_[kind] <= places;
    if (!has) is_all_ = false;
    return has;
  }

  void add(const CardField& field) {
    const std::string& name = field.name;
    if (name == "UID" || name == "REV" || name == "PRODID") return;
    if (name == "N") return want_parts(field, 0, 2);
    if (name == "ORG") return want_parts(field, 0, 2);
    if (name == "ADR") {
      const std::string kind = kind_of(field, {"HOME", "WORK"});
      if (has_place(kind.empty() ? "" : "address " + kind)) want_parts(field, 2, 7);
    } else if (name == "TEL") {
      if (has_place(kind_of(field, {"CELL", "PAGER", "FAX", "HOME", "WORK"}))) want(field, field.value());
    } else if (name == "EMAIL") {
      if (has_place(name, 2)) want(field, field.value());
    } else if (name == "FN" || name == "NICKNAME" || name == "TITLE" || name == "NOTE" || name == "URL") {
      if (has_place(name)) want(field, field.value());
    } else {
      is_all_ = false;
    }
  }

  std::vector<Wanted> values_;
  std::map<std::string, int> used_;
  bool is_all_ = true;
};

std::set<std::string> fields_not_in(const MorkRow& row, const WantedValues& wanted) {
  std::set<std::string> there, lacking;
  for (const auto& [column, value] : row) there.insert(trimmed(value));
  for (const Wanted& one : wanted.values())
    if (!there.contains(one.value)) lacking.insert(one.field);
  return lacking;
}

std::string listed(const std::set<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

}  // namespace

MozillaContacts::MozillaContacts(const std::string& path) {
  if (path.empty()) return;
  const std::string text = content_of(path);
  is_readable_ = is_mork(text);
  if (!is_readable_) return;
  rows_ = mork_rows(text);
  for (std::size_t i = 0; i < rows_.size(); ++i) by_name_.emplace(trimmed(rows_[i]["DisplayName"]), i);
}

MozillaContacts::Found MozillaContacts::take(const Card& card) {
  const WantedValues wanted(card);
  const auto [first, last] = by_name_.equal_range(trimmed(card.value_of("FN")));
  Found best;
  std::size_t fewest = 0;
  auto taken = last;
  for (auto row = first; row != last; ++row) {
    const std::set<std::string> lacking = fields_not_in(rows_[row->second], wanted);
    if (best.is_there && lacking.size() >= fewest) continue;
    best = {.is_there = true, .differs = listed(lacking), .is_all = wanted.is_all()};
    fewest = lacking.size();
    taken = row;
  }
  if (best.is_there && best.differs.empty()) by_name_.erase(taken);
  return best;
}

}  // namespace account
