#include "account/readers/vcard.h"

#include <glib.h>
#include <strings.h>

#include <algorithm>
#include <cctype>
#include <iterator>
#include <set>

#include "account/archive/charset.h"

namespace account {
namespace {

constexpr std::size_t longest_line = std::size_t{16} << 20, longest_card = std::size_t{32} << 20,
                      longest_in_full = 512, longest_name = 1024;

std::string capitals(std::string_view text) {
  std::string result(text);
  std::ranges::transform(result, result.begin(), [](unsigned char c) { return std::toupper(c); });
  return result;
}

bool begins_with(std::string_view line, std::string_view mark) {
  return line.size() >= mark.size() && strncasecmp(line.data(), mark.data(), mark.size()) == 0;
}

// The colon that ends the name is the first one outside of quotes.
std::size_t colon_of(std::string_view line) {
  bool quoted = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] == '"') quoted = !quoted;
    if (line[i] == ':' && !quoted) return i;
  }
  return std::string_view::npos;
}

// Looked for in front alone: a line that goes on and on is asked again each time.
bool is_quoted_printable(std::string_view line) {
  line = line.substr(0, longest_name);
  const std::size_t colon = colon_of(line);
  return colon != std::string_view::npos &&
         capitals(line.substr(0, colon)).find("QUOTED-PRINTABLE") != std::string::npos;
}

// Lines without their ends. Version 2.1 keeps the blank that a fold begins with; quoted-printable goes on
// behind a "=".
std::vector<std::string> unfolded(std::string_view text) {
  const bool keeps_blank = capitals(text.substr(0, 200)).find("VERSION:2.1") != std::string::npos;
  std::vector<std::string> lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (line.empty()) continue;
    const bool folded = line.front() == ' ' || line.front() == '\t';
    const bool goes_on = !lines.empty() && lines.back().ends_with('=') && is_quoted_printable(lines.back());
    if (goes_on && !begins_with(line, "END:VCARD")) {
      lines.back().pop_back();
      lines.back() += line.substr(folded && !keeps_blank ? 1 : 0);
    } else if (folded && !lines.empty()) {
      lines.back() += line.substr(keeps_blank ? 0 : 1);
    } else {
      lines.emplace_back(line);
    }
  }
  return lines;
}

std::vector<std::string> split(const std::string& text, char at) {
  std::vector<std::string> parts = {""};
  bool quoted = false;
  for (const char c : text) {
    if (c == '"') {
      quoted = !quoted;
    } else if (c == at && !quoted) {
      parts.emplace_back();
    } else {
      parts.back() += c;
    }
  }
  return parts;
}

std::string from_quoted_printable(const std::string& text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool is_code = text[i] == '=' && i + 2 < text.size() && g_ascii_isxdigit(text[i + 1]) &&
                         g_ascii_isxdigit(text[i + 2]);
    if (is_code) {
      result += static_cast<char>(g_ascii_xdigit_value(text[i + 1]) * 16 + g_ascii_xdigit_value(text[i + 2]));
      i += 2;
    } else {
      result += text[i];
    }
  }
  return result;
}

std::string from_base64(std::string text) {
  if (text.empty()) return text;
  gsize size = 0;
  g_base64_decode_inplace(text.data(), &size);
  text.resize(size);
  return text;
}

// How a field is written down.
struct Form {
  std::string encoding, charset;
};

void read_parameter(const std::string& word, CardField& field, Form& form) {
  const std::size_t equals = word.find('=');
  const std::string name = equals == std::string::npos ? "TYPE" : capitals(word.substr(0, equals));
  const std::string value = equals == std::string::npos ? word : word.substr(equals + 1);
  if (name == "CHARSET") form.charset = value;
  if (name == "ENCODING") form.encoding = capitals(value);
  if (name != "TYPE") return;
  for (const std::string& type : split(capitals(value), ',')) {
    if (type == "QUOTED-PRINTABLE" || type == "BASE64") {
      form.encoding = type;
    } else {
      field.types.push_back(type);
    }
  }
}

