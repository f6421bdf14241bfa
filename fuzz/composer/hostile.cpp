#include "composer/hostile.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace {

// "rm ran" would be seen: no template has such a call.
constexpr std::array<std::string_view, 42> pieces = {
    "'",        "\"",        "\\",     "$",     "`",     " ",        "\t",        "\n",       "\r",
    "*",        "?",         "[",      "]",     "{",     "}",        ",",         "~",        "#",
    "!",        "-",         "--",     "&",     "|",     ";",        "<",         ">",        "(",
    ")",        "=",         "%s",     "%",     "/",     "..",       "$(rm ran)", "`rm ran`", "\nrm ran\n",
    ";rm ran;", "&rm ran #", "${IFS}", "$HOME", "{a,b}", "/dev/tcp/"};

// Begin a character of two bytes, or trouble shells that mark quoted bytes with these.
constexpr std::array<std::string_view, 10> half_characters = {"\xa4",     "\x81", "\x82", "\x83", "\x84",
                                                              "\x85\x88", "\x01", "\x7f", "\xc5", "\xff"};

constexpr std::array<std::string_view, 5> words = {"a", "Documents", "\u6587\u4ef6", "2", "My File.txt"};

// The composer puts these in without quotes, and in the wrong place each of them means something.
constexpr std::array<std::string_view, 12> plain = {"2", "a,b", "1..3", "a-z",  "A=b", "rm",
                                                    "=", ":",   "x=/",  "then", "%",   "0-9,/"};

}  // namespace

std::size_t Hostile::below(std::size_t limit) { return random_() % limit; }

std::string Hostile::piece() {
  switch (below(8)) {
    case 0:
      return std::string(half_characters[below(half_characters.size())]);
    case 1:
      return std::string(words[below(words.size())]);
    case 2:
      return std::string(1, static_cast<char>(1 + below(255)));
    default:
      return std::string(pieces[below(pieces.size())]);
  }
}

std::string Hostile::value() {
  if (one_in(6)) return std::string(plain[below(plain.size())]);
  std::string text;
  if (one_in(4)) text = "/";
  for (std::size_t count = below(one_in(10) ? 60 : 9); count > 0; --count) text += piece();
  if (one_in(200)) text += std::string(1000 + below(20000), text.empty() ? 'x' : text.back());
  return text;
}

std::string Hostile::file_name() {
  std::string name = value().substr(0, 200);
  std::ranges::replace(name, '/', '\\');
  return name.empty() || name == "." || name == ".." ? "x" : name;
}
