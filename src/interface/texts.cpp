#include "interface/texts.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>
#include <string>
#include <string_view>

#include "shell/files.h"
#include "shell/pieces.h"
#include "system/capabilities.h"
#include "system/detection.h"
#include "system/language.h"
#include "system/system.h"

namespace {

constexpr std::size_t substring_size = 256;
constexpr std::size_t text_size = 512;

char no_text[1] = "";

// Nobody frees the texts handed out, widgets and callers keep them as long as they like: they are owned
// here until the end of the program.
char* kept_text(std::string_view text, std::size_t buffer_size) {
  static std::deque<std::unique_ptr<char[]>> kept;
  const std::size_t length = std::min(text.size(), buffer_size - 1);
  kept.push_back(std::make_unique<char[]>(buffer_size));
  std::memcpy(kept.back().get(), text.data(), length);
  return kept.back().get();
}

const char* printable(const char* value) { return value != nullptr ? value : "(null)"; }

// The part of `line` after its first "=".
std::string_view text_of(std::string_view line) {
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) return "";
  std::string_view text = line.substr(equals + 1);
  if (text.ends_with('\n')) text.remove_suffix(1);
  return text;
}

}  // namespace

char* get_language() {
  getOsVersion("");
  const char* ctype = std::getenv("LC_CTYPE");
  const char* lang = std::getenv("LANG");
  std::printf("LC_CTYPE::%s\n", printable(ctype));
  std::printf("LANG::%s\n", printable(lang));
  if (capabilities(detected_system()).language_from_ctype) std::printf("Finding language for Gnome OS.");
  char* language = substring_r(wizard_locale(), 0, 4);
  std::printf("BUFFER::%s", language);
  return language;
}

char* substring_r(const char* str, int start, int end) {
  if (str == nullptr || start < 0 || end < start) return no_text;
  const std::string text = str;
  const std::size_t first = static_cast<std::size_t>(start);
  const std::size_t count = static_cast<std::size_t>(end) - first + 1;
  if (text.size() < count || text.size() < first) return no_text;
  return kept_text(text.substr(first, count), substring_size);
}

std::FILE* get_language_file() {
  return open_file(std::string("/usr/local/brindle/") + get_language(), "r").release();
}

char* get_widget_string(std::FILE* fp, const char* key) {
  std::rewind(fp);
  PieceReader lines(fp, text_size - 1);
  for (std::string_view line; lines.next(line);) {
    if (line.find(key) != std::string_view::npos) return kept_text(text_of(line), text_size);
  }
  return no_text;
}