std::string decoded(const std::string& value, const Form& form, const Card::Decode& decode) {
  std::string bytes = value;
  if (form.encoding == "QUOTED-PRINTABLE") bytes = from_quoted_printable(value);
  if (form.encoding == "B" || form.encoding == "BASE64") bytes = from_base64(value);
  if (!form.charset.empty())
    if (const auto text = to_utf8(bytes, form.charset.c_str())) return *text;
  return decode(bytes);
}

bool is_picture(const std::string& name) {
  return name == "PHOTO" || name == "LOGO" || name == "SOUND" || name == "KEY";
}

std::string unescaped(std::string_view raw) {
  std::string text;
  for (std::size_t i = 0; i < raw.size(); ++i) {
    if (raw[i] == '\r') continue;
    if (raw[i] != '\\' || i + 1 == raw.size()) {
      text += raw[i];
    } else {
      ++i;
      text += raw[i] == 'n' || raw[i] == 'N' ? '\n' : raw[i];
    }
  }
  return text;
}

std::string text_of(const CardField& field) {
  std::string text = field.name;
  for (const std::string& type : field.types) text += ";" + type;
  const std::string value = field.value();
  if (value.size() <= longest_in_full) return text + ":" + value;
  return text + ":#" + std::to_string(value.size()) + "-" + std::to_string(std::hash<std::string>()(value));
}

}  // namespace

std::string CardField::value() const { return is_picture(name) ? raw : unescaped(raw); }

Card::Card(std::string_view text, const Decode& decode) {
  for (const std::string& line : unfolded(text)) {
    const std::size_t colon = colon_of(line);
    if (colon == std::string::npos) continue;
    const std::vector<std::string> words = split(line.substr(0, colon), ';');
    CardField field;
    Form form;
    field.name = capitals(words.front());
    if (const std::size_t dot = field.name.rfind('.'); dot != std::string::npos) field.name.erase(0, dot + 1);
    if (field.name == "BEGIN" || field.name == "END" || field.name == "VERSION") continue;
    for (std::size_t i = 1; i < words.size(); ++i) read_parameter(words[i], field, form);
    std::ranges::sort(field.types);
    const auto as_it_is = [](std::string_view bytes) { return std::string(bytes); };
    field.raw = decoded(line.substr(colon + 1), form, is_picture(field.name) ? Decode(as_it_is) : decode);
    fields_.push_back(std::move(field));
  }
}

std::string Card::value_of(std::string_view name) const {
  const auto found = std::ranges::find(fields_, name, &CardField::name);
  return found == fields_.end() ? "" : found->value();
}

std::string Card::title() const {
  for (const char* name : {"FN", "N", "NICKNAME", "ORG", "EMAIL", "TEL", "UID"}) {
    std::string value = value_of(name);
    while (value.ends_with(';')) value.pop_back();
    if (!value.empty()) return value;
  }
  return "";
}

std::vector<std::string> Card::content() const {
  std::vector<std::string> result;
  for (const CardField& field : fields_) result.push_back(text_of(field));
  std::ranges::sort(result);
  return result;
}

std::string difference_of_cards(const std::vector<std::string>& one, const std::vector<std::string>& other) {
  std::vector<std::string> fields;
  std::ranges::set_symmetric_difference(one, other, std::back_inserter(fields));
  std::set<std::string> names;
  for (const std::string& field : fields) names.insert(field.substr(0, field.find_first_of(":;")));
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

std::vector<std::string> parts_of(std::string_view raw) {
  std::vector<std::string> parts = {""};
  for (std::size_t i = 0; i < raw.size(); ++i) {
    if (raw[i] == ';') {
      parts.emplace_back();
    } else {
      parts.back() += raw[i];
      if (raw[i] == '\\' && i + 1 < raw.size()) parts.back() += raw[++i];
    }
  }
  for (std::string& part : parts) part = unescaped(part);
  return parts;
}

void each_card(Source source, const std::function<void(const std::string&)>& take) {
  LineReader lines(std::move(source), longest_line);
  std::string card;
  bool inside = false;
  for (std::string line; lines.next(line);) {
    if (begins_with(line, "BEGIN:VCARD")) {
      card.clear();
      inside = true;
    }
    if (inside && card.size() + line.size() <= longest_card) card += line;
    if (!inside || !begins_with(line, "END:VCARD")) continue;
    inside = false;
    take(card);
  }
}

}  // namespace account
