#include "interface/texts.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>
#include <string>

#include "system/detection.h"
#include "shell/files.h"
#include "state/state.h"

namespace {

constexpr std::size_t substring_size = 256;
constexpr std::size_t text_size = 512;

char no_text[1] = "";

// Nobody frees the texts handed out, widgets and callers keep them as long as they like: they are owned
// here until the end of the program.
char* kept_text(const std::string& text, std::size_t buffer_size) {
  static std::deque<std::unique_ptr<char[]>> kept;
  const std::size_t length = std::min(text.size(), buffer_size - 1);
  kept.push_back(std::make_unique<char[]>(buffer_size));
  std::memcpy(kept.back().get(), text.data(), length);
  return kept.back().get();
}

const char* printable(const char* value) { return value != nullptr ? value : "(null)"; }

// The part of `line` after its first "=".
std::string text_of(const std::string& line) {
  const std::size_t equals = line.find('=');
  if (equals == std::string::npos) return "";
  std::string text = line.substr(equals + 1);
  if (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

}  // namespace

char* get_language() {
  getOsVersion("");
  const char* ctype = std::getenv("LC_CTYPE");
  const char* lang = std::getenv("LANG");
  std::printf("LC_CTYPE::%s\n", printable(ctype));
  std::printf("LANG::%s\n", printable(lang));
  const char* locale = lang;
  if (std::strcmp(OSName, "GNome") == 0) {
    std::printf("Finding language for Gnome OS.");
    if (ctype != nullptr) locale = ctype;  // even a short one: LANG is no second try
  }
  char* language = substring_r(locale, 0, 4);
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
  std::string line;
  while (read_piece(fp, text_size - 1, line)) {
    if (contains(line, key)) return kept_text(text_of(line), text_size);
  }
  return no_text;
}
