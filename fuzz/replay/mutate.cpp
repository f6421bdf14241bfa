#include "replay/mutate.h"

#include <algorithm>
#include <array>
#include <random>

namespace {

using Random = std::mt19937_64;

constexpr std::array<std::string_view, 28> words = {"\n",          "\r\n",
                                                    "\n\n",        std::string_view("\0", 1),
                                                    "=",           ":",
                                                    ";",           "'",
                                                    "\"",          "\\",
                                                    "$(id)",       "../",
                                                    "/",           "\t",
                                                    "\xff",        "\xEF\xBB\xBF",
                                                    "\x1a",        "\x1e",
                                                    "\xd6\xd0",    "\xe4\xb8",
                                                    "From ",       "BEGIN:VEVENT\n",
                                                    "END:VCARD\n", "--",
                                                    "boundary=\"", "UNTIL=",
                                                    ";TZID=",      "PK\x01\x02"};

std::size_t below(Random& random, std::size_t limit) { return limit == 0 ? 0 : random() % limit; }

void change(std::string& text, Random& random) {
  const std::size_t at = below(random, text.size() + 1);
  const std::size_t length = below(random, std::min<std::size_t>(text.size() - at, 64) + 1);
  switch (below(random, 7)) {
    case 0:
      text.insert(at, words.at(below(random, words.size())));
      return;
    case 1:
      text.erase(at, length);
      return;
    case 2:
      text.insert(below(random, text.size() + 1), text.substr(at, length));
      return;
    case 3:
      if (at < text.size()) text[at] = static_cast<char>(text[at] ^ (1 << below(random, 8)));
      return;
    case 4:
      if (at < text.size()) text[at] = static_cast<char>(random());
      return;
    case 5:
      text.insert(at, std::string(below(random, 300), at < text.size() ? text[at] : 'x'));
      return;
    default:
      text.resize(at);
  }
}

}  // namespace

std::string mutated(std::string_view seed, std::uint64_t number) {
  Random random(number);
  std::string text(seed);
  for (std::size_t changes = 1 + below(random, 4); changes > 0; --changes) change(text, random);
  return text;
}

std::string stretched(std::string_view seed, std::size_t size) {
  std::string text;
  while (!seed.empty() && text.size() < size) text += seed;
  text.resize(std::min(text.size(), size));
  return text;
}
