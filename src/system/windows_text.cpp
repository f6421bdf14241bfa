#include "system/windows_text.h"

#include <glib.h>
#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>

#include "system/language.h"

namespace {

// ---- Code pages --------------------------------------------------------------------------------------

struct CodePage {
  std::string_view language;  // and country
  const char* name;
};

constexpr const char* western = "CP1252";

// A row with a country comes before the one of its language alone.
constexpr std::array code_pages = {
    CodePage{"cs", "CP1250"},   CodePage{"hr", "CP1250"},   CodePage{"hu", "CP1250"},
    CodePage{"bs", "CP1250"},   CodePage{"pl", "CP1250"},   CodePage{"ro", "CP1250"},
    CodePage{"sk", "CP1250"},   CodePage{"sl", "CP1250"},   CodePage{"sq", "CP1250"},
    CodePage{"be", "CP1251"},   CodePage{"bg", "CP1251"},   CodePage{"kk", "CP1251"},
    CodePage{"ky", "CP1251"},   CodePage{"mk", "CP1251"},   CodePage{"mn", "CP1251"},
    CodePage{"ru", "CP1251"},   CodePage{"sr", "CP1251"},   CodePage{"tt", "CP1251"},
    CodePage{"uk", "CP1251"},   CodePage{"el", "CP1253"},   CodePage{"az", "CP1254"},
    CodePage{"tr", "CP1254"},   CodePage{"uz", "CP1254"},   CodePage{"he", "CP1255"},
    CodePage{"iw", "CP1255"},   CodePage{"yi", "CP1255"},   CodePage{"ar", "CP1256"},
    CodePage{"fa", "CP1256"},   CodePage{"ur", "CP1256"},   CodePage{"et", "CP1257"},
    CodePage{"lt", "CP1257"},   CodePage{"lv", "CP1257"},   CodePage{"vi", "CP1258"},
    CodePage{"th", "CP874"},    CodePage{"ja", "CP932"},    CodePage{"ko", "CP949"},
    CodePage{"zh_TW", "CP950"}, CodePage{"zh_HK", "CP950"}, CodePage{"zh_MO", "CP950"},
    CodePage{"zh", "CP936"},
};

// ---- Conversion --------------------------------------------------------------------------------------

constexpr const char* replacement = "\xef\xbf\xbd";

/// One text on its way into UTF-8.
class Conversion {
 public:
  explicit Conversion(const char* code_page) : converter_(iconv_open("UTF-8", code_page)) {}
  ~Conversion() {
    if (usable()) iconv_close(converter_);
  }
  Conversion(const Conversion&) = delete;
  Conversion& operator=(const Conversion&) = delete;

  bool usable() const { return converter_ != reinterpret_cast<iconv_t>(-1); }

  std::string run(std::string_view bytes) {
    char* from = const_cast<char*>(bytes.data());  // only read
    std::size_t left = bytes.size();
    while (left > 0) {
      const int error = step(&from, &left);
      if (error == EINVAL) break;
      if (error != EILSEQ) continue;
      finish_character();
      text_ += replacement;
      ++from;
      --left;
    }
    finish_character();
    return text_;
  }

 private:
  int step(char** from, std::size_t* left) {
    std::array<char, 256> block;
    char* to = block.data();
    std::size_t room = block.size();
    const int error = iconv(converter_, from, left, &to, &room) == static_cast<std::size_t>(-1) ? errno : 0;
    text_.append(block.data(), block.size() - room);
    return error;
  }

  // A letter is held back where an accent may follow as a character of its own, as in CP1258.
  void finish_character() { step(nullptr, nullptr); }

  iconv_t converter_;
  std::string text_;
};

// Without the code page only the letters of ASCII can be told.
std::string made_valid(std::string_view bytes) {
  const std::unique_ptr<char, void (*)(void*)> text(
      g_utf8_make_valid(bytes.data(), static_cast<gssize>(bytes.size())), g_free);
  return text.get();
}

std::string converted(std::string_view bytes, const char* code_page) {
  Conversion conversion(code_page);
  return conversion.usable() ? conversion.run(bytes) : made_valid(bytes);
}

}  // namespace

const char* windows_code_page(std::string_view locale) {
  const auto row = std::ranges::find_if(
      code_pages, [&](const CodePage& each) { return is_in_language(locale, each.language); });
  return row == code_pages.end() ? western : row->name;
}

bool is_utf8(std::string_view bytes) {
  return g_utf8_validate(bytes.data(), static_cast<gssize>(bytes.size()), nullptr) != FALSE;
}

std::string as_utf8(std::string_view bytes, std::string_view locale) {
  return is_utf8(bytes) ? std::string(bytes) : converted(bytes, windows_code_page(locale));
}
