#include "pack/contacts/vcard.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>
#include <memory>
#include <span>

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

bool is_quoted_printable(std::string_view line) {
  constexpr std::size_t longest_name = 256;
  const std::string_view beginning = line.substr(0, longest_name);
  return upper(beginning.substr(0, beginning.find(':'))).find("QUOTED-PRINTABLE") != std::string::npos;
}

// Lines that go on in the next one made whole: it begins with a blank, of which 2.1 keeps one, or the line
// ends with the sign of quoted-printable.
std::vector<std::string> unfolded(std::string_view text, bool keeps_blank) {
  std::vector<std::string> lines;
  bool goes_on = false;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (goes_on) {
      lines.back().pop_back();
      lines.back() += line;
    } else if ((line.starts_with(' ') || line.starts_with('\t')) && !lines.empty()) {
      lines.back() += line.substr(keeps_blank ? 0 : 1);
    } else if (!line.empty()) {
      lines.emplace_back(line);
    }
    goes_on = !lines.empty() && lines.back().ends_with('=') && is_quoted_printable(lines.back());
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
constexpr std::array<std::string_view, 3> properties_in_parts = {"N", "ADR", "ORG"};
// What a program writes for itself or for others, and a label that repeats an address.
constexpr std::array<std::string_view, 9> properties_of_programs = {
    "BEGIN", "END", "VERSION", "PRODID", "UID", "REV", "CLIENTPIDMAP", "MAILER", "LABEL"};
constexpr std::array<std::string_view, 18> kept_types = {"HOME", "WORK",  "CELL", "FAX", "PAGER", "VOICE",
                                                         "PREF", "OTHER", "CAR",  "MSG", "MODEM", "ISDN",
                                                         "BBS",  "VIDEO", "PCS",  "DOM", "INTL",  "INTERNET"};

bool is_one_of(std::span<const std::string_view> names, std::string_view name) {
  return std::ranges::find(names, name) != names.end();
}

// "TYPE=WORK", "TYPE=\"work,fax\"", and "WORK" alone, as 2.1 has it.
std::string types_of(const Line& line) {
  std::string types;
  for (std::string parameter : line.parameters) {
    if (parameter.starts_with("TYPE=")) parameter.erase(0, 5);
    if (is_one_of(kept_types, parameter)) types += ";TYPE=" + parameter;
  }
  if (line.property == "EMAIL" && types.find("INTERNET") == std::string::npos)
    types = ";TYPE=INTERNET" + types;
  return types;
}

// "PREF=1" comes before "PREF=2", "PREF" alone before none.
int rank_of(const Line& line) {
  constexpr int none = 1000;
  int rank = none;
  for (std::string_view parameter : line.parameters) {
    if (parameter.starts_with("TYPE=")) parameter.remove_prefix(5);
    if (parameter == "PREF") rank = 1;
    if (parameter.starts_with("PREF="))
      std::from_chars(parameter.data() + 5, parameter.data() + parameter.size(), rank);
  }
  return rank;
}

std::string parameter_of(const Line& line, std::string_view name) {
  for (const std::string& parameter : line.parameters)
    if (parameter.starts_with(name) && parameter.size() > name.size() && parameter[name.size()] == '=')
      return parameter.substr(name.size() + 1);
  return "";
}

bool has_parameter(const Line& line, std::string_view encoding) {
  return is_one_of(std::vector<std::string_view>(line.parameters.begin(), line.parameters.end()), encoding) ||
         parameter_of(line, "ENCODING") == encoding;
}

// "=E4" by its byte; what is none stays.
std::string from_quoted_printable(std::string_view value) {
  std::string text;
  for (std::size_t at = 0; at < value.size(); ++at) {
    unsigned byte = 0;
    const char* const digits = value.data() + at + 1;
    if (value[at] == '=' && at + 2 < value.size() &&
        std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2) {
      text += static_cast<char>(byte);
      at += 2;
    } else {
      text += value[at];
    }
  }
  return text;
}

std::string in_utf8(const std::string& bytes, const std::string& charset) {
  const auto size = static_cast<gssize>(bytes.size());
  if (g_utf8_validate(bytes.data(), size, nullptr) != FALSE) return bytes;
  using Text = std::unique_ptr<char, decltype(&g_free)>;
  const Text text(
      g_convert_with_fallback(bytes.data(), size, "UTF-8", charset.c_str(), "?", nullptr, nullptr, nullptr),
      g_free);
  return text ? text.get() : Text(g_utf8_make_valid(bytes.data(), size), g_free).get();
}

// With the sign for a new line where there is one.
std::string on_one_line(std::string_view value) {
  std::string text;
  for (const char c : value) {
    if (c == '\n') text += "\\n";
    if (c != '\n' && c != '\r') text += c;
  }
  return text;
}

// Parts between semicolons, without the escapes that 2.1 knows.
std::vector<std::string> parts_of_old(std::string_view value) {
  std::vector<std::string> parts(1);
  for (std::size_t at = 0; at < value.size(); ++at) {
    const char next = at + 1 < value.size() ? value[at + 1] : '\0';
    if (value[at] == '\\' && (next == ';' || next == ',' || next == ':' || next == '\\')) {
      parts.back() += next;
      ++at;
    } else if (value[at] == '\\' && (next == 'n' || next == 'N')) {
      parts.back() += '\n';
      ++at;
    } else if (value[at] == ';') {
      parts.emplace_back();
    } else {
      parts.back() += value[at];
    }
  }
  return parts;
}

// A value of 2.1 in the escapes of 3.0.
std::string escaped_anew(const Line& line, std::string_view value) {
  std::string text;
  const bool has_parts = is_one_of(properties_in_parts, line.property);
  for (const std::string& part : parts_of_old(value)) text += escaped(part) + (has_parts ? ";" : "\\;");
  text.resize(text.size() - (has_parts ? 1 : 2));
  return text;
}

// 4.0 writes numbers as addresses (tel:+49-30-1) and days without lines between (19700510).
std::string in_words_of_3(const Line& line, const std::string& value) {
  if (line.property == "TEL" && upper(value.substr(0, 4)) == "TEL:") return value.substr(4);
  if (line.property != "BDAY") return value;
  std::string day = value.substr(0, value.find('T'));
  std::erase(day, '-');
  const bool is_whole = day.size() == 8 && !value.starts_with('-') &&
                        std::ranges::all_of(day, [](char c) { return c >= '0' && c <= '9'; });
  return is_whole ? day.substr(0, 4) + "-" + day.substr(4, 2) + "-" + day.substr(6) : "";
}

std::string value_of(const Line& line, bool is_old, const std::string& charset) {
  const bool is_quoted = has_parameter(line, "QUOTED-PRINTABLE");
  const std::string told = parameter_of(line, "CHARSET");
  std::string value = is_quoted ? from_quoted_printable(line.value) : line.value;
  value = in_utf8(value, told.empty() ? charset : told);
  // In a list its commas are no text.
  value = is_old && line.property != "CATEGORIES" ? escaped_anew(line, value) : on_one_line(value);
  return in_words_of_3(line, value);
}

bool is_base64(const Line& line) { return has_parameter(line, "BASE64") || has_parameter(line, "B"); }

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

constexpr int not_ranked = -1;

// The lines that have a rank by it, in the places that they have together.
void put_in_order(std::vector<std::pair<int, std::string>>& lines) {
  std::vector<std::pair<int, std::string>> ranked;
  std::ranges::copy_if(lines, std::back_inserter(ranked),
                       [](const auto& line) { return line.first != not_ranked; });
  std::ranges::stable_sort(ranked, {}, &std::pair<int, std::string>::first);
  auto next = ranked.begin();
  for (auto& line : lines)
    if (line.first != not_ranked) line = std::move(*next++);
}

// Of Mozilla's names: those that have a place, and those that a program keeps for itself.
constexpr std::array<std::string_view, 31> kept_names = {
    "DisplayName", "LastName",    "FirstName",     "NickName",    "PrimaryEmail", "SecondEmail",  "WorkPhone",
    "HomePhone",   "Company",     "FaxNumber",     "PagerNumber", "HomeAddress",  "HomeAddress2", "HomeCity",
    "HomeState",   "HomeZipCode", "HomeCountry",   "WorkAddress", "WorkAddress2", "WorkCity",     "WorkState",
    "WorkZipCode", "WorkCountry", "Department",    "JobTitle",    "WebPage2",     "Notes",        "BirthYear",
    "BirthMonth",  "BirthDay",    "CellularNumber"};
constexpr std::array<std::string_view, 13> names_of_programs = {"UID",
                                                                "PreferDisplayName",
                                                                "PreferMailFormat",
                                                                "AllowRemoteContent",
                                                                "PopularityIndex",
                                                                "RecordKey",
                                                                "LastModifiedDate",
                                                                "LowercasePrimaryEmail",
                                                                "LowercaseSecondEmail",
                                                                "DbRowID",
                                                                "PhotoType",
                                                                "_etag",
                                                                "_href"};

// A line as the card has it. KAddressBook's contacts are taken for GB2312, but for values that tell what they
// are in.
std::string finished(std::string line) {
  const bool is_ascii = std::ranges::all_of(line, [](unsigned char c) { return c < 0x80; });
  if (!is_ascii) line.insert(std::min(line.find(':'), line.size()), ";CHARSET=UTF-8");
  return line + "\r\n";
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

void Vcard::add_line(std::string line) {
  std::erase(line, '\0');
  lines_.push_back(std::move(line));
}

void Vcard::add(std::string_view property, std::string_view value) {
  if (!value.empty()) add_line(std::string(property) + ":" + escaped(value));
}

void Vcard::add(std::string_view property, const std::vector<std::string>& parts) {
  if (std::ranges::all_of(parts, &std::string::empty)) return;
  std::string value;
  for (const std::string& part : parts) value += escaped(part) + ";";
  value.pop_back();
  while (property == "ORG" && value.ends_with(';')) value.pop_back();
  add_line(std::string(property) + ":" + value);
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

// As FN has it, escaped.
std::string Vcard::name() const {
  std::string text = value_of("FN");
  for (const char* property : {"N", "ORG", "NICKNAME", "EMAIL", "TEL"})
    if (text.empty()) text = escaped(plain(value_of(property)));
  return text;
}

std::string Vcard::shown() const { return plain(name()); }

std::string Vcard::text(const std::string& uid) const {
  std::string text = "BEGIN:VCARD\r\nVERSION:3.0\r\n" + finished("UID:" + escaped(uid));
  if (value_of("FN").empty()) text += finished("FN:" + name());
  if (value_of("N").empty()) text += finished("N:;" + name() + ";;;");
  for (const std::string& line : lines_) text += finished(line);
  return text + "END:VCARD";
}

Vcard vcard_of(std::string_view card_text, const std::string& charset) {
  std::string text(card_text);
  std::erase(text, '\0');
  const std::string letters = upper(text);
  const bool is_old =
      letters.substr(std::min(letters.find("VERSION:"), letters.size())).starts_with("VERSION:2.1");
  std::vector<std::pair<int, std::string>> lines;
  Vcard card;
  for (const std::string& whole : unfolded(text, is_old)) {
    const Line line = parsed(whole);
    const bool has_value = line.value.find_first_not_of(';') != std::string::npos;
    if (!has_value || is_one_of(properties_of_programs, line.property)) continue;
    const bool has_place = is_one_of(kept_properties, line.property) && !is_base64(line);
    const std::string value = has_place ? value_of(line, is_old, charset) : "";
    if (value.empty()) {
      card.drop(line.property);
    } else {
      lines.emplace_back(line.property == "EMAIL" ? rank_of(line) : not_ranked,
                         line.property + types_of(line) + ":" + value);
    }
  }
  put_in_order(lines);
  for (auto& [rank, line] : lines) card.add_line(std::move(line));
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
  if (whole_birthday(properties).empty() && !(of("BirthYear") + of("BirthMonth") + of("BirthDay")).empty())
    card.drop("Birthday");
  if (!of("WebPage2").empty() && !of("WebPage1").empty()) card.drop("WebPage1");
  for (const auto& [name, value] : properties)
    if (!value.empty() && name != "WebPage1" && !is_one_of(kept_names, name) &&
        !is_one_of(names_of_programs, name))
      card.drop(name);
  return card;
}

}  // namespace pack
