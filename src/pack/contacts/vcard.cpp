#include "pack/contacts/vcard.h"

#include <algorithm>
#include <array>

namespace pack {

namespace {

// What ends a value or a part of one.
std::string escaped(std::string_view value) {
  std::string text;
  for (std::size_t at = 0; at < value.size(); ++at) {
    const char c = value[at];
    if (c == '\0' || (c == '\r' && at + 1 < value.size() && value[at + 1] == '\n')) continue;
    if (c == '\n' || c == '\r') {
      text += "\\n";
    } else {
      if (c == '\\' || c == ',' || c == ';') text += '\\';
      text += c;
    }
  }
  return text;
}

std::string upper(std::string_view text) {
  std::string letters(text);
  std::ranges::transform(letters, letters.begin(),
                         [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
  return letters;
}

// Lines that go on in the next one, which begins with a blank, made whole.
std::vector<std::string> unfolded(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    if ((line.starts_with(' ') || line.starts_with('\t')) && !lines.empty()) {
      lines.back() += line.substr(1);
    } else if (!line.empty()) {
      lines.emplace_back(line);
    }
  }
  return lines;
}

struct Line {
  std::string property;                 // in capital letters, without a group
  std::vector<std::string> parameters;  // in capital letters
  std::string value;
};

// A colon within quotes belongs to a parameter.
std::size_t end_of_name(const std::string& line) {
  bool is_quoted = false;
  for (std::size_t at = 0; at < line.size(); ++at) {
    if (line[at] == '"') is_quoted = !is_quoted;
    if (line[at] == ':' && !is_quoted) return at;
  }
  return std::string::npos;
}

Line parsed(const std::string& text) {
  const std::size_t colon = end_of_name(text);
  if (colon == std::string::npos) return {};
  Line line{.property = "", .parameters = {}, .value = text.substr(colon + 1)};
  std::string head = upper(std::string_view(text).substr(0, colon));
  std::erase(head, '"');
  for (std::size_t begin = 0; begin <= head.size();) {
    const std::size_t end = std::min(head.find_first_of(";,", begin), head.size());
    line.parameters.push_back(head.substr(begin, end - begin));
    begin = end + 1;
  }
  line.property = line.parameters.front();
  line.property.erase(0, line.property.find('.') + 1);
  line.parameters.erase(line.parameters.begin());
  return line;
}

constexpr std::array<std::string_view, 12> kept_properties = {
    "FN", "N", "NICKNAME", "EMAIL", "TEL", "ADR", "ORG", "TITLE", "BDAY", "URL", "NOTE", "CATEGORIES"};
constexpr std::array<std::string_view, 9> kept_types = {"HOME",  "WORK", "CELL",     "FAX",  "PAGER",
                                                        "VOICE", "PREF", "INTERNET", "OTHER"};

// "TYPE=WORK", "TYPE=\"work,fax\"", and "WORK" alone, as 2.1 has it.
std::string types_of(const Line& line) {
  std::string types;
  for (std::string parameter : line.parameters) {
    if (parameter.starts_with("TYPE=")) parameter.erase(0, 5);
    if (std::ranges::find(kept_types, parameter) != kept_types.end()) types += ";TYPE=" + parameter;
  }
  if (line.property == "EMAIL" && types.find("INTERNET") == std::string::npos)
    types = ";TYPE=INTERNET" + types;
  return types;
}

// 4.0 writes numbers as addresses: tel:+49-30-1.
std::string value_of(const Line& line) {
  const bool is_address = upper(line.value.substr(0, 4)) == "TEL:";
  return line.property == "TEL" && is_address ? line.value.substr(4) : line.value;
}

std::string whole_birthday(const std::map<std::string, std::string>& properties) {
  const auto number = [&](const char* name, std::size_t digits) {
    const auto found = properties.find(name);
    std::string text = found == properties.end() ? "" : found->second;
    if (text.empty() || text.size() > digits ||
        !std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; }))
      return std::string();
    return text.insert(0, digits - text.size(), '0');
  };
  const std::string year = number("BirthYear", 4);
  const std::string month = number("BirthMonth", 2);
  const std::string day = number("BirthDay", 2);
  return year.empty() || month.empty() || day.empty() ? "" : year + "-" + month + "-" + day;
}

// Without escapes, as people read it.
std::string plain(std::string_view value) {
  std::string text;
  for (std::size_t at = 0; at < value.size(); ++at) {
    if (value[at] == '\\' && at + 1 < value.size()) {
      ++at;
      text += value[at] == 'n' || value[at] == 'N' ? ' ' : value[at];
    } else {
      text += value[at] == ';' ? ' ' : value[at];
    }
  }
  const std::size_t begin = text.find_first_not_of(' ');
  return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
}

}  // namespace

