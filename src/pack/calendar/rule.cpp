#include "pack/calendar/rule.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <map>
#include <string_view>
#include <vector>

namespace pack {

namespace {

using Parts = std::map<std::string, std::string, std::less<>>;

constexpr std::array<std::string_view, 7> frequencies = {"SECONDLY", "MINUTELY", "HOURLY", "DAILY",
                                                         "WEEKLY",   "MONTHLY",  "YEARLY"};
constexpr std::array<std::string_view, 7> weekdays = {"MO", "TU", "WE", "TH", "FR", "SA", "SU"};

/// A part that is a list of numbers, in the order in which they are written, and the largest of them.
struct Numbers {
  const char* name;
  int most;
  bool may_be_negative;
};
constexpr std::array lists{Numbers{"BYSECOND", 60, false},  Numbers{"BYMINUTE", 59, false},
                           Numbers{"BYHOUR", 23, false},    Numbers{"BYMONTH", 12, false},
                           Numbers{"BYMONTHDAY", 31, true}, Numbers{"BYYEARDAY", 366, true},
                           Numbers{"BYWEEKNO", 53, true}};
constexpr Numbers set_position{"BYSETPOS", 366, true};
constexpr std::size_t longest_part = 2000;

bool has_several(const std::string& list) { return list.find(',') != std::string::npos; }

template <class List>
bool is_among(std::string_view word, const List& list) {
  return std::ranges::find(list, word) != list.end();
}

std::vector<std::string> split(const std::string& text, char between) {
  std::vector<std::string> parts;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(between, begin), text.size());
    parts.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return parts;
}

std::string in_capitals(std::string text) {
  std::ranges::transform(text, text.begin(), g_ascii_toupper);
  return text;
}

Parts parts_of(const std::string& rule) {
  Parts parts;
  for (const std::string& part : split(in_capitals(rule), ';')) {
    const std::size_t equals = part.find('=');
    if (equals != std::string::npos && equals + 1 < part.size())
      parts[part.substr(0, equals)] = part.substr(equals + 1);
  }
  return parts;
}

// "-1" as a number; 0 for what is none.
int number_of(std::string_view text) {
  const std::string_view digits = text.substr(text.starts_with('-') || text.starts_with('+') ? 1 : 0);
  const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
  constexpr std::size_t most_digits = 9;
  if (digits.empty() || digits.size() > most_digits || !std::ranges::all_of(digits, is_digit)) return 0;
  return std::atoi(std::string(text).c_str());
}

bool is_good(const std::string& list, const Numbers& numbers) {
  return list.size() <= longest_part && std::ranges::all_of(split(list, ','), [&](const std::string& item) {
           const int number = number_of(item);
           const bool is_number = number != 0 || item == "0" || item == "00";
           return is_number && std::abs(number) <= numbers.most && (number >= 0 || numbers.may_be_negative);
         });
}

// "MO", "2MO", "-1SU".
bool is_good_day(std::string_view day) {
  if (day.size() < 2 || !is_among(day.substr(day.size() - 2), weekdays)) return false;
  day.remove_suffix(2);
  constexpr int most = 53;
  return day.empty() || (number_of(day) != 0 && std::abs(number_of(day)) <= most);
}

bool are_good_days(const std::string& list) {
  return list.size() <= longest_part && std::ranges::all_of(split(list, ','), is_good_day);
}

bool is_good(const Parts& parts) {
  for (const auto& [name, value] : parts) {
    if (name == "FREQ" && !is_among(value, frequencies)) return false;
    if ((name == "INTERVAL" || name == "COUNT") && number_of(value) <= 0) return false;
    if (name == "BYDAY" && !are_good_days(value)) return false;
    if (name == "WKST" && !is_among(value, weekdays)) return false;
    for (const Numbers& numbers : lists)
      if (name == numbers.name && !is_good(value, numbers)) return false;
    if (name == set_position.name && !is_good(value, set_position)) return false;
    // Of another calendar than ours.
    if (name == "RSCALE" || name == "SKIP") return false;
  }
  return parts.contains("FREQ");
}

std::string part(const Parts& parts, const std::string& name) {
  const auto found = parts.find(name);
  return found == parts.end() ? "" : ";" + name + "=" + found->second;
}

// One weekday of each month, or of one month of the year, whatever its position; nothing else says which
// days.
bool is_weekday_of_month(const Parts& parts) {
  const auto days = parts.find("BYDAY");
  if (days == parts.end() || has_several(days->second)) return false;
  if (parts.contains("BYMONTHDAY") || parts.contains("BYYEARDAY") || parts.contains("BYWEEKNO")) return false;
  const auto month = parts.find("BYMONTH");
  return parts.at("FREQ") == "MONTHLY" ||
         (parts.at("FREQ") == "YEARLY" && month != parts.end() && !has_several(month->second));
}

// The wizard cuts a rule at its first "B" when it joins the two again.
bool can_be_joined_again(const Parts& parts) {
  return std::ranges::none_of(parts, [](const auto& part) {
    return part.first.starts_with("BY") && part.first != "BYDAY" && part.first != set_position.name;
  });
}

// "MO" and "2" are "2MO", where that is the same.
void join_position(Parts& parts) {
  const auto position = parts.find(set_position.name);
  std::string& day = parts.at("BYDAY");
  if (day.size() != 2 || position == parts.end() || has_several(position->second)) return;
  constexpr int most_weeks = 5;
  if (std::abs(number_of(position->second)) > most_weeks) return;
  day = position->second + day;
  parts.erase(position);
}

void part_position(Parts& parts) {
  std::string& day = parts.at("BYDAY");
  if (day.size() == 2 || parts.contains(set_position.name)) return;
  parts[set_position.name] = day.substr(0, day.size() - 2);
  day = day.substr(day.size() - 2);
}

// "MO,TH" and 1 are "TU,FR". Empty for weekdays with positions.
std::string moved_weekdays(const std::string& list, std::int64_t days) {
  constexpr auto count = static_cast<std::int64_t>(weekdays.size());
  std::string moved;
  for (const std::string& day : split(list, ',')) {
    const auto found = std::ranges::find(weekdays, day);
    if (found == weekdays.end()) return "";
    const std::int64_t number = (found - weekdays.begin() + days % count + count) % count;
    moved += (moved.empty() ? "" : ",") + std::string(weekdays.at(static_cast<std::size_t>(number)));
  }
  return moved;
}

// Empty when a month may begin or end in between.
std::string moved_days_of_month(const std::string& list, std::int64_t days) {
  constexpr std::int64_t in_all_months = 28;
  std::string moved;
  for (const std::string& day : split(list, ',')) {
    const std::int64_t number = number_of(day) + days;
    if (number_of(day) <= 0 || std::max<std::int64_t>(number, number_of(day)) > in_all_months || number <= 0)
      return "";
    moved += (moved.empty() ? "" : ",") + std::to_string(number);
  }
  return moved;
}

}  // namespace

