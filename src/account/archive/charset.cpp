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

bool is_in_charset(std::string_view text, const char* charset) {
  const Converter converter("UTF-8", charset);
  return converter.works() && converter.convert(text);
}

std::string readable(std::string_view text, const char* charset) {
  if (is_utf8(text)) return std::string(text);
  if (const auto converted = to_utf8(text, charset)) return *converted;
  return to_utf8(text, "ISO-8859-1").value_or(std::string(text));
}

}  // namespace account
