// Names and texts of Windows in any of its character sets.
#include <algorithm>

#include "account/archive/charset.h"
#include "account/archive/shown_name.h"
#include "process/archive/code_page.h"
#include "process/archive/spelling.h"
#include "support/harness.h"
#include "system/windows_text.h"

namespace {

constexpr const char* locales[] = {"C",     "de_DE", "ru_RU.UTF-8", "zh_CN", "zh_TW", "ja_JP",
                                   "ko_KR", "vi_VN", "th_TH",       "el_GR", "tr_TR", "he_IL"};
constexpr std::size_t most_growth = 6;

void check_texts(const std::string& text, const char* locale) {
  const std::string converted_text = as_utf8(text, locale);
  fuzz::require(is_utf8(converted_text), "a converted text is UTF-8");
  fuzz::require(converted_text.size() <= most_growth * text.size() + 8, "a text does not grow without end");
  fuzz::require(!is_utf8(text) || converted_text == text, "a text that is UTF-8 stays");
  fuzz::require(is_utf8(text) == account::is_utf8(text), "both programs know UTF-8 alike");
  const std::string readable = account::readable(text, account::windows_charset(locale));
  fuzz::require(is_utf8(readable), "what is shown is UTF-8");
}

void check_names(const std::string& text, const char* locale) {
  const char* const page = dos_code_page(locale);
  if (const auto name = converted(text, page, "UTF-8"))
    fuzz::require(is_utf8(*name), "a converted name is UTF-8");
  for (const bool is_marked : {false, true}) {
    const std::string shown = account::shown_name(text, account::dos_charset(locale), is_marked);
    fuzz::require(is_utf8(shown), "a shown name is UTF-8");
    const std::string fitting = account::fitting_path(shown);
    fuzz::require(is_utf8(fitting) && fitting.size() <= shown.size(), "a name is cut between two characters");
    fuzz::require(fuzz::count_of(fitting, "/") == fuzz::count_of(shown, "/"),
                  "a cut name stays in its folder");
  }
}

void check_spelling(const std::string& text) {
  fuzz::require(!as_file(text).starts_with('-') && !as_archive(text).starts_with('-'), "a name is no option");
  fuzz::require(as_file(text).ends_with(text), "a file's name stays");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Input input(data, size);
  const std::string text(std::string(input.text()).c_str());  // a NUL ends every name and value
  const char* const locale = locales[input.choice(std::size(locales))];
  check_texts(text, locale);
  check_names(text, locale);
  check_spelling(text);
  return 0;
}
