#include "account/readers/calendar.h"

#include <libical/ical.h>

#include <strings.h>
#include <algorithm>
#include <cctype>

namespace account {
namespace {

// Pictures stand in calendars as one line each, so the limits are generous.
constexpr std::size_t longest_line = std::size_t{16} << 20, longest_item = std::size_t{32} << 20;

std::string capitals(std::string_view text) {
  std::string result(text);
  std::ranges::transform(result, result.begin(), [](unsigned char c) { return std::toupper(c); });
  return result;
}

bool is_blank(char c) { return c == ' ' || c == '\t'; }

// The kind that a line begins or ends; no value for other lines.
std::optional<std::string> kind_after(std::string_view mark, std::string_view line) {
  if (line.size() < mark.size() || strncasecmp(line.data(), mark.data(), mark.size()) != 0)
    return std::nullopt;
  line.remove_prefix(mark.size());
  while (!line.empty() && std::isspace(static_cast<unsigned char>(line.back())) != 0) line.remove_suffix(1);
  return capitals(line);
}

std::optional<std::string> begun(std::string_view line) { return kind_after("BEGIN:", line); }
std::optional<std::string> ended(std::string_view line) { return kind_after("END:", line); }

// Carriage returns go, and the last line gets the end that it may lack.
void normalise(std::string& line) {
  if (line.ends_with('\n')) line.pop_back();
  if (line.ends_with('\r')) line.pop_back();
  line += '\n';
}

// Lines without their ends, each with what was folded away from it.
std::vector<std::string> unfolded(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (!line.empty() && is_blank(line.front()) && !lines.empty()) {
      lines.back() += line.substr(1);
    } else if (!line.empty()) {
      lines.emplace_back(line);
    }
  }
  return lines;
}

// Names in capitals, letters in UTF-8.
std::string read_property(const std::string& line, const Decode& decode) {
  const bool is_ascii =
      std::ranges::all_of(line, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
  std::string property = is_ascii ? line : decode(line);
  for (char& c : property) {
    if (c == ':' || c == ';') break;
    c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  return property;
}

constexpr int deepest = 8;  // an alarm in an event is the second

// What stands in a component, up to its end, which `next` is then behind: properties, and components as one
// text each; sorted.
std::optional<Content> inside(const std::vector<std::string>& lines, std::size_t& next, const Decode& decode,
                              int depth = 1) {
  Content content;
  while (next < lines.size()) {
    const std::string& line = lines[next++];
    if (ended(line)) {
      std::ranges::sort(content);
      return content;
    }
    if (const auto kind = begun(line)) {
      const auto parts = depth < deepest ? inside(lines, next, decode, depth + 1) : std::nullopt;
      if (!parts) return std::nullopt;
      std::string whole = *kind;
      for (const std::string& part : *parts) whole += '\n' + part;
      content.push_back(std::move(whole));
    } else {
      content.push_back(read_property(line, decode));
    }
  }
  return std::nullopt;
}

}  // namespace

CalendarReader::CalendarReader(Source source, Rewrite rewrite)
    : lines_(std::move(source), longest_line), rewrite_(std::move(rewrite)) {}

void CalendarReader::begin(const std::string& kind, CalendarItem& item) {
  if (depth_++ == 0) {
    ++roots_;
    root_is_calendar_ = kind == "VCALENDAR";
    if (root_is_calendar_) return;
  }
  if (in_item_) return;
  in_item_ = true;
  item_depth_ = depth_;
  item = {};
  item.kind = kind;
  item.place = line_place_;
  item.in_a_calendar = root_is_calendar_;
}

void CalendarReader::add(const std::string& line, CalendarItem& item) {
  const std::string after = rewrite_ ? rewrite_(line) : line;
  if (!in_item_ || item.text.size() + line.size() > longest_item) return;
  item.text += line;
  item.rewritten += after;
}

bool CalendarReader::next(CalendarItem& item) {
  for (std::string line; lines_.next(line);) {
    line_place_ = place_;
    place_ += line.size();
    normalise(line);
    if (const auto kind = begun(line)) begin(*kind, item);
    add(line, item);
    if (!ended(line) || depth_ == 0) continue;
    const bool item_ends = in_item_ && depth_ == item_depth_;
    --depth_;
    if (!item_ends) continue;
    in_item_ = false;
    item.size = static_cast<std::uint32_t>(place_ - item.place);
    return true;
  }
  if (!in_item_) return false;
  in_item_ = false;
  item.complete = false;
  return true;
}

std::optional<Content> content_of(std::string_view text, const Decode& decode) {
  const std::vector<std::string> lines = unfolded(text);
  const auto kind = lines.empty() ? std::nullopt : begun(lines.front());
  if (!kind) return std::nullopt;
  std::size_t next = 1;
  auto content = inside(lines, next, decode);
  if (!content || next != lines.size()) return std::nullopt;
  content->insert(content->begin(), *kind);
  return content;
}

std::uint64_t hash_of(const Content& content) {
  std::string whole;
  for (const std::string& property : content) (whole += property) += '\0';
  return std::hash<std::string>()(whole);
}

std::string name_of(const std::string& property) {
  return property.substr(0, property.find_first_of(":;\n"));
}

std::string value_of(const Content& content, std::string_view name) {
  for (const std::string& property : content) {
    if (name_of(property) != name || property.find('\n') != std::string::npos) continue;
    bool quoted = false;
    for (std::size_t i = 0; i < property.size(); ++i) {
      if (property[i] == '"') quoted = !quoted;
      if (property[i] == ':' && !quoted) return property.substr(i + 1);
    }
  }
  return "";
}

std::string plain(std::string_view value) {
  std::string text;
  for (std::size_t i = 0; i < value.size(); ++i) {
    if (value[i] != '\\' || i + 1 == value.size()) {
      text += value[i];
    } else {
      ++i;
      text += value[i] == 'n' || value[i] == 'N' ? '\n' : value[i];
    }
  }
  return text;
}

bool is_readable(const std::string& property) {
  const std::string name = name_of(property);
  const std::string value = value_of({property}, name);
  if (name == "RRULE" && value.find("UNTIL=") != std::string::npos &&
      value.find("COUNT=") != std::string::npos)
    return true;  // the standard forbids both at once, but each says something
  if (name == "RRULE") return icalrecurrencetype_from_string(value.c_str()).freq != ICAL_NO_RECURRENCE;
  if (name != "DTSTART" && name != "DTEND" && name != "DUE" && name != "COMPLETED") return true;
  return icaltime_is_null_time(icaltime_from_string(value.c_str())) == 0;
}

}  // namespace account
