#include "composer/expected.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string_view>

namespace {

namespace fs = std::filesystem;

struct Part {
  enum { text, value, star } what = text;
  std::string characters{};  // of a text
  std::size_t number = 0;    // of a value, from 0
};

struct Word {
  char target = 'w';  // or < or >
  bool vanishes = false;
  std::vector<Part> parts{};

  bool has_star() const {
    return std::ranges::any_of(parts, [](const Part& part) { return part.what == Part::star; });
  }
  bool holds(std::size_t number) const {
    return std::ranges::any_of(
        parts, [&](const Part& part) { return part.what == Part::value && part.number == number; });
  }
};

// ---- Reading Shape::gets ----------------------------------------------------------------------------

bool is_value(std::string_view text) {
  return text.size() >= 3 && text[0] == '{' && text[1] >= '1' && text[1] <= '9' && text[2] == '}';
}

Word word_in(std::string_view text) {
  Word word;
  if (text.starts_with('<') || text.starts_with('>')) {
    word.target = text.front();
    text.remove_prefix(1);
  }
  word.vanishes = text.starts_with('(');
  if (word.vanishes) text = text.substr(1, text.size() - 2);
  while (!text.empty()) {
    if (is_value(text)) {
      word.parts.push_back({Part::value, "", static_cast<std::size_t>(text[1] - '1')});
      text.remove_prefix(3);
    } else {
      const bool star = text[0] == '*';
      if (text[0] == '\\') text.remove_prefix(1);
      word.parts.push_back({star ? Part::star : Part::text, std::string(1, text[0]), 0});
      text.remove_prefix(1);
    }
  }
  return word;
}

std::vector<std::string_view> split(std::string_view text, char sign) {
  std::vector<std::string_view> parts;
  for (std::size_t end = text.find(sign); end != std::string_view::npos; end = text.find(sign)) {
    parts.push_back(text.substr(0, end));
    text.remove_prefix(end + 1);
  }
  parts.push_back(text);
  return parts;
}

std::vector<std::vector<Word>> calls_of(const Shape& shape) {
  std::vector<std::vector<Word>> calls;
  for (const std::string_view line : split(shape.gets, '\n')) {
    calls.emplace_back();
    for (const std::string_view word : split(line, '|')) calls.back().push_back(word_in(word));
  }
  return calls;
}

// ---- Globs ------------------------------------------------------------------------------------------

// A word with its values: the texts between its stars.
std::vector<std::string> texts_of(const Word& word, const std::vector<std::string>& values) {
  std::vector<std::string> texts(1);
  for (const Part& part : word.parts) {
    if (part.what == Part::star) {
      texts.emplace_back();
    } else {
      texts.back() += part.what == Part::value ? values[part.number] : part.characters;
    }
  }
  return texts;
}

bool matches(std::string_view name, const std::vector<std::string>& texts, std::size_t from = 0) {
  if (!name.starts_with(texts[from])) return false;
  name.remove_prefix(texts[from].size());
  if (from + 1 == texts.size()) return name.empty();
  for (std::size_t skipped = 0; skipped <= name.size(); ++skipped)
    if (matches(name.substr(skipped), texts, from + 1)) return true;
  return false;
}

std::string seen_from(const std::string& folder, const std::string& path) {
  return path.starts_with('/') ? path : folder + "/" + path;
}

// The part of a word with a glob that names a folder, "/" included, is cut off `texts`.
std::string cut_folder(std::vector<std::string>& texts) {
  const std::size_t end = texts.front().rfind('/') + 1;  // 0 without one
  const std::string cut = texts.front().substr(0, end);
  texts.front().erase(0, end);
  return cut;
}

std::vector<std::string> expanded(std::vector<std::string> texts, const std::string& folder) {
  std::string literal = texts.front();
  for (std::size_t i = 1; i < texts.size(); ++i) literal += "*" + texts[i];
  const std::string start = cut_folder(texts);
  std::vector<std::string> words;
  std::error_code none;
  for (const auto& entry : fs::directory_iterator(seen_from(folder, start), none)) {
    const std::string name = entry.path().filename();
    if (!name.starts_with('.') && matches(name, texts)) words.push_back(start + name);
  }
  return words.empty() ? std::vector{literal} : words;
}

// ---- One word ---------------------------------------------------------------------------------------

bool is_refused(const Word& word, const std::vector<std::string>& values) {
  std::string so_far;
  for (const Part& part : word.parts) {
    const std::string& text = part.what == Part::value ? values[part.number] : part.characters;
    if (part.what == Part::value && word.target == 'w' && so_far.empty() && text.starts_with('-'))
      return true;
    if (word.target != 'w' && part.what == Part::value && (text + "/").starts_with("/dev/")) return true;
    so_far += text;
  }
  return word.target != 'w' && so_far.empty();
}

std::string opened(const std::string& folder, const std::string& path) {
  return seen_from(folder, path.starts_with("./") ? path.substr(2) : path);
}

void add_word(const Word& word, const std::vector<std::string>& values, const std::string& folder,
              Call& call) {
  const std::vector<std::string> texts = texts_of(word, values);
  if (word.target == '<') {
    call.input = opened(folder, texts.front());
  } else if (word.target == '>') {
    call.output = opened(folder, texts.front());
  } else if (word.has_star()) {
    for (const std::string& one : expanded(texts, folder)) call.words.push_back(one);
  } else if (!word.vanishes || !texts.front().empty()) {
    call.words.push_back(texts.front());
  }
}

// ---- Values -----------------------------------------------------------------------------------------

std::string path_of(const std::string& name, Hostile& hostile, const std::string& folder) {
  switch (hostile.below(3)) {
    case 0:
      return folder + "/" + name;
    case 1:
      return "./" + name;
    default:
      return name;
  }
}

std::string file_value(Hostile& hostile, const std::string& folder) {
  if (hostile.one_in(30)) return "";
  if (hostile.one_in(30)) return "/dev/tcp/127.0.0.1/9";
  if (hostile.one_in(30)) return "/dev/fd/7";
  return path_of(hostile.file_name(), hostile, folder);
}

// A name that begins with a dot also matches "." and "..", in some shells.
std::string glob_value(Hostile& hostile, const std::string& folder) {
  for (;;) {
    const std::string value =
        hostile.one_in(2) ? hostile.value() : path_of(hostile.file_name(), hostile, folder);
    if (!value.substr(value.rfind('/') + 1).starts_with('.')) return value;
  }
}

std::string value_for(const std::vector<Word>& words, std::size_t number, Hostile& hostile,
                      const std::string& folder) {
  const auto word = std::ranges::find_if(words, [&](const Word& one) { return one.holds(number); });
  if (word->target != 'w') return file_value(hostile, folder);
  if (word->has_star()) return glob_value(hostile, folder);
  return hostile.value();
}

// ---- Files that lie there already -------------------------------------------------------------------

void make_file(const fs::path& path) {
  std::error_code impossible;
  fs::create_directories(path.parent_path(), impossible);
  std::ofstream(path).close();
}

void fill_folder(const Word& word, const std::vector<std::string>& values, const std::string& folder) {
  std::vector<std::string> texts = texts_of(word, values);
  const std::string start = seen_from(folder, cut_folder(texts));
  if (!start.starts_with(folder + "/") || start.find("/../") != std::string::npos) return;
  for (const char* name : {"a", "-b.c", "c.mab", "d.mab.prev"}) make_file(start + texts.front() + name);
}

void prepare(const Word& word, const std::vector<std::string>& values, const std::string& folder) {
  if (word.has_star()) return fill_folder(word, values, folder);
  const std::string path = texts_of(word, values).front();
  if (word.target == '<') make_file(opened(folder, path));
  std::error_code impossible;
  if (word.target == '>') fs::create_directories(fs::path(opened(folder, path)).parent_path(), impossible);
}

}  // namespace

std::vector<std::string> values_for(const Shape& shape, Hostile& hostile, const std::string& folder) {
  std::vector<Word> words;
  for (const auto& call : calls_of(shape)) words.insert(words.end(), call.begin(), call.end());
  std::vector<std::string> values;
  while (std::ranges::any_of(words, [&](const Word& word) { return word.holds(values.size()); }))
    values.push_back(value_for(words, values.size(), hostile, folder));
  for (const Word& word : words)
    if (!is_refused(word, values) && !(word.has_star() && hostile.one_in(3))) prepare(word, values, folder);
  return values;
}

std::optional<std::vector<Call>> expected_calls(const Shape& shape, const std::vector<std::string>& values,
                                                const std::string& folder) {
  std::vector<Call> calls;
  for (const std::vector<Word>& words : calls_of(shape)) {
    Call call;
    for (const Word& word : words) {
      if (is_refused(word, values)) return std::nullopt;
      add_word(word, values, folder, call);
    }
    calls.push_back(call);
  }
  std::ranges::sort(calls, {}, &Call::words);
  return calls;
}
