#include "shell/pair_finder.h"

#include <algorithm>

PairFinder::PairFinder(std::initializer_list<std::string_view> pairs) {
  for (const std::string_view pair : pairs) pairs_.push_back({pair, std::string_view::npos});
}

void PairFinder::look_in(std::string_view text) {
  text_ = text;
  for (Pair& pair : pairs_) pair.found = text_.find(pair.bytes);
}

std::size_t PairFinder::next(std::size_t from) {
  std::size_t first = std::string_view::npos;
  for (Pair& pair : pairs_) {
    if (pair.found < from) pair.found = text_.find(pair.bytes, from);
    first = std::min(first, pair.found);
  }
  return first;
}
