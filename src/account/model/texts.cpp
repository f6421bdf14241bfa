#include "account/model/texts.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace account {
namespace {

struct Line {
  const char* key;
  const char* english;
};

constexpr Line words[] = {
#define TEXT(name, key, english) {key, english},
#include "account/model/texts.def"
#undef TEXT
};

constexpr Line causes[] = {
#define CAUSE(name, key, english) {key, english},
#include "account/model/causes.def"
#undef CAUSE
};

struct Advice {
  Cause cause;
  Line line;
};

constexpr Advice advices[] = {
#define ADVICE(cause, key, english) {Cause::cause, {key, english}},
#include "account/model/advice.def"
#undef ADVICE
};

constexpr char mark = '\x1f';

}  // namespace

std::string mark_of(Text text) {
  return mark + std::string(words[static_cast<std::size_t>(text)].key) + mark;
}

std::string language_code(System system) {
  const char* locale = has_evolution(system) ? std::getenv("LC_CTYPE") : nullptr;
  if (locale == nullptr) locale = std::getenv("LANG");
  const std::string_view whole = locale == nullptr ? "" : locale;
  return std::string(whole.size() < 5 ? std::string_view() : whole.substr(0, 5));
}

std::string language_of_windows(System system) {
  const char* const locale = std::getenv("BRINDLE_LOCALE");
  return locale == nullptr || *locale == '\0' ? language_code(system) : std::string(locale).substr(0, 5);
}

Texts::Texts(const std::string& file) {
  constexpr std::string_view own = "account-";
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);) {
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos || !line.starts_with(own)) continue;
    lines_.try_emplace(line.substr(0, equals), line.substr(equals + 1));
  }
}

std::string Texts::operator()(Text text, std::string_view detail) const {
  const Line& line = words[static_cast<std::size_t>(text)];
  return (*this)(line.key, line.english, detail);
}

std::string Texts::operator()(Cause cause, std::string_view detail) const {
  const Line& line = causes[static_cast<std::size_t>(cause)];
  return (*this)(line.key, line.english, without_marks(detail));
}

// A detail may hold a person's own values: what is between two such characters and no key stays.
std::string Texts::without_marks(std::string_view detail) const {
  std::string result;
  for (;;) {
    const std::size_t begin = detail.find(mark), end = detail.find(mark, begin + 1);
    if (begin == std::string_view::npos || end == std::string_view::npos) return result.append(detail);
    const std::string_view key = detail.substr(begin + 1, end - begin - 1);
    const Line* const line = std::ranges::find(words, key, &Line::key);
    const bool is_key = line != std::end(words);
    result += detail.substr(0, is_key ? begin : end);
    if (is_key) result += (*this)(line->key, line->english, {});
    detail.remove_prefix(is_key ? end + 1 : end);
  }
}

std::string Texts::operator()(Kind kind) const {
  const KindName& name = name_of(kind);
  return (*this)(name.key, name.english, {});
}

std::string Texts::advice(Cause cause) const {
  const Advice* const found = std::ranges::find(advices, cause, &Advice::cause);
  return found == std::end(advices) ? "" : (*this)(found->line.key, found->line.english, {});
}

std::string Texts::operator()(const char* key, const char* english, std::string_view detail) const {
  const auto found = lines_.find(std::string_view(key));
  std::string text = found == lines_.end() ? english : found->second;
  const std::size_t blank = text.find("%s");
  if (blank != std::string::npos) text.replace(blank, 2, detail);
  return text;
}

}  // namespace account