std::string moved_rule(const std::string& rule, std::int64_t days) {
  Parts parts = parts_of(rule);
  if (days == 0 || !is_good(parts)) return rule;
  const std::string& frequency = parts.at("FREQ");
  const bool is_of_months = frequency == "MONTHLY" || frequency == "YEARLY";
  if (frequency == "WEEKLY") parts.try_emplace("WKST", "MO");
  std::string moved;
  for (auto& [name, value] : parts) {
    const bool is_kept = !name.starts_with("BY") || (name == "BYMONTH" && parts.contains("BYMONTHDAY"));
    if (name == "WKST" || (name == "BYDAY" && !is_of_months)) {
      value = moved_weekdays(value, days);
    } else if (name == "BYMONTHDAY" && is_of_months && !parts.contains("BYDAY")) {
      value = moved_days_of_month(value, days);
    } else if (!is_kept) {
      return "";
    }
    if (value.empty()) return "";
    moved += (moved.empty() ? "" : ";") + name + "=" + value;
  }
  return moved;
}

std::string written_rule(const std::string& rule, const std::string& until) {
  Parts parts = parts_of(rule);
  if (!is_good(parts)) return "";
  parts.try_emplace("INTERVAL", "1");
  const bool has_end = !until.empty() && !parts.contains("COUNT");  // a rule ends in one way only
  if (is_weekday_of_month(parts)) {
    join_position(parts);
    if (!has_end && can_be_joined_again(parts)) part_position(parts);
  }
  std::string text = "FREQ=" + parts.at("FREQ") + part(parts, "INTERVAL") + part(parts, "COUNT");
  if (has_end) text += ";UNTIL=" + until;
  text += part(parts, "WKST");
  for (const Numbers& numbers : lists) text += part(parts, numbers.name);
  return text + part(parts, "BYDAY") + part(parts, set_position.name);
}

}  // namespace pack
