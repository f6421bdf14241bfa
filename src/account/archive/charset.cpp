#include "account/archive/charset.h"

#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace account {
namespace {

struct Pages {
  const char* language;  // the whole code or its first part
  const char* dos;
  const char* windows;
};

// The first row that fits counts. What no row names is Western.
constexpr Pages pages[] = {
    {"en_US", "CP437", "CP1252"}, {"zh_TW", "CP950", "CP950"}, {"zh_HK", "CP950", "CP950"},
    {"zh", "CP936", "CP936"},     {"ja", "CP932", "CP932"},    {"ko", "CP949", "CP949"},
    {"ru", "CP866", "CP1251"},    {"uk", "CP866", "CP1251"},   {"be", "CP866", "CP1251"},
    {"bg", "CP866", "CP1251"},    {"pl", "CP852", "CP1250"},   {"cs", "CP852", "CP1250"},
    {"sk", "CP852", "CP1250"},    {"hu", "CP852", "CP1250"},   {"ro", "CP852", "CP1250"},
    {"hr", "CP852", "CP1250"},    {"sl", "CP852", "CP1250"},   {"el", "CP737", "CP1253"},
    {"tr", "CP857", "CP1254"},    {"he", "CP862", "CP1255"},   {"ar", "CP864", "CP1256"},
    {"lt", "CP775", "CP1257"},    {"lv", "CP775", "CP1257"},   {"et", "CP775", "CP1257"},
    {"", "CP850", "CP1252"},
};

const Pages& pages_of(std::string_view language) {
  return *std::ranges::find_if(pages,
                               [language](const Pages& row) { return language.starts_with(row.language); });
}

class Converter {
 public:
  Converter(const char* from, const char* to) : handle_(iconv_open(to, from)) {}
  ~Converter() {
    if (works()) iconv_close(handle_);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  bool works() const { return handle_ != reinterpret_cast<iconv_t>(-1); }

  std::optional<std::string> convert(std::string_view text) const {
    std::string result(text.size() * 4 + 8, '\0');
    char* from = const_cast<char*>(text.data());  // iconv does not write there
    char* to = result.data();
    std::size_t left = text.size(), room = result.size();
    constexpr auto failed = static_cast<std::size_t>(-1);
    if (iconv(handle_, &from, &left, &to, &room) == failed) return std::nullopt;
    if (iconv(handle_, nullptr, nullptr, &to, &room) == failed) return std::nullopt;
    result.resize(static_cast<std::size_t>(to - result.data()));
    return result;
  }

 private:
  iconv_t handle_;
};

bool is_high(char c) { return static_cast<unsigned char>(c) >= 0x80; }

// No letter of a Western character set.
bool is_western_sign(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return (byte >= 0xa1 && byte <= 0xbf) || byte == 0xd7 || byte == 0xf7;
}

// Ideographs, of which the first byte tells them from signs.
bool are_ideographs(std::string_view bytes) {
  if (bytes.size() % 2 != 0) return false;
  for (std::size_t i = 0; i < bytes.size(); i += 2) {
    const auto lead = static_cast<unsigned char>(bytes[i]), trail = static_cast<unsigned char>(bytes[i + 1]);
    if (lead < 0xb0 || lead > 0xf7 || trail < 0xa1 || trail > 0xfe) return false;
  }
  return true;
}

// All that is no ASCII are ideographs of GB2312, and somewhere so many in a row, or with such signs, that no
// Western word is meant.
bool is_chinese(std::string_view text) {
  bool is_certain = false;
  for (auto at = text.begin(); (at = std::find_if(at, text.end(), is_high)) != text.end();) {
    const auto end = std::find_if_not(at, text.end(), is_high);
    const std::string_view row(at, end);
    if (!are_ideographs(row)) return false;
    is_certain |= row.size() >= 6 || (row.size() >= 4 && std::ranges::any_of(row, is_western_sign));
    at = end;
  }
  return is_certain;
}

}  // namespace

const char* dos_charset(std::string_view language) { return pages_of(language).dos; }

const char* windows_charset(std::string_view language) { return pages_of(language).windows; }

bool is_utf8(std::string_view text) {
  if (std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; })) return true;
  return to_utf8(text, "UTF-8").has_value();
}

std::optional<std::string> to_utf8(std::string_view text, const char* charset) {
  const Converter converter(charset, "UTF-8");
  if (!converter.works()) return std::nullopt;
  return converter.convert(text);
}

const char* likely_charset(std::string_view text, const char* charset) {
  return std::string_view(charset) == "CP1252" && is_chinese(text) ? "GB18030" : charset;
}

bool is_in_charset(std::string_view text, const char* charset) {
  const Converter converter("UTF-8", charset);
  return converter.works() && converter.convert(text);
}

std::string readable(std::string_view text, const char* charset) {
  if (is_utf8(text)) return std::string(text);
  for (const char* const one : {likely_charset(text, charset), charset})
    if (const auto converted = to_utf8(text, one)) return *converted;
  return to_utf8(text, "ISO-8859-1").value_or(std::string(text));
}

}  // namespace account