void Vcard::add(std::string_view property, std::string_view value) {
  if (!value.empty()) lines_.push_back(std::string(property) + ":" + escaped(value));
}

// A zero byte would end the contact in its address book.
void Vcard::add_line(std::string line) {
  std::erase(line, '\0');
  lines_.push_back(std::move(line));
}

void Vcard::add(std::string_view property, const std::vector<std::string>& parts) {
  if (std::ranges::all_of(parts, &std::string::empty)) return;
  std::string value;
  for (const std::string& part : parts) value += escaped(part) + ";";
  value.pop_back();
  while (property == "ORG" && value.ends_with(';')) value.pop_back();
  lines_.push_back(std::string(property) + ":" + value);
}

void Vcard::add_list(std::string_view property, const std::vector<std::string>& values) {
  std::string list;
  for (const std::string& value : values)
    if (!value.empty()) list += (list.empty() ? "" : ",") + escaped(value);
  if (!list.empty()) lines_.push_back(std::string(property) + ":" + list);
}

std::string Vcard::value_of(std::string_view property) const {
  for (const std::string& line : lines_)
    if (line.starts_with(property) && (line[property.size()] == ':' || line[property.size()] == ';'))
      return line.substr(line.find(':') + 1);
  return "";
}

std::string Vcard::content() const {
  std::string text;
  for (const std::string& line : lines_) text += line + "\r\n";
  return text;
}

std::string Vcard::text(const std::string& uid) const {
  std::string shown = value_of("FN");
  std::string text = "BEGIN:VCARD\r\nVERSION:3.0\r\nUID:" + escaped(uid) + "\r\n";
  if (shown.empty()) {
    for (const char* property : {"N", "ORG", "NICKNAME", "EMAIL", "TEL"})
      if (shown.empty()) shown = escaped(plain(value_of(property)));
    text += "FN:" + shown + "\r\n";
  }
  if (value_of("N").empty()) text += "N:;" + shown + ";;;\r\n";
  return text + content() + "END:VCARD";
}

Vcard vcard_of(std::string_view text) {
  Vcard card;
  for (const std::string& whole : unfolded(text)) {
    const Line line = parsed(whole);
    if (std::ranges::find(kept_properties, line.property) == kept_properties.end()) continue;
    const std::string value = value_of(line);
    if (value.find_first_not_of(';') == std::string::npos) continue;
    card.add_line(line.property + types_of(line) + ":" + value);
  }
  return card;
}

Vcard vcard_of_mozilla(const std::map<std::string, std::string>& properties) {
  const auto of = [&](const char* name) {
    const auto found = properties.find(name);
    return found == properties.end() ? std::string() : found->second;
  };
  Vcard card;
  card.add("FN", of("DisplayName"));
  card.add("N", std::vector{of("LastName"), of("FirstName"), std::string(), std::string(), std::string()});
  card.add("NICKNAME", of("NickName"));
  card.add("EMAIL;TYPE=INTERNET", of("PrimaryEmail"));
  card.add("EMAIL;TYPE=INTERNET", of("SecondEmail"));
  card.add("TEL;TYPE=WORK;TYPE=VOICE", of("WorkPhone"));
  card.add("TEL;TYPE=HOME;TYPE=VOICE", of("HomePhone"));
  card.add("TEL;TYPE=CELL", of("CellularNumber"));
  card.add("TEL;TYPE=WORK;TYPE=FAX", of("FaxNumber"));
  card.add("TEL;TYPE=PAGER", of("PagerNumber"));
  for (const auto& [type, prefix] :
       {std::pair("HOME", std::string("Home")), std::pair("WORK", std::string("Work"))}) {
    const auto part = [&, &place = prefix](const char* name) { return of((place + name).c_str()); };
    card.add(std::string("ADR;TYPE=") + type,
             std::vector{std::string(), part("Address2"), part("Address"), part("City"), part("State"),
                         part("ZipCode"), part("Country")});
  }
  card.add("ORG", std::vector{of("Company"), of("Department")});
  card.add("TITLE", of("JobTitle"));
  card.add("URL", of(of("WebPage2").empty() ? "WebPage1" : "WebPage2"));
  card.add("BDAY", whole_birthday(properties));
  card.add("NOTE", of("Notes"));
  return card;
}

}  // namespace pack
